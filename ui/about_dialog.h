#pragma once

#include <string>

#include "ui/generic_button.h"
#include "ui/generic_panel.h"
#include "ui/text_label.h"
#include "ui/window.h"

namespace hxsdk::ui {

// The effect's About box: name and version, the maker's web address (a link to the product
// page), a notice line and an OK button, on a dark panel. Built whole by the constructor; the
// caller runs it with run_modal(), which gives 0 for OK and for the close box.
class AboutDialog : public window {
 public:
  explicit AboutDialog(native_handle owner);

  const std::string& page_address() const { return page_address_; }
  text_label& title_label() { return title_; }
  text_label& link_label() { return link_; }
  generic_button& ok_button() { return ok_; }

 private:
  void place_label(text_label& label, int y, const color& text_color, const char* text);
  void open_page();
  void set_link_hover(bool hover);

  generic_panel panel_;
  text_label title_;
  text_label link_;
  text_label notice_;
  generic_button ok_;
  std::string page_address_;
};

}  // namespace hxsdk::ui
