// NIfTI-1 volumes written whole: a 348-byte header in this machine's byte
// order, an optional degrees-of-freedom extension, then 32-bit floats. The
// geometry comes from the study's first data file.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "zor_atomic_file.h"
#include "zor_header.h"
#include "zor_maps.h"
#include "zor_volume_source.h"

namespace {

const int HEADER_SIZE = 348;

template <typename T>
T field(const unsigned char *bytes, int at, bool swap) {
  T v;
  memcpy(&v, bytes + at, sizeof v);
  if (swap && sizeof v == 2) swap_16(&v);
  if (swap && sizeof v == 4) swap_32(&v);
  return v;
}

template <typename T>
void put(unsigned char *bytes, int at, T v) {
  memcpy(bytes + at, &v, sizeof v);
}

// The quaternion form of a voxel-to-space matrix (rotation part scaled by
// the voxel sizes), as NIfTI-1 defines it: the third column's sign goes to
// qfac, and the rotation gives b, c, d with a non-negative a.
void matrix_to_quaternion(const mat44 &m, nifti_geometry *g) {
  double r[3][3];
  double size[3];
  for (int j = 0; j < 3; j++) {
    size[j] = sqrt((double)m.m[0][j] * m.m[0][j] + (double)m.m[1][j] * m.m[1][j] + (double)m.m[2][j] * m.m[2][j]);
    if (size[j] == 0.0) size[j] = 1.0;
    for (int i = 0; i < 3; i++) r[i][j] = m.m[i][j] / size[j];
  }
  const double det = r[0][0] * (r[1][1] * r[2][2] - r[1][2] * r[2][1]) -
                     r[0][1] * (r[1][0] * r[2][2] - r[1][2] * r[2][0]) +
                     r[0][2] * (r[1][0] * r[2][1] - r[1][1] * r[2][0]);
  double qfac = 1.0;
  if (det < 0.0) {
    qfac = -1.0;
    for (int i = 0; i < 3; i++) r[i][2] = -r[i][2];
  }
  double a = r[0][0] + r[1][1] + r[2][2] + 1.0, b, c, d;
  if (a > 0.5) {
    a = 0.5 * sqrt(a);
    b = 0.25 * (r[2][1] - r[1][2]) / a;
    c = 0.25 * (r[0][2] - r[2][0]) / a;
    d = 0.25 * (r[1][0] - r[0][1]) / a;
  } else {
    const double xd = 1.0 + r[0][0] - (r[1][1] + r[2][2]);
    const double yd = 1.0 + r[1][1] - (r[0][0] + r[2][2]);
    const double zd = 1.0 + r[2][2] - (r[0][0] + r[1][1]);
    if (xd > 1.0) {
      b = 0.5 * sqrt(xd);
      c = 0.25 * (r[0][1] + r[1][0]) / b;
      d = 0.25 * (r[0][2] + r[2][0]) / b;
      a = 0.25 * (r[2][1] - r[1][2]) / b;
    } else if (yd > 1.0) {
      c = 0.5 * sqrt(yd);
      b = 0.25 * (r[0][1] + r[1][0]) / c;
      d = 0.25 * (r[1][2] + r[2][1]) / c;
      a = 0.25 * (r[0][2] - r[2][0]) / c;
    } else {
      d = 0.5 * sqrt(zd);
      b = 0.25 * (r[0][2] + r[2][0]) / d;
      c = 0.25 * (r[1][2] + r[2][1]) / d;
      a = 0.25 * (r[1][0] - r[0][1]) / d;
    }
    if (a < 0.0) {
      b = -b;
      c = -c;
      d = -d;
    }
  }
  g->quatern_b = (float)b;
  g->quatern_c = (float)c;
  g->quatern_d = (float)d;
  g->pixdim[0] = (float)qfac;
}

}  // namespace

int nifti_geometry_from_file(const char *file_name, nifti_geometry *g) {
  memset(g, 0, sizeof *g);
  XD_HEADER header;
  if (read_volume_header(0, file_name, &header)) return 1;
  g->dim = header.dim;
  if (header.file_type == NIFTI_NII || header.file_type == NIFTI_IMG) {
    char name[ZOR_LINE];
    snprintf(name, sizeof name, "%s", file_name);
    if (header.file_type == NIFTI_IMG) {
      char given[ZOR_LINE];
      snprintf(given, sizeof given, "%s", file_name);
      int file_type;
      if (replace_extension(given, &file_type, "hdr", name)) return 1;
    }
    volume_source source;
    unsigned char bytes[HEADER_SIZE];
    if (volume_source_open(&source, name) || volume_source_read(&source, bytes, HEADER_SIZE) != HEADER_SIZE) {
      if (!volume_source_report(&source)) printf("Error: cannot read the header of %s.\n", name);
      volume_source_close(&source);
      return 1;
    }
    volume_source_close(&source);
    const int16_t dim0 = field<int16_t>(bytes, 40, false);
    const bool swap = dim0 < 1 || dim0 > 7;
    for (int i = 0; i < 8; i++) g->pixdim[i] = field<float>(bytes, 76 + 4 * i, swap);
    g->xyzt_units = bytes[123];
    g->qform_code = field<int16_t>(bytes, 252, swap);
    g->sform_code = field<int16_t>(bytes, 254, swap);
    g->quatern_b = field<float>(bytes, 256, swap);
    g->quatern_c = field<float>(bytes, 260, swap);
    g->quatern_d = field<float>(bytes, 264, swap);
    g->qoffset_x = field<float>(bytes, 268, swap);
    g->qoffset_y = field<float>(bytes, 272, swap);
    g->qoffset_z = field<float>(bytes, 276, swap);
    for (int i = 0; i < 4; i++) {
      g->srow_x[i] = field<float>(bytes, 280 + 4 * i, swap);
      g->srow_y[i] = field<float>(bytes, 296 + 4 * i, swap);
      g->srow_z[i] = field<float>(bytes, 312 + 4 * i, swap);
    }
    return 0;
  }
  // Other formats: the reader's matrix as both forms, millimetres and seconds.
  const mat44 &m = header.ijk_to_xyz;
  g->pixdim[1] = header.resolution.x;
  g->pixdim[2] = header.resolution.y;
  g->pixdim[3] = header.resolution.z;
  g->pixdim[4] = header.resolution_t;
  g->xyzt_units = 2 | 8;
  g->qform_code = g->sform_code = 1;
  matrix_to_quaternion(m, g);
  g->qoffset_x = m.m[0][3];
  g->qoffset_y = m.m[1][3];
  g->qoffset_z = m.m[2][3];
  for (int i = 0; i < 4; i++) {
    g->srow_x[i] = m.m[0][i];
    g->srow_y[i] = m.m[1][i];
    g->srow_z[i] = m.m[2][i];
  }
  return 0;
}

int write_nifti_volumes(const char *file_name, const nifti_geometry *g, int nt, const float *volumes, int lDOF) {
  unsigned char h[HEADER_SIZE];
  memset(h, 0, sizeof h);
  put<int32_t>(h, 0, HEADER_SIZE);
  const int16_t dim[8] = {(int16_t)(nt > 1 ? 4 : 3), (int16_t)g->dim.x, (int16_t)g->dim.y, (int16_t)g->dim.z,
                          (int16_t)(nt > 0 ? nt : 1), 1, 1, 1};
  for (int i = 0; i < 8; i++) put<int16_t>(h, 40 + 2 * i, dim[i]);
  put<int16_t>(h, 70, 16);  // 32-bit float
  put<int16_t>(h, 72, 32);
  float pixdim[8];
  memcpy(pixdim, g->pixdim, sizeof pixdim);
  if (pixdim[0] != -1.0f) pixdim[0] = 1.0f;
  pixdim[4] = 1.0f;  // the volumes of a map are not a time series
  for (int i = 5; i < 8; i++) pixdim[i] = 1.0f;
  for (int i = 0; i < 8; i++) put<float>(h, 76 + 4 * i, pixdim[i]);
  const int extension = lDOF > 0 ? 16 : 0;
  put<float>(h, 108, (float)(HEADER_SIZE + 4 + extension));
  put<float>(h, 112, 1.0f);
  put<float>(h, 116, 0.0f);
  h[123] = (unsigned char)g->xyzt_units;
  snprintf(reinterpret_cast<char *>(h + 148), 80, "zormaps");
  put<int16_t>(h, 252, (int16_t)g->qform_code);
  put<int16_t>(h, 254, (int16_t)g->sform_code);
  put<float>(h, 256, g->quatern_b);
  put<float>(h, 260, g->quatern_c);
  put<float>(h, 264, g->quatern_d);
  put<float>(h, 268, g->qoffset_x);
  put<float>(h, 272, g->qoffset_y);
  put<float>(h, 276, g->qoffset_z);
  for (int i = 0; i < 4; i++) {
    put<float>(h, 280 + 4 * i, g->srow_x[i]);
    put<float>(h, 296 + 4 * i, g->srow_y[i]);
    put<float>(h, 312 + 4 * i, g->srow_z[i]);
  }
  memcpy(h + 344, "n+1\0", 4);

  unsigned char after[4 + 16];
  memset(after, 0, sizeof after);
  if (extension) {
    after[0] = 1;
    const int32_t esize = 16, ecode = 20, dof = lDOF;
    memcpy(after + 4, &esize, 4);
    memcpy(after + 8, &ecode, 4);
    memcpy(after + 12, &dof, 4);
  }

  atomic_file out;
  FILE *fp = atomic_file_open(&out, file_name);
  if (!fp) {
    printf("Error: cannot write the map %s.\n", file_name);
    return 1;
  }
  const size_t count = (size_t)g->dim.x * g->dim.y * g->dim.z * (size_t)(nt > 0 ? nt : 1);
  bool ok = fwrite(h, 1, sizeof h, fp) == sizeof h && fwrite(after, 1, 4 + extension, fp) == (size_t)(4 + extension) &&
            fwrite(volumes, sizeof(float), count, fp) == count;
  if (!ok) {
    atomic_file_abandon(&out);
    printf("Error: cannot write the map %s.\n", file_name);
    return 1;
  }
  if (atomic_file_commit(&out)) {
    printf("Error: cannot write the map %s.\n", file_name);
    return 1;
  }
  return 0;
}
