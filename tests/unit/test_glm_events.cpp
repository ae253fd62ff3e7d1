#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "glm_test_files.h"

namespace {

struct EventRead {
  int result = -99;
  std::string out;
  int exit_status = -1;
  std::string file;
};

class EventFiles : public ::testing::Test {
 protected:
  GlmStudy s;
  void SetUp() override { GLM_engine_reset(); }

  EventRead read(const std::string &content, int irun = 0, int ntime = 20, const std::string &name = "e.glm") {
    EventRead r;
    r.file = s.text(name, content);
    std::vector<char> buffer(r.file.begin(), r.file.end());
    buffer.push_back('\0');
    Captured c = capture_output([&] { r.result = GLM_read_event_file(buffer.data(), irun, ntime); });
    r.out = c.out;
    r.exit_status = c.exit_status;
    return r;
  }
};

std::string format_of(int shape) {
  return capture_output([&] { GLMInternal_describe_event_format(shape); }).out;
}

TEST(EventIds, CharactersAndNumbers) {
  EXPECT_EQ(GLM_EventNumberFromCharID('1'), 1);
  EXPECT_EQ(GLM_EventNumberFromCharID('9'), 9);
  EXPECT_EQ(GLM_EventNumberFromCharID('a'), 10);
  EXPECT_EQ(GLM_EventNumberFromCharID('z'), 35);
  EXPECT_EQ(GLM_EventNumberFromCharID('A'), 36);
  EXPECT_EQ(GLM_EventNumberFromCharID('Z'), 61);
  EXPECT_EQ(GLM_EventNumberFromCharID(','), -1);
  EXPECT_EQ(GLM_EventNumberFromCharID('0'), 0);
  EXPECT_EQ(GLM_EventNumberFromCharID('-'), 0);
  for (int n = 1; n <= 61; n++) {
    char c = 0;
    ASSERT_EQ(GLM_EventCharIDFromInteger(n, &c), 0);
    EXPECT_EQ(GLM_EventNumberFromCharID(c), n);
    EXPECT_EQ(GLM_EventCharID(n), c);
  }
  char c = 'q';
  EXPECT_EQ(GLM_EventCharIDFromInteger(0, &c), 1);
  EXPECT_EQ(GLM_EventCharIDFromInteger(62, &c), 1);
  EXPECT_EQ(c, 'q');
}

TEST(EventIds, CharOfAnUndefinedNumberEndsTheRun) {
  Captured c = capture_output([] { GLM_EventCharID(-1); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: event number -1 apparently is not defined!\n");
}

TEST(EventIds, StringOfANumber) {
  char text[8] = "xx";
  EXPECT_EQ(GLM_EventStringFromInteger(36, text), 0);
  EXPECT_STREQ(text, "A");
  Captured c = capture_output([&] { EXPECT_EQ(GLM_EventStringFromInteger(62, text), 1); });
  EXPECT_EQ(c.out, "Error: event 62 is not defined.\n");
}

TEST(EventFormats, EveryShapeHasItsExample) {
  const std::string tail =
      "30 60       # [ON time] [OFF time] [optional magnitude]\n"
      "90 120      # [ON time] [OFF time] [optional magnitude]\n"
      "...         # ... and so on\n";
  EXPECT_EQ(format_of(SHAPE_SQUARE), "\nExample of definition for square events:\n"
                                     "1 square    # [event identifier] [optional event shape]\n" + tail);
  EXPECT_EQ(format_of(SHAPE_RAMPUP), "\nExample of definition for ramp events:\n"
                                     "1 ramp-up   # [event identifier] [event shape]\n" + tail);
  EXPECT_EQ(format_of(SHAPE_RAMPDOWN), "\nExample of definition for ramp events:\n"
                                       "1 ramp-down # [event identifier] [event shape]\n" + tail);
  EXPECT_EQ(format_of(SHAPE_EXPDOWN),
            "\nExample of definition for exponential events:\n"
            "1 exponential-down 10. # [event identifier] [event shape] [time constant for exponential]\n" + tail);
  EXPECT_EQ(format_of(SHAPE_GAMMA),
            "\nExample of definition for gamma events:\n"
            "1 gamma 24. # [event identifier] [event shape] [time constant for gamma]\n"
            "30 1.       # [ON time] [optional magnitude]\n"
            "90 2.       # [ON time] [optional magnitude]\n"
            "...         # ... and so on\n");
  EXPECT_EQ(format_of(SHAPE_SIGMOID),
            "\nExample of definition for sigmoid events:\n"
            "1 sigmoid 24. # [event identifier] [event shape] [time constant for sigmoid]\n"
            "30 1.         # [ON time] [optional magnitude]\n"
            "90 2.         # [ON time] [optional magnitude]\n"
            "...           # ... and so on\n");
  EXPECT_EQ(format_of(SHAPE_DRUGIRF),
            "\nExample of definition for drug-IRF events:\n"
            "1 drug-IRF 24. # [event identifier] drug-IRF [tau1] [optional tau2]\n" + tail);
  EXPECT_EQ(format_of(SHAPE_TABLE), "\nExample of definition for table events:\n"
                                    "1 table 2  # [event identifier] table [column # in table]\n");
  for (int order = 0; order <= 3; order++) {
    std::string o = std::to_string(order);
    EXPECT_EQ(format_of(SHAPE_BASELINE0 + order),
              "\nExample of definition for baseline '" + o + "' events:\n"
              "1 baseline " + o + "  # [event identifier] baseline [polynomial order]\n");
  }
  EXPECT_EQ(format_of(SHAPE_BASELINE_ES),
            "\nExample of definition for baseline-exp-sat events:\n"
            "1 baseline-exp-sat 10  # [event identifier] baseline-exp-sat [tau for exponential]\n");
  EXPECT_EQ(format_of(SHAPE_SINE), "\nExample of definition for sinusoidal events:\n"
                                   "1 sine 30  # [event identifier] sine [period]\n"
                                   "This is usually used in conjunction with a cosine event.\n");
  EXPECT_EQ(format_of(SHAPE_COSINE), "\nExample of definition for sinusoidal events:\n"
                                     "1 cosine 30  # [event identifier] sine [period]\n"
                                     "This is usually used in conjunction with a sine event.\n");
  EXPECT_EQ(format_of(SHAPE_INTERACT),
            "\nExample of definition for interaction events (product of 2 events):\n"
            "I interaction 1 2  # [event identifier] interaction [event1] [event2]\n");
}

TEST_F(EventFiles, MissingEmptyAndBadTrLine) {
  EventRead r;
  std::string missing = s.path("none.glm");
  Captured c = capture_output([&] { r.result = GLM_read_event_file(missing.data(), 0, 10); });
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(c.out, "Error attempting to open the GLM file " + missing + ".\n");
  r = read("");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading the 1st line of GLM file " + r.file + "\n");
  r = read("TR 2\n\n1\n0 4\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading line 1 of the GLM file " + r.file + " (TR).\n");
}

TEST_F(EventFiles, RunsAreConcatenated) {
  EXPECT_EQ(read("2.5 seconds\n\n1\n0 5\n", 0, 12, "a.glm").result, 0);
  EXPECT_EQ(read("2.5\n\n1\n5 10 3\n", 1, 8, "b.glm").result, 0);
  EXPECT_EQ(GLM.ntime, 20);
  EXPECT_EQ(GLM.run_start[0], 0);
  EXPECT_EQ(GLM.run_stop[0], 11);
  EXPECT_EQ(GLM.run_start[1], 12);
  EXPECT_EQ(GLM.run_stop[1], 19);
  EXPECT_FLOAT_EQ(GLM.tr[1], 2.5f);
  ASSERT_EQ(GLM.nstims[0], 2);
  EXPECT_FLOAT_EQ(GLM.stim_on[0][1], 30.0f + 5.0f);
  EXPECT_FLOAT_EQ(GLM.stim_off[0][1], 30.0f + 10.0f);
  EXPECT_FLOAT_EQ(GLM.stim_mag[0][0], 1.0f);
  EXPECT_FLOAT_EQ(GLM.stim_mag[0][1], 3.0f);
}

TEST_F(EventFiles, DifferentTrInALaterRunEndsTheProcess) {
  read("2\n\n1\n0 5\n", 0, 12, "a.glm");
  EventRead r = read("3\n\n1\n0 5\n", 1, 12, "b.glm");
  EXPECT_EQ(r.exit_status, 1);
  EXPECT_EQ(r.out, "Error: TR (3.000000) is not the same as the first run (2.000000).\n");
}

TEST_F(EventFiles, OnlyTheFirstCharacterOfTheIdCounts) {
  EventRead r = read("2\n\n12 square\n0 4\n\nb\n4 6\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.nevents, 2);
  EXPECT_EQ(GLM.event_number[0], 1);
  EXPECT_EQ(GLM.event_number[1], 11);
  EXPECT_EQ(GLM.event_shape[0], SHAPE_SQUARE);
}

TEST_F(EventFiles, BlankLineBeforeAStimulusMakesItAHeader) {
  EventRead r = read("2\n\n1\n0 4\n\n10 14\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out,
            "Error: stimulus shapes are 'square' (default), 'gamma', 'sigmoid', 'drug-IRF'\n"
            "or `table' (error on line 6).\n");
}

TEST_F(EventFiles, TwoBlankLinesAreOne) {
  EventRead r = read("2\n\n\n1\n0 4\n\n  \n# note\n2\n6 8\n");
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_EQ(GLM.nevents, 2);
}

TEST_F(EventFiles, LineStraightAfterTheTrLineHasNoEvent) {
  EventRead r = read("2\n0 4\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading line 2 of the GLM file " + r.file +
                       ": a blank line and an event header must come first.\n");
}

TEST_F(EventFiles, EventZeroRefused) {
  EventRead r = read("2\n\n0\n0 4\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Event number (0) for event (0) is not allowed on line 3 in file " + r.file + "\n");
  r = read("2\n\n%\n0 4\n");
  EXPECT_EQ(r.out, "Event number (0) for event (%) is not allowed on line 3 in file " + r.file + "\n");
}

TEST_F(EventFiles, ExclusionSegmentsInTimePoints) {
  read("2\n\n1\n0 4\n", 0, 10, "a.glm");
  EventRead r = read("2\n\n1\n0 4\n\n-1\n3 3\n5 7.9\n", 1, 10, "b.glm");
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_EQ(GLM.nexclude, 2);
  EXPECT_EQ(GLM.exclude_start[0], 13);
  EXPECT_EQ(GLM.exclude_end[0], 13);
  EXPECT_EQ(GLM.exclude_start[1], 15);
  EXPECT_EQ(GLM.exclude_end[1], 17);
  EXPECT_EQ(GLM.nevents, 1);
}

TEST_F(EventFiles, ExclusionEndsMustBeTimePointsOfTheRun) {
  const char *bad[] = {"0 3e9", "0 1e9", "nan nan", "2 nan", "nan 4", "0 inf", "0 10", "9.5 10"};
  for (const char *segment : bad) {
    GLM_engine_reset();
    EventRead r = read(std::string("2\n\n1\n0 4\n\n-1\n") + segment + "\n", 0, 10);
    EXPECT_EQ(r.result, 1) << segment;
    EXPECT_EQ(r.out, "Error reading line 7 of the GLM file " + r.file + "\n" +
                         "Excluded segments are time points of the run, from 0 to 9.\n")
        << segment;
    EXPECT_EQ(GLM.nexclude, 0) << segment;
  }
  GLM_engine_reset();
  EventRead r = read("2\n\n1\n0 4\n\n-1\n0 9.9\n", 0, 10);
  EXPECT_EQ(r.result, 0) << r.out;
  ASSERT_EQ(GLM.nexclude, 1);
  EXPECT_EQ(GLM.exclude_end[0], 9);
}

TEST_F(EventFiles, ExclusionBackwardsEndsInTheCharacterError) {
  EventRead r = read("2\n\n-1\n5 3\n");
  EXPECT_EQ(r.exit_status, 1);
  EXPECT_EQ(r.out, "Programming error: event number -1 apparently is not defined!\n");
}

TEST_F(EventFiles, StimulusLineChecks) {
  EventRead r = read("2\n\n1\n5\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading line 4 of the GLM file " + r.file + "\n" +
                       "This should be on time & off time for event 1 and stim 1.\n" + format_of(SHAPE_SQUARE));
  GLM_engine_reset();
  r = read("2\n\n1\n-1 4\n");
  EXPECT_EQ(r.out, "Error: ON time must be > 0 for stim 1 of event 1.\n");
  GLM_engine_reset();
  r = read("2\n\n1 ramp-down\n0 4\n4 4\n");
  EXPECT_EQ(r.out, "Error: OFF time must be > ON time for stim 2 of event 1.\n");
  GLM_engine_reset();
  r = read("2\n\n1\n0 4\n6 5\n");
  EXPECT_EQ(r.out, "Error: OFF time must be > ON time for stim 2 of event 1.\n");
}

TEST_F(EventFiles, GammaAndSigmoid) {
  EventRead r = read("2\n\n1 gamma 4\n0\n10 2\n\n2 sigmoid 3 2\n4\n");
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_EQ(GLM.event_shape[0], SHAPE_GAMMA);
  EXPECT_FLOAT_EQ(GLM.event_tau1[0], 4.0f);
  EXPECT_FLOAT_EQ(GLM.event_alpha[0], 1.0f);
  EXPECT_FLOAT_EQ(GLM.stim_off[0][0], 38.0f);
  EXPECT_FLOAT_EQ(GLM.stim_mag[0][1], 2.0f);
  EXPECT_EQ(GLM.event_shape[1], SHAPE_SIGMOID);
  EXPECT_FLOAT_EQ(GLM.event_alpha[1], 2.0f);
}

TEST_F(EventFiles, GammaAtTheEndOfTheRunFailsTheOffTest) {
  EventRead r = read("2\n\n1 gamma 4\n38\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: OFF time must be > ON time for stim 1 of event 1.\n");
  r = read("2\n\n1 gamma 4\n\n");
  EXPECT_EQ(r.exit_status, 1);  // a header without stimuli
}

TEST_F(EventFiles, GammaHeaderErrors) {
  EventRead r = read("2\n\n3 gamma\n0\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error on line 3 for event type 3 in file " + r.file + "\n" +
                       "For gamma & sigmoid shapes, specify the time constant and optionally alpha.\n" +
                       format_of(SHAPE_GAMMA));
  r = read("2\n\n3 sigmoid -2\n0\n");
  EXPECT_EQ(r.out, "Error reading stim 0 of event 3:\nGamma & sigmoid time constants (-2.000000) must be > 0\n" +
                       format_of(SHAPE_SIGMOID));
  r = read("2\n\n3 exponential-down 0\n0 4\n");
  EXPECT_EQ(r.out, "Error reading stim 0 of event 3:\nGamma & sigmoid time constants (0.000000) must be > 0\n" +
                       format_of(SHAPE_EXPDOWN));
}

TEST_F(EventFiles, GammaStimulusNeedsAnOnTime) {
  EventRead r = read("2\n\n1 gamma 4\nx\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading line 4 of the GLM file " + r.file + "\n" +
                       "This line should at least give the ON time for event 1 and stim 1.\n" +
                       format_of(SHAPE_GAMMA));
}

TEST_F(EventFiles, SineAndCosine) {
  EventRead r = read("2\n\n1 sine 12\n0 30\n\n2 cosine 12\n0 30\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.event_shape[0], SHAPE_SINE);
  EXPECT_EQ(GLM.event_shape[1], SHAPE_COSINE);
  EXPECT_FLOAT_EQ(GLM.event_tau1[1], 12.0f);
  r = read("2\n\n1 sine 12 3\n0 30\n");
  EXPECT_EQ(r.out, "Error on line 3 for event type 1 in file " + r.file + ", # words read = 4\n" +
                       "For sine or cosine shapes, specify the period.\n" + format_of(SHAPE_SINE));
  r = read("2\n\n1 cosine -1\n0 30\n");
  EXPECT_EQ(r.out, "Error reading stim 0 of event 1:\nSine and cosine events must have a period (-1) must be > 0\n" +
                       format_of(SHAPE_COSINE));
}

TEST_F(EventFiles, DrugResponseKernels) {
  EventRead r = read("2\n\n1 drug-IRF 4 1\n0 10 2\n");
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_FLOAT_EQ(HRF.time_step, 2.0f);  // no response function: the TR
  EXPECT_EQ(GLM.length_drugIRF[0], 20);
  ASSERT_NE(GLM.drugIRF[0], nullptr);
  EXPECT_FLOAT_EQ(GLM.drugIRF[0][0], 0.0f);
  EXPECT_FLOAT_EQ(GLM.drugIRF[0][2], (float)((4.0f / 4.0f) * exp(-1.0)));
  EXPECT_FLOAT_EQ(GLM.plasmaIRF[0][3], (float)exp(-6.0));
  EXPECT_FLOAT_EQ(GLM.stim_mag[0][0], 2.0f);
  EXPECT_FLOAT_EQ(GLM.event_tau2[0], 1.0f);
}

TEST_F(EventFiles, DrugResponseShortKernelAndNoPlasmaTerm) {
  EventRead r = read("2\n\n1 drug-IRF 1\n0 10\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.length_drugIRF[0], 10);
  EXPECT_FLOAT_EQ(GLM.event_tau2[0], 0.0f);
  for (int j = 0; j < 10; j++) EXPECT_EQ(GLM.plasmaIRF[0][j], 0.0f);
}

TEST_F(EventFiles, DrugResponseErrors) {
  EventRead r = read("2\n\n1 drug-IRF\n0 10\n");
  EXPECT_EQ(r.out, "Error on line 3 for event type 1 in file " + r.file + "\n" +
                       "Error: for drug-IRF shape, specify the convolution time constant.\n" + format_of(SHAPE_DRUGIRF));
  r = read("2\n\n1 drug-IRF -3\n0 10\n");
  EXPECT_EQ(r.out, "Error reading stim 0 of event 1:\nTime constant for shape drug-IRF (-3.000000) must be >= 0.\n" +
                       format_of(SHAPE_DRUGIRF));
}

TEST_F(EventFiles, TableEventsCheckTheirColumn) {
  GLM.table_ncolumns[0] = 2;
  GLM.drift_correct_table[1] = 0;
  EventRead r = read("2\n\n1 table 1\n", 0, 20);
  EXPECT_EQ(r.result, 0) << r.out;
  ASSERT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.table_icolumn[0][0], 1);
  EXPECT_FLOAT_EQ(GLM.stim_on[0][0], 0.0f);
  EXPECT_FLOAT_EQ(GLM.stim_off[0][0], 38.0f);
  // The header check lets the count itself through; the entry check refuses it.
  GLM_engine_reset();
  GLM.table_ncolumns[0] = 2;
  r = read("2\n\n1 table 2\n", 0, 20);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: column number (2) for event 1\n       >= number of columns (2) for run 1\n");
  GLM_engine_reset();
  GLM.table_ncolumns[0] = 2;
  r = read("2\n\n1 table 3\n", 0, 20);
  EXPECT_EQ(r.out, "Error: The TABLE event 1 refers to column 3 for run 1,\n...but allowed values are 0 to 2.\n" +
                       format_of(SHAPE_TABLE));
  r = read("2\n\n1 table\n", 0, 20);
  EXPECT_EQ(r.out, "Error on line 3 for event type 1 in file " + r.file + ", # words read = 2\n" +
                       "For table events, give the column entry.\n" + format_of(SHAPE_TABLE));
}

TEST_F(EventFiles, TableWithoutTableFileIsRefused) {
  EventRead r = read("2\n\n1 table 0\n", 0, 20);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: column number (0) for event 1\n       >= number of columns (0) for run 1\n");
}

TEST_F(EventFiles, StimulusAfterARunSpanningEvent) {
  GLM.table_ncolumns[0] = 1;
  GLM.drift_correct_table[1] = 0;
  EventRead r = read("2\n\n1 table 0\n0 4\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error interpretting line 4 of the GLM file " + r.file + "\n" +
                       "Only a blank line should follow a table, baseline, or interaction event.\n" +
                       format_of(SHAPE_TABLE));
}

TEST_F(EventFiles, BaselineEvents) {
  GLM_input.nbaseline_terms = 0;
  EventRead r = read("2\n\n1 baseline 2\n\n2 baseline-exp-sat 5\n");
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_EQ(GLM.event_shape[0], SHAPE_BASELINE2);
  EXPECT_EQ(GLM.event_shape[1], SHAPE_BASELINE_ES);
  EXPECT_FLOAT_EQ(GLM.event_tau1[1], 5.0f);
  EXPECT_EQ(GLM.nstims[0], 1);
  EXPECT_FLOAT_EQ(GLM.stim_off[1][0], 38.0f);
}

TEST_F(EventFiles, BaselineErrors) {
  GLM_input.nbaseline_terms = 2;
  EventRead r = read("2\n\n1 baseline 1\n");
  EXPECT_EQ(r.out, "Error: redundant baseline terms: `baseline-terms 2'\n"
                   "is not compatible with an explicit baseline event of order 1.\n" + format_of(SHAPE_BASELINE1));
  r = read("2\n\n1 baseline 4\n");
  EXPECT_EQ(r.out, "Error: The BASELINE event 1 refers to order 4 for run 1,\n...but allowed values are 0 to 3.\n" +
                       format_of(SHAPE_BASELINE0));
  r = read("2\n\n1 baseline\n");
  EXPECT_EQ(r.out, "Error on line 3 for event type 1 in file " + r.file + ", # words read = 2\n" +
                       "For baseline events, give the polynomial order.\n" + format_of(SHAPE_BASELINE0));
  r = read("2\n\n1 baseline-exp-sat 0\n");
  EXPECT_EQ(r.out, "Error: The baseline-exp-sat event 1 uses a tau value (0) <= 1 for run 1,\n" +
                       format_of(SHAPE_BASELINE_ES));
  r = read("2\n\n1 baseline-exp-sat 1 2\n");
  EXPECT_EQ(r.out, "Error on line 3 for event type 1 in file " + r.file + ", # words read = 4\n" +
                       "For baseline-exp-sat events, give the exponential time constant.\n" +
                       format_of(SHAPE_BASELINE_ES));
}

TEST_F(EventFiles, BaselineEventMustBeUnique) {
  GLM_input.nbaseline_terms = 0;
  read("2\n\n1 baseline 0\n", 0, 10, "a.glm");
  EventRead r = read("2\n\n1 baseline 0\n", 1, 10, "b.glm");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: event 1 is a baseline regressor and must be unique.\nUse different regressors in different runs.\n");
}

TEST_F(EventFiles, InteractionsNamePartnersByNumber) {
  EventRead r = read("2\n\n1\n0 4\n\n2 gamma 3\n2\n\n3 interaction 1 2\n");
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_EQ(GLM.event_shape[2], SHAPE_INTERACT);
  EXPECT_FLOAT_EQ(GLM.event_tau1[2], 1.0f);
  EXPECT_FLOAT_EQ(GLM.event_tau2[2], 2.0f);
  EXPECT_EQ(GLM.nstims[2], 1);
}

TEST_F(EventFiles, InteractionWithLetterPartnersPassesThisReader) {
  EventRead r = read("2\n\na\n0 4\n\nb gamma 3\n2\n\nc interaction a b\n");
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_FLOAT_EQ(GLM.event_tau1[2], 3.0f);  // the number last read, not the partner
}

TEST_F(EventFiles, InteractionErrors) {
  EventRead r = read("2\n\n1\n0 4\n\n3 interaction 1\n");
  EXPECT_EQ(r.out, "Error on line 6 for event type 3 in file " + r.file + ", # words read = 3\n" +
                       "For interaction events, give two event types that interact.\n" + format_of(SHAPE_INTERACT));
  r = read("2\n\n1\n0 4\n\n3 interaction 1 0\n");
  EXPECT_EQ(r.out, "One of the interacting events (1, 0) is not allowed\non line 6 in file " + r.file + "\n" +
                       format_of(SHAPE_INTERACT));
  r = read("2\n\n1\n0 4\n\n3 interaction 1 2\n");
  EXPECT_EQ(r.out, "For event 3, interacting events must be previously defined.\n" + format_of(SHAPE_INTERACT));
  r = read("2\n\n1\n0 4\n\n3 interaction 1 1\n");
  EXPECT_EQ(r.out, "For event 3, the two interacting events are the same!\n" + format_of(SHAPE_INTERACT));
}

TEST_F(EventFiles, DefinitionsMustAgreeAcrossRuns) {
  read("2\n\n1 gamma 4\n0\n", 0, 10, "a.glm");
  EventRead r = read("2\n\n1\n0 4\n", 1, 10, "b.glm");
  EXPECT_EQ(r.out, "Error: event 1 does not have a consistent shape.\nThe shape is 1 in the 1st run and 0 in run 2\n");
  r = read("2\n\n1 gamma 5\n0\n", 1, 10, "b.glm");
  EXPECT_EQ(r.out, "Error: event 1 does not have a consistent time constant.\n");
  r = read("2\n\n1 gamma 4 2\n0\n", 1, 10, "b.glm");
  EXPECT_EQ(r.out, "Error: event 1 does not have a consistent time constant.\n");
  GLM_engine_reset();
  read("2\n\n1 drug-IRF 4 2\n0 4\n", 0, 10, "a.glm");
  r = read("2\n\n1 drug-IRF 4\n0 4\n", 1, 10, "b.glm");
  EXPECT_EQ(r.out, "Error: event 1 does not have a consistent time constant.\n");
  r = read("2\n\n1 drug-IRF 4 2\n0 4\n", 1, 10, "b.glm");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.nstims[0], 2);
}

TEST_F(EventFiles, UnknownShapeWord) {
  EventRead r = read("2\n\n1 boxcar\n0 4\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: stimulus shapes are 'square' (default), 'gamma', 'sigmoid', 'drug-IRF'\n"
                   "or `table' (error on line 3).\n");
}

TEST_F(EventFiles, HeaderWithoutStimuliEndsTheProcess) {
  EventRead r = read("2\n\n1\n0 4\n\n2 ramp-up\n");
  EXPECT_EQ(r.exit_status, 1);
  EXPECT_EQ(r.out, "Error checking problem: # stims < 1 for event 2.\nCheck format of event description file.\n");
}

TEST_F(EventFiles, StimulusLimitReportedAndNothingWrittenPastIt) {
  std::string content = "2\n\n1\n";
  for (int i = 0; i < GLM_MAX_STIMS + 2; i++) content += std::to_string(i) + " " + std::to_string(i) + ".5\n";
  EventRead r = read(content, 0, 20000);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.nstims[0], GLM_MAX_STIMS);
  EXPECT_EQ(r.out,
            "Error: the number of stimuli (10001) for event 1 > max dimension in program (10000).\n"
            "Error: the number of stimuli (10001) for event 1 > max dimension in program (10000).\n");
  EXPECT_FLOAT_EQ(GLM.stim_on[0][GLM_MAX_STIMS - 1], 9999.0f);
}

TEST_F(EventFiles, ExclusionLimitReportedAndNothingWrittenPastIt) {
  std::string content = "2\n\n1\n0 1\n\n-1\n";
  for (int i = 0; i < GLM_MAX_EXCLUDE + 1; i++) content += "1 1\n";
  EventRead r = read(content, 0, 20);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.nexclude, GLM_MAX_EXCLUDE);
  EXPECT_EQ(r.out, "Error: the number of segments to exclude (10001) > max dimension in program (10000).\n");
}

TEST_F(EventFiles, TrMustBeAPositiveNumber) {
  for (const char *tr : {"0", "-2", "nan", "inf"}) {
    GLM_engine_reset();
    EventRead r = read(std::string(tr) + "\n\n1\n0 4\n");
    EXPECT_EQ(r.result, 1) << tr;
    EXPECT_EQ(r.out, "Error reading line 1 of the GLM file " + r.file + " (TR).\n") << tr;
  }
}

TEST_F(EventFiles, StimulusNumbersMustBeFinite) {
  for (const char *line : {"0 4 nan", "0 inf", "0 4 inf", "0 4 -inf"}) {
    GLM_engine_reset();
    EventRead r = read(std::string("2\n\n1\n") + line + "\n");
    EXPECT_EQ(r.result, 1) << line;
    EXPECT_EQ(r.out, "Error reading line 4 of the GLM file " + r.file + "\n" +
                         "The times and magnitude of stim 1 of event 1 must be finite numbers.\n")
        << line;
  }
  GLM_engine_reset();
  EventRead r = read("2\n\n1 gamma 4\n0 nan\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading line 4 of the GLM file " + r.file + "\n" +
                       "The times and magnitude of stim 1 of event 1 must be finite numbers.\n");
  // A NaN ON time fails the order of ON and OFF, as any unordered pair does.
  GLM_engine_reset();
  r = read("2\n\n1\nnan 4\n");
  EXPECT_EQ(r.out, "Error: OFF time must be > ON time for stim 1 of event 1.\n");
}

TEST_F(EventFiles, StimulusWhollyBeyondItsRunRefused) {
  // 20 points of 2 seconds: the last time point is at 38 seconds.
  EventRead r = read("2\n\n1\n0 4\n40 44\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading line 5 of the GLM file " + r.file + "\n" +
                       "Stim 2 of event 1 starts after the last time point of its run (38 seconds).\n");
  GLM_engine_reset();
  r = read("2\n\n1\n0 4\n38 44\n");
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_EQ(GLM.nstims[0], 2);
}

TEST_F(EventFiles, HeaderNumbersMustBeFiniteAndInRange) {
  EventRead r = read("2\n\n1 gamma inf\n0\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error on line 3 for event type 1 in file " + r.file + "\n" +
                       "The numbers of an event header must be finite.\n");
  GLM_engine_reset();
  r = read("2\n\n1 gamma 4 nan\n0\n");
  EXPECT_EQ(r.out, "Error on line 3 for event type 1 in file " + r.file + "\n" +
                       "The numbers of an event header must be finite.\n");
  GLM_engine_reset();
  r = read("2\n\n1 gamma 4 1e38\n0\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading stim 0 of event 1:\n"
                   "The gamma shape parameter alpha (1e+38) must be from 0 to 100.\n" + format_of(SHAPE_GAMMA));
  GLM_engine_reset();
  r = read("2\n\n1 gamma 4 -1\n0\n");
  EXPECT_EQ(r.out, "Error reading stim 0 of event 1:\n"
                   "The gamma shape parameter alpha (-1) must be from 0 to 100.\n" + format_of(SHAPE_GAMMA));
  GLM_engine_reset();
  r = read("2\n\n1 gamma 4 100\n0\n");
  EXPECT_EQ(r.result, 0) << r.out;
  GLM_engine_reset();
  r = read("2\n\n1 sine 1e-38\n0 4\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading stim 0 of event 1:\n"
                   "The period (1e-38) of a sine or cosine event is too short.\n" + format_of(SHAPE_SINE));
  // Counts and orders far outside int are refused as out of range.
  GLM_engine_reset();
  r = read("2\n\n1 baseline 1e30\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: The BASELINE event 1 refers to order -2147483648 for run 1,\n"
                   "...but allowed values are 0 to 3.\n" + format_of(SHAPE_BASELINE0));
}

TEST_F(EventFiles, AnEventInOneRunOnly) {
  read("2\n\n1\n0 4\n\n2\n6 8\n", 0, 10, "a.glm");
  EventRead r = read("2\n\n1\n0 4\n", 1, 10, "b.glm");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.nstims[0], 2);
  EXPECT_EQ(GLM.nstims[1], 1);
  EXPECT_FLOAT_EQ(GLM.stim_on[0][1], 20.0f);
}

}  // namespace
