// The tract density map of the tracts through the region, and growing the
// region along it.
#include <cstdint>

#include "overlay_fixture.h"
#include "zor_overlay_edit.h"

namespace {

// The 4 x 3 x 2 stack of the file fixture, with a density map as a vector
// map would have it.
class Tractography : public OverlayFiles {
 protected:
  void SetUp() override {
    OverlayFiles::SetUp();
    map.assign(24, 7.0f);  // stale values, to be replaced
    activation.fTractMap = map.data();
    tractography_reset();
    graph.type = -1;
    mosaic.icross = IPOINT3D{0, 0, 0};
  }
  void TearDown() override {
    activation.fTractMap = nullptr;
    OverlayFiles::TearDown();
  }

  // Loads tracts (lists of flat indices) through the file reader.
  void load(const std::vector<std::vector<int32_t>> &tracts) {
    std::vector<int32_t> words{4, 3, 2};
    for (const auto &t : tracts) {
      words.push_back(static_cast<int32_t>(t.size()));
      words.insert(words.end(), t.begin(), t.end());
    }
    const std::string path = write_binary_file(dir, "t.trk", words.data(), words.size() * 4);
    Captured c = capture_output([&] { EXPECT_EQ(read_DTI_tract_file(path.c_str()), 0); });
    ASSERT_EQ(c.exit_status, -1);
  }

  static void set_region(std::initializer_list<int> voxels) {
    for (int i : voxels) {
      overlay_map.weight[i] = 1.0f;
      overlay_map.color[i] = ovl_root.color;
    }
    update_root_overlay(1, 0);
  }

  static Captured trace(int retrace) {
    return capture_output([retrace] { action_trace_tracts(retrace); });
  }

  std::vector<float> map;
};

TEST_F(Tractography, NoTractsGiveAMapOfZerosAndFactorOne) {
  set_region({5});
  TractRescaleFactor = 3.0f;
  Captured c = trace(0);
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "");
  for (float v : map) ASSERT_EQ(v, 0.0f);
  EXPECT_EQ(TractRescaleFactor, 1.0f);
}

TEST_F(Tractography, TractsTouchingTheRegionAreCountedAndScaled) {
  // Tract A passes the region at 5 and crosses voxel 6 twice; B touches
  // 5 as well; C stays outside.
  load({{4, 5, 6, 7, 6}, {5, 9}, {0, 1, 2}});
  set_region({5});
  trace(0);
  EXPECT_EQ(TractRescaleFactor, 2.0f);
  std::vector<float> want(24, 0.0f);
  want[4] = 0.5f;
  want[5] = 1.0f;
  want[6] = 1.0f;
  want[7] = 0.5f;
  want[9] = 0.5f;
  EXPECT_EQ(map, want);
}

TEST_F(Tractography, EmptyRegionTakesTheCrossAsSeed) {
  load({{4, 5, 6}, {10, 11}});
  mosaic.icross = IPOINT3D{3, 2, 0};  // flat 11
  trace(0);
  EXPECT_EQ(ovl_root.npts, 1);
  EXPECT_EQ(overlay_map.weight[11], 1.0f);
  EXPECT_EQ(overlay_map.color[11], ovl_root.color);
  EXPECT_EQ(map[10], 1.0f);
  EXPECT_EQ(map[11], 1.0f);
  EXPECT_EQ(map[5], 0.0f);
}

TEST_F(Tractography, RetracingTwiceDoublesTheRegionTwice) {
  // Tracts along the first row fan out from voxel 0.
  load({{0, 1}, {0, 1, 2}, {0, 1, 2, 3}, {0, 4, 8}, {0, 12}, {0, 13, 14, 15, 16}});
  set_region({0});
  trace(0);
  EXPECT_EQ(ovl_root.npts, 1);
  trace(1);
  EXPECT_EQ(ovl_root.npts, 2);
  EXPECT_NE(overlay_map.weight[1], 0.0f);  // the densest voxel joined
  trace(1);
  EXPECT_EQ(ovl_root.npts, 4);
  // Counts accumulate over the retraces: voxel 0 is in every tract each time.
  EXPECT_EQ(TractRescaleFactor, 18.0f);
}

TEST_F(Tractography, GrowingStopsWhenTheMapRunsOutOfVoxels) {
  load({{0, 1}});
  set_region({0});
  trace(0);
  trace(1);
  EXPECT_EQ(ovl_root.npts, 2);
  trace(1);
  EXPECT_EQ(ovl_root.npts, 2);
}

TEST_F(Tractography, GrowingTakesTheFirstVoxelOnATie) {
  load({{0, 9}, {0, 3}});
  set_region({0});
  trace(0);
  update_overlay_for_tractography(1);
  EXPECT_EQ(ovl_root.npts, 2);
  EXPECT_NE(overlay_map.weight[3], 0.0f);
  EXPECT_EQ(overlay_map.weight[9], 0.0f);
}

TEST_F(Tractography, GrowingNeedsARegion) {
  map.assign(24, 1.0f);
  update_overlay_for_tractography(5);
  EXPECT_EQ(ovl_root.npts, 0);
}

TEST_F(Tractography, IndicesBeyondTheImageAreNotMarked) {
  // Words put in place by hand, as no file with them would load.
  static int words[] = {100, 1, 1, 3, 5, 30, 6, 0, 0};
  DTI_tracts.array = nullptr;
  DTI_TRACTS saved = DTI_tracts;
  DTI_tracts.array = words;
  DTI_tracts.length_array = 9;
  set_region({5});
  Captured c = trace(0);
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(map[5], 1.0f);
  EXPECT_EQ(map[6], 1.0f);
  DTI_tracts = saved;
}

TEST_F(Tractography, LengthRunningPastTheArrayIsCut) {
  static int words[] = {4, 3, 2, 2999, 5, 6};
  DTI_TRACTS saved = DTI_tracts;
  DTI_tracts.array = words;
  DTI_tracts.length_array = 6;
  set_region({5});
  Captured c = trace(0);
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(map[6], 1.0f);
  DTI_tracts = saved;
}

TEST_F(Tractography, WithoutAVectorMapNothingIsTraced) {
  load({{4, 5}});
  set_region({5});
  activation.fTractMap = nullptr;
  Captured c = trace(0);
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "Tractography needs a vector map (-a) to hold the tract density; nothing traced.\n");
  EXPECT_EQ(ovl_root.npts, 1);
}

}  // namespace
