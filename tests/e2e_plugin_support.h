#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AE_Effect.h"
#include "host/module.h"
#include "platform/message_box.h"
#include "plugin/ae_plugin.h"
#include "plugin/plugin_entry.h"

// Shared by the module's end-to-end suites (e2e_plugin_*.cpp).
namespace e2e_plugin {

// The entry point of the module file, loaded once and kept for the process.
inline PF_FilterProc real_module_entry() {
  static const lunaform::host::Module module = lunaform::host::Module::load(LUNAFORM_MODULE_PATH);
  return module.entry_point();
}

// The module's entry logic (the same code the module runs) around a test's plug-in object,
// as an entry function a host can drive. The object and the tables it fills live in the
// test process, where a test can look at them.
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

}  // namespace e2e_plugin
