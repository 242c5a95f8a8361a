#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ui/widget.h"

namespace hxsdk::ui {

class drawing_surface;

// Text in the label family's font and colours ("label_" styles), on "default_back_color".
// Link regions (rectangles in the label's own coordinates) show the hand cursor while the
// mouse is over them and open their address with the desktop's handler on a mouse release.
class text_label : public widget {
 public:
  text_label();

  void set_text(std::string_view text);
  const std::string& text() const { return text_; }
  // With auto width or height the label takes the measured size of its text.
  void set_auto_size(bool width, bool height);
  void add_link(const rect& area, std::string address);
  // The size of the text at the last layout (DIPs).
  sizef text_size() const { return measured_; }

  void paint() override;

 private:
  void layout();
  void apply_text_format(drawing_surface& s) const;
  // The address of the link region under the mouse, or null.
  const std::string* link_under_mouse() const;

  struct link {
    rect area;
    std::string address;
  };
  std::string text_;
  bool auto_width_ = false;
  bool auto_height_ = false;
  std::vector<link> links_;
  sizef measured_;
};

}  // namespace hxsdk::ui
