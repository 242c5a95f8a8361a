#include "scene/camera_view.h"

namespace {

constexpr float kNearPlane = 0.01f;

}  // namespace

hxsdk::vec2 camera_view_size(const host_camera& camera, const view_placement& placement) {
  const float aspect = camera.has_camera_layer
                           ? placement.layer_pixel_aspect
                           : placement.layer_pixel_aspect / placement.composition_pixel_aspect;
  return {static_cast<float>(camera.plane_width) * aspect, static_cast<float>(camera.plane_height)};
}

hxsdk::mat4 camera_view_matrix(const A_Matrix4& camera_to_world, float composition_pixel_aspect) {
  hxsdk::mat4 camera;
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      camera[4 * row + column] = static_cast<float>(camera_to_world.mat[row][column]);
    }
  }
  hxsdk::mat4 view = hxsdk::inverse(camera);
  // The first column meets a point's x: scaling it divides world x by the composition's
  // pixel aspect before the host's transform applies.
  const float inverse_aspect = 1.0f / composition_pixel_aspect;
  for (int i = 0; i < 4; ++i) {
    view[i] *= inverse_aspect;
  }
  // The host's camera looks along +z; the shaders' looks along -z.
  for (int column = 0; column < 4; ++column) {
    view[4 * column + 2] = -view[4 * column + 2];
  }
  return view;
}

view_rectangle visible_plane_rectangle(hxsdk::vec2 view_size, std::int32_t plane_height,
                                       const view_placement& placement) {
  const float d = placement.downsample;
  const float half_width = view_size.x / 2.0f;
  const float half_height = static_cast<float>(plane_height) / 2.0f;
  return {
      static_cast<float>(placement.output_origin_x) * d - half_width,
      static_cast<float>(placement.output_width + placement.output_origin_x) * d - half_width,
      static_cast<float>(placement.output_origin_y) * d - half_height,
      static_cast<float>(placement.output_height + placement.output_origin_y) * d - half_height,
  };
}

hxsdk::mat4 perspective_projection(const view_rectangle& rectangle, double plane_distance) {
  // Similar triangles: the rectangle on the image plane, seen from the eye, crosses the near
  // plane scaled by near / distance.
  const float to_near = static_cast<float>(kNearPlane / plane_distance);
  const float left = rectangle.x0 * to_near;
  const float right = rectangle.x1 * to_near;
  const float top = rectangle.y0 * to_near;
  const float bottom = rectangle.y1 * to_near;
  hxsdk::mat4 m;
  m[0] = 2.0f * kNearPlane / (right - left);
  m[5] = 2.0f * kNearPlane / (bottom - top);
  m[8] = (left + right) / (right - left);
  m[9] = (top + bottom) / (bottom - top);
  m[10] = -1.0f;
  m[11] = -1.0f;
  m[14] = -2.0f * kNearPlane;
  return m;
}

hxsdk::mat4 orthographic_projection(const view_rectangle& rectangle) {
  hxsdk::mat4 m;
  m[0] = 2.0f / (rectangle.x1 - rectangle.x0);
  m[5] = 2.0f / (rectangle.y1 - rectangle.y0);
  m[10] = -0.000004f;
  m[12] = -(rectangle.x0 + rectangle.x1) / (rectangle.x1 - rectangle.x0);
  m[13] = -(rectangle.y0 + rectangle.y1) / (rectangle.y1 - rectangle.y0);
  m[14] = -0.99999994f;
  m[15] = 1.0f;
  return m;
}

render_properties camera_render_properties(const host_camera& camera,
                                           const view_placement& placement) {
  render_properties properties;
  properties.view_size = camera_view_size(camera, placement);
  properties.view_matrix =
      camera_view_matrix(camera.camera_to_world, placement.composition_pixel_aspect);
  const view_rectangle rectangle =
      visible_plane_rectangle(properties.view_size, camera.plane_height, placement);
  properties.projection_matrix = camera.has_camera_layer && camera.orthographic
                                     ? orthographic_projection(rectangle)
                                     : perspective_projection(rectangle, camera.plane_distance);
  properties.eye_position = {static_cast<float>(camera.camera_to_world.mat[3][0]),
                             static_cast<float>(camera.camera_to_world.mat[3][1]),
                             static_cast<float>(camera.camera_to_world.mat[3][2]), 0.0f};
  return properties;
}
