#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/shell_open.h"

namespace hxsdk {
namespace {

std::mutex& opener_mutex() {
  static std::mutex mutex;
  return mutex;
}

ShellOpener& current_opener() {
  static ShellOpener opener;
  return opener;
}

// The handler may run for as long as the user keeps the browser it started: a thread of its own
// collects its exit status, so it never lingers as a zombie and the caller never waits.
void collect_when_done(pid_t child) {
  try {
    std::thread([child] {
      int status = 0;
      while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
      }
    }).detach();
  } catch (const std::system_error&) {
    // No thread to wait with: the child stays a zombie until the process ends, which is
    // harmless next to not opening the page.
  }
}

// The address is handed over as one argument, never through a shell, so no character in it
// has a meaning beyond being part of the address.
void start_xdg_open(std::string_view address) {
  std::string argument(address);
  char program[] = "xdg-open";
  char* arguments[] = {program, argument.data(), nullptr};
  // The child starts with no signal blocked, whatever the calling thread blocks.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t no_signals;
  sigemptyset(&no_signals);
  posix_spawnattr_setsigmask(&attributes, &no_signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  pid_t child = 0;
  const int failed = posix_spawnp(&child, program, nullptr, &attributes, arguments, environ);
  posix_spawnattr_destroy(&attributes);
  if (failed == 0) {
    collect_when_done(child);
  }
}

}  // namespace

void open_with_shell(std::string_view address) {
  ShellOpener opener;
  {
    std::lock_guard lock(opener_mutex());
    opener = current_opener();
  }
  if (opener) {
    opener(address);
  } else {
    start_xdg_open(address);
  }
}

ShellOpener set_shell_opener(ShellOpener opener) {
  std::lock_guard lock(opener_mutex());
  return std::exchange(current_opener(), std::move(opener));
}

}  // namespace hxsdk
