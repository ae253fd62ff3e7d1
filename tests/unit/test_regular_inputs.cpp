// Every reader of the program's inputs refuses what is not a regular file:
// a pipe named as a volume, a model file or a region list would block the
// opening for ever, and a device would feed data without end. Each call
// runs in a child process that is ended if it hangs.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "stack_test_helpers.h"
#include "test_support.h"
#include "zor.h"

namespace {

class RegularInputs : public ::testing::Test {
 protected:
  std::string dir = make_temp_dir();

  std::string fifo(const std::string &name) {
    std::string path = dir + "/" + name;
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0) << path;
    return path;
  }
  static std::vector<char> writable(const std::string &s) {
    std::vector<char> v(s.begin(), s.end());
    v.push_back('\0');
    return v;
  }
  // The reader's result and message, within a few seconds.
  static void expect_refused(const std::function<int()> &read, const std::string &message) {
    ChildRun run = run_in_child(read, 10);
    ASSERT_TRUE(run.finished) << "the reader blocked or crashed; expected: " << message;
    EXPECT_EQ(run.exit_status, -1);
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(run.out, message);
  }
};

TEST_F(RegularInputs, PipeNamedAsANiftiFile) {
  std::string name = fifo("pipe.nii");
  expect_refused(
      [&] {
        XD_HEADER header;
        return read_volume_header(0, name.c_str(), &header);
      },
      "Error: cannot open Nifti file " + name + ".\n");
}

TEST_F(RegularInputs, PipeNamedAsNativeData) {
  write_text_file(dir, "pipe.hdr", "x 2\ny 2\nz 1\nt 1\nstorage-type short\n");
  std::string name = fifo("pipe.bshort");
  expect_refused(
      [&] {
        read_SpaceTime_data_reset();
        data_stack stack;
        clear_stack(&stack);
        TestFileList files;
        files.add(name);
        int nfiles = 0;
        return read_SpaceTime_data(0, 1, &stack, &files.head, &nfiles);
      },
      "voxels (2,2,1,1), res (1,1,1,0)\n\nError: cannot open file " + name + ".\n");
}

TEST_F(RegularInputs, PipeNamedAsAFreeSurferSeriesHeader) {
  std::string name = fifo("run.bhdr");
  expect_refused(
      [&] {
        XD_HEADER header;
        return read_volume_header(0, (dir + "/run_").c_str(), &header);
      },
      "Error: cannot open freesurfer bhdr file " + name + ".\n");
}

TEST_F(RegularInputs, PipesNamedAsModelFiles) {
  std::string control = fifo("a.ctl"), events = fifo("a.glm"), table = fifo("a.dat"), irf = fifo("a.irf");
  expect_refused(
      [&] {
        GLM_engine_reset();
        return GLM_read_control_file(writable(control).data(), 0);
      },
      "Error: cannot open the file " + control + ".\n");
  expect_refused(
      [&] {
        GLM_engine_reset();
        return GLM_read_event_file(writable(events).data(), 0, 10);
      },
      "Error attempting to open the GLM file " + events + ".\n");
  expect_refused(
      [&] {
        GLM_engine_reset();
        return GLM_read_table_file(writable(table).data(), 0, 10);
      },
      "Error attempting to open the TABLE file " + table + ".\n");
  expect_refused(
      [&] {
        GLM_engine_reset();
        return GLM_read_hrf_file(0, writable(irf).data());
      },
      "Error attempting to open the IRF file " + irf + ".\n");
}

TEST_F(RegularInputs, PipesNamedAsRegionFiles) {
  std::string list = fifo("a.list"), region = fifo("a.ovl"), wire = fifo("a.wire"), tracts = fifo("a.trk");
  expect_refused([&] { return read_overlay_list(list.c_str()); }, "Error: cannot open the file " + list + ".\n");
  expect_refused([&] { return read_wire_file(wire.c_str(), &wire_root, 0); }, "Error opening file " + wire + "\n");
  expect_refused([&] { return read_DTI_tract_file(tracts.c_str()); },
                 "Error: cannot open the DTI tract file " + tracts + "\n");
  expect_refused(
      [&] {
        ovl_list node{};
        return read_overlay_file(region.c_str(), &node);
      },
      "Error opening file " + region + "\n");
}

TEST_F(RegularInputs, DirectoryNamedAsAVolume) {
  std::string name = dir + "/folder.nii";
  ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
  expect_refused(
      [&] {
        XD_HEADER header;
        return read_volume_header(0, name.c_str(), &header);
      },
      "Error: cannot open Nifti file " + name + ".\n");
}

}  // namespace
