// Writes a model back as a control file and one event file per run.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zor_atomic_file.h"

#include "zor_glm.h"

namespace {

int in_run(float time, float start, float stop) { return time >= start && time <= stop; }

int event_in_run(int j, float start, float stop) {
  for (int s = 0; s < GLM.nstims[j]; s++)
    if (in_run(GLM.stim_on[j][s], start, stop) || in_run(GLM.stim_off[j][s], start, stop)) return 1;
  return 0;
}

// The header text of an event; an interaction has no form of its own and
// leaves the text of the last header in place.
void header_text(int j, std::string &header) {
  char c = GLM_EventCharID(GLM.event_number[j]);
  char text[ZOR_LINE];
  float tau1 = GLM.event_tau1[j];
  switch (GLM.event_shape[j]) {
    case SHAPE_SQUARE: snprintf(text, sizeof text, "%c square", c); break;
    case SHAPE_RAMPUP: snprintf(text, sizeof text, "%c ramp-up", c); break;
    case SHAPE_RAMPDOWN: snprintf(text, sizeof text, "%c ramp-down", c); break;
    case SHAPE_EXPDOWN: snprintf(text, sizeof text, "%c exponential-down", c); break;
    case SHAPE_GAMMA:
      if (GLM.event_alpha[j] == 1.0f)
        snprintf(text, sizeof text, "%c gamma %f", c, tau1);
      else
        snprintf(text, sizeof text, "%c gamma %f %f", c, tau1, GLM.event_alpha[j]);
      break;
    case SHAPE_SIGMOID: snprintf(text, sizeof text, "%c sigmoid %f", c, tau1); break;
    case SHAPE_SINE: snprintf(text, sizeof text, "%c sine %f", c, tau1); break;
    case SHAPE_COSINE: snprintf(text, sizeof text, "%c cosine %f", c, tau1); break;
    case SHAPE_DRUGIRF:
      if (GLM.event_tau2[j] != 0.0f)
        snprintf(text, sizeof text, "%c drug-IRF %f %f", c, tau1, GLM.event_tau2[j]);
      else
        snprintf(text, sizeof text, "%c drug-IRF %f", c, tau1);
      break;
    case SHAPE_TABLE: snprintf(text, sizeof text, "%c table %d", c, GLM.table_icolumn[j][0]); break;
    case SHAPE_BASELINE0:
    case SHAPE_BASELINE1:
    case SHAPE_BASELINE2:
    case SHAPE_BASELINE3:
      snprintf(text, sizeof text, "%c baseline %d", c, GLM.event_shape[j] - SHAPE_BASELINE0);
      break;
    case SHAPE_BASELINE_ES: snprintf(text, sizeof text, "%c baseline-exp-sat %g", c, tau1); break;
    default: return;
  }
  header = text;
}

void write_stimuli(FILE *fp, int j, float start, float stop) {
  int shape = GLM.event_shape[j];
  for (int s = 0; s < GLM.nstims[j]; s++) {
    float on = GLM.stim_on[j][s], off = GLM.stim_off[j][s];
    if (!in_run(on, start, stop) && !in_run(off, start, stop)) continue;
    if (on < start) on = start;
    if (off > stop) off = stop;
    on -= start;
    off -= start;
    switch (shape) {
      case SHAPE_SQUARE:
      case SHAPE_RAMPUP:
      case SHAPE_RAMPDOWN:
      case SHAPE_EXPDOWN:
      case SHAPE_SINE:
      case SHAPE_COSINE: fprintf(fp, "%g %g\n", on, off); break;
      case SHAPE_DRUGIRF: fprintf(fp, "%g %g %g\n", on, off, GLM.stim_mag[j][s]); break;
      case SHAPE_GAMMA:
      case SHAPE_SIGMOID: fprintf(fp, "%g %g\n", on, GLM.stim_mag[j][s]); break;
      default: break;
    }
  }
}

void write_exclusions(FILE *fp, int irun) {
  int first = 1;
  int start = GLM.run_start[irun], stop = GLM.run_stop[irun];
  for (int s = 0; s < GLM.nexclude; s++) {
    int a = GLM.exclude_start[s], b = GLM.exclude_end[s];
    if (b < start || a > stop) continue;
    if (first) fprintf(fp, "\n-1\n");
    first = 0;
    if (a < start) a = start;
    if (b > stop) b = stop;
    fprintf(fp, "%d %d\n", a - start, b - start);
  }
}

void write_event_file(FILE *fp, int irun, std::string &header) {
  float tr = GLM.tr[0];
  float start = GLM.run_start[irun] * tr, stop = GLM.run_stop[irun] * tr;
  fprintf(fp, "%g %g\n", tr, (GLM.run_stop[irun] - GLM.run_start[irun] + 1) * tr);
  for (int j = 0; j < GLM.nevents; j++) {
    if (!event_in_run(j, start, stop)) continue;
    header_text(j, header);
    fprintf(fp, "\n%s\n", header.c_str());
    write_stimuli(fp, j, start, stop);
  }
  write_exclusions(fp, irun);
}

std::string event_file_name(const char *stim_file_root, int irun) {
  if (GLM.nruns == 1) return std::string(stim_file_root) + ".glm";
  return std::string(stim_file_root) + std::to_string(irun + 1) + ".glm";
}

}  // namespace

int GLM_write_glm_files(char *dat_file_name, char *stim_file_root) {
  if (!GLM.initialized || !GLM.ntime || !GLM.nevents || !GLM.ncoeff) {
    puts("Error: GLM not defined in GLM_write_glm_files.");
    return 1;
  }
  // Every file is written beside its target first; the targets are replaced
  // only when all were written, the control file last, so that a failure
  // leaves the files on disk as they were.
  const int nruns = GLM.nruns < GLM_MAX_RUNS ? GLM.nruns : GLM_MAX_RUNS;
  std::vector<atomic_file> events((size_t)(nruns > 0 ? nruns : 0));
  atomic_file control;
  auto abandon_all = [&](void) {
    for (atomic_file &f : events)
      if (f.stream) atomic_file_abandon(&f);
    if (control.stream) atomic_file_abandon(&control);
  };
  control.stream = nullptr;
  for (atomic_file &f : events) f.stream = nullptr;

  FILE *fp = atomic_file_open(&control, dat_file_name);
  if (!fp) {
    printf("Error attempting to open the data file %s.\n", dat_file_name);
    return 1;
  }
  fprintf(fp, "#notify             # output GLM information\n");
  fprintf(fp, "baseline-terms %d   # poly. order of baseline (0-3)\n", GLM_input.nbaseline_terms);
  if (GLM_input.normalize_runs == 1) fprintf(fp, "normalize-BOLD    # adjust each run for av. signal before fit\n");
  if (GLM_input.normalize_runs == 2) fprintf(fp, "normalize-IRON    # adjust each run for av. signal before fit\n");
  if (GLM_input.nifti_output) fprintf(fp, "output-format nifti # use .nii output format for P-x, T-x, S-x files\n");
  if (GLM_input.HRF_file_name[0]) fprintf(fp, "IRF %s       # FIR analysis\n", GLM_input.HRF_file_name);
  std::string conditions;
  for (int k = 0; k < GLM.nconditions; k++) {
    if (k) conditions += " ";
    conditions += GLM.condition_string[k];
  }
  fprintf(fp, "conditions %s\n", conditions.c_str());
  fprintf(fp, "runs:\n");
  for (int r = 0; r < nruns; r++)
    fprintf(fp, "%s %s\n", GLM_input.run_name[r], event_file_name(stim_file_root, r).c_str());

  std::string header;
  for (int r = 0; r < nruns; r++) {
    std::string name = event_file_name(stim_file_root, r);
    FILE *ef = atomic_file_open(&events[r], name.c_str());
    if (!ef) {
      // The message names the control file, whichever file failed.
      printf("Error attempting to open the data file %s.\n", dat_file_name);
      abandon_all();
      return 1;
    }
    write_event_file(ef, r, header);
  }
  for (int r = 0; r < nruns; r++) {
    if (atomic_file_commit(&events[r])) {
      printf("Error writing the event file %s.\n", event_file_name(stim_file_root, r).c_str());
      abandon_all();
      return 1;
    }
  }
  if (atomic_file_commit(&control)) {
    printf("Error writing the data file %s.\n", dat_file_name);
    return 1;
  }
  return 0;
}
