#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <mutex>
#include <string>

#include "AE_Effect.h"
#include "platform/debug_output.h"

// What the benchmarks share: the module in this process and its timing lines.
namespace bench_support {

// The module's entry logic around its plug-in object, in this process, so that its timing
// lines reach this program's debug sink.
PF_Err effect_entry(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data, PF_ParamList params,
                    PF_LayerDef* output, void* extra);

// Sums the milliseconds of every "NAME: X ms" timing line written while alive.
class TimingLines {
 public:
  TimingLines();
  ~TimingLines();
  TimingLines(const TimingLines&) = delete;
  TimingLines& operator=(const TimingLines&) = delete;

  double total(const std::string& name);

 private:
  std::mutex mutex_;
  std::map<std::string, double> totals_;
  hxsdk::DebugSink previous_;
};

// Ends the benchmark with an error naming the command when it failed.
void require(PF_Err result, benchmark::State& state, const char* command);

}  // namespace bench_support
