#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "tests/gpu_shading_reference.h"

// The CPU reference behind the GPU pixel tests, checked against numbers worked out by hand,
// so that a pixel test failing later points at the GPU and not at the reference.
namespace {

namespace ref = shading_reference;

constexpr double kPi = 3.14159265358979323846;

double cos_degrees(double degrees) {
  return std::cos(degrees * kPi / 180.0);
}

struct HandValue {
  std::string what;
  std::function<double()> compute;
  double expected;
};

TEST(ShadingReference, FormulasGiveTheirHandWorkedValues) {
  // Spot, cone 90 (half angle 45) and feather 0.5: the linear ramp (45 - angle) / 45 / 0.5
  // reaches 1 at 22.5 degrees; at 33.75 it is 0.5, smoothstep(0.5) = 0.5, squared 0.25.
  const double cone_cos = ref::spot_cone_cos(90.0);
  // Terminator: clip 0 gives 1 - clamp(-fl), clip 1 gives 1 - clamp(-100 fl).
  // Specular with N = H = V = L and roughness 1: alpha = 1, D = 1 / pi, both visibility
  // terms 1, so the result is 1 / (4 pi).
  const ref::vec3 up{0.0, 0.0, 1.0};
  const std::vector<HandValue> values = {
      {"cone cosine of a 90 degree cone", [&] { return cone_cos; }, std::sqrt(0.5)},
      {"spot at 0 degrees", [&] { return ref::spot_factor(1.0, cone_cos, 0.5); }, 1.0},
      {"spot at 22.5 degrees", [&] { return ref::spot_factor(cos_degrees(22.5), cone_cos, 0.5); },
       1.0},
      {"spot at 33.75 degrees", [&] { return ref::spot_factor(cos_degrees(33.75), cone_cos, 0.5); },
       0.25},
      {"spot at 45 degrees (on the cone: outside)",
       [&] { return ref::spot_factor(cone_cos, cone_cos, 0.5); }, 0.0},
      {"spot at 60 degrees", [&] { return ref::spot_factor(cos_degrees(60.0), cone_cos, 0.5); },
       0.0},
      {"hard spot just inside its cone",
       [&] { return ref::spot_factor(cos_degrees(44.9), cone_cos, 0.0); }, 1.0},
      {"fresnel 1 bias 2 at the silhouette",
       [] { return ref::illumination_fresnel(0.0, 1.0, 2.0); }, 1.0},
      {"fresnel 1 bias 2 facing the viewer",
       [] { return ref::illumination_fresnel(1.0, 1.0, 2.0); }, 0.0},
      {"fresnel 1 bias 2 at N.V 0.5", [] { return ref::illumination_fresnel(0.5, 1.0, 2.0); },
       0.25},
      {"fresnel -1 bias 2 at the silhouette",
       [] { return ref::illumination_fresnel(0.0, -1.0, 2.0); }, 0.0},
      {"fresnel -1 bias 2 facing the viewer",
       [] { return ref::illumination_fresnel(1.0, -1.0, 2.0); }, 1.0},
      {"fresnel 0.5 bias 2 facing the viewer",
       [] { return ref::illumination_fresnel(1.0, 0.5, 2.0); }, 0.5},
      {"fresnel off below bias 0.01", [] { return ref::illumination_fresnel(1.0, 1.0, 0.009); },
       1.0},
      {"edge feather 0.5 at the silhouette", [] { return ref::edge_alpha_factor(0.0, 0.5, 0.0); },
       0.0},
      {"edge feather 0.5 at 67.5 degrees (ed 0.25)",
       [] { return ref::edge_alpha_factor(cos_degrees(67.5), 0.5, 0.0); }, 0.5},
      {"edge feather 0.5 at 45 degrees (ed 0.5)",
       [] { return ref::edge_alpha_factor(cos_degrees(45.0), 0.5, 0.0); }, 1.0},
      {"edge feather 0.5 facing the viewer", [] { return ref::edge_alpha_factor(1.0, 0.5, 0.0); },
       1.0},
      {"no edge feather nor shrink", [] { return ref::edge_alpha_factor(0.0, 0.0, 0.0); }, 1.0},
      {"shrink 0.5 without feather cuts at ed 0.5 (46 degrees is outside)",
       [] { return ref::edge_alpha_factor(cos_degrees(46.0), 0.0, 0.5); }, 0.0},
      {"box feathering of 0", [] { return ref::box_feathering_exponent(0.0); }, 65.0},
      {"box feathering of 1", [] { return ref::box_feathering_exponent(1.0); }, 1.0},
      {"shadow/light contrast 0.5", [] { return ref::shadow_light_contrast_exponent(0.5); }, 0.5},
      {"shadow/light contrast 2", [] { return ref::shadow_light_contrast_exponent(2.0); },
       std::pow(2.0, 1.5)},
      {"shadow/light contrast 3", [] { return ref::shadow_light_contrast_exponent(3.0); }, 8.0},
      {"terminator facing the light", [] { return ref::terminator_factor(0.3, 0.0); }, 1.0},
      {"terminator soft at fl -0.5", [] { return ref::terminator_factor(-0.5, 0.0); }, 0.5},
      {"terminator sharp at fl -0.005", [] { return ref::terminator_factor(-0.005, 1.0); }, 0.5},
      {"specular of a fully rough surface seen head on",
       [&] { return ref::specular_term(up, 1.0, 1.0, up, up); }, 1.0 / (4.0 * 3.1415927)},
  };
  for (const HandValue& v : values) {
    EXPECT_NEAR(v.compute(), v.expected, 1e-9) << v.what;
  }
}

struct KernelCase {
  std::string what;
  ref::rgba premultiplied;
  double gamma;
  int bytes_per_channel;
  ref::argb expected;
};

TEST(ShadingReference, OutputConversionUnpremultipliesRaisesToGammaAndTruncates) {
  const std::vector<KernelCase> cases = {
      {"opaque white, 8 bits", {1, 1, 1, 1}, 1.0, 1, {255, 255, 255, 255}},
      {"opaque white, 16 bits", {1, 1, 1, 1}, 1.0, 2, {32767, 32767, 32767, 32767}},
      {"half-covered grey, 8 bits: 0.25 / 0.5 = 0.5 -> 127",
       {0.25, 0.25, 0.25, 0.5},
       1.0,
       1,
       {127, 127, 127, 127}},
      {"gamma 0.5 takes square roots", {0.25, 0.0625, 0.01, 1.0}, 0.5, 4, {1.0, 0.5, 0.25, 0.1}},
      {"alpha 0 keeps colour undivided", {0.25, 0.0, 0.0, 0.0}, 0.5, 4, {0.0, 0.5, 0.0, 0.0}},
      {"alpha above 1 is clamped before dividing",
       {1.0, 0.5, 0.0, 2.0},
       1.0,
       4,
       {1.0, 1.0, 0.5, 0.0}},
      {"over-bright colour saturates in 8 bits", {3.0, 0.0, 0.0, 1.0}, 1.0, 1, {255, 255, 0, 0}},
      {"16 bits halve the truncated 0..65535 value",
       {0.5, 0.0, 0.0, 1.0},
       1.0,
       2,
       {32767, 16383, 0, 0}},
  };
  for (const KernelCase& c : cases) {
    const ref::argb p = ref::output_pixel(c.premultiplied, c.gamma, c.bytes_per_channel);
    EXPECT_NEAR(p.a, c.expected.a, 1e-12) << c.what;
    EXPECT_NEAR(p.r, c.expected.r, 1e-12) << c.what;
    EXPECT_NEAR(p.g, c.expected.g, 1e-12) << c.what;
    EXPECT_NEAR(p.b, c.expected.b, 1e-12) << c.what;
  }
}

TEST(ShadingReference, OnlyTheFirstEightLightsAreLitAndAmbientsAfterThemAreIgnored) {
  std::vector<light_properties> lights;
  light_properties ambient;
  ambient.light_type = kLightAmbient;
  ambient.color = {0.25f, 0.5f, 0.125f, 1.0f};
  lights.push_back(ambient);
  for (int i = 0; i < 9; ++i) {
    light_properties parallel;
    parallel.color = {static_cast<float>(i), 0.0f, 0.0f, 1.0f};
    lights.push_back(parallel);
  }
  lights.push_back(ambient);
  const ref::packed_lights packed = ref::pack_light_list(lights);
  ASSERT_EQ(packed.slots.size(), 8u);
  EXPECT_EQ(packed.slots.back().color.x, 7.0f);
  EXPECT_EQ(packed.ambient.r, 0.25);
  EXPECT_EQ(packed.ambient.g, 0.5);
  EXPECT_EQ(packed.ambient.b, 0.125);
}

}  // namespace
