#pragma once

#include <exception>

#include "AE_Effect.h"

// The entry point's report of an exception that escaped a command: a message box titled
// "Lunaform Exception", owned by the host's main window, showing the exception's text, or
// a fixed text when the exception is not a std::exception (`error` null). `in_data` may be
// null. Never throws: it runs on the way out of the module's only exception barrier.
void show_fatal_error(const std::exception* error, PF_InData* in_data) noexcept;
