#pragma once

#include <string>
#include <string_view>

#include "ui/image.h"
#include "ui/widget.h"

namespace hxsdk::ui {

// A box with a text beside it, drawn from the "checkbox_" styles. Any mouse release over it and
// Space while it has the focus toggle it, firing toggled (37) before (phase 0) and after
// (phase 2) the state flips. A bound flag mirrors the state.
class check_box : public widget {
 public:
  check_box();

  void set_text(std::string_view text);
  const std::string& text() const { return text_; }
  // `flag` (may be null) is written with every change of the state; it must outlive the box.
  void bind(bool* flag) { bound_ = flag; }
  // Sets the state without the toggled events.
  void set_checked(bool checked);
  bool checked() const { return checked_; }
  bool hovered() const { return hovered_; }
  void toggle();

  void paint() override;

 private:
  void set_hovered(bool hovered);
  void reload_image();

  std::string text_;
  bool checked_ = false;
  bool hovered_ = false;
  bool* bound_ = nullptr;
  image image_;
};

}  // namespace hxsdk::ui
