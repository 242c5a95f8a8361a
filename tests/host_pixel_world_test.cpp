#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "host/host_error.h"
#include "host/layer_geometry.h"
#include "host/pixel_world.h"

namespace {

using lunaform::host::HostError;
using lunaform::host::LayerSize;
using lunaform::host::PixelWorld;
using testing::HasSubstr;

TEST(PixelWorld, RowsArePaddedBeyondWidthTimesPixelSizeAtEveryDepth) {
  struct Case {
    int bits;
    size_t pixel_bytes;  // four channels of bits / 8 bytes
  };
  for (const Case c : {Case{8, 4}, Case{16, 8}, Case{32, 16}}) {
    SCOPED_TRACE(c.bits);
    const PixelWorld world(37, 5, c.bits);
    const PF_EffectWorld& w = world.world();
    EXPECT_EQ(w.width, 37);
    EXPECT_EQ(w.height, 5);
    EXPECT_EQ(world.pixel_bytes(), c.pixel_bytes);
    EXPECT_EQ(static_cast<size_t>(w.rowbytes), (37 + 8) * c.pixel_bytes);
    EXPECT_GT(static_cast<size_t>(w.rowbytes), 37 * c.pixel_bytes);
    EXPECT_NE(w.data, nullptr);
    EXPECT_EQ((w.world_flags & PF_WorldFlag_DEEP) != 0, c.bits == 16);
    EXPECT_EQ(w.extent_hint.right, 37);
    EXPECT_EQ(w.extent_hint.bottom, 5);
  }
}

TEST(PixelWorld, StartsClearAndNoticesWritesPastARowEnd) {
  PixelWorld world(10, 3, 8);
  for (A_long y = 0; y < 3; ++y) {
    const auto row = world.row(y);
    EXPECT_TRUE(std::all_of(row.begin(), row.end(), [](std::byte b) { return b == std::byte{0}; }));
  }
  EXPECT_TRUE(world.padding_intact());

  // Writing every pixel of every row through the world record stays inside the rows.
  auto* base = reinterpret_cast<std::byte*>(world.world()->data);
  for (A_long y = 0; y < 3; ++y) {
    std::fill_n(base + y * world.world()->rowbytes, 10 * 4, std::byte{0xFF});
  }
  EXPECT_TRUE(world.padding_intact());

  // One pixel too many on the middle row, as a module that assumes packed rows would write.
  std::fill_n(base + world.world()->rowbytes + 10 * 4, 4, std::byte{0xFF});
  EXPECT_FALSE(world.padding_intact());

  world.clear();
  EXPECT_TRUE(world.padding_intact());
  EXPECT_EQ(world.row(1)[0], std::byte{0});
}

TEST(PixelWorld, RefusesImpossibleDepthsAndSizes) {
  struct Case {
    A_long width, height;
    int bits;
    const char* message;
  };
  for (const Case c :
       {Case{4, 4, 12, "unsupported bit depth 12"}, Case{-1, 4, 8, "impossible image size -1 x 4"},
        Case{4, 30001, 8, "impossible image size 4 x 30001"}}) {
    SCOPED_TRACE(c.message);
    EXPECT_THAT([&] { PixelWorld(c.width, c.height, c.bits); },
                testing::ThrowsMessage<HostError>(HasSubstr(c.message)));
  }
}

TEST(LayerGeometry, DownsampledSidesRoundUp) {
  struct Case {
    LayerSize size;
    PF_RationalScale x, y;
    LayerSize expected;  // ceil(side * num / den), worked out by hand
  };
  const Case cases[] = {
      {{1920, 1080}, {1, 1}, {1, 1}, {1920, 1080}}, {{1920, 1080}, {1, 2}, {1, 2}, {960, 540}},
      {{1921, 1081}, {1, 2}, {1, 2}, {961, 541}},   {{1921, 1080}, {1, 3}, {1, 4}, {641, 270}},
      {{1000, 7}, {2, 3}, {1, 2}, {667, 4}},        {{0, 0}, {1, 2}, {1, 2}, {0, 0}},
  };
  for (const Case& c : cases) {
    const LayerSize result = lunaform::host::downsampled(c.size, c.x, c.y);
    EXPECT_EQ(result.width, c.expected.width)
        << c.size.width << " at " << c.x.num << "/" << c.x.den;
    EXPECT_EQ(result.height, c.expected.height)
        << c.size.height << " at " << c.y.num << "/" << c.y.den;
  }
}

TEST(LayerGeometry, IntersectionIsTheCommonPartOrEmpty) {
  using lunaform::host::intersection;
  using lunaform::host::is_empty;
  const PF_LRect a{0, 0, 960, 540};
  const PF_LRect inside = intersection(a, {100, 50, 500, 300});
  EXPECT_EQ(inside.left, 100);
  EXPECT_EQ(inside.top, 50);
  EXPECT_EQ(inside.right, 500);
  EXPECT_EQ(inside.bottom, 300);
  const PF_LRect overlap = intersection(a, {900, -10, 1200, 20});
  EXPECT_EQ(overlap.left, 900);
  EXPECT_EQ(overlap.top, 0);
  EXPECT_EQ(overlap.right, 960);
  EXPECT_EQ(overlap.bottom, 20);
  const PF_LRect apart = intersection(a, {1000, 0, 1100, 10});
  EXPECT_TRUE(is_empty(apart));
  EXPECT_EQ(apart.left, 0);
  EXPECT_EQ(apart.right, 0);
  EXPECT_TRUE(is_empty({5, 5, 5, 10}));
  EXPECT_FALSE(is_empty({5, 5, 6, 6}));
}

}  // namespace
