// Quaternion form of a NIfTI-1 orientation to a 4 by 4 matrix, row by row.
// Kept apart from the other headers because the library that does the work
// declares its own mat44, which would clash with ours.
#ifndef ZOR_NIFTI_QUATERNION_H
#define ZOR_NIFTI_QUATERNION_H

void nifti_quaternion_to_matrix(float qb, float qc, float qd, float qx, float qy, float qz,
                                float dx, float dy, float dz, float qfac, float matrix[4][4]);

#endif
