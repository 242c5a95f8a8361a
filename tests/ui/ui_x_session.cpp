#include "tests/ui/ui_x_session.h"

#include <SDL2/SDL.h>
#include <SDL2/SDL_syswm.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <unistd.h>

#include <memory>
#include <stdexcept>

#include "ui/native_window.h"

namespace ui_test {
namespace {

SDL_SysWMinfo window_info(SDL_Window* window) {
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (SDL_GetWindowWMInfo(window, &info) != SDL_TRUE || info.subsystem != SDL_SYSWM_X11) {
    throw std::runtime_error("not an X11 window");
  }
  return info;
}

::Window x_window(SDL_Window* window) {
  return window_info(window).info.x11.window;
}

void send_client_message(Display* display, ::Window to, Atom type, const long (&data)[5]) {
  XEvent message{};
  message.xclient.type = ClientMessage;
  message.xclient.window = to;
  message.xclient.message_type = type;
  message.xclient.format = 32;
  for (int i = 0; i < 5; ++i) {
    message.xclient.data.l[i] = data[i];
  }
  XSendEvent(display, to, False, NoEventMask, &message);
}

}  // namespace

x_session::x_session(SDL_Window* any_window, bool handle_events) : handle_events_(handle_events) {
  display_ = XOpenDisplay(nullptr);
  if (display_ == nullptr) {
    throw std::runtime_error("cannot open the X display");
  }
  if (any_window != nullptr) {
    sdl_display_ = window_info(any_window).info.x11.display;
  }
}

x_session::~x_session() {
  XCloseDisplay(display_);
}

void x_session::move_to(int x, int y) {
  XTestFakeMotionEvent(display_, -1, x, y, CurrentTime);
  settle();
}

void x_session::button(int x_button, bool down) {
  XTestFakeButtonEvent(display_, static_cast<unsigned>(x_button), down ? True : False, CurrentTime);
  settle();
}

void x_session::click(int x_button) {
  button(x_button, true);
  button(x_button, false);
}

void x_session::key(const std::string& keysym, bool down) {
  const KeyCode code = XKeysymToKeycode(display_, XStringToKeysym(keysym.c_str()));
  XTestFakeKeyEvent(display_, code, down ? True : False, CurrentTime);
  settle();
}

void x_session::tap(const std::string& keysym) {
  key(keysym, true);
  key(keysym, false);
}

void x_session::press_close_box(SDL_Window* window) {
  const Atom protocols = XInternAtom(display_, "WM_PROTOCOLS", False);
  const Atom delete_window = XInternAtom(display_, "WM_DELETE_WINDOW", False);
  send_client_message(display_, x_window(window), protocols,
                      {static_cast<long>(delete_window), CurrentTime, 0, 0, 0});
  settle();
}

void x_session::resize(SDL_Window* window, int width, int height) {
  XResizeWindow(display_, x_window(window), static_cast<unsigned>(width),
                static_cast<unsigned>(height));
  settle();
}

hxsdk::ui::point x_session::origin(SDL_Window* window) {
  int x = 0;
  int y = 0;
  ::Window child = 0;
  XTranslateCoordinates(display_, x_window(window), DefaultRootWindow(display_), 0, 0, &x, &y,
                        &child);
  return {x, y};
}

std::vector<std::uint32_t> x_session::pixels(SDL_Window* window, const hxsdk::ui::rect& area) {
  settle();
  return pixels_of(x_window(window), area);
}

std::vector<std::uint32_t> x_session::pixels_of(unsigned long window, const hxsdk::ui::rect& area) {
  const auto destroy = [](XImage* image) { XDestroyImage(image); };
  const std::unique_ptr<XImage, decltype(destroy)> image(
      XGetImage(display_, window, area.x, area.y, static_cast<unsigned>(area.width),
                static_cast<unsigned>(area.height), AllPlanes, ZPixmap),
      destroy);
  if (!image) {
    throw std::runtime_error("cannot read the window's pixels");
  }
  std::vector<std::uint32_t> read;
  for (int y = 0; y < area.height; ++y) {
    for (int x = 0; x < area.width; ++x) {
      read.push_back(static_cast<std::uint32_t>(XGetPixel(image.get(), x, y) & 0xFFFFFF));
    }
  }
  return read;
}

// The drag source's half of the drag-and-drop protocol that X file managers speak: announce
// the file list, move over the window, let go, and hand over the list when asked for it.
void x_session::drop_files(SDL_Window* window, const std::vector<std::string>& files) {
  const auto atom = [&](const char* name) { return XInternAtom(display_, name, False); };
  const Atom uri_list = atom("text/uri-list");
  const ::Window target = x_window(window);
  const ::Window source =
      XCreateSimpleWindow(display_, DefaultRootWindow(display_), 0, 0, 1, 1, 0, 0, 0);
  XSetSelectionOwner(display_, atom("XdndSelection"), source, CurrentTime);
  std::string list;
  for (const std::string& file : files) {
    list += "file://" + file + "\r\n";
  }

  const long version = 5;
  send_client_message(
      display_, target, atom("XdndEnter"),
      {static_cast<long>(source), version << 24, static_cast<long>(uri_list), 0, 0});
  send_client_message(
      display_, target, atom("XdndPosition"),
      {static_cast<long>(source), 0, 0, CurrentTime, static_cast<long>(atom("XdndActionCopy"))});
  bool dropped = false;
  // Bounded: each round lets the toolkit answer one step of the exchange.
  for (int round = 0; round < 50; ++round) {
    settle();
    while (XPending(display_) > 0) {
      XEvent e;
      XNextEvent(display_, &e);
      if (e.type == ClientMessage && e.xclient.message_type == atom("XdndStatus") && !dropped) {
        dropped = true;
        send_client_message(display_, target, atom("XdndDrop"),
                            {static_cast<long>(source), 0, CurrentTime, 0, 0});
      } else if (e.type == SelectionRequest) {
        const XSelectionRequestEvent& request = e.xselectionrequest;
        XChangeProperty(display_, request.requestor, request.property, uri_list, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(list.data()),
                        static_cast<int>(list.size()));
        XEvent reply{};
        reply.xselection = {SelectionNotify,
                            0,
                            True,
                            display_,
                            request.requestor,
                            request.selection,
                            request.target,
                            request.property,
                            request.time};
        XSendEvent(display_, request.requestor, False, NoEventMask, &reply);
      } else if (e.type == ClientMessage && e.xclient.message_type == atom("XdndFinished")) {
        XDestroyWindow(display_, source);
        settle();
        return;
      }
    }
  }
  XDestroyWindow(display_, source);
  throw std::runtime_error("the window did not finish the drop");
}

void x_session::settle() {
  XSync(display_, False);
  if (sdl_display_ == nullptr) {
    return;
  }
  if (!handle_events_) {
    XSync(sdl_display_, False);
    SDL_PumpEvents();
    return;
  }
  // Three rounds: what the toolkit handles may queue events of its own (the character that
  // follows a key, a timer).
  for (int round = 0; round < 3; ++round) {
    XSync(sdl_display_, False);
    hxsdk::ui::native_window::process_pending_events();
  }
}

unsigned long x_session::wait_for_window(const std::string& title) {
  constexpr int kTries = 500;
  for (int attempt = 0; attempt < kTries; ++attempt) {
    ::Window root = 0;
    ::Window parent = 0;
    ::Window* children = nullptr;
    unsigned int count = 0;
    XQueryTree(display_, DefaultRootWindow(display_), &root, &parent, &children, &count);
    ::Window found = 0;
    for (unsigned int i = 0; i < count && found == 0; ++i) {
      XWindowAttributes attributes;
      char* name = nullptr;
      if (XGetWindowAttributes(display_, children[i], &attributes) != 0 &&
          attributes.map_state == IsViewable && XFetchName(display_, children[i], &name) != 0) {
        found = title == name ? children[i] : 0;
        XFree(name);
      }
    }
    XFree(children);
    if (found != 0) {
      return found;
    }
    usleep(20000);
  }
  return 0;
}

void x_session::click_at(unsigned long x_window, int x, int y, bool click_there) {
  int screen_x = 0;
  int screen_y = 0;
  ::Window child = 0;
  XTranslateCoordinates(display_, x_window, DefaultRootWindow(display_), x, y, &screen_x, &screen_y,
                        &child);
  move_to(screen_x, screen_y);
  if (click_there) {
    click(1);
  }
}

}  // namespace ui_test
