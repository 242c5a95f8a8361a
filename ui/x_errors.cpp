#include "ui/x_errors.h"

#include <X11/Xlib.h>
#include <X11/Xproto.h>

namespace hxsdk::ui {
namespace {

XErrorHandler previous_handler = nullptr;

int pass_or_hand_on(Display* display, XErrorEvent* error) {
  if (error->error_code == BadWindow && error->request_code == X_SendEvent) {
    return 0;
  }
  return previous_handler != nullptr ? previous_handler(display, error) : 0;
}

}  // namespace

void pass_wakeups_to_destroyed_windows() {
  previous_handler = XSetErrorHandler(pass_or_hand_on);
}

}  // namespace hxsdk::ui
