#include "scene/math3d.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

namespace {

using hxsdk::mat4;
using hxsdk::vec4;

// Matrices written the way a textbook writes them: grid[row][column], column vectors,
// double precision. Expectations are built in this form, independently of mat4's code.
using Grid = std::array<std::array<double, 4>, 4>;

constexpr double kPi = 3.14159265358979323846;

Grid identity_grid() {
  Grid g{};
  for (int i = 0; i < 4; ++i) {
    g[i][i] = 1.0;
  }
  return g;
}

Grid product(const Grid& a, const Grid& b) {
  Grid p{};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      for (int k = 0; k < 4; ++k) {
        p[r][c] += a[r][k] * b[k][c];
      }
    }
  }
  return p;
}

// Column-major storage: column c occupies elements 4c to 4c + 3.
Grid to_grid(const mat4& m) {
  Grid g{};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      g[r][c] = m[4 * c + r];
    }
  }
  return g;
}

mat4 to_mat4(const Grid& g) {
  mat4 m;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      m[4 * c + r] = static_cast<float>(g[r][c]);
    }
  }
  return m;
}

std::array<double, 4> apply(const mat4& m, std::array<double, 4> v) {
  const Grid g = to_grid(m);
  std::array<double, 4> r{};
  for (int i = 0; i < 4; ++i) {
    for (int k = 0; k < 4; ++k) {
      r[i] += g[i][k] * v[k];
    }
  }
  return r;
}

void expect_grid_near(const Grid& actual, const Grid& expected, double tolerance) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      EXPECT_NEAR(actual[r][c], expected[r][c], tolerance) << "row " << r << ", column " << c;
    }
  }
}

void expect_point_near(std::array<double, 4> actual, std::array<double, 4> expected) {
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(actual[i], expected[i], 1e-6) << "component " << i;
  }
}

Grid random_grid(std::mt19937& random, double diagonal_boost) {
  std::uniform_real_distribution<double> entry(-1.0, 1.0);
  Grid g{};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      g[r][c] = entry(random) + (r == c ? diagonal_boost : 0.0);
    }
  }
  return g;
}

// The axis rotations for column vectors, from their sines and cosines.
Grid rotation_x(double a) {
  Grid g = identity_grid();
  g[1][1] = std::cos(a);
  g[1][2] = -std::sin(a);
  g[2][1] = std::sin(a);
  g[2][2] = std::cos(a);
  return g;
}

Grid rotation_y(double a) {
  Grid g = identity_grid();
  g[0][0] = std::cos(a);
  g[0][2] = std::sin(a);
  g[2][0] = -std::sin(a);
  g[2][2] = std::cos(a);
  return g;
}

Grid rotation_z(double a) {
  Grid g = identity_grid();
  g[0][0] = std::cos(a);
  g[0][1] = -std::sin(a);
  g[1][0] = std::sin(a);
  g[1][1] = std::cos(a);
  return g;
}

TEST(Math3d, MultiplyAppliesTheMatrixItIsCalledOnFirst) {
  // Move by (1, 2, 3), then double: (1, 1, 1) -> (2, 3, 4) -> (4, 6, 8).
  mat4 move_then_scale = hxsdk::translation_matrix({1.0f, 2.0f, 3.0f, 0.0f});
  hxsdk::multiply(move_then_scale, hxsdk::scale_matrix(2.0f, 2.0f, 2.0f));
  expect_point_near(apply(move_then_scale, {1, 1, 1, 1}), {4, 6, 8, 1});

  // Double, then move: (1, 1, 1) -> (2, 2, 2) -> (3, 4, 5).
  mat4 scale_then_move = hxsdk::scale_matrix(2.0f, 2.0f, 2.0f);
  hxsdk::multiply(scale_then_move, hxsdk::translation_matrix({1.0f, 2.0f, 3.0f, 0.0f}));
  expect_point_near(apply(scale_then_move, {1, 1, 1, 1}), {3, 4, 5, 1});
}

TEST(Math3d, MultiplyIsTheColumnVectorProductOfTheSecondTimesTheFirst) {
  std::mt19937 random(7);
  for (int trial = 0; trial < 20; ++trial) {
    const Grid a = random_grid(random, 0.0);
    const Grid b = random_grid(random, 0.0);
    mat4 result = to_mat4(a);
    hxsdk::multiply(result, to_mat4(b));
    expect_grid_near(to_grid(result), product(b, a), 1e-5);
  }
}

TEST(Math3d, InverseOfKnownMatrices) {
  struct Case {
    const char* name;
    Grid matrix;
    Grid expected;
  };
  const Case cases[] = {
      {"uniform scale",
       {{{2, 0, 0, 0}, {0, 2, 0, 0}, {0, 0, 2, 0}, {0, 0, 0, 1}}},
       {{{0.5, 0, 0, 0}, {0, 0.5, 0, 0}, {0, 0, 0.5, 0}, {0, 0, 0, 1}}}},
      // (T S)^-1 = S^-1 T^-1: p -> (p - t) / s, so the translation becomes -t / s.
      {"scale then move",
       {{{2, 0, 0, 5}, {0, 4, 0, 6}, {0, 0, 8, 7}, {0, 0, 0, 1}}},
       {{{0.5, 0, 0, -2.5}, {0, 0.25, 0, -1.5}, {0, 0, 0.125, -0.875}, {0, 0, 0, 1}}}},
      // Singular (det 0): the result is the adjugate. Every cofactor whose minor keeps the
      // zero row vanishes; the one left is that of the (3, 3) entry, 2 * 3 * 4.
      {"diagonal with a zero",
       {{{2, 0, 0, 0}, {0, 3, 0, 0}, {0, 0, 4, 0}, {0, 0, 0, 0}}},
       {{{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 24}}}},
      // Bottom row zero: only the cofactors C(3, c) survive, and they form the adjugate's
      // last column: C(3,0) = -5, C(3,1) = -6, C(3,2) = -7, C(3,3) = 1.
      {"translation with a zero bottom row",
       {{{1, 0, 0, 5}, {0, 1, 0, 6}, {0, 0, 1, 7}, {0, 0, 0, 0}}},
       {{{0, 0, 0, -5}, {0, 0, 0, -6}, {0, 0, 0, -7}, {0, 0, 0, 1}}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    expect_grid_near(to_grid(hxsdk::inverse(to_mat4(c.matrix))), c.expected, 1e-6);
  }
}

TEST(Math3d, MatrixTimesItsInverseIsTheIdentity) {
  std::mt19937 random(11);
  for (int trial = 0; trial < 50; ++trial) {
    // Diagonally dominant, hence far from singular.
    const Grid m = random_grid(random, 4.0);
    const Grid inverse = to_grid(hxsdk::inverse(to_mat4(m)));
    expect_grid_near(product(to_grid(to_mat4(m)), inverse), identity_grid(), 1e-5);
    expect_grid_near(product(inverse, to_grid(to_mat4(m))), identity_grid(), 1e-5);
  }
}

TEST(Math3d, EulerAnglesOfTheEdgeCases) {
  const hxsdk::quaternion none = hxsdk::quaternion_from_euler({0.0f, 0.0f, 0.0f, 0.0f});
  EXPECT_EQ(none.x, 0.0f);
  EXPECT_EQ(none.y, 0.0f);
  EXPECT_EQ(none.z, 0.0f);
  EXPECT_EQ(none.w, 1.0f);
  expect_grid_near(to_grid(hxsdk::rotation_matrix(none)), identity_grid(), 0.0);

  const float quarter = static_cast<float>(kPi / 2);
  const hxsdk::quaternion about_x = hxsdk::quaternion_from_euler({quarter, 0.0f, 0.0f, 0.0f});
  EXPECT_NEAR(about_x.x, std::sqrt(0.5), 1e-6);
  EXPECT_NEAR(about_x.y, 0.0, 1e-6);
  EXPECT_NEAR(about_x.z, 0.0, 1e-6);
  EXPECT_NEAR(about_x.w, std::sqrt(0.5), 1e-6);

  struct Case {
    vec4 angles;
    std::array<double, 4> direction;
    std::array<double, 4> expected;
  };
  const Case cases[] = {
      {{quarter, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}},  // +y to +z
      {{0, 0, quarter, 0}, {1, 0, 0, 0}, {0, 1, 0, 0}},  // +x to +y
      // x first takes +y to +z, which the z rotation leaves where it is.
      {{quarter, 0, quarter, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}},
  };
  for (const Case& c : cases) {
    const mat4 rotation = hxsdk::rotation_matrix(hxsdk::quaternion_from_euler(c.angles));
    expect_point_near(apply(rotation, c.direction), c.expected);
  }
}

TEST(Math3d, EulerRotationIsRzTimesRyTimesRx) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> angle(-kPi, kPi);
  for (int trial = 0; trial < 50; ++trial) {
    const double ax = angle(random);
    const double ay = angle(random);
    const double az = angle(random);
    const hxsdk::quaternion q = hxsdk::quaternion_from_euler(
        {static_cast<float>(ax), static_cast<float>(ay), static_cast<float>(az), 0.0f});
    EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1.0, 1e-6);
    const Grid expected = product(rotation_z(az), product(rotation_y(ay), rotation_x(ax)));
    expect_grid_near(to_grid(hxsdk::rotation_matrix(q)), expected, 1e-5);
  }
}

TEST(Math3d, RotationMatrixOfAnAxisAngleQuaternionIsRodrigues) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
  std::uniform_real_distribution<double> angle(-kPi, kPi);
  for (int trial = 0; trial < 50; ++trial) {
    double n[3] = {coordinate(random), coordinate(random), coordinate(random)};
    const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    for (double& component : n) {
      component /= length;
    }
    const double theta = angle(random);
    const double s = std::sin(theta / 2);
    const hxsdk::quaternion q{static_cast<float>(n[0] * s), static_cast<float>(n[1] * s),
                              static_cast<float>(n[2] * s),
                              static_cast<float>(std::cos(theta / 2))};
    // R = cos(t) I + sin(t) [n]x + (1 - cos(t)) n n^T
    const double cross[3][3] = {{0, -n[2], n[1]}, {n[2], 0, -n[0]}, {-n[1], n[0], 0}};
    Grid expected = identity_grid();
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) {
        expected[r][c] = (r == c ? std::cos(theta) : 0.0) + std::sin(theta) * cross[r][c] +
                         (1.0 - std::cos(theta)) * n[r] * n[c];
      }
    }
    expect_grid_near(to_grid(hxsdk::rotation_matrix(q)), expected, 1e-5);
  }
}

}  // namespace
