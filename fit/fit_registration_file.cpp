// Registration files: lines of "set <parameter> <value>" that give the
// registration type, the 90-degree orientation steps and the rotations by
// which gradient directions are turned.
#include <cstdio>
#include <cstring>

#include "zor_align.h"
#include "zor_fit.h"
#include "zor_text.h"

int read_registration_file(char *FileName) {
  // Only what the file says counts: orientation and mirror start at 0.
  Alignment.OrientRotation = IPOINT3D{0, 0, 0};
  Alignment.OrientSwapZ = 0;
  FILE *fp = fopen(FileName, "r");
  if (!fp) {
    printf("\nError: cannot open file %s\n", FileName);
    return 1;
  }
  char line[ZOR_LINE];
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    char first[ZOR_LINE], parameter[ZOR_LINE];
    int used = 0;
    if (sscanf(line, "%1023s %1023s%n", first, parameter, &used) != 2) continue;
    const char *value = line + used;
    if (!strcmp(parameter, "registration-type")) {
      char word[ZOR_LINE] = "";
      sscanf(value, "%1023s", word);
      Alignment.RigidBody = strcmp(word, "deck-of-cards") ? 1 : 0;
    } else if (!strcmp(parameter, "registration-orientation")) {
      int x, y, z, swap;
      if (sscanf(value, "%d %d %d %d", &x, &y, &z, &swap) != 4) {
        puts("Error reading the value of `set registration-orientation'");
        fclose(fp);
        return 1;
      }
      Alignment.OrientRotation = IPOINT3D{x, y, z};
      Alignment.OrientSwapZ = swap;
    } else if (!strcmp(parameter, "registration-rotations")) {
      float t, p, s;
      if (sscanf(value, "%f %f %f", &t, &p, &s) != 3) {
        puts("Error reading the value of `set registration-rotations'");
        fclose(fp);
        return 1;
      }
      Alignment.value[ALIGN_THETA] = t;
      Alignment.value[ALIGN_PHI] = p;
      Alignment.value[ALIGN_PSI] = s;
    }
  }
  fclose(fp);
  printf("Alignment rotations were recalled from file %s\n", FileName);
  define_affine_matrix();
  return 0;
}
