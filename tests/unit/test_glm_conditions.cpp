#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "glm_test_files.h"

namespace {

struct Defined {
  int result = -99;
  int n = -1;
  std::string out;
};

Defined define(const std::string &text, int contrasts = 1) {
  Defined d;
  std::vector<char> buffer(text.begin(), text.end());
  buffer.push_back('\0');
  d.out = capture_output([&] { d.result = GLM_define_conditions(contrasts, buffer.data(), &d.n); }).out;
  return d;
}

// Events 1 (square), 2 (gamma), a (square), 3 (sigmoid), 4 (ramp-up).
GlmModel five_events() {
  return GlmModel("baseline-terms 2\n",
                  {{30, "2\n\n1\n0 6\n20 26\n\n2 gamma 3\n10\n\na\n30 36\n\n3 sigmoid 4\n40\n\n4 ramp-up\n44 50\n"}});
}

TEST(Conditions, GrammarOfRowsAndSigns) {
  GlmModel m = five_events();
  ASSERT_EQ(m.result, 0) << m.read.printed.out << m.out;
  Defined d = define("1 12 1-2 11 1- 1-2,3 12-34 1,2,a");
  ASSERT_EQ(d.result, 0) << d.out;
  EXPECT_EQ(d.n, 8);
  EXPECT_EQ(GLM_get_nconditions(), 8);
  auto row = [](int k, int r) {
    std::vector<int> v(GLM.contrast_matrix[k][r], GLM.contrast_matrix[k][r] + GLM.ncoeff);
    return v;
  };
  std::vector<int> z(GLM.ncoeff, 0);
  auto with = [&](std::vector<std::pair<int, int>> entries) {
    std::vector<int> v = z;
    for (auto &e : entries) v[e.first] = e.second;
    return v;
  };
  EXPECT_EQ(row(0, 0), with({{0, 1}}));
  EXPECT_EQ(row(1, 0), with({{0, 1}, {1, 1}}));
  EXPECT_EQ(row(2, 0), with({{0, 1}, {1, -1}}));
  EXPECT_EQ(row(3, 0), with({{0, 2}}));  // a repeated event counts twice
  EXPECT_EQ(row(4, 0), with({{0, 1}}));  // a trailing sign changes nothing
  EXPECT_EQ(GLM.ncontrasts[5], 2);
  EXPECT_EQ(row(5, 0), with({{0, 1}, {1, -1}}));
  EXPECT_EQ(row(5, 1), with({{3, 1}}));  // the comma resets the sign
  EXPECT_EQ(row(6, 0), with({{0, 1}, {1, 1}, {3, -1}, {4, -1}}));
  EXPECT_EQ(GLM.ncontrasts[7], 3);
  EXPECT_EQ(row(7, 2), with({{2, 1}}));
  char text[ZOR_LINE] = "unchanged";
  EXPECT_EQ(GLM_get_condition_string(6, text), 0);
  EXPECT_STREQ(text, "12-34");
  strcpy(text, "unchanged");
  EXPECT_EQ(GLM_get_condition_string(8, text), 1);
  EXPECT_EQ(GLM_get_condition_string(-1, text), 1);
  EXPECT_STREQ(text, "unchanged");
}

TEST(Conditions, EmptyStringGivesNone) {
  GlmModel m = five_events();
  define("1 2");
  Defined d = define("  \n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.n, 0);
  EXPECT_EQ(GLM.nconditions, 0);
}

TEST(Conditions, UndefinedAndForbiddenEvents) {
  GlmModel m = five_events();
  Defined d = define("1 5");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error: one of the events in the conditions (5) is not defined.\n");
  d = define("1+2");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error: event type + is not allowed.\n");
  d = define("0");
  EXPECT_EQ(d.out, "Error: event type 0 is not allowed.\n");
}

TEST(Conditions, NamesOnlyWithoutContrasts) {
  GlmModel m = five_events();
  Defined d = define("1 9,z", 0);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.n, 2);
  EXPECT_EQ(GLM.ncontrasts[1], 2);
  EXPECT_EQ(GLM.contrast_matrix[0], nullptr);
  EXPECT_STREQ(GLM.condition_string[1], "9,z");
}

TEST(Conditions, TooManyRefusedBeforeStoring) {
  GlmModel m = five_events();
  std::string text;
  for (int k = 0; k < GLM_MAX_CONDITIONS + 1; k++) text += "1 ";
  Defined d = define(text);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error: the number of conditions (101) > max dimension in program (100).\n");
  EXPECT_EQ(GLM.nconditions, 0);
  d = define(text.substr(2));
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.n, 100);
}

TEST(Conditions, CovarianceOfTheContrasts) {
  GlmModel m = five_events();
  define("1-2 1,2");
  float expected = GLM.XTXm1_cc[0][0] + GLM.XTXm1_cc[1][1] - GLM.XTXm1_cc[0][1] - GLM.XTXm1_cc[1][0];
  EXPECT_FLOAT_EQ(GLM.FCovar[0][0][0], expected);
  EXPECT_FLOAT_EQ(GLM.FCovarInv[0][0][0], 1 / expected);
  EXPECT_FLOAT_EQ(GLM.FCovar[1][0][1], GLM.XTXm1_cc[0][1]);
  float det = GLM.FCovar[1][0][0] * GLM.FCovar[1][1][1] - GLM.FCovar[1][0][1] * GLM.FCovar[1][1][0];
  EXPECT_NEAR(GLM.FCovarInv[1][0][0], GLM.FCovar[1][1][1] / det, 1e-4 * fabsf(GLM.FCovar[1][1][1] / det));
}

TEST(Conditions, OldRowsSurviveARebuiltDesign) {
  GlmModel m = five_events();
  define("1 12,34");
  GLM_input.nbaseline_terms = 4;  // more columns than the rows were made for
  ASSERT_EQ(GLM_define_basis_functions(), 0);
  GLM_input.nbaseline_terms = 0;
  ASSERT_EQ(GLM_define_basis_functions(), 0);
  Defined d = define("1 12,34");
  EXPECT_EQ(d.result, 0);
}

TEST(Conditions, AllConditionsAndSingleOnes) {
  GlmModel m = five_events();
  char text[ZOR_LINE];
  EXPECT_EQ(GLM_create_all_conditions(text), 0);
  EXPECT_STREQ(text,
               "1 2 a 3 4 12 1a 13 14 2a 23 24 a3 a4 34 1-2 1-a 1-3 1-4 2-a 2-3 2-4 a-3 a-4 3-4 ");
  EXPECT_EQ(GLM_create_all_single_conditions(text), 0);
  EXPECT_STREQ(text, "1 a 2 3 4 ");
  GLM_engine_reset();
  Captured c = capture_output([&] { EXPECT_EQ(GLM_create_all_conditions(text), 1); });
  EXPECT_EQ(c.out, "Error in GLM_create_all_conditions: no defined stimuli\n");
  c = capture_output([&] { EXPECT_EQ(GLM_create_all_single_conditions(text), 1); });
  EXPECT_EQ(c.out, "Error in GLM_create_all_single_conditions: no defined stimuli\n");
}

TEST(Conditions, AllConditionsThatDoNotFitOneLine) {
  std::string events = "2\n";
  for (int n = 1; n <= 40; n++) {
    char c = GLM_EventCharID(n);
    events += std::string("\n") + c + "\n" + std::to_string(n) + " " + std::to_string(n) + ".5\n";
  }
  GlmModel m("baseline-terms 1\n", {{40, events}});
  ASSERT_EQ(m.result, 0) << m.read.printed.out;
  char text[ZOR_LINE] = "kept";
  Captured c = capture_output([&] { EXPECT_EQ(GLM_create_all_conditions(text), 1); });
  EXPECT_EQ(c.out, "Error in GLM_create_all_conditions: 40 events give too many conditions for one line.\n");
  EXPECT_STREQ(text, "kept");
}

TEST(Residues, StringsOfEvents) {
  GlmModel m = five_events();
  char residue[ZOR_LINE];
  GLM_define_table_residue(residue);
  EXPECT_STREQ(residue, "");
  char include[] = "2a";
  GLM_define_residue_from_inclusion(include, residue);
  EXPECT_STREQ(residue, "134");
  char empty[] = "";
  GLM_define_residue_from_inclusion(empty, residue);
  EXPECT_STREQ(residue, "12a34");
  EXPECT_EQ(GLM_event_is_in_string(empty, 0), 0);
  char some[] = "x4!1";
  EXPECT_EQ(GLM_event_is_in_string(some, 0), 1);
  EXPECT_EQ(GLM_event_is_in_string(some, 1), 0);
  EXPECT_EQ(GLM_event_is_in_string(some, 4), 1);
  EXPECT_EQ(GLM_get_number_events_inside_residue(some), 2);
  EXPECT_EQ(GLM_invalid_residue(some), 0);
  char bad[] = "0%Z";
  EXPECT_EQ(GLM_invalid_residue(bad), 0);
}

TEST(Residues, TableEventsMakeTheTableResidue) {
  GlmStudy s;
  std::string rows;
  for (int t = 0; t < 10; t++) rows += std::to_string(t) + " " + std::to_string(t * t) + "\n";
  std::string table = s.text("t.dat", "a b\n" + rows);
  std::string data = s.run("run1", 10);
  s.text("run1.glm", "2\n\n1\n0 4\n\nb table 1\n\n2\n8 10\n\nc table 0\n");
  ControlRead r = read_control(s.text("a.ctl", "drift-correct 0 bc\nruns:\n" + data + " " + s.path("run1.glm") + " " + table + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  char residue[ZOR_LINE];
  GLM_define_table_residue(residue);
  EXPECT_STREQ(residue, "bc");
}

TEST(Residues, SelectiveResidueAndEventFit) {
  GlmModel m = five_events();
  std::vector<float> data(30), fit(30);
  for (int t = 0; t < 30; t++) data[t] = 100 + 3 * GLM.X_tc[t][0] - 2 * GLM.X_tc[t][3] + 0.1f * (t % 3);
  float sigma2;
  GLM_fit_data(30, data.data(), fit.data(), &sigma2);
  std::vector<float> d2 = data, f2 = fit;
  char residue[] = "13";
  EXPECT_EQ(GLM_create_selective_residue(residue, 30, d2.data(), f2.data()), 0);
  for (int t = 0; t < 30; t++) {
    float removed = GLM.Xorig_tc[t][0] * GLM.Beta_c[0] + GLM.Xorig_tc[t][3] * GLM.Beta_c[3];
    EXPECT_NEAR(d2[t], data[t] - removed, 1e-4);
    EXPECT_NEAR(f2[t], fit[t] - removed, 1e-4);
  }
  char empty[] = "";
  EXPECT_EQ(GLM_create_selective_residue(empty, 5, d2.data(), f2.data()), 0);
  Captured c = capture_output([&] { EXPECT_EQ(GLM_create_selective_residue(residue, 29, d2.data(), f2.data()), 1); });
  EXPECT_EQ(c.out, "Error: # time points (29) does not match GLM (30) in GLM_adjust_event()\n");

  float value = -1;
  int t = 2;
  EXPECT_EQ(GLM_event_fit(1, empty, 0, t, &value), 0);
  float base = GLM.Beta_c[5] * GLM.Xorig_tc[t][5] + GLM.Beta_c[6] * GLM.Xorig_tc[t][6];
  EXPECT_NEAR(value, base + GLM.Beta_c[0] * GLM.Xorig_tc[t][0], 1e-4);
  EXPECT_EQ(GLM_event_fit(0, residue, 0, t, &value), 0);
  EXPECT_EQ(value, 0.0f);
  EXPECT_EQ(GLM_event_fit(0, residue, 1, t, &value), 0);
  EXPECT_FLOAT_EQ(value, GLM.Beta_c[1] * GLM.Xorig_tc[t][1]);
  c = capture_output([&] { EXPECT_EQ(GLM_event_fit(0, empty, 0, 30, &value), 1); });
  EXPECT_EQ(c.out, "Error: time index (30) >= GLM time points (30) in GLM_fit_residue()\n");
  GLM.ncoeff = 0;
  c = capture_output([&] {
    EXPECT_EQ(GLM_event_fit(0, empty, 0, 3, &value), 1);
    EXPECT_EQ(GLM_create_selective_residue(residue, 30, d2.data(), f2.data()), 1);
  });
  EXPECT_EQ(c.out, "Error: no coefficients assigned yet in GLM_fit_residue.\nError: no coefficients assigned yet in GLM_adjust.\n");
}

struct Stats {
  int result = -99;
  float F = -7, cnr = -7, p_raw = -7, p_cor = -7, size = -7, sem = -7;
  std::string out;
};

Stats stats(int ntime, float sigma2, int resels, int k) {
  Stats s;
  s.out = capture_output([&] {
            s.result = GLM_calculate_F(ntime, sigma2, resels, k, &s.F, &s.cnr, &s.p_raw, &s.p_cor, &s.size, &s.sem);
          }).out;
  return s;
}

TEST(Statistics, ZeroVarianceGivesFixedValues) {
  Stats s = stats(0, 0.0f, 0, 99);
  EXPECT_EQ(s.result, 0);
  EXPECT_EQ(s.F, -7.0f);
  EXPECT_EQ(s.cnr, 0.0f);
  EXPECT_EQ(s.size, 0.0f);
  EXPECT_EQ(s.sem, 0.0f);
  EXPECT_EQ(s.p_raw, 1.0f);
  EXPECT_EQ(s.p_cor, 1.0f);
}

TEST(Statistics, BadArguments) {
  GlmModel m = five_events();
  define("1 2");
  Stats s = stats(30, 1.0f, 0, 2);
  EXPECT_EQ(s.result, 1);
  EXPECT_EQ(s.out, "Error: the specified condition (2) is out of range (0-1)\n");
  s = stats(30, 1.0f, 0, -1);
  EXPECT_EQ(s.out, "Error: the specified condition (-1) is out of range (0-1)\n");
  s = stats(29, 1.0f, 0, 0);
  EXPECT_EQ(s.result, 1);
  EXPECT_EQ(s.out, "Error: # time points != # used in GLM fit.\n");
}

TEST(Statistics, ZeroEffect) {
  GlmModel m = five_events();
  define("1 1,2");
  for (int c = 0; c < GLM.ncoeff; c++) GLM.Beta_c[c] = 0.0f;
  GLM.Beta_c[5] = 100.0f;
  Stats s = stats(30, 2.0f, 0, 0);
  EXPECT_EQ(s.result, 0);
  EXPECT_EQ(s.F, 0.0f);
  EXPECT_EQ(s.cnr, 0.0f);
  EXPECT_EQ(s.p_raw, 1.0f);
  EXPECT_EQ(s.size, 0.0f);
  EXPECT_FLOAT_EQ(s.sem, sqrtf(GLM.FCovar[0][0][0] * 2.0f));
  s = stats(30, 2.0f, 0, 1);
  EXPECT_EQ(s.p_raw, 1.0f);  // doubled to 2, which means 1
}

TEST(Statistics, SignOfTheLargestRowAndTheFloorOfP) {
  GlmModel m = five_events();
  define("1-2 1,2");
  for (int c = 0; c < GLM.ncoeff; c++) GLM.Beta_c[c] = 0.0f;
  GLM.Beta_c[0] = -1000.0f;
  GLM.Beta_c[1] = 3.0f;
  Stats s = stats(30, 1e-6f, 0, 0);
  EXPECT_EQ(s.size, -1003.0f);
  EXPECT_LT(s.cnr, 0.0f);
  EXPECT_FLOAT_EQ(s.cnr * s.cnr, s.F);
  unsigned bits;
  memcpy(&bits, &s.p_raw, sizeof bits);
  EXPECT_EQ(bits, 27u);
  memcpy(&bits, &s.p_cor, sizeof bits);
  EXPECT_EQ(bits, 27u);  // resels 0
  s = stats(30, 1e-6f, 0, 1);
  EXPECT_EQ(s.size, -1000.0f);
  EXPECT_FLOAT_EQ(s.sem, sqrtf(GLM.FCovar[1][0][0] * 1e-6f));
}

TEST(Statistics, NoDegreesOfFreedomLeftIsBounded) {
  GlmModel m = five_events();
  define("1 1,2");
  GLM.Beta_c[0] = 2.0f;
  for (float dof : {0.0f, -3.0f}) {
    GLM.dof = dof;
    Stats s = stats(30, 0.5f, 1000, 0);
    EXPECT_EQ(s.result, 0);
    EXPECT_GE(s.p_raw, 0.0f);
    EXPECT_LE(s.p_raw, 1.0f);
    EXPECT_TRUE(s.p_cor <= 1.0f || std::isnan(s.p_cor));
    s = stats(30, 0.5f, 1000, 1);
    EXPECT_EQ(s.result, 0);
    EXPECT_LE(s.p_raw, 1.0f);
  }
}

}  // namespace
