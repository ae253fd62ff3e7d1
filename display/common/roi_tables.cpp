// Result tables: the graph's numbers as text columns. The first region
// written to a file in a run creates it; each further region is one more
// set of columns behind every line. A table is never rewritten in place: the
// old one is read once, the new one written beside it and renamed over it,
// so that a failed write leaves the old table and its count as they were.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zor_atomic_file.h"
#include "zor_exit.h"
#include "zor_graph.h"
#include "zor_model_views.h"
#include "zor_overlay.h"
#include "zor_overlay_edit.h"
#include "zor_roi_files.h"
#include "zor_time_model.h"
#include "zor_x11.h"

char ROI_file_name[1024] = ".roi";

namespace {

roi_file_list roi_file_root = {"ignore the root\n", 0, 0, nullptr};

roi_file_list *find_roi_file(const char *file_name) {
  for (roi_file_list *p = roi_file_root.next; p; p = p->next)
    if (strcmp(p->name, file_name) == 0) return p;
  return nullptr;
}

// The old table, every character as an int and the end-of-file value last.
int read_old_table(const char *file_name, std::vector<int> *ibuffer) {
  FILE *file = fopen(file_name, "r");
  if (!file) {
    printf("\nError: cannot open file %s for reading\n", file_name);
    return 1;
  }
  ibuffer->clear();
  int c;
  while ((c = fgetc(file)) != EOF) ibuffer->push_back(c);
  ibuffer->push_back(EOF);
  fclose(file);
  return 0;
}

void say_not_written(const char *file_name) {
  printf("\nError: could not write file %s: the table on disk is as it was.\n", file_name);
}

// The frame around every writer: a fresh table for the first region of the
// run, else the old one read once and passed to `rows`, which writes the
// new table. `rows` returns 0 or 1; only a complete table replaces the old.
template <typename Rows>
int rewrite_table(const char *file_name, roi_file_list *node, Rows rows) {
  const int first_time = node->number_rois == 0;
  std::vector<int> ibuffer;
  if (!first_time && read_old_table(file_name, &ibuffer)) return 1;
  atomic_file out;
  if (!atomic_file_open(&out, file_name)) {
    printf(first_time ? "\nError: cannot open file %s for writing.\n" : "\nError: cannot open file %s for writing\n",
           file_name);
    return 1;
  }
  if (rows(first_time, out.stream, first_time ? nullptr : ibuffer.data())) {
    atomic_file_abandon(&out);
    return 1;
  }
  if (atomic_file_commit(&out)) {
    say_not_written(file_name);
    return 1;
  }
  node->number_rois++;
  return 0;
}

roi_file_list *prepared_node(const char *file_name) {
  prep_roi_file_list(file_name);
  return find_roi_file(file_name);
}

std::string number_text(const char *format, float a) {
  char text[64];
  snprintf(text, sizeof text, format, a);
  return text;
}

std::string number_text(const char *format, float a, float b) {
  char text[128];
  snprintf(text, sizeof text, format, a, b);
  return text;
}

// A line of the new table: the old line with `text` behind it.
void put_extended(FILE *file, int *ibuffer, int *iloc, const std::string &text) {
  std::string line;
  create_new_ROI_line(ibuffer, text.c_str(), iloc, &line);
  fwrite(line.data(), 1, line.size(), file);  // every byte of the old line, NUL included
}

// The time course without a model's columns: i, x and y, then y alone.
int write_plain_rows(int first_time, FILE *file, int *ibuffer) {
  if (first_time) {
    fprintf(file, "i x %s\n", ovl_root.name);
    for (int j = 0; j < graph.npoints; j++) fprintf(file, "%d %g %g\n", j, graph.xVector[j], graph.yVector[j]);
    return 0;
  }
  int iloc = 0;
  put_extended(file, ibuffer, &iloc, std::string(" ") + ovl_root.name + "\n");
  for (int j = 0; j < graph.npoints; j++) put_extended(file, ibuffer, &iloc, number_text(" %g\n", graph.yVector[j]));
  return 0;
}

int write_model_rows(int first_time, FILE *file, int *ibuffer) {
  if (graph.type == 1) {
    switch (graph.time_model) {
      case MODEL_GLM: return write_GLM_into_roi_file(first_time, file, ibuffer) != 0;
      case MODEL_REM: return write_REM_into_roi_file(first_time, file, ibuffer) != 0;
      case MODEL_SRTM: return write_SRTM_into_roi_file(first_time, file, ibuffer) != 0;
      default: break;
    }
  }
  return write_plain_rows(first_time, file, ibuffer);
}

// The label of a profile's or histogram's column.
std::string projection_label(int number_rois) {
  char label[256];
  const IPOINT3D c = mosaic.icross;
  switch (graph.space_model) {
    case 0: snprintf(label, sizeof label, "hist%d", number_rois); break;
    case 1: snprintf(label, sizeof label, "y%dz%dt%d", c.y, c.z, graph.iTime); break;
    case 2: snprintf(label, sizeof label, "x%dz%dt%d", c.x, c.z, graph.iTime); break;
    // The number behind "y" is the z index, as the tables have always had it.
    default: snprintf(label, sizeof label, "x%dy%dt%d", c.x, c.z, graph.iTime); break;
  }
  std::string text = label;
  if (activation.data_type != 0) text += std::string(" ") + label + "_act";
  return text;
}

}  // namespace

void roi_files_reset(void) {
  roi_file_list *p = roi_file_root.next;
  while (p) {
    roi_file_list *next = p->next;
    delete p;
    p = next;
  }
  roi_file_root.next = nullptr;
  strcpy(ROI_file_name, ".roi");
}

void prep_roi_file_list(const char *file_name) {
  if (find_roi_file(file_name)) return;
  roi_file_list *node = new (std::nothrow) roi_file_list{};
  if (!node) {
    puts("Error: memory problem creating a new file structure in the ROI list.");
    zor_exit(1);
  }
  snprintf(node->name, sizeof node->name, "%s", file_name);
  roi_file_list *last = &roi_file_root;
  while (last->next) last = last->next;
  last->next = node;
}

int get_number_rois_in_file(const char *file_name) {
  const roi_file_list *node = find_roi_file(file_name);
  return node ? node->number_rois : 0;
}

void create_new_ROI_line(int *ibuffer, const char *new_text, int *iloc, std::string *whole_line) {
  whole_line->clear();
  if (ibuffer) {
    while (ibuffer[*iloc] != EOF && ibuffer[*iloc] != '\n') *whole_line += (char)ibuffer[(*iloc)++];
    if (ibuffer[*iloc] == '\n') (*iloc)++;
  }
  *whole_line += new_text;
}

void create_new_ROI_line(int *ibuffer, const char *new_text, int *iloc, char *whole_line) {
  std::string line;
  create_new_ROI_line(ibuffer, new_text, iloc, &line);
  snprintf(whole_line, ZOR_LINE, "%s", line.c_str());
}

int write_ovl_into_roi_file(const char *file_name) {
  roi_file_list *node = prepared_node(file_name);
  if (rewrite_table(file_name, node, write_model_rows)) return 1;
  printf("Time series data for overlay %s written to file %s\n", ovl_root.name, file_name);
  return 0;
}

int write_ovl_list_into_roi_file(const char *file_name) {
  if (!ovl_root.next) {
    puts("No pre-defined overlays!");
    return 1;
  }
  ovl_list *last = &ovl_root;
  for (ovl_list *p = &ovl_root; p; p = p->next) {
    p->active = 0;
    last = p;
  }
  last->active = 1;  // so that the first step lands on the first region
  printf("Write time series for overlays written to file %s:\n", file_name);
  for (ovl_list *p = ovl_root.next; p; p = p->next) {
    action_step_overlay_list(1, 0);
    mosaic.update_regions |= REGION_IMAGES | REGION_MENUS;
    if (XWindow_image != 0) Update_Regions();  // the picture, when there is one
    fill_graph_vector();
    build_graph_display(1);
    char blank[] = " ";
    show_on_info_line(0, 0, ovl_root.name, blank, blank);
    if (write_ovl_into_roi_file(file_name)) return 1;
    printf("overlay: %s\n", ovl_root.name);
  }
  return 0;
}

int write_projection(const char *file_name) {
  roi_file_list *node = prepared_node(file_name);
  const bool maps = activation.data_type != 0;
  const std::string label = projection_label(node->number_rois);
  auto rows = [&](int first_time, FILE *file, int *ibuffer) {
    const int n = graph.npoints;
    const float *second = graph.yVector2;
    if (first_time) {
      fprintf(file, "x %s\n", label.c_str());
      for (int j = 0; j < n; j++)
        maps ? fprintf(file, "%d %g %g\n", j, graph.yVector[j], second[j]) : fprintf(file, "%d %g\n", j, graph.yVector[j]);
      fputs("new # fit to projection\n", file);
      for (int j = 0; j < n; j++)
        maps ? fprintf(file, "%d %g %g\n", j, graph.yFit[j], second[j]) : fprintf(file, "%d %g\n", j, graph.yFit[j]);
      return 0;
    }
    int iloc = 0;
    put_extended(file, ibuffer, &iloc, " " + label + "\n");
    for (int j = 0; j < n; j++)
      put_extended(file, ibuffer, &iloc,
                   maps ? number_text(" %g %g\n", graph.yVector[j], second[j]) : number_text(" %g\n", graph.yVector[j]));
    put_extended(file, ibuffer, &iloc, " \n");
    for (int j = 0; j < n; j++)
      put_extended(file, ibuffer, &iloc,
                   maps ? number_text(" %g %g\n", graph.yFit[j], second[j]) : number_text(" %g\n", graph.yFit[j]));
    return 0;
  };
  if (rewrite_table(file_name, node, rows)) return 1;
  if (graph.space_model == 0)
    printf("Histogram data written to file %s\n", file_name);
  else
    printf("Projection data written to file %s\n", file_name);
  return 0;
}

void action_write_1_ROI(void) {
  if (graph.type == 0) {
    write_projection(ROI_file_name);
  } else if (ovl_root.npts > 0) {
    fill_graph_vector();
    build_graph_display(1);
    if (write_ovl_into_roi_file(ROI_file_name) == 0) overlay_map.number++;
  }
  label_graph_window();
}

void action_write_all_ROIs(void) {
  write_ovl_list_into_roi_file(ROI_file_name);
  label_graph_window();
}
