// Kinetic parameters from the coefficients of the last fit (R1, tau2', BP,
// V, b and the raw sums) at any frame, the binding potential of a
// condition, and the partial fits the graph draws.
#include <cmath>
#include <cstdio>

#include "srtm_internal.h"
#include "zor_exit.h"

using namespace srtm;

namespace {

const char *parameter_name(int code) {
  static const char *names[5] = {"R1", "k2", "k2a", "DV", "1/b"};
  return names[code];
}

}  // namespace

double SRTM_get_parameter_value(int iParameter, int iTime_total, double *Par_error) {
  if (iParameter < -4 || iParameter > 4) {
    printf("Error: parameter %d is not defined in SRTM_get_parameter_value()\n", iParameter);
    zor_exit(1);
  }
  const int type = iParameter < 0 ? -iParameter : iParameter;
  const int irun = SRTM_get_run_number(iTime_total);
  const int jt = iTime_total - SRTM.run_istart[irun];
  const double Time = SRTM_time_total_minutes(iTime_total);
  double v = 0.0, e = 0.0;
  int found = 0;
  for (int c = 0; c < SRTM.ncoeff; c++) {
    if (SRTM.event_type[c] != type) continue;
    const int np = SRTM.nperiods[c] < SRTM_MAX_PERIODS ? SRTM.nperiods[c] : SRTM_MAX_PERIODS;
    for (int p = 0; p < np; p++) {
      const double start = SRTM.period_start[c][p], stop = SRTM.period_stop[c][p];
      if (!(Time >= start - 0.001 && stop + 0.001 >= Time)) continue;
      found = 1;
      double m;
      if (SRTM.event_shape[c] == SHAPE_TABLE)
        m = SRTM.table_value[irun][SRTM.icolumn[c]][jt];
      else
        m = srtm_shape_value(SRTM.event_shape[c], Time, start, stop, SRTM.tau[c], SRTM.alpha[c], 0);
      v += SRTM.Beta_c[c] * m;
      e += SRTM.XTXm1_cc[c][c] * m * SRTM.sigma2;
    }
  }
  const int fixed = SRTM.k2prime_base[irun] != 0.0;
  if (!found && !(type == 1 && fixed)) {
    printf("iParameter = %d, k2prime = %g\n", iParameter, SRTM.k2prime_base[irun]);
    printf("Error: parameter %s not found at time point %d in run %d\n", parameter_name(type), jt, irun + 1);
    zor_exit(1);
  }
  e = sqrt(e);
  double value = v, error = e;
  switch (iParameter) {
    case 0:
    case -2:
    case -3:
    case -4: break;
    case -1:
      if (fixed) {
        printf("error for fixed k2 = %g\n", e);
        error = 0.0;
      }
      break;
    case 1:
      if (!fixed) {
        double eR1;
        double R1 = SRTM_get_parameter_value(0, iTime_total, &eR1);
        if (v == 0.0) {
          puts("Error 1: parameter value k2 = 0 in SRTM_get_parameter_value()");
          zor_exit(1);
        }
        value = R1 / v;
        error = value * sqrt((e / v) * (e / v) + (eR1 / R1) * (eR1 / R1));
      } else {
        value = (1.0 / SRTM.k2prime_base[irun]) / SRTM.k2prime_rel[irun][jt];
        error = 0.0;
      }
      break;
    case 2:
      if (v == 0.0) {
        value = error = 0.0;
      } else if (!fixed) {
        double ek2;
        double k2 = SRTM_get_parameter_value(-1, iTime_total, &ek2);
        value = k2 / v - 1.0;
        error = value * sqrt((e / v) * (e / v) + (ek2 / k2) * (ek2 / k2));
      } else {
        double eR1, etau;
        double R1 = SRTM_get_parameter_value(0, iTime_total, &eR1);
        double tau2 = SRTM_get_parameter_value(1, iTime_total, &etau);
        if (tau2 == 0.0) {
          puts("Error 2: parameter value tau2' = 0 in SRTM_get_parameter_value()");
          zor_exit(1);
        }
        value = R1 / tau2 / v / SRTM.k2prime_rel[irun][jt] - 1.0;
        error = value * sqrt((e / v) * (e / v) + (eR1 / R1) * (eR1 / R1));
      }
      break;
    case 4:
      value = 1.0 / v;
      error = e * v * v;
      break;
    case 3: {
      double eb;
      double b = SRTM_get_parameter_value(4, iTime_total, &eb);
      value = v * b;
      error = value * sqrt((e / v) * (e / v) + (eb / b) * (eb / b));
      break;
    }
    default: break;
  }
  *Par_error = error;
  return value;
}

int SRTM_BP_condition(int iCondition) {
  if (iCondition < 0 || iCondition >= SRTM.nconditions) return 0;
  return SRTM.BP_condition[iCondition];
}

double SRTM_calculate_BP_condition(int iCondition, double *BP_error) {
  if (!SRTM_BP_condition(iCondition)) return 0.0;
  double total = 0.0, error_sum = 0.0;
  for (int c = 0; c < SRTM.ncoeff; c++) {
    int entry = SRTM.contrast_matrix[iCondition][0][c];
    if (entry == 0) continue;
    double E;
    double P = SRTM_get_parameter_value(2, SRTM_iTime_for_BP(c), &E);
    total += entry * P;
    error_sum += E * E;
  }
  *BP_error = sqrt(error_sum);
  return total;
}

int SRTM_iTime_for_BP(int iCoeff) {
  const double start = SRTM.period_start[iCoeff][0], stop = SRTM.period_stop[iCoeff][0];
  float time;
  switch (SRTM.event_shape[iCoeff]) {
    case SHAPE_GAMMA: {
      time = (float)(start + SRTM.tau[iCoeff]);
      int run = SRTM_get_run_number_from_time(start);
      float last = (float)SRTM_time_total_minutes(SRTM.run_istop[run]);
      if (time > last) time = last;
      break;
    }
    case SHAPE_GAMMAINT:
    case SHAPE_SIGMOID: time = (float)stop; break;
    case SHAPE_TABLE: time = (float)SRTM_time_total_minutes(SRTM.iTimeMax[iCoeff]); break;
    default: time = (float)start; break;
  }
  return SRTM_get_itime_from_time(time);
}

namespace {

int check_partial_fit(int itime, const char *function) {
  if (itime >= SRTM.ntime || itime < 0) {
    printf("Error: time index (%d) >= SRTM time points (%d) in %s()\n", itime, SRTM.ntime, function);
    return 1;
  }
  if (SRTM.ncoeff < 1 || !SRTM.Beta_c) {
    printf("Error: no coefficients assigned yet in %s.\n", function);
    return 1;
  }
  return 0;
}

}  // namespace

int SRTM_binding_fit(int ibind, int itime, float *fit) {
  if (check_partial_fit(itime, "SRTM_binding_fit")) return 1;
  float delivery = 0.0f;
  for (int c = 0; c < SRTM.ncoeff; c++)
    if (SRTM.event_type[c] == TYPE_R1) delivery += (float)(SRTM.Beta_c[c] * SRTM.Xmix_tc[itime][c]);
  if (ibind == 0) {
    *fit = delivery;
    return 0;
  }
  float total = 0.0f;
  for (int c = 0; c < SRTM.ncoeff; c++) total += (float)(SRTM.Beta_c[c] * SRTM.Xorig_tc[itime][c]);
  *fit = total - delivery;
  return 0;
}

int SRTM_coeff_fit(int icoeff, int itime, float *fit) {
  if (check_partial_fit(itime, "SRTM_coeff_fit")) return 1;
  if (icoeff < 0 || icoeff >= SRTM.ncoeff) {
    printf("Error: coefficient %d is out of range (0-%d) in SRTM_coeff_fit()\n", icoeff, SRTM.ncoeff - 1);
    return 1;
  }
  *fit = (float)(SRTM.Beta_c[icoeff] * SRTM.Xorig_tc[itime][icoeff]);
  return 0;
}

int SRTM_get_residue(int ntime, float *residue) {
  if (ntime != SRTM.ntime || !SRTM.Residue_t) {
    printf("Error: the specified # of time points (%d) does not match the GLM (%d).\n", ntime, SRTM.ntime);
    return 1;
  }
  for (int t = 0; t < ntime; t++) residue[t] = (float)SRTM.Residue_t[t];
  return 0;
}

int SRTM_get_noise_model(int GetFit, int ntime, float *noise_stdev) {
  if (ntime != SRTM.ntime || !SRTM.NoiseFit_t) {
    printf("Error: the specified # of time points (%d) does not match the GLM (%d).\n", ntime, SRTM.ntime);
    return 1;
  }
  double av_noise = 0.0;
  for (int t = 0; t < ntime; t++) av_noise += SRTM.NoiseFit_t[t];
  av_noise /= ntime;
  float ss = 0.0f;
  for (int t = 0; t < ntime; t++) ss += (float)(SRTM.Residue_t[t] * SRTM.Residue_t[t]);
  double stdev = sqrt(ss / ntime);
  for (int t = 0; t < ntime; t++)
    noise_stdev[t] = (float)((GetFit ? SRTM.NoiseFit_t[t] : SRTM.NoiseRaw_t[t]) * stdev / av_noise);
  return 0;
}
