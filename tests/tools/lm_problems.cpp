// Runs the minimiser with its default controls on the classic least-squares
// test problems of Moré, Garbow and Hillstrom and prints, one line each:
//   name m n info nfev fnorm p0 p1 ...
// tests/oracle/test_lm_minpack.py puts scipy's leastsq beside it.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "zor.h"

namespace {

typedef void (*residuals)(const double *x, double *f);

const double bard_y[15] = {0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39,
                           0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39};
const double kowalik_y[11] = {0.1957, 0.1947, 0.1735, 0.1600, 0.0844, 0.0627,
                              0.0456, 0.0342, 0.0323, 0.0235, 0.0246};
const double kowalik_u[11] = {4, 2, 1, 0.5, 0.25, 0.167, 0.125, 0.1, 0.0833, 0.0714, 0.0625};
const double meyer_y[16] = {34780, 28610, 23650, 19630, 16370, 13720, 11540, 9744,
                            8261,  7030,  6005,  5147,  4427,  3820,  3307,  2872};
const double osborne_y[33] = {0.844, 0.908, 0.932, 0.936, 0.925, 0.908, 0.881, 0.850, 0.818,
                              0.784, 0.751, 0.718, 0.685, 0.658, 0.628, 0.603, 0.580, 0.558,
                              0.538, 0.522, 0.506, 0.490, 0.478, 0.467, 0.457, 0.448, 0.438,
                              0.431, 0.424, 0.420, 0.414, 0.411, 0.406};

void rosenbrock(const double *x, double *f) {
  f[0] = 10.0 * (x[1] - x[0] * x[0]);
  f[1] = 1.0 - x[0];
}
void helical_valley(const double *x, double *f) {
  double theta = std::atan(x[1] / x[0]) / (2.0 * M_PI);
  if (x[0] < 0.0) theta += 0.5;
  f[0] = 10.0 * (x[2] - 10.0 * theta);
  f[1] = 10.0 * (std::sqrt(x[0] * x[0] + x[1] * x[1]) - 1.0);
  f[2] = x[2];
}
void powell_singular(const double *x, double *f) {
  f[0] = x[0] + 10.0 * x[1];
  f[1] = std::sqrt(5.0) * (x[2] - x[3]);
  f[2] = (x[1] - 2.0 * x[2]) * (x[1] - 2.0 * x[2]);
  f[3] = std::sqrt(10.0) * (x[0] - x[3]) * (x[0] - x[3]);
}
void freudenstein_roth(const double *x, double *f) {
  f[0] = -13.0 + x[0] + ((5.0 - x[1]) * x[1] - 2.0) * x[1];
  f[1] = -29.0 + x[0] + ((x[1] + 1.0) * x[1] - 14.0) * x[1];
}
void bard(const double *x, double *f) {
  for (int i = 1; i <= 15; i++) {
    const double u = i, v = 16 - i, w = u < v ? u : v;
    f[i - 1] = bard_y[i - 1] - (x[0] + u / (x[1] * v + x[2] * w));
  }
}
void kowalik_osborne(const double *x, double *f) {
  for (int i = 0; i < 11; i++) {
    const double u = kowalik_u[i];
    f[i] = kowalik_y[i] - x[0] * (u * u + u * x[1]) / (u * u + u * x[2] + x[3]);
  }
}
void meyer(const double *x, double *f) {
  for (int i = 1; i <= 16; i++) f[i - 1] = x[0] * std::exp(x[1] / (45.0 + 5.0 * i + x[2])) - meyer_y[i - 1];
}
void box3d(const double *x, double *f) {
  for (int i = 1; i <= 10; i++) {
    const double t = 0.1 * i;
    f[i - 1] = std::exp(-t * x[0]) - std::exp(-t * x[1]) - x[2] * (std::exp(-t) - std::exp(-10.0 * t));
  }
}
void jennrich_sampson(const double *x, double *f) {
  for (int i = 1; i <= 10; i++) f[i - 1] = 2.0 + 2.0 * i - (std::exp(i * x[0]) + std::exp(i * x[1]));
}
void brown_dennis(const double *x, double *f) {
  for (int i = 1; i <= 20; i++) {
    const double t = i / 5.0;
    const double a = x[0] + t * x[1] - std::exp(t), b = x[2] + x[3] * std::sin(t) - std::cos(t);
    f[i - 1] = a * a + b * b;
  }
}
void osborne1(const double *x, double *f) {
  for (int i = 0; i < 33; i++) {
    const double t = 10.0 * i;
    f[i] = osborne_y[i] - (x[0] + x[1] * std::exp(-t * x[3]) + x[2] * std::exp(-t * x[4]));
  }
}
void linear_full_rank(const double *x, double *f) {
  const int n = 5, m = 10;
  double sum = 0.0;
  for (int j = 0; j < n; j++) sum += x[j];
  for (int i = 0; i < m; i++) f[i] = (i < n ? x[i] : 0.0) - 2.0 * sum / m - 1.0;
}

struct Problem {
  const char *name;
  residuals function;
  int m, n;
  double start[5];
};

const Problem problems[] = {
    {"rosenbrock", rosenbrock, 2, 2, {-1.2, 1.0}},
    {"helical_valley", helical_valley, 3, 3, {-1.0, 0.0, 0.0}},
    {"powell_singular", powell_singular, 4, 4, {3.0, -1.0, 0.0, 1.0}},
    {"freudenstein_roth", freudenstein_roth, 2, 2, {0.5, -2.0}},
    {"bard", bard, 15, 3, {1.0, 1.0, 1.0}},
    {"kowalik_osborne", kowalik_osborne, 11, 4, {0.25, 0.39, 0.415, 0.39}},
    {"meyer", meyer, 16, 3, {0.02, 4000.0, 250.0}},
    {"box3d", box3d, 10, 3, {0.0, 10.0, 20.0}},
    {"jennrich_sampson", jennrich_sampson, 10, 2, {0.3, 0.4}},
    {"brown_dennis", brown_dennis, 20, 4, {25.0, 5.0, -5.0, -1.0}},
    {"osborne1", osborne1, 33, 5, {0.5, 1.5, -1.0, 0.01, 0.02}},
    {"linear_full_rank", linear_full_rank, 10, 5, {1.0, 1.0, 1.0, 1.0, 1.0}},
};

void evaluate(double *par, int m_dat, double *fvec, void *data, int *info) {
  (void)m_dat, (void)info;
  static_cast<const Problem *>(data)->function(par, fvec);
}

}  // namespace

int main(int argc, char **argv) {
  for (const Problem &p : problems) {
    if (argc > 1 && strcmp(argv[1], p.name)) continue;
    std::vector<double> x(p.start, p.start + p.n);
    lm_control_type control;
    lm_initialize_control(&control);
    lm_minimize(p.m, p.n, x.data(), evaluate, lm_print_maps, (void *)&p, &control);
    printf("%s %d %d %d %d %.17g", p.name, p.m, p.n, control.info, control.nfev, control.fnorm);
    for (double v : x) printf(" %.17g", v);
    printf("\n");
  }
  return 0;
}
