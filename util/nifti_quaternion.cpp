// The one call into niftilib. Its mat44 has the same layout as ours but is
// another type, so this file sees only the library's and hands back plain
// rows.
#include <nifti1_io.h>

#include "zor_nifti_quaternion.h"

void nifti_quaternion_to_matrix(float qb, float qc, float qd, float qx, float qy, float qz,
                                float dx, float dy, float dz, float qfac, float matrix[4][4]) {
  const mat44 r = nifti_quatern_to_mat44(qb, qc, qd, qx, qy, qz, dx, dy, dz, qfac);
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) matrix[i][j] = r.m[i][j];
}
