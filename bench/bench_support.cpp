#include "bench/bench_support.h"

#include <memory>
#include <string_view>

#include "plugin/ae_plugin_connection.h"
#include "plugin/plugin_entry.h"

namespace bench_support {

PF_Err effect_entry(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data, PF_ParamList params,
                    PF_LayerDef*, void* extra) {
  return run_plugin_entry(
      []() -> std::unique_ptr<AePlugin> { return std::make_unique<AePluginConnection>(); }, command,
      in_data, out_data, params, extra);
}

TimingLines::TimingLines()
    : previous_(hxsdk::set_debug_sink([this](std::string_view line) {
        const size_t colon = line.find(": ");
        if (colon == std::string_view::npos || line.find(" ms") == std::string_view::npos) {
          return;
        }
        std::lock_guard lock(mutex_);
        totals_[std::string(line.substr(0, colon))] +=
            std::stod(std::string(line.substr(colon + 2)));
      })) {}

TimingLines::~TimingLines() {
  hxsdk::set_debug_sink(std::move(previous_));
}

double TimingLines::total(const std::string& name) {
  std::lock_guard lock(mutex_);
  return totals_[name];
}

void require(PF_Err result, benchmark::State& state, const char* command) {
  if (result != PF_Err_NONE) {
    state.SkipWithError((std::string(command) + " failed").c_str());
  }
}

}  // namespace bench_support
