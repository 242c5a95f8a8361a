#pragma once

namespace hxsdk::ui {

// Whether windows can be shown to a person: a display is named (DISPLAY is set and not empty).
// Without one, everything that would open a window writes its text to standard error instead,
// so nothing ever waits for a user on a server or in a batch render.
bool display_available();

}  // namespace hxsdk::ui
