// The Smart PreRender / Smart Render half of EffectHost: the request the host makes, the layer
// checkouts it answers and the worlds it hands out.
#include <new>
#include <string>
#include <utility>

#include "host/effect_host.h"
#include "host/host_callbacks.h"
#include "host/layer_pixels.h"

namespace lunaform::host {
namespace {

PF_RenderRequest make_request(const PF_LRect& rect, PF_Field field) {
  PF_RenderRequest request{};
  request.rect = rect;
  request.field = field;
  request.channel_mask = PF_ChannelMask_ARGB;
  request.preserve_rgb_of_zero_alpha = true;
  return request;
}

}  // namespace

void EffectHost::release_pre_render_data() {
  if (pre_render_output_.pre_render_data != nullptr &&
      pre_render_output_.delete_pre_render_data_func != nullptr) {
    pre_render_output_.delete_pre_render_data_func(pre_render_output_.pre_render_data);
  }
  pre_render_output_.pre_render_data = nullptr;
  pre_render_output_.delete_pre_render_data_func = nullptr;
}

PF_Err EffectHost::smart_pre_render(const PF_PreRenderOutput& initial_output) {
  validate_settings();
  release_pre_render_data();
  layer_checkouts_.clear();
  PF_PreRenderInput input{};
  input.output_request = make_request(output_request_rect(), settings_.field);
  input.bitdepth = static_cast<short>(settings_.bits_per_channel);
  pre_render_output_ = initial_output;
  PF_PreRenderExtra extra{&input, &pre_render_output_, HostCallbacks::pre_render()};
  return dispatch(PF_Cmd_SMART_PRE_RENDER, &extra);
}

PF_Err EffectHost::smart_render() {
  validate_settings();
  render_checkouts_.clear();
  layer_worlds_.clear();
  output_world_.reset();
  PF_SmartRenderInput input{};
  input.output_request = make_request(output_request_rect(), settings_.field);
  input.bitdepth = static_cast<short>(settings_.bits_per_channel);
  input.pre_render_data = pre_render_output_.pre_render_data;
  PF_SmartRenderExtra extra{&input, HostCallbacks::smart_render()};
  const PF_Err result = dispatch(PF_Cmd_SMART_RENDER, &extra);
  release_pre_render_data();
  return result;
}

PF_Err EffectHost::checkout_layer(PF_ParamIndex index, A_long checkout_id,
                                  const PF_RenderRequest* request, A_long what_time,
                                  A_long time_step, A_u_long time_scale,
                                  PF_CheckoutResult* result) {
  LayerCheckoutCall& call = layer_checkouts_.emplace_back();
  call.index = index;
  call.checkout_id = checkout_id;
  call.what_time = what_time;
  call.time_step = time_step;
  call.time_scale = time_scale;
  if (running_command_ != PF_Cmd_SMART_PRE_RENDER) {
    return refuse(call, PF_Err_INVALID_CALLBACK, "checkout_layer outside Smart PreRender");
  }
  if (request == nullptr || result == nullptr) {
    return refuse(call, PF_Err_BAD_CALLBACK_PARAM, "checkout_layer with a null request or result");
  }
  call.request = *request;
  if (!params_.contains(index) || params_.at(index).current.param_type != PF_Param_LAYER) {
    return refuse(call, PF_Err_INVALID_INDEX,
                  "checkout_layer of index " + std::to_string(index) + ", not a layer parameter");
  }
  *result = PF_CheckoutResult{};
  if (const auto failure = failures_.layer.find(checkout_id); failure != failures_.layer.end()) {
    call.result = failure->second;
    return failure->second;
  }
  result->par = settings_.pixel_aspect;
  // An empty layer parameter checks out fine and yields nothing.
  if (const auto source = layer_source(index)) {
    const LayerSize size = downsampled(*source, settings_.downsample_x, settings_.downsample_y);
    const PF_LRect bounds{0, 0, size.width, size.height};
    result->result_rect = intersection(request->rect, bounds);
    result->max_result_rect = bounds;
    result->ref_width = source->width;
    result->ref_height = source->height;
  }
  call.answer = *result;
  return PF_Err_NONE;
}

PF_Err EffectHost::checkout_layer_pixels(A_long checkout_id, PF_EffectWorld** pixels) {
  RenderCheckoutCall& call = render_checkouts_.emplace_back();
  call.kind = RenderCheckoutCall::Kind::layer_pixels;
  call.checkout_id = checkout_id;
  if (running_command_ != PF_Cmd_SMART_RENDER) {
    return refuse(call, PF_Err_INVALID_CALLBACK, "checkout_layer_pixels outside Smart Render");
  }
  if (pixels == nullptr) {
    return refuse(call, PF_Err_BAD_CALLBACK_PARAM, "checkout_layer_pixels into a null pointer");
  }
  *pixels = nullptr;
  if (const auto failure = failures_.layer_pixels.find(checkout_id);
      failure != failures_.layer_pixels.end()) {
    call.result = failure->second;
    return failure->second;
  }
  const LayerCheckoutCall* checked_out = nullptr;
  for (const LayerCheckoutCall& earlier : layer_checkouts_) {
    if (earlier.checkout_id == checkout_id && earlier.result == PF_Err_NONE) {
      checked_out = &earlier;
    }
  }
  if (checked_out == nullptr) {
    return refuse(call, PF_Err_BAD_CALLBACK_PARAM,
                  "checkout_layer_pixels of checkout id " + std::to_string(checkout_id) +
                      ", which Smart PreRender did not check out");
  }
  const auto source = layer_source(checked_out->index);
  if (!source) {
    return PF_Err_NONE;
  }
  auto& world = layer_worlds_[checkout_id];
  if (!world) {
    // What the checkout produced: a tile of a large frame needs its own part of the input
    // layer, not the whole layer.
    const PF_LRect& rect = checked_out->answer.result_rect;
    try {
      world = std::make_unique<PixelWorld>(rect.right - rect.left, rect.bottom - rect.top,
                                           settings_.bits_per_channel);
    } catch (const std::bad_alloc&) {
      layer_worlds_.erase(checkout_id);
      return refuse(call, PF_Err_OUT_OF_MEMORY,
                    "no memory for the pixels of checkout id " + std::to_string(checkout_id));
    }
    world->world()->origin_x = rect.left;
    world->world()->origin_y = rect.top;
    world->world()->pix_aspect_ratio = settings_.pixel_aspect;
    if (const auto chosen = chosen_layer(checked_out->index)) {
      fill_layer_pixels(*world, composition_.layers[*chosen], settings_.downsample_x,
                        settings_.downsample_y);
    }
  }
  *pixels = world->world();
  call.world = *pixels;
  return PF_Err_NONE;
}

PF_Err EffectHost::checkin_layer_pixels(A_long checkout_id) {
  RenderCheckoutCall& call = render_checkouts_.emplace_back();
  call.kind = RenderCheckoutCall::Kind::checkin_layer_pixels;
  call.checkout_id = checkout_id;
  if (running_command_ != PF_Cmd_SMART_RENDER) {
    return refuse(call, PF_Err_INVALID_CALLBACK, "checkin_layer_pixels outside Smart Render");
  }
  for (const RenderCheckoutCall& earlier : render_checkouts_) {
    if (earlier.kind == RenderCheckoutCall::Kind::layer_pixels &&
        earlier.checkout_id == checkout_id && earlier.result == PF_Err_NONE) {
      return PF_Err_NONE;
    }
  }
  return refuse(call, PF_Err_BAD_CALLBACK_PARAM,
                "checkin_layer_pixels of checkout id " + std::to_string(checkout_id) +
                    ", which was not checked out");
}

std::unique_ptr<PixelWorld> EffectHost::make_output_world() const {
  const PF_LRect rect = output_request_rect();
  auto output = std::make_unique<PixelWorld>(rect.right - rect.left, rect.bottom - rect.top,
                                             settings_.bits_per_channel);
  PF_EffectWorld* world = output->world();
  world->origin_x = rect.left;
  world->origin_y = rect.top;
  world->pix_aspect_ratio = settings_.pixel_aspect;
  return output;
}

std::unique_ptr<PixelWorld> EffectHost::take_output_world() {
  if (!output_world_) {
    validate_settings();
    return make_output_world();
  }
  return std::move(output_world_);
}

PF_Err EffectHost::checkout_output(PF_EffectWorld** output) {
  RenderCheckoutCall& call = render_checkouts_.emplace_back();
  call.kind = RenderCheckoutCall::Kind::output;
  if (running_command_ != PF_Cmd_SMART_RENDER) {
    return refuse(call, PF_Err_INVALID_CALLBACK, "checkout_output outside Smart Render");
  }
  if (output == nullptr) {
    return refuse(call, PF_Err_BAD_CALLBACK_PARAM, "checkout_output into a null pointer");
  }
  *output = nullptr;
  if (failures_.output != PF_Err_NONE) {
    call.result = failures_.output;
    return failures_.output;
  }
  if (!output_world_) {
    try {
      output_world_ = make_output_world();
    } catch (const std::bad_alloc&) {
      return refuse(call, PF_Err_OUT_OF_MEMORY, "no memory for the output world");
    }
  }
  *output = output_world_->world();
  call.world = *output;
  return PF_Err_NONE;
}

}  // namespace lunaform::host
