#pragma once

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
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

// Shared by the footage suites (gpu_footage_*.cpp): footage files read by the host, fed to
// the effect's own plug-in object with the real renderer, and the GL textures it keeps.
namespace gpu_footage {

// Float RGBA values, rows from the top, no padding.
struct RgbaPixels {
  int width = 0;
  int height = 0;
  std::vector<float> rgba;
};

// What the module's texture holds for one straight colour or alpha value `value` of a footage
// image whose layer the host checks out at `bits` per channel. The host stores round(value ×
// 255) or round(value × 32768), clamped to 0..255 or 0..32768 (its 16-bit white is 32768), or
// the float itself; the input transfer divides by 255, by 32767, or takes the float.
inline float expected_texel(float value, int bits) {
  if (bits == 8) {
    return static_cast<float>(std::clamp(std::round(double{value} * 255.0), 0.0, 255.0)) / 255.0f;
  }
  if (bits == 16) {
    return static_cast<float>(std::clamp(std::round(double{value} * 32768.0), 0.0, 32768.0)) /
           32767.0f;
  }
  return value;
}

// `file_rgba` (straight float RGBA of a footage image) as expected_texel() turns every value.
inline std::vector<float> expected_texture(const std::vector<float>& file_rgba, int bits) {
  std::vector<float> expected(file_rgba.size());
  std::transform(file_rgba.begin(), file_rgba.end(), expected.begin(),
                 [bits](float v) { return expected_texel(v, bits); });
  return expected;
}

// Empty when `texture` has the given size and values (to a few units in the last place: the
// input transfer divides with relaxed precision); otherwise how many values differ and the
// first of them.
inline std::string texture_mismatch(const RgbaPixels& texture, int width, int height,
                                    const std::vector<float>& expected) {
  if (texture.width != width || texture.height != height) {
    return "size " + std::to_string(texture.width) + " x " + std::to_string(texture.height) +
           ", expected " + std::to_string(width) + " x " + std::to_string(height);
  }
  std::size_t differing = 0;
  std::string first;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const float got = texture.rgba[i];
    if (!(std::abs(got - expected[i]) <= 1e-6f * std::max(1.0f, std::abs(expected[i])))) {
      if (differing++ == 0) {
        const std::size_t pixel = i / 4;
        first = "; first at (" + std::to_string(pixel % width) + ", " +
                std::to_string(pixel / width) + ") channel " + std::to_string(i % 4) + ": " +
                std::to_string(got) + ", expected " + std::to_string(expected[i]);
      }
    }
  }
  return differing == 0 ? std::string()
                        : std::to_string(differing) + " of " + std::to_string(expected.size()) +
                              " values differ" + first;
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
  void set(const std::string& param, double value) {
    e2e_scene::effect_of(host.composition()).params[param] =
        lunaform::host::Animated<double>(value);
  }

  // Renders composition frame `frame` at `bits` per channel into `output`; returns the
  // "Load Layer <id>" parts of the module's lines, in order, and keeps in `load_times` the
  // host's current time (seconds) when each was written. The host must have no complaint.
  std::vector<std::string> render(int frame = 0, int bits = 8) {
    host.settings().bits_per_channel = bits;
    std::vector<std::string> loads;
    load_times.clear();
    {
      const LoadLineSink sink([&](std::string_view line) {
        if (line.rfind("Load Layer ", 0) == 0) {
          loads.emplace_back(line.substr(0, line.find(':')));
          load_times.push_back(static_cast<double>(host.in_data().current_time) /
                               host.in_data().time_scale);
        }
      });
      output = lunaform::host::render_frame(host, frame);
    }
    EXPECT_TRUE(host.problems().empty()) << host.problems().front();
    return loads;
  }

  // The material the last frame was drawn with, as the renderer received it.
  const material_properties& drawn() { return state().scene.material; }

  // Level 0 of the 2D texture `name`, read back where the module's context is current.
  RgbaPixels texture_pixels(unsigned int name) {
    RgbaPixels pixels;
    on_render_thread([&] {
      glBindTexture(GL_TEXTURE_2D, name);
      glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &pixels.width);
      glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &pixels.height);
      pixels.rgba.resize(static_cast<std::size_t>(pixels.width) * pixels.height * 4);
      glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, pixels.rgba.data());
      glBindTexture(GL_TEXTURE_2D, 0);
    });
    return pixels;
  }

  // The level-0 size of texture `name` when it is a texture of `target` (GL_TEXTURE_2D or
  // GL_TEXTURE_CUBE_MAP, whose six faces must agree); nothing when it is not one.
  std::optional<std::pair<int, int>> size_as(GLenum target, unsigned int name) {
    std::optional<std::pair<int, int>> size;
    on_render_thread([&] {
      while (glGetError() != GL_NO_ERROR) {
      }
      if (name == 0 || glIsTexture(name) != GL_TRUE) {
        return;
      }
      // Binding a texture to a target other than the one it was made for is an error.
      glBindTexture(target, name);
      if (glGetError() != GL_NO_ERROR) {
        return;
      }
      std::vector<GLenum> images = {GL_TEXTURE_2D};
      if (target == GL_TEXTURE_CUBE_MAP) {
        images.clear();
        for (GLenum face = 0; face < 6; ++face) {
          images.push_back(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face);
        }
      }
      std::vector<std::pair<int, int>> sizes;
      for (const GLenum image : images) {
        GLint width = 0;
        GLint height = 0;
        glGetTexLevelParameteriv(image, 0, GL_TEXTURE_WIDTH, &width);
        glGetTexLevelParameteriv(image, 0, GL_TEXTURE_HEIGHT, &height);
        sizes.emplace_back(width, height);
      }
      glBindTexture(target, 0);
      if (std::all_of(sizes.begin(), sizes.end(), [&](const auto& s) { return s == sizes[0]; })) {
        size = sizes[0];
      }
    });
    return size;
  }

  // Runs GL calls where the module's context is current.
  template <typename Calls>
  void on_render_thread(Calls&& calls) {
    state().render_thread->run_on_renderer([&](Renderer&) { calls(); });
  }

  lunaform::host::EffectHost host;
  // The last frame's output world.
  std::unique_ptr<lunaform::host::PixelWorld> output;
  std::vector<double> load_times;

 private:
  // Hands the module's debug lines to `sink` while alive. The texture loader writes its lines
  // on the host's thread, inside the command, where the in-data may be read.
  class LoadLineSink {
   public:
    explicit LoadLineSink(hxsdk::DebugSink sink) : previous_(hxsdk::set_debug_sink(sink)) {}
    ~LoadLineSink() { hxsdk::set_debug_sink(std::move(previous_)); }
    LoadLineSink(const LoadLineSink&) = delete;
    LoadLineSink& operator=(const LoadLineSink&) = delete;

   private:
    hxsdk::DebugSink previous_;
  };

  RenderState& state() {
    AePlugin* object = nullptr;
    std::memcpy(&object, host.handles().bytes(host.global_data()).data(), sizeof object);
    return *dynamic_cast<AePluginConnection&>(*object).renderer;
  }
};

}  // namespace gpu_footage
