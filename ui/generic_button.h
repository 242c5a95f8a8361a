#pragma once

#include <string>
#include <string_view>

#include "ui/image.h"
#include "ui/widget.h"

namespace hxsdk::ui {

// A push button, or with toggleable a two-state one, drawn from the "button_" styles. Fires
// activated (38) with its toggle state on a left release over it or on Enter while it has the
// focus; where the press began does not matter.
class generic_button : public widget {
 public:
  generic_button();

  void set_caption(std::string_view caption);
  const std::string& caption() const { return caption_; }
  void set_toggleable(bool toggleable) { toggleable_ = toggleable; }
  bool toggled() const { return toggled_; }
  bool hovered() const { return hovered_; }
  bool pressed() const { return pressed_; }

  void paint() override;

 private:
  void set_state(bool& flag, bool value);
  void activate();
  void load_background();

  std::string caption_;
  bool hovered_ = false;
  bool toggled_ = false;
  bool pressed_ = false;
  bool toggleable_ = false;
  image background_;
};

}  // namespace hxsdk::ui
