#pragma once

#include <array>
#include <optional>

#include "host/composition.h"

namespace lunaform::host {

// The host's own 3D maths for layers and the camera, written from the composition's
// description (positions, points of interest, angles, zoom). Pure functions.

// A 4 × 4 matrix in the host's row-vector storage: m[row][column], a point is the row vector
// (x, y, z, 1) multiplied from the left; rows 0..2 are the local x, y and z axes in world space
// and row 3 is the translation.
using Matrix4 = std::array<std::array<double, 4>, 4>;

// The local axes of a transform in world space at `seconds`, as columns of the rotation R
// described at Transform (look-at frame, then orientation, then rotation): axes[0] = local x,
// axes[1] = local y, axes[2] = local z. A point of interest at the position itself, or straight
// above or below it, leaves the look-at frame at the world axes, respectively turns it about x
// only (local x stays the world's x).
std::array<Vec3, 3> layer_axes(const Transform& transform, double seconds);

// The layer-to-world matrix of `layer` at `seconds` (row-vector storage): rows 0..2 the local
// axes, row 3 the world position of the local origin (position − R · anchor for AV layers,
// position for cameras and lights).
Matrix4 layer_to_world(const Layer& layer, double seconds);

// The camera that looks at the composition at `seconds`.
struct CameraView {
  Vec3 position;
  std::array<Vec3, 3> axes;  // local x (right), y (down), z (view direction) in world space
  double zoom = 0;           // distance to the image plane in composition pixels
  Projection projection = Projection::perspective;
  bool is_default = true;  // the host's default camera (no camera layer is active)
};

// The composition's camera layer when its video is on and `seconds` lies in [in point, in point
// + duration); otherwise the host's default camera: at (width / 2, height / 2,
// −default_camera_zoom(width)), axes along the world's, perspective.
CameraView camera_view(const Composition& comp, double seconds);

// The camera-to-world matrix of a view (row-vector storage, translation = camera position).
Matrix4 camera_to_world(const CameraView& view);

// A world point seen by the camera: (x, y) in pixels of the effect layer's output at the given
// downsample factors (1 at full resolution, 2 at half), depth = distance in front of the camera
// along its view direction.
struct ProjectedPoint {
  double x = 0;
  double y = 0;
  double depth = 0;
};

// Where the host's camera puts a world point (composition pixels) in the effect layer's pixels.
// With the point at camera coordinates (xc, yc, zc) = ((p − position) · axis x, · axis y,
// · axis z), the image plane coordinates relative to its centre are u = zoom · xc / zc,
// v = zoom · yc / zc (orthographic: u = xc, v = yc). The effect layer (size Wl × Hl, pixel
// aspect Pl) is centred on the plane, and a composition pixel (aspect Pc) spans Pc / Pl layer
// pixels horizontally: x = (Wl / 2 + u · Pc / Pl) / downsample_x, y = (Hl / 2 + v) /
// downsample_y. Nothing for a point that a perspective camera sees at zc ≤ 0 (behind it), or
// for a composition without an effect layer.
std::optional<ProjectedPoint> project_to_layer_pixels(const Composition& comp, const Vec3& world,
                                                      double seconds, double downsample_x = 1,
                                                      double downsample_y = 1);

}  // namespace lunaform::host
