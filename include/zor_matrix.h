// Square-matrix inversion and the small numeric kit on row-pointer matrices.
#ifndef ZOR_MATRIX_H
#define ZOR_MATRIX_H

// In-place inverse. Returns 0, or 1 for a negative order or an exact zero
// pivot (then `info` holds the column).
int dInvertSquareMatrix(int order, double **matrix, int *info);
int rInvertSquareMatrix(int order, float **matrix, int *info);

// C (nrow by ncol) = A·B, summed over n_inner terms in single precision.
// A non-zero transpose flag reads that operand as its transpose: A[k][i]
// instead of A[i][k], B[j][k] instead of B[k][j].
void Matrix_Product(float **C, int nrow, int ncol, float **A, int transpose_A, int n_inner,
                    float **B, int transpose_B);

// y (nrow) = M·x (x has ncol elements); with `transpose` M[j][i] is read.
void Matrix_Vector_Product(float *y, int nrow, float **M, int transpose, int ncol, float *x);

// P (ncol by nrow) = (XᵀX)⁻¹Xᵀ for X (nrow by ncol). A singular XᵀX is not
// reported: P is then whatever the partial inversion left.
void Matrix_PseudoInverse(float **X, int nrow, int ncol, float **P);

// Sum of the diagonal of a square matrix.
float Trace_of_Matrix(int order, float **M);

// Symmetric 3 by 3 eigen decomposition: eigenvalues in `d` in ascending
// order, the matching unit eigenvectors in the columns of V. A is not changed.
void eigen_decomposition(double A[3][3], double V[3][3], double d[3]);
// Two decompositions side by side, each giving exactly what
// eigen_decomposition gives for it alone (whole maps of tensors).
void eigen_decomposition_pair(double A0[3][3], double A1[3][3], double V0[3][3], double V1[3][3], double d0[3],
                              double d1[3]);
// Four side by side: A[k], V[k] and d[k] as A, V and d above.
void eigen_decomposition_four(double (*A[4])[3], double (*V[4])[3], double *d[4]);

#endif
