#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "fit_test_files.h"

namespace {

Decoded decode(const std::string &line) { return decode_keyword_line(FITInternal_decode_keyword, line); }

class FitKeywords : public ::testing::Test {
 protected:
  void SetUp() override { fresh_fit_engine(); }
  void TearDown() override { fresh_fit_engine(); }
};

struct TypeRow {
  const char *word;
  int fit_class, type, nfit, nout, dim_x;
  std::vector<std::string> names;
};

TEST_F(FitKeywords, EveryTimeModelSetsItsTypeAndNames) {
  const std::vector<std::string> tensor = {"S0",   "MD",  "LD",  "RD",  "A",   "dA",  "FA",  "FA.x",     "FA.y",
                                           "FA.z", "Dxx", "Dyy", "Dzz", "Dxy", "Dxz", "Dyz", "Diag_sem", "Doff_sem"};
  const TypeRow rows[] = {
      {"survival-2", FIT_SURVIVAL, FIT_SURVIVAL2, 2, 3, 1, {"R0", "tau", "R0_div_tau"}},
      {"survival-3", FIT_SURVIVAL, FIT_SURVIVAL3, 3, 3, 1, {"R0", "tau", "power"}},
      {"survival-5", FIT_SURVIVAL, FIT_SURVIVAL5, 5, 5, 1, {"R0", "tau0", "R1", "tau1", "alpha"}},
      {"FDG-polynomial", FIT_OTHER, FIT_FDG_POLY, 5, 5, 1, {"C0", "k2+k3", "A", "B", "C"}},
      {"FDG-exponential", FIT_OTHER, FIT_FDG_EXP, 3, 3, 1, {"L", "E", "Tau"}},
      {"DTI-OLS", FIT_DIFFUSION, FIT_DTI_OLS, 7, 18, 4, tensor},
      {"DTI-WLS", FIT_DIFFUSION, FIT_DTI_WLS, 7, 18, 4, tensor},
      {"DTI-NL", FIT_DIFFUSION, FIT_DTI_NL, 7, 18, 4, tensor},
      {"T2", FIT_RELAXATION, FIT_T2, 3, 3, 1, {"T2", "R2", "S0"}},
      {"T1-IR", FIT_RELAXATION, FIT_T1_IR, 4, 4, 1, {"T1", "R1", "S0", "unity"}},
  };
  for (const TypeRow &r : rows) {
    fresh_fit_engine();
    Decoded d = decode(std::string("time-model ") + r.word + "\n");
    EXPECT_EQ(d.result, 0) << r.word;
    if (r.type == FIT_FDG_POLY || r.type == FIT_FDG_EXP)
      EXPECT_EQ(d.out, "fit type " + std::to_string(r.type) + "\n");
    else
      EXPECT_EQ(d.out, "") << r.word;
    EXPECT_EQ(FIT.fit_class, r.fit_class) << r.word;
    EXPECT_EQ(FIT.type, r.type) << r.word;
    EXPECT_EQ(FIT.nparam_fit, r.nfit) << r.word;
    EXPECT_EQ(FIT.nparam_output, r.nout) << r.word;
    EXPECT_EQ(FIT.dim_x, r.dim_x) << r.word;
    EXPECT_STREQ(FIT_input.type, r.word);
    for (int i = 0; i < r.nout; i++) EXPECT_EQ(FIT.param_name[i], r.names[i]) << r.word << " " << i;
    char name[ZOR_LINE];
    EXPECT_EQ(FIT_get_parameter_name(r.nout - 1, name), 0);
    EXPECT_EQ(std::string(name), r.names[r.nout - 1]);
  }
}

TEST_F(FitKeywords, ReverseTextOfEachType) {
  const std::pair<const char *, const char *> pairs[] = {
      {"survival-2", "survival-2"}, {"FDG-polynomial", "FDG-poly"}, {"FDG-exponential", "FDG-exp"},
      {"DTI-NL", "DTI-NL"},         {"T1-IR", "T1-IR"},             {"T2", "T2"}};
  char text[ZOR_LINE] = "unchanged";
  EXPECT_EQ(FIT_get_type(text), 1);
  EXPECT_STREQ(text, "unchanged");
  for (auto &p : pairs) {
    decode(std::string("time-model ") + p.first);
    EXPECT_EQ(FIT_get_type(text), 0);
    EXPECT_STREQ(text, p.second);
  }
}

TEST_F(FitKeywords, TensorTimeModelResetsTheRegistration) {
  for (int i = 0; i < 12; i++) Alignment.value[i] = 7.0f;
  Alignment.RigidBody = 0;
  decode("time-model DTI-WLS");
  for (int i = 0; i < 12; i++) EXPECT_EQ(Alignment.value[i], (i >= 6 && i <= 8) ? 1.0f : 0.0f) << i;
  EXPECT_EQ(Alignment.RigidBody, 1);
}

TEST_F(FitKeywords, UnknownFitTypeListsFourTypes) {
  Decoded d = decode("time-model DTI-RESTORE\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out,
            "Error: allowed fit types are:\n"
            "       survival-2\n"
            "       survival-3\n"
            "       survival-5\n"
            "       T2\n");
}

TEST_F(FitKeywords, OutputFormat) {
  EXPECT_EQ(FIT_input.nifti_output, 1);
  EXPECT_EQ(decode("output-format zor").result, 0);
  EXPECT_EQ(FIT_input.nifti_output, 0);
  decode("output-format NIFTI");
  EXPECT_EQ(FIT_input.nifti_output, 1);
  decode("output-format ZOR");
  EXPECT_EQ(FIT_input.nifti_output, 0);
  decode("output-format analyze");
  EXPECT_EQ(FIT_input.nifti_output, 0);
  decode("output-format nifti");
  EXPECT_EQ(FIT_input.nifti_output, 1);
}

TEST_F(FitKeywords, ReverseOnlyForTensorsAndAfterTimeModel) {
  Decoded d = decode("reverse x y z\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.out, "Not DTI: reverse keyword is ignored.\n");
  EXPECT_EQ(ReverseBDirection.x, 0);
  decode("time-model T2");
  EXPECT_EQ(decode("reverse x").out, "Not DTI: reverse keyword is ignored.\n");
  fresh_fit_engine();
  decode("time-model DTI-OLS");
  d = decode("reverse z q x xy\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.out, "");
  EXPECT_EQ(ReverseBDirection.x, 1);
  EXPECT_EQ(ReverseBDirection.y, 0);
  EXPECT_EQ(ReverseBDirection.z, 1);
}

TEST_F(FitKeywords, RegistrationFileIgnoredOutsideTensorFits) {
  Decoded d = decode("registration-file reg.txt\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.out, "No DTI: registration-file is ignored.\n");
}

TEST_F(FitKeywords, MissingRegistrationFileEndsTheKeywords) {
  decode("time-model DTI-NL");
  Decoded d = decode("registration-file /nonexistent/reg.txt\n");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "\nError: cannot open file /nonexistent/reg.txt\n");
}

TEST_F(FitKeywords, XListStopsAtTheFirstWordThatIsNoNumber) {
  Decoded d = decode("x-array 10 20.5 3e1 forty 50\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.out, "");
  ASSERT_EQ(FIT_input.ntime, 3);
  EXPECT_EQ(FIT_input.xVector[0], 10.0f);
  EXPECT_EQ(FIT_input.xVector[1], 20.5f);
  EXPECT_EQ(FIT_input.xVector[2], 30.0f);
  d = decode("x-vector 1 2\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(FIT_input.ntime, 2);
}

TEST_F(FitKeywords, XListOfOneValueIsRefused) {
  decode("x-array 1 2 3");
  Decoded d = decode("x-array 5\n");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Fewer than 2 values were successfully read.\n");
  EXPECT_EQ(FIT_input.ntime, 0);
  EXPECT_EQ(FIT_input.xVector, nullptr);
  EXPECT_EQ(decode("x-vector\n").result, 1);
}

TEST_F(FitKeywords, EveryFilesWordEndsTheKeywords) {
  for (const char *w : {"files:", "files", "runs:", "runs", "Files:", "Files", "Runs:", "Runs", "Scans:", "Scans",
                        "scans:", "scans"}) {
    Decoded d = decode(std::string(w) + "\n");
    EXPECT_EQ(d.result, 1) << w;
    EXPECT_EQ(d.out, "") << w;
  }
  EXPECT_EQ(decode("FILES:\n").result, -1);
  EXPECT_EQ(decode("notify\n").result, -1);
}

TEST_F(FitKeywords, FilesWordOfATensorFitMakesTheAffineMatrix) {
  decode("time-model DTI-OLS");
  Alignment.value[ALIGN_THETA] = 90.0f;
  EXPECT_EQ(decode("files:").result, 1);
  EXPECT_NEAR(Alignment.Affine[0][1], -1.0f, 1e-6);
  EXPECT_NEAR(Alignment.AffineI[1][0], -1.0f, 1e-6);
}

TEST_F(FitKeywords, DescribeFormatJoinsItsFirstTwoLines) {
  Captured c = capture_output([] { FITInternal_describe_format(); });
  EXPECT_EQ(c.out, fit_format_example());
}

class FitControlFile : public FitKeywords {
 protected:
  FitStudy s;
};

TEST_F(FitControlFile, CannotOpen) {
  FitRead r = read_fit_control(s.path("missing.ctl"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: cannot open the file " + s.path("missing.ctl") + ".\n");
}

TEST_F(FitControlFile, BadKeywordLineCountsNonBlankLines) {
  const std::string ctl = s.text("a.ctl", "# comment\n\ntime-model T2\n\n   \noutput-format nifti\nbogus 1\n");
  FitRead r = read_fit_control(ctl);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error reading line 3 of file '" + ctl + "':\n" + fit_format_example());
}

TEST_F(FitControlFile, UnknownTypeInAFile) {
  const std::string ctl = s.text("a.ctl", "time-model GLM\nfiles:\n");
  FitRead r = read_fit_control(ctl);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out,
            "Error: allowed fit types are:\n       survival-2\n       survival-3\n       survival-5\n       T2\n"
            "Error reading line 1 of file '" +
                ctl + "':\n" + fit_format_example());
}

TEST_F(FitControlFile, T2WithoutXListStopsWithTheXValuesMessage) {
  const std::string data = s.volume("echo", 4);
  FitRead r = read_fit_control(s.text("a.ctl", "time-model T2\nfiles:\n" + data + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out,
            "Error: the number of x values (0) does not match the number of images (4).\n"
            "Did you use the 'x-values' keyword to define a list of x values for fitting?\n");
  EXPECT_EQ(FIT.initialized, 0);
}

TEST_F(FitControlFile, T2StudyOfTwoFiles) {
  const std::string a = s.volume("echo1", 2), b = s.volume("echo2", 3);
  FitRead r = read_fit_control(s.text("a.ctl", "time-model T2\nx-array 10 20 30 40 50\noutput-format zor\nruns\n" + a +
                                                   "\n\n" + b + " extra\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(r.printed.out, "fit type still 0\n");
  EXPECT_EQ(FIT.initialized, 1);
  EXPECT_EQ(FIT.ntime, 5);
  EXPECT_EQ(FIT.nfiles, 2);
  EXPECT_EQ(FIT.nt[0], 2);
  EXPECT_EQ(FIT.nt[1], 3);
  EXPECT_EQ(FIT.file_start[1], 2);
  EXPECT_EQ(FIT.file_stop[0], 1);
  EXPECT_EQ(FIT.file_stop[1], 4);
  EXPECT_EQ(FIT.dof, 2.0f);
  EXPECT_EQ(FIT_input.nifti_output, 0);
  EXPECT_STREQ(FIT_input.description_file_name[0], a.c_str());
  EXPECT_STREQ(FIT_input.description_file_name[1], "extra");
  for (int j = 0; j < 5; j++) {
    EXPECT_EQ(FIT.Weight[j], 1.0f);
    EXPECT_EQ(FIT_get_x_vector(j), 10.0f * (j + 1));
  }
  EXPECT_EQ(FIT_get_number_time_points(), 5);
  EXPECT_EQ(FIT_is_initialized(), 1);
  EXPECT_EQ(FIT_get_number_fit_parameters(), 3);
  EXPECT_EQ(FIT_get_number_output_parameters(), 3);
}

TEST_F(FitControlFile, OneValueXListMakesTheNextLineADataFile) {
  const std::string data = s.volume("echo", 3);
  FitRead r = read_fit_control(s.text("a.ctl", "time-model T2\nx-array 5\n" + data + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out,
            "Fewer than 2 values were successfully read.\n"
            "Error: the number of x values (0) does not match the number of images (3).\n"
            "Did you use the 'x-values' keyword to define a list of x values for fitting?\n");
  EXPECT_EQ(FIT.nfiles, 1);
  EXPECT_STREQ(FIT_input.file_name[0], data.c_str());
}

TEST_F(FitControlFile, SurvivalAxisRunsFromMinusOne) {
  const std::string data = s.volume("curve", 8);
  FitRead r = read_fit_control(s.text("a.ctl", "time-model survival-3\nfiles:\n" + data + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(r.printed.out, "fit type still 8\n");
  for (int j = 0; j < 8; j++) EXPECT_EQ(FIT_get_x_vector(j), (float)(2 * j) / 8.0f - 1.0f);
  EXPECT_EQ(FIT_get_x_vector(0), -1.0f);
  EXPECT_EQ(FIT_get_x_vector(7), 0.75f);
}

TEST_F(FitControlFile, XVectorOutOfRangeEndsTheRunForRelaxation) {
  const std::string data = s.volume("curve", 8);
  read_fit_control(s.text("a.ctl", "time-model survival-2\nfiles:\n" + data + "\n"));
  Captured c = capture_output([] { FIT_get_x_vector(8); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: time index 8 is out of range (0 to 7) in FIT_get_x_vector()\n");
  c = capture_output([] { FIT_get_x_vector(-1); });
  EXPECT_EQ(c.out, "Error: time index -1 is out of range (0 to 7) in FIT_get_x_vector()\n");
}

TEST_F(FitControlFile, OutputParameterOutOfRange) {
  decode("time-model T2");
  Captured c = capture_output([] { FIT_get_output_parameter(3); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: parameter index 3 is out of range (0 to 2) in FIT_get_output_parameter()\n");
  char name[ZOR_LINE] = "kept";
  c = capture_output([&] { EXPECT_EQ(FIT_get_parameter_name(-1, name), 1); });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "Error: parameter index -1 is out of range (0 to 2) in FIT_get_parameter_name()\n");
  EXPECT_STREQ(name, "kept");
  FIT.param_output[2] = 4.5f;
  EXPECT_EQ(FIT_get_output_parameter(2), 4.5f);
}

TEST_F(FitControlFile, FdgStudyNeedsNoXListAndClampsItsIndex) {
  const std::string data = s.volume("pet", 6);
  FitRead r = read_fit_control(s.text("a.ctl", "time-model FDG-polynomial\nfiles:\n" + data + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(r.printed.out, "fit type 5\nfit type still 5\n");
  EXPECT_EQ(FIT_get_x_vector(-3), 0.0f);
  EXPECT_EQ(FIT_get_x_vector(4), 4.0f);
  EXPECT_EQ(FIT_get_x_vector(60), 5.0f);
  // The washout design is in place.
  EXPECT_EQ(GeneralGLM.ncoeff, 4);
  EXPECT_EQ(GeneralGLM.nt, 6);
  EXPECT_FLOAT_EQ(GeneralGLM.X[2][0], std::exp(-2.0f));
  EXPECT_EQ(GeneralGLM.X[3][3], 27.0f);
}

TEST_F(FitControlFile, TensorFileWithoutTableIsRefused) {
  const std::string data = s.volume("dwi", 3);
  FitRead r = read_fit_control(s.text("a.ctl", "time-model DTI-OLS\nfiles:\n" + data + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error reading the DTI description file name for run 1.\n");
}

TEST_F(FitControlFile, BadDataFileFails) {
  FitRead r = read_fit_control(s.text("a.ctl", "time-model FDG-exponential\nfiles:\n" + s.path("none.bfloat") + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(FIT.initialized, 0);
}

TEST_F(FitControlFile, MoreThanFiftyFilesAreRefusedBeforeStoring) {
  const std::string data = s.volume("pet", 2);
  std::string list = "time-model FDG-exponential\nfiles:\n";
  for (int i = 0; i < 51; i++) list += data + "\n";
  FitRead r = read_fit_control(s.text("a.ctl", list));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "fit type 6\nError: more than 50 files are listed in the control file.\n");
  EXPECT_EQ(FIT_input.nfiles, 50);
}

TEST_F(FitControlFile, FiftyFilesAreAccepted) {
  const std::string data = s.volume("pet", 2);
  std::string list = "time-model FDG-exponential\nfiles:\n";
  for (int i = 0; i < 50; i++) list += data + "\n";
  FitRead r = read_fit_control(s.text("a.ctl", list));
  EXPECT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(FIT.ntime, 100);
  EXPECT_EQ(FIT.file_start[49], 98);
}

// Tensor studies: gradient tables and registrations.
class FitGradients : public FitControlFile {
 protected:
  FitRead tensor(const std::string &keywords, const std::vector<std::pair<int, std::string>> &files) {
    std::string list = "time-model DTI-OLS\n" + keywords + "files:\n";
    for (size_t f = 0; f < files.size(); f++) {
      const std::string stem = "dwi" + std::to_string(f);
      list += s.volume(stem, files[f].first) + " " + s.text(stem + ".dti", files[f].second) + "\n";
    }
    return read_fit_control(s.text("a.ctl", list));
  }
  void expect_point(int j, float x, float y, float z, float b) {
    EXPECT_NEAR(FIT.xVector[0][j], x, 1e-6) << j;
    EXPECT_NEAR(FIT.xVector[1][j], y, 1e-6) << j;
    EXPECT_NEAR(FIT.xVector[2][j], z, 1e-6) << j;
    EXPECT_EQ(FIT.xVector[3][j], b) << j;
  }
};

TEST_F(FitGradients, DirectionsAreNormalisedAndBZeroKeepsItsVector) {
  FitRead r = tensor("", {{4, "0 0 0 0\n3 0 4 1000\n0 2 0\n 500\n0.5 0.5 0 0\n"}});
  ASSERT_EQ(r.result, 0) << r.printed.out;
  expect_point(0, 0, 0, 0, 0);
  expect_point(1, 0.6f, 0, 0.8f, 1000);
  expect_point(2, 0, 1, 0, 500);
  expect_point(3, 0.5f, 0.5f, 0, 0);
  // The design of the log-linear model is in place.
  EXPECT_EQ(GeneralGLM.ncoeff, 7);
  EXPECT_NEAR(GeneralGLM.X[1][1], -0.36f * 1000, 1e-3);
  EXPECT_NEAR(GeneralGLM.X[1][5], -2 * 0.6f * 0.8f * 1000, 1e-3);
}

TEST_F(FitGradients, NonZeroBWithZeroDirectionIsRefused) {
  FitRead r = tensor("", {{3, "1 0 0 0\n0 0 0 800\n0 1 0 800\n"}});
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: Zero direction vector with Non-zero bvalue on line 1 of file " + s.path("dwi0.dti") +
                               "\n");
}

TEST_F(FitGradients, DirectionsBeyondTheSquaresOfFloatsAreNormalised) {
  // Squared, these components overflow or underflow a float; the direction
  // is still the unit vector, and a tiny non-zero vector is no zero one.
  FitRead r = tensor("", {{5, "1e20 0 0 1000\n0 -3e38 3e38 1000\n0 1e-30 0 800\n3e-39 0 4e-39 800\n"
                               "1e20 1e20 0 0\n"}});
  ASSERT_EQ(r.result, 0) << r.printed.out;
  expect_point(0, 1, 0, 0, 1000);
  expect_point(1, 0, -0.70710678f, 0.70710678f, 1000);
  expect_point(2, 0, 1, 0, 800);
  expect_point(3, 0.6f, 0, 0.8f, 800);
  // A b-value of 0 keeps its vector as given.
  EXPECT_EQ(FIT.xVector[0][4], 1e20f);
  EXPECT_EQ(FIT.xVector[3][4], 0.0f);
}

TEST_F(FitGradients, ShortTableRepeatsItsLastRecord) {
  FitRead r = tensor("", {{4, "0 0 0 0\n0 0 1 700\n"}});
  ASSERT_EQ(r.result, 0) << r.printed.out;
  expect_point(1, 0, 0, 1, 700);
  expect_point(2, 0, 0, 1, 700);
  expect_point(3, 0, 0, 1, 700);
}

TEST_F(FitGradients, EmptyTableIsRefused) {
  FitRead r = tensor("", {{2, "# nothing\n"}});
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: the gradient table " + s.path("dwi0.dti") + " does not hold one whole record.\n");
  r = tensor("", {{2, "1 0"}});
  EXPECT_EQ(r.result, 1);
}

TEST_F(FitGradients, MissingTable) {
  const std::string data = s.volume("dwi", 2);
  FitRead r = read_fit_control(s.text("a.ctl", "time-model DTI-OLS\nfiles:\n" + data + " " + s.path("no.dti") + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: cannot open the file " + s.path("no.dti") + ".\n");
}

TEST_F(FitGradients, TwoFilesStackTheirTables) {
  FitRead r = tensor("", {{2, "1 0 0 0\n1 0 0 100\n"}, {3, "0 1 0 200\n0 0 1 300\n0 3 4 400\n"}});
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(FIT.ntime, 5);
  expect_point(1, 1, 0, 0, 100);
  expect_point(2, 0, 1, 0, 200);
  expect_point(3, 0, 0, 1, 300);
  expect_point(4, 0, 0.6f, 0.8f, 400);
}

TEST_F(FitGradients, ReverseComesBeforeTheRotation) {
  const std::string reg = s.text("reg.txt", "set registration-rotations 90 0 0\n");
  FitRead r = tensor("reverse x\nregistration-file " + reg + "\n", {{2, "1 0 0 1000\n"}});
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(r.printed.out, "Alignment rotations were recalled from file " + reg + "\nfit type still 1\n");
  // Reversed first: (-1, 0, 0); then the inverse of a 90 degree turn about z
  // takes x to -y, so the direction ends at (0, +1, 0).
  expect_point(0, 0, 1, 0, 1000);
}

TEST_F(FitGradients, RotationWithoutReverse) {
  const std::string reg = s.text("reg.txt", "set registration-rotations 90 0 0\n");
  FitRead r = tensor("registration-file " + reg + "\n", {{2, "1 0 0 1000\n"}});
  ASSERT_EQ(r.result, 0) << r.printed.out;
  expect_point(0, 0, -1, 0, 1000);
}

TEST_F(FitGradients, ReverseBeforeTimeModelIsIgnored) {
  const std::string data = s.volume("dwi", 2);
  const std::string table = s.text("t.dti", "1 0 0 1000\n");
  FitRead r = read_fit_control(s.text("a.ctl", "reverse x\ntime-model DTI-OLS\nfiles:\n" + data + " " + table + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(r.printed.out, "Not DTI: reverse keyword is ignored.\nfit type still 1\n");
  expect_point(0, 1, 0, 0, 1000);
}

TEST_F(FitGradients, SecondControlFileStartsClean) {
  FitRead r = tensor("reverse x y\n", {{1, "1 1 0 1000\n"}});
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(ReverseBDirection.y, 1);
  r = tensor("", {{1, "1 1 0 1000\n"}});
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(ReverseBDirection.x, 0);
  EXPECT_EQ(ReverseBDirection.y, 0);
  expect_point(0, std::sqrt(0.5f), std::sqrt(0.5f), 0, 1000);
  // And the x list of an earlier relaxation study is gone.
  decode("x-array 1 2 3");
  const std::string data = s.volume("echo", 3);
  FitRead t2 = read_fit_control(s.text("b.ctl", "time-model T2\nfiles:\n" + data + "\n"));
  EXPECT_EQ(t2.result, 1);
  EXPECT_EQ(FIT_input.ntime, 0);
}

TEST_F(FitGradients, TensorIndexIsClampedForTheGraph) {
  FitRead r = tensor("", {{3, "1 0 0 0\n"}});
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(FIT_get_x_vector(-1), 0.0f);
  EXPECT_EQ(FIT_get_x_vector(2), 2.0f);
  EXPECT_EQ(FIT_get_x_vector(3), 2.0f);
}

TEST_F(FitGradients, DescribeWritesTheRotatedTable) {
  FitRead r = tensor("reverse y\n", {{2, "0 1 0 0\n0 3 4 1000\n"}});
  ASSERT_EQ(r.result, 0);
  char old[4096];
  ASSERT_NE(getcwd(old, sizeof old), nullptr);
  ASSERT_EQ(chdir(s.dir.c_str()), 0);
  Captured c = capture_output([] { EXPECT_EQ(FIT_describe(), 0); });
  ASSERT_EQ(chdir(old), 0);
  EXPECT_EQ(c.out,
            "Fit type: DTI-OLS\n# parameters to fit = 7, # output parameters = 18\n   S0\n   MD\n   LD\n   RD\n   A\n"
            "   dA\n   FA\n   FA.x\n   FA.y\n   FA.z\n   Dxx\n   Dyy\n   Dzz\n   Dxy\n   Dxz\n   Dyz\n   Diag_sem\n"
            "   Doff_sem\nNumber of time points = 2 in 1 files.\n");
  std::ifstream in(s.path("used.dti"));
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_EQ(text.str(), "0 -1 0 0\n0 -0.6 0.8 1000\n");
}

class RegistrationFile : public FitControlFile {
 protected:
  Decoded read(const std::string &content) {
    const std::string name = s.text("reg.txt", content);
    std::vector<char> n(name.begin(), name.end());
    n.push_back('\0');
    Decoded d{};
    Captured c = capture_output([&] { d.result = read_registration_file(n.data()); });
    d.out = c.out;
    return d;
  }
};

TEST_F(RegistrationFile, EveryParameter) {
  Alignment.value[ALIGN_XSCALE] = Alignment.value[ALIGN_YSCALE] = Alignment.value[ALIGN_ZSCALE] = 1.0f;
  Decoded d = read(
      "set registration-type deck-of-cards\n"
      "\n"
      "set\n"
      "set registration-other 4\n"
      "anything registration-orientation 1 0 -1 1 # comment\n"
      "set registration-rotations 5.5 -3 2\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.out, "Alignment rotations were recalled from file " + s.path("reg.txt") + "\n");
  EXPECT_EQ(Alignment.RigidBody, 0);
  EXPECT_EQ(Alignment.OrientRotation.x, 1);
  EXPECT_EQ(Alignment.OrientRotation.y, 0);
  EXPECT_EQ(Alignment.OrientRotation.z, -1);
  EXPECT_EQ(Alignment.OrientSwapZ, 1);
  EXPECT_EQ(Alignment.value[ALIGN_THETA], 5.5f);
  EXPECT_EQ(Alignment.value[ALIGN_PHI], -3.0f);
  EXPECT_EQ(Alignment.value[ALIGN_PSI], 2.0f);
  // The matrices were made from them.
  // Rx(90) Rz(-90) with z mirrored: x takes the old y.
  EXPECT_EQ(Alignment.Orient[0][1], 1.0f);
  EXPECT_EQ(Alignment.Orient[0][0], 0.0f);
  EXPECT_NE(Alignment.Affine[0][2], 0.0f);
  d = read("set registration-type rigid\n");
  EXPECT_EQ(Alignment.RigidBody, 1);
  // Orientation and mirror start from 0 at each read.
  EXPECT_EQ(Alignment.OrientRotation.x, 0);
  EXPECT_EQ(Alignment.OrientSwapZ, 0);
}

TEST_F(RegistrationFile, BadOrientation) {
  Decoded d = read("set registration-orientation 1 0 0\n");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error reading the value of `set registration-orientation'\n");
}

TEST_F(RegistrationFile, BadRotations) {
  Decoded d = read("set registration-rotations 1 x 0\n");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error reading the value of `set registration-rotations'\n");
}

TEST_F(RegistrationFile, CannotOpen) {
  char name[] = "/nonexistent/reg";
  Captured c = capture_output([&] { EXPECT_EQ(read_registration_file(name), 1); });
  EXPECT_EQ(c.out, "\nError: cannot open file /nonexistent/reg\n");
}

TEST_F(FitGradients, FailedRegistrationFileLetsTheNextLineBeAFile) {
  const std::string data = s.volume("dwi", 2);
  const std::string table = s.text("t.dti", "1 0 0 1000\n");
  FitRead r = read_fit_control(
      s.text("a.ctl", "time-model DTI-OLS\nregistration-file " + s.path("none") + "\n" + data + " " + table + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(r.printed.out, "\nError: cannot open file " + s.path("none") + "\nfit type still 1\n");
  EXPECT_EQ(FIT.nfiles, 1);
}

}  // namespace
