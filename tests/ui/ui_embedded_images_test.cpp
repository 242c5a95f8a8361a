#include <gtest/gtest.h>

#include <cairo.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <vector>

#include "tools/ui_images.h"
#include "ui/embedded_images.h"
#include "ui/image.h"

namespace {

using hxsdk::ui::image;

const std::filesystem::path kImageFolder =
    std::filesystem::path(__FILE__).parent_path().parent_path().parent_path() / "ui/images";

std::vector<unsigned char> read_file(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The four bytes of pixel (x, y) of a 32-bit image: B, G, R and A (or unused) in memory.
const std::uint8_t* at(const std::uint8_t* data, int stride, int x, int y) {
  return data + static_cast<std::ptrdiff_t>(y) * stride + 4 * x;
}

struct embedded {
  const char* file;
  std::span<const unsigned char> bytes;
  ui_images::surface_ptr (*draw)();
  int width;
  int height;
  bool alpha;
};

// The module carries the committed files byte for byte, and they hold what the generator draws
// now, so the repository cannot drift away from its generator. Colour with alpha goes through
// the PNG file unpremultiplied, which may round a channel by one step.
TEST(UiEmbeddedImages, CommittedFilesHoldWhatTheGeneratorDraws) {
  const embedded images[] = {
      {"checkbox.png", hxsdk::ui::embedded_images::checkbox, ui_images::draw_checkbox, 14, 28,
       true},
      {"message_popup_icon.png", hxsdk::ui::embedded_images::message_popup_icon,
       ui_images::draw_message_popup_icon, 28, 24, true},
      {"effect_banner.png", hxsdk::ui::embedded_images::effect_banner,
       ui_images::draw_effect_banner, 559, 168, false},
  };
  for (const embedded& e : images) {
    SCOPED_TRACE(e.file);
    const std::vector<unsigned char> committed = read_file(kImageFolder / e.file);
    ASSERT_FALSE(committed.empty());
    EXPECT_TRUE(std::equal(committed.begin(), committed.end(), e.bytes.begin(), e.bytes.end()));

    image decoded;
    ASSERT_TRUE(decoded.load(e.bytes.data(), e.bytes.size(), 1.0f));
    ASSERT_EQ(decoded.pixel_width(), e.width);
    ASSERT_EQ(decoded.pixel_height(), e.height);
    const image::pixel_lock file_pixels = decoded.lock_pixels();

    const ui_images::surface_ptr drawn = e.draw();
    ASSERT_EQ(cairo_image_surface_get_width(drawn.get()), e.width);
    ASSERT_EQ(cairo_image_surface_get_height(drawn.get()), e.height);
    const std::uint8_t* drawn_pixels = cairo_image_surface_get_data(drawn.get());
    const int drawn_stride = cairo_image_surface_get_stride(drawn.get());

    int worst = 0;
    for (int y = 0; y < e.height; ++y) {
      for (int x = 0; x < e.width; ++x) {
        const std::uint8_t* from_file = at(file_pixels.data, file_pixels.stride, x, y);
        const std::uint8_t* from_generator = at(drawn_pixels, drawn_stride, x, y);
        for (int channel = 0; channel < (e.alpha ? 4 : 3); ++channel) {
          worst = std::max(worst, std::abs(from_file[channel] - from_generator[channel]));
        }
        if (!e.alpha) {
          ASSERT_EQ(from_file[3], 255) << x << ", " << y;
        }
      }
    }
    EXPECT_LE(worst, e.alpha ? 1 : 0);
  }
}

// What the effect's header relies on: 559 x 168, 8-bit RGB without alpha (the PNG header says
// so: bit depth at byte 24, colour type 2 at byte 25), and the lower banner equal to the upper
// one outside the link area (columns 150 to 280, rows 20 to 64), lit inside it.
TEST(UiEmbeddedImages, BannerHalvesDifferOnlyInsideTheLink) {
  const std::span<const unsigned char> png = hxsdk::ui::embedded_images::effect_banner;
  ASSERT_GT(png.size(), 26u);
  EXPECT_EQ(png[24], 8);
  EXPECT_EQ(png[25], 2);

  image banner;
  ASSERT_TRUE(banner.load(png.data(), png.size(), 1.0f));
  ASSERT_EQ(banner.pixel_width(), 559);
  ASSERT_EQ(banner.pixel_height(), 168);
  const image::pixel_lock pixels = banner.lock_pixels();
  int lit = 0;
  for (int y = 0; y < 84; ++y) {
    for (int x = 0; x < 559; ++x) {
      const std::uint8_t* upper = at(pixels.data, pixels.stride, x, y);
      const std::uint8_t* lower = at(pixels.data, pixels.stride, x, y + 84);
      const bool same = std::equal(upper, upper + 4, lower);
      if (x >= 150 && x <= 280 && y >= 20 && y <= 64) {
        lit += same ? 0 : 1;
      } else {
        ASSERT_TRUE(same) << "outside the link at " << x << ", " << y;
      }
    }
  }
  EXPECT_GT(lit, 131 * 45 / 2);  // the lit button fills most of the link area
}

// The check box's second frame adds the mark to the first; the warning sign stands on a clear
// background.
TEST(UiEmbeddedImages, FramesAndTransparencyAreWhereTheControlsExpectThem) {
  image check_box;
  ASSERT_TRUE(check_box.load(hxsdk::ui::embedded_images::checkbox.data(),
                             hxsdk::ui::embedded_images::checkbox.size(), 1.0f, 2));
  const image::pixel_lock box = check_box.lock_pixels();
  int marked = 0;
  for (int y = 0; y < 14; ++y) {
    for (int x = 0; x < 14; ++x) {
      marked += std::equal(at(box.data, box.stride, x, y), at(box.data, box.stride, x, y) + 4,
                           at(box.data, box.stride, x, y + 14))
                    ? 0
                    : 1;
    }
  }
  EXPECT_GT(marked, 10);
  EXPECT_EQ(at(box.data, box.stride, 7, 2)[3], 255);  // the box itself is opaque

  image icon;
  ASSERT_TRUE(icon.load(hxsdk::ui::embedded_images::message_popup_icon.data(),
                        hxsdk::ui::embedded_images::message_popup_icon.size(), 1.0f));
  const image::pixel_lock sign = icon.lock_pixels();
  EXPECT_EQ(at(sign.data, sign.stride, 0, 0)[3], 0);
  EXPECT_EQ(at(sign.data, sign.stride, 27, 0)[3], 0);
  EXPECT_EQ(at(sign.data, sign.stride, 14, 20)[3], 255);
}

}  // namespace
