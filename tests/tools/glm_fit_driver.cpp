// Reads a linear-model control file, builds the design, and fits voxels:
// prints for each chosen voxel the coefficients, the noise variance, the
// degrees of freedom and for each condition F, cnr, p values, effect size
// and its error.
//
//   glm_fit_driver CONTROL [options]
//     --series FILE      voxel time series: float32, voxel after voxel, each
//                        over all runs (default: the runs' volumes, loaded
//                        as the viewer loads its image stack)
//     --voxels LIST      voxels to print, as 0,3-5 (default all)
//     --weights          set the weights for each series first, as the viewer does
//     --resels N         multiplier of the corrected p (default 0)
//     --notify           describe the model while reading it
//     --basis            write basis.dat in the working folder
//     --design           print the design matrix, full precision
//     --filtered         print each series after the pre-fit filter
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "driver_support.h"
#include "zor.h"

namespace {

struct Options {
  std::string control, series, voxels;
  int weights = 0, resels = 0, notify = 0, basis = 0, design = 0, filtered = 0;
};

int parse(int argc, char **argv, Options &o) {
  return parse_driver_arguments(
      argc, argv, &o.control, {"--series", "--voxels", "--resels"},
      [&](const std::string &a, const char *v) {
        if (a == "--series") o.series = v;
        else if (a == "--voxels") o.voxels = v;
        else o.resels = atoi(v);
      },
      {{"--weights", &o.weights}, {"--notify", &o.notify}, {"--basis", &o.basis}, {"--design", &o.design},
       {"--filtered", &o.filtered}});
}

// The runs' volumes, concatenated along time, as voxel series.
int load_runs(std::vector<float> &values, int *nvoxels) {
  if (GLM_input.nruns < 1) {
    // A control file without run lines is a model of no data: say which
    // line is missing rather than end in silence.
    printf("Error reading the bshort file name for run %d.\n", 1);
    return 1;
  }
  file_list files;
  memset(&files, 0, sizeof files);
  for (int r = 0; r < GLM_input.nruns; r++) add_image_file(&files, GLM_input.run_name[r], 0, 0);
  data_stack stack;
  memset(&stack, 0, sizeof stack);
  int nfiles = 0;
  if (read_SpaceTime_data(0, 1, &stack, &files, &nfiles)) return 1;
  if (stack.nt != GLM.ntime) {
    printf("Error: the runs hold %d time points, the model %d.\n", stack.nt, GLM.ntime);
    return 1;
  }
  *nvoxels = stack.n3d;
  values.resize((size_t)stack.n3d * GLM.ntime);
  for (int v = 0; v < stack.n3d; v++)
    for (int t = 0; t < GLM.ntime; t++) values[(size_t)v * GLM.ntime + t] = stack_data_4d(&stack, 0, v, t);
  free_stack_data(stack.nt, &stack);
  clear_file_list(&files);
  return 0;
}

void print_design(void) {
  for (int t = 0; t < GLM.ntime; t++) {
    printf("X %d", t);
    for (int c = 0; c < GLM.ncoeff; c++) printf(" %.9g", GLM.Xorig_tc[t][c]);
    printf("\n");
  }
}

void fit_voxel(int v, float *y, const Options &o) {
  int ntime = GLM.ntime;
  std::vector<float> fit(ntime);
  if (o.weights) GLM_Update_Weights(ntime, y);
  GLM_PreFilter(0, ntime, y);
  if (o.filtered) {
    printf("filtered %d", v);
    for (int t = 0; t < ntime; t++) printf(" %.9g", y[t]);
    printf("\n");
  }
  float sigma2;
  GLM_fit_data(ntime, y, fit.data(), &sigma2);
  printf("voxel %d\nBeta_c", v);
  for (int c = 0; c < GLM.ncoeff; c++) printf(" %.9g", GLM.Beta_c[c]);
  printf("\nSigma2 %.9g\ndof %.9g\n", sigma2, GLM.dof);
  for (int k = 0; k < GLM.nconditions; k++) {
    float F = 0, cnr, p_raw, p_cor, size, sem;
    GLM_calculate_F(ntime, sigma2, o.resels, k, &F, &cnr, &p_raw, &p_cor, &size, &sem);
    printf("condition %d %s F %.9g cnr %.9g p_raw %.9g p_cor %.9g effect %.9g sem %.9g\n", k, GLM.condition_string[k],
           F, cnr, p_raw, p_cor, size, sem);
  }
}

}  // namespace

int main(int argc, char **argv) {
  Options o;
  if (parse(argc, argv, o)) {
    fprintf(stderr, "usage: glm_fit_driver CONTROL [--series FILE] [--voxels LIST] [--weights] [--resels N]"
                    " [--notify] [--basis] [--design] [--filtered]\n");
    return 2;
  }
  std::vector<char> control(o.control.begin(), o.control.end());
  control.push_back('\0');
  if (GLM_read_control_file(control.data(), o.notify)) return 1;
  if (GLM_define_basis_functions()) return 1;
  int nconditions;
  if (GLM_define_conditions(1, GLM_input.condition_string, &nconditions)) return 1;
  if (o.basis) GLM_describe_basis_functions();
  if (o.design) print_design();

  std::vector<float> values;
  int nvoxels = 0;
  if (!o.series.empty()) {
    if (read_series_file(o.series, GLM.ntime, values, &nvoxels)) return 1;
  } else if (load_runs(values, &nvoxels)) {
    return 1;
  }
  std::vector<int> chosen(nvoxels > 0 ? nvoxels : 1);
  int nchosen = 0;
  if (nvoxels > 0 && decode_selection_list(o.voxels.c_str(), nvoxels, 1, &nchosen, chosen.data())) return 1;
  for (int i = 0; i < nchosen; i++) {
    int v = chosen[i];
    if (v < 0 || v >= nvoxels) continue;
    fit_voxel(v, values.data() + (size_t)v * GLM.ntime, o);
  }
  return 0;
}
