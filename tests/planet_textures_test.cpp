// The planet example's texture generator, and the committed textures against it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "host/footage.h"
#include "tools/planet_textures.h"

namespace {

using planet_textures::make_map;
using planet_textures::map_kind;

TEST(PlanetTextures, MapsAreRepeatableOpaqueInRangeAndMeetThemselvesAtTheSeam) {
  struct Case {
    map_kind kind;
    bool sky, grey;
  };
  for (const Case& c :
       {Case{map_kind::diffuse, false, false}, Case{map_kind::bump, false, true},
        Case{map_kind::glossiness, false, true}, Case{map_kind::city_lights, false, false},
        Case{map_kind::environment, true, false}}) {
    SCOPED_TRACE(static_cast<int>(c.kind));
    // The sky is larger, so that its stars are sparse enough for the seam's median below.
    const int width = c.sky ? 512 : 256, height = width / 2;
    const std::vector<float> map = make_map(c.kind, width, height);
    ASSERT_EQ(map.size(), std::size_t(width) * height * 4);
    EXPECT_EQ(make_map(c.kind, width, height), map) << "a second run differs";
    const planet_textures::map_painter painter(c.kind, width, height);
    const auto at = [&](int x, int y) { return &map[(std::size_t(y) * width + x) * 4]; };
    float largest = 0.0f;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const float* p = at(x, y);
        ASSERT_EQ(p[3], 1.0f) << x << ", " << y;
        for (int channel = 0; channel < 3; ++channel) {
          ASSERT_TRUE(std::isfinite(p[channel]) && p[channel] >= 0.0f) << x << ", " << y;
          largest = std::max(largest, p[channel]);
        }
        ASSERT_TRUE(!c.grey || (p[0] == p[1] && p[1] == p[2])) << x << ", " << y;
        if ((x * 7 + y * 3) % 41 == 0) {
          const std::array<float, 4> single = painter.pixel(x, y);
          ASSERT_TRUE(std::equal(single.begin(), single.end(), p)) << "painter differs " << x;
        }
      }
    }
    EXPECT_EQ(largest > 1.0f, c.sky) << "only the sky's stars are brighter than white";
    // The first and last columns are the same meridian seen from both sides: a map painted
    // from flat (u, v) noise would jump there as much as two unrelated columns differ. Column
    // difference: |a - b| clipped to 0..1 over the channels, the mean over the rows, for the
    // sky the median (its stars are single pixels no neighbour shares). The city lights' dots
    // are a pixel or two wide, so no column is more alike its neighbour than a distant one:
    // they are left out (the same sphere places them).
    if (c.kind == map_kind::city_lights) {
      continue;
    }
    const auto differ = [&](int a, int b) {
      std::vector<double> rows(height);
      for (int y = 0; y < height; ++y) {
        for (int channel = 0; channel < 3; ++channel) {
          rows[y] +=
              std::abs(std::min(at(a, y)[channel], 1.0f) - std::min(at(b, y)[channel], 1.0f));
        }
      }
      std::sort(rows.begin(), rows.end());
      double mean = 0.0;
      for (const double row : rows) {
        mean += row / height;
      }
      return c.sky ? rows[height / 2] : mean;
    };
    double neighbours = 0.0, unrelated = 0.0;
    for (int x = 0; x + 1 < width; ++x) {
      neighbours = std::max(neighbours, differ(x, x + 1));
      unrelated += differ(x, (x + width / 2) % width) / (width - 1);
    }
    EXPECT_LE(differ(width - 1, 0), neighbours);
    EXPECT_GT(unrelated, 1.5 * neighbours) << "columns half a turn apart must differ more";
  }
  EXPECT_THROW(make_map(map_kind::diffuse, 0, 8), std::invalid_argument);
  EXPECT_THROW(make_map(map_kind::bump, 8, -1), std::invalid_argument);
  EXPECT_THROW(make_map(static_cast<map_kind>(7), 8, 4), std::invalid_argument);
  EXPECT_THROW(make_map(map_kind::environment, 65536, 32768), std::invalid_argument);
}

// Every committed texture is what the generator makes now, so the repository cannot drift
// from its generator. Every seventh pixel each way is compared (the debug build is slow).
TEST(PlanetCommittedTextures, FilesHoldWhatTheGeneratorMakes) {
  struct Stored {
    const char* file;
    map_kind kind;
    int bits;  // 0: lossy JPEG; -1: Radiance HDR, an 8-bit mantissa under a shared exponent
  };
  const std::filesystem::path folder =
      std::filesystem::path(__FILE__).parent_path().parent_path() / "examples/images/planet";
  std::uintmax_t total_bytes = 0;
  for (const Stored& stored :
       {Stored{"diffuse.jpg", map_kind::diffuse, 0}, Stored{"bump.png", map_kind::bump, 16},
        Stored{"glossiness.tif", map_kind::glossiness, 8},
        Stored{"city-lights.png", map_kind::city_lights, 8},
        Stored{"environment.hdr", map_kind::environment, -1}}) {
    SCOPED_TRACE(stored.file);
    total_bytes += std::filesystem::file_size(folder / stored.file);
    const lunaform::host::Image image = lunaform::host::read_footage(folder / stored.file).image;
    ASSERT_TRUE(image.width == 1024 && image.height == 512) << image.width << " x " << image.height;
    const planet_textures::map_painter painter(stored.kind, image.width, image.height);
    double error_sum = 0.0, largest_error = 0.0;
    int compared = 0;
    for (int y = 3; y < image.height; y += 7) {
      for (int x = 5; x < image.width; x += 7) {
        const std::array<float, 4> made = painter.pixel(x, y);
        const float* read = &image.rgba[(std::size_t(y) * image.width + x) * 4];
        // Integers round to the nearest step; a mantissa step is at most 2^e / 256, with 2^e
        // below twice the brightest channel.
        const double bound = stored.bits > 0   ? 0.5 / ((1 << stored.bits) - 1) + 1e-6
                             : stored.bits < 0 ? std::max({made[0], made[1], made[2]}) / 128 + 1e-9
                                               : 1.0;
        for (int channel = 0; channel < 3; ++channel) {
          const double error = std::abs(static_cast<double>(read[channel]) - made[channel]);
          error_sum += error;
          largest_error = std::max(largest_error, error);
          ++compared;
          ASSERT_LE(error, bound) << x << ", " << y << " channel " << channel;
        }
        EXPECT_EQ(read[3], 1.0f);
      }
    }
    if (stored.bits == 0) {
      // Quality 92 with chroma subsampling: small on average; at a sharp coast two pixels share
      // their colour, which can move a channel by a good part of the step from sea to desert.
      EXPECT_LT(error_sum / compared, 0.01);
      EXPECT_LT(largest_error, 0.4);
    }
  }
  EXPECT_LT(total_bytes, 3u * 1024u * 1024u) << "the example's textures should stay small";
}

}  // namespace
