#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "host/camera_math.h"
#include "host/composition.h"
#include "tests/e2e_scene_support.h"

namespace {

using e2e_scene::Operation;
using e2e_scene::SceneHost;
using lunaform::host::Animated;
using lunaform::host::CameraLayer;
using lunaform::host::Composition;
using lunaform::host::Layer;
using lunaform::host::Projection;
using lunaform::host::Vec3;

constexpr double kWidth = 1920.0;
constexpr double kHeight = 1080.0;

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
// whose top-left corner is (origin_x, origin_y): the camera looks at its point of interest,
// level (its x axis has no vertical part, y points down); the point's coordinates along those
// axes go onto the image plane at distance zoom (orthographic: straight across).
std::array<double, 2> camera_pixel(const CameraSetup& setup, const Vec3& point, double downsample,
                                   double origin_x, double origin_y) {
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
  return {(kWidth / 2.0 + u) / downsample - origin_x, (kHeight / 2.0 + v) / downsample - origin_y};
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

struct Render {
  render_properties camera;
  render_data output;
};

Render render_one(SceneHost& scene) {
  const std::vector<Operation> ops = scene.render();
  return {e2e_scene::only(ops, Operation::Kind::set_render_properties).camera,
          e2e_scene::only(ops, Operation::Kind::set_output).output};
}

std::string describe(const Vec3& p) {
  return "(" + std::to_string(p.x) + ", " + std::to_string(p.y) + ", " + std::to_string(p.z) + ")";
}

TEST(E2eSceneCamera, DefaultCameraShowsTheWholeCompositionAtFullAndHalfResolution) {
  for (const A_u_long downsample : {1u, 2u}) {
    SceneHost scene;
    scene.host.settings().downsample_x = scene.host.settings().downsample_y = {1, downsample};
    const Render r = render_one(scene);
    EXPECT_FLOAT_EQ(r.camera.view_size.x, 1920.0f);
    EXPECT_FLOAT_EQ(r.camera.view_size.y, 1080.0f);
    // The composition's corners on the image plane (z = 0) are the output's corners.
    const double right = kWidth / static_cast<double>(downsample);
    const double bottom = kHeight / static_cast<double>(downsample);
    for (const auto& [point, pixel] : std::vector<std::pair<Vec3, std::array<double, 2>>>{
             {{0, 0, 0}, {0, 0}},
             {{kWidth, kHeight, 0}, {right, bottom}},
             {{kWidth, 0, 0}, {right, 0}},
             {{kWidth / 2, kHeight / 2, 0}, {right / 2, bottom / 2}}}) {
      const auto actual = record_pixel(r.camera, point, r.output);
      EXPECT_NEAR(actual[0], pixel[0], 0.01)
          << "downsample " << downsample << " " << describe(point);
      EXPECT_NEAR(actual[1], pixel[1], 0.01)
          << "downsample " << downsample << " " << describe(point);
    }
  }
}

TEST(E2eSceneCamera, PartialOutputShowsItsOwnPartOfTheComposition) {
  SceneHost scene;
  scene.host.settings().output_rect = PF_LRect{100, 50, 300, 150};
  const Render r = render_one(scene);
  for (const auto& [point, pixel] : std::vector<std::pair<Vec3, std::array<double, 2>>>{
           {{100, 50, 0}, {0, 0}}, {{300, 150, 0}, {200, 100}}, {{200, 100, 0}, {100, 50}}}) {
    const auto actual = record_pixel(r.camera, point, r.output);
    EXPECT_NEAR(actual[0], pixel[0], 0.01) << describe(point);
    EXPECT_NEAR(actual[1], pixel[1], 0.01) << describe(point);
  }
}

TEST(E2eSceneCamera, WorldPointsLandWhereTheHostsCameraPutsThem) {
  const CameraSetup setup{{300, -200, -1500}, {1100, 600, 400}, 1800};
  struct Output {
    A_u_long downsample;
    std::optional<PF_LRect> rect;
  };
  const std::vector<Vec3> points = {
      {960, 540, 0}, {1100, 600, 400}, {0, 0, 0}, {1500, 200, 800}, {700, 900, -300}};
  for (const Output& o : {Output{1u, {}}, Output{2u, {}}, Output{1u, PF_LRect{700, 300, 1100, 550}},
                          Output{2u, PF_LRect{200, 100, 600, 400}}}) {
    SceneHost scene(with_camera(setup));
    scene.host.settings().downsample_x = scene.host.settings().downsample_y = {1, o.downsample};
    scene.host.settings().output_rect = o.rect;
    const Render r = render_one(scene);
    const double origin_x = o.rect ? o.rect->left : 0;
    const double origin_y = o.rect ? o.rect->top : 0;
    for (const Vec3& point : points) {
      const auto expected = camera_pixel(setup, point, o.downsample, origin_x, origin_y);
      const auto actual = record_pixel(r.camera, point, r.output);
      const std::string where = "downsample " + std::to_string(o.downsample) + ", origin " +
                                std::to_string(origin_x) + ", point " + describe(point);
      EXPECT_NEAR(actual[0], expected[0], 0.02) << where;
      EXPECT_NEAR(actual[1], expected[1], 0.02) << where;
      // The host's own projection agrees.
      const auto host_pixel = lunaform::host::project_to_layer_pixels(
          scene.host.composition(), point, 0.0, o.downsample, o.downsample);
      ASSERT_TRUE(host_pixel.has_value()) << where;
      EXPECT_NEAR(host_pixel->x - origin_x, expected[0], 1e-6) << where;
      EXPECT_NEAR(host_pixel->y - origin_y, expected[1], 1e-6) << where;
    }
    EXPECT_FLOAT_EQ(r.camera.eye_position.x, 300.0f);
    EXPECT_FLOAT_EQ(r.camera.eye_position.y, -200.0f);
    EXPECT_FLOAT_EQ(r.camera.eye_position.z, -1500.0f);
  }
}

TEST(E2eSceneCamera, OrthographicCameraProjectsStraightAcrossAtEveryDepth) {
  const CameraSetup setup{{800, 500, -3000}, {800, 500, 0}, 2000, Projection::orthographic};
  SceneHost scene(with_camera(setup));
  const Render r = render_one(scene);
  for (const Vec3& point :
       std::vector<Vec3>{{800, 500, 0}, {1000, 300, -1000}, {1000, 300, 100}, {1000, 300, 4000}}) {
    const auto expected = camera_pixel(setup, point, 1.0, 0.0, 0.0);
    const auto actual = record_pixel(r.camera, point, r.output);
    EXPECT_NEAR(actual[0], expected[0], 0.02) << describe(point);
    EXPECT_NEAR(actual[1], expected[1], 0.02) << describe(point);
  }
  // (1000, 300) is 200 pixels right of and above the camera's axis, whatever its depth.
  EXPECT_NEAR(record_pixel(r.camera, {1000, 300, 4000}, r.output)[0], 1160.0, 0.02);
  EXPECT_NEAR(record_pixel(r.camera, {1000, 300, 4000}, r.output)[1], 340.0, 0.02);
}

TEST(E2eSceneCamera, NegativeTimeAsksForTheCameraAtTimeZero) {
  Composition comp = with_camera({{960, 540, -2000}, {960, 540, 0}, 2000});
  Layer& camera = comp.layers.front();
  Animated<Vec3> position;
  position.set_key(-1.0, Vec3{0, 540, -2000});
  position.set_key(1.0, Vec3{1920, 540, -2000});  // x = 960 at time 0
  camera.transform.position = position;
  camera.in_point = -1.0;
  SceneHost scene(comp);
  scene.host.settings().current_time = -240;  // two frames before the composition starts
  const Render r = render_one(scene);
  EXPECT_FLOAT_EQ(r.camera.eye_position.x, 960.0f);
  int camera_calls = 0;
  for (const lunaform::host::TimedCall& call : scene.host.timed_calls()) {
    if (call.function == "AEGP_GetEffectCamera" || call.function == "AEGP_GetEffectCameraMatrix") {
      ++camera_calls;
      EXPECT_EQ(call.time.value, 0) << call.function;
    }
  }
  EXPECT_EQ(camera_calls, 2);
}

TEST(E2eSceneCamera, SpherePlacementReturnsPositionToFullResolutionSquarePixels) {
  Composition comp = e2e_scene::sphere_composition();
  auto& effect = e2e_scene::effect_of(comp);
  effect.pixel_aspect = {2, 1};
  effect.params["Position"] = Animated<Vec3>(Vec3{480, 270, 100});
  effect.params["Radius"] = Animated<double>(150.0);
  effect.params["Rotation X"] = Animated<double>(90.0);
  comp.pixel_aspect = {2, 1};
  SceneHost scene(comp);
  scene.host.settings().downsample_x = scene.host.settings().downsample_y = {1, 2};
  const Operation draw = e2e_scene::only(scene.render(), Operation::Kind::draw);
  // Full-resolution layer pixels (480, 270, 100), x made square: twice as wide.
  EXPECT_FLOAT_EQ(draw.scene.position.x, 960.0f);
  EXPECT_FLOAT_EQ(draw.scene.position.y, 270.0f);
  EXPECT_FLOAT_EQ(draw.scene.position.z, 100.0f);
  EXPECT_FLOAT_EQ(draw.scene.radius, 150.0f);
  // A quarter turn about x: (sin 45°, 0, 0, cos 45°).
  const float half = static_cast<float>(std::sqrt(0.5));
  EXPECT_NEAR(draw.scene.orientation.x, half, 1e-6);
  EXPECT_NEAR(draw.scene.orientation.y, 0.0f, 1e-6);
  EXPECT_NEAR(draw.scene.orientation.z, 0.0f, 1e-6);
  EXPECT_NEAR(draw.scene.orientation.w, half, 1e-6);
}

}  // namespace
