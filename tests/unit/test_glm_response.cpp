#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "glm_test_files.h"

namespace {

struct HrfRead {
  int result = -99;
  std::string out;
};

HrfRead read_hrf(const std::string &name, int notify = 0) {
  HrfRead r;
  std::vector<char> buffer(name.begin(), name.end());
  buffer.push_back('\0');
  r.out = capture_output([&] { r.result = GLM_read_hrf_file(notify, buffer.data()); }).out;
  return r;
}

// The kernel in double precision, for comparison with the single-precision one.
double kernel(double t, double step, const double tau[3], const double weight[3]) {
  double sum = 0;
  for (int k = 0; k < 3; k++)
    if (tau[k] != 0) sum += weight[k] * step / tau[k] * exp(-t / tau[k]);
  return sum;
}

class ResponseFunctions : public ::testing::Test {
 protected:
  void SetUp() override { GLM_engine_reset(); }
};

TEST_F(ResponseFunctions, EmptyNameMeansNoKernel) {
  HRF.time_step = 0.5f;
  HrfRead r = read_hrf("");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(HRF.nhrf, 0);
  EXPECT_FLOAT_EQ(HRF.time_step, 0.5f);
  EXPECT_EQ(HRF.amp, nullptr);
}

TEST_F(ResponseFunctions, NamedConstants) {
  struct Named {
    const char *name;
    float length, step, tau[3], w1, w2;
  } table[] = {
      {"BOLD-monkey", 120.0f, 0.1f, {1.5f, 4.5f, 13.5f}, 0.7f, -0.3f},
      {"IRON-monkey", 120.0f, 0.1f, {1.5f, 4.5f, 13.5f}, 0.4f, 0.8f},
      {"IRON-monkey-minutes", 2.0f, 1.0f / 600.0f, {0.025f, 0.075f, 0.225f}, 0.4f, 0.8f},
      {"BOLD-rat", 120.0f, 0.1f, {0.5f, 2.5f, 13.5f}, 0.7f, -0.3f},
      {"IRON-rat", 120.0f, 0.1f, {0.5f, 2.5f, 13.5f}, 0.2f, 0.8f},
  };
  for (const Named &n : table) {
    HrfRead r = read_hrf(n.name);
    ASSERT_EQ(r.result, 0) << n.name;
    EXPECT_EQ(r.out, "using HRF (hemodynamic response function)\n");
    EXPECT_EQ(HRF.nhrf, 1);
    EXPECT_EQ(HRF.nexp, 3);
    EXPECT_EQ(HRF.unbiased, 0);
    EXPECT_STREQ(HRF.file_name, n.name);
    EXPECT_EQ(HRF.time_length, n.length);
    EXPECT_EQ(HRF.time_step, n.step);
    for (int k = 0; k < 3; k++) EXPECT_EQ(HRF.tau[k], n.tau[k]);
    EXPECT_EQ(HRF.weight[1], n.w1);
    EXPECT_EQ(HRF.weight[2], n.w2);
    float w0 = -n.tau[0] * (n.w1 / n.tau[1] + n.w2 / n.tau[2]);
    EXPECT_EQ(HRF.weight[0], w0);
    EXPECT_EQ(HRF.npoints, 1200) << n.name;
    double tau[3] = {n.tau[0], n.tau[1], n.tau[2]}, w[3] = {w0, n.w1, n.w2};
    double peak = 0;
    for (int j = 0; j < HRF.npoints; j++) peak = std::max(peak, fabs(kernel(j * (double)n.step, n.step, tau, w)));
    for (int j = 0; j < HRF.npoints; j += 7)
      EXPECT_NEAR(HRF.amp[j], kernel(j * (double)n.step, n.step, tau, w), 1e-5 * peak) << n.name << " " << j;
    // The first weight makes the kernel start at zero.
    EXPECT_NEAR(HRF.amp[0], 0.0, 1e-6 * peak);
  }
}

TEST_F(ResponseFunctions, BoldMonkeyFirstWeight) {
  read_hrf("BOLD-monkey");
  EXPECT_NEAR(HRF.weight[0], -0.2f, 1e-7);
}

TEST_F(ResponseFunctions, KernelIsSummedInSinglePrecision) {
  read_hrf("BOLD-rat");
  for (int j : {0, 1, 5, 50, 1199}) {
    float t = j * HRF.time_step;
    float expected = 0.0f;
    for (int k = 0; k < 3; k++) expected += (HRF.weight[k] * HRF.time_step / HRF.tau[k]) * exp(-t / HRF.tau[k]);
    EXPECT_EQ(HRF.amp[j], expected);
  }
}

TEST_F(ResponseFunctions, NotifyReportsAndWritesTheTable) {
  GlmStudy s;
  HrfRead r;
  in_directory(s.dir, [&] { r = read_hrf("BOLD-monkey", 1); });
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.out,
            "\nHRF type   = exponential\n"
            "IRF length = 120 seconds, resolution = 0.1 seconds\n"
            "Amplitude of exponential of 1.5 seconds = -0.2\n"
            "Amplitude of exponential of 4.5 seconds = 0.7\n"
            "Amplitude of exponential of 13.5 seconds = -0.3\n\n");
  std::ifstream in(s.path("HRF.dat"));
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(line, "x y");
  int n = 0;
  while (std::getline(in, line)) {
    char expected[64];
    snprintf(expected, sizeof expected, "%g %g", n * HRF.time_step, HRF.amp[n]);
    ASSERT_EQ(line, expected);
    n++;
  }
  EXPECT_EQ(n, 1200);
}

TEST_F(ResponseFunctions, TableThatCannotBeCreated) {
  GlmStudy s;
  mkdir(s.path("HRF.dat").c_str(), 0755);
  HrfRead r;
  in_directory(s.dir, [&] { r = read_hrf("IRON-rat", 1); });
  EXPECT_EQ(r.result, 1);
  EXPECT_NE(r.out.find("Error attempting to open the hemodyamic response file (output) HRF.dat\n"), std::string::npos);
}

TEST_F(ResponseFunctions, FileWithThreeLines) {
  GlmStudy s;
  std::string f = s.text("k.irf", "30 0.5 1.0 # length, step, tau0\n3 9\n0.5 -0.25\n");
  HrfRead r = read_hrf(f);
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_EQ(HRF.npoints, 60);
  EXPECT_FLOAT_EQ(HRF.weight[0], -1.0f * (0.5f / 3.0f + -0.25f / 9.0f));
  EXPECT_STREQ(HRF.file_name, f.c_str());
}

TEST_F(ResponseFunctions, ZeroFirstTimeConstantDropsItsTerm) {
  GlmStudy s;
  HrfRead r = read_hrf(s.text("k.irf", "10 1 0\n2 4\n1 1\n"));
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(HRF.weight[0], 0.0f);
  EXPECT_EQ(HRF.npoints, 10);
  EXPECT_FLOAT_EQ(HRF.amp[0], 1.0f / 2.0f + 1.0f / 4.0f);
  EXPECT_FLOAT_EQ(HRF.amp[2], (float)(0.5 * exp(-1.0) + 0.25 * exp(-0.5)));
}

TEST_F(ResponseFunctions, AnyZeroTimeConstantAddsNothing) {
  GlmStudy s;
  HrfRead r = read_hrf(s.text("k.irf", "4 1 2\n0 4\n1 1\n"));
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(HRF.weight[0], 0.0f);
  for (int j = 0; j < HRF.npoints; j++) EXPECT_TRUE(std::isfinite(HRF.amp[j]));
  EXPECT_FLOAT_EQ(HRF.amp[0], 0.0f + 0.25f);
}

TEST_F(ResponseFunctions, LengthBelowStepGivesZeroOrOneSample) {
  GlmStudy s;
  EXPECT_EQ(read_hrf(s.text("a.irf", "0.4 1 2\n3 4\n1 1\n")).result, 0);
  EXPECT_EQ(HRF.npoints, 0);
  EXPECT_EQ(read_hrf(s.text("b.irf", "0.6 1 2\n3 4\n1 1\n")).result, 0);
  EXPECT_EQ(HRF.npoints, 1);
}

TEST_F(ResponseFunctions, NamesAreCaseSensitive) {
  HrfRead r = read_hrf("bold-monkey");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error attempting to open the IRF file bold-monkey.\n");
}

TEST_F(ResponseFunctions, BadLines) {
  GlmStudy s;
  std::string f = s.text("a.irf", "10 1\n3 4\n1 1\n");
  EXPECT_EQ(read_hrf(f).out, "Error reading the 1st line of the IRF file " + f + ".\n");
  f = s.text("b.irf", "10 1 2\n\n3 4\n1 1\n");
  EXPECT_EQ(read_hrf(f).out, "Error reading the 2nd line of the IRF file " + f + ".\n");
  f = s.text("c.irf", "10 1 2\n3 4\n# weights\n1 1\n");
  EXPECT_EQ(read_hrf(f).out, "Error reading the 3rd line of the IRF file " + f + ".\n");
  f = s.text("d.irf", "10 1 2\n3 4\n");
  HrfRead r = read_hrf(f);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading the 3rd line of the IRF file " + f + ".\n");
  f = s.text("e.irf", "");
  r = read_hrf(f);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading the 1st line of the IRF file " + f + ".\n");
  f = s.text("f.irf", "10 1 2\n");
  EXPECT_EQ(read_hrf(f).out, "Error reading the 2nd line of the IRF file " + f + ".\n");
}

TEST_F(ResponseFunctions, ZeroOrNotANumberStepRefused) {
  GlmStudy s;
  // Each file with the message that refuses it ("%s" stands for the file's name).
  const std::pair<std::string, std::string> refused[] = {
      {"10 0 2\n3 4\n1 1\n", "Error: the time step (0) in the IRF file %s must be > 0.\n"},
      {"10 1 nan\n3 4\n1 1\n", "Error: the IRF file %s holds a value that is not a number.\n"},
      {"1e30 1e-10 2\n3 4\n1 1\n", "Error: the IRF file %s asks for more than 1000000 samples.\n"},
      // Just over a million samples (an input the fuzzer found took seconds to tabulate).
      {"500001 .5 2\n3 4\n1 1\n", "Error: the IRF file %s asks for more than 1000000 samples.\n"}};
  int k = 0;
  for (const auto &[text, message] : refused) {
    const std::string f = s.text("r" + std::to_string(k++) + ".irf", text);
    HrfRead r = read_hrf(f);
    EXPECT_EQ(r.result, 1) << text;
    std::string expected = message;
    expected.replace(expected.find("%s"), 2, f);
    EXPECT_EQ(r.out, expected);
  }
  const std::string f = s.text("e.irf", "500000 .5 2\n3 4\n1 1\n");
  EXPECT_EQ(read_hrf(f).result, 0);
}

TEST_F(ResponseFunctions, ReadingAgainReplacesTheKernel) {
  read_hrf("BOLD-monkey");
  GlmStudy s;
  EXPECT_EQ(read_hrf(s.text("a.irf", "5 1 2\n3 4\n1 1\n")).result, 0);
  EXPECT_EQ(HRF.npoints, 5);
  EXPECT_EQ(read_hrf("").result, 0);
  EXPECT_EQ(HRF.nhrf, 0);
  EXPECT_FLOAT_EQ(HRF.time_step, 1.0f);
}

}  // namespace
