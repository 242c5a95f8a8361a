#include "plugin/ae_plugin_connection.h"

#include "plugin/effect_params.h"
#include "plugin/param_ids.h"
#include "scene/frame_render_command.h"

void AePluginConnection::on_params_setup(CommandContext& context) {
  register_effect_params(context);
}

void AePluginConnection::on_user_changed_param(CommandContext&) {}

void AePluginConnection::on_smart_render(CommandContext& context) {
  run_frame_render(context, *this, renderer.get(), sample_counter);
}

void AePluginConnection::on_smart_pre_render(CommandContext& context) {
  // The results are not checked: a layer the host cannot provide is simply absent at render.
  for (const ParamId layer : {PARAM_DIFFUSE_LAYER, PARAM_GLOSSINESS_LAYER, PARAM_ILLUMINATION_LAYER,
                              PARAM_ENVIRONMENT_LAYER, PARAM_BUMP_LAYER}) {
    request_layer(context, layer);
  }
}

void AePluginConnection::on_do_dialog(CommandContext&) {}

void AePluginConnection::on_arbitrary_callback(CommandContext&) {}
