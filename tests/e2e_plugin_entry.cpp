#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/effect_host.h"
#include "host/module.h"
#include "plugin/ae_plugin_connection.h"
#include "tests/e2e_plugin_support.h"

namespace {

using e2e_plugin::entry_for;
using e2e_plugin::MessageBoxCapture;
using e2e_plugin::real_module_entry;
using e2e_plugin::StderrCapture;
using lunaform::host::EffectHost;
using lunaform::host::Module;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// Counts plug-in objects made and destroyed by the entry logic.
struct Lifetimes {
  static inline int made = 0;
  static inline int destroyed = 0;
};

class CountedPlugin : public AePluginConnection {
 public:
  CountedPlugin() { ++Lifetimes::made; }
  ~CountedPlugin() override { ++Lifetimes::destroyed; }
};

class ThrowsStdException : public AePluginConnection {
 public:
  void on_user_changed_param(CommandContext&) override { throw std::runtime_error("x"); }
};

class ThrowsSomethingElse : public AePluginConnection {
 public:
  void on_user_changed_param(CommandContext&) override { throw 42; }
};

class FailsGlobalSetup : public CountedPlugin {
 public:
  void on_global_setup(CommandContext&) override { throw std::runtime_error("no GPU"); }
};

// Hands out a fresh host block for every sequence command, so the stored handles show which
// handler's result the dispatcher kept.
class SequenceBlocks : public AePluginConnection {
 public:
  PF_Handle on_sequence_setup(CommandContext& context) override { return block(context); }
  PF_Handle on_sequence_resetup(CommandContext& context, PF_Handle old) override {
    context.in_data->utils->host_dispose_handle(old);
    return block(context);
  }
  PF_Handle on_sequence_flatten(CommandContext& context, PF_Handle old) override {
    context.in_data->utils->host_dispose_handle(old);
    return block(context);
  }
  void on_sequence_setdown(CommandContext& context, PF_Handle old) override {
    context.in_data->utils->host_dispose_handle(old);
  }

  static inline std::vector<PF_Handle> handed_out;

 private:
  static PF_Handle block(CommandContext& context) {
    return handed_out.emplace_back(context.in_data->utils->host_new_handle(16));
  }
};

TEST(E2ePluginEntry, CommandsAbove10000ReturnZeroWithoutTouchingAnything) {
  // Records that are not there: following any of these pointers would fault.
  auto* in_data = reinterpret_cast<PF_InData*>(std::uintptr_t{0x10});
  auto* out_data = reinterpret_cast<PF_OutData*>(std::uintptr_t{0x20});
  auto* params = reinterpret_cast<PF_ParamList>(std::uintptr_t{0x30});
  for (const PF_Cmd command : {10001, 10002, 65536, INT_MAX}) {
    EXPECT_EQ(real_module_entry()(command, in_data, out_data, params, nullptr, nullptr),
              PF_Err_NONE)
        << "command " << command;
  }
}

TEST(E2ePluginEntry, CommandsUpTo10000ReachTheObjectLookup) {
  // Without global setup there is no object: a command that passes the range check is
  // answered with the error and its popup, one that does not is answered with 0 silently.
  EffectHost host(real_module_entry());
  StderrCapture error_output;
  const PF_Err at_limit = host.send(10000);
  const PF_Err negative = host.send(-1);
  const PF_Err beyond = host.send(10001);
  const std::string shown = error_output.take();

  EXPECT_EQ(at_limit, PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(negative, PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(beyond, PF_Err_NONE);
  const std::string line =
      "Lunaform Exception: Lunaform received a command before its global setup.\n";
  EXPECT_EQ(shown, line + line);
}

TEST(E2ePluginEntry, CommandsWithoutHandlerReturnZero) {
  EffectHost host(real_module_entry());
  StderrCapture error_output;
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  for (const PF_Cmd command :
       {2, 10, 11, 12, 16, 18, 19, 20, 21, 25, 26, 100, 9999, 10000, -1, -24, INT_MIN}) {
    EXPECT_EQ(host.send(command), PF_Err_NONE) << "command " << command;
  }
  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST(E2ePluginEntry, GlobalSetupDeclaresVersionAndFlagsAndLogsTheBuild) {
  EffectHost host(real_module_entry());
  StderrCapture error_output;
  const PF_Err result = host.global_setup();
  const std::string logged = error_output.take();

  ASSERT_EQ(result, PF_Err_NONE);
  EXPECT_EQ(logged, "## Lunaform 1.0.2 (66)");
  // The host's packed version: major 1 at bit 19, build 66, all else 0.
  EXPECT_EQ(host.out_data().my_version, (1u << 19) | 66u);
  // Custom UI (bit 15), deep colour (25), update-params-UI (26).
  EXPECT_EQ(host.out_data().out_flags, (1 << 15) | (1 << 25) | (1 << 26));
  // 3D camera (1), 3D lights (2), group-start-collapsed flag (3), smart render (10), float
  // colour (12).
  EXPECT_EQ(host.out_data().out_flags2, (1 << 1) | (1 << 2) | (1 << 3) | (1 << 10) | (1 << 12));

  // Hosts insist that the PiPL says the same.
  const auto module = Module::load(LUNAFORM_MODULE_PATH);
  EXPECT_EQ(module.pipl().version, host.out_data().my_version);
  EXPECT_EQ(module.pipl().global_out_flags, static_cast<uint32_t>(host.out_data().out_flags));
  EXPECT_EQ(module.pipl().global_out_flags_2, static_cast<uint32_t>(host.out_data().out_flags2));
}

TEST(E2ePluginEntry, AboutNamesTheEffectAndVersion) {
  EffectHost host(real_module_entry());
  {
    StderrCapture banner;
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  }
  StderrCapture error_output;
  EXPECT_EQ(host.about(), PF_Err_NONE);
  EXPECT_EQ(error_output.take(), "Lunaform: Lunaform v1.0.2 (66)\n");
}

TEST(E2ePluginEntry, HandlerThrowingStdExceptionGives512AndShowsItsText) {
  EffectHost host(&entry_for<ThrowsStdException>);
  StderrCapture banner;
  MessageBoxCapture shown;
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);

  EXPECT_EQ(host.user_changed_param(1), 512);
  EXPECT_THAT(shown.messages, ElementsAre(Pair("Lunaform Exception", "x")));
}

TEST(E2ePluginEntry, NonStdExceptionGives512AndTheUnrecoverableErrorText) {
  EffectHost host(&entry_for<ThrowsSomethingElse>);
  StderrCapture banner;
  MessageBoxCapture shown;
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);

  EXPECT_EQ(host.user_changed_param(1), 512);
  EXPECT_THAT(
      shown.messages,
      ElementsAre(Pair("Lunaform Exception", "Lunaform has encountered an unrecoverable error.")));
}

TEST(E2ePluginEntry, GlobalSetdownClearsGlobalDataAndTheNextSetupMakesANewObject) {
  Lifetimes::made = Lifetimes::destroyed = 0;
  EffectHost host(&entry_for<CountedPlugin>);
  StderrCapture banner;

  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  ASSERT_NE(host.global_data(), nullptr);
  EXPECT_EQ(host.handles().live_count(), 1u);
  EXPECT_EQ(Lifetimes::made, 1);

  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.in_data().global_data, nullptr);
  EXPECT_EQ(host.out_data().global_data, nullptr);
  EXPECT_EQ(host.global_data(), nullptr);
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_EQ(Lifetimes::destroyed, 1);

  EXPECT_EQ(host.global_setup(), PF_Err_NONE);
  EXPECT_NE(host.global_data(), nullptr);
  EXPECT_EQ(Lifetimes::made, 2);
  EXPECT_EQ(Lifetimes::destroyed, 1);
  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(Lifetimes::destroyed, 2);
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST(E2ePluginEntry, FailedGlobalSetupKeepsTheObjectUntilGlobalSetdown) {
  Lifetimes::made = Lifetimes::destroyed = 0;
  EffectHost host(&entry_for<FailsGlobalSetup>);
  StderrCapture banner;
  MessageBoxCapture shown;

  EXPECT_EQ(host.global_setup(), 512);
  EXPECT_THAT(shown.messages, ElementsAre(Pair("Lunaform Exception", "no GPU")));
  EXPECT_EQ(Lifetimes::made, 1);
  EXPECT_EQ(Lifetimes::destroyed, 0);
  EXPECT_EQ(host.handles().live_count(), 1u);

  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(Lifetimes::destroyed, 1);
  EXPECT_EQ(host.handles().live_count(), 0u);
}

TEST(E2ePluginEntry, SequenceHandlersResultsBecomeTheSequenceData) {
  SequenceBlocks::handed_out.clear();
  EffectHost host(&entry_for<SequenceBlocks>);
  StderrCapture banner;
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);

  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  ASSERT_EQ(SequenceBlocks::handed_out.size(), 1u);
  EXPECT_EQ(host.sequence_data(), SequenceBlocks::handed_out[0]);

  ASSERT_EQ(host.sequence_flatten(), PF_Err_NONE);
  ASSERT_EQ(SequenceBlocks::handed_out.size(), 2u);
  EXPECT_EQ(host.sequence_data(), SequenceBlocks::handed_out[1]);

  ASSERT_EQ(host.sequence_resetup(), PF_Err_NONE);
  ASSERT_EQ(SequenceBlocks::handed_out.size(), 3u);
  EXPECT_EQ(host.sequence_data(), SequenceBlocks::handed_out[2]);

  ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.sequence_data(), nullptr);
  EXPECT_EQ(host.in_data().sequence_data, nullptr);
  EXPECT_EQ(host.out_data().sequence_data, nullptr);
  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST(E2ePluginEntry, GetPluginVersionWritesVersionAndBuild) {
  real_module_entry();  // loads the module (and keeps it loaded)
  void* module = dlopen(LUNAFORM_MODULE_PATH, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(module, nullptr) << dlerror();
  using GetVersion = std::uint32_t* (*)(std::uint32_t*);
  const auto get_version = reinterpret_cast<GetVersion>(dlsym(module, "GetPluginVersion"));
  ASSERT_NE(get_version, nullptr);

  std::uint32_t version[4] = {9, 9, 9, 9};
  EXPECT_EQ(get_version(version), version);
  EXPECT_THAT(version, ElementsAre(1u, 0u, 2u, 66u));
  dlclose(module);
}

TEST(E2ePluginEntry, ModuleExportsOnlyItsTwoEntryPoints) {
  const std::string command = std::string("nm -D --defined-only ") + LUNAFORM_MODULE_PATH;
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::set<std::string> defined;
  char line[4096];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    std::string text(line);
    text.erase(text.find_last_not_of("\r\n") + 1);
    defined.insert(text.substr(text.rfind(' ') + 1));
  }
  ASSERT_EQ(pclose(pipe), 0) << command;
  EXPECT_EQ(defined, (std::set<std::string>{"GetPluginVersion", "PluginMain"}));
}

}  // namespace
