#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/effect_host.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/host_suites.h"
#include "plugin/hx_exception.h"
#include "tests/e2e_plugin_support.h"

namespace {

using e2e_plugin::entry_for;
using e2e_plugin::MessageBoxCapture;
using e2e_plugin::real_module_entry;
using e2e_plugin::StderrCapture;
using lunaform::host::EffectHost;
using lunaform::host::SuiteUse;
using testing::IsEmpty;

// acquired / released counts of one suite, for compact expectations.
std::pair<int, int> counts(EffectHost& host, const std::string& name, int version) {
  const SuiteUse use = host.suites().use(name, version);
  return {use.acquired, use.released};
}

TEST(E2eLifecycleHostSuites, ASuiteUsedTwiceIsAcquiredOnceAndReleasedWhenTheCacheEnds) {
  EffectHost host(real_module_entry());
  host.run_inside_command(PF_Cmd_UPDATE_PARAMS_UI,
                          [&](PF_InData& in_data, PF_OutData&, PF_ParamList) {
                            {
                              HostSuites suites(in_data);
                              const AEGP_StreamSuite2& first = suites.get<AEGP_StreamSuite2>();
                              const AEGP_StreamSuite2* again = suites.find<AEGP_StreamSuite2>();
                              const AEGP_StreamSuite2& third = suites.get<AEGP_StreamSuite2>();
                              suites.get<AEGP_EffectSuite2>();
                              EXPECT_EQ(again, &first);
                              EXPECT_EQ(&third, &first);
                              EXPECT_EQ(counts(host, "AEGP Stream Suite", 7), std::make_pair(1, 0));
                              EXPECT_EQ(counts(host, "AEGP Effect Suite", 2), std::make_pair(1, 0));
                            }
                            EXPECT_EQ(counts(host, "AEGP Stream Suite", 7), std::make_pair(1, 1));
                            EXPECT_EQ(counts(host, "AEGP Effect Suite", 2), std::make_pair(1, 1));
                            EXPECT_EQ(host.suites().uses().size(), 2u);
                          });
}

TEST(E2eLifecycleHostSuites, ACacheThatAcquiredNothingReleasesNothing) {
  EffectHost host(real_module_entry());
  host.run_inside_command(PF_Cmd_UPDATE_PARAMS_UI,
                          [&](PF_InData& in_data, PF_OutData&, PF_ParamList) {
                            { HostSuites suites(in_data); }
                            EXPECT_THAT(host.suites().uses(), IsEmpty());
                          });
}

TEST(E2eLifecycleHostSuites, ASuiteTheHostCannotSupplyIsRefusedWithItsNameAndVersion) {
  EffectHost host(real_module_entry());
  host.run_inside_command(
      PF_Cmd_UPDATE_PARAMS_UI, [&](PF_InData& in_data, PF_OutData&, PF_ParamList) {
        PF_InData without_basic_suite = in_data;
        without_basic_suite.pica_basicP = nullptr;
        HostSuites suites(without_basic_suite);
        EXPECT_EQ(suites.find<AEGP_StreamSuite2>(), nullptr);
        try {
          suites.get<AEGP_StreamSuite2>();
          ADD_FAILURE() << "no exception";
        } catch (const hx_exception& error) {
          EXPECT_STREQ(error.what(),
                       "Lunaform needs the host's \"AEGP Stream Suite\" version 7, which this host "
                       "does not offer.");
        }
      });
  EXPECT_THAT(host.suites().uses(), IsEmpty());
}

// A handler that takes two suites and then fails.
struct FailsAfterAcquiring : AePluginConnection {
  void on_user_changed_param(CommandContext& context) override {
    HostSuites suites(*context.in_data);
    suites.get<AEGP_PFInterfaceSuite1>();
    suites.get<AEGP_DynamicStreamSuite2>();
    throw std::runtime_error("failed halfway");
  }
};

TEST(E2eLifecycleHostSuites, AHandlerThatThrowsStillReleasesEverySuiteItAcquired) {
  EffectHost host(&entry_for<FailsAfterAcquiring>);
  StderrCapture banner;
  MessageBoxCapture popup;
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  host.suites().reset_counts();

  EXPECT_EQ(host.user_changed_param(1), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(counts(host, "AEGP PF Interface Suite", 1), std::make_pair(1, 1));
  EXPECT_EQ(counts(host, "AEGP Dynamic Stream Suite", 2), std::make_pair(1, 1));
  EXPECT_THAT(host.suites().unreleased(), IsEmpty());
}

TEST(E2eLifecycleHostSuites, EveryCommandReleasesEverySuiteItAcquiredAndAcquiresEachOnce) {
  EffectHost host(real_module_entry());
  StderrCapture banner;
  struct Step {
    const char* command;
    std::function<PF_Err()> send;
  };
  const std::vector<Step> steps = {
      {"global setup", [&] { return host.global_setup(); }},
      {"parameter setup", [&] { return host.params_setup(); }},
      {"sequence setup", [&] { return host.sequence_setup(); }},
      {"parameter UI update", [&] { return host.update_params_ui(); }},
      {"sequence flatten", [&] { return host.sequence_flatten(); }},
      {"sequence resetup", [&] { return host.sequence_resetup(); }},
      {"sequence setdown", [&] { return host.sequence_setdown(); }},
      {"global setdown", [&] { return host.global_setdown(); }},
  };
  int suites_used = 0;
  for (const Step& step : steps) {
    SCOPED_TRACE(step.command);
    host.suites().reset_counts();
    ASSERT_EQ(step.send(), PF_Err_NONE);
    for (const SuiteUse& use : host.suites().uses()) {
      EXPECT_EQ(use.acquired, 1) << use.name << " v" << use.version;
      EXPECT_EQ(use.released, 1) << use.name << " v" << use.version;
      ++suites_used;
    }
  }
  // Global setup registers (Utility), the UI update needs PF Interface, Stream, Dynamic Stream
  // and Effect: the loop above really looked at suites.
  EXPECT_EQ(suites_used, 5);
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_THAT(host.problems(), IsEmpty());
}

}  // namespace
