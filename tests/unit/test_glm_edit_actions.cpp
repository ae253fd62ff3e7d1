// The linear model changed from the graph window, without an X server: a
// range drawn on the time course, the fit of a gamma or sigmoid, excluded
// points, the maps of the whole volume in memory and the model's files.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "glm_test_files.h"
#include "graph_fixture.h"
#include "zor_glm_actions.h"

namespace {

// Answers for the prompts, one per question, and the questions asked.
std::vector<std::string> answers, asked;
int scripted(const char *prompt, const char *options, char *answer) {
  asked.push_back(std::string(prompt) + " " + options);
  if (answers.empty()) {
    answer[0] = '\0';
    return 0;
  }
  std::string a = answers.front();
  answers.erase(answers.begin());
  if (a == "ESC") {
    answer[0] = '\0';
    return 0;
  }
  strcpy(answer, a.c_str());
  return 1;
}

bool contains(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

float hash_noise(int x, int y, int z, int t) {
  unsigned h = (unsigned)(x * 73856093) ^ (unsigned)(y * 19349663) ^ (unsigned)(z * 83492791) ^ (unsigned)(t * 2654435761u);
  h = (h ^ (h >> 13)) * 1274126177u;
  return (float)((h >> 8) & 0xffff) / 65536.0f - 0.5f;
}

class GlmEditActions : public GraphFixture {
 protected:
  static constexpr int kRun = 20, kTime = 40;
  GlmStudy files;

  void SetUp() override {
    GraphFixture::SetUp();
    GLM_engine_reset();
    glm_view_reset();
    glm_actions_reset();
    glm_action_prompt = scripted;
    answers.clear();
    asked.clear();
    clear_file_list(&image_files);
    clear_file_list(&activation_files);
    // Each voxel answers the blocks 5-10 and 25-30 with its own strength, on
    // a drifting baseline with noise.
    value = [](int x, int y, int z, int t) {
      const int local = t % kRun;
      const float block = (local >= 5 && local <= 10) ? 1.0f : 0.0f;
      const float ramp = (local >= 12 && local <= 16) ? (float)(local - 11) : 0.0f;
      return 100.0f + 10 * z + (float)(x + 1) * 2.0f * block + (float)y * ramp + 0.02f * t +
             0.8f * hash_noise(x, y, z, t);
    };
    make_stack(IPOINT3D{3, 2, 2}, kTime);
    add_image_file(&image_files, files.run("run1", kRun).c_str(), 0, 0);
    add_image_file(&image_files, files.run("run2", kRun).c_str(), 0, 0);
    open_graph(1);
    graph.time_model = MODEL_GLM;
    glm_model.baseline = 1;
    glm_model.show_glm_windows = 2;
    glm_model.event_number_active = 1;
    glm_model.shape = GLM_DRAW_SQUARE;
    GLM_input.nbaseline_terms = 3;
    ASSERT_EQ(GLM_initialize(kTime, 2), 0);
    GLM_initialize_run(0, 0, kRun - 1, 1.0f);
    GLM_initialize_run(1, kRun, kTime - 1, 1.0f);
    Captured c = capture_output([] { GLM_define_basis_functions(); });
    graph.iLastTime = 0;
    fill_graph_vector();
  }
  void TearDown() override {
    glm_actions_reset();
    clear_file_list(&image_files);
    clear_file_list(&activation_files);
    GLM_engine_reset();
    GraphFixture::TearDown();
  }

  // The maps, computed in the study's folder (they write "basis.dat" there).
  Captured maps_here(int &result) {
    Captured c;
    in_directory(files.dir, [&] { c = capture_output([&] { result = action_compute_p_value(); }); });
    return c;
  }

  // A drag from low to high with the draw shape, as the graph hands it on.
  Captured select(int low, int high, int shape, int event = 1) {
    glm_model.shape = shape;
    glm_model.event_number_active = event;
    graph.ix_low_select = low;
    graph.ix_high_select = high;
    Captured c;
    in_directory(files.dir, [&] { c = capture_output([] { action_graph_button23_GLM_TimeSeriesModel(); }); });
    return c;
  }
};

TEST_F(GlmEditActions, DragAddsASquareAndTheFitFollows) {
  const std::vector<float> before(graph.yFit, graph.yFit + kTime);
  Captured c = select(5, 10, GLM_DRAW_SQUARE);
  ASSERT_EQ(c.exit_status, -1);
  EXPECT_TRUE(contains(c.out, "1 conditions: 1 \n")) << c.out;
  ASSERT_EQ(GLM.nevents, 1);
  EXPECT_EQ(GLM.stim_on[0][0], 5.0f);
  EXPECT_EQ(GLM.stim_off[0][0], 10.0f);
  EXPECT_EQ(GLM.initialized, 2);
  EXPECT_EQ(GLM.ncoeff, 1 + 2 * 3);
  const std::vector<float> after(graph.yFit, graph.yFit + kTime);
  EXPECT_NE(before, after);
  // The fit now steps up over the block.
  EXPECT_GT(graph.yFit[7] - graph.yFit[3], 1.0f);
  EXPECT_TRUE(graph.update_regions & 4);
}

TEST_F(GlmEditActions, ClickWithoutDragDeletesWhatLiesThere) {
  select(5, 10, GLM_DRAW_SQUARE);
  select(25, 30, GLM_DRAW_SQUARE);
  ASSERT_EQ(GLM.nstims[0], 2);
  Captured c = select(7, 7, GLM_DRAW_SQUARE);
  EXPECT_EQ(graph.ix_low_select, -1);
  EXPECT_TRUE(contains(c.out, "delete stimulus of event 1 at location 7.000000\n")) << c.out;
  ASSERT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_on[0][0], 25.0f);
  c = select(27, 27, GLM_DRAW_SQUARE);
  EXPECT_EQ(GLM.nevents, 0);
  EXPECT_EQ(GLM_get_nconditions(), 0);
  EXPECT_TRUE(contains(c.out, "delete stimulus of event 1 at location 27.000000\n"));
}

TEST_F(GlmEditActions, ExactlyTwoEventsGiveAllPairsAndMoreGiveSingles) {
  select(5, 10, GLM_DRAW_SQUARE, 1);
  Captured c = select(12, 16, GLM_DRAW_SQUARE, 2);
  EXPECT_TRUE(contains(c.out, "4 conditions: 1 2 12 1-2 \n")) << c.out;
  EXPECT_EQ(GLM_get_nconditions(), 4);
  c = select(32, 35, GLM_DRAW_SQUARE, 3);
  EXPECT_TRUE(contains(c.out, "3 conditions: 1 2 3 \n")) << c.out;
  EXPECT_EQ(GLM_get_nconditions(), 3);
}

TEST_F(GlmEditActions, CursorInsideTheRangeDefinesTheGammaWithoutASearch) {
  graph.iLastTime = 8;
  Captured c = select(5, 12, GLM_DRAW_GAMMA);
  EXPECT_TRUE(asked.empty());
  EXPECT_TRUE(contains(c.out, "range: 5 12\n"));
  ASSERT_EQ(GLM.nevents, 1);
  EXPECT_EQ(GLM.event_shape[0], SHAPE_GAMMA);
  EXPECT_EQ(GLM.stim_on[0][0], 5.0f);
  EXPECT_EQ(GLM.event_tau1[0], 3.0f);
  EXPECT_EQ(GLM.stim_off[0][0], 19.0f);
}

TEST_F(GlmEditActions, SigmoidAsksOneQuestionFewerThanGamma) {
  answers = {"n", "n"};
  Captured c = select(5, 12, GLM_DRAW_GAMMA);
  std::vector<std::string> gamma_questions = {"Fix shape with alpha=1? (y,n,ESC,other)",
                                              "Vary onset time? (y,n,ESC,other)"};
  EXPECT_EQ(asked, gamma_questions);
  EXPECT_TRUE(contains(c.out, "Define new event of shape GAMMA starting at 5 with tau = ")) << c.out;
  select(5, 5, GLM_DRAW_GAMMA);  // deleted again
  ASSERT_EQ(GLM.nevents, 0);
  asked.clear();
  answers = {"n"};
  c = select(5, 12, GLM_DRAW_SIGMOID);
  std::vector<std::string> sigmoid_questions = {"Vary onset time? (y,n,ESC,other)"};
  EXPECT_EQ(asked, sigmoid_questions);
  EXPECT_TRUE(contains(c.out, "Define new event of shape SIGMOID starting at 5 with tau = ")) << c.out;
  EXPECT_EQ(GLM.event_alpha[0], 1.0f);
}

TEST_F(GlmEditActions, FitsOutsideTheirGraphAreProgrammingErrors) {
  graph.ix_low_select = 5;
  graph.ix_high_select = 45;
  answers = {"y", "n"};
  Captured c = capture_output([] { action_fit_gamma_or_sigmoid(1, SHAPE_GAMMA); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "range: 5 45\nProgramming error: graph.ix_low_select (or high_select) out of range.\n");
  graph.type = 0;
  graph.space_model = 0;
  c = capture_output([] { action_fit_gamma_or_sigmoid(1, SHAPE_GAMMA); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: graph type = 4 in function action_fit_gamma().\n");
  graph.type = 1;
  // A negative event number prints the range and does nothing else.
  c = capture_output([] { EXPECT_EQ(action_fit_gamma_or_sigmoid(-1, SHAPE_GAMMA), 0); });
  EXPECT_EQ(c.out, "range: 5 45\n");
  EXPECT_EQ(GLM.nevents, 0);
}

TEST_F(GlmEditActions, EscapeLeavesTheModelAsItWas) {
  answers = {"ESC"};
  select(5, 12, GLM_DRAW_GAMMA);
  EXPECT_EQ(GLM.nevents, 0);
  answers = {"y", "ESC"};
  select(5, 12, GLM_DRAW_GAMMA);
  EXPECT_EQ(GLM.nevents, 0);
}

TEST_F(GlmEditActions, TheFirstSearchTakesTheTimeConstantOfTheLowestNoise) {
  // The curve of voxel (0,0,0) with a gamma of tau 4 at point 6 in place of its blocks.
  value = [](int x, int y, int z, int t) {
    const float u = (float)(t - 6) / 4.0f;
    const float g = t >= 6 && t <= 19 ? (float)(pow(u, 1.0) * exp(1.0 - u)) : 0.0f;
    return 50.0f + 5.0f * g + 0.05f * hash_noise(x, y, z, t);
  };
  fill_values();
  mosaic.icross = IPOINT3D{0, 0, 0};
  fill_graph_vector();
  answers = {"y", "n"};
  Captured c = select(6, 16, GLM_DRAW_GAMMA);
  ASSERT_EQ(GLM.nevents, 1);
  // The time constants tried are 1 + k/5: the one nearest 4 wins.
  EXPECT_NEAR(GLM.event_tau1[0], 4.0f, 1e-4) << c.out;
  EXPECT_EQ(GLM.stim_on[0][0], 6.0f);
  EXPECT_TRUE(contains(c.out, "Define new event of shape GAMMA starting at 6 with tau = 4 and alpha = 1\n")) << c.out;
}

TEST_F(GlmEditActions, IgnoreSelectedTwiceRestoresTheRange) {
  const std::vector<int> before(GLM.include_time, GLM.include_time + kTime);
  Captured c = select(3, 8, GLM_DRAW_IGNORE);
  EXPECT_TRUE(contains(c.out, "select 3 to 8\n"));
  ASSERT_EQ(GLM.nexclude, 1);
  EXPECT_EQ(GLM.exclude_start[0], 3);
  EXPECT_EQ(GLM.exclude_end[0], 8);
  EXPECT_EQ(GLM.ntime_included, kTime - 6);
  select(3, 8, GLM_DRAW_IGNORE);
  EXPECT_EQ(GLM.nexclude, 0);
  EXPECT_EQ(std::vector<int>(GLM.include_time, GLM.include_time + kTime), before);
}

TEST_F(GlmEditActions, TableTakesTheShownCurveInTheRunsOfTheRange) {
  const std::vector<float> curve(graph.yVector, graph.yVector + kTime);
  Captured c = select(22, 30, GLM_DRAW_TABLE, 4);
  ASSERT_EQ(GLM.nevents, 1);
  EXPECT_EQ(GLM.event_shape[0], SHAPE_TABLE);
  ASSERT_EQ(GLM.nstims[0], 1);
  EXPECT_EQ(GLM.stim_on[0][0], 20.0f);
  EXPECT_EQ(GLM.table_ncolumns[1], 1);
  EXPECT_EQ(GLM.table_ncolumns[0], 0);
  // The curve of run 2 with its quadratic trend removed: the fit is the curve there.
  for (int t = kRun; t < kTime; t++) EXPECT_NEAR(graph.yFit[t], curve[t], 2e-3) << t;
}

TEST_F(GlmEditActions, SelectionsOffTheCurveChangeNothing) {
  Captured c = select(-1, 12, GLM_DRAW_SQUARE);
  EXPECT_EQ(c.out, "Error: the selection (-1 to 12) lies outside the time course (0 to 39).\n");
  c = select(30, 45, GLM_DRAW_SQUARE);
  EXPECT_EQ(c.out, "Error: the selection (30 to 45) lies outside the time course (0 to 39).\n");
  EXPECT_EQ(GLM.nevents, 0);
}

TEST_F(GlmEditActions, EventZeroCannotBeDrawn) {
  Captured c = select(5, 8, GLM_DRAW_SQUARE, 0);
  EXPECT_EQ(c.out, "Error: event 0 has no identifier; choose an event ID from 1-9, a-z or A-Z.\n");
  EXPECT_EQ(GLM.nevents, 0);
}

TEST_F(GlmEditActions, StimulusOverAnExcludedSegmentIsReported) {
  select(4, 12, GLM_DRAW_IGNORE);
  Captured c = select(5, 10, GLM_DRAW_SQUARE);
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_TRUE(contains(c.out, "Warning: event 1 is zero at every time point in use (are its stimuli excluded?).\n"))
      << c.out;
  for (int t = 0; t < kTime; t++) EXPECT_FALSE(std::isnan(graph.yFit[t])) << t;
}

TEST_F(GlmEditActions, SearchOverDataThatIsNoNumberStops) {
  graph.yVector[9] = NAN;
  float onset = -1, tau = -1, alpha = -1;
  std::vector<float> data(graph.yVector, graph.yVector + kTime), fit(kTime);
  int result = -99;
  Captured c = capture_output([&] {
    result = grid_search_onset_tau_alpha(1, SHAPE_GAMMA, 4, 6, 0.5f, 2, 4, 0.5f, &onset, &tau, &alpha, kTime,
                                         data.data(), fit.data());
  });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: the time course holds a value that is not a number at point 9; no search is made.\n");
  EXPECT_EQ(GLM.nevents, 0);
  EXPECT_EQ(onset, -1.0f);
  // A step of 0 would never end.
  data[9] = 1.0f;
  c = capture_output([&] {
    result = grid_search_onset_tau(1, SHAPE_GAMMA, 4, 6, 0.0f, 2, 4, 0.5f, &onset, &tau, kTime, data.data(),
                                   fit.data());
  });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: the grid search step (0) must be > 0.\n");
  c = capture_output([&] {
    result = grid_search_onset_tau(1, SHAPE_GAMMA, 4, 6, 0.5f, 2, INFINITY, 0.5f, &onset, &tau, kTime, data.data(),
                                   fit.data());
  });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: the grid search has limits or steps that are not numbers.\n");
  EXPECT_EQ(GLM.nevents, 0);
}

TEST_F(GlmEditActions, GammaOnNoNumberStopsWithAMessage) {
  graph.yVector[3] = NAN;
  answers = {"y", "y"};
  Captured c = select(5, 12, GLM_DRAW_GAMMA);
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_TRUE(contains(c.out, "Error: the time course holds a value that is not a number at point 3; no search is made.\n"))
      << c.out;
  EXPECT_EQ(GLM.nevents, 0);
}

TEST_F(GlmEditActions, GridSearchLeavesTheModelAsItFoundIt) {
  select(25, 30, GLM_DRAW_SQUARE, 1);
  const int ncoeff = GLM.ncoeff;
  std::vector<float> data(graph.yVector, graph.yVector + kTime), fit(kTime);
  float onset, tau, alpha;
  Captured c = capture_output([&] {
    EXPECT_EQ(grid_search_onset_tau_alpha(2, SHAPE_GAMMA, 4, 6, 1.0f, 2, 3, 1.0f, &onset, &tau, &alpha, kTime,
                                          data.data(), fit.data()),
              0);
  });
  EXPECT_EQ(GLM.nevents, 1);
  EXPECT_EQ(GLM.nstims[0], 1);
  EXPECT_GE(onset, 4.0f);
  EXPECT_LE(onset, 6.0f);
  EXPECT_TRUE(tau == 2.0f || tau == 3.0f);
  bool in_grid = false;
  for (float a : glm_alpha_grid) in_grid |= a == alpha;
  EXPECT_TRUE(in_grid);
  // The design is the one of the last point tried; the next change rebuilds it.
  EXPECT_EQ(GLM.ncoeff, ncoeff + 1);
}

TEST_F(GlmEditActions, IgnoreOutOfRangeExcludesPointsBeyondTheLimits) {
  graph.Min.y = 100.0f;
  graph.Max.y = 104.0f;
  std::vector<int> expected(kTime);
  for (int t = 0; t < kTime; t++) expected[t] = graph.yVector[t] >= 100.0f && graph.yVector[t] <= 104.0f;
  action_ignore_out_of_range();
  EXPECT_EQ(std::vector<int>(GLM.include_time, GLM.include_time + kTime), expected);
  EXPECT_GT(GLM.nexclude, 0);
}

TEST_F(GlmEditActions, MapsNeedAModel) {
  int result = -99;
  Captured c = maps_here(result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "This function requires a defined GLM model.\n");
  c = capture_output([&] { result = action_write_glm_files(); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "This function requires a defined GLM model.\n");
}

// The maps as one fit after another gives them: filter, fit and statistics
// of each voxel in turn, with the engine's own calls.
std::vector<float> maps_one_by_one(bool percent) {
  const int nt = image_stack.nt, n3d = image_stack.n3d, nc = GLM_get_nconditions();
  std::vector<float> maps((size_t)3 * nc * n3d);
  std::vector<float> y(nt), fit(nt);
  for (int v = 0; v < n3d; v++) {
    for (int t = 0; t < nt; t++) y[t] = image_stack.Volume[t][v];
    float sigma2, baseline = 0.0f;
    if (percent) {
      GLM_fit_data(nt, y.data(), fit.data(), &sigma2);
      baseline = GLM_compute_baseline();
    }
    GLM_PreFilter(0, nt, y.data());
    GLM_fit_data(nt, y.data(), fit.data(), &sigma2);
    for (int k = 0; k < nc; k++) {
      float F = 0, cnr, p_raw, p_cor, es, sem;
      GLM_calculate_F(nt, sigma2, n3d, k, &F, &cnr, &p_raw, &p_cor, &es, &sem);
      float logp = (float)-log10((double)p_raw);
      maps[(size_t)(3 * k) * n3d + v] = cnr < 0 ? -logp : logp;
      maps[(size_t)(3 * k + 1) * n3d + v] = percent ? es * 100.0f / fabsf(baseline) : es;
      maps[(size_t)(3 * k + 2) * n3d + v] = cnr;
    }
  }
  return maps;
}

std::vector<float> computed_maps(void) {
  std::vector<float> maps;
  for (int m = 0; m < activation_stack.nt; m++)
    maps.insert(maps.end(), activation_stack.Volume[m], activation_stack.Volume[m] + activation_stack.n3d);
  return maps;
}

TEST_F(GlmEditActions, MapsAreEachVoxelsOwnFitOnAnyNumberOfThreads) {
  select(5, 10, GLM_DRAW_SQUARE, 1);
  select(12, 16, GLM_DRAW_SQUARE, 2);
  select(33, 36, GLM_DRAW_IGNORE);
  // Without a filter the fits read the volumes where they lie; with one,
  // each curve is filtered first.
  for (int filter = 0; filter < 2; filter++)
  for (bool percent : {false, true}) {
    if (filter) GLM_set_preGLM_frequency_band(0.02f, 0.3f);
    graph.units_percent = percent;
    std::vector<float> first;
    for (int threads : {1, 3, 8}) {
      glm_maps_threads = threads;
      int result = -99;
      Captured c = maps_here(result);
      ASSERT_EQ(result, 0) << c.out;
      EXPECT_TRUE(contains(c.out, "calculating p: 0 %\n")) << c.out;
      EXPECT_TRUE(contains(c.out, "calculating p: 95 %\ncalculating p: 100 %\n"));
      ASSERT_EQ(activation_stack.nt, 12);
      std::vector<float> maps = computed_maps();
      if (first.empty()) first = maps;
      EXPECT_EQ(memcmp(maps.data(), first.data(), maps.size() * sizeof(float)), 0) << threads;
    }
    Captured c = capture_output([] {});
    std::vector<float> alone = maps_one_by_one(percent);
    ASSERT_EQ(alone.size(), first.size());
    EXPECT_EQ(memcmp(alone.data(), first.data(), alone.size() * sizeof(float)), 0) << percent << filter;
  }
  // Strong blocks in every voxel: the P map of event 1 is high and positive.
  EXPECT_GT(activation_stack.Volume[0][5], 2.0f);
}

TEST_F(GlmEditActions, MapsAreNamedAndShownAtOnce) {
  select(5, 10, GLM_DRAW_SQUARE, 1);
  select(12, 16, GLM_DRAW_SQUARE, 2);
  int result = -99;
  Captured c = maps_here(result);
  ASSERT_EQ(result, 0);
  std::vector<std::string> names;
  std::vector<int> logs, types, starts;
  for (const file_list *f = &activation_files; f && f->file_name[0]; f = f->next) {
    names.push_back(f->file_name);
    logs.push_back(f->scale_log);
    types.push_back(f->type);
    starts.push_back(f->start_image);
    EXPECT_EQ(f->nt, 1);
  }
  std::vector<std::string> expected = {"P-1", "S-1", "T-1", "P-2", "S-2", "T-2",
                                       "P-12", "S-12", "T-12", "P-1-2", "S-1-2", "T-1-2"};
  EXPECT_EQ(names, expected);
  EXPECT_EQ(logs, std::vector<int>({1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0}));
  EXPECT_EQ(types, std::vector<int>({1, 3, 3, 1, 3, 3, 1, 3, 3, 1, 3, 3}));
  EXPECT_EQ(starts, std::vector<int>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(activation.nmaps, 12);
  EXPECT_EQ(activation.imap, 0);
  EXPECT_EQ(activation.data_type, 1);
  EXPECT_EQ(activation.scale_log, 1);
  EXPECT_EQ(activation.visible, 1);
  EXPECT_STREQ(activation.map_name, "P-1");
  EXPECT_EQ(activation.fSpaceMatrix, activation_stack.Volume[0]);
  EXPECT_EQ(activation_stack.dim.x, 3);
  EXPECT_EQ(activation_stack.n3d, 12);
  // On a stack of 12 voxels the corrected p values are for 12.
  EXPECT_EQ(glm_maps_resels, 12);
  // Computed again after a change, the stack is replaced.
  select(32, 35, GLM_DRAW_SQUARE, 3);
  c = maps_here(result);
  ASSERT_EQ(result, 0);
  EXPECT_EQ(activation.nmaps, 9);
  EXPECT_EQ(activation_stack.nt, 9);
}

TEST_F(GlmEditActions, MapsUnderIteratedWeightsFollowOneAnother) {
  select(5, 10, GLM_DRAW_SQUARE, 1);
  GLM_set_noise_model(NOISE_iWLS);
  graph.units_percent = 0;
  // The weights of the cursor's curve are where the first voxel starts.
  std::vector<float> y(graph.yVector1, graph.yVector1 + kTime);
  GLM_Update_Weights(kTime, y.data());
  glm_maps_threads = 4;
  int result = -99;
  Captured c = maps_here(result);
  ASSERT_EQ(result, 0);
  const std::vector<float> maps = computed_maps();
  GLM_Update_Weights(kTime, y.data());
  const std::vector<float> chained = maps_one_by_one(false);
  EXPECT_EQ(memcmp(maps.data(), chained.data(), maps.size() * sizeof(float)), 0);
}

TEST_F(GlmEditActions, WriteCreatesConditionsAndTheFilesReadBack) {
  select(5, 10, GLM_DRAW_SQUARE, 1);
  select(12, 16, GLM_DRAW_SQUARE, 2);
  select(25, 30, GLM_DRAW_SQUARE, 1);
  int n;
  Captured c = capture_output([&] { GLM_define_conditions(1, (char *)"", &n); });
  int result = -99;
  in_directory(files.dir, [&] { c = capture_output([&] { result = action_write_glm_files(); }); });
  ASSERT_EQ(result, 0) << c.out;
  EXPECT_TRUE(contains(c.out, "create conditions\n"));
  std::ifstream in(files.path("glm.dat"));
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_TRUE(contains(text.str(), "conditions 1 2 12 1-2\nruns:\n" + files.path("run1.bfloat") + " run1.glm\n" +
                                       files.path("run2.bfloat") + " run2.glm\n"))
      << text.str();
  // Read back where they were written: the same stimuli.
  std::vector<float> on0(GLM.stim_on[0], GLM.stim_on[0] + GLM.nstims[0]);
  in_directory(files.dir, [&] {
    ControlRead back = read_control("glm.dat");
    ASSERT_EQ(back.result, 0) << back.printed.out;
  });
  ASSERT_EQ(GLM.nevents, 2);
  EXPECT_EQ(std::vector<float>(GLM.stim_on[0], GLM.stim_on[0] + GLM.nstims[0]), on0);
  EXPECT_EQ(GLM.nconditions, 0);  // conditions are defined by whoever reads them
  EXPECT_STREQ(GLM_input.condition_string, "1 2 12 1-2");
}

TEST_F(GlmEditActions, WriteThatFailsKeepsTheOldFiles) {
  select(5, 10, GLM_DRAW_SQUARE, 1);
  files.text("glm.dat", "old\n");
  atomic_file_simulate_full_disk(1);
  int result = -99;
  Captured c;
  in_directory(files.dir, [&] { c = capture_output([&] { result = action_write_glm_files(); }); });
  atomic_file_simulate_full_disk(0);
  EXPECT_EQ(result, 1);
  EXPECT_TRUE(contains(c.out, "Error writing the event file run1.glm.\n")) << c.out;
  std::ifstream in(files.path("glm.dat"));
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(line, "old");
}

}  // namespace
