#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "glm_test_files.h"
#include "zor_overlay.h"
#include "zor_panels.h"
#include "zor_startup.h"
#include "zor_time_model.h"

namespace {

const char *const kRun1 = "2\n\n1\n4 10\n20 26\n\n2 gamma 4\n12\n\n-1\n17 18\n";
const char *const kRun2 = "2\n\n1\n2 8\n\n2 gamma 4\n14\n";

// A two-run study read as the viewer reads it, before anything is defined.
struct ViewStudy {
  GlmStudy s;
  int read_result = -99;
  Captured read;
  explicit ViewStudy(const std::string &keywords = "conditions 1 2 1-2\n") {
    zorview_startup_reset();
    glm_view_reset();
    selectable_text_reset();
    GLM_engine_reset();
    std::string list = keywords + "runs:\n";
    const std::pair<int, const char *> runs[2] = {{20, kRun1}, {16, kRun2}};
    for (int r = 0; r < 2; r++) {
      std::string stem = "run" + std::to_string(r + 1);
      std::string data = s.run(stem, runs[r].first);
      s.text(stem + ".glm", runs[r].second);
      list += data + " " + s.path(stem + ".glm") + "\n";
    }
    std::string control = s.text("study.ctl", list);
    initialize_GLM_TimeSeriesModel();
    read = capture_output([&] { read_result = read_GLM_TimeSeriesModel(control.data()); });
  }
  Captured define(int IncludeTimeData, int IncludeMaps, int UseT, int UseS, int *result) {
    int flags[5] = {IncludeTimeData, IncludeMaps, UseT, UseS, 0};
    Captured c;
    in_directory(s.dir, [&] { c = capture_output([&] { *result = define_GLM_TimeSeriesModel(5, flags); }); });
    return c;
  }
  // A native average volume beside the runs makes the maps NIfTI-named.
  void add_average_nii() {
    std::vector<char> header(352, 0);
    int32_t sizeof_hdr = 348;
    memcpy(header.data(), &sizeof_hdr, 4);
    int16_t dim[8] = {3, 2, 2, 1, 1, 1, 1, 1};
    memcpy(header.data() + 40, dim, sizeof dim);
    int16_t datatype = 16, bitpix = 32;
    memcpy(header.data() + 70, &datatype, 2);
    memcpy(header.data() + 72, &bitpix, 2);
    float pixdim[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    memcpy(header.data() + 76, pixdim, sizeof pixdim);
    float vox_offset = 352;
    memcpy(header.data() + 108, &vox_offset, 4);
    memcpy(header.data() + 344, "n+1\0", 4);
    header.resize(352 + 16, 0);
    write_binary_file(s.dir, "average.nii", header.data(), header.size());
  }
};

std::vector<std::string> names_of(const file_list &list) {
  std::vector<std::string> names;
  for (const file_list *f = &list; f && f->file_name[0]; f = f->next) names.push_back(f->file_name);
  return names;
}

TEST(GlmView, DefineNeedsFiveFlags) {
  ViewStudy v;
  int flags[4] = {1, 1, 0, 0};
  Captured c = capture_output([&] { define_GLM_TimeSeriesModel(4, flags); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error 1 in function define_model\n");
}

TEST(GlmView, RunsAndMapsOfEachCondition) {
  ViewStudy v;
  ASSERT_EQ(v.read_result, 0) << v.read.out;
  v.add_average_nii();
  int result = -1;
  Captured c = v.define(1, 1, 1, 1, &result);
  EXPECT_EQ(result, 0) << c.out;
  EXPECT_EQ(names_of(image_files), (std::vector<std::string>{v.s.path("run1.bfloat"), v.s.path("run2.bfloat")}));
  EXPECT_EQ(names_of(activation_files),
            (std::vector<std::string>{"P-1.nii", "T-1.nii", "S-1.nii", "P-2.nii", "T-2.nii", "S-2.nii",
                                      "P-1-2.nii", "T-1-2.nii", "S-1-2.nii"}));
  int k = 0;
  for (const file_list *f = &activation_files; f; f = f->next, k++) {
    EXPECT_EQ(f->type, k % 3 + 1) << f->file_name;
    EXPECT_EQ(f->scale_log, k % 3 == 0 ? 1 : 0) << f->file_name;
  }
  EXPECT_EQ(GLM.initialized, 2);
  EXPECT_EQ(glm_model.shape, SHAPE_GAMMA);
  EXPECT_EQ(noise_model_original, 0);
}

TEST(GlmView, MissingAverageSwitchesEveryMapNameToTheNativeFormat) {
  ViewStudy v;
  ASSERT_EQ(v.read_result, 0);
  int result = -1;
  Captured c = v.define(1, 1, 0, 0, &result);
  EXPECT_EQ(result, 0);
  EXPECT_NE(c.out.find("Failed to read NIFTI files: switch to ZOR format.\n"), std::string::npos) << c.out;
  EXPECT_EQ(names_of(activation_files), (std::vector<std::string>{"P-1.bfloat", "P-2.bfloat", "P-1-2.bfloat"}));
}

TEST(GlmView, WithoutTimeDataTheAverageIsTheImageAndNoFitRuns) {
  ViewStudy v;
  ASSERT_EQ(v.read_result, 0);
  v.add_average_nii();
  int result = -1;
  v.define(0, 0, 0, 0, &result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(names_of(image_files), std::vector<std::string>{"average.nii"});
  EXPECT_TRUE(names_of(activation_files).empty());
  EXPECT_EQ(GLM_get_nconditions(), 3);  // names only
  EXPECT_EQ(GLM.initialized, 1);
  std::vector<float> y(36, 5.0f), fit(36, -7.0f), y2(36, 0.0f);
  graph.npoints = 36;
  graph.yVector = y.data();
  graph.yFit = fit.data();
  graph.yVector2 = y2.data();
  fill_GLM_TimeSeriesModel();
  EXPECT_EQ(fit[3], -7.0f);
  graph.yVector = graph.yFit = graph.yVector2 = nullptr;
}

TEST(GlmView, TablesStartOutRemovedAndNoiseModelIsKept) {
  ViewStudy v("conditions 1\nnoise-model iWLS\n");
  ASSERT_EQ(v.read_result, 0) << v.read.out;
  int result = -1;
  v.define(1, 0, 0, 0, &result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(noise_model_original, NOISE_iWLS);
  EXPECT_STREQ(glm_model.residue_string, "");
  char name[1024];
  get_GLM_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "GLM/WLS");
  graph.freq_domain = 1;
  get_GLM_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "FT ");
  graph.freq_domain = 0;
  GLM_set_noise_model(0);
  get_GLM_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "GLM/OLS");
}

TEST(GlmView, ConditionNamingAnUndefinedEventEndsTheDefinition) {
  ViewStudy v("conditions 1 7\n");
  ASSERT_EQ(v.read_result, 0);
  int result = -1;
  Captured c = v.define(1, 0, 0, 0, &result);
  EXPECT_EQ(result, 1) << c.out;
  EXPECT_FALSE(c.out.empty());
}

TEST(GlmView, XAxisInSecondsOfTheFirstRun) {
  ViewStudy v;
  ASSERT_EQ(v.read_result, 0);
  EXPECT_EQ(get_GLM_xValue(7), 14.0f);
  EXPECT_EQ(get_GLM_xIndex(14.0f), 7);
  EXPECT_EQ(get_GLM_xIndex(14.9f), 7);
  EXPECT_EQ(get_GLM_xIndex(15.1f), 8);
}

TEST(GlmView, OutputLabelNamesTheEventsLeft) {
  ViewStudy v;
  ASSERT_EQ(v.read_result, 0);
  char name[1024];
  label_graph_time_window_GLM_TimeSeriesModel(name);
  EXPECT_STREQ(name, ".roi");
  strcpy(glm_model.residue_string, "2");
  label_graph_time_window_GLM_TimeSeriesModel(name);
  EXPECT_STREQ(name, ".roi-1");
  strcpy(glm_model.residue_string, "12");
  label_graph_time_window_GLM_TimeSeriesModel(name);
  EXPECT_STREQ(name, ".roi-");
}

TEST(GlmView, PanelFieldsAreRegisteredInRowOrder) {
  ViewStudy v;
  const int expected[][2] = {{1, TEXTFIELD_GRAPH_UNITS},   {2, TEXTFIELD_GLM_CONDITIONS}, {3, TEXTFIELD_GLM_INCLUDE},
                             {4, TEXTFIELD_GLM_EXCLUDE},   {3, TEXTFIELD_GLM_NEW_EVENT},  {4, TEXTFIELD_GLM_NEW_SHAPE},
                             {2, TEXTFIELD_GLM_BASELINE},  {2, TEXTFIELD_GLM_NBASELINE},  {4, TEXTFIELD_CHI2},
                             {2, TEXTFIELD_FREQ_BAND},     {3, TEXTFIELD_PHASE_SHIFT}};
  const SelectableText *t = &graph.SelectText;
  for (const auto &e : expected) {
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->YLocation, e[0]);
    EXPECT_EQ(t->FieldID, e[1]);
    EXPECT_EQ(t->visible, 1);
    t = t->next;
  }
  EXPECT_EQ(t, nullptr);
  EXPECT_EQ(glm_model.baseline, 1);
  EXPECT_EQ(glm_model.show_glm_windows, 2);
  EXPECT_EQ(glm_model.event_number_active, 1);
}

// The model fitted through the view against the engine called directly.
struct FittedStudy : ViewStudy {
  std::vector<float> y, y1, y2, fit, fit_err, x;
  FittedStudy(const std::string &keywords = "conditions 1 2 1-2\n") : ViewStudy(keywords) {
    int result = -1;
    define(1, 0, 0, 0, &result);
    EXPECT_EQ(result, 0);
    y.resize(36);
    for (int t = 0; t < 36; t++)
      y[t] = 100.0f + 3.0f * GLM.Xorig_tc[t][0] - 2.0f * GLM.Xorig_tc[t][1] + 0.5f * (float)sin(t * 1.7);
    y1 = y;
    x.assign(36, 0.0f);
    y2.assign(36, 0.0f);
    fit.assign(36, 0.0f);
    fit_err.assign(36, 0.0f);
    graph.npoints = 36;
    graph.type = 1;
    graph.units_percent = 0;
    graph.freq_domain = 0;
    graph.yVector = y.data();
    graph.yVector1 = y1.data();
    graph.xVector = x.data();
    graph.yVector2 = y2.data();
    graph.yFit = fit.data();
    graph.yFit_err = fit_err.data();
  }
  ~FittedStudy() {
    graph.yVector = graph.yVector1 = graph.yVector2 = graph.yFit = graph.yFit_err = graph.xVector = nullptr;
  }
};

TEST(GlmView, FitOfTheCurveIsTheEnginesOwn) {
  FittedStudy f;
  std::vector<float> data = f.y, engine_fit(36);
  fill_GLM_TimeSeriesModel();
  float sigma2;
  GLM_Update_Weights(36, data.data());
  GLM_PreFilter(0, 36, data.data());
  GLM_fit_data(36, data.data(), engine_fit.data(), &sigma2);
  float F, cnr, p_raw, p_cor, es, sem;
  GLM_calculate_F(36, sigma2, 0, 0, &F, &cnr, &p_raw, &p_cor, &es, &sem);
  for (int t = 0; t < 36; t++) EXPECT_EQ(f.fit[t], engine_fit[t]) << t;
  EXPECT_EQ(glm_model.chi2_dof, sigma2);
  EXPECT_EQ(glm_model.effect_size, es);
  EXPECT_EQ(glm_model.effect_sem, sem);
  EXPECT_EQ(glm_model.p_raw, p_raw);
  EXPECT_NEAR(es, 3.0f, 0.3f);
}

TEST(GlmView, PercentUnitsUseTheMeanOfTheRawCurve) {
  FittedStudy f;
  graph.units_percent = 1;
  double mean = 0;
  for (float v : f.y) mean += v;
  mean /= 36;
  std::vector<float> raw = f.y;
  fill_GLM_TimeSeriesModel();
  // Data are adjusted before the fit, which is then in percent.
  float sum = 0;
  for (int t = 0; t < 36; t++) {
    EXPECT_NEAR(f.y[t], (raw[t] / mean - 1) * 100, 1e-3) << t;
    EXPECT_NEAR(f.y2[t], -100.0f, 1e-4);
    sum += f.fit[t];
  }
  EXPECT_NEAR(sum / 36, 0.0f, 0.05f);
}

TEST(GlmView, ZeroMeanLeavesThePercentCurveUnchanged) {
  FittedStudy f;
  for (int t = 0; t < 36; t++) f.y[t] = (t % 2) ? 1.0f : -1.0f;
  graph.units_percent = 1;
  fill_GLM_TimeSeriesModel();
  EXPECT_EQ(f.y[0], -1.0f);
  EXPECT_EQ(f.y[1], 1.0f);
  EXPECT_EQ(f.y2[1], 0.0f);
}

TEST(GlmView, ResidueTakesEventsOutOfDataAndFit) {
  FittedStudy f;
  std::vector<float> raw = f.y;
  strcpy(glm_model.residue_string, "1");
  fill_GLM_TimeSeriesModel();
  for (int t = 0; t < 36; t++) {
    const float term = GLM.Xorig_tc[t][0] * GLM.Beta_c[0];
    EXPECT_NEAR(f.y[t], raw[t] - term, 1e-3) << t;
  }
}

TEST(GlmView, BaselineOffAndFrequencyDomain) {
  {
    FittedStudy f;
    glm_model.baseline = 0;
    fill_GLM_TimeSeriesModel();
    float mean = 0;
    for (float v : f.fit) mean += v;
    EXPECT_LT(fabs(mean / 36), 2.0f);  // the offsets are gone
  }
  FittedStudy g;
  graph.freq_domain = 1;
  fill_GLM_TimeSeriesModel();
  EXPECT_EQ(g.y[0], g.y[1]);  // a spectrum: bins fill sample pairs
  EXPECT_GT(g.y[0], 1000.0f);
  graph.freq_domain = 0;
}

TEST(GlmView, ExcludeTextWithoutAnEventEmptiesTheResidue) {
  FittedStudy f;
  define_GLM_residue_from_exclusion("2");
  EXPECT_STREQ(glm_model.residue_string, "2");
  define_GLM_residue_from_exclusion("xyz9");
  EXPECT_STREQ(glm_model.residue_string, "");
  define_GLM_residue_from_exclusion("x1");
  EXPECT_STREQ(glm_model.residue_string, "x1");
  char label[1024];
  label_graph_time_window_GLM_TimeSeriesModel(label);
  EXPECT_STREQ(label, ".roi-2");
}

TEST(GlmView, ModelNameClickReachesTheSpectrumOnlyUnderLeastSquares) {
  FittedStudy f;
  graph.size.x = 0;  // no graph window: the curve is not read again
  graph.text_selection = TEXTFIELD_GRAPH_MODEL;
  ASSERT_EQ(noise_model_original, 0);
  action_graph_text_selection_GLM_TimeSeriesModel(1);
  EXPECT_EQ(graph.freq_domain, 1);
  EXPECT_EQ(graph.update_regions & 5, 5);
  char name[1024];
  get_GLM_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "FT ");
  action_graph_text_selection_GLM_TimeSeriesModel(1);
  EXPECT_EQ(graph.freq_domain, 0);

  noise_model_original = 1;
  action_graph_text_selection_GLM_TimeSeriesModel(1);
  EXPECT_EQ(graph.freq_domain, 0);
  EXPECT_EQ(GLM_get_noise_model(), 1);
  get_GLM_TimeSeriesModel_name(name);
  EXPECT_STREQ(name, "GLM/WLS");
  action_graph_text_selection_GLM_TimeSeriesModel(2);
  EXPECT_EQ(GLM_get_noise_model(), 0);
  EXPECT_EQ(graph.freq_domain, 0);
}

TEST(GlmView, PanelFieldsShowTheModelsState) {
  FittedStudy f;
  graph.type = 1;
  graph.size.x = 800;
  fill_GLM_TimeSeriesModel();
  SelectableText t{};
  const auto field = [&](int id) {
    t = SelectableText{};
    t.FieldID = id;
    update_SelectText_GLM_TimeSeriesModel(&t);
    return std::string(t.string);
  };
  EXPECT_EQ(field(TEXTFIELD_GLM_INCLUDE), "include: 12");
  EXPECT_EQ(t.XPosition, 200);
  EXPECT_EQ(t.XSelectEnd, 300);
  EXPECT_EQ(field(TEXTFIELD_GLM_EXCLUDE), "exclude: ");
  EXPECT_EQ(field(TEXTFIELD_GLM_NEW_EVENT), "draw event: 1");
  EXPECT_EQ(t.color, COLOR_SKY);
  EXPECT_EQ(field(TEXTFIELD_GLM_NEW_SHAPE), "draw event: gamma");
  EXPECT_EQ(field(TEXTFIELD_GLM_BASELINE), "base:y");
  EXPECT_STREQ(t.message2, "Keyboard equivalent: b");
  EXPECT_EQ(field(TEXTFIELD_GLM_NBASELINE), "(3)");
  char chi2[64];
  snprintf(chi2, sizeof chi2, "%5.2e", glm_model.chi2_dof);
  EXPECT_EQ(field(TEXTFIELD_CHI2), chi2);
  EXPECT_EQ(t.color, COLOR_GRAY);
  EXPECT_TRUE(t.visible);
  EXPECT_EQ(field(TEXTFIELD_FREQ_BAND), "band: 0 to 0.5");  // the whole band up to Nyquist
  EXPECT_FALSE(t.visible);
  EXPECT_EQ(field(TEXTFIELD_GRAPH_UNITS), " units: abs ");
  EXPECT_EQ(t.XPosition, 360);
  EXPECT_STREQ(t.message1, "Toggle between % or abs units");
  graph.size.x = 149;
  field(TEXTFIELD_GRAPH_UNITS);
  EXPECT_FALSE(t.visible);
  glm_model.iCondition_value = 2;
  char expected[128];
  std::string text = field(TEXTFIELD_GLM_CONDITIONS);
  snprintf(expected, sizeof expected, " 1-2 = %6.3f+-%6.3f", glm_model.effect_size, glm_model.effect_sem);
  EXPECT_EQ(text, expected);
  glm_model.iCondition_value = 7;
  Captured c = capture_output([&] { field(TEXTFIELD_GLM_CONDITIONS); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: condition index 7 is not defined.\n");
  graph.size.x = 0;
}

TEST(GlmView, KeysOfTheModel) {
  FittedStudy f;
  graph.size.x = 0;
  glm_model.show_glm_windows = 2;
  EXPECT_EQ(graph_event_handler_GLM_TimeSeriesModel(' '), 1);
  EXPECT_EQ(glm_model.show_glm_windows, 0);
  EXPECT_EQ(graph_event_handler_GLM_TimeSeriesModel(' '), 1);
  EXPECT_EQ(glm_model.show_glm_windows, 1);
  graph.update_regions = 0;
  EXPECT_EQ(graph_event_handler_GLM_TimeSeriesModel('b'), 1);
  EXPECT_EQ(glm_model.baseline, 0);
  EXPECT_EQ(graph.update_regions, 5);
  EXPECT_EQ(graph_event_handler_GLM_TimeSeriesModel('q'), 0);
}

std::string file_text(FILE *f) {
  std::string text;
  rewind(f);
  for (int c; (c = fgetc(f)) != EOF;) text += (char)c;
  return text;
}

TEST(GlmView, RegionTableColumnsOfTheModel) {
  FittedStudy f;
  fill_GLM_TimeSeriesModel();
  for (int j = 0; j < 36; j++) f.x[j] = 2.0f * j;
  strcpy(ovl_root.name, "blob");
  FILE *first = tmpfile();
  ASSERT_EQ(write_GLM_into_roi_file(1, first, nullptr), 0);
  const std::string table = file_text(first);
  fclose(first);
  std::string expected = "i x blob\n";
  char row[128];
  for (int j = 0; j < 36; j++) snprintf(row, sizeof row, "%d %g %g\n", j, 2.0f * j, f.y[j]), expected += row;
  expected += "new   # GLM fit to data\n";
  for (int j = 0; j < 36; j++) snprintf(row, sizeof row, "%d %g %g\n", j, 2.0f * j, f.fit[j]), expected += row;
  for (int e = 0; e < 2; e++) {
    snprintf(row, sizeof row, "new   # fit for event type %d\n", e + 1);
    expected += row;
    for (int j = 0; j < 36; j++) {
      float fit;
      GLM_event_fit(1, glm_model.residue_string, e, j, &fit);
      snprintf(row, sizeof row, "%d %g %g\n", j, 2.0f * j, fit);
      expected += row;
    }
  }
  EXPECT_EQ(table, expected);

  // A further region adds one column behind each line of the file.
  std::vector<int> ibuffer(table.begin(), table.end());
  ibuffer.push_back(EOF);
  strcpy(ovl_root.name, "second");
  FILE *later = tmpfile();
  ASSERT_EQ(write_GLM_into_roi_file(0, later, ibuffer.data()), 0);
  const std::string extended = file_text(later);
  fclose(later);
  size_t line_start = 0, lines = 0;
  size_t at = 0;
  for (size_t next; (next = table.find('\n', line_start)) != std::string::npos; line_start = next + 1, lines++) {
    const std::string old_line = table.substr(line_start, next - line_start);
    const size_t end = extended.find('\n', at);
    ASSERT_NE(end, std::string::npos);
    const std::string new_line = extended.substr(at, end - at);
    at = end + 1;
    ASSERT_EQ(new_line.rfind(old_line + " ", 0), 0u) << lines;
    if (lines == 0) {
      EXPECT_EQ(new_line, old_line + " second");
    }
    if (old_line.rfind("new", 0) == 0) {
      EXPECT_EQ(new_line, old_line + " ");
    }
  }
  EXPECT_EQ(at, extended.size());
  strcpy(ovl_root.name, "none");
}

TEST(GlmView, InformationLinesAtTheTimePointAndUnderThePointer) {
  FittedStudy f;
  fill_GLM_TimeSeriesModel();
  image_files.start_image = 0;
  image_files.end_image = 19;
  image_files.next->start_image = 20;
  image_files.next->end_image = 35;
  char s1[1024], s2[1024], s3[1024];
  graph.iTime = 23;
  get_info_GLM_TimeSeriesModel(0, s1, s2, s3);
  EXPECT_STREQ(s1, " run  time       graph event");
  char expected[1024];
  snprintf(expected, sizeof expected, " %2d %5d %9.2f  %s", 2, 3, f.y[23], "1");
  EXPECT_STREQ(s2, expected);
  EXPECT_STREQ(s3, "        6");
  graph.iTime = -1;
  get_info_GLM_TimeSeriesModel(0, s1, s2, s3);
  EXPECT_STREQ(s2, " ");
  EXPECT_STREQ(s3, " ");
  graph.icursor.x = 17;
  graph.cursor = POINT2D{34.5f, 101.25f};
  get_info_GLM_TimeSeriesModel(1, s1, s2, s3);
  EXPECT_STREQ(s2, "  1    17    101.25  ignored");
  EXPECT_STREQ(s3, "     34.5");
  // A point beyond the model's runs (an image given beside them) is shown
  // without an event.
  add_image_file(&image_files, "extra", 0, 0);
  image_files.next->next->start_image = 36;
  image_files.next->next->end_image = 39;
  graph.icursor.x = 38;
  graph.cursor = POINT2D{76.0f, 5.0f};
  Captured c = capture_output([&] { get_info_GLM_TimeSeriesModel(1, s1, s2, s3); });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_STREQ(s2, "  3     2      5.00   ");
  EXPECT_STREQ(s3, "       76");
}

}  // namespace
