#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "host/effect_host.h"
#include "plugin/ae_plugin.h"
#include "scene/render_state.h"

// Shared by the lifecycle end-to-end suites (e2e_lifecycle_*.cpp).
namespace e2e_lifecycle {

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

}  // namespace e2e_lifecycle
