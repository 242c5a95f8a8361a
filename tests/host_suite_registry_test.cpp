#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/suite_registry.h"

namespace {

using lunaform::host::kSuiteNotFoundError;
using lunaform::host::SuiteRegistry;
using testing::ElementsAre;

struct TableA {
  int marker;
};

TEST(SuiteRegistry, CountsAcquiresAndReleasesPerNameAndVersion) {
  SuiteRegistry registry;
  const TableA version1{1};
  const TableA version2{2};
  registry.provide("Test Suite", 1, &version1);
  registry.provide("Test Suite", 2, &version2);

  const void* table = nullptr;
  ASSERT_EQ(registry.acquire("Test Suite", 1, &table), kSPNoError);
  EXPECT_EQ(table, &version1);
  ASSERT_EQ(registry.acquire("Test Suite", 2, &table), kSPNoError);
  EXPECT_EQ(table, &version2);
  ASSERT_EQ(registry.acquire("Test Suite", 2, &table), kSPNoError);
  EXPECT_EQ(registry.release("Test Suite", 2), kSPNoError);

  EXPECT_EQ(registry.use("Test Suite", 1).acquired, 1);
  EXPECT_EQ(registry.use("Test Suite", 1).released, 0);
  EXPECT_EQ(registry.use("Test Suite", 2).acquired, 2);
  EXPECT_EQ(registry.use("Test Suite", 2).released, 1);
  EXPECT_THAT(registry.unreleased(), ElementsAre("Test Suite v1: 1 acquired, 0 released",
                                                 "Test Suite v2: 2 acquired, 1 released"));
}

TEST(SuiteRegistry, ASuiteNotProvidedIsRefusedWithNoTable) {
  SuiteRegistry registry;
  const TableA other{3};
  registry.provide("Test Suite", 1, &other);
  const void* table = &other;
  EXPECT_EQ(registry.acquire("Test Suite", 4, &table), kSuiteNotFoundError);
  EXPECT_EQ(table, nullptr);
  EXPECT_EQ(registry.acquire("Missing Suite", 1, &table), kSuiteNotFoundError);
  EXPECT_EQ(registry.use("Test Suite", 4).refused, 1);
  EXPECT_EQ(registry.use("Test Suite", 4).acquired, 0);
  EXPECT_TRUE(registry.unreleased().empty());
}

TEST(SuiteRegistry, ReleasingMoreThanWasAcquiredIsAnError) {
  SuiteRegistry registry;
  const TableA table_a{1};
  registry.provide("Test Suite", 1, &table_a);
  const void* table = nullptr;
  registry.acquire("Test Suite", 1, &table);
  EXPECT_EQ(registry.release("Test Suite", 1), kSPNoError);
  EXPECT_EQ(registry.release("Test Suite", 1), kSuiteNotFoundError);
  EXPECT_EQ(registry.release("Never Acquired", 1), kSuiteNotFoundError);
  EXPECT_EQ(registry.use("Test Suite", 1).released, 2);
}

TEST(SuiteRegistry, NullArgumentsAreRefused) {
  SuiteRegistry registry;
  const void* table = nullptr;
  EXPECT_EQ(registry.acquire(nullptr, 1, &table), kSuiteNotFoundError);
  EXPECT_EQ(registry.acquire("Test Suite", 1, nullptr), kSuiteNotFoundError);
  EXPECT_EQ(registry.release(nullptr, 1), kSuiteNotFoundError);
  EXPECT_TRUE(registry.uses().empty());
}

TEST(SuiteRegistry, ResetForgetsCountsButKeepsSuites) {
  SuiteRegistry registry;
  const TableA table_a{1};
  registry.provide("Test Suite", 1, &table_a);
  const void* table = nullptr;
  registry.acquire("Test Suite", 1, &table);
  registry.reset_counts();
  EXPECT_TRUE(registry.uses().empty());
  EXPECT_EQ(registry.acquire("Test Suite", 1, &table), kSPNoError);
}

}  // namespace
