// Reads square matrices from standard input (the order, then the values row
// by row; repeated until the end) and writes, for each, the result code, the
// info value and the inverse row by row, with full double precision.
#include <cstdio>

#include "zor.h"

int main() {
  int n;
  while (scanf("%d", &n) == 1) {
    if (n < 0 || n > 1000) return 2;
    double **m = double_matrix(n, n);
    for (int i = 0; i < n; i++)
      for (int j = 0; j < n; j++)
        if (scanf("%lf", &m[i][j]) != 1) return 2;
    int info = 0;
    const int result = dInvertSquareMatrix(n, m, &info);
    printf("%d %d\n", result, info);
    for (int i = 0; i < n; i++) {
      for (int j = 0; j < n; j++) printf("%s%.17g", j ? " " : "", m[i][j]);
      printf("\n");
    }
    free_double_matrix(m, n, n);
  }
  return 0;
}
