// Changing the linear model by hand, engine side: stimuli added, moved and
// deleted at run boundaries, table regressors from a drawn curve, excluded
// points, against arrays worked out by hand; and a model built by hand,
// written, read back and fitted again.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "glm_test_files.h"
#include "zor_atomic_file.h"
#include "zor_glm.h"

namespace {

// An empty model of runs of the given lengths, TR 2 s, no baseline terms
// unless asked.
void empty_model(const std::vector<int> &lengths, int nbaseline = 0, float tr = 2.0f) {
  GLM_engine_reset();
  GLM_input.nbaseline_terms = nbaseline;
  int ntime = 0;
  for (int n : lengths) ntime += n;
  ASSERT_EQ(GLM_initialize(ntime, (int)lengths.size()), 0);
  int start = 0;
  for (size_t r = 0; r < lengths.size(); r++) {
    GLM_initialize_run((int)r, (float)start, (float)(start + lengths[r] - 1), tr);
    start += lengths[r];
  }
}

std::string read_file(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

int quiet_define(int event, int shape, float on, float off, float tau, float alpha, std::string *out = nullptr) {
  int result = -99;
  Captured c = capture_output([&] { result = GLM_define_1_stimulus(event, shape, on, off, tau, alpha); });
  if (out) *out = c.out;
  return result;
}

int quiet_delete(int event, float where, int verbose, std::string *out = nullptr) {
  int result = -99;
  Captured c = capture_output([&] { result = GLM_delete_1_stimulus(event, where, verbose); });
  if (out) *out = c.out;
  return result;
}

TEST(GlmEditing, EditsBeforeInitializingAreRefused) {
  GLM_engine_reset();
  std::string out;
  EXPECT_EQ(quiet_define(1, SHAPE_SQUARE, 1, 3, 0, 1, &out), 1);
  EXPECT_EQ(out, "Error in GLM_define_1_stimulus: first initialize the GLM\n");
  EXPECT_EQ(quiet_delete(1, 2, 1, &out), 1);
  EXPECT_EQ(out, "Error in GLM_define_1_stimulus: first initialize the GLM\n");
  float data[4] = {0, 0, 0, 0};
  int result = -99;
  Captured c = capture_output([&] { result = GLM_define_table_event_interactive(1, 0, 2, 4, data); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error in GLM_define_table_event_interactive: first initialize the GLM\n");
}

TEST(GlmEditing, AnEventListedTwiceIsAProgrammingError) {
  empty_model({10});
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 1, 2, 0, 1), 0);
  ASSERT_EQ(quiet_define(2, SHAPE_SQUARE, 4, 5, 0, 1), 0);
  GLM.event_number[1] = 1;
  Captured c = capture_output([] { GLM_define_1_stimulus(1, SHAPE_SQUARE, 7, 8, 0, 1); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error in GLM_define_1_stimulus\n");
  float data[10] = {};
  c = capture_output([&] { GLM_define_table_event_interactive(1, 0, 3, 10, data); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error in GLM_define_table_event_interactive\n");
}

TEST(GlmEditing, SquareStimulusStoresSecondsAndHalfTheSpan) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 3, 6, 0, 1), 0);
  ASSERT_EQ(GLM.nevents, 1);
  EXPECT_EQ(GLM.event_number[0], 1);
  EXPECT_EQ(GLM.event_shape[0], SHAPE_SQUARE);
  EXPECT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_on[0][0], 6.0f);
  EXPECT_EQ(GLM.stim_off[0][0], 12.0f);
  EXPECT_EQ(GLM.stim_mag[0][0], 1.0f);
  EXPECT_EQ(GLM.event_tau1[0], 3.0f);  // half the span, in seconds
  EXPECT_EQ(GLM.event_tau2[0], 0.0f);
  EXPECT_EQ(GLM.event_alpha[0], 1.0f);
  EXPECT_EQ(GLM.event_scale[1], 1.0f);
  // A second stimulus that touches nothing is added after it, across the run boundary.
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 8, 12, 0, 1), 0);
  ASSERT_EQ(GLM.nstims[0], 2);
  EXPECT_EQ(GLM.stim_on[0][1], 16.0f);
  EXPECT_EQ(GLM.stim_off[0][1], 24.0f);
  // The whole model rebuilt: the column is 1 from point 3 to 6 and from 8 to 12.
  Captured c = capture_output([] { EXPECT_EQ(GLM_define_basis_functions(), 0); });
  std::vector<float> column, expected;
  for (int t = 0; t < 20; t++) {
    column.push_back(GLM.X_tc[t][0]);
    expected.push_back((t >= 3 && t <= 6) || (t >= 8 && t <= 12) ? 1.0f : 0.0f);
  }
  EXPECT_EQ(column, expected);
}

TEST(GlmEditing, AbuttingStimulusOfTheSameEventMovesIt) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 3, 6, 0, 1), 0);
  // Starting where the other ends: the old stimulus is replaced, not joined.
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 6, 9, 0, 1), 0);
  ASSERT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_on[0][0], 12.0f);
  EXPECT_EQ(GLM.stim_off[0][0], 18.0f);
  // One point later it is a second stimulus.
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 10, 12, 0, 1), 0);
  EXPECT_EQ(GLM.nstims[0], 2);
}

TEST(GlmEditing, AbuttingStimuliOfTwoEventsShareTheirPoint) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 3, 6, 0, 1), 0);
  ASSERT_EQ(quiet_define(2, SHAPE_SQUARE, 6, 9, 0, 1), 0);
  ASSERT_EQ(GLM.nevents, 2);
  Captured c = capture_output([] { EXPECT_EQ(GLM_define_basis_functions(), 0); });
  EXPECT_EQ(GLM.X_tc[6][0], 1.0f);
  EXPECT_EQ(GLM.X_tc[6][1], 1.0f);
  EXPECT_EQ(GLM.X_tc[2][0], 0.0f);
  EXPECT_EQ(GLM.X_tc[10][1], 0.0f);
}

TEST(GlmEditing, SquareSpanningTwoStimuliIsRefused) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 3, 6, 0, 1), 0);
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 10, 12, 0, 1), 0);
  std::string out;
  EXPECT_EQ(quiet_define(1, SHAPE_SQUARE, 2, 15, 0, 1, &out), 1);
  EXPECT_EQ(out, "Error: stimuli of the same event (1) cannot overlap.\n");
  EXPECT_EQ(GLM.nevents, 1);
  ASSERT_EQ(GLM.nstims[0], 2);
  EXPECT_EQ(GLM.stim_on[0][0], 6.0f);
  EXPECT_EQ(GLM.stim_on[0][1], 20.0f);
  // The shape and time constant were already taken from the refused stimulus.
  EXPECT_EQ(GLM.event_tau1[0], 13.0f);
}

TEST(GlmEditing, GammaStaysToTheEndOfTheRunOfItsOnset) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(2, SHAPE_GAMMA, 12, 12, 3, 2), 0);
  EXPECT_EQ(GLM.stim_on[0][0], 24.0f);
  EXPECT_EQ(GLM.stim_off[0][0], 38.0f);  // run 2 ends at point 19
  EXPECT_EQ(GLM.event_tau1[0], 6.0f);
  EXPECT_EQ(GLM.event_alpha[0], 2.0f);
  // On the last point of run 1 it stays in run 1.
  ASSERT_EQ(quiet_define(3, SHAPE_SIGMOID, 9, 9, 2, 1), 0);
  EXPECT_EQ(GLM.stim_off[1][0], 18.0f);
  // Between the runs' points (9.5): no run holds it, run 1's end is taken.
  ASSERT_EQ(quiet_define(4, SHAPE_GAMMA, 9.5f, 9.5f, 2, 1), 0);
  EXPECT_EQ(GLM.stim_off[2][0], 18.0f);
}

TEST(GlmEditing, GammaRedrawnOverItselfMovesAndTakesTheRunOfItsRangeEnd) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(2, SHAPE_GAMMA, 2, 2, 3, 1), 0);  // 4 s to 10 s drawn
  // Starting inside the old one (at 6 s, with tau 4 s): it is replaced.
  ASSERT_EQ(quiet_define(2, SHAPE_GAMMA, 3, 3, 2, 1), 0);
  ASSERT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_on[0][0], 6.0f);
  EXPECT_EQ(GLM.stim_off[0][0], 18.0f);  // first run whose last point exceeds 3
  // A range ending past the last run keeps its own end.
  ASSERT_EQ(quiet_define(2, SHAPE_GAMMA, 3, 25, 1, 1), 0);
  ASSERT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_off[0][0], 50.0f);
}

TEST(GlmEditing, EventZeroIsAcceptedAndHasNoCharacter) {
  empty_model({10});
  ASSERT_EQ(quiet_define(0, SHAPE_SQUARE, 1, 2, 0, 1), 0);
  EXPECT_EQ(GLM.nevents, 1);
  EXPECT_EQ(GLM.event_number[0], 0);
  char id = 'x';
  EXPECT_EQ(GLM_EventCharIDFromInteger(0, &id), 1);
}

TEST(GlmEditing, EventNumbersOutsideTheSlotsAreRefused) {
  empty_model({10});
  std::string out;
  EXPECT_EQ(quiet_define(62, SHAPE_SQUARE, 1, 2, 0, 1, &out), 1);
  EXPECT_EQ(out, "Error: the event number (62) is out of range (0 to 61).\n");
  EXPECT_EQ(quiet_define(-3, SHAPE_SQUARE, 1, 2, 0, 1, &out), 1);
  EXPECT_EQ(GLM.nevents, 0);
  // All 62 numbers fill the 62 slots.
  for (int e = 0; e < GLM_MAX_EVENTS; e++) ASSERT_EQ(quiet_define(e, SHAPE_SQUARE, 1, 2, 0, 1), 0);
  EXPECT_EQ(GLM.nevents, GLM_MAX_EVENTS);
}

TEST(GlmEditing, StimuliBeyondTheLimitAreRefused) {
  GLM_engine_reset();
  GLM_input.nbaseline_terms = 0;
  ASSERT_EQ(GLM_initialize(2 * GLM_MAX_STIMS + 4, 1), 0);
  GLM_initialize_run(0, 0, 2 * GLM_MAX_STIMS + 3, 1.0f);
  for (int s = 0; s < GLM_MAX_STIMS; s++) GLM_define_1_stimulus(1, SHAPE_SQUARE, 2 * s, 2 * s, 0, 1);
  ASSERT_EQ(GLM.nstims[0], GLM_MAX_STIMS);
  std::string out;
  EXPECT_EQ(quiet_define(1, SHAPE_SQUARE, 2 * GLM_MAX_STIMS + 2, 2 * GLM_MAX_STIMS + 2, 0, 1, &out), 1);
  EXPECT_EQ(out, "Error: the number of stimuli (10001) for event 1 > max dimension in program (10000).\n");
  EXPECT_EQ(GLM.nstims[0], GLM_MAX_STIMS);
}

TEST(GlmEditing, DeletingWhereNothingLiesChangesNothing) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 3, 6, 0, 1), 0);
  std::string out;
  EXPECT_EQ(quiet_delete(1, 8, 1, &out), 0);
  EXPECT_EQ(out, "");
  EXPECT_EQ(quiet_delete(2, 4, 1, &out), 0);  // no such event
  EXPECT_EQ(out, "");
  EXPECT_EQ(GLM.nevents, 1);
  EXPECT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_on[0][0], 6.0f);
}

TEST(GlmEditing, DeletingAtTheRunBoundaryTakesTheStimulusThere) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 7, 9, 0, 1), 0);    // end of run 1
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 10, 13, 0, 1), 0);  // start of run 2
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 16, 18, 0, 1), 0);
  std::string out;
  EXPECT_EQ(quiet_delete(1, 10, 1, &out), 0);
  EXPECT_EQ(out, "delete stimulus of event 1 at location 20.000000\n");
  ASSERT_EQ(GLM.nstims[0], 2);
  EXPECT_EQ(GLM.stim_on[0][0], 14.0f);
  EXPECT_EQ(GLM.stim_off[0][0], 18.0f);
  EXPECT_EQ(GLM.stim_on[0][1], 32.0f);  // the later one moved down
  EXPECT_EQ(GLM.stim_off[0][1], 36.0f);
  EXPECT_EQ(quiet_delete(1, 9, 0, &out), 0);
  EXPECT_EQ(out, "");
  ASSERT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_on[0][0], 32.0f);
}

TEST(GlmEditing, GammaIsDeletedWithinItsTimeConstant) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(2, SHAPE_GAMMA, 4, 4, 2, 1), 0);  // 8 s, lasting 4 s when drawn
  EXPECT_EQ(quiet_delete(2, 7, 0), 0);                       // 14 s: past it
  EXPECT_EQ(GLM.nevents, 1);
  EXPECT_EQ(quiet_delete(2, 6, 0), 0);  // 12 s: its last drawn point
  EXPECT_EQ(GLM.nevents, 0);
}

TEST(GlmEditing, TwoStimuliAtTheLocationWarnAndTheLastGoes) {
  empty_model({20});
  // Two events with the same number cannot be drawn, but two overlapping
  // stimuli of one event can come from a file.
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 2, 6, 0, 1), 0);
  GLM.stim_on[0][1] = 8.0f;
  GLM.stim_off[0][1] = 16.0f;
  GLM.stim_mag[0][1] = 2.0f;
  GLM.nstims[0] = 2;
  std::string out;
  EXPECT_EQ(quiet_delete(1, 5, 1, &out), 0);
  EXPECT_EQ(out,
            "Warning: There is more than one event (2) found at this location\n"
            "delete stimulus of event 1 at location 10.000000\n");
  ASSERT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_on[0][0], 4.0f);
}

TEST(GlmEditing, LastStimulusRemovesTheEventAndLaterEventsShift) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 1, 2, 0, 1), 0);
  ASSERT_EQ(quiet_define(2, SHAPE_GAMMA, 5, 5, 2, 3), 0);
  ASSERT_EQ(quiet_define(3, SHAPE_SQUARE, 11, 12, 0, 1), 0);
  ASSERT_EQ(quiet_define(3, SHAPE_SQUARE, 15, 17, 0, 1), 0);
  ASSERT_EQ(quiet_delete(1, 1, 0), 0);
  ASSERT_EQ(GLM.nevents, 2);
  EXPECT_EQ(GLM.event_number[0], 2);
  EXPECT_EQ(GLM.event_shape[0], SHAPE_GAMMA);
  EXPECT_EQ(GLM.event_tau1[0], 4.0f);
  EXPECT_EQ(GLM.event_alpha[0], 3.0f);
  EXPECT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_on[0][0], 10.0f);
  EXPECT_EQ(GLM.event_number[1], 3);
  ASSERT_EQ(GLM.nstims[1], 2);
  EXPECT_EQ(GLM.stim_on[1][0], 22.0f);
  EXPECT_EQ(GLM.stim_off[1][1], 34.0f);
  EXPECT_FALSE(GLM_event_is_defined(1));
  // The design follows: event 2 is column 0 now.
  Captured c = capture_output([] { EXPECT_EQ(GLM_define_basis_functions(), 0); });
  EXPECT_EQ(GLM.ncoeff, 2);
  EXPECT_EQ(GLM.X_tc[5][0], 0.0f);  // the gamma is 0 at its onset and 1 one time constant later
  EXPECT_EQ(GLM.X_tc[7][0], 1.0f);
  EXPECT_EQ(GLM.X_tc[11][1], 1.0f);
}

TEST(GlmEditing, TableOverThreeRunsEntersOnlyTheRunsOfItsEnds) {
  empty_model({6, 5, 4});
  std::vector<float> curve(15);
  for (int t = 0; t < 15; t++) curve[t] = (float)(t * t) + 1.0f;
  int result = -99;
  Captured c = capture_output([&] { result = GLM_define_table_event_interactive(5, 2, 13, 15, curve.data()); });
  ASSERT_EQ(result, 0);
  EXPECT_EQ(c.out, "");
  ASSERT_EQ(GLM.nevents, 1);
  EXPECT_EQ(GLM.event_number[0], 5);
  EXPECT_EQ(GLM.event_shape[0], SHAPE_TABLE);
  ASSERT_EQ(GLM.nstims[0], 2);
  EXPECT_EQ(GLM.stim_on[0][0], 0.0f);
  EXPECT_EQ(GLM.stim_off[0][0], 10.0f);
  EXPECT_EQ(GLM.stim_on[0][1], 22.0f);  // run 3: points 11 to 14
  EXPECT_EQ(GLM.stim_off[0][1], 28.0f);
  EXPECT_EQ(GLM.table_icolumn[0][0], 0);
  EXPECT_EQ(GLM.table_icolumn[0][1], 0);
  EXPECT_EQ(GLM.table_ncolumns[0], 1);
  EXPECT_EQ(GLM.table_ncolumns[1], 0);
  EXPECT_EQ(GLM.table_ncolumns[2], 1);
  EXPECT_STREQ(GLM.table_column_name[0], "event5");
  EXPECT_EQ(GLM.convolve_table[5], 0);
  EXPECT_EQ(GLM.drift_correct_table[5], 0);
  for (int t = 0; t < 6; t++) EXPECT_EQ(GLM.table_value[0][0][t], curve[t]);
  for (int t = 0; t < 4; t++) EXPECT_EQ(GLM.table_value[2][0][t], curve[11 + t]);
  ASSERT_NE(GLM.table_value[1], nullptr);  // every run has its table
  EXPECT_EQ(GLM.table_ntime[1], 5);
  // The regressor of the design is the curve in runs 1 and 3, zero in run 2.
  c = capture_output([] { EXPECT_EQ(GLM_define_basis_functions(), 0); });
  float peak = 0.0f;
  for (int t = 0; t < 15; t++) peak = fmaxf(peak, (t < 6 || t > 10) ? curve[t] : 0.0f);
  for (int t = 0; t < 15; t++) {
    const float expected = (t < 6 || t > 10) ? curve[t] * (1.0f / peak) : 0.0f;
    EXPECT_FLOAT_EQ(GLM.X_tc[t][0], expected) << t;
  }
  // A second table event takes the next free column of the run it touches.
  c = capture_output([&] { result = GLM_define_table_event_interactive(6, 7, 8, 15, curve.data()); });
  ASSERT_EQ(result, 0);
  EXPECT_EQ(GLM.table_icolumn[1][0], 0);
  EXPECT_EQ(GLM.table_ncolumns[1], 1);
  c = capture_output([&] { result = GLM_define_table_event_interactive(7, 0, 0, 15, curve.data()); });
  EXPECT_EQ(GLM.table_icolumn[2][0], 1);
  EXPECT_STREQ(GLM.table_column_name[1], "event7");
}

TEST(GlmEditing, DrawnTableLosesItsTrendWithTheBaselineTerms) {
  empty_model({6}, 1);
  std::vector<float> curve = {2, 4, 6, 8, 10, 12};
  int result = -99;
  Captured c = capture_output([&] { result = GLM_define_table_event_interactive(1, 0, 5, 6, curve.data()); });
  ASSERT_EQ(result, 0);
  EXPECT_EQ(GLM.drift_correct_table[1], 1);
  // One term: the mean (7) is taken out.
  std::vector<float> expected = {-5, -3, -1, 1, 3, 5};
  for (int t = 0; t < 6; t++) EXPECT_NEAR(GLM.table_value[0][0][t], expected[t], 1e-5) << t;
}

TEST(GlmEditing, TableOfAnotherLengthIsRefused) {
  empty_model({6, 5});
  std::vector<float> curve(10, 1.0f);
  int result = -99;
  Captured c = capture_output([&] { result = GLM_define_table_event_interactive(1, 0, 3, 10, curve.data()); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: # time points (10) not equal to # in GLM.\n");
  EXPECT_EQ(GLM.nevents, 0);
}

TEST(GlmEditing, TableColumnsBeyondTheLimitAreRefused) {
  empty_model({6});
  std::vector<float> curve(6, 1.0f);
  for (int e = 1; e <= GLM_MAX_TABLE_COLUMNS; e++) {
    Captured c = capture_output([&] { ASSERT_EQ(GLM_define_table_event_interactive(e, 0, 5, 6, curve.data()), 0); });
  }
  int result = -99;
  Captured c = capture_output([&] { result = GLM_define_table_event_interactive(60, 0, 5, 6, curve.data()); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: the table of run 1 has no free column (at most 50).\n");
  EXPECT_EQ(GLM.nevents, GLM_MAX_TABLE_COLUMNS);
}

std::vector<int> included(void) { return std::vector<int>(GLM.include_time, GLM.include_time + GLM.ntime); }

std::vector<std::pair<int, int>> segments(void) {
  std::vector<std::pair<int, int>> s;
  for (int k = 0; k < GLM.nexclude; k++) s.push_back({GLM.exclude_start[k], GLM.exclude_end[k]});
  return s;
}

TEST(GlmEditing, ExcludingAndFlippingAcrossRuns) {
  empty_model({10, 10});
  GLM_modify_excluded_region(1, 8, 12);  // over the boundary of the runs
  std::vector<std::pair<int, int>> expected = {{8, 12}};
  EXPECT_EQ(segments(), expected);
  GLM_modify_excluded_region(0, 10, 15);  // flips 10..12 back, 13..15 out
  expected = {{8, 9}, {13, 15}};
  EXPECT_EQ(segments(), expected);
  std::vector<int> points(20, 1);
  for (int t : {8, 9, 13, 14, 15}) points[t] = 0;
  EXPECT_EQ(included(), points);
  // Mode 1 only excludes: points already out stay out.
  GLM_modify_excluded_region(1, 14, 16);
  expected = {{8, 9}, {13, 16}};
  EXPECT_EQ(segments(), expected);
  // The ends are held to the model; an excluded last point closes its segment.
  GLM_modify_excluded_region(1, -4, 0);
  GLM_modify_excluded_region(1, 19, 40);
  expected = {{0, 0}, {8, 9}, {13, 16}, {19, 19}};
  EXPECT_EQ(segments(), expected);
  // The design rebuilds the points from the segments: the same points.
  std::vector<int> before = included();
  Captured c = capture_output([] { EXPECT_EQ(GLM_define_basis_functions(), 0); });
  EXPECT_EQ(included(), before);
  EXPECT_EQ(GLM.ntime_included, 12);
}

TEST(GlmEditing, FlippingARangeTwiceRestoresIt) {
  empty_model({10, 10});
  GLM_modify_excluded_region(1, 2, 4);
  const std::vector<int> first = included();
  const auto first_segments = segments();
  GLM_modify_excluded_region(0, 3, 11);
  EXPECT_NE(included(), first);
  GLM_modify_excluded_region(0, 3, 11);
  EXPECT_EQ(included(), first);
  EXPECT_EQ(segments(), first_segments);
}

TEST(GlmEditing, IdentifiesTheDrawnStimuliAndIgnoredPoints) {
  empty_model({10, 10});
  ASSERT_EQ(quiet_define(1, SHAPE_SQUARE, 3, 6, 0, 1), 0);
  ASSERT_EQ(quiet_define(2, SHAPE_GAMMA, 5, 5, 2, 1), 0);
  GLM_modify_excluded_region(1, 12, 12);
  char residue[] = "", text[ZOR_LINE];
  ASSERT_EQ(GLM_identify_time_point(3, residue, text), 0);
  EXPECT_STREQ(text, "1");
  ASSERT_EQ(GLM_identify_time_point(5, residue, text), 0);
  EXPECT_STREQ(text, "2 stimuli");
  ASSERT_EQ(GLM_identify_time_point(8, residue, text), 0);  // a gamma counts to its run's end
  EXPECT_STREQ(text, "2");
  ASSERT_EQ(GLM_identify_time_point(11, residue, text), 0);
  EXPECT_STREQ(text, " ");
  ASSERT_EQ(GLM_identify_time_point(12, residue, text), 0);
  EXPECT_STREQ(text, "ignored");
}

// A synthetic series: two responses, drifts and a fixed pseudo-noise.
std::vector<float> series_of(int ntime) {
  std::vector<float> y((size_t)ntime);
  for (int t = 0; t < ntime; t++)
    y[t] = 100.0f + 0.05f * t + 3.0f * (float)std::sin(0.7 * t) + ((t * 7919) % 13) * 0.25f;
  return y;
}

struct Fit {
  std::vector<float> beta, fit;
  float sigma2 = 0.0f;
  int ncoeff = 0;
  float dof = 0.0f;
};

Fit fit_model(std::vector<float> y) {
  Fit f;
  f.fit.resize(y.size());
  EXPECT_EQ(GLM_PreFilter(0, (int)y.size(), y.data()), 0);
  GLM_fit_data((int)y.size(), y.data(), f.fit.data(), &f.sigma2);
  f.beta.assign(GLM.Beta_c, GLM.Beta_c + GLM.ncoeff);
  f.ncoeff = GLM.ncoeff;
  f.dof = GLM.dof;
  return f;
}

TEST(GlmEditing, ModelBuiltByHandReadsBackToTheSameFit) {
  GlmStudy s;
  const std::vector<int> lengths = {30, 24};
  empty_model(lengths, 3);
  std::vector<std::string> names;
  for (size_t r = 0; r < lengths.size(); r++) names.push_back(s.run("run" + std::to_string(r + 1), lengths[r]));
  Captured c = capture_output([&] {
    ASSERT_EQ(GLM_define_1_stimulus(1, SHAPE_SQUARE, 4, 8, 0, 1), 0);
    ASSERT_EQ(GLM_define_1_stimulus(1, SHAPE_SQUARE, 33, 38, 0, 1), 0);
    ASSERT_EQ(GLM_define_1_stimulus(2, SHAPE_GAMMA, 12, 12, 3, 2), 0);
    ASSERT_EQ(GLM_define_1_stimulus(2, SHAPE_GAMMA, 42, 42, 3, 2), 0);
    ASSERT_EQ(GLM_define_1_stimulus(3, SHAPE_SIGMOID, 18, 18, 2, 1), 0);
    GLM_modify_excluded_region(1, 28, 31);  // across the runs
    GLM_modify_excluded_region(1, 50, 50);
    ASSERT_EQ(GLM_define_basis_functions(), 0);
    char conditions[ZOR_LINE];
    ASSERT_EQ(GLM_create_all_single_conditions(conditions), 0);
    int n;
    ASSERT_EQ(GLM_define_conditions(1, conditions, &n), 0);
  });
  ASSERT_EQ(c.exit_status, -1) << c.out;
  const std::vector<float> y = series_of(54);
  const Fit drawn = fit_model(y);

  GLM_input.nruns = 2;
  for (int r = 0; r < 2; r++) snprintf(GLM_input.run_name[r], ZOR_LINE, "%s", names[r].c_str());
  std::string control = s.path("glm.dat"), root = s.path("run");
  int result = -99;
  c = capture_output([&] { result = GLM_write_glm_files(control.data(), root.data()); });
  ASSERT_EQ(result, 0) << c.out;
  EXPECT_EQ(read_file(s.path("run1.glm")),
            "2 60\n\n1 square\n8 16\n\n2 gamma 6.000000 2.000000\n24 1\n\n3 sigmoid 4.000000\n36 1\n"
            "\n-1\n28 29\n");
  EXPECT_EQ(read_file(s.path("run2.glm")),
            "2 48\n\n1 square\n6 16\n\n2 gamma 6.000000 2.000000\n24 1\n\n-1\n0 1\n20 20\n");

  ControlRead back = read_control(control);
  ASSERT_EQ(back.result, 0) << back.printed.out;
  c = capture_output([&] { ASSERT_EQ(GLM_define_basis_functions(), 0); });
  int n;
  c = capture_output([&] { ASSERT_EQ(GLM_define_conditions(1, GLM_input.condition_string, &n), 0); });
  EXPECT_EQ(n, 3);
  const Fit read = fit_model(y);
  ASSERT_EQ(read.ncoeff, drawn.ncoeff);
  EXPECT_EQ(read.dof, drawn.dof);
  EXPECT_EQ(memcmp(read.beta.data(), drawn.beta.data(), sizeof(float) * drawn.beta.size()), 0);
  EXPECT_EQ(memcmp(read.fit.data(), drawn.fit.data(), sizeof(float) * drawn.fit.size()), 0);
  EXPECT_EQ(memcmp(&read.sigma2, &drawn.sigma2, sizeof(float)), 0);
}

TEST(GlmEditing, FailedWritesLeaveTheOldFilesWhole) {
  GlmStudy s;
  empty_model({10}, 1);
  Captured c = capture_output([&] {
    ASSERT_EQ(GLM_define_1_stimulus(1, SHAPE_SQUARE, 2, 4, 0, 1), 0);
    ASSERT_EQ(GLM_define_basis_functions(), 0);
  });
  GLM_input.nruns = 1;
  snprintf(GLM_input.run_name[0], ZOR_LINE, "%s", s.run("run1", 10).c_str());
  const std::string old_control = "old control\n", old_events = "old events\n";
  std::string control = s.text("glm.dat", old_control), root = s.path("run");
  s.text("run.glm", old_events);
  int result = -99;
  atomic_file_simulate_full_disk(1);
  c = capture_output([&] { result = GLM_write_glm_files(control.data(), root.data()); });
  atomic_file_simulate_full_disk(0);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error writing the event file " + root + ".glm.\n");
  EXPECT_EQ(read_file(control), old_control);
  EXPECT_EQ(read_file(s.path("run.glm")), old_events);

  std::string nowhere = s.path("missing/glm.dat");
  c = capture_output([&] { result = GLM_write_glm_files(nowhere.data(), root.data()); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error attempting to open the data file " + nowhere + ".\n");
  // An event file that cannot be made: the control file stays as it was too.
  std::string bad_root = s.path("missing/run");
  c = capture_output([&] { result = GLM_write_glm_files(control.data(), bad_root.data()); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error attempting to open the data file " + control + ".\n");
  EXPECT_EQ(read_file(control), old_control);
  // Nothing is left beside the targets.
  c = capture_output([&] { result = system(("ls " + s.dir + " | grep -c tmp > /dev/null").c_str()); });
  EXPECT_NE(result, 0);
}

}  // namespace
