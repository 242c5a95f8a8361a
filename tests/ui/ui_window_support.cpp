#include "tests/ui/ui_window_support.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "ui/native_window.h"

extern char** environ;

namespace ui_test {
namespace {

using hxsdk::ui::event;

std::string event_name(event id) {
  static const std::map<event, std::string> names{
      {event::mouse_up, "up"},         {event::mouse_down, "down"},
      {event::double_click, "double"}, {event::wheel, "wheel"},
      {event::mouse_enter, "enter"},   {event::mouse_leave, "leave"},
      {event::mouse_move, "move"},     {event::focus_in, "focus-in"},
      {event::focus_out, "focus-out"}, {event::activated, "activated"},
      {event::drop, "drop"},           {event::style_changed, "style"},
      {event::close_request, "close"}, {event::resize, "resize"},
  };
  const auto found = names.find(id);
  return found != names.end() ? found->second : std::to_string(static_cast<int>(id));
}

std::string argument_text(const hxsdk::ui::event_info& e) {
  switch (e.id) {
    case event::wheel:
      return std::to_string(static_cast<int>(e.argument_double()));
    case event::drop: {
      std::string files;
      for (const std::string& file : *e.argument_pointer<std::vector<std::string>>()) {
        files += file;
      }
      return files;
    }
    case event::style_changed:
      return *e.argument_pointer<std::string>();
    default:
      return std::to_string(e.argument);
  }
}

}  // namespace

void event_log::watch(hxsdk::ui::event_object& source, const std::string& name,
                      std::initializer_list<event> ids) {
  for (const event id : ids) {
    connect_to(source, id, [this, name](const hxsdk::ui::event_info& e) {
      add(name + " " + event_name(e.id) + " " + argument_text(e));
    });
  }
}

shown_window::shown_window(const std::string& title, int width, int height,
                           hxsdk::ui::native_handle owner) {
  window_.create(owner, title, {0, 0, width, height});
  window_.show();
  x_ = std::make_unique<x_session>(handle());
  x_->move_to(1900, 1900);
}

SDL_Window* shown_window::handle() {
  return window_.native().handle();
}

hxsdk::ui::point on_screen(x_session& x, hxsdk::ui::window& w, const hxsdk::ui::widget& target,
                           int dx, int dy) {
  const hxsdk::ui::point origin = x.origin(w.native().handle());
  const hxsdk::ui::point at = target.position_in_window();
  return {origin.x + w.native().to_pixels_x(at.x + dx),
          origin.y + w.native().to_pixels_y(at.y + dy)};
}

int run_modal_with(hxsdk::ui::window& w, const std::vector<std::function<void()>>& steps) {
  constexpr std::uint32_t kStepTimer = 0x5E9;
  event_log person;
  std::size_t next = 0;
  const auto step_later = [&] { w.native().set_timer(w.root(), kStepTimer, 1, true); };
  person.connect_to(w, event::modal_begin, [&](const auto&) { step_later(); });
  person.connect_to(w.root(), event::timer, [&](const hxsdk::ui::event_info& e) {
    if (e.argument == kStepTimer && next < steps.size()) {
      steps[next++]();
      // Input the step gave is in SDL's queue by now, so the next step comes after it.
      step_later();
    }
  });
  return w.run_modal();
}

render_tool_process::render_tool_process(std::vector<std::string> arguments,
                                         std::vector<std::string> environment) {
  std::string program = LUNAFORM_RENDER_PATH;
  std::vector<char*> argv{program.data()};
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  // The test's environment, with the entries given taking the place of those of their names.
  std::vector<char*> envp;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view name(*entry, std::string_view(*entry).find('='));
    if (std::none_of(environment.begin(), environment.end(), [&](const std::string& given) {
          return given.starts_with(std::string(name) + "=");
        })) {
      envp.push_back(*entry);
    }
  }
  for (std::string& entry : environment) {
    envp.push_back(entry.data());
  }
  envp.push_back(nullptr);
  if (posix_spawn(&pid_, program.c_str(), nullptr, nullptr, argv.data(), envp.data()) != 0) {
    throw std::runtime_error("cannot start " + program);
  }
}

render_tool_process::~render_tool_process() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

int render_tool_process::wait() {
  int status = 0;
  waitpid(std::exchange(pid_, 0), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

stand_in_opener::stand_in_opener()
    : folder_(std::filesystem::temp_directory_path() /
              ("lunaform-opener-" + std::to_string(getpid()))),
      calls_(folder_ / "calls"),
      old_path_(std::getenv("PATH") != nullptr ? std::getenv("PATH") : "") {
  std::filesystem::create_directories(folder_);
  const std::filesystem::path script = folder_ / "xdg-open";
  // Each call adds its lines to a growing record, which then takes the place of the file read
  // in one rename: a reader never sees half of a call.
  const std::string all = (folder_ / "all").string();
  std::ofstream(script) << "#!/bin/sh\nsleep 1\nprintf '%s\\n' \"$#\" \"$@\" >> '" << all
                        << "'\ncp '" << all << "' '" << all << ".$$'\nmv '" << all << ".$$' '"
                        << calls_.string() << "'\n";
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
}

stand_in_opener::~stand_in_opener() {
  if (path_changed_) {
    setenv("PATH", old_path_.c_str(), 1);
  }
  std::filesystem::remove_all(folder_);
}

std::string stand_in_opener::path_entry() const {
  return "PATH=" + folder_.string() + ":" + old_path_;
}

void stand_in_opener::put_in_path() {
  setenv("PATH", path_entry().substr(5).c_str(), 1);
  path_changed_ = true;
}

std::vector<std::string> stand_in_opener::wait_for_calls() const {
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!called() && std::chrono::steady_clock::now() < give_up) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  std::vector<std::string> lines;
  std::ifstream in(calls_);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

void shown_window::move_to(const hxsdk::ui::widget& w, int x, int y) {
  const hxsdk::ui::point p = on_screen(*x_, window_, w, x, y);
  x_->move_to(p.x, p.y);
}

}  // namespace ui_test
