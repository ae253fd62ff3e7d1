// Sends events to a window as a window manager or the server would, for
// end-to-end tests:
//   zor_send_event expose WINDOW [COUNT]   COUNT Expose events in one flush
//   zor_send_event delete WINDOW           WM_PROTOCOLS / WM_DELETE_WINDOW
#include <X11/Xlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char **argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: zor_send_event expose|delete WINDOW [COUNT]\n");
    return 2;
  }
  Display *display = XOpenDisplay(nullptr);
  if (!display) return 3;
  Window window = (Window)strtoul(argv[2], nullptr, 0);
  XEvent event{};
  if (!strcmp(argv[1], "expose")) {
    int count = argc > 3 ? atoi(argv[3]) : 1;
    XWindowAttributes a;
    XGetWindowAttributes(display, window, &a);
    event.type = Expose;
    event.xexpose.window = window;
    event.xexpose.width = a.width;
    event.xexpose.height = a.height;
    for (int i = 0; i < count; i++) XSendEvent(display, window, False, ExposureMask, &event);
  } else if (!strcmp(argv[1], "delete")) {
    event.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = (long)XInternAtom(display, "WM_DELETE_WINDOW", False);
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, window, False, NoEventMask, &event);
  } else {
    return 2;
  }
  XSync(display, False);
  XCloseDisplay(display);
  return 0;
}
