// The keyword lines at the head of every model's control file.
#include <cstdio>

#include "zor_text.h"
#include "zor_types.h"

int read_control_keywords(FILE *fp, const char *file_name, int (*decode)(char *line),
                          int (*is_blank)(const char *line), void (*describe)(void), int *list_found) {
  char line[ZOR_LINE];
  int line_number = 0;
  *list_found = 0;
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    if (is_blank(line)) continue;
    line_number++;
    const int result = decode(line);
    if (result < 0) {
      printf("Error reading line %d of file '%s':\n", line_number, file_name);
      describe();
      return 1;
    }
    if (result == 1) {
      *list_found = 1;
      return 0;
    }
  }
  return 0;
}
