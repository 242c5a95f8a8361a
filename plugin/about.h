#pragma once

#include "platform/message_box.h"

// Tells the user which effect and version this is, owned by the host's main window.
void show_about(hxsdk::NativeWindow owner);
