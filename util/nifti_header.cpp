// NIfTI-1 headers (.nii, and the .hdr of a .hdr/.img pair), read field by
// field from the 348 bytes of the format into an XD_HEADER.
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "zor_exit.h"
#include "zor_geometry.h"
#include "zor_header.h"
#include "zor_nifti_quaternion.h"
#include "zor_volume_source.h"

namespace {

const int NIFTI1_HEADER_SIZE = 348;

// Byte positions of the fields used here.
enum {
  AT_DIM = 40,
  AT_DATATYPE = 70,
  AT_PIXDIM = 76,
  AT_VOX_OFFSET = 108,
  AT_SCL_SLOPE = 112,
  AT_SCL_INTER = 116,
  AT_QFORM_CODE = 252,
  AT_SFORM_CODE = 254,
  AT_QUATERN_B = 256,
  AT_QUATERN_C = 260,
  AT_QUATERN_D = 264,
  AT_QOFFSET_X = 268,
  AT_QOFFSET_Y = 272,
  AT_QOFFSET_Z = 276,
  AT_SROW_X = 280,
  AT_SROW_Y = 296,
  AT_SROW_Z = 312
};

// The numeric fields of the header in this machine's order.
struct Nifti1Fields {
  int16_t dim[8];
  int16_t datatype;
  float pixdim[8];
  float vox_offset, scl_slope, scl_inter;
  int16_t qform_code, sform_code;
  float quatern_b, quatern_c, quatern_d;
  float qoffset_x, qoffset_y, qoffset_z;
  float srow_x[4], srow_y[4], srow_z[4];
};

struct FieldReader {
  const unsigned char *bytes;
  bool swap;
  int16_t i16(int at) const {
    int16_t v;
    memcpy(&v, bytes + at, 2);
    if (swap) swap_16(&v);
    return v;
  }
  float f32(int at) const {
    float v;
    memcpy(&v, bytes + at, 4);
    if (swap) swap_32(&v);
    return v;
  }
};

Nifti1Fields decode_fields(const unsigned char *bytes, bool swap) {
  const FieldReader r{bytes, swap};
  Nifti1Fields f;
  for (int i = 0; i < 8; i++) f.dim[i] = r.i16(AT_DIM + 2 * i);
  f.datatype = r.i16(AT_DATATYPE);
  for (int i = 0; i < 8; i++) f.pixdim[i] = r.f32(AT_PIXDIM + 4 * i);
  f.vox_offset = r.f32(AT_VOX_OFFSET);
  f.scl_slope = r.f32(AT_SCL_SLOPE);
  f.scl_inter = r.f32(AT_SCL_INTER);
  f.qform_code = r.i16(AT_QFORM_CODE);
  f.sform_code = r.i16(AT_SFORM_CODE);
  f.quatern_b = r.f32(AT_QUATERN_B);
  f.quatern_c = r.f32(AT_QUATERN_C);
  f.quatern_d = r.f32(AT_QUATERN_D);
  f.qoffset_x = r.f32(AT_QOFFSET_X);
  f.qoffset_y = r.f32(AT_QOFFSET_Y);
  f.qoffset_z = r.f32(AT_QOFFSET_Z);
  for (int i = 0; i < 4; i++) {
    f.srow_x[i] = r.f32(AT_SROW_X + 4 * i);
    f.srow_y[i] = r.f32(AT_SROW_Y + 4 * i);
    f.srow_z[i] = r.f32(AT_SROW_Z + 4 * i);
  }
  return f;
}

// The first extension, when the extender announces one: only a code of 20
// (degrees of freedom of a statistical map) is of interest. The values are
// taken in the file's byte order as they stand. `after` holds the `count`
// bytes that follow the header. Returns 0 or 1.
int read_extension(const unsigned char *after, long long count, XD_HEADER *header) {
  if (count < 4 || after[0] == 0) return 0;
  int32_t ecode, dof;
  if (count < 8) {
    puts("Error: A NIFTI1 extension was indicated, but it is missing.");
    return 1;
  }
  if (count < 12) {
    puts("Error: A NIFTI1 extension was indicated, but the ecode is missing.");
    return 1;
  }
  memcpy(&ecode, after + 8, 4);
  if (ecode == 20) {
    if (count < 16) {
      puts("Error read degrees of freedom.");
      return 1;
    }
    memcpy(&dof, after + 12, 4);
    header->lDOF = dof;
  }
  return 0;
}

// Storage and data type from the NIfTI datatype code. Returns 0 or 1.
int set_storage_type(int datatype, XD_HEADER *header) {
  switch (datatype) {
    case 2: header->storage_type = UINT8; break;
    case 4: header->storage_type = BSHORT; break;
    case 8: header->storage_type = BLONG; break;
    case 16: header->storage_type = BFLOAT; break;
    case 32:
      header->storage_type = BFLOAT;
      header->data_type = DATA_COMPLEX;
      break;
    case 64: header->storage_type = BDOUBLE; break;
    case 512: header->storage_type = USHORT; break;
    default:
      printf("Error: the Nifti data storage type %d is not supported.\n", datatype);
      return 1;
  }
  return 0;
}

void set_transform(int Verbose, const Nifti1Fields &f, const char *name, XD_HEADER *header) {
  if (f.qform_code == 0) {
    if (Verbose)
      printf("The NIFTI header for file %s uses Method 1: the old analyze format\n", name);
    header->origin = POINT3D{0.0f, 0.0f, 0.0f};
    header->ijk_to_xyz =
        scale_and_shift_to_mat44(header->resolution, header->origin, header->direction);
  } else if (f.sform_code == 0) {
    if (Verbose) printf("The NIFTI header for file %s uses Method 2: quaternion rotations\n", name);
    nifti_quaternion_to_matrix(f.quatern_b, f.quatern_c, f.quatern_d, f.qoffset_x, f.qoffset_y,
                               f.qoffset_z, f.pixdim[1], f.pixdim[2], f.pixdim[3], header->qfac,
                               header->ijk_to_xyz.m);
  } else {
    if (Verbose)
      printf("The NIFTI header for file %s uses Method 3: affine transformation of voxel indices\n",
             name);
    header->ijk_to_xyz = general_affine_to_mat44(f.srow_x, f.srow_y, f.srow_z);
  }
  const mat44 &m = header->ijk_to_xyz;
  header->origin = POINT3D{m.m[0][3], m.m[1][3], m.m[2][3]};
  header->direction.x = m.m[0][0] > 0 ? 1.0f : -1.0f;
  header->direction.y = m.m[1][1] > 0 ? 1.0f : -1.0f;
  header->direction.z = m.m[2][2] > 0 ? 1.0f : -1.0f;
  header->off_diagonal = 0;
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++)
      if (i != j && m.m[i][j] != 0.0f) header->off_diagonal = 1;
}

}  // namespace

int read_nifti_header(int Verbose, const char *file_name, XD_HEADER *header) {
  char name[ZOR_LINE];
  if (header->file_type == NIFTI_IMG) {
    char given[ZOR_LINE];
    snprintf(given, sizeof given, "%s", file_name);
    int file_type;
    if (replace_extension(given, &file_type, "hdr", name)) return 1;
  } else {
    snprintf(name, sizeof name, "%s", file_name);
  }

  volume_source source;
  if (volume_source_open(&source, name)) {
    printf("Error: cannot open Nifti file %s.\n", name);
    return 1;
  }
  unsigned char bytes[NIFTI1_HEADER_SIZE];
  if (volume_source_read(&source, bytes, NIFTI1_HEADER_SIZE) != NIFTI1_HEADER_SIZE) {
    // A compressed file says why its stream gave out; a plain one ends here.
    if (volume_source_report(&source)) {
      volume_source_close(&source);
      return 1;
    }
    volume_source_close(&source);
    fprintf(stderr, "\nError reading header file %s\n", name);
    zor_exit(1);
  }
  unsigned char after[16];
  const long long count = volume_source_read(&source, after, sizeof after);
  volume_source_close(&source);
  if (read_extension(after, count, header)) return 1;

  // A header written on a machine of the other byte order shows a
  // dimension count outside 1 to 7. Its fields are corrected here, but the
  // voxels are left as they are: byte_order stays this machine's.
  int16_t dim0;
  memcpy(&dim0, bytes + AT_DIM, 2);
  const Nifti1Fields f = decode_fields(bytes, dim0 < 1 || dim0 > 7);

  header->dim = IPOINT3D{f.dim[1], f.dim[2], f.dim[3]};
  header->nt = f.dim[4];
  if (f.dim[0] < 4) header->nt = 1;
  if (f.dim[0] > 5) {
    printf("Warning: zor does not currently handle data of dimensionality (%d) > 5.\n", f.dim[0]);
    puts("Proceeding using the 1st 5 dimensions...");
  }
  header->resolution = POINT3D{f.pixdim[1], f.pixdim[2], f.pixdim[3]};
  header->resolution_t = f.pixdim[4];
  header->scale_slope = f.scl_slope;
  header->scale_offset = f.scl_inter;
  header->qfac = f.pixdim[0];
  header->quaternion = POINT3D{f.quatern_b, f.quatern_c, f.quatern_d};
  header->voxel_offset = f.vox_offset;

  if (set_storage_type(f.datatype, header)) return 1;
  if (f.dim[0] == 5 && f.dim[5] == 3) header->data_type = DATA_VECTOR;
  if (check_volume_dimensions(header, name)) return 1;
  set_transform(Verbose, f, name, header);
  return 0;
}
