// The effect's header control (its first parameter): the banner drawn through the host's
// DRAWBOT suites, its link lit under the pointer and opening the product page on a click, in
// process and through lunaform-render's panel image. Drawn pixels are compared with the banner
// file the module builds in, decoded here with OpenImageIO rather than the module's decoder.
#include <OpenImageIO/imageio.h>
#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
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

using e2e_plugin::entry_for;
using e2e_plugin::real_module_entry;
using lunaform::host::ControlEvent;
using lunaform::host::DrawbotCounts;
using lunaform::host::DrawbotImageSize;
using lunaform::host::EffectHost;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

// An image as rows of red, green, blue from the top.
struct RgbImage {
  int width = 0;
  int height = 0;
  std::vector<std::array<std::uint8_t, 3>> pixels;
  const std::array<std::uint8_t, 3>& at(int x, int y) const {
    return pixels[std::size_t(y) * std::size_t(width) + std::size_t(x)];
  }
};

// The colour channels of an 8-bit image file; empty (with a test failure) when it cannot be read.
RgbImage read_rgb(const std::filesystem::path& file) {
  RgbImage image;
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string());
  const int channels = input ? input->spec().nchannels : 0;
  std::vector<std::uint8_t> bytes(input ? input->spec().image_pixels() * std::size_t(channels) : 0);
  if (channels < 3 || !input->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT8, bytes.data())) {
    ADD_FAILURE() << "cannot read " << file << ": " << OIIO::geterror();
    return image;
  }
  image.width = input->spec().width;
  image.height = input->spec().height;
  for (std::size_t i = 0; i < bytes.size(); i += std::size_t(channels)) {
    image.pixels.push_back({bytes[i], bytes[i + 1], bytes[i + 2]});
  }
  return image;
}

// The colour of an opaque cairo ARGB32 surface.
RgbImage surface_rgb(cairo_surface_t* surface) {
  cairo_surface_flush(surface);
  RgbImage image{cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface)};
  const unsigned char* data = cairo_image_surface_get_data(surface);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      std::uint32_t word = 0;
      std::memcpy(&word, data + y * cairo_image_surface_get_stride(surface) + x * 4, sizeof word);
      image.pixels.push_back(
          {std::uint8_t(word >> 16), std::uint8_t(word >> 8), std::uint8_t(word)});
    }
  }
  return image;
}

// How many pixels of the 558 x 84 control whose top-left corner is `corner` in `panel` differ
// from the banner file's lit half (rows 84 to 167) or plain half (rows 0 to 83).
int differences_from_banner(const RgbImage& panel, PF_Point corner, bool lit) {
  static const RgbImage banner = read_rgb(
      std::filesystem::path(__FILE__).parent_path().parent_path() / "ui/images/effect_banner.png");
  int differences = 0;
  for (int y = 0; y < 84; ++y) {
    for (int x = 0; x < 558; ++x) {
      differences += panel.at(corner.h + x, corner.v + y) != banner.at(x, y + (lit ? 84 : 0));
    }
  }
  return differences;
}

// The header control where this host's panel puts it: under a title strip whose bottom edge is
// 4 pixels above the control.
constexpr PF_ParamIndex kHeader = 1;
constexpr PF_Rect kFrame{8, 28, 566, 112};
constexpr PF_Rect kTitle{0, 0, 574, 24};

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

// A panel image filled with one opaque colour, so that anything drawn on it shows.
std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> blank_panel() {
  cairo_surface_t* panel = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 574, 120);
  cairo_t* canvas = cairo_create(panel);
  cairo_set_source_rgb(canvas, 0.0, 1.0, 0.0);
  cairo_paint(canvas);
  cairo_destroy(canvas);
  return {panel, cairo_surface_destroy};
}

// Draws the header control into `panel`; returns the event as the module left it.
ControlEvent draw(EffectHost& host, cairo_surface_t* panel, PF_ParamIndex index = kHeader,
                  PF_EventInFlags in_flags = PF_EI_NONE) {
  ControlEvent event = event_at(PF_Event_DRAW, 0, 0, index);
  event.target = panel;
  event.in_flags = in_flags;
  EXPECT_EQ(host.send_event(event), PF_Err_NONE);
  EXPECT_EQ(event.out_flags, PF_EO_HANDLED_EVENT);
  return event;
}

// The plug-in object without a GPU side, which the header's events never need.
struct WithoutGpu : AePluginConnection {
  WithoutGpu() : AePluginConnection([]() -> std::unique_ptr<RenderState> { return nullptr; }) {}
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

TEST(E2eHeaderControl, OnlyAClickOnTheLinkBelowTheTitleOpensThePageAndEveryClickThereDrags) {
  EffectHost host(&entry_for<WithoutGpu>);
  e2e_plugin::set_up_instance(host);
  struct Case {
    const char* where;
    int x, y;          // in the control's frame
    int title_bottom;  // the title frame's bottom edge, from the control's top
    PF_ParamIndex index;
    bool opens, drags;
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
    ASSERT_EQ(host.send_event(click), PF_Err_NONE);
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
      ASSERT_EQ(host.send_event(click), PF_Err_NONE);
      EXPECT_FALSE(click.send_drag);
      EXPECT_EQ(click.continuation[0], 0);
      EXPECT_EQ(click.out_flags, PF_EO_HANDLED_EVENT | PF_EO_ALWAYS_UPDATE);
    }
  }
  // Drawn only plain, the banner's one image is given back at global setdown all the same.
  const auto panel = blank_panel();
  draw(host, panel.get());
  EXPECT_EQ(host.drawbot_objects().counts(), (DrawbotCounts{1, 0, 1}));
  ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
  ASSERT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.drawbot_objects().counts(), (DrawbotCounts{1, 1, 0}));
}

TEST(E2eHeaderControl, TheLinkIsLitFromTheCursorEventOverItUntilOneElsewhereFromTwoImagesMadeOnce) {
  EffectHost host(real_module_entry());
  e2e_plugin::set_up_instance(host);
  const auto panel = blank_panel();
  const RgbImage blank = surface_rgb(panel.get());
  draw(host, panel.get(), kHeader, PF_EI_DONT_DRAW);
  draw(host, panel.get(), 2);
  EXPECT_EQ(surface_rgb(panel.get()).pixels, blank.pixels) << "nothing is drawn";
  EXPECT_EQ(host.drawbot_objects().counts().images_made, 0);

  struct Step {
    const char* pointer;
    PF_ParamIndex index;
    PF_EffectArea area;
    int x, y;
    PF_CursorType cursor;
    bool lit;  // at the next draw
  };
  // In order, twice: each step starts from the state the previous one left.
  const Step steps[] = {
      {"on the link", kHeader, PF_EA_CONTROL, 200, 40, PF_Cursor_FINGER_POINTER, true},
      {"beside the link", kHeader, PF_EA_CONTROL, 281, 64, PF_Cursor_ARROW, false},
      {"on the link's corner", kHeader, PF_EA_CONTROL, 150, 20, PF_Cursor_FINGER_POINTER, true},
      {"at the same place over another parameter", 2, PF_EA_CONTROL, 150, 20, PF_Cursor_ARROW,
       false},
      {"on the link, seen from the title", kHeader, PF_EA_PARAM_TITLE, 200, 40, PF_Cursor_ARROW,
       true},
      {"left of the link", kHeader, PF_EA_CONTROL, 149, 20, PF_Cursor_ARROW, false},
  };
  for (int round = 0; round < 2; ++round) {
    for (const Step& step : steps) {
      SCOPED_TRACE(step.pointer);
      ControlEvent cursor = event_at(PF_Event_ADJUST_CURSOR, step.x, step.y, step.index);
      cursor.area = step.area;
      ASSERT_EQ(host.send_event(cursor), PF_Err_NONE);
      EXPECT_EQ(cursor.cursor, step.cursor);
      EXPECT_EQ(cursor.out_flags, PF_EO_HANDLED_EVENT);
      draw(host, panel.get());
      const RgbImage drawn = surface_rgb(panel.get());
      EXPECT_EQ(differences_from_banner(drawn, {kFrame.left, kFrame.top}, step.lit), 0);
      EXPECT_GT(differences_from_banner(drawn, {kFrame.left, kFrame.top}, !step.lit), 0);
    }
  }
  // One pixel wider than the 558-pixel control.
  EXPECT_THAT(host.drawbot_objects().live_images(),
              ElementsAre(DrawbotImageSize{559, 84}, DrawbotImageSize{559, 84}));
  EXPECT_EQ(host.drawbot_objects().counts().images_made, 2);
  ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
  ASSERT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.drawbot_objects().counts(), (DrawbotCounts{2, 2, 0}));
  EXPECT_THAT(host.suites().unreleased(), IsEmpty());
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST(E2eHeaderControl, TheRenderToolsPanelImageShowsTheLitBannerWhileThePointerRestsOnTheLink) {
  const host_test::TempFolder folder;
  for (const auto& [pointer, lit] :
       {std::pair{"", false}, std::pair{"--pointer 200,40", true},
        std::pair{"--pointer 150,20", true}, std::pair{"--pointer 281,64", false}}) {
    SCOPED_TRACE(pointer);
    const std::filesystem::path out = folder / "panel.png";
    // Without a display, whatever the test's environment has: nothing may wait for a user.
    const ShellRun run =
        run_shell_command(std::string("env -u DISPLAY ") + LUNAFORM_RENDER_PATH + " --controls '" +
                          out.string() + "' " + pointer + " 2>&1");
    ASSERT_EQ(run.exit_code, 0) << run.output;
    const RgbImage panel = read_rgb(out);
    ASSERT_EQ(panel.width, 574);
    ASSERT_EQ(panel.height, 120);
    // Where the help text and the README put the header control on the panel.
    EXPECT_EQ(differences_from_banner(panel, {8, 28}, lit), 0);
    EXPECT_GT(differences_from_banner(panel, {8, 28}, !lit), 0);
  }
}

}  // namespace
