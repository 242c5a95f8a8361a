// The planet example's committed textures against its texture generator.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <stdexcept>

#include "host/footage.h"
#include "tools/planet_textures.h"

namespace {

using planet_textures::map_kind;

// Every seventh pixel each way (the debug build is slow) of every committed texture.
TEST(PlanetCommittedTextures, FilesHoldWhatTheGeneratorMakesWhichRefusesImpossibleSizes) {
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
  using planet_textures::make_map;
  EXPECT_THROW(make_map(map_kind::diffuse, 0, 8), std::invalid_argument);
  EXPECT_THROW(make_map(map_kind::bump, 8, -1), std::invalid_argument);
  EXPECT_THROW(make_map(static_cast<map_kind>(7), 8, 4), std::invalid_argument);
  EXPECT_THROW(make_map(map_kind::environment, 65536, 32768), std::invalid_argument);
}

}  // namespace
