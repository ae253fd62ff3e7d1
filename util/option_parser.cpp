// One pass over a command line: bare words are images, "-c" picks option c.
#include <cstring>

#include "zor_text.h"

namespace {
int argc_index = 1;
}

void my_getopt_reset(void) { argc_index = 1; }

int my_getopt(int argc, char **argv, const char *option_string, int *which_arg) {
  if (argc_index >= argc) return 0;
  const char *token = argv[argc_index];
  if (token[0] != '-') {
    *which_arg = argc_index;
    argc_index++;
    return 'i';
  }
  const char option = token[1];
  for (const char *p = option_string; *p; p++) {
    if (*p != option) continue;
    if (p[1] == ':') argc_index++;
    *which_arg = argc_index < argc ? argc_index : argc;
    argc_index++;
    return static_cast<unsigned char>(option);
  }
  *which_arg = argc_index;
  return -1;
}
