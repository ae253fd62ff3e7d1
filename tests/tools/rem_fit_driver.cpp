// Reads a group-model control file, loads its measurement files and fits
// voxels: prints for each chosen voxel the random-effects variance used, the
// coefficients, the fit with its band and its average, and for each
// condition F, cnr, p values, effect size and its error; then the degrees
// of freedom.
//
//   rem_fit_driver CONTROL [options]
//     --sigma2 VALUE       random-effects variance of every voxel (default 0)
//     --sigma2-map FILE    a map of 3 volumes whose third holds the variance
//     --voxels LIST        voxels to fit, as 0,3-5 (default all)
//     --conditions TEXT    conditions to test (default those of the file)
//     --resels N           multiplier of the corrected p (default: the file's)
//     --all-matrices       fit through every file-by-file matrix
//     --design             print the design matrix, full precision
//     --variance           print each fit's coefficient covariance
//
// Files of two volumes each hold a value and its standard error; files of
// one volume a value alone, with no error.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "driver_support.h"
#include "zor.h"

namespace {

struct Options {
  std::string control, sigma2_map, voxels, conditions;
  float sigma2 = 0.0f;
  int resels = -1, all_matrices = 0, design = 0, variance = 0, has_conditions = 0;
};

int parse(int argc, char **argv, Options &o) {
  return parse_driver_arguments(
      argc, argv, &o.control, {"--sigma2", "--sigma2-map", "--voxels", "--conditions", "--resels"},
      [&](const std::string &a, const char *v) {
        if (a == "--sigma2") o.sigma2 = strtof(v, nullptr);
        else if (a == "--sigma2-map") o.sigma2_map = v;
        else if (a == "--voxels") o.voxels = v;
        else if (a == "--conditions") o.conditions = v, o.has_conditions = 1;
        else o.resels = atoi(v);
      },
      {{"--all-matrices", &o.all_matrices}, {"--design", &o.design}, {"--variance", &o.variance}});
}

// The measurement files, one after another along time, with the number of
// volumes each holds (1 or 2, the same for all).
int load_measurements(data_stack *stack, int *per_file) {
  file_list files;
  memset(&files, 0, sizeof files);
  for (int j = 0; j < REM_input.nfiles; j++) add_image_file(&files, REM_input.signal_file_name[j], 0, 0);
  int nfiles = 0;
  if (REM_input.nfiles < 1) {
    puts("Error: the model lists no measurement files.");
    return 1;
  }
  if (read_SpaceTime_data(0, 1, stack, &files, &nfiles)) return 1;
  *per_file = 0;
  int j = 0;
  for (file_list *node = &files; node && j < REM_input.nfiles; node = node->next, j++) {
    if (j == 0) *per_file = node->nt;
    if (node->nt < 1 || node->nt > 2) {
      printf("Error: file %d [ %s ] holds %d volumes; a file holds a value, or a value and its standard error.\n", j,
             node->file_name, node->nt);
      clear_file_list(&files);
      return 1;
    }
    if (node->nt != *per_file) {
      printf("Error: file %d [ %s ] holds %d volumes, but the first file holds %d.\n", j, node->file_name, node->nt,
             *per_file);
      clear_file_list(&files);
      return 1;
    }
  }
  clear_file_list(&files);
  if (stack->nt != *per_file * REM_input.nfiles) {
    printf("Error: the files hold %d volumes in all, not %d.\n", stack->nt, *per_file * REM_input.nfiles);
    return 1;
  }
  return 0;
}

int load_sigma2_map(const std::string &name, data_stack *map) {
  file_list files;
  memset(&files, 0, sizeof files);
  add_image_file(&files, name.c_str(), 0, 0);
  int nfiles = 0;
  int failed = read_SpaceTime_data(0, 1, map, &files, &nfiles);
  clear_file_list(&files);
  if (failed) return 1;
  if (map->nt != 3) {
    printf("Error: file %s had %d time points, but 3 were expected.\n", name.c_str(), map->nt);
    return 1;
  }
  return 0;
}

void print_row(const char *label, const float *values, int n) {
  printf("%s", label);
  for (int i = 0; i < n; i++) printf(" %.9g", values[i]);
  printf("\n");
}

}  // namespace

int main(int argc, char **argv) {
  Options o;
  if (parse(argc, argv, o)) {
    fprintf(stderr, "usage: rem_fit_driver CONTROL [--sigma2 VALUE | --sigma2-map FILE] [--voxels LIST]"
                    " [--conditions TEXT] [--resels N] [--all-matrices] [--design] [--variance]\n");
    return 2;
  }
  std::vector<char> control(o.control.begin(), o.control.end());
  control.push_back('\0');
  if (REM_read_control_file(control.data())) return 1;
  std::vector<char> conditions(ZOR_LINE, '\0');
  snprintf(conditions.data(), ZOR_LINE, "%s", o.has_conditions ? o.conditions.c_str() : REM_input.condition_string);
  int nconditions = 0;
  if (REM_define_conditions(conditions.data(), &nconditions)) return 1;
  const int resels = o.resels >= 0 ? o.resels : REM_input.multiple_comparisons;
  const int n = REM.ntime, nc = REM.ncoeff;
  if (o.design)
    for (int t = 0; t < n; t++) {
      printf("X %d", t);
      print_row("", REM.X_tc[t], nc);
    }

  data_stack stack, map;
  memset(&stack, 0, sizeof stack);
  memset(&map, 0, sizeof map);
  int per_file = 0;
  if (load_measurements(&stack, &per_file)) return 1;
  if (!o.sigma2_map.empty() && load_sigma2_map(o.sigma2_map, &map)) return 1;

  std::vector<int> chosen(stack.n3d > 0 ? stack.n3d : 1);
  int nchosen = 0;
  if (decode_selection_list(o.voxels.c_str(), stack.n3d, 1, &nchosen, chosen.data())) return 1;
  std::vector<float> signal(n), se(n), fit(n), band(n), average(n);
  for (int i = 0; i < nchosen; i++) {
    const int v = chosen[i];
    if (v < 0 || v >= stack.n3d) continue;
    for (int j = 0; j < n; j++) {
      signal[j] = stack_data_4d(&stack, 0, v, per_file * j);
      se[j] = per_file == 2 ? stack_data_4d(&stack, 0, v, 2 * j + 1) : 0.0f;
    }
    const float sigma2 = o.sigma2_map.empty() ? o.sigma2 : stack_data_4d(&map, 0, v, 2);
    int failed = o.all_matrices
                     ? REMInternal_fit_final_all_matrices(sigma2, n, signal.data(), se.data(), fit.data(), band.data(),
                                                          average.data())
                     : REM_fit_final(sigma2, n, signal.data(), se.data(), fit.data(), band.data(), average.data());
    if (failed) return 1;
    printf("voxel %d\nsigma2_RE %.9g\n", v, sigma2);
    print_row("Beta_c", REM.Beta_c, nc);
    print_row("fit", fit.data(), n);
    print_row("fit_error", band.data(), n);
    print_row("fit_av", average.data(), n);
    if (o.variance)
      for (int c = 0; c < nc; c++) {
        printf("V %d", c);
        print_row("", REM.Variance_cc[c], nc);
      }
    for (int k = 0; k < nconditions; k++) {
      float cnr = 0, p_raw = 0, p_cor = 0, size = 0, sem = 0;
      int bad = REM_calculate_F(n, resels, k, REM_get_DOF_effective(), &cnr, &p_raw, &p_cor, &size, &sem);
      printf("condition %d %s%s F %.9g cnr %.9g p_raw %.9g p_cor %.9g effect %.9g sem %.9g\n", k,
             REM.condition_string[k], bad ? " failed" : "", cnr * cnr, cnr, p_raw, p_cor, size, sem);
    }
  }
  printf("dof fixed %d random %d effective %d\n", REM_get_DOF_fixed(), REM_get_DOF_random(), REM_get_DOF_effective());
  free_stack_data(stack.nt, &stack);
  if (map.Volume) free_stack_data(map.nt, &map);
  return 0;
}
