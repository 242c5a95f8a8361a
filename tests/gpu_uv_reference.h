#pragma once

#include <array>
#include <vector>

#include "scene/material_properties.h"
#include "tests/gpu_shading_reference.h"

// Where a 2D map lands on the sphere, worked out on the CPU for the GPU map tests: the map
// coordinates that the material's projection gives a model-space surface point, and the wrap
// that folds them into the texture. Written from the projections' definitions in plain double
// arithmetic; nothing here shares code with the renderer's shaders.
namespace uv_reference {

// One texture fetch of a 2D map and its share of the map's value at the point. s runs along
// the texture's rows (0 at the first texel of a row), t down the rows (0 at the first row
// handed to the upload); both are as the projection made them, before the wrap mode folds
// them into 0..1.
struct map_fetch {
  double weight = 0.0;
  double s = 0.0;
  double t = 0.0;
};

// The fetches a colour map gets at the unit-sphere point p (model space) under the
// material's uv_type, uv_repeat, uv_offset, uv_rotation and uv_feathering. The spherical
// and planar projections make one fetch of weight 1; the box projection makes one per model
// axis (x, y, z in that order; weights sum to 1), each from the face of that axis that the
// normal p points to.
std::vector<map_fetch> colour_map_fetches(const material_properties& material,
                                          shading_reference::vec3 p);

// (u, v) of the spherical projection for a model-space direction: u turns once around the
// y axis and wraps from 1 to 0 on the half-plane x = 0, z > 0; v runs from 0 at -y to 1 at +y.
std::array<double, 2> spherical_coordinates(shading_reference::vec3 direction);

// A coordinate folded into 0..1 as the sampler's wrap mode does it: uv_mode 1 repeats the
// map (keeps the fraction), any other value mirrors every second repetition.
double wrapped(double coordinate, int uv_mode);

}  // namespace uv_reference
