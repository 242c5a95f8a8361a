#pragma once

namespace hxsdk::ui {

// SDL wakes a thread waiting for events by sending a message, on a connection of its own, to one
// of the process's windows. When that window is destroyed on the main connection before the
// server gets to the message, the server answers with BadWindow, and Xlib's default handler
// ends the whole process for it. This lets that one harmless error pass and hands every other
// error to the handler that was there before (the host's, or Xlib's own).
void pass_wakeups_to_destroyed_windows();

}  // namespace hxsdk::ui
