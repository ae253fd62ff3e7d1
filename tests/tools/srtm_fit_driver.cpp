// Reads a PET model control file, builds the design on the target region's
// curve, and fits region curves or voxels: prints the inputs as the engine
// holds them, the design, and for each curve the coefficients, sigma2, dof,
// noise weights, each condition's F, cnr, p values and effect, and chosen
// kinetic parameters with their errors at a chosen frame.
//
//   srtm_fit_driver CONTROL [options]
//     --inputs           frame times, tables, region curves, exclusions
//     --design           the design of each fitted curve, full precision
//     --region           fit the target region's curve
//     --voxels LIST      voxels to fit, as 0,3-5 (the runs' volumes, loaded
//                        as the viewer loads its image stack)
//     --series FILE      voxel series instead: float32, voxel after voxel
//     --frame N          frame (over all runs) for the parameters (default 0)
//     --parameters LIST  parameter codes, comma-separated, m for minus: m2,0,1
//     --resels R         multiplier of the corrected p (default 0)
//     --map THREADS      fit every voxel at once on THREADS threads and print
//                        the time taken (best of --rounds N passes, default
//                        1) and a checksum of the results;
//                        --output FILE writes them (float64: ncoeff
//                        coefficients, sigma2, dof, then five values per
//                        condition, voxel after voxel)
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "driver_support.h"
#include "zor.h"

namespace {

struct Options {
  std::string control, series, voxels, parameters, output;
  int inputs = 0, design = 0, region = 0, frame = 0, map_threads = 0, have_voxels = 0, rounds = 1;
  double resels = 0.0;
};

int parse(int argc, char **argv, Options &o) {
  return parse_driver_arguments(
      argc, argv, &o.control,
      {"--series", "--voxels", "--parameters", "--frame", "--resels", "--map", "--output", "--rounds"},
      [&](const std::string &a, const char *v) {
        if (a == "--series") o.series = v;
        else if (a == "--voxels") o.voxels = v, o.have_voxels = 1;
        else if (a == "--parameters") o.parameters = v;
        else if (a == "--frame") o.frame = atoi(v);
        else if (a == "--resels") o.resels = atof(v);
        else if (a == "--map") o.map_threads = atoi(v);
        else if (a == "--output") o.output = v;
        else o.rounds = atoi(v);
      },
      {{"--inputs", &o.inputs}, {"--design", &o.design}, {"--region", &o.region}});
}

void print_row(const char *label, const double *v, int n) {
  printf("%s", label);
  for (int i = 0; i < n; i++) printf(" %.17g", v[i]);
  printf("\n");
}

void print_row(const char *label, const float *v, int n) {
  printf("%s", label);
  for (int i = 0; i < n; i++) printf(" %.9g", v[i]);
  printf("\n");
}

void print_inputs(void) {
  printf("ntime %d ncoeff %d nruns %d pet_model %d\n", SRTM.ntime, SRTM.ncoeff, SRTM.nruns, SRTM.pet_model);
  for (int i = 0; i < SRTM.ntime; i++) printf("time %d %.17g\n", i, SRTM_time_total_minutes(i));
  char label[64];
  for (int r = 0; r < SRTM.nruns; r++) {
    printf("run %d %d %d %d %.17g %d\n", r, SRTM.run_istart[r], SRTM.run_istop[r], SRTM.table_ncolumns[r],
           SRTM.k2prime_base[r], SRTM.nt[r]);
    for (int c = 0; c < SRTM.table_ncolumns[r]; c++) {
      snprintf(label, sizeof label, "table %d %d", r, c);
      print_row(label, SRTM.table_value[r][c], SRTM.nt[r]);
    }
    snprintf(label, sizeof label, "reference %d", r);
    print_row(label, SRTM.reference_region[r], SRTM.nt[r]);
    snprintf(label, sizeof label, "derivative %d", r);
    print_row(label, SRTM.ref_region_deriv[r], SRTM.nt[r]);
    snprintf(label, sizeof label, "target %d", r);
    print_row(label, SRTM.target_region[r], SRTM.nt[r]);
    snprintf(label, sizeof label, "k2rel %d", r);
    print_row(label, SRTM.k2prime_rel[r], SRTM.nt[r]);
  }
  for (int c = 0; c < SRTM.ncoeff; c++) {
    printf("event %d %d %d %d %d %.17g %.17g %d %d", c, SRTM.event_id[c], SRTM.event_type[c], SRTM.event_shape[c],
           SRTM.icolumn[c], SRTM.tau[c], SRTM.alpha[c], SRTM.iTimeMax[c], SRTM.nperiods[c]);
    for (int p = 0; p < SRTM.nperiods[c] && p < SRTM_MAX_PERIODS; p++)
      printf(" %.17g %.17g", SRTM.period_start[c][p], SRTM.period_stop[c][p]);
    printf("\n");
  }
  printf("include");
  for (int t = 0; t < SRTM.ntime; t++) printf(" %d", SRTM.include_time[t]);
  printf("\nnincluded %.17g\n", SRTM.nincluded);
}

void print_design(void) {
  for (int t = 0; t < SRTM.ntime; t++) {
    printf("X %d", t);
    for (int c = 0; c < SRTM.ncoeff; c++) printf(" %.17g", SRTM.Xorig_tc[t][c]);
    printf("\n");
  }
  for (int t = 0; t < SRTM.ntime; t++) {
    printf("Xmix %d", t);
    for (int c = 0; c < SRTM.ncoeff; c++) printf(" %.17g", SRTM.Xmix_tc[t][c]);
    printf("\n");
  }
  print_row("noise_raw", SRTM.NoiseRaw_t, SRTM.ntime);
  print_row("noise_fit", SRTM.NoiseFit_t, SRTM.ntime);
  print_row("weights", SRTM.Weight_t, SRTM.ntime);
  print_row("hat", SRTM.HatDiag_t, SRTM.ntime);
}

int fit_curve(const char *name, float *y, const Options &o, const std::vector<int> &codes) {
  const int T = SRTM.ntime;
  if (SRTM_define_dynamic_basis_functions(T, y)) return 1;
  std::vector<float> fit(T), err(T);
  double sigma2;
  if (SRTM_fit_data(T, y, fit.data(), err.data(), &sigma2)) return 1;
  printf("curve %s\n", name);
  if (o.design) print_design();
  print_row("beta", SRTM.Beta_c, SRTM.ncoeff);
  printf("sigma2 %.17g\ndof %.17g\n", sigma2, SRTM.dof);
  print_row("fit", fit.data(), T);
  print_row("fit_error", err.data(), T);
  for (int l = 0; l < SRTM.nconditions; l++) {
    double cnr, p_raw, p_cor;
    float effect, sem;
    if (SRTM_calculate_F(T, sigma2, o.resels, l, &cnr, &p_raw, &p_cor, &effect, &sem)) return 1;
    printf("condition %d %s F %.17g cnr %.17g p_raw %.17g p_cor %.17g effect %.9g sem %.9g\n", l,
           SRTM.condition_name[l], cnr * cnr, cnr, p_raw, p_cor, effect, sem);
    if (SRTM_BP_condition(l)) {
      double e;
      double bp = SRTM_calculate_BP_condition(l, &e);
      printf("bp_condition %d %.17g %.17g\n", l, bp, e);
    }
  }
  for (int code : codes) {
    double e;
    double v = SRTM_get_parameter_value(code, o.frame, &e);
    printf("parameter %d %.17g %.17g\n", code, v, e);
  }
  return 0;
}

int load_runs(std::vector<float> &values, int *nvoxels) {
  file_list files;
  memset(&files, 0, sizeof files);
  for (int r = 0; r < SRTM_input.nruns; r++) add_image_file(&files, SRTM_input.run_name[r], 0, 0);
  data_stack stack;
  memset(&stack, 0, sizeof stack);
  int nfiles = 0;
  if (SRTM_input.nruns < 1 || read_SpaceTime_data(0, 1, &stack, &files, &nfiles)) return 1;
  if (stack.nt != SRTM.ntime) {
    printf("Error: the runs hold %d time points, the model %d.\n", stack.nt, SRTM.ntime);
    return 1;
  }
  *nvoxels = stack.n3d;
  values.resize((size_t)stack.n3d * SRTM.ntime);
  for (int v = 0; v < stack.n3d; v++)
    for (int t = 0; t < SRTM.ntime; t++) values[(size_t)v * SRTM.ntime + t] = stack_data_4d(&stack, 0, v, t);
  free_stack_data(stack.nt, &stack);
  clear_file_list(&files);
  return 0;
}

int fit_map(const std::vector<float> &values, int nvoxels, const Options &o) {
  const int C = SRTM.ncoeff, L = SRTM.nconditions, per = C + 2 + 5 * L;
  std::vector<double> beta((size_t)nvoxels * C), s2(nvoxels), dof(nvoxels), stats((size_t)nvoxels * L * 5);
  double seconds = 1e30;
  for (int round = 0; round < (o.rounds > 0 ? o.rounds : 1); round++) {
    auto start = std::chrono::steady_clock::now();
    if (SRTM_fit_voxels(nvoxels, SRTM.ntime, values.data(), o.resels, o.map_threads, beta.data(), s2.data(),
                        dof.data(), stats.data()))
      return 1;
    double pass = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (pass < seconds) seconds = pass;
  }
  double sum = 0.0;
  for (int v = 0; v < nvoxels; v++)
    for (int c = 0; c < C; c++) sum += beta[(size_t)v * C + c];
  printf("map voxels %d threads %d seconds %.6f beta_sum %.17g\n", nvoxels, o.map_threads, seconds, sum);
  if (!o.output.empty()) {
    std::vector<double> out((size_t)nvoxels * per);
    for (int v = 0; v < nvoxels; v++) {
      double *row = &out[(size_t)v * per];
      for (int c = 0; c < C; c++) row[c] = beta[(size_t)v * C + c];
      row[C] = s2[v];
      row[C + 1] = dof[v];
      for (int k = 0; k < 5 * L; k++) row[C + 2 + k] = stats[(size_t)v * L * 5 + k];
    }
    FILE *fp = fopen(o.output.c_str(), "wb");
    if (!fp || fwrite(out.data(), sizeof(double), out.size(), fp) != out.size()) {
      printf("Error: cannot write %s.\n", o.output.c_str());
      if (fp) fclose(fp);
      return 1;
    }
    fclose(fp);
  }
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  Options o;
  if (parse(argc, argv, o)) {
    fprintf(stderr, "usage: srtm_fit_driver CONTROL [--inputs] [--design] [--region] [--voxels LIST]"
                    " [--series FILE] [--frame N] [--parameters LIST] [--resels R] [--map THREADS [--rounds N] [--output FILE]]\n");
    return 2;
  }
  std::vector<char> control(o.control.begin(), o.control.end());
  control.push_back('\0');
  if (SRTM_read_control_file(0, control.data())) return 1;
  if (SRTM_define_static_basis_functions()) return 1;
  if (SRTM_define_conditions(SRTM_input.condition_string)) return 1;
  if (o.inputs) print_inputs();

  std::vector<int> codes;
  if (!o.parameters.empty()) {
    // Codes run from -4 to 4: shift them to decode them as a list.
    std::string shifted;
    int value = 0, have = 0, sign = 1;
    for (size_t i = 0; i <= o.parameters.size(); i++) {
      char c = i < o.parameters.size() ? o.parameters[i] : ',';
      if (c == 'm') sign = -1;
      else if (c >= '0' && c <= '9') {
        value = value * 10 + (c - '0');
        have = 1;
      } else if (c == ',' && have) {
        codes.push_back(sign * value);
        value = have = 0;
        sign = 1;
      }
    }
  }

  if (o.region) {
    std::vector<float> y(SRTM.target_t, SRTM.target_t + SRTM.ntime);
    if (fit_curve("region", y.data(), o, codes)) return 1;
  }
  if (!o.have_voxels && o.map_threads < 1) return 0;
  std::vector<float> values;
  int nvoxels = 0;
  if (!o.series.empty()) {
    if (read_series_file(o.series, SRTM.ntime, values, &nvoxels)) return 1;
  } else if (load_runs(values, &nvoxels)) {
    return 1;
  }
  if (o.map_threads > 0) return fit_map(values, nvoxels, o);
  std::vector<int> chosen(nvoxels > 0 ? nvoxels : 1);
  int nchosen = 0;
  if (nvoxels > 0 && decode_selection_list(o.voxels.c_str(), nvoxels, 1, &nchosen, chosen.data())) return 1;
  for (int i = 0; i < nchosen; i++) {
    int v = chosen[i];
    if (v < 0 || v >= nvoxels) continue;
    std::string name = "voxel " + std::to_string(v);
    if (fit_curve(name.c_str(), values.data() + (size_t)v * SRTM.ntime, o, codes)) return 1;
  }
  return 0;
}
