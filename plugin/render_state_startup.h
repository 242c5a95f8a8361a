#pragma once

#include <memory>

#include "scene/render_state.h"

// Builds the GPU side of the effect; the module uses create_render_state
// (renderer/render_client.h).
using RenderStateFactory = std::unique_ptr<RenderState> (*)();

// Runs make_render_state and returns what it built. A std::exception from it becomes an
// hx_exception whose text starts "Lunaform failed to initialize with error:\n\n" followed by
// the cause, which is what the user reads in the error popup; any other exception passes
// through unchanged.
std::unique_ptr<RenderState> start_render_state(RenderStateFactory make_render_state);
