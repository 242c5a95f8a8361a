#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "plugin/hx_exception.h"
#include "tests/ui/ui_png_bytes.h"
#include "ui/image.h"

namespace {

using hxsdk::ui::image;
using ui_test_png::colour_type;

// Straight colour in the file; in memory B, G, R, A with the colour multiplied by alpha, and
// files without alpha opaque (worked out by hand: 200 · 51 / 255 = 40). Size in DIPs is pixels
// over the scale.
TEST(UiImage, DecodesEveryColourTypeToPremultipliedBgra) {
  struct decoding {
    colour_type type;
    std::vector<unsigned char> samples;
    std::array<std::uint8_t, 4> bgra;
  };
  for (const decoding& c : {
           decoding{colour_type::rgba, {200, 100, 50, 51}, {10, 20, 40, 51}},
           decoding{colour_type::rgba, {90, 180, 250, 0}, {0, 0, 0, 0}},
           decoding{colour_type::rgb, {10, 20, 30}, {30, 20, 10, 255}},
           decoding{colour_type::grey, {77}, {77, 77, 77, 255}},
           decoding{colour_type::grey_alpha, {200, 51}, {40, 40, 40, 51}},
       }) {
    SCOPED_TRACE(static_cast<int>(c.type));
    const std::vector<unsigned char> png = ui_test_png::encode(1, 1, c.type, c.samples);
    image picture;
    ASSERT_TRUE(picture.load(png.data(), png.size(), 1.0f));
    const image::pixel_lock lock = picture.lock_pixels();
    EXPECT_EQ((std::array<std::uint8_t, 4>{lock.data[0], lock.data[1], lock.data[2], lock.data[3]}),
              c.bgra);
    EXPECT_EQ(lock.bits_per_pixel, 32);
  }

  const std::vector<unsigned char> png =
      ui_test_png::encode(6, 8, colour_type::rgb, std::vector<unsigned char>(6 * 8 * 3, 128));
  image picture;
  ASSERT_TRUE(picture.load(png.data(), png.size(), 1.5f, 4));
  EXPECT_EQ(picture.pixel_width(), 6);
  EXPECT_EQ(picture.frames(), 4);
  EXPECT_FLOAT_EQ(picture.size_dips().width, 4.0f);
  EXPECT_FLOAT_EQ(picture.size_dips().height, 8.0f / 1.5f);
}

// Whatever cannot be read leaves the image empty, also after an earlier successful load, and
// its pixels can then be neither locked nor updated.
TEST(UiImage, UnreadableInputLoadsNothing) {
  const std::vector<unsigned char> good =
      ui_test_png::encode(4, 4, colour_type::rgba, std::vector<unsigned char>(4 * 4 * 4, 200));
  const std::string text = "this is plain text, not a picture";
  std::vector<unsigned char> bad_checksum = good;
  bad_checksum[29] ^= 0xff;  // the IHDR chunk's CRC
  struct attempt {
    const char* what;
    const unsigned char* data;
    std::size_t size;
    float scale;
    int frames;
  };
  for (const attempt& a : {
           attempt{"text", reinterpret_cast<const unsigned char*>(text.data()), text.size(), 1, 1},
           attempt{"a PNG cut short", good.data(), 40, 1.0f, 1},
           attempt{"a damaged header", bad_checksum.data(), bad_checksum.size(), 1.0f, 1},
           attempt{"scale 0", good.data(), good.size(), 0.0f, 1},
           attempt{"no frames", good.data(), good.size(), 1.0f, 0},
       }) {
    SCOPED_TRACE(a.what);
    image picture;
    ASSERT_TRUE(picture.load(good.data(), good.size(), 1.0f));
    EXPECT_FALSE(picture.load(a.data, a.size, a.scale, a.frames));
    EXPECT_FALSE(picture.loaded());
    EXPECT_EQ(picture.pixel_width(), 0);
    EXPECT_THROW(
        {
          try {
            picture.lock_pixels();
          } catch (const hx_exception& e) {
            EXPECT_STREQ(e.what(), "unable to lock the bitmap data");
            throw;
          }
        },
        hx_exception);
    EXPECT_THROW(picture.update_pixels(), hx_exception);
  }
}

}  // namespace
