// What a frame costs at 1920 x 1080: global setup (GL context, OpenCL device, programs and
// kernels, the sphere mesh) and each stage of a frame (input, the samples, output) at 8 and 32
// bits per channel, without and with multisampling, with one sample and with six motion-blur
// samples. Stage times are the module's own timing lines, averaged over the iterations.
#include <benchmark/benchmark.h>

#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "host/composition.h"
#include "host/effect_host.h"
#include "platform/debug_output.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/plugin_entry.h"

namespace {

using lunaform::host::Animated;
using lunaform::host::Composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::Layer;

// The module's entry logic around its plug-in object, in this process, so that its timing
// lines reach this program's debug sink.
PF_Err effect_entry(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data, PF_ParamList params,
                    PF_LayerDef*, void* extra) {
  return run_plugin_entry(
      []() -> std::unique_ptr<AePlugin> { return std::make_unique<AePluginConnection>(); }, command,
      in_data, out_data, params, extra);
}

// Sums the milliseconds of every "NAME: X ms" timing line written while alive.
class TimingLines {
 public:
  TimingLines()
      : previous_(hxsdk::set_debug_sink([this](std::string_view line) {
          const size_t colon = line.find(": ");
          if (colon == std::string_view::npos || line.find(" ms") == std::string_view::npos) {
            return;
          }
          std::lock_guard lock(mutex_);
          totals_[std::string(line.substr(0, colon))] +=
              std::stod(std::string(line.substr(colon + 2)));
        })) {}
  ~TimingLines() { hxsdk::set_debug_sink(std::move(previous_)); }

  double total(const std::string& name) {
    std::lock_guard lock(mutex_);
    return totals_[name];
  }

 private:
  std::mutex mutex_;
  std::map<std::string, double> totals_;
  hxsdk::DebugSink previous_;
};

void require(PF_Err result, benchmark::State& state, const char* command) {
  if (result != PF_Err_NONE) {
    state.SkipWithError((std::string(command) + " failed").c_str());
  }
}

void BM_GlobalSetup(benchmark::State& state) {
  for (auto _ : state) {
    EffectHost host(&effect_entry);
    require(host.global_setup(), state, "global setup");
    state.PauseTiming();
    require(host.global_setdown(), state, "global setdown");
    state.ResumeTiming();
  }
}
BENCHMARK(BM_GlobalSetup)->Unit(benchmark::kMillisecond)->Iterations(5);

// Arguments: bits per channel, "Multisampling" choice (1: none, 4: the default of 8 samples,
// which the GPU may clamp), motion-blur samples (1: blur off).
void BM_Frame(benchmark::State& state) {
  const int bits = static_cast<int>(state.range(0));
  const double multisampling = static_cast<double>(state.range(1));
  const int motion_samples = static_cast<int>(state.range(2));

  EffectHost host(&effect_entry);
  require(host.global_setup(), state, "global setup");
  require(host.params_setup(), state, "parameter setup");
  require(host.sequence_setup(), state, "sequence setup");
  Composition comp;
  Layer sphere;
  sphere.name = "Sphere";
  EffectLayer effect;
  effect.params["Multisampling"] = Animated<double>(multisampling);
  if (motion_samples > 1) {
    effect.params["Motion Blur"] = Animated<double>(2.0);  // "On"
    effect.params["Motion Blur Samples"] = Animated<double>(motion_samples);
  } else {
    effect.params["Motion Blur"] = Animated<double>(3.0);  // "Off"
  }
  sphere.content = effect;
  comp.layers.push_back(sphere);
  host.set_composition(std::move(comp));
  host.settings().bits_per_channel = bits;

  TimingLines timings;
  for (auto _ : state) {
    require(host.smart_pre_render(), state, "smart pre-render");
    require(host.smart_render(), state, "smart render");
  }
  const double frames = static_cast<double>(state.iterations());
  state.counters["input_ms"] = timings.total("Input Render") / frames;
  state.counters["per_sample_ms"] = timings.total("Render") / frames / motion_samples;
  state.counters["output_ms"] = timings.total("Output Render") / frames;
  state.counters["full_ms"] = timings.total("Full Render") / frames;
  require(host.sequence_setdown(), state, "sequence setdown");
  require(host.global_setdown(), state, "global setdown");
}
BENCHMARK(BM_Frame)
    ->ArgNames({"bpc", "multisampling_choice", "samples"})
    ->ArgsProduct({{8, 32}, {1, 4}, {1, 6}})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

}  // namespace
