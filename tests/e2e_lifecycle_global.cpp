#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "host/effect_host.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/hx_exception.h"
#include "tests/e2e_lifecycle_support.h"
#include "tests/e2e_plugin_support.h"

namespace {

using e2e_lifecycle::plugin_in;
using e2e_lifecycle::render_thread_tid;
using e2e_lifecycle::thread_ends;
using e2e_lifecycle::thread_listed;
using e2e_plugin::entry_for;
using e2e_plugin::MessageBoxCapture;
using e2e_plugin::StderrCapture;
using lunaform::host::EffectHost;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

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

TEST(E2eLifecycleGlobal, GlobalSetupLogsTheBuildRegistersAndStartsTheRenderThread) {
  EffectHost host(&entry_for<AePluginConnection>);
  StderrCapture error_output;
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  EXPECT_EQ(error_output.take(), "## Lunaform 1.0.2 (66)");

  ASSERT_EQ(host.aegp_registrations().size(), 1u);
  const auto& registration = host.aegp_registrations()[0];
  EXPECT_EQ(registration.refcon, nullptr);
  EXPECT_EQ(registration.name, "Lunaform");
  AePluginConnection& plugin = plugin_in<AePluginConnection>(host);
  EXPECT_EQ(plugin.aegp_plugin_id, registration.id);
  EXPECT_THAT(host.suites().unreleased(), IsEmpty());

  ASSERT_NE(plugin.renderer, nullptr);
  const pid_t render_thread = render_thread_tid(*plugin.renderer);
  EXPECT_NE(render_thread, gettid());
  EXPECT_TRUE(thread_listed(render_thread));

  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_TRUE(thread_ends(render_thread));
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST(E2eLifecycleGlobal, GpuSideFailureGives512AndThePopupExplainsTheCause) {
  struct Case {
    PF_FilterProc entry;
    std::string popup_text;
  };
  const Case cases[] = {
      {&entry_for<NoGlContext>,
       "Lunaform failed to initialize with error:\n\nfailed to create OpenGL 4.1 context"},
      {&entry_for<ShaderFails>,
       "Lunaform failed to initialize with error:\n\nmaterial.frag: 0:12: syntax error"},
      {&entry_for<ThrowsNoStdException>, "Lunaform has encountered an unrecoverable error."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.popup_text);
    EffectHost host(c.entry);
    StderrCapture banner;
    MessageBoxCapture shown;

    EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_THAT(shown.messages, ElementsAre(Pair("Lunaform Exception", c.popup_text)));
    EXPECT_EQ(plugin_in<AePluginConnection>(host).renderer, nullptr);

    // The host sends global setdown after a failed setup too; nothing is left behind.
    EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
    EXPECT_EQ(host.handles().live_count(), 0u);
    EXPECT_THAT(host.suites().unreleased(), IsEmpty());
    EXPECT_THAT(host.problems(), IsEmpty());
  }
}

TEST(E2eLifecycleGlobal, ASecondGlobalSetupReplacesTheGpuSideAndStopsTheFirst) {
  EffectHost host(&entry_for<AePluginConnection>);
  AePluginConnection plugin;
  host.run_inside_command(
      PF_Cmd_GLOBAL_SETUP, [&](PF_InData& in_data, PF_OutData& out_data, PF_ParamList params) {
        CommandContext context{&in_data, &out_data, params, nullptr, PF_Err_NONE};
        plugin.on_global_setup(context);
        ASSERT_NE(plugin.renderer, nullptr);
        const pid_t first = render_thread_tid(*plugin.renderer);

        plugin.on_global_setup(context);
        ASSERT_NE(plugin.renderer, nullptr);
        const pid_t second = render_thread_tid(*plugin.renderer);
        EXPECT_NE(second, first);
        EXPECT_TRUE(thread_ends(first));
        EXPECT_TRUE(thread_listed(second));

        plugin.on_global_setdown(context);
        EXPECT_EQ(plugin.renderer, nullptr);
        EXPECT_TRUE(thread_ends(second));
      });
}

}  // namespace
