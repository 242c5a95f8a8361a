#pragma once

#include <array>

#include "tools/planet_noise.h"

namespace planet_textures {

// The sky around the planet: black space, stars and a faint band of nebula across it, in linear
// light (the brightest stars well above 1).
class starry_sky {
 public:
  starry_sky();

  // The sky in the unit direction `p`, as seen by one pixel (x, y) of a map that covers
  // `solid_angle` steradians. Stars are points: a pixel holds at most one, with a chance that
  // grows with its solid angle, so that stars are spread evenly over the sphere at any map size.
  rgb at(const vec3& p, int x, int y, double solid_angle) const;

 private:
  rgb star(double chance, int x, int y) const;
  rgb nebula(const vec3& p, double band) const;

  gradient_noise clouds_;
  gradient_noise dust_;
  gradient_noise tint_;
};

}  // namespace planet_textures
