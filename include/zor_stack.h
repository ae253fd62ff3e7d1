// Images in memory: a table of volumes, x fastest, then y, then z, and the
// list of files a stack was loaded from.
#ifndef ZOR_STACK_H
#define ZOR_STACK_H

#include "zor_header.h"
#include "zor_types.h"

struct data_stack {
  IPOINT3D dim;
  POINT3D resolution;
  POINT3D origin;
  POINT3D direction;
  POINT3D fov;
  float resolution_t;
  int nt;
  int n2d;
  int n3d;
  int npts_volume;
  long n4d;
  mat44 ijk_to_xyz;
  mat44 xyz_to_ijk;
  int off_diagonal;
  int registration;
  int status;
  int file_storage_type;
  int lDOF;
  int data_type;
  float **Volume;
  FCOMPLEX **fcVolume;
  POINT3D **v3Volume;
  char name[1024];
  data_stack *next;
};

struct file_list {
  char file_name[1024];
  int nt;
  int start_image;
  int end_image;
  int scale_log;
  int type;
  float time_step;
  XD_HEADER header;
  file_list *next;
};

// The program's stacks and their file lists.
extern data_stack image_stack, anatomy_stack, activation_stack;
extern file_list image_files, anatomy_files, activation_files;

#endif
