#pragma once

#include <cstdint>

#include "plugin/command_context.h"

// How every part of the module reads a parameter's value at the command's current time: by
// its ParamId, translated to the host index through param_index_by_id. The host's result
// codes are ignored; a failed checkout reads as 0.

// The value of a float slider, in single precision.
float get_param_float(CommandContext& context, std::int32_t id);

// The first 32-bit value of the parameter: the 1-based choice of a popup, 0 or 1 for a
// checkbox.
std::int32_t get_param_int(CommandContext& context, std::int32_t id);
