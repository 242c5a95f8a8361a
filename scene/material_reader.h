#pragma once

#include "plugin/command_context.h"
#include "scene/render_data.h"
#include "scene/scene_parameters.h"

// Fills every field of `scene` that comes from the effect's parameters alone, read at the
// in-data's current time: the material (all but its five texture names), the sphere's
// placement, radius and output gamma. `frame` gives the downsample factor that scales the
// "Position" back to full resolution.
void read_material_and_placement(CommandContext& context, const render_data& frame,
                                 scene_parameters& scene);
