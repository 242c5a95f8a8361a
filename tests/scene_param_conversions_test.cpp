#include "scene/param_conversions.h"

#include <gtest/gtest.h>

#include <cmath>

#include "scene/sphere_placement.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

PF_Fixed fixed_degrees(double degrees) {
  return static_cast<PF_Fixed>(std::lround(degrees * 65536.0));
}

TEST(SceneParamConversions, ColourChannelsBecomeFractionsOf255InRgbaOrder) {
  const PF_Pixel orange{64, 255, 128, 0};  // alpha, red, green, blue
  const hxsdk::vec4 c = color_from_pixel(orange);
  EXPECT_FLOAT_EQ(c.x, 1.0f);
  EXPECT_NEAR(c.y, 0.50196, 1e-5);  // 128 / 255
  EXPECT_FLOAT_EQ(c.z, 0.0f);
  EXPECT_NEAR(c.w, 64.0 / 255.0, 1e-6);
}

TEST(SceneParamConversions, FixedPointDegreesBecomeRadians) {
  for (const double degrees : {0.0, 90.0, -45.0, 180.0, 720.5}) {
    EXPECT_NEAR(fixed_degrees_to_radians(fixed_degrees(degrees)), degrees * kPi / 180.0,
                1e-6 * std::max(1.0, std::abs(degrees)))
        << degrees << " degrees";
  }
  EXPECT_NEAR(fixed_degrees_to_radians(fixed_degrees(90.0)), 1.5708, 1e-4);
}

TEST(SceneParamConversions, OrientationTurnsAboutXThenYThenZ) {
  // 90° about x takes y to z; then 90° about y takes z to x: y ends on x. Rotating v by q is
  // v + 2w(u x v) + 2u x (u x v) for q = (u, w).
  const hxsdk::quaternion q =
      orientation_from_fixed_degrees(fixed_degrees(90.0), fixed_degrees(90.0), 0);
  const double u[3] = {q.x, q.y, q.z};
  const double v[3] = {0.0, 1.0, 0.0};
  const auto cross = [](const double* a, const double* b, double* out) {
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
  };
  double uv[3];
  double uuv[3];
  cross(u, v, uv);
  cross(u, uv, uuv);
  const double expected[3] = {1.0, 0.0, 0.0};
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(v[i] + 2.0 * q.w * uv[i] + 2.0 * uuv[i], expected[i], 1e-5) << "component " << i;
  }
}

TEST(SceneParamConversions, FlagsAreOneForAnyNonzeroValue) {
  EXPECT_EQ(flag_from_value(0), 0);
  EXPECT_EQ(flag_from_value(1), 1);
  EXPECT_EQ(flag_from_value(-7), 1);
  EXPECT_EQ(flag_from_value(256), 1);
}

TEST(SceneParamConversions, SpherePositionReturnsToFullResolutionSquarePixels) {
  struct Case {
    float aspect;
    float downsample;
    float x, y, z;
  };
  // "Position" (480, 270, -100) as delivered at each downsampling.
  for (const Case& c :
       {Case{1.0f, 1.0f, 480.0f, 270.0f, -100.0f}, Case{1.0f, 2.0f, 960.0f, 540.0f, -200.0f},
        Case{2.0f, 1.0f, 960.0f, 270.0f, -100.0f}, Case{2.0f, 4.0f, 3840.0f, 1080.0f, -400.0f}}) {
    const hxsdk::vec4 p = sphere_position({480.0, 270.0, -100.0}, c.aspect, c.downsample);
    EXPECT_FLOAT_EQ(p.x, c.x) << c.aspect << " / " << c.downsample;
    EXPECT_FLOAT_EQ(p.y, c.y) << c.aspect << " / " << c.downsample;
    EXPECT_FLOAT_EQ(p.z, c.z) << c.aspect << " / " << c.downsample;
    EXPECT_FLOAT_EQ(p.w, 0.0f);
  }
}

}  // namespace
