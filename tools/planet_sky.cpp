#include "tools/planet_sky.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace planet_textures {
namespace {

constexpr std::uint64_t kStarSeed = 4242;

// Stars per steradian outside the band (about 6000 over the whole sky); the band holds four
// times as many.
constexpr double kStarDensity = 6000.0 / (4.0 * std::numbers::pi);

// The nebula band lies along the great circle whose plane has this unit normal: tilted, so that
// it crosses the map as a wave rather than along the equator.
constexpr vec3 kBandNormal = {0.3487, 0.8717, 0.3443};
constexpr double kBandWidth = 0.22;  // sine of the angular half-width

constexpr rgb kSpace = {0.0015, 0.002, 0.004};

// Star colours from hot to cool, picked 15, 35, 30 and 20 times in a hundred.
constexpr std::array<rgb, 4> kStarColours = {{
    {0.70, 0.80, 1.00},
    {1.00, 1.00, 1.00},
    {1.00, 0.90, 0.72},
    {1.00, 0.72, 0.48},
}};

}  // namespace

starry_sky::starry_sky() : clouds_(1111), dust_(2222), tint_(3333) {}

rgb starry_sky::at(const vec3& p, int x, int y, double solid_angle) const {
  const double s = dot(p, kBandNormal) / kBandWidth;
  const double band = std::exp(-s * s);
  const rgb light = nebula(p, band);
  const rgb point = star(kStarDensity * (1.0 + 3.0 * band) * solid_angle, x, y);
  return {kSpace[0] + light[0] + point[0], kSpace[1] + light[1] + point[1],
          kSpace[2] + light[2] + point[2]};
}

rgb starry_sky::star(double chance, int x, int y) const {
  const auto column = static_cast<std::uint64_t>(x);
  const auto row = static_cast<std::uint64_t>(y);
  if (unit_hash(kStarSeed, column, row) >= chance) {
    return {0.0, 0.0, 0.0};
  }
  // Brightness follows a power law: many faint stars, about one in eight brighter than 1, the
  // brightest 12. The sky's mean radiance stays small, so that it does not light up the
  // planet's night side.
  const double u = std::max(unit_hash(kStarSeed + 1, column, row), 1e-6);
  const double brightness = std::min(12.0, 0.08 * std::pow(u, -1.25));
  const double pick = unit_hash(kStarSeed + 2, column, row);
  const int colour = pick < 0.15 ? 0 : pick < 0.5 ? 1 : pick < 0.8 ? 2 : 3;
  const rgb& c = kStarColours[colour];
  return {brightness * c[0], brightness * c[1], brightness * c[2]};
}

rgb starry_sky::nebula(const vec3& p, double band) const {
  const double clouds = smoothstep(0.0, 0.6, fbm(clouds_, 2.5 * p, 6));
  const double dust = smoothstep(0.05, 0.35, fbm(dust_, 5.0 * p, 5));
  const rgb colour =
      mix({0.25, 0.4, 1.0}, {0.9, 0.3, 0.75}, smoothstep(-0.3, 0.3, fbm(tint_, 1.5 * p, 3)));
  const double glow = 0.06 * band * clouds * (1.0 - 0.85 * dust);
  // Unresolved starlight: a warm haze along the whole band, dimmed by the same dust.
  const double haze = 0.015 * band * (1.0 - 0.7 * dust);
  return {glow * colour[0] + haze, glow * colour[1] + haze * 0.95, glow * colour[2] + haze * 0.85};
}

}  // namespace planet_textures
