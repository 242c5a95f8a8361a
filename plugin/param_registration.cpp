#include "plugin/param_registration.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "plugin/param_tables.h"

namespace {

PF_ParamDef make_definition(PF_ParamType type, const char* name) {
  PF_ParamDef definition{};
  definition.param_type = type;
  std::strncpy(definition.name, name, sizeof definition.name - 1);
  return definition;
}

A_u_char to_channel8(float component) {
  return static_cast<A_u_char>(component * PF_MAX_CHAN8);
}

}  // namespace

void add_param_definition(CommandContext& context, ParamId id, PF_ParamDef& definition) {
  definition.uu.id = id;
  context.in_data->inter.add_param(context.in_data->effect_ref, -1, &definition);

  const auto id_slot = static_cast<std::size_t>(id);
  if (param_index_by_id.size() <= id_slot) {
    param_index_by_id.resize(id_slot + 1);
  }
  const A_long previous_count = context.out_data->num_params;
  param_id_by_index.resize(static_cast<std::size_t>(previous_count) + 2);
  const A_long index = previous_count + 1;
  context.out_data->num_params = index;
  param_id_by_index[static_cast<std::size_t>(index)] = static_cast<std::uint32_t>(id);
  param_index_by_id[id_slot] = static_cast<std::uint32_t>(index);
}

void add_layer_param(CommandContext& context, ParamId id, const char* name) {
  PF_ParamDef definition = make_definition(PF_Param_LAYER, name);
  definition.u.ld.dephault = PF_LayerDefault_NONE;
  add_param_definition(context, id, definition);
}

void add_float_slider_param(CommandContext& context, ParamId id, const char* name, float valid_min,
                            float valid_max, float default_value, std::int16_t precision,
                            float slider_fraction) {
  PF_ParamDef definition = make_definition(PF_Param_FLOAT_SLIDER, name);
  PF_FloatSliderDef& slider = definition.u.fs_d;
  slider.value = default_value;
  slider.valid_min = valid_min;
  slider.valid_max = valid_max;
  slider.slider_min = valid_min >= 0.0f ? valid_min : valid_min * slider_fraction;
  slider.slider_max = valid_max * slider_fraction;
  slider.dephault = default_value;
  slider.precision = precision;
  slider.display_flags = PF_ValueDisplayFlag_NONE;
  add_param_definition(context, id, definition);
}

void add_popup_param(CommandContext& context, ParamId id, const char* name, const char* choices,
                     std::int32_t default_choice, bool exclude_from_have_inputs_changed) {
  PF_ParamDef definition = make_definition(PF_Param_POPUP, name);
  const std::string& kept =
      *popup_choice_strings.emplace_back(std::make_unique<const std::string>(choices));
  PF_PopupDef& popup = definition.u.pd;
  popup.value = default_choice;
  popup.dephault = static_cast<A_short>(default_choice);
  popup.num_choices = static_cast<A_short>(std::count(kept.begin(), kept.end(), '|') + 1);
  popup.u.namesptr = kept.c_str();
  if (exclude_from_have_inputs_changed) {
    definition.flags |= PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED;
  }
  add_param_definition(context, id, definition);
}

void add_angle_param(CommandContext& context, ParamId id, const char* name) {
  PF_ParamDef definition = make_definition(PF_Param_ANGLE, name);
  definition.u.ad.value = 0;
  definition.u.ad.dephault = 0;
  definition.flags = PF_ParamFlag_START_COLLAPSED;
  add_param_definition(context, id, definition);
}

void add_checkbox_param(CommandContext& context, ParamId id, const char* name, bool default_checked,
                        bool label_is_name) {
  PF_ParamDef definition = make_definition(PF_Param_CHECKBOX, name);
  definition.u.bd.value = default_checked ? 1 : 0;
  definition.u.bd.dephault = default_checked ? 1 : 0;
  definition.u.bd.u.nameptr = label_is_name ? name : "";
  add_param_definition(context, id, definition);
}

void add_color_param(CommandContext& context, ParamId id, const char* name, float red, float green,
                     float blue) {
  PF_ParamDef definition = make_definition(PF_Param_COLOR, name);
  const PF_Pixel color{PF_MAX_CHAN8, to_channel8(red), to_channel8(green), to_channel8(blue)};
  definition.u.cd.value = color;
  definition.u.cd.dephault = color;
  add_param_definition(context, id, definition);
}

void add_point_3d_param(CommandContext& context, ParamId id, const char* name, double x, double y,
                        double z) {
  PF_ParamDef definition = make_definition(PF_Param_POINT_3D, name);
  PF_Point3DDef& point = definition.u.point3d_d;
  point.x_value = point.x_dephault = x;
  point.y_value = point.y_dephault = y;
  point.z_value = point.z_dephault = z;
  add_param_definition(context, id, definition);
}

void add_group_start(CommandContext& context, ParamId id, const char* name, bool collapsed) {
  PF_ParamDef definition = make_definition(PF_Param_GROUP_START, name);
  definition.flags = collapsed ? PF_ParamFlag_START_COLLAPSED : 0;
  add_param_definition(context, id, definition);
}

void add_group_end(CommandContext& context, ParamId id) {
  PF_ParamDef definition = make_definition(PF_Param_GROUP_END, "");
  add_param_definition(context, id, definition);
}
