// The material program on the real renderer (EGL on llvmpipe, OpenCL on PoCL) against the
// CPU reference of the shading formulas, and against relations between GPU frames.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "tests/gpu_render_harness.h"
#include "tests/gpu_shading_reference.h"

namespace {

namespace ref = shading_reference;
using gpu_render::plain_material;
using gpu_render::rendered_image;

// How far a GPU value may be from the reference, in linear light on the unit scale.
// The mesh is a frequency-40 geodesic sphere: its flat triangles lie up to about 1.3e-4
// radii inside the analytic sphere and its interpolated normals are off by a few 1e-4
// radians; away from grazing views (V.Nf >= 0.15, see pixel_is_clear_of_edges) that moves a
// shading normal by at most about 1e-3 radians. Diffuse, fresnel and edge terms change by at
// most ~2 per radian, hence 2e-3 absolute; the narrowest highlight used here (alpha ~ 0.03)
// changes by up to ~1 % for that normal error, hence 1e-2 relative. A wrong formula (a
// missing factor, a wrong exponent, a swapped term) moves the tested pixels by 5 % or more.
constexpr double kAbsoluteTolerance = 2e-3;
constexpr double kRelativeTolerance = 1e-2;

constexpr int kWidth = 120;
constexpr int kHeight = 100;
constexpr hxsdk::vec4 kCentre{10.0f, -5.0f, 0.0f, 0.0f};
// An arbitrary orientation: without maps it must not show, except through the hemisphere.
const hxsdk::vec4 kTurn = {0.3f, -0.5f, 0.2f, 0.0f};

std::array<double, 4> channels(const ref::argb& p) {
  return {p.a, p.r, p.g, p.b};
}

// A light of `type` at `position` shining along `direction` (made unit length).
light_properties light(int type, hxsdk::vec4 color, hxsdk::vec4 position = {},
                       hxsdk::vec4 direction = {}, float cone_angle = 0, float cone_feather = 0) {
  const float length = std::max(1e-9f, std::hypot(direction.x, direction.y, direction.z));
  light_properties l;
  l.light_type = type;
  l.color = color;
  l.position = position;
  l.direction = {direction.x / length, direction.y / length, direction.z / length, 0.0f};
  l.cone_angle = cone_angle;
  l.cone_feather = cone_feather;
  return l;
}

// World y points down: the sun comes from the upper left, in front of the sphere. The near
// light is close to the sphere (about 1.6 radii from its centre), up, left and in front of
// it; a spot there is aimed off the centre, so that its axis and its edge both fall on the
// visible side.
const hxsdk::vec4 kWarmWhite{1.0f, 0.95f, 0.9f, 1.0f};
const light_properties kSun = light(kLightParallel, kWarmWhite, {}, {0.5f, 0.6f, 0.62f, 0.0f});
const light_properties kDimAmbient = light(kLightAmbient, {0.1f, 0.1f, 0.1f, 1.0f});
const hxsdk::vec4 kNearLight{kCentre.x - 60.0f, kCentre.y - 50.0f, kCentre.z - 105.0f, 0.0f};
light_properties spot(float cone_angle, float cone_feather) {
  return light(kLightSpot, kWarmWhite, kNearLight, {120.0f, 100.0f, 105.0f, 0.0f}, cone_angle,
               cone_feather);
}

ref::sphere_scene scene_of(const material_properties& material,
                           std::vector<light_properties> lights = {kDimAmbient, kSun},
                           hxsdk::vec4 turn = kTurn, hxsdk::vec4 centre = kCentre) {
  ref::sphere_scene s{kWidth, kHeight};
  s.camera =
      gpu_render::look_at_camera({0.0f, 0.0f, -500.0f, 0.0f}, kCentre, 24.0f, kWidth, kHeight);
  s.model_matrix = model_matrix(centre, hxsdk::quaternion_from_euler(turn), 80.0f);
  s.material = material;
  s.lights = std::move(lights);
  return s;
}

// Compares every pixel clear of edges with the reference: a drawn one within the shading
// tolerance, an empty one exactly 0. A case that compared too few pixels would prove
// nothing: the sphere covers ~4400, the outer dome of the tipped hemisphere ~1500.
::testing::AssertionResult matches_reference(const ref::sphere_scene& scene,
                                             const rendered_image& image) {
  int covered = 0;
  int empty = 0;
  gpu_render::mismatches wrong;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      if (!ref::pixel_is_clear_of_edges(scene, x, y)) {
        continue;
      }
      const std::array<double, 4> gpu = channels(image.pixel(x, y));
      const std::optional<ref::rgba> drawn = ref::material_pixel(scene, x, y);
      const std::array<double, 4> want =
          channels(drawn ? ref::output_pixel(*drawn, 1.0, 4) : ref::argb{});
      ++(drawn ? covered : empty);
      for (int i = 0; i < 4; ++i) {
        if (std::abs(gpu[i] - want[i]) >
            (drawn ? kAbsoluteTolerance + kRelativeTolerance * want[i] : 0.0)) {
          wrong.add("pixel (", x, ", ", y, ") channel ", i, " (argb): gpu ", gpu[i], ", reference ",
                    want[i]);
        }
      }
    }
  }
  if (covered < 500 || empty < 500 || wrong.count > 0) {
    return ::testing::AssertionFailure()
           << covered << " covered and " << empty << " empty pixels clear of edges, " << wrong.count
           << " values differ:" << wrong.first.str();
  }
  return ::testing::AssertionSuccess();
}

class GpuMaterialPixels : public gpu_render::GpuRendererSuite {};

TEST_F(GpuMaterialPixels, EveryPixelClearOfEdgesMatchesTheCpuShading) {
  // Eight dim lights fill the slots; the ninth and an ambient light after them may not light
  // the sphere.
  std::vector<light_properties> nine = {};
  for (int i = 0; i < 8; ++i) {
    nine.push_back(light(kLightParallel, {0.15f, 0.1f, 0.05f, 1.0f}, {},
                         {std::cos(i * 0.7f), std::sin(i * 0.7f), 0.8f, 0.0f}));
  }
  nine.push_back(light(kLightParallel, {5.0f, 0.0f, 0.0f, 1.0f}, {}, {0.0f, 0.0f, 1.0f, 0.0f}));
  nine.push_back(light(kLightAmbient, {0.0f, 0.0f, 5.0f, 1.0f}));
  // Tipped about x, the hemisphere turns its cut face towards the camera: the outer dome
  // shows at the top, the inside through the opening below it.
  const hxsdk::vec4 open_towards_camera = {-25.0f * 3.14159265f / 180.0f, 0.0f, 0.2f, 0.0f};
  const struct {
    const char* what;
    void (*change)(material_properties&);
    std::vector<light_properties> lights = {kDimAmbient, kSun};
    hxsdk::vec4 turn = kTurn;
  } cases[] = {
      {"one parallel light", [](auto&) {}, {kSun}},
      {"a spot light of cone 90 and feather 0.5", [](auto&) {}, {kDimAmbient, spot(90, 0.5f)}},
      {"a hard-edged spot light", [](auto&) {}, {kDimAmbient, spot(60, 0.0f)}},
      {"a point light", [](auto&) {}, {kDimAmbient, light(kLightPoint, kWarmWhite, kNearLight)}},
      {"two ambient lights and no direct light",
       [](auto& m) { m.ambient = 0.9f; },
       {light(kLightAmbient, {0.3f, 0.4f, 0.5f, 1.0f}), kDimAmbient}},
      {"unlit, with lights present", [](auto& m) { m.unlit = 1; }},
      {"nine lights and an ambient light after them", [](auto&) {}, nine},
      {"half opacity with a shrunk, feathered edge",
       [](auto& m) { m.model_color.w = m.edge_feather = 0.5f, m.edge_shrink = 0.2f; }},
      {"rim illumination fading on the shadow side",
       [](auto& m) {
         m.illumination_color = {0.3f, 0.6f, 0.9f, 1.0f};
         m.fresnel = 0.8f, m.fresnel_bias = 2.0f, m.shadow_light = 0.4f;
         m.shadow_light_contrast = 1.5f, m.shadow_light_expansion = 0.1f;
       }},
      {"centre illumination fading on the light side",
       [](auto& m) {
         m.illumination_color = {0.9f, 0.5f, 0.2f, 1.0f};
         m.fresnel = -1.0f, m.fresnel_bias = 1.5f, m.shadow_light = -0.6f;
         m.shadow_light_contrast = 2.5f, m.shadow_light_expansion = -0.2f;
       }},
      {"a glossy highlight",
       [](auto& m) {
         m.model_color = {0.2f, 0.25f, 0.3f, 1.0f}, m.glossiness = 0.8f, m.specular = 1.0f;
       }},
      {"surface all at half opacity", [](auto& m) { m.surface_mode = 1, m.model_color.w = 0.5f; }},
      {"surface front at half opacity",
       [](auto& m) { m.surface_mode = 2, m.model_color.w = 0.5f; }},
      {"surface back at half opacity", [](auto& m) { m.surface_mode = 3, m.model_color.w = 0.5f; }},
      {"hemisphere, surface all",
       [](auto& m) { m.surface_mode = 1, m.flatten_bottom = 1; },
       {kDimAmbient, kSun},
       open_towards_camera},
      {"hemisphere, surface front",
       [](auto& m) { m.surface_mode = 2, m.flatten_bottom = 1; },
       {kDimAmbient, kSun},
       open_towards_camera},
      {"hemisphere, surface back",
       [](auto& m) { m.surface_mode = 3, m.flatten_bottom = 1; },
       {kDimAmbient, kSun},
       open_towards_camera},
  };
  for (const auto& c : cases) {
    material_properties m = plain_material();
    c.change(m);
    const ref::sphere_scene scene = scene_of(m, c.lights, c.turn);
    EXPECT_TRUE(matches_reference(scene, render(scene))) << c.what;
  }
}

// With multisampling GL may evaluate the shading at the sample positions (llvmpipe does), up
// to 3/8 of a pixel from the centre, and the resolve averages them. One pixel spans ~0.027
// radians of the sphere here. Symmetric sample patterns cancel first-order changes, but not a
// kink such as the terminator's max(0, N.L): there the average departs from the centre's
// value by up to 0.5 x 0.375 px x 0.027 rad/px x 0.9 (colour x diffuse) ~ 4.6e-3, hence 6e-3.
// One sample per pixel misplaces at most the pixels along the silhouette (~240 here), and
// those errors largely cancel: 1 % of the ~4400 pixels' area is far outside what is right.
// Sample counts change at the same output size: each must take effect.
TEST_F(GpuMaterialPixels, MultisamplingSmoothsOnlyTheSilhouetteAndKeepsTheInterior) {
  const ref::sphere_scene scene = scene_of(plain_material());
  double area = 0.0;                             // of the analytic sphere
  std::vector<std::array<int, 2>> half_covered;  // pixels its silhouette cuts roughly in half
  std::vector<bool> clear;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const double f = ref::covered_fraction(scene, x, y, 8);
      area += f;
      if (f >= 0.25 && f <= 0.75) {
        half_covered.push_back({x, y});
      }
      clear.push_back(ref::pixel_is_clear_of_edges(scene, x, y));
    }
  }
  ASSERT_GT(half_covered.size(), 20u);
  const rendered_image single = render(scene, {.samples = 0});
  for (const unsigned samples : {0u, 2u, 4u, 8u, 16u}) {
    const rendered_image multi = samples == 0 ? single : render(scene, {.samples = samples});
    double multi_area = 0.0;
    int interior_differing = 0;
    int fractional = 0;
    for (int i = 0; i < kWidth * kHeight; ++i) {
      const std::array<double, 4> got = channels(multi.pixel(i % kWidth, i / kWidth));
      const std::array<double, 4> want = channels(single.pixel(i % kWidth, i / kWidth));
      multi_area += got[0];
      fractional += got[0] > 0.0 && got[0] < 1.0;
      interior_differing += clear[i] && got[0] > 0.0 && got[0] < 1.0;
      for (int c = 0; clear[i] && c < 4; ++c) {
        interior_differing += std::abs(got[c] - want[c]) > 6e-3 + kRelativeTolerance * want[c];
      }
    }
    const auto split = std::count_if(half_covered.begin(), half_covered.end(), [&](auto p) {
      const double a = multi.pixel(p[0], p[1]).a;
      return a > 0.0 && a < 1.0;
    });
    EXPECT_EQ(interior_differing, 0) << samples << " samples";
    EXPECT_EQ(split > 0, samples > 0) << samples << " samples";
    EXPECT_EQ(fractional > 0, samples > 0) << samples << " samples";
    EXPECT_NEAR(multi_area, area, 0.01 * area) << samples << " samples";
  }
}

// Three samples accumulated with weights 1, 1/2, 1/3 hold the mean of the three premultiplied
// images. The expectation is built from three single-sample frames, each premultiplied again
// from its straight 32-bit output; float blending and one division per pixel leave a few
// float roundings of values near 1.
TEST_F(GpuMaterialPixels, ThreeMotionBlurSamplesAverageToTheMeanOfTheirFrames) {
  material_properties m = plain_material();
  m.model_color.w = 0.8f;
  m.edge_feather = 0.3f;
  std::vector<ref::sphere_scene> samples;
  std::vector<rendered_image> singles;
  for (const float shift : {-30.0f, 0.0f, 35.0f}) {
    samples.push_back(
        scene_of(m, {kDimAmbient, kSun}, kTurn,
                 {kCentre.x + shift, kCentre.y + 0.3f * shift, kCentre.z + shift, 0.0f}));
    singles.push_back(render(samples.back()));
  }
  const rendered_image blurred = render(samples);
  int distinct = 0;
  for (int i = 0; i < kWidth * kHeight; ++i) {
    std::array<double, 4> mean{};  // premultiplied r, g, b and alpha
    for (const rendered_image& single : singles) {
      const ref::argb p = single.pixel(i % kWidth, i / kWidth);
      mean = {mean[0] + p.r * p.a / 3, mean[1] + p.g * p.a / 3, mean[2] + p.b * p.a / 3,
              mean[3] + p.a / 3};
    }
    distinct += std::abs(singles[0].pixel(i % kWidth, i / kWidth).a -
                         singles[2].pixel(i % kWidth, i / kWidth).a) > 0.5;
    const ref::argb b = blurred.pixel(i % kWidth, i / kWidth);
    const std::array<double, 4> got = {b.r * b.a, b.g * b.a, b.b * b.a, b.a};
    for (int c = 0; c < 4; ++c) {
      ASSERT_NEAR(got[c], mean[c], 1e-5)
          << "pixel " << i % kWidth << ", " << i / kWidth << ", channel " << c;
    }
  }
  EXPECT_GT(distinct, 500) << "the samples must really differ for the mean to prove anything";
}

// The opaque, unlit outside of the sphere, turned so that the u seam (the model's +z meridian)
// or a pole faces the camera: a crack between triangles would let a transparent pixel through
// inside the silhouette. A pixel wholly covered by the analytic sphere has its centre well
// inside the mesh's silhouette, which departs from the sphere by a hundredth of a pixel here.
TEST_F(GpuMaterialPixels, MeshSeamAndPolesLeaveNoGapInsideTheSilhouette) {
  material_properties m = plain_material();
  m.unlit = 1;
  for (const float turn_x : {0.0f, -1.5707963f, 1.5707963f}) {
    const hxsdk::vec4 turn = {turn_x, turn_x == 0.0f ? 3.14159265f : 0.0f, 0.0f, 0.0f};
    const ref::sphere_scene scene = scene_of(m, {}, turn);
    const rendered_image image = render(scene);
    int inside = 0;
    for (int i = 0; i < kWidth * kHeight; ++i) {
      if (ref::covered_fraction(scene, i % kWidth, i / kWidth, 4) == 1.0) {
        ++inside;
        ASSERT_EQ(image.pixel(i % kWidth, i / kWidth).a, 1.0)
            << "turn " << turn.x << ", " << turn.y << ": pixel " << i % kWidth << ", "
            << i / kWidth;
      }
    }
    EXPECT_GT(inside, kWidth * kHeight / 4);
  }
}

}  // namespace
