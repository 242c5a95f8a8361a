#pragma once

#include <array>
#include <vector>

#include "tools/planet_sky.h"
#include "tools/planet_surface.h"

// Procedural textures of a made-up planet and its sky, for the example scene and the
// benchmarks: no downloaded images, every pixel comes from seeded noise written here.
//
// Every map is equirectangular: column x covers the longitudes from 360° · x / width to
// 360° · (x + 1) / width, row y the latitudes from the north pole (row 0) to the south pole
// (the last row), and each pixel shows its centre. The planet is defined on the sphere, so the
// first and last columns are neighbours and the poles are not pinched.
namespace planet_textures {

enum class map_kind {
  diffuse,      // colour: oceans, continents, deserts, forests, ice caps (display values)
  bump,         // grey height: 0 at sea level and under water, above 0 on land, 1 at most
  glossiness,   // grey: 1 for open water, dark for land, in between for ice
  city_lights,  // colour: black, with warm clustered dots on inhabited land (display values)
  environment,  // linear light: stars (the brightest far above 1) and a faint nebula band
};

// Paints single pixels of one map at one size. Building it sets up the noise tables, so keep one
// for many pixels.
class map_painter {
 public:
  // Throws std::invalid_argument when width or height is below 1 or `kind` is none of the above.
  map_painter(map_kind kind, int width, int height);

  // The straight RGBA value of pixel (x, y), 0 <= x < width, 0 <= y < height: what make_map
  // stores there. Alpha is always 1; the grey maps repeat their value in red, green and blue.
  std::array<float, 4> pixel(int x, int y) const;

 private:
  map_kind kind_;
  int width_;
  int height_;
  planet_surface planet_;
  starry_sky sky_;
};

// The whole map: width × height straight RGBA pixels, four floats each, rows from the top, no
// padding; the same arguments always give the same values, however many threads paint it (one
// per hardware thread). Throws std::invalid_argument when width or height is below 1, the map
// would hold more than 2^31 floats, or `kind` is none of map_kind's. Any thread.
std::vector<float> make_map(map_kind kind, int width, int height);

}  // namespace planet_textures
