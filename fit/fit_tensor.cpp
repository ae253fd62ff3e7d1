// Diffusion tensor fits: log-linear by ordinary or weighted least squares,
// and nonlinear from the log-linear start, with the tensor's maps (mean,
// axial and radial diffusivity, anisotropies, principal vector).
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "fit_internal.h"
#include "zor_curve_fit.h"
#include "zor_exit.h"
#include "zor_fit.h"
#include "zor_linear_models.h"
#include "zor_matrix.h"

namespace {

// Per-thread scratch, kept between fits so that a fit allocates nothing.
struct tensor_scratch {
  std::vector<float> design, log_curve, weight, logs4;
  std::vector<float *> rows;
  std::vector<double> x, y;
  float normal[7 * 7];
  float *normal_rows[7];
};
thread_local tensor_scratch scratch;

// log of each sample; false (and the parameters cleared) when a sample is 0
// or below, or not a number: a background voxel, not a failure.
bool log_curve(int npoints, const float *ydata) {
  tensor_scratch &sc = scratch;
  sc.log_curve.resize(npoints > 0 ? npoints : 1);
  for (int j = 0; j < npoints; j++) {
    if (!(ydata[j] > 0.0f)) {
      for (int i = 0; i < FIT_MAX_PARAMETERS; i++) FIT.param_value[i] = FIT.param_output[i] = 0.0f;
      return false;
    }
  }
  fit_log_values(npoints, ydata, sc.log_curve.data());
  return true;
}

// The linear fit's results on the log curve, fit turned back into signal
// when someone reads it.
void linear_results(int npoints, float *fit, bool curve, double *p, double *diag_sem, double *doff_sem) {
  if (curve) fit_exp_values(npoints, fit);
  p[0] = std::exp((double)GeneralGLM.Beta[0]);
  for (int c = 1; c < 7; c++) p[c] = GeneralGLM.Beta[c];
  *diag_sem = ((double)GeneralGLM.Sem[1] + GeneralGLM.Sem[2] + GeneralGLM.Sem[3]) / 3.0;
  *doff_sem = ((double)GeneralGLM.Sem[4] + GeneralGLM.Sem[5] + GeneralGLM.Sem[6]) / 3.0;
}

// The tensor's direction and b of point j of the table, j clamped to it.
inline void point_of_table(int j, double *x, double *y, double *z, double *b) {
  if (j > FIT.ntime - 1) j = FIT.ntime - 1;
  if (j < 0) j = 0;
  *x = FIT.xVector[0][j];
  *y = FIT.xVector[1][j];
  *z = FIT.xVector[2][j];
  *b = FIT.xVector[3][j];
}

}  // namespace

namespace {

// The design of the table into the scratch rows.
void build_design(int ntime) {
  if (ntime != FIT.ntime) {
    puts("Programming error 1 in FIT_define_DTI_basis_functions(");
    zor_exit(1);
  }
  const int n = ntime > 0 ? ntime : 1;
  scratch.design.resize((size_t)n * 7);
  scratch.rows.resize(n);
  for (int j = 0; j < ntime; j++) {
    float *row = &scratch.design[(size_t)j * 7];
    scratch.rows[j] = row;
    const float x = FIT.xVector[0][j], y = FIT.xVector[1][j], z = FIT.xVector[2][j], b = FIT.xVector[3][j];
    row[0] = 1.0f;
    row[1] = -x * x * b;
    row[2] = -y * y * b;
    row[3] = -z * z * b;
    row[4] = -2.0f * x * y * b;
    row[5] = -2.0f * x * z * b;
    row[6] = -2.0f * y * z * b;
  }
}

// Whether the model in force was defined on this very design.
bool design_in_force(int ntime) {
  if (GeneralGLM.nt != ntime || GeneralGLM.ncoeff != 7 || !GeneralGLM.X || !GeneralGLM.Pinv) return false;
  for (int j = 0; j < ntime; j++)
    if (memcmp(GeneralGLM.X[j], scratch.rows[j], 7 * sizeof(float))) return false;
  return true;
}

// The log-linear fit of the scratch log curve: from the whole map's layouts
// when a map is being fitted, else through the model in force.
int log_linear_fit(int npoints, float *fit) {
  if (fit_tensor_batch_ready(npoints)) return fit_tensor_batch_fit(npoints, scratch.log_curve.data(), fit);
  return fit_tensor_general_fit(npoints, scratch.log_curve.data(), fit);
}

}  // namespace

int FIT_define_DTI_basis_functions(int ntime, float *weight) {
  build_design(ntime);
  return GeneralDefineGLM(7, ntime, weight, scratch.rows.data());
}

namespace {

// The tensor as a symmetric matrix.
void tensor_matrix(double Dxx, double Dyy, double Dzz, double Dxy, double Dxz, double Dyz, double A[3][3]) {
  A[0][0] = Dxx, A[0][1] = Dxy, A[0][2] = Dxz;
  A[1][0] = Dxy, A[1][1] = Dyy, A[1][2] = Dyz;
  A[2][0] = Dxz, A[2][1] = Dyz, A[2][2] = Dzz;
}

// FIT's values and outputs from the tensor and its eigen decomposition.
void set_dti_outputs(double S0, double Dxx, double Dyy, double Dzz, double Dxy, double Dxz, double Dyz,
                     double Diag_sem, double Doff_sem, double V[3][3], const double e[3]) {
  const double value[7] = {S0, Dxx, Dyy, Dzz, Dxy, Dxz, Dyz};
  for (int i = 0; i < 7; i++) FIT.param_value[i] = (float)value[i];

  const double MD = (e[0] + e[1] + e[2]) / 3.0;
  const double LD = e[2];
  const double RD = (e[0] + e[1]) / 2.0;
  // All-zero eigenvalues give 0/0 here; the maps then say so.
  const double FA = std::sqrt(3.0 * ((e[0] - MD) * (e[0] - MD) + (e[1] - MD) * (e[1] - MD) +
                                     (e[2] - MD) * (e[2] - MD))) /
                    std::sqrt(2.0 * (e[0] * e[0] + e[1] * e[1] + e[2] * e[2]));
  const double SOSSigma = (Dxx - MD) * (Dxx - MD) + (Dyy - MD) * (Dyy - MD) + (Dzz - MD) * (Dzz - MD) +
                          2.0 * (Dxy * Dxy + Dxz * Dxz + Dyz * Dyz);
  const double ASigma = std::sqrt(SOSSigma) / 2.449489742783178 / MD;
  const double c = 0.3333333333333333 / ASigma;
  auto g = [&](double D) { return ((2.0 * D / 3.0) / MD + 1.0) / 12.0 / ASigma - ASigma / 3.0; };
  const double off = (Dxy / MD) * (Dxy / MD) + (Dxz / MD) * (Dxz / MD) + (Dyz / MD) * (Dyz / MD);
  const double diag = g(Dxx) * g(Dxx) + g(Dyy) * g(Dyy) + g(Dzz) * g(Dzz);
  const double dASigma = std::sqrt(c * c * (Doff_sem / MD) * (Doff_sem / MD) * off +
                                   (Diag_sem / MD) * (Diag_sem / MD) * diag);

  // The principal vector points so that its dominant component is positive.
  const double ax = std::fabs(V[0][2]), ay = std::fabs(V[1][2]), az = std::fabs(V[2][2]);
  double dominant;
  if (ax > ay && ax > az) dominant = V[0][2];
  else if (ay > az) dominant = V[1][2];
  else dominant = V[2][2];
  const double sign = dominant < 0.0 ? -1.0 : 1.0;
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) V[i][j] *= sign * FA;

  const double output[FIT_DTI_OUTPUTS] = {S0,      MD,      LD,  RD,  ASigma, dASigma,  FA,      V[0][2], V[1][2],
                                          V[2][2], Dxx,     Dyy, Dzz, Dxy,    Dxz,      Dyz,     Diag_sem, Doff_sem};
  for (int i = 0; i < FIT_DTI_OUTPUTS; i++) FIT.param_output[i] = (float)output[i];
}

}  // namespace

void FITInternal_SetDTIOutputParameters(double S0, double Dxx, double Dyy, double Dzz, double Dxy, double Dxz,
                                        double Dyz, double Diag_sem, double Doff_sem) {
  double A[3][3], V[3][3], e[3];
  tensor_matrix(Dxx, Dyy, Dzz, Dxy, Dxz, Dyz, A);
  eigen_decomposition(A, V, e);
  set_dti_outputs(S0, Dxx, Dyy, Dzz, Dxy, Dxz, Dyz, Diag_sem, Doff_sem, V, e);
}

int FIT_DTI_linear_OLS(int npoints, float *ydata, float *fit) {
  if (!log_curve(npoints, ydata)) return 0;
  if (log_linear_fit(npoints, fit)) return 1;
  double p[7], diag_sem, doff_sem;
  linear_results(npoints, fit, fit_tensor_batch_need_curve(), p, &diag_sem, &doff_sem);
  FITInternal_SetDTIOutputParameters(p[0], p[1], p[2], p[3], p[4], p[5], p[6], diag_sem, doff_sem);
  return 0;
}

int FIT_DTI_linear_WLS(int npoints, float *ydata, float *fit) {
  tensor_scratch &sc = scratch;
  if (!log_curve(npoints, ydata)) return 0;
  sc.weight.resize(npoints);
  for (int j = 0; j < npoints; j++) sc.weight[j] = ydata[j] * ydata[j];
  // The design keeps this curve's weights until the next one. When the
  // model in force already has this design, only its weighted
  // pseudo-inverse is worked out again, by the steps of a new definition:
  // the design, its unweighted inverse and so the results are the same.
  int defined = 0, fitted;
  if (fit_tensor_batch_ready(npoints)) {
    // A whole map whose design is in force: the same passes, laid out for it.
    fit_tensor_batch_weighted_pinv(npoints, sc.weight.data());
    fitted = fit_tensor_batch_fit(npoints, sc.log_curve.data(), fit);
  } else {
    build_design(npoints);
    if (design_in_force(npoints)) {
      for (int c = 0; c < 7; c++) sc.normal_rows[c] = &sc.normal[c * 7];
      fit_tensor_normal_inverse(npoints, GeneralGLM.X, sc.weight.data(), sc.normal_rows);
      fit_tensor_weighted_pinv(npoints, GeneralGLM.X, sc.weight.data(), sc.normal_rows, GeneralGLM.Pinv);
    } else {
      defined = GeneralDefineGLM(7, npoints, sc.weight.data(), sc.rows.data());
    }
    fitted = fit_tensor_general_fit(npoints, sc.log_curve.data(), fit);
    // From here on the design stays in force for the rest of a whole map.
    if (fit_tensor_batch_active() && design_in_force(npoints)) fit_tensor_batch_take_model(npoints);
  }
  if (defined & fitted) return 1;
  double p[7], diag_sem, doff_sem;
  linear_results(npoints, fit, fit_tensor_batch_need_curve(), p, &diag_sem, &doff_sem);
  FITInternal_SetDTIOutputParameters(p[0], p[1], p[2], p[3], p[4], p[5], p[6], diag_sem, doff_sem);
  return 0;
}

double FIT_func_DTI_nonlinear(double x, double *p) {
  double gx, gy, gz, b;
  point_of_table((int)x, &gx, &gy, &gz, &b);
  // The x z term takes p[4], as the y x term does: p[5] has no part in the model.
  return p[0] * std::exp(-b * (p[1] * gx * gx + p[2] * gy * gy + p[3] * gz * gz + 2.0 * gx * gy * p[4] +
                               2.0 * gx * gz * p[4] + 2.0 * gy * gz * p[6]));
}

int FIT_DTI_nonlinear(int npoints, float *ydata, float *fit) {
  tensor_scratch &sc = scratch;
  if (!log_curve(npoints, ydata)) return 0;
  if (log_linear_fit(npoints, fit)) return 1;
  double p[7], diag_sem, doff_sem;
  // The start's curve is not kept: the nonlinear curve replaces it whole.
  linear_results(npoints, fit, false, p, &diag_sem, &doff_sem);

  sc.x.resize(npoints);
  sc.y.resize(npoints);
  for (int j = 0; j < npoints; j++) {
    sc.x[j] = j;
    sc.y[j] = ydata[j];
  }
  lm_data_type data = {sc.x.data(), sc.y.data(), FIT_func_DTI_nonlinear};
  lm_control_type control;
  lm_initialize_control(&control);
  lm_minimize(npoints, 7, p, lm_evaluate_default, lm_print_maps, &data, &control);
  for (int j = 0; j < npoints; j++) fit[j] = (float)FIT_func_DTI_nonlinear(j, p);
  FITInternal_SetDTIOutputParameters(p[0], p[1], p[2], p[3], p[4], p[5], p[6], diag_sem, doff_sem);
  return 0;
}

void fit_tensor_ols_group(int n, const float *series, int npoints, void (*done)(void *context, int k, int result),
                          void *context) {
  // Each curve's logarithms into its lane; a background curve (a sample at
  // or below 0, or not a number) leaves its lane at 0 and gets no fit.
  tensor_scratch &sc = scratch;
  sc.log_curve.resize((size_t)npoints > 0 ? (size_t)npoints : 1);
  sc.logs4.assign((size_t)npoints * 4, 0.0f);
  float *log_curve = sc.log_curve.data(), *logs4 = sc.logs4.data();
  bool fitted[4] = {false, false, false, false};
  for (int k = 0; k < n; k++) {
    const float *y = series + (size_t)k * npoints;
    bool background = false;
    for (int j = 0; j < npoints; j++) background |= !(y[j] > 0.0f);
    if (background) continue;
    fit_log_values(npoints, y, log_curve);
    for (int j = 0; j < npoints; j++) logs4[(size_t)4 * j + k] = log_curve[j];
    fitted[k] = true;
  }
  float beta[7][4], sem[7][4];
  fit_tensor_batch_fit4(npoints, logs4, beta, sem);
  // Each curve's tensor, then the eigen decompositions two at a time.
  double p[4][7], diag_sem[4], doff_sem[4], A[4][3][3], V[4][3][3], e[4][3];
  int order[4], nfitted = 0;
  for (int k = 0; k < n; k++) {
    if (!fitted[k]) continue;
    for (int c = 0; c < 7; c++) {
      GeneralGLM.Beta[c] = beta[c][k];
      GeneralGLM.Sem[c] = sem[c][k];
    }
    linear_results(npoints, nullptr, false, p[k], &diag_sem[k], &doff_sem[k]);
    tensor_matrix(p[k][1], p[k][2], p[k][3], p[k][4], p[k][5], p[k][6], A[k]);
    order[nfitted++] = k;
  }
  if (nfitted == 4) {
    double (*a[4])[3] = {A[0], A[1], A[2], A[3]}, (*v[4])[3] = {V[0], V[1], V[2], V[3]};
    double *d[4] = {e[0], e[1], e[2], e[3]};
    eigen_decomposition_four(a, v, d);
  } else {
    for (int i = 0; i + 1 < nfitted; i += 2) {
      const int a = order[i], b = order[i + 1];
      eigen_decomposition_pair(A[a], A[b], V[a], V[b], e[a], e[b]);
    }
    if (nfitted % 2) eigen_decomposition(A[order[nfitted - 1]], V[order[nfitted - 1]], e[order[nfitted - 1]]);
  }
  for (int k = 0; k < n; k++) {
    for (int i = 0; i < FIT_MAX_PARAMETERS; i++) FIT.param_value[i] = FIT.param_output[i] = 0.0f;
    if (fitted[k])
      set_dti_outputs(p[k][0], p[k][1], p[k][2], p[k][3], p[k][4], p[k][5], p[k][6], diag_sem[k], doff_sem[k], V[k],
                      e[k]);
    done(context, k, 0);
  }
}
