#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/composition.h"
#include "host/host_error.h"

namespace {

using lunaform::host::Animated;
using lunaform::host::CameraLayer;
using lunaform::host::check_composition;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::default_camera_zoom;
using lunaform::host::default_composition;
using lunaform::host::EffectLayer;
using lunaform::host::FootageLayer;
using lunaform::host::HostError;
using lunaform::host::Image;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::LightLayer;
using lunaform::host::SolidLayer;
using lunaform::host::Vec3;
using testing::HasSubstr;

Layer named(std::string name, lunaform::host::LayerContent content) {
  Layer layer;
  layer.name = std::move(name);
  layer.content = std::move(content);
  return layer;
}

TEST(Animated, InterpolatesLinearlyBetweenKeysAndHoldsTheEndValuesOutside) {
  Animated<double> value = 7.0;
  EXPECT_EQ(value.at(-3), 7.0);
  EXPECT_FALSE(value.is_keyframed());

  value.set_key(2.0, 30.0);  // keys given out of order
  value.set_key(1.0, 10.0);
  value.set_key(4.0, 0.0);
  struct Case {
    double seconds;
    double expected;
  };
  for (const Case& c : {Case{-1, 10}, Case{1, 10}, Case{1.25, 15}, Case{1.5, 20}, Case{2, 30},
                        Case{3, 15}, Case{3.5, 7.5}, Case{4, 0}, Case{100, 0}}) {
    EXPECT_DOUBLE_EQ(value.at(c.seconds), c.expected) << "at " << c.seconds << " s";
  }

  value.set_key(2.0, 50.0);  // a key at an existing time replaces it
  EXPECT_EQ(value.keys().size(), 3u);
  EXPECT_DOUBLE_EQ(value.at(1.5), 30.0);

  value.set_constant(-1.0);
  EXPECT_EQ(value.at(2.0), -1.0);
}

TEST(Animated, InterpolatesPointsAndColoursPerComponent) {
  Animated<Vec3> point;
  point.set_key(0, Vec3{0, 100, -50});
  point.set_key(2, Vec3{10, 0, 50});
  EXPECT_EQ(point.at(0.5), (Vec3{2.5, 75, -25}));

  Animated<Color> color;
  color.set_key(10, Color{1, 0, 0, 1});
  color.set_key(11, Color{0, 0, 1, 0});
  EXPECT_EQ(color.at(10.25), (Color{0.75, 0, 0.25, 0.75}));
}

TEST(DefaultCamera, SitsAtTheDistanceOfAFiftyMillimetreLensOnThirtySixMillimetreFilm) {
  // A 50 mm lens on a 36 mm film back sees the image width at 50/36 of it; the host's 39.6
  // degrees is that angle rounded, so the two agree to within a fraction of a pixel.
  for (int width : {1920, 1000, 640}) {
    EXPECT_NEAR(default_camera_zoom(width), width * 50.0 / 36.0, 0.2 * width / 1000) << width;
  }
}

TEST(DefaultComposition, IsFullHdAtThirtyFramesWithOnlyTheEffectLayer) {
  const Composition comp = default_composition();
  EXPECT_EQ(comp.width, 1920);
  EXPECT_EQ(comp.height, 1080);
  EXPECT_EQ(comp.pixel_aspect.value(), 1.0);
  EXPECT_EQ(comp.frame_rate.value(), 30.0);
  EXPECT_FALSE(comp.motion_blur);
  ASSERT_EQ(comp.layers.size(), 1u);
  const auto& effect = std::get<EffectLayer>(comp.layers[0].content);
  EXPECT_EQ(effect.width, 1920);
  EXPECT_EQ(effect.height, 1080);
  EXPECT_TRUE(effect.params.empty());
  EXPECT_EQ(lunaform::host::effect_layer_index(comp), 0u);
  EXPECT_FALSE(lunaform::host::camera_layer_index(comp));
  EXPECT_NO_THROW(check_composition(comp));
}

TEST(TimeBase, CountsOneHundredTwentyUnitsPerFrame) {
  Composition comp = default_composition();
  comp.frame_rate = {30000, 1001};
  comp.duration = 2;
  const auto base = lunaform::host::time_base(comp);
  EXPECT_EQ(base.time_scale, 3600000u);
  EXPECT_EQ(base.time_step, 120120);
  EXPECT_EQ(base.total_time, 7200000);
}

TEST(LayerDuration, RunsToTheCompositionsEndUnlessGiven) {
  const Composition comp = default_composition();  // 10 s
  Layer layer = named("Light", LightLayer{});
  layer.in_point = 2.5;
  EXPECT_DOUBLE_EQ(lunaform::host::layer_duration(comp, layer), 7.5);
  layer.duration = 1.25;
  EXPECT_DOUBLE_EQ(lunaform::host::layer_duration(comp, layer), 1.25);
}

TEST(CheckComposition, RefusesWhatTheHostCannotServeWithOneLineNamingTheProblem) {
  auto image_of = [](int width, int height, std::size_t floats) {
    auto image = std::make_shared<Image>();
    image->width = width;
    image->height = height;
    image->rgba.assign(floats, 0.0f);
    return std::shared_ptr<const Image>(image);
  };
  struct Case {
    const char* what;
    std::function<void(Composition&)> spoil;
    const char* message;
  };
  const std::vector<Case> cases = {
      {"zero width", [](Composition& c) { c.width = 0; }, "composition size 0 x 1080"},
      {"negative height", [](Composition& c) { c.height = -5; }, "composition size 1920 x -5"},
      {"pixel aspect 0",
       [](Composition& c) {
         c.pixel_aspect = {0, 1};
       },
       "pixel aspect 0/1"},
      {"frame rate over 0",
       [](Composition& c) {
         c.frame_rate = {30, 0};
       },
       "frame rate 30/0"},
      {"negative duration", [](Composition& c) { c.duration = -1; }, "duration"},
      {"NaN duration", [](Composition& c) { c.duration = std::nan(""); }, "duration"},
      {"shutter 721", [](Composition& c) { c.shutter_angle = 721; }, "shutter angle"},
      {"no effect layer", [](Composition& c) { c.layers.clear(); }, "no layer carrying"},
      {"two effect layers",
       [](Composition& c) { c.layers.push_back(named("Second", EffectLayer{})); },
       "more than one layer carrying"},
      {"two cameras",
       [](Composition& c) {
         c.layers.push_back(named("Cam 1", CameraLayer{}));
         c.layers.push_back(named("Cam 2", CameraLayer{}));
       },
       "more than one camera"},
      {"duplicate names",
       [](Composition& c) {
         c.layers.push_back(named("Lunaform", SolidLayer{{}, 4, 4}));
       },
       "two layers are named 'Lunaform'"},
      {"empty name", [](Composition& c) { c.layers.push_back(named("", LightLayer{})); },
       "no name"},
      {"negative solid",
       [](Composition& c) {
         c.layers.push_back(named("Red", SolidLayer{{}, -1, 4}));
       },
       "layer 'Red': width -1"},
      {"image of the wrong size",
       [&](Composition& c) {
         c.layers.push_back(named("Photo", FootageLayer{"photo.png", image_of(2, 2, 15)}));
       },
       "layer 'Photo': image of 2 x 2 holds 15 floats"},
      {"negative layer duration",
       [](Composition& c) {
         Layer light = named("Key", LightLayer{});
         light.duration = -2;
         c.layers.push_back(light);
       },
       "layer 'Key': negative duration"},
      {"map names a missing layer",
       [](Composition& c) {
         std::get<EffectLayer>(c.layers[0].content).params["Diffuse Layer"] = LayerRef{"Moon"};
       },
       "parameter 'Diffuse Layer' names layer 'Moon', which the composition does not have"},
      {"map names a light",
       [](Composition& c) {
         c.layers.push_back(named("Key", LightLayer{}));
         std::get<EffectLayer>(c.layers[0].content).params["Diffuse Layer"] = LayerRef{"Key"};
       },
       "names layer 'Key', which has no pixels"},
  };
  for (const Case& c : cases) {
    Composition comp = default_composition();
    c.spoil(comp);
    try {
      check_composition(comp);
      ADD_FAILURE() << c.what << ": accepted";
    } catch (const HostError& error) {
      EXPECT_THAT(error.what(), HasSubstr(c.message)) << c.what;
      EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << c.what;
    }
  }
}

TEST(CheckComposition, AcceptsMapsNamingFootageAndSolidsAndAnEmptyChoice) {
  Composition comp = default_composition();
  auto image = std::make_shared<Image>();
  image->width = 2;
  image->height = 1;
  image->rgba.assign(8, 0.5f);
  comp.layers.push_back(named("Photo", FootageLayer{"photo.png", image}));
  comp.layers.push_back(named("Grey", SolidLayer{Color{0.5, 0.5, 0.5, 1}, 16, 16}));
  auto& params = std::get<EffectLayer>(comp.layers[0].content).params;
  params["Diffuse Layer"] = LayerRef{"Photo"};
  params["Bump Map Layer"] = LayerRef{"Grey"};
  params["Environment Layer"] = LayerRef{};
  EXPECT_NO_THROW(check_composition(comp));
  EXPECT_EQ(lunaform::host::find_layer(comp, "Grey"), &comp.layers[2]);
  EXPECT_EQ(lunaform::host::find_layer(comp, "grey"), nullptr);
  EXPECT_EQ(lunaform::host::layer_id(2), 3);
}

}  // namespace
