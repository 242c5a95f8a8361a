#pragma once

#include "AE_Effect.h"

namespace lunaform::host {

struct LayerSize {
  A_long width = 0;
  A_long height = 0;
};

// Throws HostError("impossible WHAT size W x H") unless both sides lie in 0..30000, the
// largest image the effect API allows. Pure function.
void check_size(const char* what, LayerSize size);

// The size of a layer at a downsample factor (numerator / denominator, 1/2 at half
// resolution): each side ceil(side × num / den), so no source pixel is lost. Pure function.
LayerSize downsampled(LayerSize size, PF_RationalScale x, PF_RationalScale y);

// Whether the rectangle holds no pixel (left >= right or top >= bottom).
bool is_empty(const PF_LRect& rect);

// The common part of two rectangles; the all-zero rectangle when they do not overlap.
PF_LRect intersection(const PF_LRect& a, const PF_LRect& b);

}  // namespace lunaform::host
