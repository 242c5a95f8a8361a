#include "host/camera_math.h"

#include <cmath>
#include <numbers>
#include <variant>

namespace lunaform::host {
namespace {

using Matrix3 = std::array<std::array<double, 3>, 3>;  // m[row][column], column-vector form

constexpr Matrix3 kIdentity{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

Vec3 operator-(const Vec3& a, const Vec3& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

double dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

std::optional<Vec3> normalised(const Vec3& v) {
  const double length = std::sqrt(dot(v, v));
  if (length < 1e-12) {
    return std::nullopt;
  }
  return Vec3{v.x / length, v.y / length, v.z / length};
}

Matrix3 multiply(const Matrix3& a, const Matrix3& b) {
  Matrix3 product{};
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      for (int k = 0; k < 3; ++k) {
        product[r][c] += a[r][k] * b[k][c];
      }
    }
  }
  return product;
}

Matrix3 from_columns(const Vec3& x, const Vec3& y, const Vec3& z) {
  return {{{x.x, y.x, z.x}, {x.y, y.y, z.y}, {x.z, y.z, z.z}}};
}

double radians(double degrees) {
  return degrees * std::numbers::pi / 180;
}

// Rz · Ry · Rx of angles in degrees: a turn about x first, then y, then z (fixed axes). With y
// pointing down, a positive z angle turns x toward y: clockwise on the screen.
Matrix3 euler_xyz(const Vec3& degrees) {
  const double cx = std::cos(radians(degrees.x)), sx = std::sin(radians(degrees.x));
  const double cy = std::cos(radians(degrees.y)), sy = std::sin(radians(degrees.y));
  const double cz = std::cos(radians(degrees.z)), sz = std::sin(radians(degrees.z));
  const Matrix3 rx{{{1, 0, 0}, {0, cx, -sx}, {0, sx, cx}}};
  const Matrix3 ry{{{cy, 0, sy}, {0, 1, 0}, {-sy, 0, cy}}};
  const Matrix3 rz{{{cz, -sz, 0}, {sz, cz, 0}, {0, 0, 1}}};
  return multiply(rz, multiply(ry, rx));
}

// The frame whose z axis points from `position` to `target`, kept level: its x axis is
// perpendicular to the world's up direction (0, −1, 0).
Matrix3 look_at(const Vec3& position, const Vec3& target) {
  const auto z = normalised(target - position);
  if (!z) {
    return kIdentity;
  }
  const Vec3 up{0, -1, 0};
  const Vec3 x = normalised(cross(*z, up)).value_or(Vec3{1, 0, 0});
  return from_columns(x, cross(*z, x), *z);
}

Vec3 column(const Matrix3& m, int c) {
  return {m[0][c], m[1][c], m[2][c]};
}

Vec3 rotate(const std::array<Vec3, 3>& axes, const Vec3& p) {
  return {axes[0].x * p.x + axes[1].x * p.y + axes[2].x * p.z,
          axes[0].y * p.x + axes[1].y * p.y + axes[2].y * p.z,
          axes[0].z * p.x + axes[1].z * p.y + axes[2].z * p.z};
}

Matrix4 row_vector_matrix(const std::array<Vec3, 3>& axes, const Vec3& origin) {
  Matrix4 m{};
  for (int r = 0; r < 3; ++r) {
    m[r] = {axes[r].x, axes[r].y, axes[r].z, 0};
  }
  m[3] = {origin.x, origin.y, origin.z, 1};
  return m;
}

bool has_anchor(const Layer& layer) {
  return !std::holds_alternative<CameraLayer>(layer.content) &&
         !std::holds_alternative<LightLayer>(layer.content);
}

}  // namespace

std::array<Vec3, 3> layer_axes(const Transform& transform, double seconds) {
  const Vec3 position = transform.position.at(seconds);
  const Matrix3 frame = transform.point_of_interest
                            ? look_at(position, transform.point_of_interest->at(seconds))
                            : kIdentity;
  const Matrix3 r = multiply(frame, multiply(euler_xyz(transform.orientation.at(seconds)),
                                             euler_xyz(transform.rotation.at(seconds))));
  return {column(r, 0), column(r, 1), column(r, 2)};
}

Matrix4 layer_to_world(const Layer& layer, double seconds) {
  const auto axes = layer_axes(layer.transform, seconds);
  const Vec3 position = layer.transform.position.at(seconds);
  const Vec3 origin =
      has_anchor(layer) ? position - rotate(axes, layer.transform.anchor.at(seconds)) : position;
  return row_vector_matrix(axes, origin);
}

CameraView camera_view(const Composition& comp, double seconds) {
  if (const auto index = camera_layer_index(comp)) {
    const Layer& layer = comp.layers[*index];
    const double in = layer.in_point;
    if (layer.video_on && seconds >= in && seconds < in + layer_duration(comp, layer)) {
      const auto& camera = std::get<CameraLayer>(layer.content);
      return {layer.transform.position.at(seconds), layer_axes(layer.transform, seconds),
              camera.zoom.at(seconds), camera.projection, false};
    }
  }
  const double zoom = default_camera_zoom(comp.width);
  return {Vec3{comp.width / 2.0, comp.height / 2.0, -zoom},
          {Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}},
          zoom,
          Projection::perspective,
          true};
}

Matrix4 camera_to_world(const CameraView& view) {
  return row_vector_matrix(view.axes, view.position);
}

std::optional<ProjectedPoint> project_to_layer_pixels(const Composition& comp, const Vec3& world,
                                                      double seconds, double downsample_x,
                                                      double downsample_y) {
  const auto effect_index = effect_layer_index(comp);
  if (!effect_index) {
    return std::nullopt;
  }
  const auto& effect = std::get<EffectLayer>(comp.layers[*effect_index].content);
  const CameraView view = camera_view(comp, seconds);
  const Vec3 relative = world - view.position;
  const Vec3 camera{dot(relative, view.axes[0]), dot(relative, view.axes[1]),
                    dot(relative, view.axes[2])};
  double u = camera.x;
  double v = camera.y;
  if (view.projection == Projection::perspective) {
    if (camera.z <= 0) {
      return std::nullopt;
    }
    u = view.zoom * camera.x / camera.z;
    v = view.zoom * camera.y / camera.z;
  }
  const double layer_pixels_per_comp_pixel =
      comp.pixel_aspect.value() / effect.pixel_aspect.value();
  return ProjectedPoint{(effect.width / 2.0 + u * layer_pixels_per_comp_pixel) / downsample_x,
                        (effect.height / 2.0 + v) / downsample_y, camera.z};
}

}  // namespace lunaform::host
