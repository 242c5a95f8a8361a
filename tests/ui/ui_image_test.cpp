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

std::array<std::uint8_t, 4> first_pixel(image& picture) {
  const image::pixel_lock lock = picture.lock_pixels();
  return {lock.data[0], lock.data[1], lock.data[2], lock.data[3]};
}

// Straight colour in the file; in memory B, G, R, A with the colour multiplied by alpha, and
// files without alpha opaque. The expectations are worked out by hand: 200 · 51 / 255 = 40.
TEST(UiImage, DecodesEveryColourTypeToPremultipliedBgra) {
  struct decoding {
    const char* what;
    colour_type type;
    std::vector<unsigned char> samples;
    std::array<std::uint8_t, 4> bgra;
  };
  const decoding cases[] = {
      {"half-transparent red", colour_type::rgba, {255, 0, 0, 128}, {0, 0, 128, 128}},
      {"a fifth-opaque orange", colour_type::rgba, {200, 100, 50, 51}, {10, 20, 40, 51}},
      {"fully transparent", colour_type::rgba, {90, 180, 250, 0}, {0, 0, 0, 0}},
      {"opaque green", colour_type::rgba, {0, 255, 0, 255}, {0, 255, 0, 255}},
      {"RGB without alpha", colour_type::rgb, {10, 20, 30}, {30, 20, 10, 255}},
      {"grey", colour_type::grey, {77}, {77, 77, 77, 255}},
      {"grey with alpha", colour_type::grey_alpha, {200, 51}, {40, 40, 40, 51}},
  };
  for (const decoding& c : cases) {
    SCOPED_TRACE(c.what);
    const std::vector<unsigned char> png = ui_test_png::encode(1, 1, c.type, c.samples);
    image picture;
    ASSERT_TRUE(picture.load(png.data(), png.size(), 1.0f));
    EXPECT_EQ(first_pixel(picture), c.bgra);
    const image::pixel_lock lock = picture.lock_pixels();
    EXPECT_EQ(lock.bits_per_pixel, 32);
    EXPECT_EQ(lock.width, 1);
    EXPECT_EQ(lock.height, 1);
    EXPECT_GE(lock.stride, 4);
  }
}

TEST(UiImage, SizeInDipsIsPixelsOverScale) {
  const std::vector<unsigned char> png =
      ui_test_png::encode(6, 8, colour_type::rgb, std::vector<unsigned char>(6 * 8 * 3, 128));
  struct loading {
    float scale;
    int frames;
    float width_dips;
    float height_dips;
  };
  for (const loading& l : {loading{1.0f, 1, 6.0f, 8.0f}, loading{2.0f, 2, 3.0f, 4.0f},
                           loading{1.5f, 4, 4.0f, 8.0f / 1.5f}}) {
    SCOPED_TRACE(l.scale);
    image picture;
    ASSERT_TRUE(picture.load(png.data(), png.size(), l.scale, l.frames));
    EXPECT_EQ(picture.pixel_width(), 6);
    EXPECT_EQ(picture.pixel_height(), 8);
    EXPECT_EQ(picture.frames(), l.frames);
    EXPECT_FLOAT_EQ(picture.size_dips().width, l.width_dips);
    EXPECT_FLOAT_EQ(picture.size_dips().height, l.height_dips);
  }
}

// Whatever cannot be read leaves the image empty, also after an earlier successful load, and
// its pixels cannot be locked or updated.
TEST(UiImage, UnreadableInputLoadsNothing) {
  const std::vector<unsigned char> good =
      ui_test_png::encode(4, 4, colour_type::rgba, std::vector<unsigned char>(4 * 4 * 4, 200));
  const std::string text = "this is plain text, not a picture";
  const std::vector<unsigned char> cut(good.begin(), good.begin() + 40);
  const std::vector<unsigned char> signature_only(good.begin(), good.begin() + 8);
  std::vector<unsigned char> bad_checksum = good;
  bad_checksum[29] ^= 0xff;  // the IHDR chunk's CRC

  struct attempt {
    const char* what;
    const unsigned char* data;
    std::size_t size;
    float scale;
    int frames;
  };
  const attempt attempts[] = {
      {"text", reinterpret_cast<const unsigned char*>(text.data()), text.size(), 1.0f, 1},
      {"a PNG cut short", cut.data(), cut.size(), 1.0f, 1},
      {"only the signature", signature_only.data(), signature_only.size(), 1.0f, 1},
      {"a damaged header", bad_checksum.data(), bad_checksum.size(), 1.0f, 1},
      {"no bytes", nullptr, 0, 1.0f, 1},
      {"scale 0", good.data(), good.size(), 0.0f, 1},
      {"a negative scale", good.data(), good.size(), -2.0f, 1},
      {"no frames", good.data(), good.size(), 1.0f, 0},
  };
  for (const attempt& a : attempts) {
    SCOPED_TRACE(a.what);
    image picture;
    ASSERT_TRUE(picture.load(good.data(), good.size(), 1.0f));
    EXPECT_FALSE(picture.load(a.data, a.size, a.scale, a.frames));
    EXPECT_FALSE(picture.loaded());
    EXPECT_EQ(picture.pixel_width(), 0);
    EXPECT_EQ(picture.pixel_height(), 0);
    try {
      picture.lock_pixels();
      ADD_FAILURE() << "locked the pixels of an empty image";
    } catch (const hx_exception& e) {
      EXPECT_STREQ(e.what(), "unable to lock the bitmap data");
    }
    try {
      picture.update_pixels();
      ADD_FAILURE() << "updated the pixels of an empty image";
    } catch (const hx_exception& e) {
      EXPECT_STREQ(e.what(), "unable to update the bitmap data");
    }
  }
}

}  // namespace
