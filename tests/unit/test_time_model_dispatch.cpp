#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "glm_test_files.h"
#include "zor.h"
#include "zor_panels.h"
#include "zor_startup.h"
#include "zor_time_model.h"

namespace {

const char *const kFatal = "Error: only the GLM, REM, & SRTM-GLM models are defined.\n";
const char *const kInfoError = "Programming error in function display_info_TimeSeriesModel.\n";

// No model, and numbers beyond every model.
const int kNoView[] = {0};
const int kUnknown[] = {5, 17, -1};

struct Dispatch : ::testing::Test {
  GlmStudy s;
  std::string control;
  std::vector<float> y, y1, y2, fit, fit_err, x;
  void SetUp() override {
    zorview_startup_reset();
    glm_view_reset();
    selectable_text_reset();
    GLM_engine_reset();
    REM_engine_reset();
    SRTM_engine_reset();
    FIT_reset();
    std::string list = "conditions 1 2\nruns:\n";
    std::string data = s.run("run1", 20);
    s.text("run1.glm", "2\n\n1\n4 10\n20 26\n\n2 gamma 4\n12\n");
    list += data + " " + s.path("run1.glm") + "\n";
    control = s.text("study.ctl", "time-model glm\n" + list);
    graph.time_model = 0;
    graph.type = 1;
    graph.npoints = 20;
    for (auto *v : {&y, &y1, &y2, &fit, &fit_err, &x}) v->assign(20, 0.0f);
    for (int j = 0; j < 20; j++) y1[j] = y[j] = 50.0f + (float)(j % 5);
    graph.yVector = y.data();
    graph.yVector1 = y1.data();
    graph.yVector2 = y2.data();
    graph.yFit = fit.data();
    graph.yFit_err = fit_err.data();
    graph.xVector = x.data();
  }
  void TearDown() override {
    graph.yVector = graph.yVector1 = graph.yVector2 = graph.yFit = graph.yFit_err = graph.xVector = nullptr;
    graph.time_model = 0;
  }
  // The GLM set up as the options and main set it up.
  void load_glm() {
    initialize_TimeSeriesModel(1);
    int result = -1;
    Captured c = capture_output([&] { result = read_TimeSeriesModel(control.data()); });
    ASSERT_EQ(result, 0) << c.out;
    int flags[5] = {1, 0, 0, 0, 0};
    c = capture_output([&] { result = define_TimeSeriesModel(5, flags); });
    ASSERT_EQ(result, 0) << c.out;
  }
};

void expect_fatal(const std::function<void()> &body, const char *message, const std::string &what) {
  Captured c = capture_output(body);
  EXPECT_EQ(c.exit_status, 1) << what;
  EXPECT_EQ(c.out, message) << what;
}

TEST_F(Dispatch, InitializeReadDefineAndPlotNeedAModel) {
  char name[] = "none.ctl";
  int flags[5] = {1, 1, 0, 0, 0};
  for (int m : kNoView) {
    expect_fatal([&] { initialize_TimeSeriesModel(m); }, kFatal, "initialize " + std::to_string(m));
    EXPECT_EQ(graph.time_model, m);
    graph.time_model = m;
    expect_fatal([&] { read_TimeSeriesModel(name); }, kFatal, "read " + std::to_string(m));
    expect_fatal([&] { define_TimeSeriesModel(5, flags); }, kFatal, "define " + std::to_string(m));
    expect_fatal([&] { plot_TimeSeriesModel(); }, kFatal, "plot " + std::to_string(m));
  }
  for (int m : kUnknown) {
    expect_fatal([&] { initialize_TimeSeriesModel(m); }, kFatal, "initialize " + std::to_string(m));
    graph.time_model = m;
    expect_fatal([&] { read_TimeSeriesModel(name); }, kFatal, "read " + std::to_string(m));
    expect_fatal([&] { define_TimeSeriesModel(5, flags); }, kFatal, "define " + std::to_string(m));
    expect_fatal([&] { plot_TimeSeriesModel(); }, kFatal, "plot " + std::to_string(m));
  }
}

TEST_F(Dispatch, LinearModelIsSetUpThroughTheDispatch) {
  load_glm();
  EXPECT_EQ(graph.time_model, 1);
  EXPECT_EQ(TimeSeriesModel_is_initialized(), 2);
  EXPECT_NE(find_selectable_text(&graph.SelectText, TEXTFIELD_GLM_CONDITIONS), nullptr);
  int flags[4] = {1, 1, 0, 0};
  expect_fatal([&] { define_TimeSeriesModel(4, flags); }, "Programming error 1 in function define_model\n",
               "four flags");
}

TEST_F(Dispatch, ReadFailureIsReportedAsOne) {
  initialize_TimeSeriesModel(1);
  char missing[] = "/nonexistent/study.ctl";
  int result = 0;
  Captured c = capture_output([&] { result = read_TimeSeriesModel(missing); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.exit_status, -1);
}

TEST_F(Dispatch, IsInitializedIsZeroWithoutTheLinearModel) {
  for (int m : {0, 2, 3, 4, 5, 9, -1}) {
    graph.time_model = m;
    EXPECT_EQ(TimeSeriesModel_is_initialized(), 0) << m;
  }
  graph.time_model = 1;
  EXPECT_EQ(TimeSeriesModel_is_initialized(), 0);  // nothing read yet
}

TEST_F(Dispatch, NamesOfEachModelNumber) {
  const std::pair<int, const char *> expected[] = {
      {0, "none"}, {2, "REM"}, {3, "SRTM/OLS"}, {5, "*Error*"}, {40, "*Error*"}};
  char name[1024];
  for (const auto &e : expected) {
    graph.time_model = e.first;
    get_TimeSeriesModel_name(name);
    EXPECT_STREQ(name, e.second) << e.first;
  }
  // A fit without its type cannot name itself.
  graph.time_model = 4;
  expect_fatal([&] { get_TimeSeriesModel_name(name); }, "Programming error in get_FIT_TimeSeriesModel_name()\n",
               "fit name");
  load_glm();
  get_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "GLM/OLS");
}

TEST_F(Dispatch, XValuesAndIndices) {
  for (int m : {0, 5}) {
    graph.time_model = m;
    EXPECT_EQ(get_TimeSeriesModel_xValue(7), 7.0f) << m;
    EXPECT_EQ(get_TimeSeriesModel_xIndex(3.7f), 3) << m;
    EXPECT_EQ(get_TimeSeriesModel_xIndex(-3.7f), -3) << m;
  }
  // The group model's axis counts two per file.
  graph.time_model = 2;
  EXPECT_EQ(get_TimeSeriesModel_xValue(7), 14.0f);
  EXPECT_EQ(get_TimeSeriesModel_xIndex(3.7f), 2);
  EXPECT_EQ(get_TimeSeriesModel_xIndex(5.0f), 2);  // halves to even
  load_glm();
  EXPECT_EQ(get_TimeSeriesModel_xValue(7), 14.0f);
  EXPECT_EQ(get_TimeSeriesModel_xIndex(3.7f), 2);
  EXPECT_EQ(get_TimeSeriesModel_xIndex(3.0f), 2);  // halves to even
}

TEST_F(Dispatch, FillRunsOnlyForALoadedModelAndACurve) {
  for (int m : {0, 2, 3, 4, 5}) {
    graph.time_model = m;
    fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
    EXPECT_EQ(fit[5], 0.0f) << m;
  }
  load_glm();
  graph.npoints = 0;
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  EXPECT_EQ(fit[5], 0.0f);
  graph.npoints = 20;
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  EXPECT_NE(fit[5], 0.0f);
}

TEST_F(Dispatch, InformationLinesNeedATimeGraphWithTheModel) {
  for (int m : {0}) {
    graph.time_model = m;
    char a[1024], b[1024], c[1024];
    expect_fatal([&] { get_info_TimeSeriesModel(0, a, b, c); }, kInfoError, "info " + std::to_string(m));
  }
  graph.time_model = 6;
  char a[1024], b[1024], c[1024];
  expect_fatal([&] { get_info_TimeSeriesModel(0, a, b, c); }, kFatal, "info 6");
  load_glm();
  graph.type = 0;
  expect_fatal([&] { get_info_TimeSeriesModel(0, a, b, c); }, kInfoError, "space graph");
  graph.type = 1;
  add_image_file(&image_files, "run", 0, 0);
  image_files.start_image = 0;
  image_files.end_image = 19;
  graph.iTime = 2;
  get_info_TimeSeriesModel(0, a, b, c);
  EXPECT_STREQ(a, " run  time       graph event");
  EXPECT_STREQ(c, "        4");
}

TEST_F(Dispatch, PanelKeysClicksAndRangesDoNothingWithoutAModel) {
  SelectableText node{};
  node.FieldID = TEXTFIELD_GLM_CONDITIONS;
  strcpy(node.string, "old");
  char label[1024] = "kept";
  for (int m : kNoView) {
    graph.time_model = m;
    update_SelectText_TimeSeriesModel(&node);
    EXPECT_STREQ(node.string, "old") << m;
    graph.text_selection = TEXTFIELD_GLM_CONDITIONS;
    graph.update_regions = 0;
    action_graph_text_selection_TimeSeriesModel(1);
    action_graph_button23_TimeSeriesModel();
    EXPECT_EQ(graph.update_regions, 0) << m;
    EXPECT_EQ(graph_event_handler_TimeSeriesModel('b'), 0) << m;
    label_graph_time_window_TimeSeriesModel(label);
    EXPECT_STREQ(label, "kept") << m;
    EXPECT_EQ(write_TimeSeriesModel_into_roi_file(1, stdout, nullptr), 0) << m;
  }
}

TEST_F(Dispatch, UnknownModelNumbersEndTheRunInThePanelRoutes) {
  SelectableText node{};
  char label[1024];
  for (int m : kUnknown) {
    graph.time_model = m;
    const std::string who = std::to_string(m);
    expect_fatal([&] { update_SelectText_TimeSeriesModel(&node); }, kFatal, "update " + who);
    expect_fatal([&] { action_graph_text_selection_TimeSeriesModel(1); }, kFatal, "click " + who);
    expect_fatal([&] { action_graph_button23_TimeSeriesModel(); }, kFatal, "range " + who);
    expect_fatal([&] { graph_event_handler_TimeSeriesModel('b'); }, kFatal, "key " + who);
    expect_fatal([&] { label_graph_time_window_TimeSeriesModel(label); }, kFatal, "label " + who);
    expect_fatal([&] { write_TimeSeriesModel_into_roi_file(1, stdout, nullptr); }, kFatal, "write " + who);
  }
  // Without points the panel is left alone, whatever the number.
  graph.npoints = 0;
  update_SelectText_TimeSeriesModel(&node);
}

TEST_F(Dispatch, LinearModelRoutes) {
  load_glm();
  graph.npoints = 20;
  SelectableText node{};
  node.FieldID = TEXTFIELD_GLM_BASELINE;
  update_SelectText_TimeSeriesModel(&node);
  EXPECT_STREQ(node.string, "base:y");
  graph.text_selection = TEXTFIELD_GLM_CONDITIONS;
  action_graph_text_selection_TimeSeriesModel(1);
  EXPECT_EQ(glm_model.iCondition_value, 1);
  EXPECT_EQ(graph_event_handler_TimeSeriesModel('b'), 1);
  EXPECT_EQ(glm_model.baseline, 0);
  EXPECT_EQ(graph_event_handler_TimeSeriesModel('x'), 0);
  char label[1024];
  label_graph_time_window_TimeSeriesModel(label);
  EXPECT_STREQ(label, ".roi");
  FILE *f = tmpfile();
  EXPECT_EQ(write_TimeSeriesModel_into_roi_file(1, f, nullptr), 0);
  fclose(f);
}

}  // namespace

namespace {

TEST_F(Dispatch, TheLinearModelsColumnsGoIntoTheResultTable) {
  load_glm();
  fill_TimeSeriesModel(IPOINT3D{0, 0, 0});
  for (int j = 0; j < 20; j++) x[j] = get_TimeSeriesModel_xValue(j);
  roi_files_reset();
  snprintf(ovl_root.name, sizeof ovl_root.name, "roi");
  const std::string table = s.path("glm.roi");
  int result = -1;
  Captured c = capture_output([&] { result = write_ovl_into_roi_file(table.c_str()); });
  ASSERT_EQ(result, 0) << c.out;
  FILE *f = fopen(table.c_str(), "r");
  ASSERT_NE(f, nullptr);
  std::vector<std::string> lines;
  char line[256];
  while (fgets(line, sizeof line, f)) lines.push_back(line);
  fclose(f);
  // The curve, the model's fit and each event's fit, 20 rows each.
  ASSERT_EQ(lines.size(), 4u * 21u);
  EXPECT_EQ(lines[0], "i x roi\n");
  EXPECT_EQ(lines[21], "new   # GLM fit to data\n");
  EXPECT_EQ(lines[42], "new   # fit for event type 1\n");
  EXPECT_EQ(lines[63], "new   # fit for event type 2\n");
  char expected[128];
  snprintf(expected, sizeof expected, "5 %g %g\n", x[5], fit[5]);
  EXPECT_EQ(lines[27], expected);
  roi_files_reset();
}

}  // namespace
