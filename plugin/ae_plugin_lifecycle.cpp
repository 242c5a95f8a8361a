// The lifecycle handlers of the plug-in object: the GPU side from global setup to global
// setdown, the greying of unused parameters, and each instance's block of texture slots.
#include "AE_EffectCB.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/param_greying.h"
#include "plugin/sequence_data_handle.h"
#include "plugin/slot_textures.h"

AePluginConnection::AePluginConnection(RenderStateFactory make_render_state)
    : make_render_state_(make_render_state) {}

void AePluginConnection::on_global_setup(CommandContext&) {
  // Assigning stops the render thread of a state an earlier global setup left behind.
  renderer = start_render_state(make_render_state_);
}

void AePluginConnection::on_global_setdown(CommandContext& context) {
  release_header_images(context);
  // Returns once the render thread has destroyed the renderer, and every GL object with it,
  // on itself and stopped.
  renderer.reset();
}

void AePluginConnection::on_update_params_ui(CommandContext& context) {
  grey_out_unused_params(context, aegp_plugin_id);
}

PF_Handle AePluginConnection::on_sequence_setup(CommandContext& context) {
  return new_sequence_data(*context.in_data);
}

void AePluginConnection::on_sequence_setdown(CommandContext& context, PF_Handle sequence_data) {
  {
    const SequenceDataLock lock(*context.in_data, sequence_data);
    // Without a GPU side no slot can hold a texture.
    if (lock.data() != nullptr && renderer != nullptr) {
      delete_slot_textures(*renderer->render_thread, *lock.data());
    }
  }
  if (sequence_data != nullptr) {
    context.in_data->utils->host_dispose_handle(sequence_data);
  }
}

PF_Handle AePluginConnection::on_sequence_flatten(CommandContext& context,
                                                  PF_Handle sequence_data) {
  PF_Handle flat_data = nullptr;
  {
    const SequenceDataLock lock(*context.in_data, sequence_data);
    // GPU textures mean nothing in a saved project: the flat form is empty.
    if (lock.locked()) {
      flat_data = context.in_data->utils->host_new_handle(0);
    }
  }
  on_sequence_setdown(context, sequence_data);
  return flat_data;
}

PF_Handle AePluginConnection::on_sequence_resetup(CommandContext& context, PF_Handle flat_data) {
  const PF_Handle sequence_data = new_sequence_data(*context.in_data);
  if (flat_data != nullptr) {
    context.in_data->utils->host_dispose_handle(flat_data);
  }
  return sequence_data;
}
