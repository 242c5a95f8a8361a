#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "renderer/render_client.h"
#include "tests/gpu_render_harness.h"
#include "tests/gpu_shading_reference.h"

// The material program on the real renderer (EGL on llvmpipe, OpenCL on PoCL) against the
// CPU reference of the shading formulas, and against relations between GPU frames.
namespace {

namespace ref = shading_reference;
using gpu_render::output_format;
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

// One buffer step lost to the output's truncation.
double quantisation_step(int bytes_per_channel) {
  switch (bytes_per_channel) {
    case 1:
      return 1.0 / 255.0;
    case 2:
      return 2.0 / 65535.0;
    default:
      return 0.0;
  }
}

double unit_scale(int bytes_per_channel) {
  switch (bytes_per_channel) {
    case 1:
      return 255.0;
    case 2:
      return 32767.5;
    default:
      return 1.0;
  }
}

std::array<double, 4> channels(const ref::argb& p) {
  return {p.a, p.r, p.g, p.b};
}

std::string describe(const ref::argb& p) {
  std::ostringstream s;
  s << "(a " << p.a << ", r " << p.r << ", g " << p.g << ", b " << p.b << ")";
  return s.str();
}

// --- The scene every test starts from ---

constexpr int kWidth = 120;
constexpr int kHeight = 100;
constexpr hxsdk::vec4 kSphereCentre{10.0f, -5.0f, 0.0f, 0.0f};
constexpr float kRadius = 80.0f;
const hxsdk::vec4 kEye{0.0f, 0.0f, -500.0f, 0.0f};
// An arbitrary orientation: without maps it must not show, except through the hemisphere.
const hxsdk::quaternion kOrientation = hxsdk::quaternion_from_euler({0.3f, -0.5f, 0.2f, 0.0f});
// Tipped about x so that the cut face of the hemisphere turns towards the camera: the outer
// dome shows at the top, the inside through the opening below it.
const hxsdk::quaternion kOpenTowardsCamera =
    hxsdk::quaternion_from_euler({static_cast<float>(-25.0 * kPi / 180.0), 0.0f, 0.2f, 0.0f});

hxsdk::vec4 unit(hxsdk::vec4 v) {
  const float length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  return {v.x / length, v.y / length, v.z / length, 0.0f};
}

light_properties parallel_light(hxsdk::vec4 shining_along, hxsdk::vec4 color) {
  light_properties l;
  l.light_type = kLightParallel;
  l.direction = unit(shining_along);
  l.color = color;
  return l;
}

light_properties point_light(hxsdk::vec4 position, hxsdk::vec4 color) {
  light_properties l;
  l.light_type = kLightPoint;
  l.position = position;
  l.color = color;
  return l;
}

light_properties spot_light(hxsdk::vec4 position, hxsdk::vec4 aimed_at, hxsdk::vec4 color,
                            float cone_angle, float cone_feather) {
  light_properties l = point_light(position, color);
  l.light_type = kLightSpot;
  l.direction = unit({aimed_at.x - position.x, aimed_at.y - position.y, aimed_at.z - position.z});
  l.cone_angle = cone_angle;
  l.cone_feather = cone_feather;
  return l;
}

light_properties ambient_light(hxsdk::vec4 color) {
  light_properties l;
  l.light_type = kLightAmbient;
  l.color = color;
  return l;
}

// World y points down: this light comes from the upper left, in front of the sphere.
const hxsdk::vec4 kFromUpperLeft{0.5f, 0.6f, 0.62f, 0.0f};
const hxsdk::vec4 kWarmWhite{1.0f, 0.95f, 0.9f, 1.0f};
const hxsdk::vec4 kDimGrey{0.1f, 0.1f, 0.1f, 1.0f};
// Close to the sphere (about 1.6 radii from its centre), up, left and in front of it.
const hxsdk::vec4 kNearLightPosition{kSphereCentre.x - 60.0f, kSphereCentre.y - 50.0f,
                                     kSphereCentre.z - 105.0f, 0.0f};
// Aimed off the centre, so that the cone's axis and its edge both fall on the visible side.
const hxsdk::vec4 kSpotTarget{kSphereCentre.x + 60.0f, kSphereCentre.y + 50.0f, kSphereCentre.z,
                              0.0f};

ref::sphere_scene scene_of(const material_properties& material,
                           std::vector<light_properties> lights,
                           hxsdk::quaternion orientation = kOrientation) {
  ref::sphere_scene s;
  s.width = kWidth;
  s.height = kHeight;
  s.camera = gpu_render::look_at_camera(kEye, kSphereCentre, {0.0f, 1.0f, 0.0f, 0.0f}, 24.0f,
                                        kWidth, kHeight);
  s.model_matrix = model_matrix(kSphereCentre, orientation, kRadius);
  s.material = material;
  s.lights = std::move(lights);
  return s;
}

// --- Comparison with the reference ---

struct Comparison {
  int covered = 0;  // pixels with a drawn surface that were compared
  int empty = 0;    // pixels with nothing drawn, required to be exactly 0
  int mismatched = 0;
  std::string first_mismatches;
};

// Compares every pixel that is clear of edges. A float image written with gamma g is taken
// back to linear light by the exponent 1/g first, so that the tolerance stays the one of the
// shading.
Comparison compare_with_reference(const ref::sphere_scene& scene, const rendered_image& image,
                                  double gamma) {
  Comparison c;
  const double scale = unit_scale(image.bytes_per_channel);
  const double step = quantisation_step(image.bytes_per_channel);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      if (!ref::pixel_is_clear_of_edges(scene, x, y)) {
        continue;
      }
      const ref::argb gpu = image.pixel(x, y);
      const std::optional<ref::rgba> drawn = ref::material_pixel(scene, x, y);
      bool ok = true;
      ref::argb expected;
      if (!drawn) {
        ++c.empty;
        ok = gpu.a == 0.0 && gpu.r == 0.0 && gpu.g == 0.0 && gpu.b == 0.0;
      } else {
        ++c.covered;
        expected = ref::output_pixel(*drawn, 1.0, image.bytes_per_channel);
        const std::array<double, 4> g = channels(gpu);
        const std::array<double, 4> e = channels(expected);
        for (int i = 0; i < 4; ++i) {
          double value = g[i] / scale;
          if (i > 0 && image.bytes_per_channel == 4 && gamma != 1.0) {
            value = std::pow(std::max(0.0, value), 1.0 / gamma);
          }
          const double want = e[i] / scale;
          ok = ok && std::abs(value - want) <=
                         kAbsoluteTolerance + kRelativeTolerance * std::abs(want) + step;
        }
      }
      if (!ok) {
        if (++c.mismatched <= 5) {
          c.first_mismatches += "\n  pixel (" + std::to_string(x) + ", " + std::to_string(y) +
                                "): gpu " + describe(gpu) + ", reference " + describe(expected);
        }
      }
    }
  }
  return c;
}

::testing::AssertionResult matches_reference(const ref::sphere_scene& scene,
                                             const rendered_image& image, double gamma = 1.0) {
  const Comparison c = compare_with_reference(scene, image, gamma);
  // A case that compared too few pixels would prove nothing: the sphere covers ~4400, the
  // outer dome of the tipped hemisphere ~1500.
  if (c.covered < 500 || c.empty < 500) {
    return ::testing::AssertionFailure() << "only " << c.covered << " covered and " << c.empty
                                         << " empty pixels were clear of edges";
  }
  if (c.mismatched > 0) {
    return ::testing::AssertionFailure() << c.mismatched << " of " << c.covered + c.empty
                                         << " pixels differ:" << c.first_mismatches;
  }
  return ::testing::AssertionSuccess() << c.covered << " covered pixels agree";
}

// --- Fixture: one renderer per suite ---

class GpuSphereFixture : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    try {
      renderer_ = std::make_unique<gpu_render::SphereRenderer>();
    } catch (const std::exception& e) {
      failure_ = e.what();
    }
  }
  static void TearDownTestSuite() { renderer_.reset(); }

  void SetUp() override {
    if (!renderer_) {
      FAIL() << "the renderer could not be built: " << failure_;
    }
  }

  static rendered_image render(const ref::sphere_scene& scene, const output_format& format = {}) {
    return renderer_->render(scene, format);
  }

  static std::unique_ptr<gpu_render::SphereRenderer> renderer_;
  static std::string failure_;
};

std::unique_ptr<gpu_render::SphereRenderer> GpuSphereFixture::renderer_;
std::string GpuSphereFixture::failure_;

class GpuMaterialPixels : public GpuSphereFixture {};
class GpuOutputFormats : public GpuSphereFixture {};
class GpuMultisampling : public GpuSphereFixture {};
class GpuMotionBlur : public GpuSphereFixture {};
class GpuSphereMesh : public GpuSphereFixture {};

// --- Shading against the reference ---

struct ShadingCase {
  std::string what;
  ref::sphere_scene scene;
};

std::vector<ShadingCase> shading_cases() {
  std::vector<ShadingCase> cases;
  const material_properties plain = plain_material();
  const light_properties sun = parallel_light(kFromUpperLeft, kWarmWhite);
  const light_properties ambient = ambient_light(kDimGrey);

  cases.push_back({"one parallel light", scene_of(plain, {sun})});
  cases.push_back({"a spot light of cone 90 and feather 0.5",
                   scene_of(plain, {ambient, spot_light(kNearLightPosition, kSpotTarget, kWarmWhite,
                                                        90.0f, 0.5f)})});
  cases.push_back({"a hard-edged spot light",
                   scene_of(plain, {ambient, spot_light(kNearLightPosition, kSpotTarget, kWarmWhite,
                                                        60.0f, 0.0f)})});
  cases.push_back(
      {"a point light", scene_of(plain, {ambient, point_light(kNearLightPosition, kWarmWhite)})});
  {
    material_properties m = plain;
    m.ambient = 0.9f;
    cases.push_back({"two ambient lights and no direct light",
                     scene_of(m, {ambient_light({0.3f, 0.4f, 0.5f, 1.0f}), ambient})});
  }
  {
    material_properties m = plain;
    m.unlit = 1;
    cases.push_back({"unlit, with lights present", scene_of(m, {ambient, sun})});
  }
  {
    std::vector<light_properties> lights;
    const hxsdk::vec4 dim{0.15f, 0.1f, 0.05f, 1.0f};
    for (int i = 0; i < 8; ++i) {
      const float angle = static_cast<float>(i) * 0.7f;
      lights.push_back(parallel_light({std::cos(angle), std::sin(angle), 0.8f, 0.0f}, dim));
    }
    // Past the eighth slot: neither may light the sphere.
    lights.push_back(parallel_light({0.0f, 0.0f, 1.0f, 0.0f}, {5.0f, 0.0f, 0.0f, 1.0f}));
    lights.push_back(ambient_light({0.0f, 0.0f, 5.0f, 1.0f}));
    cases.push_back({"nine lights and an ambient light after them", scene_of(plain, lights)});
  }
  {
    material_properties m = plain;
    m.model_color.w = 0.5f;
    m.edge_feather = 0.5f;
    m.edge_shrink = 0.2f;
    cases.push_back({"half opacity with a shrunk, feathered edge", scene_of(m, {ambient, sun})});
  }
  for (const auto& [mode, name] : {std::pair{1, "all"}, {2, "front"}, {3, "back"}}) {
    material_properties m = plain;
    m.surface_mode = mode;
    m.model_color.w = 0.5f;
    cases.push_back(
        {std::string("surface ") + name + " at half opacity", scene_of(m, {ambient, sun})});
  }
  for (const auto& [mode, name] : {std::pair{1, "all"}, {2, "front"}, {3, "back"}}) {
    material_properties m = plain;
    m.surface_mode = mode;
    m.flatten_bottom = 1;
    cases.push_back({std::string("hemisphere, surface ") + name,
                     scene_of(m, {ambient, sun}, kOpenTowardsCamera)});
  }
  {
    material_properties m = plain;
    m.illumination_color = {0.3f, 0.6f, 0.9f, 1.0f};
    m.fresnel = 0.8f;
    m.fresnel_bias = 2.0f;
    m.shadow_light = 0.4f;
    m.shadow_light_contrast = 1.5f;
    m.shadow_light_expansion = 0.1f;
    cases.push_back({"rim illumination fading on the shadow side", scene_of(m, {ambient, sun})});
  }
  {
    material_properties m = plain;
    m.illumination_color = {0.9f, 0.5f, 0.2f, 1.0f};
    m.fresnel = -1.0f;
    m.fresnel_bias = 1.5f;
    m.shadow_light = -0.6f;
    m.shadow_light_contrast = 2.5f;
    m.shadow_light_expansion = -0.2f;
    cases.push_back({"centre illumination fading on the light side", scene_of(m, {ambient, sun})});
  }
  {
    material_properties m = plain;
    m.model_color = {0.2f, 0.25f, 0.3f, 1.0f};
    m.glossiness = 0.8f;
    m.specular = 1.0f;
    cases.push_back({"a glossy highlight", scene_of(m, {ambient, sun})});
  }
  return cases;
}

TEST_F(GpuMaterialPixels, EveryPixelClearOfEdgesMatchesTheCpuShading) {
  for (const ShadingCase& c : shading_cases()) {
    EXPECT_TRUE(matches_reference(c.scene, render(c.scene))) << c.what;
  }
}

// Spot relation: the shading is linear in the spot factor a, so
// spot = none + a * (point - none) for a point light at the spot's place. The factor comes
// from the hand-checked spot function; the three images come from the GPU.
TEST_F(GpuMaterialPixels, SpotLightIsFullToHalfItsConeQuarterAtThreeQuartersAndDarkOutside) {
  const material_properties m = plain_material();
  const light_properties ambient = ambient_light(kDimGrey);
  const light_properties spot =
      spot_light(kNearLightPosition, kSpotTarget, kWarmWhite, 90.0f, 0.5f);
  const ref::sphere_scene spot_scene = scene_of(m, {ambient, spot});
  const rendered_image with_spot = render(spot_scene);
  const rendered_image with_point =
      render(scene_of(m, {ambient, point_light(kNearLightPosition, kWarmWhite)}));
  const rendered_image unlit_by_either = render(scene_of(m, {ambient}));

  // The pixel whose surface point is closest to each angle off the spot axis.
  struct Probe {
    double angle;
    double tolerance_degrees;
    double expected_factor;
    std::optional<std::array<int, 2>> pixel;
    ref::vec3 from_light;  // unit direction from the light to the pixel's surface point
    double best = 1e9;
  };
  std::vector<Probe> probes = {{22.5, 1.0, 1.0}, {33.75, 1.0, 0.25}, {50.0, 3.0, 0.0}};
  const ref::vec3 axis = ref::to_vec3(spot.direction);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const ref::ray_hits drawn = ref::drawn_fragments(spot_scene, x + 0.5, y + 0.5);
      if (!drawn.front || !ref::pixel_is_clear_of_edges(spot_scene, x, y)) {
        continue;
      }
      const ref::vec3 from_light =
          ref::normalize({drawn.front->world_position.x - spot.position.x,
                          drawn.front->world_position.y - spot.position.y,
                          drawn.front->world_position.z - spot.position.z});
      // Only surface that faces the light can show what the cone lets through.
      if (-ref::dot(from_light, drawn.front->flat_normal) < 0.3) {
        continue;
      }
      const double angle = std::acos(ref::dot(axis, from_light)) * 180.0 / kPi;
      for (Probe& p : probes) {
        if (std::abs(angle - p.angle) < p.best) {
          p.best = std::abs(angle - p.angle);
          p.pixel = {x, y};
          p.from_light = from_light;
        }
      }
    }
  }
  for (const Probe& p : probes) {
    ASSERT_TRUE(p.pixel && p.best <= p.tolerance_degrees)
        << "no lit surface point near " << p.angle << " degrees off the spot axis";
    const auto [x, y] = *p.pixel;
    const double factor =
        ref::spot_factor(ref::dot(axis, p.from_light), ref::spot_cone_cos(90.0), 0.5);
    // The pixel centre is within a degree of the named angle; the factor moves by at most
    // ~0.07 per degree there.
    EXPECT_NEAR(factor, p.expected_factor, 0.08) << p.angle << " degrees";
    const std::array<double, 4> s = channels(with_spot.pixel(x, y));
    const std::array<double, 4> pt = channels(with_point.pixel(x, y));
    const std::array<double, 4> n = channels(unlit_by_either.pixel(x, y));
    EXPECT_GT(pt[1] - n[1], 0.1) << "the point light must reach the pixel at " << p.angle;
    for (int i = 1; i < 4; ++i) {
      const double expected = n[i] + factor * (pt[i] - n[i]);
      EXPECT_NEAR(s[i], expected, kAbsoluteTolerance + kRelativeTolerance * expected)
          << "channel " << i << " at " << p.angle << " degrees, pixel (" << x << ", " << y << ")";
    }
  }
}

// Illumination alone (black surface, no diffuse, no specular): with the split at 0 and
// contrast 1 the two shares add up to illumination x F, and F = (1 - N.V)^2 for fresnel 1,
// (N.V)^2 for fresnel -1, with N.V from the geometry of the pixel.
TEST_F(GpuMaterialPixels, IlluminationFresnelBrightensTheRimOrTheCentre) {
  material_properties m = plain_material();
  m.model_color = {0.0f, 0.0f, 0.0f, 1.0f};
  m.diffuse = 0.0f;
  m.specular = 0.0f;
  m.ambient = 0.0f;
  m.illumination_color = {0.9f, 0.6f, 0.3f, 1.0f};
  m.fresnel_bias = 2.0f;
  for (const float fresnel : {1.0f, -1.0f}) {
    m.fresnel = fresnel;
    const ref::sphere_scene scene =
        scene_of(m, {parallel_light(kFromUpperLeft, kWarmWhite)}, kOrientation);
    const rendered_image image = render(scene);
    double darkest = 1e9;
    double brightest = -1e9;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const ref::ray_hits drawn = ref::drawn_fragments(scene, x + 0.5, y + 0.5);
        if (!drawn.front || !ref::pixel_is_clear_of_edges(scene, x, y)) {
          continue;
        }
        const ref::vec3 v = ref::normalize({kEye.x - drawn.front->world_position.x,
                                            kEye.y - drawn.front->world_position.y,
                                            kEye.z - drawn.front->world_position.z});
        const double n_dot_v = ref::dot(v, drawn.front->flat_normal);
        const double f = fresnel > 0 ? (1 - n_dot_v) * (1 - n_dot_v) : n_dot_v * n_dot_v;
        const double red = image.pixel(x, y).r;
        EXPECT_NEAR(red, 0.9 * f, kAbsoluteTolerance + kRelativeTolerance * 0.9 * f)
            << "fresnel " << fresnel << ", pixel (" << x << ", " << y << ")";
        darkest = std::min(darkest, f);
        brightest = std::max(brightest, f);
      }
    }
    // The compared pixels (V.Nf from 0.15 to 1) span the curve from near 0 to well above it.
    EXPECT_LT(darkest, 0.1) << fresnel;
    EXPECT_GT(brightest, 0.5) << fresnel;
  }
}

// The split weights the illumination by t^c on the light side and (1 - t)^c on the shadow
// side: with contrast 1, dropping the shadow share (split 1) and dropping the light share
// (split -1) leaves two images that add up to the unsplit one, and each is 0 exactly where the
// other is whole.
TEST_F(GpuMaterialPixels, ShadowAndLightSharesOfTheIlluminationAddUpToTheWhole) {
  material_properties m = plain_material();
  m.model_color = {0.0f, 0.0f, 0.0f, 1.0f};
  m.diffuse = 0.0f;
  m.specular = 0.0f;
  m.ambient = 0.0f;
  m.illumination_color = {0.5f, 0.7f, 0.9f, 1.0f};
  m.shadow_light_expansion = 0.1f;
  // White, so that t = clamp(A + 0.1) reaches 1 where Nf.L >= 0.9 and 0 where Nf.L <= -0.1.
  const std::vector<light_properties> lights = {
      parallel_light(kFromUpperLeft, {1.0f, 1.0f, 1.0f, 1.0f})};
  const auto render_split = [&](float split) {
    material_properties split_material = m;
    split_material.shadow_light = split;
    return render(scene_of(split_material, lights));
  };
  const rendered_image whole = render_split(0.0f);
  const rendered_image light_side = render_split(1.0f);
  const rendered_image shadow_side = render_split(-1.0f);
  const ref::sphere_scene scene = scene_of(m, lights);
  int only_light = 0;
  int only_shadow = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      if (!ref::material_pixel(scene, x, y) || !ref::pixel_is_clear_of_edges(scene, x, y)) {
        continue;
      }
      const double w = whole.pixel(x, y).b;
      const double l = light_side.pixel(x, y).b;
      const double s = shadow_side.pixel(x, y).b;
      EXPECT_NEAR(l + s, w, 1e-5) << "pixel (" << x << ", " << y << ")";
      EXPECT_NEAR(w, 0.9, 1e-5) << "unsplit illumination, pixel (" << x << ", " << y << ")";
      only_light += (s == 0.0 && l > 0.0) ? 1 : 0;
      only_shadow += (l == 0.0 && s > 0.0) ? 1 : 0;
    }
  }
  EXPECT_GT(only_light, 100) << "pixels fully on the light side";
  EXPECT_GT(only_shadow, 100) << "pixels fully on the shadow side";
}

// The brightest pixel of a glossy sphere lies where the reference puts the highlight, and has
// its value.
TEST_F(GpuMaterialPixels, SpecularHighlightSitsWhereTheReferencePutsItWithItsValue) {
  material_properties m = plain_material();
  m.model_color = {0.1f, 0.1f, 0.1f, 1.0f};
  m.glossiness = 0.75f;
  m.specular = 1.0f;
  const ref::sphere_scene scene = scene_of(m, {parallel_light(kFromUpperLeft, kWarmWhite)});
  const rendered_image image = render(scene);
  std::array<int, 2> gpu_peak{};
  std::array<int, 2> reference_peak{};
  double gpu_best = -1.0;
  double reference_best = -1.0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const std::optional<ref::rgba> expected = ref::material_pixel(scene, x, y);
      if (!expected || !ref::pixel_is_clear_of_edges(scene, x, y)) {
        continue;
      }
      if (image.pixel(x, y).r > gpu_best) {
        gpu_best = image.pixel(x, y).r;
        gpu_peak = {x, y};
      }
      if (expected->r > reference_best) {
        reference_best = expected->r;
        reference_peak = {x, y};
      }
    }
  }
  // Far above the diffuse level (at most 0.1 * 0.9 * 1), so the peak is the highlight's.
  ASSERT_GT(reference_best, 1.0);
  EXPECT_LE(std::abs(gpu_peak[0] - reference_peak[0]), 1);
  EXPECT_LE(std::abs(gpu_peak[1] - reference_peak[1]), 1);
  EXPECT_NEAR(gpu_best, reference_best, kAbsoluteTolerance + kRelativeTolerance * reference_best);
}

// --- Output formats ---

// Padding in whole pixels, as hosts pad their rows (and as the kernels' vector access of a
// row expects).
struct FormatCase {
  std::uint8_t bytes_per_channel;
  std::int32_t row_padding;
};

// The same partly transparent, feathered sphere written at 8, 16 and 32 bits with row padding
// and an output gamma: every pixel of the 8- and 16-bit buffers is the 32-bit value converted
// (truncated) to the channel type, within one step; the 32-bit one matches the reference.
TEST_F(GpuOutputFormats, EightSixteenAndThirtyTwoBitBuffersAgreePixelForPixel) {
  constexpr float kGamma = 1.0f / 2.2f;
  material_properties m = plain_material();
  m.model_color.w = 0.75f;
  m.edge_feather = 0.4f;
  const ref::sphere_scene scene =
      scene_of(m, {ambient_light(kDimGrey), parallel_light(kFromUpperLeft, kWarmWhite)});

  const rendered_image full =
      render(scene, {.bytes_per_channel = 4, .row_padding = 32, .gamma = kGamma});
  EXPECT_TRUE(matches_reference(scene, full, kGamma));
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      for (double v : channels(full.pixel(x, y))) {
        // The marker reads as a negative float: every pixel was written.
        ASSERT_GE(v, 0.0) << "pixel (" << x << ", " << y << ")";
      }
    }
  }

  for (const FormatCase f : {FormatCase{1, 20}, FormatCase{2, 24}}) {
    const rendered_image narrow = render(
        scene,
        {.bytes_per_channel = f.bytes_per_channel, .row_padding = f.row_padding, .gamma = kGamma});
    // Whole rows come back from the device: the padding arrives as zeros, never as whatever
    // the device buffer held (the harness fills it with a marker first).
    const size_t used = static_cast<size_t>(kWidth) * 4 * f.bytes_per_channel;
    for (int y = 0; y < kHeight; ++y) {
      for (size_t i = used; i < static_cast<size_t>(narrow.row_bytes); ++i) {
        ASSERT_EQ(std::to_integer<int>(narrow.bytes[y * narrow.row_bytes + i]), 0)
            << "padding byte " << i << " of row " << y;
      }
    }
    int differing = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const std::array<double, 4> got = channels(narrow.pixel(x, y));
        const std::array<double, 4> wide = channels(full.pixel(x, y));
        for (int i = 0; i < 4; ++i) {
          const double maximum = f.bytes_per_channel == 1 ? 255.0 : 65535.0;
          double expected = std::clamp(std::trunc(wide[i] * maximum), 0.0, maximum);
          if (f.bytes_per_channel == 2) {
            expected = std::floor(expected / 2.0);
          }
          if (std::abs(got[i] - expected) > 1.0 && ++differing <= 5) {
            ADD_FAILURE() << int{f.bytes_per_channel} << " bytes per channel, pixel (" << x << ", "
                          << y << ") channel " << i << ": " << got[i] << ", expected " << expected;
          }
        }
      }
    }
    EXPECT_EQ(differing, 0) << int{f.bytes_per_channel} << " bytes per channel";
  }
}

// --- Multisampling ---

// With multisampling GL may evaluate the shading at the sample positions (llvmpipe does), up
// to 3/8 of a pixel from the centre, and the resolve averages them. One pixel spans ~0.027
// radians of the sphere here. Symmetric sample patterns cancel first-order changes, but not a
// kink such as the terminator's max(0, N.L): there the average departs from the centre's
// value by up to 0.5 x 0.375 px x 0.027 rad/px x 0.9 (colour x diffuse) ~ 4.6e-3.
constexpr double kSampleSpreadTolerance = 6e-3;

TEST_F(GpuMultisampling, SamplesSmoothOnlyTheSilhouetteAndKeepTheInterior) {
  const material_properties m = plain_material();
  const ref::sphere_scene scene =
      scene_of(m, {ambient_light(kDimGrey), parallel_light(kFromUpperLeft, kWarmWhite)});
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

  const rendered_image single = render(scene, {.samples = 0});
  double single_area = 0.0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const double a = single.pixel(x, y).a;
      EXPECT_TRUE(a == 0.0 || a == 1.0) << "alpha " << a << " at (" << x << ", " << y << ")";
      single_area += a;
    }
  }
  // One sample per pixel misplaces at most the pixels along the silhouette (~240 here), and
  // those errors largely cancel: 1 % of ~4400 pixels is far outside what is right.
  EXPECT_NEAR(single_area, area, 0.01 * area);

  for (const unsigned samples : {2u, 4u, 8u, 16u}) {
    const rendered_image multi = render(scene, {.samples = samples});
    double multi_area = 0.0;
    int interior_differing = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const double a = multi.pixel(x, y).a;
        multi_area += a;
        const bool clear = ref::pixel_is_clear_of_edges(scene, x, y);
        if (a > 0.0 && a < 1.0) {
          EXPECT_FALSE(clear) << samples << " samples: fractional alpha " << a
                              << " away from the silhouette at (" << x << ", " << y << ")";
        }
        if (clear) {
          const std::array<double, 4> got = channels(multi.pixel(x, y));
          const std::array<double, 4> want = channels(single.pixel(x, y));
          for (int i = 0; i < 4; ++i) {
            interior_differing +=
                std::abs(got[i] - want[i]) > kSampleSpreadTolerance + kRelativeTolerance * want[i]
                    ? 1
                    : 0;
          }
        }
      }
    }
    EXPECT_EQ(interior_differing, 0) << samples << " samples";
    const auto fractional = std::count_if(half_covered.begin(), half_covered.end(), [&](auto p) {
      const double a = multi.pixel(p[0], p[1]).a;
      return a > 0.0 && a < 1.0;
    });
    EXPECT_GT(fractional, 0) << samples << " samples: no half-covered pixel has partial alpha";
    EXPECT_NEAR(multi_area, area, 0.01 * area) << samples << " samples";
  }
}

// --- Motion blur ---

// Three samples accumulated with weights 1, 1/2, 1/3 hold the mean of the three premultiplied
// images. The expectation is built from three single-sample frames, each premultiplied again
// from its straight 32-bit output.
TEST_F(GpuMotionBlur, ThreeSamplesAverageToTheMeanOfTheirFrames) {
  material_properties m = plain_material();
  m.model_color.w = 0.8f;
  m.edge_feather = 0.3f;
  const std::vector<light_properties> lights = {ambient_light(kDimGrey),
                                                parallel_light(kFromUpperLeft, kWarmWhite)};
  std::vector<ref::sphere_scene> samples;
  for (const float shift : {-30.0f, 0.0f, 35.0f}) {
    ref::sphere_scene s = scene_of(m, lights);
    s.model_matrix = model_matrix(
        {kSphereCentre.x + shift, kSphereCentre.y + 0.3f * shift, kSphereCentre.z + shift, 0.0f},
        kOrientation, kRadius);
    samples.push_back(s);
  }
  std::vector<rendered_image> singles;
  for (const ref::sphere_scene& s : samples) {
    singles.push_back(render(s));
  }
  const rendered_image blurred = renderer_->render_samples(samples, {});

  int distinct = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      std::array<double, 4> mean{};  // premultiplied r, g, b and alpha
      for (const rendered_image& single : singles) {
        const ref::argb p = single.pixel(x, y);
        mean[0] += p.r * p.a / 3.0;
        mean[1] += p.g * p.a / 3.0;
        mean[2] += p.b * p.a / 3.0;
        mean[3] += p.a / 3.0;
      }
      distinct += std::abs(singles[0].pixel(x, y).a - singles[2].pixel(x, y).a) > 0.5 ? 1 : 0;
      const ref::argb b = blurred.pixel(x, y);
      // Float blending and one division per pixel: a few float roundings of values near 1.
      const std::array<double, 4> got = {b.r * b.a, b.g * b.a, b.b * b.a, b.a};
      for (int i = 0; i < 4; ++i) {
        ASSERT_NEAR(got[i], mean[i], 1e-5) << "pixel (" << x << ", " << y << "), channel " << i;
      }
    }
  }
  // The samples must really differ for the mean to prove anything.
  EXPECT_GT(distinct, 500);
}

}  // namespace

namespace {

// --- The mesh ---

// The opaque, unlit outside of the sphere, turned so that the u seam (the model's +z meridian)
// or a pole faces the camera: a crack between triangles would let a transparent pixel through
// inside the silhouette.
TEST_F(GpuSphereMesh, SeamAndPolesLeaveNoGapInsideTheSilhouette) {
  constexpr float kQuarterTurn = static_cast<float>(kPi / 2.0);
  const struct {
    const char* what;
    hxsdk::quaternion orientation;
  } views[] = {
      {"the seam", hxsdk::quaternion_from_euler({0.0f, 2.0f * kQuarterTurn, 0.0f, 0.0f})},
      {"the +y pole", hxsdk::quaternion_from_euler({-kQuarterTurn, 0.0f, 0.0f, 0.0f})},
      {"the -y pole", hxsdk::quaternion_from_euler({kQuarterTurn, 0.0f, 0.0f, 0.0f})},
  };
  material_properties m = plain_material();
  m.unlit = 1;
  for (const auto& view : views) {
    const ref::sphere_scene scene = scene_of(m, {}, view.orientation);
    const rendered_image image = render(scene);
    int inside = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        // Wholly covered by the analytic sphere: the pixel centre lies well inside the mesh's
        // silhouette, which departs from the sphere by a hundredth of a pixel here.
        if (ref::covered_fraction(scene, x, y, 4) < 1.0) {
          continue;
        }
        ++inside;
        ASSERT_EQ(image.pixel(x, y).a, 1.0) << view.what << ": pixel (" << x << ", " << y << ")";
      }
    }
    EXPECT_GT(inside, kWidth * kHeight / 4) << view.what;
  }
}

}  // namespace
