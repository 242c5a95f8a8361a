#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "AE_Effect.h"
#include "SPBasic.h"
#include "host/effect_host.h"

// Shared set-up of the host tests: an entry function whose behaviour a test writes as a lambda
// (the host is driven exactly as a module drives it, without a module file), suites acquired
// the way a module's suite cache does, and parameter definitions.
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

// Acquires a suite for its lifetime and releases it at the end, like a module's suite cache.
template <typename Suite>
class AcquiredSuite {
 public:
  AcquiredSuite(const PF_InData& in_data, const char* name, int version)
      : basic_(in_data.pica_basicP), name_(name), version_(version) {
    const void* table = nullptr;
    EXPECT_EQ(basic_->AcquireSuite(name, version, &table), kSPNoError) << name;
    suite_ = static_cast<const Suite*>(table);
  }
  ~AcquiredSuite() {
    if (suite_ != nullptr) {
      basic_->ReleaseSuite(name_, version_);
    }
  }
  AcquiredSuite(const AcquiredSuite&) = delete;

  const Suite* operator->() const { return suite_; }

 private:
  SPBasicSuite* basic_;
  const char* name_;
  int version_;
  const Suite* suite_ = nullptr;
};

inline PF_ParamDef param_def(PF_ParamType type, A_long id, const char* name) {
  PF_ParamDef def{};
  def.param_type = type;
  def.uu.id = id;
  std::strncpy(def.name, name, sizeof def.name - 1);
  return def;
}

// An entry function whose parameter setup adds `defs` in order (indices 1, 2, ...) and does
// nothing for other commands.
class ParamsModule {
 public:
  explicit ParamsModule(std::vector<PF_ParamDef> defs)
      : defs_(std::move(defs)),
        script_(
            [this](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void*) -> PF_Err {
              if (command != PF_Cmd_PARAMS_SETUP) {
                return PF_Err_NONE;
              }
              for (PF_ParamDef def : defs_) {
                if (const PF_Err err = in->inter.add_param(in->effect_ref, -1, &def)) {
                  return err;
                }
              }
              out->num_params = static_cast<A_long>(defs_.size()) + 1;
              return PF_Err_NONE;
            }) {}

  static constexpr PF_FilterProc entry = &ScriptedEntry::entry;

 private:
  std::vector<PF_ParamDef> defs_;
  ScriptedEntry script_;
};

// Runs `body` inside a Smart Render command of `host`, as a module's render code runs.
inline void in_render(lunaform::host::EffectHost& host,
                      const std::function<void(PF_InData&)>& body) {
  host.run_inside_command(PF_Cmd_SMART_RENDER,
                          [&](PF_InData& in, PF_OutData&, PF_ParamList) { body(in); });
}

// Several numbers of different types as one list, so that a record's fields can be checked
// against values worked out by hand in one expectation.
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
