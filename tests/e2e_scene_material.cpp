#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "host/composition.h"
#include "tests/e2e_scene_support.h"

namespace {

using e2e_scene::Operation;
using e2e_scene::SceneHost;
using lunaform::host::Animated;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::Vec3;

constexpr double kPi = 3.14159265358979323846;

// The drawn scene of one frame rendered with the given parameter values.
scene_parameters drawn_scene(const std::map<std::string, lunaform::host::ParamValue>& values) {
  Composition comp = e2e_scene::sphere_composition();
  for (const auto& [name, value] : values) {
    e2e_scene::effect_of(comp).params[name] = value;
  }
  SceneHost scene(comp);
  EXPECT_TRUE(scene.host.effect_param_mismatches().empty());
  return e2e_scene::only(scene.render(), Operation::Kind::draw).scene;
}

// (x, y, z, w) of the turn about x by ax, then y by ay, then z by az: the Hamilton product
// qz * qy * qx of the three axis quaternions (sin(a/2) axis, cos(a/2)).
std::array<double, 4> euler_quaternion(double ax, double ay, double az) {
  const auto product = [](const std::array<double, 4>& a, const std::array<double, 4>& b) {
    return std::array<double, 4>{
        a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
        a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
        a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3],
        a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2],
    };
  };
  const std::array<double, 4> qx{std::sin(ax / 2), 0, 0, std::cos(ax / 2)};
  const std::array<double, 4> qy{0, std::sin(ay / 2), 0, std::cos(ay / 2)};
  const std::array<double, 4> qz{0, 0, std::sin(az / 2), std::cos(az / 2)};
  return product(qz, product(qy, qx));
}

void expect_vec4(const hxsdk::vec4& actual, std::array<double, 4> expected,
                 const std::string& what) {
  EXPECT_NEAR(actual.x, expected[0], 1e-5) << what;
  EXPECT_NEAR(actual.y, expected[1], 1e-5) << what;
  EXPECT_NEAR(actual.z, expected[2], 1e-5) << what;
  EXPECT_NEAR(actual.w, expected[3], 1e-5) << what;
}

Animated<double> number(double value) {
  return Animated<double>(value);
}

TEST(E2eSceneMaterial, EveryFieldFollowsItsParameter) {
  const scene_parameters s = drawn_scene({
      {"Surface", number(3)},
      {"3D Object", number(2)},
      {"Unlit Only", number(1)},
      {"Diffuse Blend", number(0.25)},
      {"Edge Feather", number(0.1)},
      {"Edge Shrink", number(0.05)},
      {"Diffuse Gamma", number(1.8)},
      {"Glossiness Gamma", number(1.2)},
      {"Illumination Gamma", number(2.4)},
      {"Environment Gamma", number(2.0)},
      {"Diffuse Brightness", number(1.5)},
      {"Glossiness Brightness", number(0.75)},
      {"Illumination Brightness", number(2.5)},
      {"Environment Brightness", number(3.0)},
      {"Bump Map Intensity", number(-2.5)},
      {"Bump Falloff", number(0.3)},
      {"Use Normal Map", number(1)},
      {"Flip Normal Channels", number(1)},
      {"Fresnel", number(-0.4)},
      {"Fresnel Bias", number(2.0)},
      {"Shadow/Light", number(0.3)},
      {"Shadow/Light Contrast", number(4.5)},
      {"Shadow/Light Expansion", number(-0.1)},
      {"Bump Influence", number(0.6)},
      {"Color", Animated<Color>(Color{1.0, 128.0 / 255.0, 0.0, 1.0})},
      {"Opacity", number(0.5)},
      {"Illumination Color", Animated<Color>(Color{1.0, 1.0, 1.0, 1.0})},
      {"Illumination", number(2.0)},
      {"Reflectivity", number(3.0)},
      {"Ambient", number(0.2)},
      {"Diffuse", number(4.0)},
      {"Glossiness", number(0.7)},
      {"Specular", number(5.0)},
      {"Env. Rotation X", number(30.0)},
      {"Env. Rotation Y", number(45.0)},
      {"Env. Rotation Z", number(60.0)},
      {"UV Type", number(4)},
      {"UV Mode", number(2)},
      {"UV Repeat X", number(2.0)},
      {"UV Repeat Y", number(-3.0)},
      {"UV Offset X", number(0.25)},
      {"UV Offset Y", number(-0.5)},
      {"Box UV Feathering", number(0.4)},
      {"UV Rotation", number(90.0)},
      {"Gamma", number(2.2)},
      {"Radius", number(321.5)},
  });
  const material_properties& m = s.material;
  EXPECT_EQ(m.surface_mode, 3);
  EXPECT_EQ(m.flatten_bottom, 1);
  EXPECT_EQ(m.unlit, 1);
  for (const std::uint32_t texture :
       {m.diffuse_texture, m.glossiness_texture, m.illumination_texture, m.environment_texture,
        m.normal_texture}) {
    EXPECT_EQ(texture, 0u);
  }
  EXPECT_FLOAT_EQ(m.diffuse_blend, 0.25f);
  EXPECT_FLOAT_EQ(m.edge_feather, 0.1f);
  EXPECT_FLOAT_EQ(m.edge_shrink, 0.05f);
  EXPECT_FLOAT_EQ(m.diffuse_gamma, 1.8f);
  EXPECT_FLOAT_EQ(m.glossiness_gamma, 1.2f);
  EXPECT_FLOAT_EQ(m.illumination_gamma, 2.4f);
  EXPECT_FLOAT_EQ(m.environment_gamma, 2.0f);
  EXPECT_FLOAT_EQ(m.diffuse_brightness, 1.5f);
  EXPECT_FLOAT_EQ(m.glossiness_brightness, 0.75f);
  EXPECT_FLOAT_EQ(m.illumination_brightness, 2.5f);
  EXPECT_FLOAT_EQ(m.environment_brightness, 3.0f);
  EXPECT_FLOAT_EQ(m.normal_amount, -2.5f);
  EXPECT_FLOAT_EQ(m.clip_lighting, 0.3f);
  EXPECT_EQ(m.bump_is_height, 0);
  EXPECT_EQ(m.normal_invert_green, 1);
  EXPECT_FLOAT_EQ(m.fresnel, -0.4f);
  EXPECT_FLOAT_EQ(m.fresnel_bias, 2.0f);
  EXPECT_FLOAT_EQ(m.shadow_light, 0.3f);
  EXPECT_FLOAT_EQ(m.shadow_light_contrast, 4.5f);
  EXPECT_FLOAT_EQ(m.shadow_light_expansion, -0.1f);
  EXPECT_FLOAT_EQ(m.bump_influence, 0.6f);
  expect_vec4(m.model_color, {1.0, 0.50196, 0.0, 0.5}, "model colour");
  expect_vec4(m.illumination_color, {2.0, 2.0, 2.0, 2.0}, "illumination colour");
  EXPECT_FLOAT_EQ(m.reflectivity, 3.0f);
  EXPECT_FLOAT_EQ(m.ambient, 0.2f);
  EXPECT_FLOAT_EQ(m.diffuse, 4.0f);
  EXPECT_FLOAT_EQ(m.glossiness, 0.7f);
  EXPECT_FLOAT_EQ(m.specular, 5.0f);
  expect_vec4(m.environment_orientation,
              euler_quaternion(30 * kPi / 180, 45 * kPi / 180, 60 * kPi / 180),
              "environment orientation");
  EXPECT_EQ(m.uv_type, 4);
  EXPECT_EQ(m.uv_mode, 2);
  EXPECT_FLOAT_EQ(m.uv_repeat.x, 2.0f);
  EXPECT_FLOAT_EQ(m.uv_repeat.y, -3.0f);
  EXPECT_FLOAT_EQ(m.uv_offset.x, 0.25f);
  EXPECT_FLOAT_EQ(m.uv_offset.y, -0.5f);
  EXPECT_FLOAT_EQ(m.uv_feathering, 0.4f);
  EXPECT_NEAR(m.uv_rotation, 1.5708, 1e-4);
  EXPECT_NEAR(s.inverse_gamma, 0.4545, 1e-4);
  EXPECT_FLOAT_EQ(s.radius, 321.5f);
}

TEST(E2eSceneMaterial, DefaultParametersGiveTheDefaultMaterialAndPlacement) {
  const scene_parameters s = drawn_scene({});
  const material_properties& m = s.material;
  EXPECT_EQ(m.surface_mode, 2);  // Front
  EXPECT_EQ(m.flatten_bottom, 0);
  EXPECT_EQ(m.unlit, 0);
  EXPECT_FLOAT_EQ(m.diffuse_blend, 1.0f);
  EXPECT_FLOAT_EQ(m.diffuse_gamma, 2.2f);
  EXPECT_FLOAT_EQ(m.glossiness_gamma, 1.0f);
  EXPECT_FLOAT_EQ(m.illumination_gamma, 2.2f);
  EXPECT_FLOAT_EQ(m.environment_gamma, 2.2f);
  EXPECT_FLOAT_EQ(m.normal_amount, 1.0f);
  EXPECT_FLOAT_EQ(m.clip_lighting, 0.8f);
  EXPECT_EQ(m.bump_is_height, 1);
  EXPECT_EQ(m.normal_invert_green, 0);
  EXPECT_FLOAT_EQ(m.fresnel_bias, 1.0f);
  EXPECT_FLOAT_EQ(m.shadow_light_contrast, 3.0f);
  EXPECT_FLOAT_EQ(m.bump_influence, 1.0f);
  expect_vec4(m.model_color, {1, 1, 1, 1}, "white, opaque");
  expect_vec4(m.illumination_color, {0, 0, 0, 0}, "no self-illumination");
  EXPECT_FLOAT_EQ(m.ambient, 1.0f);
  EXPECT_FLOAT_EQ(m.diffuse, 1.0f);
  EXPECT_FLOAT_EQ(m.glossiness, 1.0f);
  EXPECT_FLOAT_EQ(m.specular, 1.0f);
  EXPECT_FLOAT_EQ(m.reflectivity, 0.0f);
  expect_vec4(m.environment_orientation, {0, 0, 0, 1}, "no environment turn");
  EXPECT_EQ(m.uv_type, 1);
  EXPECT_EQ(m.uv_mode, 1);
  EXPECT_FLOAT_EQ(m.uv_repeat.x, 1.0f);
  EXPECT_FLOAT_EQ(m.uv_repeat.y, 1.0f);
  EXPECT_FLOAT_EQ(m.uv_feathering, 0.2f);
  EXPECT_FLOAT_EQ(m.uv_rotation, 0.0f);
  EXPECT_FLOAT_EQ(s.radius, 200.0f);
  EXPECT_NEAR(s.inverse_gamma, 1.0 / 2.2, 1e-6);
  // The default "Position" is the layer's centre.
  expect_vec4(s.position, {960, 540, 0, 0}, "position");
}

TEST(E2eSceneMaterial, FlipNormalChannelsCountsOnlyForANormalMap) {
  struct Case {
    double use_normal_map;
    double flip;
    int bump_is_height;
    int invert_green;
  };
  for (const Case& c : {Case{0, 0, 1, 0}, Case{0, 1, 1, 0}, Case{1, 0, 0, 0}, Case{1, 1, 0, 1}}) {
    const scene_parameters s = drawn_scene(
        {{"Use Normal Map", number(c.use_normal_map)}, {"Flip Normal Channels", number(c.flip)}});
    EXPECT_EQ(s.material.bump_is_height, c.bump_is_height)
        << "use " << c.use_normal_map << ", flip " << c.flip;
    EXPECT_EQ(s.material.normal_invert_green, c.invert_green)
        << "use " << c.use_normal_map << ", flip " << c.flip;
  }
}

TEST(E2eSceneMaterial, IlluminationScalesAllFourChannelsOfItsColour) {
  struct Case {
    double illumination;
    std::array<double, 4> expected;
  };
  const Color dim{0.2, 0.4, 0.6, 0.8};  // 51, 102, 153, 204 of 255
  for (const Case& c :
       {Case{0, {0, 0, 0, 0}}, Case{1, {0.2, 0.4, 0.6, 0.8}}, Case{100, {20, 40, 60, 80}}}) {
    const scene_parameters s = drawn_scene(
        {{"Illumination Color", Animated<Color>(dim)}, {"Illumination", number(c.illumination)}});
    expect_vec4(s.material.illumination_color, c.expected,
                "illumination " + std::to_string(c.illumination));
  }
}

TEST(E2eSceneMaterial, HemisphereFlattensTheBottom) {
  EXPECT_EQ(drawn_scene({{"3D Object", number(1)}}).material.flatten_bottom, 0);
  EXPECT_EQ(drawn_scene({{"3D Object", number(2)}}).material.flatten_bottom, 1);
}

// "Motion Blur" names both a group and the popup inside it; the value belongs to the popup.
TEST(E2eSceneMaterial, AValueNamedLikeItsGroupGoesToTheParameterThatHoldsIt) {
  drawn_scene({{"Motion Blur", Animated<double>(3.0)}});
}

}  // namespace
