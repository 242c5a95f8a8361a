#pragma once

#include "AE_Effect.h"
#include "platform/message_box.h"

// The host's main window, the owner of the module's own windows; null when the host has
// none or `in_data` (which may be null) carries no utility callbacks.
hxsdk::NativeWindow host_main_window(PF_InData* in_data);
