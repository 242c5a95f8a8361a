#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "AE_Effect.h"

// An entry function for host tests whose behaviour each test writes as a lambda, so the host is
// driven exactly as a module drives it, without a module file.
namespace host_test {

using Script = std::function<PF_Err(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamList, void*)>;

class ScriptedEntry {
 public:
  // Makes `script` the behaviour of entry() on this thread until destruction.
  explicit ScriptedEntry(Script script) : script_(std::move(script)), previous_(current()) {
    current() = this;
  }
  ~ScriptedEntry() { current() = previous_; }
  ScriptedEntry(const ScriptedEntry&) = delete;
  ScriptedEntry& operator=(const ScriptedEntry&) = delete;

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

}  // namespace host_test
