#include "plugin/effect_params.h"

#include <variant>

#include "AE_EffectUI.h"
#include "plugin/effect_param_table.h"
#include "plugin/param_registration.h"
#include "plugin/param_tables.h"

namespace {

// The banner at the top of the effect's controls: a control without data that the module
// draws itself, sized for the banner image.
constexpr A_short kHeaderWidth = 558;
constexpr A_short kHeaderHeight = 84;

void add_header_control(CommandContext& context) {
  PF_ParamDef header{};
  header.param_type = PF_Param_NO_DATA;
  header.ui_flags = PF_PUI_CONTROL;
  header.ui_width = kHeaderWidth;
  header.ui_height = kHeaderHeight;
  header.flags = PF_ParamFlag_SUPERVISE;
  add_param_definition(context, PARAM_HEADER, header);
}

// Asks for custom-UI events in the effect controls panel only, where the banner lives.
void register_custom_ui(CommandContext& context) {
  PF_CustomUIInfo custom_ui{};
  custom_ui.events = PF_CustomEFlag_EFFECT;
  context.in_data->inter.register_ui(context.in_data->effect_ref, &custom_ui);
}

struct ParamRegistrar {
  CommandContext& context;

  void operator()(const LayerParam& p) const { add_layer_param(context, p.id, p.name); }
  void operator()(const FloatSliderParam& p) const {
    add_float_slider_param(context, p.id, p.name, p.valid_min, p.valid_max, p.default_value,
                           p.precision, p.slider_fraction);
  }
  void operator()(const PopupParam& p) const {
    add_popup_param(context, p.id, p.name, p.choices, p.default_choice,
                    p.exclude_from_have_inputs_changed);
  }
  void operator()(const AngleParam& p) const { add_angle_param(context, p.id, p.name); }
  void operator()(const CheckboxParam& p) const {
    add_checkbox_param(context, p.id, p.name, p.default_checked, p.label_is_name);
  }
  void operator()(const ColorParam& p) const {
    add_color_param(context, p.id, p.name, p.red, p.green, p.blue);
  }
  void operator()(const Point3dParam& p) const {
    add_point_3d_param(context, p.id, p.name, p.x, p.y, p.z);
  }
  void operator()(const GroupStartParam& p) const {
    add_group_start(context, p.id, p.name, p.collapsed);
  }
  void operator()(const GroupEndParam& p) const { add_group_end(context, p.id); }
};

}  // namespace

void register_effect_params(CommandContext& context) {
  reserve_param_tables();
  add_header_control(context);
  register_custom_ui(context);
  const ParamRegistrar registrar{context};
  for (const ParamSpec& spec : kEffectParams) {
    std::visit(registrar, spec);
  }
}
