#include "scene/math3d.h"

#include <cmath>

namespace hxsdk {
namespace {

// Element of the matrix in the usual mathematical (column-vector) reading.
float at(const mat4& m, int row, int column) {
  return m[4 * column + row];
}

// Determinant of the 3 x 3 matrix left when row skip_row and column skip_column are struck
// out, expanded along its first row.
float minor_determinant(const mat4& m, int skip_row, int skip_column) {
  int rows[3];
  int columns[3];
  for (int i = 0, r = 0, c = 0; i < 4; ++i) {
    if (i != skip_row) {
      rows[r++] = i;
    }
    if (i != skip_column) {
      columns[c++] = i;
    }
  }
  const auto e = [&](int r, int c) { return at(m, rows[r], columns[c]); };
  return e(0, 0) * (e(1, 1) * e(2, 2) - e(1, 2) * e(2, 1)) -
         e(0, 1) * (e(1, 0) * e(2, 2) - e(1, 2) * e(2, 0)) +
         e(0, 2) * (e(1, 0) * e(2, 1) - e(1, 1) * e(2, 0));
}

float cofactor(const mat4& m, int row, int column) {
  const float sign = (row + column) % 2 == 0 ? 1.0f : -1.0f;
  return sign * minor_determinant(m, row, column);
}

}  // namespace

mat4 identity_matrix() {
  return scale_matrix(1.0f, 1.0f, 1.0f);
}

mat4 translation_matrix(const vec4& offset) {
  mat4 m = identity_matrix();
  m[12] = offset.x;
  m[13] = offset.y;
  m[14] = offset.z;
  return m;
}

mat4 scale_matrix(float x, float y, float z) {
  mat4 m;
  m[0] = x;
  m[5] = y;
  m[10] = z;
  m[15] = 1.0f;
  return m;
}

void multiply(mat4& a, const mat4& b) {
  mat4 product;
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      float sum = 0.0f;
      for (int k = 0; k < 4; ++k) {
        sum += a[4 * i + k] * b[4 * k + j];
      }
      product[4 * i + j] = sum;
    }
  }
  a = product;
}

mat4 inverse(const mat4& m) {
  // The adjugate is the transposed cofactor matrix: its (row, column) is cofactor (column, row).
  mat4 adjugate;
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      adjugate[4 * column + row] = cofactor(m, column, row);
    }
  }
  float determinant = 0.0f;
  for (int column = 0; column < 4; ++column) {
    determinant += at(m, 0, column) * cofactor(m, 0, column);
  }
  if (determinant == 0.0f) {
    return adjugate;
  }
  const float scale = 1.0f / determinant;
  for (float& element : adjugate.elements) {
    element *= scale;
  }
  return adjugate;
}

// The product q = qz * qy * qx of the three half-angle axis quaternions
// (sin(a/2) * axis, cos(a/2)), multiplied out.
quaternion quaternion_from_euler(const vec4& angles) {
  const float sx = std::sin(angles.x * 0.5f);
  const float sy = std::sin(angles.y * 0.5f);
  const float sz = std::sin(angles.z * 0.5f);
  const float cx = std::cos(angles.x * 0.5f);
  const float cy = std::cos(angles.y * 0.5f);
  const float cz = std::cos(angles.z * 0.5f);
  return {
      sx * cy * cz - cx * sy * sz,
      cx * sy * cz + sx * cy * sz,
      cx * cy * sz - sx * sy * cz,
      cx * cy * cz + sx * sy * sz,
  };
}

mat4 rotation_matrix(const quaternion& q) {
  const float xx = q.x * q.x;
  const float yy = q.y * q.y;
  const float zz = q.z * q.z;
  const float xy = q.x * q.y;
  const float xz = q.x * q.z;
  const float yz = q.y * q.z;
  const float xw = q.x * q.w;
  const float yw = q.y * q.w;
  const float zw = q.z * q.w;
  mat4 m;
  m[0] = 1.0f - 2.0f * (yy + zz);
  m[1] = 2.0f * (xy + zw);
  m[2] = 2.0f * (xz - yw);
  m[4] = 2.0f * (xy - zw);
  m[5] = 1.0f - 2.0f * (xx + zz);
  m[6] = 2.0f * (yz + xw);
  m[8] = 2.0f * (xz + yw);
  m[9] = 2.0f * (yz - xw);
  m[10] = 1.0f - 2.0f * (xx + yy);
  m[15] = 1.0f;
  return m;
}

}  // namespace hxsdk
