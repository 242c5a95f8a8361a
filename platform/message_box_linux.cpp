#include "platform/message_box.h"

#include <cstdio>
#include <exception>
#include <mutex>
#include <string>
#include <utility>

#include "ui/display.h"
#include "ui/message_popup.h"

namespace hxsdk {
namespace {

constexpr int kPopupWidth = 500;

std::mutex& sink_mutex() {
  static std::mutex mutex;
  return mutex;
}

MessageBoxSink& current_sink() {
  static MessageBoxSink sink;
  return sink;
}

void write_to_standard_error(std::string_view title, std::string_view text) {
  std::string line;
  line.reserve(title.size() + text.size() + 3);
  line.append(title).append(": ").append(text).push_back('\n');
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

// True when the popup was shown and closed by the user.
bool show_popup(NativeWindow owner, std::string_view title, std::string_view text) {
  try {
    ui::message_popup popup(kPopupWidth);
    popup.create(owner, title, text);
    popup.run_modal();
    return true;
  } catch (const std::exception&) {
    // The display named cannot be reached: the message still goes out, on standard error.
    return false;
  }
}

}  // namespace

void show_message_box(NativeWindow owner, std::string_view title, std::string_view text) {
  std::lock_guard lock(sink_mutex());
  if (current_sink()) {
    current_sink()(title, text);
    return;
  }
  if (ui::display_available() && show_popup(owner, title, text)) {
    return;
  }
  write_to_standard_error(title, text);
}

MessageBoxSink set_message_box_sink(MessageBoxSink sink) {
  std::lock_guard lock(sink_mutex());
  return std::exchange(current_sink(), std::move(sink));
}

}  // namespace hxsdk
