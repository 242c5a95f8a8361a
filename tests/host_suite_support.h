#pragma once

#include <cstring>
#include <utility>
#include <vector>

#include "AE_Effect.h"
#include "SPBasic.h"
#include "host/effect_host.h"
#include "tests/host_scripted_entry.h"

// Helpers for tests that call the host's suites the way a module does: through the basic
// suite in a command's in-data.
namespace host_test {

// Acquires a suite for its lifetime and releases it at the end, like a module's suite cache.
template <typename Suite>
class AcquiredSuite {
 public:
  AcquiredSuite(const PF_InData& in_data, const char* name, int version)
      : basic_(in_data.pica_basicP), name_(name), version_(version) {
    const void* table = nullptr;
    basic_->AcquireSuite(name, version, &table);
    suite_ = static_cast<const Suite*>(table);
  }
  ~AcquiredSuite() {
    if (suite_ != nullptr) {
      basic_->ReleaseSuite(name_, version_);
    }
  }
  AcquiredSuite(const AcquiredSuite&) = delete;
  AcquiredSuite& operator=(const AcquiredSuite&) = delete;

  const Suite* operator->() const { return suite_; }
  const Suite* get() const { return suite_; }

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

}  // namespace host_test
