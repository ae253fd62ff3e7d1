// The fit of many voxels straight from the volumes of a study, eight voxels
// side by side: each lane of the vectors below is one voxel and does the
// products and sums of that voxel's own fit, in the same order, so that each
// value is the one a fit of that voxel alone gives.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "glm_internal.h"
#include "zor_glm.h"

namespace {

constexpr int LANES = 8;
// How far ahead, in voxels, the volumes are read before they are needed.
constexpr int PREFETCH_AHEAD = 8 * LANES;
// Unaligned, so that the vectors can live anywhere in memory.
typedef float lanes __attribute__((vector_size(LANES * sizeof(float)), aligned(4)));

// The model's matrices as the lanes read them: the pseudo-inverse by time
// point, the weighted design by time point, and the weights of the data.
struct VolumeModel {
  int ncoeff = 0, ntime = 0;
  std::vector<float> pinv;     // [t * ncoeff + c]
  std::vector<float> design;   // [t * ncoeff + c]
  std::vector<float> weight;   // include x weight
  std::vector<float> include;  // include as float
};

VolumeModel volume_model(int ntime) {
  VolumeModel m;
  m.ncoeff = GLM.ncoeff;
  m.ntime = ntime;
  const size_t n = (size_t)ntime * (size_t)m.ncoeff;
  m.pinv.resize(n);
  m.design.resize(n);
  m.weight.resize((size_t)ntime);
  m.include.resize((size_t)ntime);
  for (int t = 0; t < ntime; t++) {
    for (int c = 0; c < m.ncoeff; c++) {
      m.pinv[(size_t)t * m.ncoeff + c] = GLM.XTXm1XT_ct[c][t];
      m.design[(size_t)t * m.ncoeff + c] = GLM.X_tc[t][c];
    }
    m.weight[t] = GLM.include_time[t] * GLM.Weight_t[t];
    m.include[t] = (float)GLM.include_time[t];
  }
  return m;
}

// Voxels v..v+count-1 (count up to LANES): coefficients into beta[c][lane],
// noise variances into s2[lane].
// Built for the wider registers too where the processor has them: the same
// operations, so the same values.
__attribute__((target_clones("avx2", "default")))
void fit_lanes(const VolumeModel &m, const float *const *volumes, int v, int count, lanes *beta, lanes *s2) {
  const int nc = m.ncoeff;
  for (int c = 0; c < nc; c++) beta[c] = lanes{};
  for (int t = 0; t < m.ntime; t++) {
    lanes y = {};
    if (count == LANES)
      memcpy(&y, volumes[t] + v, sizeof y);
    else
      for (int j = 0; j < count; j++) y[j] = volumes[t][v + j];
    // The voxels a few blocks on are fetched meanwhile: each time point's
    // volume lies far from the last.
    // (In integers: past the last voxel there is no array to point into.)
    __builtin_prefetch((const void *)((uintptr_t)(volumes[t] + v) + PREFETCH_AHEAD * sizeof(float)));
    const lanes w = m.weight[t] * y;
    const float *p = &m.pinv[(size_t)t * nc];
    for (int c = 0; c < nc; c++) beta[c] += p[c] * w;
  }
  lanes sum2 = {};
  for (int t = 0; t < m.ntime; t++) {
    const float *x = &m.design[(size_t)t * nc];
    lanes fit = {};
    for (int k = 0; k < nc; k++) fit += beta[k] * x[k];
    lanes y = {};
    if (count == LANES)
      memcpy(&y, volumes[t] + v, sizeof y);
    else
      for (int j = 0; j < count; j++) y[j] = volumes[t][v + j];
    const lanes r = m.include[t] * y - fit;
    sum2 += r * r;
  }
  *s2 = sum2 / GLM.dof;
}

}  // namespace

int GLM_fit_volume_voxels(int first, int nvoxels, int ntime, const float *const *volumes, int resels, int nthreads,
                          float *sigma2, float *statistics, float *coefficients) {
  if (ntime != GLM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n", ntime,
           GLM.ntime);
    return 1;
  }
  if (GLM_input.noise_model == NOISE_iWLS) {
    puts("Error: under iWLS each voxel's fit starts from the last one's weights: fit them one after another.");
    return 1;
  }
  const int nconditions = GLM.nconditions;
  for (int k = 0; k < nconditions; k++)
    if (!GLM.contrast_matrix[k] || !GLM.FCovar[k] || !GLM.FCovarInv[k]) {
      printf("Error: the contrasts of condition %d are not defined.\n", k);
      return 1;
    }
  if (nvoxels <= 0) return 0;
  const VolumeModel m = volume_model(ntime);
  const int nc = m.ncoeff;

  // Blocks of voxels a..e-1, relative to first, a chunk of blocks at a
  // time: the statistics of a chunk's voxels are then worked out together.
  constexpr int CHUNK = 32 * LANES;
  auto run = [&](int a, int e) {
    std::vector<float> beta_store((size_t)(nc > 0 ? nc : 1) * LANES);
    lanes *beta = reinterpret_cast<lanes *>(beta_store.data());
    std::vector<float> chunk_beta((size_t)(nc > 0 ? nc : 1) * CHUNK), chunk_s2(CHUNK);
    for (int c0 = a; c0 < e; c0 += CHUNK) {
      const int c1 = e - c0 < CHUNK ? e : c0 + CHUNK;
      for (int b = c0; b < c1; b += LANES) {
        const int count = c1 - b < LANES ? c1 - b : LANES;
        lanes s2;
        fit_lanes(m, volumes, first + b, count, beta, &s2);
        for (int j = 0; j < count; j++) {
          float *own = &chunk_beta[(size_t)(b - c0 + j) * nc];
          for (int c = 0; c < nc; c++) own[c] = beta[c][j];
          chunk_s2[b - c0 + j] = s2[j];
        }
      }
      const int count = c1 - c0;
      if (sigma2) memcpy(sigma2 + c0, chunk_s2.data(), sizeof(float) * (size_t)count);
      if (coefficients)
        memcpy(coefficients + (size_t)c0 * nc, chunk_beta.data(), sizeof(float) * (size_t)count * (size_t)nc);
      if (statistics)
        glm_voxels_statistics(count, chunk_beta.data(), chunk_s2.data(), resels,
                              statistics + (size_t)c0 * nconditions * 6);
    }
  };
  // Parts of whole blocks, one per thread.
  const int nblocks = (nvoxels + LANES - 1) / LANES;
  int parts = nthreads < 1 ? 1 : nthreads;
  if (parts > nblocks) parts = nblocks;
  std::vector<std::thread> workers;
  auto edge = [&](int p) {
    const int v = (int)((long long)nblocks * p / parts) * LANES;
    return v < nvoxels ? v : nvoxels;
  };
  for (int p = 1; p < parts; p++) workers.emplace_back(run, edge(p), edge(p + 1));
  run(0, edge(1));
  for (std::thread &w : workers) w.join();
  return 0;
}
