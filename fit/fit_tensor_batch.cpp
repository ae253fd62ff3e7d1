// Whole maps of tensor fits. The design and its pseudo-inverse are laid out
// once for the run, point by point and coefficient by coefficient, so that
// each voxel's coefficients, fitted curve, normal matrix and weighted
// inverse are worked out four values at a time. Every sum keeps the order,
// the start and the operands of the one-curve routines (the general model's
// fit and the side-by-side passes of fit_tensor_model.cpp): only sums that
// are independent of one another share a vector, so each value is the same
// to the last bit as the single fit's.
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "fit_internal.h"
#include "zor_fit.h"
#include "zor_linear_models.h"

namespace {

typedef float v4 __attribute__((vector_size(16)));

constexpr int NC = 7;  // coefficients of the tensor design

struct tensor_batch {
  bool active = false;       // a whole map is being fitted on this thread
  bool need_curve = false;   // someone reads the fitted curves
  bool model_ready = false;  // the layouts below hold the model in force
  int npoints = 0, nblocks = 0;
  std::vector<v4> pinv;       // [point][2]: coefficients 0-3 and 4-6 of the pseudo-inverse
  std::vector<v4> design;     // [point][2]: the design's row, 0-3 and 4-6
  std::vector<v4> columns;    // [coefficient][block]: the design's column, four points a block
  std::vector<float> fitted;  // the fitted log curve, padded to whole blocks
  std::vector<v4> pinv_each;  // [point][coefficient]: each pseudo-inverse value four times
  std::vector<v4> x_each;     // [point][coefficient]: each design value four times
  float sem_root[NC];         // square roots of the unweighted inverse's diagonal
};
// Reached through a reference taken once per call: each use of a
// thread_local with members to construct goes through a wrapper call.
thread_local tensor_batch batch_storage;

inline v4 splat(float x) { return v4{x, x, x, x}; }
inline v4 load4(const float *p) {
  v4 v;
  memcpy(&v, p, sizeof v);
  return v;
}

// Takes the model in force (the seven-column design of this many points)
// into the batch layouts; false when the model in force is another one.
bool take_model(int npoints) {
  tensor_batch &batch = batch_storage;
  const general_glm_record &m = GeneralGLM;
  if (m.ncoeff != NC || m.nt != npoints || npoints < 1 || !m.X || !m.Pinv || !m.XTXm1 || !m.Beta || !m.Sem)
    return false;
  batch.npoints = npoints;
  batch.nblocks = (npoints + 3) / 4;
  batch.pinv.assign((size_t)npoints * 2, splat(0.0f));
  batch.design.assign((size_t)npoints * 2, splat(0.0f));
  batch.columns.assign((size_t)NC * batch.nblocks, splat(0.0f));
  batch.fitted.assign((size_t)batch.nblocks * 4, 0.0f);
  for (int j = 0; j < npoints; j++) {
    for (int c = 0; c < NC; c++) {
      batch.pinv[2 * j + c / 4][c % 4] = m.Pinv[c][j];
      batch.design[2 * j + c / 4][c % 4] = m.X[j][c];
      batch.columns[(size_t)c * batch.nblocks + j / 4][j % 4] = m.X[j][c];
    }
  }
  batch.pinv_each.resize((size_t)npoints * NC);
  batch.x_each.resize((size_t)npoints * NC);
  for (int j = 0; j < npoints; j++)
    for (int c = 0; c < NC; c++) {
      batch.pinv_each[(size_t)j * NC + c] = splat(m.Pinv[c][j]);
      batch.x_each[(size_t)j * NC + c] = splat(m.X[j][c]);
    }
  for (int c = 0; c < NC; c++) batch.sem_root[c] = std::sqrt(m.XTXm1[c][c]);
  batch.model_ready = true;
  return true;
}

// The inverse of a 7 by 7 matrix by the very steps of dInvertSquareMatrix
// (LU with partial pivoting, the inverse of U, the product with the inverse
// of L, the column swaps), on the stack. Returns false when singular, with
// the matrix left as that routine leaves it.
bool invert7(double a[NC][NC]) {
  const int n = NC;
  int pivot[NC];
  for (int k = 0; k < n; k++) {
    int p = k;
    double largest = std::fabs(a[k][k]);
    for (int i = k + 1; i < n; i++) {
      if (std::fabs(a[i][k]) > largest) {
        largest = std::fabs(a[i][k]);
        p = i;
      }
    }
    pivot[k] = p;
    if (a[p][k] == 0.0) return false;
    if (p != k)
      for (int j = 0; j < n; j++) std::swap(a[p][j], a[k][j]);
    const double r = 1.0 / a[k][k];
    for (int i = k + 1; i < n; i++) a[i][k] *= r;
    for (int j = k + 1; j < n; j++) {
      const double t = a[k][j];
      if (t == 0.0) continue;
      for (int i = k + 1; i < n; i++) a[i][j] -= t * a[i][k];
    }
  }
  for (int j = 0; j < n; j++) {
    a[j][j] = 1.0 / a[j][j];
    const double ajj = -a[j][j];
    for (int k = 0; k < j; k++) {
      const double t = a[k][j];
      if (t == 0.0) continue;
      for (int i = 0; i < k; i++) a[i][j] += t * a[i][k];
      a[k][j] *= a[k][k];
    }
    for (int i = 0; i < j; i++) a[i][j] *= ajj;
  }
  double work[NC];
  for (int j = n - 1; j >= 0; j--) {
    for (int i = j + 1; i < n; i++) {
      work[i] = a[i][j];
      a[i][j] = 0.0;
    }
    for (int k = j + 1; k < n; k++) {
      const double t = work[k];
      if (t == 0.0) continue;
      for (int i = 0; i < n; i++) a[i][j] -= t * a[i][k];
    }
  }
  for (int j = n - 2; j >= 0; j--) {
    const int p = pivot[j];
    if (p == j) continue;
    for (int i = 0; i < n; i++) std::swap(a[i][j], a[i][p]);
  }
  return true;
}

}  // namespace

void fit_tensor_batch_begin(int npoints, int need_curve) {
  tensor_batch &batch = batch_storage;
  batch.active = true;
  batch.need_curve = need_curve != 0;
  batch.model_ready = false;
  // The linear and nonlinear fits use the model as it stands for the whole
  // run; the weighted fit takes it once a curve has defined it.
  if (FIT.type == FIT_DTI_OLS || FIT.type == FIT_DTI_NL) take_model(npoints);
}

void fit_tensor_batch_end(void) {
  tensor_batch &batch = batch_storage;
  batch.active = false;
  batch.model_ready = false;
}

int fit_tensor_batch_active(void) { return batch_storage.active; }

int fit_tensor_batch_need_curve(void) {
  const tensor_batch &batch = batch_storage;
  return !batch.active || batch.need_curve;
}

int fit_tensor_batch_ready(int npoints) {
  const tensor_batch &batch = batch_storage;
  return batch.active && batch.model_ready && batch.npoints == npoints;
}

int fit_tensor_batch_take_model(int npoints) { return batch_storage.active && take_model(npoints); }

int fit_tensor_batch_fit(int npoints, const float *data, float *fit) {
  tensor_batch &batch = batch_storage;
  const v4 *pinv = batch.pinv.data();
  v4 beta0 = splat(0.0f), beta1 = splat(0.0f);
  for (int j = 0; j < npoints; j++) {
    const v4 d = splat(data[j]);
    beta0 += pinv[2 * j] * d;
    beta1 += pinv[2 * j + 1] * d;
  }
  float beta[8];
  memcpy(beta, &beta0, sizeof beta0);
  memcpy(beta + 4, &beta1, sizeof beta1);
  const int nb = batch.nblocks;
  float *f = batch.fitted.data();
  for (int b = 0; b < nb; b++) {
    v4 sum = splat(0.0f);
    for (int c = 0; c < NC; c++) sum += splat(beta[c]) * batch.columns[(size_t)c * nb + b];
    memcpy(f + 4 * b, &sum, sizeof sum);
  }
  float sum = 0.0f;
  for (int j = 0; j < npoints; j++) {
    const float r = data[j] - f[j];
    sum += r * r;
  }
  if (batch.need_curve) memcpy(fit, f, sizeof(float) * npoints);
  for (int c = 0; c < NC; c++) GeneralGLM.Beta[c] = beta[c];
  if (npoints == NC) {
    for (int c = 0; c < NC; c++) GeneralGLM.Sem[c] = 0.0f;
  } else {
    const float s = std::sqrt(sum / static_cast<float>(npoints - NC));
    for (int c = 0; c < NC; c++) GeneralGLM.Sem[c] = batch.sem_root[c] * s;
  }
  return 0;
}

void fit_tensor_batch_weighted_pinv(int npoints, const float *weights) {
  tensor_batch &batch = batch_storage;
  // The normal matrix, row by row: sum[a][b] += (w x[a]) x[b], point after point.
  const v4 *design = batch.design.data();
  v4 normal[NC][2];
  for (int a = 0; a < NC; a++) normal[a][0] = normal[a][1] = splat(0.0f);
  for (int j = 0; j < npoints; j++) {
    const float w = weights[j];
    const v4 x0 = design[2 * j], x1 = design[2 * j + 1];
    for (int a = 0; a < NC; a++) {
      const float wx = w * (a < 4 ? x0[a] : x1[a - 4]);
      normal[a][0] += splat(wx) * x0;
      normal[a][1] += splat(wx) * x1;
    }
  }
  // Rounded to single precision and back, as the float matrix holds it.
  double work[NC][NC];
  for (int a = 0; a < NC; a++)
    for (int b = 0; b < NC; b++) work[a][b] = (float)(b < 4 ? normal[a][0][b] : normal[a][1][b - 4]);
  // A singular matrix stays as the factorisation left it, as it does in
  // the float matrix of the one-curve pass.
  (void)invert7(work);
  // The inverse's columns as vectors over the coefficients c: n_c[k].
  v4 inverse[NC][2];
  for (int k = 0; k < NC; k++) {
    for (int c = 0; c < 8; c++) {
      const float value = c < NC ? (float)work[c][k] : 0.0f;  // rounded as the float matrix holds it
      if (c < 4) inverse[k][0][c] = value;
      else inverse[k][1][c - 4] = value;
    }
  }
  // p[c][j] = sum over k of (x[k] n_c[k]) w, from 0, for the seven c at once.
  v4 *pinv = batch.pinv.data();
  for (int j = 0; j < npoints; j++) {
    const v4 w = splat(weights[j]);
    const v4 x0 = design[2 * j], x1 = design[2 * j + 1];
    v4 p0 = splat(0.0f), p1 = splat(0.0f);
    for (int k = 0; k < NC; k++) {
      const v4 xk = splat(k < 4 ? x0[k] : x1[k - 4]);
      p0 += xk * inverse[k][0] * w;
      p1 += xk * inverse[k][1] * w;
    }
    pinv[2 * j] = p0;
    pinv[2 * j + 1] = p1;
  }
}

void fit_tensor_batch_fit4(int npoints, const float *data4, float beta_out[][4], float sem_out[][4]) {
  tensor_batch &batch = batch_storage;
  // Four curves side by side, one to a lane: the sums of each lane are the
  // one-curve sums, in the same order.
  const v4 *pinv = batch.pinv_each.data(), *x = batch.x_each.data();
  v4 beta[NC];
  for (int c = 0; c < NC; c++) beta[c] = splat(0.0f);
  for (int j = 0; j < npoints; j++) {
    const v4 d = load4(data4 + 4 * j);
    const v4 *p = pinv + (size_t)j * NC;
    for (int c = 0; c < NC; c++) beta[c] += p[c] * d;
  }
  v4 sum = splat(0.0f);
  for (int j = 0; j < npoints; j++) {
    const v4 *xj = x + (size_t)j * NC;
    v4 f = splat(0.0f);
    for (int c = 0; c < NC; c++) f += beta[c] * xj[c];
    const v4 r = load4(data4 + 4 * j) - f;
    sum += r * r;
  }
  for (int c = 0; c < NC; c++)
    for (int k = 0; k < 4; k++) beta_out[c][k] = beta[c][k];
  for (int k = 0; k < 4; k++) {
    if (npoints == NC) {
      for (int c = 0; c < NC; c++) sem_out[c][k] = 0.0f;
    } else {
      const float s = std::sqrt(sum[k] / static_cast<float>(npoints - NC));
      for (int c = 0; c < NC; c++) sem_out[c][k] = batch.sem_root[c] * s;
    }
  }
}
