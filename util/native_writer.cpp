// Volumes in the native format, for control files that ask for it: raw
// 32-bit floats in this machine's byte order beside a keyword header of
// the same stem. Each of the two files is replaced whole or left as it was.
#include <cstdio>
#include <string>

#include "zor_atomic_file.h"
#include "zor_header.h"
#include "zor_maps.h"

int write_native_volumes(const char *file_name, const XD_HEADER *geometry, int nt, const float *volumes, int lDOF) {
  char header_name[ZOR_LINE];
  char given[ZOR_LINE];
  snprintf(given, sizeof given, "%s", file_name);
  int file_type;
  if (replace_extension(given, &file_type, "hdr", header_name)) return 1;

  atomic_file data;
  FILE *fp = atomic_file_open(&data, file_name);
  if (!fp) {
    printf("Error: cannot write the map %s.\n", file_name);
    return 1;
  }
  const size_t count = (size_t)geometry->dim.x * geometry->dim.y * geometry->dim.z * (size_t)(nt > 0 ? nt : 1);
  if (fwrite(volumes, sizeof(float), count, fp) != count) {
    atomic_file_abandon(&data);
    printf("Error: cannot write the map %s.\n", file_name);
    return 1;
  }
  // The header first: a data file is never renamed into place without it.
  atomic_file header;
  FILE *hp = atomic_file_open(&header, header_name);
  if (!hp) {
    atomic_file_abandon(&data);
    printf("Error: cannot write the map %s.\n", header_name);
    return 1;
  }
  fprintf(hp, "x %d\ny %d\nz %d\nt %d\n", geometry->dim.x, geometry->dim.y, geometry->dim.z, nt);
  fprintf(hp, "resolution %.9g %.9g %.9g 1\n", geometry->resolution.x, geometry->resolution.y,
          geometry->resolution.z);
  fprintf(hp, "origin %.9g %.9g %.9g\n", geometry->origin.x, geometry->origin.y, geometry->origin.z);
  fprintf(hp, "direction %g %g %g\n", geometry->direction.x < 0 ? -1.0 : 1.0, geometry->direction.y < 0 ? -1.0 : 1.0,
          geometry->direction.z < 0 ? -1.0 : 1.0);
  fprintf(hp, "byte-order %d\nstorage-type float\n", machine_byte_order());
  if (lDOF > 0) fprintf(hp, "degrees-of-freedom %d\n", lDOF);
  fprintf(hp, "info:\nwritten by zormaps\n");
  if (atomic_file_commit(&header)) {
    atomic_file_abandon(&data);
    printf("Error: cannot write the map %s.\n", header_name);
    return 1;
  }
  if (atomic_file_commit(&data)) {
    printf("Error: cannot write the map %s.\n", file_name);
    return 1;
  }
  return 0;
}
