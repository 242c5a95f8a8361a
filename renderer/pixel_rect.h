#pragma once

#include <vector>

#include "scene/math3d.h"

// A rectangle of whole pixels of a render target, columns x0 to x1 - 1 and rows y0 to y1 - 1,
// in GL window coordinates (row 0 is the first row in memory and in the host's buffer).
struct PixelRect {
  int x0 = 0;
  int y0 = 0;
  int x1 = 0;
  int y1 = 0;

  bool empty() const { return x1 <= x0 || y1 <= y0; }
  int width() const { return empty() ? 0 : x1 - x0; }
  int height() const { return empty() ? 0 : y1 - y0; }
};

// Whether every pixel of inner lies in outer; an empty inner lies anywhere.
bool contains(const PixelRect& outer, const PixelRect& inner);

// The rectangle seen from an origin at (x, y).
PixelRect relative_to(const PixelRect& rect, int x, int y);

// The smallest rectangle that holds both; an empty one adds nothing.
PixelRect bounding_union(const PixelRect& a, const PixelRect& b);

// At most four rectangles that together cover exactly the pixels of outer that are not in
// inner.
std::vector<PixelRect> strips_outside(const PixelRect& outer, const PixelRect& inner);

// The pixels of a width x height target that a mesh inside the cube from -1 to 1 in model
// space can cover once model_to_clip has taken it to clip space: the projected corners' bounds,
// widened by a pixel for the rasteriser's sample positions and clamped to the target. The whole
// target when a corner lies at or behind the eye, where the projection no longer bounds the
// mesh; empty when the cube lies wholly beside the target.
PixelRect projected_bounds(const hxsdk::mat4& model_to_clip, int width, int height);
