// The design of the PET models: running integrals of the reference curve
// (static side) and of the fitted curve itself (dynamic side), nuisance
// columns, the noise weights, and the weighted pseudo-inverse with the
// conditions' covariances.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "../util/linear_model_solve.h"
#include "srtm_design_core.h"
#include "srtm_internal.h"
#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_linear_models.h"
#include "zor_matrix.h"
#include "zor_text.h"

using namespace srtm;

double srtm_shape_value(int shape, double time, double start, double stop, double tau, double alpha,
                        int test_start) {
  if (shape == SHAPE_CONSTANT) return 1.0;
  if (test_start && !(time > start)) return 0.0;
  double x = (time - start) / tau;
  switch (shape) {
    case SHAPE_GAMMA: return pow(x, alpha) * exp((1.0 - x) * alpha);
    case SHAPE_GAMMAINT: {
      double a_start = (start + tau) * exp(-start / tau);
      double a_time = (time + tau) * exp(-time / tau);
      double a_stop = (stop + tau) * exp(-stop / tau);
      return (a_start - a_time) / (a_start - a_stop);
    }
    case SHAPE_SIGMOID: return x / sqrt(1.0 + x * x);
    default: return 0.0;
  }
}

void srtm_update_frame_times(void) {
  free_double_vector(srtm_frame_time);
  srtm_frame_time = double_vector(SRTM.ntime > 0 ? SRTM.ntime : 1);
  for (int i = 0; i < SRTM.ntime; i++) srtm_frame_time[i] = SRTM_time_total_minutes(i);
}

namespace {

// The time shape of every parametric event at every frame, for each of its
// periods: it depends on the timing alone, so the running integrals of many
// curves share it.
std::vector<double> shape_cache;
std::vector<size_t> shape_offset;  // per coefficient: start of its [period][frame] block
std::vector<int> shape_periods;    // per coefficient: periods held

void build_shape_cache(void) {
  shape_cache.clear();
  shape_offset.assign(SRTM.ncoeff, 0);
  shape_periods.assign(SRTM.ncoeff, 0);
  for (int c = 0; c < SRTM.ncoeff; c++) {
    shape_offset[c] = shape_cache.size();
    const int shape = SRTM.event_shape[c];
    if (shape == srtm::SHAPE_CONSTANT || shape == srtm::SHAPE_TABLE) continue;
    const int np = SRTM.nperiods[c] < SRTM_MAX_PERIODS ? SRTM.nperiods[c] : SRTM_MAX_PERIODS;
    shape_periods[c] = np;
    for (int p = 0; p < np; p++)
      for (int i = 0; i < SRTM.ntime; i++)
        shape_cache.push_back(srtm_shape_value(shape, srtm_frame_time[i], SRTM.period_start[c][p],
                                               SRTM.period_stop[c][p], SRTM.tau[c], SRTM.alpha[c], 1));
  }
}

}  // namespace

void srtm_clear_shape_cache(void) {
  shape_cache.clear();
  shape_offset.clear();
  shape_periods.clear();
}

namespace {

[[noreturn]] void shape_stops_program(int icoeff) {
  printf("Programming error: event type k2 (ID=%c) should be either constant\n",
         SRTM_EventChar(SRTM.event_id[icoeff]));
  puts("or some parametric shape read from a table.");
  zor_exit(1);
}

int periods_of(int icoeff) { return SRTM.nperiods[icoeff] < SRTM_MAX_PERIODS ? SRTM.nperiods[icoeff] : SRTM_MAX_PERIODS; }

// The running integral sum over u <= j of dt(u) g(u) f(u) [f2(u)] for one
// period of an event, at every frame of a run.
void running_integral(int icoeff, int irun, int iperiod, const double *f, const double *f2, double *out) {
  const int nt = SRTM.nt[irun], i0 = SRTM.run_istart[irun];
  const double *dt = SRTM.table_value[irun][0];
  const int shape = SRTM.event_shape[icoeff];
  const double start = SRTM.period_start[icoeff][iperiod], stop = SRTM.period_stop[icoeff][iperiod];
  const double tau = SRTM.tau[icoeff], alpha = SRTM.alpha[icoeff];
  const double *column = shape == SHAPE_TABLE ? SRTM.table_value[irun][SRTM.icolumn[icoeff]] : nullptr;
  const bool cached = (size_t)icoeff < shape_periods.size() && iperiod < shape_periods[icoeff] &&
                      shape != SHAPE_CONSTANT && !column;
  const double *g_cache = cached ? &shape_cache[shape_offset[icoeff] + (size_t)iperiod * SRTM.ntime + i0] : nullptr;
  double sum = 0.0;
  for (int u = 0; u < nt; u++) {
    double g = column    ? column[u]
               : g_cache ? g_cache[u]
                         : srtm_shape_value(shape, srtm_frame_time[i0 + u], start, stop, tau, alpha, 1);
    sum += f2 ? dt[u] * g * f2[u] * f[u] : dt[u] * g * f[u];
    out[u] = sum;
  }
}

// Writes column c of X over run r from per-period values: frames outside
// every period get 0, and the last period that holds a frame wins.
template <typename F>
void place_in_periods(double **X, int c, int irun, F value) {
  const int nt = SRTM.nt[irun], i0 = SRTM.run_istart[irun];
  for (int j = 0; j < nt; j++) {
    double t = srtm_frame_time[i0 + j];
    double x = 0.0;
    for (int p = 0; p < periods_of(c); p++)
      if (t >= SRTM.period_start[c][p] && SRTM.period_stop[c][p] + 0.001 >= t) x = value(p, j);
    X[i0 + j][c] = x;
  }
}

void static_columns(void) {
  std::vector<double> sums, sums2, k;
  for (int c = 0; c < SRTM.ncoeff; c++) {
    int type = SRTM.event_type[c], shape = SRTM.event_shape[c];
    if (type == TYPE_k2a || type == TYPE_1b) continue;
    if ((type == TYPE_k2 || type == TYPE_DVb) && shape != SHAPE_CONSTANT && shape != SHAPE_TABLE)
      shape_stops_program(c);
    if ((type == TYPE_CON || type == TYPE_LIN) && shape != SHAPE_CONSTANT) shape_stops_program(c);
    const int np = periods_of(c);
    for (int r = 0; r < SRTM.nruns; r++) {
      const int nt = SRTM.nt[r];
      sums.assign((size_t)(np > 0 ? np : 1) * nt, 0.0);
      sums2.assign(sums.size(), 0.0);
      auto at = [&](const std::vector<double> &s, int p, int j) { return s[(size_t)p * nt + j]; };
      switch (type) {
        case TYPE_R1:
          k.resize(nt);
          for (int j = 0; j < nt; j++) k[j] = SRTM.k2prime_base[r] * SRTM.k2prime_rel[r][j];
          for (int p = 0; p < np; p++) {
            running_integral(c, r, p, SRTM.ref_region_deriv[r], nullptr, &sums[(size_t)p * nt]);
            running_integral(c, r, p, SRTM.reference_region[r], k.data(), &sums2[(size_t)p * nt]);
          }
          place_in_periods(SRTM.Xorig_tc, c, r, [&](int p, int j) { return at(sums, p, j) + at(sums2, p, j); });
          place_in_periods(SRTM.Xmix_tc, c, r, [&](int p, int j) { return at(sums, p, j); });
          break;
        case TYPE_k2:
        case TYPE_DVb: {
          double sign = type == TYPE_k2 ? 1.0 : -1.0;
          for (int p = 0; p < np; p++)
            running_integral(c, r, p, SRTM.reference_region[r], nullptr, &sums[(size_t)p * nt]);
          place_in_periods(SRTM.Xorig_tc, c, r, [&](int p, int j) { return sign * at(sums, p, j); });
          break;
        }
        case TYPE_CON: place_in_periods(SRTM.Xorig_tc, c, r, [](int, int) { return 1.0; }); break;
        case TYPE_LIN:
          place_in_periods(SRTM.Xorig_tc, c, r, [&](int, int j) { return (double)((float)j / (float)nt); });
          break;
        default: break;
      }
    }
  }
}

void fill_polynomial_design(int order, int npoints, float **X) {
  for (int j = 0; j < npoints; j++) {
    const double t = static_cast<double>(j) / npoints;
    const double column[4] = {1.0, t - 0.5, t * t - 0.3333333333333333, t * t * t - 0.25};
    for (int c = 0; c < order; c++) X[j][c] = static_cast<float>(column[c]);
  }
}

double mean_life(void) { return SRTM_input.half_life * 1.442695; }

}  // namespace

void srtm_dynamic_columns(const float *Ct, double **Xorig) {
  thread_local std::vector<double> ct, sums;
  for (int c = 0; c < SRTM.ncoeff; c++) {
    int type = SRTM.event_type[c];
    if (type != TYPE_k2a && type != TYPE_1b) continue;
    double sign = type == TYPE_k2a ? -1.0 : 1.0;
    const int np = periods_of(c);
    for (int r = 0; r < SRTM.nruns; r++) {
      const int nt = SRTM.nt[r], i0 = SRTM.run_istart[r];
      ct.assign(Ct + i0, Ct + i0 + nt);
      sums.assign((size_t)(np > 0 ? np : 1) * nt, 0.0);
      for (int p = 0; p < np; p++) running_integral(c, r, p, SRTM.k2prime_rel[r], ct.data(), &sums[(size_t)p * nt]);
      place_in_periods(Xorig, c, r, [&](int p, int j) { return sign * sums[(size_t)p * nt + j]; });
    }
  }
}

int srtm_define_run_polynomials(srtm_run_polynomial *poly) {
  const int order = mean_life() == 0.0 ? 1 : 4;
  for (int r = 0; r < SRTM.nruns; r++) poly[r] = srtm_run_polynomial{0, 0, nullptr, nullptr, nullptr};
  for (int r = 0; r < SRTM.nruns; r++) {
    const int nt = SRTM.nt[r], i0 = SRTM.run_istart[r];
    if (nt < 2) {
      printf("Error: the # of points (%d) must be >= 2.\n", nt);
      srtm_free_run_polynomials(poly);
      return 1;
    }
    std::vector<float> weights(nt);
    for (int j = 0; j < nt; j++) weights[j] = (float)SRTM.include_time[i0 + j];
    poly[r].nt = nt;
    poly[r].order = order;
    poly[r].X = linear_model_zero_matrix(nt, order);
    poly[r].Pinv = linear_model_zero_matrix(order, nt);
    poly[r].Beta = linear_model_zero_vector(order);
    fill_polynomial_design(order, nt, poly[r].X);
    float **normal_inverse = linear_model_zero_matrix(order, order);
    linear_model_normal_inverse(nt, order, poly[r].X, weights.data(), normal_inverse);
    linear_model_weighted_pinv(nt, order, poly[r].X, weights.data(), normal_inverse, poly[r].Pinv);
    free_float_matrix(normal_inverse, order, order);
  }
  return 0;
}

void srtm_free_run_polynomials(srtm_run_polynomial *poly) {
  for (int r = 0; r < SRTM.nruns; r++) {
    if (!poly[r].X) continue;
    free_float_matrix(poly[r].X, poly[r].nt, poly[r].order);
    free_float_matrix(poly[r].Pinv, poly[r].order, poly[r].nt);
    free_float_vector(poly[r].Beta);
    poly[r] = srtm_run_polynomial{0, 0, nullptr, nullptr, nullptr};
  }
}

void srtm_decay_factors(double *decay) {
  const double life = mean_life();
  for (int r = 0; r < SRTM.nruns; r++) {
    const int i0 = SRTM.run_istart[r];
    for (int j = 0; j < SRTM.nt[r]; j++)
      decay[i0 + j] = life == 0.0 ? 1.0 : exp((srtm_frame_time[i0 + j] - srtm_frame_time[i0]) / life);
  }
}

void srtm_noise_model(int r, const float *Ct, srtm_run_polynomial *poly, srtm_fit_arrays &a) {
  const double life = mean_life();
  const int nt = SRTM.nt[r], i0 = SRTM.run_istart[r];
  thread_local std::vector<float> raw, fit, weights;
  raw.resize(nt);
  fit.resize(nt);
  weights.resize(nt);
  const double t0 = srtm_frame_time[i0];
  for (int j = 0; j < nt; j++) {
    double counts = fabs((double)Ct[i0 + j]);
    if (life == 0.0) {
      raw[j] = (float)sqrt(counts);
    } else {
      double decay = a.decay ? a.decay[i0 + j] : exp((srtm_frame_time[i0 + j] - t0) / life);
      raw[j] = (float)sqrt(decay * counts);
    }
    weights[j] = (float)SRTM.include_time[i0 + j];
  }
  if (poly) {
    linear_model_apply(nt, poly->order, poly->X, poly->Pinv, raw.data(), poly->Beta, fit.data());
  } else {
    if (PolynomialDefineGLM(life == 0.0 ? 1 : 4, nt, weights.data())) zor_exit(1);
    if (PolynomialFitGLM(nt, raw.data(), fit.data())) zor_exit(1);
  }
  const double *dt = SRTM.table_value[r][0];
  double sum = 0.0;
  for (int j = 0; j < nt; j++) {
    a.NoiseRaw_t[i0 + j] = (float)(raw[j] / sqrt(dt[j]));
    a.NoiseFit_t[i0 + j] = (float)(fit[j] / sqrt(dt[j]));
    float square = a.NoiseFit_t[i0 + j] * a.NoiseFit_t[i0 + j];
    a.Weight_t[i0 + j] = a.NoiseFit_t[i0 + j] == 0.0f ? std::numeric_limits<double>::infinity() : 1.0 / square;
    sum += a.Weight_t[i0 + j];
  }
  for (int j = 0; j < nt; j++) a.Weight_t[i0 + j] = a.Weight_t[i0 + j] * nt / sum;
}

namespace {

// The weighted normal matrix sum over t of X[t][i] w[t] X[t][j], each sum
// over the frames in order; the frames are the outer loop so that each row
// of X is read once. NC > 0 fixes the number of coefficients at compile
// time, so that the sums stay in registers; the order of the additions is
// the same either way.
template <int NC>
void normal_matrix(int T, int C, double **X, const double *w, double **N) {
  const int n = NC > 0 ? NC : C;
  thread_local std::vector<double> buffer;
  double fixed[NC > 0 ? NC * NC : 1];
  double *acc = fixed;
  if (NC == 0) {
    buffer.assign((size_t)n * n, 0.0);
    acc = buffer.data();
  } else {
    for (int k = 0; k < n * n; k++) acc[k] = 0.0;
  }
  for (int t = 0; t < T; t++) {
    const double *x = X[t];
    const double wt = w[t];
    for (int i = 0; i < n; i++) {
      const double xw = x[i] * wt;
      for (int j = 0; j < n; j++) acc[i * n + j] += xw * x[j];
    }
  }
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) N[i][j] = acc[i * n + j];
}

// P[c][t] = sum over k of X[t][k] Inv[c][k], k in order.
template <int NC>
void pseudo_inverse_rows(int T, int C, double **X, double **Inv, double **P) {
  const int n = NC > 0 ? NC : C;
  if (NC == 0) {
    for (int c = 0; c < n; c++)
      for (int t = 0; t < T; t++) {
        double s = 0.0;
        for (int k = 0; k < n; k++) s += X[t][k] * Inv[c][k];
        P[c][t] = s;
      }
    return;
  }
  double inv[NC > 0 ? NC * NC : 1];
  for (int c = 0; c < n; c++)
    for (int k = 0; k < n; k++) inv[c * n + k] = Inv[c][k];
  for (int t = 0; t < T; t++) {
    const double *x = X[t];
    for (int c = 0; c < n; c++) {
      double s = 0.0;
      for (int k = 0; k < n; k++) s += x[k] * inv[c * n + k];
      P[c][t] = s;
    }
  }
}

template <int NC>
void normal_and_rows(int step, int T, int C, double **X, const double *w, double **Inv, double **P) {
  if (step == 0)
    normal_matrix<NC>(T, C, X, w, Inv);
  else
    pseudo_inverse_rows<NC>(T, C, X, Inv, P);
}

void normal_or_rows(int step, int T, int C, double **X, const double *w, double **Inv, double **P) {
  switch (C) {
    case 1: normal_and_rows<1>(step, T, C, X, w, Inv, P); break;
    case 2: normal_and_rows<2>(step, T, C, X, w, Inv, P); break;
    case 3: normal_and_rows<3>(step, T, C, X, w, Inv, P); break;
    case 4: normal_and_rows<4>(step, T, C, X, w, Inv, P); break;
    case 5: normal_and_rows<5>(step, T, C, X, w, Inv, P); break;
    case 6: normal_and_rows<6>(step, T, C, X, w, Inv, P); break;
    case 7: normal_and_rows<7>(step, T, C, X, w, Inv, P); break;
    case 8: normal_and_rows<8>(step, T, C, X, w, Inv, P); break;
    default: normal_and_rows<0>(step, T, C, X, w, Inv, P); break;
  }
}

}  // namespace

void srtm_pseudo_inverse(srtm_fit_arrays &a) {
  const int T = SRTM.ntime, C = SRTM.ncoeff;
  const int *inc = SRTM.include_time;
  for (int t = 0; t < T; t++)
    for (int c = 0; c < C; c++) a.X_tc[t][c] = inc[t] * a.Xorig_tc[t][c];
  normal_or_rows(0, T, C, a.X_tc, a.Weight_t, a.XTXm1_cc, a.XTXm1XT_ct);
  int info = -1;
  a.singular = dInvertSquareMatrix(C, a.XTXm1_cc, &info) ? info + 1 : 0;
  normal_or_rows(1, T, C, a.X_tc, a.Weight_t, a.XTXm1_cc, a.XTXm1XT_ct);
  float trace = 0.0f;
  int nincluded = 0;
  for (int t = 0; t < T; t++) {
    double s = 0.0;
    for (int c = 0; c < C; c++) s += a.XTXm1XT_ct[c][t] * a.X_tc[t][c] * a.Weight_t[t];
    a.HatDiag_t[t] = s;
    trace += (float)s;
    nincluded += inc[t] != 0;
  }
  a.dof = (nincluded + 0.5) - 1.25 * trace;
  srtm_condition_covariances(a.XTXm1_cc, a.FCovar, a.FCovarInv);
}

void srtm_condition_covariances(double **XTXm1, double ***FCovar, double ***FCovarInv) {
  const int C = SRTM.ncoeff;
  for (int l = 0; l < SRTM.nconditions; l++) {
    const int n = SRTM.ncontrasts[l];
    int **K = SRTM.contrast_matrix[l];
    for (int i = 0; i < n; i++)
      for (int j = 0; j < n; j++) {
        double s = 0.0;
        for (int c1 = 0; c1 < C; c1++)
          for (int c2 = 0; c2 < C; c2++) s += K[i][c1] * XTXm1[c1][c2] * K[j][c2];
        FCovar[l][i][j] = FCovarInv[l][i][j] = s;
      }
    int info;
    dInvertSquareMatrix(n, FCovarInv[l], &info);
  }
}

srtm_fit_arrays srtm_engine_arrays(void) {
  srtm_fit_arrays a;
  a.NoiseRaw_t = SRTM.NoiseRaw_t;
  a.NoiseFit_t = SRTM.NoiseFit_t;
  a.Weight_t = SRTM.Weight_t;
  a.Xorig_tc = SRTM.Xorig_tc;
  a.X_tc = SRTM.X_tc;
  a.XTXm1_cc = SRTM.XTXm1_cc;
  a.XTXm1XT_ct = SRTM.XTXm1XT_ct;
  a.HatDiag_t = SRTM.HatDiag_t;
  a.Beta_c = SRTM.Beta_c;
  a.Residue_t = SRTM.Residue_t;
  for (int l = 0; l < SRTM_MAX_CONDITIONS; l++) {
    a.FCovar[l] = SRTM.FCovar[l];
    a.FCovarInv[l] = SRTM.FCovarInv[l];
  }
  a.dof = SRTM.dof;
  a.sigma2 = SRTM.sigma2;
  a.singular = 0;
  a.decay = nullptr;
  return a;
}

void srtm_store_engine_arrays(const srtm_fit_arrays &a) {
  SRTM.dof = a.dof;
  SRTM.sigma2 = a.sigma2;
}

int SRTM_define_dynamic_basis_functions(int ntime, float *tissue_vector) {
  if (ntime != SRTM.ntime) {
    printf("Error: the length of the tissue vector (%d) != time dimension of GLM (%d)\n", ntime, SRTM.ntime);
    return 1;
  }
  if (SRTM.initialized < 1 || !SRTM.include_time) {
    puts("Error: the PET model has no static design yet.");
    return 1;
  }
  srtm_fit_arrays a = srtm_engine_arrays();
  for (int r = 0; r < SRTM.nruns; r++) srtm_noise_model(r, tissue_vector, nullptr, a);
  srtm_dynamic_columns(tissue_vector, SRTM.Xorig_tc);
  srtm_pseudo_inverse(a);
  if (a.singular)
    printf("Warning: the normal matrix of the PET model is singular (column %d).\n", a.singular);
  srtm_store_engine_arrays(a);
  SRTM.initialized = 2;
  return 0;
}

void SRTM_Calculate_PseudoInverse_and_Covariance(void) {
  srtm_fit_arrays a = srtm_engine_arrays();
  srtm_pseudo_inverse(a);
  if (a.singular)
    printf("Warning: the normal matrix of the PET model is singular (column %d).\n", a.singular);
  srtm_store_engine_arrays(a);
}

int SRTM_define_static_basis_functions(void) {
  if (SRTM.initialized < 1) {
    printf("Error: SRTM_define_static_basis_functions called but SRTM.initialized = %d\n", SRTM.initialized);
    return 1;
  }
  srtm_update_frame_times();
  build_shape_cache();
  if (srtm_alloc.static_ntime == 0) {
    const int n = SRTM.ntime > 0 ? SRTM.ntime : 1;
    SRTM.target_t = float_vector(n);
    SRTM.include_time = int_vector(n);
    srtm_alloc.static_ntime = n;
    for (int t = 0; t < n; t++) {
      SRTM.target_t[t] = 0.0f;
      SRTM.include_time[t] = 1;
    }
    for (int r = 0; r < SRTM.nruns; r++)
      for (int j = 0; j < SRTM.nt[r]; j++) SRTM.target_t[SRTM.run_istart[r] + j] = (float)SRTM.target_region[r][j];
    for (int r = 0; r < SRTM.nruns; r++) {
      if (SRTM_Set_Ignore_String(r, SRTM.ExcludeString[r])) {
        printf("Error: bad input for exclusion criteria in run %d.\n", r + 1);
        return 1;
      }
    }
    for (int r = 0; r < SRTM.nruns; r++) {
      SRTM.nincluded = 0;
      for (int j = 0; j < SRTM.nt[r]; j++) SRTM.nincluded += SRTM.include_time[SRTM.run_istart[r] + j];
    }
  }
  for (int c = 0; c < SRTM.ncoeff; c++) {
    SRTM.Beta_c[c] = 0.0;
    for (int k = 0; k < SRTM.ncoeff; k++) SRTM.XTXm1_cc[c][k] = 0.0;
    for (int t = 0; t < SRTM.ntime; t++) SRTM.XTXm1XT_ct[c][t] = 0.0;
  }
  for (int t = 0; t < SRTM.ntime; t++)
    for (int c = 0; c < SRTM.ncoeff; c++) SRTM.Xorig_tc[t][c] = SRTM.Xmix_tc[t][c] = 0.0;
  SRTM.dof = SRTM.nincluded - SRTM.ncoeff;
  static_columns();
  return SRTM_define_dynamic_basis_functions(SRTM.ntime, SRTM.target_t) ? 1 : 0;
}

// Exclusions.

int SRTM_set_exclusion_list(int irun, int nset, int *set) {
  if (irun < 0 || irun >= SRTM.nruns || !SRTM.include_time) return 1;
  const int nt = SRTM.nt[irun], i0 = SRTM.run_istart[irun];
  for (int j = 0; j < nt; j++) SRTM.include_time[i0 + j] = 1;
  for (int k = 0; k < nset; k++) {
    if (set[k] < 0 || set[k] >= nt) {
      printf("Error: set element %d is out of range (0,%d)\n", set[k], nt - 1);
      return 1;
    }
    SRTM.include_time[i0 + set[k]] = 0;
  }
  return 0;
}

int SRTM_Set_Ignore_String(int irun, char *list) {
  if (irun < 0 || irun >= SRTM.nruns) return 1;
  SRTM.IgnoreString[irun][0] = '\0';
  const int nt = SRTM.nt[irun];
  std::vector<int> set(nt > 0 ? nt : 1);
  int nset = 0;
  if (decode_selection_list(list, nt, 0, &nset, set.data()) == 0) {
    if (SRTM_set_exclusion_list(irun, nset, set.data())) return 1;
    snprintf(SRTM.IgnoreString[irun], ZOR_LINE, "%s", list);
    return 0;
  }
  if (SRTM_set_exclusion_list(irun, 0, set.data())) {
    puts("Programming error in SRTM_Ignore_String()");
    zor_exit(1);
  }
  return 0;
}

int SRTM_Get_Ignore_String(int iRun, char *list) {
  if (iRun < 0 || iRun >= SRTM_MAX_RUNS) return 1;
  strcpy(list, SRTM.IgnoreString[iRun]);
  return 0;
}

int SRTM_TimePoint_Is_Ignored(int iRun, int iTime) {
  if (iRun < 0 || iRun >= SRTM.nruns || iTime < 0 || iTime >= SRTM.nt[iRun] || !SRTM.include_time) return 1;
  return SRTM.include_time[SRTM.run_istart[iRun] + iTime] == 0;
}
