// Square-matrix inversion and the small numeric kit on row-pointer matrices.
#ifndef ZOR_MATRIX_H
#define ZOR_MATRIX_H

// In-place inverse. Returns 0, or 1 for a negative order or an exact zero
// pivot (then `info` holds the column).
int dInvertSquareMatrix(int order, double **matrix, int *info);
int rInvertSquareMatrix(int order, float **matrix, int *info);

#endif
