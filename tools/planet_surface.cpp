#include "tools/planet_surface.h"

#include <algorithm>
#include <cmath>

namespace planet_textures {
namespace {

// The continents' noise value at the coastline; chosen so that about two fifths of the surface
// is land.
constexpr double kSeaLevel = 0.06;

// Lights need a little ground between them and the sea, so that no lit pixel touches water.
constexpr double kShore = 0.004;

double bell(double x, double centre, double width) {
  const double d = (x - centre) / width;
  return std::exp(-d * d);
}

}  // namespace

planet_surface::planet_surface()
    : warp_(101),
      continents_(202),
      mountains_(303),
      ranges_(404),
      climate_(505),
      ice_edge_(606),
      texture_(707),
      settlement_(808),
      towns_(909) {}

surface_point planet_surface::at(const vec3& p) const {
  surface_point point;
  point.latitude = std::asin(std::clamp(p.y, -1.0, 1.0));

  // Domain warping bends the coastlines into gulfs and peninsulas instead of round blobs.
  const vec3 w = 1.3 * p;
  const vec3 warp = {fbm(warp_, w, 4), fbm(warp_, w + vec3{31.7, 0.0, 0.0}, 4),
                     fbm(warp_, w + vec3{0.0, 47.3, 0.0}, 4)};
  const vec3 q = p + 0.45 * warp;

  const double land = fbm(continents_, 1.6 * q, 8) - kSeaLevel;
  // Mountain ranges: ridged noise, strongest some way inland and only where the slower
  // `ranges_` noise allows, so that some continents are flat.
  const double inland = smoothstep(0.0, 0.18, land);
  const double belt = smoothstep(-0.1, 0.35, fbm(ranges_, 1.8 * p, 3));
  const double ridges = ridged_fbm(mountains_, 3.5 * (p + 0.15 * warp), 6);
  point.rock = inland * belt * smoothstep(0.5, 0.75, ridges);
  // Plains rise gently from the coast; the relief is in the mountains.
  point.height = land > 0.0 ? 0.4 * land + 0.55 * inland * belt * ridges * ridges * ridges : land;

  // Wet at the equator, dry in the belts near 25 degrees, wetter again further out; the noise
  // breaks the bands up into regions.
  const double latitude_degrees = degrees(std::abs(point.latitude));
  const double bands = 0.25 * bell(latitude_degrees, 0.0, 12.0) -
                       0.25 * bell(latitude_degrees, 24.0, 9.0) +
                       0.1 * bell(latitude_degrees, 50.0, 15.0);
  point.moisture = std::clamp(0.62 + 0.9 * fbm(climate_, 2.2 * q, 8) + bands, 0.0, 1.0);

  // Ice caps with a ragged edge; high mountains keep snow further from the poles.
  const double polar =
      std::abs(p.y) + 0.07 * fbm(ice_edge_, 5.0 * p, 5) + 0.35 * std::max(0.0, point.height - 0.15);
  point.ice = smoothstep(0.92, 0.95, polar);

  point.variation = fbm(texture_, 16.0 * p, 5);
  return point;
}

double planet_surface::city_light(const vec3& p, const surface_point& point) const {
  if (point.height <= kShore || point.ice > 0.0) {
    return 0.0;
  }
  // Where people live: coasts and lowlands, not deserts, mountains or the far north and south,
  // and only in some regions.
  const double lowland = std::exp(-point.height / 0.08);
  const double fertile = smoothstep(0.15, 0.45, point.moisture);
  const double temperate = 1.0 - smoothstep(50.0, 62.0, degrees(std::abs(point.latitude)));
  const double region = smoothstep(0.0, 0.3, fbm(settlement_, 3.0 * p, 4));
  const double density = lowland * fertile * temperate * (1.0 - point.rock) * region;
  if (density <= 0.0) {
    return 0.0;
  }
  // Towns are the peaks of fine noise; cities the peaks of a coarser one, with a faint glow of
  // suburbs around the densest places.
  const double towns = smoothstep(0.3, 0.55, towns_(260.0 * p));
  const double cities = smoothstep(0.35, 0.6, towns_(75.0 * p + vec3{5.5, 9.1, 2.7}));
  const double glow = 0.25 * smoothstep(0.5, 0.9, density);
  return std::clamp(density * (towns + cities + glow), 0.0, 1.0);
}

}  // namespace planet_textures
