#include "plugin/command_extra.h"

#include "plugin/hx_exception.h"

PF_PreRenderExtra& pre_render_extra(const CommandContext& context) {
  auto* extra = static_cast<PF_PreRenderExtra*>(context.extra);
  if (extra == nullptr || extra->input == nullptr || extra->output == nullptr ||
      extra->cb == nullptr || extra->cb->checkout_layer == nullptr) {
    throw hx_exception("The host sent a Smart PreRender command without its pre-render record.");
  }
  return *extra;
}

PF_SmartRenderExtra& smart_render_extra(const CommandContext& context) {
  auto* extra = static_cast<PF_SmartRenderExtra*>(context.extra);
  if (extra == nullptr || extra->input == nullptr || extra->cb == nullptr ||
      extra->cb->checkout_layer_pixels == nullptr || extra->cb->checkout_output == nullptr) {
    throw hx_exception("The host sent a Smart Render command without its render record.");
  }
  return *extra;
}

PF_EventExtra& event_extra(const CommandContext& context) {
  auto* extra = static_cast<PF_EventExtra*>(context.extra);
  if (extra == nullptr) {
    throw hx_exception("The host sent a custom-UI event without its event record.");
  }
  return *extra;
}
