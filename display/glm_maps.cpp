// The statistical maps of the whole volume under the model as it stands,
// computed in memory and shown at once as the activation map: for each
// condition -log10 p (signed by the contrast), the effect size and the
// contrast-to-noise ratio.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "zor_colour.h"
#include "zor_glm.h"
#include "zor_glm_actions.h"
#include "zor_graph.h"
#include "zor_stack.h"
#include "zor_startup.h"
#include "zor_time_model.h"
#include "zor_x11.h"

namespace {

constexpr int PROGRESS_STEPS = 20;

void show_progress(int percent) {
  char line[ZOR_LINE], blank[] = " ";
  snprintf(line, sizeof line, "calculating p: %d %c", percent, '%');
  printf("%s\n", line);
  fflush(stdout);
  show_on_info_line(0, 0, line, blank, blank);
  refresh_display_image(0);
  if (XConnection) XFlush(XConnection);
}

// The maps of one condition k at a voxel, from its statistics.
void store_maps(float **maps, int k, int index, float p_raw, float cnr, float effect_size, bool percent,
                float baseline) {
  float logp = (float)-log10((double)p_raw);
  if (cnr < 0.0f) logp = -logp;
  maps[3 * k][index] = logp;
  maps[3 * k + 1][index] = percent ? effect_size * 100.0f / fabsf(baseline) : effect_size;
  maps[3 * k + 2][index] = cnr;
}

// One voxel's time course.
void read_series(const data_stack &stack, int index, float *out) {
  if (stack.data_type == DATA_MAGNITUDE && stack.Volume) {
    for (int t = 0; t < stack.nt; t++) out[t] = stack.Volume[t][index];
  } else {
    for (int t = 0; t < stack.nt; t++) out[t] = stack_data_4d(&stack, mosaic.display_data_type, index, t);
  }
}

// The voxels in the order the maps were defined in, one fit after another,
// each starting from what the last one left: the iterated weights of one
// voxel are where the next begins.
void maps_in_order(int first, int last, float **maps, bool filtered, bool percent) {
  const int nt = image_stack.nt, nconditions = GLM_get_nconditions(), resels = glm_maps_resels;
  std::vector<float> y((size_t)nt), fit((size_t)nt);
  for (int index = first; index < last; index++) {
    read_series(image_stack, index, y.data());
    float sigma2, baseline = 0.0f;
    if (filtered && percent) {
      GLM_fit_data(nt, y.data(), fit.data(), &sigma2);
      baseline = GLM_compute_baseline();
    }
    GLM_PreFilter(0, nt, y.data());
    GLM_fit_data(nt, y.data(), fit.data(), &sigma2);
    if (!filtered && percent) baseline = GLM_compute_baseline();
    for (int k = 0; k < nconditions; k++) {
      float Fstat = 0.0f, cnr, p_raw, p_cor, effect_size, effect_sem;
      GLM_calculate_F(nt, sigma2, resels, k, &Fstat, &cnr, &p_raw, &p_cor, &effect_size, &effect_sem);
      store_maps(maps, k, index, p_raw, cnr, effect_size, percent, baseline);
    }
  }
}

// Runs body(first, last) over [first, last) cut into nthreads parts, each
// on its own thread; the parts share nothing.
template <typename F>
void in_parts(int first, int last, int nthreads, F body) {
  const int n = last - first;
  int parts = nthreads < 1 ? 1 : nthreads;
  if (parts > n) parts = n > 0 ? n : 1;
  std::vector<std::thread> workers;
  for (int p = 1; p < parts; p++)
    workers.emplace_back(body, first + (int)((long long)n * p / parts), first + (int)((long long)n * (p + 1) / parts));
  body(first, first + (int)((long long)n / parts));
  for (std::thread &w : workers) w.join();
}

// The time courses of voxels first..last-1, one after another, read in
// blocks of voxels so that each volume is read along its rows.
void gather_series(int first, int last, int base, float *series) {
  const data_stack &s = image_stack;
  const int nt = s.nt;
  if (s.data_type != DATA_MAGNITUDE || !s.Volume) {
    for (int v = first; v < last; v++) read_series(s, v, series + (size_t)(v - base) * nt);
    return;
  }
  constexpr int BLOCK = 16;
  for (int b = first; b < last; b += BLOCK) {
    const int e = b + BLOCK < last ? b + BLOCK : last;
    for (int t = 0; t < nt; t++) {
      const float *volume = s.Volume[t];
      for (int v = b; v < e; v++) series[(size_t)(v - base) * nt + t] = volume[v];
    }
  }
}

// Buffers of the maps side by side, kept from one part of the volume to the next.
struct SideBySide {
  std::vector<float> series, statistics, coefficients, baseline;
};

// The same voxels fitted side by side: each fit only reads the model, so
// the values are those of the fits one after another.
int maps_side_by_side(int first, int last, float **maps, bool filtered, bool percent, int nthreads,
                      SideBySide &b) {
  const int nt = image_stack.nt, nconditions = GLM_get_nconditions(), resels = glm_maps_resels;
  const int nvox = last - first, ncoeff = GLM.ncoeff;
  b.series.resize((size_t)nvox * nt);
  b.statistics.resize((size_t)nvox * (nconditions > 0 ? nconditions : 1) * 6);
  in_parts(first, last, nthreads, [&](int a, int e) { gather_series(a, e, first, b.series.data()); });
  if (percent) {
    // The baseline of the unfiltered curve, or of the filtered one when
    // there is no filter: the filter changes nothing then.
    b.coefficients.resize((size_t)nvox * (ncoeff > 0 ? ncoeff : 1));
    b.baseline.resize((size_t)nvox);
    if (filtered) {
      if (GLM_fit_voxels_coefficients(nvox, nt, b.series.data(), resels, nthreads, nullptr, nullptr,
                                      b.coefficients.data()))
        return 1;
      for (int v = 0; v < nvox; v++) b.baseline[v] = GLM_compute_baseline_of(&b.coefficients[(size_t)v * ncoeff]);
    }
  }
  for (int v = 0; v < nvox; v++) GLM_PreFilter(0, nt, &b.series[(size_t)v * nt]);
  if (GLM_fit_voxels_coefficients(nvox, nt, b.series.data(), resels, nthreads, nullptr, b.statistics.data(),
                                  percent && !filtered ? b.coefficients.data() : nullptr))
    return 1;
  in_parts(first, last, nthreads, [&](int a, int e) {
    for (int index = a; index < e; index++) {
      const int v = index - first;
      if (percent && !filtered) b.baseline[v] = GLM_compute_baseline_of(&b.coefficients[(size_t)v * ncoeff]);
      for (int k = 0; k < nconditions; k++) {
        const float *st = &b.statistics[((size_t)v * nconditions + k) * 6];
        store_maps(maps, k, index, st[2], st[1], st[4], percent, percent ? b.baseline[v] : 0.0f);
      }
    }
  });
  return 0;
}

// The same read from the volumes where they lie, when no filter changes
// the data: the unfiltered fit then gives the baseline too.
int maps_in_place(int first, int last, float **maps, bool percent, int nthreads, SideBySide &b) {
  const int nt = image_stack.nt, nconditions = GLM_get_nconditions(), resels = glm_maps_resels;
  const int nvox = last - first, ncoeff = GLM.ncoeff;
  b.statistics.resize((size_t)nvox * (nconditions > 0 ? nconditions : 1) * 6);
  if (percent) b.coefficients.resize((size_t)nvox * (ncoeff > 0 ? ncoeff : 1));
  if (GLM_fit_volume_voxels(first, nvox, nt, image_stack.Volume, resels, nthreads, nullptr, b.statistics.data(),
                            percent ? b.coefficients.data() : nullptr))
    return 1;
  in_parts(first, last, nthreads, [&](int a, int e) {
    for (int index = a; index < e; index++) {
      const int v = index - first;
      const float baseline = percent ? GLM_compute_baseline_of(&b.coefficients[(size_t)v * ncoeff]) : 0.0f;
      for (int k = 0; k < nconditions; k++) {
        const float *st = &b.statistics[((size_t)v * nconditions + k) * 6];
        store_maps(maps, k, index, st[2], st[1], st[4], percent, baseline);
      }
    }
  });
  return 0;
}

void release_activation(void) {
  free_stack_data(activation_stack.nt, &activation_stack);
  activation_stack.Volume = nullptr;
  activation_stack.fcVolume = nullptr;
  activation_stack.v3Volume = nullptr;
  activation_stack.nt = 0;
  activation.fSpaceMatrix = nullptr;
  activation.fcSpaceMatrix = nullptr;
  activation.v3SpaceMatrix = nullptr;
  activation.pFilter = nullptr;
  activation.nmaps = 0;
}

}  // namespace

int action_compute_p_value(void) {
  if (GLM_get_number_events() == 0) {
    puts("This function requires a defined GLM model.");
    return 1;
  }
  GLM_describe_stimuli();
  GLM_describe_basis_functions();
  if (image_stack.nt != GLM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n",
           image_stack.nt, GLM.ntime);
    return 1;
  }
  if (activation_stack.Volume || activation_stack.fcVolume || activation_stack.v3Volume) release_activation();

  char conditions[ZOR_LINE] = "";
  int nconditions = 0;
  int failed = GLM_get_number_events() == 2 ? GLM_create_all_conditions(conditions)
                                            : GLM_create_all_single_conditions(conditions);
  if (!failed) failed = GLM_define_conditions(1, conditions, &nconditions);
  if (!failed && GLM.initialized != 2) failed = GLM_define_basis_functions();
  if (failed || nconditions < 1) {
    activation.visible = 0;
    clear_file_list(&activation_files);
    return 1;
  }
  if (glm_model.iCondition_value >= nconditions) glm_model.iCondition_value = 0;

  // The maps take the image's grid.
  data_stack &a = activation_stack;
  char name[sizeof a.name];
  memcpy(name, a.name, sizeof name);
  data_stack *next = a.next;
  a = image_stack;
  memcpy(a.name, name, sizeof name);
  a.next = next;
  a.data_type = DATA_MAGNITUDE;
  a.Volume = nullptr;
  a.fcVolume = nullptr;
  a.v3Volume = nullptr;
  const int nmaps = 3 * nconditions;
  a.n4d = (long)nmaps * a.n3d;
  allocate_stack_data(nmaps, a.n3d, &a);
  activation.nmaps = nmaps;

  float low, high;
  GLM_get_preGLM_frequency_band(&low, &high);
  const bool filtered = high != 0.0f;
  const bool percent = graph.units_percent != 0;
  const bool chained = GLM_get_noise_model() == NOISE_iWLS;
  int nthreads = glm_maps_threads > 0 ? glm_maps_threads : (int)std::thread::hardware_concurrency();
  if (nthreads < 1) nthreads = 1;

  const int n3d = a.n3d;
  glm_maps_resels = n3d;
  SideBySide buffers;
  // Without a filter to apply, the fits read the volumes where they lie.
  const bool unfiltered = GLM_input.freq_low_pre == 0.0f && GLM_input.freq_high_pre == 0.0f &&
                          GLM_input.phase_shift == 0.0f && GLM.AR_order == 0;
  const bool in_place = !chained && unfiltered && image_stack.data_type == DATA_MAGNITUDE && image_stack.Volume;
  for (int step = 0; step < PROGRESS_STEPS; step++) {
    const int first = (int)((long long)n3d * step / PROGRESS_STEPS);
    const int last = (int)((long long)n3d * (step + 1) / PROGRESS_STEPS);
    show_progress(100 * step / PROGRESS_STEPS);
    if (first >= last) continue;
    if (chained)
      maps_in_order(first, last, a.Volume, filtered, percent);
    else if (in_place) {
      if (maps_in_place(first, last, a.Volume, percent, nthreads, buffers)) return 1;
    }
    else if (maps_side_by_side(first, last, a.Volume, filtered, percent, nthreads, buffers))
      return 1;
  }

  // The maps are named as the files of a model would be, but live only here.
  clear_file_list(&activation_files);
  for (int k = 0; k < nconditions; k++) {
    char condition[ZOR_LINE];
    GLM_get_condition_string(k, condition);
    add_image_file(&activation_files, (std::string("P-") + condition).c_str(), 1, 1);
    add_image_file(&activation_files, (std::string("S-") + condition).c_str(), 0, 3);
    add_image_file(&activation_files, (std::string("T-") + condition).c_str(), 0, 3);
  }
  int imap = 0;
  for (file_list *f = &activation_files; f && f->file_name[0]; f = f->next, imap++) {
    f->nt = 1;
    f->start_image = imap;
    f->end_image = imap;
  }
  snprintf(a.name, sizeof a.name, "%s", activation_files.file_name);
  snprintf(activation.map_name, sizeof activation.map_name, "%s", activation_files.file_name);

  activation.imap = 0;
  activation.data_type = 1;
  activation.display_data_type = 0;
  activation.fSpaceMatrix = a.Volume[0];
  activation.pFilter = nullptr;
  if (activation.MIPStatus == 1) activation.MIPStatus = 0;
  activation.scale_log = 1;
  activation.visible = 1;
  show_progress(100);
  return 0;
}

void action_key_P(void) {
  if (graph.type != 1) {
    graph.type = 1;
    initialize_graph();
  }
  const int failed = action_compute_p_value();
  fflush(stdout);
  if (failed) return;
  rescale_activation();
  if (XWindow_image != 0) {
    update_XWindow_image(0);
    change_window_name(0);
  }
  fill_graph_vector();
  graph.update_regions |= 1;
}
