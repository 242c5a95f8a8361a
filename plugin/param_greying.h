#pragma once

#include <cstdint>

#include "AE_GeneralPlug.h"
#include "plugin/command_context.h"
#include "plugin/host_suites.h"

// Greys out, in the host's effect controls, the parameters that have no effect with the
// current values, and makes the others usable again: "Shutter Angle" unless "Motion Blur" is
// "On"; the settings of the diffuse, glossiness, illumination and bump maps while no layer is
// chosen for that map. The environment settings stay usable (the environment can be rotated
// before a layer is chosen). plugin_id is the module's AEGP registration.
void grey_out_unused_params(CommandContext& context, AEGP_PluginID plugin_id);

// Sets or clears the host's "disabled" flag on the parameter `id` of `effect`. A failing host
// call leaves the parameter as it was.
void set_param_disabled(HostSuites& suites, AEGP_PluginID plugin_id, AEGP_EffectRefH effect,
                        std::int32_t id, bool disabled);

// Whether the layer parameter `id` of `effect` names a layer at the command's current time.
// False when the host cannot say.
bool layer_param_has_layer(const CommandContext& context, HostSuites& suites,
                           AEGP_PluginID plugin_id, AEGP_EffectRefH effect, std::int32_t id);
