#include "host/command_result.h"

#include "host/host_error.h"

namespace lunaform::host {

void require_success(PF_Err result, const std::string& what) {
  if (result == PF_Err_OUT_OF_MEMORY) {
    throw OutOfMemoryError(what + " ran out of memory");
  }
  if (result != PF_Err_NONE) {
    throw HostError(what + " failed with error " + std::to_string(result));
  }
}

std::string module_command(const std::string& command, const std::filesystem::path& module) {
  return command + " of '" + module.string() + "'";
}

}  // namespace lunaform::host
