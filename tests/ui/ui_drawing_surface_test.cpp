#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "plugin/hx_exception.h"
#include "tests/ui/ui_png_bytes.h"
#include "ui/drawing_surface.h"
#include "ui/image.h"

namespace {

using hxsdk::ui::color;
using hxsdk::ui::drawing_surface;
using hxsdk::ui::image;
using hxsdk::ui::rectf;

constexpr color kRed{1.0f, 0.0f, 0.0f, 1.0f};
constexpr color kBlue{0.0f, 0.0f, 1.0f, 1.0f};
constexpr color kWhite{1.0f, 1.0f, 1.0f, 1.0f};

// B, G, R, A of one pixel.
std::array<int, 4> pixel(const drawing_surface& s, int x, int y) {
  const std::uint8_t* p = s.pixels() + static_cast<std::ptrdiff_t>(y) * s.stride() + 4 * x;
  return {p[0], p[1], p[2], p[3]};
}

bool painted(const drawing_surface& s, int x, int y) {
  return pixel(s, x, y)[3] != 0;
}

// The smallest rectangle of pixels that are not fully transparent: left, top, right, bottom
// (inclusive).
struct ink_box {
  int left = std::numeric_limits<int>::max();
  int top = std::numeric_limits<int>::max();
  int right = -1;
  int bottom = -1;
  bool empty() const { return right < 0; }
};

ink_box ink(const drawing_surface& s) {
  ink_box box;
  for (int y = 0; y < s.pixel_height(); ++y) {
    for (int x = 0; x < s.pixel_width(); ++x) {
      if (painted(s, x, y)) {
        box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x),
               std::max(box.bottom, y)};
      }
    }
  }
  return box;
}

// Every pixel inside [left, right) x [top, bottom) is `inside` (each channel within
// `tolerance`), every other one is clear.
void expect_only_area_painted(const drawing_surface& s, int left, int top, int right, int bottom,
                              const std::array<int, 4>& inside, int tolerance = 0) {
  for (int y = 0; y < s.pixel_height(); ++y) {
    for (int x = 0; x < s.pixel_width(); ++x) {
      const bool within = x >= left && x < right && y >= top && y < bottom;
      const std::array<int, 4> expected = within ? inside : std::array<int, 4>{0, 0, 0, 0};
      const std::array<int, 4> actual = pixel(s, x, y);
      for (int channel = 0; channel < 4; ++channel) {
        ASSERT_NEAR(actual[channel], expected[channel], tolerance)
            << "channel " << channel << " at " << x << ", " << y;
      }
    }
  }
}

// Stop i sits at i / 21 with alpha 3^(-1.3888888 (t - 1)^2), t = 1 - i / 10: values worked out
// separately, to six figures.
TEST(UiDrawingSurface, ShadowStopsFollowTheirBellCurve) {
  const std::vector<std::pair<float, float>> stops = drawing_surface::shadow_stops();
  ASSERT_EQ(stops.size(), 21u);
  struct stop {
    int index;
    float offset;
    float alpha;
  };
  for (const stop& s :
       {stop{0, 0.0f, 1.0f}, stop{5, 0.238095f, 0.682862f}, stop{10, 0.476190f, 0.217436f},
        stop{15, 0.714286f, 0.0322847f}, stop{20, 0.952381f, 0.00223525f}}) {
    SCOPED_TRACE(s.index);
    EXPECT_NEAR(stops[s.index].first, s.offset, 1e-6);
    EXPECT_NEAR(stops[s.index].second, s.alpha, s.alpha * 1e-5);
  }
  for (std::size_t i = 1; i < stops.size(); ++i) {
    EXPECT_GT(stops[i].first, stops[i - 1].first);
    EXPECT_LT(stops[i].second, stops[i - 1].second);
  }
}

// DIPs become pixels by the DPI: at 192 DPI every DIP is two pixels.
TEST(UiDrawingSurface, FillsCoverTheirRectangleScaledToPixels) {
  for (const float scale : {1.0f, 2.0f, 3.0f}) {
    SCOPED_TRACE(scale);
    const int s = static_cast<int>(scale);
    drawing_surface surface(40 * s, 30 * s, scale, scale);
    surface.fill_rect({10, 5, 8, 6}, kRed);
    expect_only_area_painted(surface, 10 * s, 5 * s, 18 * s, 11 * s, {0, 0, 255, 255});
  }
  drawing_surface surface(20, 20, 1.0f, 1.0f);
  surface.fill_rect({2, 2, 4, 4}, {1.0f, 0.0f, 0.0f, 0.5f});
  const std::array<int, 4> half_red = pixel(surface, 3, 3);
  EXPECT_EQ(half_red[0], 0);
  EXPECT_NEAR(half_red[2], 128, 1);  // premultiplied
  EXPECT_NEAR(half_red[3], 128, 1);
}

TEST(UiDrawingSurface, OutlinesLieInsideTheirRectangle) {
  drawing_surface surface(20, 20, 1.0f, 1.0f);
  surface.stroke_rect({4, 4, 10, 10}, kBlue, 2.0f);
  for (const auto& [x, y, on] : std::vector<std::tuple<int, int, bool>>{{4, 4, true},
                                                                        {5, 5, true},
                                                                        {6, 6, false},
                                                                        {3, 4, false},
                                                                        {4, 3, false},
                                                                        {13, 13, true},
                                                                        {12, 12, true},
                                                                        {11, 11, false},
                                                                        {14, 13, false},
                                                                        {8, 4, true}}) {
    EXPECT_EQ(painted(surface, x, y), on) << x << ", " << y;
  }

  drawing_surface dotted(24, 24, 1.0f, 1.0f);
  dotted.stroke_dotted_rect({0, 0, 24, 24}, kWhite, 1.0f);
  int dots = 0;
  int gaps = 0;
  for (int x = 2; x < 22; ++x) {
    (painted(dotted, x, 0) ? dots : gaps) += 1;
    EXPECT_FALSE(painted(dotted, x, 1)) << x;
  }
  EXPECT_GE(dots, 8);
  EXPECT_GE(gaps, 8);
}

// A widget paints in its own coordinates, inside its rectangle and the update rectangle, and a
// child inside its parent too.
TEST(UiDrawingSurface, WidgetsAreClippedAndMovedToTheirOrigin) {
  drawing_surface surface(40, 30, 1.0f, 1.0f);
  const rectf everything{-100, -100, 300, 300};
  surface.begin_widget({0, 0, 40, 30}, {10, 8}, {6, 5});
  surface.fill_rect(everything, kRed);
  surface.begin_widget({0, 0, 40, 30}, {14, 10}, {10, 10});
  surface.fill_rect(everything, kBlue);
  surface.end_widget();
  surface.fill_rect({0, 0, 1, 1}, kWhite);  // the parent's origin again
  surface.end_widget();
  surface.end_widget();  // one too many does nothing

  for (int y = 0; y < 30; ++y) {
    for (int x = 0; x < 40; ++x) {
      std::array<int, 4> expected{0, 0, 0, 0};
      if (x == 10 && y == 8) {
        expected = {255, 255, 255, 255};
      } else if (x >= 14 && x < 16 && y >= 10 && y < 13) {
        expected = {255, 0, 0, 255};
      } else if (x >= 10 && x < 16 && y >= 8 && y < 13) {
        expected = {0, 0, 255, 255};
      }
      ASSERT_EQ(pixel(surface, x, y), expected) << x << ", " << y;
    }
  }

  drawing_surface updated(40, 30, 2.0f, 2.0f);
  updated.begin_widget({0, 0, 12, 9}, {10, 8}, {6, 5});
  updated.fill_rect(everything, kRed);
  updated.end_widget();
  expect_only_area_painted(updated, 20, 16, 24, 18, {0, 0, 255, 255});
}

struct text_layout {
  int horizontal;
  int vertical;
};

ink_box text_ink(text_layout layout, float scale = 1.0f, int weight = 0, int style = 0,
                 bool underline = false) {
  drawing_surface surface(static_cast<int>(300 * scale), static_cast<int>(60 * scale), scale,
                          scale);
  surface.set_font("Tahoma", 20.0f, weight, style, underline);
  surface.set_alignment(layout.horizontal, layout.vertical);
  surface.draw_text("Lunaform", {0, 0, 300, 60}, kWhite);
  return ink(surface);
}

// The text's own box (its measured size) moves by the free space: all of it for right and bottom
// alignment, half for centred; "Tahoma" is drawn in whatever face stands in for it.
TEST(UiDrawingSurface, AlignmentMovesTextWithinItsBox) {
  drawing_surface measurer(1, 1, 1.0f, 1.0f);
  measurer.set_font("Tahoma", 20.0f, 0, 0, false);
  const hxsdk::ui::sizef text = measurer.measure_text("Lunaform", 300, 60);
  ASSERT_GT(text.width, 40.0f);
  ASSERT_GT(text.height, 15.0f);
  const float free_width = 300 - text.width;
  const float free_height = 60 - text.height;

  const ink_box left_top = text_ink({0, 1});
  ASSERT_FALSE(left_top.empty());
  EXPECT_LE(left_top.left, 4);
  struct placement {
    text_layout layout;
    float moved_x;
    float moved_y;
  };
  for (const placement& p :
       {placement{{1, 1}, free_width / 2, 0}, placement{{2, 1}, free_width, 0},
        placement{{5, 1}, free_width / 2, 0}, placement{{0, 0}, 0, free_height / 2},
        placement{{0, 2}, 0, free_height}, placement{{0, 7}, 0, free_height / 2},
        placement{{2, 2}, free_width, free_height}}) {
    SCOPED_TRACE(testing::Message() << p.layout.horizontal << ", " << p.layout.vertical);
    const ink_box moved = text_ink(p.layout);
    EXPECT_NEAR(moved.left - left_top.left, p.moved_x, 1.5);
    EXPECT_NEAR(moved.right - left_top.right, p.moved_x, 1.5);
    EXPECT_NEAR(moved.top - left_top.top, p.moved_y, 1.5);
  }
}

TEST(UiDrawingSurface, FontCodesAndDpiChangeTheText) {
  const ink_box normal = text_ink({0, 1});
  const auto width = [](const ink_box& b) { return b.right - b.left + 1; };

  const ink_box doubled = text_ink({0, 1}, 2.0f);
  EXPECT_NEAR(width(doubled), 2.0 * width(normal), 0.1 * width(normal));

  EXPECT_GT(width(text_ink({0, 1}, 1.0f, 2)), width(normal));  // bold
  for (const int other : {-1, 3, 9}) {
    const ink_box same = text_ink({0, 1}, 1.0f, other);
    EXPECT_EQ(width(same), width(normal)) << other;
  }
  EXPECT_GT(text_ink({0, 1}, 1.0f, 0, 0, true).bottom, normal.bottom);  // underlined
  // Italic letters lean right: the top of the last letter reaches further than upright.
  EXPECT_GT(text_ink({0, 1}, 1.0f, 0, 1).right, normal.right);
}

TEST(UiDrawingSurface, LongTextWrapsAtTheBoxWidth) {
  drawing_surface surface(1, 1, 1.0f, 1.0f);
  surface.set_font("Verdana", 12.0f, 0, 0, false);
  const hxsdk::ui::sizef word = surface.measure_text("word", 100, 0);
  std::string many;
  for (int i = 0; i < 30; ++i) {
    many += "word ";
  }
  const hxsdk::ui::sizef wrapped = surface.measure_text(many, 100, 0);
  EXPECT_LE(wrapped.width, 100.0f);
  EXPECT_GT(wrapped.height, 3 * word.height);
  const hxsdk::ui::sizef unbounded = surface.measure_text(many, 0, 0);
  EXPECT_FLOAT_EQ(unbounded.height, word.height);
  EXPECT_GT(unbounded.width, 10 * word.width);

  const hxsdk::ui::sizef empty = surface.measure_text("", 100, 100);
  EXPECT_EQ(empty.width, 0.0f);
  EXPECT_EQ(empty.height, 0.0f);
  const hxsdk::ui::sizef broken = surface.measure_text("\xff\xfe ok", 100, 0);
  EXPECT_GT(broken.width, 0.0f);
}

// On a white background the shadow of a box is dark under it and fades out within `spread`
// beyond the box moved by `offset`.
TEST(UiDrawingSurface, ShadowsFadeOutBeyondTheirBounds) {
  drawing_surface surface(60, 60, 1.0f, 1.0f);
  surface.fill_rect({0, 0, 60, 60}, kWhite);
  surface.draw_shadow({10, 10, 30, 30}, 3.0f, 6.0f);  // the moved box spans 13 to 43
  EXPECT_EQ(pixel(surface, 28, 28), (std::array<int, 4>{0, 0, 0, 255}));
  int previous = -1;
  for (int x = 38; x <= 48; ++x) {
    const int grey = pixel(surface, x, 28)[1];
    EXPECT_GE(grey, previous) << x;
    previous = grey;
  }
  EXPECT_LT(pixel(surface, 41, 28)[1], 128);  // just beside the box that casts it
  EXPECT_GT(pixel(surface, 43, 28)[1], pixel(surface, 42, 28)[1]);
  EXPECT_EQ(pixel(surface, 48, 28)[1], 255);
  EXPECT_EQ(pixel(surface, 28, 48)[1], 255);
  EXPECT_EQ(pixel(surface, 8, 28)[1], 255);
  EXPECT_EQ(pixel(surface, 28, 8)[1], 255);
  // The corners fade as the edges do, at the same distance.
  EXPECT_NEAR(pixel(surface, 40, 44)[1], pixel(surface, 28, 44)[1], 2);
}

// Frame 0 is red, frame 1 blue; each is 2 x 2 pixels.
TEST(UiDrawingSurface, ImagesDrawOneFrameScaledWithItsOpacity) {
  std::vector<unsigned char> samples;
  for (int i = 0; i < 8; ++i) {
    const bool red = i < 4;
    samples.insert(samples.end(), {static_cast<unsigned char>(red ? 255 : 0), 0,
                                   static_cast<unsigned char>(red ? 0 : 255), 255});
  }
  const std::vector<unsigned char> png =
      ui_test_png::encode(2, 4, ui_test_png::colour_type::rgba, samples);
  image picture;
  ASSERT_TRUE(picture.load(png.data(), png.size(), 1.0f, 2));

  struct drawing {
    int frame;
    float opacity;
    std::optional<std::array<int, 4>> inside;
  };
  for (const drawing& d : {drawing{1, 1.0f, std::array<int, 4>{255, 0, 0, 255}},
                           drawing{0, 1.0f, std::array<int, 4>{0, 0, 255, 255}},
                           drawing{0, 0.5f, std::array<int, 4>{0, 0, 128, 128}},
                           drawing{2, 1.0f, std::nullopt}, drawing{-1, 1.0f, std::nullopt}}) {
    SCOPED_TRACE(testing::Message() << "frame " << d.frame << ", opacity " << d.opacity);
    drawing_surface surface(16, 16, 1.0f, 1.0f);
    surface.draw_image(picture, {4, 4, 8, 8}, d.frame, d.opacity);
    if (d.inside) {
      expect_only_area_painted(surface, 4, 4, 12, 12, *d.inside, 1);
    } else {
      EXPECT_TRUE(ink(surface).empty());
    }
  }

  // Pixels written through the lock show in the next drawing once updated.
  const image::pixel_lock lock = picture.lock_pixels();
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 2; ++x) {
      std::uint8_t* p = lock.data + static_cast<std::ptrdiff_t>(y) * lock.stride + 4 * x;
      p[0] = 0;
      p[1] = 255;
      p[2] = 0;
      p[3] = 255;
    }
  }
  picture.update_pixels();
  drawing_surface surface(16, 16, 1.0f, 1.0f);
  surface.draw_image(picture, {0, 0, 16, 16}, 0, 1.0f);
  expect_only_area_painted(surface, 0, 0, 16, 16, {0, 255, 0, 255});
}

// A surface cannot be made or resized to a size cairo cannot hold; a 0 x 0 one is legal and
// empty, and a scale that is no number stands for 96 DPI.
TEST(UiDrawingSurface, ImpossibleSizesFailWithTheirMessage) {
  struct attempt {
    int width;
    int height;
  };
  for (const attempt& a :
       {attempt{-1, 10}, attempt{10, -1}, attempt{40000, 10}, attempt{10, 40000}}) {
    SCOPED_TRACE(testing::Message() << a.width << " x " << a.height);
    try {
      drawing_surface surface(a.width, a.height, 1.0f, 1.0f);
      ADD_FAILURE() << "made an impossible surface";
    } catch (const hx_exception& e) {
      EXPECT_STREQ(e.what(), "unable to create a d2d render target");
    }
    drawing_surface surface(10, 10, 1.0f, 1.0f);
    try {
      surface.resize(a.width, a.height);
      ADD_FAILURE() << "resized to an impossible size";
    } catch (const hx_exception& e) {
      EXPECT_STREQ(e.what(), "unable to create a d2d render target");
    }
    EXPECT_EQ(surface.pixel_width(), 10);
    surface.fill_rect({0, 0, 10, 10}, kRed);
    EXPECT_TRUE(painted(surface, 9, 9));
  }

  drawing_surface empty(0, 0, 1.0f, 1.0f);
  EXPECT_EQ(empty.pixel_width(), 0);
  empty.begin_widget({0, 0, 10, 10}, {0, 0}, {10, 10});
  empty.fill_rect({0, 0, 10, 10}, kRed);
  empty.draw_text("nothing to see", {0, 0, 10, 10}, kWhite);
  empty.draw_shadow({0, 0, 10, 10}, 3.0f, 6.0f);
  empty.end_widget();
  empty.resize(4, 3);
  empty.fill_rect({0, 0, 4, 3}, kRed);
  EXPECT_TRUE(painted(empty, 3, 2));

  drawing_surface unknown_dpi(10, 10, std::nanf(""), 0.0f);
  unknown_dpi.fill_rect({0, 0, 5, 5}, kRed);
  EXPECT_TRUE(painted(unknown_dpi, 4, 4));
  EXPECT_FALSE(painted(unknown_dpi, 5, 5));
}

}  // namespace
