#include "ui/message_popup.h"

#include <algorithm>

#include "ui/drawing_surface.h"
#include "ui/native_window.h"

namespace hxsdk::ui {
namespace {

constexpr int kNoButtons = -1;

bool two_buttons(int mode) {
  return mode >= 1 && mode <= 3;
}

// x of the first button for an alignment code; -1 places no button.
int first_button_x(int align, int window_width, int buttons_width, int margin) {
  switch (align) {
    case 0:
      return margin;
    case 1:
      return (window_width - buttons_width) / 2;
    case 2:
      return window_width - buttons_width - margin;
    default:
      return -1;
  }
}

}  // namespace

message_popup::message_popup(int width) : width_(width) {}

void message_popup::create(native_handle owner, std::string_view title, std::string_view text) {
  window::create(owner, title, {0, 0, width_, 200});
  text_ = text;
  button_mode_ = 0;

  root().connect(event::paint, [this](const event_info&) { paint_background(); });
  connect(event::style_changed,
          [this](const event_info& e) { restyle(*e.argument_pointer<std::string>()); });

  const margins window_margins = style<margins>("message_popup_window_margins");
  for (widget* control : {static_cast<widget*>(&do_not_show_), static_cast<widget*>(&ok_),
                          static_cast<widget*>(&second_)}) {
    control->assign_styles(own_styles());
  }

  root().place_child(do_not_show_,
                     {window_margins.horizontal, 0, width_ - 2 * window_margins.horizontal, 20});
  do_not_show_.set_text("Do not show this again");
  do_not_show_.bind(&do_not_show_flag_);
  do_not_show_.set_checked(false);
  do_not_show_.set_visible(true);
  do_not_show_.set_active(false);

  root().place_child(ok_, {280, 150, button_size_.width, button_size_.height});
  ok_.set_caption("OK");
  connect_to(ok_, event::activated, [this](const event_info&) { end_modal(1); });
  set_focus(&ok_);
  if (two_buttons(button_mode_)) {
    connect_to(second_, event::activated, [this](const event_info&) { end_modal(0); });
  }

  lay_out();

  connect(event::key_down, [this](const event_info& e) {
    if (e.argument == kKeyEnter) {
      end_modal(button_mode_ != 0 ? 1 : 0);
    } else if (e.argument == kKeyEscape) {
      end_modal(0);
    }
  });
}

void message_popup::lay_out() {
  const margins m = style<margins>("message_popup_window_margins");
  const int gap = style<int>("message_popup_component_margins");
  const auto [bw, bh] = button_size_;

  int icon_column = 0;
  int icon_height = 0;
  load_icon();
  if (icon_) {
    const sizef icon_size = icon_->size_dips();
    icon_column = static_cast<int>(icon_size.width) + m.horizontal;
    icon_height = static_cast<int>(icon_size.height);
  }

  drawing_surface& s = surface();
  apply_text_format();
  const sizef measured =
      s.measure_text(text_, static_cast<float>(width_ - 2 * m.horizontal - icon_column), 1000.0f);
  const int text_width = static_cast<int>(measured.width);
  const int text_height = static_cast<int>(measured.height);

  const int width = std::max(width_, 2 * m.horizontal + text_width + icon_column);
  const int content_height = std::max(icon_height, text_height);
  const int check_height = do_not_show_.active() ? do_not_show_.bounds().height : 0;
  const int height = check_height + 2 * (gap + m.vertical) + bh + content_height;
  set_client_size(width, height);

  text_area_ = {m.horizontal + icon_column, m.vertical, width - 2 * m.horizontal - icon_column,
                text_height};

  const int buttons_y = height - bh - m.vertical;
  const int align = style<int>("message_popup_button_align");
  const bool second = two_buttons(button_mode_);
  const int mode_buttons = button_mode_ == 0 ? 1 : second ? 2 : kNoButtons;
  const int buttons_width = mode_buttons == 2 ? 2 * bw + gap : bw;
  const int x =
      mode_buttons == kNoButtons ? -1 : first_button_x(align, width, buttons_width, m.horizontal);
  if (x >= 0) {
    ok_.set_bounds({x, buttons_y, bw, bh});
    if (second) {
      root().place_child(second_, {x + bw + gap, buttons_y, bw, bh});
    }
  }
  center_on_owner();
}

void message_popup::apply_text_format() {
  drawing_surface& s = surface();
  s.set_font(style<std::string>("message_popup_font_name"), style<float>("message_popup_font_size"),
             style<int>("message_popup_font_weight"), style<int>("message_popup_font_style"),
             false);
  // The text hangs from the top of its rectangle; the rectangle is as tall as the text.
  s.set_alignment(style<int>("message_popup_text_align"), 1);
}

void message_popup::load_icon() {
  const image_source source = style<image_source>("message_popup_image");
  icon_.emplace();
  if (!source.has_data() || !icon_->load(source)) {
    icon_.reset();
  }
}

void message_popup::paint_background() {
  drawing_surface& s = surface();
  const rect client = root().bounds();
  s.fill_rect({0, 0, static_cast<float>(client.width), static_cast<float>(client.height)},
              style<color>("message_popup_back_color"));
  const margins m = style<margins>("message_popup_window_margins");
  if (icon_) {
    const sizef icon_size = icon_->size_dips();
    s.draw_image(*icon_,
                 {static_cast<float>(m.horizontal), static_cast<float>(m.vertical), icon_size.width,
                  icon_size.height},
                 0, 1.0f);
  }
  apply_text_format();
  s.draw_text(text_, to_rectf(text_area_), style<color>("message_popup_font_color"));
}

void message_popup::restyle(const std::string& key) {
  if (key == "message_popup_image") {
    load_icon();
  } else if (key.starts_with("checkbox_")) {
    do_not_show_.assign_styles(own_styles());
  } else if (key.starts_with("button_")) {
    ok_.assign_styles(own_styles());
    second_.assign_styles(own_styles());
  }
}

}  // namespace hxsdk::ui
