#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "glm_test_files.h"

namespace {

std::string slurp(const std::string &path) {
  std::ifstream in(path);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

struct Model {
  int ntime;
  float tr[2];
  int nevents, nexclude;
  std::vector<int> numbers, shapes, nstims;
  std::vector<std::vector<float>> on, off;
  std::vector<float> tau1, tau2, alpha;
  std::vector<int> xs, xe;
};

Model snapshot() {
  Model m;
  m.ntime = GLM.ntime;
  m.tr[0] = GLM.tr[0];
  m.tr[1] = GLM.tr[1];
  m.nevents = GLM.nevents;
  m.nexclude = GLM.nexclude;
  for (int j = 0; j < GLM.nevents; j++) {
    m.numbers.push_back(GLM.event_number[j]);
    m.shapes.push_back(GLM.event_shape[j]);
    m.nstims.push_back(GLM.nstims[j]);
    m.on.emplace_back(GLM.stim_on[j], GLM.stim_on[j] + GLM.nstims[j]);
    m.off.emplace_back(GLM.stim_off[j], GLM.stim_off[j] + GLM.nstims[j]);
    m.tau1.push_back(GLM.event_tau1[j]);
    m.tau2.push_back(GLM.event_tau2[j]);
    m.alpha.push_back(GLM.event_alpha[j]);
  }
  for (int s = 0; s < GLM.nexclude; s++) {
    m.xs.push_back(GLM.exclude_start[s]);
    m.xe.push_back(GLM.exclude_end[s]);
  }
  return m;
}

class Writer : public ::testing::Test {
 protected:
  GlmStudy s;
  std::string control;
  void SetUp() override {
    std::string r1 = s.run("run1", 20), r2 = s.run("run2", 15);
    s.text("a1.glm",
           "2\n\n1\n0 10\n20 30 2\n\n2 gamma 5 2\n4 1.5\n\n3 ramp-up\n2 6\n\n4 sine 8\n0 38\n"
           "\n5 cosine 8\n0 38\n\n6 drug-IRF 4 2\n10 12 3\n\n7 baseline 3\n\n-1\n0 1\n19 19\n");
    s.text("a2.glm",
           "2\n\n1\n4 8\n\n8 sigmoid 3\n6 2\n\n9 ramp-down\n0 4\n\n2 gamma 5 2\n10\n\n-1\n5 6\n");
    control = s.text("a.ctl", "baseline-terms 2\nnormalize-IRON\nIRF BOLD-rat\nconditions 1 2-8\nruns:\n" + r1 +
                                  " " + s.path("a1.glm") + "\n" + r2 + " " + s.path("a2.glm") + "\n");
  }
};

TEST_F(Writer, RefusesAnUndefinedModel) {
  GLM_engine_reset();
  char a[] = "x.ctl", b[] = "x";
  Captured c = capture_output([&] { EXPECT_EQ(GLM_write_glm_files(a, b), 1); });
  EXPECT_EQ(c.out, "Error: GLM not defined in GLM_write_glm_files.\n");
}

TEST_F(Writer, ControlAndEventFilesText) {
  ControlRead r = read_control(control);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  GLM.ncoeff = GLM.nevents + 4;  // any number of columns: the writer only asks that there are some
  GLM.nconditions = 2;
  strcpy(GLM.condition_string[0], "1");
  strcpy(GLM.condition_string[1], "2-8");
  std::string out_control = s.path("w.ctl"), root = s.path("w");
  Captured c = capture_output([&] { EXPECT_EQ(GLM_write_glm_files(out_control.data(), root.data()), 0); });
  EXPECT_EQ(c.out, "");
  EXPECT_EQ(slurp(out_control),
            "#notify             # output GLM information\n"
            "baseline-terms 2   # poly. order of baseline (0-3)\n"
            "normalize-IRON    # adjust each run for av. signal before fit\n"
            "output-format nifti # use .nii output format for P-x, T-x, S-x files\n"
            "IRF BOLD-rat       # FIR analysis\n"
            "conditions 1 2-8\n"
            "runs:\n" +
                s.path("run1.bfloat") + " " + root + "1.glm\n" + s.path("run2.bfloat") + " " + root + "2.glm\n");
  // The first square stimulus was shortened by a step of the kernel at reading:
  // none here abut, so all stay as given.
  EXPECT_EQ(slurp(root + "1.glm"),
            "2 40\n"
            "\n1 square\n0 10\n20 30\n"
            "\n2 gamma 5.000000 2.000000\n4 1.5\n"
            "\n3 ramp-up\n2 6\n"
            "\n4 sine 8.000000\n0 38\n"
            "\n5 cosine 8.000000\n0 38\n"
            "\n6 drug-IRF 4.000000 2.000000\n10 12 3\n"
            "\n7 baseline 3\n"
            "\n-1\n0 1\n19 19\n");
  EXPECT_EQ(slurp(root + "2.glm"),
            "2 30\n"
            "\n1 square\n4 8\n"
            "\n2 gamma 5.000000 2.000000\n10 1\n"
            "\n8 sigmoid 3.000000\n6 2\n"
            "\n9 ramp-down\n0 4\n"
            "\n-1\n5 6\n");
}

TEST_F(Writer, WriteThenReadGivesTheSameModel) {
  ControlRead r = read_control(control);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  GLM.ncoeff = GLM.nevents;
  Model before = snapshot();
  std::string out_control = s.path("w.ctl"), root = s.path("w");
  capture_output([&] { GLM_write_glm_files(out_control.data(), root.data()); });
  r = read_control(out_control);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  Model after = snapshot();
  EXPECT_EQ(after.ntime, before.ntime);
  EXPECT_EQ(after.tr[1], before.tr[1]);
  ASSERT_EQ(after.nevents, before.nevents);
  for (int j = 0; j < before.nevents; j++) {
    EXPECT_EQ(after.numbers[j], before.numbers[j]);
    EXPECT_EQ(after.shapes[j], before.shapes[j]);
    EXPECT_EQ(after.nstims[j], before.nstims[j]);
    EXPECT_EQ(after.on[j], before.on[j]) << j;
    EXPECT_EQ(after.off[j], before.off[j]) << j;
    EXPECT_EQ(after.tau1[j], before.tau1[j]);
    // The second argument only means something for these two shapes.
    if (before.shapes[j] == SHAPE_DRUGIRF || before.shapes[j] == SHAPE_INTERACT) {
      EXPECT_EQ(after.tau2[j], before.tau2[j]);
    }
    EXPECT_EQ(after.alpha[j], before.alpha[j]);
  }
  EXPECT_EQ(after.xs, before.xs);
  EXPECT_EQ(after.xe, before.xe);
  EXPECT_EQ(GLM_input.nbaseline_terms, 2);
  EXPECT_EQ(GLM_input.normalize_runs, 2);
  EXPECT_STREQ(GLM_input.HRF_file_name, "BOLD-rat");
}

TEST_F(Writer, SingleRunFileNameAndInteractionRepeatsTheLastHeader) {
  std::string r1 = s.run("one", 10);
  s.text("one.glm", "1\n\n1\n0 3\n\n2 gamma 2\n1\n\n3 interaction 1 2\n");
  ControlRead r = read_control(s.text("one.ctl", "output-format zor\nruns:\n" + r1 + " " + s.path("one.glm") + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  GLM.ncoeff = 3;
  std::string out_control = s.path("o.ctl"), root = s.path("o");
  capture_output([&] { EXPECT_EQ(GLM_write_glm_files(out_control.data(), root.data()), 0); });
  EXPECT_EQ(slurp(out_control),
            "#notify             # output GLM information\nbaseline-terms 3   # poly. order of baseline (0-3)\n"
            "conditions \nruns:\n" + r1 + " " + root + ".glm\n");
  EXPECT_EQ(slurp(root + ".glm"), "1 10\n\n1 square\n0 3\n\n2 gamma 2.000000\n1 1\n\n2 gamma 2.000000\n");
}

TEST_F(Writer, UncreatableEventFileNamesTheControlFile) {
  ControlRead r = read_control(control);
  ASSERT_EQ(r.result, 0);
  GLM.ncoeff = 1;
  std::string out_control = s.path("w.ctl"), root = s.path("missing/dir/w");
  Captured c = capture_output([&] { EXPECT_EQ(GLM_write_glm_files(out_control.data(), root.data()), 1); });
  EXPECT_EQ(c.out, "Error attempting to open the data file " + out_control + ".\n");
  std::string bad = s.path("missing/w.ctl");
  c = capture_output([&] { EXPECT_EQ(GLM_write_glm_files(bad.data(), root.data()), 1); });
  EXPECT_EQ(c.out, "Error attempting to open the data file " + bad + ".\n");
}

}  // namespace

namespace {

TEST(WriterLimits, ExponentialEventsLoseTheirTimeConstant) {
  GlmStudy s;
  std::string r1 = s.run("run1", 10);
  s.text("e.glm", "2\n\n1 exponential-down 4\n2 8 3\n");
  ControlRead r = read_control(s.text("e.ctl", "runs:\n" + r1 + " " + s.path("e.glm") + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  GLM.ncoeff = 1;
  std::string out_control = s.path("w.ctl"), root = s.path("w");
  capture_output([&] { EXPECT_EQ(GLM_write_glm_files(out_control.data(), root.data()), 0); });
  r = read_control(out_control);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error on line 3 for event type 1 in file " + root + ".glm\n" +
                               "For gamma & sigmoid shapes, specify the time constant and optionally alpha.\n" +
                               capture_output([] { GLMInternal_describe_event_format(SHAPE_EXPDOWN); }).out);
}

}  // namespace
