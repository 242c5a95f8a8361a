#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "tests/ui/ui_window_support.h"
#include "ui/check_box.h"
#include "ui/drawing_surface.h"
#include "ui/generic_button.h"
#include "ui/generic_panel.h"
#include "ui/native_window.h"
#include "ui/text_label.h"

extern char** environ;

namespace {

using hxsdk::ui::color;
using hxsdk::ui::event;
using hxsdk::ui::rect;

constexpr std::uint32_t kMagenta = 0xFF00FF;

// What the server shows of a window, with the smallest rectangle holding the pixels that pass a
// test.
struct screen_pixels {
  std::vector<std::uint32_t> rgb;
  int width = 0;

  std::uint32_t at(int x, int y) const { return rgb[static_cast<std::size_t>(y * width + x)]; }

  rect bounding(const rect& area, const std::function<bool(std::uint32_t)>& pass) const {
    int left = area.x + area.width;
    int top = area.y + area.height;
    int right = area.x - 1;
    int bottom = area.y - 1;
    for (int y = area.y; y < area.y + area.height; ++y) {
      for (int x = area.x; x < area.x + area.width; ++x) {
        if (pass(at(x, y))) {
          left = std::min(left, x);
          top = std::min(top, y);
          right = std::max(right, x);
          bottom = std::max(bottom, y);
        }
      }
    }
    return {left, top, right - left + 1, bottom - top + 1};
  }
};

screen_pixels read_window(ui_test::shown_window& w) {
  const hxsdk::ui::native_window& native = w.window().native();
  const rect client = w.window().root().bounds();
  const int width = native.to_pixels_x(client.width);
  return {w.pixels({0, 0, width, native.to_pixels_y(client.height)}), width};
}

// Two labels with no style of their own but the underline set on the second: Tahoma (or what
// fontconfig puts in its place) at 11 DIPs, white, left-aligned and centred on the line, on
// magenta; the style event reaches the second label only.
TEST(UiWindowPixels, ALabelWithoutStylesIsWhiteTahomaElevenOnMagenta) {
  ui_test::shown_window w("labels", 200, 80);
  hxsdk::ui::text_label plain, underlined;
  w.window().root().place_child(plain, {10, 10, 150, 24});
  w.window().root().place_child(underlined, {10, 44, 150, 24});
  plain.set_text("HHH");
  underlined.set_text("HHH");
  ui_test::event_log log;
  log.watch(plain, "plain", {event::style_changed});
  log.watch(underlined, "underlined", {event::style_changed});
  underlined.set_style("label_text_underlined", true);
  EXPECT_EQ(log.take(), std::vector<std::string>{"underlined style label_text_underlined"});
  EXPECT_FALSE(plain.style<bool>("label_text_underlined"));

  const screen_pixels shown = read_window(w);
  const auto ink = [](std::uint32_t rgb) { return rgb != kMagenta; };
  const rect plain_area{10, 10, 150, 24};
  for (const auto& [x, y] : {std::pair{10, 10}, std::pair{159, 10}, std::pair{10, 33}}) {
    EXPECT_EQ(shown.at(x, y), kMagenta) << x << ", " << y;
  }
  const rect letters = shown.bounding(plain_area, ink);
  EXPECT_LE(letters.x, 12) << "left-aligned";
  EXPECT_NEAR(letters.y + letters.height / 2.0, 22.0, 2.0) << "centred on the line";
  // Capitals of an 11-unit font stand about 8 pixels tall in any of the usual faces.
  EXPECT_GE(letters.height, 7);
  EXPECT_LE(letters.height, 9);
  // White over magenta, however much of a pixel it covers, keeps red and blue full; the green of
  // the best-covered pixels shows how white.
  std::uint32_t most_green = 0;
  for (int y = letters.y; y < letters.y + letters.height; ++y) {
    for (int x = letters.x; x < letters.x + letters.width; ++x) {
      const std::uint32_t rgb = shown.at(x, y);
      ASSERT_EQ(rgb & 0xFF00FF, 0xFF00FFu) << x << ", " << y;
      most_green = std::max(most_green, (rgb >> 8) & 0xFF);
    }
  }
  EXPECT_GE(most_green, 0xE0u);
  const rect with_line = shown.bounding({10, 44, 150, 24}, ink);
  EXPECT_GT(with_line.y + with_line.height - 44, letters.y + letters.height - 10)
      << "the underline reaches below the letters";
}

TEST(UiWindowPixels, AResizeReachesTheSurfaceBeforeTheWidgets) {
  ui_test::shown_window w("resize", 200, 100);
  ui_test::event_log log;
  hxsdk::ui::drawing_surface& surface = w.window().surface();
  const auto note = [&](const std::string& who) {
    return [&, who](const hxsdk::ui::event_info&) {
      log.add(who + " sees " + std::to_string(surface.pixel_width()) + "x" +
              std::to_string(surface.pixel_height()));
    };
  };
  log.connect_to(w.window().root(), event::resize, note("root"));
  log.connect_to(w.window(), event::resize, note("window"));
  w.x().resize(w.handle(), 320, 150);
  EXPECT_EQ(log.take(), (std::vector<std::string>{"root sees 320x150", "window sees 320x150"}));
  EXPECT_EQ(w.window().root().bounds(), (rect{0, 0, 320, 150}));
}

// A widget keeps its DIP rectangle at any DPI; its pixels scale. The 96 DPI run starts a copy
// of itself on a 192 DPI screen.
TEST(UiWindowPixels, AWidgetCoversItsDipRectangleScaledByTheDpi) {
  ui_test::shown_window w("dpi", 200, 100);
  hxsdk::ui::generic_panel panel;
  w.window().root().place_child(panel, {30, 20, 50, 40});
  panel.set_style("default_back_color", color{0.0f, 1.0f, 0.0f, 1.0f});
  const float dpi = w.window().native().dpi_x();
  const auto pixels = [dpi](int dips) { return dips * static_cast<int>(dpi) / 96; };
  const screen_pixels shown = read_window(w);
  EXPECT_EQ(shown.bounding({0, 0, shown.width, static_cast<int>(shown.rgb.size()) / shown.width},
                           [](std::uint32_t rgb) { return rgb == 0x00FF00; }),
            (rect{pixels(30), pixels(20), pixels(50), pixels(40)}));

  if (std::getenv("LUNAFORM_TEST_DPI") == nullptr) {
    EXPECT_EQ(dpi, 96.0f);
    std::vector<char*> environment(environ, environ + std::char_traits<char*>::length(environ));
    std::string twice = "LUNAFORM_TEST_DPI=192";
    environment.push_back(twice.data());
    environment.push_back(nullptr);
    std::string self = "/proc/self/exe";
    std::string only_this = "--gtest_filter=UiWindowPixels.AWidgetCoversItsDipRectangle*";
    char* arguments[] = {self.data(), only_this.data(), nullptr};
    pid_t child = 0;
    ASSERT_EQ(posix_spawn(&child, self.c_str(), nullptr, nullptr, arguments, environment.data()),
              0);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the 192 DPI run failed";
  } else {
    EXPECT_EQ(dpi, 192.0f);
  }
}

// While a dialog runs modally its owner is disabled; the loop returns what end_modal gave, 0 for
// the close box, and with a close handler the close box leaves the decision to the handler.
TEST(UiWindowPixels, TheModalLoopDisablesItsOwnerAndReturnsEndModalsResult) {
  ui_test::shown_window owner("owner", 300, 200);
  hxsdk::ui::window dialog;
  hxsdk::ui::generic_button ok;
  dialog.create(owner.handle(), "dialog", {0, 0, 200, 100});
  dialog.root().place_child(ok, {50, 30, 100, 30});
  dialog.connect_to(ok, event::activated, [&](const auto&) { dialog.end_modal(7); });
  SDL_Window* handle = dialog.native().handle();
  ui_test::x_session person(handle, false);
  std::vector<std::string> seen;
  const auto look_at_owner = [&] {
    seen.push_back(hxsdk::ui::native_window::enabled(owner.handle()) ? "owner enabled"
                                                                     : "owner disabled");
  };

  EXPECT_EQ(ui_test::run_modal_with(dialog, {look_at_owner,
                                             [&] {
                                               const hxsdk::ui::point at = person.origin(handle);
                                               person.move_to(at.x + 100, at.y + 45);
                                               person.click(1);
                                             }}),
            7);
  EXPECT_EQ(ui_test::run_modal_with(dialog, {[&] { person.press_close_box(handle); }}), 0);
  EXPECT_TRUE(hxsdk::ui::native_window::enabled(owner.handle()));
  EXPECT_FALSE(dialog.native().shown());

  dialog.connect(event::close_request, [&](const auto&) { seen.push_back("close asked"); });
  EXPECT_EQ(ui_test::run_modal_with(dialog, {[&] { person.press_close_box(handle); },
                                             [&] {
                                               seen.push_back(dialog.native().shown() ? "shown"
                                                                                      : "hidden");
                                               dialog.end_modal(5);
                                             }}),
            5);
  EXPECT_EQ(seen, (std::vector<std::string>{"owner disabled", "close asked", "shown"}));
}

// The four controls together, with the colours their styles give.
TEST(UiWindowPixels, PanelLabelButtonAndCheckBoxShowTheirStyles) {
  ui_test::shown_window w("controls", 300, 140);
  hxsdk::ui::generic_panel panel;
  hxsdk::ui::text_label label;
  hxsdk::ui::generic_button button;
  hxsdk::ui::check_box check;
  hxsdk::ui::widget& root = w.window().root();
  root.place_child(panel, {0, 0, 300, 140});
  panel.set_style("default_back_color", color{0.137f, 0.137f, 0.137f, 1.0f});
  panel.place_child(label, {20, 15, 260, 20});
  label.set_style("default_back_color", color{});
  label.set_text("Lunaform toolkit");
  panel.place_child(button, {20, 50, 100, 30});
  button.set_caption("OK");
  panel.place_child(check, {20, 100, 220, 20});
  check.set_text("Do not show this again");
  check.set_checked(true);

  const screen_pixels shown = read_window(w);
  EXPECT_EQ(shown.at(290, 130), 0x232323u) << "panel";
  EXPECT_EQ(shown.at(23, 53), 0x2C2D31u) << "button";
  EXPECT_EQ(shown.at(20, 110), 0x4B4B4Bu) << "check box border";
  EXPECT_NE(
      shown.bounding({20, 15, 260, 20}, [](std::uint32_t rgb) { return rgb == 0xFFFFFF; }).width, 0)
      << "white label text";
}

}  // namespace
