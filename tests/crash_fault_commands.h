#pragma once

#include "AE_Effect.h"

// The commands on which the crash_fault_module test module faults on purpose.
namespace crash_fault {

// Writes through a null pointer in the module's code, on the host thread that sent it.
inline constexpr PF_Cmd kFaultInCommand = PF_Cmd_DO_DIALOG;
// Recurses until the stack overflows, on the host thread that sent it: the fault handler can
// only run on its alternate stack.
inline constexpr PF_Cmd kStackOverflowInCommand = PF_Cmd_COMPLETELY_GENERAL;
// Writes through a null pointer inside a job on the module's render thread.
inline constexpr PF_Cmd kFaultInRenderJob = PF_Cmd_ARBITRARY_CALLBACK;

// The functions that fault, as a debugger names them in a backtrace.
inline constexpr char kCommandFaultFunction[] = "crash_test_fault_in_command";
inline constexpr char kRenderJobFaultFunction[] = "crash_test_fault_in_render_job";

}  // namespace crash_fault
