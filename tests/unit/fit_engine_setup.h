// Puts the fit engine in a known state without files: a fit type and its x
// data, as a control file would leave them.
#ifndef ZOR_FIT_ENGINE_SETUP_H
#define ZOR_FIT_ENGINE_SETUP_H

#include <cstring>
#include <vector>

#include "fit_test_files.h"

// One x row (relaxation, survival, FDG) or four rows of direction and b.
inline void set_fit_engine(const char *time_model, int ntime, const std::vector<std::vector<float>> &rows = {}) {
  fresh_fit_engine();
  std::string line = std::string("time-model ") + time_model;
  std::vector<char> text(line.begin(), line.end());
  text.push_back('\0');
  capture_output([&] { FITInternal_decode_keyword(text.data()); });
  FIT.ntime = ntime;
  FIT.nfiles = 1;
  FIT.nt[0] = ntime;
  FIT.file_stop[0] = ntime - 1;
  FIT.Weight = float_vector(ntime);
  for (int j = 0; j < ntime; j++) FIT.Weight[j] = 1.0f;
  FIT.xVector = float_matrix(FIT.dim_x, ntime);
  for (int r = 0; r < FIT.dim_x; r++)
    for (int j = 0; j < ntime; j++) FIT.xVector[r][j] = r < (int)rows.size() ? rows[r][j] : 0.0f;
  if (FIT.fit_class == FIT_SURVIVAL)
    for (int j = 0; j < ntime; j++) FIT.xVector[0][j] = (float)(2 * j) / (float)ntime - 1.0f;
  if (FIT.fit_class == FIT_DIFFUSION) FIT_define_DTI_basis_functions(ntime, FIT.Weight);
  if (FIT.type == FIT_FDG_POLY) FIT_define_FDG_basis_functions(ntime, 1.0f, FIT.Weight);
  FIT.dof = (float)(ntime - FIT.nparam_fit);
  FIT.initialized = 1;
}

#endif
