#pragma once

#include <string_view>

#include "AE_Effect.h"
#include "host/layer_geometry.h"

namespace lunaform::host {

// Reads "X,Y,W,H": the rectangle of W x H pixels whose top-left corner is (X, Y), in
// downsampled layer pixels; whole numbers from 0, W and H at least 1. Returns it as the host's
// rectangle {X, Y, X + W, Y + H}. Throws HostError with one line ("bad --region '0,0,0,9':
// width and height must be at least 1") for anything else. Pure function.
PF_LRect parse_region(std::string_view text);

// Throws HostError with one line when `region` reaches outside a layer of `layer` pixels (the
// downsampled size, the one the region is measured in). Pure function.
void check_region(const PF_LRect& region, LayerSize layer);

}  // namespace lunaform::host
