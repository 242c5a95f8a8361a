#pragma once

#include "AE_Effect.h"

// What tests/modules/crash_fault_module.cpp faults on: a null write on the host's thread that
// sent the command; a stack overflow there (the handler can only run on its alternate stack); a
// null write inside a job on the module's render thread. Then the names a debugger gives the
// frames of a backtrace of the dumps: the faulting functions, kept out of line in the module,
// and the effect's own code under them that an optimiser cannot take off the stack: the entry
// point's barrier, which catches the fault's exception, and the render thread's body, which
// every frame of its start routine names.
namespace crash_fault {
inline constexpr PF_Cmd kFaultInCommand = PF_Cmd_DO_DIALOG;
inline constexpr PF_Cmd kStackOverflowInCommand = PF_Cmd_COMPLETELY_GENERAL;
inline constexpr PF_Cmd kFaultInRenderJob = PF_Cmd_ARBITRARY_CALLBACK;
inline constexpr char kCommandFaultFunction[] = "crash_test_fault_in_command";
inline constexpr char kRenderJobFaultFunction[] = "crash_test_fault_in_render_job";
inline constexpr char kCommandFunction[] = "run_plugin_entry";
inline constexpr char kRenderThreadFunction[] = "BasicRendererThread<";
}  // namespace crash_fault
