#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "nifti_test_files.h"
#include "srtm_test_files.h"

namespace {

using namespace srtm;

Decoded decode(const std::string &line) { return decode_keyword_line(SRTMInternal_decode_keyword, line); }

class PetKeywords : public ::testing::Test {
 protected:
  void SetUp() override { SRTM_engine_reset(); }
};

TEST_F(PetKeywords, TimeModelWords) {
  for (const char *w : {"time-model srtm\n", "time-model SRTM", "time-model MRTM", "time-model LSRRM\n"}) {
    SRTM.pet_model = 1;
    Decoded d = decode(w);
    EXPECT_EQ(d.result, 0);
    EXPECT_EQ(d.out, "");
    EXPECT_EQ(SRTM.pet_model, 0) << w;
  }
  for (const char *w : {"time-model DV", "time-model distribution-volume\n"}) {
    SRTM.pet_model = 0;
    EXPECT_EQ(decode(w).result, 0);
    EXPECT_EQ(SRTM.pet_model, 1) << w;
  }
  SRTM.pet_model = 1;
  Decoded d = decode("time-model GLM\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(SRTM.pet_model, 0);
  EXPECT_EQ(d.out,
            "Warning: the argument of 'time-model' (GLM) is not recognized as SRTM,\n"
            "so the -t [file name] option will fail using zorview.\n"
            "Valid arguments: SRTM, srtm, MRTM, LSRRM \n");
}

TEST_F(PetKeywords, NumbersAndTheirMessages) {
  EXPECT_EQ(decode("plasma-column 1\n").result, 0);
  EXPECT_EQ(SRTM_input.plasma_column, 0);  // one-based in the file
  EXPECT_EQ(decode("plasma-column 3").result, 0);
  EXPECT_EQ(SRTM_input.plasma_column, 2);
  Decoded d = decode("plasma-column x\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `plasma-column' requires an integer argument.\n");
  EXPECT_EQ(decode("multiple-comparisons 7").result, 0);
  EXPECT_EQ(SRTM_input.multiple_comparisons, 7);
  d = decode("multiple-comparisons");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `multiple-comparisons' requires an integer argument.\n");
  EXPECT_EQ(decode("half-life 20.4\n").result, 0);
  EXPECT_FLOAT_EQ(SRTM_input.half_life, 20.4f);
  d = decode("half-life none");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `half-life' requires a floating argument.\n");
}

TEST_F(PetKeywords, WordsAndTheEndOfTheBlock) {
  SRTM_input.nifti_output = 1;
  EXPECT_EQ(decode("output-format zor").result, 0);
  EXPECT_EQ(SRTM_input.nifti_output, 0);
  EXPECT_EQ(decode("output-format NIFTI").result, 0);
  EXPECT_EQ(SRTM_input.nifti_output, 1);
  EXPECT_EQ(decode("output-format ZOR").result, 0);
  EXPECT_EQ(decode("output-format other").result, 0);
  EXPECT_EQ(SRTM_input.nifti_output, 0);
  EXPECT_EQ(decode("reference-region cerebellum.ovl\n").result, 0);
  EXPECT_STREQ(SRTM_input.reference_region_file, "cerebellum.ovl");
  EXPECT_EQ(decode("target-region  striatum.ovl").result, 0);
  EXPECT_STREQ(SRTM_input.target_region_file, "striatum.ovl");
  EXPECT_EQ(decode("conditions 1 2 12 1-2 3,4\n").result, 0);
  EXPECT_STREQ(SRTM_input.condition_string, "1 2 12 1-2 3,4");
  for (const char *w : {"runs:", "runs", "files:", "files\n"}) EXPECT_EQ(decode(w).result, 1) << w;
  EXPECT_EQ(decode("baseline-terms 2").result, -1);
}

TEST(PetControlFile, MissingFile) {
  PetStudy s;
  PetRead r = read_pet_control(s.path("nothing.ctl"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: cannot open the file " + s.path("nothing.ctl") + ".\n");
}

TEST(PetControlFile, KeywordErrorCountsNonBlankLinesAndShowsTheExample) {
  PetStudy s;
  std::string f = s.text("a.ctl", "time-model SRTM\n\n# note\nhalf-life 20\nbogus 3\nruns:\n");
  PetRead r = read_pet_control(f);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error reading line 3 of file '" + f + "':\n" + pet_control_example());
}

TEST(PetControlFile, DefaultsAndNoRuns) {
  PetStudy s;
  SRTM_engine_reset();
  SRTM.pet_model = 0;
  PetRead r = read_pet_control(s.text("a.ctl", "time-model SRTM\nreference-region r.ovl\n"));
  // No "runs:" line: no runs, then the missing target region stops the read.
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(SRTM.nruns, 0);
  EXPECT_EQ(SRTM_input.nruns, 0);
  EXPECT_EQ(r.printed.out, "Error: the name of a target region overlay file must be supplied.\n");
  r = read_pet_control(s.text("b.ctl", "time-model SRTM\nruns:\n"));
  EXPECT_EQ(r.printed.out, "Error: the name of a reference region overlay file must be supplied.\n");
  EXPECT_STREQ(SRTM_input.reference_region_file, "none");
  EXPECT_STREQ(SRTM_input.target_region_file, "none");
  EXPECT_EQ(SRTM_input.nifti_output, 1);
  EXPECT_FLOAT_EQ(SRTM_input.half_life, 0.0f);
  EXPECT_STREQ(SRTM.table_column_name[0], "undefined");
  EXPECT_STREQ(SRTM.table_column_name[49], "undefined");
  EXPECT_EQ(SRTM.alpha[60], 1.0);
}

TEST(PetControlFile, RunLineMessages) {
  PetStudy s;
  std::string data = s.run("r1", 3);
  PetRead r = read_pet_control(s.text("a.ctl", "runs:\n" + data + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error reading the GLM file name for run 1.\n");
  r = read_pet_control(s.text("b.ctl", "runs:\n" + data + " r1.glm\n"));
  EXPECT_EQ(r.printed.out, "Three arguments are required for run 1: [data file] [glm file] [table file].\n");
  r = read_pet_control(s.text("c.ctl", "runs:\n" + data + " r1.glm " + s.path("none.table") + "\n"));
  EXPECT_EQ(r.printed.out, "Error attempting to open the TABLE file " + s.path("none.table") + ".\n");
}

TEST(PetControlFile, MoreThanFiftyRunsAreRefused) {
  PetStudy s;
  std::string data = s.run("r1", 2);
  std::string table = s.table("t", {"d"}, {{60}, {60}});
  std::string list = "runs:\n";
  for (int r = 0; r < 51; r++) list += data + " x.glm " + table + "\n";
  PetRead r = read_pet_control(s.text("a.ctl", list));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: more than 50 runs are listed in the control file.\n");
  EXPECT_EQ(SRTM.nruns, 50);
}

PetRunPlan simple_run(const std::string &events, int nt = 6) {
  PetRunPlan plan;
  plan.events = events;
  for (int t = 0; t < nt; t++) {
    plan.durations.push_back(60.0 * (1 + t % 3));
    plan.reference.push_back(10.0f + t);
    plan.target.push_back(20.0f + 2 * t);
  }
  return plan;
}

TEST(PetControlFile, ReadsAStudy) {
  PetModel m("time-model SRTM\nconditions 2\n", {simple_run("40\n1 R1\n\n2 k2a\n\n")});
  ASSERT_EQ(m.read.result, 0) << m.read.printed.out;
  EXPECT_EQ(m.read.printed.out, "Read reference region data using overlay " + m.s.path("ref.ovl") +
                                    "\nRead target    region data using overlay " + m.s.path("target.ovl") + "\n");
  EXPECT_EQ(SRTM.initialized, 1);
  EXPECT_EQ(SRTM.nruns, 1);
  EXPECT_EQ(SRTM_input.nruns, 1);
  EXPECT_EQ(SRTM.ntime, 6);
  EXPECT_EQ(SRTM.ncoeff, 2);
  EXPECT_DOUBLE_EQ(SRTM.k2prime_base[0], 1.0 / 40.0f);
  EXPECT_EQ(SRTM.event_type[0], TYPE_R1);
  EXPECT_EQ(SRTM.event_type[1], TYPE_k2a);
  EXPECT_EQ(SRTM.nperiods[0], 1);
  EXPECT_FLOAT_EQ(SRTM.period_start[0][0], 0.5f);  // first midpoint
  EXPECT_FLOAT_EQ(SRTM.period_stop[0][0], (float)SRTM_time_total_minutes(5));
  EXPECT_DOUBLE_EQ(SRTM.reference_region[0][2], 12.0);
  EXPECT_DOUBLE_EQ(SRTM.target_region[0][3], 26.0);
  // Derivative per minute: frame spacing 0.5, then 1.5, 2.5, 2, 1.5, 2.5.
  EXPECT_FLOAT_EQ((float)SRTM.ref_region_deriv[0][0], 10.0f / 0.5f);
  EXPECT_FLOAT_EQ((float)SRTM.ref_region_deriv[0][1], 1.0f / 1.5f);
  EXPECT_NE(SRTM.Xorig_tc, nullptr);
  EXPECT_STREQ(SRTM_input.condition_string, "2");
}

TEST(PetTables, DurationsBecomeMidpointSpacingAndNamesAreKept) {
  PetModel m("", {simple_run("0\n1 R1\n\n", 4)});
  ASSERT_EQ(m.read.result, 0) << m.read.printed.out;
  EXPECT_EQ(SRTM.table_ncolumns[0], 1);
  EXPECT_EQ(SRTM.table_nt[0], 4);
  EXPECT_STREQ(SRTM.table_column_name[0], "duration");
  EXPECT_STREQ(SRTM.table_column_name[1], "undefined");
  // durations 1, 2, 3, 1 minutes
  EXPECT_DOUBLE_EQ(SRTM.table_value[0][0][0], 0.5);
  EXPECT_DOUBLE_EQ(SRTM.table_value[0][0][1], 1.5);
  EXPECT_DOUBLE_EQ(SRTM.table_value[0][0][2], 2.5);
  EXPECT_DOUBLE_EQ(SRTM.table_value[0][0][3], 2.0);
  EXPECT_DOUBLE_EQ(SRTM_time_total_minutes(3), 6.5);
  EXPECT_EQ(SRTM.k2prime_base[0], 0.0);  // tau2' 0 leaves k2' free
  for (int t = 0; t < 4; t++) EXPECT_EQ(SRTM.k2prime_rel[0][t], 1.0);
}

class PetTableFile : public ::testing::Test {
 protected:
  PetStudy s;
  void SetUp() override {
    SRTM_engine_reset();
    SRTM.nt[0] = SRTM.nt[1] = 3;
  }
  PetRead read(const std::string &content, int irun, const std::string &name = "t.table") {
    PetRead r;
    std::string f = s.text(name, content);
    std::vector<char> b(f.begin(), f.end());
    b.push_back('\0');
    r.printed = capture_output([&] { r.result = SRTM_read_table_file(b.data(), irun); });
    return r;
  }
};

TEST_F(PetTableFile, RowCountMustMatchAndBlankRowsCount) {
  PetRead r = read("d a\n60 1\n\n60 2\n60 3\n", 0);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: the number of time points in table file " + s.path("t.table") +
                               " (4) does not match the data file (3).\n");
  EXPECT_EQ(SRTM.table_nt[0], 4);
}

TEST_F(PetTableFile, ShortRowNamesItsPhysicalLine) {
  PetRead r = read("d a\n60 1\n60\n60 3\n", 0);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error reading line 3 of TABLE file " + s.path("t.table") + "\n");
}

TEST_F(PetTableFile, WordsThatAreNoNumbersStayZeroAndNaNEndsTheRun) {
  PetRead r = read("d a\n60 1\n60 none\n60 3\n", 0);
  EXPECT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(SRTM.table_value[0][1][1], 0.0);
  EXPECT_EQ(SRTM.table_value[0][1][2], 3.0);
  r = read("d a\n60 1\n60 nan\n60 3\n", 0);
  EXPECT_EQ(r.printed.exit_status, 1);
  EXPECT_EQ(r.printed.out, "Error: table entry 1 in column 1 of run 1 is not a number.\n");
}

TEST_F(PetTableFile, MismatchedNamesWarnOnly) {
  ASSERT_EQ(read("d heart\n60 1\n60 2\n60 3\n", 0).result, 0);
  PetRead r = read("d resp\n60 1\n60 2\n60 3\n", 1, "u.table");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out, "Warning: runs 1 & 2 have mismatched names (heart & resp) in column 1.\n");
  EXPECT_STREQ(SRTM.table_column_name[1], "heart");
}

TEST_F(PetTableFile, ZeroDurationAndTooManyColumnsAreRefused) {
  PetRead r = read("d\n60\n0\n60\n", 0);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: frame 1 of TABLE file " + s.path("t.table") + " has no duration.\n");
  std::string names, row;
  for (int c = 0; c < 51; c++) {
    names += "c" + std::to_string(c) + " ";
    row += "1 ";
  }
  r = read(names + "\n" + row + "\n" + row + "\n" + row + "\n", 0);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: the TABLE file " + s.path("t.table") + " has 51 columns, more than the 50 allowed.\n");
}

TEST(PetTableColumns, NegativeWinnerNormalisesByTheLastFrameThatBeatIt) {
  PetRunPlan plan = simple_run("0\n1 R1\n\n2 k2a\n\n3 R1 table\n1\n", 5);
  plan.extra = {{1.0, -4.0, 2.0, -3.0, 0.5}};
  PetModel m("", {plan});
  ASSERT_EQ(m.read.result, 0) << m.read.printed.out;
  // |1| > 0: max 1; |-4| > 1: max -4; then every frame beats -4; last is 0.5.
  EXPECT_EQ(SRTM.iTimeMax[2], 4);
  EXPECT_DOUBLE_EQ(SRTM.table_value[0][1][1], -8.0);
  EXPECT_DOUBLE_EQ(SRTM.table_value[0][1][0], 2.0);
}

TEST(PetTableColumns, PositivePeakNormalisesToOne) {
  PetRunPlan plan = simple_run("0\n1 R1\n\n2 k2a\n\n3 R1 table\n1\n", 4);
  plan.extra = {{1.0, 4.0, 2.0, 3.0}};
  PetModel m("", {plan});
  ASSERT_EQ(m.read.result, 0) << m.read.printed.out;
  EXPECT_EQ(SRTM.iTimeMax[2], 1);
  EXPECT_DOUBLE_EQ(SRTM.table_value[0][1][1], 1.0);
  EXPECT_DOUBLE_EQ(SRTM.table_value[0][1][0], 0.25);
}

// Event files.

struct EventRead {
  int result;
  Captured printed;
  std::string glm;
};

EventRead events_of(const std::string &text, int nt = 6, std::vector<std::vector<double>> extra = {}) {
  PetRunPlan plan = simple_run(text, nt);
  plan.extra = extra;
  PetModel m("", {plan});
  return {m.read.result, m.read.printed, m.s.path("run1.glm")};
}

TEST(PetEventFile, FirstLineForms) {
  PetStudy s;
  SRTM_engine_reset();
  std::string f = s.path("none.glm");
  Captured c = capture_output([&] { EXPECT_EQ(SRTM_read_GLM_file(f.data(), 0), 1); });
  EXPECT_EQ(c.out, "Error attempting to open the GLM file " + f + ".\n");
  std::string e = s.text("e.glm", "");
  c = capture_output([&] { EXPECT_EQ(SRTM_read_GLM_file(e.data(), 0), 1); });
  EXPECT_EQ(c.out, "Error reading the 1st line of GLM file " + e + "\n");
  std::string b = s.text("b.glm", "tau 1 R1\n");
  c = capture_output([&] { EXPECT_EQ(SRTM_read_GLM_file(b.data(), 0), 1); });
  EXPECT_EQ(c.out, "Error reading line 1 of the GLM file " + b + " (tau2').\n");
}

TEST(PetEventFile, RelativeK2ColumnIsUsedAndAnnounced) {
  PetRunPlan plan = simple_run("40 1\n1 R1\n\n2 k2a\n\n", 3);
  plan.extra = {{1.0, 2.0, 0.5}};
  PetModel m("", {plan});
  ASSERT_EQ(m.read.result, 0);
  EXPECT_EQ(m.read.printed.out.substr(0, 86),
            "Using column 1 of table as a relative index of k2_ref with baseline value 1/k2_ref=40\n");
  EXPECT_DOUBLE_EQ(SRTM.k2prime_rel[0][1], 2.0);
  // Column 0 and columns out of range are ignored without a word.
  PetRunPlan plan2 = simple_run("40 5\n1 R1\n\n", 3);
  PetModel m2("", {plan2});
  ASSERT_EQ(m2.read.result, 0);
  EXPECT_EQ(SRTM.k2prime_rel[0][1], 1.0);
}

TEST(PetEventFile, LastEventWithoutPeriodSpansTheRun) {
  PetModel m("", {simple_run("0\n1 R1\n\n2 k2a", 6)});
  ASSERT_EQ(m.read.result, 0) << m.read.printed.out;
  EXPECT_EQ(SRTM.nperiods[1], 1);
  EXPECT_DOUBLE_EQ(SRTM.period_start[1][0], SRTM_time_total_minutes(0));
  EXPECT_DOUBLE_EQ(SRTM.period_stop[1][0], SRTM_time_total_minutes(5));
}

TEST(PetEventFile, BlankAfterGammaFails) {
  EventRead r = events_of("0\n1 R1\n\n2 k2a gamma\n\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: a gamma event should be followed by start time, tau, and optionally alpha.\n");
}

TEST(PetEventFile, PeriodLinesOfEveryShape) {
  EventRead r = events_of("0\n1 R1\n\n2 k2a\n\n3 k2a gamma\n3 2\n4 k2a gamma-integral\n2 4\n5 k2a sigmoid\n1 3\n"
                          "6 k2 table\n1\n7 constant\n1 4\n8 linear\n2\n", 6, {{1, 2, 3, 4, 5, 6}});
  ASSERT_EQ(r.result, 0) << r.printed.out;
  ASSERT_EQ(SRTM.ncoeff, 8);
  EXPECT_EQ(SRTM.event_shape[2], srtm::SHAPE_GAMMA);
  EXPECT_DOUBLE_EQ(SRTM.tau[2], 2.0);
  EXPECT_DOUBLE_EQ(SRTM.alpha[2], 1.0);
  EXPECT_FLOAT_EQ(SRTM.period_start[2][0], 3.5f);
  EXPECT_FLOAT_EQ(SRTM.period_stop[2][0], (float)SRTM_time_total_minutes(5));
  EXPECT_EQ(SRTM.event_shape[3], SHAPE_GAMMAINT);
  EXPECT_EQ(SRTM.event_shape[4], srtm::SHAPE_SIGMOID);
  EXPECT_EQ(SRTM.event_type[5], TYPE_k2);
  EXPECT_EQ(SRTM.icolumn[5], 1);
  EXPECT_EQ(SRTM.event_type[6], TYPE_CON);
  EXPECT_FLOAT_EQ(SRTM.period_start[6][0], 1.5f);
  EXPECT_FLOAT_EQ(SRTM.period_stop[6][0], 4.5f);
  EXPECT_EQ(SRTM.event_type[7], TYPE_LIN);
  EXPECT_FLOAT_EQ(SRTM.period_stop[7][0], (float)SRTM_time_total_minutes(5));
}

TEST(PetEventFile, TypeWords) {
  EventRead r = events_of("0\n1 R1\n\n2 K2\n\n3 K2a\n\n4 b\n\n5 Vb\n\n6 1_b\n\n7 V_b\n\n8 DVb\n\n9 1_over_b\n\na V_over_b\n\n");
  ASSERT_EQ(r.result, 0) << r.printed.out;
  const int types[] = {TYPE_R1, TYPE_k2, TYPE_k2a, TYPE_1b, TYPE_DVb, TYPE_1b, TYPE_DVb, TYPE_DVb, TYPE_1b, TYPE_DVb};
  for (int j = 0; j < 10; j++) EXPECT_EQ(SRTM.event_type[j], types[j]) << j;
}

TEST(PetEventFile, TypeLineMessages) {
  EventRead r = events_of("0\n1\n");
  EXPECT_EQ(r.printed.out,
            "Error on line 2: only 1 values were read with value 1.\n"
            "\nEvents should be identified with 2 or 3 arguments:\n"
            "1) event identifier: 1-9, a-z, A-Z\n"
            "2) event type      : R1, k2, k2a\n"
            "3) event shape     : constant, gamma, sigmoid, table (default=constant)\n");
  r = events_of("0\n# comment\n\n0 R1\n");
  EXPECT_EQ(r.printed.out, "Event number (0) for event (0) is not allowed on line 4 in file " + r.glm + "\n");
  r = events_of("0\n, R1\n");
  EXPECT_EQ(r.printed.out, "Event number (-1) for event (,) is not allowed on line 2 in file " + r.glm + "\n");
  r = events_of("0\n1 R2\n");
  EXPECT_EQ(r.printed.out, "Error on line 2: allowed types are R1, k2, and k2a\n");
  r = events_of("0\n1 R1 square\n");
  EXPECT_EQ(r.printed.out, "Error: shape square is unknown. Use 'constant', 'gamma', 'sigmoid', or 'table'.\n");
  r = events_of("0\n1 R1\n\n1 k2a\n\n");
  EXPECT_EQ(r.printed.out, "Error: event 1 does not have a consistent type.\nThe type is R1 in the 1st run and k2a in run 1.\n");
  r = events_of("0\n1 k2a\n\n1 k2a gamma\n1 2\n");
  EXPECT_EQ(r.printed.out,
            "Error: event 1 does not have a consistent shape.\nThe shape is constant in the 1st run and gamma in run 1.\n");
  r = events_of("30\n1 R1\n\n2 k2\n\n");
  EXPECT_EQ(r.printed.out, "Error: use either a variable k2' (no k2 event), or a fixed one (k2'=0.0333333 in run 1).\n");
}

TEST(PetEventFile, TauAlphaAndPeriodChecks) {
  EventRead r = events_of("0\n1 R1\n\n2 k2a gamma\n1 2 3\n2 k2a gamma\n3 4 3\n");
  EXPECT_EQ(r.printed.out, "Error: event 2 is a gamma event with tau=4 in run 1 not equal to previous tau (2).\n");
  r = events_of("0\n1 R1\n\n2 k2a gamma\n1 2 3\n2 k2a gamma\n3 2\n");
  EXPECT_EQ(r.printed.out, "Error: event 2 is a gamma event with alpha=1 in run 1 not equal to previous alpha (3).\n");
  r = events_of("0\n1 R1\n\n2 k2a gamma-integral\n1 2\n2 k2a gamma-integral\n3 5\n");
  EXPECT_EQ(r.printed.out, "Error: event 2 is a gamma event with tau=5 in run 1 not equal to previous tau (2).\n");
  r = events_of("0\n1 R1\n\n2 k2a sigmoid\n1 2\n2 k2a sigmoid\n3 5\n");
  EXPECT_EQ(r.printed.out, "Error: event 2 is a sigmoid event with tau=5 in run 1 not equal to previous tau (2).\n");
  r = events_of("0\n1 R1\n\n2 k2a gamma-integral\n1\n");
  EXPECT_EQ(r.printed.out, "Error: a gamma-integral event should be followed by start time and tau.\n");
  r = events_of("0\n1 R1\n\n2 k2a sigmoid\n1\n");
  EXPECT_EQ(r.printed.out, "Error: a sigmoid event should be followed by start time and tau.\n");
  r = events_of("0\n1 R1\n-1 3\n");
  EXPECT_EQ(r.printed.out, "Error: ON time must be > 0 for period 1 of event 1.\n");
  r = events_of("0\n1 R1\n3 3\n");
  EXPECT_EQ(r.printed.out, "Error: OFF time (3) must be > ON time (3) for period 1 of event 1.\n");
  r = events_of("0\n1 R1\n\n2 k2 table\n\n");  // the blank reads as column 0
  EXPECT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(SRTM.icolumn[1], 0);
  r = events_of("0\n1 R1\n\n2 k2 table\nx\n");
  EXPECT_EQ(r.printed.exit_status, 1);
  EXPECT_EQ(r.printed.out, "Programming error 2: nread = 0 in SRTM_read_GLM_file\n");
  r = events_of("0\n1 R1\n\n2 k2 table\n3\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: the table column (3) of event 2 is out of range (0-0) in run 1.\n");
}

TEST(PetEventFile, RepeatedTypeLinesAddPeriodsAndTheFiftyFirstIsReportedOnly) {
  std::string text = "0\n";
  for (int p = 0; p < 51; p++) text += "1 R1\n" + std::to_string(p * 0.01) + " " + std::to_string(p * 0.01 + 0.005) + "\n";
  EventRead r = events_of(text);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(SRTM.nperiods[0], 50);
  EXPECT_NE(r.printed.out.find("Error: the number of periods (51) for event 1 > max dimension in program (50).\n"),
            std::string::npos);
}

TEST(PetEventFile, KTwoEventsMustBeConstantOrTable) {
  EventRead r = events_of("0\n1 R1\n\n2 k2 gamma\n1 2\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: type 'k2' events (ID=2) must be either constant in time\n"
                           "or have a parametric shape read from a table.\n");
}

TEST(PetEventFile, ExcludeLineStoresTheList) {
  EventRead r = events_of("0\nexclude 0,3-4\n1 R1\n\n2 k2a\n\n");
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_STREQ(SRTM.ExcludeString[0], "0,3-4");
  EXPECT_EQ(SRTM.ncoeff, 2);
}

TEST(PetEventFile, TwoRunsShareEventsAndCheckTheirPeriods) {
  PetModel m("", {simple_run("0\n1 R1\n\n2 k2a\n\n", 4), simple_run("0\n1 R1\n\n2 k2a\n1\n", 3)});
  ASSERT_EQ(m.read.result, 0) << m.read.printed.out;
  EXPECT_EQ(SRTM.ntime, 7);
  EXPECT_EQ(SRTM.run_istart[1], 4);
  EXPECT_EQ(SRTM.run_istop[1], 6);
  EXPECT_EQ(SRTM.nperiods[1], 2);
  EXPECT_FLOAT_EQ(SRTM.period_start[1][1], (float)(1.0 + SRTM_time_total_minutes(4)));
  EXPECT_FLOAT_EQ(SRTM.period_stop[1][1], (float)SRTM_time_total_minutes(6));
  PetModel bad("", {simple_run("0\n1 R1\n\n", 3), simple_run("0\n1 k2a\n\n", 3)});
  EXPECT_EQ(bad.read.printed.out,
            "Error: event 1 does not have a consistent type.\nThe type is R1 in the 1st run and k2a in run 2.\n");
}

// Regions.

TEST(PetRegions, MaskedMeansUseWeights) {
  PetModel m("", {simple_run("0\n1 R1\n\n2 k2a\n\n", 3)}, "0 0 0 0.5\n", "1 0 0\n0 1 0 0.25\n");
  ASSERT_EQ(m.read.result, 0) << m.read.printed.out;
  EXPECT_DOUBLE_EQ(SRTM.reference_region[0][1], 11.0);
  // target: voxel 1 (weight 1) holds T, voxel 2 (weight 0.25) holds 2T.
  EXPECT_NEAR(SRTM.target_region[0][2], (24.0 * 1 + 48.0 * 0.25) / 1.25, 1e-12);
  EXPECT_FLOAT_EQ(SRTM.Mask_Target[2], 0.25f);
}

TEST(PetRegions, OverlayMessages) {
  PetModel a("", {simple_run("0\n1 R1\n\n", 3)}, "0 0 0\n\n");
  EXPECT_EQ(a.read.printed.out.substr(a.read.printed.out.find("Error")),
            "Error: The syntax in an overlay file can be one of the following:\n"
            "1)  x y z         (voxel indices), OR\n"
            "2)  x y z weight  (for variable weight in range 0:1)\n");
  PetModel b("", {simple_run("0\n1 R1\n\n", 3)}, "0 0 0 1.5\n");
  EXPECT_EQ(b.read.printed.out.substr(b.read.printed.out.find("Error")), "Error: use weight values <= 1. in overlays.\n");
  PetModel c("", {simple_run("0\n1 R1\n\n", 3)}, "2 0 0\n");
  EXPECT_EQ(c.read.printed.out.substr(c.read.printed.out.find("Error")),
            "Error: the overlay in file .ovl does not agree with the image dimensions.\n");
  PetModel d("", {simple_run("0\n1 R1\n\n", 3)}, "0 0 0 0\n");
  EXPECT_EQ(d.read.result, 1);
  EXPECT_EQ(d.read.printed.out.substr(d.read.printed.out.find("Error")),
            "Error: the region in file " + d.s.path("ref.ovl") + " holds no voxels.\n");
}

TEST(PetRegions, DimensionsMustAgreeAcrossRuns) {
  PetStudy s;
  std::string d1 = s.run("a", 2, 2, 2, 1), d2 = s.run("b", 2, 3, 2, 1);
  std::string t = s.table("t", {"d"}, {{60}, {60}});
  std::string e = s.text("e.glm", "0\n1 R1\n\n");
  std::string list = "reference-region " + s.text("r.ovl", "0 0 0\n") + "\ntarget-region " +
                     s.text("t.ovl", "1 0 0\n") + "\nruns:\n" + d1 + " " + e + " " + t + "\n" + d2 + " " + e + " " + t + "\n";
  PetRead r = read_pet_control(s.text("c.ctl", list));
  EXPECT_EQ(r.result, 1);
  EXPECT_NE(r.printed.out.find("Error: image dimensions for file " + d2 +
                               " (3 x 2 x 1) are different from previous dimensions (2 x 2 x 1)\n"),
            std::string::npos);
}

TEST(PetRegions, PlasmaColumnForTheDistributionVolumeModel) {
  PetRunPlan plan = simple_run("0\n1 b\n\n2 V_b\n\n", 3);
  plan.extra = {{5.0, 6.0, 7.0}};
  PetModel m("time-model DV\nplasma-column 2\n", {plan});
  ASSERT_EQ(m.read.result, 0) << m.read.printed.out;
  EXPECT_EQ(m.read.printed.out, "Read target    region data using overlay " + m.s.path("target.ovl") + "\n");
  EXPECT_DOUBLE_EQ(SRTM.reference_region[0][1], 6.0);
  PetModel first("time-model DV\nplasma-column 1\n", {plan});
  ASSERT_EQ(first.read.result, 0);
  EXPECT_DOUBLE_EQ(SRTM.reference_region[0][0], SRTM.table_value[0][0][0]);  // the spacing column
  PetModel bad("time-model DV\nplasma-column 3\n", {plan});
  EXPECT_EQ(bad.read.result, 1);
  EXPECT_NE(bad.read.printed.out.find(
                "Error: the plasma TAC should be in column 3 for all runs, but run 1 only has 2 columns.\n"),
            std::string::npos);
}

TEST(PetEventChars, BothWays) {
  EXPECT_EQ(SRTM_EventNumberFromChar('1'), 1);
  EXPECT_EQ(SRTM_EventNumberFromChar('9'), 9);
  EXPECT_EQ(SRTM_EventNumberFromChar('a'), 10);
  EXPECT_EQ(SRTM_EventNumberFromChar('z'), 35);
  EXPECT_EQ(SRTM_EventNumberFromChar('A'), 36);
  EXPECT_EQ(SRTM_EventNumberFromChar('Z'), 61);
  EXPECT_EQ(SRTM_EventNumberFromChar(','), -1);
  EXPECT_EQ(SRTM_EventNumberFromChar('0'), 0);
  EXPECT_EQ(SRTM_EventNumberFromChar('-'), 0);
  for (int n = 1; n <= 61; n++) {
    char c;
    ASSERT_EQ(SRTM_EventCharFromInteger(n, &c), 0);
    EXPECT_EQ(SRTM_EventNumberFromChar(c), n);
  }
  char c;
  EXPECT_EQ(SRTM_EventCharFromInteger(62, &c), 1);
  Captured k = capture_output([] { SRTM_EventChar(0); });
  EXPECT_EQ(k.exit_status, 1);
  EXPECT_EQ(k.out, "Programming error: event number 0 apparently is not defined!\n");
}

TEST(PetReports, InputFiles) {
  PetModel m("", {simple_run("0\n1 R1\n\n", 3)});
  ASSERT_EQ(m.read.result, 0);
  Captured c = capture_output([] { SRTM_describe_input_files(); });
  EXPECT_EQ(c.out, "\nFiles: DATA          GLM          TABLE\n-----------------------------------------\n1 " +
                       std::string(SRTM_input.run_name[0]) + " " + SRTM_input.glm_name[0] + " " +
                       SRTM_input.table_name[0] + "\n\n");
  c = capture_output([] { SRTMInternal_describe_glm_format(); });
  EXPECT_EQ(c.out, pet_control_example());
}

// The example the reader prints when a keyword fails reads back through the
// reader itself, NIfTI runs and all, once its files exist beside it.
TEST(PetControlFile, PrintedExampleReadsBack) {
  PetStudy s;
  ASSERT_EQ(mkdir((s.dir + "/work").c_str(), 0700), 0);
  for (int r = 1; r <= 2; r++) {
    NiftiFields f;
    f.dim[0] = 4;
    f.dim[4] = 3;
    std::vector<float> data(2 * 2 * 2 * 3);
    for (size_t j = 0; j < data.size(); j++) data[j] = (float)(j + 10 * r);
    std::string bytes = nifti_file_bytes(f, data.data(), data.size() * sizeof(float));
    write_binary_file(s.dir, "srtm" + std::to_string(r) + ".nii", bytes.data(), bytes.size());
    s.text("work/srtm" + std::to_string(r) + ".glm", "0\n1 R1\n\n2 k2\n\n3 k2a\n\n");
    s.table("work/srtm" + std::to_string(r) + ".table", {"duration"}, {{60}, {120}, {180}});
  }
  s.text("work/ref.ovl", "0 0 0\n");
  s.text("work/target.ovl", "1 1 1\n");
  Captured example = capture_output([] { SRTMInternal_describe_glm_format(); });
  // The example file starts after the heading.
  std::string text = example.out.substr(example.out.find("conditions"));
  std::string control = s.text("work/example.ctl", text);
  size_t runs = text.find("runs:");
  std::string with_regions =
      text.substr(0, runs) + "reference-region ref.ovl\ntarget-region target.ovl\n" + text.substr(runs);
  std::string control2 = s.text("work/regions.ctl", with_regions);
  PetRead r, r2;
  pet_in_directory(s.dir + "/work", [&] {
    r = read_pet_control(control);
    EXPECT_STREQ(SRTM_input.condition_string, "1 2 12 1-2           ");
    EXPECT_EQ(SRTM.nruns, 2);
    EXPECT_STREQ(SRTM_input.table_name[1], "srtm2.table");
    r2 = read_pet_control(control2);
  });
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: the name of a reference region overlay file must be supplied.\n");
  ASSERT_EQ(r2.result, 0) << r2.printed.out;
  EXPECT_EQ(SRTM.ntime, 6);
  EXPECT_DOUBLE_EQ(SRTM.reference_region[1][2], 20.0 + 16);
  EXPECT_DOUBLE_EQ(SRTM.target_region[0][1], 10.0 + 8 + 7);
}

// Event files put together from the words of the format, in any order: each
// read either succeeds, fails with a message, or ends the run through the
// one exit; the design built on a successful read does the same.
TEST(PetEventFile, ScrambledFilesNeverCrash) {
  const char *words[] = {"1",     "2",     "a",       "Z",       "0",        ",",     "R1",    "k2",
                         "k2a",   "b",     "V_b",     "linear",  "constant", "gamma", "sigmoid", "table",
                         "gamma-integral", "exclude", "0-3",   "1,2",  "-1",     "2.5",   "1e30",  "nan",
                         "40",    "0",     "3",       "100",     "x"};
  std::mt19937 rng(7);
  int succeeded = 0;
  for (int k = 0; k < 150; k++) {
    std::string text = std::to_string(rng() % 3 == 0 ? 0 : 30) + "\n";
    int nlines = 2 + rng() % 10;
    for (int l = 0; l < nlines; l++) {
      int nw = rng() % 4;
      for (int w = 0; w < nw; w++) text += std::string(w ? " " : "") + words[rng() % (sizeof words / sizeof *words)];
      text += "\n";
    }
    PetRunPlan plan = simple_run(text, 6);
    plan.extra = {{1, 2, 3, 4, 5, 6}};
    PetModel m("conditions 1 2 3\n", {plan});
    EXPECT_TRUE(m.read.result == 0 || m.read.result == 1 || m.read.printed.exit_status == 1) << text;
    if (m.read.result != 0) continue;
    succeeded++;
    Captured c = capture_output([] {
      if (SRTM_define_static_basis_functions() == 0) SRTM_define_conditions(SRTM_input.condition_string);
    });
    EXPECT_TRUE(c.exit_status == -1 || c.exit_status == 1) << text;
  }
  EXPECT_GT(succeeded, 0);
}

// Whole runs of 16-bit NIfTI data are read with their scaling, and the
// region curves come from the scaled values. A header of the other byte
// order is read as such; its voxels are taken as they are, as the header
// reader leaves this machine's byte order in force.
TEST(PetRegions, ScaledShortDataUnderEitherHeaderByteOrder) {
  for (bool swapped : {false, true}) {
    PetStudy s;
    NiftiFields f;
    f.dim[0] = 4;
    f.dim[4] = 2;
    f.datatype = 4;  // int16
    f.scl_slope = 2.0f;
    f.scl_inter = 1.0f;
    f.other_byte_order = swapped;
    std::vector<int16_t> data(2 * 2 * 2 * 2);
    for (size_t j = 0; j < data.size(); j++) data[j] = (int16_t)(j * 3 - 7);
    std::string bytes = nifti_file_bytes(f, data.data(), data.size() * sizeof(int16_t));
    std::string run = write_binary_file(s.dir, "run.nii", bytes.data(), bytes.size());
    std::string list = "reference-region " + s.text("r.ovl", "0 0 0\n1 1 1 0.5\n") + "\ntarget-region " +
                       s.text("t.ovl", "1 0 1\n") + "\nruns:\n" + run + " " + s.text("e.glm", "0\n1 R1\n\n") +
                       " " + s.table("t.table", {"d"}, {{60}, {60}}) + "\n";
    PetRead r = read_pet_control(s.text("a.ctl", list));
    ASSERT_EQ(r.result, 0) << r.printed.out;
    // Frame 1: voxel 0 holds 8*3-7 = 17, voxel 7 holds 15*3-7 = 38, voxel 5 holds 13*3-7 = 32.
    EXPECT_DOUBLE_EQ(SRTM.reference_region[0][1], ((2.0 * 17 + 1) * 1 + (2.0 * 38 + 1) * 0.5) / 1.5) << swapped;
    EXPECT_DOUBLE_EQ(SRTM.target_region[0][1], 2.0 * 32 + 1) << swapped;
    EXPECT_FLOAT_EQ(SRTM.PET_TAC_4D[0][0], 2.0f * -7 + 1);
  }
}

// A run whose header claims a far larger volume than its data file holds:
// the regions are checked as usual and the read fails at the first missing
// frame, without memory taken for the volume the header claims.
TEST(PetRegions, HeaderClaimingMoreThanTheFileHoldsTakesNoMemoryForIt) {
  PetModel m("", {simple_run("0\n1 R1\n\n", 4)});
  ASSERT_EQ(m.read.result, 0) << m.read.printed.out;
  const std::string data = m.s.path("run1.bfloat");
  const std::string regions = "Read reference region data using overlay " + m.s.path("ref.ovl") +
                              "\nRead target    region data using overlay " + m.s.path("target.ovl") + "\n";
  std::vector<char> name(m.control.begin(), m.control.end());
  name.push_back('\0');
  auto read = [&] {
    SRTM_engine_reset();
    return SRTM_read_control_file(0, name.data());
  };
  m.s.text("run1.hdr", "x 46340\ny 4634\nz 1\nt 4\nstorage-type float\n");
  ChildRun run = run_in_child(read, 20, size_t{1} << 30);
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.result, 1);
  EXPECT_EQ(run.out, regions + "Error reading time point 0 for file " + data + "\n");

  // A bad region still speaks first, as it would for a file that holds its data.
  m.s.text("target.ovl", "1 0 0 2\n");
  run = run_in_child(read, 20, size_t{1} << 30);
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.result, 1);
  EXPECT_EQ(run.out, regions + "Error: use weight values <= 1. in overlays.\n");

  // A file with two of its four frames fails at the third.
  m.s.text("target.ovl", "1 0 0\n");
  m.s.text("run1.hdr", "x 2\ny 2\nz 1\nt 4\nstorage-type float\n");
  std::vector<float> two_frames(8, 1.0f);
  write_binary_file(m.s.dir, "run1.bfloat", two_frames.data(), two_frames.size() * sizeof(float));
  PetRead r = read_pet_control(m.control);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, regions + "Error reading time point 2 for file " + data + "\n");
}

}  // namespace
