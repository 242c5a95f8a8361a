#pragma once

#include <signal.h>
#include <sys/ucontext.h>

#include "crash/crash_report_path.h"

namespace crash {

// Writes the crash report of a fault on the calling thread, described by `info` and `context`
// as the fault handler received them, and sets `dump_path` to the report's path.
//
// The report goes to "Brightmoor/Error Logs" in the user's documents folder, or in the
// temporary folder when there is no documents folder; "Error Logs" is created when missing,
// its parent is not. The path is set even when the file could not be written (no parent
// folder, no space), so that the user is told where the report was meant to be.
// Allocates no heap memory; async-signal-safe but for the local time (see the .cpp).
void write_crash_report(const siginfo_t& info, const ucontext_t& context,
                        PathText& dump_path) noexcept;

}  // namespace crash
