#include "host/layer_geometry.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

A_long scaled_up(A_long side, PF_RationalScale scale) {
  const int64_t product = int64_t{side} * scale.num;
  return static_cast<A_long>((product + scale.den - 1) / scale.den);
}

}  // namespace

void check_size(const char* what, LayerSize size) {
  if (size.width < 0 || size.height < 0 || size.width > PF_MAX_WORLD_WIDTH ||
      size.height > PF_MAX_WORLD_HEIGHT) {
    throw HostError(std::string("impossible ") + what + " size " + std::to_string(size.width) +
                    " x " + std::to_string(size.height));
  }
}

LayerSize downsampled(LayerSize size, PF_RationalScale x, PF_RationalScale y) {
  return {scaled_up(size.width, x), scaled_up(size.height, y)};
}

bool is_empty(const PF_LRect& rect) {
  return rect.left >= rect.right || rect.top >= rect.bottom;
}

PF_LRect intersection(const PF_LRect& a, const PF_LRect& b) {
  const PF_LRect common{std::max(a.left, b.left), std::max(a.top, b.top),
                        std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
  return is_empty(common) ? PF_LRect{} : common;
}

}  // namespace lunaform::host
