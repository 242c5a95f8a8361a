// The material program on the real renderer (EGL on llvmpipe, OpenCL on PoCL) against the
// CPU reference of the shading formulas, and against relations between GPU frames.
#include <gtest/gtest.h>

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

constexpr double kPi = 3.14159265358979323846;

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
const hxsdk::vec4 kEye{0.0f, 0.0f, -500.0f, 0.0f};
// An arbitrary orientation: without maps it must not show, except through the hemisphere.
const hxsdk::quaternion kOrientation = hxsdk::quaternion_from_euler({0.3f, -0.5f, 0.2f, 0.0f});

std::array<double, 4> channels(const ref::argb& p) {
  return {p.a, p.r, p.g, p.b};
}

light_properties light(int type, hxsdk::vec4 color, hxsdk::vec4 position = {},
                       hxsdk::vec4 direction = {}) {
  light_properties l;
  l.light_type = type;
  l.color = color;
  l.position = position;
  const float length = std::hypot(direction.x, direction.y, direction.z);
  if (length > 0.0f) {
    l.direction = {direction.x / length, direction.y / length, direction.z / length, 0.0f};
  }
  return l;
}

// World y points down: the sun comes from the upper left, in front of the sphere.
const hxsdk::vec4 kWarmWhite{1.0f, 0.95f, 0.9f, 1.0f};
const light_properties kSun = light(kLightParallel, kWarmWhite, {}, {0.5f, 0.6f, 0.62f, 0.0f});
const light_properties kDimAmbient = light(kLightAmbient, {0.1f, 0.1f, 0.1f, 1.0f});
// Close to the sphere (about 1.6 radii from its centre), up, left and in front of it; a spot
// there is aimed off the centre, so that its axis and its edge both fall on the visible side.
const hxsdk::vec4 kNearLight{kCentre.x - 60.0f, kCentre.y - 50.0f, kCentre.z - 105.0f, 0.0f};
light_properties spot(float cone_angle, float cone_feather) {
  light_properties l = light(kLightSpot, kWarmWhite, kNearLight, {120.0f, 100.0f, 105.0f, 0.0f});
  l.cone_angle = cone_angle;
  l.cone_feather = cone_feather;
  return l;
}

ref::sphere_scene scene_of(const material_properties& material,
                           std::vector<light_properties> lights,
                           hxsdk::quaternion orientation = kOrientation,
                           hxsdk::vec4 centre = kCentre) {
  ref::sphere_scene s;
  s.width = kWidth;
  s.height = kHeight;
  s.camera = gpu_render::look_at_camera(kEye, kCentre, 24.0f, kWidth, kHeight);
  s.model_matrix = model_matrix(centre, orientation, 80.0f);
  s.material = material;
  s.lights = std::move(lights);
  return s;
}

// Compares every pixel clear of edges with the reference: a drawn one within the shading
// tolerance, an empty one exactly 0.
::testing::AssertionResult matches_reference(const ref::sphere_scene& scene,
                                             const rendered_image& image) {
  int covered = 0;
  int empty = 0;
  int mismatched = 0;
  std::string first_mismatches;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      if (!ref::pixel_is_clear_of_edges(scene, x, y)) {
        continue;
      }
      const std::array<double, 4> gpu = channels(image.pixel(x, y));
      const std::optional<ref::rgba> drawn = ref::material_pixel(scene, x, y);
      const std::array<double, 4> want =
          drawn ? channels(ref::output_pixel(*drawn, 1.0, 4)) : std::array<double, 4>{};
      ++(drawn ? covered : empty);
      bool ok = true;
      for (int i = 0; i < 4; ++i) {
        ok = ok && std::abs(gpu[i] - want[i]) <=
                       (drawn ? kAbsoluteTolerance + kRelativeTolerance * std::abs(want[i]) : 0.0);
      }
      if (!ok && ++mismatched <= 5) {
        first_mismatches +=
            "\n  pixel (" + std::to_string(x) + ", " + std::to_string(y) + "): gpu argb " +
            std::to_string(gpu[0]) + " " + std::to_string(gpu[1]) + " " + std::to_string(gpu[2]) +
            " " + std::to_string(gpu[3]) + ", reference " + std::to_string(want[0]) + " " +
            std::to_string(want[1]) + " " + std::to_string(want[2]) + " " + std::to_string(want[3]);
      }
    }
  }
  // A case that compared too few pixels would prove nothing: the sphere covers ~4400, the
  // outer dome of the tipped hemisphere ~1500.
  if (covered < 500 || empty < 500) {
    return ::testing::AssertionFailure()
           << "only " << covered << " covered and " << empty << " empty pixels were clear of edges";
  }
  if (mismatched > 0) {
    return ::testing::AssertionFailure()
           << mismatched << " of " << covered + empty << " pixels differ:" << first_mismatches;
  }
  return ::testing::AssertionSuccess();
}

class GpuMaterialPixels : public gpu_render::GpuRendererSuite {};

struct ShadingCase {
  std::string what;
  ref::sphere_scene scene;
};

std::vector<ShadingCase> shading_cases() {
  const material_properties plain = plain_material();
  const auto with = [&](auto change) {
    material_properties m = plain;
    change(m);
    return m;
  };
  std::vector<ShadingCase> cases = {
      {"one parallel light", scene_of(plain, {kSun})},
      {"a spot light of cone 90 and feather 0.5", scene_of(plain, {kDimAmbient, spot(90, 0.5f)})},
      {"a hard-edged spot light", scene_of(plain, {kDimAmbient, spot(60, 0.0f)})},
      {"a point light", scene_of(plain, {kDimAmbient, light(kLightPoint, kWarmWhite, kNearLight)})},
      {"two ambient lights and no direct light",
       scene_of(with([](auto& m) { m.ambient = 0.9f; }),
                {light(kLightAmbient, {0.3f, 0.4f, 0.5f, 1.0f}), kDimAmbient})},
      {"unlit, with lights present",
       scene_of(with([](auto& m) { m.unlit = 1; }), {kDimAmbient, kSun})},
      {"half opacity with a shrunk, feathered edge", scene_of(with([](auto& m) {
                                                                m.model_color.w = 0.5f;
                                                                m.edge_feather = 0.5f;
                                                                m.edge_shrink = 0.2f;
                                                              }),
                                                              {kDimAmbient, kSun})},
      {"rim illumination fading on the shadow side",
       scene_of(with([](auto& m) {
                  m.illumination_color = {0.3f, 0.6f, 0.9f, 1.0f};
                  m.fresnel = 0.8f;
                  m.fresnel_bias = 2.0f;
                  m.shadow_light = 0.4f;
                  m.shadow_light_contrast = 1.5f;
                  m.shadow_light_expansion = 0.1f;
                }),
                {kDimAmbient, kSun})},
      {"centre illumination fading on the light side",
       scene_of(with([](auto& m) {
                  m.illumination_color = {0.9f, 0.5f, 0.2f, 1.0f};
                  m.fresnel = -1.0f;
                  m.fresnel_bias = 1.5f;
                  m.shadow_light = -0.6f;
                  m.shadow_light_contrast = 2.5f;
                  m.shadow_light_expansion = -0.2f;
                }),
                {kDimAmbient, kSun})},
      {"a glossy highlight", scene_of(with([](auto& m) {
                                        m.model_color = {0.2f, 0.25f, 0.3f, 1.0f};
                                        m.glossiness = 0.8f;
                                        m.specular = 1.0f;
                                      }),
                                      {kDimAmbient, kSun})},
  };
  std::vector<light_properties> lights;
  for (int i = 0; i < 8; ++i) {
    const float angle = static_cast<float>(i) * 0.7f;
    lights.push_back(light(kLightParallel, {0.15f, 0.1f, 0.05f, 1.0f}, {},
                           {std::cos(angle), std::sin(angle), 0.8f, 0.0f}));
  }
  // Past the eighth slot: neither may light the sphere.
  lights.push_back(light(kLightParallel, {5.0f, 0.0f, 0.0f, 1.0f}, {}, {0.0f, 0.0f, 1.0f, 0.0f}));
  lights.push_back(light(kLightAmbient, {0.0f, 0.0f, 5.0f, 1.0f}));
  cases.push_back({"nine lights and an ambient light after them", scene_of(plain, lights)});
  // Tipped about x, the hemisphere turns its cut face towards the camera: the outer dome
  // shows at the top, the inside through the opening below it.
  const hxsdk::quaternion open_towards_camera =
      hxsdk::quaternion_from_euler({static_cast<float>(-25.0 * kPi / 180.0), 0.0f, 0.2f, 0.0f});
  for (const auto& [mode, name] : {std::pair{1, "all"}, {2, "front"}, {3, "back"}}) {
    cases.push_back(
        {std::string("surface ") + name + " at half opacity", scene_of(with([&](auto& m) {
                                                                         m.surface_mode = mode;
                                                                         m.model_color.w = 0.5f;
                                                                       }),
                                                                       {kDimAmbient, kSun})});
    cases.push_back({std::string("hemisphere, surface ") + name,
                     scene_of(with([&](auto& m) {
                                m.surface_mode = mode;
                                m.flatten_bottom = 1;
                              }),
                              {kDimAmbient, kSun}, open_towards_camera)});
  }
  return cases;
}

TEST_F(GpuMaterialPixels, EveryPixelClearOfEdgesMatchesTheCpuShading) {
  for (const ShadingCase& c : shading_cases()) {
    EXPECT_TRUE(matches_reference(c.scene, renderer().render(c.scene))) << c.what;
  }
}

// With multisampling GL may evaluate the shading at the sample positions (llvmpipe does), up
// to 3/8 of a pixel from the centre, and the resolve averages them. One pixel spans ~0.027
// radians of the sphere here. Symmetric sample patterns cancel first-order changes, but not a
// kink such as the terminator's max(0, N.L): there the average departs from the centre's
// value by up to 0.5 x 0.375 px x 0.027 rad/px x 0.9 (colour x diffuse) ~ 4.6e-3.
TEST_F(GpuMaterialPixels, MultisamplingSmoothsOnlyTheSilhouetteAndKeepsTheInterior) {
  constexpr double kSampleSpreadTolerance = 6e-3;
  const ref::sphere_scene scene = scene_of(plain_material(), {kDimAmbient, kSun});
  // The projected area of the analytic sphere, and the pixels its silhouette cuts roughly in
  // half.
  double area = 0.0;
  std::vector<std::array<int, 2>> half_covered;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const double f = ref::covered_fraction(scene, x, y, 8);
      area += f;
      if (f >= 0.25 && f <= 0.75) {
        half_covered.push_back({x, y});
      }
    }
  }
  ASSERT_GT(half_covered.size(), 20u);
  // Sample counts change at the same output size: each must take effect. One sample per
  // pixel misplaces at most the pixels along the silhouette (~240 here), and those errors
  // largely cancel: 1 % of ~4400 pixels is far outside what is right.
  const rendered_image single = renderer().render(scene, {.samples = 0});
  for (const unsigned samples : {0u, 2u, 4u, 8u, 16u}) {
    const rendered_image multi =
        samples == 0 ? single : renderer().render(scene, {.samples = samples});
    double multi_area = 0.0;
    int interior_differing = 0;
    int fractional_inside = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const double a = multi.pixel(x, y).a;
        multi_area += a;
        const bool clear = ref::pixel_is_clear_of_edges(scene, x, y);
        if (a > 0.0 && a < 1.0) {
          EXPECT_TRUE(samples > 0 && !clear)
              << samples << " samples: alpha " << a << " at (" << x << ", " << y << ")";
        }
        const std::array<double, 4> got = channels(multi.pixel(x, y));
        const std::array<double, 4> want = channels(single.pixel(x, y));
        for (int i = 0; clear && i < 4; ++i) {
          interior_differing +=
              std::abs(got[i] - want[i]) > kSampleSpreadTolerance + kRelativeTolerance * want[i];
        }
      }
    }
    for (const auto& [x, y] : half_covered) {
      const double a = multi.pixel(x, y).a;
      fractional_inside += a > 0.0 && a < 1.0;
    }
    EXPECT_EQ(interior_differing, 0) << samples << " samples";
    EXPECT_EQ(fractional_inside > 0, samples > 0) << samples << " samples";
    EXPECT_NEAR(multi_area, area, 0.01 * area) << samples << " samples";
  }
}

// Three samples accumulated with weights 1, 1/2, 1/3 hold the mean of the three premultiplied
// images. The expectation is built from three single-sample frames, each premultiplied again
// from its straight 32-bit output.
TEST_F(GpuMaterialPixels, ThreeMotionBlurSamplesAverageToTheMeanOfTheirFrames) {
  material_properties m = plain_material();
  m.model_color.w = 0.8f;
  m.edge_feather = 0.3f;
  std::vector<ref::sphere_scene> samples;
  std::vector<rendered_image> singles;
  for (const float shift : {-30.0f, 0.0f, 35.0f}) {
    samples.push_back(
        scene_of(m, {kDimAmbient, kSun}, kOrientation,
                 {kCentre.x + shift, kCentre.y + 0.3f * shift, kCentre.z + shift, 0.0f}));
    singles.push_back(renderer().render(samples.back()));
  }
  const rendered_image blurred = renderer().render(samples);
  int distinct = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      std::array<double, 4> mean{};  // premultiplied r, g, b and alpha
      for (const rendered_image& single : singles) {
        const ref::argb p = single.pixel(x, y);
        mean = {mean[0] + p.r * p.a / 3, mean[1] + p.g * p.a / 3, mean[2] + p.b * p.a / 3,
                mean[3] + p.a / 3};
      }
      distinct += std::abs(singles[0].pixel(x, y).a - singles[2].pixel(x, y).a) > 0.5;
      const ref::argb b = blurred.pixel(x, y);
      // Float blending and one division per pixel: a few float roundings of values near 1.
      const std::array<double, 4> got = {b.r * b.a, b.g * b.a, b.b * b.a, b.a};
      for (int i = 0; i < 4; ++i) {
        ASSERT_NEAR(got[i], mean[i], 1e-5) << "pixel (" << x << ", " << y << "), channel " << i;
      }
    }
  }
  EXPECT_GT(distinct, 500) << "the samples must really differ for the mean to prove anything";
}

// The opaque, unlit outside of the sphere, turned so that the u seam (the model's +z meridian)
// or a pole faces the camera: a crack between triangles would let a transparent pixel through
// inside the silhouette.
TEST_F(GpuMaterialPixels, MeshSeamAndPolesLeaveNoGapInsideTheSilhouette) {
  constexpr float kQuarterTurn = static_cast<float>(kPi / 2.0);
  material_properties m = plain_material();
  m.unlit = 1;
  for (const hxsdk::vec4 turn : {hxsdk::vec4{0.0f, 2.0f * kQuarterTurn, 0.0f, 0.0f},
                                 {-kQuarterTurn, 0.0f, 0.0f, 0.0f},
                                 {kQuarterTurn, 0.0f, 0.0f, 0.0f}}) {
    const ref::sphere_scene scene = scene_of(m, {}, hxsdk::quaternion_from_euler(turn));
    const rendered_image image = renderer().render(scene);
    int inside = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        // Wholly covered by the analytic sphere: the pixel centre lies well inside the mesh's
        // silhouette, which departs from the sphere by a hundredth of a pixel here.
        if (ref::covered_fraction(scene, x, y, 4) == 1.0) {
          ++inside;
          ASSERT_EQ(image.pixel(x, y).a, 1.0)
              << "turn (" << turn.x << ", " << turn.y << "): pixel (" << x << ", " << y << ")";
        }
      }
    }
    EXPECT_GT(inside, kWidth * kHeight / 4);
  }
}

}  // namespace
