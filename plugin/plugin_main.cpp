// The module's exported surface: the PiPL record that hosts read from the file, and the two
// functions they call. Everything else of the module is hidden.
#include <cstdint>
#include <memory>

#include "AE_Effect.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/pipl_record.h"
#include "plugin/plugin_entry.h"
#include "plugin/product_info.h"

namespace {

// Hosts on Linux read the PiPL from this section of the module file, as Windows hosts read
// the "PIPL" resource.
__attribute__((section(".pipl"), used)) const auto kPipl = pipl::kLunaformRecord;

std::unique_ptr<AePlugin> make_connection() {
  return std::make_unique<AePluginConnection>();
}

}  // namespace

extern "C" __attribute__((visibility("default"))) PF_Err PluginMain(
    PF_Cmd command, PF_InData* in_data, PF_OutData* out_data, PF_ParamList params,
    PF_LayerDef* /*output: the effect renders through Smart Render only*/, void* extra) {
  return run_plugin_entry(make_connection, command, in_data, out_data, params, extra);
}

// Writes major, minor, patch and build into version[0..3]; returns `version`.
extern "C" __attribute__((visibility("default"))) std::uint32_t* GetPluginVersion(
    std::uint32_t* version) {
  version[0] = product::kVersionMajor;
  version[1] = product::kVersionMinor;
  version[2] = product::kVersionPatch;
  version[3] = product::kBuild;
  return version;
}
