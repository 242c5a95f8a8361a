#pragma once

#include <functional>
#include <string_view>

namespace hxsdk {

// Diagnostic lines (timings, build logs) for whoever is listening. By default they go to
// standard error when LUNAFORM_DEBUG is set in the environment and are dropped otherwise.
// Safe to call from any thread.
void debug_output(std::string_view text);

// printf-style convenience: formats, then hands the text to debug_output.
void debug_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Replaces the destination of debug_output (tests read the lines this way). An empty
// function restores the default. Returns the previous sink.
using DebugSink = std::function<void(std::string_view)>;
DebugSink set_debug_sink(DebugSink sink);

}  // namespace hxsdk
