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

// Loads every file of a list into `stack`, concatenated along time. The
// first stack loaded in a run fixes the dimensions of all later ones
// (read_SpaceTime_data_reset forgets them). Returns 0 or 1.
int read_SpaceTime_data(int Verbose, int common_dimensions, data_stack *stack,
                        file_list *file_info, int *nfiles);
void read_SpaceTime_data_reset(void);
int read_vistrel_file(data_stack *stack, file_list *file_info);
int read_freesurfer_file(data_stack *stack, file_list *file_info);
// Before anything is allocated: 1 (after the message the reading would
// give) when the file of `node` cannot hold what its header declares.
int check_stack_file(const data_stack *stack, const file_list *node);

// Stored values per voxel: 1, 2 for complex and magnitude-phase, 3 for vectors.
int values_per_voxel(int data_type);
// The volumes of a stack lie in one cleared block, entry 0 of the table at
// its start: release them only with free_stack_data.
void allocate_stack_data(int nt, int n3d, data_stack *stack);
void free_stack_data(int nt, data_stack *stack);
// Smooths the stack onto a grid of new_dim_xy by new_dim_xy by new_dim_z
// voxels of the same extent. Returns 0, or 1 for data it cannot resample.
int downsample_stack(data_stack *stack, int new_dim_xy, int new_dim_z);
// The same onto new_dim_x by new_dim_y by new_dim_z voxels.
int downsample_stack_xyz(data_stack *stack, int new_dim_x, int new_dim_y, int new_dim_z);

// One voxel value for display or analysis, whatever the data type.
float stack_data_4d(const data_stack *stack, int display_data_type, int ispace, int itime);
float stack_data_4d_voxel(const data_stack *stack, int display_data_type, IPOINT3D voxel,
                          int itime);
// Flat index in the dimensions of the shown stack (mosaic.stack).
int index3d(int ix, int iy, int iz);
int voxel3D_to_1D(IPOINT3D voxel);

// The program's stacks and their file lists.
extern data_stack image_stack, anatomy_stack, activation_stack;
extern file_list image_files, anatomy_files, activation_files;

#endif
