#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "host/footage.h"
#include "tools/planet_textures.h"

namespace {

using planet_textures::map_kind;

const std::filesystem::path kFolder =
    std::filesystem::path(__FILE__).parent_path().parent_path() / "examples/images/planet";

// How far a stored value may sit from the generator's, by what the file type keeps.
enum class Storage {
  jpeg,     // lossy: judged by the mean error and a bound on single pixels
  integer,  // 8 or 16 bits: rounding to the nearest step
  rgbe,     // Radiance HDR: an 8-bit mantissa per channel under the pixel's shared exponent
};

struct StoredMap {
  const char* file;
  map_kind kind;
  Storage storage;
  int bits;  // integer storage
};

constexpr std::array<StoredMap, 5> kMaps = {{
    {"diffuse.jpg", map_kind::diffuse, Storage::jpeg, 8},
    {"bump.png", map_kind::bump, Storage::integer, 16},
    {"glossiness.tif", map_kind::glossiness, Storage::integer, 8},
    {"city-lights.png", map_kind::city_lights, Storage::integer, 8},
    {"environment.hdr", map_kind::environment, Storage::rgbe, 0},
}};

// Every committed texture is what the generator makes now at the file's size, so the
// repository cannot drift away from its generator. Every seventh pixel in each direction is
// compared (the generator's debug build is slow); a change of the planet moves far more.
TEST(PlanetCommittedTextures, FilesHoldWhatTheGeneratorMakes) {
  std::uintmax_t total_bytes = 0;
  for (const StoredMap& stored : kMaps) {
    SCOPED_TRACE(stored.file);
    const std::filesystem::path file = kFolder / stored.file;
    total_bytes += std::filesystem::file_size(file);
    const lunaform::host::Footage footage = lunaform::host::read_footage(file);
    const lunaform::host::Image& image = footage.image;
    EXPECT_EQ(image.width, 1024);
    EXPECT_EQ(image.height, 512);
    const planet_textures::map_painter painter(stored.kind, image.width, image.height);

    const double step = stored.bits > 0 ? 1.0 / ((1 << stored.bits) - 1) : 0.0;
    double error_sum = 0.0;
    double largest_error = 0.0;
    int compared = 0;
    for (int y = 3; y < image.height; y += 7) {
      for (int x = 5; x < image.width; x += 7) {
        const std::array<float, 4> made = painter.pixel(x, y);
        const float* read = image.rgba.data() + (static_cast<std::size_t>(y) * image.width + x) * 4;
        const double brightest = std::max({made[0], made[1], made[2]});
        for (int channel = 0; channel < 3; ++channel) {
          const double error = std::abs(static_cast<double>(read[channel]) - made[channel]);
          error_sum += error;
          largest_error = std::max(largest_error, error);
          ++compared;
          if (stored.storage == Storage::integer) {
            ASSERT_LE(error, 0.5 * step + 1e-6) << x << ", " << y << " channel " << channel;
          } else if (stored.storage == Storage::rgbe) {
            // The mantissa step is at most 2^e / 256 with 2^e below twice the brightest channel.
            ASSERT_LE(error, brightest / 128.0 + 1e-9) << x << ", " << y << " channel " << channel;
          }
        }
        EXPECT_EQ(read[3], 1.0f);
      }
    }
    if (stored.storage == Storage::jpeg) {
      // Quality 92 with chroma subsampling: small on average; at a sharp coast the colour of
      // two pixels is shared, which can move a channel by a good part of the step from sea to
      // desert.
      EXPECT_LT(error_sum / compared, 0.01);
      EXPECT_LT(largest_error, 0.4);
    }
  }
  EXPECT_LT(total_bytes, 3u * 1024u * 1024u) << "the example's textures should stay small";
}

}  // namespace
