#include "host/scene_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <string>
#include <vector>

#include "e2e_plugin_support.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/param_list.h"
#include "tests/host_suite_support.h"
#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"

namespace {

namespace lh = lunaform::host;
using host_test::nums;
using lh::Animated;
using lh::Composition;
using lh::Layer;
using lh::LayerRef;
using lh::SceneFile;
using testing::ElementsAre;

// A parameter list as a host receives it from a module: one parameter of every kind that
// holds a value, groups, and a group sharing its name with a popup (as "Motion Blur" does).
lh::ParamList registered_params() {
  const PF_ParamType types[] = {PF_Param_POPUP,    PF_Param_FLOAT_SLIDER, PF_Param_POINT_3D,
                                PF_Param_ANGLE,    PF_Param_GROUP_START,  PF_Param_COLOR,
                                PF_Param_CHECKBOX, PF_Param_FLOAT_SLIDER, PF_Param_GROUP_END,
                                PF_Param_LAYER,    PF_Param_LAYER,        PF_Param_GROUP_START,
                                PF_Param_POPUP,    PF_Param_GROUP_END,    PF_Param_SLIDER,
                                PF_Param_POINT,    PF_Param_FIX_SLIDER};
  const char* names[] = {
      "3D Object",      "Radius",      "Position",      "Rotation Y", "Material",
      "Color",          "Unlit Only",  "Diffuse Gamma", "",           "Diffuse Layer",
      "Bump Map Layer", "Motion Blur", "Motion Blur",   "",           "Samples",
      "Centre",         "Softness"};
  std::vector<PF_ParamDef> defs;
  for (int i = 0; i < 17; ++i) {
    defs.push_back(host_test::param_def(types[i], 0, names[i]));
  }
  defs[0].u.pd.num_choices = 2;
  defs[0].u.pd.u.namesptr = "Sphere|Hemisphere";
  defs[1].u.fs_d.valid_max = 100000;
  defs[7].u.fs_d.valid_min = 0.01f;  // below it in single precision: 0.0099
  defs[7].u.fs_d.valid_max = 10;
  defs[12].u.pd.num_choices = 3;
  defs[12].u.pd.u.namesptr = "Comp Settings|On|Off";
  defs[14].u.sd.valid_min = -10;
  defs[14].u.sd.valid_max = 10;
  defs[16].u.fd.valid_max = 2 << 16;
  lh::ParamList list;
  std::string problem;
  for (const PF_ParamDef& def : defs) {
    EXPECT_EQ(list.add(-1, &def, problem), PF_Err_NONE) << problem;
  }
  return list;
}

template <typename T>
const T& content(const Layer& layer) {
  return std::get<T>(layer.content);
}

std::vector<double> xyz(const lh::Vec3& v) {
  return nums(v.x, v.y, v.z);
}

std::vector<double> rgba(const lh::Color& c) {
  return nums(c.red, c.green, c.blue, c.alpha);
}

// The distance of the host's default camera (a 50 mm lens) from a composition `width` wide.
double fifty_mm(double width) {
  return width / 2 / std::tan(19.8 * std::numbers::pi / 180);
}

auto near(const std::vector<double>& expected) {
  return testing::Pointwise(testing::DoubleNear(1e-9), expected);
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
      "intensity": 200, "cone_angle": 80, "cone_feather": 40, "falloff_distance": 700,
      "in_point": 0.5, "duration": 3 },
    { "name": "Sun", "type": "light", "light_type": "parallel" },
    { "name": "Bulb", "type": "light", "light_type": "point", "position": [10, 20, 30],
      "intensity": -50 },
    { "name": "Fill", "type": "light", "light_type": "ambient", "enabled": false },
    { "name": "Sphere", "type": "effect", "width": 320, "height": 180, "pixel_aspect": [2, 1],
      "params": {
        "Radius": [{ "time": 0, "value": 100 }, { "time": 2, "value": 300 }],
        "Position": [{ "time": 1, "value": [0, 0, 0] }, { "time": 3, "value": [100, -50, 20] }],
        "3D Object": "Hemisphere", "Motion Blur": 3, "Rotation Y": -45, "Color": [1, 0.5, 0],
        "Unlit Only": true, "Diffuse Layer": "Checker", "Bump Map Layer": null, "Samples": -7,
        "Centre": [10, 20], "Softness": 1.5, "Diffuse Gamma": 0.01 } }
  ]
})";

TEST(SceneFile, FullSceneLoadsIntoTheModelWithEveryValue) {
  const host_test::TempFolder folder;
  std::filesystem::create_directory(folder / "images");
  const uint8_t pixels[] = {255, 255, 255, 255, 255, 0, 0, 128};  // white, half-transparent red
  host_test::write_image(folder / "images/checker.png",
                         host_test::image_layout(2, 1, 4, OIIO::TypeDesc::UINT8), pixels);
  const std::filesystem::path file = folder.write("scene.json", kFullScene);

  const SceneFile scene = SceneFile::load(file);

  EXPECT_THAT(scene.warnings(), testing::IsEmpty());
  const Composition& comp = scene.composition();
  EXPECT_THAT(nums(comp.width, comp.height, comp.pixel_aspect.num, comp.pixel_aspect.den,
                   comp.frame_rate.num, comp.frame_rate.den, comp.duration, comp.motion_blur,
                   comp.shutter_angle, comp.shutter_phase),
              ElementsAre(640, 360, 9, 10, 30000, 1001, 4, true, 90, -45));
  ASSERT_EQ(comp.layers.size(), 9u);
  // Footage: read once for both names of its file, straight colour, in the composition's centre.
  const Layer& checker = comp.layers[0];
  const auto& footage = content<lh::FootageLayer>(checker);
  ASSERT_NE(footage.image, nullptr);
  EXPECT_THAT(footage.image->rgba, ElementsAre(1, 1, 1, 1, 1, 0, 0, 128 / 255.0f));
  EXPECT_FALSE(checker.video_on);
  EXPECT_EQ(content<lh::FootageLayer>(comp.layers[1]).image, footage.image);
  EXPECT_THAT(xyz(checker.transform.position.at(0)), near({320, 180, 0}));
  EXPECT_THAT(xyz(checker.transform.anchor.at(0)), near({1, 0.5, 0}));

  // A solid with its own timing and switches.
  const Layer& red = comp.layers[2];
  const auto& solid = content<lh::SolidLayer>(red);
  EXPECT_THAT(rgba(solid.color), near({1, 0, 0, 1}));
  EXPECT_THAT(
      nums(solid.width, solid.height, red.in_point, *red.duration, red.video_on, red.motion_blur),
      ElementsAre(32, 16, 1, 2, true, true));
  EXPECT_THAT(xyz(red.transform.anchor.at(0)), near({16, 8, 0}));

  // The camera's zoom keyframes interpolate linearly and hold outside their range.
  const Layer& camera = comp.layers[3];
  const auto& lens = content<lh::CameraLayer>(camera);
  EXPECT_EQ(lens.projection, lh::Projection::orthographic);
  EXPECT_THAT(nums(lens.zoom.at(-1), lens.zoom.at(0.5), lens.zoom.at(1.5), lens.zoom.at(3)),
              near({800, 900, 1100, 1200}));
  EXPECT_THAT(xyz(camera.transform.position.at(0)), near({320, 180, -1000}));
  ASSERT_TRUE(camera.transform.point_of_interest.has_value());
  EXPECT_THAT(xyz(camera.transform.point_of_interest->at(0)), near({300, 200, 0}));

  // A spot light with every value set; its colour halfway between its keys at 2 s.
  const auto light = [&](int i) -> const lh::LightLayer& {
    return content<lh::LightLayer>(comp.layers[i]);
  };
  EXPECT_THAT(std::vector({light(4).type, light(5).type, light(6).type, light(7).type}),
              ElementsAre(lh::LightType::spot, lh::LightType::parallel, lh::LightType::point,
                          lh::LightType::ambient));
  const Layer& key = comp.layers[4];
  const auto& spot = light(4);
  EXPECT_THAT(rgba(spot.color.at(2)), near({0.5, 0.75, 1, 1}));
  EXPECT_THAT(nums(spot.intensity_percent.at(0), spot.cone_angle_degrees.at(0),
                   spot.cone_feather_percent.at(0), spot.falloff_distance.at(0), key.in_point,
                   *key.duration),
              ElementsAre(200, 80, 40, 700, 0.5, 3));

  // A parallel light without values stands at the default camera, aimed at the centre, white.
  const Layer& sun = comp.layers[5];
  EXPECT_THAT(xyz(sun.transform.position.at(0)), near({320, 180, -fifty_mm(640)}));
  EXPECT_THAT(xyz(sun.transform.point_of_interest->at(0)), near({320, 180, 0}));
  EXPECT_THAT(rgba(light(5).color.at(0)), near({1, 1, 1, 1}));
  EXPECT_THAT(nums(light(5).intensity_percent.at(0), light(6).intensity_percent.at(0)),
              ElementsAre(100, -50));
  EXPECT_FALSE(comp.layers[6].transform.point_of_interest.has_value());

  // The effect layer: its own size and aspect; its values by the module's parameter list.
  const auto& effect = content<lh::EffectLayer>(comp.layers[8]);
  EXPECT_THAT(nums(effect.width, effect.height, effect.pixel_aspect.num, effect.pixel_aspect.den),
              ElementsAre(320, 180, 2, 1));

  const Composition applied = scene.composition_for(registered_params());
  EXPECT_NO_THROW(lh::check_composition(applied));
  const auto& params = content<lh::EffectLayer>(applied.layers[8]).params;
  EXPECT_EQ(params.size(), 13u);
  const Animated<double>& radius = std::get<Animated<double>>(params.at("Radius"));
  EXPECT_THAT(nums(radius.at(-1), radius.at(0.5), radius.at(1.5), radius.at(5)),
              near({100, 150, 250, 300}));
  EXPECT_THAT(xyz(std::get<Animated<lh::Vec3>>(params.at("Position")).at(2.5)),
              near({75, -37.5, 15}));
  const auto number = [&](const char* name) {
    return std::get<Animated<double>>(params.at(name)).at(0);
  };
  // "Hemisphere" is the second choice; true is 1.
  EXPECT_THAT(
      nums(number("3D Object"), number("Motion Blur"), number("Rotation Y"), number("Unlit Only"),
           number("Samples"), number("Softness"), number("Diffuse Gamma")),
      ElementsAre(2, 3, -45, 1, -7, 1.5, testing::DoubleNear(0.01, 1e-9)));
  EXPECT_THAT(rgba(std::get<Animated<lh::Color>>(params.at("Color")).at(0)), near({1, 0.5, 0, 1}));
  EXPECT_EQ(std::get<LayerRef>(params.at("Diffuse Layer")), LayerRef{"Checker"});
  EXPECT_EQ(std::get<LayerRef>(params.at("Bump Map Layer")), LayerRef{""});
  EXPECT_THAT(xyz(std::get<Animated<lh::Vec3>>(params.at("Centre")).at(0)), near({10, 20, 0}));
}

TEST(SceneFile, DefaultsApplyWhenTheFileLeavesThemOutAndNanFootageWarnsOnce) {
  const host_test::TempFolder folder;
  const float pixels[] = {std::nanf(""), 0.5f, 0.5f, 1.0f};
  host_test::write_image(folder / "dirty.exr",
                         host_test::image_layout(1, 1, 4, OIIO::TypeDesc::FLOAT), pixels);
  const std::filesystem::path file = folder.write("scene.json", R"({ "layers": [
        { "name": "Cam", "type": "camera", "orientation": [0, 45, 0] },
        { "name": "Solid", "type": "solid", "color": [0, 0, 0] },
        { "name": "Dirty", "type": "footage", "file": "dirty.exr" },
        { "name": "Sphere", "type": "effect" } ] })");

  const SceneFile scene = SceneFile::load(file);

  const Composition& comp = scene.composition();
  EXPECT_THAT(nums(comp.width, comp.height, comp.pixel_aspect.num, comp.pixel_aspect.den,
                   comp.frame_rate.num, comp.frame_rate.den, comp.duration, comp.motion_blur,
                   comp.shutter_angle, comp.shutter_phase),
              ElementsAre(1920, 1080, 1, 1, 30, 1, 10, false, 180, -90));
  // A camera given an orientation and no point of interest is aimed by the orientation alone,
  // from where the default camera stands: 960 / tan(19.8°) in front of the centre.
  const Layer& cam = comp.layers[0];
  EXPECT_FALSE(cam.transform.point_of_interest.has_value());
  EXPECT_THAT(xyz(cam.transform.orientation.at(0)), near({0, 45, 0}));
  EXPECT_THAT(xyz(cam.transform.position.at(0)), near({960, 540, -fifty_mm(1920)}));
  EXPECT_NEAR(content<lh::CameraLayer>(cam).zoom.at(0), fifty_mm(1920), 1e-9);
  EXPECT_EQ(content<lh::CameraLayer>(cam).projection, lh::Projection::perspective);
  const auto& solid = content<lh::SolidLayer>(comp.layers[1]);
  const auto& effect = content<lh::EffectLayer>(comp.layers[3]);
  EXPECT_THAT(nums(solid.width, solid.height, effect.width, effect.height, effect.pixel_aspect.num,
                   comp.layers[3].duration.has_value()),
              ElementsAre(1920, 1080, 1920, 1080, 1, false));
  ASSERT_EQ(scene.warnings().size(), 1u);
  EXPECT_THAT(scene.warnings()[0],
              testing::StartsWith("'" + (folder / "dirty.exr").string() + "': 1 NaN"));
}

// A scene holding `layers` (the inside of the list).
std::string scene(const std::string& layers) {
  return R"({ "layers": [ )" + layers + " ] }";
}

std::string effect(const std::string& params) {
  return R"({ "name": "Sphere", "type": "effect", "params": { )" + params + " } }";
}

TEST(SceneFile, BadScenesAreRefusedWithOneLineNamingFilePlaceAndProblem) {
  const host_test::TempFolder folder;
  const std::string solid = R"({ "name": "Plate", "type": "solid", "color": [0, 0, 0] }, )";
  const std::string nan_scene = scene(effect(R"("Radius": NaN)"));
  const std::pair<std::string, std::string> cases[] = {
      {"{\n  \"layers\": [\n    {\"name\": \"A\", \"type\": \"effect\",}\n  ]\n}",
       ":3:36: syntax error while parsing object key - unexpected '}'; expected string literal"},
      {"{ \"layers\": [\n  1e999 ] }", ":2:3: syntax error: number 1e999 is too large"},
      {nan_scene,
       ":1:" + std::to_string(nan_scene.find("NaN") + 1) +
           ": syntax error while parsing value - invalid literal; last read: '\"Radius\": N'"},
      {scene(effect(R"("Radius": 1, "Radius": 2)")),
       ": /layers/0/params/Radius: duplicate key \"Radius\""},
      {"[]", ": top level: expected an object, got a list"},
      {R"({ "layer": [] })",
       ": /layer: unknown key \"layer\" (expected one of: composition, layers)"},
      {scene(R"({ "name": "Plate", "type": "solid", "color": [0, 0, 0] })"),
       ": /layers: no layer has the type \"effect\"; one layer must carry the effect"},
      {scene(effect("") + ", " + R"({ "name": "B", "type": "effect" })"),
       ": /layers/1: a second effect layer (the first is /layers/0); one layer carries the effect"},
      {scene(R"({ "name": "A", "type": "camera" }, { "name": "B", "type": "camera" }, )" +
             effect("")),
       ": /layers/1: a second camera (the first is /layers/0); a composition has at most one"},
      {scene(solid + solid + effect("")),
       ": /layers/1/name: layer /layers/0 already has the name \"Plate\""},
      {scene(R"({ "name": "A", "type": "text" })"),
       ": /layers/0/type: unknown layer type \"text\" (footage, solid, camera, light or effect)"},
      {scene(R"({ "name": "L", "type": "light", "light_type": "point", "cone_angle": 30 })"),
       ": /layers/0/cone_angle: unknown key \"cone_angle\" (expected one of: name, type, in_point, "
       "duration, enabled, motion_blur, light_type, position, color, intensity, falloff_distance)"},
      {scene(R"({ "name": "F", "type": "footage", "file": "missing.png" }, )" + effect("")),
       ": /layers/0/file: cannot read image '" + (folder / "missing.png").string() +
           "': No such file or directory"},
      {scene(R"({ "name": "S", "type": "solid", "color": [0, 0, 0], "width": -5 }, )" + effect("")),
       ": /layers/0/width: -5 is outside 1 to 30000"},
      {R"({ "composition": { "height": -1 }, "layers": [] })",
       ": /composition/height: -1 is outside 1 to 30000"},
      {scene(R"({ "name": "S", "type": "effect", "width": 10.5 })"),
       ": /layers/0/width: expected a whole number, got 10.5"},
      {R"({ "composition": { "frame_rate": 0 }, "layers": [] })",
       ": /composition/frame_rate: expected a number above 0, got 0"},
      {scene(R"({ "name": "S", "type": "effect", "duration": 0 })"),
       ": /layers/0/duration: expected a number above 0, got 0"},
      {scene(R"({ "name": "S", "type": "effect", "in_point": 1 })"),
       ": /layers/0/in_point: the effect layer starts at 0 s, where the composition starts"},
      {scene(R"({ "name": "S", "type": "solid", "color": [255, 0, 0] }, )" + effect("")),
       ": /layers/0/color/0: colour channels run from 0 to 1, got 255 (divide 0-255 values by "
       "255)"},
      {R"({ "composition": { "shutter_angle": 1000 }, "layers": [] })",
       ": /composition/shutter_angle: 1000 is outside 0 to 720"},
      {scene(effect(R"("radius": 1)")),
       ": /layers/0/params/radius: unknown parameter \"radius\": the effect has no parameter of "
       "that name (did you mean \"Radius\"?)"},
      {scene(effect(R"("Material": 1)")),
       ": /layers/0/params/Material: parameter \"Material\" is a GROUP_START and holds no value a "
       "scene can set"},
      {scene(solid + effect(R"("Diffuse Layer": "Erth")")),
       ": /layers/1/params/Diffuse Layer: no layer is named \"Erth\""},
      {scene(R"({ "name": "Cam", "type": "camera" }, )" + effect(R"("Diffuse Layer": "Cam")")),
       ": /layers/1/params/Diffuse Layer: layer \"Cam\" has no pixels to use; name a footage or "
       "solid layer"},
      {scene(effect(R"("Radius": "big")")),
       ": /layers/0/params/Radius: expected a number, got the text \"big\""},
      {scene(effect(R"("Radius": -1)")), ": /layers/0/params/Radius: -1 is outside 0 to 100000"},
      {scene(effect(R"("Diffuse Gamma": 0.0099)")),
       ": /layers/0/params/Diffuse Gamma: 0.0099 is outside 0.01 to 10"},
      {scene(effect(R"("Radius": [{ "time": 1, "value": 1 }, { "time": 0.5, "value": 2 }])")),
       ": /layers/0/params/Radius/1/time: keyframe times must increase: 0.5 s comes after 1 s"},
      {scene(effect(R"("Radius": [{ "time": 1 }])")),
       ": /layers/0/params/Radius/0: missing key \"value\""},
      {scene(effect(R"("3D Object": "Cube")")),
       ": /layers/0/params/3D Object: \"Cube\" is not a choice of \"3D Object\" (Sphere, "
       "Hemisphere)"},
      {scene(effect(R"("3D Object": 3)")), ": /layers/0/params/3D Object: 3 is outside 1 to 2"},
      {scene(effect(R"("Motion Blur": [{ "time": 0, "value": 1 }])")),
       ": /layers/0/params/Motion Blur: a popup cannot be keyframed: its keys would have to hold, "
       "not blend"},
      {scene(effect(R"("Unlit Only": 1)")),
       ": /layers/0/params/Unlit Only: expected true or false, got 1"},
      {scene(effect(R"("Centre": [1, 2, 3])")),
       ": /layers/0/params/Centre: expected [x, y], got a list"},
      {scene(effect(R"("Samples": 2.5)")),
       ": /layers/0/params/Samples: expected a whole number, got 2.5"},
      {scene(effect(R"("Softness": 3)")), ": /layers/0/params/Softness: 3 is outside 0 to 2"},
      {scene(effect(R"("Shadow/Light": 1)")),
       ": /layers/0/params/Shadow~1Light: unknown parameter \"Shadow/Light\": the effect has no "
       "parameter of that name"},
  };
  const lh::ParamList registered = registered_params();
  for (const auto& [text, message] : cases) {  // each message follows the file's name
    const std::filesystem::path file = folder.write("scene.json", text);
    EXPECT_THAT([&] { SceneFile::load(file).composition_for(registered); },
                testing::ThrowsMessage<lh::HostError>(testing::StrEq(file.string() + message)));
  }
  const std::filesystem::path missing = folder / "nowhere.json";
  EXPECT_THAT([&] { SceneFile::load(missing); },
              testing::ThrowsMessage<lh::HostError>(testing::StrEq(
                  missing.string() + ": cannot read the scene file: No such file or directory")));
}

TEST(E2eSceneExamples, EveryExampleLoadsAgainstTheModulesOwnParameters) {
  const host_test::TempFolder folder;
  const std::filesystem::path source = std::filesystem::path(__FILE__).parent_path().parent_path();
  // The examples' images, made by the project's script into the copy's own folder.
  const std::string make_images = "'" + (source / "tools/make-example-images").string() + "' '" +
                                  (folder / "images").string() + "'";
  ASSERT_EQ(std::system(make_images.c_str()), 0) << make_images;
  std::filesystem::copy(source / "examples/images/planet", folder / "images/planet");
  lh::EffectHost host(e2e_plugin::real_module_entry());
  {
    const e2e_plugin::StderrCapture banner;
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
    ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  }
  int examples = 0;
  for (const auto& entry : std::filesystem::directory_iterator(source / "examples")) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() != ".json") {
      continue;
    }
    ++examples;
    std::filesystem::copy_file(entry.path(), folder / name);
    const SceneFile scene = SceneFile::load(folder / name);
    EXPECT_THAT(scene.warnings(), testing::IsEmpty()) << name;
    const Composition comp = scene.composition_for(host.params());
    EXPECT_NO_THROW(lh::check_composition(comp)) << name;
  }
  EXPECT_GE(examples, 10);
}

}  // namespace
