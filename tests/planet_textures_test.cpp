#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <vector>

#include "tools/planet_textures.h"

namespace {

using planet_textures::make_map;
using planet_textures::map_kind;

// A map made by make_map with its size, read pixel by pixel.
struct Map {
  int width = 0;
  int height = 0;
  std::vector<float> rgba;

  Map(map_kind kind, int w, int h) : width(w), height(h), rgba(make_map(kind, w, h)) {}

  const float* at(int x, int y) const {
    return rgba.data() + (static_cast<std::size_t>(y) * width + x) * 4;
  }
};

struct KindCase {
  map_kind kind;
  const char* name;
  bool unbounded;  // linear light, may exceed 1
  bool grey;       // red, green and blue equal
};

constexpr std::array<KindCase, 5> kKinds = {{
    {map_kind::diffuse, "diffuse", false, false},
    {map_kind::bump, "bump", false, true},
    {map_kind::glossiness, "glossiness", false, true},
    {map_kind::city_lights, "city lights", false, false},
    {map_kind::environment, "environment", true, false},
}};

TEST(PlanetTextures, EveryMapIsRepeatableOpaqueAndInRange) {
  for (const KindCase& c : kKinds) {
    SCOPED_TRACE(c.name);
    const Map map(c.kind, 96, 48);
    ASSERT_EQ(map.rgba.size(), 96u * 48u * 4u);
    EXPECT_EQ(make_map(c.kind, 96, 48), map.rgba) << "a second run gave other values";

    const planet_textures::map_painter painter(c.kind, 96, 48);
    float largest = 0.0f;
    for (int y = 0; y < map.height; ++y) {
      for (int x = 0; x < map.width; ++x) {
        const float* p = map.at(x, y);
        EXPECT_EQ(p[3], 1.0f) << x << ", " << y;
        for (int channel = 0; channel < 3; ++channel) {
          ASSERT_TRUE(std::isfinite(p[channel])) << x << ", " << y;
          EXPECT_GE(p[channel], 0.0f) << x << ", " << y;
          if (!c.unbounded) {
            EXPECT_LE(p[channel], 1.0f) << x << ", " << y;
          }
          largest = std::max(largest, p[channel]);
        }
        if (c.grey) {
          EXPECT_TRUE(p[0] == p[1] && p[1] == p[2]) << x << ", " << y;
        }
        if ((x * 7 + y * 3) % 41 == 0) {
          const std::array<float, 4> single = painter.pixel(x, y);
          EXPECT_TRUE(std::equal(single.begin(), single.end(), p))
              << "the painter and the whole map differ at " << x << ", " << y;
        }
      }
    }
    if (c.unbounded) {
      EXPECT_GT(largest, 1.0f) << "no star is brighter than white";
    }
  }
}

// The difference of columns a and b, row by row: |a - b| summed over red, green and blue, with
// values clipped to 0..1 so that a bright star counts no more than a white pixel.
std::vector<double> row_differences(const Map& map, int a, int b) {
  std::vector<double> rows;
  for (int y = 0; y < map.height; ++y) {
    double d = 0.0;
    for (int channel = 0; channel < 3; ++channel) {
      d += std::abs(std::clamp(map.at(a, y)[channel], 0.0f, 1.0f) -
                    std::clamp(map.at(b, y)[channel], 0.0f, 1.0f));
    }
    rows.push_back(d);
  }
  return rows;
}

double mean(const std::vector<double>& values) {
  double sum = 0.0;
  for (double v : values) {
    sum += v;
  }
  return sum / static_cast<double>(values.size());
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

TEST(PlanetTextures, FirstAndLastColumnsMeetLikeNeighbours) {
  // The left and right edges are the same meridian seen from both sides. A map painted from
  // flat (u, v) noise would jump there: its edge difference would be that of two unrelated
  // columns, far above any pair of neighbours inside the map.
  // The sky is judged by the median row: stars are single pixels that no neighbour shares,
  // and only the median sees whether what lies behind them runs on across the edge. The city
  // lights are left out: their dots are one or two pixels wide, so neighbouring columns are no
  // more alike than distant ones anywhere; they are placed by the same sphere as the others.
  // The sky is larger, so that its stars are sparse enough for the median to see past them.
  struct SeamCase {
    map_kind kind;
    const char* name;
    bool by_median;
    int width;
  };
  const SeamCase cases[] = {
      {map_kind::diffuse, "diffuse", false, 256},
      {map_kind::bump, "bump", false, 256},
      {map_kind::glossiness, "glossiness", false, 256},
      {map_kind::environment, "environment", true, 512},
  };
  for (const SeamCase& c : cases) {
    SCOPED_TRACE(c.name);
    const Map map(c.kind, c.width, c.width / 2);
    const auto difference = [&](int a, int b) {
      const std::vector<double> rows = row_differences(map, a, b);
      return c.by_median ? median(rows) : mean(rows);
    };
    double largest_inside = 0.0;
    double unrelated = 0.0;
    for (int x = 0; x + 1 < map.width; ++x) {
      largest_inside = std::max(largest_inside, difference(x, x + 1));
      unrelated += difference(x, (x + map.width / 2) % map.width);
    }
    EXPECT_LE(difference(map.width - 1, 0), largest_inside);
    // Columns half a turn apart do differ by this measure, so the check above can fail.
    EXPECT_GT(unrelated / (map.width - 1), 1.5 * largest_inside);
  }
}

TEST(PlanetTextures, LightsAreWarmDotsOnLandAndTheSeaIsGlossy) {
  const int width = 256;
  const int height = 128;
  const Map lights(map_kind::city_lights, width, height);
  const Map bump(map_kind::bump, width, height);
  const Map gloss(map_kind::glossiness, width, height);
  int lit = 0;
  int lit_at_sea = 0;
  int not_warm = 0;
  int sea = 0;
  double sea_gloss = 0.0;
  double land_gloss = 0.0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const float* light = lights.at(x, y);
      const bool at_sea_level = bump.at(x, y)[0] == 0.0f;
      if (light[0] + light[1] + light[2] > 0.0f) {
        ++lit;
        lit_at_sea += at_sea_level ? 1 : 0;
        not_warm += light[0] >= light[1] && light[1] > light[2] ? 0 : 1;
      }
      sea += at_sea_level ? 1 : 0;
      (at_sea_level ? sea_gloss : land_gloss) += gloss.at(x, y)[0];
    }
  }
  EXPECT_EQ(lit_at_sea, 0) << "lights on the water";
  EXPECT_EQ(not_warm, 0) << "lights whose red does not lead green and green blue";
  const int pixels = width * height;
  EXPECT_GT(lit, pixels / 200) << "hardly any lights";
  EXPECT_LT(lit, pixels / 10) << "the night side should stay mostly dark";
  // Open water is most of the planet and shines; the land is matte.
  ASSERT_GT(sea, pixels / 2);
  ASSERT_LT(sea, pixels);
  EXPECT_GT(sea_gloss / sea, 0.8);
  EXPECT_LT(land_gloss / (pixels - sea), 0.3);
}

TEST(PlanetTextures, ImpossibleRequestsAreRefused) {
  EXPECT_THROW(make_map(map_kind::diffuse, 0, 8), std::invalid_argument);
  EXPECT_THROW(make_map(map_kind::bump, 8, -1), std::invalid_argument);
  EXPECT_THROW(make_map(static_cast<map_kind>(7), 8, 4), std::invalid_argument);
  EXPECT_THROW(make_map(map_kind::environment, 65536, 32768), std::invalid_argument);
}

}  // namespace
