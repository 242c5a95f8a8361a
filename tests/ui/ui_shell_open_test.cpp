#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/shell_open.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::steady_clock;

// A folder put in front of PATH for the test's lifetime, holding a stand-in `xdg-open`: a
// script that waits a second, then writes its argument count and arguments, one a line.
class stand_in_xdg_open {
 public:
  stand_in_xdg_open()
      : folder_(fs::temp_directory_path() / ("lunaform-ui-shell-" + std::to_string(getpid()))),
        old_path_(std::getenv("PATH") ? std::getenv("PATH") : "") {
    fs::create_directories(folder_);
    const fs::path script = folder_ / "xdg-open";
    std::ofstream(script) << "#!/bin/sh\nsleep 1\nprintf '%s\\n' \"$#\" \"$@\" > '"
                          << (folder_ / "arguments.partial").string() << "'\nmv '"
                          << (folder_ / "arguments.partial").string() << "' '"
                          << arguments_file().string() << "'\n";
    chmod(script.c_str(), 0755);
    setenv("PATH", (folder_.string() + ":" + old_path_).c_str(), 1);
  }
  ~stand_in_xdg_open() {
    setenv("PATH", old_path_.c_str(), 1);
    fs::remove_all(folder_);
  }

  const fs::path& folder() const { return folder_; }
  fs::path arguments_file() const { return folder_ / "arguments"; }

  // The lines the script wrote, once it has (at most ten seconds from now).
  std::vector<std::string> wait_for_arguments() const {
    const auto deadline = steady_clock::now() + std::chrono::seconds(10);
    while (!fs::exists(arguments_file()) && steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    std::vector<std::string> lines;
    std::ifstream in(arguments_file());
    for (std::string line; std::getline(in, line);) {
      lines.push_back(line);
    }
    return lines;
  }

 private:
  fs::path folder_;
  std::string old_path_;
};

// True while a child of this process has ended without its status being collected. Looks
// without collecting it (WNOWAIT).
bool zombie_child() {
  siginfo_t info{};
  return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid != 0;
}

// The address reaches xdg-open as one argument, exactly as given: nothing in it is run by a
// shell. The caller does not wait for the handler, and the ended child does not linger.
TEST(UiShellOpen, StartsXdgOpenWithTheAddressAsItsOneArgument) {
  const stand_in_xdg_open xdg_open;
  const std::string address = "https://example.invalid/lunaform/?v=1.0.2.66&a=$(touch " +
                              (xdg_open.folder() / "ran").string() + ") 'q' \"w\" ;x";
  const auto started = steady_clock::now();
  hxsdk::open_with_shell(address);
  EXPECT_LT(steady_clock::now() - started, std::chrono::milliseconds(500));
  EXPECT_FALSE(fs::exists(xdg_open.arguments_file()));

  EXPECT_EQ(xdg_open.wait_for_arguments(), (std::vector<std::string>{"1", address}));
  EXPECT_FALSE(fs::exists(xdg_open.folder() / "ran"));
  const auto deadline = steady_clock::now() + std::chrono::seconds(5);
  while (zombie_child() && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_FALSE(zombie_child());
}

TEST(UiShellOpen, AReplacedOpenerReceivesTheAddressInstead) {
  const stand_in_xdg_open xdg_open;
  std::vector<std::string> opened;
  const hxsdk::ShellOpener previous = hxsdk::set_shell_opener(
      [&opened](std::string_view address) { opened.emplace_back(address); });
  EXPECT_FALSE(previous);
  hxsdk::open_with_shell("https://example.invalid/page");
  const hxsdk::ShellOpener recorder = hxsdk::set_shell_opener({});
  EXPECT_TRUE(recorder);
  EXPECT_EQ(opened, std::vector<std::string>{"https://example.invalid/page"});
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  EXPECT_FALSE(fs::exists(xdg_open.arguments_file()));
}

}  // namespace
