// Vectors and row-pointer matrices. Byte sizes are computed in 64 bits; a
// size that does not fit is reported as an allocation failure rather than
// wrapped. Storage taken with operator new (the containers used inside the
// readers) fails the same way: through alloc_error, never by an exception
// that would end the program without its message.
#include "zor_alloc.h"

#include <cstdio>
#include <cstdlib>
#include <new>

#include "zor_exit.h"

void alloc_error(const char *message) {
  fprintf(stderr, "Fatal Error:\n");
  fprintf(stderr, "%s\n", message);
  fprintf(stderr, "Program aborted.\n");
  zor_exit(1);
}

namespace {

[[noreturn]] void new_failed() { alloc_error("Allocation error in operator new()."); }

// Installed before main, so that it covers every program of the project.
const bool new_handler_installed = (std::set_new_handler(new_failed), true);

template <typename T>
T *allocate_vector(int64_t count, const char *message) {
  if (count < 0) alloc_error(message);
  if (static_cast<uint64_t>(count) > SIZE_MAX / sizeof(T)) alloc_error(message);
  size_t bytes = static_cast<size_t>(count) * sizeof(T);
  void *p = malloc(bytes ? bytes : 1);
  if (!p) alloc_error(message);
  return static_cast<T *>(p);
}

template <typename T>
T **allocate_matrix(int nrows, int ncols, const char *table_message, const char *row_message) {
  if (nrows < 0) alloc_error(table_message);
  T **m = allocate_vector<T *>(nrows, table_message);
  for (int i = 0; i < nrows; i++) m[i] = allocate_vector<T>(ncols, row_message);
  return m;
}

template <typename T>
void release_matrix(T **m, int nrows) {
  if (!m) return;
  for (int i = nrows - 1; i >= 0; i--) free(m[i]);
  free(m);
}

}  // namespace

char *char_vector(int n) { return allocate_vector<char>(n, "Allocation error in char_vector()."); }
char *char_vector_long(int64_t n) { return allocate_vector<char>(n, "Allocation error in char_vector()."); }
unsigned char *unsigned_char_vector(int n) { return allocate_vector<unsigned char>(n, "Allocation error in char_vector()."); }
int16_t *short_vector(int n) { return allocate_vector<int16_t>(n, "Allocation error in short_vector()."); }
uint16_t *unsigned_short_vector(int n) { return allocate_vector<uint16_t>(n, "Allocation error in short_vector()."); }
int *int_vector(int n) { return allocate_vector<int>(n, "Allocation error in int_vector()."); }
int64_t *long_vector(int n) { return allocate_vector<int64_t>(n, "Allocation error in long_vector()."); }
float *float_vector(int n) { return allocate_vector<float>(n, "Allocation error in float_vector()."); }
float *float_vector_long(int64_t n) { return allocate_vector<float>(n, "Allocation error in float_vector()."); }
double *double_vector(int n) { return allocate_vector<double>(n, "Allocation error in double_vector()."); }
POINT2D *point2d_vector(int n) { return allocate_vector<POINT2D>(n, "Allocation error in point2d_vector()."); }
IPOINT2D *ipoint2d_vector(int n) { return allocate_vector<IPOINT2D>(n, "Allocation error in ipoint2d_vector()."); }
POINT3D *point3d_vector(int n) { return allocate_vector<POINT3D>(n, "Allocation error in point3d_vector()."); }
IPOINT3D *ipoint3d_vector(int n) { return allocate_vector<IPOINT3D>(n, "Allocation error in ipoint3d_vector()."); }
FCOMPLEX *fcomplex_vector(int n) { return allocate_vector<FCOMPLEX>(n, "Allocation error in fcomplex_vector()."); }
DCOMPLEX *dcomplex_vector(int n) { return allocate_vector<DCOMPLEX>(n, "Allocation error in fcomplex_vector()."); }
LCOMPLEX *lcomplex_vector(int n) { return allocate_vector<LCOMPLEX>(n, "Allocation error in lcomplex_vector()."); }
SCOMPLEX *scomplex_vector(int n) { return allocate_vector<SCOMPLEX>(n, "Allocation error in scomplex_vector()."); }

void free_char_vector(char *v) { free(v); }
void free_unsigned_char_vector(unsigned char *v) { free(v); }
void free_short_vector(int16_t *v) { free(v); }
void free_unsigned_short_vector(uint16_t *v) { free(v); }
void free_int_vector(int *v) { free(v); }
void free_long_vector(int64_t *v) { free(v); }
void free_float_vector(float *v) { free(v); }
void free_double_vector(double *v) { free(v); }
void free_point2d_vector(POINT2D *v) { free(v); }
void free_ipoint2d_vector(IPOINT2D *v) { free(v); }
void free_point3d_vector(POINT3D *v) { free(v); }
void free_ipoint3d_vector(IPOINT3D *v) { free(v); }
void free_fcomplex_vector(FCOMPLEX *v) { free(v); }
void free_dcomplex_vector(DCOMPLEX *v) { free(v); }
void free_lcomplex_vector(LCOMPLEX *v) { free(v); }
void free_scomplex_vector(SCOMPLEX *v) { free(v); }

float **float_matrix(int r, int c) {
  return allocate_matrix<float>(r, c, "Allocation failure 1 in float_matrix().", "Allocation failure 2 in float_matrix().");
}
double **double_matrix(int r, int c) {
  return allocate_matrix<double>(r, c, "Allocation failure 1 in double_matrix().", "Allocation failure 2 in double_matrix().");
}
int **int_matrix(int r, int c) {
  return allocate_matrix<int>(r, c, "Allocation failure 1 in integer_matrix().", "Allocation failure 2 in integer_matrix().");
}
int16_t **short_matrix(int r, int c) {
  return allocate_matrix<int16_t>(r, c, "Allocation failure 1 in short_matrix().", "Allocation failure 2 in short_matrix().");
}
int64_t **long_matrix(int r, int c) {
  return allocate_matrix<int64_t>(r, c, "Allocation failure 1 in long_matrix().", "Allocation failure 2 in long_matrix().");
}
FCOMPLEX **fcomplex_matrix(int r, int c) {
  return allocate_matrix<FCOMPLEX>(r, c, "Allocation failure 1 in fcomplex_matrix().", "Allocation failure 2 in fcomplex_matrix().");
}

void free_float_matrix(float **m, int r, int) { release_matrix(m, r); }
void free_double_matrix(double **m, int r, int) { release_matrix(m, r); }
void free_int_matrix(int **m, int r, int) { release_matrix(m, r); }
void free_short_matrix(int16_t **m, int r, int) { release_matrix(m, r); }
void free_long_matrix(int64_t **m, int r, int) { release_matrix(m, r); }
void free_fcomplex_matrix(FCOMPLEX **m, int r, int) { release_matrix(m, r); }
