#include <gtest/gtest.h>

#include <string>

#include "test_support.h"
#include "zor_time_model.h"

namespace {

struct Determined {
  int model;
  Captured printed;
};

Determined determine(const std::string &content) {
  const std::string dir = make_temp_dir();
  std::string path = write_text_file(dir, "model.ctl", content);
  Determined d{-99, {}};
  d.printed = capture_output([&] { d.model = determine_TimeSeriesModel(path.data()); });
  return d;
}

const char *const kFirstLineHelp =
    "models:\n"
    "\tglm, GLM, fMRI-GLM\n"
    "\tsrtm, SRTM, MRTM, LSRRM\n"
    "\trem, REM, mem, MEM\n"
    "\tOR generalized fitting, with the argument indicating the fit type\n";

TEST(ModelFromControlFile, EveryGlmNameGivesModelOne) {
  for (const char *name : {"glm", "GLM", "fMRI-GLM"}) {
    Determined d = determine(std::string("time-model ") + name + "\nruns:\n");
    EXPECT_EQ(d.model, 1) << name;
    EXPECT_EQ(d.printed.out, "Time model is GLM for fMRI (1st level)\n");
  }
}

TEST(ModelFromControlFile, GroupPetAndDistributionVolumeNames) {
  for (const char *name : {"rem", "REM", "mem", "MEM"}) {
    Determined d = determine(std::string("time-model ") + name + "\n");
    EXPECT_EQ(d.model, 2) << name;
    EXPECT_EQ(d.printed.out, "Time model is REM/MEM (random-effects or mixed-effects model)\n");
  }
  for (const char *name : {"srtm", "SRTM", "MRTM", "LSRRM"}) {
    Determined d = determine(std::string("time-model\t") + name + "\n");
    EXPECT_EQ(d.model, 3) << name;
    EXPECT_EQ(d.printed.out, "Time model is SRTM for PET\n");
  }
  for (const char *name : {"DV", "distribution-volume"}) {
    Determined d = determine(std::string("time-model ") + name + "  # a comment\n");
    EXPECT_EQ(d.model, 3) << name;
    EXPECT_EQ(d.printed.out, "Time model is DV for PET\n");
  }
}

TEST(ModelFromControlFile, AnyOtherWordIsAFitType) {
  for (const char *name : {"T2", "dti", "Glm", "glm2"}) {
    Determined d = determine(std::string("time-model ") + name + "\n");
    EXPECT_EQ(d.model, 4) << name;
    EXPECT_EQ(d.printed.out, "Time model is generalized fitting\n");
  }
}

TEST(ModelFromControlFile, CommentAndBlankLinesBeforeTheKeywordAreSkipped) {
  Determined d = determine("# a study\n\n   \n\t# more\n# time-model rem\ntime-model srtm\n");
  EXPECT_EQ(d.model, 3);
  EXPECT_EQ(d.printed.out, "Time model is SRTM for PET\n");
}

TEST(ModelFromControlFile, KeywordWithoutANameIsNotAFixedModel) {
  Determined d = determine("time-model\n");
  EXPECT_EQ(d.model, 4);
  EXPECT_EQ(d.printed.out, "Time model is generalized fitting\n");
}

TEST(ModelFromControlFile, AnotherFirstKeywordIsRefused) {
  const std::string dir = make_temp_dir();
  std::string path = write_text_file(dir, "bad.ctl", "conditions 1 2\ntime-model glm\n");
  int model = -1;
  Captured c = capture_output([&] { model = determine_TimeSeriesModel(path.data()); });
  EXPECT_EQ(model, 0);
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "Error: the first line in the time model file " + path +
                       " should be 'time-model [model name]'.\n" + kFirstLineHelp);
}

TEST(ModelFromControlFile, EmptyFileIsRefusedWithTheSameHelp) {
  const std::string dir = make_temp_dir();
  std::string path = write_text_file(dir, "empty.ctl", "# nothing\n\n");
  int model = -1;
  Captured c = capture_output([&] { model = determine_TimeSeriesModel(path.data()); });
  EXPECT_EQ(model, 0);
  EXPECT_EQ(c.out, "Error: the first line in the time model file " + path +
                       " should be 'time-model [model name]'.\n" + kFirstLineHelp);
}

TEST(ModelFromControlFile, MissingFile) {
  std::string path = make_temp_dir() + "/absent.ctl";
  int model = -1;
  Captured c = capture_output([&] { model = determine_TimeSeriesModel(path.data()); });
  EXPECT_EQ(model, 0);
  EXPECT_EQ(c.out, "Error: cannot open file " + path + " containing the time model\n");
}

TEST(ModelFromControlFile, LongLineDoesNotOverflow) {
  Determined d = determine("time-model " + std::string(3000, 'x') + "\n");
  EXPECT_EQ(d.model, 4);
}

}  // namespace
