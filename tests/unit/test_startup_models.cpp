#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"
#include "zorview_main.h"

namespace {

// A study in a fresh working directory: native float runs, event files and
// a control file, run through the program's entry as far as its windows.
class StartupModels : public ::testing::Test {
 protected:
  void SetUp() override {
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    saved_dir_ = cwd;
    dir_ = make_temp_dir();
    ASSERT_EQ(chdir(dir_.c_str()), 0);
    zorview_startup_reset();
  }
  void TearDown() override {
    ASSERT_EQ(chdir(saved_dir_.c_str()), 0);
    zorview_startup_reset();
  }
  void write(const std::string &name, const std::string &content) { write_text_file(dir_, name, content); }
  void volume(const std::string &stem, int z, int t, const char *ext = "bfloat") {
    write(stem + ".hdr", "x 4\ny 4\nz " + std::to_string(z) + "\nt " + std::to_string(t) + "\nstorage-type float\n");
    write(stem + "." + ext, std::string((size_t)16 * z * t * 4, '\0'));
  }
  void study(const std::string &keywords = "conditions 1 2\n", const std::string &tr2 = "2") {
    volume("run1", 2, 20);
    volume("run2", 2, 16);
    write("run1.glm", "2\n\n1\n4 10\n20 26\n\n2\n12 16\n");
    write("run2.glm", tr2 + "\n\n1\n2 8\n\n2\n14 18\n");
    write("study.ctl", "time-model glm\n" + keywords + "runs:\nrun1.bfloat run1.glm\nrun2.bfloat run2.glm\n");
  }
  Captured run(std::vector<std::string> args) {
    args.insert(args.begin(), "zorview");
    std::vector<char *> argv;
    for (auto &a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    return capture_until_windows([&] { zorview_main(static_cast<int>(args.size()), argv.data()); });
  }
  std::vector<std::string> names(const file_list *list) {
    std::vector<std::string> out;
    if (file_list_is_empty(list)) return out;
    for (const file_list *n = list; n; n = n->next) out.push_back(n->file_name);
    return out;
  }
  std::string dir_, saved_dir_;
};

TEST_F(StartupModels, ControlFileOpensItsRunsUnderTheModel) {
  study();
  Captured c = run({"-g", "study.ctl", "-N"});
  EXPECT_EQ(c.exit_status, -1) << c.out;
  EXPECT_EQ(names(&image_files), (std::vector<std::string>{"run1.bfloat", "run2.bfloat"}));
  EXPECT_TRUE(names(&activation_files).empty());
  EXPECT_EQ(graph.time_model, 1);
  EXPECT_EQ(GLM.initialized, 2);
  EXPECT_EQ(GLM.ntime, 36);
  EXPECT_EQ(image_stack.nt, 36);
  EXPECT_EQ(graph.type, -1);  // the graph window is not open yet
}

TEST_F(StartupModels, FirstLineNamesTheModel) {
  study();
  Captured c = run({"-t", "study.ctl", "-N"});
  EXPECT_EQ(c.exit_status, -1) << c.out;
  EXPECT_EQ(c.out.rfind("Time model is GLM for fMRI (1st level)\n", 0), 0u) << c.out;
  EXPECT_EQ(graph.time_model, 1);
}

TEST_F(StartupModels, MapsOfEachConditionAreLoaded) {
  study();
  volume("P-1", 2, 1);
  volume("P-2", 2, 1);
  Captured c = run({"-g", "study.ctl"});
  EXPECT_EQ(c.exit_status, -1) << c.out;
  EXPECT_NE(c.out.find("Failed to read NIFTI files: switch to ZOR format.\n"), std::string::npos);
  EXPECT_EQ(names(&activation_files), (std::vector<std::string>{"P-1.bfloat", "P-2.bfloat"}));
  EXPECT_EQ(activation_stack.nt, 2);
  EXPECT_EQ(activation.nmaps, 2);
  EXPECT_EQ(activation.scale_log, 1);
}

TEST_F(StartupModels, MissingMapEndsTheRun) {
  study();
  volume("P-1", 2, 1);
  Captured c = run({"-g", "study.ctl"});
  EXPECT_EQ(c.exit_status, 1);
}

TEST_F(StartupModels, WithoutTimeDataTheAverageIsShown) {
  study();
  volume("average", 2, 1);
  Captured c = run({"-g", "study.ctl", "-n", "-N"});
  EXPECT_EQ(c.exit_status, -1) << c.out;
  EXPECT_EQ(names(&image_files), std::vector<std::string>{"average.bfloat"});
  EXPECT_EQ(image_stack.nt, 1);
  EXPECT_EQ(graph.time_model, 1);
  EXPECT_EQ(GLM.initialized, 1);  // conditions by name only, no design
}

TEST_F(StartupModels, ImagesOfThreeOrMorePointsOpenUnderAnEmptyModel) {
  volume("a", 2, 3);
  volume("b", 2, 4);
  Captured c = run({"a.bfloat", "b.bfloat"});
  EXPECT_EQ(c.exit_status, -1) << c.out;
  EXPECT_EQ(graph.time_model, 1);
  EXPECT_EQ(GLM.nruns, 2);
  EXPECT_EQ(GLM.ntime, 7);
  EXPECT_EQ(GLM.run_start[1], 3);
  EXPECT_EQ(GLM.run_stop[1], 6);
  EXPECT_EQ(GLM.nevents, 0);
  EXPECT_EQ(GLM.ncoeff, 2 * 3);
  EXPECT_EQ(GLM.initialized, 2);
  EXPECT_EQ(glm_model.shape, SHAPE_GAMMA);
}

TEST_F(StartupModels, TwoPointImageAmongLongerOnesStopsTheDefaultModel) {
  volume("a", 2, 5);
  volume("b", 2, 2);
  Captured c = run({"a.bfloat", "b.bfloat"});
  EXPECT_EQ(c.exit_status, -1) << c.out;
  EXPECT_EQ(graph.time_model, 0);
  EXPECT_EQ(GLM.initialized, 0);
}

TEST_F(StartupModels, MissingRunEndsTheRunAtStartup) {
  study();
  unlink("run2.hdr");
  Captured c = run({"-g", "study.ctl", "-N"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_NE(c.out.find("run2"), std::string::npos) << c.out;
}

TEST_F(StartupModels, MissingEventFileEndsTheRunAtStartup) {
  study();
  unlink("run2.glm");
  Captured c = run({"-g", "study.ctl", "-N"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_NE(c.out.find("run2.glm"), std::string::npos) << c.out;
}

TEST_F(StartupModels, RunOfOtherDimensionsEndsTheRunAtStartup) {
  study();
  volume("run2", 3, 16);
  Captured c = run({"-g", "study.ctl", "-N"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_FALSE(c.out.empty());
}

TEST_F(StartupModels, EventFilesWithDifferentTrEndTheRunAtStartup) {
  study("conditions 1 2\n", "2.5");
  Captured c = run({"-g", "study.ctl", "-N"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_NE(c.out.find("Error: TR (2.500000) is not the same as the first run (2.000000).\n"), std::string::npos)
      << c.out;
}

TEST_F(StartupModels, ConditionOfAnUndefinedEventEndsTheRunAtStartup) {
  study("conditions 1 5\n");
  Captured c = run({"-g", "study.ctl", "-N"});
  EXPECT_EQ(c.exit_status, 1) << c.out;
}

TEST_F(StartupModels, MainRunsAgainWithAFreshModel) {
  study();
  run({"-g", "study.ctl", "-N"});
  volume("a", 2, 2);
  Captured c = run({"a.bfloat"});
  EXPECT_EQ(c.exit_status, -1) << c.out;
  EXPECT_EQ(graph.time_model, 0);
  EXPECT_EQ(GLM.initialized, 0);
  EXPECT_EQ(GLM.nevents, 0);
}

}  // namespace
