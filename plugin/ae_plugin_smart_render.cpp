#include <algorithm>
#include <cmath>
#include <string>

#include "plugin/ae_plugin.h"
#include "plugin/command_extra.h"
#include "plugin/hx_exception.h"
#include "plugin/param_host_index.h"
#include "plugin/result_rect.h"

namespace {

// denominator / numerator in single precision: 2 for the host's half-resolution ratio 1/2.
float inverse_ratio(const PF_RationalScale& ratio, const char* what) {
  if (ratio.num == 0 || ratio.den == 0) {
    throw hx_exception(std::string("The host sent a ") + what + " of " + std::to_string(ratio.num) +
                       "/" + std::to_string(ratio.den) + ".");
  }
  return static_cast<float>(ratio.den) / static_cast<float>(ratio.num);
}

// The layer's size at the host's downsampling, rounded up: ceil(size × num / den), computed
// in single precision.
std::int32_t downsampled_size(A_long size, const PF_RationalScale& ratio) {
  return static_cast<std::int32_t>(std::ceil(
      static_cast<float>(ratio.num) * static_cast<float>(size) / static_cast<float>(ratio.den)));
}

}  // namespace

void AePlugin::prepare_smart_pre_render(CommandContext& context) {
  const PF_InData& in_data = *context.in_data;
  PF_PreRenderExtra& extra = pre_render_extra(context);
  PF_RenderRequest request = extra.input->output_request;
  PF_CheckoutResult produced{};
  const PF_Err checkout_error =
      extra.cb->checkout_layer(in_data.effect_ref, 0, 0, &request, in_data.current_time,
                               in_data.time_step, in_data.time_scale, &produced);
  // A failed checkout says nothing about what the input covers: keep the result as it is.
  if (checkout_error == PF_Err_NONE) {
    merge_result_rect(extra.output->result_rect, produced.result_rect);
    merge_result_rect(extra.output->max_result_rect, produced.max_result_rect);
  }
}

bool AePlugin::prepare_smart_render(CommandContext& context) {
  const PF_InData& in_data = *context.in_data;
  const PF_SmartRenderExtra& extra = smart_render_extra(context);

  frame.bytes_per_channel = static_cast<std::uint8_t>(extra.input->bitdepth / 8);
  frame.inv_downsample_x = inverse_ratio(in_data.downsample_x, "horizontal downsample factor");
  frame.inv_downsample_y = inverse_ratio(in_data.downsample_y, "vertical downsample factor");
  frame.inv_pixel_aspect = inverse_ratio(in_data.pixel_aspect_ratio, "pixel aspect ratio");

  if (checkout_image(context, 0, frame.input_image) == nullptr) {
    return false;
  }
  const PF_EffectWorld* output = checkout_image(context, -1, frame.output_image);
  if (output == nullptr) {
    return false;
  }

  frame.render_width =
      std::max(downsampled_size(in_data.width, in_data.downsample_x), frame.output_image.width);
  frame.render_height =
      std::max(downsampled_size(in_data.height, in_data.downsample_y), frame.output_image.height);
  frame.output_origin_x = output->origin_x;
  frame.output_origin_y = output->origin_y;
  return true;
}

PF_EffectWorld* AePlugin::checkout_image(CommandContext& context, A_long checkout_id,
                                         image_desc& image) {
  const PF_SmartRenderExtra& extra = smart_render_extra(context);
  PF_EffectWorld* world = nullptr;
  context.error = checkout_id < 0 ? extra.cb->checkout_output(context.in_data->effect_ref, &world)
                                  : extra.cb->checkout_layer_pixels(context.in_data->effect_ref,
                                                                    checkout_id, &world);
  image.row_bytes = 0;
  image.bytes_per_channel = 1;
  image.data = nullptr;
  if (world == nullptr || context.error != PF_Err_NONE) {
    return nullptr;
  }
  image.row_bytes = world->rowbytes;
  image.width = world->width;
  image.height = world->height;
  image.data = world->data;
  image.bytes_per_channel = frame.bytes_per_channel;
  return world;
}

PF_Err AePlugin::request_layer(CommandContext& context, std::int32_t param_id) {
  const PF_InData& in_data = *context.in_data;
  PF_PreRenderExtra& extra = pre_render_extra(context);
  const PF_ParamIndex index = param_host_index(param_id);

  // An empty layer parameter checks out as a 0 × 0 layer, which asks for nothing.
  PF_ParamDef layer{};
  in_data.inter.checkout_param(in_data.effect_ref, index, in_data.current_time, in_data.time_step,
                               in_data.time_scale, &layer);
  const A_long width = layer.u.ld.width;
  const A_long height = layer.u.ld.height;
  in_data.inter.checkin_param(in_data.effect_ref, &layer);

  PF_RenderRequest request{};
  request.rect = PF_LRect{0, 0, width, height};
  request.field = PF_Field_FRAME;
  request.channel_mask = PF_ChannelMask_ARGB;
  request.preserve_rgb_of_zero_alpha = true;
  PF_CheckoutResult produced{};
  return extra.cb->checkout_layer(in_data.effect_ref, index, param_id, &request,
                                  in_data.current_time, in_data.time_step, in_data.time_scale,
                                  &produced);
}
