#pragma once

#include <array>

#include "scene/math3d.h"

// The sphere's centre in world space from the "Position" parameter, which the host delivers
// in downsampled layer pixels: scaled back to full resolution by the downsample factor, x
// made square by the layer's pixel aspect.
hxsdk::vec4 sphere_position(const std::array<double, 3>& position, float layer_pixel_aspect,
                            float downsample);
