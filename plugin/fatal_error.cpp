#include "plugin/fatal_error.h"

#include <string>

#include "AE_EffectCB.h"
#include "platform/message_box.h"
#include "plugin/host_main_window.h"
#include "plugin/product_info.h"

void show_fatal_error(const std::exception* error, PF_InData* in_data) noexcept {
  try {
    const hxsdk::NativeWindow owner = host_main_window(in_data);
    const std::string title = std::string(product::kName) + " Exception";
    const std::string text =
        error != nullptr ? std::string(error->what())
                         : std::string(product::kName) + " has encountered an unrecoverable error.";
    hxsdk::show_message_box(owner, title, text);
  } catch (...) {
    // Out of memory while reporting: the host still receives the error code, and there is
    // no one left to tell.
  }
}
