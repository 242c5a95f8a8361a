// Footage through the map parameters of the effect's plug-in object in a host, with the real
// renderer: textures at every depth, uploads across frames, layers a frame must survive.
#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "host/render_frame.h"
#include "tests/e2e_plugin_support.h"
#include "tests/gpu_render_harness.h"
#include "tests/host_footage_refresh_files.h"
#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"

namespace {

using lunaform::host::Animated;
using lunaform::host::LayerRef;
using testing::IsEmpty;
using Loads = std::vector<std::string>;

// The effect's plug-in object in a host rendering a small, quick sphere beside `layers` through
// its frame path: footage refresh, Smart PreRender, Smart Render.
class FootageHost {
 public:
  explicit FootageHost(const std::vector<lunaform::host::Layer>& layers)
      : host(&e2e_plugin::entry_for<AePluginConnection>) {
    e2e_plugin::set_up_instance(host);
    lunaform::host::Composition comp = e2e_plugin::sphere_composition();
    comp.width = e2e_plugin::effect_of(comp).width = 64;
    comp.height = e2e_plugin::effect_of(comp).height = 36;
    e2e_plugin::effect_of(comp).params = {{"Multisampling", Animated<double>(1.0)},
                                          {"Radius", Animated<double>(12.0)}};
    comp.layers.insert(comp.layers.end(), layers.begin(), layers.end());
    host.set_composition(std::move(comp));
  }

  std::map<std::string, lunaform::host::ParamValue>& params() {
    return e2e_plugin::effect_of(host.composition()).params;
  }

  // Renders a frame into `output` without a complaint from the host; returns the "Load Layer
  // <id>" lines, sorted, and keeps the host's time (seconds) of each in `load_times`.
  Loads render(int frame = 0, int bits = 8) {
    host.settings().bits_per_channel = bits;
    Loads loads;
    load_times.clear();
    const e2e_plugin::DebugSinkScope debug([&](std::string_view line) {
      if (line.starts_with("Load Layer ")) {
        loads.emplace_back(line.substr(0, line.find(':')));
        load_times.push_back(double(host.in_data().current_time) / host.in_data().time_scale);
      }
    });
    output = lunaform::host::render_frame(host, frame);
    EXPECT_TRUE(host.problems().empty()) << host.problems().front();
    std::sort(loads.begin(), loads.end());
    return loads;
  }

  // The material the last frame was drawn with, as the renderer received it.
  const material_properties& drawn() { return state().scene.material; }

  // Runs GL calls where the module's context is current.
  template <typename Calls>
  void on_render_thread(Calls&& calls) {
    state().render_thread->run_on_renderer([&](Renderer&) { calls(); });
  }
  bool is_texture(unsigned int name) {
    bool result = false;
    on_render_thread([&] { result = name != 0 && glIsTexture(name) == GL_TRUE; });
    return result;
  }
  std::vector<GLint> texture_state(unsigned int name, std::initializer_list<GLenum> parameters) {
    std::vector<GLint> state;
    on_render_thread(
        [&] { state = gpu_render::texture_state(GL_TEXTURE_2D, name, parameters, 1); });
    return state;
  }

  // Empty when level 0 of texture `name` is `width` texels wide and holds the RGBA floats
  // `expected` to a few units in the last place (relaxed division); else what differs.
  std::string texture_mismatch(unsigned int name, int width, const std::vector<float>& expected) {
    const std::vector<GLint> level0 = texture_state(name, {});
    std::vector<gpu_render::rgba> got;
    on_render_thread([&] { got = gpu_render::read_level(GL_TEXTURE_2D, name, 0); });
    if (level0[1] != width || got.size() * 4 != expected.size()) {
      return "width " + std::to_string(level0[1]) + ", " + std::to_string(got.size()) + " texels";
    }
    gpu_render::mismatches wrong;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const float v = got[i / 4][i % 4];
      if (!(std::abs(v - expected[i]) <= 1e-6f * std::max(1.0f, std::abs(expected[i])))) {
        wrong.add("texel ", i / 4, " channel ", i % 4, ": ", v, ", expected ", expected[i]);
      }
    }
    return wrong.count == 0 ? "" : std::to_string(wrong.count) + " differ:" + wrong.first.str();
  }

  lunaform::host::EffectHost host;
  std::unique_ptr<lunaform::host::PixelWorld> output;  // the last frame's
  std::vector<double> load_times;

 private:
  RenderState& state() { return *e2e_plugin::plugin_in<AePluginConnection>(host).renderer; }
};

// Writes straight float RGBA as file `name`; returns a footage layer of it and its values as
// OpenImageIO decodes them, alpha 1 where the file has none.
std::pair<lunaform::host::Layer, std::vector<float>> footage(
    const host_test::TempFolder& folder, const std::string& name, int width,
    std::vector<float> rgba, int channels = 4, OIIO::TypeDesc type = OIIO::TypeDesc::UINT8) {
  const std::filesystem::path file = folder / name;
  std::vector<float> values;
  for (std::size_t i = 0; i < rgba.size(); ++i) {
    if (static_cast<int>(i % 4) < channels) {
      values.push_back(rgba[i]);
    }
  }
  const int height = static_cast<int>(rgba.size()) / 4 / width;
  OIIO::ImageSpec layout = host_test::image_layout(width, height, channels, type);
  layout.attribute("oiio:UnassociatedAlpha", 1);
  const auto output = OIIO::ImageOutput::create(file.string());
  EXPECT_TRUE(output && output->open(file.string(), layout) &&
              output->write_image(OIIO::TypeDesc::FLOAT, values.data()) && output->close());
  host_test::mark_rewritten(file);
  const auto input = OIIO::ImageInput::open(file.string(), &layout);
  EXPECT_TRUE(input && input->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, values.data()));
  for (std::size_t i = 0; i < rgba.size(); ++i) {
    rgba[i] = static_cast<int>(i % 4) < channels ? values[i / 4 * channels + i % 4] : 1.0f;
  }
  return {host_test::footage_layer(name, file), rgba};
}

// RGBA texels, every value unlike its neighbours' and other patterns'.
std::vector<float> pattern(int seed, int texels, float low = 0.0f, float high = 1.0f) {
  std::vector<float> rgba;
  for (int i = 0; i < texels * 4; ++i) {
    const float u = float((i / 4 * 7 + i % 4 * 29 + seed * 41) % 97) / 96;
    rgba.push_back(i % 4 == 3 ? u : low + u * (high - low));
  }
  return rgba;
}

// The maps that take a layer as it is ("Use Normal Map" on), in the order of their ids.
const std::string kPlainMaps[] = {"Diffuse Layer", "Glossiness Layer", "Illumination Layer",
                                  "Bump Map Layer"};
const Loads kPlainMapLoads = {"Load Layer 502", "Load Layer 504", "Load Layer 506",
                              "Load Layer 508"};
unsigned int texture_of(const material_properties& m, int map) {
  return std::array{m.diffuse_texture, m.glossiness_texture, m.illumination_texture,
                    m.normal_texture}[map];
}

// Checked out at 8, 16 or 32 bits, a texture holds round(v × 255) / 255, round(v × 32768) /
// 32767 (16-bit white is 32768; the input divides by 32767), clamped, or the float itself.
TEST(GpuFootage, EveryFileKindReachesEveryMapAsTheHostChecksItOutAtEachDepth) {
  const struct {
    const char* extension;
    int channels;
    OIIO::TypeDesc type;
    float low, high;  // the colour range: float files hold values outside 0..1
  } kinds[] = {{"png", 4, OIIO::TypeDesc::UINT16, 0.0f, 1.0f},
               {"jpg", 3, OIIO::TypeDesc::UINT8, 0.0f, 1.0f},
               {"tif", 4, OIIO::TypeDesc::UINT8, 0.0f, 1.0f},
               {"exr", 4, OIIO::TypeDesc::FLOAT, -0.25f, 1.5f},
               // Radiance's shared-exponent pixels hold no negative values.
               {"hdr", 3, OIIO::TypeDesc::FLOAT, 0.0f, 1.5f}};
  const host_test::TempFolder folder;
  std::vector<lunaform::host::Layer> layers;
  std::map<std::string, std::vector<float>> stored;
  for (const auto& kind : kinds) {
    for (int map = 0; map < 4; ++map) {
      const std::string name = std::to_string(map) + "." + kind.extension;
      auto [layer, values] = footage(folder, name, 16, pattern(map, 128, kind.low, kind.high),
                                     kind.channels, kind.type);
      layers.push_back(layer);
      stored[name] = values;
    }
  }
  FootageHost scene(layers);
  scene.params()["Use Normal Map"] = Animated<double>(1.0);
  const auto live_objects = [&] {
    int count = 0;
    scene.on_render_thread([&] { count = gpu_render::live_gl_objects(); });
    return count;
  };
  EXPECT_THAT(scene.render(0, 16), IsEmpty());
  const int without_maps = live_objects();
  // Frame f shows kind (f + m) mod 5 in map m: five frames take every kind through every
  // map; each frame is rendered at every depth, and a new depth reloads every map.
  for (int frame = 0; frame < 5; ++frame) {
    for (int map = 0; map < 4; ++map) {
      scene.params()[kPlainMaps[map]] =
          LayerRef{std::to_string(map) + "." + kinds[(frame + map) % 5].extension};
    }
    for (const int bits : {8, 16, 32}) {
      EXPECT_EQ(scene.render(0, bits), kPlainMapLoads) << bits << " bits, frame " << frame;
      for (int map = 0; map < 4; ++map) {
        std::vector<float> expected =
            stored[std::to_string(map) + "." + kinds[(frame + map) % 5].extension];
        for (float& v : expected) {
          const double white = bits == 8 ? 255.0 : 32768.0;
          v = bits == 32 ? v
                         : float(std::clamp(std::round(v * white), 0.0, white)) /
                               (bits == 8 ? 255.0f : 32767.0f);
        }
        EXPECT_EQ(scene.texture_mismatch(texture_of(scene.drawn(), map), 16, expected), "")
            << kPlainMaps[map] << " in frame " << frame << " at " << bits << " bits";
      }
    }
  }
  EXPECT_THAT(scene.render(0, 32), IsEmpty()) << "the same footage at the same depth";
  for (const unsigned int name : {scene.drawn().diffuse_texture, scene.drawn().normal_texture}) {
    EXPECT_EQ(scene.texture_state(name, {GL_TEXTURE_MIN_FILTER}),
              (std::vector<GLint>{GL_RGBA32F, GL_LINEAR_MIPMAP_LINEAR, 16, 8}));
  }
  EXPECT_EQ(live_objects(), without_maps + 4);

  scene.params()["Use Normal Map"] = Animated<double>(0.0);
  scene.params()["Environment Layer"] = LayerRef{"1.hdr"};
  EXPECT_EQ(scene.render(0, 32), (Loads{"Load Layer 508", "Load Layer 517"}));
  EXPECT_EQ(live_objects(), without_maps + 5) << "the old bump texture and the uploads are gone";
}

// Uploaded in the first sample and again only when the file changes; a file that no longer
// reads keeps the last texture and warns once; an emptied parameter deletes the texture.
TEST(GpuFootage, FootageIsUploadedOnceUntilItsFileChangesAndDeletedWhenNoLongerChosen) {
  const host_test::TempFolder folder;
  const auto [layer, first_pixels] = footage(folder, "Map.png", 4, pattern(3, 8));
  FootageHost scene({layer});
  scene.params()["Diffuse Layer"] = LayerRef{"Map.png"};
  scene.params()["Motion Blur"] = Animated<double>(2.0);
  scene.params()["Motion Blur Samples"] = Animated<double>(6.0);
  EXPECT_EQ(scene.render(0), Loads{"Load Layer 502"});
  // The samples' sub-frame times, as the module asked the host for the camera at each.
  std::set<double> sample_times;
  for (const lunaform::host::TimedCall& call : scene.host.timed_calls()) {
    sample_times.insert(static_cast<double>(call.time.value) / call.time.scale);
  }
  ASSERT_EQ(sample_times.size(), 6u);
  EXPECT_EQ(scene.load_times, std::vector{*sample_times.begin()});
  for (const int frame : {1, 2, 1}) {
    EXPECT_THAT(scene.render(frame), IsEmpty()) << "frame " << frame;
  }
  const unsigned int first = scene.drawn().diffuse_texture;
  EXPECT_EQ(scene.texture_mismatch(first, 4, first_pixels), "");

  const std::vector<float> pixels = footage(folder, "Map.png", 4, pattern(50, 8)).second;
  EXPECT_EQ(scene.render(), Loads{"Load Layer 502"});
  const unsigned int second = scene.drawn().diffuse_texture;
  EXPECT_EQ(scene.texture_mismatch(second, 4, pixels), "");
  EXPECT_TRUE(second == first || !scene.is_texture(first)) << "the old texture is deleted";
  EXPECT_THAT(scene.render(), IsEmpty()) << "read once, uploaded once";

  host_test::mark_rewritten(folder.write("Map.png", "no longer a picture"));
  EXPECT_THAT(scene.render(), IsEmpty());
  EXPECT_EQ(scene.texture_mismatch(second, 4, pixels), "");
  EXPECT_THAT(scene.host.take_footage_warnings(),
              testing::ElementsAre(
                  testing::StartsWith("cannot read image '" + (folder / "Map.png").string())));
  EXPECT_THAT(scene.render(), IsEmpty());
  EXPECT_THAT(scene.host.take_footage_warnings(), IsEmpty());

  scene.params()["Diffuse Layer"] = LayerRef{""};
  EXPECT_THAT(scene.render(), IsEmpty());
  EXPECT_EQ(scene.drawn().diffuse_texture, 0u);
  EXPECT_FALSE(scene.is_texture(second)) << "emptying the parameter deletes the texture";
}

// Two instances of the effect in one host, each with a map of its own, render in turn for 100
// frames: each uploads its map once and keeps that texture, and every frame of an instance is
// the one it rendered first, so neither touches the other's textures.
TEST(GpuFootage, TwoInstancesRenderingInTurnKeepTheirOwnTextures) {
  const host_test::TempFolder folder;
  FootageHost first({footage(folder, "Red.png", 4, pattern(3, 8)).first,
                     footage(folder, "Blue.png", 4, pattern(60, 8)).first});
  first.params()["Diffuse Layer"] = LayerRef{"Red.png"};
  const std::unique_ptr<lunaform::host::EffectHost> second = first.host.new_instance();
  EXPECT_EQ(second->params_setup(), PF_Err_NONE);
  EXPECT_EQ(second->sequence_setup(), PF_Err_NONE);
  lunaform::host::Composition comp = first.host.composition();
  e2e_plugin::effect_of(comp).params["Diffuse Layer"] = LayerRef{"Blue.png"};
  second->set_composition(comp);
  lunaform::host::EffectHost* const hosts[] = {&first.host, second.get()};
  std::vector<std::byte> first_frames[2];
  unsigned int textures[2] = {};
  int loads = 0;
  const e2e_plugin::DebugSinkScope debug(
      [&](std::string_view line) { loads += line.starts_with("Load Layer "); });
  for (int frame = 0; frame < 100; ++frame) {
    const int k = frame % 2;
    const std::unique_ptr<lunaform::host::PixelWorld> world =
        lunaform::host::render_frame(*hosts[k], 0);
    std::vector<std::byte> pixels;
    for (A_long y = 0; y < world->height(); ++y) {
      pixels.insert(pixels.end(), world->row(y).begin(), world->row(y).end());
    }
    if (frame < 2) {
      first_frames[k] = pixels;
      textures[k] = first.drawn().diffuse_texture;
    }
    EXPECT_TRUE(pixels == first_frames[k] && first.drawn().diffuse_texture == textures[k])
        << "frame " << frame;
  }
  EXPECT_EQ(loads, 2);
  EXPECT_TRUE(textures[0] != textures[1] && first_frames[0] != first_frames[1]);
  EXPECT_TRUE(first.host.problems().empty() && second->problems().empty());
}

// Every channel of a 32-bit frame finite and not negative, alpha at most 1 and `centre` in
// the sphere's middle, the corner none.
void expect_sane_frame(const lunaform::host::PixelWorld& world, float centre) {
  const auto channel = [&](int x, int y, int c) {
    float value = 0.0f;
    std::memcpy(&value, world.row(y).data() + x * world.pixel_bytes() + c * 4, 4);
    return value;
  };
  int wrong = 0;
  for (int i = 0; i < world.width() * world.height() * 4; ++i) {
    const float v = channel(i / 4 % world.width(), i / 4 / world.width(), i % 4);
    wrong += !std::isfinite(v) || v < 0.0f ||
             (i % 4 == 0 && (v > 1.0f || (centre == 0.0f && v != 0.0f)));
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(channel(32, 18, 0), centre);
  EXPECT_EQ(channel(0, 0, 0), 0.0f);
}

// One pixel serves every map; straight colour survives alpha 0, and with "Diffuse Blend" 1
// the sphere vanishes; no layer, an unknown name or a layer of 0 x 0 pixels leaves a map out.
TEST(GpuFootage, OnePixelNoPixelsAndNothingOpaqueRenderAFrameWithTheMapAsItIsOrLeftOut) {
  const host_test::TempFolder folder;
  const std::vector<float> dot = {200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 1.0f};
  std::vector<float> clear;
  for (int i = 0; i < 8; ++i) {
    clear.insert(clear.end(), {200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 0.0f});
  }
  FootageHost scene(
      {footage(folder, "Dot.png", 1, dot).first,
       footage(folder, "Clear.png", 4, clear).first,
       {.name = "Blank", .content = lunaform::host::FootageLayer{"blank.png", nullptr}},
       {.name = "Empty", .content = lunaform::host::SolidLayer{{1, 0, 0, 1}, 0, 0}}});
  for (const std::string& map : kPlainMaps) {
    scene.params()[map] = LayerRef{"Dot.png"};
  }
  EXPECT_EQ(scene.render(0, 32), kPlainMapLoads);
  for (int map = 0; map < 3; ++map) {
    EXPECT_EQ(scene.texture_mismatch(texture_of(scene.drawn(), map), 1, dot), "") << map;
  }
  EXPECT_EQ(scene.texture_state(scene.drawn().normal_texture, {}),
            (std::vector<GLint>{GL_RGBA16F, 1, 0}));
  expect_sane_frame(*scene.output, 1.0f);

  for (int map = 1; map < 4; ++map) {
    scene.params()[kPlainMaps[map]] = LayerRef{""};
  }
  scene.params()["Diffuse Layer"] = LayerRef{"Clear.png"};
  EXPECT_EQ(scene.render(0, 32), Loads{"Load Layer 502"});
  EXPECT_EQ(scene.texture_mismatch(scene.drawn().diffuse_texture, 4, clear), "");
  expect_sane_frame(*scene.output, 0.0f);

  for (const std::array<const char*, 2> names :
       {std::array{"", "No Such Layer"}, std::array{"Blank", "Empty"}}) {
    for (int map = 0; map < 5; ++map) {
      scene.params()[map < 4 ? kPlainMaps[map] : "Environment Layer"] = LayerRef{names[map % 2]};
    }
    const Loads loads = scene.render(0, 32);
    EXPECT_TRUE(loads.empty() || names[0] == std::string("Blank")) << names[1];
    const material_properties& m = scene.drawn();
    EXPECT_EQ(m.diffuse_texture + m.glossiness_texture + m.illumination_texture + m.normal_texture +
                  m.environment_texture,
              0u)
        << names[1];
    expect_sane_frame(*scene.output, 1.0f);
  }
}

}  // namespace
