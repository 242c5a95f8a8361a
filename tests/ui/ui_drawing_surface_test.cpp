#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "plugin/hx_exception.h"
#include "ui/drawing_surface.h"
#include "ui/image.h"

namespace {

using hxsdk::ui::color;
using hxsdk::ui::drawing_surface;
using hxsdk::ui::image;
using hxsdk::ui::rectf;
using bgra = std::array<int, 4>;

constexpr color kRed{1.0f, 0.0f, 0.0f, 1.0f};
constexpr color kBlue{0.0f, 0.0f, 1.0f, 1.0f};
constexpr color kWhite{1.0f, 1.0f, 1.0f, 1.0f};
constexpr bgra kClear{0, 0, 0, 0};

// A PNG of `width` x `height` pixels, straight R, G, B, A bytes a pixel from the top, written by
// cairo's own PNG writer; without alpha (`opaque`) it has no alpha channel at all.
std::vector<unsigned char> png_of(int width, int height, const std::vector<unsigned char>& rgba,
                                  bool opaque = false) {
  cairo_surface_t* pixels =
      cairo_image_surface_create(opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, width, height);
  auto* row = cairo_image_surface_get_data(pixels);
  for (std::size_t i = 0; i < rgba.size() / 4; ++i) {
    const unsigned alpha = opaque ? 255 : rgba[4 * i + 3];
    const auto premultiplied = [&](int c) { return (rgba[4 * i + c] * alpha + 127) / 255; };
    reinterpret_cast<std::uint32_t*>(row)[i] =
        alpha << 24 | premultiplied(0) << 16 | premultiplied(1) << 8 | premultiplied(2);
  }
  cairo_surface_mark_dirty(pixels);
  std::vector<unsigned char> png;
  cairo_surface_write_to_png_stream(
      pixels,
      [](void* out, const unsigned char* data, unsigned length) {
        static_cast<std::vector<unsigned char>*>(out)->insert(
            static_cast<std::vector<unsigned char>*>(out)->end(), data, data + length);
        return CAIRO_STATUS_SUCCESS;
      },
      &png);
  cairo_surface_destroy(pixels);
  return png;
}

bgra pixel(const drawing_surface& s, int x, int y) {
  const std::uint8_t* p = s.pixels() + static_cast<std::ptrdiff_t>(y) * s.stride() + 4 * x;
  return {p[0], p[1], p[2], p[3]};
}

// The pixels that are not clear: left, top, right, bottom (inclusive); right < 0 when none.
struct ink_box {
  int left = std::numeric_limits<int>::max();
  int top = std::numeric_limits<int>::max();
  int right = -1;
  int bottom = -1;
};

ink_box ink(const drawing_surface& s) {
  ink_box box;
  for (int y = 0; y < s.pixel_height(); ++y) {
    for (int x = 0; x < s.pixel_width(); ++x) {
      if (pixel(s, x, y)[3] != 0) {
        box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x),
               std::max(box.bottom, y)};
      }
    }
  }
  return box;
}

// Every pixel in [left, right) x [top, bottom) is `inside` (within `tolerance`), all others clear.
void expect_only(const drawing_surface& s, int left, int top, int right, int bottom,
                 const bgra& inside, int tolerance = 0) {
  for (int y = 0; y < s.pixel_height(); ++y) {
    for (int x = 0; x < s.pixel_width(); ++x) {
      const bool within = x >= left && x < right && y >= top && y < bottom;
      for (int c = 0; c < 4; ++c) {
        ASSERT_NEAR(pixel(s, x, y)[c], (within ? inside : kClear)[c], tolerance) << x << ", " << y;
      }
    }
  }
}

// Stop i sits at i / 21 with alpha 3^(-1.3888888 (t - 1)^2), t = 1 - i / 10: values worked out
// separately, to six figures.
TEST(UiDrawingSurface, ShadowStopsFollowTheirBellCurve) {
  const std::vector<std::pair<float, float>> stops = drawing_surface::shadow_stops();
  ASSERT_EQ(stops.size(), 21u);
  for (const auto& [i, offset, alpha] :
       {std::tuple{0, 0.0f, 1.0f}, std::tuple{5, 0.238095f, 0.682862f},
        std::tuple{10, 0.476190f, 0.217436f}, std::tuple{20, 0.952381f, 0.00223525f}}) {
    EXPECT_NEAR(stops[i].first, offset, 1e-6) << i;
    EXPECT_NEAR(stops[i].second, alpha, alpha * 1e-5) << i;
  }
}

// Rectangles in DIPs land on pixels scaled by the DPI, colour premultiplied; outlines stay
// inside their rectangle; a widget draws from its own origin, clipped to itself, to its parent
// and to the region being painted.
TEST(UiDrawingSurface, ShapesLandOnTheirPixelsInsideTheirClips) {
  drawing_surface doubled(80, 60, 2.0f, 2.0f);
  doubled.fill_rect({10, 5, 8, 6}, kRed);
  expect_only(doubled, 20, 10, 36, 22, {0, 0, 255, 255});
  drawing_surface half(4, 4, 1.0f, 1.0f);
  half.fill_rect({0, 0, 4, 4}, {1.0f, 0.0f, 0.0f, 0.5f});
  EXPECT_EQ(pixel(half, 1, 1), (bgra{0, 0, 128, 128}));

  drawing_surface outline(20, 20, 1.0f, 1.0f);
  outline.stroke_rect({4, 4, 10, 10}, kBlue, 2.0f);
  for (const auto& [x, y, on] :
       {std::tuple{4, 4, true}, std::tuple{5, 13, true}, std::tuple{6, 6, false},
        std::tuple{3, 4, false}, std::tuple{14, 13, false}}) {
    EXPECT_EQ(pixel(outline, x, y)[3] != 0, on) << x << ", " << y;
  }
  drawing_surface dotted(24, 24, 1.0f, 1.0f);
  dotted.stroke_dotted_rect({0, 0, 24, 24}, kWhite, 1.0f);
  int dots = 0;
  for (int x = 2; x < 22; ++x) {
    dots += pixel(dotted, x, 0)[3] != 0 ? 1 : 0;
  }
  EXPECT_EQ(dots, 10) << "every other pixel";

  drawing_surface nested(40, 30, 1.0f, 1.0f);
  const rectf everything{-100, -100, 300, 300};
  nested.begin_widget({0, 0, 40, 30}, {10, 8}, {6, 5});
  nested.fill_rect(everything, kRed);
  nested.begin_widget({0, 0, 40, 30}, {14, 10}, {10, 10});
  nested.fill_rect(everything, kBlue);
  nested.end_widget();
  nested.end_widget();
  nested.end_widget();  // one too many does nothing
  for (int y = 0; y < 30; ++y) {
    for (int x = 0; x < 40; ++x) {
      const bool child = x >= 14 && x < 16 && y >= 10 && y < 13;
      const bool parent = x >= 10 && x < 16 && y >= 8 && y < 13;
      const bgra expected = child ? bgra{255, 0, 0, 255} : parent ? bgra{0, 0, 255, 255} : kClear;
      ASSERT_EQ(pixel(nested, x, y), expected) << x << ", " << y;
    }
  }
  drawing_surface updated(40, 30, 2.0f, 2.0f);
  updated.begin_widget({0, 0, 12, 9}, {10, 8}, {6, 5});
  updated.fill_rect(everything, kRed);
  updated.end_widget();
  expect_only(updated, 20, 16, 24, 18, {0, 0, 255, 255});
}

ink_box text_ink(int horizontal, int vertical, float scale = 1.0f, int weight = 0, int style = 0,
                 bool underline = false) {
  drawing_surface surface(static_cast<int>(300 * scale), static_cast<int>(60 * scale), scale,
                          scale);
  surface.set_font("Tahoma", 20.0f, weight, style, underline);
  surface.set_alignment(horizontal, vertical);
  surface.draw_text("Lunaform", {0, 0, 300, 60}, kWhite);
  return ink(surface);
}

// Alignment moves the text by the free space of its box (all of it for right and bottom, half
// for centre and for unknown codes); weight, style, underline and DPI change the letters; long
// text wraps at the box width, and an empty text measures nothing.
TEST(UiDrawingSurface, TextIsPlacedSizedAndWrappedAsItsFormatSays) {
  drawing_surface measurer(1, 1, 1.0f, 1.0f);
  measurer.set_font("Tahoma", 20.0f, 0, 0, false);
  const hxsdk::ui::sizef text = measurer.measure_text("Lunaform", 300, 60);
  const float free_x = 300 - text.width;
  const float free_y = 60 - text.height;
  const ink_box left_top = text_ink(0, 1);
  EXPECT_LE(left_top.left, 4);
  for (const auto& [h, v, moved_x, moved_y] :
       {std::tuple{1, 1, free_x / 2, 0.0f}, std::tuple{2, 1, free_x, 0.0f},
        std::tuple{5, 1, free_x / 2, 0.0f}, std::tuple{0, 0, 0.0f, free_y / 2},
        std::tuple{0, 2, 0.0f, free_y}, std::tuple{0, 7, 0.0f, free_y / 2}}) {
    const ink_box moved = text_ink(h, v);
    EXPECT_NEAR(moved.left - left_top.left, moved_x, 1.5) << h << ", " << v;
    EXPECT_NEAR(moved.top - left_top.top, moved_y, 1.5) << h << ", " << v;
  }

  const auto width = [](const ink_box& b) { return b.right - b.left + 1; };
  EXPECT_NEAR(width(text_ink(0, 1, 2.0f)), 2.0 * width(left_top), 0.1 * width(left_top));
  EXPECT_GT(width(text_ink(0, 1, 1.0f, 2)), width(left_top));           // bold
  EXPECT_EQ(width(text_ink(0, 1, 1.0f, 9)), width(left_top));           // unknown weight: normal
  EXPECT_GT(text_ink(0, 1, 1.0f, 0, 0, true).bottom, left_top.bottom);  // underlined
  EXPECT_GT(text_ink(0, 1, 1.0f, 0, 1).right, left_top.right);          // italic leans right

  std::string many;
  for (int i = 0; i < 30; ++i) {
    many += "word ";
  }
  const hxsdk::ui::sizef word = measurer.measure_text("word", 100, 0);
  const hxsdk::ui::sizef wrapped = measurer.measure_text(many, 100, 0);
  EXPECT_LE(wrapped.width, 100.0f);
  EXPECT_GT(wrapped.height, 3 * word.height);
  EXPECT_FLOAT_EQ(measurer.measure_text(many, 0, 0).height, word.height);
  EXPECT_EQ(measurer.measure_text("", 100, 100).width, 0.0f);
  EXPECT_GT(measurer.measure_text("\xff\xfe ok", 100, 0).width, 0.0f);
}

// On white, the shadow of a box is black under it and fades out within `spread` beyond the box
// moved by `offset`, at the corners as along the edges.
TEST(UiDrawingSurface, ShadowsFadeOutBeyondTheirBounds) {
  drawing_surface surface(60, 60, 1.0f, 1.0f);
  surface.fill_rect({0, 0, 60, 60}, kWhite);
  surface.draw_shadow({10, 10, 30, 30}, 3.0f, 6.0f);  // the moved box spans 13 to 43
  EXPECT_EQ(pixel(surface, 28, 28), (bgra{0, 0, 0, 255}));
  for (int x = 39; x <= 48; ++x) {
    EXPECT_GE(pixel(surface, x, 28)[1], pixel(surface, x - 1, 28)[1]) << x;
  }
  EXPECT_LT(pixel(surface, 41, 28)[1], 128);
  EXPECT_EQ(pixel(surface, 48, 28)[1], 255);
  EXPECT_EQ(pixel(surface, 8, 28)[1], 255);
  EXPECT_NEAR(pixel(surface, 40, 44)[1], pixel(surface, 28, 44)[1], 2);
}

// Frame 0 is red and frame 1 blue, each 2 x 2 pixels: one frame is drawn, scaled, with its
// opacity; pixels written through the lock show once updated.
TEST(UiDrawingSurface, ImagesDrawOneFrameScaledWithItsOpacity) {
  std::vector<unsigned char> samples;
  for (int i = 0; i < 8; ++i) {
    samples.insert(samples.end(), {static_cast<unsigned char>(i < 4 ? 255 : 0), 0,
                                   static_cast<unsigned char>(i < 4 ? 0 : 255), 255});
  }
  const std::vector<unsigned char> png = png_of(2, 4, samples);
  image picture;
  ASSERT_TRUE(picture.load(png.data(), png.size(), 1.0f, 2));
  for (const auto& [frame, opacity, inside] :
       {std::tuple{1, 1.0f, bgra{255, 0, 0, 255}}, std::tuple{0, 0.5f, bgra{0, 0, 128, 128}},
        std::tuple{2, 1.0f, kClear}, std::tuple{-1, 1.0f, kClear}}) {
    drawing_surface surface(16, 16, 1.0f, 1.0f);
    surface.draw_image(picture, {4, 4, 8, 8}, frame, opacity);
    expect_only(surface, 4, 4, 12, 12, inside, 1);
  }

  const image::pixel_lock lock = picture.lock_pixels();
  for (int y = 0; y < 2; ++y) {
    std::uint8_t* row = lock.data + static_cast<std::ptrdiff_t>(y) * lock.stride;
    std::fill(row, row + 8, 255);
  }
  picture.update_pixels();
  drawing_surface surface(16, 16, 1.0f, 1.0f);
  surface.draw_image(picture, {0, 0, 16, 16}, 0, 1.0f);
  expect_only(surface, 0, 0, 16, 16, {255, 255, 255, 255});
}

// A size cairo cannot hold fails with the render target's message and leaves a resized surface
// as it was; 0 x 0 is a legal, empty surface; a scale that is no number stands for 96 DPI.
TEST(UiDrawingSurface, ImpossibleSizesFailWithTheirMessage) {
  for (const auto& [width, height] : {std::pair{-1, 10}, std::pair{10, 40000}}) {
    try {
      drawing_surface surface(width, height, 1.0f, 1.0f);
      ADD_FAILURE() << "made an impossible surface";
    } catch (const hx_exception& e) {
      EXPECT_STREQ(e.what(), "unable to create a d2d render target");
    }
    drawing_surface surface(10, 10, 1.0f, 1.0f);
    EXPECT_THROW(surface.resize(width, height), hx_exception);
    surface.fill_rect({0, 0, 10, 10}, kRed);
    EXPECT_EQ(pixel(surface, 9, 9)[3], 255);
  }
  drawing_surface empty(0, 0, 1.0f, 1.0f);
  empty.begin_widget({0, 0, 10, 10}, {0, 0}, {10, 10});
  empty.fill_rect({0, 0, 10, 10}, kRed);
  empty.draw_text("nothing to see", {0, 0, 10, 10}, kWhite);
  empty.end_widget();
  drawing_surface unknown_dpi(10, 10, std::nanf(""), 0.0f);
  unknown_dpi.fill_rect({0, 0, 5, 5}, kRed);
  expect_only(unknown_dpi, 0, 0, 5, 5, {0, 0, 255, 255});
}

// Straight colour in the file; in memory B, G, R, A with the colour multiplied by alpha, and
// files without alpha opaque (worked out by hand: 200 · 51 / 255 = 40). Size in DIPs is pixels
// over the scale.
TEST(UiImage, DecodesToPremultipliedBgraOfItsSizeInDips) {
  for (const auto& [rgba, opaque, expected] :
       {std::tuple{std::vector<unsigned char>{200, 100, 50, 51}, false, bgra{10, 20, 40, 51}},
        std::tuple{std::vector<unsigned char>{90, 180, 250, 0}, false, kClear},
        std::tuple{std::vector<unsigned char>{10, 20, 30, 99}, true, bgra{30, 20, 10, 255}}}) {
    const std::vector<unsigned char> png = png_of(1, 1, rgba, opaque);
    image picture;
    ASSERT_TRUE(picture.load(png.data(), png.size(), 1.0f));
    const image::pixel_lock lock = picture.lock_pixels();
    EXPECT_NEAR(lock.data[0], expected[0], 1);
    EXPECT_NEAR(lock.data[1], expected[1], 1);
    EXPECT_NEAR(lock.data[2], expected[2], 1);
    EXPECT_EQ(lock.data[3], expected[3]);
  }
  const std::vector<unsigned char> png = png_of(6, 8, std::vector<unsigned char>(6 * 8 * 4, 128));
  image picture;
  ASSERT_TRUE(picture.load(png.data(), png.size(), 1.5f, 4));
  EXPECT_EQ(picture.frames(), 4);
  EXPECT_FLOAT_EQ(picture.size_dips().width, 4.0f);
  EXPECT_FLOAT_EQ(picture.size_dips().height, 8.0f / 1.5f);
}

// Whatever cannot be read leaves the image empty, also after an earlier successful load, and
// its pixels can then be neither locked nor updated.
TEST(UiImage, UnreadableInputLoadsNothing) {
  const std::vector<unsigned char> good = png_of(4, 4, std::vector<unsigned char>(4 * 4 * 4, 200));
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
