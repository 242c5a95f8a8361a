// The effect's header control through the host's DRAWBOT suites, in process and in
// lunaform-render's panel image, compared with the banner file as OpenImageIO decodes it.
#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/effect_host.h"
#include "platform/shell_open.h"
#include "plugin/ae_plugin_connection.h"
#include "tests/e2e_plugin_support.h"
#include "tests/host_temp_folder.h"
#include "tests/shell_command.h"

namespace {

using lunaform::host::ControlEvent;
using lunaform::host::DrawbotCounts;
using lunaform::host::DrawbotImageSize;
using lunaform::host::EffectHost;
using testing::ElementsAre;
using testing::IsEmpty;

// An image as 0xRRGGBB words, row by row from the top.
struct RgbImage {
  int width = 0;
  std::vector<std::uint32_t> pixels;
  std::uint32_t at(int x, int y) const { return pixels[std::size_t(y * width + x)]; }
};

// The colour of an 8-bit image file; empty (with a test failure) when it cannot be read.
RgbImage read_rgb(const std::filesystem::path& file) {
  const e2e_plugin::StoredFrame frame = e2e_plugin::read_frame(file);
  RgbImage image{frame.width, {}};
  for (std::size_t i = 0; i < frame.values.size(); i += std::size_t(frame.channels)) {
    const auto byte = [&](std::size_t c) { return std::lround(frame.values[i + c] * 255.0f); };
    image.pixels.push_back(std::uint32_t(byte(0) << 16 | byte(1) << 8 | byte(2)));
  }
  return image;
}

// How many pixels of the 558 x 84 control at (left, top) in `panel` differ from the banner
// file's lit half (its lower rows) or plain half.
int differences_from_banner(const RgbImage& panel, int left, int top, bool lit) {
  static const RgbImage banner = read_rgb(
      std::filesystem::path(__FILE__).parent_path().parent_path() / "ui/images/effect_banner.png");
  int differences = 0;
  for (int y = 0; y < 84; ++y) {
    for (int x = 0; x < 558; ++x) {
      differences += panel.at(left + x, top + y) != banner.at(x, y + (lit ? 84 : 0));
    }
  }
  return differences;
}

// The header control where this host's panel puts it, 4 pixels under the title strip.
constexpr PF_ParamIndex kHeader = 1;
constexpr PF_Rect kFrame{8, 28, 566, 112};

// An event for parameter `index` with the pointer at (x, y) of the header control's frame.
ControlEvent event_at(PF_EventType type, int x, int y, PF_ParamIndex index = kHeader) {
  ControlEvent event{
      .type = type, .index = index, .current_frame = kFrame, .title_frame = {0, 0, 574, 24}};
  event.point = {kFrame.left + x, kFrame.top + y};
  return event;
}

// Draws the header control into a 574 x 120 panel painted green, so that anything drawn shows.
RgbImage draw(EffectHost& host, PF_ParamIndex index = kHeader,
              PF_EventInFlags in_flags = PF_EI_NONE) {
  // Cairo's ARGB32 pixels are native 32-bit words, drawn straight into the image's.
  RgbImage image{574, std::vector<std::uint32_t>(574 * 120, 0xFF00FF00u)};
  const std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> panel(
      cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(image.pixels.data()),
                                          CAIRO_FORMAT_ARGB32, 574, 120, 574 * 4),
      cairo_surface_destroy);
  ControlEvent event = event_at(PF_Event_DRAW, 0, 0, index);
  event.target = panel.get();
  event.in_flags = in_flags;
  EXPECT_EQ(host.send_event(event), PF_Err_NONE);
  EXPECT_EQ(event.out_flags, PF_EO_HANDLED_EVENT);
  cairo_surface_flush(panel.get());
  for (std::uint32_t& word : image.pixels) {
    word &= 0xFFFFFF;
  }
  return image;
}

// The plug-in object without a GPU side, which the header's events never need.
struct WithoutGpu : AePluginConnection {
  WithoutGpu() : AePluginConnection([]() -> std::unique_ptr<RenderState> { return nullptr; }) {}
};

TEST(E2eHeaderControl, OnlyTheLinkBelowTheTitleLightsUpAndOpensThePageFromTwoImagesMadeOnce) {
  EffectHost host(&e2e_plugin::entry_for<WithoutGpu>);
  e2e_plugin::set_up_instance(host);
  EXPECT_THAT(draw(host, kHeader, PF_EI_DONT_DRAW).pixels, testing::Each(0x00FF00u))
      << "nothing drawn";
  EXPECT_THAT(draw(host, 2).pixels, testing::Each(0x00FF00u)) << "nothing drawn";
  EXPECT_EQ(host.drawbot_objects().counts().images_made, 0);
  // A click on the link (x 150 to 280, y 20 to 64) below the title opens the page; every click
  // on the header is followed by a drag, which it takes.
  struct Click {
    const char* where;
    int x, y, title_bottom;  // in the control's frame
    PF_ParamIndex index;
    bool opens, drags;
  };
  // clang-format off
  const Click clicks[] = {
      {"the link's top-left corner", 150, 20, -4, kHeader, true, true},
      {"the link's bottom-right corner", 280, 64, -4, kHeader, true, true},
      {"left of the link", 149, 20, -4, kHeader, false, true},
      {"right of the link", 281, 64, -4, kHeader, false, true},
      {"the link, on the title's bottom row", 200, 40, 40, kHeader, false, false},
      {"the link, above the title's bottom row", 200, 39, 40, kHeader, false, false},
      {"the link, just below the title", 200, 41, 40, kHeader, true, true},
      {"the link's place on another parameter", 200, 40, -4, 2, false, true}};
  // clang-format on
  std::vector<std::string> opened;
  struct Restore {
    hxsdk::ShellOpener previous;
    ~Restore() { hxsdk::set_shell_opener(std::move(previous)); }
  } restore{hxsdk::set_shell_opener([&](std::string_view page) { opened.emplace_back(page); })};
  for (const Click& c : clicks) {
    SCOPED_TRACE(c.where);
    opened.clear();
    ControlEvent click = event_at(PF_Event_DO_CLICK, c.x, c.y, c.index);
    click.title_frame.bottom = kFrame.top + c.title_bottom;
    ASSERT_EQ(host.send_event(click), PF_Err_NONE);
    EXPECT_EQ(click.out_flags, PF_EO_HANDLED_EVENT);
    EXPECT_EQ(opened.size(), c.opens ? 1u : 0u);
    EXPECT_THAT(opened, testing::Each(testing::EndsWith("/lunaform/?v=1.0.2.66")));
    EXPECT_EQ(std::tuple(click.send_drag, click.continuation[0]),
              std::tuple(c.drags, c.drags ? 1 : 0));
    if (c.drags) {
      click.type = PF_Event_DRAG;
      ASSERT_EQ(host.send_event(click), PF_Err_NONE);
      EXPECT_EQ(std::tuple(click.send_drag, click.continuation[0], click.out_flags),
                std::tuple(false, 0, PF_EO_HANDLED_EVENT | PF_EO_ALWAYS_UPDATE));
    }
  }
  // The cursor over the link lights it (and shows the finger) until elsewhere; twice in order.
  struct Step {
    const char* pointer;
    PF_ParamIndex index;
    PF_EffectArea area;
    int x, y;
    bool lit;  // at the next draw, with the finger pointer where on the control
  };
  // clang-format off
  const Step steps[] = {{"on the link", kHeader, PF_EA_CONTROL, 200, 40, true},
                        {"beside the link", kHeader, PF_EA_CONTROL, 281, 64, false},
                        {"on the link's corner", kHeader, PF_EA_CONTROL, 150, 20, true},
                        {"there over another parameter", 2, PF_EA_CONTROL, 150, 20, false},
                        {"on the link, seen from the title", kHeader, PF_EA_PARAM_TITLE, 200, 40, true},
                        {"left of the link", kHeader, PF_EA_CONTROL, 149, 20, false}};
  // clang-format on
  for (int round = 0; round < 2; ++round) {
    for (const Step& step : steps) {
      SCOPED_TRACE(step.pointer);
      ControlEvent cursor = event_at(PF_Event_ADJUST_CURSOR, step.x, step.y, step.index);
      cursor.area = step.area;
      ASSERT_EQ(host.send_event(cursor), PF_Err_NONE);
      const bool finger = step.lit && step.area == PF_EA_CONTROL;
      EXPECT_EQ(
          std::tuple(cursor.cursor, cursor.out_flags),
          std::tuple(finger ? PF_Cursor_FINGER_POINTER : PF_Cursor_ARROW, PF_EO_HANDLED_EVENT));
      const RgbImage drawn = draw(host);
      EXPECT_EQ(differences_from_banner(drawn, kFrame.left, kFrame.top, step.lit), 0);
      EXPECT_GT(differences_from_banner(drawn, kFrame.left, kFrame.top, !step.lit), 0);
    }
  }
  // Each image one pixel wider than the 558-pixel control, made once, given back at setdown.
  EXPECT_THAT(host.drawbot_objects().live_images(),
              ElementsAre(DrawbotImageSize{559, 84}, DrawbotImageSize{559, 84}));
  ASSERT_EQ((std::tuple{host.sequence_setdown(), host.global_setdown()}), std::tuple(0, 0));
  EXPECT_EQ(host.drawbot_objects().counts(), (DrawbotCounts{2, 2, 0}));
  EXPECT_THAT(host.suites().unreleased(), IsEmpty());
  EXPECT_THAT(host.problems(), IsEmpty());

  // Drawn only plain, the banner's one image is given back all the same.
  EffectHost plain(&e2e_plugin::entry_for<WithoutGpu>);
  e2e_plugin::set_up_instance(plain);
  draw(plain);
  ASSERT_EQ((std::tuple{plain.sequence_setdown(), plain.global_setdown()}), std::tuple(0, 0));
  EXPECT_EQ(plain.drawbot_objects().counts(), (DrawbotCounts{1, 1, 0}));
}

TEST(E2eHeaderControl, TheRenderToolsPanelImageShowsTheLitBannerWhileThePointerRestsOnTheLink) {
  const host_test::TempFolder folder;
  for (const auto& [pointer, lit] :
       {std::pair{"", false}, std::pair{"--pointer 200,40", true},
        std::pair{"--pointer 150,20", true}, std::pair{"--pointer 281,64", false}}) {
    SCOPED_TRACE(pointer);
    const ShellRun run =
        run_shell_command(std::string("env -u DISPLAY ") + LUNAFORM_RENDER_PATH + " --controls '" +
                          (folder / "panel.png").string() + "' " + pointer + " 2>&1");
    ASSERT_EQ(run.exit_code, 0) << run.output;
    const RgbImage panel = read_rgb(folder / "panel.png");
    ASSERT_EQ(std::tuple(panel.width, panel.pixels.size()), std::tuple(574, 574u * 120u));
    EXPECT_EQ(differences_from_banner(panel, 8, 28, lit), 0);
    EXPECT_GT(differences_from_banner(panel, 8, 28, !lit), 0);
  }
}

}  // namespace
