#include "tools/planet_textures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <stdexcept>
#include <string>
#include <thread>

namespace planet_textures {
namespace {

constexpr double kPi = std::numbers::pi;

// Latitude of the top edge of row y (π/2 for row 0, -π/2 below the last row).
double row_edge_latitude(int y, int height) {
  return kPi * 0.5 - kPi * static_cast<double>(y) / height;
}

// The unit direction of a pixel centre: longitude 0 (u = 0.5) looks along +z, longitude 90°
// along +x, so that u = atan2(x, z) / 2π + 0.5 around the y axis.
vec3 pixel_direction(int x, int y, int width, int height) {
  const double longitude = 2.0 * kPi * ((x + 0.5) / width - 0.5);
  const double latitude = kPi * 0.5 - kPi * (y + 0.5) / height;
  return {std::cos(latitude) * std::sin(longitude), std::sin(latitude),
          std::cos(latitude) * std::cos(longitude)};
}

// Diffuse colours as a painter would pick them on screen (display values, gamma 2.2).
constexpr rgb kDeepWater = {0.015, 0.05, 0.14};
constexpr rgb kShallowWater = {0.04, 0.2, 0.28};
constexpr rgb kDesert = {0.76, 0.55, 0.32};
constexpr rgb kSteppe = {0.5, 0.46, 0.22};
constexpr rgb kGrass = {0.2, 0.34, 0.09};
constexpr rgb kForest = {0.07, 0.2, 0.05};
constexpr rgb kTundra = {0.33, 0.32, 0.27};
constexpr rgb kRock = {0.44, 0.38, 0.32};
constexpr rgb kIce = {0.92, 0.95, 0.98};

rgb land_colour(const surface_point& point) {
  const double m = point.moisture;
  rgb colour = mix(kDesert, kSteppe, smoothstep(0.15, 0.4, m));
  colour = mix(colour, kGrass, smoothstep(0.4, 0.6, m));
  colour = mix(colour, kForest, smoothstep(0.6, 0.85, m));
  const double latitude_degrees = degrees(std::abs(point.latitude));
  colour = mix(colour, kTundra, smoothstep(48.0, 66.0, latitude_degrees));
  return mix(colour, kRock, point.rock);
}

rgb diffuse_colour(const surface_point& point) {
  const rgb ground = point.height > 0.0
                         ? land_colour(point)
                         : mix(kShallowWater, kDeepWater, smoothstep(0.0, 0.06, -point.height));
  const rgb coloured = mix(ground, kIce, point.ice);
  const double shade = 1.0 + (point.height > 0.0 ? 0.3 : 0.05) * point.variation;
  return {std::clamp(coloured[0] * shade, 0.0, 1.0), std::clamp(coloured[1] * shade, 0.0, 1.0),
          std::clamp(coloured[2] * shade, 0.0, 1.0)};
}

// Land starts a little above 0 so that the coast is a small step and the sea stays exactly 0.
double bump_height(const surface_point& point) {
  return point.height > 0.0 ? std::clamp(0.02 + 1.5 * point.height, 0.0, 1.0) : 0.0;
}

double glossiness(const surface_point& point) {
  const double ground = point.height > 0.0 ? 0.08 + 0.1 * point.moisture : 1.0;
  return ground + (0.35 - ground) * point.ice;
}

// Sodium-warm towns; the brightest cores go towards white.
rgb city_light_colour(double light) {
  const rgb colour = mix({1.0, 0.68, 0.32}, {1.0, 0.9, 0.7}, light * light);
  return {colour[0] * light, colour[1] * light, colour[2] * light};
}

std::array<float, 4> opaque(const rgb& colour) {
  return {static_cast<float>(colour[0]), static_cast<float>(colour[1]),
          static_cast<float>(colour[2]), 1.0f};
}

std::array<float, 4> opaque_grey(double value) {
  return opaque({value, value, value});
}

}  // namespace

map_painter::map_painter(map_kind kind, int width, int height)
    : kind_(kind), width_(width), height_(height) {
  if (width < 1 || height < 1) {
    throw std::invalid_argument("a planet map needs at least one pixel, not " +
                                std::to_string(width) + " x " + std::to_string(height));
  }
  if (kind < map_kind::diffuse || kind > map_kind::environment) {
    throw std::invalid_argument("unknown planet map kind " +
                                std::to_string(static_cast<int>(kind)));
  }
}

std::array<float, 4> map_painter::pixel(int x, int y) const {
  const vec3 p = pixel_direction(x, y, width_, height_);
  switch (kind_) {
    case map_kind::diffuse:
      return opaque(diffuse_colour(planet_.at(p)));
    case map_kind::bump:
      return opaque_grey(bump_height(planet_.at(p)));
    case map_kind::glossiness:
      return opaque_grey(glossiness(planet_.at(p)));
    case map_kind::city_lights:
      return opaque(city_light_colour(planet_.city_light(p, planet_.at(p))));
    case map_kind::environment: {
      const double solid_angle =
          2.0 * kPi / width_ *
          (std::sin(row_edge_latitude(y, height_)) - std::sin(row_edge_latitude(y + 1, height_)));
      return opaque(sky_.at(p, x, y, solid_angle));
    }
  }
  return {0.0f, 0.0f, 0.0f, 0.0f};  // not reached: the constructor accepts only the kinds above
}

std::vector<float> make_map(map_kind kind, int width, int height) {
  const map_painter painter(kind, width, height);
  const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
  if (count > (std::size_t{1} << 31)) {
    throw std::invalid_argument("a planet map of " + std::to_string(width) + " x " +
                                std::to_string(height) + " pixels is too large");
  }
  std::vector<float> rgba(count);
  // Every pixel depends on its own coordinates only, so rows can be painted in any order: each
  // thread takes every n-th row, and the result is the same whatever the number of threads.
  const int threads = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, height);
  const auto paint_rows = [&](int first) {
    for (int y = first; y < height; y += threads) {
      float* out = rgba.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 4;
      for (int x = 0; x < width; ++x) {
        const std::array<float, 4> value = painter.pixel(x, y);
        out = std::copy(value.begin(), value.end(), out);
      }
    }
  };
  std::vector<std::jthread> workers;
  for (int first = 1; first < threads; ++first) {
    workers.emplace_back(paint_rows, first);
  }
  paint_rows(0);
  return rgba;
}

}  // namespace planet_textures
