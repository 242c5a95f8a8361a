#pragma once

#include "AE_Effect.h"
#include "AE_EffectUI.h"
#include "plugin/command_context.h"

// The command's extra record as the Smart PreRender / Smart Render record, with the parts
// the module relies on present. Throws hx_exception when the host sent none, rather than
// following a null pointer.
PF_PreRenderExtra& pre_render_extra(const CommandContext& context);
PF_SmartRenderExtra& smart_render_extra(const CommandContext& context);

// The command's extra record as a custom-UI event. Throws hx_exception when the host sent none.
PF_EventExtra& event_extra(const CommandContext& context);
