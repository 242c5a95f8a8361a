#include "plugin/plugin_entry.h"

#include <cstdint>
#include <cstring>
#include <exception>
#include <string>

#include "AE_EffectCB.h"
#include "crash/crash_translator.h"
#include "plugin/fatal_error.h"
#include "plugin/hx_exception.h"
#include "plugin/product_info.h"

namespace {

// Commands beyond this are not meant for effects; they are answered without looking at
// anything the host passed.
constexpr std::int32_t kLastAcceptedCommand = 10000;

// The global data's block holds nothing but the object's address. Hosts make no promise
// about a block's alignment, so the address is copied in and out bytewise.
void store_plugin(PF_Handle handle, AePlugin* plugin) {
  std::memcpy(*handle, &plugin, sizeof plugin);
}

AePlugin* stored_plugin(PF_Handle handle) {
  AePlugin* plugin = nullptr;
  std::memcpy(&plugin, *handle, sizeof plugin);
  return plugin;
}

void require_records(const PF_InData* in_data, const PF_OutData* out_data) {
  if (in_data == nullptr || out_data == nullptr) {
    throw hx_exception(std::string(product::kName) +
                       " received a command without the host's in-data or out-data record.");
  }
}

void create_plugin(PluginFactory make_plugin, PF_InData& in_data, PF_OutData& out_data) {
  if (in_data.utils == nullptr || in_data.utils->host_new_handle == nullptr) {
    throw hx_exception(std::string(product::kName) +
                       " cannot start: the host offers no handle allocation.");
  }
  const PF_Handle handle = in_data.utils->host_new_handle(sizeof(AePlugin*));
  if (handle == nullptr || *handle == nullptr) {
    throw hx_exception(std::string(product::kName) +
                       " cannot start: the host could not allocate its global data.");
  }
  out_data.global_data = handle;
  in_data.global_data = handle;
  store_plugin(handle, nullptr);
  store_plugin(handle, make_plugin().release());
}

AePlugin& plugin_of(const PF_InData& in_data) {
  AePlugin* plugin = in_data.global_data != nullptr && *in_data.global_data != nullptr
                         ? stored_plugin(in_data.global_data)
                         : nullptr;
  if (plugin == nullptr) {
    throw hx_exception(std::string(product::kName) +
                       " received a command before its global setup.");
  }
  return *plugin;
}

void destroy_plugin(PF_InData& in_data, PF_OutData& out_data) {
  const PF_Handle handle = in_data.global_data;
  delete stored_plugin(handle);
  in_data.utils->host_dispose_handle(handle);
  in_data.global_data = nullptr;
  out_data.global_data = nullptr;
}

}  // namespace

PF_Err run_plugin_entry(PluginFactory make_plugin, PF_Cmd command, PF_InData* in_data,
                        PF_OutData* out_data, PF_ParamList params, void* extra) noexcept {
  if (static_cast<std::int32_t>(command) > kLastAcceptedCommand) {
    return PF_Err_NONE;
  }
  try {
    require_records(in_data, out_data);
    if (command == PF_Cmd_GLOBAL_SETUP) {
      // From here on a hardware fault on this thread becomes a crash report and an exception
      // this barrier catches, instead of taking the host down.
      install_crash_translator();
      create_plugin(make_plugin, *in_data, *out_data);
    }
    const PF_Err result = plugin_of(*in_data).dispatch(command, in_data, out_data, params, extra);
    if (command == PF_Cmd_GLOBAL_SETDOWN) {
      destroy_plugin(*in_data, *out_data);
    }
    return result;
  } catch (const std::exception& error) {
    show_fatal_error(&error, in_data);
  } catch (...) {
    show_fatal_error(nullptr, in_data);
  }
  return PF_Err_INTERNAL_STRUCT_DAMAGED;
}
