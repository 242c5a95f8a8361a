#pragma once

#include <array>
#include <cstdint>

#include "AE_Effect.h"
#include "plugin/command_context.h"

// How every part of the module reads a parameter's value at the command's current time: by
// its ParamId, translated to the host index through param_index_by_id. The host's result
// codes are ignored; a failed checkout reads as 0.

// The value of a float slider, in single precision.
float get_param_float(CommandContext& context, std::int32_t id);

// The first 32-bit value of the parameter: the 1-based choice of a popup, 0 or 1 for a
// checkbox.
std::int32_t get_param_int(CommandContext& context, std::int32_t id);

// A colour parameter's 8-bit value (alpha, red, green, blue).
PF_Pixel get_param_color(CommandContext& context, std::int32_t id);

// An angle parameter's raw value: degrees in 16.16 fixed point.
PF_Fixed get_param_angle(CommandContext& context, std::int32_t id);

// A 3D point parameter's x, y and z as the host delivers them (downsampled layer pixels).
std::array<double, 3> get_param_point3d(CommandContext& context, std::int32_t id);
