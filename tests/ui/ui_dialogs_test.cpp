#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/message_box.h"
#include "platform/shell_open.h"
#include "tests/ui/ui_window_support.h"
#include "ui/about_dialog.h"
#include "ui/message_popup.h"
#include "ui/native_window.h"

namespace {

using hxsdk::ui::message_popup;
using hxsdk::ui::point;
using hxsdk::ui::rect;

TEST(UiMessagePopup, EscapeCloseBoxAndEnterGiveZeroAndOkGivesOne) {
  struct closing {
    const char* how;
    std::function<void(ui_test::x_session&, message_popup&)> act;
    int result;
  };
  const closing ways[] = {
      {"Escape", [](auto& x, auto&) { x.tap("Escape"); }, 0},
      {"close box", [](auto& x, auto& p) { x.press_close_box(p.native().handle()); }, 0},
      {"Enter with only the OK button", [](auto& x, auto&) { x.tap("Return"); }, 0},
      {"a click on OK",
       [](auto& x, auto& p) {
         const point at = ui_test::on_screen(x, p, p.ok_button(), 50, 15);
         x.move_to(at.x, at.y);
         x.click(1);
       },
       1},
  };
  ui_test::shown_window owner("host", 640, 480);
  for (const closing& way : ways) {
    SCOPED_TRACE(way.how);
    message_popup popup(500);
    popup.create(owner.handle(), "Lunaform Exception", "Something went wrong.");
    ui_test::x_session person(popup.native().handle(), false);
    EXPECT_EQ(ui_test::run_modal_with(popup, {[&] { way.act(person, popup); }}), way.result);
    EXPECT_FALSE(popup.native().shown());
  }
}

// Margins of 20, a gap of 10 and a 100 x 30 button: an empty text without an icon gives a
// popup 2 (10 + 20) + 30 = 90 tall with the button centred at x (500 - 100) / 2 = 200; the
// 28-pixel icon moves the text 28 + 20 to the right and a longer text makes the popup taller.
TEST(UiMessagePopup, LayoutFollowsTheTextAndTheIcon) {
  message_popup bare(500);
  bare.set_style("message_popup_image", hxsdk::ui::image_source{});
  bare.create(nullptr, "", "");
  EXPECT_EQ(bare.root().bounds(), (rect{0, 0, 500, 90}));
  EXPECT_EQ(bare.ok_button().bounds(), (rect{200, 40, 100, 30}));

  message_popup one_line(500);
  one_line.create(nullptr, "", "One line.");
  EXPECT_EQ(one_line.text_area().x, 20 + 28 + 20);
  EXPECT_EQ(one_line.root().bounds().height, 90 + 24) << "the 24-unit icon is taller than a line";

  std::string many_words;
  for (int i = 0; i < 100; ++i) {
    many_words += "words ";
  }
  message_popup long_text(500);
  long_text.create(nullptr, "", many_words);
  EXPECT_EQ(long_text.root().bounds().width, 500);
  EXPECT_GT(long_text.root().bounds().height, one_line.root().bounds().height + 24);
}

// The About box's link underlines and shows the hand while the pointer is on it, opens the page
// once for a release of any button, and the dialog stays until OK or its close box; its colours
// on the screen are its styles'.
TEST(UiAboutDialog, TheLinkOpensThePageAndOkOrTheCloseBoxEndTheDialog) {
  ui_test::shown_window owner("host", 640, 480);
  std::vector<std::string> opened;
  const hxsdk::ShellOpener previous =
      hxsdk::set_shell_opener([&](std::string_view address) { opened.emplace_back(address); });
  hxsdk::ui::AboutDialog about(owner.handle());
  EXPECT_EQ(about.title_label().text(), "Lunaform v1.0.2 (66)");
  SDL_Window* handle = about.native().handle();
  ui_test::x_session person(handle, false);
  const auto move_to = [&](const hxsdk::ui::widget& w, int x, int y) {
    const point at = ui_test::on_screen(person, about, w, x, y);
    person.move_to(at.x, at.y);
  };
  std::vector<std::string> seen;
  const auto note = [&] {
    seen.push_back(
        std::string(about.link_label().style<bool>("label_text_underlined") ? "underlined"
                                                                            : "plain") +
        " cursor " + std::to_string(hxsdk::ui::current_cursor()) +
        (hxsdk::ui::native_window::enabled(owner.handle()) ? " owner on" : " owner off"));
  };
  std::vector<std::uint32_t> shown;
  const auto read_screen = [&] { shown = person.pixels(handle, {0, 0, 160, 150}); };

  EXPECT_EQ(ui_test::run_modal_with(about,
                                    {[&] {
                                       // The first move inside the window only starts following the
                                       // mouse.
                                       move_to(about.link_label(), 70, 10);
                                       move_to(about.link_label(), 80, 10);
                                     },
                                     note, [&] { move_to(about.root(), 80, 42); }, note,
                                     [&] {
                                       move_to(about.link_label(), 80, 10);
                                       person.click(3);
                                     },
                                     note, read_screen, [&] { move_to(about.ok_button(), 40, 10); },
                                     [&] { person.click(1); }}),
            0);
  EXPECT_EQ(ui_test::run_modal_with(about, {[&] { person.press_close_box(handle); }}), 0);
  hxsdk::set_shell_opener(previous);

  EXPECT_EQ(seen,
            (std::vector<std::string>{"underlined cursor 6 owner off", "plain cursor 0 owner off",
                                      "underlined cursor 6 owner off"}));
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_TRUE(opened[0].ends_with("/lunaform/?v=1.0.2.66")) << opened[0];
  EXPECT_TRUE(hxsdk::ui::native_window::enabled(owner.handle()));

  const auto at = [&](int x, int y) { return shown[static_cast<std::size_t>(y * 160 + x)]; };
  const auto channel = [](std::uint32_t rgb, int shift) { return (rgb >> shift) & 0xFFu; };
  EXPECT_EQ(at(5, 140), 0x232323u) << "panel (0.137, 0.137, 0.137)";
  EXPECT_EQ(at(68, 117), 0x2D8CEBu) << "button (0.176, 0.549, 0.922)";
  // Text is its colour blended over the panel: grey no lighter than 0.725 for the title, the
  // link's blue for the link.
  std::uint32_t lightest_title = 0;
  std::uint32_t bluest_link = 0x232323;
  for (int y = 15; y < 35; ++y) {
    for (int x = 0; x < 160; ++x) {
      const std::uint32_t title = at(x, y);
      EXPECT_TRUE(channel(title, 0) == channel(title, 8) &&
                  channel(title, 8) == channel(title, 16));
      lightest_title = std::max(lightest_title, channel(title, 0));
      const std::uint32_t link = at(x, y + 35);
      bluest_link = channel(link, 0) > channel(bluest_link, 0) ? link : bluest_link;
    }
  }
  EXPECT_LE(lightest_title, 0xB9u);
  EXPECT_GE(lightest_title, 0xA0u);
  EXPECT_GE(channel(bluest_link, 0), 0xC8u);
  EXPECT_LE(channel(bluest_link, 0), 0xEBu);
  EXPECT_GT(channel(bluest_link, 0), channel(bluest_link, 8));
  EXPECT_GT(channel(bluest_link, 8), channel(bluest_link, 16));
}

// A message box asked for on another thread (the render thread's "Shader Log") is a popup that
// thread waits for until a person closes it.
TEST(UiMessagePopup, AMessageBoxFromAnotherThreadWaitsForThePerson) {
  bool returned = false;
  std::thread render_thread([&] {
    hxsdk::show_message_box(nullptr, "Shader Log", "0:12(3): error: syntax error");
    returned = true;
  });
  ui_test::x_session person;
  ASSERT_NE(person.wait_for_window("Shader Log"), 0u);
  EXPECT_FALSE(returned);
  person.tap("Return");
  render_thread.join();
  EXPECT_TRUE(returned);
}

// Through the real host and module file: the about command shows the About box, which OK ends;
// a global setup that fails (no OpenGL 4.1) shows its error popup, which Enter ends, and the
// host goes on to report the failure and exit in order.
TEST(UiModuleDialogs, TheAboutBoxAndTheSetupErrorPopupAppearOnTheDisplay) {
  ui_test::x_session person;
  ui_test::render_tool_process about({"--about"}, {});
  const unsigned long about_box = person.wait_for_window("Lunaform");
  ASSERT_NE(about_box, 0u);
  person.click_at(about_box, 105, 125);
  EXPECT_EQ(about.wait(), 0);

  ui_test::render_tool_process failing({"-o", "/tmp/never-written.png"},
                                       {"MESA_GL_VERSION_OVERRIDE=3.3"});
  ASSERT_NE(person.wait_for_window("Lunaform Exception"), 0u);
  person.tap("Return");
  const int exit_code = failing.wait();
  EXPECT_NE(exit_code, 0);
  EXPECT_NE(exit_code, -1) << "the host went down";
}

}  // namespace
