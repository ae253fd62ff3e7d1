#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "glm_test_files.h"

namespace {

Decoded decode(const std::string &line) { return decode_keyword_line(GLMInternal_decode_keyword, line); }

class ControlKeywords : public ::testing::Test {
 protected:
  void SetUp() override { GLM_engine_reset(); }
};

TEST_F(ControlKeywords, TimeModelWordsForThisEngineAreSilent) {
  for (const char *w : {"time-model glm\n", "time-model GLM", "time-model fMRI-GLM\n"}) {
    Decoded d = decode(w);
    EXPECT_EQ(d.result, 0);
    EXPECT_EQ(d.out, "");
  }
}

TEST_F(ControlKeywords, TimeModelOtherWordWarnsAndGoesOn) {
  Decoded d = decode("time-model REM\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.out,
            "Warning: the argument of 'time-model' (REM) is not recognized as GLM,\n"
            "so the -t [file name] option will fail using zorview.\n"
            "Valid arguments: GLM, glm, fMRI-GLM\n");
}

TEST_F(ControlKeywords, BaselineTermsZeroToFourAccepted) {
  for (int n = 0; n <= 4; n++) {
    Decoded d = decode("baseline-terms " + std::to_string(n));
    EXPECT_EQ(d.result, 0);
    EXPECT_EQ(GLM_input.nbaseline_terms, n);
  }
}

TEST_F(ControlKeywords, BaselineTermsFiveRefused) {
  Decoded d = decode("baseline-terms 5\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: allowed value for `baseline-terms' are 0-4.\n");
  EXPECT_EQ(GLM_input.nbaseline_terms, 3);
}

TEST_F(ControlKeywords, BaselineTermsWithoutNumber) {
  Decoded d = decode("baseline-terms\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `baseline-terms' requires an argument (1,2,3).\n");
}

TEST_F(ControlKeywords, BaselineTermsFillsOnlyUnsetDriftEntries) {
  decode("drift-correct 0 5");
  Decoded d = decode("baseline-terms 2");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(GLM.drift_correct_table[5], 0);
  EXPECT_EQ(GLM.drift_correct_table[1], 2);
  EXPECT_EQ(GLM.drift_correct_table[61], 2);
}

TEST_F(ControlKeywords, ScaleEventByCharacter) {
  Decoded d = decode("scale-event 2.5 a\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_FLOAT_EQ(GLM.event_scale[10], 2.5f);
  EXPECT_FLOAT_EQ(GLM.event_scale[1], 1.0f);
  d = decode("scale-event -1 Z");
  EXPECT_FLOAT_EQ(GLM.event_scale[61], -1.0f);
}

TEST_F(ControlKeywords, ScaleEventNeedsScaleAndEvent) {
  for (const char *line : {"scale-event 2\n", "scale-event\n", "scale-event 2 ,\n"}) {
    Decoded d = decode(line);
    EXPECT_EQ(d.result, -1) << line;
    EXPECT_EQ(d.out, "Error: use `scale-event [scale] [event].\n");
  }
}

TEST_F(ControlKeywords, AutoregressiveOrderAndSmoothing) {
  GLM_input.AR_smooth_mm = 7.0f;
  EXPECT_EQ(decode("AR 2").result, 0);
  EXPECT_EQ(GLM_input.AR_order, 2);
  EXPECT_FLOAT_EQ(GLM_input.AR_smooth_mm, 1.0f);
  EXPECT_EQ(decode("AR 3 2.5").result, 0);
  EXPECT_EQ(GLM_input.AR_order, 3);
  EXPECT_FLOAT_EQ(GLM_input.AR_smooth_mm, 2.5f);
  Decoded d = decode("AR x");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `AR' requires an integer argument.\n");
}

TEST_F(ControlKeywords, NoiseModelWordsAndHalfLife) {
  EXPECT_EQ(decode("noise-model iWLS").result, 0);
  EXPECT_EQ(GLM_input.noise_model, NOISE_iWLS);
  EXPECT_EQ(decode("noise-model fPET 109.8").result, 0);
  EXPECT_EQ(GLM_input.noise_model, NOISE_fPET);
  EXPECT_FLOAT_EQ(GLM_input.half_life, 109.8f);
  EXPECT_EQ(decode("noise-model fPET").result, 0);
  EXPECT_FLOAT_EQ(GLM_input.half_life, 0.0f);
  EXPECT_EQ(decode("noise-model none").result, 0);
  EXPECT_EQ(GLM_input.noise_model, NOISE_OLS);
  GLM_input.noise_model = NOISE_fPET;
  EXPECT_EQ(decode("noise-model OLS").result, 0);
  EXPECT_EQ(GLM_input.noise_model, NOISE_OLS);
}

TEST_F(ControlKeywords, NoiseModelErrors) {
  Decoded d = decode("noise-model\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `noise-model' requires a character argument (OLS,iWLS,fPET)\n");
  d = decode("noise-model WLS\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `noise-model' requires an integer argument (fPET or none).\n");
}

TEST_F(ControlKeywords, FrequencyBands) {
  EXPECT_EQ(decode("frequency-filter 0.01 0.2").result, 0);
  EXPECT_FLOAT_EQ(GLM_input.freq_low_pre, 0.01f);
  EXPECT_FLOAT_EQ(GLM_input.freq_high_pre, 0.2f);
  EXPECT_EQ(decode("residue-filter 0.02 0.3").result, 0);
  EXPECT_FLOAT_EQ(GLM_input.freq_low_post, 0.02f);
  EXPECT_FLOAT_EQ(GLM_input.freq_high_post, 0.3f);
  Decoded d = decode("frequency-filter 0.01");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `frequency-filter' requires two arguments.\n");
  d = decode("residue-filter");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `residue-filter' requires two arguments.\n");
  EXPECT_FLOAT_EQ(GLM_input.freq_low_pre, 0.01f);
}

TEST_F(ControlKeywords, NonFiniteArgumentsRefused) {
  Decoded d = decode("frequency-filter nan nan");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `frequency-filter' requires two arguments.\n");
  d = decode("residue-filter 0.01 inf");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `residue-filter' requires two arguments.\n");
  d = decode("scale-event nan 1");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: use `scale-event [scale] [event].\n");
  EXPECT_EQ(GLM.event_scale[1], 1.0f);
  d = decode("scale-event inf 1");
  EXPECT_EQ(d.result, -1);
  d = decode("AR 1 nan");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `AR' requires an integer argument.\n");
  d = decode("noise-model fPET inf");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `noise-model' requires a character argument (OLS,iWLS,fPET)\n");
  EXPECT_EQ(GLM_input.freq_low_pre, 0.0f);
  EXPECT_EQ(GLM_input.freq_high_post, 0.0f);
}

TEST_F(ControlKeywords, MultipleComparisons) {
  EXPECT_EQ(decode("multiple-comparisons 1").result, 0);
  EXPECT_EQ(GLM_input.multiple_comparisons, 1);
  Decoded d = decode("multiple-comparisons yes");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `multiple-comparisons' requires an integer argument.\n");
}

TEST_F(ControlKeywords, WordsWithoutArguments) {
  EXPECT_EQ(decode("normalize-BOLD").result, 0);
  EXPECT_EQ(GLM_input.normalize_runs, 1);
  EXPECT_EQ(decode("normalize-IRON\n").result, 0);
  EXPECT_EQ(GLM_input.normalize_runs, 2);
  EXPECT_EQ(decode("notify").result, 0);
  EXPECT_EQ(GLM_input.notify, 1);
  EXPECT_EQ(GLM_input.nbaseline_terms, 3);
  EXPECT_EQ(decode("fPET-analysis").result, 0);
  EXPECT_EQ(GLM_input.fPET_integral, 1);
  EXPECT_EQ(GLM_input.nbaseline_terms, 0);
}

TEST_F(ControlKeywords, OutputFormat) {
  EXPECT_EQ(decode("output-format zor").result, 0);
  EXPECT_EQ(GLM_input.nifti_output, 0);
  EXPECT_EQ(decode("output-format analyze").result, 0);
  EXPECT_EQ(GLM_input.nifti_output, 0);
  EXPECT_EQ(decode("output-format NIFTI").result, 0);
  EXPECT_EQ(GLM_input.nifti_output, 1);
  EXPECT_EQ(decode("output-format ZOR").result, 0);
  EXPECT_EQ(GLM_input.nifti_output, 0);
  EXPECT_EQ(decode("output-format nifti").result, 0);
  EXPECT_EQ(GLM_input.nifti_output, 1);
}

TEST_F(ControlKeywords, ResponseFunctionName) {
  EXPECT_EQ(decode("IRF BOLD-monkey\n").result, 0);
  EXPECT_STREQ(GLM_input.HRF_file_name, "BOLD-monkey");
  EXPECT_EQ(decode("HRF-file my.irf  ").result, 0);
  EXPECT_STREQ(GLM_input.HRF_file_name, "my.irf");
}

TEST_F(ControlKeywords, ConditionsTakeTheRestOfTheLine) {
  EXPECT_EQ(decode("conditions   1 2 12 1-2 notify\n").result, 0);
  EXPECT_STREQ(GLM_input.condition_string, "1 2 12 1-2 notify");
  EXPECT_EQ(GLM_input.notify, 0);
}

TEST_F(ControlKeywords, ConvolveTableMarksEachCharacter) {
  EXPECT_EQ(decode("convolve-table 8 9a\n").result, 0);
  EXPECT_EQ(GLM.convolve_table[8], 1);
  EXPECT_EQ(GLM.convolve_table[9], 1);
  EXPECT_EQ(GLM.convolve_table[10], 1);
  EXPECT_EQ(GLM.convolve_table[7], 0);
}

TEST_F(ControlKeywords, ConvolveTableBadCharacterEndsTheBlock) {
  Decoded d = decode("convolve-table 8 0 9");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error using convolve-table: event 0 is undefined.\n");
  EXPECT_EQ(GLM.convolve_table[8], 1);
  EXPECT_EQ(GLM.convolve_table[9], 0);
}

TEST_F(ControlKeywords, DriftCorrectReadsEventsFromTheSecondCharacter) {
  EXPECT_EQ(decode("drift-correct 2 45\n").result, 0);
  EXPECT_EQ(GLM.drift_correct_table[4], 2);
  EXPECT_EQ(GLM.drift_correct_table[5], 2);
  EXPECT_EQ(GLM.drift_correct_table[2], -1);
  // A two-digit count: its second digit is taken as an event.
  EXPECT_EQ(decode("drift-correct 13 b").result, 0);
  EXPECT_EQ(GLM.drift_correct_table[3], 13);
  EXPECT_EQ(GLM.drift_correct_table[11], 13);
}

TEST_F(ControlKeywords, DriftCorrectErrors) {
  Decoded d = decode("drift-correct x");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `drift-correct' requires an integer argument, followed by event IDs.\n");
  d = decode("drift-correct 1 4 %");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error using drift-correct: event % is undefined.\n");
}

TEST_F(ControlKeywords, RunListWordsEndTheBlock) {
  for (const char *w : {"runs:", "runs", "files:", "files\n"}) EXPECT_EQ(decode(w).result, 1);
  Decoded d = decode("Runs:");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "");
}

TEST(ControlFile, DefaultsAfterAnEmptyRunList) {
  GlmStudy s;
  GLM_engine_reset();
  GLM_input.notify = 1;  // kept by the reset of a new read
  std::vector<char> name;
  std::string file = s.text("a.ctl", "runs:\n");
  name.assign(file.begin(), file.end());
  name.push_back('\0');
  Captured c = capture_output([&] { EXPECT_EQ(GLM_read_control_file(name.data(), 0), 0); });
  EXPECT_EQ(GLM_input.notify, 1);
  EXPECT_EQ(GLM.initialized, 1);
  EXPECT_EQ(GLM.ntime, 0);
  EXPECT_EQ(GLM.nruns, 0);
  EXPECT_EQ(GLM_input.normalize_runs, 0);
  EXPECT_EQ(GLM_input.nbaseline_terms, 3);
  EXPECT_EQ(GLM_input.multiple_comparisons, 0);
  EXPECT_EQ(GLM_input.AR_order, 0);
  EXPECT_FLOAT_EQ(GLM_input.AR_smooth_mm, 1.0f);
  EXPECT_EQ(GLM_input.noise_model, NOISE_OLS);
  EXPECT_EQ(GLM_input.nifti_output, 1);
  EXPECT_EQ(GLM_input.fPET_integral, 0);
  EXPECT_STREQ(GLM_input.HRF_file_name, "");
  EXPECT_STREQ(GLM_input.condition_string, "");
  for (int n = 0; n < GLM_MAX_EVENTS; n++) {
    EXPECT_EQ(GLM.convolve_table[n], 0);
    EXPECT_EQ(GLM.drift_correct_table[n], -1);
    EXPECT_FLOAT_EQ(GLM.event_scale[n], 1.0f);
    EXPECT_FLOAT_EQ(GLM.event_alpha[n], 1.0f);
  }
  for (int c = 0; c < GLM_MAX_TABLE_COLUMNS; c++) EXPECT_STREQ(GLM.table_column_name[c], "undefined");
  // With notify on, the (empty) stimulus list is printed.
  EXPECT_EQ(c.out,
            "GLM description: 0 time points in 0 runs with TR =  0.0\n\n  stimuli:\n\n# events = 0\n\n"
            " ON    OFF  STRENGTH\n----- ----- --------\n");
}

TEST(ControlFile, ReadingAgainStartsFromDefaults) {
  GlmStudy s;
  ControlRead r = read_control(s.text("a.ctl", "baseline-terms 1\nnoise-model iWLS\nscale-event 3 2\nruns:\n"));
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM_input.nbaseline_terms, 1);
  std::string file = s.text("b.ctl", "runs:\n");
  std::vector<char> name(file.begin(), file.end());
  name.push_back('\0');
  capture_output([&] { GLM_read_control_file(name.data(), 0); });
  EXPECT_EQ(GLM_input.nbaseline_terms, 3);
  EXPECT_EQ(GLM_input.noise_model, NOISE_OLS);
  EXPECT_FLOAT_EQ(GLM.event_scale[2], 1.0f);
}

TEST(ControlFile, MissingFile) {
  GlmStudy s;
  ControlRead r = read_control(s.path("none.ctl"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: cannot open the file " + s.path("none.ctl") + ".\n");
}

TEST(ControlFile, BadKeywordCountsOnlyNonBlankLines) {
  GlmStudy s;
  std::string file = s.text("a.ctl", "# a comment\nnotify\n\n   \nbaseline-terms 2 # two\nbogus 1\nruns:\n");
  ControlRead r = read_control(file);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error reading line 3 of file '" + file + "':\n" + control_file_example());
}

TEST(ControlFile, NoRunLineReadsToTheEnd) {
  GlmStudy s;
  ControlRead r = read_control(s.text("a.ctl", "baseline-terms 2\nconditions 1\n"));
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.initialized, 1);
  EXPECT_EQ(GLM.nruns, 0);
  EXPECT_STREQ(GLM_input.condition_string, "1");
}

TEST(ControlFile, RunLinesReadTablesAndEvents) {
  GlmStudy s;
  std::string r1 = s.run("run1", 10), r2 = s.run("run2", 8);
  s.text("run1.glm", "2.0\n\n1\n0 4\n10 14 2\n");
  s.text("run2.glm", "2.0 # TR\n\n1\n2 6\n");
  std::string table = s.text("t2.dat", "motion\n" + std::string("1\n2\n3\n4\n5\n6\n7\n8\n"));
  std::string file = s.text("a.ctl", "runs:\n" + r1 + " " + s.path("run1.glm") + "\n\n" + r2 + "   " +
                                         s.path("run2.glm") + " " + table + "\n");
  ControlRead r = read_control(file);
  EXPECT_EQ(r.result, 0) << r.printed.out;
  // Only the second run has a table: its names and count differ from the first's.
  EXPECT_EQ(r.printed.out,
            "Warning: runs 1 & 2 have mismatched names (undefined & motion) in column 0.\n"
            "Warning: the tables for runs 1/2 have different numbers of columns (0/1)\n");
  EXPECT_EQ(GLM_input.nruns, 2);
  EXPECT_EQ(GLM.nruns, 2);
  EXPECT_EQ(GLM.ntime, 18);
  EXPECT_EQ(GLM.run_start[1], 10);
  EXPECT_EQ(GLM.run_stop[1], 17);
  EXPECT_STREQ(GLM_input.table_name[0], "");
  EXPECT_EQ(GLM_input.table_name[1], table);
  EXPECT_EQ(GLM.table_ncolumns[1], 1);
  EXPECT_EQ(GLM.nevents, 1);
  ASSERT_EQ(GLM.nstims[0], 3);
  EXPECT_FLOAT_EQ(GLM.stim_on[0][2], 22.0f);
  EXPECT_FLOAT_EQ(GLM.stim_off[0][2], 26.0f);
  EXPECT_FLOAT_EQ(GLM.stim_mag[0][1], 2.0f);
}

TEST(ControlFile, RunLineWithoutEventFile) {
  GlmStudy s;
  std::string r1 = s.run("run1", 10);
  ControlRead r = read_control(s.text("a.ctl", "runs:\n" + r1 + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error reading the GLM file name for run 1.\n");
}

TEST(ControlFile, RunWithoutHeaderFails) {
  GlmStudy s;
  s.text("run1.glm", "2\n\n1\n0 4\n");
  ControlRead r = read_control(s.text("a.ctl", "runs:\n" + s.path("nothing.bfloat") + " " + s.path("run1.glm") + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(GLM_input.nruns, 0);
}

TEST(ControlFile, TooManyRunsRefusedBeforeStoring) {
  GlmStudy s;
  std::string r1 = s.run("run", 3);
  s.text("run.glm", "1\n\n1\n0 1\n");
  std::string list = "runs:\n";
  for (int i = 0; i < GLM_MAX_RUNS + 1; i++) list += r1 + " " + s.path("run.glm") + "\n";
  ControlRead r = read_control(s.text("a.ctl", list));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: more than 50 runs are listed in the control file.\n");
  EXPECT_EQ(GLM.nruns, 50);
  EXPECT_EQ(GLM.ntime, 150);
}

TEST(ControlFile, BadConvolveTableLineGoesOnToTheRuns) {
  GlmStudy s;
  std::string r1 = s.run("run1", 10);
  s.text("run1.glm", "2\n\n1\n0 4\n");
  ControlRead r = read_control(s.text("a.ctl", "convolve-table &\n" + r1 + " " + s.path("run1.glm") + "\n"));
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out, "Error using convolve-table: event & is undefined.\n");
  EXPECT_EQ(GLM.nruns, 1);
}

TEST(ControlFile, ConvolutionOfAnEventThatIsNoTable) {
  GlmStudy s;
  std::string r1 = s.run("run1", 10);
  s.text("run1.glm", "2\n\n1\n0 4\n");
  ControlRead r = read_control(s.text("a.ctl", "convolve-table 1 7\nruns:\n" + r1 + " " + s.path("run1.glm") + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out,
            "Error: Convolution for table event 1 was requested\n"
            "using `convolve-table', but this event is not a table.\n");
  EXPECT_EQ(GLM.initialized, 0);
}

TEST(ControlFile, ConvolutionOfAnUndefinedEventPasses) {
  GlmStudy s;
  std::string r1 = s.run("run1", 10);
  s.text("run1.glm", "2\n\n1\n0 4\n");
  ControlRead r = read_control(s.text("a.ctl", "convolve-table 7\nruns:\n" + r1 + " " + s.path("run1.glm") + "\n"));
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.initialized, 1);
}

TEST(ControlFile, AbuttingStimuliShortenedWithAResponseFunction) {
  GlmStudy s;
  std::string r1 = s.run("run1", 20);
  s.text("run1.glm", "2\n\n1\n0 10\n10 20\n\n2 gamma 4\n0\n10\n\n3 ramp-up\n20 30\n30 34\n");
  ControlRead r = read_control(s.text("a.ctl", "IRF BOLD-rat\nruns:\n" + r1 + " " + s.path("run1.glm") + "\n"));
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out, "using HRF (hemodynamic response function)\n");
  EXPECT_FLOAT_EQ(GLM.stim_off[0][0], 10.0f - 0.1f);
  EXPECT_FLOAT_EQ(GLM.stim_off[0][1], 20.0f);
  EXPECT_FLOAT_EQ(GLM.stim_off[1][0], 38.0f);  // gamma: the end of the run, unchanged
  EXPECT_FLOAT_EQ(GLM.stim_off[2][0], 30.0f - 0.1f);
}

TEST(ControlFile, AbuttingStimuliKeptWithoutAResponseFunction) {
  GlmStudy s;
  std::string r1 = s.run("run1", 20);
  s.text("run1.glm", "2\n\n1\n0 10\n10 20\n");
  ControlRead r = read_control(s.text("a.ctl", "runs:\n" + r1 + " " + s.path("run1.glm") + "\n"));
  EXPECT_EQ(r.result, 0);
  EXPECT_FLOAT_EQ(GLM.stim_off[0][0], 10.0f);
}

TEST(ControlFile, NotifyArgumentDescribesTheStimuli) {
  GlmStudy s;
  std::string r1 = s.run("run1", 20);
  s.text("run1.glm", "2\n\n1\n0 10\n14 20 2.5\n\n-1\n3 4\n");
  ControlRead r = read_control(s.text("a.ctl", "runs:\n" + r1 + " " + s.path("run1.glm") + "\n"), 1);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out,
            "GLM description: 20 time points in 1 run with TR =  2.0\n\n  stimuli:\n\n# events = 1\n\n"
            " ON    OFF  STRENGTH\n----- ----- --------\n"
            "  0.0  10.0     1.00 (square event 1)\n"
            " 14.0  20.0     2.50\n"
            "    3     4 (excluded segments, units = time points)\n");
}

TEST(ControlFile, DescribeFormatExample) {
  Captured c = capture_output([] { GLMInternal_describe_glm_format(); });
  EXPECT_EQ(c.out, control_file_example());
}

}  // namespace

namespace {

TEST(StimulusList, EveryShapeHasItsFirstLine) {
  GlmStudy s;
  std::string r1 = s.run("run1", 20), r2 = s.run("run2", 10);
  std::string rows;
  for (int t = 0; t < 20; t++) rows += "1 2\n";
  std::string table = s.text("t.dat", "motion heart\n" + rows);
  s.text("run1.glm",
         "2\n\n1 ramp-up\n0 4\n6 8 2\n\n2 ramp-down\n0 4\n\n3 exponential-down 5\n0 4\n\n4 sine 8\n0 4\n"
         "\n5 cosine 8\n0 4\n\n6 gamma 3\n0\n\n7 gamma 3 2\n1 2\n\n8 sigmoid 4\n2\n\n9 drug-IRF 4 2\n0 4\n"
         "\na table 1\n\nb baseline 0\n\nc baseline 1\n\nd baseline 2\n\ne baseline 3\n\nf baseline-exp-sat 9\n"
         "\ng interaction 1 6\n\n-1\n0 1\n5 5\n");
  s.text("run2.glm", "2\n\n1 ramp-up\n2 6\n\n-1\n3 4\n");
  ControlRead r = read_control(s.text("a.ctl", "notify\nbaseline-terms 0\nIRF BOLD-rat\nruns:\n" + r1 + " " +
                                                   s.path("run1.glm") + " " + table + "\n" + r2 + " " +
                                                   s.path("run2.glm") + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  size_t at = r.printed.out.find("GLM description");
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(r.printed.out.substr(at),
            "GLM description: 30 time points in 2 runs with TR =  2.0\n\n  stimuli:\n\n# events = 16\n\n"
            " ON    OFF  STRENGTH\n----- ----- --------\n"
            "  0.0   4.0     1.00 (ramp-up event 1)\n"
            "  6.0   8.0     2.00\n"
            " 42.0  46.0     1.00\n"
            "  0.0   4.0     1.00 (ramp-down event 2)\n"
            "  0.0   4.0     1.00 (exponential-down event 3, tau =   5.0)\n"
            "  0.0   4.0     1.00 (sine event 4, period = 8)\n"
            "  0.0   4.0     1.00 (cosine event 5, period = 8)\n"
            "  0.0  38.0     1.00 (gamma event 6, tau =   3.0)\n"
            "  1.0  38.0     2.00 (gamma event 7, tau =   3.0, alpha =  2.0)\n"
            "  2.0  38.0     1.00 (sigmoid event 8, tau =   4.0)\n"
            "  0.0   4.0     1.00 (drug-IRF event 9, tau = 4 2)\n"
            "  0.0  38.0          (table event a, column 1 -> heart)\n"
            "  0.0  38.0          (baseline event b, DC term)\n"
            "  0.0  38.0          (baseline event c, linear term)\n"
            "  0.0  38.0          (baseline event d, quadratic term)\n"
            "  0.0  38.0          (baseline event e, cubic term)\n"
            "  0.0  38.0          (baseline-exp-sat event f, tau = 9)\n"
            "  0.0  38.0          (interaction event g, event 1 times event 6)\n"
            "    0     1 (excluded segments, units = time points)\n"
            "    5     5\n"
            "   23    24\n");
}

}  // namespace
