// Stepping through the maps, converting natural-log maps, and choosing
// which slices the mosaic shows (a modal prompt on the information line
// that also takes clicks on the panels).
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zor_actions.h"
#include "zor_annotate.h"
#include "zor_compose.h"
#include "zor_event_trace.h"
#include "zor_exit.h"
#include "zor_graph.h"
#include "zor_x11.h"

namespace {

// The file name without what follows its last dot (a dot in a folder name
// does not count).
void copy_without_extension(char *destination, const char *source) {
  snprintf(destination, ZOR_LINE, "%s", source);
  char *slash = strrchr(destination, '/');
  char *dot = strrchr(destination, '.');
  if (dot && (!slash || dot > slash)) *dot = '\0';
}

void point_activation_at(int imap) {
  const data_stack &s = activation_stack;
  if (imap < 0 || imap >= s.nt) return;
  switch (activation.data_type) {
    case 1:
      if (s.Volume) activation.fSpaceMatrix = s.Volume[imap];
      break;
    case 2:
      if (s.fcVolume) activation.fcSpaceMatrix = s.fcVolume[imap];
      break;
    case 3:
      if (s.v3Volume) activation.v3SpaceMatrix = s.v3Volume[imap];
      break;
    default: break;
  }
}

// Saved panels and zoom of the full mosaic while a slice set is shown.
int saved_panels_x = 0, saved_panels_y = 0, saved_zoom = 0;

}  // namespace

void set_activation_map(int imap) {
  activation.imap = imap;
  point_activation_at(imap);
  int last_log_map = -1;
  int iFileTimePoint = 0;
  for (const file_list *f = &activation_files; f; f = f->next) {
    if (imap >= f->start_image && imap <= f->end_image) {
      iFileTimePoint = imap - f->start_image;
      copy_without_extension(activation.map_name, f->file_name);
      activation.scale_log = f->scale_log;
      // A linear map after a log map is hidden where that log map is low.
      activation.pFilter = nullptr;
      if (!f->scale_log && last_log_map >= 0 && activation_stack.Volume &&
          last_log_map < activation_stack.nt)
        activation.pFilter = activation_stack.Volume[last_log_map];
      break;
    }
    if (f->scale_log) last_log_map = f->end_image;
  }
  if (activation.MIPStatus == 1) activation.MIPStatus = 0;
  if (XWindow_image != 0) change_window_name(iFileTimePoint);
  mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR | REGION_MENUS | REGION_INFO;
  graph.update_regions |= graph.type == 1 ? GRAPH_MARKER : GRAPH_REBUILD;
}

void action_increment_activation_map(void) {
  const int nt = activation_stack.nt;
  if (nt <= 0) return;
  int imap = activation.imap + 1;
  if (imap >= nt) imap = 0;
  set_activation_map(imap);
}

void action_decrement_activation_map(void) {
  const int nt = activation_stack.nt;
  if (nt <= 0) return;
  int imap = activation.imap - 1;
  if (imap < 0) imap = nt - 1;
  set_activation_map(imap);
}

void convert_activation_scale(file_list *file) {
  if (!activation_stack.Volume) return;
  const int n3d = activation_stack.n3d;
  for (int t = file->start_image; t <= file->end_image && t < activation_stack.nt; t++) {
    if (t < 0) continue;
    float *v = activation_stack.Volume[t];
    for (int j = 0; j < n3d; j++) v[j] *= 0.4343f;
  }
}

void mark_central_slices(int n, int nz, int *display_slice) {
  for (int k = 0; k < nz; k++) display_slice[k] = 0;
  const int low = nz / 2 - n / 2;
  const int high = n % 2 ? nz / 2 + n / 2 : nz / 2 + n / 2 - 1;
  for (int k = std::max(low, 0); k <= high && k < nz; k++) display_slice[k] = 1;
}

void action_key_pound_sign(void) {
  if (mosaic.stack->dim.z == 1 || mosaic.MIP) return;
  action_select_slices();
}

namespace {

void show_marks(const std::vector<int> &marks) {
  std::string line = "Select slices (number, button1, return, escape) > ";
  bool first = true;
  for (size_t k = 0; k < marks.size(); k++) {
    if (!marks[k]) continue;
    char number[32];
    snprintf(number, sizeof number, first ? "%d " : ", %d", (int)k);
    line += number;
    first = false;
  }
  char blank[] = " ";
  show_on_info_line(0, 1, line.data(), blank, blank);
}

void show_typed(const char *prompt, const std::string &typed) {
  std::string line = std::string(prompt) + typed;
  char blank[] = " ";
  show_on_info_line(0, 1, line.data(), blank, blank);
}

void show_three(const char *a, const char *b, const char *c) {
  show_on_info_line(0, 0, const_cast<char *>(a), const_cast<char *>(b), const_cast<char *>(c));
}

}  // namespace

void action_select_slices(void) {
  const int nz = mosaic.DisplayVolumeDim.z;
  const bool three = mosaic.display_3orthogonal;
  // 1. A reduced set in the mosaic: back to all slices.
  if (!three && mosaic.DimPanels.z < nz) {
    mosaic.DimPanels.z = 0;
    mosaic.DimPanels.x = saved_panels_x;
    mosaic.DimPanels.y = saved_panels_y;
    if (saved_zoom) {
      mosaic.zoom_window = saved_zoom;
    } else {
      mosaic.DimPanels.x = 0;
      mosaic.zoom_window = std::max(mosaic.zoom_window, 1);
    }
    update_XWindow_image(1);
    return;
  }

  // 2. The prompt.
  char prompt_line[ZOR_LINE];
  if (three) {
    char valid[ZOR_LINE];
    snprintf(valid, sizeof valid, "Valid numbers are 1 to %d", nz);
    snprintf(prompt_line, sizeof prompt_line, "Input the number of slices >");
    show_three(prompt_line, valid, " ");
  } else {
    snprintf(prompt_line, sizeof prompt_line, "Select slices >");
    show_three(prompt_line, "text input or button selection:", "(number, button1, return, escape)");
  }
  event_trace_prompt(prompt_line);
  XSync(XConnection, False);

  // 3. Digits and clicks until Return or Escape.
  std::vector<int> marks((size_t)std::max(nz, 0), 0);
  std::string typed = " ";
  char key = 0;
  for (;;) {
    XEvent event;
    if (get_next_event(&event) != 1) {
      wait_for_X_input(-1);
      continue;
    }
    if (event.type == KeyPress) {
      if (!get_key_press(&event.xkey, &key)) continue;
      if (key == 13 || key == 27) break;
      if (key == 8 || key == 127) {
        if (typed.size() > 1) typed.pop_back();
      } else if (key >= '0' && key <= '9' && typed.size() < 16) {
        typed.push_back(key);
      }
      show_typed("Select slices >", typed);
    } else if (event.type == ButtonPress) {
      if (three) {
        show_three("Mouse button not allowed for this option", "when 3-plane mode is used.", " ");
        continue;
      }
      if (event.xbutton.button != 1) continue;
      mosaic.cursor_selection = CURSOR_IMAGE_WINDOW;
      define_mosaic_cursor_location(event.xbutton.x, event.xbutton.y);
      if (!(mosaic.cursor_selection & CURSOR_ON_MOSAIC_PANEL) ||
          !(mosaic.cursor_selection & CURSOR_ON_VOXEL))
        continue;
      const int o = mosaic.mosaic_orientation;
      const IPOINT3D c = mosaic.icursor;
      const int slice = o == ORTHO_XY ? c.z : o == ORTHO_XZ ? c.y : c.x;
      if (slice < 0 || slice >= nz) {
        puts("Programming error: iDisplayVolumeCursor.z out of range.");
        zor_exit(1);
      }
      marks[(size_t)slice] = !marks[(size_t)slice];
      update_borders_for_slices(nz, marks.data());
      show_marks(marks);
    }
  }

  // 4.-5. What was chosen.
  int nmarks = (int)std::count(marks.begin(), marks.end(), 1);
  const int typed_n = typed.size() > 1 ? atoi(typed.c_str() + 1) : 0;
  if (key == 27 || (nmarks == 0 && typed_n == 0)) {
    show_three("canceled", " ", " ");
    update_XWindow_image(0);
    return;
  }
  int n = nmarks;
  if (typed_n > 0) {
    if (!three && typed_n >= mosaic.DimPanels.z) {
      show_three("all slices shown", " ", " ");
      update_XWindow_image(0);
      return;
    }
    n = std::min(typed_n, nz);
    mark_central_slices(n, nz, marks.data());
    nmarks = (int)std::count(marks.begin(), marks.end(), 1);
    n = nmarks;
  }

  // 6. The slice set, and a cross-hair on a shown slice.
  mosaic.DimPanels.z = n;
  for (int k = 0; k < nz; k++) mosaic.display_slice[k] = marks[(size_t)k];
  const IPOINT3D &dim = mosaic.stack->dim;
  const int cz = mosaic.icross.z;
  if (cz < 0 || cz >= nz || !marks[(size_t)cz]) {
    int first = (int)(std::find(marks.begin(), marks.end(), 1) - marks.begin());
    mosaic.icross = IPOINT3D{dim.x / 2, dim.y / 2, std::min(first, dim.z - 1)};
  }

  // 7. Fewer panels, a larger zoom.
  saved_panels_x = mosaic.DimPanels.x;
  saved_panels_y = mosaic.DimPanels.y;
  saved_zoom = mosaic.zoom_window;
  const int old_x = std::max(mosaic.DimPanels.x, 1);
  automatically_set_panels(n, &mosaic.DimPanels.x, &mosaic.DimPanels.y);
  mosaic.zoom_window = std::max(mosaic.zoom_window * old_x / std::max(mosaic.DimPanels.x, 1), 1);
  mosaic.display_3orthogonal = 0;
  update_XWindow_image(1);
}

void action_select_slices_reset(void) { saved_panels_x = saved_panels_y = saved_zoom = 0; }
