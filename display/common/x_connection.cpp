// The one connection to the X server, opened once and kept until the end.
#include <cstdio>

#include "zor_exit.h"
#include "zor_x11.h"

Display *XConnection = nullptr;
int XScreen = 0;
Window XRoot_Window = 0;
int XScreen_depth = 0;
Colormap XColorMap = 0;
Visual *XVisual = nullptr;
Atom wm_delete_window = 0;

namespace {

// A protocol error is reported and the program goes on: the request that
// failed did nothing, and everything else of the session is still there.
int report_X_error(Display *display, XErrorEvent *error) {
  char text[256];
  XGetErrorText(display, error->error_code, text, sizeof text);
  fprintf(stderr, "X error: %s (request %d.%d, resource 0x%lx)\n", text, error->request_code,
          error->minor_code, error->resourceid);
  fflush(stderr);
  return 0;
}

}  // namespace

void initialize_XWindows(void) {
  XSetErrorHandler(report_X_error);
  XConnection = XOpenDisplay(nullptr);
  if (!XConnection) {
    puts("Error trying to open the display.");
    puts("If you are using ssh to connect from another system, try 'ssh -X'");
    zor_exit(1);
  }
  XScreen = XDefaultScreen(XConnection);
  XRoot_Window = XRootWindow(XConnection, XScreen);
  XScreen_depth = XDefaultDepth(XConnection, XScreen);
  XColorMap = XDefaultColormap(XConnection, XScreen);
  XInstallColormap(XConnection, XColorMap);

  // Pixels are written as (red << 16) + (green << 8) + blue, which only a
  // TrueColor visual shows as meant.
  XVisualInfo vinfo;
  if (XMatchVisualInfo(XConnection, XScreen, XScreen_depth, TrueColor, &vinfo))
    XVisual = vinfo.visual;
  else
    XVisual = XDefaultVisual(XConnection, XScreen);

  wm_delete_window = XInternAtom(XConnection, "WM_DELETE_WINDOW", False);
}
