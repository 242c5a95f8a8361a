// Scene assembly and the frame render command through the real host, the renderer's operations
// recorded and compared with values worked out here from the composition.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "host/camera_math.h"
#include "host/composition.h"
#include "plugin/ae_plugin_connection.h"
#include "scene/frame_render.h"
#include "tests/e2e_plugin_support.h"

namespace {

using namespace e2e_plugin;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::LightLayer;
using lunaform::host::LightType;
using lunaform::host::SolidLayer;
using lunaform::host::Vec3;
using Keys = lunaform::host::Animated<Vec3>;

// One renderer operation with copies of what it was given, and the host's time of the call.
struct Operation {
  // clang-format off
  enum class Kind { set_output, set_render_properties, set_lights, clear_target, draw, read_output,
                    delete_texture, upload_texture, make_normal_map, make_environment_cube };
  // clang-format on
  Kind kind = Kind::clear_target;
  A_long time = 0;
  render_data output{};                  // set_output
  render_properties camera;              // set_render_properties
  std::vector<light_properties> lights;  // set_lights
  scene_parameters scene;                // draw: the copy the renderer draws from
  float value = 0.0f;                    // draw: the weight; read_output: the gamma
  unsigned int texture = 0;              // the texture argument
  int width = 0, height = 0;             // make_normal_map
  unsigned int result = 0;               // the name a texture operation made
};
using K = Operation::Kind;

// Stands in for the render thread: records every operation, naming new textures from 1001.
class RecordingClient {
 public:
  RecordingClient(RenderState& state, const PF_InData& in_data)
      : state_(state), in_data_(in_data) {}

  void set_output(unsigned int, const render_data& frame) {
    add({.kind = K::set_output, .output = frame});
  }
  void post_render_properties(const render_properties& camera) {
    add({.kind = K::set_render_properties, .camera = camera});
  }
  void post_lights(const std::vector<light_properties>& lights) {
    state_.scene.lights = lights;
    add({.kind = K::set_lights, .lights = lights});
  }
  void clear_target() { add({.kind = K::clear_target}); }
  void post_draw(float weight) { add({.kind = K::draw, .scene = state_.scene, .value = weight}); }
  void read_output(float gamma) { add({.kind = K::read_output, .value = gamma}); }
  void delete_texture(unsigned int texture) {
    add({.kind = K::delete_texture, .texture = texture});
  }
  unsigned int upload_texture(const image_desc&) { return add({.kind = K::upload_texture}); }
  unsigned int make_normal_map(unsigned int bumps, int width, int height) {
    return add({.kind = K::make_normal_map, .texture = bumps, .width = width, .height = height});
  }
  unsigned int make_environment_cube(unsigned int texture) {
    return add({.kind = K::make_environment_cube, .texture = texture});
  }

  std::vector<Operation> operations;

 private:
  // Records `op` at the current time; returns the texture name it makes.
  unsigned int add(Operation op) {
    op.time = in_data_.current_time;
    op.result = op.kind >= K::upload_texture ? next_texture++ : 0;
    operations.push_back(std::move(op));
    return operations.back().result;
  }

  RenderState& state_;
  const PF_InData& in_data_;
  static inline unsigned int next_texture = 1001;
};

// The effect's plug-in object, its frame render command driving a RecordingClient.
class RecordingPlugin : public AePluginConnection {
 public:
  void on_smart_render(CommandContext& context) override {
    RecordingClient client(*renderer, *context.in_data);
    render_frame(context, *this, *renderer, sample_counter, client);
    frames.push_back(std::move(client.operations));
  }
  std::vector<std::vector<Operation>> frames;  // the operations of each frame, oldest first
};

// The operations of `kind` in `operations`, in order.
std::vector<Operation> of_kind(const std::vector<Operation>& operations, Operation::Kind kind) {
  std::vector<Operation> found;
  std::ranges::copy_if(operations, std::back_inserter(found),
                       [&](const Operation& op) { return op.kind == kind; });
  return found;
}

std::vector<K> kinds_of(const std::vector<Operation>& operations) {
  std::vector<K> kinds;
  std::ranges::transform(operations, std::back_inserter(kinds), &Operation::kind);
  return kinds;
}

// The one operation of `kind`; fails the test when there is not exactly one.
Operation only(const std::vector<Operation>& operations, Operation::Kind kind) {
  const std::vector<Operation> found = of_kind(operations, kind);
  EXPECT_EQ(found.size(), 1u) << "operation kind " << int(kind);
  return found.empty() ? Operation{} : found.front();
}

// The RecordingPlugin set up in a host once for the suite, its instance new for each test.
class E2eScene : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_ = std::make_unique<lunaform::host::EffectHost>(&entry_for<RecordingPlugin>);
    set_up_instance(*host_);
  }
  static void TearDownTestSuite() { host_.reset(); }
  void SetUp() override { reset(sphere_composition()); }

  static void reset(Composition comp) {
    host_->settings() = {};
    host_->checkout_failures() = {};
    EXPECT_EQ((std::tuple{host_->sequence_setdown(), host_->sequence_setup()}), std::tuple(0, 0));
    host_->set_composition(std::move(comp));
  }
  static RecordingPlugin& plugin() { return plugin_in<RecordingPlugin>(*host_); }

  // One frame's operations, none when it failed; every suite and parameter is given back.
  static std::vector<Operation> render(std::optional<Composition> comp = {}) {
    if (comp) {
      host_->set_composition(std::move(*comp));
    }
    const std::size_t before = plugin().frames.size();
    EXPECT_EQ((std::tuple{host_->smart_pre_render(), host_->smart_render()}), std::tuple(0, 0));
    EXPECT_TRUE(host_->problems().empty()) << host_->problems().front();
    EXPECT_TRUE(host_->suites().unreleased().empty());
    EXPECT_EQ(host_->outstanding_param_checkouts(), 0);
    return plugin().frames.size() == before ? std::vector<Operation>{} : plugin().frames.back();
  }

  // The drawn scene of one frame with the given parameter values, all of which the effect takes.
  static scene_parameters drawn(const std::map<std::string, lunaform::host::ParamValue>& values) {
    Composition comp = sphere_composition();
    effect_of(comp).params = values;
    host_->set_composition(comp);
    EXPECT_TRUE(host_->effect_param_mismatches().empty());
    return only(render(), K::draw).scene;
  }

  static inline std::unique_ptr<lunaform::host::EffectHost> host_;
};

constexpr double kPi = 3.14159265358979323846;
constexpr A_long kFrameTen = 10 * 120;  // the host's time step is 120 at 30 frames per second

void expect_vec4(const hxsdk::vec4& actual, std::array<double, 4> expected,
                 const std::string& what) {
  const std::array<double, 4> got{actual.x, actual.y, actual.z, actual.w};
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(got[i], expected[i], 1e-5) << what << ", component " << i;
  }
}

// `from` at the start of frame 10, `to` at the start of frame 11.
Keys across_frame_ten(const Vec3& from, const Vec3& to) {
  Keys keys;
  keys.set_key(10.0 / 30.0, from);
  keys.set_key(11.0 / 30.0, to);
  return keys;
}

// m v, for a column-major 4 x 4 matrix m.
std::array<double, 4> times(const hxsdk::mat4& m, const std::array<double, 4>& v) {
  std::array<double, 4> r{};
  for (int k = 0; k < 16; ++k) {
    r[k % 4] += m[k] * v[k / 4];
  }
  return r;
}

Layer point_light(const std::string& name, const Vec3& position) {
  Layer layer{.name = name, .content = LightLayer{.type = LightType::point}};
  layer.transform.position = position;
  return layer;
}

// The expectation is the host's own pinhole camera, written and tested apart from the effect's.
TEST_F(E2eScene, WorldPointsLandWhereTheHostsCameraPutsThemInEveryOutputBuffer) {
  Composition with_camera = sphere_composition();
  Layer camera{.name = "Camera", .content = lunaform::host::CameraLayer{1800}};
  camera.transform.position = Vec3{300, -200, -1500};
  camera.transform.point_of_interest = Vec3{1100, 600, 400};
  with_camera.layers.insert(with_camera.layers.begin(), std::move(camera));
  for (const bool camera_layer : {false, true}) {
    for (const auto& [downsample, rect] :
         {std::pair<A_u_long, std::optional<PF_LRect>>{1, {}}, {2, PF_LRect{200, 100, 600, 400}}}) {
      host_->settings().downsample_x = host_->settings().downsample_y = {1, downsample};
      host_->settings().output_rect = rect;
      const auto ops = render(camera_layer ? with_camera : sphere_composition());
      const render_properties record = only(ops, K::set_render_properties).camera;
      for (const Vec3& point :
           {Vec3{960, 540, 0}, Vec3{0, 0, 0}, Vec3{1500, 200, 800}, Vec3{700, 900, -300}}) {
        SCOPED_TRACE(testing::Message() << "camera layer " << camera_layer << ", 1/" << downsample
                                        << ", " << point.x << " " << point.y << " " << point.z);
        const auto expected = lunaform::host::project_to_layer_pixels(host_->composition(), point,
                                                                      0.0, downsample, downsample);
        ASSERT_TRUE(expected.has_value());
        // The point through the camera record the renderer received, in output buffer pixels.
        const auto clip = times(record.projection_matrix,
                                times(record.view_matrix, {point.x, point.y, point.z, 1.0}));
        const image_desc& out = only(ops, K::set_output).output.output_image;
        EXPECT_NEAR((clip[0] / clip[3] + 1) / 2 * out.width, expected->x - (rect ? rect->left : 0),
                    0.02);
        EXPECT_NEAR((clip[1] / clip[3] + 1) / 2 * out.height, expected->y - (rect ? rect->top : 0),
                    0.02);
      }
      EXPECT_NEAR(record.eye_position.z,
                  camera_layer ? -1500.0 : -960.0 / std::tan(19.8 * kPi / 180.0), 1e-2);
    }
  }
}

TEST_F(E2eScene, WidePixelsAreMadeSquareForTheSphereAndTheLights) {
  Composition comp = sphere_composition();
  comp.layers.push_back(point_light("Point", {100, 50, -200}));
  comp.pixel_aspect = effect_of(comp).pixel_aspect = {2, 1};
  effect_of(comp).params = {
      {"Position", Vec3{480, 270, 100}}, {"Radius", 150.0}, {"Rotation X", 90.0}};
  host_->settings().downsample_x = host_->settings().downsample_y = {1, 2};
  const auto ops = render(comp);
  const scene_parameters sphere = only(ops, K::draw).scene;
  // Layer pixels (480, 270, 100) and the light's (100, 50, -200), x twice as wide.
  expect_vec4(sphere.position, {960, 270, 100, 0}, "sphere position");
  expect_vec4(only(ops, K::set_lights).lights.at(0).position, {200, 50, -200, 0}, "light position");
  EXPECT_FLOAT_EQ(sphere.radius, 150.0f);
  // A quarter turn about x: (sin 45°, 0, 0, cos 45°).
  expect_vec4(sphere.orientation, {std::sqrt(0.5), 0, 0, std::sqrt(0.5)}, "orientation");
}

TEST_F(E2eScene, TheDefaultPairLightsTheSphereOnlyWhenAskedAndNoLightIsLive) {
  Layer off = point_light("Off", {100, 100, -500});
  off.video_on = false;
  Layer timed = point_light("Timed", {100, 100, -500});
  timed.in_point = 1.0;  // to 3 s; the effect's clock runs at 3600 units a second
  timed.duration = 2.0;
  // The lights, "Use Default Lights", the time, how many lights (-1: the default pair).
  const std::tuple<std::vector<Layer>, bool, A_long, int> cases[] = {
      {{}, true, 0, -1},          {{}, false, 0, 0},         {{off}, true, 0, -1},
      {{off}, false, 0, 0},       {{timed}, true, 3599, -1}, {{timed}, true, 3600, 1},
      {{timed}, false, 10799, 1}, {{timed}, false, 10800, 0}};
  for (const auto& [lights, default_lights, time, count] : cases) {
    SCOPED_TRACE(testing::Message() << lights.size() << " at " << time << ", " << default_lights);
    Composition comp = sphere_composition();
    comp.layers.insert(comp.layers.end(), lights.begin(), lights.end());
    effect_of(comp).params["Use Default Lights"] = double(default_lights);
    host_->settings().current_time = time;
    const std::vector<light_properties> posted = only(render(comp), K::set_lights).lights;
    if (count >= 0) {
      EXPECT_EQ(posted.size(), std::size_t(count));
      continue;
    }
    // A white parallel light from the upper left, and a fifth of white as ambient light.
    ASSERT_EQ(posted.size(), 2u);
    EXPECT_EQ(std::tuple(posted[0].light_type, posted[1].light_type), std::tuple(0, 3));
    expect_vec4(posted[1].color, {0.2, 0.2, 0.2, 0.2}, "default ambient light");
  }
}

TEST_F(E2eScene, EveryFieldFollowsItsParameter) {
  using M = material_properties;
  // The parameters that reach a material field as they are, each with a value of its own.
  const std::tuple<const char*, double, float M::*> direct[] = {
      // clang-format off
      {"Diffuse Blend", 0.25, &M::diffuse_blend}, {"Edge Feather", 0.1, &M::edge_feather},
      {"Edge Shrink", 0.05, &M::edge_shrink}, {"Diffuse Gamma", 1.8, &M::diffuse_gamma},
      {"Glossiness Gamma", 1.2, &M::glossiness_gamma}, {"Illumination Gamma", 2.4, &M::illumination_gamma},
      {"Environment Gamma", 2.0, &M::environment_gamma}, {"Diffuse Brightness", 1.5, &M::diffuse_brightness},
      {"Glossiness Brightness", 0.75, &M::glossiness_brightness},
      {"Illumination Brightness", 2.5, &M::illumination_brightness},
      {"Environment Brightness", 3.0, &M::environment_brightness},
      {"Bump Map Intensity", -2.5, &M::normal_amount}, {"Bump Falloff", 0.3, &M::clip_lighting},
      {"Fresnel", -0.4, &M::fresnel}, {"Fresnel Bias", 2.0, &M::fresnel_bias},
      {"Shadow/Light", 0.35, &M::shadow_light}, {"Shadow/Light Contrast", 4.5, &M::shadow_light_contrast},
      {"Shadow/Light Expansion", -0.1, &M::shadow_light_expansion}, {"Bump Influence", 0.6, &M::bump_influence},
      {"Reflectivity", 3.0, &M::reflectivity}, {"Ambient", 0.2, &M::ambient}, {"Diffuse", 4.0, &M::diffuse},
      {"Glossiness", 0.7, &M::glossiness}, {"Specular", 5.0, &M::specular}, {"Box UV Feathering", 0.4, &M::uv_feathering}};
  std::map<std::string, lunaform::host::ParamValue> values = {
      {"Surface", 3.0}, {"3D Object", 2.0}, {"Unlit Only", 1.0}, {"UV Type", 4.0}, {"UV Mode", 2.0},
      {"UV Repeat X", 2.0}, {"UV Repeat Y", -3.0}, {"UV Offset X", 0.25}, {"UV Offset Y", -0.5},
      {"UV Rotation", 90.0}, {"Env. Rotation X", 30.0}, {"Env. Rotation Y", 45.0}, {"Env. Rotation Z", 60.0},
      {"Opacity", 0.5}, {"Illumination", 2.0}, {"Gamma", 2.5}, {"Radius", 321.5}, {"Use Normal Map", 1.0},
      {"Flip Normal Channels", 1.0}, {"Motion Blur", 3.0},  // the popup, not its group of that name
      {"Color", Color{1, 128 / 255.0, 0, 1}}};
  // clang-format on
  for (const auto& [param, value, field] : direct) {
    values[param] = value;
  }
  const scene_parameters s = drawn(values);
  for (const auto& [param, value, field] : direct) {
    EXPECT_FLOAT_EQ(s.material.*field, float(value)) << param;
  }
  const M& c = s.material;
  // "Hemisphere" flattens the bottom; a normal map is taken as it is, its green flipped.
  EXPECT_EQ(std::tuple(int(c.bump_is_height), int(c.normal_invert_green)), std::tuple(0, 1));
  EXPECT_EQ(std::tuple(c.surface_mode, c.flatten_bottom, c.unlit, c.uv_type, c.uv_mode),
            std::tuple(3, 1, 1, 4, 2));
  expect_vec4({c.uv_repeat.x, c.uv_repeat.y, c.uv_offset.x, c.uv_offset.y}, {2, -3, 0.25, -0.5},
              "UV");
  EXPECT_NEAR(c.uv_rotation, kPi / 2, 1e-6);
  // Opacity is the colour's alpha; the illumination colour is scaled whole.
  expect_vec4(c.model_color, {1.0, 128 / 255.0, 0.0, 0.5}, "model colour");
  expect_vec4(c.illumination_color, {2.0, 2.0, 2.0, 2.0}, "illumination colour");
  // The turn about x by 30°, then y by 45°, then z by 60°: the Hamilton product qz qy qx of
  // the axis quaternions (sin(a/2) axis, cos(a/2)), multiplied out by hand.
  const double sx = std::sin(kPi / 12), cx = std::cos(kPi / 12), sy = std::sin(kPi / 8),
               cy = std::cos(kPi / 8), sz = std::sin(kPi / 6), cz = std::cos(kPi / 6);
  expect_vec4(c.environment_orientation,
              {cz * cy * sx - sz * sy * cx, cz * sy * cx + sz * cy * sx,
               sz * cy * cx - cz * sy * sx, cz * cy * cx + sz * sy * sx},
              "environment orientation");
  EXPECT_FLOAT_EQ(s.radius, 321.5f);
  EXPECT_FLOAT_EQ(s.inverse_gamma, 0.4f);
  // By default the sphere is at the layer's centre, whole; "Flip Normal Channels" counts only
  // for a normal map.
  const scene_parameters flip_only = drawn({{"Flip Normal Channels", 1.0}});
  expect_vec4(flip_only.position, {960, 540, 0, 0}, "default position");
  const material_properties& f = flip_only.material;
  EXPECT_EQ(std::tuple(int(f.flatten_bottom), int(f.bump_is_height), int(f.normal_invert_green)),
            std::tuple(0, 1, 0));
}

TEST_F(E2eScene, SixMotionBlurSamplesSpreadOverHalfAFrameAndAverageWithTimingLines) {
  // The sphere and a light move 1200 pixels to the right during frame 10.
  Composition comp = sphere_composition();
  Layer moving = point_light("Moving", {0, 0, 0});
  moving.transform.position = across_frame_ten({0, 0, -500}, {1200, 0, -500});
  comp.layers.push_back(moving);
  effect_of(comp).params = {{"Position", across_frame_ten({100, 540, 0}, {1300, 540, 0})},
                            {"Motion Blur", 2.0},  // On
                            {"Motion Blur Samples", 6.0},
                            {"Shutter Angle", 180.0}};
  host_->settings().current_time = kFrameTen;
  std::vector<std::string> lines;
  const DebugSinkScope debug([&](std::string_view l) { lines.emplace_back(l); });
  const std::vector<Operation> ops = render(comp);
  // Per sample: the camera, the five map slots cleared, the lights, the target cleared, the draw.
  std::vector<K> expected_kinds = {K::set_output};
  for (int sample = 0; sample < 6; ++sample) {
    expected_kinds.insert(
        expected_kinds.end(),
        {K::set_render_properties, K::delete_texture, K::delete_texture, K::delete_texture,
         K::delete_texture, K::delete_texture, K::set_lights, K::clear_target, K::draw});
  }
  expected_kinds.push_back(K::read_output);
  EXPECT_EQ(kinds_of(ops), expected_kinds);
  // Sample k at k/12 of a frame (10 ticks), weighted 1/(k+1) so that the result is the mean.
  const std::vector<Operation> draws = of_kind(ops, K::draw);
  const std::vector<Operation> cameras = of_kind(ops, K::set_render_properties);
  const std::vector<Operation> lights = of_kind(ops, K::set_lights);
  ASSERT_EQ(std::tuple(draws.size(), cameras.size(), lights.size()), std::tuple(6u, 6u, 6u));
  for (int k = 0; k < 6; ++k) {
    EXPECT_EQ(std::tuple(cameras[k].time, draws[k].time),
              std::tuple(kFrameTen + 10 * k, kFrameTen + 10 * k));
    EXPECT_FLOAT_EQ(draws[k].value, 1.0f / float(k + 1)) << k;
    EXPECT_NEAR(draws[k].scene.position.x, 100.0 + 100.0 * k, 1e-3) << k;
    EXPECT_NEAR(lights[k].lights.at(0).position.x, 100.0 * k, 1e-3) << k;
  }
  // The host's time is back at the frame before the output is read, and after the command.
  EXPECT_EQ(std::tuple(ops.back().time, host_->in_data().current_time),
            std::tuple(kFrameTen, kFrameTen));
  EXPECT_FLOAT_EQ(plugin().sample_counter, 7.0f);
  // A timing line per stage, the whole frame containing its sample loop.
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_TRUE(std::regex_match(lines[0], std::regex("Input Render: [0-9]+\\.[0-9]{2} ms\n")));
  EXPECT_TRUE(std::regex_match(lines[1], std::regex("Render: [0-9]+\\.[0-9]{2} ms\n")));
  EXPECT_TRUE(std::regex_match(lines[2], std::regex("Full Render: [0-9]+\\.[0-9]{2} ms\n")));
  EXPECT_LE(std::stod(lines[1].substr(8)), std::stod(lines[2].substr(13)));
}

TEST_F(E2eScene, CompSettingsFollowTheCompositionAndLayerSwitchesAndShutter) {
  // The popup, the composition's and layer's switches and shutter, the samples' times.
  // clang-format off
  const std::tuple<double, bool, bool, double, std::vector<A_long>> cases[] = {
      {1, true, true, 180, {0, 10, 20, 30, 40, 50}}, {1, true, true, 90, {0, 5, 10, 15, 20, 25}},
      {1, true, false, 180, {0}}, {1, false, true, 180, {0}}, {3, true, true, 180, {0}},
      {2, false, false, 90, {0, 10, 20, 30, 40, 50}}};  // On: its own shutter, whatever the switches
  // clang-format on
  for (const auto& [popup, comp_blur, layer_blur, shutter, offsets] : cases) {
    SCOPED_TRACE(testing::Message() << popup << comp_blur << layer_blur << " " << shutter);
    Composition comp = sphere_composition();
    comp.motion_blur = comp_blur;
    comp.shutter_angle = shutter;
    comp.layers[0].motion_blur = layer_blur;
    effect_of(comp).params["Motion Blur"] = popup;
    host_->settings().current_time = kFrameTen;
    const std::vector<Operation> draws = of_kind(render(comp), K::draw);
    ASSERT_EQ(draws.size(), offsets.size());
    for (std::size_t k = 0; k < draws.size(); ++k) {
      EXPECT_EQ(draws[k].time, kFrameTen + offsets[k]) << k;
      EXPECT_FLOAT_EQ(draws[k].value, 1.0f / float(k + 1)) << k;
    }
  }
}

TEST_F(E2eScene, TheOutputTakesItsGammaFromTheParametersAndRefusesAGammaOfZero) {
  Composition comp = sphere_composition();
  effect_of(comp).params["Gamma"] = 2.5;
  EXPECT_FLOAT_EQ(only(render(comp), K::read_output).value, 0.4f);
  // A gamma of 0 has no inverse: refused naming the parameter, leaving nothing locked or acquired.
  effect_of(comp).params["Gamma"] = 0.0;
  host_->set_composition(comp);
  const std::size_t frames = plugin().frames.size();
  MessageBoxCapture popups;
  ASSERT_EQ(host_->smart_pre_render(), PF_Err_NONE);
  EXPECT_EQ(host_->smart_render(), PF_Err_INTERNAL_STRUCT_DAMAGED);
  ASSERT_EQ(popups.messages.size(), 1u);
  EXPECT_NE(popups.messages[0].second.find("\"Gamma\""), std::string::npos);
  EXPECT_EQ(std::tuple(plugin().frames.size(), host_->handles().lock_count(host_->sequence_data())),
            std::tuple(frames, 0));
  EXPECT_TRUE(host_->suites().unreleased().empty());
}

// A composition with 64 x 32 solids "Red" and "Blue", chosen by the map parameters in `choices`.
Composition with_maps(const std::map<std::string, std::string>& choices) {
  Composition comp = sphere_composition();
  comp.layers.push_back({.name = "Red", .content = SolidLayer{{1, 0, 0, 1}, 64, 32}});
  comp.layers.push_back({.name = "Blue", .content = SolidLayer{{0, 0, 1, 1}, 64, 32}});
  for (const auto& [param, layer] : choices) {
    effect_of(comp).params[param] = LayerRef{layer};
  }
  return comp;
}

// A frame's texture operations but the delete_texture(0) of every frame.
std::vector<Operation> texture_work(const std::vector<Operation>& ops) {
  std::vector<Operation> work;
  std::ranges::copy_if(ops, std::back_inserter(work), [](const Operation& op) {
    return op.kind > K::delete_texture || (op.kind == K::delete_texture && op.texture != 0);
  });
  return work;
}

TEST_F(E2eScene, ConvertedMapsAreMadeOnceAFrameFromAnUploadThatIsThenDeleted) {
  Composition comp = with_maps({{"Bump Map Layer", "Red"}, {"Environment Layer", "Blue"}});
  effect_of(comp).params["Motion Blur"] = 2.0;
  effect_of(comp).params["Motion Blur Samples"] = 6.0;
  std::vector<std::string> loads;
  const DebugSinkScope debug([&](std::string_view line) {
    if (line.starts_with("Load Layer ")) {
      loads.emplace_back(line.substr(0, line.find(':')));
    }
  });
  const std::vector<Operation> ops = render(comp);
  const std::vector<Operation> work = texture_work(ops);
  // In the first sample, each from an upload deleted at once; all six samples draw with them.
  ASSERT_EQ(kinds_of(work),
            (std::vector<K>{K::upload_texture, K::make_normal_map, K::delete_texture,
                            K::upload_texture, K::make_environment_cube, K::delete_texture}));
  EXPECT_EQ(std::tuple(work[1].texture, work[1].width, work[1].height, work[2].texture),
            std::tuple(work[0].result, 64, 32, work[0].result));
  EXPECT_EQ(std::tuple(work[4].texture, work[5].texture),
            std::tuple(work[3].result, work[3].result));
  const std::vector<Operation> draws = of_kind(ops, K::draw);
  ASSERT_EQ(draws.size(), 6u);
  EXPECT_EQ(work[4].time, draws[0].time);
  for (const Operation& draw : draws) {
    EXPECT_EQ(
        std::tuple(draw.scene.material.normal_texture, draw.scene.material.environment_texture),
        std::tuple(work[1].result, work[4].result));
  }
  EXPECT_EQ(loads, (std::vector<std::string>{"Load Layer 508", "Load Layer 517"}));
  // With "Use Normal Map" on the bump layer is taken as it is; off again, converted again.
  effect_of(host_->composition()).params["Use Normal Map"] = 1.0;
  const std::vector<Operation> plain = texture_work(render());
  ASSERT_EQ(kinds_of(plain), (std::vector<K>{K::delete_texture, K::upload_texture}));
  EXPECT_EQ(plain[0].texture, work[1].result);
  effect_of(host_->composition()).params["Use Normal Map"] = 0.0;
  EXPECT_EQ(kinds_of(texture_work(render())),
            (std::vector<K>{K::delete_texture, K::upload_texture, K::make_normal_map,
                            K::delete_texture}));
}

TEST_F(E2eScene, AFailedCheckoutOrAFlattenedInstanceLeavesTheMapsOutWithoutFailingTheFrame) {
  host_->checkout_failures().layer_pixels[502] = PF_Err_OUT_OF_MEMORY;
  std::vector<Operation> ops =
      render(with_maps({{"Diffuse Layer", "Red"}, {"Illumination Layer", "Blue"}}));
  EXPECT_EQ(kinds_of(texture_work(ops)), std::vector<K>{K::upload_texture});
  EXPECT_EQ(only(ops, K::draw).scene.material.diffuse_texture, 0u);
  EXPECT_NE(only(ops, K::draw).scene.material.illumination_texture, 0u);
  // A flattened instance has no slots: it renders without maps and writes nothing.
  reset(with_maps({{"Diffuse Layer", "Red"}, {"Environment Layer", "Blue"}}));
  ASSERT_EQ(host_->sequence_flatten(), PF_Err_NONE);
  const PF_Handle flat = host_->sequence_data();
  ASSERT_EQ(host_->handles().size(flat), 0u);
  ops = render();
  EXPECT_TRUE(of_kind(ops, K::delete_texture).empty());
  EXPECT_TRUE(texture_work(ops).empty());
  const material_properties plain = only(ops, K::draw).scene.material;
  EXPECT_EQ(plain.diffuse_texture + plain.environment_texture, 0u);
  EXPECT_EQ(std::tuple(host_->sequence_data(), host_->handles().size(flat)), std::tuple(flat, 0u));
}

}  // namespace
