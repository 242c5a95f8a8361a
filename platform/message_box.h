#pragma once

#include <functional>
#include <string_view>

namespace hxsdk {

// A native window handle: what the host hands out as its main window.
using NativeWindow = void*;

// Shows a message to the user in a modal popup owned by `owner` (may be null) and returns once
// it is closed. Without a display, or when the display cannot be reached, the message is
// written to standard error as one "title: text" line instead, so nothing ever waits for a
// user. Callers are serialised: one message at a time, from any thread.
void show_message_box(NativeWindow owner, std::string_view title, std::string_view text);

// Replaces the destination of show_message_box (tests read the messages this way). An
// empty function restores the default. Returns the previous sink.
using MessageBoxSink = std::function<void(std::string_view title, std::string_view text)>;
MessageBoxSink set_message_box_sink(MessageBoxSink sink);

}  // namespace hxsdk
