#include <cairo.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <thread>

#include "tests/ui/ui_window_support.h"
#include "ui/embedded_images.h"

namespace {

// Where lunaform-render puts the header control in its panel, and the control's link area.
constexpr int kControlLeft = 8;
constexpr int kControlTop = 28;
constexpr int kBannerHeight = 84;

// The committed banner, read with cairo's own PNG reader: 0xRRGGBB of (x, y).
class banner_pixels {
 public:
  banner_pixels() {
    struct reader {
      std::span<const unsigned char> bytes;
      std::size_t at = 0;
    } source{hxsdk::ui::embedded_images::effect_banner};
    surface_.reset(cairo_image_surface_create_from_png_stream(
        [](void* closure, unsigned char* out, unsigned int length) {
          auto& r = *static_cast<reader*>(closure);
          if (length > r.bytes.size() - r.at) {
            return CAIRO_STATUS_READ_ERROR;
          }
          std::copy_n(r.bytes.begin() + static_cast<std::ptrdiff_t>(r.at), length, out);
          r.at += length;
          return CAIRO_STATUS_SUCCESS;
        },
        &source));
  }
  std::uint32_t at(int x, int y) const {
    const unsigned char* row =
        cairo_image_surface_get_data(surface_.get()) +
        static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface_.get());
    return reinterpret_cast<const std::uint32_t*>(row)[x] & 0xFFFFFF;
  }

 private:
  std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface_{
      nullptr, cairo_surface_destroy};
};

bool within_one(std::uint32_t a, std::uint32_t b) {
  for (int shift = 0; shift < 24; shift += 8) {
    if (std::abs(static_cast<int>((a >> shift) & 0xFF) - static_cast<int>((b >> shift) & 0xFF)) >
        1) {
      return false;
    }
  }
  return true;
}

// Waits up to five seconds for `condition`: the renderer's window redraws in its own time.
bool eventually(const std::function<bool()>& condition) {
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > give_up) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

// The effect's controls in lunaform-render's window: the link lights while the pointer is on it
// and goes dark when it leaves, a click on it hands the product page to the desktop's opener
// (here a stand-in xdg-open that notes its argument), and Escape closes the window.
TEST(UiModuleDialogs, TheControlsWindowLightsTheLinkUnderThePointerAndOpensItOnAClick) {
  const ui_test::stand_in_opener xdg_open;
  ui_test::x_session person;
  person.move_to(1900, 1900);  // away from where the window will appear
  ui_test::render_tool_process tool({"--controls"}, {xdg_open.path_entry()});
  const unsigned long panel = person.wait_for_window("Lunaform effect controls");
  ASSERT_NE(panel, 0u);

  // A pixel of the link area where the lit banner differs from the plain one.
  const banner_pixels banner;
  int link_x = 150;
  const int link_y = 42;
  while (link_x < 280 &&
         within_one(banner.at(link_x, link_y), banner.at(link_x, link_y + kBannerHeight))) {
    ++link_x;
  }
  ASSERT_LT(link_x, 280);
  const auto shows = [&](int banner_row) {
    return [&, banner_row] {
      const std::uint32_t shown =
          person.pixels_of(panel, {kControlLeft + link_x, kControlTop + link_y, 1, 1})[0];
      return within_one(shown, banner.at(link_x, banner_row));
    };
  };
  EXPECT_TRUE(eventually(shows(link_y)));
  person.click_at(panel, kControlLeft + 200, kControlTop + 30, false);
  EXPECT_TRUE(eventually(shows(link_y + kBannerHeight))) << "lit under the pointer";
  person.click_at(panel, kControlLeft + 100, kControlTop + 30, false);
  EXPECT_TRUE(eventually(shows(link_y))) << "dark again once the pointer left";

  person.click_at(panel, kControlLeft + 200, kControlTop + 30, false);
  ASSERT_TRUE(eventually(shows(link_y + kBannerHeight)));
  person.click(1);
  const std::vector<std::string> calls = xdg_open.wait_for_calls();
  person.tap("Escape");
  EXPECT_EQ(tool.wait(), 0);
  ASSERT_EQ(calls.size(), 2u) << "opened once, with one argument";
  EXPECT_TRUE(calls[1].ends_with("/lunaform/?v=1.0.2.66")) << calls[1];
}

}  // namespace
