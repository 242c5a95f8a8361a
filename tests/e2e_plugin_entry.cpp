// The effect's entry point and lifecycle through the host: the module file's exports and PiPL,
// command dispatch and its failures, the GPU side from global setup to setdown, and the host
// suites every command acquires and gives back.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/effect_host.h"
#include "host/elf_section.h"
#include "host/file_bytes.h"
#include "host/module.h"
#include "platform/debug_output.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/host_suites.h"
#include "plugin/hx_exception.h"
#include "scene/render_state.h"
#include "tests/e2e_plugin_support.h"
#include "tests/shell_command.h"

namespace {

using e2e_plugin::entry_for;
using e2e_plugin::MessageBoxCapture;
using e2e_plugin::plugin_in;
using e2e_plugin::real_module_entry;
using e2e_plugin::render_thread_tid;
using e2e_plugin::StderrCapture;
using e2e_plugin::thread_ends;
using e2e_plugin::thread_listed;
using lunaform::host::EffectHost;
using lunaform::host::Module;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// Version 1.0.2 build 66 as hosts pack it: major at bit 19, build in the low bits, and (for
// this build) minor, bug-fix and stage left at 0.
constexpr std::uint32_t kPackedVersion = (1u << 19) | 66u;
// Custom UI (bit 15), deep colour (25), update-params-UI (26).
constexpr std::uint32_t kOutFlags = (1u << 15) | (1u << 25) | (1u << 26);
// 3D camera (1), 3D lights (2), groups start collapsed (3), smart render (10), float colour (12).
constexpr std::uint32_t kOutFlags2 = (1u << 1) | (1u << 2) | (1u << 3) | (1u << 10) | (1u << 12);

// The effect's PiPL as a Windows resource compiler lays it out: u16 version 1, u32 reserved,
// u32 count, then each property as vendor "8BIM" and key stored byte-reversed, u32 id 0, the
// value's length padded to four bytes, the value and its padding. Numbers are little-endian.
std::vector<std::uint8_t> expected_pipl() {
  std::vector<std::uint8_t> pipl = {1, 0, 0, 0, 0, 0, 12, 0, 0, 0};
  const auto u32 = [](std::uint32_t v) {
    return std::vector<std::uint8_t>{std::uint8_t(v), std::uint8_t(v >> 8), std::uint8_t(v >> 16),
                                     std::uint8_t(v >> 24)};
  };
  const auto pascal = [](std::string_view text) {
    std::vector<std::uint8_t> bytes{std::uint8_t(text.size())};
    bytes.insert(bytes.end(), text.begin(), text.end());
    return bytes;
  };
  const auto property = [&](std::string_view key, std::vector<std::uint8_t> value) {
    for (const std::string_view code : {std::string_view("8BIM"), key}) {
      pipl.insert(pipl.end(), code.rbegin(), code.rend());
    }
    value.resize((value.size() + 3) / 4 * 4, 0);
    for (const std::vector<std::uint8_t>& part :
         {u32(0), u32(std::uint32_t(value.size())), value}) {
      pipl.insert(pipl.end(), part.begin(), part.end());
    }
  };
  std::vector<std::uint8_t> entry = pascal("PluginMain");
  entry.erase(entry.begin());
  entry.push_back(0);  // a C string
  property("kind", {'T', 'K', 'F', 'e'});
  property("name", pascal("Lunaform"));
  property("catg", pascal("Brightmoor"));
  property("8664", entry);
  property("eVER", u32(kPackedVersion));
  property("ePVR", u32(2));
  property("eSVR", {13, 0, 9, 0});
  property("eINF", {0, 0});
  property("eGLO", u32(kOutFlags));
  property("eGL2", u32(kOutFlags2));
  property("eMNA", pascal("BRIGHTMOOR Sphere"));
  property("aeFL", u32(0));
  return pipl;
}

TEST(E2ePluginEntry, ModuleFileExportsItsTwoEntryPointsAndCarriesThePiplByteForByte) {
  const ShellRun symbols =
      run_shell_command(std::string("nm -D --defined-only ") + LUNAFORM_MODULE_PATH);
  ASSERT_EQ(symbols.exit_code, 0);
  std::set<std::string> defined;
  std::istringstream lines(symbols.output);
  for (std::string line; std::getline(lines, line);) {
    defined.insert(line.substr(line.rfind(' ') + 1));
  }
  EXPECT_EQ(defined, (std::set<std::string>{"GetPluginVersion", "PluginMain"}));

  real_module_entry();  // loads the module (and keeps it loaded)
  void* handle = dlopen(LUNAFORM_MODULE_PATH, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(handle, nullptr) << dlerror();
  using GetVersion = std::uint32_t* (*)(std::uint32_t*);
  const auto get_version = reinterpret_cast<GetVersion>(dlsym(handle, "GetPluginVersion"));
  ASSERT_NE(get_version, nullptr);
  std::uint32_t version[4] = {9, 9, 9, 9};
  EXPECT_EQ(get_version(version), version);
  EXPECT_THAT(version, ElementsAre(1u, 0u, 2u, 66u));
  dlclose(handle);

  const auto file = lunaform::host::read_file_bytes(LUNAFORM_MODULE_PATH);
  const auto section = lunaform::host::find_elf_section(file, ".pipl");
  std::vector<std::uint8_t> stored;
  for (const std::byte b : section) {
    stored.push_back(std::to_integer<std::uint8_t>(b));
  }
  EXPECT_EQ(stored, expected_pipl());
  const Module module = Module::load(LUNAFORM_MODULE_PATH);
  EXPECT_EQ(module.pipl().match_name, "BRIGHTMOOR Sphere");
  EXPECT_EQ(module.pipl().global_out_flags_2, kOutFlags2);
}

TEST(E2ePluginEntry, EveryLifecycleCommandSucceedsAndGivesBackEverySuiteItTook) {
  const Module module = Module::load(LUNAFORM_MODULE_PATH);
  EffectHost host(module.entry_point());
  StderrCapture error_output;
  int suites_used = 0;
  // Sends one command: it must succeed, and take each suite it needs once and give it back.
  const auto command = [&](const char* name, const std::function<PF_Err()>& send) {
    SCOPED_TRACE(name);
    host.suites().reset_counts();
    ASSERT_EQ(send(), PF_Err_NONE);
    for (const lunaform::host::SuiteUse& use : host.suites().uses()) {
      EXPECT_EQ(use.acquired, 1) << use.name << " v" << use.version;
      EXPECT_EQ(use.released, 1) << use.name << " v" << use.version;
      ++suites_used;
    }
  };
  command("global setup", [&] { return host.global_setup(); });
  EXPECT_EQ(error_output.take(), "## Lunaform 1.0.2 (66)");
  // What the module declares at run time is what its PiPL promised.
  EXPECT_EQ(host.out_data().my_version, kPackedVersion);
  EXPECT_EQ(std::uint32_t(host.out_data().out_flags), kOutFlags);
  EXPECT_EQ(std::uint32_t(host.out_data().out_flags2), kOutFlags2);
  EXPECT_EQ(module.pipl().version, kPackedVersion);
  EXPECT_EQ(module.pipl().global_out_flags, kOutFlags);
  ASSERT_EQ(host.aegp_registrations().size(), 1u);
  EXPECT_EQ(host.aegp_registrations()[0].name, "Lunaform");

  command("parameter setup", [&] { return host.params_setup(); });
  EXPECT_EQ(host.out_data().num_params, 80);
  command("commands without a handler", [&] {
    for (const PF_Cmd unknown :
         {2, 10, 11, 12, 16, 18, 19, 20, 21, 25, 26, 100, 9999, 10000, -1, -24, INT_MIN}) {
      EXPECT_EQ(host.send(unknown), PF_Err_NONE) << "command " << unknown;
    }
    return PF_Err_NONE;
  });
  StderrCapture about_text;
  command("about", [&] { return host.about(); });
  EXPECT_EQ(about_text.take(), "Lunaform: Lunaform v1.0.2 (66)\n");
  command("sequence setup", [&] { return host.sequence_setup(); });
  command("parameter UI update", [&] { return host.update_params_ui(); });
  command("sequence setdown", [&] { return host.sequence_setdown(); });
  EXPECT_EQ(host.sequence_data(), nullptr);
  command("global setdown", [&] { return host.global_setdown(); });
  EXPECT_EQ(host.global_data(), nullptr);
  // Global setup registers (Utility); the UI update needs PF Interface, Stream, Dynamic Stream
  // and Effect: the checks above really looked at suites.
  EXPECT_EQ(suites_used, 5);
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_EQ(host.outstanding_param_checkouts(), 0);
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST(E2ePluginEntry, CommandsAbove10000AreIgnoredAndOthersNeedGlobalSetupFirst) {
  // Records that are not there: following any of these pointers would fault.
  auto* in_data = reinterpret_cast<PF_InData*>(std::uintptr_t{0x10});
  auto* out_data = reinterpret_cast<PF_OutData*>(std::uintptr_t{0x20});
  auto* params = reinterpret_cast<PF_ParamList>(std::uintptr_t{0x30});
  for (const PF_Cmd command : {10001, 10002, 65536, INT_MAX}) {
    EXPECT_EQ(real_module_entry()(command, in_data, out_data, params, nullptr, nullptr),
              PF_Err_NONE)
        << "command " << command;
  }
  EffectHost host(real_module_entry());
  StderrCapture error_output;
  EXPECT_EQ(host.send(10000), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(host.send(-1), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(host.send(10001), PF_Err_NONE);
  const std::string line =
      "Lunaform Exception: Lunaform received a command before its global setup.\n";
  EXPECT_EQ(error_output.take(), line + line);
}

// A handler that takes two suites and then fails with a standard exception.
struct FailsAfterAcquiring : AePluginConnection {
  void on_user_changed_param(CommandContext& context) override {
    HostSuites suites(*context.in_data);
    suites.get<AEGP_PFInterfaceSuite1>();
    suites.get<AEGP_DynamicStreamSuite2>();
    throw std::runtime_error("failed halfway");
  }
};
struct ThrowsSomethingElse : AePluginConnection {
  void on_user_changed_param(CommandContext&) override { throw 42; }
};

TEST(E2ePluginEntry, AFailingHandlerGives512AndItsPopupAndStillReleasesItsSuites) {
  struct Case {
    PF_FilterProc entry;
    const char* popup;
  };
  for (const Case& c : {Case{&entry_for<FailsAfterAcquiring>, "failed halfway"},
                        Case{&entry_for<ThrowsSomethingElse>,
                             "Lunaform has encountered an unrecoverable error."}}) {
    SCOPED_TRACE(c.popup);
    EffectHost host(c.entry);
    StderrCapture banner;
    MessageBoxCapture shown;
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
    host.suites().reset_counts();
    EXPECT_EQ(host.user_changed_param(1), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_THAT(shown.messages, ElementsAre(Pair("Lunaform Exception", c.popup)));
    EXPECT_THAT(host.suites().unreleased(), IsEmpty());
  }
}

// Counts the plug-in objects the entry logic makes and destroys.
struct Lifetimes {
  static inline int made = 0;
  static inline int destroyed = 0;
};
struct CountedPlugin : AePluginConnection {
  CountedPlugin() { ++Lifetimes::made; }
  ~CountedPlugin() override { ++Lifetimes::destroyed; }
};
struct FailsGlobalSetup : CountedPlugin {
  void on_global_setup(CommandContext&) override { throw std::runtime_error("no GPU"); }
};

TEST(E2ePluginEntry, GlobalSetdownEndsTheObjectEvenAfterAFailedSetupAndTheNextSetupMakesANewOne) {
  Lifetimes::made = Lifetimes::destroyed = 0;
  {
    EffectHost host(&entry_for<FailsGlobalSetup>);
    StderrCapture banner;
    MessageBoxCapture shown;
    EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_THAT(shown.messages, ElementsAre(Pair("Lunaform Exception", "no GPU")));
    EXPECT_EQ(host.handles().live_count(), 1u);
    EXPECT_EQ(Lifetimes::destroyed, 0);
    EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
    EXPECT_EQ(Lifetimes::destroyed, 1);
    EXPECT_EQ(host.handles().live_count(), 0u);
  }
  EffectHost host(&entry_for<CountedPlugin>);
  StderrCapture banner;
  for (int setup = 1; setup <= 2; ++setup) {
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
    EXPECT_NE(host.global_data(), nullptr);
    EXPECT_EQ(Lifetimes::made, 1 + setup);
    EXPECT_EQ(Lifetimes::destroyed, setup);
    EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
    EXPECT_EQ(host.in_data().global_data, nullptr);
    EXPECT_EQ(host.out_data().global_data, nullptr);
    EXPECT_EQ(host.handles().live_count(), 0u);
    EXPECT_EQ(Lifetimes::destroyed, 1 + setup);
  }
  EXPECT_THAT(host.problems(), IsEmpty());
}

// Hands out a fresh host block for every sequence command, so the stored handles show which
// handler's result the dispatcher kept.
struct SequenceBlocks : AePluginConnection {
  PF_Handle on_sequence_setup(CommandContext& context) override { return block(context); }
  PF_Handle on_sequence_resetup(CommandContext& context, PF_Handle old) override {
    return replace(context, old);
  }
  PF_Handle on_sequence_flatten(CommandContext& context, PF_Handle old) override {
    return replace(context, old);
  }
  void on_sequence_setdown(CommandContext& context, PF_Handle old) override {
    context.in_data->utils->host_dispose_handle(old);
  }
  static PF_Handle block(CommandContext& context) {
    return handed_out.emplace_back(context.in_data->utils->host_new_handle(16));
  }
  static PF_Handle replace(CommandContext& context, PF_Handle old) {
    context.in_data->utils->host_dispose_handle(old);
    return block(context);
  }
  static inline std::vector<PF_Handle> handed_out;
};

TEST(E2ePluginEntry, SequenceHandlersResultsBecomeTheSequenceData) {
  SequenceBlocks::handed_out.clear();
  EffectHost host(&entry_for<SequenceBlocks>);
  StderrCapture banner;
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_flatten(), PF_Err_NONE);
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

TEST(E2ePluginEntry, GlobalSetupStartsARenderThreadThatASecondSetupOrTheSetdownStops) {
  EffectHost host(&entry_for<AePluginConnection>);
  {
    StderrCapture banner;
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  }
  AePluginConnection& plugin = plugin_in<AePluginConnection>(host);
  ASSERT_EQ(host.aegp_registrations().size(), 1u);
  EXPECT_EQ(host.aegp_registrations()[0].refcon, nullptr);
  EXPECT_EQ(plugin.aegp_plugin_id, host.aegp_registrations()[0].id);
  ASSERT_NE(plugin.renderer, nullptr);
  const pid_t first = render_thread_tid(*plugin.renderer);
  EXPECT_NE(first, gettid());
  EXPECT_TRUE(thread_listed(first));

  host.run_inside_command(
      PF_Cmd_GLOBAL_SETUP, [&](PF_InData& in_data, PF_OutData& out_data, PF_ParamList params) {
        CommandContext context{&in_data, &out_data, params, nullptr, PF_Err_NONE};
        plugin.on_global_setup(context);
      });
  ASSERT_NE(plugin.renderer, nullptr);
  const pid_t second = render_thread_tid(*plugin.renderer);
  EXPECT_NE(second, first);
  EXPECT_TRUE(thread_ends(first));
  EXPECT_TRUE(thread_listed(second));

  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_TRUE(thread_ends(second));
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_THAT(host.problems(), IsEmpty());
}

// Plug-in objects whose GPU side fails to come up the ways it can: the standard exceptions the
// context and shader set-up throw, and something that is no std::exception at all.
struct NoGlContext : AePluginConnection {
  NoGlContext()
      : AePluginConnection([]() -> std::unique_ptr<RenderState> {
          throw std::runtime_error("failed to create OpenGL 4.1 context");
        }) {}
};
struct ShaderFails : AePluginConnection {
  ShaderFails()
      : AePluginConnection([]() -> std::unique_ptr<RenderState> {
          throw hx_exception("material.frag: 0:12: syntax error");
        }) {}
};
struct ThrowsNoStdException : AePluginConnection {
  ThrowsNoStdException() : AePluginConnection([]() -> std::unique_ptr<RenderState> { throw 7; }) {}
};

TEST(E2ePluginEntry, WithoutItsGpuSideTheEffectSaysWhyAndInstancesComeAndGoButNeverRender) {
  struct Case {
    PF_FilterProc entry;
    std::string popup;
  };
  const Case cases[] = {
      {&entry_for<NoGlContext>,
       "Lunaform failed to initialize with error:\n\nfailed to create OpenGL 4.1 context"},
      {&entry_for<ShaderFails>,
       "Lunaform failed to initialize with error:\n\nmaterial.frag: 0:12: syntax error"},
      {&entry_for<ThrowsNoStdException>, "Lunaform has encountered an unrecoverable error."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.popup);
    EffectHost host(c.entry);
    StderrCapture banner;
    MessageBoxCapture shown;
    EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_THAT(shown.messages, ElementsAre(Pair("Lunaform Exception", c.popup)));
    EXPECT_EQ(plugin_in<AePluginConnection>(host).renderer, nullptr);

    // A host carries on: instances are made, saved, loaded and closed, and frames are
    // cancelled without a word or a timing line.
    ASSERT_EQ(host.params_setup(), PF_Err_NONE);
    ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
    ASSERT_EQ(host.sequence_flatten(), PF_Err_NONE);
    ASSERT_EQ(host.sequence_resetup(), PF_Err_NONE);
    EXPECT_EQ(host.handles().size(host.sequence_data()), 164u);
    ASSERT_EQ(host.smart_pre_render(), PF_Err_NONE);
    const auto previous_sink = hxsdk::set_debug_sink(
        [](std::string_view line) { ADD_FAILURE() << "debug line " << line; });
    EXPECT_EQ(host.smart_render(), PF_Interrupt_CANCEL);
    hxsdk::set_debug_sink(previous_sink);
    EXPECT_EQ(shown.messages.size(), 1u);
    ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
    EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
    EXPECT_EQ(host.handles().live_count(), 0u);
    EXPECT_THAT(host.suites().unreleased(), IsEmpty());
    EXPECT_EQ(host.outstanding_param_checkouts(), 0);
    EXPECT_THAT(host.problems(), IsEmpty());
  }
}

TEST(E2ePluginEntry, TheSuiteCacheTakesEachSuiteOnceGivesItBackAtItsEndAndNamesAMissingOne) {
  EffectHost host(real_module_entry());
  const auto counts = [&](const std::string& name, int version) {
    const lunaform::host::SuiteUse use = host.suites().use(name, version);
    return std::make_pair(use.acquired, use.released);
  };
  host.run_inside_command(
      PF_Cmd_UPDATE_PARAMS_UI, [&](PF_InData& in_data, PF_OutData&, PF_ParamList) {
        { HostSuites unused(in_data); }
        EXPECT_THAT(host.suites().uses(), IsEmpty());
        {
          HostSuites suites(in_data);
          const AEGP_StreamSuite2& first = suites.get<AEGP_StreamSuite2>();
          EXPECT_EQ(suites.find<AEGP_StreamSuite2>(), &first);
          EXPECT_EQ(&suites.get<AEGP_StreamSuite2>(), &first);
          suites.get<AEGP_EffectSuite2>();
          EXPECT_EQ(counts("AEGP Stream Suite", 7), std::make_pair(1, 0));
          EXPECT_EQ(counts("AEGP Effect Suite", 2), std::make_pair(1, 0));
        }
        EXPECT_EQ(counts("AEGP Stream Suite", 7), std::make_pair(1, 1));
        EXPECT_EQ(counts("AEGP Effect Suite", 2), std::make_pair(1, 1));
        EXPECT_EQ(host.suites().uses().size(), 2u);

        PF_InData without_basic_suite = in_data;
        without_basic_suite.pica_basicP = nullptr;
        HostSuites suites(without_basic_suite);
        EXPECT_EQ(suites.find<AEGP_StreamSuite2>(), nullptr);
        EXPECT_THAT([&] { suites.get<AEGP_StreamSuite2>(); },
                    testing::ThrowsMessage<hx_exception>(testing::StrEq(
                        "Lunaform needs the host's \"AEGP Stream Suite\" version 7, which this "
                        "host does not offer.")));
      });
}

}  // namespace
