#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "host/handle_table.h"

namespace {

using lunaform::host::HandleTable;

TEST(HandleTable, AHandlePointsAtItsBlockAndResizeKeepsTheCommonPrefix) {
  HandleTable table;
  const PF_Handle handle = table.allocate(8);
  ASSERT_NE(handle, nullptr);
  void* block = table.lock(handle);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block, *handle);  // the handle is the address of the master pointer
  std::memcpy(block, "ABCDEFGH", 8);
  ASSERT_TRUE(table.unlock(handle));

  ASSERT_EQ(table.resize(handle, 16), PF_Err_NONE);
  EXPECT_EQ(table.size(handle), 16u);
  EXPECT_EQ(std::memcmp(*handle, "ABCDEFGH", 8), 0);
  ASSERT_EQ(table.resize(handle, 3), PF_Err_NONE);
  EXPECT_EQ(table.size(handle), 3u);
  EXPECT_EQ(std::memcmp(*handle, "ABC", 3), 0);
}

TEST(HandleTable, FreshBlocksAreFilledNotZeroed) {
  HandleTable table;
  const PF_Handle handle = table.allocate(32);
  const auto bytes = table.bytes(handle);
  ASSERT_EQ(bytes.size(), 32u);
  EXPECT_TRUE(
      std::all_of(bytes.begin(), bytes.end(), [](std::byte b) { return b == std::byte{0xA5}; }));
}

TEST(HandleTable, LiveCountShowsEveryHandleUntilItIsDisposed) {
  HandleTable table;
  const PF_Handle first = table.allocate(4);
  const PF_Handle second = table.allocate(0);
  const PF_Handle third = table.allocate(100);
  EXPECT_EQ(table.live_count(), 3u);
  EXPECT_TRUE(table.dispose(first));
  EXPECT_TRUE(table.dispose(third));
  EXPECT_EQ(table.live_count(), 1u);
  EXPECT_FALSE(table.dispose(first)) << "a second dispose of the same handle";
  EXPECT_EQ(table.live_count(), 1u);
  EXPECT_TRUE(table.dispose(second));
  EXPECT_EQ(table.live_count(), 0u);
}

TEST(HandleTable, HandlesItNeverMadeAreRefusedWithoutBeingRead) {
  HandleTable table;
  HandleTable other;
  void* block = nullptr;
  const PF_Handle foreign = &block;
  const PF_Handle from_other_table = other.allocate(4);
  for (PF_Handle handle : {foreign, from_other_table, PF_Handle{nullptr}}) {
    EXPECT_EQ(table.lock(handle), nullptr);
    EXPECT_FALSE(table.unlock(handle));
    EXPECT_FALSE(table.dispose(handle));
    EXPECT_FALSE(table.size(handle).has_value());
    EXPECT_EQ(table.resize(handle, 8), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_TRUE(table.bytes(handle).empty());
  }
  EXPECT_EQ(other.live_count(), 1u);
}

TEST(HandleTable, LocksNestAndALockedHandleCannotMove) {
  HandleTable table;
  const PF_Handle handle = table.allocate(8);
  table.lock(handle);
  table.lock(handle);
  EXPECT_EQ(table.lock_count(handle), 2);
  EXPECT_EQ(table.resize(handle, 64), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_TRUE(table.unlock(handle));
  EXPECT_TRUE(table.unlock(handle));
  EXPECT_FALSE(table.unlock(handle)) << "more unlocks than locks";
  EXPECT_EQ(table.resize(handle, 64), PF_Err_NONE);
}

TEST(HandleTable, ImpossibleSizesAreRefusedAndZeroSizeIsUsable) {
  HandleTable table;
  EXPECT_EQ(table.allocate(uint64_t{1} << 40), nullptr);
  EXPECT_EQ(table.live_count(), 0u);

  const PF_Handle empty = table.allocate(0);
  ASSERT_NE(empty, nullptr);
  EXPECT_NE(table.lock(empty), nullptr);
  EXPECT_EQ(table.size(empty), 0u);
  table.unlock(empty);
  EXPECT_EQ(table.resize(empty, uint64_t{1} << 40), PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(table.size(empty), 0u) << "a failed resize leaves the block as it was";
}

}  // namespace
