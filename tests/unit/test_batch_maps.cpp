// The batch of maps end to end in process: files appear whole or not at
// all (a full disk leaves no map and no temporary file, and earlier maps as
// they were), an unwritable folder is refused before any fit, missing and
// damaged inputs end in a message and status 1; maps written and read back
// by the volume loader; the threads' maps equal the single fits; and the
// progress line shows only when asked.
#include <dirent.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zlib.h>

#include "test_support.h"
#include "zor.h"
#include "zor_startup.h"
#include "zorview_main.h"

namespace {

const IPOINT3D DIM = {4, 3, 2};
const int NT = 24;

nifti_geometry plain_geometry() {
  nifti_geometry g;
  memset(&g, 0, sizeof g);
  g.dim = DIM;
  for (int i = 0; i < 8; i++) g.pixdim[i] = 1.0f;
  g.pixdim[1] = 2.0f;
  g.pixdim[2] = 2.5f;
  g.pixdim[3] = 3.0f;
  g.qform_code = 1;
  g.qoffset_x = -4.0f;
  g.qoffset_y = 5.0f;
  g.qoffset_z = 6.5f;
  g.xyzt_units = 10;
  return g;
}

std::set<std::string> files_in(const std::string &dir) {
  std::set<std::string> names;
  DIR *d = opendir(dir.c_str());
  if (!d) return names;
  while (dirent *e = readdir(d))
    if (strcmp(e->d_name, ".") && strcmp(e->d_name, "..")) names.insert(e->d_name);
  closedir(d);
  return names;
}

std::string read_all(const std::string &path) {
  std::ifstream f(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

// A one-run study: a block design in half the voxels, a drift elsewhere.
struct Study {
  std::string dir, control;
  std::vector<float> data;
};

Study write_study() {
  Study s;
  s.dir = make_temp_dir();
  const int n3d = DIM.x * DIM.y * DIM.z;
  s.data.resize((size_t)n3d * NT);
  unsigned state = 7;
  for (int t = 0; t < NT; t++)
    for (int v = 0; v < n3d; v++) {
      state = state * 1103515245u + 12345u;
      const float noise = (float)((state >> 16) & 1023) / 256.0f;
      const float block = (t % 8) < 4 ? 1.0f : 0.0f;
      s.data[(size_t)t * n3d + v] = 100.0f + noise + (v % 2 ? 6.0f * block : 0.1f * t);
    }
  const nifti_geometry g = plain_geometry();
  EXPECT_EQ(write_nifti_volumes((s.dir + "/run1.nii").c_str(), &g, NT, s.data.data(), 0), 0);
  write_text_file(s.dir, "run1.glm", "2\n\n1\n0 8\n16 24\n32 40\n");
  s.control = write_text_file(s.dir, "study.ctl",
                              "time-model glm\nconditions 1\nruns:\n" + s.dir + "/run1.nii " + s.dir + "/run1.glm\n");
  return s;
}

int run_batch(const maps_options &options, std::string *out = nullptr) {
  maps_reset();
  int status = -1;
  Captured c = capture_output([&] { status = maps_run(&options); });
  if (out) *out = c.out;
  EXPECT_EQ(c.exit_status, -1) << c.out;
  return status;
}

template <typename F>
void in_folder(const std::string &dir, F body) {
  char here[4096];
  ASSERT_NE(getcwd(here, sizeof here), nullptr);
  ASSERT_EQ(chdir(dir.c_str()), 0);
  body();
  ASSERT_EQ(chdir(here), 0);
}

const std::set<std::string> GLM_MAPS = {"average.nii", "P-1.nii", "T-1.nii", "S-1.nii"};

}  // namespace

TEST(BatchMaps, WritesEveryMapAndTheLoaderReadsThemBack) {
  Study s = write_study();
  const std::string out = make_temp_dir();
  maps_options o;
  o.control = s.control;
  o.nthreads = 2;
  o.progress = 0;
  in_folder(out, [&] { EXPECT_EQ(run_batch(o), 0); });
  EXPECT_EQ(files_in(out), GLM_MAPS);
  // The average, as the viewer's loader reads it, with the run's geometry.
  XD_HEADER h;
  ASSERT_EQ(read_volume_header(0, (out + "/S-1.nii").c_str(), &h), 0);
  EXPECT_EQ(h.nt, 2);
  EXPECT_EQ(h.dim.x, DIM.x);
  EXPECT_EQ(h.dim.z, DIM.z);
  EXPECT_EQ(h.lDOF, NT - 4);  // block and three baseline terms
  EXPECT_FLOAT_EQ(h.resolution.y, 2.5f);
  EXPECT_FLOAT_EQ(h.ijk_to_xyz.m[0][3], -4.0f);
  EXPECT_FLOAT_EQ(h.ijk_to_xyz.m[2][3], 6.5f);
  maps_study study;
  in_folder(out, [&] {
    maps_reset();
    Captured c = capture_output([&] { EXPECT_EQ(maps_load_study({"average.nii"}, 1, "maps", &study), 0); });
  });
  const int n3d = DIM.x * DIM.y * DIM.z;
  for (int v = 0; v < n3d; v++) {
    double sum = 0.0;
    for (int t = 0; t < NT; t++) sum += s.data[(size_t)t * n3d + v];
    EXPECT_EQ(study.stack.Volume[0][v], (float)(sum / NT)) << v;
  }
  maps_release_study(&study);
}

TEST(BatchMaps, AFullDiskLeavesNoMapAndNoTemporaryFile) {
  Study s = write_study();
  const std::string out = make_temp_dir();
  maps_options o;
  o.control = s.control;
  o.progress = 0;
  std::string text;
  atomic_file_simulate_full_disk(1);
  in_folder(out, [&] { EXPECT_EQ(run_batch(o, &text), 1); });
  atomic_file_simulate_full_disk(0);
  EXPECT_NE(text.find("Error: cannot write the map average.nii.\n"), std::string::npos) << text;
  EXPECT_TRUE(files_in(out).empty());
}

TEST(BatchMaps, AFailedRunLeavesEarlierMapsAsTheyWere) {
  Study s = write_study();
  const std::string out = make_temp_dir();
  maps_options o;
  o.control = s.control;
  o.progress = 0;
  in_folder(out, [&] { ASSERT_EQ(run_batch(o), 0); });
  const std::string before = read_all(out + "/P-1.nii");
  ASSERT_FALSE(before.empty());
  // Different data, then a disk that fills: every old map stays whole.
  for (float &v : s.data) v *= 2.0f;
  const nifti_geometry g = plain_geometry();
  ASSERT_EQ(write_nifti_volumes((s.dir + "/run1.nii").c_str(), &g, NT, s.data.data(), 0), 0);
  atomic_file_simulate_full_disk(1);
  in_folder(out, [&] { EXPECT_EQ(run_batch(o), 1); });
  atomic_file_simulate_full_disk(0);
  EXPECT_EQ(files_in(out), GLM_MAPS);
  EXPECT_EQ(read_all(out + "/P-1.nii"), before);
}

TEST(BatchMaps, AnUnwritableFolderIsRefusedBeforeTheFit) {
  Study s = write_study();
  maps_options o;
  o.control = s.control;
  o.progress = 0;
  std::string text;
  // Not even the superuser creates files in /proc.
  in_folder("/proc", [&] { EXPECT_EQ(run_batch(o, &text), 1); });
  EXPECT_EQ(text, "Time model is GLM for fMRI (1st level)\nError: cannot write maps into the folder /proc.\n");
}

TEST(BatchMaps, MissingAndDamagedInputsEndInAMessage) {
  Study s = write_study();
  const std::string out = make_temp_dir();
  maps_options o;
  o.progress = 0;
  std::string text;
  o.control = s.dir + "/none.ctl";
  in_folder(out, [&] { EXPECT_EQ(run_batch(o, &text), 1); });
  EXPECT_EQ(text, "Error: cannot open file " + o.control + " containing the time model\n");

  o.control = write_text_file(s.dir, "missing.ctl",
                              "time-model glm\nconditions 1\nruns:\n" + s.dir + "/gone.nii " + s.dir + "/run1.glm\n");
  in_folder(out, [&] { EXPECT_EQ(run_batch(o, &text), 1); });
  EXPECT_NE(text.find("Error: cannot open Nifti file " + s.dir + "/gone.nii."), std::string::npos) << text;

  // A compressed run cut short inside its voxels.
  const std::string whole = read_all(s.dir + "/run1.nii");
  gzFile gz = gzopen((s.dir + "/run1.nii.gz").c_str(), "wb");
  ASSERT_NE(gz, nullptr);
  gzwrite(gz, whole.data(), (unsigned)whole.size());
  gzclose(gz);
  const std::string packed = read_all(s.dir + "/run1.nii.gz");
  write_binary_file(s.dir, "cut.nii.gz", packed.data(), packed.size() * 2 / 3);
  o.control = write_text_file(s.dir, "cut.ctl",
                              "time-model glm\nconditions 1\nruns:\n" + s.dir + "/cut.nii.gz " + s.dir + "/run1.glm\n");
  in_folder(out, [&] { EXPECT_EQ(run_batch(o, &text), 1); });
  EXPECT_NE(text.find("Error: the compressed file " + s.dir + "/cut.nii.gz ends early: it is truncated.\n"),
            std::string::npos)
      << text;
  EXPECT_TRUE(files_in(out).empty());

  // The whole compressed run gives the maps of the plain one, byte for byte.
  const std::string plain = make_temp_dir(), packed_out = make_temp_dir();
  o.control = s.control;
  in_folder(plain, [&] { EXPECT_EQ(run_batch(o), 0); });
  o.control = write_text_file(s.dir, "gz.ctl",
                              "time-model glm\nconditions 1\nruns:\n" + s.dir + "/run1.nii.gz " + s.dir + "/run1.glm\n");
  in_folder(packed_out, [&] { EXPECT_EQ(run_batch(o), 0); });
  for (const std::string &name : GLM_MAPS) EXPECT_EQ(read_all(plain + "/" + name), read_all(packed_out + "/" + name));
}

TEST(BatchMaps, ThreadsGiveTheMapsOfOneThread) {
  Study s = write_study();
  maps_options o;
  o.control = s.control;
  o.progress = 0;
  const std::string one = make_temp_dir(), four = make_temp_dir();
  o.nthreads = 1;
  in_folder(one, [&] { EXPECT_EQ(run_batch(o), 0); });
  o.nthreads = 4;
  in_folder(four, [&] { EXPECT_EQ(run_batch(o), 0); });
  for (const std::string &name : GLM_MAPS) {
    const std::string a = read_all(one + "/" + name);
    EXPECT_FALSE(a.empty());
    EXPECT_EQ(a, read_all(four + "/" + name)) << name;
  }
}

TEST(BatchMaps, TheProgressLineShowsOnlyWhenAsked) {
  Study s = write_study();
  const std::string out = make_temp_dir();
  maps_options o;
  o.control = s.control;
  std::string text;
  o.progress = 0;
  in_folder(out, [&] { EXPECT_EQ(run_batch(o, &text), 0); });
  EXPECT_EQ(text.find("fitting the linear model"), std::string::npos);
  o.progress = 1;
  in_folder(out, [&] { EXPECT_EQ(run_batch(o, &text), 0); });
  EXPECT_NE(text.find("\rfitting the linear model: 100 %\n"), std::string::npos) << text;
  // Standard output here is no terminal: the default stays quiet.
  o.progress = -1;
  in_folder(out, [&] { EXPECT_EQ(run_batch(o, &text), 0); });
  EXPECT_EQ(text.find("fitting the linear model"), std::string::npos);
}

TEST(BatchMaps, TheViewerOpensTheMapsWithTheSameControlFile) {
  Study s = write_study();
  maps_options o;
  o.control = s.control;
  o.progress = 0;
  in_folder(s.dir, [&] { ASSERT_EQ(run_batch(o), 0); });
  std::vector<float> written[3];
  maps_study maps;
  in_folder(s.dir, [&] {
    maps_reset();
    Captured c = capture_output([&] { EXPECT_EQ(maps_load_study({"P-1.nii", "T-1.nii", "S-1.nii"}, 4, "maps", &maps), 0); });
  });
  const int n3d = DIM.x * DIM.y * DIM.z;
  ASSERT_EQ(maps.ntime, 4);
  // The viewer's start-up with the control file, up to its windows: the
  // runs are the images and the maps of the condition its colour maps.
  std::vector<std::string> args = {"zorview", "-g", s.control, "-T", "-S"};
  std::vector<char *> argv;
  for (auto &a : args) argv.push_back(a.data());
  in_folder(s.dir, [&] {
    zorview_startup_reset();
    Captured c = capture_until_windows([&] { zorview_main((int)argv.size(), argv.data()); });
    EXPECT_EQ(c.exit_status, -1) << c.out;
  });
  std::vector<std::string> names;
  for (const file_list *f = &activation_files; f && f->file_name[0]; f = f->next) names.push_back(f->file_name);
  EXPECT_EQ(names, (std::vector<std::string>{"P-1.nii", "T-1.nii", "S-1.nii"}));
  EXPECT_EQ(image_stack.nt, NT);
  // An S map shows its first volume, the effect size; the error behind it
  // is for the group model, which reads the file as a value and its error.
  ASSERT_EQ(activation_stack.nt, 3);
  for (int t = 0; t < 3; t++)
    for (int v = 0; v < n3d; v++) EXPECT_EQ(activation_stack.Volume[t][v], maps.stack.Volume[t][v]) << t << " " << v;
  // The P map holds -log10 p with the sign of the contrast: the block
  // voxels are the significant ones.
  EXPECT_GT(activation_stack.Volume[0][1], 2.0f);
  EXPECT_LT(fabsf(activation_stack.Volume[0][0]), activation_stack.Volume[0][1]);
  maps_release_study(&maps);

  // Without the runs the average is the image.
  std::vector<std::string> args2 = {"zorview", "-g", s.control, "-n"};
  std::vector<char *> argv2;
  for (auto &a : args2) argv2.push_back(a.data());
  in_folder(s.dir, [&] {
    zorview_startup_reset();
    Captured c = capture_until_windows([&] { zorview_main((int)argv2.size(), argv2.data()); });
    EXPECT_EQ(c.exit_status, -1) << c.out;
  });
  EXPECT_EQ(image_stack.nt, 1);
  EXPECT_STREQ(image_files.file_name, "average.nii");
  zorview_startup_reset();
}

TEST(BatchMaps, ANativeOutputFormatGivesNativeMapsOfTheSameValues) {
  Study s = write_study();
  maps_options o;
  o.progress = 0;
  o.control = s.control;
  const std::string nifti = make_temp_dir(), native = make_temp_dir();
  in_folder(nifti, [&] { ASSERT_EQ(run_batch(o), 0); });
  o.control = write_text_file(s.dir, "native.ctl",
                              "time-model glm\noutput-format zor\nconditions 1\nruns:\n" + s.dir + "/run1.nii " +
                                  s.dir + "/run1.glm\n");
  in_folder(native, [&] { ASSERT_EQ(run_batch(o), 0); });
  EXPECT_EQ(files_in(native), (std::set<std::string>{"average.bfloat", "average.hdr", "P-1.bfloat", "P-1.hdr",
                                                     "T-1.bfloat", "T-1.hdr", "S-1.bfloat", "S-1.hdr"}));
  for (const char *stem : {"average", "P-1", "T-1", "S-1"}) {
    const std::string a = read_all(nifti + "/" + stem + ".nii"), b = read_all(native + "/" + stem + ".bfloat");
    ASSERT_GT(a.size(), b.size());
    EXPECT_EQ(a.substr(a.size() - b.size()), b) << stem;  // the same floats after the NIfTI header
    XD_HEADER h;
    ASSERT_EQ(read_volume_header(0, (native + "/" + stem + ".bfloat").c_str(), &h), 0);
    EXPECT_EQ(h.dim.x, DIM.x);
    EXPECT_EQ(h.nt, std::string(stem) == "S-1" ? 2 : 1);
    EXPECT_FLOAT_EQ(h.resolution.x, 2.0f);
    EXPECT_FLOAT_EQ(h.origin.z, 6.5f);
    EXPECT_EQ(h.lDOF, std::string(stem) == "average" ? 0 : NT - 4);
  }
  // The viewer with that control file opens the native names.
  std::vector<std::string> args = {"zorview", "-g", o.control, "-T"};
  std::vector<char *> argv;
  for (auto &a : args) argv.push_back(a.data());
  in_folder(native, [&] {
    zorview_startup_reset();
    Captured c = capture_until_windows([&] { zorview_main((int)argv.size(), argv.data()); });
    EXPECT_EQ(c.exit_status, -1) << c.out;
  });
  EXPECT_STREQ(activation_files.file_name, "P-1.bfloat");
  EXPECT_EQ(activation_stack.nt, 2);
  zorview_startup_reset();
}
