#include <gtest/gtest.h>

#include <cmath>
#include <optional>
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
using lunaform::host::Layer;
using lunaform::host::LightLayer;
using lunaform::host::LightType;
using lunaform::host::Vec3;

Layer light_layer(const std::string& name, LightType type, const Vec3& position) {
  Layer layer;
  layer.name = name;
  layer.transform.position = Animated<Vec3>(position);
  LightLayer light;
  light.type = type;
  layer.content = light;
  return layer;
}

LightLayer& light_of(Layer& layer) {
  return std::get<LightLayer>(layer.content);
}

Composition with_lights(std::vector<Layer> lights, std::optional<bool> default_lights = {}) {
  Composition comp = e2e_scene::sphere_composition();
  for (Layer& light : lights) {
    comp.layers.push_back(std::move(light));
  }
  if (default_lights) {
    e2e_scene::effect_of(comp).params["Use Default Lights"] = Animated<double>(*default_lights);
  }
  return comp;
}

std::vector<light_properties> lights_of(SceneHost& scene) {
  return e2e_scene::only(scene.render(), Operation::Kind::set_lights).lights;
}

void expect_vec4(const hxsdk::vec4& actual, double x, double y, double z, double w,
                 const std::string& what) {
  EXPECT_NEAR(actual.x, x, 1e-5) << what;
  EXPECT_NEAR(actual.y, y, 1e-5) << what;
  EXPECT_NEAR(actual.z, z, 1e-5) << what;
  EXPECT_NEAR(actual.w, w, 1e-5) << what;
}

void expect_default_pair(const std::vector<light_properties>& lights, const std::string& what) {
  ASSERT_EQ(lights.size(), 2u) << what;
  EXPECT_EQ(lights[0].light_type, 0) << what;
  expect_vec4(lights[0].position, -10000, -10000, 0, 0, what);
  expect_vec4(lights[0].direction, std::sqrt(0.5), std::sqrt(0.5), 0, 0, what);
  expect_vec4(lights[0].color, 1, 1, 1, 1, what);
  EXPECT_EQ(lights[1].light_type, 3) << what;
  expect_vec4(lights[1].color, 0.2, 0.2, 0.2, 0.2, what);
}

TEST(E2eSceneLights, CompositionWithoutLightsUsesTheDefaultPairOnlyWhenAskedTo) {
  SceneHost with_defaults(with_lights({}));  // "Use Default Lights" is on by default
  expect_default_pair(lights_of(with_defaults), "default lights on");
  SceneHost without_defaults(with_lights({}, false));
  EXPECT_TRUE(lights_of(without_defaults).empty());
}

TEST(E2eSceneLights, SwitchedOffLightCountsAsNoLight) {
  Layer off = light_layer("Off", LightType::point, {100, 100, -500});
  off.video_on = false;
  SceneHost with_defaults(with_lights({off}));
  expect_default_pair(lights_of(with_defaults), "only a switched-off light");
  SceneHost without_defaults(with_lights({off}, false));
  EXPECT_TRUE(lights_of(without_defaults).empty());
}

TEST(E2eSceneLights, LightShinesFromItsInPointUntilJustBeforeItsEnd) {
  // In point 1 s, duration 2 s; the effect's clock runs at 3600 units a second.
  Layer timed = light_layer("Timed", LightType::point, {100, 100, -500});
  timed.in_point = 1.0;
  timed.duration = 2.0;
  struct Case {
    A_long time;
    bool lit;
  };
  for (const Case& c :
       {Case{3599, false}, Case{3600, true}, Case{10799, true}, Case{10800, false}}) {
    SceneHost scene(with_lights({timed}, false));
    scene.host.settings().current_time = c.time;
    EXPECT_EQ(lights_of(scene).size(), c.lit ? 1u : 0u) << "time " << c.time;
  }
}

TEST(E2eSceneLights, IntensityScalesTheColourAndNegativeIntensityGivesBlack) {
  Layer bright = light_layer("Bright", LightType::point, {0, 0, -500});
  light_of(bright).color = Animated<Color>(Color{1.0, 0.5, 0.25, 1.0});
  light_of(bright).intensity_percent = Animated<double>(200.0);
  Layer dark = light_layer("Dark", LightType::point, {0, 0, -500});
  light_of(dark).intensity_percent = Animated<double>(-50.0);
  SceneHost scene(with_lights({bright, dark}));
  const std::vector<light_properties> lights = lights_of(scene);
  ASSERT_EQ(lights.size(), 2u);
  expect_vec4(lights[0].color, 2.0, 1.0, 0.5, 1.0, "200 %");
  expect_vec4(lights[1].color, 0.0, 0.0, 0.0, 1.0, "-50 %");
}

TEST(E2eSceneLights, SpotLightKeepsItsConeAndFeatherAndPointsAtItsTarget) {
  Layer spot = light_layer("Spot", LightType::spot, {960, 0, -600});
  spot.transform.point_of_interest = Animated<Vec3>(Vec3{960, 800, 0});  // (0, 800, 600) away
  light_of(spot).cone_angle_degrees = Animated<double>(90.0);
  light_of(spot).cone_feather_percent = Animated<double>(50.0);
  light_of(spot).falloff_distance = Animated<double>(750.0);
  SceneHost scene(with_lights({spot}));
  const std::vector<light_properties> lights = lights_of(scene);
  ASSERT_EQ(lights.size(), 1u);
  EXPECT_EQ(lights[0].light_type, 1);
  expect_vec4(lights[0].position, 960, 0, -600, 0, "position");
  expect_vec4(lights[0].direction, 0, 0.8, 0.6, 0, "direction");
  EXPECT_FLOAT_EQ(lights[0].cone_angle, 90.0f);
  EXPECT_FLOAT_EQ(lights[0].cone_feather, 0.5f);
  EXPECT_FLOAT_EQ(lights[0].falloff, 750.0f);
  EXPECT_EQ(lights[0].falloff_type, 0);
}

TEST(E2eSceneLights, EveryLiveLightIsRecordedInLayerOrderWithItsTypesFields) {
  Layer parallel = light_layer("Parallel", LightType::parallel, {0, 0, -1000});
  parallel.transform.point_of_interest = Animated<Vec3>(Vec3{0, 0, 0});
  Layer point = light_layer("Point", LightType::point, {500, 200, -300});
  point.transform.point_of_interest = Animated<Vec3>(Vec3{500, 200, 0});
  Layer ambient = light_layer("Ambient", LightType::ambient, {0, 0, 0});
  light_of(ambient).color = Animated<Color>(Color{0.1, 0.2, 0.3, 1.0});
  SceneHost scene(with_lights({parallel, point, ambient}));
  const std::vector<light_properties> lights = lights_of(scene);
  ASSERT_EQ(lights.size(), 3u);
  EXPECT_EQ(lights[0].light_type, 0);
  expect_vec4(lights[0].direction, 0, 0, 1, 0, "parallel direction");
  EXPECT_EQ(lights[1].light_type, 2);
  expect_vec4(lights[1].position, 500, 200, -300, 0, "point position");
  expect_vec4(lights[1].direction, 0, 0, 0, 0, "point direction");
  EXPECT_EQ(lights[2].light_type, 3);
  expect_vec4(lights[2].color, 0.1, 0.2, 0.3, 1.0, "ambient colour");
  expect_vec4(lights[2].direction, 0, 0, 0, 0, "ambient direction");
  for (const light_properties& light : lights) {
    EXPECT_EQ(light.cone_angle, 0.0f);
    EXPECT_EQ(light.cone_feather, 0.0f);
  }
}

TEST(E2eSceneLights, WidePixelsPutALightTwiceAsFarAlongX) {
  Composition comp = with_lights({light_layer("Point", LightType::point, {100, 50, -200})});
  comp.pixel_aspect = {2, 1};
  e2e_scene::effect_of(comp).pixel_aspect = {2, 1};
  SceneHost scene(comp);
  const std::vector<light_properties> lights = lights_of(scene);
  ASSERT_EQ(lights.size(), 1u);
  expect_vec4(lights[0].position, 200, 50, -200, 0, "pixel aspect 2");
}

TEST(E2eSceneLights, MovingLightIsReadAtEachSamplesTime) {
  Layer moving = light_layer("Moving", LightType::point, {0, 0, 0});
  Animated<Vec3> path;
  path.set_key(10.0 / 30.0, Vec3{0, 0, -500});
  path.set_key(11.0 / 30.0, Vec3{1200, 0, -500});
  moving.transform.position = path;
  Composition comp = with_lights({moving});
  e2e_scene::effect_of(comp).params["Motion Blur"] = Animated<double>(2.0);
  e2e_scene::effect_of(comp).params["Motion Blur Samples"] = Animated<double>(3.0);
  e2e_scene::effect_of(comp).params["Shutter Angle"] = Animated<double>(360.0);
  SceneHost scene(comp);
  scene.host.settings().current_time = 1200;
  const std::vector<Operation> posted =
      e2e_scene::of_kind(scene.render(), Operation::Kind::set_lights);
  ASSERT_EQ(posted.size(), 3u);
  for (int k = 0; k < 3; ++k) {
    ASSERT_EQ(posted[k].lights.size(), 1u);
    EXPECT_NEAR(posted[k].lights[0].position.x, 400.0 * k, 1e-3) << "sample " << k;
  }
}

}  // namespace
