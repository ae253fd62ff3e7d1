// A GLM study of two runs of 10 time points: keyword lines (the "runs:"
// list is added), then after lines "@@" the event files "r1.glm" and
// "r2.glm". When it is read, the model is written back with the GLM writer
// and read again into a fresh engine. Where the written form can hold the
// model (no shapes the writer cannot express, stimuli inside their runs,
// time constants that "%f" keeps), the second read must succeed and give
// the same events, stimuli, exclusions and keywords, to the digits written.
#include <cmath>
#include <map>
#include <set>

#include "fuzz_model_files.h"
#include "zor.h"

namespace {

struct Event {
  int shape = 0;
  float tau1 = 0, tau2 = 0, alpha = 0;
  std::vector<float> on, off, mag;
};

struct Model {
  float tr = 0;
  int ntime = 0, nbaseline_terms = 0, normalize_runs = 0, nifti_output = 0;
  std::string irf;
  std::map<int, Event> events;  // by event number
  std::set<int> excluded;       // time points
};

Model snapshot() {
  Model m;
  m.tr = GLM.tr[0];
  m.ntime = GLM.ntime;
  m.nbaseline_terms = GLM_input.nbaseline_terms;
  m.normalize_runs = GLM_input.normalize_runs;
  m.nifti_output = GLM_input.nifti_output;
  m.irf = GLM_input.HRF_file_name;
  for (int j = 0; j < GLM.nevents; j++) {
    Event &e = m.events[GLM.event_number[j]];
    e.shape = GLM.event_shape[j];
    e.tau1 = GLM.event_tau1[j];
    e.tau2 = GLM.event_tau2[j];
    e.alpha = GLM.event_alpha[j];
    for (int s = 0; s < GLM.nstims[j]; s++) {
      e.on.push_back(GLM.stim_on[j][s]);
      e.off.push_back(GLM.stim_off[j][s]);
      e.mag.push_back(GLM.stim_mag[j][s]);
    }
  }
  for (int s = 0; s < GLM.nexclude; s++)
    for (int t = GLM.exclude_start[s]; t <= GLM.exclude_end[s] && t < GLM.ntime; t++) m.excluded.insert(t);
  return m;
}

// "%f" keeps at least four significant digits of these.
bool fixed_point_keeps(float x) { return x == 0.0f || (std::fabs(x) >= 1e-2f && std::fabs(x) <= 1e6f); }

bool close(float a, float b, float relative, float absolute) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  if (std::isinf(a) || std::isinf(b)) return a == b;
  return std::fabs(a - b) <= absolute + relative * std::fabs(a);
}

// The run that holds time `t` (seconds), or -1.
int run_of(float t) {
  for (int r = 0; r < GLM.nruns; r++)
    if (t >= GLM.run_start[r] * GLM.tr[0] && t <= GLM.run_stop[r] * GLM.tr[0]) return r;
  return -1;
}

// True when the written files can say everything the model holds, with a
// margin for the digits the writer keeps.
bool writer_can_hold(const Model &m) {
  for (const auto &[number, e] : m.events) {
    switch (e.shape) {
      case SHAPE_SQUARE:
      case SHAPE_RAMPUP:
      case SHAPE_RAMPDOWN:
      case SHAPE_BASELINE0:
      case SHAPE_BASELINE1:
      case SHAPE_BASELINE2:
      case SHAPE_BASELINE3:
      case SHAPE_BASELINE_ES: break;
      case SHAPE_GAMMA:
        if (!fixed_point_keeps(e.tau1) || !fixed_point_keeps(e.alpha)) return false;
        break;
      case SHAPE_SIGMOID:  // written without its alpha
        if (!fixed_point_keeps(e.tau1) || e.alpha != 1.0f) return false;
        break;
      case SHAPE_SINE:
      case SHAPE_COSINE:
        if (!fixed_point_keeps(e.tau1)) return false;
        break;
      case SHAPE_DRUGIRF:
        if (!fixed_point_keeps(e.tau1) || !fixed_point_keeps(e.tau2)) return false;
        break;
      default: return false;  // exponential-down, table, interaction
    }
    if (e.shape >= SHAPE_BASELINE0 && e.shape <= SHAPE_BASELINE_ES) continue;
    for (size_t s = 0; s < e.on.size(); s++) {
      const int r = run_of(e.on[s]);
      if (r < 0) return false;
      const float start = GLM.run_start[r] * GLM.tr[0], stop = GLM.run_stop[r] * GLM.tr[0];
      const float margin = 1e-4f * (std::fabs(stop) + GLM.tr[0]);
      if (e.on[s] > stop - margin) return false;
      if (e.shape != SHAPE_GAMMA && e.shape != SHAPE_SIGMOID &&
          (e.off[s] > stop - margin || e.off[s] - e.on[s] < margin))
        return false;
      if (!std::isfinite(e.mag[s]) || e.on[s] < start) return false;
    }
  }
  return true;
}

void fail(const char *what, int number) {
  fprintf(stderr, "read back: %s differs (event %d)\n", what, number);
  abort();
}

void compare(const Model &a, const Model &b) {
  if (!close(a.tr, b.tr, 1e-5f, 0.0f) || a.ntime != b.ntime) fail("the run timing", 0);
  // The writer names the NIfTI format only, the default: the native one is
  // not written back.
  if (a.nbaseline_terms != b.nbaseline_terms || a.normalize_runs != b.normalize_runs ||
      (a.nifti_output && !b.nifti_output) || a.irf != b.irf)
    fail("a keyword", 0);
  if (a.excluded != b.excluded) fail("the excluded time points", 0);
  if (a.events.size() != b.events.size()) fail("the number of events", 0);
  const float time_scale = a.tr * (float)a.ntime;
  for (const auto &[number, e] : a.events) {
    auto it = b.events.find(number);
    if (it == b.events.end()) fail("the event numbers", number);
    const Event &f = it->second;
    if (e.shape != f.shape) fail("the shape", number);
    if (e.on.size() != f.on.size()) fail("the number of stimuli", number);
    const bool timed = e.shape == SHAPE_GAMMA || e.shape == SHAPE_SIGMOID || e.shape == SHAPE_DRUGIRF ||
                       e.shape == SHAPE_SINE || e.shape == SHAPE_COSINE;
    if (timed && !close(e.tau1, f.tau1, 1e-5f, 1e-6f)) fail("tau1", number);
    if (e.shape == SHAPE_BASELINE_ES && !close(e.tau1, f.tau1, 1e-5f, 0.0f)) fail("tau1", number);
    if (e.shape == SHAPE_DRUGIRF && !close(e.tau2, f.tau2, 1e-5f, 1e-6f)) fail("tau2", number);
    if (e.shape == SHAPE_GAMMA && !close(e.alpha, f.alpha, 1e-5f, 1e-6f)) fail("alpha", number);
    const bool magnitude_written = e.shape == SHAPE_GAMMA || e.shape == SHAPE_SIGMOID || e.shape == SHAPE_DRUGIRF;
    for (size_t s = 0; s < e.on.size(); s++) {
      if (!close(e.on[s], f.on[s], 4e-5f, 2e-5f * time_scale)) fail("an ON time", number);
      if (!close(e.off[s], f.off[s], 4e-5f, 2e-5f * time_scale)) fail("an OFF time", number);
      if (magnitude_written ? !close(e.mag[s], f.mag[s], 1e-5f, 0.0f) : f.mag[s] != 1.0f)
        fail("a magnitude", number);
    }
  }
}

struct ReadBackExit {
  int status;
};

[[noreturn]] void read_back_exit(int status) { throw ReadBackExit{status}; }

// The written control file read into a fresh engine: its result, or 2 when
// it ended the run.
int read_back() {
  fuzz_reset(FUZZ_RESET_GLM);
  const zor_exit_hook previous = zor_set_exit_hook(read_back_exit);
  int r;
  try {
    FuzzName name("w.ctl");
    r = GLM_read_control_file(name.text, 0);
  } catch (const ReadBackExit &) {
    r = 2;
  }
  zor_set_exit_hook(previous);
  return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 3);
  fuzz_check(
      [&] {
        fuzz_write("run.hdr", "x 2\ny 2\nz 1\nt 10\nstorage-type float\n");
        fuzz_write("run.bfloat", std::string(160, '\0'));
        fuzz_write("bold.irf", "30 0.5 1.0\n3 9\n0.5 -0.25\n");
        fuzz_write("glm.txt", parts[0] + "\nruns:\nrun.bfloat r1.glm\nrun.bfloat r2.glm\n");
        fuzz_write("r1.glm", parts[1]);
        fuzz_write("r2.glm", parts[2]);
      },
      [] {
        FuzzName name("glm.txt");
        const int r = GLM_read_control_file(name.text, 0);
        if (r || GLM.nevents == 0) return r;
        GLM.ncoeff = GLM.nevents;  // the writer asks only that the model has columns
        GLM.nconditions = 0;
        const Model first = snapshot();
        const bool whole = writer_can_hold(first);
        FuzzName control("w.ctl"), root("w");
        if (GLM_write_glm_files(control.text, root.text) != 0) abort();
        const int again = read_back();
        if (whole) {
          if (again != 0) {
            fprintf(stderr, "the written model cannot be read back (%d)\n", again);
            abort();
          }
          compare(first, snapshot());
        }
        return r;
      },
      {0, 1}, FUZZ_RESET_GLM);
  return 0;
}
