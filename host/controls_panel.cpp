#include "host/controls_panel.h"

#include <cairo.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

bool contains(const PF_Rect& rect, PF_Point point) {
  return point.h >= rect.left && point.h < rect.right && point.v >= rect.top &&
         point.v < rect.bottom;
}

void fill(cairo_t* canvas, const PF_Rect& rect, double grey) {
  cairo_set_source_rgb(canvas, grey, grey, grey);
  cairo_rectangle(canvas, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
  cairo_fill(canvas);
}

// Premultiplied back to straight colour, rounded to the nearest.
A_u_char straight(std::uint32_t channel, std::uint32_t alpha) {
  return static_cast<A_u_char>(alpha == 0 ? 0 : (channel * 255 + alpha / 2) / alpha);
}

}  // namespace

PanelLayout lay_out_panel(const ParamList& params) {
  PanelLayout layout;
  int widest = 0;
  int top = 0;
  for (PF_ParamIndex index = 1; index < static_cast<PF_ParamIndex>(params.size()); ++index) {
    const PF_ParamDef& def = params.at(index).received;
    if ((def.ui_flags & PF_PUI_CONTROL) == 0) {
      continue;
    }
    const int width = std::max<int>(def.ui_width, 0);
    const int height = std::max<int>(def.ui_height, 0);
    PanelControl control;
    control.index = index;
    control.title_frame = {0, top, 0, top + PanelLayout::kTitleHeight};
    const int control_top = top + PanelLayout::kTitleHeight + PanelLayout::kGap;
    control.frame = {PanelLayout::kMargin, control_top, PanelLayout::kMargin + width,
                     control_top + height};
    layout.controls.push_back(control);
    widest = std::max(widest, width);
    top = control_top + height + PanelLayout::kMargin;
  }
  layout.width = widest + 2 * PanelLayout::kMargin;
  layout.height = top;
  for (PanelControl& control : layout.controls) {
    control.title_frame.right = layout.width;
  }
  return layout;
}

ControlsPanel::ControlsPanel(EffectHost& host)
    : host_(host), layout_(lay_out_panel(host.params())) {
  if (layout_.controls.empty()) {
    throw HostError("the module registers no custom control to show");
  }
  image_ = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, layout_.width, layout_.height);
  if (cairo_surface_status(image_) != CAIRO_STATUS_SUCCESS) {
    const std::string reason = cairo_status_to_string(cairo_surface_status(image_));
    cairo_surface_destroy(image_);
    throw HostError("cannot make the controls panel's image: " + reason);
  }
}

ControlsPanel::~ControlsPanel() {
  cairo_surface_destroy(image_);
}

std::optional<std::pair<const PanelControl*, PF_EffectArea>> ControlsPanel::control_at(
    PF_Point point) const {
  if (!contains({0, 0, layout_.width, layout_.height}, point)) {
    return std::nullopt;
  }
  const PanelControl* owner = &layout_.controls.front();
  for (const PanelControl& control : layout_.controls) {
    if (control.title_frame.top <= point.v) {
      owner = &control;
    }
  }
  const PF_EffectArea area = contains(owner->frame, point)         ? PF_EA_CONTROL
                             : contains(owner->title_frame, point) ? PF_EA_PARAM_TITLE
                                                                   : PF_EA_NONE;
  return std::make_pair(owner, area);
}

ControlEvent ControlsPanel::event_for(const PanelControl& control, PF_EventType type) const {
  ControlEvent event;
  event.type = type;
  event.index = control.index;
  event.current_frame = control.frame;
  event.title_frame = control.title_frame;
  return event;
}

PF_Err ControlsPanel::move_pointer(PF_Point point) {
  const auto at = control_at(point);
  const PanelControl* control = at ? at->first : last_control_;
  if (control == nullptr) {
    cursor_ = PF_Cursor_ARROW;
    return PF_Err_NONE;
  }
  ControlEvent event = event_for(*control, PF_Event_ADJUST_CURSOR);
  event.area = at ? at->second : PF_EA_NONE;
  event.point = point;
  const PF_Err result = host_.send_event(event);
  cursor_ = event.cursor;
  last_control_ = control;
  return result;
}

PF_Err ControlsPanel::pointer_left() {
  return move_pointer({-1, -1});
}

PF_Err ControlsPanel::press(PF_Point point) {
  const auto at = control_at(point);
  if (!at) {
    return PF_Err_NONE;
  }
  ControlEvent event = event_for(*at->first, PF_Event_DO_CLICK);
  event.area = at->second;
  event.point = point;
  const PF_Err result = host_.send_event(event);
  if (event.send_drag) {
    gesture_ = event;
  }
  return result;
}

PF_Err ControlsPanel::drag(PF_Point point, bool released) {
  if (!gesture_) {
    return PF_Err_NONE;
  }
  gesture_->type = PF_Event_DRAG;
  gesture_->point = point;
  gesture_->last_time = released;
  const PF_Err result = host_.send_event(*gesture_);
  if (released || !gesture_->send_drag) {
    gesture_.reset();
  }
  return result;
}

PF_Err ControlsPanel::draw() {
  constexpr double kPanelGrey = 0.16;
  constexpr double kTitleGrey = 0.22;
  cairo_t* canvas = cairo_create(image_);
  fill(canvas, {0, 0, layout_.width, layout_.height}, kPanelGrey);
  for (const PanelControl& control : layout_.controls) {
    fill(canvas, control.title_frame, kTitleGrey);
  }
  cairo_destroy(canvas);
  cairo_surface_flush(image_);
  PF_Err result = PF_Err_NONE;
  for (const PanelControl& control : layout_.controls) {
    ControlEvent event = event_for(control, PF_Event_DRAW);
    event.target = image_;
    const PF_Err drawn = host_.send_event(event);
    if (result == PF_Err_NONE) {
      result = drawn;
    }
  }
  return result;
}

const std::uint8_t* ControlsPanel::pixels() const {
  return cairo_image_surface_get_data(image_);
}

int ControlsPanel::stride() const {
  return cairo_image_surface_get_stride(image_);
}

std::unique_ptr<PixelWorld> ControlsPanel::to_world() const {
  auto world = std::make_unique<PixelWorld>(layout_.width, layout_.height, 8);
  for (int y = 0; y < layout_.height; ++y) {
    const std::uint8_t* row = pixels() + static_cast<std::ptrdiff_t>(stride()) * y;
    std::byte* out = world->row(y).data();
    for (int x = 0; x < layout_.width; ++x) {
      // cairo keeps each pixel as one native 32-bit word: alpha, red, green, blue from the top.
      std::uint32_t word = 0;
      std::memcpy(&word, row + static_cast<std::ptrdiff_t>(x) * 4, sizeof word);
      const std::uint32_t alpha = word >> 24;
      const PF_Pixel8 pixel{static_cast<A_u_char>(alpha), straight((word >> 16) & 0xFF, alpha),
                            straight((word >> 8) & 0xFF, alpha), straight(word & 0xFF, alpha)};
      std::memcpy(out + static_cast<std::ptrdiff_t>(x) * sizeof pixel, &pixel, sizeof pixel);
    }
  }
  return world;
}

}  // namespace lunaform::host
