// Every voxel of a volume fitted on several threads. Each thread works on
// its own copy of the engine record and of the linear model, so each voxel
// gets exactly the values its own fit gives, whatever thread takes it.
#include <atomic>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "fit_internal.h"
#include "zor_alloc.h"
#include "zor_fit.h"
#include "zor_linear_models.h"

namespace {

struct voxel_job {
  int nvoxels, ntime;
  const float *series;
  int *result;
  float *chi2_dof, *values, *outputs;
};

// The tensor fits, whose maps need neither the fitted curve nor its chi-square.
bool maps_only(int type) { return type == FIT_DTI_OLS || type == FIT_DTI_WLS || type == FIT_DTI_NL; }

// The engine's values and outputs of voxel v, and its result and chi-square.
void store(const voxel_job &job, int v, int r, float chi2) {
  if (job.result) job.result[v] = r;
  if (job.chi2_dof) job.chi2_dof[v] = chi2;
  if (job.values)
    for (int i = 0; i < FIT.nparam_fit; i++) job.values[(size_t)v * FIT.nparam_fit + i] = FIT.param_value[i];
  if (job.outputs)
    for (int i = 0; i < FIT.nparam_output; i++)
      job.outputs[(size_t)v * FIT.nparam_output + i] = FIT.param_output[i];
}

void fit_one(const voxel_job &job, int v, std::vector<float> &y, std::vector<float> &fit) {
  for (int i = 0; i < FIT_MAX_PARAMETERS; i++) FIT.param_value[i] = FIT.param_output[i] = 0.0f;
  std::fill(fit.begin(), fit.end(), 0.0f);
  memcpy(y.data(), job.series + (size_t)v * job.ntime, sizeof(float) * job.ntime);
  float chi2 = 0.0f;
  int r;
  if (!job.chi2_dof && maps_only(FIT.type)) {
    // Nobody reads the fitted curve or its chi-square: the fit alone.
    r = FIT.type == FIT_DTI_OLS   ? FIT_DTI_linear_OLS(job.ntime, y.data(), fit.data())
        : FIT.type == FIT_DTI_WLS ? FIT_DTI_linear_WLS(job.ntime, y.data(), fit.data())
                                  : FIT_DTI_nonlinear(job.ntime, y.data(), fit.data());
    r = r != 0;
  } else {
    r = FIT_data(job.ntime, y.data(), fit.data(), &chi2);
  }
  store(job, v, r, chi2);
}

struct group_context {
  const voxel_job *job;
  int first;
};

void store_group_voxel(void *context, int k, int r) {
  const group_context *g = static_cast<const group_context *>(context);
  store(*g->job, g->first + k, r, 0.0f);
}

// Voxels begin to end. Linear tensor maps alone go four voxels at a time.
void fit_range(const voxel_job &job, int begin, int end, std::vector<float> &y, std::vector<float> &fit) {
  if (!job.chi2_dof && FIT.type == FIT_DTI_OLS && fit_tensor_batch_ready(job.ntime)) {
    for (int v = begin; v < end; v += 4) {
      group_context g{&job, v};
      fit_tensor_ols_group(end - v < 4 ? end - v : 4, job.series + (size_t)v * job.ntime, job.ntime,
                           store_group_voxel, &g);
    }
    return;
  }
  for (int v = begin; v < end; v++) fit_one(job, v, y, fit);
}

// A copy of another thread's model, for the fits that use the design as it
// stands rather than building their own.
void copy_model(const general_glm_record &from) {
  const int nt = from.nt, nc = from.ncoeff;
  GeneralGLM.nt = nt;
  GeneralGLM.ncoeff = nc;
  GeneralGLM.X = float_matrix(nt, nc);
  GeneralGLM.XTXm1 = float_matrix(nc, nc);
  GeneralGLM.Pinv = float_matrix(nc, nt);
  GeneralGLM.Beta = float_vector(nc);
  GeneralGLM.Sem = float_vector(nc);
  for (int j = 0; j < nt; j++) memcpy(GeneralGLM.X[j], from.X[j], sizeof(float) * nc);
  for (int c = 0; c < nc; c++) {
    memcpy(GeneralGLM.XTXm1[c], from.XTXm1[c], sizeof(float) * nc);
    memcpy(GeneralGLM.Pinv[c], from.Pinv[c], sizeof(float) * nt);
    GeneralGLM.Beta[c] = from.Beta[c];
    GeneralGLM.Sem[c] = from.Sem[c];
  }
}

void release_copied_model() {
  const int nt = GeneralGLM.nt, nc = GeneralGLM.ncoeff;
  free_float_matrix(GeneralGLM.X, nt, nc);
  free_float_matrix(GeneralGLM.XTXm1, nc, nc);
  free_float_matrix(GeneralGLM.Pinv, nc, nt);
  free_float_vector(GeneralGLM.Beta);
  free_float_vector(GeneralGLM.Sem);
  GeneralGLM = general_glm_record{};
}

bool uses_standing_design(int type) { return type == FIT_DTI_OLS || type == FIT_DTI_NL; }

void worker(const voxel_job &job, const fit_struct &engine, const general_glm_record &model,
            std::atomic<int> &next) {
  FIT = engine;
  const bool copied = uses_standing_design(engine.type) && model.ncoeff > 0;
  if (copied) copy_model(model);
  std::vector<float> y(job.ntime), fit(job.ntime);
  fit_tensor_batch_begin(job.ntime, job.chi2_dof != nullptr);
  const int chunk = 64;
  for (;;) {
    const int begin = next.fetch_add(chunk);
    if (begin >= job.nvoxels) break;
    const int end = begin + chunk < job.nvoxels ? begin + chunk : job.nvoxels;
    fit_range(job, begin, end, y, fit);
  }
  fit_tensor_batch_end();
  if (copied) release_copied_model();
  else GeneralGLM_reset();
}

}  // namespace

int FIT_fit_voxels(int nvoxels, int ntime, const float *series, int nthreads, int *result, float *chi2_dof,
                   float *values, float *outputs) {
  if (!FIT.initialized) {
    puts("Error: the fit engine has no model: read a control file first.");
    return 1;
  }
  if (ntime != FIT.ntime || ntime < 1) {
    printf("Error: the number of time points (%d) does not match the fit (%d).\n", ntime, FIT.ntime);
    return 1;
  }
  if (nvoxels < 1) return 0;
  voxel_job job = {nvoxels, ntime, series, result, chi2_dof, values, outputs};
  std::vector<float> y(ntime), fit(ntime);
  if (nthreads <= 1 || nvoxels < 2) {
    fit_tensor_batch_begin(ntime, chi2_dof != nullptr);
    fit_range(job, 0, nvoxels, y, fit);
    fit_tensor_batch_end();
    // The caller's engine as the single fit of the last voxel leaves it.
    if (fit_is_tensor(FIT.type)) fit_one(job, nvoxels - 1, y, fit);
    return 0;
  }
  std::atomic<int> next{0};
  const fit_struct engine = FIT;
  const general_glm_record model = GeneralGLM;
  std::vector<std::thread> workers;
  for (int t = 0; t < nthreads; t++) workers.emplace_back(worker, std::cref(job), std::cref(engine), std::cref(model),
                                                          std::ref(next));
  for (std::thread &w : workers) w.join();
  // The caller's engine as the last voxel leaves it; the values are the same.
  fit_one(job, nvoxels - 1, y, fit);
  return 0;
}
