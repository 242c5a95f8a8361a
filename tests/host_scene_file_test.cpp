#include "host/scene_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "AE_Effect.h"
#include "e2e_plugin_support.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/param_list.h"
#include "host/scene_parse.h"
#include "host_temp_folder.h"
#include "host_test_images.h"

namespace {

using host_test::write_image;
using lunaform::host::Animated;
using lunaform::host::CameraLayer;
using lunaform::host::check_composition;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::FootageLayer;
using lunaform::host::HostError;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::LightLayer;
using lunaform::host::LightType;
using lunaform::host::ParamList;
using lunaform::host::ParamValue;
using lunaform::host::Projection;
using lunaform::host::Ratio;
using lunaform::host::SceneFile;
using lunaform::host::SolidLayer;
using lunaform::host::Vec3;

PF_ParamDef definition(PF_ParamType type, const char* name) {
  PF_ParamDef def{};
  def.param_type = type;
  std::strncpy(def.name, name, sizeof def.name - 1);
  return def;
}

// A parameter list as a host receives it from a module: one parameter of every kind that
// holds a value, groups, and a group sharing its name with a popup (as "Motion Blur" does).
ParamList registered_params() {
  ParamList list;
  std::string problem;
  const auto add = [&](const PF_ParamDef& def) {
    ASSERT_EQ(list.add(-1, &def, problem), PF_Err_NONE) << problem;
  };
  PF_ParamDef object = definition(PF_Param_POPUP, "3D Object");
  object.u.pd.num_choices = 2;
  object.u.pd.u.namesptr = "Sphere|Hemisphere";
  add(object);
  PF_ParamDef radius = definition(PF_Param_FLOAT_SLIDER, "Radius");
  radius.u.fs_d.valid_min = 0;
  radius.u.fs_d.valid_max = 100000;
  add(radius);
  add(definition(PF_Param_POINT_3D, "Position"));
  add(definition(PF_Param_ANGLE, "Rotation Y"));
  add(definition(PF_Param_GROUP_START, "Material"));
  add(definition(PF_Param_COLOR, "Color"));
  add(definition(PF_Param_CHECKBOX, "Unlit Only"));
  PF_ParamDef gamma = definition(PF_Param_FLOAT_SLIDER, "Diffuse Gamma");
  gamma.u.fs_d.valid_min = 0.01f;
  gamma.u.fs_d.valid_max = 10;
  add(gamma);
  add(definition(PF_Param_GROUP_END, ""));
  add(definition(PF_Param_LAYER, "Diffuse Layer"));
  add(definition(PF_Param_LAYER, "Bump Map Layer"));
  add(definition(PF_Param_GROUP_START, "Motion Blur"));
  PF_ParamDef blur = definition(PF_Param_POPUP, "Motion Blur");
  blur.u.pd.num_choices = 3;
  blur.u.pd.u.namesptr = "Comp Settings|On|Off";
  add(blur);
  add(definition(PF_Param_GROUP_END, ""));
  PF_ParamDef samples = definition(PF_Param_SLIDER, "Samples");
  samples.u.sd.valid_min = -10;
  samples.u.sd.valid_max = 10;
  add(samples);
  add(definition(PF_Param_POINT, "Centre"));
  PF_ParamDef softness = definition(PF_Param_FIX_SLIDER, "Softness");
  softness.u.fd.valid_min = 0;
  softness.u.fd.valid_max = 2 << 16;
  add(softness);
  return list;
}

void write_checker(const std::filesystem::path& file) {
  // 2 x 1 RGBA: opaque white, half-transparent red.
  const uint8_t pixels[] = {255, 255, 255, 255, 255, 0, 0, 128};
  write_image(file, host_test::image_layout(2, 1, 4, OIIO::TypeDesc::UINT8), pixels);
}

template <typename T>
const T& content(const Layer& layer) {
  return std::get<T>(layer.content);
}

template <typename T>
const Animated<T>& animated(const ParamValue& value) {
  return std::get<Animated<T>>(value);
}

void expect_vec3(const Vec3& got, const Vec3& expected, const char* what) {
  EXPECT_NEAR(got.x, expected.x, 1e-9) << what;
  EXPECT_NEAR(got.y, expected.y, 1e-9) << what;
  EXPECT_NEAR(got.z, expected.z, 1e-9) << what;
}

void expect_color(const Color& got, const Color& expected, const char* what) {
  EXPECT_NEAR(got.red, expected.red, 1e-9) << what;
  EXPECT_NEAR(got.green, expected.green, 1e-9) << what;
  EXPECT_NEAR(got.blue, expected.blue, 1e-9) << what;
  EXPECT_NEAR(got.alpha, expected.alpha, 1e-9) << what;
}

constexpr const char* kFullScene = R"({
  // Comments are allowed.
  "composition": {
    "width": 640, "height": 360, "pixel_aspect": 0.9, "frame_rate": [30000, 1001],
    "duration": 4, "motion_blur": true, "shutter_angle": 90, "shutter_phase": -45
  },
  "layers": [
    { "name": "Checker", "type": "footage", "file": "images/checker.png", "enabled": false },
    { "name": "Same file", "type": "footage", "file": "images/../images/checker.png" },
    { "name": "Red", "type": "solid", "color": [1, 0, 0], "width": 32, "height": 16,
      "in_point": 1, "duration": 2, "motion_blur": true },
    { "name": "Camera", "type": "camera", "projection": "orthographic",
      "position": [320, 180, -1000], "point_of_interest": [300, 200, 0],
      "zoom": [{ "time": 0, "value": 800 }, { "time": 2, "value": 1200 }] },
    { "name": "Key", "type": "light", "light_type": "spot",
      "position": [0, 0, -500], "point_of_interest": [320, 180, 0],
      "color": [{ "time": 0, "value": [1, 1, 1] }, { "time": 4, "value": [0, 0.5, 1] }],
      "intensity": 200, "cone_angle": 90, "cone_feather": 50, "falloff_distance": 700,
      "in_point": 0.5, "duration": 3 },
    { "name": "Sun", "type": "light", "light_type": "parallel" },
    { "name": "Bulb", "type": "light", "light_type": "point", "position": [10, 20, 30],
      "intensity": -50 },
    { "name": "Fill", "type": "light", "light_type": "ambient", "enabled": false },
    { "name": "Sphere", "type": "effect", "width": 320, "height": 180, "pixel_aspect": [2, 1],
      "params": {
        "Radius": [{ "time": 0, "value": 100 }, { "time": 2, "value": 300 }],
        "Position": [{ "time": 1, "value": [0, 0, 0] }, { "time": 3, "value": [100, -50, 20] }],
        "3D Object": "Hemisphere",
        "Motion Blur": 3,
        "Rotation Y": -45,
        "Color": [1, 0.5, 0],
        "Unlit Only": true,
        "Diffuse Layer": "Checker",
        "Bump Map Layer": null,
        "Samples": -7,
        "Centre": [10, 20],
        "Softness": 1.5,
        "Diffuse Gamma": 0.01
      } }
  ]
})";

TEST(SceneFile, FullSceneLoadsIntoTheModelWithEveryValue) {
  const host_test::TempFolder folder;
  std::filesystem::create_directory(folder / "images");
  write_checker(folder / "images/checker.png");
  const std::filesystem::path file = folder.write("scene.json", kFullScene);

  const SceneFile scene = SceneFile::load(file);

  EXPECT_EQ(scene.file(), file);
  EXPECT_THAT(scene.warnings(), testing::IsEmpty());
  const Composition& comp = scene.composition();
  EXPECT_EQ(comp.width, 640);
  EXPECT_EQ(comp.height, 360);
  EXPECT_EQ(comp.pixel_aspect, (Ratio{9, 10}));
  EXPECT_EQ(comp.frame_rate, (Ratio{30000, 1001}));
  EXPECT_EQ(comp.duration, 4);
  EXPECT_TRUE(comp.motion_blur);
  EXPECT_EQ(comp.shutter_angle, 90);
  EXPECT_EQ(comp.shutter_phase, -45);
  ASSERT_EQ(comp.layers.size(), 9u);
  std::vector<std::string> names;
  for (const Layer& layer : comp.layers) {
    names.push_back(layer.name);
  }
  EXPECT_THAT(names, testing::ElementsAre("Checker", "Same file", "Red", "Camera", "Key", "Sun",
                                          "Bulb", "Fill", "Sphere"));

  // Footage: read once, straight colour, placed in the composition's centre.
  const Layer& checker = comp.layers[0];
  const auto& footage = content<FootageLayer>(checker);
  EXPECT_EQ(footage.path, folder / "images/checker.png");
  ASSERT_NE(footage.image, nullptr);
  EXPECT_EQ(footage.image->width, 2);
  EXPECT_EQ(footage.image->height, 1);
  EXPECT_THAT(footage.image->rgba, testing::ElementsAre(1, 1, 1, 1, 1, 0, 0, 128 / 255.0f));
  EXPECT_FALSE(checker.video_on);
  EXPECT_EQ(content<FootageLayer>(comp.layers[1]).image, footage.image);
  expect_vec3(checker.transform.position.at(0), {320, 180, 0}, "footage position");
  expect_vec3(checker.transform.anchor.at(0), {1, 0.5, 0}, "footage anchor");

  // Solid with its own timing and switches.
  const Layer& red = comp.layers[2];
  const auto& solid = content<SolidLayer>(red);
  expect_color(solid.color, {1, 0, 0, 1}, "solid colour");
  EXPECT_EQ(solid.width, 32);
  EXPECT_EQ(solid.height, 16);
  EXPECT_EQ(red.in_point, 1);
  EXPECT_EQ(red.duration, 2);
  EXPECT_TRUE(red.video_on);
  EXPECT_TRUE(red.motion_blur);
  expect_vec3(red.transform.anchor.at(0), {16, 8, 0}, "solid anchor");

  // Camera: the zoom keyframes interpolate linearly and hold outside their range.
  const Layer& camera_layer = comp.layers[3];
  const auto& camera = content<CameraLayer>(camera_layer);
  EXPECT_EQ(camera.projection, Projection::orthographic);
  EXPECT_DOUBLE_EQ(camera.zoom.at(-1), 800);
  EXPECT_DOUBLE_EQ(camera.zoom.at(0.5), 900);
  EXPECT_DOUBLE_EQ(camera.zoom.at(1.5), 1100);
  EXPECT_DOUBLE_EQ(camera.zoom.at(3), 1200);
  expect_vec3(camera_layer.transform.position.at(0), {320, 180, -1000}, "camera position");
  ASSERT_TRUE(camera_layer.transform.point_of_interest.has_value());
  expect_vec3(camera_layer.transform.point_of_interest->at(0), {300, 200, 0}, "camera aim");
  EXPECT_FALSE(camera_layer.motion_blur);
  EXPECT_FALSE(camera_layer.duration.has_value());

  // A spot light with every value set; its colour halfway between its keys at 2 s.
  const Layer& key = comp.layers[4];
  const auto& spot = content<LightLayer>(key);
  EXPECT_EQ(spot.type, LightType::spot);
  expect_color(spot.color.at(2), {0.5, 0.75, 1, 1}, "spot colour at 2 s");
  EXPECT_EQ(spot.intensity_percent.at(0), 200);
  EXPECT_EQ(spot.cone_angle_degrees.at(0), 90);
  EXPECT_EQ(spot.cone_feather_percent.at(0), 50);
  EXPECT_EQ(spot.falloff_distance.at(0), 700);
  EXPECT_EQ(key.in_point, 0.5);
  EXPECT_EQ(key.duration, 3);
  expect_vec3(key.transform.position.at(0), {0, 0, -500}, "spot position");
  expect_vec3(key.transform.point_of_interest->at(0), {320, 180, 0}, "spot aim");

  // A parallel light without values stands where the default camera stands (50 mm lens on a
  // 640-pixel-wide composition) and looks at the composition's centre.
  const Layer& sun = comp.layers[5];
  const double fifty_mm = 320 / std::tan(19.8 * std::numbers::pi / 180);
  EXPECT_EQ(content<LightLayer>(sun).type, LightType::parallel);
  expect_vec3(sun.transform.position.at(0), {320, 180, -fifty_mm}, "parallel position");
  expect_vec3(sun.transform.point_of_interest->at(0), {320, 180, 0}, "parallel aim");
  expect_color(content<LightLayer>(sun).color.at(0), {1, 1, 1, 1}, "default light colour");
  EXPECT_EQ(content<LightLayer>(sun).intensity_percent.at(0), 100);

  const Layer& bulb = comp.layers[6];
  EXPECT_EQ(content<LightLayer>(bulb).type, LightType::point);
  EXPECT_EQ(content<LightLayer>(bulb).intensity_percent.at(0), -50);
  expect_vec3(bulb.transform.position.at(0), {10, 20, 30}, "point position");
  EXPECT_FALSE(bulb.transform.point_of_interest.has_value());

  const Layer& fill = comp.layers[7];
  EXPECT_EQ(content<LightLayer>(fill).type, LightType::ambient);
  EXPECT_FALSE(fill.video_on);

  // The effect layer: its own size and aspect; values arrive only with the module's list.
  const auto& effect = content<EffectLayer>(comp.layers[8]);
  EXPECT_EQ(effect.width, 320);
  EXPECT_EQ(effect.height, 180);
  EXPECT_EQ(effect.pixel_aspect, (Ratio{2, 1}));
  EXPECT_THAT(effect.params, testing::IsEmpty());

  const Composition applied = scene.composition_for(registered_params());
  EXPECT_NO_THROW(check_composition(applied));
  const auto& params = content<EffectLayer>(applied.layers[8]).params;
  EXPECT_EQ(params.size(), 13u);
  const Animated<double>& radius = animated<double>(params.at("Radius"));
  EXPECT_DOUBLE_EQ(radius.at(-1), 100);
  EXPECT_DOUBLE_EQ(radius.at(0.5), 150);
  EXPECT_DOUBLE_EQ(radius.at(1.5), 250);
  EXPECT_DOUBLE_EQ(radius.at(5), 300);
  const Animated<Vec3>& position = animated<Vec3>(params.at("Position"));
  expect_vec3(position.at(0), {0, 0, 0}, "position before its first key");
  expect_vec3(position.at(2), {50, -25, 10}, "position halfway");
  expect_vec3(position.at(2.5), {75, -37.5, 15}, "position three quarters");
  EXPECT_EQ(animated<double>(params.at("3D Object")).at(0), 2);
  EXPECT_EQ(animated<double>(params.at("Motion Blur")).at(0), 3);
  EXPECT_EQ(animated<double>(params.at("Rotation Y")).at(0), -45);
  expect_color(animated<Color>(params.at("Color")).at(0), {1, 0.5, 0, 1}, "colour parameter");
  EXPECT_EQ(animated<double>(params.at("Unlit Only")).at(0), 1);
  EXPECT_EQ(std::get<LayerRef>(params.at("Diffuse Layer")), LayerRef{"Checker"});
  EXPECT_EQ(std::get<LayerRef>(params.at("Bump Map Layer")), LayerRef{""});
  EXPECT_EQ(animated<double>(params.at("Samples")).at(0), -7);
  expect_vec3(animated<Vec3>(params.at("Centre")).at(0), {10, 20, 0}, "2D point");
  EXPECT_EQ(animated<double>(params.at("Softness")).at(0), 1.5);
  EXPECT_EQ(animated<double>(params.at("Diffuse Gamma")).at(0), 0.01);
}

TEST(SceneFile, CompositionDefaultsApplyWhenTheFileLeavesThemOut) {
  const host_test::TempFolder folder;
  const std::filesystem::path file = folder.write("scene.json", R"({ "layers": [
        { "name": "Cam", "type": "camera", "orientation": [0, 45, 0] },
        { "name": "Solid", "type": "solid", "color": [0, 0, 0] },
        { "name": "Sphere", "type": "effect" } ] })");

  const SceneFile scene = SceneFile::load(file);

  const Composition& comp = scene.composition();
  EXPECT_EQ(comp.width, 1920);
  EXPECT_EQ(comp.height, 1080);
  EXPECT_EQ(comp.pixel_aspect, (Ratio{1, 1}));
  EXPECT_EQ(comp.frame_rate, (Ratio{30, 1}));
  EXPECT_EQ(comp.duration, 10);
  EXPECT_FALSE(comp.motion_blur);
  EXPECT_EQ(comp.shutter_angle, 180);
  EXPECT_EQ(comp.shutter_phase, -90);
  // A camera given an orientation and no point of interest is aimed by the orientation alone,
  // from where the default camera stands: 960 / tan(19.8°) in front of the centre.
  const Layer& cam = comp.layers[0];
  const double fifty_mm = 960 / std::tan(19.8 * std::numbers::pi / 180);
  EXPECT_FALSE(cam.transform.point_of_interest.has_value());
  expect_vec3(cam.transform.orientation.at(0), {0, 45, 0}, "orientation");
  expect_vec3(cam.transform.position.at(0), {960, 540, -fifty_mm}, "camera position");
  EXPECT_NEAR(content<CameraLayer>(cam).zoom.at(0), fifty_mm, 1e-9);
  EXPECT_EQ(content<CameraLayer>(cam).projection, Projection::perspective);
  const auto& solid = content<SolidLayer>(comp.layers[1]);
  EXPECT_EQ(solid.width, 1920);
  EXPECT_EQ(solid.height, 1080);
  const auto& effect = content<EffectLayer>(comp.layers[2]);
  EXPECT_EQ(effect.width, 1920);
  EXPECT_EQ(effect.height, 1080);
  EXPECT_EQ(effect.pixel_aspect, (Ratio{1, 1}));
  EXPECT_TRUE(comp.layers[2].video_on);
  EXPECT_EQ(comp.layers[2].in_point, 0);
  EXPECT_FALSE(comp.layers[2].duration.has_value());
  EXPECT_THAT(content<EffectLayer>(scene.composition_for(registered_params()).layers[2]).params,
              testing::IsEmpty());
}

TEST(SceneFile, FootageWithNanOrInfinityGivesOneWarningLine) {
  const host_test::TempFolder folder;
  const float pixels[] = {std::nanf(""), 0.5f, 0.5f, 1.0f};
  write_image(folder / "dirty.exr", host_test::image_layout(1, 1, 4, OIIO::TypeDesc::FLOAT),
              pixels);
  const std::filesystem::path file = folder.write("scene.json", R"({ "layers": [
        { "name": "Dirty", "type": "footage", "file": "dirty.exr" },
        { "name": "Sphere", "type": "effect" } ] })");

  const SceneFile scene = SceneFile::load(file);

  ASSERT_EQ(scene.warnings().size(), 1u);
  EXPECT_THAT(scene.warnings()[0],
              testing::StartsWith("'" + (folder / "dirty.exr").string() + "': 1 NaN"));
  EXPECT_EQ(content<FootageLayer>(scene.composition().layers[0]).image->rgba[0], 0.0f);
}

// A scene that holds `layers` (the inside of the list), with an effect layer last unless the
// case leaves it out.
std::string scene_with(const std::string& layers) {
  return R"({ "layers": [ )" + layers + " ] }";
}

std::string effect_with(const std::string& params) {
  return R"({ "name": "Sphere", "type": "effect", "params": { )" + params + " } }";
}

TEST(SceneFile, BadScenesAreRefusedWithOneLineNamingFilePlaceAndProblem) {
  enum class Stage { load, params };
  struct Case {
    const char* what;
    std::string text;
    Stage stage;
    std::string message;  // after "FILE"; "{DIR}" stands for the scene's folder
  };
  const std::string solid = R"({ "name": "Plate", "type": "solid", "color": [0, 0, 0] }, )";
  const std::string nan_scene = scene_with(effect_with(R"("Radius": NaN)"));
  const std::vector<Case> cases = {
      {"syntax error", "{\n  \"layers\": [\n    {\"name\": \"A\", \"type\": \"effect\",}\n  ]\n}",
       Stage::load,
       ":3:36: syntax error while parsing object key - unexpected '}'; expected "
       "string literal"},
      {"number beyond double", "{ \"layers\": [\n  1e999 ] }", Stage::load,
       ":2:3: syntax error: number 1e999 is too large"},
      {"NaN, which JSON does not have", nan_scene, Stage::load,
       ":1:" + std::to_string(nan_scene.find("NaN") + 1) +
           ": syntax error while parsing value - invalid literal; last read: '\"Radius\": N'"},
      {"duplicate key", scene_with(effect_with(R"("Radius": 1, "Radius": 2)")), Stage::load,
       ": /layers/0/params/Radius: duplicate key \"Radius\""},
      {"not an object", "[]", Stage::load, ": top level: expected an object, got a list"},
      {"unknown top-level key", R"({ "layer": [] })", Stage::load,
       ": /layer: unknown key \"layer\" (expected one of: composition, layers)"},
      {"no effect layer", scene_with(R"({ "name": "Plate", "type": "solid", "color": [0, 0, 0] })"),
       Stage::load, ": /layers: no layer has the type \"effect\"; one layer must carry the effect"},
      {"two effect layers",
       scene_with(effect_with("") + ", " + R"({ "name": "B", "type": "effect" })"), Stage::load,
       ": /layers/1: a second effect layer (the first is /layers/0); one layer "
       "carries the effect"},
      {"two cameras",
       scene_with(R"({ "name": "A", "type": "camera" }, { "name": "B", "type": "camera" }, )" +
                  effect_with("")),
       Stage::load,
       ": /layers/1: a second camera (the first is /layers/0); a composition has "
       "at most one"},
      {"two layers of one name", scene_with(solid + solid + effect_with("")), Stage::load,
       ": /layers/1/name: layer /layers/0 already has the name \"Plate\""},
      {"unknown layer type", scene_with(R"({ "name": "A", "type": "text" })"), Stage::load,
       ": /layers/0/type: unknown layer type \"text\" (footage, solid, camera, light or effect)"},
      {"misspelt key",
       scene_with(
           R"({ "name": "L", "type": "light", "light_type": "point", "positon": [0, 0, 0] })"),
       Stage::load,
       ": /layers/0/positon: unknown key \"positon\" (expected one of: name, type, "
       "in_point, duration, enabled, motion_blur, light_type, position, color, "
       "intensity, falloff_distance)"},
      {"cone on a point light",
       scene_with(R"({ "name": "L", "type": "light", "light_type": "point", "cone_angle": 30 })"),
       Stage::load,
       ": /layers/0/cone_angle: unknown key \"cone_angle\" (expected one of: name, "
       "type, in_point, duration, enabled, motion_blur, light_type, position, color, "
       "intensity, falloff_distance)"},
      {"missing image",
       scene_with(R"({ "name": "F", "type": "footage", "file": "missing.png" }, )" +
                  effect_with("")),
       Stage::load,
       ": /layers/0/file: cannot read image '{DIR}/missing.png': No such file or "
       "directory"},
      {"unsupported image",
       scene_with(R"({ "name": "F", "type": "footage", "file": "notes.png" }, )" + effect_with("")),
       Stage::load,
       ": /layers/0/file: cannot read image '{DIR}/notes.png': unsupported or "
       "corrupt image: Not a PNG file"},
      {"negative solid size",
       scene_with(R"({ "name": "S", "type": "solid", "color": [0, 0, 0], "width": -5 }, )" +
                  effect_with("")),
       Stage::load, ": /layers/0/width: -5 is outside 1 to 30000"},
      {"negative composition size", R"({ "composition": { "height": -1 }, "layers": [] })",
       Stage::load, ": /composition/height: -1 is outside 1 to 30000"},
      {"fractional size", scene_with(R"({ "name": "S", "type": "effect", "width": 10.5 })"),
       Stage::load, ": /layers/0/width: expected a whole number, got 10.5"},
      {"zero frame rate", R"({ "composition": { "frame_rate": 0 }, "layers": [] })", Stage::load,
       ": /composition/frame_rate: expected a number above 0, got 0"},
      {"zero layer duration", scene_with(R"({ "name": "S", "type": "effect", "duration": 0 })"),
       Stage::load, ": /layers/0/duration: expected a number above 0, got 0"},
      {"effect layer starting late",
       scene_with(R"({ "name": "S", "type": "effect", "in_point": 1 })"), Stage::load,
       ": /layers/0/in_point: the effect layer starts at 0 s, where the composition starts"},
      {"colour in 0-255",
       scene_with(R"({ "name": "S", "type": "solid", "color": [255, 0, 0] }, )" + effect_with("")),
       Stage::load,
       ": /layers/0/color/0: colour channels run from 0 to 1, got 255 (divide 0-255 "
       "values by 255)"},
      {"shutter angle", R"({ "composition": { "shutter_angle": 1000 }, "layers": [] })",
       Stage::load, ": /composition/shutter_angle: 1000 is outside 0 to 720"},
      {"unknown parameter name", scene_with(effect_with(R"("Radiuss": 1)")), Stage::params,
       ": /layers/0/params/Radiuss: unknown parameter \"Radiuss\": the effect has no parameter "
       "of that name"},
      {"parameter name in other case", scene_with(effect_with(R"("radius": 1)")), Stage::params,
       ": /layers/0/params/radius: unknown parameter \"radius\": the effect has no parameter of "
       "that name (did you mean \"Radius\"?)"},
      {"group name", scene_with(effect_with(R"("Material": 1)")), Stage::params,
       ": /layers/0/params/Material: parameter \"Material\" is a GROUP_START and holds no value a "
       "scene can set"},
      {"unknown map layer", scene_with(solid + effect_with(R"("Diffuse Layer": "Erth")")),
       Stage::params, ": /layers/1/params/Diffuse Layer: no layer is named \"Erth\""},
      {"map naming a camera",
       scene_with(R"({ "name": "Cam", "type": "camera" }, )" +
                  effect_with(R"("Diffuse Layer": "Cam")")),
       Stage::params,
       ": /layers/1/params/Diffuse Layer: layer \"Cam\" has no pixels to use; "
       "name a footage or solid layer"},
      {"wrong type", scene_with(effect_with(R"("Radius": "big")")), Stage::params,
       ": /layers/0/params/Radius: expected a number, got the text \"big\""},
      {"outside the valid range", scene_with(effect_with(R"("Radius": -1)")), Stage::params,
       ": /layers/0/params/Radius: -1 is outside 0 to 100000"},
      {"below a single-precision limit", scene_with(effect_with(R"("Diffuse Gamma": 0.0099)")),
       Stage::params, ": /layers/0/params/Diffuse Gamma: 0.0099 is outside 0.01 to 10"},
      {"keyframes out of order",
       scene_with(
           effect_with(R"("Radius": [{ "time": 1, "value": 1 }, { "time": 0.5, "value": 2 }])")),
       Stage::params,
       ": /layers/0/params/Radius/1/time: keyframe times must increase: 0.5 s "
       "comes after 1 s"},
      {"keyframe without value", scene_with(effect_with(R"("Radius": [{ "time": 1 }])")),
       Stage::params, ": /layers/0/params/Radius/0: missing key \"value\""},
      {"popup text", scene_with(effect_with(R"("3D Object": "Cube")")), Stage::params,
       ": /layers/0/params/3D Object: \"Cube\" is not a choice of \"3D Object\" (Sphere, "
       "Hemisphere)"},
      {"popup number", scene_with(effect_with(R"("3D Object": 3)")), Stage::params,
       ": /layers/0/params/3D Object: 3 is outside 1 to 2"},
      {"keyframed popup", scene_with(effect_with(R"("Motion Blur": [{ "time": 0, "value": 1 }])")),
       Stage::params,
       ": /layers/0/params/Motion Blur: a popup cannot be keyframed: its keys would have to "
       "hold, not blend"},
      {"checkbox as number", scene_with(effect_with(R"("Unlit Only": 1)")), Stage::params,
       ": /layers/0/params/Unlit Only: expected true or false, got 1"},
      {"2D point with three numbers", scene_with(effect_with(R"("Centre": [1, 2, 3])")),
       Stage::params, ": /layers/0/params/Centre: expected [x, y], got a list"},
      {"fractional slider", scene_with(effect_with(R"("Samples": 2.5)")), Stage::params,
       ": /layers/0/params/Samples: expected a whole number, got 2.5"},
      {"fixed slider range", scene_with(effect_with(R"("Softness": 3)")), Stage::params,
       ": /layers/0/params/Softness: 3 is outside 0 to 2"},
      {"name with a slash", scene_with(effect_with(R"("Shadow/Light": 1)")), Stage::params,
       ": /layers/0/params/Shadow~1Light: unknown parameter \"Shadow/Light\": the effect has no "
       "parameter of that name"},
  };
  const host_test::TempFolder folder;
  folder.write("notes.png", "plain text\n");
  const ParamList registered = registered_params();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const std::filesystem::path file = folder.write("scene.json", c.text);
    std::string expected = file.string() + c.message;
    if (const std::size_t dir = expected.find("{DIR}"); dir != std::string::npos) {
      expected.replace(dir, 5, folder.path().string());
    }
    try {
      const SceneFile scene = SceneFile::load(file);
      ASSERT_EQ(c.stage, Stage::params) << "loaded";
      scene.composition_for(registered);
      ADD_FAILURE() << "accepted";
    } catch (const HostError& error) {
      EXPECT_EQ(error.what(), expected);
    }
  }
}

TEST(SceneFile, MissingSceneFileIsRefusedWithTheSystemsReason) {
  const host_test::TempFolder folder;
  const std::filesystem::path file = folder / "nowhere.json";
  try {
    SceneFile::load(file);
    ADD_FAILURE() << "loaded";
  } catch (const HostError& error) {
    EXPECT_EQ(error.what(),
              file.string() + ": cannot read the scene file: No such file or directory");
  }
}

// The repository's own folder: tests read the examples and the format's documentation there.
std::filesystem::path source_folder() {
  return std::filesystem::path(__FILE__).parent_path().parent_path();
}

std::string read_text(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

std::vector<std::filesystem::path> example_files() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(source_folder() / "examples")) {
    if (entry.path().extension() == ".json") {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

TEST(E2eSceneExamples, EveryExampleLoadsAgainstTheModulesOwnParameters) {
  const host_test::TempFolder folder;
  // The examples' images, made by the project's script into the copy's own folder.
  const std::string make_images = "'" + (source_folder() / "tools/make-example-images").string() +
                                  "' '" + (folder / "images").string() + "'";
  ASSERT_EQ(std::system(make_images.c_str()), 0) << make_images;
  std::filesystem::copy(source_folder() / "examples/images/planet", folder / "images/planet");
  EffectHost host(e2e_plugin::real_module_entry());
  {
    const e2e_plugin::StderrCapture banner;
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
    ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  }

  std::map<std::string, Composition> loaded;
  for (const std::filesystem::path& example : example_files()) {
    const std::string name = example.filename().string();
    SCOPED_TRACE(name);
    const std::filesystem::path copy = folder / name;
    std::filesystem::copy_file(example, copy);
    const SceneFile scene = SceneFile::load(copy);
    EXPECT_THAT(scene.warnings(), testing::IsEmpty());
    const Composition comp = scene.composition_for(host.params());
    EXPECT_NO_THROW(check_composition(comp));
    loaded.emplace(name, comp);
  }

  std::vector<std::string> names;
  for (const auto& [name, comp] : loaded) {
    names.push_back(name);
  }
  EXPECT_THAT(names, testing::ElementsAre("camera-orthographic.json", "camera.json",
                                          "composition.json", "footage-maps.json", "keyframes.json",
                                          "lights.json", "minimal.json", "motion-blur.json",
                                          "parameters.json", "planet.json"));
  // Popup texts resolve to the effect's own choice numbers: "Hemisphere" is the second of
  // "Sphere|Hemisphere", "16" the fifth of "0|2|4|8|16", "Comp Settings" the first.
  const auto& shown = content<EffectLayer>(loaded.at("parameters.json").layers[0]).params;
  EXPECT_EQ(animated<double>(shown.at("3D Object")).at(0), 2);
  EXPECT_EQ(animated<double>(shown.at("Multisampling")).at(0), 5);
  EXPECT_EQ(animated<double>(shown.at("Unlit Only")).at(0), 0);
  const auto& blurred = content<EffectLayer>(loaded.at("motion-blur.json").layers[0]).params;
  EXPECT_EQ(animated<double>(blurred.at("Motion Blur")).at(0), 1);
  EXPECT_EQ(std::get<LayerRef>(content<EffectLayer>(loaded.at("footage-maps.json").layers[5])
                                   .params.at("Illumination Layer")),
            LayerRef{"Glow"});
}

TEST(SceneFormatDoc, EveryJsonBlockParsesAndEveryWholeSceneIsAnExampleFile) {
  const std::filesystem::path doc = source_folder() / "docs/scene-format.md";
  const std::string text = read_text(doc);
  std::map<std::string, nlohmann::json> examples;
  for (const std::filesystem::path& example : example_files()) {
    examples.emplace(example.filename().string(),
                     lunaform::host::parse_scene_text(example, read_text(example)));
    EXPECT_NE(text.find("`examples/" + example.filename().string() + "`"), std::string::npos)
        << example.filename() << " is not shown in the documentation";
  }
  const std::string open = "```json\n";
  const std::string close = "\n```";
  int blocks = 0;
  for (std::size_t start = text.find(open); start != std::string::npos;
       start = text.find(open, start)) {
    start += open.size();
    const std::size_t end = text.find(close, start);
    ASSERT_NE(end, std::string::npos);
    const nlohmann::json block =
        lunaform::host::parse_scene_text(doc, text.substr(start, end - start));
    ++blocks;
    if (block.is_object() && block.contains("layers")) {
      const bool is_example =
          std::any_of(examples.begin(), examples.end(),
                      [&block](const auto& example) { return example.second == block; });
      EXPECT_TRUE(is_example) << "a whole scene in the documentation differs from every "
                                 "example file:\n"
                              << block.dump(2);
    }
  }
  EXPECT_GE(blocks, 12);
}

}  // namespace
