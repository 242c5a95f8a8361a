#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/effect_host.h"
#include "platform/shell_open.h"
#include "plugin/ae_plugin_connection.h"
#include "tests/e2e_header_support.h"
#include "tests/e2e_plugin_support.h"

namespace {

using e2e_header::differences_from_banner;
using e2e_header::surface_rgb;
using e2e_plugin::entry_for;
using e2e_plugin::real_module_entry;
using e2e_plugin::StderrCapture;
using lunaform::host::ControlEvent;
using lunaform::host::DrawbotImageSize;
using lunaform::host::EffectHost;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

// The header control (the effect's first parameter) where this host's panel puts it: under a
// title strip whose bottom edge is 4 pixels above the control.
constexpr PF_ParamIndex kHeader = 1;
constexpr PF_Rect kFrame{8, 28, 566, 112};
constexpr PF_Rect kTitle{0, 0, 574, 24};

// The plug-in object without a GPU side, which the header's events never need.
struct WithoutGpu : AePluginConnection {
  WithoutGpu() : AePluginConnection([]() -> std::unique_ptr<RenderState> { return nullptr; }) {}
};

// An event for parameter `index` with the pointer at (x, y) of the header control's frame.
ControlEvent event_at(PF_EventType type, int x, int y, PF_ParamIndex index = kHeader) {
  ControlEvent event;
  event.type = type;
  event.index = index;
  event.current_frame = kFrame;
  event.title_frame = kTitle;
  event.point = {kFrame.left + x, kFrame.top + y};
  return event;
}

// A host with the effect set up as a host has it before it shows the effect's controls.
struct HeaderHost {
  explicit HeaderHost(PF_FilterProc entry) : host(entry) {
    const StderrCapture banner;
    EXPECT_EQ(host.global_setup(), PF_Err_NONE);
    EXPECT_EQ(host.params_setup(), PF_Err_NONE);
  }
  EffectHost host;
};

// Records the addresses the module opens while alive, instead of starting a browser.
class OpenedPages {
 public:
  OpenedPages()
      : previous_(hxsdk::set_shell_opener(
            [this](std::string_view address) { addresses.emplace_back(address); })) {}
  ~OpenedPages() { hxsdk::set_shell_opener(std::move(previous_)); }
  OpenedPages(const OpenedPages&) = delete;
  OpenedPages& operator=(const OpenedPages&) = delete;

  std::vector<std::string> addresses;

 private:
  hxsdk::ShellOpener previous_;
};

// A panel image filled with one opaque colour, so that anything drawn on it shows.
std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> blank_panel() {
  cairo_surface_t* panel = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 574, 120);
  cairo_t* canvas = cairo_create(panel);
  cairo_set_source_rgb(canvas, 0.0, 1.0, 0.0);
  cairo_paint(canvas);
  cairo_destroy(canvas);
  return {panel, cairo_surface_destroy};
}

TEST(E2eHeaderControl, OnlyAClickOnTheLinkBelowTheTitleOpensThePageAndEveryClickThereDrags) {
  HeaderHost setup(&entry_for<WithoutGpu>);
  struct Case {
    const char* where;
    int x, y;          // in the control's frame
    int title_bottom;  // the title frame's bottom edge, from the control's top
    PF_ParamIndex index;
    bool opens;
    bool drags;
  };
  const int below_title = kTitle.bottom - kFrame.top;
  const Case cases[] = {
      {"the link's top-left corner", 150, 20, below_title, kHeader, true, true},
      {"the link's bottom-right corner", 280, 64, below_title, kHeader, true, true},
      {"left of the link", 149, 20, below_title, kHeader, false, true},
      {"right of the link", 281, 64, below_title, kHeader, false, true},
      {"the link, on the title's bottom row", 200, 40, 40, kHeader, false, false},
      {"the link, above the title's bottom row", 200, 39, 40, kHeader, false, false},
      {"the link, just below the title", 200, 41, 40, kHeader, true, true},
      {"the link's place on another parameter", 200, 40, below_title, 2, false, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.where);
    const OpenedPages pages;
    ControlEvent click = event_at(PF_Event_DO_CLICK, c.x, c.y, c.index);
    click.title_frame.bottom = kFrame.top + c.title_bottom;
    ASSERT_EQ(setup.host.send_event(click), PF_Err_NONE);
    EXPECT_EQ(click.out_flags, PF_EO_HANDLED_EVENT);
    if (c.opens) {
      EXPECT_THAT(pages.addresses, ElementsAre(EndsWith("/lunaform/?v=1.0.2.66")));
    } else {
      EXPECT_THAT(pages.addresses, IsEmpty());
    }
    EXPECT_EQ(click.send_drag, c.drags);
    EXPECT_EQ(click.continuation[0], c.drags ? 1 : 0);
    if (c.drags) {
      click.type = PF_Event_DRAG;
      ASSERT_EQ(setup.host.send_event(click), PF_Err_NONE);
      EXPECT_FALSE(click.send_drag);
      EXPECT_EQ(click.continuation[0], 0);
      EXPECT_EQ(click.out_flags, PF_EO_HANDLED_EVENT | PF_EO_ALWAYS_UPDATE);
    }
  }
}

TEST(E2eHeaderControl, TheLinkIsLitFromTheCursorEventOverItUntilOneElsewhere) {
  HeaderHost setup(real_module_entry());
  struct Step {
    const char* pointer;
    PF_ParamIndex index;
    PF_EffectArea area;
    int x, y;
    PF_CursorType cursor;
    bool lit;  // at the next draw
  };
  // In order: each step starts from the state the previous one left.
  const Step steps[] = {
      {"on the link", kHeader, PF_EA_CONTROL, 200, 40, PF_Cursor_FINGER_POINTER, true},
      {"beside the link", kHeader, PF_EA_CONTROL, 281, 64, PF_Cursor_ARROW, false},
      {"on the link's corner", kHeader, PF_EA_CONTROL, 150, 20, PF_Cursor_FINGER_POINTER, true},
      {"at the same place over another parameter", 2, PF_EA_CONTROL, 150, 20, PF_Cursor_ARROW,
       false},
      {"on the link, seen from the title", kHeader, PF_EA_PARAM_TITLE, 200, 40, PF_Cursor_ARROW,
       true},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(step.pointer);
    ControlEvent cursor = event_at(PF_Event_ADJUST_CURSOR, step.x, step.y, step.index);
    cursor.area = step.area;
    ASSERT_EQ(setup.host.send_event(cursor), PF_Err_NONE);
    EXPECT_EQ(cursor.cursor, step.cursor);
    EXPECT_EQ(cursor.out_flags, PF_EO_HANDLED_EVENT);

    const auto panel = blank_panel();
    ControlEvent draw = event_at(PF_Event_DRAW, 0, 0);
    draw.target = panel.get();
    ASSERT_EQ(setup.host.send_event(draw), PF_Err_NONE);
    const e2e_header::RgbImage drawn = surface_rgb(panel.get());
    EXPECT_EQ(differences_from_banner(drawn, {kFrame.left, kFrame.top}, step.lit), 0);
    EXPECT_GT(differences_from_banner(drawn, {kFrame.left, kFrame.top}, !step.lit), 0);
  }
  EXPECT_THAT(setup.host.problems(), IsEmpty());
}

TEST(E2eHeaderControl, TheTwoBannerImagesAreMadeOnceAtTheirFirstDrawAndReleasedAtSetdown) {
  HeaderHost setup(real_module_entry());
  EffectHost& host = setup.host;
  const auto panel = blank_panel();
  const e2e_header::RgbImage blank = surface_rgb(panel.get());
  const auto draw = [&](PF_ParamIndex index, PF_EventInFlags in_flags) {
    ControlEvent event = event_at(PF_Event_DRAW, 0, 0, index);
    event.target = panel.get();
    event.in_flags = in_flags;
    EXPECT_EQ(host.send_event(event), PF_Err_NONE);
    EXPECT_EQ(event.out_flags, PF_EO_HANDLED_EVENT);
  };
  const auto hover = [&](bool on_link) {
    ControlEvent event = event_at(PF_Event_ADJUST_CURSOR, on_link ? 200 : 0, on_link ? 40 : 0);
    EXPECT_EQ(host.send_event(event), PF_Err_NONE);
  };

  draw(kHeader, PF_EI_DONT_DRAW);
  draw(2, PF_EI_NONE);
  EXPECT_EQ(surface_rgb(panel.get()).pixels, blank.pixels) << "nothing is drawn";
  EXPECT_EQ(host.drawbot_objects().counts().images_made, 0);

  for (int round = 0; round < 3; ++round) {
    for (const bool on_link : {false, true}) {
      hover(on_link);
      draw(kHeader, PF_EI_NONE);
    }
  }
  // One pixel wider than the 558-pixel control.
  EXPECT_THAT(host.drawbot_objects().live_images(),
              ElementsAre(DrawbotImageSize{559, 84}, DrawbotImageSize{559, 84}));
  EXPECT_EQ(host.drawbot_objects().counts().images_made, 2);

  ASSERT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.drawbot_objects().counts(), (lunaform::host::DrawbotCounts{2, 2, 0}));
  EXPECT_THAT(host.suites().unreleased(), IsEmpty());
  EXPECT_THAT(host.problems(), IsEmpty());
}

}  // namespace
