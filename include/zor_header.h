// The one description of a volume, whatever its format, and the readers
// that fill it.
#ifndef ZOR_HEADER_H
#define ZOR_HEADER_H

#include "zor_types.h"

// File and storage types (one enumeration for file_type and storage_type).
enum zor_file_types {
  ZOR_COM = 0,
  BSHORT = 1,
  BFLOAT = 2,
  BLONG = 3,
  USHORT = 4,
  UINT8 = 5,
  BDOUBLE = 6,
  NIFTI_NII = 7,
  NIFTI_IMG = 8,
  FREESURFER = 9,
  OVL = 10,
  TRACT = 11
};

// Values of data_type.
enum zor_data_types {
  DATA_MAGNITUDE = 0,
  DATA_COMPLEX = 1,
  DATA_MAGNITUDE_PHASE = 2,
  DATA_VECTOR = 3
};

// Registration to the Paxinos-Watson rat atlas.
enum { REG_PW_RAT_OLD = -1, REG_NONE = 0, REG_PW_RAT = 1 };

struct XD_HEADER {
  char file_name[1024];
  IPOINT3D dim;
  POINT3D resolution;
  POINT3D origin;
  POINT3D direction;
  POINT3D fov;
  float resolution_t;
  int nt;
  int n2d;
  int n3d;
  long n4d;
  int byte_order;  // 1 little-endian, 0 big-endian
  mat44 ijk_to_xyz;
  mat44 xyz_to_ijk;
  int off_diagonal;
  int file_type;
  int storage_type;
  int data_type;
  int lDOF;
  float voxel_offset;
  float scale_slope;
  float scale_offset;
  float qfac;
  POINT3D quaternion;
  int registration;
};

int read_volume_header(int Verbose, const char *file_name, XD_HEADER *header);
// The one-line description printed by a verbose read: data type, storage,
// voxels and resolutions.
void print_volume_header_summary(const XD_HEADER *header);
int read_vistrel_header(const char *file_name, XD_HEADER *header);
int decode_vistrel_header_keyword(char *line, XD_HEADER *header);

int get_extension(char *file_name, int *file_type, int unused);
int replace_extension(char *file_name, int *file_type, const char *new_extension, char *result);
void strcpy_without_extension(char *destination, const char *source);

int machine_byte_order(void);
void swap_16(void *pointer);
void swap_32(void *pointer);

// NIfTI-1 and FreeSurfer headers.
int read_nifti_header(int Verbose, const char *file_name, XD_HEADER *header);
// The one size check of every header reader: each of x, y, z, t at least 1
// ("Error: Value for x dimension not found in header file '<name>'"), and a
// volume, its stored values and the whole series countable in 32 bits.
// Returns 0, or 1 after its message.
int check_volume_dimensions(const XD_HEADER *header, const char *name);
int read_freesurfer_header(const char *file_name, XD_HEADER *header);
// `values` holds FS_NVALUES floats: the corner coordinates (r, a, s each)
// and the acquisition values that have no field in XD_HEADER.
enum {
  FS_TOP_LEFT = 0,
  FS_TOP_RIGHT = 3,
  FS_BOTTOM_RIGHT = 6,
  FS_NORMAL = 9,
  FS_IMAGE_TE = 12,
  FS_IMAGE_TI = 13,
  FS_FLIP_ANGLE = 14,
  FS_NVALUES = 15
};
int decode_freesurfer_header_keyword(char *line, XD_HEADER *header, float *values);

#endif
