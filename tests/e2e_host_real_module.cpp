#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/effect_host.h"
#include "host/module.h"

namespace {

using lunaform::host::EffectHost;
using lunaform::host::Module;
using testing::IsEmpty;

TEST(E2eHostRealModule, TheLifecycleCommandsSucceedAndLeaveNothingBehind) {
  const Module module = Module::load(LUNAFORM_MODULE_PATH);
  EXPECT_EQ(module.pipl().name, "Lunaform");
  EXPECT_EQ(module.pipl().category, "Brightmoor");
  EXPECT_EQ(module.pipl().entry_point, "PluginMain");

  EffectHost host(module.entry_point());
  testing::internal::CaptureStderr();  // global setup announces the module on standard error
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  testing::internal::GetCapturedStderr();
  // What the module declares at run time must agree with what its PiPL promised.
  EXPECT_EQ(host.out_data().my_version, module.pipl().version);
  EXPECT_EQ(static_cast<uint32_t>(host.out_data().out_flags), module.pipl().global_out_flags);
  EXPECT_EQ(static_cast<uint32_t>(host.out_data().out_flags2), module.pipl().global_out_flags_2);

  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  EXPECT_EQ(host.params().size(), 80u) << "79 parameters after the host's input layer";
  EXPECT_EQ(host.out_data().num_params, 80);
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.sequence_data(), nullptr);
  ASSERT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.global_data(), nullptr);

  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_THAT(host.suites().unreleased(), IsEmpty());
  EXPECT_EQ(host.outstanding_param_checkouts(), 0);
  EXPECT_THAT(host.problems(), IsEmpty());
}

}  // namespace
