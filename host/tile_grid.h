#pragma once

#include "AE_Effect.h"

namespace lunaform::host {

// The output rectangles a frame is rendered in: tiles of `side` x `side` pixels from the
// frame's top-left corner, in reading order, those of the last column and row cut to the
// frame. A side at least the frame's width and height gives one tile, the frame itself.
// A plain value; `frame` must not be empty and `side` must be at least 1.
struct TileGrid {
  PF_LRect frame{};  // in downsampled layer pixels
  A_long side = 1;

  A_long columns() const { return (frame.right - frame.left + side - 1) / side; }
  A_long rows() const { return (frame.bottom - frame.top + side - 1) / side; }
  int count() const { return columns() * rows(); }
  // Tile `index`, from 0 to count() - 1: the rows of tiles from the top, each from the left.
  PF_LRect tile(int index) const;
};

}  // namespace lunaform::host
