// The group model in the viewer: files, paired and unpaired graphs, the fit
// with the variance from its map (at the cross-hair or over a region),
// against the closed form of a generalized least-squares fit of group
// means; the panel, the information lines and the model's table columns.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "rem_test_files.h"
#include "zor.h"

namespace {

// Values and standard errors of four files at voxels 0 and 1.
const float kValue[4][2] = {{2.0f, 5.0f}, {4.0f, 6.0f}, {7.0f, 1.0f}, {9.0f, 3.0f}};
const float kError[4][2] = {{1.0f, 0.5f}, {2.0f, 0.5f}, {0.5f, 1.0f}, {1.5f, 1.0f}};
const float kSigma2[2] = {0.75f, 2.0f};

std::string read_file(const std::string &name) {
  std::ifstream f(name, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

struct RemView : ::testing::Test {
  RemStudy s;
  std::string old_dir;
  std::vector<float> y, y1, y2, fit, fit_err, x;
  std::vector<IPOINT3D> voxels;
  std::vector<float> weights;

  void SetUp() override {
    char buf[4096];
    ASSERT_NE(getcwd(buf, sizeof buf), nullptr);
    old_dir = buf;
    ASSERT_EQ(chdir(s.dir.c_str()), 0);
    zorview_startup_reset();
    glm_view_reset();
    selectable_text_reset();
    REM_engine_reset();
    graph = graph_struct{};
    mosaic.icross = IPOINT3D{0, 0, 0};
    ovl_root.npts = 0;
  }
  void TearDown() override {
    graph.yVector = graph.yVector1 = graph.yVector2 = graph.yFit = graph.yFit_err = graph.xVector = nullptr;
    graph.time_model = 0;
    ovl_root.npts = 0;
    ovl_root.voxel = nullptr;
    ovl_root.weight = nullptr;
    zorview_startup_reset();
    ASSERT_EQ(chdir(old_dir.c_str()), 0);
  }

  // Four files in two groups, each with `nt` volumes (2: value and error).
  std::string study(int nt, const std::string &extra = "") {
    std::string files[4];
    for (int f = 0; f < 4; f++) {
      std::vector<float> v = {kValue[f][0], kValue[f][1]};
      if (nt == 2) v.insert(v.end(), {kError[f][0], kError[f][1]});
      files[f] = s.native("f" + std::to_string(f), 10, nt, v);
    }
    s.native("sigma2", 0, 3, {0, 0, 0, 0, kSigma2[0], kSigma2[1]});
    return s.text("group.rem", "output-format zor\n" + extra + "conditions p c p-c\nevent p\n" + files[0] + "\n" +
                                   files[1] + "\nevent c\n" + files[2] + "\n" + files[3] + "\n");
  }

  Captured load(const std::string &control, int include_maps = 1) {
    initialize_TimeSeriesModel(MODEL_REM);
    std::vector<char> name(control.begin(), control.end());
    name.push_back('\0');
    int result = -1;
    Captured c = capture_output([&] { result = read_TimeSeriesModel(name.data()); });
    EXPECT_EQ(result, 0) << c.out;
    int flags[5] = {1, include_maps, 0, 0, 0};
    c = capture_output([&] { result = define_TimeSeriesModel(5, flags); });
    c.exit_status = result;
    return c;
  }

  // The graph of voxel v as the stack would give it.
  void graph_of(int v, bool paired) {
    const int n = paired ? 8 : 4;
    for (auto *vec : {&y, &y1, &y2, &fit, &fit_err, &x}) vec->assign(n, 0.0f);
    for (int f = 0; f < 4; f++) {
      if (paired) {
        y[2 * f] = kValue[f][v];
        y[2 * f + 1] = kError[f][v];
      } else {
        y[f] = kValue[f][v];
      }
    }
    for (int j = 0; j < n; j++) x[j] = get_REM_xValue(j);
    y1 = y;
    graph.type = 1;
    graph.npoints = n;
    graph.yVector = y.data();
    graph.yVector1 = y1.data();
    graph.yVector2 = y2.data();
    graph.yFit = fit.data();
    graph.yFit_err = fit_err.data();
    graph.xVector = x.data();
    mosaic.icross = IPOINT3D{v, 0, 0};
  }

  // Weighted mean of a group and its standard error, in double precision.
  static void group_mean(int first, int v, double sigma2, bool paired, double *mean, double *sem) {
    double sw = 0.0, swy = 0.0;
    for (int f = first; f < first + 2; f++) {
      const double e = paired ? kError[f][v] : 0.0;
      const double w = 1.0 / (e * e + sigma2);
      sw += w;
      swy += w * kValue[f][v];
    }
    *mean = swy / sw;
    *sem = std::sqrt(1.0 / sw);
  }
};

TEST_F(RemView, DefineAddsTheFilesAndTheMapsAndReadsTheVariance) {
  Captured c = load(study(2));
  EXPECT_EQ(c.exit_status, 0) << c.out;
  EXPECT_NE(c.out.find("conditions = p c p-c\n"), std::string::npos) << c.out;
  int nfiles = 0;
  for (file_list *f = &image_files; f && f->file_name[0]; f = f->next) nfiles++;
  EXPECT_EQ(nfiles, 4);
  std::vector<std::string> maps;
  for (file_list *f = &activation_files; f && f->file_name[0]; f = f->next) maps.push_back(f->file_name);
  EXPECT_EQ(maps, (std::vector<std::string>{"P-p.bfloat", "P-c.bfloat", "P-p-c.bfloat"}));
  EXPECT_EQ(sigma2_stack.nt, 3);
  EXPECT_EQ(TimeSeriesModel_is_initialized() != 0, true);
  char name[1024];
  get_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "REM");
}

TEST_F(RemView, AVarianceMapWithoutThreeVolumesIsRefused) {
  const std::string control = study(2);
  s.native("sigma2", 0, 2, {0, 0, 1, 1});
  Captured c = load(control, 0);
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_NE(c.out.find("Error: file sigma2.bfloat had 2 time points, but 3 were expected.\n"), std::string::npos)
      << c.out;
}

TEST_F(RemView, AMissingVarianceMapIsRefused) {
  const std::string control = study(2);
  ASSERT_EQ(unlink("sigma2.bfloat"), 0);
  Captured c = load(control, 0);
  EXPECT_EQ(c.exit_status, 1);
}

TEST_F(RemView, FilesOfMixedVolumeCountsAreRefused) {
  const std::string control = study(2);
  s.native("f3", 10, 1, {1, 1});
  Captured c = load(control, 0);
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_NE(c.out.find("Error: file " + s.path("f3.bfloat") +
                       " holds 1 volumes, but every REM file must hold 2 (1: value, 2: value and error).\n"),
            std::string::npos)
      << c.out;
}

TEST_F(RemView, PairedFitIsTheWeightedMeanOfEachGroup) {
  load(study(2), 0);
  for (int v = 0; v < 2; v++) {
    graph_of(v, true);
    ASSERT_EQ(REM_graph_is_paired(), 1);
    fill_TimeSeriesModel(mosaic.icross);
    EXPECT_EQ(REM_view_sigma2(), kSigma2[v]);
    for (int f = 0; f < 4; f++) {
      double mean, sem;
      group_mean(f < 2 ? 0 : 2, v, kSigma2[v], true, &mean, &sem);
      EXPECT_NEAR(fit[2 * f], mean, 1e-5 * std::fabs(mean)) << v << " " << f;
      EXPECT_NEAR(fit_err[2 * f], sem, 1e-5 * sem) << v << " " << f;
      EXPECT_NEAR(fit[2 * f + 1], mean, 1e-5 * std::fabs(mean));  // magnitudes of 1
    }
    double p_mean, p_sem;
    group_mean(0, v, kSigma2[v], true, &p_mean, &p_sem);
    EXPECT_NEAR(glm_model.effect_size, p_mean, 1e-5 * std::fabs(p_mean));
    EXPECT_NEAR(glm_model.effect_sem, p_sem, 1e-5 * p_sem);
  }
}

TEST_F(RemView, SingleVolumeFilesGiveAnUnpairedGraphWithoutErrors) {
  load(study(1), 0);
  graph_of(1, false);
  EXPECT_EQ(REM_graph_is_paired(), 0);
  fill_TimeSeriesModel(mosaic.icross);
  for (int f = 0; f < 4; f++) {
    double mean, sem;
    group_mean(f < 2 ? 0 : 2, 1, kSigma2[1], false, &mean, &sem);
    EXPECT_NEAR(fit[f], mean, 1e-5 * std::fabs(mean));
  }
}

TEST_F(RemView, ARegionTakesTheWeightedMeanVarianceAndAnEmptyOneTheCrossHair) {
  load(study(2), 0);
  graph_of(0, true);
  voxels = {IPOINT3D{0, 0, 0}, IPOINT3D{1, 0, 0}};
  weights = {1.0f, 0.5f};
  ovl_root.voxel = voxels.data();
  ovl_root.weight = weights.data();
  ovl_root.npts = 2;
  fill_TimeSeriesModel(mosaic.icross);
  EXPECT_FLOAT_EQ(REM_view_sigma2(), (kSigma2[0] + 0.5f * kSigma2[1]) / 1.5f);
  ovl_root.npts = 0;
  mosaic.icross = IPOINT3D{1, 0, 0};
  fill_TimeSeriesModel(mosaic.icross);
  EXPECT_EQ(REM_view_sigma2(), kSigma2[1]);
}

TEST_F(RemView, InformationLinesNameTheEventTheValueAndTheMap) {
  load(study(2), 0);
  graph_of(0, true);
  fill_TimeSeriesModel(mosaic.icross);
  char a[1024], b[1024], c[1024];
  graph.iTime = 3;  // the error of file 1
  get_info_TimeSeriesModel(0, a, b, c);
  EXPECT_STREQ(a, " event instance graph map");
  EXPECT_STREQ(b, "   p     1      2.00  error");
  char expected[64];
  snprintf(expected, sizeof expected, " fit = %9.3g", fit[3]);
  EXPECT_STREQ(c, expected);
  graph.iTime = 4;
  get_info_TimeSeriesModel(0, a, b, c);
  EXPECT_STREQ(b, "   c     0      7.00  value");
  graph.iTime = -1;
  get_info_TimeSeriesModel(0, a, b, c);
  EXPECT_STREQ(b, " ");
  snprintf(expected, sizeof expected, " fit = %.3g", fit[0]);
  EXPECT_STREQ(c, expected);
  // Under the pointer the value is the pointer's.
  graph.icursor.x = 2;
  graph.cursor.y = 12.5f;
  get_info_TimeSeriesModel(1, a, b, c);
  EXPECT_STREQ(b, "   p     1     12.50  value");
}

TEST_F(RemView, AFileInTwoEventsShowsAQuestionMark) {
  std::string files;
  for (int f = 0; f < 4; f++) files += s.native("f" + std::to_string(f), 10, 1, {kValue[f][0], kValue[f][1]}) + "\n";
  s.native("sigma2", 0, 3, {0, 0, 0, 0, 1, 1});
  const std::string control =
      s.text("over.rem", "output-format zor\nconditions p\nevent p\n0 2\nevent c\n2 3\nmeasurements:\n" + files);
  Captured c = load(control, 0);
  ASSERT_EQ(c.exit_status, 0) << c.out;
  graph_of(0, false);
  fill_TimeSeriesModel(mosaic.icross);
  char a[1024], b[1024], d[1024];
  graph.iTime = 2;
  get_info_TimeSeriesModel(0, a, b, d);
  EXPECT_EQ(b[3], '?');
  EXPECT_STREQ(d, " 2 events found here");
}

TEST_F(RemView, CorrectedPValuesUseOneComparisonByDefault) {
  load(study(2), 0);
  EXPECT_EQ(REM_input.multiple_comparisons, 1);
}

TEST_F(RemView, PanelShowsTheConditionWithItsPValueAndStepsThroughConditions) {
  load(study(2), 0);
  graph_of(0, true);
  SelectableText t{};
  t.FieldID = TEXTFIELD_GLM_CONDITIONS;
  update_SelectText_TimeSeriesModel(&t);
  char expected[256];
  snprintf(expected, sizeof expected, " p = %6.3f+-%6.3f , p (raw) = %8.1e", glm_model.effect_size,
           glm_model.effect_sem, glm_model.p_raw);
  EXPECT_STREQ(t.string, expected);
  EXPECT_EQ(t.XPosition, 325);
  EXPECT_EQ(t.XSelectEnd, 375);
  EXPECT_EQ(t.color, COLOR_CYAN);
  EXPECT_STREQ(t.message2, "st. dev. from REM/MEM fit.");
  graph.text_selection = TEXTFIELD_GLM_CONDITIONS;
  action_graph_text_selection_TimeSeriesModel(2);
  EXPECT_EQ(glm_model.iCondition_value, 2);
  action_graph_text_selection_TimeSeriesModel(1);
  EXPECT_EQ(glm_model.iCondition_value, 0);
  glm_model.iCondition_value = 7;
  Captured c = capture_output([&] { update_SelectText_TimeSeriesModel(&t); });
  EXPECT_EQ(c.exit_status, 1);
  // The refit for a fresh text tests the condition first.
  EXPECT_EQ(c.out,
            "Error: the specified condition (7) is out of range (0-2)\n"
            "Programming error: condition index 7 is not defined.\n");
}

TEST_F(RemView, TableColumnsOfAPairedGraph) {
  load(study(2), 0);
  graph_of(0, true);
  fill_TimeSeriesModel(mosaic.icross);
  snprintf(ovl_root.name, sizeof ovl_root.name, "left");
  glm_model.baseline = 0;
  int result = -1;
  capture_output([&] { result = write_ovl_into_roi_file("t.roi"); });
  ASSERT_EQ(result, 0);
  graph_of(1, true);
  fill_TimeSeriesModel(mosaic.icross);
  snprintf(ovl_root.name, sizeof ovl_root.name, "right_side");
  capture_output([&] { result = write_ovl_into_roi_file("t.roi"); });
  ASSERT_EQ(result, 0);
  std::vector<float> fit0(4), fit1(4);
  for (int f = 0; f < 4; f++) {
    double m, e;
    group_mean(f < 2 ? 0 : 2, 0, kSigma2[0], true, &m, &e);
    fit0[f] = (float)m;
    group_mean(f < 2 ? 0 : 2, 1, kSigma2[1], true, &m, &e);
    fit1[f] = (float)m;
  }
  std::string expected = "i x left left_err right_side right_side_err\n";
  char line[256];
  for (int f = 0; f < 4; f++) {
    snprintf(line, sizeof line, "%d %g %g %g %g %g\n", 2 * f, (double)(4 * f), kValue[f][0], kError[f][0],
             kValue[f][1], kError[f][1]);
    expected += line;
  }
  expected += "new   # GLM fit to data \n";
  for (int f = 0; f < 4; f++) {
    snprintf(line, sizeof line, "%d %g %.5g 0 %.5g 0\n", 2 * f, (double)(4 * f), fit0[f], fit1[f]);
    expected += line;
  }
  // The fits as written (%g) against the closed form to five digits.
  const std::string table = read_file("t.roi");
  std::istringstream got(table), want(expected);
  std::string g, w;
  int lines = 0;
  while (std::getline(want, w)) {
    ASSERT_TRUE(std::getline(got, g));
    lines++;
    if (lines <= 6) {
      EXPECT_EQ(g, w);
      continue;
    }
    double gi, gx, gf0, gf1, wi, wx, wf0, wf1;
    char z0[4], z1[4];
    ASSERT_EQ(sscanf(g.c_str(), "%lf %lf %lf %3s %lf %3s", &gi, &gx, &gf0, z0, &gf1, z1), 6) << g;
    ASSERT_EQ(sscanf(w.c_str(), "%lf %lf %lf %*s %lf", &wi, &wx, &wf0, &wf1), 4);
    EXPECT_EQ(gi, wi);
    EXPECT_EQ(gx, wx);
    EXPECT_NEAR(gf0, wf0, 1e-4 * std::fabs(wf0));
    EXPECT_NEAR(gf1, wf1, 1e-4 * std::fabs(wf1));
    EXPECT_STREQ(z0, "0");
    EXPECT_STREQ(z1, "0");
  }
  EXPECT_EQ(lines, 10);
  EXPECT_FALSE(std::getline(got, g));
}

TEST_F(RemView, TableOfAnUnpairedGraphWithTheBaselineHasTwoFitBlocks) {
  load(study(1), 0);
  graph_of(0, false);
  fill_TimeSeriesModel(mosaic.icross);
  snprintf(ovl_root.name, sizeof ovl_root.name, "g");
  glm_model.baseline = 1;
  int result = -1;
  capture_output([&] { result = write_ovl_into_roi_file("u.roi"); });
  ASSERT_EQ(result, 0);
  std::string expected = "i x g\n";
  char line[128];
  for (int f = 0; f < 4; f++) {
    snprintf(line, sizeof line, "%d %g %g\n", f, (double)(2 * f), kValue[f][0]);
    expected += line;
  }
  for (const char *heading : {"new   # GLM fit to data with global scaling\n", "new   # GLM fit to data\n"}) {
    expected += heading;
    for (int f = 0; f < 4; f++) {
      snprintf(line, sizeof line, "%d %g %g\n", f, (double)(2 * f), fit[f]);
      expected += line;
    }
  }
  EXPECT_EQ(read_file("u.roi"), expected);
}

}  // namespace
