#pragma once

#include <cstdint>

#include "A.h"
#include "scene/math3d.h"
#include "scene/render_properties.h"

// The camera of one sample as the host describes it (AEGP_GetEffectCameraMatrix and the
// camera layer, if any).
struct host_camera {
  A_Matrix4 camera_to_world{};  // row-vector form, translation in the last row
  double plane_distance = 0.0;  // camera to image plane, composition pixels
  std::int32_t plane_width = 0;
  std::int32_t plane_height = 0;
  bool has_camera_layer = false;  // false: the host's default camera
  bool orthographic = false;      // only with a camera layer
};

// Where the output buffer sits and how the pixels are shaped.
struct view_placement {
  float layer_pixel_aspect = 1.0f;        // P_l
  float composition_pixel_aspect = 1.0f;  // P_c
  float downsample = 1.0f;                // D: 1 at full resolution, 2 at half
  std::int32_t output_origin_x = 0;       // downsampled layer pixels
  std::int32_t output_origin_y = 0;
  std::int32_t output_width = 0;
  std::int32_t output_height = 0;
};

// The part of the image plane the output buffer shows, relative to the plane's centre, in
// full-resolution plane pixels with y pointing down (y0 is the top edge).
struct view_rectangle {
  float x0 = 0.0f;
  float x1 = 0.0f;
  float y0 = 0.0f;
  float y1 = 0.0f;
};

// Width and height of the image plane in square pixels. A camera layer's plane is already in
// composition pixels; the default camera's plane is measured in the composition's pixels,
// so it is squared by P_l / P_c rather than P_l.
hxsdk::vec2 camera_view_size(const host_camera& camera, const view_placement& placement);

// diag(1, 1, -1, 1) * inverse(C) * diag(1 / P_c, 1, 1, 1): world (x squared) to a view
// space that looks down -z.
hxsdk::mat4 camera_view_matrix(const A_Matrix4& camera_to_world, float composition_pixel_aspect);

view_rectangle visible_plane_rectangle(hxsdk::vec2 view_size, std::int32_t plane_height,
                                       const view_placement& placement);

// The frustum through `rectangle` on a plane at `plane_distance`, near plane 0.01, no far
// plane; y0 maps to clip y = -1.
hxsdk::mat4 perspective_projection(const view_rectangle& rectangle, double plane_distance);

// Parallel projection of `rectangle`, depth from 0 to about 500000 pixels in front.
hxsdk::mat4 orthographic_projection(const view_rectangle& rectangle);

// The whole camera record of one sample.
render_properties camera_render_properties(const host_camera& camera,
                                           const view_placement& placement);
