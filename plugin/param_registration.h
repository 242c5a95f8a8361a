#pragma once

#include <cstdint>

#include "AE_Effect.h"
#include "plugin/command_context.h"
#include "plugin/param_ids.h"

// Registration helpers, one per kind of parameter. Each builds the host's parameter
// definition from zero, appends it with the host's add_param (whose result is ignored: a
// refused parameter must not shift the indices the module expects), and records the new
// host index in the parameter tables. Names longer than the host's 31 characters are cut.

void add_layer_param(CommandContext& context, ParamId id, const char* name);

// The slider spans valid_min (or valid_min × slider_fraction when valid_min is negative) to
// valid_max × slider_fraction, both products in single precision.
void add_float_slider_param(CommandContext& context, ParamId id, const char* name, float valid_min,
                            float valid_max, float default_value, std::int16_t precision,
                            float slider_fraction);

// choices: entries separated by "|"; default_choice is 1-based. The module keeps its own copy
// of the choices for as long as it is loaded, as the host refers to it.
void add_popup_param(CommandContext& context, ParamId id, const char* name, const char* choices,
                     std::int32_t default_choice, bool exclude_from_have_inputs_changed);

// Value and default 0 degrees; the control starts collapsed.
void add_angle_param(CommandContext& context, ParamId id, const char* name);

// label_is_name: the box shows the parameter's name as its own label (name must then
// outlive the module's registration, as a string literal does); else the label is empty.
void add_checkbox_param(CommandContext& context, ParamId id, const char* name, bool default_checked,
                        bool label_is_name);

// Components from 0 to 1, stored as 8-bit channels (truncated) with full alpha.
void add_color_param(CommandContext& context, ParamId id, const char* name, float red, float green,
                     float blue);

// A point in 3D with double-precision coordinates as value and default.
void add_point_3d_param(CommandContext& context, ParamId id, const char* name, double x, double y,
                        double z);

void add_group_start(CommandContext& context, ParamId id, const char* name, bool collapsed);
void add_group_end(CommandContext& context, ParamId id);

// The common tail of every registration, for controls built by hand: appends `definition`
// (whose id field is set here) at the end of the host's list and records its host index.
void add_param_definition(CommandContext& context, ParamId id, PF_ParamDef& definition);
