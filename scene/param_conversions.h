#pragma once

#include <cstdint>

#include "AE_Effect.h"
#include "scene/math3d.h"

// How raw parameter values become record fields.

// (red, green, blue, alpha) of an 8-bit host colour, each times 1/255.
hxsdk::vec4 color_from_pixel(const PF_Pixel& pixel);

// The host's angles are 16.16 fixed-point degrees; the raw 32-bit value times
// pi / (180 * 65536) gives radians.
float fixed_degrees_to_radians(PF_Fixed degrees);

// The orientation of turning about x, then y, then z (fixed axes) by three host angles.
hxsdk::quaternion orientation_from_fixed_degrees(PF_Fixed x, PF_Fixed y, PF_Fixed z);

// 1 for any nonzero value (a checkbox), else 0.
std::uint8_t flag_from_value(std::int32_t value);
