#pragma once

#include <cstdint>

#include "AE_Effect.h"

// The host index of a registered parameter, from param_index_by_id. Throws hx_exception
// naming the id when it was never registered (a command that reads parameters arrived
// before parameter setup), rather than reading the host's input layer in its place.
PF_ParamIndex param_host_index(std::int32_t id);
