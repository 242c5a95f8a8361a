#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "AE_Effect.h"
#include "host/effect_host.h"

// Shared set-up of the host tests: an entry function whose behaviour a test writes as a lambda
// (driving the host as a module does, without a module file), and parameter definitions.
namespace host_test {

using Script = std::function<PF_Err(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamList, void*)>;

// Makes `script` the behaviour of entry() on this thread until destruction.
class ScriptedEntry {
 public:
  explicit ScriptedEntry(Script script) : script_(std::move(script)), previous_(current()) {
    current() = this;
  }
  ~ScriptedEntry() { current() = previous_; }
  ScriptedEntry(const ScriptedEntry&) = delete;

  // The function to give the host. Records each command, then runs the script.
  static PF_Err entry(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data, PF_ParamList params,
                      PF_LayerDef*, void* extra) {
    ScriptedEntry* self = current();
    self->received.push_back(command);
    return self->script_ ? self->script_(command, in_data, out_data, params, extra) : PF_Err_NONE;
  }

  std::vector<PF_Cmd> received;

 private:
  static ScriptedEntry*& current() {
    thread_local ScriptedEntry* entry = nullptr;
    return entry;
  }

  Script script_;
  ScriptedEntry* previous_;
};

inline PF_ParamDef param_def(PF_ParamType type, A_long id, const char* name) {
  PF_ParamDef def{};
  def.param_type = type;
  def.uu.id = id;
  std::strncpy(def.name, name, sizeof def.name - 1);
  return def;
}

// Runs `body` inside a Smart Render command of `host`, as a module's render code runs.
inline void in_render(lunaform::host::EffectHost& host,
                      const std::function<void(PF_InData&)>& body) {
  host.run_inside_command(PF_Cmd_SMART_RENDER,
                          [&](PF_InData& in, PF_OutData&, PF_ParamList) { body(in); });
}

// Numbers of several types as one list, to check a record's fields in one expectation.
template <typename... T>
std::vector<double> nums(T... values) {
  return {static_cast<double>(values)...};
}

// A rectangle as the list left, top, right, bottom.
template <typename Rect>
std::vector<double> edges(const Rect& r) {
  return nums(r.left, r.top, r.right, r.bottom);
}

}  // namespace host_test
