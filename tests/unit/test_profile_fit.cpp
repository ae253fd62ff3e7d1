// Point-spread fits of the graph's profile along x: the start values from
// the profile, the chosen range, the fitted curve in graph.yFit and the
// status line, on profiles made from the two shapes themselves.
#include <gtest/gtest.h>

#include <cmath>

#include "graph_fixture.h"
#include "test_support.h"
#include "zor_profile_fit.h"

namespace {

class ProfileFit : public GraphFixture {};

TEST_F(ProfileFit, GaussianProfileGivesBackItsParameters) {
  value = [](int x, int y, int z, int t) {
    return (float)(50.0 * exp(-(x - 7.3) * (x - 7.3) / (2.0 * 1.7 * 1.7)));
  };
  make_stack(IPOINT3D{16, 4, 3}, 1);
  open_graph(0, 1);
  ASSERT_EQ(graph.npoints, 16);
  Captured c = capture_output([] { action_fit_psf(1); });
  EXPECT_EQ(c.out.rfind("status: success", 0), 0u) << c.out;
  EXPECT_NE(c.out.find(" evaluations\n"), std::string::npos);
  for (int j = 0; j < 16; j++) EXPECT_NEAR(graph.yFit[j], graph.yVector[j], 1e-3f) << j;
}

TEST_F(ProfileFit, LorentzianOverTheChosenRangeOnly) {
  value = [](int x, int y, int z, int t) {
    if (x > 12) return 1000.0f;  // outside the chosen range: ignored
    const double d = x - 5.5;
    return (float)(30.0 * 4.0 / (4.0 + d * d));
  };
  make_stack(IPOINT3D{16, 4, 3}, 1);
  open_graph(0, 1);
  graph.ix_low_select = 1;
  graph.ix_high_select = 12;
  Captured c = capture_output([] { action_fit_psf(0); });
  EXPECT_EQ(c.out.rfind("status: ", 0), 0u) << c.out;
  for (int j = 1; j <= 12; j++) EXPECT_NEAR(graph.yFit[j], graph.yVector[j], 1e-3f) << j;
  // Beyond the range the curve is the model's, not the data's.
  const double d = 14 - 5.5;
  EXPECT_NEAR(graph.yFit[14], 30.0 * 4.0 / (4.0 + d * d), 1e-3);
}

TEST_F(ProfileFit, OnlyOnAProjectionGraph) {
  make_stack(IPOINT3D{8, 4, 3}, 2);
  open_graph(1);
  Captured c = capture_output([] { action_fit_psf(1); });
  EXPECT_EQ(c.out, "");
  for (int j = 0; j < graph.npoints; j++) EXPECT_EQ(graph.yFit[j], 0.0f);
}

}  // namespace
