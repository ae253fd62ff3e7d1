// FreeSurfer slice series: a stem ending in "_", a keyword file stem.bhdr,
// and one file per slice, stem000.bshort (or .bfloat), stem001..., each with
// a small stem000.hdr beside it that gives the byte order.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_exit.h"
#include "zor_geometry.h"
#include "zor_header.h"
#include "zor_regular_file.h"
#include "zor_text.h"

namespace {

struct FloatKeyword {
  const char *word;
  int slot;  // position in the values table
};

// Corner coordinates and acquisition values that have no field of their own.
const FloatKeyword float_keywords[] = {
    {"top_left_r:", FS_TOP_LEFT + 0},     {"top_left_a:", FS_TOP_LEFT + 1},
    {"top_left_s:", FS_TOP_LEFT + 2},     {"top_right_r:", FS_TOP_RIGHT + 0},
    {"top_right_a:", FS_TOP_RIGHT + 1},   {"top_right_s:", FS_TOP_RIGHT + 2},
    {"bottom_right_r:", FS_BOTTOM_RIGHT + 0}, {"bottom_right_a:", FS_BOTTOM_RIGHT + 1},
    {"bottom_right_s:", FS_BOTTOM_RIGHT + 2}, {"normal_r:", FS_NORMAL + 0},
    {"normal_a:", FS_NORMAL + 1},         {"normal_s:", FS_NORMAL + 2},
    {"image_te:", FS_IMAGE_TE},           {"image_ti:", FS_IMAGE_TI},
    {"flip_angle:", FS_FLIP_ANGLE}};

float corner_distance(const float *values, int from, int to, int count) {
  const float r = (values[to] - values[from]) / count;
  const float a = (values[to + 1] - values[from + 1]) / count;
  const float s = (values[to + 2] - values[from + 2]) / count;
  return sqrtf(r * r + a * a + s * s);
}

bool file_exists(const std::string &name) {
  FILE *fp = fopen_regular(name.c_str(), "rb");
  if (!fp) return false;
  fclose(fp);
  return true;
}

}  // namespace

int decode_freesurfer_header_keyword(char *line, XD_HEADER *header, float *values) {
  char word[ZOR_LINE];
  int consumed = 0;
  if (sscanf(line, " %1023s%n", word, &consumed) != 1) return 1;
  // The value scan is not checked: a missing value leaves the default.
  const char *rest = line + consumed;

  if (!strcmp(word, "cols:")) {
    sscanf(rest, "%d", &header->dim.x);
  } else if (!strcmp(word, "rows:")) {
    sscanf(rest, "%d", &header->dim.y);
  } else if (!strcmp(word, "nslices:")) {
    sscanf(rest, "%d", &header->dim.z);
  } else if (!strcmp(word, "n_time_points:")) {
    sscanf(rest, "%d", &header->nt);
  } else if (!strcmp(word, "slice_thick:")) {
    sscanf(rest, "%f", &header->resolution.z);
  } else if (!strcmp(word, "image_tr:")) {
    sscanf(rest, "%f", &header->resolution_t);
  } else {
    for (const FloatKeyword &k : float_keywords) {
      if (!strcmp(word, k.word)) {
        sscanf(rest, "%f", &values[k.slot]);
        return 0;
      }
    }
    return 1;
  }
  return 0;
}

int read_freesurfer_header(const char *file_name, XD_HEADER *header) {
  header->file_type = FREESURFER;
  const std::string stem = file_name;
  if (stem.empty() || stem.back() != '_') {
    puts("Programming error: file name should end with '_' in read_freesurfer_header");
    zor_exit(1);
  }

  const std::string bhdr_name = stem.substr(0, stem.size() - 1) + ".bhdr";
  FILE *fp = fopen_regular(bhdr_name.c_str(), "r");
  if (!fp) {
    printf("Error: cannot open freesurfer bhdr file %s.\n", bhdr_name.c_str());
    return 1;
  }
  float values[FS_NVALUES] = {};
  char line[ZOR_LINE];
  int line_number = 1;
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    if (is_blank_line(line)) continue;
    if (decode_freesurfer_header_keyword(line, header, values)) {
      printf("Error reading line %d of file '%s'\n", line_number, bhdr_name.c_str());
      fclose(fp);
      return 1;
    }
    line_number++;
  }
  fclose(fp);

  if (check_volume_dimensions(header, bhdr_name.c_str())) return 1;
  header->resolution.x = corner_distance(values, FS_TOP_LEFT, FS_TOP_RIGHT, header->dim.x);
  header->resolution.y = corner_distance(values, FS_TOP_RIGHT, FS_BOTTOM_RIGHT, header->dim.y);

  const std::string slice_header = stem + "000.hdr";
  fp = fopen_regular(slice_header.c_str(), "r");
  if (!fp) {
    printf("Error: cannot open freesurfer file %s.\n", slice_header.c_str());
    return 1;
  }
  int unused1, unused2, unused3, byte_order;
  if (fscanf(fp, "%d %d %d %d", &unused1, &unused2, &unused3, &byte_order) == 4)
    header->byte_order = byte_order;
  fclose(fp);

  if (file_exists(stem + "000.bshort")) {
    header->storage_type = BSHORT;
  } else if (file_exists(stem + "000.bfloat")) {
    header->storage_type = BFLOAT;
  } else {
    printf("\nError: cannot open file %s as bshort or bfloat.\n", file_name);
    return 1;
  }
  header->ijk_to_xyz =
      scale_and_shift_to_mat44(header->resolution, header->origin, header->direction);
  return 0;
}
