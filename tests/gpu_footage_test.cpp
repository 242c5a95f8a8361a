// Footage files and solids through the map parameters of the effect's own plug-in object in
// a host, with the real renderer: the GL textures it ends up holding at every bit depth, what
// frames and motion-blur samples upload while a layer stays the same, changes or breaks, and
// the layers a frame must survive.
#include <GL/glew.h>
#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/composition.h"
#include "host/effect_host.h"
#include "host/pixel_world.h"
#include "host/render_frame.h"
#include "platform/debug_output.h"
#include "plugin/ae_plugin_connection.h"
#include "tests/e2e_plugin_support.h"
#include "tests/e2e_scene_support.h"
#include "tests/host_footage_refresh_files.h"
#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"

namespace {

using lunaform::host::Animated;
using lunaform::host::Composition;
using testing::IsEmpty;
using Loads = std::vector<std::string>;

// What the module's texture holds for one straight colour or alpha value `value` of a footage
// image whose layer the host checks out at `bits` per channel. The host stores round(value ×
// 255) or round(value × 32768), clamped to 0..255 or 0..32768 (its 16-bit white is 32768), or
// the float itself; the input transfer divides by 255, by 32767, or takes the float.
inline std::vector<float> expected_texture(std::vector<float> file_rgba, int bits) {
  for (float& v : file_rgba) {
    const double white = bits == 8 ? 255.0 : 32768.0;
    v = bits == 32 ? v
                   : static_cast<float>(std::clamp(std::round(double{v} * white), 0.0, white)) /
                         (bits == 8 ? 255.0f : 32767.0f);
  }
  return file_rgba;
}

// The effect's own plug-in object (or a test's subclass, through `entry`) in a host that
// renders `comp` through the host's frame path (render_frame: footage refresh, Smart
// PreRender, Smart Render). The effect layer is made 64 x 36 and GPU multisampling is off,
// so frames are quick; the effect's other parameters stay as `comp` sets them.
class FootageHost {
 public:
  explicit FootageHost(lunaform::host::Composition comp,
                       PF_FilterProc entry = &e2e_plugin::entry_for<AePluginConnection>)
      : host(entry) {
    {
      e2e_plugin::StderrCapture banner;
      EXPECT_EQ(host.global_setup(), PF_Err_NONE);
    }
    EXPECT_EQ(host.params_setup(), PF_Err_NONE);
    EXPECT_EQ(host.sequence_setup(), PF_Err_NONE);
    comp.width = 64;
    comp.height = 36;
    lunaform::host::EffectLayer& effect = e2e_scene::effect_of(comp);
    effect.width = 64;
    effect.height = 36;
    effect.params.try_emplace("Multisampling", lunaform::host::Animated<double>(1.0));
    host.set_composition(std::move(comp));
  }

  void choose(const std::string& param, const std::string& layer) {
    e2e_scene::effect_of(host.composition()).params[param] = lunaform::host::LayerRef{layer};
  }

  // Renders composition frame `frame` at `bits` per channel into `output`; returns the
  // "Load Layer <id>" parts of the module's lines, sorted, and keeps in `load_times` the
  // host's current time (seconds) when each was written. The host must have no complaint.
  std::vector<std::string> render(int frame = 0, int bits = 8) {
    host.settings().bits_per_channel = bits;
    std::vector<std::string> loads;
    load_times.clear();
    // The texture loader writes its lines on the host's thread, inside the command, where
    // the in-data may be read.
    struct Restore {
      hxsdk::DebugSink previous;
      ~Restore() { hxsdk::set_debug_sink(std::move(previous)); }
    } restore{hxsdk::set_debug_sink([&](std::string_view line) {
      if (line.rfind("Load Layer ", 0) == 0) {
        loads.emplace_back(line.substr(0, line.find(':')));
        load_times.push_back(static_cast<double>(host.in_data().current_time) /
                             host.in_data().time_scale);
      }
    })};
    output = lunaform::host::render_frame(host, frame);
    EXPECT_TRUE(host.problems().empty()) << host.problems().front();
    std::sort(loads.begin(), loads.end());
    return loads;
  }

  // The material the last frame was drawn with, as the renderer received it.
  const material_properties& drawn() {
    AePlugin* object = nullptr;
    std::memcpy(&object, host.handles().bytes(host.global_data()).data(), sizeof object);
    state_ = dynamic_cast<AePluginConnection&>(*object).renderer.get();
    return state_->scene.material;
  }

  // Runs GL calls where the module's context is current.
  template <typename Calls>
  void on_render_thread(Calls&& calls) {
    drawn();
    state_->render_thread->run_on_renderer([&](Renderer&) { calls(); });
  }

  // Empty when the 2D texture `name` (level 0) has the given size and RGBA float values (to
  // a few units in the last place: the input transfer divides with relaxed precision);
  // otherwise its size or how many values differ and the first of them.
  std::string texture_mismatch(unsigned int name, int width, int height,
                               const std::vector<float>& expected) {
    GLint size[2] = {0, 0};
    std::vector<float> got;
    on_render_thread([&] {
      glBindTexture(GL_TEXTURE_2D, name);
      glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &size[0]);
      glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &size[1]);
      got.resize(static_cast<std::size_t>(size[0]) * size[1] * 4);
      glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, got.data());
      glBindTexture(GL_TEXTURE_2D, 0);
    });
    if (size[0] != width || size[1] != height) {
      return "size " + std::to_string(size[0]) + " x " + std::to_string(size[1]);
    }
    std::size_t differing = 0;
    std::string first;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      if (!(std::abs(got[i] - expected[i]) <= 1e-6f * std::max(1.0f, std::abs(expected[i]))) &&
          differing++ == 0) {
        first = "; first at (" + std::to_string(i / 4 % width) + ", " +
                std::to_string(i / 4 / width) + ") channel " + std::to_string(i % 4) + ": " +
                std::to_string(got[i]) + ", expected " + std::to_string(expected[i]);
      }
    }
    return differing == 0 ? std::string() : std::to_string(differing) + " values differ" + first;
  }

  // The level-0 size of `name` as a texture of `target` (GL_TEXTURE_2D, or
  // GL_TEXTURE_CUBE_MAP and its +X face); (0, 0) when it is no texture of that target.
  std::pair<int, int> size_as(GLenum target, unsigned int name) {
    GLint size[2] = {0, 0};
    on_render_thread([&] {
      while (glGetError() != GL_NO_ERROR) {
      }
      glBindTexture(target, name);  // an error for a texture made for another target
      if (name != 0 && glGetError() == GL_NO_ERROR) {
        const GLenum image = target == GL_TEXTURE_2D ? target : GL_TEXTURE_CUBE_MAP_POSITIVE_X;
        glGetTexLevelParameteriv(image, 0, GL_TEXTURE_WIDTH, &size[0]);
        glGetTexLevelParameteriv(image, 0, GL_TEXTURE_HEIGHT, &size[1]);
      }
      glBindTexture(target, 0);
    });
    return {size[0], size[1]};
  }

  lunaform::host::EffectHost host;
  // The last frame's output world.
  std::unique_ptr<lunaform::host::PixelWorld> output;
  std::vector<double> load_times;

 private:
  RenderState* state_ = nullptr;
};

// Writes straight float RGBA `rgba` (rows from the top) as file `name` in `folder` with
// `channels` channels of `type`; returns a footage layer of it and the values as the file
// stores them: as OpenImageIO decodes it (integers divided by their maximum), alpha 1 where
// the file has none.
std::pair<lunaform::host::Layer, std::vector<float>> footage(
    const host_test::TempFolder& folder, const std::string& name, int width, int height,
    std::vector<float> rgba, int channels = 4, OIIO::TypeDesc type = OIIO::TypeDesc::UINT8) {
  const std::filesystem::path file = folder / name;
  std::vector<float> written;
  for (std::size_t i = 0; i < rgba.size(); ++i) {
    if (static_cast<int>(i % 4) < channels) {
      written.push_back(rgba[i]);
    }
  }
  OIIO::ImageSpec layout = host_test::image_layout(width, height, channels, type);
  layout.attribute("oiio:UnassociatedAlpha", 1);
  const auto output = OIIO::ImageOutput::create(file.string());
  EXPECT_TRUE(output && output->open(file.string(), layout) &&
              output->write_image(OIIO::TypeDesc::FLOAT, written.data()) && output->close());
  host_test::mark_rewritten(file);
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const auto input = OIIO::ImageInput::open(file.string(), &config);
  EXPECT_TRUE(input && input->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, written.data()));
  for (std::size_t i = 0; i < rgba.size(); ++i) {
    rgba[i] = static_cast<int>(i % 4) < channels ? written[i / 4 * channels + i % 4] : 1.0f;
  }
  return {host_test::footage_layer(name, file), rgba};
}

// --- Every file kind through every map at every depth ---

// The maps that take a layer as it is ("Use Normal Map" on for the bump map), in the order
// of their parameter ids, which their "Load Layer" lines carry.
const std::string kPlainMaps[] = {"Diffuse Layer", "Glossiness Layer", "Illumination Layer",
                                  "Bump Map Layer"};
const Loads kPlainMapLoads = {"Load Layer 502", "Load Layer 504", "Load Layer 506",
                              "Load Layer 508"};
unsigned int texture_of(const material_properties& m, int map) {
  const unsigned int textures[] = {m.diffuse_texture, m.glossiness_texture, m.illumination_texture,
                                   m.normal_texture};
  return textures[map];
}

// A 16 x 8 image whose every pixel, channel and pattern differs from its neighbours, so a
// swapped channel, a flipped row or a mixed-up layer shows; alpha runs over 0..1 too, so
// colour that is not straight shows. Colour is spread over low..high (float files hold
// values outside 0..1).
std::vector<float> pattern(int seed, float low, float high) {
  std::vector<float> rgba;
  for (int i = 0; i < 16 * 8 * 4; ++i) {
    const float u =
        static_cast<float>((i / 4 % 16 * 7 + i / 64 * 13 + i % 4 * 29 + seed * 41) % 97) / 96.0f;
    rgba.push_back(i % 4 == 3 ? u : low + u * (high - low));
  }
  return rgba;
}

// The host checks footage out at 8, 16 or 32 bits; the module's texture then holds
// round(v × 255) / 255, round(v × 32768) / 32767 (the host's 16-bit white is 32768, the
// input transfer divides by 32767), clamped, or the float itself.
TEST(GpuFootage, EveryFileKindReachesEveryPlainMapAsTheHostChecksItOutAtEachDepth) {
  const struct {
    const char* extension;
    int channels;
    OIIO::TypeDesc type;
    float low, high;
  } kinds[] = {{"png", 4, OIIO::TypeDesc::UINT16, 0.0f, 1.0f},
               {"jpg", 3, OIIO::TypeDesc::UINT8, 0.0f, 1.0f},
               {"tif", 4, OIIO::TypeDesc::UINT8, 0.0f, 1.0f},
               {"exr", 4, OIIO::TypeDesc::FLOAT, -0.25f, 1.5f},
               // Radiance's shared-exponent pixels hold no negative values.
               {"hdr", 3, OIIO::TypeDesc::FLOAT, 0.0f, 1.5f}};
  // One file of every kind per map, each with its own pattern.
  const host_test::TempFolder folder;
  Composition comp = e2e_scene::sphere_composition();
  std::map<std::string, std::vector<float>> stored;
  for (const auto& kind : kinds) {
    for (int map = 0; map < 4; ++map) {
      const std::string name = std::to_string(map) + "." + kind.extension;
      auto [layer, values] =
          footage(folder, name, 16, 8, pattern(map, kind.low, kind.high), kind.channels, kind.type);
      comp.layers.push_back(layer);
      stored[name] = values;
    }
  }
  e2e_scene::effect_of(comp).params["Use Normal Map"] = Animated<double>(1.0);
  FootageHost scene(comp);
  // Frame f shows kind (f + m) mod 5 in map m: five frames take every kind through every
  // map; each frame is rendered at every depth, and a new depth reloads every map.
  for (int frame = 0; frame < 5; ++frame) {
    for (int map = 0; map < 4; ++map) {
      scene.choose(kPlainMaps[map], std::to_string(map) + "." + kinds[(frame + map) % 5].extension);
    }
    for (const int bits : {8, 16, 32}) {
      EXPECT_EQ(scene.render(0, bits), kPlainMapLoads) << bits << " bits, frame " << frame;
      for (int map = 0; map < 4; ++map) {
        const std::string name = std::to_string(map) + "." + kinds[(frame + map) % 5].extension;
        EXPECT_EQ(scene.texture_mismatch(texture_of(scene.drawn(), map), 16, 8,
                                         expected_texture(stored[name], bits)),
                  "")
            << kPlainMaps[map] << " showing " << name << " at " << bits << " bits";
      }
    }
  }
  EXPECT_THAT(scene.render(0, 32), IsEmpty()) << "the same footage at the same depth";
}

// Bumps become a normal map of their size, an environment a 512 cube map; the intermediate
// textures they were uploaded as are gone. Switching "Use Normal Map" on makes the same layer
// a texture of another kind: it is loaded again and the old one deleted.
TEST(GpuFootage, ConvertedMapsBecomeANormalMapOfTheBumpsSizeAndA512CubeMap) {
  const host_test::TempFolder folder;
  Composition comp = e2e_scene::sphere_composition();
  comp.layers.push_back(footage(folder, "Bumps.png", 16, 8, pattern(0, 0.0f, 1.0f)).first);
  comp.layers.push_back(
      footage(folder, "Sky.hdr", 16, 8, pattern(1, 0.0f, 1.5f), 3, OIIO::TypeDesc::FLOAT).first);
  FootageHost scene(comp);
  const auto live_textures = [&] {
    int count = 0;
    scene.on_render_thread([&] {
      for (GLuint name = 1; name < 4096; ++name) {
        count += glIsTexture(name) == GL_TRUE;
      }
    });
    return count;
  };
  EXPECT_THAT(scene.render(0, 16), IsEmpty());
  const int without_maps = live_textures();
  scene.choose("Bump Map Layer", "Bumps.png");
  scene.choose("Environment Layer", "Sky.hdr");
  EXPECT_EQ(scene.render(0, 16), (Loads{"Load Layer 508", "Load Layer 517"}));
  const material_properties drawn = scene.drawn();
  EXPECT_EQ(scene.size_as(GL_TEXTURE_2D, drawn.normal_texture), std::pair(16, 8));
  EXPECT_EQ(scene.size_as(GL_TEXTURE_CUBE_MAP, drawn.environment_texture), std::pair(512, 512));
  EXPECT_EQ(scene.size_as(GL_TEXTURE_CUBE_MAP, drawn.normal_texture), std::pair(0, 0));
  EXPECT_EQ(live_textures(), without_maps + 2);

  e2e_scene::effect_of(scene.host.composition()).params["Use Normal Map"] = Animated<double>(1.0);
  EXPECT_EQ(scene.render(0, 16), Loads{"Load Layer 508"});
  EXPECT_EQ(scene.size_as(GL_TEXTURE_2D, scene.drawn().normal_texture), std::pair(16, 8));
  EXPECT_EQ(live_textures(), without_maps + 2);
}

// --- Uploads across frames and motion-blur samples ---

// A footage layer is uploaded in the first sample of the first frame and not again while
// its file stays the same; a rewritten file is uploaded once more and its old texture
// deleted; a file that no longer reads keeps the last texture and warns once; a parameter
// emptied deletes its texture.
TEST(GpuFootage, FootageIsUploadedOnceUntilItsFileChangesAndDeletedWhenNoLongerChosen) {
  const host_test::TempFolder folder;
  const auto map = [](int seed) {  // 4 x 2 pixels, 8 bits: every value v / 255
    std::vector<float> rgba;
    for (int i = 0; i < 32; ++i) {
      rgba.push_back(static_cast<float>((seed + i * 7) % 256) / 255.0f);
    }
    return rgba;
  };
  Composition comp = e2e_scene::sphere_composition();
  comp.layers.push_back(footage(folder, "Map.png", 4, 2, map(3)).first);
  e2e_scene::effect_of(comp).params["Diffuse Layer"] = lunaform::host::LayerRef{"Map.png"};
  e2e_scene::effect_of(comp).params["Motion Blur"] = Animated<double>(2.0);
  e2e_scene::effect_of(comp).params["Motion Blur Samples"] = Animated<double>(6.0);
  FootageHost scene(comp);
  const auto is_texture = [&](unsigned int name) {
    bool result = false;
    scene.on_render_thread([&] { result = name != 0 && glIsTexture(name) == GL_TRUE; });
    return result;
  };
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
  EXPECT_EQ(scene.texture_mismatch(first, 4, 2, map(3)), "");

  footage(folder, "Map.png", 4, 2, map(100));
  EXPECT_EQ(scene.render(), Loads{"Load Layer 502"});
  const unsigned int second = scene.drawn().diffuse_texture;
  EXPECT_EQ(scene.texture_mismatch(second, 4, 2, map(100)), "");
  EXPECT_TRUE(second == first || !is_texture(first)) << "the old texture is deleted, not leaked";
  EXPECT_THAT(scene.render(), IsEmpty()) << "read once, uploaded once";

  host_test::mark_rewritten(folder.write("Map.png", "no longer a picture"));
  EXPECT_THAT(scene.render(), IsEmpty());
  EXPECT_EQ(scene.texture_mismatch(second, 4, 2, map(100)), "");
  EXPECT_THAT(scene.host.take_footage_warnings(),
              testing::ElementsAre(
                  testing::StartsWith("cannot read image '" + (folder / "Map.png").string())));
  EXPECT_THAT(scene.render(), IsEmpty());
  EXPECT_THAT(scene.host.take_footage_warnings(), IsEmpty());

  scene.choose("Diffuse Layer", "");
  EXPECT_THAT(scene.render(), IsEmpty());
  EXPECT_EQ(scene.drawn().diffuse_texture, 0u);
  EXPECT_FALSE(is_texture(second)) << "emptying the parameter deletes the texture";
}

// --- Layers a frame must survive ---

// Every channel of every output pixel is a finite number and not negative, alpha no larger
// than `white` and, in 8- and 16-bit worlds, colour neither (float frames may hold colour
// beyond white); the small sphere's centre pixel has alpha `centre`, the corner none.
void expect_sane_frame(const lunaform::host::PixelWorld& world, float white, float centre) {
  const auto channel = [&](int x, int y, int c) {
    const std::byte* at =
        world.row(y).data() + x * world.pixel_bytes() + c * world.bits_per_channel() / 8;
    unsigned short word = 0;
    float value = 0.0f;
    std::memcpy(world.bits_per_channel() == 16 ? static_cast<void*>(&word) : &value, at,
                world.bits_per_channel() / 8);
    return world.bits_per_channel() == 16 ? word : value;
  };
  int wrong = 0;
  for (int i = 0; i < world.width() * world.height() * 4; ++i) {
    const float v = channel(i / 4 % world.width(), i / 4 / world.width(), i % 4);
    const bool capped = i % 4 == 0 || world.bits_per_channel() == 16;
    wrong += !std::isfinite(v) || v < 0.0f || (capped && v > white) ||
             (i % 4 == 0 && centre == 0.0f && v != 0.0f);
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(channel(32, 18, 0), centre);
  EXPECT_EQ(channel(0, 0, 0), 0.0f);
}

// A small sphere in the middle of the 64 x 36 frame: its centre pixel is covered, the corners
// are not.
Composition small_sphere() {
  Composition comp = e2e_scene::sphere_composition();
  e2e_scene::effect_of(comp).params["Radius"] = Animated<double>(12.0);
  return comp;
}

// One pixel serves every plain map as it is and becomes a one-pixel normal map; straight
// colour survives alpha 0 on its way to the texture, and with "Diffuse Blend" 1 the sphere
// takes the map's alpha, so nothing of it shows; parameters choosing no layer, a name no
// layer has, or layers the host checks out as worlds of 0 x 0 pixels leave their maps out
// and the sphere is drawn plain.
TEST(GpuFootage, OnePixelNoPixelsAndNothingOpaqueRenderAFrameWithTheMapAsItIsOrLeftOut) {
  const host_test::TempFolder folder;
  Composition comp = small_sphere();
  const std::vector<float> dot = {200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 1.0f};
  std::vector<float> clear_map;
  for (int i = 0; i < 8; ++i) {
    clear_map.insert(clear_map.end(), {200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 0.0f});
  }
  comp.layers.push_back(footage(folder, "Dot.png", 1, 1, dot).first);
  comp.layers.push_back(footage(folder, "Clear.png", 4, 2, clear_map).first);
  lunaform::host::Layer blank;
  blank.name = "Blank";
  blank.content = lunaform::host::FootageLayer{"blank.png", nullptr};
  comp.layers.push_back(blank);
  blank.name = "Empty Solid";
  blank.content = lunaform::host::SolidLayer{{1, 0, 0, 1}, 0, 0};
  comp.layers.push_back(blank);
  FootageHost scene(comp);
  for (const std::string& map : kPlainMaps) {
    scene.choose(map, "Dot.png");
  }
  EXPECT_EQ(scene.render(0, 32), kPlainMapLoads);
  for (int map = 0; map < 3; ++map) {
    EXPECT_EQ(scene.texture_mismatch(texture_of(scene.drawn(), map), 1, 1, dot), "") << map;
  }
  EXPECT_EQ(scene.size_as(GL_TEXTURE_2D, scene.drawn().normal_texture), std::pair(1, 1));
  expect_sane_frame(*scene.output, 1.0f, 1.0f);

  const std::string params[] = {"Diffuse Layer", "Glossiness Layer", "Illumination Layer",
                                "Bump Map Layer", "Environment Layer"};
  const struct {
    std::array<const char*, 5> choices;
    std::optional<Loads> loads;  // a world of no pixels may be checked out, and is left out
  } frames[] = {{{"Clear.png", "", "", "", ""}, Loads{"Load Layer 502"}},
                {{"", "No Such Layer", "", "No Such Layer", ""}, Loads{}},
                {{"Blank", "Empty Solid", "Blank", "Empty Solid", "Blank"}, std::nullopt}};
  for (const auto& frame : frames) {
    for (int i = 0; i < 5; ++i) {
      scene.choose(params[i], frame.choices[i]);
    }
    const Loads loads = scene.render(0, 32);
    EXPECT_TRUE(!frame.loads || loads == *frame.loads) << frame.choices[1];
    const material_properties& drawn = scene.drawn();
    EXPECT_EQ(drawn.glossiness_texture + drawn.illumination_texture + drawn.normal_texture +
                  drawn.environment_texture,
              0u);
    const bool clear = frame.choices[0] == std::string("Clear.png");
    if (clear) {
      EXPECT_EQ(scene.texture_mismatch(drawn.diffuse_texture, 4, 2, clear_map), "");
    } else {
      EXPECT_EQ(drawn.diffuse_texture, 0u);
    }
    expect_sane_frame(*scene.output, 1.0f, clear ? 0.0f : 1.0f);
  }
}

// The effect's plug-in object behind a host that writes 16-bit diffuse-map channels beyond
// its white of 32768, as a misbehaving host might: before the frame is rendered it fills the
// checked-out world with (alpha, red, green, blue) = (65535, 65535, 49152, 32769). The module
// checks the same world out again.
class OverbrightMapPlugin : public AePluginConnection {
 public:
  void on_smart_render(CommandContext& context) override {
    constexpr std::array<unsigned short, 4> kOverbright = {65535, 65535, 49152, 32769};
    const auto& extra = *static_cast<PF_SmartRenderExtra*>(context.extra);
    PF_EffectWorld* world = nullptr;
    if (extra.cb->checkout_layer_pixels(context.in_data->effect_ref, 502, &world) == PF_Err_NONE &&
        world != nullptr) {
      for (A_long i = 0; i < world->width * world->height; ++i) {
        std::memcpy(reinterpret_cast<std::byte*>(world->data) + i / world->width * world->rowbytes +
                        i % world->width * 8,
                    kOverbright.data(), 8);
      }
    }
    AePluginConnection::on_smart_render(context);
  }
};

// The input transfer divides by 32767 whatever the value (red and alpha near 2); the output
// never goes beyond the 32767 the output transfer writes for 1: alpha 2 is clamped, not
// wrapped round.
TEST(GpuFootage, SixteenBitChannelsBeyondWhiteRenderAFrameWithinRange) {
  const host_test::TempFolder folder;
  Composition comp = small_sphere();
  comp.layers.push_back(footage(folder, "Grey.png", 1, 1, {0.5f, 0.5f, 0.5f, 1.0f}).first);
  e2e_scene::effect_of(comp).params["Diffuse Layer"] = lunaform::host::LayerRef{"Grey.png"};
  FootageHost scene(comp, &e2e_plugin::entry_for<OverbrightMapPlugin>);
  EXPECT_EQ(scene.render(0, 16), Loads{"Load Layer 502"});
  EXPECT_EQ(scene.texture_mismatch(
                scene.drawn().diffuse_texture, 1, 1,
                {65535 / 32767.0f, 49152 / 32767.0f, 32769 / 32767.0f, 65535 / 32767.0f}),
            "");
  expect_sane_frame(*scene.output, 32767.0f, 32767.0f);
}

}  // namespace
