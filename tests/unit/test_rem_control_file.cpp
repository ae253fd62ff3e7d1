// The group model's control file: every keyword and its messages, both forms
// of the event list, the limits, and the description printed after a read.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "rem_test_files.h"

namespace {

Decoded decode(const std::string &line) { return decode_keyword_line(REMInternal_decode_keyword, line); }

class RemKeywords : public ::testing::Test {
 protected:
  void SetUp() override { REM_engine_reset(); }
};

TEST_F(RemKeywords, DefaultsAfterReset) {
  EXPECT_EQ(REM_input.nfiles, 0);
  EXPECT_EQ(REM_input.multiple_comparisons, 1);
  EXPECT_EQ(REM_input.smoothed_mm, 0.0f);
  EXPECT_EQ(REM_input.smooth_ratio_mm, 1.0f);
  EXPECT_EQ(REM_input.nifti_output, 1);
  EXPECT_EQ(REM_input.global_scaling, 0);
  EXPECT_EQ(REM_input.overlapping_events, 0);
  EXPECT_STREQ(REM_input.condition_string, "");
  EXPECT_EQ(REM_input.signal_magnitude[199], 1.0f);
  EXPECT_EQ(REM.initialized, 0);
  EXPECT_EQ(REM.nevents, 0);
  EXPECT_EQ(REM_is_initialized(), 0);
}

TEST_F(RemKeywords, TimeModelWordsOfThisEngineAreSilent) {
  for (const char *w : {"time-model rem\n", "time-model REM", "time-model mem\n", "time-model MEM"}) {
    Decoded d = decode(w);
    EXPECT_EQ(d.result, 0) << w;
    EXPECT_EQ(d.out, "") << w;
  }
}

TEST_F(RemKeywords, TimeModelOtherWordOnlyWarns) {
  Decoded d = decode("time-model GLM\n");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.out,
            "Warning: the argument of 'time-model' (GLM) is not recognized as REM,\n"
            "so the -t [file name] option will fail using zorview.\n"
            "Valid arguments: REM, MEM, rem, mem\n");
}

TEST_F(RemKeywords, MultipleComparisons) {
  EXPECT_EQ(decode("multiple-comparisons 5000\n").result, 0);
  EXPECT_EQ(REM_input.multiple_comparisons, 5000);
  Decoded d = decode("multiple-comparisons many\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: `multiple-comparisons' requires an integer argument.\n");
  EXPECT_EQ(REM_input.multiple_comparisons, 5000);
}

TEST_F(RemKeywords, SmoothingTakesTwoWidths) {
  EXPECT_EQ(decode("smoothing 4.5 8\n").result, 0);
  EXPECT_EQ(REM_input.smoothed_mm, 4.5f);
  EXPECT_EQ(REM_input.smooth_ratio_mm, 8.0f);
  EXPECT_EQ(decode("smooth 2 3").result, 0);
  EXPECT_EQ(REM_input.smoothed_mm, 2.0f);
  EXPECT_EQ(REM_input.smooth_ratio_mm, 3.0f);
}

TEST_F(RemKeywords, SmoothingWithOneNumberRefused) {
  for (const char *line : {"smoothing 4.5\n", "smooth\n"}) {
    Decoded d = decode(line);
    EXPECT_EQ(d.result, -1) << line;
    EXPECT_EQ(d.out,
              "Error: `smoothing' requires 2 arguments (mm).\n"
              "1) width of smoothing kernel in prior analysis,\n"
              "2) width of smoothing kernel used to boost random-effects DOF\n");
  }
  EXPECT_EQ(REM_input.smoothed_mm, 0.0f);
}

TEST_F(RemKeywords, ConditionsTakeTheRestOfTheLine) {
  EXPECT_EQ(decode("conditions p c p-c smoothing 1 2\n").result, 0);
  EXPECT_STREQ(REM_input.condition_string, "p c p-c smoothing 1 2");
}

TEST_F(RemKeywords, OutputFormatWords) {
  EXPECT_EQ(decode("output-format zor").result, 0);
  EXPECT_EQ(REM_input.nifti_output, 0);
  EXPECT_EQ(decode("output-format tiff").result, 0);
  EXPECT_EQ(REM_input.nifti_output, 0);
  EXPECT_EQ(decode("output-format NIFTI").result, 0);
  EXPECT_EQ(REM_input.nifti_output, 1);
  EXPECT_EQ(decode("output-format ZOR").result, 0);
  EXPECT_EQ(REM_input.nifti_output, 0);
  EXPECT_EQ(decode("output-format nifti").result, 0);
  EXPECT_EQ(REM_input.nifti_output, 1);
}

TEST_F(RemKeywords, EventSynonymsEndTheBlockWithIdAndShape) {
  Decoded d = decode("event p ramp\n");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "");
  EXPECT_EQ(REM.event_number[0], REM_EventNumberFromChar('p'));
  EXPECT_EQ(REM.event_shape[0], rem::SHAPE_RAMP);
  d = decode("subjects Z square");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(REM.event_number[0], 61);
  EXPECT_EQ(REM.event_shape[0], rem::SHAPE_SQUARE);
  d = decode("sessions 3\n");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(REM.event_number[0], 3);
  EXPECT_EQ(REM.event_shape[0], rem::SHAPE_SQUARE);
}

TEST_F(RemKeywords, EventErrors) {
  Decoded d = decode("event\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: 'subjects' or 'sessions' or 'events' requires a character argument.\n");
  d = decode("subjects !\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: event ! is not an allowed event character.\n");
  d = decode("sessions ,\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: event , is not an allowed event character.\n");
  d = decode("event p triangle\n");
  EXPECT_EQ(d.result, -1);
  EXPECT_EQ(d.out, "Error: the only defined shapes are 'square' and 'ramp'\n");
}

TEST_F(RemKeywords, UnknownWordIsAnErrorWithoutMessage) {
  for (const char *line : {"baseline-terms 2\n", "events p\n", "measurements:\n", "Smoothing 1 2"}) {
    Decoded d = decode(line);
    EXPECT_EQ(d.result, -1) << line;
    EXPECT_EQ(d.out, "") << line;
  }
}

TEST_F(RemKeywords, AlphabetIsTheFirstLevelModels) {
  EXPECT_EQ(REM_EventNumberFromChar('1'), 1);
  EXPECT_EQ(REM_EventNumberFromChar('a'), 10);
  EXPECT_EQ(REM_EventNumberFromChar('A'), 36);
  EXPECT_EQ(REM_EventNumberFromChar(','), -1);
  EXPECT_EQ(REM_EventNumberFromChar('0'), 0);
  char c = 0;
  EXPECT_EQ(REM_EventCharFromInteger(35, &c), 0);
  EXPECT_EQ(c, 'z');
  EXPECT_EQ(REM_EventCharFromInteger(62, &c), 1);
  char s[4];
  Captured out = capture_output([&] { EXPECT_EQ(REM_EventStringFromInteger(0, s), 1); });
  EXPECT_EQ(out.out, "Error: event 0 is not defined.\n");
  Captured fatal = capture_output([&] { REM_EventChar(62); });
  EXPECT_EQ(fatal.exit_status, 1);
  EXPECT_EQ(fatal.out, "Programming error: event number 62 apparently is not defined!\n");
}

// Reading whole files.
class RemControlFile : public ::testing::Test {
 protected:
  RemStudy s;
  void SetUp() override { REM_engine_reset(); }
  // n native measurement files m0 ... with the given degrees of freedom.
  std::vector<std::string> files(int n, int dof = 10) {
    std::vector<std::string> names;
    for (int i = 0; i < n; i++) names.push_back(s.native("m" + std::to_string(i), dof));
    return names;
  }
};

TEST_F(RemControlFile, MissingFile) {
  RemRead r = read_rem(s.path("none.rem"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: cannot open the file " + s.path("none.rem") + ".\n");
}

TEST_F(RemControlFile, BadKeywordLineCountsOnlyNonBlankLines) {
  std::string name = s.text("a.rem", "# a study\n\nsmoothing 1 2\n   \n# more\nconditions p\nsmoothing 3\nevent p\n");
  RemRead r = read_rem(name);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: `smoothing' requires 2 arguments (mm).\n"
                           "1) width of smoothing kernel in prior analysis,\n"
                           "2) width of smoothing kernel used to boost random-effects DOF\n"
                           "Error reading line 3 of file '" + name + "':\n" + rem_format_example());
  EXPECT_EQ(REM.initialized, 0);
}

TEST_F(RemControlFile, UnknownKeywordPrintsTheLineAndTheExample) {
  std::string name = s.text("a.rem", "conditions p\nnotify\nevent p\n");
  RemRead r = read_rem(name);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error reading line 2 of file '" + name + "':\n" + rem_format_example());
}

TEST_F(RemControlFile, FileWithoutEventIsRefused) {
  std::string name = s.text("a.rem", "conditions p\nsmoothing 1 2\n");
  RemRead r = read_rem(name);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: the file " + name + " defines no event.\n" + rem_format_example());
}

TEST_F(RemControlFile, PlainFormGroupsFilesAfterEachEvent) {
  auto f = files(5, 10);
  std::string name = s.text("a.rem", "conditions p c p-c\nevent p\n" + f[0] + "\n\n" + f[1] + " # second\n" +
                                         "event c # controls\n" + f[2] + "\n" + f[3] + "\n" + f[4] + "\n");
  RemRead r = read_rem(name);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.initialized, 1);
  EXPECT_EQ(REM_input.overlapping_events, 0);
  EXPECT_EQ(REM_input.nfiles, 5);
  EXPECT_EQ(REM.ntime, 5);
  EXPECT_EQ(REM.nevents, 2);
  EXPECT_EQ(REM.ncoeff, 2);
  EXPECT_EQ(REM.event_number[0], REM_EventNumberFromChar('p'));
  EXPECT_EQ(REM.event_number[1], REM_EventNumberFromChar('c'));
  EXPECT_EQ(REM.nstims[0], 1);
  EXPECT_EQ(REM.event_start[0][0], 0);
  EXPECT_EQ(REM.event_stop[0][0], 1);
  EXPECT_EQ(REM.event_start[1][0], 2);
  EXPECT_EQ(REM.event_stop[1][0], 4);
  EXPECT_EQ(REM.nsamples[0], 2);
  EXPECT_EQ(REM.nsamples[1], 3);
  EXPECT_EQ(REM_input.global_scaling, 0);
  EXPECT_STREQ(REM_input.signal_file_name[1], f[1].c_str());
  EXPECT_STREQ(REM_input.condition_string, "p c p-c");
  EXPECT_EQ(r.printed.out,
            "Effective isotropic resolution    = 0.00 mm\n"
            "Smoothing FWHM for variance ratio = 1 mm\n"
            "Degrees of freedom: fixed = 50, random = 3, smoothed = 50\n"
            "\nSQUARE event p has 2 samples:\n"
            "file[0] = " + f[0] + " , magnitude = 1\n"
            "file[1] = " + f[1] + " , magnitude = 1\n"
            "\nSQUARE event c has 3 samples:\n"
            "file[0] = " + f[2] + " , magnitude = 1\n"
            "file[1] = " + f[3] + " , magnitude = 1\n"
            "file[2] = " + f[4] + " , magnitude = 1\n");
}

TEST_F(RemControlFile, PlainFormMagnitudeSetsGlobalScaling) {
  auto f = files(3);
  RemRead r = read_rem(s.text("a.rem", "event p\n" + f[0] + " 2.5\n" + f[1] + "\n" + f[2] + " 0.5\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM_input.global_scaling, 1);
  EXPECT_EQ(REM_input.signal_magnitude[0], 2.5f);
  EXPECT_EQ(REM_input.signal_magnitude[1], 1.0f);
  EXPECT_EQ(REM_input.signal_magnitude[2], 0.5f);
  EXPECT_NE(r.printed.out.find("file[0] = " + f[0] + " , magnitude = 2.5\n"), std::string::npos);
}

TEST_F(RemControlFile, PlainFormDropsTheFirstShapeWord) {
  auto f = files(4);
  RemRead r = read_rem(s.text("a.rem", "event p ramp\n" + f[0] + "\n" + f[1] + "\nevent q ramp\n" + f[2] + "\n" +
                                           f[3] + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.event_shape[0], rem::SHAPE_SQUARE);
  EXPECT_EQ(REM.event_shape[1], rem::SHAPE_SQUARE);
  EXPECT_EQ(REM.X_tc[1][0], 1.0f);
  EXPECT_EQ(REM.X_tc[3][1], 1.0f);
}

TEST_F(RemControlFile, PlainFormEventWithoutFilesGivesAnEmptyGroup) {
  auto f = files(3);
  RemRead r = read_rem(s.text("a.rem", "event p\n" + f[0] + "\nevent q\nevent c\n" + f[1] + "\n" + f[2] + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.nevents, 3);
  EXPECT_EQ(REM.nsamples[1], 0);
  EXPECT_EQ(REM.event_start[1][0], 1);
  EXPECT_EQ(REM.event_stop[1][0], 0);
  for (int t = 0; t < 3; t++) EXPECT_EQ(REM.X_tc[t][1], 0.0f);
  EXPECT_NE(r.printed.out.find("\nSQUARE event q has 0 samples:\n\nSQUARE event c has 2 samples:\n"),
            std::string::npos);
}

TEST_F(RemControlFile, PlainFormEventErrors) {
  auto f = files(1);
  RemRead r = read_rem(s.text("a.rem", "event p\n" + f[0] + "\nsubjects\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: `event' requires a character argument.\n");
  r = read_rem(s.text("b.rem", "event p\n" + f[0] + "\nsessions +\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: event + is not an allowed event character.\n");
}

TEST_F(RemControlFile, PlainFormLimitOfFiles) {
  std::string f = s.native("m", 3);
  std::string list = "event p\n";
  for (int i = 0; i < 200; i++) list += f + "\n";
  RemRead r = read_rem(s.text("a.rem", list));
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(REM.ntime, 200);
  r = read_rem(s.text("b.rem", list + f + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: more than 200 measurement files are listed.\n");
}

TEST_F(RemControlFile, PlainFormLimitOfEvents) {
  std::string f = s.native("m", 3);
  std::string list = "event 1\n" + f + "\n";
  for (int e = 1; e < 100; e++) list += "event 1\n" + f + "\n";
  RemRead r = read_rem(s.text("a.rem", list));
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(REM.nevents, 100);
  r = read_rem(s.text("b.rem", list + "event 2\n" + f + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: more than 100 events are defined.\n");
}

TEST_F(RemControlFile, RangeFormWithOverlapsAndShapes) {
  auto f = files(6, 5);
  std::string name = s.text("a.rem",
                            "smoothing 2 4\nconditions p P\nevent p square\n0 2\n4 5\n\n"
                            "event P ramp\n1 4\n\nevent c\n3 3\nmeasurements:\n" +
                                f[0] + " 2\n" + f[1] + "\n" + f[2] + "\n\n" + f[3] + "\n" + f[4] + "\n" + f[5] + "\n");
  RemRead r = read_rem(name);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM_input.overlapping_events, 1);
  EXPECT_EQ(REM_input.global_scaling, 0);
  EXPECT_EQ(REM_input.signal_magnitude[0], 2.0f);
  EXPECT_EQ(REM.nevents, 3);
  EXPECT_EQ(REM.ntime, 6);
  EXPECT_EQ(REM.nstims[0], 2);
  EXPECT_EQ(REM.nsamples[0], 5);
  EXPECT_EQ(REM.event_shape[0], rem::SHAPE_SQUARE);
  EXPECT_EQ(REM.event_shape[1], rem::SHAPE_RAMP);
  EXPECT_EQ(REM.event_shape[2], rem::SHAPE_SQUARE);
  EXPECT_EQ(REM.event_start[1][0], 1);
  EXPECT_EQ(REM.event_stop[1][0], 4);
  EXPECT_EQ(REM.nsamples[2], 1);
  EXPECT_EQ(r.printed.out,
            "Effective isotropic resolution    = 2.00 mm\n"
            "Smoothing FWHM for variance ratio = 4 mm\n"
            "Degrees of freedom: fixed = 30, random = 3, smoothed = 22\n"
            "\nSQUARE event p has 5 samples:\n"
            "0 2   (ON, OFF)\n"
            "4 5   (ON, OFF)\n"
            "\nRAMP event P has 4 samples:\n"
            "1 4   (ON, OFF)\n"
            "\nSQUARE event c has 1 samples:\n"
            "3 3   (ON, OFF)\n"
            "measurement files:\n"
            "file[0] = " + f[0] + " , magnitude = 2\n"
            "file[1] = " + f[1] + " , magnitude = 1\n"
            "file[2] = " + f[2] + " , magnitude = 1\n"
            "file[3] = " + f[3] + " , magnitude = 1\n"
            "file[4] = " + f[4] + " , magnitude = 1\n"
            "file[5] = " + f[5] + " , magnitude = 1\n");
}

TEST_F(RemControlFile, RangeFormWithoutBlankLinesBetweenEvents) {
  auto f = files(4);
  RemRead r = read_rem(s.text("a.rem", "event p\n0 1\nsubjects q ramp\n2 3\nmeasurements\n" + f[0] + "\n" + f[1] +
                                           "\n" + f[2] + "\n" + f[3] + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.nevents, 2);
  EXPECT_EQ(REM.nstims[0], 1);
  EXPECT_EQ(REM.nstims[1], 1);
  EXPECT_EQ(REM.event_start[1][0], 2);
  EXPECT_EQ(REM.event_shape[1], rem::SHAPE_RAMP);
  EXPECT_EQ(REM.ntime, 4);
}

TEST_F(RemControlFile, CommentOnlyLineEndsTheRanges) {
  auto f = files(4);
  RemRead r = read_rem(s.text("a.rem", "event p\n0 1\n# the second half\n2 3\nmeasurements:\n" + f[0] + "\n" + f[1] +
                                           "\n" + f[2] + "\n" + f[3] + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.nstims[0], 1);
  EXPECT_EQ(REM.event_stop[0][0], 1);
  EXPECT_NE(r.printed.out.find("Warning: file 2 [ " + f[2] + " ] is not included in any events!\n"
                               "Warning: file 3 [ " + f[3] + " ] is not included in any events!\n"),
            std::string::npos);
  EXPECT_EQ(REM.X_tc[2][0], 0.0f);
}

TEST_F(RemControlFile, RangeFormEventWithoutRangesIsRefused) {
  auto f = files(2);
  RemRead r = read_rem(s.text("a.rem", "event p\nmeasurements:\n" + f[0] + "\n" + f[1] + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: event p has no starting and ending file indicators.\n");
  r = read_rem(s.text("b.rem", "event p\n0 1\n\nevent q\n\nmeasurements:\n" + f[0] + "\n" + f[1] + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: event q has no starting and ending file indicators.\n");
}

TEST_F(RemControlFile, RangeFormBadRangeLines) {
  auto f = files(2);
  RemRead r = read_rem(s.text("a.rem", "event p\n0\nmeasurements:\n" + f[0] + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "The start and stop indices for files should follow the event\n");
  r = read_rem(s.text("b.rem", "event p\n0 1\n\nevent Q\n1 x\nmeasurements:\n" + f[0] + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "The start and stop indices for files should follow event Q\n");
}

TEST_F(RemControlFile, RangeFormLaterEventErrors) {
  auto f = files(2);
  RemRead r = read_rem(s.text("a.rem", "event p\n0 1\n\nevent q cosine\n0 1\nmeasurements:\n" + f[0] + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: the only defined shapes are 'square' and 'ramp'\n");
  r = read_rem(s.text("b.rem", "event p\n0 1\n\nevent\nmeasurements:\n" + f[0] + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: `event' requires a character argument.\n");
  r = read_rem(s.text("c.rem", "event p\n0 1\n\nevent *\nmeasurements:\n" + f[0] + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: event * is not an allowed event character.\n");
}

TEST_F(RemControlFile, RangeFormSkipsStrayLinesBeforeTheFileList) {
  auto f = files(2);
  RemRead r = read_rem(s.text("a.rem", "event p\n0 1\n\n5 9\nsome note\nmeasurements:\n" + f[0] + "\n" + f[1] + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.nstims[0], 1);
  EXPECT_EQ(REM.ntime, 2);
}

TEST_F(RemControlFile, RangeFormRangeOutsideTheFilesIsRefused) {
  auto f = files(3);
  RemRead r = read_rem(s.text("a.rem", "event p\n0 3\nmeasurements:\n" + f[0] + "\n" + f[1] + "\n" + f[2] + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: the range 0 3 of event p is outside the 3 measurement files (0 to 2).\n");
  r = read_rem(s.text("b.rem", "event p\n-1 1\nmeasurements:\n" + f[0] + "\n" + f[1] + "\n" + f[2] + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: the range -1 1 of event p is outside the 3 measurement files (0 to 2).\n");
}

TEST_F(RemControlFile, RangeFormLimitOfRanges) {
  std::string f = s.native("m", 3);
  std::string ranges;
  for (int i = 0; i < 100; i++) ranges += "0 0\n";
  RemRead r = read_rem(s.text("a.rem", "event p\n" + ranges + "measurements:\n" + f + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.nstims[0], 100);
  r = read_rem(s.text("b.rem", "event p\n" + ranges + "0 0\nmeasurements:\n" + f + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: more than 100 ranges are given for event p.\n");
}

TEST_F(RemControlFile, RangeFormLimitOfFilesAndEvents) {
  std::string f = s.native("m", 3);
  std::string list = "event p\n0 0\nmeasurements:\n";
  for (int i = 0; i < 201; i++) list += f + "\n";
  RemRead r = read_rem(s.text("a.rem", list));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: more than 200 measurement files are listed.\n");
  std::string events = "event p\n0 0\n";
  for (int e = 1; e < 101; e++) events += "event q\n0 0\n";
  r = read_rem(s.text("b.rem", events + "measurements:\n" + f + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: more than 100 events are defined.\n");
}

// The second example as the program prints it, with a line end after each
// of its lines that the print runs into the next, and the study's files in
// place of its file list.
std::string printed_range_example(const std::vector<std::string> &files) {
  std::string printed = capture_output([] { REMInternal_describe_rem_format(); }).out;
  std::string example = printed.substr(printed.find("\nOR\n"));
  for (const char *glued : {"event P ramp   # pre-treated group, linear change over time",
                            "event C ramp   # pre-treated group, linear change over time", "measurements:"}) {
    size_t at = example.find(glued);
    if (at != std::string::npos) example.insert(at + strlen(glued), "\n");
  }
  std::string list;
  size_t start = 0;
  while (start < example.size()) {
    size_t end = example.find('\n', start);
    std::string line = example.substr(start, end - start);
    start = end == std::string::npos ? example.size() : end + 1;
    if (line.rfind("../", 0) == 0 || line == "..." || line == "OR" || line.rfind("Example", 0) == 0) continue;
    list += line + "\n";
  }
  for (size_t i = 0; i < files.size(); i++) list += files[i] + " # file " + std::to_string(i) + "\n";
  return list;
}

TEST_F(RemControlFile, PrintedRangeExampleReadsBack) {
  auto f = files(16, 4);
  std::string list = printed_range_example(f);
  EXPECT_NE(list.find("event P ramp   # pre-treated group, linear change over time\n0 7 "), std::string::npos) << list;
  RemRead r = read_rem(s.text("a.rem", list));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.nevents, 4);
  EXPECT_EQ(REM.ntime, 16);
  EXPECT_EQ(REM_input.smoothed_mm, 0.5f);
  EXPECT_EQ(REM_input.smooth_ratio_mm, 1.5f);
  EXPECT_EQ(REM.event_shape[0], rem::SHAPE_SQUARE);
  EXPECT_EQ(REM.event_shape[1], rem::SHAPE_RAMP);
  EXPECT_EQ(REM.event_start[1][0], 0);
  EXPECT_EQ(REM.event_stop[1][0], 7);
  EXPECT_EQ(REM.event_start[3][0], 8);
  EXPECT_EQ(REM.event_stop[3][0], 15);
  EXPECT_EQ(REM.event_shape[3], rem::SHAPE_RAMP);
  EXPECT_EQ(r.printed.out.find("Warning"), std::string::npos);
  int n;
  Captured c = capture_output([&] { EXPECT_EQ(REM_define_conditions(REM_input.condition_string, &n), 0); });
  EXPECT_EQ(n, 3);
}

TEST_F(RemControlFile, PrintedPlainExampleReadsBack) {
  // The first example as printed, its line that runs into the next ended,
  // each file name replaced by one of the study's.
  auto f = files(6, 4);
  std::string printed = capture_output([] { REMInternal_describe_rem_format(); }).out;
  std::string example = printed.substr(0, printed.find("\nOR\n"));
  const char *glued = "event c # control group";
  ASSERT_NE(example.find(glued), std::string::npos);
  example.insert(example.find(glued) + strlen(glued), "\n");
  std::string list;
  size_t start = 0, next_file = 0;
  while (start < example.size()) {
    size_t end = example.find('\n', start);
    std::string line = example.substr(start, end - start);
    start = end == std::string::npos ? example.size() : end + 1;
    if (line == "..." || line.rfind("Example", 0) == 0) continue;
    if (line.rfind("../", 0) == 0) {
      ASSERT_LT(next_file, f.size());
      line = f[next_file++] + line.substr(line.find(".bfloat") + 7);
    }
    list += line + "\n";
  }
  EXPECT_EQ(next_file, 6u);
  RemRead r = read_rem(s.text("a.rem", list));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.nevents, 2);
  EXPECT_EQ(REM.nsamples[0], 3);
  EXPECT_EQ(REM.nsamples[1], 3);
  EXPECT_EQ(REM.event_number[1], REM_EventNumberFromChar('c'));
  EXPECT_STREQ(REM_input.signal_file_name[3], f[3].c_str());
}

TEST_F(RemControlFile, ReadingAgainForgetsTheLastModel) {
  auto f = files(4);
  ASSERT_EQ(read_rem(s.text("a.rem", "smoothing 1 2\nconditions p\nevent p\n0 3\nmeasurements:\n" + f[0] + " 3\n" +
                                         f[1] + "\n" + f[2] + "\n" + f[3] + "\n"))
                .result,
            0);
  RemRead r = read_rem(s.text("b.rem", "event q\n" + f[0] + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM_input.overlapping_events, 0);
  EXPECT_EQ(REM_input.smoothed_mm, 0.0f);
  EXPECT_STREQ(REM_input.condition_string, "");
  EXPECT_EQ(REM_input.signal_magnitude[0], 1.0f);
  EXPECT_EQ(REM.ntime, 1);
  EXPECT_EQ(REM.nevents, 1);
  EXPECT_EQ(REM.nstims[0], 1);
}

TEST_F(RemControlFile, MissingMeasurementFileFailsTheRead) {
  auto f = files(1);
  RemRead r = read_rem(s.text("a.rem", "event p\n" + f[0] + "\n" + s.path("gone.nii") + "\n"));
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(REM.initialized, 0);
  EXPECT_NE(r.printed.out.find("gone.nii"), std::string::npos);
}

TEST_F(RemControlFile, QueriesAndLimits) {
  auto f = files(6);
  ASSERT_EQ(read_rem(s.text("a.rem", "event p\n0 2\n4 5\n\nevent q\n1 3\nmeasurements:\n" + f[0] + "\n" + f[1] + "\n" +
                                         f[2] + "\n" + f[3] + "\n" + f[4] + "\n" + f[5] + "\n"))
                .result,
            0);
  const int p = REM_EventNumberFromChar('p'), q = REM_EventNumberFromChar('q');
  EXPECT_EQ(REM_is_initialized(), 1);
  EXPECT_EQ(REM_get_number_events(), 2);
  EXPECT_EQ(REM_get_event_number(1), q);
  EXPECT_EQ(REM_get_event_number(2), 0);
  EXPECT_EQ(REM_get_event_index(q), 1);
  EXPECT_EQ(REM_get_event_index(3), -1);
  EXPECT_EQ(REM_get_number_time_points(), 6);
  EXPECT_EQ(REM_get_DOF_fixed(), 60);
  EXPECT_EQ(REM_get_DOF_random(), 4);
  IPOINT2D limits = REM_GetEventLimits(p);
  EXPECT_EQ(limits.x, 0);
  EXPECT_EQ(limits.y, 5);
  limits = REM_GetEventLimits(q);
  EXPECT_EQ(limits.x, 1);
  EXPECT_EQ(limits.y, 3);
  char id;
  int sample;
  EXPECT_EQ(REM_IdentifyEvent(0, &id, &sample), 1);
  EXPECT_EQ(id, 'p');
  EXPECT_EQ(sample, 0);
  EXPECT_EQ(REM_IdentifyEvent(5, &id, &sample), 1);
  EXPECT_EQ(id, 'p');
  EXPECT_EQ(sample, 5);
  EXPECT_EQ(REM_IdentifyEvent(2, &id, &sample), 2);
  EXPECT_EQ(id, '?');
  EXPECT_EQ(sample, 1);
  Captured c = capture_output([&] { EXPECT_EQ(REM_IdentifyEvent(6, &id, &sample), 1); });
  EXPECT_EQ(c.out, "Error: entry 6 is invalid in function REM_IdentifyEvent\n");
}

TEST_F(RemControlFile, FileOutsideEveryEventIsNamedAndLeftOut) {
  auto f = files(3);
  RemRead r = read_rem(s.text("a.rem", "event p\n0 0\n2 2\nmeasurements:\n" + f[0] + "\n" + f[1] + "\n" + f[2] + "\n"));
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out.rfind("Warning: file 1 [ " + f[1] + " ] is not included in any events!\n", 0), 0u);
  char id;
  int sample;
  EXPECT_EQ(REM_IdentifyEvent(1, &id, &sample), 0);
  EXPECT_EQ(id, '?');
  EXPECT_EQ(sample, -1);
}

}  // namespace
