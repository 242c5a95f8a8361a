#include "scene/texture_layers.h"

#include "AE_EffectSuites.h"
#include "plugin/param_host_index.h"
#include "scene/effect_host_queries.h"

image_desc check_out_map(CommandContext& context, AePlugin& plugin, std::int32_t param_id) {
  const PF_Err command_error = context.error;
  image_desc image;
  plugin.checkout_image(context, param_id, image);
  context.error = command_error;
  return image;
}

bool map_state_unchanged(CommandContext& context, HostSuites& suites, std::int32_t param_id,
                         TextureSlot& slot) {
  const PF_ParamUtilsSuite3* param_utils = suites.find<PF_ParamUtilsSuite3>();
  if (param_utils == nullptr) {
    return false;
  }
  const PF_InData& in_data = *context.in_data;
  const A_Time start = composition_time(in_data, suites, in_data.current_time);
  const A_Time end{0, start.scale};
  PF_State state{};
  param_utils->PF_GetCurrentState(in_data.effect_ref, param_host_index(param_id), &start, &end,
                                  &state);
  A_Boolean identical = false;
  param_utils->PF_AreStatesIdentical(in_data.effect_ref, &state, &slot.state, &identical);
  slot.state = state;
  return identical != 0;
}

bool slot_texture_current(const TextureSlot& slot, bool state_unchanged, const image_desc& image,
                          TextureKind kind) {
  return state_unchanged && slot.texture != 0 && slot.width == image.width &&
         slot.height == image.height && slot.kind == static_cast<std::uint32_t>(kind);
}
