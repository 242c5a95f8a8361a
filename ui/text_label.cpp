#include "ui/text_label.h"

#include <cmath>

#include "platform/shell_open.h"
#include "ui/drawing_surface.h"
#include "ui/native_window.h"
#include "ui/window.h"

namespace hxsdk::ui {
namespace {

constexpr int kArrowCursor = 0;
constexpr int kHandCursor = 6;

}  // namespace

text_label::text_label() {
  connect(event::layout, [this](const event_info&) { layout(); });
  connect(event::style_changed, [this](const event_info&) { layout(); });
  connect(event::mouse_move, [this](const event_info&) {
    if (!links_.empty()) {
      set_cursor(link_under_mouse() != nullptr ? kHandCursor : kArrowCursor);
    }
  });
  connect(event::mouse_up, [this](const event_info&) {
    if (const std::string* address = link_under_mouse()) {
      open_with_shell(*address);
    }
  });
}

void text_label::set_text(std::string_view text) {
  text_ = text;
  layout();
}

void text_label::set_auto_size(bool width, bool height) {
  auto_width_ = width;
  auto_height_ = height;
  layout();
}

void text_label::add_link(const rect& area, std::string address) {
  links_.push_back({area, std::move(address)});
}

void text_label::apply_text_format(drawing_surface& s) const {
  s.set_font(style<std::string>("label_font_name"), style<float>("label_font_size"),
             style<int>("label_font_weight"), style<int>("label_font_style"),
             style<bool>("label_text_underlined"));
  s.set_alignment(style<int>("label_text_align"), style<int>("label_text_valign"));
}

// Measuring needs the window's drawing surface: a label not yet in a window is laid out when
// it is placed (the layout event).
void text_label::layout() {
  window* owner = owner_window();
  if (owner == nullptr || !owner->created()) {
    return;
  }
  drawing_surface& s = owner->surface();
  apply_text_format(s);
  // An auto-width label is as wide as its text on one line; any other wraps at its width.
  const float wrap_width = auto_width_ ? 0.0f : static_cast<float>(bounds().width);
  measured_ = s.measure_text(text_, wrap_width, static_cast<float>(bounds().height));
  if (auto_width_ || auto_height_) {
    rect sized = bounds();
    if (auto_width_) {
      sized.width = static_cast<int>(std::ceil(measured_.width));
    }
    if (auto_height_) {
      sized.height = static_cast<int>(std::ceil(measured_.height));
    }
    set_bounds(sized);
  }
  invalidate();
}

void text_label::paint() {
  drawing_surface& s = owner_window()->surface();
  s.fill_rect(area(), state_color(style<color>("default_back_color")));
  s.stroke_rect(area(), state_color(style<color>("default_border_color")),
                style<float>("default_border_width"));
  apply_text_format(s);
  s.draw_text(text_, area(), state_color(style<color>("label_font_color")));
}

const std::string* text_label::link_under_mouse() const {
  if (links_.empty() || owner_window() == nullptr) {
    return nullptr;
  }
  const point at = owner_window()->native().cursor_position(*this);
  for (const link& l : links_) {
    if (l.area.contains(at)) {
      return &l.address;
    }
  }
  return nullptr;
}

}  // namespace hxsdk::ui
