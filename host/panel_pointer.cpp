#include "host/panel_pointer.h"

#include <string>

#include "host/host_error.h"
#include "host/number_text.h"

namespace lunaform::host {

PF_Point parse_pointer(std::string_view text) {
  const auto numbers = parse_whole_numbers(text, 2);
  if (!numbers) {
    throw HostError("bad --pointer '" + std::string(text) + "': expected X,Y (two whole numbers)");
  }
  return {(*numbers)[0], (*numbers)[1]};
}

PF_Point pointer_on_panel(const PanelLayout& layout, PF_Point pointer) {
  const PF_Rect& control = layout.controls.front().frame;
  // 64-bit sums: a pointer near the int limit must not wrap onto the panel.
  const long long x = static_cast<long long>(control.left) + pointer.h;
  const long long y = static_cast<long long>(control.top) + pointer.v;
  if (x >= layout.width || y >= layout.height) {
    throw HostError("--pointer " + std::to_string(pointer.h) + "," + std::to_string(pointer.v) +
                    " lies outside the controls panel (" + std::to_string(layout.width) + " x " +
                    std::to_string(layout.height) + " pixels, the header control's top-left " +
                    "corner at " + std::to_string(control.left) + "," +
                    std::to_string(control.top) + ")");
  }
  return {static_cast<A_long>(x), static_cast<A_long>(y)};
}

}  // namespace lunaform::host
