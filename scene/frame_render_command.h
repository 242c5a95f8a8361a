#pragma once

#include "plugin/ae_plugin.h"
#include "plugin/command_context.h"
#include "scene/render_state.h"

// The effect's Smart Render handler: renders plugin.frame on `state`'s render thread (see
// render_frame). Without a RenderState (global setup failed) the command is answered with
// PF_Interrupt_CANCEL (517) and nothing else happens.
void run_frame_render(CommandContext& context, AePlugin& plugin, RenderState* state,
                      float& sample_counter);
