#pragma once

#include <array>
#include <cstddef>

namespace hxsdk {

struct vec2 {
  float x = 0.0f;
  float y = 0.0f;
};

struct vec4 {
  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;
  float w = 0.0f;
};

// (x, y, z, w) with w the scalar part; unit length wherever an orientation is meant.
using quaternion = vec4;

// A 4 x 4 single-precision matrix stored column by column for column vectors: elements
// 0-3 are the first column, 12-14 the translation. Read as rows, the same storage is the
// row-vector form of the transform, which is why host matrices (translation in the last
// row) are taken over element by element and why the storage goes to the shaders as is.
struct mat4 {
  std::array<float, 16> elements{};

  float& operator[](std::size_t index) { return elements[index]; }
  const float& operator[](std::size_t index) const { return elements[index]; }
};

mat4 identity_matrix();
mat4 translation_matrix(const vec4& offset);  // w is ignored
mat4 scale_matrix(float x, float y, float z);

// Chains b after a: afterwards a applies its old transform first and b's second. In
// column-vector form a := b * a; in the stored-row view a[i][j] := sum_k a[i][k] * b[k][j].
void multiply(mat4& a, const mat4& b);

// The general inverse adjugate / det by cofactors. A singular matrix (det exactly 0) gives
// its unscaled adjugate rather than an error: callers get a finite matrix either way.
mat4 inverse(const mat4& m);

// Orientation of rotating about the fixed x axis by angles.x, then about y by angles.y,
// then about z by angles.z (R = Rz * Ry * Rx); radians, angles.w is ignored.
quaternion quaternion_from_euler(const vec4& angles);

// Rotation matrix of a unit quaternion (not normalised here).
mat4 rotation_matrix(const quaternion& q);

}  // namespace hxsdk
