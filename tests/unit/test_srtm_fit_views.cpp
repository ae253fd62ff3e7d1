// The PET and fitting models in the viewer: the files and maps a control
// file opens, the names, the fit of the curve under the cursor, the panel
// fields and what a click on them does, the information lines and the
// models' table columns.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <memory>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "fit_engine_setup.h"
#include "srtm_test_files.h"
#include "zor.h"

namespace {

std::string read_file(const std::string &name) {
  std::ifstream f(name, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

std::vector<std::string> names_of(file_list *list) {
  std::vector<std::string> out;
  for (file_list *f = list; f && f->file_name[0]; f = f->next) out.push_back(f->file_name);
  return out;
}

struct GraphVectors {
  std::vector<float> y, y1, y2, fit, fit_err, x;
  void attach(const std::vector<float> &curve) {
    const int n = (int)curve.size();
    for (auto *v : {&y, &y1, &y2, &fit, &fit_err, &x}) v->assign(n, 0.0f);
    y = y1 = curve;
    for (int j = 0; j < n; j++) x[j] = get_TimeSeriesModel_xValue(j);
    graph.type = 1;
    graph.npoints = n;
    graph.yVector = y.data();
    graph.yVector1 = y1.data();
    graph.yVector2 = y2.data();
    graph.yFit = fit.data();
    graph.yFit_err = fit_err.data();
    graph.xVector = x.data();
  }
  ~GraphVectors() {
    graph.yVector = graph.yVector1 = graph.yVector2 = graph.yFit = graph.yFit_err = graph.xVector = nullptr;
  }
};

// Curves of one run of 10 frames: a reference and a bound tissue curve.
std::vector<float> reference_curve(int nt) {
  std::vector<float> c(nt);
  for (int t = 0; t < nt; t++) c[t] = 500.0f * (float)(t + 1) * std::exp(-(float)(t + 1) / 4.0f) + 20.0f;
  return c;
}
std::vector<float> tissue_curve(int nt, int run) {
  std::vector<float> c = reference_curve(nt);
  float integral = 0.0f;
  for (int t = 0; t < nt; t++) {
    integral += c[t];
    c[t] = c[t] * 1.1f + 0.05f * integral + 3.0f * (float)((t * 7 + run) % 3);
  }
  return c;
}

struct ViewReset : ::testing::Test {
  std::string old_dir;
  void SetUp() override {
    char buf[4096];
    ASSERT_NE(getcwd(buf, sizeof buf), nullptr);
    old_dir = buf;
    zorview_startup_reset();
    glm_view_reset();
    selectable_text_reset();
    SRTM_engine_reset();
    FIT_reset();
    graph = graph_struct{};
    ovl_root.npts = 0;
  }
  void TearDown() override {
    graph.time_model = 0;
    // The graph's vectors belong to the test.
    graph.yVector = graph.yVector1 = graph.yVector2 = graph.yFit = graph.yFit_err = graph.xVector = nullptr;
    zorview_startup_reset();
    ASSERT_EQ(chdir(old_dir.c_str()), 0);
  }
};

struct SrtmView : ViewReset {
  std::unique_ptr<PetModel> model;
  GraphVectors g;

  PetRunPlan plan(int run, const std::string &events = "0\n1 R1\n\n2 k2\n\n3 k2a\n\n") {
    PetRunPlan p;
    p.events = events;
    p.durations.assign(10, 60.0);
    p.reference = reference_curve(10);
    p.target = tissue_curve(10, run);
    return p;
  }

  // A two-run study read through the model's own options.
  Captured load(const std::string &keywords = "time-model SRTM\nconditions 3 1\n", int include_maps = 1,
                int use_t = 0, const std::string &events = "0\n1 R1\n\n2 k2\n\n3 k2a\n\n") {
    model = std::make_unique<PetModel>(keywords, std::vector<PetRunPlan>{plan(0, events), plan(1, events)});
    SRTM_engine_reset();
    initialize_TimeSeriesModel(MODEL_SRTM);
    std::vector<char> name(model->control.begin(), model->control.end());
    name.push_back('\0');
    int result = -1;
    Captured c = capture_output([&] { result = read_TimeSeriesModel(name.data()); });
    EXPECT_EQ(result, 0) << c.out;
    int flags[5] = {1, include_maps, use_t, 0, 0};
    c = capture_output([&] { result = define_TimeSeriesModel(5, flags); });
    c.exit_status = c.exit_status == -1 ? result : c.exit_status;
    // The runs as the stack lays them out.
    int start = 0;
    for (file_list *f = &image_files; f && f->file_name[0]; f = f->next) {
      f->start_image = start;
      f->end_image = start + 9;
      start += 10;
    }
    return c;
  }

  void attach_voxel(int scale) {
    std::vector<float> curve;
    for (int r = 0; r < 2; r++)
      for (float v : tissue_curve(10, r)) curve.push_back(v * (float)scale);
    g.attach(curve);
  }
};

TEST_F(SrtmView, DefineAddsRunsAndTheMapsOfEachCondition) {
  Captured c = load("time-model SRTM\nconditions 3 1\n", 1, 1);
  ASSERT_EQ(c.exit_status, 0) << c.out;
  EXPECT_EQ(names_of(&image_files).size(), 2u);
  EXPECT_EQ(names_of(&activation_files),
            (std::vector<std::string>{"P-3.nii", "T-3.nii", "BP-3.nii", "P-1.nii", "T-1.nii"}));
  EXPECT_EQ(glm_model.iParameter, 2);
  EXPECT_EQ(activation.thresh_lin_high, 3.0f);
  EXPECT_NE(find_selectable_text(&graph.SelectText, TEXTFIELD_SRTM_EXCLUSIONS), nullptr);
}

TEST_F(SrtmView, NamesFollowTheWeightingAndTheFrequencyDomain) {
  load();
  char name[1024];
  get_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "SRTM/OLS");
  SRTM_set_half_life(20.4f);
  get_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "SRTM/WLS");
  graph.freq_domain = 1;
  get_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "FT ");
}

TEST_F(SrtmView, TheAxisIsInMinutesAndTheFitIsTheEnginesFit) {
  load();
  attach_voxel(2);
  for (int j = 0; j < 20; j++) EXPECT_EQ(graph.xVector[j], (float)SRTM_time_total_minutes(j));
  EXPECT_EQ(get_TimeSeriesModel_xIndex((float)SRTM_time_total_minutes(13)), 13);
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  // The same curve through the engine's own steps.
  std::vector<float> curve(g.y1), fit(20), err(20);
  ASSERT_EQ(SRTM_define_dynamic_basis_functions(20, curve.data()), 0);
  double sigma2 = 0.0;
  ASSERT_EQ(SRTM_fit_data(20, curve.data(), fit.data(), err.data(), &sigma2), 0);
  for (int j = 0; j < 20; j++) {
    EXPECT_EQ(g.fit[j], fit[j]) << j;
    EXPECT_EQ(g.fit_err[j], err[j]) << j;
  }
  EXPECT_EQ(glm_model.chi2_dof, (float)sigma2);
  double cnr, p_raw, p_cor;
  float effect, sem;
  ASSERT_EQ(SRTM_calculate_F(20, sigma2, 0.0, 0, &cnr, &p_raw, &p_cor, &effect, &sem), 0);
  EXPECT_EQ(glm_model.effect_size, effect);
  EXPECT_EQ(glm_model.effect_sem, sem);
  // The residue view replaces the curve by the engine's residue.
  glm_model.iDisplay = 2;
  g.y = g.y1;
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  std::vector<float> residue(20);
  ASSERT_EQ(SRTM_get_residue(20, residue.data()), 0);
  EXPECT_EQ(g.y, residue);
}

TEST_F(SrtmView, PanelFieldsShowTheParameterTheConditionAndTheExclusions) {
  load();
  attach_voxel(1);
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  graph.iTime = 4;
  SelectableText t{};
  t.FieldID = TEXTFIELD_DISPLAY_FULLFIT;
  update_SelectText_TimeSeriesModel(&t);
  EXPECT_STREQ(t.string, " TAC ");
  EXPECT_EQ(t.XPosition, 325);
  EXPECT_STREQ(t.message3, "Change to residue with click");

  t = SelectableText{};
  t.FieldID = TEXTFIELD_PARAM_VALUES;
  update_SelectText_TimeSeriesModel(&t);
  double error = 0.0;
  const double bp = SRTM_get_parameter_value(2, 4, &error);
  char expected[256];
  snprintf(expected, sizeof expected, "    BP = %5.2f (%5.2f)", bp, error);
  EXPECT_STREQ(t.string, expected);
  EXPECT_EQ(t.color, COLOR_PURPLE);
  EXPECT_STREQ(t.message3, "BP = B_avail/Kd");
  EXPECT_EQ(t.XSelectEnd, 430);

  t = SelectableText{};
  t.FieldID = TEXTFIELD_SRTM_CONDITIONS;
  update_SelectText_TimeSeriesModel(&t);
  snprintf(expected, sizeof expected, "3 = %7.4f+-%7.4f", glm_model.effect_size, glm_model.effect_sem);
  EXPECT_STREQ(t.string, expected);
  double bp_error = 0.0;
  SRTM_calculate_BP_condition(0, &bp_error);
  snprintf(expected, sizeof expected, "from GLM fit. BP_err = %5.2f", bp_error);
  EXPECT_STREQ(t.message2, expected);
  glm_model.iCondition_value = 1;
  update_SelectText_TimeSeriesModel(&t);
  EXPECT_STREQ(t.message2, "from GLM fit.");

  t = SelectableText{};
  t.FieldID = TEXTFIELD_SRTM_EXCLUSIONS;
  update_SelectText_TimeSeriesModel(&t);
  EXPECT_STREQ(t.string, "Exclude: none");
  update_SelectText_TimeSeriesModel(&t);
  EXPECT_STREQ(t.string, "Exclude: ");
  char list[] = "2-3";
  ASSERT_EQ(SRTM_Set_Ignore_String(0, list), 0);
  update_SelectText_TimeSeriesModel(&t);
  EXPECT_STREQ(t.string, "Exclude: 2-3");

  glm_model.iParameter = -1;
  t = SelectableText{};
  t.FieldID = TEXTFIELD_PARAM_VALUES;
  update_SelectText_TimeSeriesModel(&t);
  EXPECT_STREQ(t.string, std::string(22, ' ').c_str());
  EXPECT_STREQ(t.message3, "display only TAC");
}

TEST_F(SrtmView, TheReferenceTissueFamilyHasFiveParameterCodes) {
  load();
  attach_voxel(1);
  graph.text_selection = TEXTFIELD_PARAM_VALUES;
  std::vector<int> seen;
  for (int k = 0; k < 5; k++) {
    action_graph_text_selection_TimeSeriesModel(1);
    seen.push_back(glm_model.iParameter);
  }
  EXPECT_EQ(seen, (std::vector<int>{-2, -1, 0, 1, 2}));
  glm_model.iParameter = -2;
  action_graph_text_selection_TimeSeriesModel(3);
  EXPECT_EQ(glm_model.iParameter, 2);
}

TEST_F(SrtmView, TheDisplayFieldCyclesAndOnTheResidueTheModelFieldTogglesTheSpectrum) {
  load();
  attach_voxel(1);
  graph.text_selection = TEXTFIELD_DISPLAY_FULLFIT;
  const char *names[4] = {"Regressors", "Residue", "SNR", " TAC "};
  SelectableText t{};
  t.FieldID = TEXTFIELD_DISPLAY_FULLFIT;
  for (int k = 0; k < 4; k++) {
    action_graph_text_selection_TimeSeriesModel(1);
    update_SelectText_TimeSeriesModel(&t);
    EXPECT_STREQ(t.string, names[k]);
  }
  action_graph_text_selection_TimeSeriesModel(3);
  EXPECT_EQ(glm_model.iDisplay, 3);
  glm_model.iDisplay = 2;
  graph.text_selection = TEXTFIELD_GRAPH_MODEL;
  const float half_life = SRTM_get_half_life();
  action_graph_text_selection_TimeSeriesModel(1);
  EXPECT_EQ(graph.freq_domain, 1);
  EXPECT_EQ(SRTM_get_half_life(), half_life);
  action_graph_text_selection_TimeSeriesModel(1);
  EXPECT_EQ(graph.freq_domain, 0);
}

TEST_F(SrtmView, TheModelFieldTogglesTheWeightingKeepingTheLastHalfLife) {
  load("time-model SRTM\nhalf-life 20.4\nconditions 3\n");
  attach_voxel(1);
  graph.text_selection = TEXTFIELD_GRAPH_MODEL;
  action_graph_text_selection_TimeSeriesModel(1);
  EXPECT_EQ(SRTM_get_half_life(), 0.0f);
  EXPECT_EQ(half_life_save, 20.4f);
  char name[1024];
  get_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "SRTM/OLS");
  action_graph_text_selection_TimeSeriesModel(1);
  EXPECT_EQ(SRTM_get_half_life(), 20.4f);
  EXPECT_NE(graph.update_regions & GRAPH_REBUILD, 0);
}

TEST_F(SrtmView, InformationLinesGiveRunFrameValueAndMinutesInTheRun) {
  load();
  attach_voxel(1);
  char a[1024], b[1024], c[1024];
  graph.iTime = 13;
  get_info_TimeSeriesModel(0, a, b, c);
  EXPECT_STREQ(a, " run  time   y-value");
  char expected[128];
  snprintf(expected, sizeof expected, "  2      3 %9.2f", g.y[13]);
  EXPECT_STREQ(b, expected);
  snprintf(expected, sizeof expected, "    %6.2f", (float)SRTM_time_run_minutes(13));
  EXPECT_STREQ(c, expected);
  graph.iTime = -1;
  get_info_TimeSeriesModel(0, a, b, c);
  EXPECT_STREQ(b, " ");
  EXPECT_STREQ(c, " ");
}

TEST_F(SrtmView, TableHoldsSevenSeriesAndFurtherRegionsAddColumns) {
  load();
  ASSERT_EQ(chdir(model->s.dir.c_str()), 0);
  roi_files_reset();
  attach_voxel(1);
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  snprintf(ovl_root.name, sizeof ovl_root.name, "target");
  int result = -1;
  Captured c = capture_output([&] { result = write_ovl_into_roi_file(".roi"); });
  ASSERT_EQ(result, 0) << c.out;
  std::vector<std::vector<float>> series(7, std::vector<float>(20));
  for (int j = 0; j < 20; j++) {
    series[0][j] = g.y[j];
    series[1][j] = g.fit[j];
    SRTM_binding_fit(0, j, &series[2][j]);
    SRTM_binding_fit(1, j, &series[3][j]);
    for (int p = 0; p < 3; p++) {
      double e;
      series[4 + p][j] = (float)SRTM_get_parameter_value(p, j, &e);
    }
  }
  const char *headings[6] = {"new   # SRTM fit to data",          "new   # SRTM fit of non-specific binding",
                             "new   # SRTM fit of specific binding", "new   # R1 value from SRTM fit",
                             "new   # tau2' value from SRTM fit",  "new   # BP value from SRTM fit"};
  std::string expected = "i x target\n";
  char line[128];
  for (int s = 0; s < 7; s++) {
    if (s > 0) expected += std::string(headings[s - 1]) + "\n";
    for (int j = 0; j < 20; j++) {
      snprintf(line, sizeof line, "%d %g %g\n", j, g.x[j], series[s][j]);
      expected += line;
    }
  }
  EXPECT_EQ(read_file(".roi"), expected);
  // A second region: one more column behind every line, " " on the block lines.
  snprintf(ovl_root.name, sizeof ovl_root.name, "second");
  capture_output([&] { result = write_ovl_into_roi_file(".roi"); });
  ASSERT_EQ(result, 0);
  const std::string table = read_file(".roi");
  EXPECT_EQ(table.substr(0, table.find('\n')), "i x target second");
  EXPECT_NE(table.find("new   # BP value from SRTM fit \n"), std::string::npos);
  snprintf(line, sizeof line, "19 %g %g %g\n", g.x[19], series[6][19], series[6][19]);
  EXPECT_EQ(table.substr(table.size() - strlen(line)), line);
}

TEST_F(SrtmView, DistributionVolumeModelAlternatesVAndBAndItsTableEndsTheRun) {
  // The plasma curve in the table's second column.
  PetRunPlan p;
  p.events = "0\n1 1_over_b\n\n2 V_over_b\n\n";
  p.durations.assign(10, 60.0);
  p.target = tissue_curve(10, 0);
  std::vector<double> plasma(10);
  for (int t = 0; t < 10; t++) plasma[t] = 2000.0 * std::exp(-(t + 1) / 3.0) + 100.0;
  p.extra = {plasma};
  model = std::make_unique<PetModel>("time-model DV\nplasma-column 2\nconditions 1 2\n", std::vector<PetRunPlan>{p},
                                     "0 0 0\n", "1 0 0\n");
  ASSERT_EQ(model->read.result, 0) << model->read.printed.out;
  SRTM_engine_reset();
  initialize_TimeSeriesModel(MODEL_SRTM);
  std::vector<char> name(model->control.begin(), model->control.end());
  name.push_back('\0');
  ASSERT_EQ(read_TimeSeriesModel(name.data()), 0);
  int flags[5] = {1, 0, 0, 0, 0};
  int result = -1;
  Captured c = capture_output([&] { result = define_TimeSeriesModel(5, flags); });
  ASSERT_EQ(result, 0) << c.out;
  image_files.start_image = 0;
  image_files.end_image = 9;
  EXPECT_EQ(glm_model.iParameter, 3);
  g.attach(tissue_curve(10, 0));
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  graph.text_selection = TEXTFIELD_PARAM_VALUES;
  action_graph_text_selection_TimeSeriesModel(1);
  EXPECT_EQ(glm_model.iParameter, 4);
  action_graph_text_selection_TimeSeriesModel(1);
  EXPECT_EQ(glm_model.iParameter, 3);
  action_graph_text_selection_TimeSeriesModel(3);
  EXPECT_EQ(glm_model.iParameter, 4);
  // The table asks for R1, which this model has not.
  ASSERT_EQ(chdir(model->s.dir.c_str()), 0);
  roi_files_reset();
  c = capture_output([&] { write_ovl_into_roi_file(".roi"); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_NE(c.out.find("not found at time point 0 in run 1\n"), std::string::npos) << c.out;
}

TEST_F(SrtmView, AnEmptyTargetRegionIsRefusedWhenTheControlFileIsRead) {
  PetRunPlan p = plan(0);
  model = std::make_unique<PetModel>("time-model SRTM\nconditions 3\n", std::vector<PetRunPlan>{p}, "0 0 0\n", "");
  SRTM_engine_reset();
  initialize_TimeSeriesModel(MODEL_SRTM);
  std::vector<char> name(model->control.begin(), model->control.end());
  name.push_back('\0');
  int result = -1;
  Captured c = capture_output([&] { result = read_TimeSeriesModel(name.data()); });
  EXPECT_EQ(result, 1);
  EXPECT_NE(c.out.find("Error: the region in file " + model->s.path("target.ovl") + " holds no voxels.\n"),
            std::string::npos)
      << c.out;
}

// The fitting model.
struct FitView : ViewReset {
  FitStudy s;
  GraphVectors g;
  // T2 decays at 5 echo times.
  void t2(float T2 = 30.0f) {
    set_fit_engine("T2", 5, {{10, 20, 30, 40, 50}});
    graph.time_model = MODEL_FIT;
    std::vector<float> curve(5);
    for (int j = 0; j < 5; j++) curve[j] = 1000.0f * std::exp(-(float)(10 * (j + 1)) / T2);
    g.attach(curve);
  }
};

TEST_F(FitView, DefineAddsDataFilesParameterMapsAndChi2) {
  const std::string data = s.volume("echo", 4);
  const std::string control = s.text("t2.ctl", "time-model T2\nx-array 10 20 30 40\nfiles:\n" + data + "\n");
  initialize_TimeSeriesModel(MODEL_FIT);
  std::vector<char> name(control.begin(), control.end());
  name.push_back('\0');
  Captured c = capture_output([&] { ASSERT_EQ(read_TimeSeriesModel(name.data()), 0); });
  int flags[5] = {1, 1, 0, 0, 0};
  int result = -1;
  c = capture_output([&] { result = define_TimeSeriesModel(5, flags); });
  ASSERT_EQ(result, 0) << c.out;
  EXPECT_EQ(names_of(&image_files), (std::vector<std::string>{data}));
  std::vector<std::string> maps;
  for (int p = 0; p < FIT.nparam_output; p++) maps.push_back(std::string(FIT.param_name[p]) + ".nii");
  maps.push_back("chi2_dof.nii");
  EXPECT_EQ(names_of(&activation_files), maps);
  char model_name[1024];
  get_TimeSeriesModel_name(model_name);
  EXPECT_STREQ(model_name, "T2");
  EXPECT_EQ(glm_model.iParameter, 0);
}

TEST_F(FitView, AStudyWhoseXListIsShortIsRefusedWhenItIsRead) {
  const std::string data = s.volume("echo", 5);
  const std::string control = s.text("t2.ctl", "time-model T2\nx-array 10 20 30 40\nfiles:\n" + data + "\n");
  initialize_TimeSeriesModel(MODEL_FIT);
  std::vector<char> name(control.begin(), control.end());
  name.push_back('\0');
  int result = -1;
  Captured c = capture_output([&] { result = read_TimeSeriesModel(name.data()); });
  EXPECT_EQ(result, 1);
  EXPECT_NE(c.out.find("Error: the number of x values (4) does not match the number of images (5).\n"),
            std::string::npos)
      << c.out;
}

TEST_F(FitView, FitResidueAndThePanelShowZeroForOutputsTheFitLeavesAlone) {
  t2();
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  for (int j = 0; j < 5; j++) EXPECT_NEAR(g.fit[j], g.y1[j], 1e-3f * g.y1[j]);
  EXPECT_NEAR(FIT.param_value[0], 30.0f, 1e-3f);
  SelectableText t{};
  t.FieldID = TEXTFIELD_PARAM_VALUES;
  update_SelectText_TimeSeriesModel(&t);
  char expected[sizeof FIT.param_name[0] + 64];
  snprintf(expected, sizeof expected, " %s = %6.3f ", FIT.param_name[0], 0.0);
  EXPECT_STREQ(t.string, expected);
  EXPECT_EQ(t.color, COLOR_WHITE);
  EXPECT_EQ(t.XPosition, 300);
  t = SelectableText{};
  t.FieldID = TEXTFIELD_DISPLAY_FULLFIT;
  update_SelectText_TimeSeriesModel(&t);
  EXPECT_STREQ(t.string, " fit ");
  EXPECT_STREQ(t.message3, "Change to residue with click");
  EXPECT_EQ(t.XPosition, 450);
  glm_model.iDisplay = 1;
  g.y = g.y1;
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  for (int j = 0; j < 5; j++) EXPECT_EQ(g.y[j], g.y1[j] - g.fit[j]);
  update_SelectText_TimeSeriesModel(&t);
  EXPECT_STREQ(t.string, "Residue");
  EXPECT_STREQ(t.message3, "Change to fit with click");
}

TEST_F(FitView, ChangingTheParameterRedrawsThePanelOnly) {
  t2();
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  for (float &v : g.fit) v = -7.0f;
  graph.update_regions = 0;
  graph.text_selection = TEXTFIELD_PARAM_VALUES;
  const int count = FIT.nparam_output;
  ASSERT_GT(count, 1);
  action_graph_text_selection_TimeSeriesModel(1);
  EXPECT_EQ(glm_model.iParameter, 1);
  EXPECT_EQ(graph.update_regions, GRAPH_MENUS);
  for (float v : g.fit) EXPECT_EQ(v, -7.0f);
  glm_model.iParameter = 0;
  action_graph_text_selection_TimeSeriesModel(3);
  EXPECT_EQ(glm_model.iParameter, count - 1);
}

TEST_F(FitView, XIndexIsTheNearestSampleTheFirstOnATie) {
  t2();
  EXPECT_EQ(get_TimeSeriesModel_xValue(2), 30.0f);
  EXPECT_EQ(get_TimeSeriesModel_xIndex(24.0f), 1);
  EXPECT_EQ(get_TimeSeriesModel_xIndex(25.0f), 1);
  EXPECT_EQ(get_TimeSeriesModel_xIndex(-100.0f), 0);
  EXPECT_EQ(get_TimeSeriesModel_xIndex(1000.0f), 4);
}

TEST_F(FitView, InformationLines) {
  t2();
  add_image_file(&image_files, "echo", 0, 0);
  image_files.start_image = 0;
  image_files.end_image = 4;
  char a[1024], b[1024], c[1024];
  graph.iTime = 3;
  get_info_TimeSeriesModel(0, a, b, c);
  EXPECT_STREQ(a, " file  time   y-value");
  char expected[128];
  snprintf(expected, sizeof expected, "  1      3 %9.2f", g.y[3]);
  EXPECT_STREQ(b, expected);
  EXPECT_STREQ(c, "     40.00");
}

TEST_F(FitView, TheModelsOwnTableRouteEndsTheProgramAndTheTableTakesThePlainForm) {
  t2();
  Captured c = capture_output([] { write_FIT_into_roi_file(1, stdout, nullptr); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "not implemented yet\n");
  ASSERT_EQ(chdir(s.dir.c_str()), 0);
  roi_files_reset();
  snprintf(ovl_root.name, sizeof ovl_root.name, "wm");
  int result = -1;
  c = capture_output([&] { result = write_ovl_into_roi_file(".roi"); });
  ASSERT_EQ(result, 0) << c.out;
  std::string expected = "i x wm\n";
  char line[128];
  for (int j = 0; j < 5; j++) {
    snprintf(line, sizeof line, "%d %g %g\n", j, g.x[j], g.y[j]);
    expected += line;
  }
  EXPECT_EQ(read_file(".roi"), expected);
}

}  // namespace
