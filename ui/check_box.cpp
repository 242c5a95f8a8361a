#include "ui/check_box.h"

#include <string>

#include "ui/drawing_surface.h"
#include "ui/window.h"

namespace hxsdk::ui {
namespace {

// The box's side when the image gives none.
constexpr float kBoxSide = 14.0f;
constexpr int kUncheckedFrame = 0;
constexpr int kCheckedFrame = 1;
// Images with hover frames hold them two frames on.
constexpr int kHoverFramesFrom = 4;
constexpr int kHoverFrameOffset = 2;

}  // namespace

check_box::check_box() {
  connect(event::mouse_up, [this](const event_info&) { toggle(); });
  connect(event::key_up, [this](const event_info& e) {
    if (e.argument == kKeySpace) {
      toggle();
    }
  });
  connect(event::mouse_enter, [this](const event_info&) { set_hovered(true); });
  connect(event::mouse_leave, [this](const event_info&) { set_hovered(false); });
  for (const event id : {event::focus_in, event::focus_out}) {
    connect(id, [this](const event_info&) { invalidate(); });
  }
  connect(event::style_changed, [this](const event_info& e) {
    if (*e.argument_pointer<std::string>() == "checkbox_image") {
      reload_image();
    }
    invalidate();
  });
  reload_image();
}

void check_box::set_text(std::string_view text) {
  text_ = text;
  invalidate();
}

void check_box::set_checked(bool checked) {
  checked_ = checked;
  if (bound_ != nullptr) {
    *bound_ = checked;
  }
  invalidate();
}

void check_box::set_hovered(bool hovered) {
  hovered_ = hovered;
  invalidate();
}

// Handlers of the first event see the old state, those of the second the new one.
void check_box::toggle() {
  fire(event::toggled, 0, kPhaseBefore, 0);
  set_checked(!checked_);
  fire(event::toggled, 0, kPhaseDone, 0);
}

void check_box::reload_image() {
  image_.load(style<image_source>("checkbox_image"));
}

void check_box::paint() {
  drawing_surface& s = owner_window()->surface();
  s.fill_rect(area(), state_color(style<color>("checkbox_back_color")));

  const sizef frame =
      image_.loaded() ? sizef{image_.size_dips().width, image_.size_dips().height / image_.frames()}
                      : sizef{kBoxSide, kBoxSide};
  const rectf box{0.0f, (area().height - frame.height) / 2.0f, frame.width, frame.height};
  int frame_index = checked_ && interactive() ? kCheckedFrame : kUncheckedFrame;
  if (hovered_ && image_.frames() >= kHoverFramesFrom) {
    frame_index += kHoverFrameOffset;
  }
  s.draw_image(image_, box, frame_index, interactive() ? 1.0f : 0.5f);

  const float border_width = style<float>("checkbox_border_width");
  const char* border = hovered_ ? "checkbox_border_color_hover" : "checkbox_border_color_normal";
  s.stroke_rect(box, state_color(style<color>(border)), border_width);
  if (has_focus() && !hovered_) {
    s.stroke_dotted_rect(box, state_color(style<color>("checkbox_border_color_focus")),
                         border_width);
  }

  const float text_left = box.width + static_cast<float>(style<int>("checkbox_text_gap"));
  s.set_font(style<std::string>("checkbox_font_name"), style<float>("checkbox_font_size"),
             style<int>("checkbox_font_weight"), style<int>("checkbox_font_style"), false);
  s.set_alignment(0, 0);
  s.draw_text(text_, {text_left, 0.0f, area().width - text_left, area().height},
              state_color(style<color>("checkbox_font_color")));
}

}  // namespace hxsdk::ui
