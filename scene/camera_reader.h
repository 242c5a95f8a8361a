#pragma once

#include "plugin/command_context.h"
#include "plugin/host_suites.h"
#include "scene/render_data.h"
#include "scene/render_properties.h"

// The camera record of the current sample: the composition's active camera (or the host's
// default camera) at the in-data's current time, clamped to 0, looking at the part of the
// image plane that `frame`'s output buffer shows. Throws hx_exception for a camera the
// projection cannot use (an image plane at no positive distance).
render_properties read_camera(CommandContext& context, HostSuites& suites,
                              const render_data& frame);
