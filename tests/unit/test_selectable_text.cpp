#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "zor.h"

namespace {

// Both menu lists over a small display state, without windows.
struct Panels : ::testing::Test {
  data_stack stack{};
  void SetUp() override {
    selectable_text_reset();
    memset(&mosaic.SelectText, 0, sizeof mosaic.SelectText);
    stack.dim = IPOINT3D{64, 64, 20};
    mosaic.stack = &stack;
    mosaic.display_3orthogonal = 0;
    mosaic.mosaic_orientation = ORTHO_XY;
    mosaic.MIP = 0;
    mosaic.text_selection = 0;
    mosaic.toggle_overlays = 1;
    mosaic.DimPanels = IPOINT3D{5, 4, 20};
    mosaic.DisplayVolumeDim = IPOINT3D{64, 64, 20};
    mosaic.ImageRegionPixels = IPOINT2D{600, 400};
    mosaic.nx_ColorBar = 60;
    mosaic.nx_RightPanel = 0;
    mosaic.zoom_window = 2;
    activation = Activation{};
    activation.nmaps = 2;
    activation.visible = 1;
    activation.color_sign = 1;
    ovl_root.npts = 0;
    wire_root.npts = 0;
    graph.type = 1;
    graph.time_model = 0;
    graph.size = IPOINT2D{800, 300};
    graph.npoints = 0;
    initialize_common_selectable_text();
    initialize_specific_selectable_text();
  }
  void TearDown() override {
    selectable_text_reset();
    mosaic.stack = nullptr;
  }
  SelectableText *image(int id) { return find_selectable_text(&mosaic.SelectText, id); }
  SelectableText *graph_item(int id) { return find_selectable_text(&graph.SelectText, id); }
};

TEST_F(Panels, ListsAreBuiltInTheirCreationOrder) {
  const int image_order[] = {10, 12, 12, 13, 14, 15, 16, 17, 18, 19, 20, 22, 21, 23, 24, 25, 26, 27,
                             1,  2,  3,  4,  5,  6,  7,  8,  9,  28, 29, 31, 30, 32, 33, 34, 35};
  const int image_rows[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                            1, 1, 1, 1, 1, 1, 1, 1, 1, 3, 0, 0, 2, 4, 2, 4, 3};
  const SelectableText *t = &mosaic.SelectText;
  for (size_t k = 0; k < sizeof image_order / sizeof image_order[0]; k++, t = t->next) {
    ASSERT_NE(t, nullptr) << k;
    EXPECT_EQ(t->FieldID, image_order[k]) << k;
    EXPECT_EQ(t->YLocation, image_rows[k]) << k;
  }
  EXPECT_EQ(t, nullptr);
  const int graph_order[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 20, 21, 17, 14, 15, 16, 18, 19, 33, 34, 31};
  const int graph_rows[] = {1, 1, 1, 1, 1, 1, 2, 1, 2, 2, 4, 4, 4, 4, 4, 4, 2, 2, 2, 4, 3, 4, 3, 2};
  t = &graph.SelectText;
  for (size_t k = 0; k < sizeof graph_order / sizeof graph_order[0]; k++, t = t->next) {
    ASSERT_NE(t, nullptr) << k;
    EXPECT_EQ(t->FieldID, graph_order[k]) << k;
    EXPECT_EQ(t->YLocation, graph_rows[k]) << k;
  }
  EXPECT_EQ(t, nullptr);
}

TEST_F(Panels, NarrowImagesLoseTheirItems) {
  stack.data_type = 2;  // complex, so the function item may show
  activation.visible = 0;
  mosaic.ImageRegionPixels.x = 200;
  update_image_selectable_text();
  EXPECT_TRUE(image(TEXTFIELD_OVL_OR_WIRE)->visible);
  EXPECT_TRUE(image(TEXTFIELD_WHICH_OVL_WIRE)->visible);
  EXPECT_TRUE(image(TEXTFIELD_DATA_TYPE)->visible);
  EXPECT_FALSE(image(TEXTFIELD_HELP)->visible);
  EXPECT_FALSE(image(TEXTFIELD_QUIT)->visible);
  EXPECT_FALSE(image(TEXTFIELD_QUESTION)->visible);
  mosaic.ImageRegionPixels.x = 149;
  update_image_selectable_text();
  for (int id = 1; id <= 4; id++) EXPECT_FALSE(image(id)->visible) << id;
  mosaic.ImageRegionPixels.x = 325;
  update_image_selectable_text();
  EXPECT_TRUE(image(TEXTFIELD_HELP)->visible);
  EXPECT_TRUE(image(TEXTFIELD_QUIT)->visible);
  EXPECT_TRUE(image(TEXTFIELD_QUESTION)->visible);
  mosaic.ImageRegionPixels.x = 324;
  update_image_selectable_text();
  EXPECT_FALSE(image(TEXTFIELD_HELP)->visible);
}

TEST_F(Panels, RowZeroIsLaidOutInStepsOfTheRegionWidth) {
  update_image_selectable_text();
  const int istep = 600 / 25;
  EXPECT_EQ(image(TEXTFIELD_IMAGE_ZOOM)->XPosition, istep * 12);
  EXPECT_EQ(image(TEXTFIELD_IMAGE_ZOOM)->XSelectEnd, istep * 13 - 1);
  EXPECT_STREQ(image(TEXTFIELD_IMAGE_ZOOM)->string, " z ");
  EXPECT_STREQ(image(TEXTFIELD_IMAGE_ZOOM)->message2, "decrease (z) or increase (Z) zoom");
  EXPECT_EQ(image(TEXTFIELD_NEW_OVL_WIRE)->XSelectEnd, istep);
  EXPECT_EQ(image(TEXTFIELD_IMAGE_GRAPH)->color, COLOR_ORANGE);
  EXPECT_STREQ(image(TEXTFIELD_POUND_SIGN)->string, " # (20 of 20)");
  EXPECT_EQ(image(TEXTFIELD_POUND_SIGN)->XPosition, 600 - 90);
  EXPECT_STREQ(image(TEXTFIELD_QUIT)->message3, " ");
  mosaic.ImageRegionPixels.x = 300;
  update_image_selectable_text();
  EXPECT_EQ(image(TEXTFIELD_IMAGE_ZOOM)->XPosition, 15 * 12);
}

TEST_F(Panels, SignItemsFollowTheSignShownOnTheRight) {
  const int R = 600, C = 60;
  activation.color_scheme = 0;
  activation.color_sign = -1;
  update_image_selectable_text();
  EXPECT_EQ(image(TEXTFIELD_COLORBAR_TAILP)->XPosition, R + C / 5);  // left
  EXPECT_EQ(image(TEXTFIELD_COLORBAR_TAILP)->XSelectEnd, R + C / 2);
  EXPECT_EQ(image(TEXTFIELD_COLORBAR_TAILN)->XPosition, R + 3 * C / 5);  // right
  EXPECT_FALSE(image(TEXTFIELD_COLORBAR_SCHEME)->visible);
  activation.color_sign = 1;
  update_image_selectable_text();
  EXPECT_EQ(image(TEXTFIELD_COLORBAR_TAILP)->XPosition, R + 3 * C / 5);
  EXPECT_EQ(image(TEXTFIELD_COLORBAR_TAILN)->XPosition, R + C / 5);
  activation.color_scheme = -2;
  update_image_selectable_text();
  EXPECT_FALSE(image(TEXTFIELD_COLORBAR_TAILP)->visible);
  EXPECT_TRUE(image(TEXTFIELD_COLORBAR_TAILN)->visible);
  EXPECT_EQ(image(TEXTFIELD_COLORBAR_TAILN)->XPosition, R + C / 5);
  EXPECT_STREQ(image(TEXTFIELD_COLORBAR_SCHEME)->string, "(2)");
  EXPECT_STREQ(image(TEXTFIELD_COLORBAR_TAILN)->message3, "button R: switch to + sign");
}

TEST_F(Panels, RowGapsOfTheTopMenuHitNothing) {
  update_image_selectable_text();
  const int x = image(TEXTFIELD_IMAGE_ZOOM)->XPosition + 2;
  EXPECT_EQ(CursorOnSelectableText_AboveImageWindow(x, 15), 0);
  EXPECT_EQ(CursorOnSelectableText_AboveImageWindow(x, 0), 0);
  EXPECT_EQ(CursorOnSelectableText_AboveImageWindow(x, 30), 0);
  EXPECT_EQ(CursorOnSelectableText_AboveImageWindow(x, 1), TEXTFIELD_IMAGE_ZOOM);
  EXPECT_EQ(image(TEXTFIELD_IMAGE_ZOOM)->selected, 1);
  EXPECT_EQ(CursorOnSelectableText_AboveImageWindow(x, 14), TEXTFIELD_IMAGE_ZOOM);
  // Row 1 below the gap.
  EXPECT_EQ(CursorOnSelectableText_AboveImageWindow(10, 16), TEXTFIELD_OVL_OR_WIRE);
  EXPECT_EQ(CursorOnSelectableText_AboveImageWindow(10, 29), TEXTFIELD_OVL_OR_WIRE);
  EXPECT_EQ(image(TEXTFIELD_IMAGE_ZOOM)->selected, 0);
  // The end of a range is not in it.
  EXPECT_EQ(CursorOnSelectableText_AboveImageWindow(50, 20), 0);
}

TEST_F(Panels, ReadingAndWritingShareOnePlace) {
  update_image_selectable_text();
  const int istep = 600 / 25;
  EXPECT_EQ(CursorOnSelectableText_AboveImageWindow(istep + 1, 5), TEXTFIELD_READ_OVL_WIRE);
  int count = 0;
  for (SelectableText *t = &mosaic.SelectText; t; t = t->next) count += t->FieldID == 12 && t->selected;
  EXPECT_EQ(count, 2);
}

TEST_F(Panels, HoveredModeItemHidesThePanelCount) {
  update_image_selectable_text();
  EXPECT_TRUE(image(TEXTFIELD_XPANELS)->visible);
  EXPECT_STREQ(image(TEXTFIELD_XPANELS)->string, " 5 x 4");
  EXPECT_STREQ(image(TEXTFIELD_MOSAIC_3PLANE)->string, "mosaic: ");
  image(TEXTFIELD_MOSAIC_3PLANE)->selected = 1;
  mosaic.text_selection = TEXTFIELD_MOSAIC_3PLANE;
  update_image_selectable_text();
  EXPECT_FALSE(image(TEXTFIELD_XPANELS)->visible);
  EXPECT_STREQ(image(TEXTFIELD_MOSAIC_3PLANE)->string, "to 3-plane");
}

TEST_F(Panels, BottomRowsOfTheImageWindow) {
  lXBottomMenu = 200;
  lPixelsX_BottomMenu = 460;
  activation_stack.nt = 2;
  strcpy(activation.map_name, "P-1");
  update_image_selectable_text();
  SelectableText *map = image(TEXTFIELD_MAP_CONDITION);
  EXPECT_TRUE(map->visible);
  EXPECT_STREQ(map->string, "P-1");
  EXPECT_EQ(map->XPosition, 600 - 200);
  EXPECT_EQ(CursorOnSelectableText_BelowImageWindow(610, 35), TEXTFIELD_MAP_CONDITION);
  EXPECT_EQ(CursorOnSelectableText_BelowImageWindow(610, 30), 0);
  EXPECT_EQ(CursorOnSelectableText_BelowImageWindow(610, 5), TEXTFIELD_COLORBAR_RANGE);
  EXPECT_EQ(CursorOnSelectableText_BelowImageWindow(600 - 50, 20), TEXTFIELD_MOSAIC_ORIENT);
  EXPECT_STREQ(image(TEXTFIELD_MOSAIC_ORIENT)->string, "orient: X-Y");
  activation_stack.nt = 0;
}

TEST_F(Panels, HistogramWithoutARegionHidesTheRegionTools) {
  graph.type = 0;
  graph.space_model = 0;
  update_graph_selectable_text();
  for (int id : {14, 15, 17, 18, 19, 20, 21}) EXPECT_FALSE(graph_item(id)->visible) << id;
  EXPECT_TRUE(graph_item(TEXTFIELD_GRAPH_HIST_BINS)->visible);
  ovl_root.npts = 5;
  update_graph_selectable_text();
  for (int id : {14, 15, 17, 18, 19, 20, 21}) EXPECT_TRUE(graph_item(id)->visible) << id;
  EXPECT_FALSE(graph_item(TEXTFIELD_GRAPH_ED_DISTANCE)->visible);
  ovl_root.npts = 0;
}

TEST_F(Panels, GraphTopRowIncludesBothEnds) {
  update_graph_selectable_text();
  SelectableText *t = graph_item(TEXTFIELD_GRAPH_TIME_SPACE);
  EXPECT_STREQ(t->string, "graph: time");
  EXPECT_EQ(t->XSelectEnd, 80);
  EXPECT_EQ(CursorOnSelectableText_AboveGraphWindow(80), TEXTFIELD_GRAPH_TIME_SPACE);
  EXPECT_EQ(CursorOnSelectableText_AboveGraphWindow(0), TEXTFIELD_GRAPH_TIME_SPACE);
  // Lower rows keep the end out.
  SelectableText *last = graph_item(TEXTFIELD_LAST_TIME_POINT);
  EXPECT_EQ(CursorOnSelectableText_BelowGraphWindow(549, 20), TEXTFIELD_LAST_TIME_POINT);
  EXPECT_EQ(CursorOnSelectableText_BelowGraphWindow(550, 20), 0);
  EXPECT_STREQ(last->message2, "Display last time point shown.");
  EXPECT_STREQ(graph_item(TEXTFIELD_GRAPH_AUTO_Y)->string, " y free ");
  EXPECT_EQ(graph_item(TEXTFIELD_GRAPH_YLOW)->XPosition, 750);
}

TEST_F(Panels, ModelFieldNamesTheModel) {
  update_graph_selectable_text();
  EXPECT_FALSE(graph_item(TEXTFIELD_GRAPH_MODEL)->visible);
  graph.time_model = 2;
  update_graph_selectable_text();
  EXPECT_TRUE(graph_item(TEXTFIELD_GRAPH_MODEL)->visible);
  EXPECT_STREQ(graph_item(TEXTFIELD_GRAPH_MODEL)->string, "model: REM");
  graph.time_model = 0;
}

}  // namespace
