// What the two windows show: the image window's display state, the colour
// map laid over it, the graph's state, and the pure layout of the image
// window. The records hold no X types, so the loaders and engines can read
// them without a display.
#ifndef ZOR_DISPLAY_STATE_H
#define ZOR_DISPLAY_STATE_H

#include "zor_stack.h"
#include "zor_types.h"

// Orientation of a plane: the first letter is the screen's horizontal axis.
// MOSAIC addresses a panel of the mosaic, whose true orientation is
// mosaic.mosaic_orientation.
enum display_types { MOSAIC = -1, ORTHO_XY = 0, ORTHO_ZY = 1, ORTHO_XZ = 2, ORTHO_YZ = 3 };

// Pending repaint work of the image window (mosaic.update_regions).
enum {
  REGION_IMAGES = 0x1,
  REGION_NEIGHBORS = 0x2,
  REGION_CROSS = 0x4,
  REGION_COPY = 0x8,
  REGION_COLORBAR = 0x10,
  REGION_COLORBAR_LABEL = 0x20,
  REGION_RIGHT_PANEL = 0x40,
  REGION_MENUS = 0x80,
  REGION_INFO = 0x100,
  REGION_INFO_MOTION = 0x200
};

// Where the pointer is in the image window (mosaic.cursor_selection).
enum {
  CURSOR_IMAGE_WINDOW = 0x1,
  CURSOR_ON_VOXEL = 0x2,
  CURSOR_ON_TEXT = 0x4,
  CURSOR_ON_NOTHING = 0x8,
  CURSOR_ON_COLORBAR = 0x10,
  CURSOR_ON_RIGHT_PANEL = 0x20,
  CURSOR_ON_MOSAIC_PANEL = 0x40,
  CURSOR_PLANE_XY = 0x80,
  CURSOR_PLANE_ZY = 0x100,
  CURSOR_PLANE_XZ = 0x200,
  CURSOR_PLANE_YZ = 0x400,
  CURSOR_OFF_STACK = 0x800,
  CURSOR_COLORBAR_UPPER = 0x1000,
  CURSOR_COLORBAR_LOWER = 0x2000
};

// Height of the top menu strip above the image region and of the strip
// below it: the window is ImageRegionPixels.y + 75 high.
enum { TOP_MENU_HEIGHT = 30, BOTTOM_STRIP_HEIGHT = 45 };

// Sampling of one zoomed display pixel: up to four voxels with weights.
struct Neighborhood {
  int number;
  IPOINT2D address[4];
  float weight[4];
};

// One labelled item of a menu strip.
struct SelectableText {
  int YLocation;
  int XPosition;
  int XSelectStart, XSelectEnd;
  int color;
  char string[1024];
  char message1[1024];
  char message2[1024];
  char message3[1024];
  int FieldID;
  int visible;
  int selected;
  SelectableText *next;
};

struct mosaic_display {
  IPOINT3D DisplayVolumeDim;
  POINT3D DisplayVolumeRes;
  IPOINT3D DimPanels;
  IPOINT2D ImageRegionPixels;
  float PixelScale;
  IPOINT3D PixelDim;
  POINT3D PixelResolution;
  IPOINT3D icross;
  IPOINT3D icursor;
  POINT3D cursor;
  int cursor_selection;
  int text_selection;
  int update_regions;
  int zoom_window;
  int zoom_image;
  IPOINT3D pan;
  int flip_X11_y;
  int display_3orthogonal;
  int display_ortho_ZY;
  int display_crosshairs;
  int display_grid;
  int display_data_type;
  int mosaic_orientation;
  int *display_slice;
  int Attach_ColorBar;
  int MIP;
  int MIPStatus;
  float **MIP_XY, **MIP_XZ, **MIP_YZ;
  int **index_MIP_XY, **index_MIP_XZ, **index_MIP_YZ;
  int nx_ColorBar;
  int nx_RightPanel;
  int toggle_overlays;
  int transparent_overlay;
  int interpolate;
  float *fSpaceMatrix;
  FCOMPLEX *fcSpaceMatrix;
  POINT3D *v3SpaceMatrix;
  data_stack *stack;  // the shown stack
  Neighborhood *NeighborsXY, *NeighborsZY, *NeighborsXZ, *NeighborsYZ;
  int OnGridXY, OnGridZY, OnGridXZ, OnGridYZ;
  SelectableText SelectText;
};

// The colour map laid over the gray image.
struct Activation {
  int nmaps;
  int imap;
  char map_name[1024];
  int data_type;
  int display_data_type;
  int scale_log;
  float thresh_lin_low, thresh_lin_high;
  float thresh_log_low, thresh_log_high;
  int color_scheme;
  int color_sign;
  int visible;
  int transparent;
  int vector_field;
  float *fSpaceMatrix;
  FCOMPLEX *fcSpaceMatrix;
  POINT3D *v3SpaceMatrix;
  float *pFilter;
  float *fTractMap;
  int MIPStatus;
  float **MIP_XY, **MIP_XZ, **MIP_YZ;
  int **index_MIP_XY, **index_MIP_XZ, **index_MIP_YZ;
  data_stack *stack;
};

// What the graph window shows.
struct graph_struct {
  int type;         // -1 none yet, 0 space family, 1 time
  int space_model;  // with type 0: 0 histogram, 1..3 along x, y, z
  int time_model;   // with type 1: the loaded model kind, 0 none
  int freq_domain;
  int cursor_selection;
  int text_selection;
  int update_regions;
  IPOINT2D size;  // data area; x == 0: the window was never opened
  int npoints;
  POINT2D Min, Max;
  float xLow, xHigh;
  POINT2D ScaleDraw;
  int units_percent;
  IPOINT2D fixed;
  int ix_low_select, ix_high_select;
  float *yVector1;
  float *yVector2;
  float *yVector;
  float *yFit, *yFit_err;
  float *xVector;
  IPOINT2D icursor;
  POINT2D cursor;
  int ihist_marker;
  float hist_marker;
  int iTime, iLastTime;
  int bin_data;
  int bin_width;
  float xbin_low, xbin_high;
  int ed_distance;
  int ed_dimension;
  int histogram_bins;
  int select_above;
  SelectableText SelectText;
};

extern mosaic_display mosaic;
extern Activation activation;
extern graph_struct graph;

// The program's name, shown in the window title.
extern char program_name[1024];

// Gray window: data values at gray 0 and 255, and the linear map between;
// contrast_low and contrast_high are fractions of the full data range.
extern float image_scale_min, image_scale_max;
extern float image_scale_slope, image_scale_offset;
extern float contrast_low, contrast_high;

// Strips below the image region: info area at the left, bottom menu beside.
extern int lPixelsX_ImageInfoArea, lXBottomMenu, lPixelsX_BottomMenu;

// The display state at the start of a run over the loaded stacks;
// `number_panels` is the panels option (0 all slices, negative three planes).
void initialize_mosaic_ovl(int number_panels);

// Layout of the image window from the shown stack, the panel set and the
// zoom. Returns through RoughDisplaySize the window size it needs.
void compute_display_size(IPOINT2D *RoughDisplaySize, float PixelScale);
// Forgets the slice count, panel count and orientation of the last layout.
void compute_display_size_reset(void);
// Columns and rows of the mosaic for a number of slices.
void automatically_set_panels(int nslices, int *nx, int *ny);
// Width and height of a panel of the given orientation in display pixels.
IPOINT2D panel_size_for_orientation(int orientation);
// Sets the widths of the strips below the image region.
void set_bottom_strip_widths(void);
// Chooses zoom (on the first layout only, when none was asked for) and
// PixelScale so that the window fits the screen, then lays it out.
void choose_image_window_geometry(int screen_width, int screen_height, int first_call);

// Voxel sides as the display uses them: a side that is zero, negative, not a
// number, infinite or denormal is shown as 1 (the layout warns once).
POINT3D display_voxel_size(const data_stack *stack);
// Largest extent, in display pixels, of a volume along one axis.
constexpr int LAYOUT_PIXEL_LIMIT = 1 << 24;
// Largest side of a window or pixmap that X can describe.
constexpr int X_MAX_SIDE = 32767;
// Width (with room for the right panel's images) and height of the image
// window the last layout needs, clipped to int; and whether X can make it.
IPOINT2D image_window_size(void);
int image_window_fits_x(void);

// Pointer classification in window coordinates.
void define_mosaic_cursor_location(int x2d, int y2d);
void CursorSelection_OnImageWindow(int x2d, int y2d);
void CursorSelection_OnColorBar(int iy);
void CursorSelection_AboveImageWindow(int x2d, int y2d);
void CursorSelection_BelowImageWindow(int x2d, int y2d);
void reset_cursor_selections(void);
void flip_vertical_CursorIndex(void);
POINT3D flip_vertical_DataIndex(int which_panel, POINT3D Voxel);

#endif
