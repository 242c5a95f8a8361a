#pragma once

#include "host/controls_panel.h"
#include "host/main_window.h"

namespace lunaform::host {

// Shows `panel` in `window`, sized to it, until the user closes the window (Escape or its close
// box). Pointer moves reach the controls as cursor events, presses and releases as clicks and
// drags, and the panel is drawn again after each, so a control's hover shows at once. While
// the module's toolkit marks the window disabled (a module dialog runs modally over it), input
// is ignored. Returns the first failure the module reported for an event, PF_Err_NONE when
// none did. On the thread that made the window.
PF_Err show_controls_window(MainWindow& window, ControlsPanel& panel);

}  // namespace lunaform::host
