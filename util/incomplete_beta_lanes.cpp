// Many incomplete beta integrals at once, as a map needs them: the points
// are sorted by the expansion they take, and four of a kind are summed side
// by side, each lane doing exactly the operations of the one-value function
// in the same order until its own test says it has converged. The
// prefactors are then applied one value at a time by the same code as the
// one-value function's, so that every result is that function's to the bit.
#include <cmath>
#include <cstring>

#include "incomplete_beta_parts.h"
#include "zor_special.h"

namespace {

constexpr int LANES = 4;
typedef double lanes __attribute__((vector_size(LANES * sizeof(double))));
typedef long long mask __attribute__((vector_size(LANES * sizeof(long long))));

// No vector crosses a function boundary below: the sums are built for two
// instruction sets, and a call between them could not pass one.
#define SPLAT(v) (lanes{(v), (v), (v), (v)})
#define ABS(v) ((lanes)((mask)(v) & 0x7fffffffffffffffLL))

inline bool any(const mask *m) {
  for (int j = 0; j < LANES; j++)
    if ((*m)[j]) return true;
  return false;
}

// Four points of the series, each summed until its own last term is small.
__attribute__((target_clones("avx2", "default")))
void series_sums(const double *a_in, const double *b_in, const double *x_in, double *sums) {
  lanes a, b, x;
  memcpy(&a, a_in, sizeof a);
  memcpy(&b, b_in, sizeof b);
  memcpy(&x, x_in, sizeof x);
  const lanes ai = 1.0 / a;
  lanes u = (1.0 - b) * x;
  lanes v = u / (a + 1.0);
  const lanes t1 = v;
  lanes t = u;
  lanes n = SPLAT(2.0);
  lanes s = SPLAT(0.0);
  const lanes z = kIbetaMachEp * ai;
  // Every lane goes on summing until the last one is done, so that no step
  // waits for the test; each lane's sum is taken as it stood at its own end.
  lanes sum = s;
  mask going = ABS(v) > z;
  while (any(&going)) {
    u = (n - b) * x / n;
    t *= u;
    v = t / (a + n);
    s += v;
    n += 1.0;
    sum = going ? s : sum;
    going &= ABS(v) > z;
  }
  sum += t1;
  sum += ai;
  memcpy(sums, &sum, sizeof sum);
}

// Four points of one of the two continued fractions (ratio: the one in
// x/(1-x)), each until its own convergents agree, or 300 rounds.
__attribute__((target_clones("avx2", "default")))
void fraction_values(bool ratio, const double *a_in, const double *b_in, const double *x_in, double *values) {
  lanes a, b, x;
  memcpy(&a, a_in, sizeof a);
  memcpy(&b, b_in, sizeof b);
  memcpy(&x, x_in, sizeof x);
  lanes k1 = a, k2, k3 = a, k4 = a + 1.0, k5 = SPLAT(1.0), k6, k7 = a + 1.0, k8 = a + 2.0;
  lanes z;
  if (ratio) {
    k2 = b - 1.0;
    k6 = a + b;
    z = x / (1.0 - x);
  } else {
    k2 = a + b;
    k6 = b - 1.0;
    z = x;
  }
  lanes pkm2 = SPLAT(0.0), qkm2 = SPLAT(1.0), pkm1 = SPLAT(1.0), qkm1 = SPLAT(1.0);
  lanes ans = SPLAT(1.0), r = SPLAT(1.0);
  mask going = SPLAT(0.0) == SPLAT(0.0);
  for (int n = 0; n < kIbetaMaxRounds && any(&going); n++) {
    lanes xk = -(z * k1 * k2) / (k3 * k4);
    lanes pk = pkm1 + pkm2 * xk;
    lanes qk = qkm1 + qkm2 * xk;
    pkm2 = pkm1;
    pkm1 = pk;
    qkm2 = qkm1;
    qkm1 = qk;

    xk = (z * k5 * k6) / (k7 * k8);
    pk = pkm1 + pkm2 * xk;
    qk = qkm1 + qkm2 * xk;
    pkm2 = pkm1;
    pkm1 = pk;
    qkm2 = qkm1;
    qkm1 = qk;

    r = going && qk != 0.0 ? pk / qk : r;
    const mask nonzero = r != 0.0;
    const lanes t = nonzero ? ABS((ans - r) / r) : SPLAT(1.0);
    ans = going && nonzero ? r : ans;
    going &= !(t < kIbetaThresh);

    k1 += 1.0;
    k3 += 2.0;
    k4 += 2.0;
    k5 += 1.0;
    k7 += 2.0;
    k8 += 2.0;
    if (ratio) {
      k2 -= 1.0;
      k6 += 1.0;
    } else {
      k2 += 1.0;
      k6 -= 1.0;
    }
    const mask big = ABS(qk) + ABS(pk) > kIbetaBig;
    pkm2 = big ? pkm2 * kIbetaBigInv : pkm2;
    pkm1 = big ? pkm1 * kIbetaBigInv : pkm1;
    qkm2 = big ? qkm2 * kIbetaBigInv : qkm2;
    qkm1 = big ? qkm1 * kIbetaBigInv : qkm1;
    const mask small = ABS(qk) < kIbetaBigInv || ABS(pk) < kIbetaBigInv;
    pkm2 = small ? pkm2 * kIbetaBig : pkm2;
    pkm1 = small ? pkm1 * kIbetaBig : pkm1;
    qkm2 = small ? qkm2 * kIbetaBig : qkm2;
    qkm1 = small ? qkm1 * kIbetaBig : qkm1;
  }
  memcpy(values, &ans, sizeof ans);
}

// Points waiting for three more of their kind.
struct Queue {
  int count = 0;
  int index[LANES];
  IbetaCase cases[LANES];
};

void run(Queue &q, double *out) {
  if (q.count == 0) return;
  // Empty lanes repeat the first point; their results are dropped.
  double a[LANES], b[LANES], x[LANES], s[LANES];
  for (int j = 0; j < LANES; j++) {
    const IbetaCase &c = q.cases[j < q.count ? j : 0];
    a[j] = c.a, b[j] = c.b, x[j] = c.x;
  }
  const IbetaKind kind = q.cases[0].kind;
  if (kind == IBETA_SERIES)
    series_sums(a, b, x, s);
  else
    fraction_values(kind == IBETA_FRACTION_RATIO, a, b, x, s);
  for (int j = 0; j < q.count; j++)
    out[q.index[j]] = kind == IBETA_SERIES ? ibeta_series_result(q.cases[j], s[j])
                                           : ibeta_fraction_value(q.cases[j], s[j]);
  q.count = 0;
}

}  // namespace

void ibeta_many(double a, double b, int n, const double *x, double *out) {
  if (n <= 0) return;
  if (a <= 0.0 || b <= 0.0) {
    out[0] = ibeta(a, b, x[0]);  // says so and ends the run
    return;
  }
  Queue queues[3];
  for (int i = 0; i < n; i++) {
    // A point that is no number gets the one-value function's own NaN: which
    // NaN comes out depends on the order the processor meets the operands in.
    if (x[i] != x[i]) {
      out[i] = ibeta(a, b, x[i]);
      continue;
    }
    const IbetaCase c = ibeta_case(a, b, x[i]);
    if (c.kind == IBETA_VALUE) {
      out[i] = c.value;
      continue;
    }
    Queue &q = queues[c.kind - IBETA_SERIES];
    q.index[q.count] = i;
    q.cases[q.count] = c;
    if (++q.count == LANES) run(q, out);
  }
  for (Queue &q : queues) run(q, out);
}
