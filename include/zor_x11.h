// The window layer: the X connection, the image and graph windows with
// their pixmaps, client images and graphics contexts, the drawing
// primitives that address surfaces and colours by number, and the event
// loop. Only the viewer's own code includes this header.
#ifndef ZOR_X11_H
#define ZOR_X11_H

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "zor_overlay.h"
#include "zor_display_state.h"
#include "zor_types.h"

// Every surface a drawing primitive can address. Coordinates are relative
// to the surface's top-left corner, except on Drawable_ImageData, which is
// the image region 30 pixels below the window's top.
enum X11_drawables {
  Drawable_ImageWindow = 0,
  Drawable_GraphWindow = 1,
  Drawable_ImageInfoArea = 2,
  Drawable_TopMenu = 3,
  Drawable_BottomMenu = 4,
  Drawable_ImageData = 5,
  Drawable_RightPanel = 6,
  Drawable_GraphData = 7,
  Drawable_GraphInfoArea = 8
};

// Connection.
extern Display *XConnection;
extern int XScreen;
extern Window XRoot_Window;
extern int XScreen_depth;
extern Colormap XColorMap;
extern Visual *XVisual;
extern Atom wm_delete_window;

// Image window.
extern Window XWindow_image;
extern Pixmap XPixmap_image, XPixmap_image_save, XPixmap_TopMenu, XPixmap_BottomMenu,
    XPixmap_ImageInfoArea, XPixmap_RightPanel;
extern XImage *XImage_XY, *XImage_ZY, *XImage_XZ, *XImage_YZ, *XImage_colorbar,
    *XImage_background, *XImage_TopMenu, *XImage_BottomMenu, *XImage_ImageInfoArea,
    *XImage_RightPanel;
extern XImage *XImage_lineX_cyan, *XImage_lineX_red, *XImage_lineY_cyan, *XImage_lineY_red,
    *XImage_lineY1_cyan, *XImage_lineY1_red, *XImage_lineZ1_cyan, *XImage_lineZ1_red,
    *XImage_lineZ2_cyan, *XImage_lineZ2_red;
extern char *XData_XY, *XData_ZY, *XData_XZ, *XData_YZ, *XData_colorbar, *XData_background,
    *XData_TopMenu, *XData_BottomMenu, *XData_ImageInfoArea, *XData_RightPanel;
extern char *XData_lineX_cyan, *XData_lineX_red, *XData_lineY_cyan, *XData_lineY_red,
    *XData_lineY1_cyan, *XData_lineY1_red, *XData_lineZ1_cyan, *XData_lineZ1_red,
    *XData_lineZ2_cyan, *XData_lineZ2_red;
extern GC XGC_cyan, XGC_red, XGC_green, XGC_blue, XGC_white, XGC_purple, XGC_magenta, XGC_yellow,
    XGC_orange, XGC_black;
extern GC XGC_cyan_text, XGC_red_text, XGC_green_text, XGC_blue_text, XGC_white_text,
    XGC_purple_text, XGC_yellow_text, XGC_orange_text, XGC_gray_text;
extern GC XGC_image;

// Graph window (XWindow_graph is 0 while it is closed).
extern Window XWindow_graph;
extern Pixmap XPixmap_GraphData, XPixmap_GraphInfoArea;
extern XImage *XImage_GraphData, *XImage_GraphInfoArea;
extern char *XData_GraphData, *XData_GraphInfoArea;
extern GC XGC_graph_red, XGC_graph_blue, XGC_graph_green, XGC_graph_white, XGC_graph_yellow,
    XGC_graph_black, XGC_graph_cyan, XGC_graph_gray, XGC_graph_orange, XGC_graph_purple,
    XGC_graph_sky;
extern GC XGC_graph_red_text, XGC_graph_blue_text, XGC_graph_green_text, XGC_graph_white_text,
    XGC_graph_yellow_text, XGC_graph_cyan_text, XGC_graph_gray_text, XGC_graph_orange_text,
    XGC_graph_purple_text, XGC_graph_sky_text;
extern GC XGC_graph_event[9];

// The event mask of both top-level windows.
const long ZOR_WINDOW_EVENT_MASK = KeyPressMask | ButtonPressMask | ButtonReleaseMask |
                                   LeaveWindowMask | PointerMotionMask | ExposureMask |
                                   StructureNotifyMask;

// Fixed pixel values of the surfaces, as 0xRRGGBB.
enum {
  PIXEL_BACKGROUND = 0x00BFBF,
  PIXEL_BACKGROUND_UNDERSAMPLED = 0x009F00,
  PIXEL_MENU = 0x005F5F,
  PIXEL_INFO_AREA = 0xFFFFFF,
  PIXEL_RIGHT_PANEL = 0x003F3F,
  PIXEL_BAR_CYAN = 0x00BFBF,
  PIXEL_BAR_RED = 0xFF0000,
  PIXEL_GRAPH_DATA = 0x003F3F
};

// Connection and windows.
void initialize_XWindows(void);
void make_XWindow_image(void);
void make_XWindow_graph(void);
void initialize_XImage(XImage *Image, unsigned long color);
// A client image of the screen's format over a fresh buffer, every pixel
// set to `color`. Writes the buffer's address to *buffer.
XImage *create_filled_XImage(char **buffer, int width, int height, unsigned long color);
void change_window_name(int iTimePoint);
// Releases the image window's resources, as a rebuild does first.
void free_XWindow_image(void);
// Forgets that any window was built, for tests that open a new connection.
void x_windows_reset(void);

// Drawing primitives.
void DPRIMITIVE_DrawLine(int which_drawable, int which_color, IPOINT2D iDraw1, IPOINT2D iDraw2);
void DPRIMITIVE_DrawPoint(int which_drawable, int which_color, IPOINT2D iDraw);
void DPRIMITIVE_DrawRectangle(int which_drawable, int which_color, IPOINT2D iDraw1,
                              IPOINT2D iDraw2);
void DPRIMITIVE_FillRectangle(int which_drawable, int which_color, IPOINT2D iDraw1,
                              IPOINT2D iDraw2);
void DPRIMITIVE_DrawText(int which_drawable, int which_color, IPOINT2D iDraw, char *string);
void DPRIMITIVE_FillText(int which_drawable, int which_color, IPOINT2D iDraw, char *string);
GC *XGC_color_image(int color);
GC *XGC_color_image_text(int color);
GC *XGC_color_graph(int color);
GC *XGC_color_graph_text(int color);

// Repaint.
void update_XWindow_image(int ReMake);
void Update_Regions(void);
void refresh_display_image(int which_area);
void refresh_display_graph(void);
void show_on_info_line(int image_or_graph, int PromptForInput, char *string1, char *string2,
                       char *string3);

// Events.
void loop_X_events(void);
int get_next_event(XEvent *event);
// Blocks until the X connection has something to read (or `timeout_ms`
// passes; -1 waits for ever). Returns at once when events are queued.
void wait_for_X_input(int timeout_ms);
bool get_key_press(XKeyEvent *key_event, char *which_key);
// The one-byte code of a function key (arrows, Home, End, Page Up/Down,
// Help), or -1 for a key that is not folded.
int function_key_code(unsigned long keysym);
int image_event_handler_general(XEvent *event);
int graph_event_handler_general(XEvent *event);
int image_event_handler_specific(XEvent *event);
int graph_event_handler_specific(XEvent *event);
void event_handlers_reset(void);
int get_X11_string(int image_or_graph, const char *prompt, const char *options,
                   const char *default_string, int Input_allowed, int CR_required,
                   char *return_string);
void action_quit(void);
void action_quit_specific(void);
void action_animate(void);

// Layout actions of the image window.
void action_key_3(void);
void action_key_z(void);
void action_key_Z(void);

#endif
