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

void initialize_XWindows(void) {
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
