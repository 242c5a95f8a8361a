#pragma once

#include "plugin/command_context.h"

// Publishes the effect's 79 parameters to the host in their fixed order: the header control
// (host index 1) with its custom UI, then every entry of kEffectParams. Fills the parameter
// tables (param_index_by_id, param_id_by_index, popup_choice_strings) as it goes and leaves
// out-data num_params at 79; the dispatcher adds the host's input layer.
void register_effect_params(CommandContext& context);
