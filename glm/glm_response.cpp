// The vascular response kernel: a sum of three exponentials from a named set
// of constants or from a three-line text file, sampled at its own step.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "zor_alloc.h"
#include "zor_glm.h"
#include "zor_regular_file.h"
#include "zor_text.h"

namespace {

int first_time = 1;

struct NamedResponse {
  const char *name;
  float time_length, time_step;
  float tau[3];
  float weight1, weight2;
};

const NamedResponse named_responses[] = {
    {"BOLD-monkey", 120.0f, 0.1f, {1.5f, 4.5f, 13.5f}, 0.7f, -0.3f},
    {"IRON-monkey", 120.0f, 0.1f, {1.5f, 4.5f, 13.5f}, 0.4f, 0.8f},
    {"IRON-monkey-minutes", 2.0f, 1.0f / 600.0f, {0.025f, 0.075f, 0.225f}, 0.4f, 0.8f},
    {"BOLD-rat", 120.0f, 0.1f, {0.5f, 2.5f, 13.5f}, 0.7f, -0.3f},
    {"IRON-rat", 120.0f, 0.1f, {0.5f, 2.5f, 13.5f}, 0.2f, 0.8f},
};

void release_vectors(void) {
  if (HRF.tau) free_float_vector(HRF.tau);
  if (HRF.weight) free_float_vector(HRF.weight);
  if (HRF.amp) free_float_vector(HRF.amp);
  HRF.tau = HRF.weight = HRF.amp = nullptr;
}

const char *const ordinal_line[3] = {"1st", "2nd", "3rd"};

int read_response_file(const char *file_name) {
  FILE *fp = fopen_regular(file_name, "r");
  if (!fp) {
    printf("Error attempting to open the IRF file %s.\n", file_name);
    return 1;
  }
  char line[ZOR_LINE];
  for (int k = 0; k < 3; k++) {
    if (!get_line_with_comment(fp, line, ZOR_LINE)) {
      printf("Error reading the %s line of the IRF file %s.\n", ordinal_line[k], file_name);
      fclose(fp);
      return 1;
    }
    int good;
    if (k == 0)
      good = sscanf(line, "%f %f %f", &HRF.time_length, &HRF.time_step, &HRF.tau[0]) == 3;
    else if (k == 1)
      good = sscanf(line, "%f %f", &HRF.tau[1], &HRF.tau[2]) == 2;
    else
      good = sscanf(line, "%f %f", &HRF.weight[1], &HRF.weight[2]) == 2;
    if (!good) {
      printf("Error reading the %s line of the IRF file %s.\n", ordinal_line[k], file_name);
      fclose(fp);
      return 1;
    }
  }
  fclose(fp);
  return 0;
}

// A step that is zero, negative or not a number would make the sample count
// and the oversampling of the design meaningless.
int check_response_values(const char *file_name) {
  float values[7] = {HRF.time_length, HRF.time_step, HRF.tau[0], HRF.tau[1],
                     HRF.tau[2], HRF.weight[1], HRF.weight[2]};
  for (float v : values) {
    if (std::isnan(v) || std::isinf(v)) {
      printf("Error: the IRF file %s holds a value that is not a number.\n", file_name);
      return 1;
    }
  }
  if (!(HRF.time_step > 0.0f)) {
    printf("Error: the time step (%g) in the IRF file %s must be > 0.\n", HRF.time_step, file_name);
    return 1;
  }
  // A million samples is hours of response at any usual step, and its
  // table still writes in about a second.
  if (HRF.time_length / HRF.time_step > 1.0e6f) {
    printf("Error: the IRF file %s asks for more than 1000000 samples.\n", file_name);
    return 1;
  }
  return 0;
}

int write_response_table(void) {
  FILE *fp = fopen("HRF.dat", "w");
  if (!fp) {
    puts("Error attempting to open the hemodyamic response file (output) HRF.dat");
    return 1;
  }
  fprintf(fp, "x y\n");
  for (int j = 0; j < HRF.npoints; j++) {
    float t = j * HRF.time_step;
    fprintf(fp, "%g %g\n", t, HRF.amp[j]);
  }
  fclose(fp);
  return 0;
}

}  // namespace

void GLM_read_hrf_file_reset(void) {
  release_vectors();
  HRF.unbiased = 0;
  HRF.time_length = HRF.time_step = 0.0f;
  HRF.npoints = HRF.nexp = HRF.nhrf = 0;
  HRF.file_name[0] = '\0';
  first_time = 1;
}

int GLM_read_hrf_file(int notify, char *file_name) {
  snprintf(HRF.file_name, sizeof HRF.file_name, "%s", file_name);
  if (file_name[0] == '\0') {
    HRF.nhrf = 0;
    return 0;
  }
  if (!first_time) release_vectors();
  first_time = 0;
  HRF.unbiased = 0;
  HRF.nhrf = 1;
  HRF.nexp = 3;
  HRF.npoints = 0;
  HRF.tau = float_vector(HRF.nexp);
  HRF.weight = float_vector(HRF.nexp);
  for (int k = 0; k < HRF.nexp; k++) HRF.tau[k] = HRF.weight[k] = 0.0f;
  const char *type = "exponential";

  const NamedResponse *named = nullptr;
  for (const NamedResponse &r : named_responses)
    if (!strcmp(file_name, r.name)) named = &r;
  if (named) {
    HRF.time_length = named->time_length;
    HRF.time_step = named->time_step;
    for (int k = 0; k < 3; k++) HRF.tau[k] = named->tau[k];
    HRF.weight[1] = named->weight1;
    HRF.weight[2] = named->weight2;
  } else if (read_response_file(file_name) || check_response_values(file_name)) {
    return 1;
  }

  // The first weight makes the kernel start at zero.
  if (HRF.tau[0] != 0.0f && HRF.tau[1] != 0.0f && HRF.tau[2] != 0.0f)
    HRF.weight[0] = -HRF.tau[0] * (HRF.weight[1] / HRF.tau[1] + HRF.weight[2] / HRF.tau[2]);
  else
    HRF.weight[0] = 0.0f;

  float ratio = HRF.time_length / HRF.time_step;
  double rounded = ratio + 0.5;
  // A zero or not-a-number step yields no usable count: no samples then.
  HRF.npoints = (std::isfinite(rounded) && rounded > 0.0 && rounded < 2.0e9) ? (int)rounded : 0;
  HRF.amp = float_vector(HRF.npoints > 0 ? HRF.npoints : 1);
  for (int j = 0; j < HRF.npoints; j++) {
    float t = j * HRF.time_step;
    HRF.amp[j] = 0.0f;
    for (int k = 0; k < HRF.nexp; k++)
      if (HRF.tau[k] != 0.0f) HRF.amp[j] += (HRF.weight[k] * HRF.time_step / HRF.tau[k]) * exp(-t / HRF.tau[k]);
  }

  if (notify) {
    printf("\nHRF type   = %s\n", type);
    printf("IRF length = %g seconds, resolution = %g seconds\n", HRF.time_length, HRF.time_step);
    for (int k = 0; k < HRF.nexp; k++)
      printf("Amplitude of exponential of %g seconds = %g\n", HRF.tau[k], HRF.weight[k]);
    printf("\n");
    if (write_response_table()) return 1;
  } else {
    puts("using HRF (hemodynamic response function)");
  }
  return 0;
}
