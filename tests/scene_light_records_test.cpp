#include "scene/light_records.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

// A light layer's transform as a host gives it: rows 0..2 the local axes, row 3 the position.
A_Matrix4 transform(double x, double y, double z, double zx, double zy, double zz) {
  A_Matrix4 m{};
  m.mat[0][0] = 1.0;
  m.mat[1][1] = 1.0;
  m.mat[2][0] = zx;
  m.mat[2][1] = zy;
  m.mat[2][2] = zz;
  m.mat[3][0] = x;
  m.mat[3][1] = y;
  m.mat[3][2] = z;
  m.mat[3][3] = 1.0;
  return m;
}

host_light white_light(AEGP_LightType type) {
  host_light light;
  light.type = type;
  light.layer_to_world = transform(100.0, -50.0, 250.0, 0.0, 0.6, 0.8);
  light.color = {1.0, 1.0, 1.0, 1.0};
  light.intensity = 100.0;
  light.cone_angle = 90.0;
  light.cone_feather = 50.0;
  light.falloff = 500.0;
  return light;
}

void expect_vec4(const hxsdk::vec4& actual, float x, float y, float z, float w,
                 const std::string& what) {
  EXPECT_FLOAT_EQ(actual.x, x) << what;
  EXPECT_FLOAT_EQ(actual.y, y) << what;
  EXPECT_FLOAT_EQ(actual.z, z) << what;
  EXPECT_FLOAT_EQ(actual.w, w) << what;
}

TEST(SceneLightRecords, EachTypeKeepsOnlyTheFieldsItUses) {
  struct Case {
    AEGP_LightType type;
    bool has_direction;
    bool has_cone;
  };
  for (const Case& c :
       {Case{AEGP_LightType_PARALLEL, true, false}, Case{AEGP_LightType_SPOT, true, true},
        Case{AEGP_LightType_POINT, false, false}, Case{AEGP_LightType_AMBIENT, false, false}}) {
    const std::string what = "type " + std::to_string(c.type);
    const light_properties light = light_from_host(white_light(c.type), 1.0f);
    EXPECT_EQ(light.light_type, static_cast<int32_t>(c.type)) << what;
    expect_vec4(light.position, 100.0f, -50.0f, 250.0f, 0.0f, what);
    if (c.has_direction) {
      expect_vec4(light.direction, 0.0f, 0.6f, 0.8f, 0.0f, what);
    } else {
      expect_vec4(light.direction, 0.0f, 0.0f, 0.0f, 0.0f, what);
    }
    // A spot with a 90° cone and 50 % feather.
    EXPECT_FLOAT_EQ(light.cone_angle, c.has_cone ? 90.0f : 0.0f) << what;
    EXPECT_FLOAT_EQ(light.cone_feather, c.has_cone ? 0.5f : 0.0f) << what;
    EXPECT_EQ(light.falloff_type, 0) << what;
    EXPECT_FLOAT_EQ(light.falloff, 500.0f) << what;
  }
}

TEST(SceneLightRecords, IntensityScalesTheColourAndNeverMakesItNegative) {
  struct Case {
    double intensity;
    float red, green, blue;
  };
  for (const Case& c : {Case{100.0, 1.0f, 0.5f, 0.25f}, Case{200.0, 2.0f, 1.0f, 0.5f},
                        Case{50.0, 0.5f, 0.25f, 0.125f}, Case{0.0, 0.0f, 0.0f, 0.0f},
                        Case{-100.0, 0.0f, 0.0f, 0.0f}}) {
    host_light host = white_light(AEGP_LightType_POINT);
    host.color = {0.3, 1.0, 0.5, 0.25};  // alpha, red, green, blue; the alpha is not used
    host.intensity = c.intensity;
    expect_vec4(light_from_host(host, 1.0f).color, c.red, c.green, c.blue, 1.0f,
                "intensity " + std::to_string(c.intensity));
  }
}

TEST(SceneLightRecords, WidePixelsStretchTheLightPositionAlongX) {
  const light_properties light = light_from_host(white_light(AEGP_LightType_POINT), 2.0f);
  expect_vec4(light.position, 200.0f, -50.0f, 250.0f, 0.0f, "pixel aspect 2");
}

TEST(SceneLightRecords, DefaultLightsAreAKeyLightTowardTheOriginAndADimFill) {
  const std::vector<light_properties> lights = default_lights();
  ASSERT_EQ(lights.size(), 2u);
  const light_properties& key = lights[0];
  EXPECT_EQ(key.light_type, 0);
  expect_vec4(key.position, -10000.0f, -10000.0f, 0.0f, 0.0f, "key position");
  const float unit = static_cast<float>(1.0 / std::sqrt(2.0));  // (0 - position) / |position|
  expect_vec4(key.direction, unit, unit, 0.0f, 0.0f, "key direction");
  expect_vec4(key.color, 1.0f, 1.0f, 1.0f, 1.0f, "key colour");
  const light_properties& fill = lights[1];
  EXPECT_EQ(fill.light_type, 3);
  expect_vec4(fill.position, 0.0f, 0.0f, 0.0f, 0.0f, "fill position");
  expect_vec4(fill.direction, 0.0f, 0.0f, 0.0f, 0.0f, "fill direction");
  expect_vec4(fill.color, 0.2f, 0.2f, 0.2f, 0.2f, "fill colour");
  for (const light_properties& light : lights) {
    EXPECT_EQ(light.falloff_type, 0);
    EXPECT_EQ(light.falloff, 0.0f);
    EXPECT_EQ(light.cone_angle, 0.0f);
    EXPECT_EQ(light.cone_feather, 0.0f);
  }
}

TEST(SceneLightRecords, HostTimesConvertToTheEffectScaleTruncatingTowardZero) {
  struct Case {
    A_Time time;
    A_u_long effect_scale;
    A_long expected;
  };
  for (const Case& c :
       {Case{{30, 30}, 3600, 3600}, Case{{1, 24}, 3600, 150}, Case{{1, 7}, 30, 4},  // 4.29
        Case{{-1, 7}, 30, -4}, Case{{5, 3600}, 30, 0}, Case{{0, 0}, 30, 0},
        Case{{std::numeric_limits<A_long>::max(), 1}, 3600, std::numeric_limits<A_long>::max()}}) {
    EXPECT_EQ(to_effect_time(c.time, c.effect_scale), c.expected)
        << c.time.value << "/" << c.time.scale << " in 1/" << c.effect_scale;
  }
}

TEST(SceneLightRecords, LayerExistsFromItsInPointUntilJustBeforeItsEnd) {
  EXPECT_FALSE(light_is_live(100, 50, 99));
  EXPECT_TRUE(light_is_live(100, 50, 100));
  EXPECT_TRUE(light_is_live(100, 50, 149));
  EXPECT_FALSE(light_is_live(100, 50, 150));
  EXPECT_FALSE(light_is_live(100, 0, 100));
  // A layer lasting as long as time can be counted does not wrap around.
  EXPECT_TRUE(
      light_is_live(10, std::numeric_limits<A_long>::max(), std::numeric_limits<A_long>::max()));
}

}  // namespace
