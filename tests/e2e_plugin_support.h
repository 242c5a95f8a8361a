#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "AE_Effect.h"
#include "host/effect_host.h"
#include "host/module.h"
#include "platform/message_box.h"
#include "plugin/ae_plugin.h"
#include "plugin/plugin_entry.h"
#include "scene/render_state.h"

// Shared by the end-to-end suites that drive the effect through the host (e2e_*.cpp).
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

// The kernel's id of the render thread behind `state`, asked on that thread itself.
inline pid_t render_thread_tid(RenderState& state) {
  pid_t tid = 0;
  state.render_thread->run([&tid] { tid = gettid(); });
  return tid;
}

// Whether the kernel lists thread `tid` in this process.
inline bool thread_listed(pid_t tid) {
  return std::filesystem::exists("/proc/self/task/" + std::to_string(tid));
}

// True once thread `tid` has left the process; false if it is still there after a generous
// limit. A render thread is detached: it leaves a moment after its owner was destroyed.
inline bool thread_ends(pid_t tid) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (thread_listed(tid)) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace e2e_plugin
