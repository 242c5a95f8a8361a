#pragma once

#include "AE_Effect.h"

// The commands on which tests/modules/crash_fault_module.cpp faults on purpose, and the names
// a debugger gives the frames of a backtrace of its dumps.
namespace crash_fault {

// A null write in the module's code, on the host thread that sent the command.
inline constexpr PF_Cmd kFaultInCommand = PF_Cmd_DO_DIALOG;
// Recursion until the stack overflows, on the host thread: the handler can only run on its
// alternate stack.
inline constexpr PF_Cmd kStackOverflowInCommand = PF_Cmd_COMPLETELY_GENERAL;
// A null write inside a job on the module's render thread.
inline constexpr PF_Cmd kFaultInRenderJob = PF_Cmd_ARBITRARY_CALLBACK;

// The faulting functions, kept out of line in the test module.
inline constexpr char kCommandFaultFunction[] = "crash_test_fault_in_command";
inline constexpr char kRenderJobFaultFunction[] = "crash_test_fault_in_render_job";
// Frames of the effect's own code under them, in functions no optimiser can merge into their
// callers: the entry point's barrier, and the render thread's job loop.
inline constexpr char kCommandFunction[] = "run_plugin_entry";
inline constexpr char kRenderThreadFunction[] = "serve_jobs";

}  // namespace crash_fault
