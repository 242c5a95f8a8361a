// What the texture maps cost: turning a 2048 x 1024 equirectangular image into the prefiltered
// environment cube on its own, and a 1920 x 1080 frame whose sphere uses all five maps (2048 x
// 1024 footage each, the planet example's textures): the first frame uploads and converts
// them, later frames find them in the cache.
#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "renderer/renderer_thread.h"
#include "scene/image_desc.h"
#include "tools/planet_textures.h"

namespace {

using lunaform::host::Animated;
using lunaform::host::Composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::FootageLayer;
using lunaform::host::Image;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using planet_textures::map_kind;

constexpr int kMapWidth = 2048;
constexpr int kMapHeight = 1024;

void BM_EnvironmentCube(benchmark::State& state) {
  const std::vector<float> rgba =
      planet_textures::make_map(map_kind::environment, kMapWidth, kMapHeight);
  std::vector<float> argb(rgba.size());
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    argb[i] = rgba[i + 3];
    argb[i + 1] = rgba[i];
    argb[i + 2] = rgba[i + 1];
    argb[i + 3] = rgba[i + 2];
  }
  image_desc image;
  image.width = kMapWidth;
  image.height = kMapHeight;
  image.bytes_per_channel = 4;
  image.row_bytes = kMapWidth * 16;
  image.data = argb.data();

  RendererThread thread;
  unsigned int source = 0;
  thread.run_on_renderer([&](Renderer& renderer) { source = renderer.upload_texture(image); });
  for (auto _ : state) {
    thread.run_on_renderer([&](Renderer& renderer) {
      const unsigned int cube = renderer.make_environment_cube(source);
      glFinish();
      renderer.delete_texture(cube);
    });
  }
  thread.run_on_renderer([&](Renderer& renderer) { renderer.delete_texture(source); });
}
BENCHMARK(BM_EnvironmentCube)->Unit(benchmark::kMillisecond)->Iterations(3);

Layer map_layer(const std::string& name, map_kind kind) {
  auto image = std::make_shared<Image>();
  image->width = kMapWidth;
  image->height = kMapHeight;
  image->rgba = planet_textures::make_map(kind, kMapWidth, kMapHeight);
  Layer layer;
  layer.name = name;
  layer.video_on = false;
  layer.content = FootageLayer{name + ".exr", std::move(image)};
  return layer;
}

// Argument: bits per channel.
void BM_FrameWithFiveMaps(benchmark::State& state) {
  EffectHost host(&bench_support::effect_entry);
  bench_support::require(host.global_setup(), state, "global setup");
  bench_support::require(host.params_setup(), state, "parameter setup");
  bench_support::require(host.sequence_setup(), state, "sequence setup");
  Composition comp;
  comp.layers.push_back(map_layer("Diffuse", map_kind::diffuse));
  comp.layers.push_back(map_layer("Bump", map_kind::bump));
  comp.layers.push_back(map_layer("Gloss", map_kind::glossiness));
  comp.layers.push_back(map_layer("Lights", map_kind::city_lights));
  comp.layers.push_back(map_layer("Sky", map_kind::environment));
  Layer sphere;
  sphere.name = "Sphere";
  EffectLayer effect;
  effect.params["Multisampling"] = Animated<double>(1.0);
  effect.params["Motion Blur"] = Animated<double>(3.0);  // "Off"
  effect.params["Diffuse Layer"] = LayerRef{"Diffuse"};
  effect.params["Bump Map Layer"] = LayerRef{"Bump"};
  effect.params["Glossiness Layer"] = LayerRef{"Gloss"};
  effect.params["Illumination Layer"] = LayerRef{"Lights"};
  effect.params["Environment Layer"] = LayerRef{"Sky"};
  effect.params["Reflectivity"] = Animated<double>(0.3);
  sphere.content = effect;
  comp.layers.push_back(sphere);
  host.set_composition(std::move(comp));
  host.settings().bits_per_channel = static_cast<int>(state.range(0));

  bench_support::TimingLines first_frame;
  bench_support::require(host.smart_pre_render(), state, "smart pre-render");
  bench_support::require(host.smart_render(), state, "smart render");
  for (const auto& [name, id] : {std::pair{"diffuse", 502},
                                 {"glossiness", 504},
                                 {"illumination", 506},
                                 {"bump", 508},
                                 {"environment", 517}}) {
    state.counters[std::string("load_") + name + "_ms"] =
        first_frame.total("Load Layer " + std::to_string(id));
  }
  state.counters["first_frame_ms"] = first_frame.total("Full Render");

  bench_support::TimingLines cached;
  for (auto _ : state) {
    bench_support::require(host.smart_pre_render(), state, "smart pre-render");
    bench_support::require(host.smart_render(), state, "smart render");
  }
  const double frames = static_cast<double>(state.iterations());
  state.counters["input_ms"] = cached.total("Input Render") / frames;
  state.counters["per_sample_ms"] = cached.total("Render") / frames;
  state.counters["output_ms"] = cached.total("Output Render") / frames;
  state.counters["full_ms"] = cached.total("Full Render") / frames;
  bench_support::require(host.sequence_setdown(), state, "sequence setdown");
  bench_support::require(host.global_setdown(), state, "global setdown");
}
BENCHMARK(BM_FrameWithFiveMaps)
    ->ArgNames({"bpc"})
    ->Args({8})
    ->Args({32})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

}  // namespace
