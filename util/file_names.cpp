// File names: the extension selects a format, and the native format's
// header sits beside its data under the same stem with extension "hdr".
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_exit.h"
#include "zor_header.h"

namespace {

struct extension_type {
  const char *extension;
  int file_type;
};

// Case-sensitive on purpose: "BSHORT" is not a known extension.
const extension_type known_extensions[] = {
    {"bshort", BSHORT}, {"blong", BLONG},   {"bfloat", BFLOAT}, {"bdouble", BDOUBLE},
    {"ushort", USHORT}, {"nii", NIFTI_NII}, {"img", NIFTI_IMG},
};

void cut_trailing_newline(char *file_name) {
  const size_t n = strlen(file_name);
  if (n > 0 && file_name[n - 1] == '\n') file_name[n - 1] = '\0';
}

}  // namespace

int get_extension(char *file_name, int *file_type, int unused) {
  cut_trailing_newline(file_name);
  const char *dot = strrchr(file_name, '.');
  if (!dot) {
    puts("The file name has no extension!");
    return 1;
  }
  *file_type = -1;
  for (const extension_type &e : known_extensions)
    if (strcmp(dot + 1, e.extension) == 0) *file_type = e.file_type;
  return 0;
}

int replace_extension(char *file_name, int *file_type, const char *new_extension, char *result) {
  if (get_extension(file_name, file_type, 0)) return 1;
  std::string name(file_name);
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos) {
    puts("Programming error in replace_extension.");
    zor_exit(1);
  }
  name.erase(dot + 1);
  name += new_extension;
  // Every caller's buffer holds ZOR_LINE characters; never write beyond it.
  snprintf(result, ZOR_LINE, "%s", name.c_str());
  return 0;
}

void strcpy_without_extension(char *destination, const char *source) {
  std::string name(source);
  const size_t dot = name.rfind('.');
  if (dot != std::string::npos) name.erase(dot);
  snprintf(destination, ZOR_LINE, "%s", name.c_str());
}
