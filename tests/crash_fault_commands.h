#pragma once

#include "AE_Effect.h"

// The commands tests/modules/crash_fault_module.cpp faults on (a null write, a stack overflow
// that only an alternate stack survives, a null write in a render job), and the frames a
// backtrace of each dump must show: the faulting function and the effect's code under it.
namespace crash_fault {
inline constexpr PF_Cmd kFaultInCommand = PF_Cmd_DO_DIALOG;
inline constexpr PF_Cmd kStackOverflowInCommand = PF_Cmd_COMPLETELY_GENERAL;
inline constexpr PF_Cmd kFaultInRenderJob = PF_Cmd_ARBITRARY_CALLBACK;
inline constexpr char kCommandFaultFunction[] = "crash_test_fault_in_command";
inline constexpr char kRenderJobFaultFunction[] = "crash_test_fault_in_render_job";
inline constexpr char kCommandFunction[] = "run_plugin_entry";
inline constexpr char kRenderThreadFunction[] = "BasicRendererThread<";
}  // namespace crash_fault
