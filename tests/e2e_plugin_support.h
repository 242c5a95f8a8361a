#pragma once

#include <gtest/gtest.h>

#include <cstring>
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

// Collects the message boxes that in-process plug-in code shows while alive.
class MessageBoxCapture {
 public:
  MessageBoxCapture()
      : previous_(
            hxsdk::set_message_box_sink([this](std::string_view title, std::string_view text) {
              messages.emplace_back(title, text);
            })) {}
  ~MessageBoxCapture() { hxsdk::set_message_box_sink(std::move(previous_)); }
  MessageBoxCapture(const MessageBoxCapture&) = delete;
  MessageBoxCapture& operator=(const MessageBoxCapture&) = delete;

  std::vector<std::pair<std::string, std::string>> messages;

 private:
  hxsdk::MessageBoxSink previous_;
};

// Sends the module's debug lines to `sink` while alive.
class DebugSinkScope {
 public:
  explicit DebugSinkScope(hxsdk::DebugSink sink)
      : previous_(hxsdk::set_debug_sink(std::move(sink))) {}
  ~DebugSinkScope() { hxsdk::set_debug_sink(std::move(previous_)); }
  DebugSinkScope(const DebugSinkScope&) = delete;
  DebugSinkScope& operator=(const DebugSinkScope&) = delete;

 private:
  hxsdk::DebugSink previous_;
};

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
