#pragma once

#include <algorithm>
#include <array>
#include <numbers>

// The few vector and blending helpers that the planet's noise, surface and sky share.
namespace planet_textures {

struct vec3 {
  double x, y, z;
};

inline vec3 operator+(const vec3& a, const vec3& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline vec3 operator*(double s, const vec3& a) {
  return {s * a.x, s * a.y, s * a.z};
}
inline double dot(const vec3& a, const vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

using rgb = std::array<double, 3>;

// a + (b - a) · t, channel by channel.
inline rgb mix(const rgb& a, const rgb& b, double t) {
  return {a[0] + (b[0] - a[0]) * t, a[1] + (b[1] - a[1]) * t, a[2] + (b[2] - a[2]) * t};
}

// 0 below edge0, 1 above edge1, and the cubic 3t² - 2t³ between (flat at both ends).
inline double smoothstep(double edge0, double edge1, double x) {
  const double t = std::clamp((x - edge0) / (edge1 - edge0), 0.0, 1.0);
  return t * t * (3.0 - 2.0 * t);
}

inline double degrees(double radians) {
  return radians * 180.0 / std::numbers::pi;
}

}  // namespace planet_textures
