#include "scene/camera_view.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace {

using Vec = std::array<double, 3>;

constexpr double kPi = 3.14159265358979323846;
constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

// The distance of a 50 mm lens: half the width over tan(39.6° / 2).
double default_zoom(double width) {
  return width / 2.0 / std::tan(39.6 / 2.0 * kPi / 180.0);
}

double dot(const Vec& a, const Vec& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vec normalised(const Vec& v) {
  const double length = std::sqrt(dot(v, v));
  return {v[0] / length, v[1] / length, v[2] / length};
}

Vec cross(const Vec& a, const Vec& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// A camera the way a host describes one: where it stands, its axes (x right, y down, z the
// view direction), its zoom.
struct Camera {
  Vec position;
  std::array<Vec, 3> axes{Vec{1, 0, 0}, Vec{0, 1, 0}, Vec{0, 0, 1}};
  double zoom = default_zoom(kWidth);
};

// Axes of a camera at `position` looking at `target`, level (x has no y component).
std::array<Vec, 3> look_at_axes(const Vec& position, const Vec& target) {
  const Vec z =
      normalised({target[0] - position[0], target[1] - position[1], target[2] - position[2]});
  const Vec x = normalised(cross(z, Vec{0, -1, 0}));
  return {x, cross(z, x), z};
}

host_camera describe(const Camera& camera, bool has_layer, bool orthographic) {
  host_camera described;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      described.camera_to_world.mat[row][column] = camera.axes[row][column];
    }
  }
  for (int column = 0; column < 3; ++column) {
    described.camera_to_world.mat[3][column] = camera.position[column];
  }
  described.camera_to_world.mat[3][3] = 1.0;
  described.plane_distance = camera.zoom;
  described.plane_width = kWidth;
  described.plane_height = kHeight;
  described.has_camera_layer = has_layer;
  described.orthographic = orthographic;
  return described;
}

Camera default_camera() {
  return {{kWidth / 2.0, kHeight / 2.0, -default_zoom(kWidth)}};
}

view_placement full_frame(float downsample = 1.0f) {
  view_placement placement;
  placement.downsample = downsample;
  placement.output_width = static_cast<int>(std::ceil(kWidth / downsample));
  placement.output_height = static_cast<int>(std::ceil(kHeight / downsample));
  return placement;
}

// Where the pinhole camera puts a world point, in downsampled output pixels: the point's
// camera coordinates by projection onto the axes, then u = zoom * xc / zc about the plane's
// centre (orthographic: u = xc).
std::array<double, 2> pinhole_pixel(const Camera& camera, const Vec& point, bool orthographic,
                                    const view_placement& placement) {
  const Vec offset = {point[0] - camera.position[0], point[1] - camera.position[1],
                      point[2] - camera.position[2]};
  const double xc = dot(offset, camera.axes[0]);
  const double yc = dot(offset, camera.axes[1]);
  const double zc = dot(offset, camera.axes[2]);
  const double u = orthographic ? xc : camera.zoom * xc / zc;
  const double v = orthographic ? yc : camera.zoom * yc / zc;
  return {(kWidth / 2.0 + u) / placement.downsample - placement.output_origin_x,
          (kHeight / 2.0 + v) / placement.downsample - placement.output_origin_y};
}

// The same point through projection * view: clip coordinates, the perspective division, then
// normalised device coordinates -1..1 across the output buffer (y = -1 at its top row).
std::array<double, 2> matrix_pixel(const render_properties& properties, const Vec& point,
                                   const view_placement& placement) {
  const auto apply = [](const hxsdk::mat4& m, const std::array<double, 4>& v) {
    std::array<double, 4> r{};
    for (int row = 0; row < 4; ++row) {
      for (int k = 0; k < 4; ++k) {
        r[row] += m[4 * k + row] * v[k];
      }
    }
    return r;
  };
  const auto view = apply(properties.view_matrix, {point[0], point[1], point[2], 1.0});
  const auto clip = apply(properties.projection_matrix, view);
  return {(clip[0] / clip[3] + 1.0) / 2.0 * placement.output_width,
          (clip[1] / clip[3] + 1.0) / 2.0 * placement.output_height};
}

TEST(SceneCameraView, DefaultCameraShowsTheWholePlaneAtFullAndHalfResolution) {
  for (const float downsample : {1.0f, 2.0f}) {
    const view_placement placement = full_frame(downsample);
    const host_camera camera = describe(default_camera(), false, false);
    const view_rectangle r =
        visible_plane_rectangle(camera_view_size(camera, placement), kHeight, placement);
    EXPECT_FLOAT_EQ(r.x0, -960.0f) << "downsample " << downsample;
    EXPECT_FLOAT_EQ(r.x1, 960.0f) << "downsample " << downsample;
    EXPECT_FLOAT_EQ(r.y0, -540.0f) << "downsample " << downsample;
    EXPECT_FLOAT_EQ(r.y1, 540.0f) << "downsample " << downsample;
  }
}

TEST(SceneCameraView, PartialOutputShowsItsOwnOffCentrePartOfThePlane) {
  view_placement placement;
  placement.output_origin_x = 100;
  placement.output_origin_y = 50;
  placement.output_width = 200;
  placement.output_height = 100;
  const host_camera camera = describe(default_camera(), false, false);
  const view_rectangle r =
      visible_plane_rectangle(camera_view_size(camera, placement), kHeight, placement);
  // Layer pixels 100..300 and 50..150, measured from the plane's centre (960, 540).
  EXPECT_FLOAT_EQ(r.x0, -860.0f);
  EXPECT_FLOAT_EQ(r.x1, -660.0f);
  EXPECT_FLOAT_EQ(r.y0, -490.0f);
  EXPECT_FLOAT_EQ(r.y1, -390.0f);
}

TEST(SceneCameraView, WorldPointsLandWhereThePinholeCameraPutsThem) {
  Camera moved{{300.0, -200.0, -1500.0}};
  moved.zoom = 1200.0;
  Camera turned{{-400.0, 900.0, -2000.0}};
  turned.axes = look_at_axes(turned.position, {1100.0, 400.0, 300.0});
  turned.zoom = 1800.0;
  struct Case {
    std::string name;
    Camera camera;
    bool has_layer;
  };
  const std::vector<Case> cameras = {
      {"default", default_camera(), false}, {"moved", moved, true}, {"turned", turned, true}};
  view_placement partial;
  partial.output_origin_x = 700;
  partial.output_origin_y = 300;
  partial.output_width = 400;
  partial.output_height = 250;
  const std::vector<view_placement> placements = {full_frame(1.0f), full_frame(2.0f), partial};
  const std::vector<Vec> points = {
      {960, 540, 0}, {0, 0, 0}, {1500, 200, 800}, {700, 900, -300}, {1200, 450, 2500}};

  for (const Case& c : cameras) {
    for (const view_placement& placement : placements) {
      const render_properties properties =
          camera_render_properties(describe(c.camera, c.has_layer, false), placement);
      for (const Vec& point : points) {
        const auto expected = pinhole_pixel(c.camera, point, false, placement);
        const auto actual = matrix_pixel(properties, point, placement);
        EXPECT_NEAR(actual[0], expected[0], 0.02)
            << c.name << " camera, output " << placement.output_width << " wide, point ("
            << point[0] << ", " << point[1] << ", " << point[2] << ")";
        EXPECT_NEAR(actual[1], expected[1], 0.02)
            << c.name << " camera, output " << placement.output_width << " wide, point ("
            << point[0] << ", " << point[1] << ", " << point[2] << ")";
      }
    }
  }
}

TEST(SceneCameraView, OrthographicCameraProjectsAlongItsAxisWithoutPerspective) {
  Camera camera{{800.0, 500.0, -3000.0}};
  const view_placement placement = full_frame(1.0f);
  const render_properties properties =
      camera_render_properties(describe(camera, true, true), placement);
  for (const Vec& point : std::vector<Vec>{{800, 500, 0}, {1000, 300, 100}, {1000, 300, 4000}}) {
    const auto expected = pinhole_pixel(camera, point, true, placement);
    const auto actual = matrix_pixel(properties, point, placement);
    EXPECT_NEAR(actual[0], expected[0], 0.02) << "z " << point[2];
    EXPECT_NEAR(actual[1], expected[1], 0.02) << "z " << point[2];
  }
  // The depth range: the camera's own plane is clip z -1, 500000 pixels ahead about +1.
  EXPECT_FLOAT_EQ(properties.projection_matrix[10], -0.000004f);
  EXPECT_FLOAT_EQ(properties.projection_matrix[14], -0.99999994f);
  EXPECT_FLOAT_EQ(properties.projection_matrix[11], 0.0f);
  EXPECT_FLOAT_EQ(properties.projection_matrix[15], 1.0f);
}

TEST(SceneCameraView, ViewSizeSquaresThePlaneByTheLayerAndCompositionAspects) {
  struct Case {
    bool has_layer;
    float layer_aspect;
    float composition_aspect;
    float expected_width;
  };
  for (const Case& c : {Case{false, 1.0f, 1.0f, 1920.0f}, Case{false, 2.0f, 1.0f, 3840.0f},
                        Case{false, 2.0f, 2.0f, 1920.0f}, Case{false, 1.0f, 2.0f, 960.0f},
                        Case{true, 2.0f, 2.0f, 3840.0f}, Case{true, 1.0f, 2.0f, 1920.0f}}) {
    view_placement placement = full_frame();
    placement.layer_pixel_aspect = c.layer_aspect;
    placement.composition_pixel_aspect = c.composition_aspect;
    const hxsdk::vec2 size =
        camera_view_size(describe(default_camera(), c.has_layer, false), placement);
    EXPECT_FLOAT_EQ(size.x, c.expected_width) << "layer " << c.has_layer << ", aspects "
                                              << c.layer_aspect << " / " << c.composition_aspect;
    EXPECT_FLOAT_EQ(size.y, 1080.0f);
  }
}

TEST(SceneCameraView, NonSquareCompositionSeesWorldXDividedByItsPixelAspect) {
  // World x is measured in square pixels: x_world = x_composition * 2 for pixels twice as wide.
  view_placement placement = full_frame();
  placement.layer_pixel_aspect = 2.0f;
  placement.composition_pixel_aspect = 2.0f;
  const Camera camera = default_camera();
  const render_properties properties =
      camera_render_properties(describe(camera, false, false), placement);
  for (const Vec& point : std::vector<Vec>{{300, 200, 0}, {1500, 900, 700}}) {
    const auto expected = pinhole_pixel(camera, point, false, placement);
    const auto actual = matrix_pixel(properties, {point[0] * 2.0, point[1], point[2]}, placement);
    EXPECT_NEAR(actual[0], expected[0], 0.02);
    EXPECT_NEAR(actual[1], expected[1], 0.02);
  }
}

TEST(SceneCameraView, EyeIsTheCameraPositionAndLooksDownMinusZ) {
  Camera camera{{123.0, -45.0, -678.0}};
  const render_properties properties =
      camera_render_properties(describe(camera, true, false), full_frame());
  EXPECT_FLOAT_EQ(properties.eye_position.x, 123.0f);
  EXPECT_FLOAT_EQ(properties.eye_position.y, -45.0f);
  EXPECT_FLOAT_EQ(properties.eye_position.z, -678.0f);
  EXPECT_FLOAT_EQ(properties.eye_position.w, 0.0f);
  // A point 100 pixels straight ahead of the camera is at view z = -100, x = y = 0.
  const hxsdk::mat4& v = properties.view_matrix;
  const double p[3] = {123.0, -45.0, -578.0};
  for (int row = 0; row < 3; ++row) {
    const double value = v[row] * p[0] + v[4 + row] * p[1] + v[8 + row] * p[2] + v[12 + row];
    EXPECT_NEAR(value, row == 2 ? -100.0 : 0.0, 1e-3) << "row " << row;
  }
}

}  // namespace
