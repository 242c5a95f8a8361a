#include "plugin/about.h"

#include <exception>

#include "plugin/product_info.h"
#include "ui/about_dialog.h"
#include "ui/display.h"

void show_about(hxsdk::NativeWindow owner) {
  if (hxsdk::ui::display_available()) {
    try {
      hxsdk::ui::AboutDialog dialog(owner);
      dialog.run_modal();
      return;
    } catch (const std::exception&) {
      // The display cannot be reached: say the same on standard error below.
    }
  }
  hxsdk::show_message_box(owner, product::kName, product::name_and_version());
}
