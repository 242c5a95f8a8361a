// Scene assembly through the real host: where the camera record puts world points, the light
// records, and the drawn scene's placement and material, each compared with values worked out
// here from the composition.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/camera_math.h"
#include "host/composition.h"
#include "tests/e2e_scene_support.h"

namespace {

using e2e_scene::Operation;
using lunaform::host::Animated;
using lunaform::host::CameraLayer;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::Layer;
using lunaform::host::LightLayer;
using lunaform::host::LightType;
using lunaform::host::Projection;
using lunaform::host::Vec3;

constexpr double kPi = 3.14159265358979323846;

double dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vec3 minus(const Vec3& a, const Vec3& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Vec3 normalised(const Vec3& v) {
  const double length = std::sqrt(dot(v, v));
  return {v.x / length, v.y / length, v.z / length};
}
Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
std::string describe(const Vec3& p) {
  return "(" + std::to_string(p.x) + ", " + std::to_string(p.y) + ", " + std::to_string(p.z) + ")";
}

void expect_vec4(const hxsdk::vec4& actual, std::array<double, 4> expected,
                 const std::string& what) {
  EXPECT_NEAR(actual.x, expected[0], 1e-5) << what;
  EXPECT_NEAR(actual.y, expected[1], 1e-5) << what;
  EXPECT_NEAR(actual.z, expected[2], 1e-5) << what;
  EXPECT_NEAR(actual.w, expected[3], 1e-5) << what;
}

// A camera as a scene describes it.
struct CameraSetup {
  Vec3 position;
  Vec3 point_of_interest;
  double zoom = 0;
  Projection projection = Projection::perspective;
};

Composition with_camera(const CameraSetup& setup) {
  Composition comp = e2e_scene::sphere_composition();
  Layer camera;
  camera.name = "Camera";
  camera.transform.position = Animated<Vec3>(setup.position);
  camera.transform.point_of_interest = Animated<Vec3>(setup.point_of_interest);
  camera.content = CameraLayer{Animated<double>(setup.zoom), setup.projection};
  comp.layers.insert(comp.layers.begin(), std::move(camera));
  return comp;
}

// Where a camera at `setup` puts a world point, in pixels of an output buffer at `downsample`
// whose top-left corner is `origin`: the camera looks at its point of interest, level (its x
// axis has no vertical part, y points down); the point's coordinates along those axes go onto
// the image plane at distance zoom (orthographic: straight across), centred on the 1920 x 1080
// layer.
std::array<double, 2> camera_pixel(const CameraSetup& setup, const Vec3& point, double downsample,
                                   std::array<double, 2> origin) {
  const Vec3 z = normalised(minus(setup.point_of_interest, setup.position));
  const Vec3 x = normalised(cross(z, Vec3{0, -1, 0}));
  const Vec3 y = cross(z, x);
  const Vec3 offset = minus(point, setup.position);
  const double xc = dot(offset, x);
  const double yc = dot(offset, y);
  const double zc = dot(offset, z);
  const bool parallel = setup.projection == Projection::orthographic;
  const double u = parallel ? xc : setup.zoom * xc / zc;
  const double v = parallel ? yc : setup.zoom * yc / zc;
  return {(960.0 + u) / downsample - origin[0], (540.0 + v) / downsample - origin[1]};
}

// The same point through the camera record the renderer received: projection * view, the
// perspective division, then -1..1 across the output buffer (-1 at its top row).
std::array<double, 2> record_pixel(const render_properties& camera, const Vec3& point,
                                   const render_data& output) {
  const auto apply = [](const hxsdk::mat4& m, const std::array<double, 4>& v) {
    std::array<double, 4> r{};
    for (int row = 0; row < 4; ++row) {
      for (int k = 0; k < 4; ++k) {
        r[row] += m[4 * k + row] * v[k];
      }
    }
    return r;
  };
  const auto clip =
      apply(camera.projection_matrix, apply(camera.view_matrix, {point.x, point.y, point.z, 1.0}));
  return {(clip[0] / clip[3] + 1.0) / 2.0 * output.output_image.width,
          (clip[1] / clip[3] + 1.0) / 2.0 * output.output_image.height};
}

class E2eSceneCamera : public e2e_scene::SharedSceneHost {};

TEST_F(E2eSceneCamera, WorldPointsLandWhereTheCameraPutsThemInEveryOutputBuffer) {
  // The host's default camera: at the composition's centre, at the distance of a 50 mm lens.
  const double default_zoom = 960.0 / std::tan(39.6 / 2.0 * kPi / 180.0);
  struct Camera {
    const char* name;
    CameraSetup setup;
    bool in_composition;
  };
  const Camera cameras[] = {
      {"default camera", {{960, 540, -default_zoom}, {960, 540, 0}, default_zoom}, false},
      {"perspective camera", {{300, -200, -1500}, {1100, 600, 400}, 1800}, true},
      {"orthographic camera",
       {{800, 500, -3000}, {800, 500, 0}, 2000, Projection::orthographic},
       true},
  };
  struct Output {
    A_u_long downsample;
    std::optional<PF_LRect> rect;
  };
  const Output outputs[] = {
      {1, {}}, {2, {}}, {1, PF_LRect{700, 300, 1100, 550}}, {2, PF_LRect{200, 100, 600, 400}}};
  const Vec3 points[] = {{960, 540, 0},    {0, 0, 0},        {1920, 1080, 0},  {1100, 600, 400},
                         {1500, 200, 800}, {700, 900, -300}, {1000, 300, 4000}};
  for (const Camera& camera : cameras) {
    for (const Output& o : outputs) {
      const Composition comp =
          camera.in_composition ? with_camera(camera.setup) : e2e_scene::sphere_composition();
      scene_->host.settings().downsample_x =
          scene_->host.settings().downsample_y = {1, o.downsample};
      scene_->host.settings().output_rect = o.rect;
      const std::vector<Operation> ops = render(comp);
      const render_properties record =
          e2e_scene::only(ops, Operation::Kind::set_render_properties).camera;
      const render_data output = e2e_scene::only(ops, Operation::Kind::set_output).output;
      const std::array<double, 2> origin{o.rect ? o.rect->left : 0.0, o.rect ? o.rect->top : 0.0};
      for (const Vec3& point : points) {
        const auto expected = camera_pixel(camera.setup, point, o.downsample, origin);
        const auto actual = record_pixel(record, point, output);
        const std::string where = std::string(camera.name) + ", downsample " +
                                  std::to_string(o.downsample) + ", origin " +
                                  std::to_string(origin[0]) + ", point " + describe(point);
        EXPECT_NEAR(actual[0], expected[0], 0.02) << where;
        EXPECT_NEAR(actual[1], expected[1], 0.02) << where;
        // The host's own projection agrees.
        const auto host_pixel = lunaform::host::project_to_layer_pixels(
            scene_->host.composition(), point, 0.0, o.downsample, o.downsample);
        ASSERT_TRUE(host_pixel.has_value()) << where;
        EXPECT_NEAR(host_pixel->x - origin[0], expected[0], 1e-6) << where;
        EXPECT_NEAR(host_pixel->y - origin[1], expected[1], 1e-6) << where;
      }
      EXPECT_FLOAT_EQ(record.view_size.x, 1920.0f);
      EXPECT_FLOAT_EQ(record.view_size.y, 1080.0f);
      EXPECT_NEAR(record.eye_position.x, camera.setup.position.x, 1e-3) << camera.name;
      EXPECT_NEAR(record.eye_position.y, camera.setup.position.y, 1e-3) << camera.name;
      EXPECT_NEAR(record.eye_position.z, camera.setup.position.z, 1e-2) << camera.name;
      if (camera.setup.projection == Projection::orthographic && !o.rect && o.downsample == 1) {
        // 200 pixels right of and above the camera's axis, whatever the depth.
        EXPECT_NEAR(record_pixel(record, {1000, 300, 4000}, output)[0], 1160.0, 0.02);
        EXPECT_NEAR(record_pixel(record, {1000, 300, 4000}, output)[1], 340.0, 0.02);
      }
    }
  }
}

TEST_F(E2eSceneCamera, NegativeTimeAsksForTheCameraAtTimeZero) {
  Composition comp = with_camera({{960, 540, -2000}, {960, 540, 0}, 2000});
  Animated<Vec3> position;
  position.set_key(-1.0, Vec3{0, 540, -2000});
  position.set_key(1.0, Vec3{1920, 540, -2000});  // x = 960 at time 0
  comp.layers.front().transform.position = position;
  comp.layers.front().in_point = -1.0;
  scene_->host.settings().current_time = -240;  // two frames before the composition starts
  const std::vector<Operation> ops = render(comp);
  EXPECT_FLOAT_EQ(
      e2e_scene::only(ops, Operation::Kind::set_render_properties).camera.eye_position.x, 960.0f);
  int camera_calls = 0;
  for (const lunaform::host::TimedCall& call : scene_->host.timed_calls()) {
    if (call.function == "AEGP_GetEffectCamera" || call.function == "AEGP_GetEffectCameraMatrix") {
      ++camera_calls;
      EXPECT_EQ(call.time.value, 0) << call.function;
    }
  }
  EXPECT_EQ(camera_calls, 2);
}

TEST_F(E2eSceneCamera, SpherePlacementIsInFullResolutionSquarePixels) {
  Composition comp = e2e_scene::sphere_composition();
  auto& effect = e2e_scene::effect_of(comp);
  effect.pixel_aspect = {2, 1};
  effect.params["Position"] = Animated<Vec3>(Vec3{480, 270, 100});
  effect.params["Radius"] = Animated<double>(150.0);
  effect.params["Rotation X"] = Animated<double>(90.0);
  comp.pixel_aspect = {2, 1};
  scene_->host.settings().downsample_x = scene_->host.settings().downsample_y = {1, 2};
  const scene_parameters drawn = e2e_scene::only(render(comp), Operation::Kind::draw).scene;
  // Layer pixels (480, 270, 100), x made square: twice as wide.
  expect_vec4(drawn.position, {960, 270, 100, 0}, "position");
  EXPECT_FLOAT_EQ(drawn.radius, 150.0f);
  // A quarter turn about x: (sin 45°, 0, 0, cos 45°).
  const hxsdk::quaternion& q = drawn.orientation;
  expect_vec4({q.x, q.y, q.z, q.w}, {std::sqrt(0.5), 0, 0, std::sqrt(0.5)}, "orientation");
}

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

Composition with_lights(std::vector<Layer> lights, bool default_lights = true) {
  Composition comp = e2e_scene::sphere_composition();
  comp.layers.insert(comp.layers.end(), lights.begin(), lights.end());
  e2e_scene::effect_of(comp).params["Use Default Lights"] = Animated<double>(default_lights);
  return comp;
}

class E2eSceneLights : public e2e_scene::SharedSceneHost {
 protected:
  static std::vector<light_properties> lights_of(Composition comp) {
    return e2e_scene::only(render(std::move(comp)), Operation::Kind::set_lights).lights;
  }
};

TEST_F(E2eSceneLights, TheDefaultPairLightsTheSphereOnlyWhenAskedAndNoLightIsLive) {
  Layer off = light_layer("Off", LightType::point, {100, 100, -500});
  off.video_on = false;
  // In point 1 s, duration 2 s; the effect's clock runs at 3600 units a second.
  Layer timed = light_layer("Timed", LightType::point, {100, 100, -500});
  timed.in_point = 1.0;
  timed.duration = 2.0;
  struct Case {
    const char* name;
    std::vector<Layer> lights;
    bool default_lights;
    A_long time;
    int count;  // -1: the default pair
  };
  const Case cases[] = {
      {"no light", {}, true, 0, -1},
      {"no light, no defaults", {}, false, 0, 0},
      {"switched off", {off}, true, 0, -1},
      {"switched off, no defaults", {off}, false, 0, 0},
      {"just before the in point", {timed}, true, 3599, -1},
      {"at the in point", {timed}, true, 3600, 1},
      {"just before the end", {timed}, false, 10799, 1},
      {"at the end", {timed}, false, 10800, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    scene_->host.settings().current_time = c.time;
    const std::vector<light_properties> lights = lights_of(with_lights(c.lights, c.default_lights));
    if (c.count >= 0) {
      EXPECT_EQ(lights.size(), std::size_t(c.count));
      continue;
    }
    // A white light from the upper left, parallel, and a fifth of white ambient light.
    ASSERT_EQ(lights.size(), 2u);
    EXPECT_EQ(lights[0].light_type, 0);
    expect_vec4(lights[0].position, {-10000, -10000, 0, 0}, "default light");
    expect_vec4(lights[0].direction, {std::sqrt(0.5), std::sqrt(0.5), 0, 0}, "default light");
    expect_vec4(lights[0].color, {1, 1, 1, 1}, "default light");
    EXPECT_EQ(lights[1].light_type, 3);
    expect_vec4(lights[1].color, {0.2, 0.2, 0.2, 0.2}, "default ambient light");
  }
}

TEST_F(E2eSceneLights, EveryLiveLightIsRecordedInLayerOrderWithItsTypesFields) {
  Layer bright = light_layer("Bright", LightType::point, {0, 0, -500});
  light_of(bright).color = Animated<Color>(Color{1.0, 0.5, 0.25, 1.0});
  light_of(bright).intensity_percent = Animated<double>(200.0);
  Layer dark = light_layer("Dark", LightType::point, {0, 0, -500});
  light_of(dark).intensity_percent = Animated<double>(-50.0);
  Layer spot = light_layer("Spot", LightType::spot, {960, 0, -600});
  spot.transform.point_of_interest = Animated<Vec3>(Vec3{960, 800, 0});  // (0, 800, 600) away
  light_of(spot).cone_angle_degrees = Animated<double>(90.0);
  light_of(spot).cone_feather_percent = Animated<double>(50.0);
  light_of(spot).falloff_distance = Animated<double>(750.0);
  Layer parallel = light_layer("Parallel", LightType::parallel, {0, 0, -1000});
  parallel.transform.point_of_interest = Animated<Vec3>(Vec3{0, 0, 0});
  Layer point = light_layer("Point", LightType::point, {500, 200, -300});
  point.transform.point_of_interest = Animated<Vec3>(Vec3{500, 200, 0});
  Layer ambient = light_layer("Ambient", LightType::ambient, {0, 0, 0});
  light_of(ambient).color = Animated<Color>(Color{0.1, 0.2, 0.3, 1.0});
  const std::vector<light_properties> lights =
      lights_of(with_lights({bright, dark, spot, parallel, point, ambient}));
  ASSERT_EQ(lights.size(), 6u);
  // Intensity scales the colour; a negative one gives black.
  expect_vec4(lights[0].color, {2.0, 1.0, 0.5, 1.0}, "200 %");
  expect_vec4(lights[1].color, {0.0, 0.0, 0.0, 1.0}, "-50 %");
  EXPECT_EQ(lights[2].light_type, 1);
  expect_vec4(lights[2].position, {960, 0, -600, 0}, "spot position");
  expect_vec4(lights[2].direction, {0, 0.8, 0.6, 0}, "spot direction");
  EXPECT_FLOAT_EQ(lights[2].cone_angle, 90.0f);
  EXPECT_FLOAT_EQ(lights[2].cone_feather, 0.5f);
  EXPECT_FLOAT_EQ(lights[2].falloff, 750.0f);
  EXPECT_EQ(lights[2].falloff_type, 0);
  EXPECT_EQ(lights[3].light_type, 0);
  expect_vec4(lights[3].direction, {0, 0, 1, 0}, "parallel direction");
  EXPECT_EQ(lights[4].light_type, 2);
  expect_vec4(lights[4].position, {500, 200, -300, 0}, "point position");
  expect_vec4(lights[4].direction, {0, 0, 0, 0}, "a point light has no direction");
  EXPECT_EQ(lights[5].light_type, 3);
  expect_vec4(lights[5].color, {0.1, 0.2, 0.3, 1.0}, "ambient colour");
  expect_vec4(lights[5].direction, {0, 0, 0, 0}, "ambient light has no direction");
  for (const std::size_t i : {0u, 1u, 3u, 4u, 5u}) {
    EXPECT_EQ(lights[i].cone_angle, 0.0f) << "only a spot has a cone";
    EXPECT_EQ(lights[i].cone_feather, 0.0f) << "only a spot has a cone";
  }
}

TEST_F(E2eSceneLights, WidePixelsPutALightTwiceAsFarAlongX) {
  Composition comp = with_lights({light_layer("Point", LightType::point, {100, 50, -200})});
  comp.pixel_aspect = {2, 1};
  e2e_scene::effect_of(comp).pixel_aspect = {2, 1};
  const std::vector<light_properties> lights = lights_of(comp);
  ASSERT_EQ(lights.size(), 1u);
  expect_vec4(lights[0].position, {200, 50, -200, 0}, "pixel aspect 2");
}

TEST_F(E2eSceneLights, AMovingLightIsReadAtEachMotionBlurSamplesTime) {
  Layer moving = light_layer("Moving", LightType::point, {0, 0, 0});
  Animated<Vec3> path;
  path.set_key(10.0 / 30.0, Vec3{0, 0, -500});
  path.set_key(11.0 / 30.0, Vec3{1200, 0, -500});
  moving.transform.position = path;
  Composition comp = with_lights({moving});
  auto& params = e2e_scene::effect_of(comp).params;
  params["Motion Blur"] = Animated<double>(2.0);
  params["Motion Blur Samples"] = Animated<double>(3.0);
  params["Shutter Angle"] = Animated<double>(360.0);
  scene_->host.settings().current_time = 1200;
  const std::vector<Operation> posted =
      e2e_scene::of_kind(render(comp), Operation::Kind::set_lights);
  ASSERT_EQ(posted.size(), 3u);
  for (int k = 0; k < 3; ++k) {
    ASSERT_EQ(posted[k].lights.size(), 1u);
    EXPECT_NEAR(posted[k].lights[0].position.x, 400.0 * k, 1e-3) << "sample " << k;
  }
}

class E2eSceneMaterial : public e2e_scene::SharedSceneHost {
 protected:
  // The drawn scene of one frame with the given parameter values, all of which the effect takes.
  static scene_parameters drawn_scene(
      const std::map<std::string, lunaform::host::ParamValue>& values) {
    Composition comp = e2e_scene::sphere_composition();
    e2e_scene::effect_of(comp).params.insert(values.begin(), values.end());
    scene_->host.set_composition(comp);
    EXPECT_TRUE(scene_->host.effect_param_mismatches().empty());
    return e2e_scene::only(scene_->render(), Operation::Kind::draw).scene;
  }
};

TEST_F(E2eSceneMaterial, EveryFieldFollowsItsParameterFromItsDefault) {
  // The parameters that reach a material field as they are: default and another value.
  struct Direct {
    const char* param;
    double dephault, value;
    float material_properties::*field;
  };
  using M = material_properties;
  const Direct direct[] = {
      {"Diffuse Blend", 1, 0.25, &M::diffuse_blend},
      {"Edge Feather", 0, 0.1, &M::edge_feather},
      {"Edge Shrink", 0, 0.05, &M::edge_shrink},
      {"Diffuse Gamma", 2.2, 1.8, &M::diffuse_gamma},
      {"Glossiness Gamma", 1, 1.2, &M::glossiness_gamma},
      {"Illumination Gamma", 2.2, 2.4, &M::illumination_gamma},
      {"Environment Gamma", 2.2, 2.0, &M::environment_gamma},
      {"Diffuse Brightness", 1, 1.5, &M::diffuse_brightness},
      {"Glossiness Brightness", 1, 0.75, &M::glossiness_brightness},
      {"Illumination Brightness", 1, 2.5, &M::illumination_brightness},
      {"Environment Brightness", 1, 3.0, &M::environment_brightness},
      {"Bump Map Intensity", 1, -2.5, &M::normal_amount},
      {"Bump Falloff", 0.8, 0.3, &M::clip_lighting},
      {"Fresnel", 0, -0.4, &M::fresnel},
      {"Fresnel Bias", 1, 2.0, &M::fresnel_bias},
      {"Shadow/Light", 0, 0.3, &M::shadow_light},
      {"Shadow/Light Contrast", 3, 4.5, &M::shadow_light_contrast},
      {"Shadow/Light Expansion", 0, -0.1, &M::shadow_light_expansion},
      {"Bump Influence", 1, 0.6, &M::bump_influence},
      {"Reflectivity", 0, 3.0, &M::reflectivity},
      {"Ambient", 1, 0.2, &M::ambient},
      {"Diffuse", 1, 4.0, &M::diffuse},
      {"Glossiness", 1, 0.7, &M::glossiness},
      {"Specular", 1, 5.0, &M::specular},
      {"Box UV Feathering", 0.2, 0.4, &M::uv_feathering},
  };
  const scene_parameters defaults = drawn_scene({});
  std::map<std::string, lunaform::host::ParamValue> values = {
      {"Surface", Animated<double>(3)},
      {"3D Object", Animated<double>(2)},
      {"Unlit Only", Animated<double>(1)},
      {"UV Type", Animated<double>(4)},
      {"UV Mode", Animated<double>(2)},
      {"UV Repeat X", Animated<double>(2.0)},
      {"UV Repeat Y", Animated<double>(-3.0)},
      {"UV Offset X", Animated<double>(0.25)},
      {"UV Offset Y", Animated<double>(-0.5)},
      {"UV Rotation", Animated<double>(90.0)},
      {"Env. Rotation X", Animated<double>(30)},
      {"Env. Rotation Y", Animated<double>(45)},
      {"Env. Rotation Z", Animated<double>(60)},
      {"Color", Animated<Color>(Color{1, 128 / 255.0, 0, 1})},
      {"Opacity", Animated<double>(0.5)},
      {"Illumination", Animated<double>(2.0)},
      {"Gamma", Animated<double>(2.5)},
      {"Radius", Animated<double>(321.5)},
  };
  for (const Direct& d : direct) {
    values[d.param] = Animated<double>(d.value);
  }
  const scene_parameters changed = drawn_scene(values);
  for (const Direct& d : direct) {
    EXPECT_FLOAT_EQ(defaults.material.*d.field, float(d.dephault)) << d.param;
    EXPECT_FLOAT_EQ(changed.material.*d.field, float(d.value)) << d.param;
  }
  const material_properties& m = defaults.material;
  EXPECT_EQ(std::tuple(m.surface_mode, m.flatten_bottom, m.unlit, m.uv_type, m.uv_mode),
            std::tuple(2, 0, 0, 1, 1));  // front faces of a whole sphere, lit, spherical, repeat
  expect_vec4({m.uv_repeat.x, m.uv_repeat.y, m.uv_offset.x, m.uv_offset.y}, {1, 1, 0, 0}, "UV");
  EXPECT_FLOAT_EQ(m.uv_rotation, 0.0f);
  expect_vec4(m.model_color, {1, 1, 1, 1}, "white, opaque");
  expect_vec4(m.illumination_color, {0, 0, 0, 0}, "no self-illumination");
  const hxsdk::quaternion& turn = m.environment_orientation;
  expect_vec4({turn.x, turn.y, turn.z, turn.w}, {0, 0, 0, 1}, "no environment turn");
  EXPECT_FLOAT_EQ(defaults.radius, 200.0f);
  EXPECT_NEAR(defaults.inverse_gamma, 1.0 / 2.2, 1e-6);
  expect_vec4(defaults.position, {960, 540, 0, 0}, "the layer's centre");

  const material_properties& c = changed.material;
  EXPECT_EQ(std::tuple(c.surface_mode, c.flatten_bottom, c.unlit, c.uv_type, c.uv_mode),
            std::tuple(3, 1, 1, 4, 2));
  expect_vec4({c.uv_repeat.x, c.uv_repeat.y, c.uv_offset.x, c.uv_offset.y}, {2, -3, 0.25, -0.5},
              "UV");
  EXPECT_NEAR(c.uv_rotation, kPi / 2, 1e-6);
  // Opacity is the colour's alpha; the illumination colour is scaled whole.
  expect_vec4(c.model_color, {1.0, 128 / 255.0, 0.0, 0.5}, "model colour");
  expect_vec4(c.illumination_color, {2.0, 2.0, 2.0, 2.0}, "illumination colour");
  // The turn about x by 30°, then y by 45°, then z by 60°: the Hamilton product qz qy qx of
  // the axis quaternions (sin(a/2) axis, cos(a/2)), worked out by hand.
  const double sx = std::sin(kPi / 12), cx = std::cos(kPi / 12), sy = std::sin(kPi / 8),
               cy = std::cos(kPi / 8), sz = std::sin(kPi / 6), cz = std::cos(kPi / 6);
  const hxsdk::quaternion& q = c.environment_orientation;
  expect_vec4({q.x, q.y, q.z, q.w},
              {cz * cy * sx - sz * sy * cx, cz * sy * cx + sz * cy * sx,
               sz * cy * cx - cz * sy * sx, cz * cy * cx + sz * sy * sx},
              "environment orientation");
  for (const std::uint32_t texture :
       {c.diffuse_texture, c.glossiness_texture, c.illumination_texture, c.environment_texture,
        c.normal_texture}) {
    EXPECT_EQ(texture, 0u);
  }
  EXPECT_FLOAT_EQ(changed.radius, 321.5f);
  EXPECT_FLOAT_EQ(changed.inverse_gamma, 0.4f);
}

TEST_F(E2eSceneMaterial, ChoicesThatDependOnEachOther) {
  // "Flip Normal Channels" counts only for a normal map.
  for (const auto& [use, flip, height, invert] : {std::tuple{0, 0, 1, 0}, std::tuple{0, 1, 1, 0},
                                                  std::tuple{1, 0, 0, 0}, std::tuple{1, 1, 0, 1}}) {
    const material_properties m = drawn_scene({{"Use Normal Map", Animated<double>(use)},
                                               {"Flip Normal Channels", Animated<double>(flip)}})
                                      .material;
    EXPECT_EQ(std::tuple(int(m.bump_is_height), int(m.normal_invert_green)),
              std::tuple(height, invert))
        << "use " << use << ", flip " << flip;
  }
  // "Illumination" scales all four channels of its colour (51, 102, 153, 204 of 255).
  for (const double illumination : {0.0, 1.0, 100.0}) {
    const material_properties m =
        drawn_scene({{"Illumination Color", Animated<Color>(Color{0.2, 0.4, 0.6, 0.8})},
                     {"Illumination", Animated<double>(illumination)}})
            .material;
    expect_vec4(m.illumination_color,
                {0.2 * illumination, 0.4 * illumination, 0.6 * illumination, 0.8 * illumination},
                "illumination " + std::to_string(illumination));
  }
  // "Hemisphere" flattens the bottom; "Sphere" does not.
  EXPECT_EQ(drawn_scene({{"3D Object", Animated<double>(1)}}).material.flatten_bottom, 0);
  EXPECT_EQ(drawn_scene({{"3D Object", Animated<double>(2)}}).material.flatten_bottom, 1);
  // "Motion Blur" names both a group and the popup inside it; the value belongs to the popup.
  drawn_scene({{"Motion Blur", Animated<double>(3.0)}});
}

}  // namespace
