// By itself, because of the words that the X headers take.
#include "tests/apps/CloseWindow.h"

#include <X11/Xlib.h>

namespace tlx::program::test {

void closeWindow(const std::string& display) {
  Display* const screen = XOpenDisplay(display.c_str());
  if (!screen) return;
  const Atom protocols = XInternAtom(screen, "WM_PROTOCOLS", False),
             close = XInternAtom(screen, "WM_DELETE_WINDOW", False);
  Window root = 0, parent = 0, *windows = nullptr;
  unsigned count = 0;
  XQueryTree(screen, DefaultRootWindow(screen), &root, &parent, &windows, &count);
  for (unsigned at = 0; at < count; ++at) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = windows[at];
    event.xclient.message_type = protocols;
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(close);
    XSendEvent(screen, windows[at], False, NoEventMask, &event);
  }
  if (windows) XFree(windows);
  XSync(screen, False);
  XCloseDisplay(screen);
}

}  // namespace tlx::program::test
