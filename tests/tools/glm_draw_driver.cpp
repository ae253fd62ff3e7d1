// Drives the tools that change the linear model by hand, for the oracle
// scripts. An empty model over runs of the given lengths (three baseline
// terms), with events drawn as the graph draws them:
//
//   glm_draw_driver grid RUNS TR CURVE ONSET0 ONSET1 ONSTEP TAU0 TAU1 TAUSTEP alpha|fixed [EVENT...]
//       the grid search over the float32 curve in file CURVE; prints
//       "best ONSET TAU ALPHA" with %.9g
//   glm_draw_driver maps RUNS TR DATA NX NY NZ OUT [EVENT...]
//       the maps of the float32 volumes in DATA (x fastest, then y, z, time)
//       written to OUT (map after map); prints "condition K NAME" per condition
//
// RUNS is a list of lengths such as 40,32. An EVENT is square:ID:FROM:TO,
// gamma:ID:ONSET:TAU:ALPHA (time points) or exclude:FROM:TO.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zor.h"

namespace {

std::vector<std::string> split(const std::string &text, char sep) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (;;) {
    size_t end = text.find(sep, start);
    parts.push_back(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
    if (end == std::string::npos) return parts;
    start = end + 1;
  }
}

std::vector<float> read_floats(const char *name) {
  std::vector<float> v;
  FILE *fp = fopen(name, "rb");
  if (!fp) return v;
  float x;
  while (fread(&x, sizeof x, 1, fp) == 1) v.push_back(x);
  fclose(fp);
  return v;
}

int build_model(const char *runs_text, float tr, int nevent_args, char **event_args) {
  std::vector<std::string> runs = split(runs_text, ',');
  int ntime = 0;
  for (const std::string &r : runs) ntime += atoi(r.c_str());
  GLM_input.nbaseline_terms = 3;
  if (GLM_initialize(ntime, (int)runs.size())) return 1;
  int start = 0;
  for (size_t r = 0; r < runs.size(); r++) {
    const int n = atoi(runs[r].c_str());
    GLM_initialize_run((int)r, (float)start, (float)(start + n - 1), tr);
    start += n;
  }
  for (int a = 0; a < nevent_args; a++) {
    std::vector<std::string> p = split(event_args[a], ':');
    if (p[0] == "square" && p.size() == 4) {
      if (GLM_define_1_stimulus(atoi(p[1].c_str()), SHAPE_SQUARE, atof(p[2].c_str()), atof(p[3].c_str()), 0, 1))
        return 1;
    } else if (p[0] == "gamma" && p.size() == 5) {
      const float on = atof(p[2].c_str());
      if (GLM_define_1_stimulus(atoi(p[1].c_str()), SHAPE_GAMMA, on, on, atof(p[3].c_str()), atof(p[4].c_str())))
        return 1;
    } else if (p[0] == "exclude" && p.size() == 3) {
      GLM_modify_excluded_region(1, atoi(p[1].c_str()), atoi(p[2].c_str()));
    } else {
      fprintf(stderr, "bad event %s\n", event_args[a]);
      return 1;
    }
  }
  if (GLM_define_basis_functions()) return 1;
  if (GLM.nevents > 0) {
    char conditions[ZOR_LINE];
    int n;
    if (GLM.nevents == 2 ? GLM_create_all_conditions(conditions) : GLM_create_all_single_conditions(conditions))
      return 1;
    if (GLM_define_conditions(1, conditions, &n)) return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc >= 12 && strcmp(argv[1], "grid") == 0) {
    if (build_model(argv[2], (float)atof(argv[3]), argc - 12, argv + 12)) return 1;
    std::vector<float> curve = read_floats(argv[4]), fit(curve.size());
    float v[6];
    for (int k = 0; k < 6; k++) v[k] = (float)atof(argv[5 + k]);
    float onset = 0, tau = 0, alpha = 1;
    int status;
    if (strcmp(argv[11], "alpha") == 0)
      status = grid_search_onset_tau_alpha(50, SHAPE_GAMMA, v[0], v[1], v[2], v[3], v[4], v[5], &onset, &tau, &alpha,
                                           (int)curve.size(), curve.data(), fit.data());
    else
      status = grid_search_onset_tau(50, SHAPE_GAMMA, v[0], v[1], v[2], v[3], v[4], v[5], &onset, &tau,
                                     (int)curve.size(), curve.data(), fit.data());
    if (status) return 1;
    printf("best %.9g %.9g %.9g\n", onset, tau, alpha);
    printf("events %d\n", GLM.nevents);
    return 0;
  }
  if (argc >= 9 && strcmp(argv[1], "maps") == 0) {
    const IPOINT3D dim{atoi(argv[5]), atoi(argv[6]), atoi(argv[7])};
    std::vector<float> data = read_floats(argv[4]);
    const int n3d = dim.x * dim.y * dim.z;
    if (n3d <= 0 || data.size() % (size_t)n3d) return 1;
    data_stack &s = image_stack;
    s.dim = dim;
    s.resolution = POINT3D{1, 1, 1};
    s.n2d = dim.x * dim.y;
    s.n3d = n3d;
    s.data_type = DATA_MAGNITUDE;
    allocate_stack_data((int)(data.size() / n3d), n3d, &s);
    for (int t = 0; t < s.nt; t++) memcpy(s.Volume[t], &data[(size_t)t * n3d], sizeof(float) * n3d);
    if (build_model(argv[2], (float)atof(argv[3]), argc - 9, argv + 9)) return 1;
    if (action_compute_p_value()) return 1;
    FILE *fp = fopen(argv[8], "wb");
    if (!fp) return 1;
    for (int m = 0; m < activation_stack.nt; m++) fwrite(activation_stack.Volume[m], sizeof(float), n3d, fp);
    fclose(fp);
    for (int k = 0; k < GLM.nconditions; k++) printf("condition %d %s\n", k, GLM.condition_string[k]);
    return 0;
  }
  fprintf(stderr, "usage: glm_draw_driver grid|maps ...\n");
  return 2;
}
