#include "tests/gpu_uv_reference.h"

#include <algorithm>
#include <cmath>

namespace uv_reference {
namespace {

using shading_reference::vec3;

constexpr double kPi = 3.14159265358979323846;

struct coords {
  double s = 0.0;
  double t = 0.0;
};

// Turns c by the map rotation angle, counter-clockwise in (s, t).
coords rotated(coords c, double angle) {
  const double cos_a = std::cos(angle);
  const double sin_a = std::sin(angle);
  return {c.s * cos_a - c.t * sin_a, c.s * sin_a + c.t * cos_a};
}

// Repeat scales about the map's origin and the offset moves the result; the rotation has
// already happened about the coordinates' own origin.
coords repeated_and_offset(coords c, const material_properties& m) {
  return {c.s * m.uv_repeat.x + m.uv_offset.x, c.t * m.uv_repeat.y + m.uv_offset.y};
}

// The spherical projection rotates the map about its centre (0.5, 0.5).
map_fetch spherical_fetch(const material_properties& m, vec3 p) {
  const auto [u, v] = spherical_coordinates(p);
  const coords turned = rotated({u - 0.5, v - 0.5}, m.uv_rotation);
  const coords c = repeated_and_offset({turned.s + 0.5, turned.t + 0.5}, m);
  return {1.0, c.s, c.t};
}

// A model-space pair in -1..1 on the unit sphere: rotated about the model axis, halved, so
// that the sphere's extent covers the map once, repeated, offset and centred on the map.
map_fetch planar_fetch(const material_properties& m, coords pair) {
  const coords turned = rotated(pair, m.uv_rotation);
  const coords c = repeated_and_offset({turned.s * 0.5, turned.t * 0.5}, m);
  return {1.0, c.s + 0.5, c.t + 0.5};
}

// Box weights: |n| per axis (kept above 1e-5), normalised, sharpened by the feathering
// exponent and made to sum to 1. Each axis then reads one face: the positive one where its
// normal component is positive, the negative one where it is negative. The positive faces
// read from a copy of p with x negated, the negative faces from one with z negated, so the
// two faces of an axis show the map turned differently.
std::vector<map_fetch> box_fetches(const material_properties& m, vec3 p) {
  const double exponent = shading_reference::box_feathering_exponent(m.uv_feathering);
  const vec3 n = p;  // the unit sphere's normal is its position
  std::array<double, 3> w = {std::max(std::abs(n.x), 1e-5), std::max(std::abs(n.y), 1e-5),
                             std::max(std::abs(n.z), 1e-5)};
  const double length = std::sqrt(w[0] * w[0] + w[1] * w[1] + w[2] * w[2]);
  double sum = 0.0;
  for (double& wi : w) {
    wi = std::pow(wi / length, exponent);
    sum += wi;
  }
  const std::array<double, 3> component = {n.x, n.y, n.z};
  std::vector<map_fetch> fetches;
  for (int axis = 0; axis < 3; ++axis) {
    const bool positive = component[axis] > 0.0;
    const bool negative = component[axis] < 0.0;
    const vec3 q = positive ? vec3{-p.x, p.y, p.z} : vec3{p.x, p.y, -p.z};
    const coords pair = axis == 0   ? coords{q.z, q.y}
                        : axis == 1 ? coords{q.x, q.z}
                                    : coords{q.x, q.y};
    map_fetch f = planar_fetch(m, pair);
    f.weight = (positive || negative) ? w[axis] / sum : 0.0;
    fetches.push_back(f);
  }
  return fetches;
}

}  // namespace

std::array<double, 2> spherical_coordinates(vec3 direction) {
  const vec3 d = shading_reference::normalize(direction);
  const double u = -std::atan2(-d.x, -d.z) / (2.0 * kPi) + 0.5;
  const double v = std::atan2(d.y, std::sqrt(d.x * d.x + d.z * d.z)) / kPi + 0.5;
  return {u, v};
}

std::vector<map_fetch> colour_map_fetches(const material_properties& material, vec3 p) {
  switch (material.uv_type) {
    case 1:
      return {spherical_fetch(material, p)};
    case 2:
      return box_fetches(material, p);
    case 3:
      return {planar_fetch(material, {p.x, p.y})};
    case 4:
      return {planar_fetch(material, {p.x, p.z})};
    default:
      return {planar_fetch(material, {p.z, p.y})};
  }
}

double wrapped(double coordinate, int uv_mode) {
  if (uv_mode == 1) {
    return coordinate - std::floor(coordinate);
  }
  // Period 2: the first half as it is, the second half reflected.
  const double folded = coordinate - 2.0 * std::floor(coordinate / 2.0);
  return folded <= 1.0 ? folded : 2.0 - folded;
}

}  // namespace uv_reference
