// NIfTI-1 and FreeSurfer headers are not read yet.
#include <cstdio>

#include "zor_header.h"

int read_nifti_header(int Verbose, const char *file_name, XD_HEADER *header) {
  printf("Error: NIfTI files cannot be read yet (%s).\n", file_name);
  return 1;
}

int read_freesurfer_header(const char *file_name, XD_HEADER *header) {
  printf("Error: FreeSurfer series cannot be read yet (%s).\n", file_name);
  return 1;
}
