// Reads "a b x" triples from standard input, one per line, and prints
// ibeta(a, b, x) for each with 17 significant digits.
#include <cstdio>

#include "zor_special.h"

int main() {
  double a, b, x;
  while (scanf("%lf %lf %lf", &a, &b, &x) == 3) printf("%.17g\n", ibeta(a, b, x));
  return 0;
}
