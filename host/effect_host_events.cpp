// The custom-UI half of EffectHost: events for a parameter's control in the effect-controls
// panel, as a host sends them while it shows the panel.
#include <string>

#include "host/effect_host.h"
#include "host/host_error.h"

namespace lunaform::host {
namespace {

bool is_control_event(PF_EventType type) {
  return type == PF_Event_DRAW || type == PF_Event_ADJUST_CURSOR || type == PF_Event_DO_CLICK ||
         type == PF_Event_DRAG;
}

PF_EventUnion event_union(const ControlEvent& event) {
  PF_EventUnion u{};
  switch (event.type) {
    case PF_Event_DRAW:
      u.draw.update_rect = event.current_frame;
      break;
    case PF_Event_ADJUST_CURSOR:
      u.adjust_cursor.screen_point = event.point;
      u.adjust_cursor.set_cursor = PF_Cursor_NONE;
      break;
    default:
      // A click starts a gesture; its drags carry what the module asked for at the click.
      u.do_click.screen_point = event.point;
      u.do_click.num_clicks = 1;
      if (event.type == PF_Event_DRAG) {
        u.do_click.send_drag = event.send_drag;
        u.do_click.last_time = event.last_time;
        for (std::size_t i = 0; i < event.continuation.size(); ++i) {
          u.do_click.continue_refcon[i] = event.continuation[i];
        }
      }
      break;
  }
  return u;
}

}  // namespace

PF_Err EffectHost::send_event(ControlEvent& event) {
  if (!is_control_event(event.type)) {
    throw HostError("event type " + std::to_string(event.type) +
                    " is not one a control receives from this host");
  }
  if (event.type == PF_Event_DRAW && event.target == nullptr) {
    throw HostError("a draw event needs an image to draw on");
  }
  if (!params_.contains(event.index)) {
    throw HostError("no parameter " + std::to_string(event.index) + " has a control");
  }
  PF_Context context{};
  context.magic = PF_CONTEXT_MAGIC;
  context.w_type = PF_Window_EFFECT;
  PF_ContextPtr context_pointer = &context;

  PF_EventExtra extra{};
  extra.contextH = &context_pointer;
  extra.e_type = event.type;
  extra.u = event_union(event);
  extra.effect_win.index = event.index;
  extra.effect_win.area = event.area;
  extra.effect_win.current_frame = event.current_frame;
  extra.effect_win.param_title_frame = event.title_frame;
  extra.evt_in_flags = event.in_flags;

  struct EventScope {
    EffectHost& host;
    ~EventScope() {
      host.drawbot_.end_drawing();
      host.event_context_ = nullptr;
    }
  } scope{*this};
  event_context_ = extra.contextH;
  if (event.type == PF_Event_DRAW) {
    drawbot_.begin_drawing(event.target, event.current_frame);
  }
  const PF_Err result = dispatch(PF_Cmd_EVENT, &extra);

  event.out_flags = extra.evt_out_flags;
  if (event.type == PF_Event_ADJUST_CURSOR) {
    event.cursor = extra.u.adjust_cursor.set_cursor;
  } else if (event.type == PF_Event_DO_CLICK || event.type == PF_Event_DRAG) {
    event.send_drag = extra.u.do_click.send_drag != 0;
    for (std::size_t i = 0; i < event.continuation.size(); ++i) {
      event.continuation[i] = extra.u.do_click.continue_refcon[i];
    }
  }
  return result;
}

}  // namespace lunaform::host
