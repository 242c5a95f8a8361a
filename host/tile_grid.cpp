#include "host/tile_grid.h"

#include <algorithm>

namespace lunaform::host {

PF_LRect TileGrid::tile(int index) const {
  const A_long left = frame.left + index % columns() * side;
  const A_long top = frame.top + index / columns() * side;
  return {left, top, std::min(left + side, frame.right), std::min(top + side, frame.bottom)};
}

}  // namespace lunaform::host
