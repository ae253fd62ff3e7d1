// Vectors and row-pointer matrices. Allocators never return on failure:
// they report through alloc_error, which ends the run with status 1.
// Storage is not cleared.
#ifndef ZOR_ALLOC_H
#define ZOR_ALLOC_H

#include <cstdint>
#include "zor_types.h"

[[noreturn]] void alloc_error(const char *message);

char *char_vector(int count);
// A 64-bit count, for buffers of whole volumes of wide values.
char *char_vector_long(int64_t count);
unsigned char *unsigned_char_vector(int count);
int16_t *short_vector(int count);
uint16_t *unsigned_short_vector(int count);
int *int_vector(int count);
int64_t *long_vector(int count);
float *float_vector(int count);
float *float_vector_long(int64_t count);
double *double_vector(int count);
POINT2D *point2d_vector(int count);
IPOINT2D *ipoint2d_vector(int count);
POINT3D *point3d_vector(int count);
IPOINT3D *ipoint3d_vector(int count);
FCOMPLEX *fcomplex_vector(int count);
DCOMPLEX *dcomplex_vector(int count);
LCOMPLEX *lcomplex_vector(int count);
SCOMPLEX *scomplex_vector(int count);

void free_char_vector(char *v);
void free_unsigned_char_vector(unsigned char *v);
void free_short_vector(int16_t *v);
void free_unsigned_short_vector(uint16_t *v);
void free_int_vector(int *v);
void free_long_vector(int64_t *v);
void free_float_vector(float *v);
void free_double_vector(double *v);
void free_point2d_vector(POINT2D *v);
void free_ipoint2d_vector(IPOINT2D *v);
void free_point3d_vector(POINT3D *v);
void free_ipoint3d_vector(IPOINT3D *v);
void free_fcomplex_vector(FCOMPLEX *v);
void free_dcomplex_vector(DCOMPLEX *v);
void free_lcomplex_vector(LCOMPLEX *v);
void free_scomplex_vector(SCOMPLEX *v);

// Matrices: a table of row pointers, each row allocated apart.
float **float_matrix(int nrows, int ncols);
double **double_matrix(int nrows, int ncols);
int **int_matrix(int nrows, int ncols);
int16_t **short_matrix(int nrows, int ncols);
int64_t **long_matrix(int nrows, int ncols);
FCOMPLEX **fcomplex_matrix(int nrows, int ncols);

void free_float_matrix(float **m, int nrows, int ncols);
void free_double_matrix(double **m, int nrows, int ncols);
void free_int_matrix(int **m, int nrows, int ncols);
void free_short_matrix(int16_t **m, int nrows, int ncols);
void free_long_matrix(int64_t **m, int nrows, int ncols);
void free_fcomplex_matrix(FCOMPLEX **m, int nrows, int ncols);

#endif
