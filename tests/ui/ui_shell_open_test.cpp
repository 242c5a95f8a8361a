#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/shell_open.h"
#include "tests/ui/ui_window_support.h"

namespace {

using std::chrono::steady_clock;

// True while a child of this process has ended without its status being collected. Looks
// without collecting it (WNOWAIT).
bool zombie_child() {
  siginfo_t info{};
  return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid != 0;
}

// The address reaches xdg-open as one argument, exactly as given: nothing in it is run by a
// shell. The caller does not wait for the handler, and the ended child does not linger. A
// replaced opener receives the address instead.
TEST(UiShellOpen, XdgOpenGetsTheAddressAsItsOneArgumentUnlessReplaced) {
  ui_test::stand_in_opener xdg_open;
  xdg_open.put_in_path();
  const std::string address = "https://example.invalid/lunaform/?v=1.0.2.66&a=$(touch " +
                              (xdg_open.folder() / "ran").string() + ") 'q' \"w\" ;x";
  const auto started = steady_clock::now();
  hxsdk::open_with_shell(address);
  EXPECT_LT(steady_clock::now() - started, std::chrono::milliseconds(500));
  EXPECT_EQ(xdg_open.wait_for_calls(), (std::vector<std::string>{"1", address}));
  EXPECT_FALSE(std::filesystem::exists(xdg_open.folder() / "ran"));
  const auto deadline = steady_clock::now() + std::chrono::seconds(5);
  while (zombie_child() && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_FALSE(zombie_child());

  std::vector<std::string> opened;
  const hxsdk::ShellOpener previous = hxsdk::set_shell_opener(
      [&opened](std::string_view replaced) { opened.emplace_back(replaced); });
  EXPECT_FALSE(previous);
  hxsdk::open_with_shell("https://example.invalid/page");
  EXPECT_TRUE(hxsdk::set_shell_opener({}));
  EXPECT_EQ(opened, std::vector<std::string>{"https://example.invalid/page"});
}

}  // namespace
