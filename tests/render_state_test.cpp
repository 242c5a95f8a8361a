#include "renderer/render_client.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

namespace {

std::array<double, 3> transform_point(const hxsdk::mat4& m, const std::array<double, 3>& p) {
  std::array<double, 3> r{};
  for (int row = 0; row < 3; ++row) {
    r[row] = m[12 + row];
    for (int k = 0; k < 3; ++k) {
      r[row] += m[4 * k + row] * p[k];
    }
  }
  return r;
}

void expect_point_near(const std::array<double, 3>& actual, const std::array<double, 3>& expected) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(actual[i], expected[i], 1e-4) << "component " << i;
  }
}

TEST(RenderState, ModelMatrixScalesThenRotatesThenMoves) {
  // A quarter turn about z: (1, 0, 0) -> radius 2 -> (2, 0, 0) -> (0, 2, 0) -> (10, 22, 30).
  const float half = static_cast<float>(std::sqrt(0.5));
  const hxsdk::mat4 m = model_matrix({10.0f, 20.0f, 30.0f, 0.0f}, {0.0f, 0.0f, half, half}, 2.0f);
  expect_point_near(transform_point(m, {1, 0, 0}), {10, 22, 30});
  expect_point_near(transform_point(m, {0, 1, 0}), {8, 20, 30});
  expect_point_near(transform_point(m, {0, 0, 1}), {10, 20, 32});
  expect_point_near(transform_point(m, {0, 0, 0}), {10, 20, 30});
  EXPECT_EQ(m[3], 0.0f);
  EXPECT_EQ(m[7], 0.0f);
  EXPECT_EQ(m[11], 0.0f);
  EXPECT_EQ(m[15], 1.0f);
}

TEST(RenderState, ModelMatrixPlacesPointsAtPositionPlusRotatedScaledOffset) {
  std::mt19937 random(23);
  std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
  std::uniform_real_distribution<double> angle(-3.14159, 3.14159);
  for (int trial = 0; trial < 20; ++trial) {
    // Axis n and angle t as a quaternion (n sin(t/2), cos(t/2)); the rotation of a point by it
    // is Rodrigues' p cos t + (n x p) sin t + n (n . p)(1 - cos t).
    std::array<double, 3> n = {coordinate(random), coordinate(random), coordinate(random)};
    const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    for (double& c : n) {
      c /= length;
    }
    const double t = angle(random);
    const double radius = 1.0 + 99.0 * std::abs(coordinate(random));
    const std::array<double, 3> position = {1000 * coordinate(random), 1000 * coordinate(random),
                                            1000 * coordinate(random)};
    const hxsdk::mat4 m = model_matrix(
        {static_cast<float>(position[0]), static_cast<float>(position[1]),
         static_cast<float>(position[2]), 0.0f},
        {static_cast<float>(n[0] * std::sin(t / 2)), static_cast<float>(n[1] * std::sin(t / 2)),
         static_cast<float>(n[2] * std::sin(t / 2)), static_cast<float>(std::cos(t / 2))},
        static_cast<float>(radius));

    const std::array<double, 3> p = {coordinate(random), coordinate(random), coordinate(random)};
    const std::array<double, 3> n_cross_p = {n[1] * p[2] - n[2] * p[1], n[2] * p[0] - n[0] * p[2],
                                             n[0] * p[1] - n[1] * p[0]};
    const double n_dot_p = n[0] * p[0] + n[1] * p[1] + n[2] * p[2];
    std::array<double, 3> expected{};
    for (int i = 0; i < 3; ++i) {
      const double rotated =
          p[i] * std::cos(t) + n_cross_p[i] * std::sin(t) + n[i] * n_dot_p * (1 - std::cos(t));
      expected[i] = position[i] + radius * rotated;
    }
    const std::array<double, 3> actual = transform_point(m, p);
    for (int i = 0; i < 3; ++i) {
      EXPECT_NEAR(actual[i], expected[i], 1e-3) << "trial " << trial << ", component " << i;
    }
  }
}

}  // namespace
