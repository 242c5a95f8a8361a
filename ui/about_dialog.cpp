#include "ui/about_dialog.h"

#include <string>

#include "platform/shell_open.h"
#include "plugin/product_info.h"
#include "ui/native_window.h"

namespace hxsdk::ui {
namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 150;
constexpr color kPanelColor{0.137f, 0.137f, 0.137f, 1.0f};
constexpr color kTransparent{0.0f, 0.0f, 0.0f, 0.0f};
constexpr color kGrey{0.725f, 0.725f, 0.725f, 1.0f};
constexpr color kBlue{0.176f, 0.549f, 0.922f, 1.0f};
constexpr color kWhite{1.0f, 1.0f, 1.0f, 1.0f};
constexpr color kBlack{0.0f, 0.0f, 0.0f, 1.0f};
constexpr int kCursorArrow = 0;
constexpr int kCursorHand = 6;

}  // namespace

AboutDialog::AboutDialog(native_handle owner) {
  create(owner, product::kName, {0, 0, kWidth, kHeight});

  root().place_child(panel_, {0, 0, kWidth, kHeight});
  panel_.set_style("default_back_color", kPanelColor);

  place_label(title_, 15, kGrey, product::name_and_version().c_str());
  place_label(link_, 50, kBlue, product::kWebHost);
  place_label(notice_, 85, kGrey, "Made with care in Brightmoor");

  connect_to(link_, event::mouse_up, [this](const event_info&) { open_page(); });
  connect_to(link_, event::mouse_enter, [this](const event_info&) { set_link_hover(true); });
  connect_to(link_, event::mouse_leave, [this](const event_info&) { set_link_hover(false); });

  panel_.place_child(ok_, {65, 115, 80, 20});
  for (const char* key : {"button_color_normal", "button_color_hover"}) {
    ok_.set_style(key, kBlue);
  }
  ok_.set_style("button_color_pressed", kGrey);
  for (const char* key :
       {"button_border_color_normal", "button_border_color_hover", "button_border_color_focus"}) {
    ok_.set_style(key, kTransparent);
  }
  for (const char* key : {"button_font_color", "button_font_color_hover"}) {
    ok_.set_style(key, kWhite);
  }
  ok_.set_style("button_font_color_pressed", kBlack);
  ok_.set_caption("OK");
  connect_to(ok_, event::activated, [this](const event_info&) { end_modal(0); });

  center_on_owner();
  page_address_ = product::page_address();
}

void AboutDialog::place_label(text_label& label, int y, const color& text_color, const char* text) {
  panel_.place_child(label, {0, y, kWidth, 20});
  label.set_style("label_text_align", 1);
  label.set_style("default_back_color", kTransparent);
  label.set_style("label_font_color", text_color);
  label.set_text(text);
}

void AboutDialog::open_page() {
  hxsdk::open_with_shell(page_address_);
}

void AboutDialog::set_link_hover(bool hover) {
  // Setting the style fires the label's style event, which lays it out and repaints it.
  link_.set_style("label_text_underlined", hover);
  set_cursor(hover ? kCursorHand : kCursorArrow);
}

}  // namespace hxsdk::ui
