// The native volume header: a small text file of keyword lines beside a raw
// data file. "#" starts a comment, blank lines are skipped, and an "info"
// line ends the keywords: whatever follows is free text for the reader.
#include <sys/stat.h>

#include <cerrno>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "zor_geometry.h"
#include "zor_header.h"
#include "zor_text.h"

namespace {

void skip_space(const char *&p) {
  while (*p && isspace(static_cast<unsigned char>(*p))) p++;
}

// Reads the next white-space-delimited word; false when there is none.
bool scan_word(const char *&p, std::string *word) {
  skip_space(p);
  const char *start = p;
  while (*p && !isspace(static_cast<unsigned char>(*p))) p++;
  if (p == start) return false;
  word->assign(start, p);
  return true;
}

// A decimal integer as the C scanners read it: leading white space, a sign,
// digits, and anything behind them left alone. A value beyond the range of
// an int does not scan.
bool scan_int(const char *&p, int *value) {
  skip_space(p);
  char *end = nullptr;
  errno = 0;
  const long v = strtol(p, &end, 10);
  if (end == p || errno == ERANGE || v > INT_MAX || v < INT_MIN) return false;
  *value = static_cast<int>(v);
  p = end;
  return true;
}

// A finite floating-point number; infinities and NaN do not scan.
bool scan_float(const char *&p, float *value) {
  skip_space(p);
  char *end = nullptr;
  const float v = strtof(p, &end);
  if (end == p || !std::isfinite(v)) return false;
  *value = v;
  p = end;
  return true;
}

// Up to `count` values; returns how many scanned, stopping at the first
// that does not.
int scan_ints(const char *p, int *values, int count) {
  int n = 0;
  while (n < count && scan_int(p, &values[n])) n++;
  return n;
}

int scan_floats(const char *p, float *values, int count) {
  int n = 0;
  while (n < count && scan_float(p, &values[n])) n++;
  return n;
}

int decode_data_type(const std::string &word, XD_HEADER *header) {
  if (word == "magnitude") {
    header->data_type = DATA_MAGNITUDE;
  } else if (word == "complex" || word == "real-imaginary") {
    header->data_type = DATA_COMPLEX;
  } else if (word == "magnitude-phase") {
    header->data_type = DATA_MAGNITUDE_PHASE;
  } else if (word == "vector") {
    header->data_type = DATA_VECTOR;
  } else {
    puts("Error: arguments for data-type are");
    puts("1) magnitude (this is the default),");
    puts("2) complex (or real-imaginary),");
    puts("3) magnitude-phase");
    return 1;
  }
  return 0;
}

int decode_storage_type(const std::string &word, XD_HEADER *header) {
  if (word == "short") {
    header->storage_type = BSHORT;
  } else if (word == "float") {
    header->storage_type = BFLOAT;
  } else if (word == "long") {
    header->storage_type = BLONG;
  } else if (word == "unsigned-short") {
    header->storage_type = USHORT;
  } else if (word == "unsigned-char") {
    header->storage_type = UINT8;
  } else {
    puts("Error: arguments for storage-type are ...");
    puts("    short, float, long, unsigned-short, unsigned-char");
    return 1;
  }
  return 0;
}

int decode_registration(const std::string &word, XD_HEADER *header) {
  // A registered volume is read as magnitude unless a later data-type line
  // says otherwise.
  header->data_type = DATA_MAGNITUDE;
  if (word == "paxinos-rat") {
    header->registration = REG_PW_RAT_OLD;
  } else if (word == "PW-rat") {
    header->registration = REG_PW_RAT;
  } else {
    puts("Error: arguments for registration are");
    puts("1) paxinos-rat, and");
    puts("2) nothing else (paxinos-monkey later?)");
    return 1;
  }
  return 0;
}

int decode_direction(const char *values, XD_HEADER *header) {
  float d[3];
  if (scan_floats(values, d, 3) != 3) return 1;
  if (fabsf(d[0]) != 1.0f || fabsf(d[1]) != 1.0f || fabsf(d[2]) != 1.0f) {
    printf("Error: allowed values for direction (%g,%g,%g) are 1 and -1.\n", d[0], d[1], d[2]);
    return 1;
  }
  header->direction = POINT3D{d[0], d[1], d[2]};
  return 0;
}

int decode_single_int(const char *values, int *field) {
  int v;
  if (!scan_int(values, &v)) return 1;
  *field = v;
  return 0;
}

}  // namespace

int decode_vistrel_header_keyword(char *line, XD_HEADER *header) {
  const char *p = line;
  std::string keyword;
  if (!scan_word(p, &keyword)) return 1;

  if (keyword == "info" || keyword == "info:" || keyword == "information" ||
      keyword == "information:")
    return -1;
  if (keyword == "x") return decode_single_int(p, &header->dim.x);
  if (keyword == "y") return decode_single_int(p, &header->dim.y);
  if (keyword == "z") return decode_single_int(p, &header->dim.z);
  if (keyword == "t") return decode_single_int(p, &header->nt);
  if (keyword == "byte-order") return decode_single_int(p, &header->byte_order);
  if (keyword == "degrees-of-freedom") return decode_single_int(p, &header->lDOF);

  if (keyword == "matrix") {
    int v[4];
    const int n = scan_ints(p, v, 4);
    if (n < 3) return 1;
    header->dim = IPOINT3D{v[0], v[1], v[2]};
    if (n == 4) header->nt = v[3];
    return 0;
  }
  if (keyword == "resolution") {
    float v[4];
    const int n = scan_floats(p, v, 4);
    if (n < 3) return 1;
    header->resolution = POINT3D{v[0], v[1], v[2]};
    header->resolution_t = n == 4 ? v[3] : 0.0f;
    return 0;
  }
  if (keyword == "origin") {
    float v[3];
    if (scan_floats(p, v, 3) != 3) return 1;
    header->origin = POINT3D{v[0], v[1], v[2]};
    return 0;
  }
  if (keyword == "direction") return decode_direction(p, header);

  std::string word;
  if (keyword == "data-type") return scan_word(p, &word) ? decode_data_type(word, header) : 1;
  if (keyword == "storage-type")
    return scan_word(p, &word) ? decode_storage_type(word, header) : 1;
  if (keyword == "registration")
    return scan_word(p, &word) ? decode_registration(word, header) : 1;
  return 1;
}

int read_vistrel_header(const char *file_name, XD_HEADER *header) {
  char name[ZOR_LINE];
  char header_name[ZOR_LINE];
  // Room for the longest replacement of the extension by "hdr".
  if (strlen(file_name) + 4 >= sizeof name) {
    printf("Error: cannot open vistrel file %s.\n", file_name);
    return 1;
  }
  snprintf(name, sizeof name, "%s", file_name);
  if (replace_extension(name, &header->file_type, "hdr", header_name)) return 1;

  // Only a regular file can be a header: a device or a pipe could feed
  // lines for ever.
  struct stat info;
  FILE *fp = nullptr;
  if (stat(header_name, &info) == 0 && S_ISREG(info.st_mode)) fp = fopen(header_name, "r");
  if (!fp) {
    printf("Error: cannot open vistrel file %s.\n", header_name);
    return 1;
  }

  char line[ZOR_LINE];
  if (get_line_with_comment(fp, line, ZOR_LINE) && !is_blank_line(line)) {
    // The older layout began with a line of four integers.
    int four[4];
    if (decode_vistrel_header_keyword(line, header) != 0 && scan_ints(line, four, 4) != 4) {
      printf("Error reading the 1st line of the vsl header file '%s'.\n", header_name);
      fclose(fp);
      return 1;
    }
  }

  int line_number = 1;
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    if (is_blank_line(line)) continue;
    const int result = decode_vistrel_header_keyword(line, header);
    if (result == -1) break;
    if (result > 0) {
      printf("Error reading line %d of file '%s'\n", line_number, header_name);
      fclose(fp);
      return 1;
    }
    line_number++;
  }
  fclose(fp);

  if (check_volume_dimensions(header, header_name)) return 1;

  header->ijk_to_xyz = scale_and_shift_to_mat44(header->resolution, header->origin, header->direction);
  return 0;
}
