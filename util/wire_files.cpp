// Wire files (".wire"): free-format numbers, four per control point:
// x, y, z in space coordinates and the colour. Lines and comments mean
// nothing to the reader.
#include <cstdio>
#include <cstring>

#include "zor_atomic_file.h"
#include "zor_overlay.h"
#include "zor_regular_file.h"

namespace {

// Scans one control point. Returns 1 for a point, 0 at the end of the file,
// -1 (after a message) for anything that is not four numbers, so that a
// stray word ends the read instead of stalling it.
int scan_control_point(FILE *fp, const char *file_name, int number, CONTROL_POINT *cp) {
  float x, y, z;
  int color;
  int n = fscanf(fp, "%f %f %f %d", &x, &y, &z, &color);
  if (n == EOF) return 0;
  if (n != 4) {
    if (feof(fp))
      printf("Error: the wire file %s ends inside control point %d.\n", file_name, number);
    else
      printf("Error: control point %d in the wire file %s is not four numbers.\n", number,
             file_name);
    return -1;
  }
  cp->point = POINT3D{x, y, z};
  cp->color = color;
  return 1;
}

}  // namespace

int read_wire_file(const char *file_name, wire_list *wire, int new_color) {
  FILE *fp = fopen_regular(file_name, "r");
  if (!fp) {
    printf("Error opening file %s\n", file_name);
    return 1;
  }
  // First pass: count, and check that everything is a number.
  int count = 0;
  CONTROL_POINT cp;
  for (;;) {
    int r = scan_control_point(fp, file_name, count + 1, &cp);
    if (r == 0) break;
    if (r < 0) {
      fclose(fp);
      return 1;
    }
    count++;
  }
  if (count == 0) {
    fclose(fp);
    return 0;
  }

  // Second pass: the existing points stay, the new ones go behind them.
  rewind(fp);
  CONTROL_POINT *control = control_vector(wire->npts + count);
  if (wire->npts > 0) memcpy(control, wire->control, sizeof(CONTROL_POINT) * wire->npts);
  for (int i = 0; i < count; i++) {
    CONTROL_POINT *p = &control[wire->npts + i];
    int r = scan_control_point(fp, file_name, i + 1, p);
    if (r != 1) {
      // The file changed under us; keep the wire as it was.
      if (r == 0)
        printf("Error: the wire file %s ends inside control point %d.\n", file_name, i + 1);
      free_control_vector(control);
      fclose(fp);
      return 1;
    }
    // Colour 0 ends a wire and is kept, so terminators survive recolouring.
    if (new_color != 0 && p->color == 1) p->color = new_color;
  }
  fclose(fp);
  free_control_vector(wire->control);
  wire->control = control;
  wire->npts += count;
  return 0;
}

int write_wire_file(void) {
  atomic_file out;
  FILE *fp = atomic_file_open(&out, ".wire");
  if (!fp) {
    puts("Error opening file (.wire).");
    return 1;
  }
  for (int i = 0; i < wire_root.npts; i++) {
    const CONTROL_POINT &p = wire_root.control[i];
    fprintf(fp, "%f %f %f  %d\n", p.point.x, p.point.y, p.point.z, p.color);
  }
  if (atomic_file_commit(&out)) {
    puts("Error writing file (.wire).");
    return 1;
  }
  printf("%d control points for a wireframe were written to file .wire\n", wire_root.npts);
  return 0;
}
