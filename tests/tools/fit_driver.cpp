// Reads a fit control file, loads its data files as the viewer loads its
// image stack (or takes voxel series from a file), fits the chosen voxels
// and prints for each its result, chi2, fitted parameters and outputs.
//
//   fit_driver CONTROL [options]
//     --series FILE    voxel series: float32, voxel after voxel, each over
//                      all files (default: the control file's data files)
//     --voxels LIST    voxels to fit, as 0,3-5 (default all)
//     --threads N      fit through the whole-volume path on N threads
//     --fit            print each fitted curve too
//     --table          print the x data (for tensors: direction and b)
//     --describe       print the description of the study
//
// Output, one block per voxel:
//   voxel V result R chi2 C
//   values P0 P1 ...      (param_value, nparam_fit of them)
//   outputs O0 O1 ...     (param_output, nparam_output of them)
//   fit F0 F1 ...         (with --fit)
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
  int threads = 0, fit = 0, table = 0, describe = 0;
};

int parse(int argc, char **argv, Options &o) {
  return parse_driver_arguments(
      argc, argv, &o.control, {"--series", "--voxels", "--threads"},
      [&](const std::string &a, const char *v) {
        if (a == "--series") o.series = v;
        else if (a == "--voxels") o.voxels = v;
        else o.threads = atoi(v);
      },
      {{"--fit", &o.fit}, {"--table", &o.table}, {"--describe", &o.describe}});
}

// The data files, concatenated along time, as voxel series.
int load_files(std::vector<float> &values, int *nvoxels) {
  file_list files;
  memset(&files, 0, sizeof files);
  for (int f = 0; f < FIT_input.nfiles; f++) add_image_file(&files, FIT_input.file_name[f], 0, 0);
  data_stack stack;
  memset(&stack, 0, sizeof stack);
  int nfiles = 0;
  if (FIT_input.nfiles < 1 || read_SpaceTime_data(0, 1, &stack, &files, &nfiles)) return 1;
  if (stack.nt != FIT.ntime) {
    printf("Error: the files hold %d time points, the fit %d.\n", stack.nt, FIT.ntime);
    return 1;
  }
  *nvoxels = stack.n3d;
  values.resize((size_t)stack.n3d * FIT.ntime);
  for (int v = 0; v < stack.n3d; v++)
    for (int t = 0; t < FIT.ntime; t++) values[(size_t)v * FIT.ntime + t] = stack_data_4d(&stack, 0, v, t);
  free_stack_data(stack.nt, &stack);
  clear_file_list(&files);
  return 0;
}

void print_row(const char *label, const float *v, int n) {
  printf("%s", label);
  for (int i = 0; i < n; i++) printf(" %.9g", v[i]);
  printf("\n");
}

}  // namespace

int main(int argc, char **argv) {
  Options o;
  if (parse(argc, argv, o)) {
    fprintf(stderr, "usage: fit_driver CONTROL [--series FILE] [--voxels LIST] [--threads N] [--fit] [--table]"
                    " [--describe]\n");
    return 2;
  }
  std::vector<char> control(o.control.begin(), o.control.end());
  control.push_back('\0');
  if (FIT_read_control_file(0, control.data())) return 1;
  if (o.describe && FIT_describe()) return 1;
  const int ntime = FIT.ntime;
  if (o.table)
    for (int r = 0; r < FIT.dim_x; r++) {
      char label[32];
      snprintf(label, sizeof label, "x%d", r);
      print_row(label, FIT.xVector[r], ntime);
    }

  std::vector<float> values;
  int nvoxels = 0;
  if (!o.series.empty()) {
    if (read_series_file(o.series, ntime, values, &nvoxels)) return 1;
  } else if (load_files(values, &nvoxels)) {
    return 1;
  }
  std::vector<int> chosen(nvoxels > 0 ? nvoxels : 1);
  int nchosen = 0;
  if (nvoxels > 0 && decode_selection_list(o.voxels.c_str(), nvoxels, 1, &nchosen, chosen.data())) return 1;

  const int nfit = FIT.nparam_fit, nout = FIT.nparam_output;
  if (o.threads > 0) {
    std::vector<float> picked;
    for (int i = 0; i < nchosen; i++)
      if (chosen[i] >= 0 && chosen[i] < nvoxels)
        picked.insert(picked.end(), values.begin() + (size_t)chosen[i] * ntime,
                      values.begin() + (size_t)(chosen[i] + 1) * ntime);
    const int n = (int)(picked.size() / (ntime > 0 ? ntime : 1));
    std::vector<int> result(n);
    std::vector<float> chi2(n), fitted((size_t)n * nfit), outputs((size_t)n * nout);
    if (FIT_fit_voxels(n, ntime, picked.data(), o.threads, result.data(), chi2.data(), fitted.data(), outputs.data()))
      return 1;
    int k = 0;
    for (int i = 0; i < nchosen; i++) {
      if (chosen[i] < 0 || chosen[i] >= nvoxels) continue;
      printf("voxel %d result %d chi2 %.9g\n", chosen[i], result[k], chi2[k]);
      print_row("values", &fitted[(size_t)k * nfit], nfit);
      print_row("outputs", &outputs[(size_t)k * nout], nout);
      k++;
    }
    return 0;
  }
  std::vector<float> y(ntime > 0 ? ntime : 1), fit(ntime > 0 ? ntime : 1);
  for (int i = 0; i < nchosen; i++) {
    const int v = chosen[i];
    if (v < 0 || v >= nvoxels) continue;
    for (int p = 0; p < FIT_MAX_PARAMETERS; p++) FIT.param_value[p] = FIT.param_output[p] = 0.0f;
    std::fill(fit.begin(), fit.end(), 0.0f);
    memcpy(y.data(), values.data() + (size_t)v * ntime, sizeof(float) * ntime);
    float chi2 = 0.0f;
    const int r = FIT_data(ntime, y.data(), fit.data(), &chi2);
    printf("voxel %d result %d chi2 %.9g\n", v, r, chi2);
    print_row("values", FIT.param_value, nfit);
    print_row("outputs", FIT.param_output, nout);
    if (o.fit) print_row("fit", fit.data(), ntime);
  }
  return 0;
}
