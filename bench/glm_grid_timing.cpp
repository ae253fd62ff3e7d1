// Times the fit of a gamma response to a drawn range with alpha free and the
// onset varied, as a drag on the time course runs it: a 600-point study in
// two runs of TR 2 s with one square event already drawn, three baseline
// terms. Prints the best of ROUNDS and the stimulus found.
//
//   zor_glm_grid_timing [ROUNDS]
#include <time.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zor.h"

namespace {

int answer_no_then_yes(const char *prompt, const char *options, char *answer) {
  strcpy(answer, strncmp(prompt, "Fix", 3) == 0 ? "n" : "y");
  return 1;
}

}  // namespace

int main(int argc, char **argv) {
  const int rounds = argc > 1 && atoi(argv[1]) > 0 ? atoi(argv[1]) : 1;
  const int ntime = 600;
  std::vector<float> curve(ntime), shown(ntime), fit(ntime);
  for (int t = 0; t < ntime; t++) {
    const double u = (t - 103.0) / 7.5;
    const double gamma = t >= 103 && t < 300 ? pow(u, 2.0) * exp((1 - u) * 2.0) : 0.0;
    const double block = (t % 300 >= 200 && t % 300 <= 220) ? 1.0 : 0.0;
    curve[t] = (float)(500.0 + 0.01 * t + 12.0 * gamma + 6.0 * block + 2.0 * sin(t * 1.7) * cos(t * 0.31));
  }
  glm_action_prompt = answer_no_then_yes;
  graph.type = 1;
  graph.npoints = ntime;
  graph.iLastTime = 0;
  graph.yVector = shown.data();
  graph.yFit = fit.data();

  double seconds = 1e30, cpu_seconds = 1e30;
  for (int round = 0; round < rounds; round++) {
    GLM_engine_reset();
    GLM_input.nbaseline_terms = 3;
    if (GLM_initialize(ntime, 2)) return 1;
    GLM_initialize_run(0, 0, 299, 2.0f);
    GLM_initialize_run(1, 300, 599, 2.0f);
    GLM_define_1_stimulus(1, SHAPE_SQUARE, 200, 220, 0, 1);
    GLM_define_1_stimulus(1, SHAPE_SQUARE, 500, 520, 0, 1);
    if (GLM_define_basis_functions()) return 1;
    // The curve under the cursor was fitted once already, as in the viewer:
    // the filter's plans are made.
    memcpy(shown.data(), curve.data(), sizeof(float) * ntime);
    GLM_PreFilter(0, ntime, shown.data());
    memcpy(shown.data(), curve.data(), sizeof(float) * ntime);
    graph.ix_low_select = 100;
    graph.ix_high_select = 130;
    timespec cpu0, cpu1;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu0);
    auto start = std::chrono::steady_clock::now();
    if (action_fit_gamma_or_sigmoid(2, SHAPE_GAMMA)) return 1;
    const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu1);
    const double cpu = (cpu1.tv_sec - cpu0.tv_sec) + 1e-9 * (cpu1.tv_nsec - cpu0.tv_nsec);
    if (took < seconds) seconds = took;
    if (cpu < cpu_seconds) cpu_seconds = cpu;
  }
  printf("stimulus: onset %.9g tau %.9g alpha %.9g (time points)\n", GLM.stim_on[1][0] / GLM.tr[0],
         GLM.event_tau1[1] / GLM.tr[0], GLM.event_alpha[1]);
  printf("engine seconds %.3f\n", seconds);
  printf("engine processor seconds %.3f\n", cpu_seconds);
  return 0;
}
