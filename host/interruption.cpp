#include "host/interruption.h"

#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <string>

namespace lunaform::host {
namespace {

// Read by the signal handler, which may run on any thread: the name is complete whenever the
// flag is set.
char partial_file[PATH_MAX];
std::atomic<bool> partial_file_named{false};
char interrupted_line[128];
std::size_t interrupted_line_length = 0;
int interrupted_exit_code = 1;
// Standard error as it was when the handler was put in: the host sends the module's own
// standard error elsewhere while it runs a command.
int error_output = STDERR_FILENO;

static_assert(std::atomic<bool>::is_always_lock_free, "the handler reads the flag");

void end_now(int) {
  if (partial_file_named.load()) {
    unlink(partial_file);
  }
  const ssize_t ignored = write(error_output, interrupted_line, interrupted_line_length);
  static_cast<void>(ignored);
  _exit(interrupted_exit_code);
}

}  // namespace

void end_on_interruption(const char* program, int exit_code) {
  if (error_output == STDERR_FILENO) {
    const int saved = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    error_output = saved >= 0 ? saved : STDERR_FILENO;
  }
  const std::string line =
      std::string(program).substr(0, sizeof interrupted_line - 16) + ": interrupted\n";
  std::memcpy(interrupted_line, line.data(), line.size());
  interrupted_line_length = line.size();
  interrupted_exit_code = exit_code;
  struct sigaction action {};
  action.sa_handler = end_now;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
}

void note_partial_file(const std::filesystem::path& file) {
  partial_file_named.store(false);
  const std::string name = file.string();
  if (name.size() < sizeof partial_file) {
    std::memcpy(partial_file, name.c_str(), name.size() + 1);
    partial_file_named.store(true);
  }
}

void forget_partial_file() {
  partial_file_named.store(false);
}

}  // namespace lunaform::host
