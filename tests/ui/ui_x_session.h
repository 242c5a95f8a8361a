#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ui/geometry.h"

struct SDL_Window;
typedef struct _XDisplay Display;

namespace ui_test {

// The test's own connection to the X server the toolkit's windows live on: it gives input as a
// person would (through the XTest extension), acts as the window manager would (close box,
// resizing), drags files in as a file manager would, and reads back what the server shows.
class x_session {
 public:
  // `any_window`, one of the toolkit's windows, lets the session reach SDL's own connection,
  // so that every input has reached SDL's queue when the call returns. With `handle_events`
  // the toolkit also handles it before the call returns; without, the toolkit's running loop
  // does (for input given from inside a modal loop). A session without a window (on another
  // thread than the toolkit's) only waits for the server.
  explicit x_session(SDL_Window* any_window = nullptr, bool handle_events = true);
  ~x_session();
  x_session(const x_session&) = delete;
  x_session& operator=(const x_session&) = delete;

  // Screen pixels.
  void move_to(int x, int y);
  // X buttons: 1 left, 2 middle, 3 right, 4 and 5 the wheel up and down.
  void button(int x_button, bool down);
  void click(int x_button);
  // Keys by their X keysym names ("Tab", "Return", "space", "Shift_L").
  void key(const std::string& keysym, bool down);
  void tap(const std::string& keysym);
  // The window manager's part: the close box, and a new client size in pixels.
  void press_close_box(SDL_Window* window);
  void resize(SDL_Window* window, int width, int height);
  // Drags `files` (absolute paths) over `window` as a file manager does and lets go at the
  // pointer's position.
  void drop_files(SDL_Window* window, const std::vector<std::string>& files);
  // The first viewable top-level window titled `title`, waited for up to ten seconds; 0 when
  // none came.
  unsigned long wait_for_window(const std::string& title);
  // Moves the pointer to (x, y) pixels of an X window's client area, and clicks there when
  // asked to.
  void click_at(unsigned long x_window, int x, int y, bool click_there = true);
  // 0xRRGGBB of every pixel of `area` of an X window, row by row.
  std::vector<std::uint32_t> pixels_of(unsigned long x_window, const hxsdk::ui::rect& area);

  // The screen position of the window's client area.
  hxsdk::ui::point origin(SDL_Window* window);
  // 0xRRGGBB of every pixel of `area` (client pixels), row by row, as the server shows them.
  std::vector<std::uint32_t> pixels(SDL_Window* window, const hxsdk::ui::rect& area);

  // Waits until the server has handled everything sent so far and SDL has queued what that
  // made the server send to its windows; then, when the session handles events, lets the
  // toolkit handle them.
  void settle();

 private:
  Display* display_ = nullptr;
  Display* sdl_display_ = nullptr;
  bool handle_events_ = true;
};

}  // namespace ui_test
