#include "scene/frame_render_command.h"

#include "scene/frame_render.h"
#include "scene/render_state_client.h"

void run_frame_render(CommandContext& context, AePlugin& plugin, RenderState* state,
                      float& sample_counter) {
  if (state == nullptr) {
    context.error = PF_Interrupt_CANCEL;
    return;
  }
  RenderStateClient client(*state);
  render_frame(context, plugin, *state, sample_counter, client);
}
