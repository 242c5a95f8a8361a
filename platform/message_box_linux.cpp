#include "platform/message_box.h"

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

namespace hxsdk {
namespace {

std::mutex& sink_mutex() {
  static std::mutex mutex;
  return mutex;
}

MessageBoxSink& current_sink() {
  static MessageBoxSink sink;
  return sink;
}

}  // namespace

void show_message_box(NativeWindow, std::string_view title, std::string_view text) {
  std::lock_guard lock(sink_mutex());
  if (current_sink()) {
    current_sink()(title, text);
    return;
  }
  std::string line;
  line.reserve(title.size() + text.size() + 3);
  line.append(title).append(": ").append(text).push_back('\n');
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

MessageBoxSink set_message_box_sink(MessageBoxSink sink) {
  std::lock_guard lock(sink_mutex());
  return std::exchange(current_sink(), std::move(sink));
}

}  // namespace hxsdk
