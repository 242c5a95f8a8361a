#pragma once

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "AE_Effect.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "host/module.h"
#include "platform/debug_output.h"
#include "platform/message_box.h"
#include "plugin/ae_plugin.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/plugin_entry.h"

// Shared by the suites that drive the effect through the host.
namespace e2e_plugin {

// The entry point of the module file, loaded once and kept for the process.
inline PF_FilterProc real_module_entry() {
  static const lunaform::host::Module module = lunaform::host::Module::load(LUNAFORM_MODULE_PATH);
  return module.entry_point();
}

// The module's entry logic around a test's plug-in object, as an entry function a host can
// drive; the object and the tables it fills live in the test process, where a test sees them.
template <typename Plugin>
PF_Err entry_for(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data, PF_ParamList params,
                 PF_LayerDef*, void* extra) {
  return run_plugin_entry([]() -> std::unique_ptr<AePlugin> { return std::make_unique<Plugin>(); },
                          command, in_data, out_data, params, extra);
}

// Captures standard error while alive; take() ends the capture and returns the text.
class StderrCapture {
 public:
  StderrCapture() { testing::internal::CaptureStderr(); }
  ~StderrCapture() {
    if (!taken_) {
      testing::internal::GetCapturedStderr();
    }
  }
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;

  std::string take() {
    taken_ = true;
    return testing::internal::GetCapturedStderr();
  }

 private:
  bool taken_ = false;
};

// Installs a sink through `set` while alive, then gives the previous one back.
template <typename Sink, Sink (*set)(Sink)>
class SinkScope {
 public:
  explicit SinkScope(Sink sink) : previous_(set(std::move(sink))) {}
  ~SinkScope() { set(std::move(previous_)); }
  SinkScope(const SinkScope&) = delete;
  SinkScope& operator=(const SinkScope&) = delete;

 private:
  Sink previous_;
};

// Sends the module's debug lines to a sink while alive.
using DebugSinkScope = SinkScope<hxsdk::DebugSink, hxsdk::set_debug_sink>;

// Collects the message boxes that in-process plug-in code shows while alive.
struct MessageBoxCapture {
  std::vector<std::pair<std::string, std::string>> messages;
  SinkScope<hxsdk::MessageBoxSink, hxsdk::set_message_box_sink> scope{
      [this](std::string_view title, std::string_view text) {
        messages.emplace_back(title, text);
      }};
};

inline std::string quoted(const std::filesystem::path& path) {
  return "'" + path.string() + "'";
}

// A written frame: size, channels, type, and every channel as a float (white 1), colour straight.
struct StoredFrame {
  int width = 0, height = 0, channels = 0;
  OIIO::TypeDesc format;
  std::vector<float> values;
};

inline StoredFrame read_frame(const std::filesystem::path& file) {
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string(), &config);
  if (!input) {
    ADD_FAILURE() << file << ": " << OIIO::geterror();
    return {};
  }
  const OIIO::ImageSpec& spec = input->spec();
  StoredFrame frame{spec.width, spec.height, spec.nchannels, spec.format,
                    std::vector<float>(spec.image_pixels() * std::size_t(spec.nchannels))};
  EXPECT_TRUE(
      input->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::FLOAT, frame.values.data()));
  return frame;
}

// Takes `host` through global, parameter and sequence setup, as a host does before it shows
// the effect; the build line global setup writes is swallowed.
inline void set_up_instance(lunaform::host::EffectHost& host) {
  {
    const StderrCapture banner;
    EXPECT_EQ(host.global_setup(), PF_Err_NONE);
  }
  EXPECT_EQ(host.params_setup(), PF_Err_NONE);
  EXPECT_EQ(host.sequence_setup(), PF_Err_NONE);
}

// The plug-in object that the entry logic keeps in the host's global data.
template <typename Plugin>
Plugin& plugin_in(lunaform::host::EffectHost& host) {
  AePlugin* plugin = nullptr;
  std::memcpy(&plugin, host.handles().bytes(host.global_data()).data(), sizeof plugin);
  return dynamic_cast<Plugin&>(*plugin);
}

// A composition of 1920 x 1080 square pixels at 30 frames per second with the effect on the
// layer "Sphere"; tests add parameter values and layers.
inline lunaform::host::Composition sphere_composition() {
  lunaform::host::Composition comp;
  comp.layers.push_back({.name = "Sphere", .content = lunaform::host::EffectLayer{}});
  return comp;
}

inline lunaform::host::EffectLayer& effect_of(lunaform::host::Composition& comp) {
  return std::get<lunaform::host::EffectLayer>(
      comp.layers[lunaform::host::effect_layer_index(comp).value()].content);
}

}  // namespace e2e_plugin
