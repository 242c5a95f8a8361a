#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <thread>

#include "host/stderr_line_guard.h"

namespace {

using lunaform::host::StderrLineGuard;

TEST(StderrLineGuard, TextWithoutALineEndIsEndedBeforeTheNextLineStarts) {
  testing::internal::CaptureStderr();
  int callbacks = 0;
  {
    const StderrLineGuard guard([&] {
      ++callbacks;
      std::fputs("[line ended]\n", stderr);
    });
    std::fputs("## banner", stderr);
    // Written below the C library by another thread: collected all the same.
    std::thread([] { EXPECT_EQ(write(STDERR_FILENO, " (thread)", 9), 9); }).join();
  }
  std::cerr << "host line\n";
  {
    // Nothing written: no extra line end and no call.
    const StderrLineGuard quiet([&] { ++callbacks; });
  }
  {
    const StderrLineGuard ended;
    std::cerr << "complete line\n";
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "[line ended]\n## banner (thread)\nhost line\ncomplete line\n");
  EXPECT_EQ(callbacks, 1);
}

}  // namespace
