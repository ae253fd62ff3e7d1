#include <gtest/gtest.h>

#include <string>

#include "glm_test_files.h"
#include "zor_alloc.h"

namespace {

GlmModel two_runs() {
  return GlmModel("baseline-terms 2\n",
                  {{20, "2\n\n1\n4 10\n20 26\n\n2 gamma 4\n12\n\n-1\n17 18\n"},
                   {16, "2\n\na ramp-up\n4 8\n\nb sine 8\n10 20\n"}});
}

std::string identify(int t, const char *residue) {
  char out[1024] = "unchanged";
  std::string r = residue;
  int status = GLM_identify_time_point(t, r.data(), out);
  EXPECT_EQ(status, 0) << t;
  return out;
}

TEST(EmptyModel, ZeroSizesAreRefused) {
  GLM_engine_reset();
  int result = -1;
  Captured c = capture_output([&] { result = GLM_initialize(0, 2); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: zero value passed to GLM_initialized\n");
  c = capture_output([&] { result = GLM_initialize(10, 0); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(GLM_is_initialized(), 0);
}

TEST(EmptyModel, TooManyRunsAreRefusedBeforeAnythingIsStored) {
  GLM_engine_reset();
  int result = -1;
  Captured c = capture_output([&] { result = GLM_initialize(100, GLM_MAX_RUNS + 1); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(GLM.nruns, 0);
  EXPECT_EQ(GLM_is_initialized(), 0);
}

TEST(EmptyModel, RunsTimingAndTheBaselineModel) {
  GLM_engine_reset();
  ASSERT_EQ(GLM_initialize(30, 2), 0);
  EXPECT_EQ(GLM_is_initialized(), 1);
  for (int t = 0; t < 30; t++) EXPECT_EQ(GLM.include_time[t], 1);
  GLM_initialize_run(0, 0.0f, 14.0f, 2.5f);
  GLM_initialize_run(1, 15.0f, 29.9f, 0.0f);
  EXPECT_EQ(GLM.run_stop[1], 29);  // truncated
  float tr = 0;
  EXPECT_EQ(GLM_get_tr(0, &tr), 0);
  EXPECT_EQ(tr, 2.5f);
  EXPECT_EQ(GLM_get_tr(1, &tr), 0);
  EXPECT_EQ(tr, 1.0f);  // a zero step stands for 1
  EXPECT_EQ(GLM_get_tr(2, &tr), 1);
  EXPECT_EQ(GLM_get_tr(-1, &tr), 1);
  EXPECT_EQ(GLM_get_run_start_time(1), 15.0f);
  Captured c = capture_output([&] { GLM_get_run_start_time(2); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: run 2 does not exist\n");

  // The empty model fits a baseline per run.
  Captured built = capture_output([&] { EXPECT_EQ(GLM_define_basis_functions(), 0); });
  EXPECT_EQ(GLM.ncoeff, 2 * GLM_get_nbaseline_terms());
  EXPECT_EQ(GLM_get_number_events(), 0);
  EXPECT_EQ(GLM_is_initialized(), 2);
}

TEST(EmptyModel, BaselineTermsBetweenZeroAndFour) {
  GLM_engine_reset();
  for (int n = 0; n <= 4; n++) {
    EXPECT_EQ(GLM_set_nbaseline_terms(n), 0);
    EXPECT_EQ(GLM_get_nbaseline_terms(), n);
  }
  int result = 0;
  Captured c = capture_output([&] { result = GLM_set_nbaseline_terms(5); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: # of baseline terms (5) should be >=0 and <=4.\n");
  c = capture_output([&] { result = GLM_set_nbaseline_terms(-1); });
  EXPECT_EQ(c.out, "Error: # of baseline terms (-1) should be >=0 and <=4.\n");
  EXPECT_EQ(GLM_get_nbaseline_terms(), 4);
}

TEST(ModelQueries, EventsAndShapes) {
  GlmModel m = two_runs();
  ASSERT_EQ(m.result, 0) << m.read.printed.out << m.out;
  EXPECT_EQ(GLM_get_number_events(), 4);
  EXPECT_EQ(GLM_get_event_number(0), 1);
  EXPECT_EQ(GLM_get_event_number(3), GLM_EventNumberFromCharID('b'));
  EXPECT_EQ(GLM_get_event_number(4), 0);
  EXPECT_EQ(GLM_get_event_number(-1), 0);
  EXPECT_TRUE(GLM_event_is_defined(2));
  EXPECT_FALSE(GLM_event_is_defined(3));
  EXPECT_EQ(GLM_get_paradigm_shape(2), SHAPE_GAMMA);
  EXPECT_EQ(GLM_get_paradigm_shape(-1), SHAPE_SQUARE);  // the first event's
  EXPECT_EQ(GLM_get_paradigm_shape(3), 0);
  Captured c = capture_output([&] { GLM_get_paradigm_shape(63); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: the event number (63) is out of range in GLM_get_paradigm_shape().\n");
  EXPECT_EQ(GLM_get_run_start_time(1), 40.0f);
}

TEST(ModelQueries, StimuliOneAfterAnother) {
  GlmModel m = two_runs();
  ASSERT_EQ(m.result, 0);
  float on = -1, off = -1;
  EXPECT_EQ(GLM_get_stimulus(-1, &on, &off), 0);
  ASSERT_EQ(GLM_get_stimulus(0, &on, &off), 1);
  EXPECT_EQ(on, 4.0f);
  EXPECT_EQ(off, GLM.stim_off[0][0]);
  ASSERT_EQ(GLM_get_stimulus(0, &on, &off), 1);
  EXPECT_EQ(on, 20.0f);
  EXPECT_EQ(GLM_get_stimulus(0, &on, &off), 0);
  // After the end the iterator starts again; gamma and sine last a second.
  ASSERT_EQ(GLM_get_stimulus(0, &on, &off), 1);
  EXPECT_EQ(on, 4.0f);
  EXPECT_EQ(GLM_get_stimulus(-1, &on, &off), 0);
  ASSERT_EQ(GLM_get_stimulus(1, &on, &off), 1);
  EXPECT_EQ(on, 12.0f);
  EXPECT_EQ(off, 13.0f);
  EXPECT_EQ(GLM_get_stimulus(1, &on, &off), 0);
  ASSERT_EQ(GLM_get_stimulus(3, &on, &off), 1);
  EXPECT_EQ(on, 40.0f + 10.0f);
  EXPECT_EQ(off, on + 1.0f);
}

TEST(ModelQueries, WhatLiesAtATimePoint) {
  GlmModel m = two_runs();
  ASSERT_EQ(m.result, 0);
  EXPECT_EQ(identify(0, ""), " ");
  EXPECT_EQ(identify(3, ""), "1");     // 6 s, inside the square 4-10
  EXPECT_EQ(identify(6, ""), "2");     // the gamma stimulus lasts to the end of its run
  EXPECT_EQ(identify(10, ""), "2 stimuli");
  EXPECT_EQ(identify(10, "2"), "1");   // an event in the residue is not counted
  EXPECT_EQ(identify(17, ""), "ignored");
  EXPECT_EQ(identify(23, ""), "97");   // ramp-up: the code of its character 'a'
  // A sine event writes nothing.
  EXPECT_EQ(identify(25, "a"), "unchanged");
}

TEST(ModelQueries, TimePointOutsideTheModel) {
  GlmModel m = two_runs();
  ASSERT_EQ(m.result, 0);
  char out[1024];
  char residue[] = "";
  int status = 0;
  Captured c = capture_output([&] { status = GLM_identify_time_point(36, residue, out); });
  EXPECT_EQ(status, 1);
  EXPECT_EQ(c.out, "Error: time point (36) is outside the GLM (0 to 35)\n");
  c = capture_output([&] { status = GLM_identify_time_point(-1, residue, out); });
  EXPECT_EQ(status, 1);
  GLM_engine_reset();
  c = capture_output([&] { status = GLM_identify_time_point(0, residue, out); });
  EXPECT_EQ(status, 1);
  EXPECT_EQ(c.out, "Error in GLM_identify_stimulus: first initialize the GLM\n");
}

}  // namespace
