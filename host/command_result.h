#pragma once

#include <filesystem>
#include <string>

#include "AE_Effect.h"

namespace lunaform::host {

// Throws HostError with one line "WHAT failed with error N" (N the module's PF_Err, as a
// number) unless `result` is PF_Err_NONE; OutOfMemoryError "WHAT ran out of memory" for
// PF_Err_OUT_OF_MEMORY. `what` names the command and, where it helps, its
// subject: "global setup of 'liblunaform.so'", "Smart Render of frame 3". Pure function.
void require_success(PF_Err result, const std::string& what);

// The name of a command sent to the module in `module`, for require_success: "global setup of
// 'liblunaform.so'". Pure function.
std::string module_command(const std::string& command, const std::filesystem::path& module);

}  // namespace lunaform::host
