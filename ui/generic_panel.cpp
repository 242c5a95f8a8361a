#include "ui/generic_panel.h"

#include "ui/drawing_surface.h"
#include "ui/window.h"

namespace hxsdk::ui {

generic_panel::generic_panel() = default;

void generic_panel::paint() {
  drawing_surface& s = owner_window()->surface();
  s.fill_rect(area(), state_color(style<color>("default_back_color")));
  s.stroke_rect(area(), state_color(style<color>("default_border_color")),
                style<float>("default_border_width"));
}

}  // namespace hxsdk::ui
