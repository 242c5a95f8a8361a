// Long runs in one process: a thousand frames, and a hundred global setups and setdowns of the
// module. What they must show is flat: resident memory, open descriptors and threads at the end
// as after the first stretch, once caches and the drivers' pools have filled.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench/bench_support.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "tests/resident_memory.h"

namespace {

using bench_support::effect_entry;
using bench_support::require;
using lunaform::host::Composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::Layer;

double open_descriptors() {
  const std::filesystem::directory_iterator fds("/proc/self/fd");
  return static_cast<double>(std::distance(fds, std::filesystem::directory_iterator()));
}

double threads() {
  std::ifstream status("/proc/self/status");
  for (std::string key; status >> key;) {
    if (key == "Threads:") {
      double count = 0;
      status >> count;
      return count;
    }
    status.ignore(4096, '\n');
  }
  return 0;
}

// A small frame keeps the thousand quick; a leak of anything per frame shows all the same.
Composition small_sphere() {
  Composition comp;
  comp.width = 480;
  comp.height = 270;
  comp.duration = 1000.0 / 30.0;
  Layer sphere;
  sphere.name = "Sphere";
  sphere.content = EffectLayer{};
  comp.layers.push_back(sphere);
  return comp;
}

void BM_ThousandFrames(benchmark::State& state) {
  for (auto _ : state) {
    EffectHost host(&effect_entry);
    require(host.global_setup(), state, "global setup");
    require(host.params_setup(), state, "parameter setup");
    require(host.sequence_setup(), state, "sequence setup");
    host.set_composition(small_sphere());
    for (int frame = 1; frame <= 1000; ++frame) {
      host.settings().current_time = (frame - 1) * host.settings().time_step;
      require(host.smart_pre_render(), state, "smart pre-render");
      require(host.smart_render(), state, "smart render");
      if (frame == 100 || frame == 1000) {
        state.counters["rss_mb_frame_" + std::to_string(frame)] = resident_mb();
      }
    }
    require(host.sequence_setdown(), state, "sequence setdown");
    require(host.global_setdown(), state, "global setdown");
  }
}
BENCHMARK(BM_ThousandFrames)->Unit(benchmark::kSecond)->Iterations(1);

// Each cycle starts the GL context, the OpenCL device and the render thread and ends them. The
// drivers keep worker pools from the first cycle on, so cycle 10 is the baseline for cycle 100.
void BM_HundredSetupCycles(benchmark::State& state) {
  for (auto _ : state) {
    const double fds_before = open_descriptors();
    const double threads_before = threads();
    for (int cycle = 1; cycle <= 100; ++cycle) {
      EffectHost host(&effect_entry);
      require(host.global_setup(), state, "global setup");
      require(host.global_setdown(), state, "global setdown");
      if (cycle == 10 || cycle == 100) {
        const std::string at = "_cycle_" + std::to_string(cycle);
        state.counters["rss_mb" + at] = resident_mb();
        state.counters["fds" + at] = open_descriptors();
        state.counters["threads" + at] = threads();
      }
    }
    state.counters["fds_before"] = fds_before;
    state.counters["threads_before"] = threads_before;
  }
}
BENCHMARK(BM_HundredSetupCycles)->Unit(benchmark::kSecond)->Iterations(1);

}  // namespace
