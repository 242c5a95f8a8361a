#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ui/check_box.h"
#include "ui/generic_button.h"
#include "ui/image.h"
#include "ui/window.h"

namespace hxsdk::ui {

// The toolkit's modal message box: an icon, a wrapped text, an "OK" button, an optional second
// button and a "Do not show this again" check box (made inactive: no caller asks for it yet).
// run_modal() gives 1 for OK; 0 for the second button, Escape and the close box; Enter gives 1
// when there are two buttons, else 0.
class message_popup : public window {
 public:
  // `width` is the client width in DIPs; the height follows from the text.
  explicit message_popup(int width);

  // Creates the window owned by `owner` (may be null) and lays it out with the OK button only.
  void create(native_handle owner, std::string_view title, std::string_view text);

  // Where the layout put things (DIPs), for whoever needs to know.
  const rect& text_area() const { return text_area_; }
  generic_button& ok_button() { return ok_; }
  generic_button& second_button() { return second_; }
  check_box& do_not_show_again() { return do_not_show_; }

 private:
  void lay_out();
  void paint_background();
  void restyle(const std::string& key);
  // Decodes "message_popup_image"; no icon when it has no data or does not decode.
  void load_icon();
  void apply_text_format();

  generic_button ok_;
  generic_button second_;
  check_box do_not_show_;
  bool do_not_show_flag_ = false;
  std::string text_;
  std::optional<image> icon_;
  int width_;
  size button_size_{100, 30};
  int button_mode_ = 0;
  rect text_area_;
};

}  // namespace hxsdk::ui
