// One entry for every fit type, and the fitted curve at any x for drawing.
#include <cmath>
#include <cstdio>

#include "zor_fit.h"

int FIT_data(int ntime, float *ydata, float *fit, float *chi2_dof) {
  int result;
  switch (FIT.type) {
    case FIT_T2: result = FIT_T2_value(ntime, ydata, fit); break;
    case FIT_DTI_OLS: result = FIT_DTI_linear_OLS(ntime, ydata, fit); break;
    case FIT_DTI_WLS: result = FIT_DTI_linear_WLS(ntime, ydata, fit); break;
    case FIT_DTI_NL: result = FIT_DTI_nonlinear(ntime, ydata, fit); break;
    case FIT_T1_IR: result = FIT_T1_from_IR_magnitude(ntime, ydata, fit); break;
    case FIT_FDG_POLY: result = FIT_FDG_polynomial(ntime, ydata, fit); break;
    case FIT_FDG_EXP: result = FIT_FDG_exponential(ntime, ydata, fit); break;
    case FIT_SURVIVAL2: result = FIT_survival2(ntime, ydata, fit); break;
    case FIT_SURVIVAL3: result = FIT_survival3(ntime, ydata, fit); break;
    case FIT_SURVIVAL5: result = FIT_survival5(ntime, ydata, fit); break;
    default:
      printf("Error: the fit type (%d) does not exist in FIT_data()\n", FIT.type);
      return 1;
  }
  if (result) {
    *chi2_dof = 0.0f;
    return 1;
  }
  // Over the number of points, not the degrees of freedom.
  float sum = 0.0f;
  for (int j = 0; j < ntime; j++) sum += (ydata[j] - fit[j]) * (ydata[j] - fit[j]);
  *chi2_dof = sum / (float)ntime;
  return 0;
}

float FIT_get_fit_value(float x, float ymax) {
  const float *p = FIT.param_value;
  switch (FIT.type) {
    case FIT_T2: return (float)(p[2] * std::exp(-x / p[0]));
    case FIT_T1_IR: return (float)std::fabs(std::trunc(p[2] - p[2] * (p[3] + 1.0f) * std::exp(-x / p[0])));
    case FIT_FDG_POLY:
      return (float)(p[0] * std::exp(-p[1] * x) + p[2] * x + p[3] * x * x + p[4] * x * x * x);
    case FIT_FDG_EXP: return (float)(p[0] * x + p[1] * (1.0 - std::exp(-x * p[2])));
    case FIT_DTI_OLS:
    case FIT_DTI_WLS:
    case FIT_DTI_NL: {
      if (!FIT.xVector || FIT.ntime < 1) return 0.0f;
      const float position = x + 0.5f;
      int j = 0;
      if (position >= (float)(FIT.ntime - 1)) j = FIT.ntime - 1;
      else if (position > 0.0f) j = (int)position;
      const double gx = FIT.xVector[0][j], gy = FIT.xVector[1][j], gz = FIT.xVector[2][j], b = FIT.xVector[3][j];
      return (float)(p[0] * std::exp(-b * (p[1] * gx * gx + p[2] * gy * gy + p[3] * gz * gz + 2.0 * gx * gy * p[4] +
                                           2.0 * gx * gz * p[4] + 2.0 * gy * gz * p[6])));
    }
    // Survival-2 keeps its results as outputs: its curve is drawn from zeros.
    case FIT_SURVIVAL2: return (float)(ymax / (std::exp((x - p[0]) / p[1]) + 1.0));
    case FIT_SURVIVAL3:
      return (float)(ymax / std::pow(std::exp((x - p[0]) / p[1]) * (std::pow(2.0, p[2]) - 1.0) + 1.0, 1.0 / p[2]));
    case FIT_SURVIVAL5:
      return (float)(ymax * (1.0 - p[4]) / (std::exp((x - p[0]) / p[1]) + 1.0) +
                     ymax * p[4] / (std::exp((x - p[2]) / p[3]) + 1.0));
    default:
      printf("Error: the fit type (%d) does not exist in FIT_get_fit_value()\n", FIT.type);
      return 1.0f;
  }
}
