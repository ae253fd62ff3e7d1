// The menu strips of both windows: short labelled items that light up under
// the pointer, explain themselves on the information line and act when
// clicked. Each window keeps a list of SelectableText nodes, its first node
// held by value in mosaic.SelectText or graph.SelectText; an item's meaning
// is given by its list, as the two numberings overlap.
#ifndef ZOR_PANELS_H
#define ZOR_PANELS_H

#include "zor_display_state.h"

enum CommonSelectAbleTextFields_Image {
  TEXTFIELD_OVL_OR_WIRE = 1,
  TEXTFIELD_WHICH_OVL_WIRE = 2,
  TEXTFIELD_DATA_TYPE = 3,
  TEXTFIELD_VECTOR_FIELD = 4,
  TEXTFIELD_MOSAIC_3PLANE = 5,
  TEXTFIELD_XPANELS = 6,
  TEXTFIELD_COLORBAR_TAILP = 7,
  TEXTFIELD_COLORBAR_TAILN = 8,
  TEXTFIELD_COLORBAR_SCHEME = 9,
  TEXTFIELD_NEW_OVL_WIRE = 10,
  // 11 has no item; reading and writing share 12, so writing stays on the
  // keyboard.
  TEXTFIELD_READ_OVL_WIRE = 12,
  TEXTFIELD_WRITE_OVL_WIRE = 12,
  TEXTFIELD_DEL_OVL_WIRE = 13,
  TEXTFIELD_COLOR_OVL_WIRE = 14,
  TEXTFIELD_MIRROR_OVL_WIRE = 15,
  TEXTFIELD_FILL_WIRE = 16,
  TEXTFIELD_OVL_STATS = 17,
  TEXTFIELD_TRANSPARENT = 18,
  TEXTFIELD_IMAGE_LEVEL = 19,
  TEXTFIELD_IMAGE_ZOOM = 20,
  TEXTFIELD_IMAGE_CROSS = 21,
  TEXTFIELD_IMAGE_INTERP = 22,
  TEXTFIELD_IMAGE_GRAPH = 23,
  TEXTFIELD_HELP = 24,
  TEXTFIELD_QUIT = 25,
  TEXTFIELD_QUESTION = 26,
  TEXTFIELD_POUND_SIGN = 27,
  TEXTFIELD_MOSAIC_ORIENT = 28
};

enum SpecificSelectAbleTextFields_Image {
  TEXTFIELD_LABEL_PLANES = 29,
  TEXTFIELD_COLORBAR_RANGE = 30,
  TEXTFIELD_COLOR_OR_GRAY = 31,
  TEXTFIELD_MAP_CONDITION = 32,
  TEXTFIELD_TRACTOGRAPHY = 33,
  TEXTFIELD_TRACTOGRAPHY_AGAIN = 34,
  TEXTFIELD_MIP = 35
};

enum CommonSelectAbleTextFields_Graph {
  TEXTFIELD_GRAPH_TIME_SPACE = 1,
  TEXTFIELD_GRAPH_SPACE = 2,
  TEXTFIELD_GRAPH_BIN = 3,
  TEXTFIELD_GRAPH_BIN_VALUE = 4,
  TEXTFIELD_GRAPH_AUTO_X = 5,
  TEXTFIELD_GRAPH_AUTO_Y = 6,
  TEXTFIELD_GRAPH_YLOW = 7,
  TEXTFIELD_GRAPH_YHIGH = 8,
  TEXTFIELD_GRAPH_X_LOW_HIGH = 9,
  TEXTFIELD_GRAPH_HIST_BINS = 10,
  TEXTFIELD_GRAPH_SELECT_IMAGE = 11,
  TEXTFIELD_GRAPH_ABOVE_BELOW = 12,
  TEXTFIELD_GRAPH_SELECT_THRESH = 13,
  TEXTFIELD_GRAPH_ERODE = 14,
  TEXTFIELD_GRAPH_DILATE = 15,
  TEXTFIELD_GRAPH_ED_DISTANCE = 16,
  TEXTFIELD_GRAPH_CLUSTER = 17,
  TEXTFIELD_GRAPH_FLATTEN = 18,
  TEXTFIELD_GRAPH_DIMENSION = 19,
  TEXTFIELD_GRAPH_OVL_KEEP = 20,
  TEXTFIELD_GRAPH_OVL_DISCARD = 21
};

enum SpecificSelectAbleTextFields_Graph {
  TEXTFIELD_GRAPH_MODEL = 31,
  TEXTFIELD_GRAPH_UNITS = 32,
  TEXTFIELD_OUTPUT_ROI = 33,
  TEXTFIELD_LAST_TIME_POINT = 34,
  TEXTFIELD_GLM_CONDITIONS = 35,
  TEXTFIELD_GLM_INCLUDE = 36,
  TEXTFIELD_GLM_EXCLUDE = 37,
  TEXTFIELD_GLM_NEW_EVENT = 38,
  TEXTFIELD_GLM_NEW_SHAPE = 39,
  TEXTFIELD_GLM_BASELINE = 40,
  TEXTFIELD_GLM_NBASELINE = 41,
  TEXTFIELD_FREQ_BAND = 42,
  TEXTFIELD_PHASE_SHIFT = 43,
  TEXTFIELD_DISPLAY_FULLFIT = 44,
  TEXTFIELD_PARAM_VALUES = 45,
  TEXTFIELD_SRTM_CONDITIONS = 46,
  TEXTFIELD_SRTM_EXCLUSIONS = 47,
  TEXTFIELD_CHI2 = 48
};

// Appends a node in menu row `yloc` to the image or graph list.
void new_selectable_image_text(int yloc, int IDTag);
void new_selectable_graph_text(int yloc, int IDTag);
// Empties both lists (the nodes behind the first are released), for tests
// and a fresh start.
void selectable_text_reset(void);

// Places a field at x, width pixels wide (its click area too), with its
// colour, whether it shows, and the three lines of its help message.
void set_panel_field(SelectableText *t, int color, bool visible, int x, int width, const char *m1, const char *m2,
                     const char *m3);

// Creates the items of both lists once, then lays them out.
void initialize_selectable_text(void);
void initialize_common_selectable_text(void);
void initialize_specific_selectable_text(void);

// Position, colour, visibility, label and help of every item, from the
// present state.
void update_image_selectable_text(void);
void update_common_image_selectable_text(void);
void update_specific_image_selectable_text(void);
void update_graph_selectable_text(void);
void update_common_graph_selectable_text(void);
void update_specific_graph_selectable_text(void);

// Hit tests: the FieldID under the pointer, or 0. Coordinates are those of
// the window, except below the image or graph, where y counts from the top
// of the lower strip.
int CursorOnSelectableText_AboveImageWindow(int ix_pos, int iy_pos);
int CursorOnSelectableText_BelowImageWindow(int ix_pos, int iy_pos);
int CursorOnSelectableText_AboveGraphWindow(int ix_pos);
int CursorOnSelectableText_BelowGraphWindow(int ix_pos, int iy_pos);

// The first node of a list with the given FieldID, or null.
SelectableText *find_selectable_text(SelectableText *list, int FieldID);

// Drawing and the actions of a click.
void draw_selectable_text_image(void);
void draw_selectable_text_graph(void);
void ChangeImageSelectionText(int FieldID, char *text);
void action_image_text_selection(int button);
void action_image_text_selection_specific(int button);
void action_graph_text_selection(int button);
void action_graph_text_selection_specific(int button);

#endif
