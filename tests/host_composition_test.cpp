#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/camera_math.h"
#include "host/composition.h"
#include "host/host_error.h"
#include "tests/host_suite_support.h"

namespace {

using host_test::nums;
using lunaform::host::Animated;
using lunaform::host::camera_view;
using lunaform::host::CameraLayer;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::default_composition;
using lunaform::host::EffectLayer;
using lunaform::host::FootageLayer;
using lunaform::host::HostError;
using lunaform::host::Image;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::LightLayer;
using lunaform::host::project_to_layer_pixels;
using lunaform::host::Projection;
using lunaform::host::SolidLayer;
using lunaform::host::Transform;
using lunaform::host::Vec3;
using testing::ElementsAre;
using testing::HasSubstr;

const double kHalf = std::sqrt(0.5);

MATCHER_P(Near, expected, "") {
  return std::abs(arg.x - expected.x) < 1e-9 && std::abs(arg.y - expected.y) < 1e-9 &&
         std::abs(arg.z - expected.z) < 1e-9;
}

TEST(Animated, InterpolatesLinearlyBetweenKeysAndHoldsTheEndValuesOutside) {
  Animated<double> value = 7.0;
  EXPECT_EQ(value.at(-3), 7.0);
  value.set_key(2.0, 30.0);  // keys given out of order
  value.set_key(1.0, 10.0);
  value.set_key(4.0, 0.0);
  std::vector<double> at;
  for (const double seconds : {-1.0, 1.0, 1.25, 1.5, 2.0, 3.0, 3.5, 4.0, 100.0}) {
    at.push_back(value.at(seconds));
  }
  EXPECT_THAT(at, ElementsAre(10, 10, 15, 20, 30, 15, 7.5, 0, 0));
  value.set_key(2.0, 50.0);  // a key at an existing time replaces it
  EXPECT_EQ(value.keys().size(), 3u);
  EXPECT_DOUBLE_EQ(value.at(1.5), 30.0);
  value.set_constant(-1.0);
  EXPECT_EQ(value.at(2.0), -1.0);

  // Points and colours per component.
  Animated<Vec3> point;
  point.set_key(0, Vec3{0, 100, -50});
  point.set_key(2, Vec3{10, 0, 50});
  EXPECT_EQ(point.at(0.5), (Vec3{2.5, 75, -25}));
  Animated<Color> color;
  color.set_key(10, Color{1, 0, 0, 1});
  color.set_key(11, Color{0, 0, 1, 0});
  EXPECT_EQ(color.at(10.25), (Color{0.75, 0, 0.25, 0.75}));
}

TEST(Composition, TimesCountOneHundredTwentyUnitsPerFrameAndLayersRunToTheEnd) {
  Composition comp = default_composition();  // 10 s
  Layer light{.name = "Light", .in_point = 2.5, .content = LightLayer{}};
  EXPECT_DOUBLE_EQ(lunaform::host::layer_duration(comp, light), 7.5);
  light.duration = 1.25;
  EXPECT_DOUBLE_EQ(lunaform::host::layer_duration(comp, light), 1.25);
  comp.frame_rate = {30000, 1001};
  comp.duration = 2;
  const auto base = lunaform::host::time_base(comp);
  EXPECT_THAT(nums(base.time_scale, base.time_step, base.total_time),
              ElementsAre(3600000, 120120, 7200000));
}

TEST(CheckComposition, RefusesWhatTheHostCannotServeWithOneLineNamingTheProblem) {
  auto image = std::make_shared<Image>();
  image->width = 2;
  image->height = 2;
  image->rgba.assign(15, 0.0f);
  const auto add = [](Composition& c, std::string name, lunaform::host::LayerContent content) {
    c.layers.push_back(Layer{.name = std::move(name), .content = std::move(content)});
  };
  const SolidLayer solid{.width = 4, .height = 4};
  const SolidLayer negative{.width = -1, .height = 4};
  const FootageLayer footage{"photo.png", image};
  const auto map = [](Composition& c, std::string layer) {
    std::get<EffectLayer>(c.layers[0].content).params["Diffuse Layer"] = LayerRef{layer};
  };
  const std::vector<std::pair<std::function<void(Composition&)>, std::string>> cases = {
      {[](Composition& c) { c.width = 0; }, "composition size 0 x 1080"},
      {[](Composition& c) { c.height = -5; }, "composition size 1920 x -5"},
      {[](Composition& c) { c.pixel_aspect.num = 0; }, "pixel aspect 0/1"},
      {[](Composition& c) { c.frame_rate.den = 0; }, "frame rate 30/0"},
      {[](Composition& c) { c.duration = -1; }, "duration"},
      {[](Composition& c) { c.duration = std::nan(""); }, "duration"},
      {[](Composition& c) { c.shutter_angle = 721; }, "shutter angle"},
      {[](Composition& c) { c.layers.clear(); }, "no layer carrying"},
      {[&](Composition& c) { add(c, "Second", EffectLayer{}); }, "more than one layer carrying"},
      {[&](Composition& c) { add(c, "A", CameraLayer{}), add(c, "B", CameraLayer{}); },
       "more than one camera"},
      {[&](Composition& c) { add(c, "Lunaform", solid); }, "two layers are named 'Lunaform'"},
      {[&](Composition& c) { add(c, "", LightLayer{}); }, "no name"},
      {[&](Composition& c) { add(c, "Red", negative); }, "layer 'Red': width -1"},
      {[&](Composition& c) { add(c, "Photo", footage); },
       "layer 'Photo': image of 2 x 2 holds 15 floats"},
      {[&](Composition& c) { add(c, "Key", LightLayer{}), c.layers.back().duration = -2; },
       "layer 'Key': negative duration"},
      {[&](Composition& c) { map(c, "Moon"); },
       "parameter 'Diffuse Layer' names layer 'Moon', which the composition does not have"},
      {[&](Composition& c) { add(c, "Key", LightLayer{}), map(c, "Key"); },
       "names layer 'Key', which has no pixels"},
  };
  for (const auto& [spoil, message] : cases) {
    Composition comp = default_composition();
    spoil(comp);
    EXPECT_THAT([&] { lunaform::host::check_composition(comp); },
                testing::ThrowsMessage<HostError>(
                    testing::AllOf(HasSubstr(message), testing::Not(HasSubstr("\n")))));
  }
  // Maps may name footage and solids, or nothing.
  Composition comp = default_composition();
  image->rgba.assign(16, 0.5f);
  add(comp, "Photo", footage);
  add(comp, "Grey", solid);
  auto& params = std::get<EffectLayer>(comp.layers[0].content).params;
  params["Diffuse Layer"] = LayerRef{"Photo"};
  params["Bump Map Layer"] = LayerRef{"Grey"};
  params["Environment Layer"] = LayerRef{};
  EXPECT_NO_THROW(lunaform::host::check_composition(comp));
  EXPECT_EQ(lunaform::host::find_layer(comp, "grey"), nullptr) << "names match exactly";
}

TEST(LayerAxes, FollowThePointOfInterestAndTheAnglesAsWorkedOutByHand) {
  struct Case {
    const char* what;
    Vec3 position;
    std::optional<Vec3> point_of_interest;
    Vec3 orientation, rotation;
    Vec3 x, y, z;
  };
  const double h = kHalf;
  const std::optional<Vec3> none;
  const Case cases[] = {
      {"no point of interest", {5, 6, 7}, none, {}, {}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
      // Turned 45 degrees toward +x; kept level, so y stays straight down.
      {"right, ahead", {9, 5, -10}, Vec3{19, 5, 0}, {}, {}, {h, 0, -h}, {0, 1, 0}, {h, 0, h}},
      {"straight down", {0, -500, 0}, Vec3{0, 500, 0}, {}, {}, {1, 0, 0}, {0, 0, -1}, {0, 1, 0}},
      {"rotation z 90, clockwise", {}, none, {}, {0, 0, 90}, {0, 1, 0}, {-1, 0, 0}, {0, 0, 1}},
      {"orientation x 90", {}, none, {90, 0, 0}, {}, {1, 0, 0}, {0, 0, 1}, {0, -1, 0}},
      // Orientation y 90 first, then rotation x 90 in the turned frame:
      // R = Ry(90)·Rx(90): x -> (0,0,-1), y -> (1,0,0), z -> (0,-1,0).
      {"y 90 then x 90", {}, none, {0, 90, 0}, {90, 0, 0}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Transform transform{
        .position = c.position, .orientation = c.orientation, .rotation = c.rotation};
    if (c.point_of_interest) {
      transform.point_of_interest = Animated<Vec3>(*c.point_of_interest);
    }
    EXPECT_THAT(lunaform::host::layer_axes(transform, 0),
                ElementsAre(Near(c.x), Near(c.y), Near(c.z)));
  }
}

TEST(LayerToWorld, HasTheAxesInRowsAndTheOriginAtPositionLessAnchorForSolids) {
  // Lights have no anchor; a keyframed position is followed at sub-frame times.
  Layer light{.name = "Moving", .content = LightLayer{}};
  Animated<Vec3> position;
  position.set_key(0, Vec3{0, 0, 0});
  position.set_key(1, Vec3{300, -60, 30});
  light.transform.position = position;
  light.transform.anchor = Vec3{40, 40, 0};
  const auto m = lunaform::host::layer_to_world(light, 1.0 / 30 / 12);  // 1/12 of a frame
  const double expected[4][4] = {
      {1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {300.0 / 360, -60.0 / 360, 30.0 / 360, 1}};
  for (int i = 0; i < 16; ++i) {
    EXPECT_NEAR(m[i / 4][i % 4], expected[i / 4][i % 4], 1e-9) << i / 4 << "," << i % 4;
  }
  Layer solid{.name = "Card", .content = SolidLayer{{}, 100, 50}};
  solid.transform.position = Vec3{100, 200, 0};
  solid.transform.anchor = Vec3{50, 25, 0};
  const auto s = lunaform::host::layer_to_world(solid, 0);
  EXPECT_THAT(nums(s[3][0], s[3][1], s[3][2]), ElementsAre(50, 175, 0));
}

// The default composition with a camera layer first.
Composition with_camera(const Vec3& position, std::optional<Vec3> point_of_interest, double zoom,
                        Projection projection = Projection::perspective) {
  Composition comp = default_composition();
  Layer camera{.name = "Camera", .content = CameraLayer{zoom, projection}};
  camera.transform.position = position;
  if (point_of_interest) {
    camera.transform.point_of_interest = Animated<Vec3>(*point_of_interest);
  }
  comp.layers.insert(comp.layers.begin(), camera);
  return comp;
}

TEST(CameraView, IsTheHostsDefaultWithoutAnActiveCameraLayer) {
  Composition comp = default_composition();
  const auto view = camera_view(comp, 0);
  EXPECT_TRUE(view.is_default);
  EXPECT_NEAR(view.zoom, 1920 * 50.0 / 36.0, 0.5);  // a 50 mm lens, to a fraction of a pixel
  EXPECT_THAT(view.position, Near(Vec3{960, 540, -view.zoom}));
  EXPECT_THAT(view.axes[2], Near(Vec3{0, 0, 1}));

  comp = with_camera({0, 0, -100}, std::nullopt, 500);
  comp.layers[0].in_point = 1;
  comp.layers[0].duration = 2;
  EXPECT_TRUE(camera_view(comp, 0.99).is_default) << "before its in point";
  EXPECT_FALSE(camera_view(comp, 1.0).is_default) << "at its in point";
  EXPECT_TRUE(camera_view(comp, 3.0).is_default) << "at in point + duration";
  comp.layers[0].video_on = false;
  EXPECT_TRUE(camera_view(comp, 1.5).is_default) << "switched off";
}

TEST(ProjectToLayerPixels, PutsPointsWhereAPinholeCameraSeesThem) {
  const auto seen = [](const Composition& comp, const Vec3& world, double down = 1) {
    const auto p = project_to_layer_pixels(comp, world, 0, down, down);
    return p ? nums(p->x, p->y, p->depth) : std::vector<double>{};
  };
  const auto near = [](double value) { return testing::DoubleNear(value, 1e-9); };
  // The default camera: the composition's plane z = 0 is its image plane, shown 1:1; twice as
  // far from the camera, a point is half as far from the centre.
  const Composition plain = default_composition();
  const double zoom = camera_view(plain, 0).zoom;
  EXPECT_THAT(seen(plain, {1060, 490, 0}), ElementsAre(near(1060), near(490), testing::_));
  EXPECT_THAT(seen(plain, {1060, 490, zoom}, 2),
              ElementsAre(near((960 + 50) / 2.0), near((540 - 25) / 2.0), near(2 * zoom)));

  // Turned 45 degrees toward +x, zoom 800: a point 500 ahead, 100 to the right and 50 down
  // lands at (960 + 800·100/500, 540 + 800·50/500); one behind the camera is not seen.
  const Vec3 eye{960, 540, -1000};
  const Composition turned = with_camera(eye, Vec3{1960, 540, 0}, 800);
  const Vec3 point{eye.x + (100 + 500) * kHalf, eye.y + 50, eye.z + (500 - 100) * kHalf};
  EXPECT_THAT(seen(turned, point), ElementsAre(near(1120), near(620), near(500)));
  EXPECT_THAT(seen(turned, {eye.x - 10 * kHalf, eye.y, eye.z - 10 * kHalf}), testing::IsEmpty());

  // Orthographic: no division by depth.
  const Composition flat =
      with_camera({960, 540, -5000}, Vec3{960, 540, 0}, 800, Projection::orthographic);
  EXPECT_THAT(seen(flat, {1000, 500, 12345}), ElementsAre(near(1000), near(500), testing::_));

  // A layer of pixel aspect 1 in a composition of aspect 2: 100 composition pixels right of the
  // centre are 200 layer pixels; the 1000 x 500 layer is centred on the image plane.
  Composition wide = default_composition();
  wide.pixel_aspect = {2, 1};
  auto& effect = std::get<EffectLayer>(wide.layers[0].content);
  effect.width = 1000;
  effect.height = 500;
  EXPECT_THAT(seen(wide, {1060, 540, 0}), ElementsAre(near(700), near(250), testing::_));
}

}  // namespace
