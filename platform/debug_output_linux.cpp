#include "platform/debug_output.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

namespace hxsdk {
namespace {

std::mutex& sink_mutex() {
  static std::mutex mutex;
  return mutex;
}

DebugSink& current_sink() {
  static DebugSink sink;
  return sink;
}

}  // namespace

void debug_output(std::string_view text) {
  std::lock_guard lock(sink_mutex());
  if (current_sink()) {
    current_sink()(text);
    return;
  }
  static const bool enabled = std::getenv("LUNAFORM_DEBUG") != nullptr;
  if (enabled) {
    std::fwrite(text.data(), 1, text.size(), stderr);
  }
}

void debug_printf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  if (length > 0) {
    std::vsnprintf(text.data(), text.size() + 1, format, args);
  }
  va_end(args);
  debug_output(text);
}

DebugSink set_debug_sink(DebugSink sink) {
  std::lock_guard lock(sink_mutex());
  return std::exchange(current_sink(), std::move(sink));
}

}  // namespace hxsdk
