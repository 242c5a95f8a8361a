#include "ui/generic_button.h"

#include <string>

#include "ui/drawing_surface.h"
#include "ui/window.h"

namespace hxsdk::ui {
namespace {

constexpr int kLeftButton = 0;
constexpr float kBorderWidth = 1.0f;

}  // namespace

generic_button::generic_button() {
  connect(event::mouse_enter, [this](const event_info&) { set_state(hovered_, true); });
  connect(event::mouse_leave, [this](const event_info&) {
    pressed_ = false;
    set_state(hovered_, false);
  });
  connect(event::mouse_down, [this](const event_info&) { set_state(pressed_, true); });
  for (const event id : {event::focus_in, event::focus_out}) {
    connect(id, [this](const event_info&) {
      pressed_ = false;
      invalidate();
    });
  }
  connect(event::mouse_up, [this](const event_info& e) {
    if (e.argument == kLeftButton) {
      pressed_ = false;
      activate();
    }
  });
  connect(event::key_down, [this](const event_info& e) {
    if (e.argument == kKeyEnter) {
      activate();
    }
  });
  connect(event::style_changed, [this](const event_info& e) {
    if (*e.argument_pointer<std::string>() == "button_back_image") {
      load_background();
    }
  });
  load_background();
}

void generic_button::set_caption(std::string_view caption) {
  caption_ = caption;
  invalidate();
}

void generic_button::set_state(bool& flag, bool value) {
  flag = value;
  invalidate();
}

void generic_button::activate() {
  if (toggleable_) {
    toggled_ = !toggled_;
  }
  invalidate();
  fire(event::activated, toggled_ ? 1 : 0);
}

void generic_button::load_background() {
  background_.load(style<image_source>("button_back_image"));
}

void generic_button::paint() {
  drawing_surface& s = owner_window()->surface();
  const char* back = pressed_   ? "button_color_pressed"
                     : toggled_ ? "button_color_toggle"
                     : hovered_ ? "button_color_hover"
                                : "button_color_normal";
  s.fill_rect(area(), state_color(style<color>(back)));
  if (background_.loaded()) {
    const sizef own = background_.size_dips();
    const rectf stretched = area();
    const rectf centred{(stretched.width - own.width) / 2.0f,
                        (stretched.height - own.height) / 2.0f, own.width, own.height};
    s.draw_image(background_, style<bool>("button_back_image_strech") ? stretched : centred, 0,
                 interactive() ? 1.0f : 0.5f);
  }
  if (has_focus()) {
    s.stroke_dotted_rect(area(), state_color(style<color>("button_border_color_focus")),
                         kBorderWidth);
  }
  const char* border = hovered_ ? "button_border_color_hover" : "button_border_color_normal";
  const char* text = pressed_   ? "button_font_color_pressed"
                     : hovered_ ? "button_font_color_hover"
                                : "button_font_color";
  s.stroke_rect(area(), state_color(style<color>(border)), kBorderWidth);
  s.set_font(style<std::string>("button_font_name"), style<float>("button_font_size"),
             style<int>("button_font_weight"), style<int>("button_font_style"),
             style<bool>("button_text_underlined"));
  s.set_alignment(style<int>("button_font_alignment"),
                  style<int>("button_font_vertical_alignment"));
  s.draw_text(caption_, area(), state_color(style<color>(text)));
}

}  // namespace hxsdk::ui
