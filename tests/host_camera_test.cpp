#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>

#include "host/camera_math.h"

namespace {

using lunaform::host::Animated;
using lunaform::host::camera_view;
using lunaform::host::CameraLayer;
using lunaform::host::Composition;
using lunaform::host::default_composition;
using lunaform::host::EffectLayer;
using lunaform::host::Layer;
using lunaform::host::layer_axes;
using lunaform::host::layer_to_world;
using lunaform::host::LightLayer;
using lunaform::host::project_to_layer_pixels;
using lunaform::host::Projection;
using lunaform::host::SolidLayer;
using lunaform::host::Transform;
using lunaform::host::Vec3;

const double kHalf = std::sqrt(0.5);

void expect_vec(const Vec3& actual, const Vec3& expected, const std::string& what) {
  EXPECT_NEAR(actual.x, expected.x, 1e-9) << what;
  EXPECT_NEAR(actual.y, expected.y, 1e-9) << what;
  EXPECT_NEAR(actual.z, expected.z, 1e-9) << what;
}

Vec3 along(const Vec3& origin, double a, const Vec3& x, double b, const Vec3& y, double c,
           const Vec3& z) {
  return {origin.x + a * x.x + b * y.x + c * z.x, origin.y + a * x.y + b * y.y + c * z.y,
          origin.z + a * x.z + b * y.z + c * z.z};
}

Composition with_camera(const Vec3& position, std::optional<Vec3> point_of_interest, double zoom,
                        Projection projection = Projection::perspective) {
  Composition comp = default_composition();
  Layer camera;
  camera.name = "Camera";
  camera.transform.position = position;
  if (point_of_interest) {
    camera.transform.point_of_interest = Animated<Vec3>(*point_of_interest);
  }
  camera.content = CameraLayer{zoom, projection};
  comp.layers.insert(comp.layers.begin(), camera);
  return comp;
}

TEST(LayerAxes, FollowThePointOfInterestAndTheAnglesAsWorkedOutByHand) {
  struct Case {
    const char* what;
    Vec3 position;
    std::optional<Vec3> point_of_interest;
    Vec3 orientation;
    Vec3 rotation;
    Vec3 x, y, z;
  };
  const Case cases[] = {
      {"no point of interest, no angles",
       {5, 6, 7},
       std::nullopt,
       {},
       {},
       {1, 0, 0},
       {0, 1, 0},
       {0, 0, 1}},
      {"looking along +z", {0, 0, 0}, Vec3{0, 0, 100}, {}, {}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
      // Turned 45 degrees toward +x; kept level, so y stays straight down.
      {"looking right and ahead",
       {960, 540, -1000},
       Vec3{1960, 540, 0},
       {},
       {},
       {kHalf, 0, -kHalf},
       {0, 1, 0},
       {kHalf, 0, kHalf}},
      {"looking straight down",
       {0, -500, 0},
       Vec3{0, 500, 0},
       {},
       {},
       {1, 0, 0},
       {0, 0, -1},
       {0, 1, 0}},
      {"rotation z 90 (clockwise on screen)",
       {0, 0, 0},
       std::nullopt,
       {},
       {0, 0, 90},
       {0, 1, 0},
       {-1, 0, 0},
       {0, 0, 1}},
      {"orientation x 90",
       {0, 0, 0},
       std::nullopt,
       {90, 0, 0},
       {},
       {1, 0, 0},
       {0, 0, 1},
       {0, -1, 0}},
      // Orientation y 90 first, then rotation x 90 in the turned frame:
      // R = Ry(90)·Rx(90): x -> (0,0,-1), y -> (1,0,0), z -> (0,-1,0).
      {"orientation y 90 then rotation x 90",
       {0, 0, 0},
       std::nullopt,
       {0, 90, 0},
       {90, 0, 0},
       {0, 0, -1},
       {1, 0, 0},
       {0, -1, 0}},
  };
  for (const Case& c : cases) {
    Transform transform;
    transform.position = c.position;
    if (c.point_of_interest) {
      transform.point_of_interest = Animated<Vec3>(*c.point_of_interest);
    }
    transform.orientation = c.orientation;
    transform.rotation = c.rotation;
    const auto axes = layer_axes(transform, 0);
    expect_vec(axes[0], c.x, std::string(c.what) + ": x axis");
    expect_vec(axes[1], c.y, std::string(c.what) + ": y axis");
    expect_vec(axes[2], c.z, std::string(c.what) + ": z axis");
  }
}

TEST(LayerToWorld, HasTheAxesInRowsAndTheOriginInTheLastRow) {
  Layer light;
  light.name = "Spot";
  light.transform.position = Vec3{100, 200, -300};
  light.transform.point_of_interest = Animated<Vec3>(Vec3{100, 200, 700});
  light.transform.anchor = Vec3{40, 40, 0};  // lights have no anchor
  light.content = LightLayer{};
  const auto m = layer_to_world(light, 0);
  const double expected[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {100, 200, -300, 1}};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      EXPECT_NEAR(m[r][c], expected[r][c], 1e-12) << r << "," << c;
    }
  }

  // A solid's local origin lies at position - anchor (no rotation).
  Layer solid;
  solid.name = "Card";
  solid.transform.position = Vec3{100, 200, 0};
  solid.transform.anchor = Vec3{50, 25, 0};
  solid.content = SolidLayer{{}, 100, 50};
  const auto s = layer_to_world(solid, 0);
  EXPECT_NEAR(s[3][0], 50, 1e-12);
  EXPECT_NEAR(s[3][1], 175, 1e-12);
  EXPECT_NEAR(s[3][2], 0, 1e-12);
}

TEST(LayerToWorld, FollowsKeyframedPositionsAtSubFrameTimes) {
  Layer light;
  light.name = "Moving";
  light.content = LightLayer{};
  Animated<Vec3> position;
  position.set_key(0, Vec3{0, 0, 0});
  position.set_key(1, Vec3{300, -60, 30});
  light.transform.position = position;
  const auto m = layer_to_world(light, 1.0 / 30 / 12);  // 1/12 of the first frame
  EXPECT_NEAR(m[3][0], 300.0 / 360, 1e-9);
  EXPECT_NEAR(m[3][1], -60.0 / 360, 1e-9);
  EXPECT_NEAR(m[3][2], 30.0 / 360, 1e-9);
}

TEST(CameraView, IsTheHostsDefaultWithoutAnActiveCameraLayer) {
  Composition comp = default_composition();
  const double zoom = 1920 * 50.0 / 36.0;  // the 50 mm lens, to within a fraction of a pixel
  auto view = camera_view(comp, 0);
  EXPECT_TRUE(view.is_default);
  EXPECT_NEAR(view.zoom, zoom, 0.5);
  expect_vec(view.position, {960, 540, -view.zoom}, "default position");
  expect_vec(view.axes[2], {0, 0, 1}, "default view direction");

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
  // The default camera: the composition's plane z = 0 is its image plane, shown 1:1.
  const Composition plain = default_composition();
  auto p = project_to_layer_pixels(plain, {1060, 490, 0}, 0);
  ASSERT_TRUE(p);
  EXPECT_NEAR(p->x, 1060, 1e-9);
  EXPECT_NEAR(p->y, 490, 1e-9);
  // Twice as far from the camera: half the offset from the centre.
  const double zoom = camera_view(plain, 0).zoom;
  p = project_to_layer_pixels(plain, {1060, 490, zoom}, 0, 2, 2);
  ASSERT_TRUE(p);
  EXPECT_NEAR(p->x, (960 + 50) / 2.0, 1e-9);
  EXPECT_NEAR(p->y, (540 - 25) / 2.0, 1e-9);
  EXPECT_NEAR(p->depth, 2 * zoom, 1e-9);

  // A camera turned 45 degrees toward +x (axes worked out above), zoom 800: a point 500 ahead,
  // 100 to the right and 50 down lands at (960 + 800·100/500, 540 + 800·50/500).
  const Vec3 position{960, 540, -1000};
  const Composition turned = with_camera(position, Vec3{1960, 540, 0}, 800);
  const Vec3 world =
      along(position, 100, {kHalf, 0, -kHalf}, 50, {0, 1, 0}, 500, {kHalf, 0, kHalf});
  p = project_to_layer_pixels(turned, world, 0);
  ASSERT_TRUE(p);
  EXPECT_NEAR(p->x, 1120, 1e-9);
  EXPECT_NEAR(p->y, 620, 1e-9);
  EXPECT_NEAR(p->depth, 500, 1e-9);
  // Behind the camera: not seen.
  EXPECT_FALSE(
      project_to_layer_pixels(turned, along(position, 0, {}, 0, {}, -10, {kHalf, 0, kHalf}), 0));

  // Orthographic: no division by depth.
  const Composition flat =
      with_camera({960, 540, -5000}, Vec3{960, 540, 0}, 800, Projection::orthographic);
  p = project_to_layer_pixels(flat, {1000, 500, 12345}, 0);
  ASSERT_TRUE(p);
  EXPECT_NEAR(p->x, 1000, 1e-9);
  EXPECT_NEAR(p->y, 500, 1e-9);
}

TEST(ProjectToLayerPixels, ScalesXByTheCompositionOverTheLayerPixelAspect) {
  Composition comp = default_composition();
  comp.pixel_aspect = {2, 1};
  auto& effect = std::get<EffectLayer>(comp.layers[0].content);
  effect.width = 1000;
  effect.height = 500;
  // 100 composition pixels right of the centre are 200 square units wide, i.e. 200 layer
  // pixels of aspect 1; the layer is centred on the image plane.
  const auto p = project_to_layer_pixels(comp, {1060, 540, 0}, 0);
  ASSERT_TRUE(p);
  EXPECT_NEAR(p->x, 500 + 200, 1e-9);
  EXPECT_NEAR(p->y, 250, 1e-9);
}

}  // namespace
