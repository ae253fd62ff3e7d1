#include <cstdint>

#include "overlay_fixture.h"
#include "zor_startup.h"

namespace {

class StartupOverlays : public OverlayFiles {
 protected:
  // The start-up reset clears the stacks too, so it runs before the
  // fixture builds its small shown stack.
  void SetUp() override {
    zorview_startup_reset();
    OverlayFiles::SetUp();
    mosaic.toggle_overlays = 0;
  }
  void TearDown() override {
    OverlayFiles::TearDown();
    zorview_startup_reset();
  }
  Captured load() { return capture_output([] { load_startup_overlays(); }); }
};

TEST_F(StartupOverlays, NothingNamedReadsNothing) {
  Captured c = load();
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "");
  EXPECT_EQ(mosaic.toggle_overlays, 0);
  EXPECT_EQ(ovl_root.next, nullptr);
}

TEST_F(StartupOverlays, WiresAloneMakeWiresTheActiveSet) {
  write_text_file(dir, "a.wire", "1 1 0 1\n2 2 0 0\n");
  write_text_file(dir, "wires.list", "outline a.wire red\n");
  startup_options.wire_name = "wires.list";
  Captured c = load();
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(mosaic.toggle_overlays, 2);
  ASSERT_NE(wire_root.next, nullptr);
  EXPECT_EQ(wire_root.next->npts, 2);
  EXPECT_EQ(wire_root.next->control[0].color, COLOR_RED);
}

TEST_F(StartupOverlays, RegionsWinTheToggleOverWires) {
  write_text_file(dir, "a.wire", "1 1 0 1\n2 2 0 0\n");
  write_text_file(dir, "wires.list", "outline a.wire\n");
  write_text_file(dir, "b.ovl", "1 2 1\n3 0 0 0.5\n");
  write_text_file(dir, "regions.list", "blob b.ovl green\n");
  startup_options.wire_name = "wires.list";
  startup_options.ovl_name = "regions.list";
  Captured c = load();
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(mosaic.toggle_overlays, 1);
  ASSERT_NE(ovl_root.next, nullptr);
  EXPECT_EQ(ovl_root.next->npts, 2);
  EXPECT_EQ(ovl_root.next->color, COLOR_GREEN);
}

TEST_F(StartupOverlays, AMissingWireListEndsTheRunBeforeTheRegions) {
  write_text_file(dir, "b.ovl", "1 2 1\n");
  write_text_file(dir, "regions.list", "blob b.ovl\n");
  startup_options.wire_name = "missing.list";
  startup_options.ovl_name = "regions.list";
  Captured c = load();
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: cannot open the file missing.list.\n");
  EXPECT_EQ(ovl_root.next, nullptr);
}

TEST_F(StartupOverlays, AMissingRegionListEndsTheRun) {
  startup_options.ovl_name = "none.list";
  Captured c = load();
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: cannot open the file none.list.\n");
}

TEST_F(StartupOverlays, TractsAreReadLastAndAFailureEndsTheRun) {
  const int32_t words[] = {4, 3, 2, 2, 0, 1};
  write_binary_file(dir, "t.trk", words, sizeof words);
  startup_options.DTI_tract_name = "t.trk";
  Captured c = load();
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "volume dimensions: 4 x 3 x 2\ntracts = 2, words = 9\n");
  DTI_tracts_reset();
  startup_options.DTI_tract_name = "absent.trk";
  c = load();
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: cannot open the DTI tract file absent.trk\n");
}

}  // namespace
