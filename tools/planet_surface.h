#pragma once

#include "tools/planet_noise.h"

namespace planet_textures {

// What the planet is like at one point of its surface. Every map is painted from these fields,
// so the maps agree with each other: mountains stand where the diffuse map shows rock, the
// glossy water is where the diffuse map is blue, the lights are on land.
struct surface_point {
  double latitude = 0.0;   // radians, +π/2 at the north pole
  double height = 0.0;     // above sea level: negative under water, 0 to about 0.7 on land
  double rock = 0.0;       // 0 to 1: how much of the land here is bare mountain
  double moisture = 0.0;   // 0 (desert) to 1 (rain forest)
  double ice = 0.0;        // 0 to 1: polar ice and snow cover
  double variation = 0.0;  // about -1 to 1: small-scale colour variation
};

// The planet's land, water and ice, defined on the unit sphere so that the maps made from it
// have no seam and no pinch at the poles. A fixed world: every instance is the same planet.
class planet_surface {
 public:
  planet_surface();

  // The surface in the unit direction `p` (y towards the north pole).
  surface_point at(const vec3& p) const;

  // Brightness of the city lights at `p`, 0 to 1: clustered dots on inhabited land, exactly 0
  // on water, on ice and right at the coastline.
  double city_light(const vec3& p, const surface_point& point) const;

 private:
  gradient_noise warp_;
  gradient_noise continents_;
  gradient_noise mountains_;
  gradient_noise ranges_;
  gradient_noise climate_;
  gradient_noise ice_edge_;
  gradient_noise texture_;
  gradient_noise settlement_;
  gradient_noise towns_;
};

}  // namespace planet_textures
