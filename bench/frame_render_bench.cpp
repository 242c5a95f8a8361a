// What a frame costs at 1920 x 1080: global setup (GL context, OpenCL device, programs and
// kernels, the sphere mesh) and each stage of a frame (input, the samples, output) at 8 and 32
// bits per channel, without and with multisampling, with one sample and with six motion-blur
// samples. Stage times are the module's own timing lines, averaged over the iterations.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/bench_support.h"
#include "host/composition.h"
#include "host/effect_host.h"

namespace {

using bench_support::effect_entry;
using bench_support::require;
using bench_support::TimingLines;
using lunaform::host::Animated;
using lunaform::host::Composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::Layer;

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
