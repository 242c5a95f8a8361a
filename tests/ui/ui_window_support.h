#pragma once

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/ui/ui_x_session.h"
#include "ui/event_object.h"
#include "ui/window.h"

namespace ui_test {

// Records events fired on the objects it watches, one line each: "NAME EVENT ARGUMENT".
class event_log : public hxsdk::ui::event_object {
 public:
  void watch(hxsdk::ui::event_object& source, const std::string& name,
             std::initializer_list<hxsdk::ui::event> ids);
  void add(std::string line) { lines_.push_back(std::move(line)); }
  // The lines so far; the log starts again empty.
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};

// A toolkit window of `width` x `height` DIPs at the top left of the screen, shown, with the
// pointer parked outside it, and an X session to drive it. Widgets placed in it must be
// destroyed before it.
class shown_window {
 public:
  shown_window(const std::string& title, int width, int height,
               hxsdk::ui::native_handle owner = nullptr);

  hxsdk::ui::window& window() { return window_; }
  SDL_Window* handle();
  x_session& x() { return *x_; }
  void move_to(const hxsdk::ui::widget& w, int x, int y);
  // 0xRRGGBB of the client pixels of `area` (pixels, not DIPs).
  std::vector<std::uint32_t> pixels(const hxsdk::ui::rect& area) {
    return x_->pixels(handle(), area);
  }

 private:
  hxsdk::ui::window window_;
  std::unique_ptr<x_session> x_;
};

// lunaform-render running on the test's display with `arguments`, and `environment` entries
// ("NAME=value") added to the test's own. Ended (SIGKILL) if still running when destroyed.
class render_tool_process {
 public:
  render_tool_process(std::vector<std::string> arguments, std::vector<std::string> environment);
  ~render_tool_process();
  render_tool_process(const render_tool_process&) = delete;
  render_tool_process& operator=(const render_tool_process&) = delete;

  // Waits for the process to end: its exit code, or -1 when a signal ended it.
  int wait();

 private:
  int pid_ = 0;
};

// A stand-in for the desktop's opener: an `xdg-open` script in a folder of its own that waits a
// second, then notes its argument count and its arguments, a line each, in a file.
class stand_in_opener {
 public:
  stand_in_opener();
  // Removes the folder, and gives PATH back if it was changed.
  ~stand_in_opener();
  stand_in_opener(const stand_in_opener&) = delete;
  stand_in_opener& operator=(const stand_in_opener&) = delete;

  const std::filesystem::path& folder() const { return folder_; }
  // "PATH=..." with the folder first: for a child process.
  std::string path_entry() const;
  // Puts the folder first in this process's own PATH while the stand-in lives.
  void put_in_path();
  // The lines written so far, once a call has written any (at most ten seconds from now).
  std::vector<std::string> wait_for_calls() const;
  bool called() const { return std::filesystem::exists(calls_); }

 private:
  std::filesystem::path folder_;
  std::filesystem::path calls_;
  std::string old_path_;
  bool path_changed_ = false;
};

// The screen pixel of the DIP point (x, y) in `target`'s own coordinates, `target` lying in `w`.
hxsdk::ui::point on_screen(x_session& x, hxsdk::ui::window& w, const hxsdk::ui::widget& target,
                           int dx, int dy);

// Runs `w` modally while a person acts in `steps`: each step runs once the loop has handled
// everything the step before did, and the last must end the loop. Returns the loop's result.
int run_modal_with(hxsdk::ui::window& w, const std::vector<std::function<void()>>& steps);

}  // namespace ui_test
