#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/ui/ui_window_support.h"
#include "ui/check_box.h"
#include "ui/generic_button.h"
#include "ui/widget.h"

namespace {

using hxsdk::ui::event;
using ui_test::event_log;

// Plain widgets a and b side by side, c holding d below them, a button, a toggle button and a
// check box on the right; input arrives through the X server.
struct scene : ui_test::shown_window {
  hxsdk::ui::widget a, b, c, d;
  hxsdk::ui::generic_button button, toggle;
  hxsdk::ui::check_box check;
  event_log log;
  bool check_flag = false;

  scene() : shown_window("routing", 400, 300) {
    hxsdk::ui::widget& root = window().root();
    root.place_child(a, {20, 20, 100, 60});
    root.place_child(b, {140, 20, 100, 60});
    root.place_child(c, {20, 120, 200, 120});
    c.place_child(d, {10, 10, 80, 40});
    root.place_child(button, {260, 20, 100, 30});
    root.place_child(toggle, {260, 70, 100, 30});
    root.place_child(check, {260, 120, 120, 20});
    toggle.set_toggleable(true);
    check.bind(&check_flag);
  }

  void click_on(const hxsdk::ui::widget& w) {
    move_to(w, 5, 5);
    x().click(1);
  }
};

using named_widgets = std::vector<std::pair<hxsdk::ui::widget*, const char*>>;
named_widgets named(named_widgets widgets) {
  return widgets;
}

struct routing_case {
  const char* fact;
  std::function<void(scene&)> act;
  std::vector<std::string> expected;
};

const std::vector<routing_case> kCases{
    {"a double click gives down, double click and no second up",
     [](scene& s) {
       s.log.watch(s.a, "a", {event::mouse_down, event::mouse_up, event::double_click});
       s.click_on(s.a);
       s.x().click(1);
     },
     {"a down 0", "a up 0", "a double 0"}},
    {"without a double-click handler the second click is a plain one",
     [](scene& s) {
       s.log.watch(s.b, "b", {event::mouse_down, event::mouse_up});
       s.click_on(s.b);
       s.x().click(1);
     },
     {"b down 0", "b up 0", "b down 0", "b up 0"}},
    {"the first move gives no event; moving across gives leave, then enter, and no move",
     [](scene& s) {
       for (const auto& [w, name] : named({{&s.a, "a"}, {&s.b, "b"}})) {
         s.log.watch(*w, name, {event::mouse_enter, event::mouse_leave, event::mouse_move});
       }
       s.move_to(s.a, 10, 10);
       s.move_to(s.a, 12, 12);
       s.move_to(s.a, 14, 14);
       s.move_to(s.b, 10, 10);
       s.move_to(s.b, 12, 12);
     },
     {"a enter 0", "a move 0", "a leave 0", "b enter 0", "b move 0"}},
    {"a wheel climbs to the root when nobody below handles it",
     [](scene& s) {
       s.log.watch(s.window().root(), "root", {event::wheel});
       s.move_to(s.d, 5, 5);
       s.x().click(4);
       s.x().click(5);
     },
     {"root wheel 60", "root wheel -60"}},
    {"a wheel stops at the first ancestor with a handler",
     [](scene& s) {
       s.log.watch(s.window().root(), "root", {event::wheel});
       s.log.watch(s.c, "c", {event::wheel});
       s.move_to(s.d, 5, 5);
       s.x().click(4);
     },
     {"c wheel 60"}},
    {"Tab and Shift+Tab walk the tab stops in opposite directions and wrap",
     [](scene& s) {
       for (const auto& [w, name] : named({{&s.a, "a"}, {&s.b, "b"}, {&s.d, "d"}})) {
         w->set_tab_stop(true);
         s.log.watch(*w, name, {event::focus_in});
       }
       for (int i = 0; i < 4; ++i) {
         s.x().tap("Tab");
       }
       s.x().key("Shift_L", true);
       for (int i = 0; i < 4; ++i) {
         s.x().tap("Tab");
       }
       s.x().key("Shift_L", false);
     },
     {"a focus-in 1", "b focus-in 1", "d focus-in 1", "a focus-in 1", "d focus-in 1",
      "b focus-in 1", "a focus-in 1", "d focus-in 1"}},
    {"a button activates on a release over it, wherever the press began, and is drawn up "
     "while the pointer is off it",
     [](scene& s) {
       s.log.watch(s.button, "button", {event::activated});
       const auto note_drawn = [&s] { s.log.add(s.button.pressed() ? "down" : "up"); };
       s.move_to(s.button, 5, 5);
       s.move_to(s.button, 6, 6);
       s.x().button(1, true);
       note_drawn();
       s.move_to(s.a, 5, 5);
       note_drawn();
       s.x().button(1, false);
       s.x().button(1, true);
       s.move_to(s.button, 5, 5);
       s.x().button(1, false);
     },
     {"down", "up", "button activated 0"}},
    {"either Enter key on a focused toggle button flips it once",
     [](scene& s) {
       s.log.watch(s.toggle, "toggle", {event::activated});
       s.window().set_focus(&s.toggle);
       for (const char* enter : {"Return", "KP_Enter"}) {
         s.x().tap(enter);
         s.log.add(s.toggle.toggled() ? "toggled" : "not toggled");
       }
     },
     {"toggle activated 1", "toggled", "toggle activated 0", "not toggled"}},
    {"a bound check box writes its flag between its two toggled events",
     [](scene& s) {
       s.log.connect_to(s.check, event::toggled, [&s](const hxsdk::ui::event_info& e) {
         s.log.add("phase " + std::to_string(e.phase) + " flag " + std::to_string(s.check_flag));
       });
       s.click_on(s.check);
       s.x().tap("space");
     },
     {"phase 0 flag 0", "phase 2 flag 1", "phase 0 flag 1", "phase 2 flag 0"}},
    {"a drop reaches a widget with a drop handler and is refused elsewhere",
     [](scene& s) {
       s.log.watch(s.a, "a", {event::drop});
       s.move_to(s.b, 5, 5);
       s.log.add(s.window().accepts_drop({145, 25}) ? "b takes" : "b refuses");
       s.x().drop_files(s.handle(), {"/tmp/refused.png"});
       s.move_to(s.a, 5, 5);
       s.x().drop_files(s.handle(), {"/tmp/taken.png"});
     },
     {"b refuses", "a drop /tmp/taken.png"}},
};

TEST(UiInputRouting, InputThroughTheXServerReachesTheRightWidgetsInOrder) {
  for (const routing_case& c : kCases) {
    SCOPED_TRACE(c.fact);
    scene s;
    c.act(s);
    EXPECT_EQ(s.log.take(), c.expected);
  }
}

}  // namespace
