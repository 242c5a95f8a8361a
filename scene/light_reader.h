#pragma once

#include <vector>

#include "plugin/command_context.h"
#include "plugin/host_suites.h"
#include "scene/light_properties.h"

// The lights of the current sample: every light layer of the effect's composition that exists
// at the in-data's current time and is switched on, in layer order; when there is none and
// "Use Default Lights" is on, the default pair instead.
std::vector<light_properties> read_lights(CommandContext& context, HostSuites& suites);
