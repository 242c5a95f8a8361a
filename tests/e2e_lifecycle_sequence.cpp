#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "host/effect_host.h"
#include "plugin/ae_plugin_connection.h"
#include "tests/e2e_plugin_support.h"

namespace {

using e2e_plugin::entry_for;
using e2e_plugin::MessageBoxCapture;
using e2e_plugin::real_module_entry;
using e2e_plugin::StderrCapture;
using lunaform::host::EffectHost;
using testing::Each;
using testing::IsEmpty;

// The instance's block as the host holds it.
std::vector<std::byte> sequence_bytes(EffectHost& host) {
  const auto bytes = host.handles().bytes(host.sequence_data());
  return {bytes.begin(), bytes.end()};
}

// Five slots of 32 bytes after a 4-byte header, every byte zero.
const std::vector<std::byte> kFreshBlock(4 + 5 * 32, std::byte{0});

// The real module, set up globally, with one instance.
class E2eLifecycleSequence : public testing::Test {
 protected:
  void SetUp() override {
    StderrCapture banner;
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
    ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  }

  EffectHost host{real_module_entry()};
};

TEST_F(E2eLifecycleSequence, AFreshInstanceHoldsFiveEmptySlots) {
  ASSERT_NE(host.sequence_data(), nullptr);
  EXPECT_EQ(host.handles().size(host.sequence_data()), 164u);
  // The host fills fresh blocks with 0xA5: every zero was written by the module.
  EXPECT_EQ(sequence_bytes(host), kFreshBlock);
  EXPECT_EQ(host.handles().lock_count(host.sequence_data()), 0);
}

TEST_F(E2eLifecycleSequence, FlattenLeavesAnEmptyFlatHandleAndDisposesTheLiveBlock) {
  const PF_Handle live = host.sequence_data();
  ASSERT_EQ(host.sequence_flatten(), PF_Err_NONE);

  const PF_Handle flat = host.sequence_data();
  ASSERT_NE(flat, nullptr);
  EXPECT_EQ(host.handles().size(flat), 0u);
  EXPECT_EQ(host.handles().size(live), std::nullopt);
  EXPECT_EQ(host.handles().live_count(), 2u);  // global data and the flat handle
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST_F(E2eLifecycleSequence, ResetupFromAnyFlatHandleEqualsAFreshSetupAndDisposesIt) {
  // A host gives back the flat handle it was given (0 bytes), or, loading a project written by
  // something else, a block of any content: neither is read.
  struct Case {
    const char* name;
    bool flatten;
  };
  for (const Case& c : {Case{"flattened", true}, Case{"scribbled live block", false}}) {
    SCOPED_TRACE(c.name);
    if (c.flatten) {
      ASSERT_EQ(host.sequence_flatten(), PF_Err_NONE);
    } else {
      const auto bytes = host.handles().bytes(host.sequence_data());
      std::fill(bytes.begin(), bytes.end(), std::byte{0x5C});
    }
    const PF_Handle flat = host.sequence_data();

    ASSERT_EQ(host.sequence_resetup(), PF_Err_NONE);
    ASSERT_NE(host.sequence_data(), nullptr);
    EXPECT_NE(host.sequence_data(), flat);
    EXPECT_EQ(host.handles().size(flat), std::nullopt);
    EXPECT_EQ(host.handles().size(host.sequence_data()), 164u);
    EXPECT_EQ(sequence_bytes(host), kFreshBlock);
    EXPECT_EQ(host.handles().live_count(), 2u);
  }
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST_F(E2eLifecycleSequence, SetdownOfALiveOrFlattenedInstanceLeavesNoHandle) {
  ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 1u);

  // A flattened instance closed without a resetup: the 0-byte block is disposed without being
  // read as slots.
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_flatten(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 1u);

  ASSERT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_THAT(host.problems(), IsEmpty());
}

struct NoGpu : AePluginConnection {
  NoGpu()
      : AePluginConnection(
            []() -> std::unique_ptr<RenderState> { throw std::runtime_error("no OpenGL"); }) {}
};

TEST(E2eLifecycleSequenceWithoutGpu, InstancesStillComeAndGoWithoutLeavingHandles) {
  EffectHost host(&entry_for<NoGpu>);
  StderrCapture banner;
  MessageBoxCapture popups;
  ASSERT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);

  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  EXPECT_EQ(sequence_bytes(host), kFreshBlock);
  ASSERT_EQ(host.sequence_flatten(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_resetup(), PF_Err_NONE);
  EXPECT_EQ(sequence_bytes(host), kFreshBlock);
  ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 1u);
  ASSERT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_THAT(host.problems(), IsEmpty());
}

}  // namespace
