#pragma once

#include <memory>

#include "AE_Effect.h"
#include "plugin/ae_plugin.h"

// Makes the plug-in object at global setup.
using PluginFactory = std::unique_ptr<AePlugin> (*)();

// Everything the module's exported entry point does, around whichever plug-in object
// `make_plugin` makes (the module passes its real one; tests pass their own):
// - commands above 10000 return 0 at once, touching nothing;
// - global setup installs the crash translator on the calling thread (crash/crash_translator.h),
//   so that a hardware fault there is answered like an exception;
// - global setup allocates the global-data handle and creates the object into it, global
//   setdown destroys both; every command reaches the object through the global data;
// - it is the module's only exception barrier: an exception escaping any of this is shown
//   to the user with show_fatal_error and answered with 512 (PF_Err_INTERNAL_STRUCT_DAMAGED).
// Returns the host error code for the command. Never throws.
PF_Err run_plugin_entry(PluginFactory make_plugin, PF_Cmd command, PF_InData* in_data,
                        PF_OutData* out_data, PF_ParamList params, void* extra) noexcept;
