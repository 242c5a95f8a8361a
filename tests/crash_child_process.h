#pragma once

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>

namespace crash_test {

// The exit code of a child whose body threw.
inline constexpr int kChildFailed = 125;

// How a child process ended and what it wrote to standard error.
struct ChildOutcome {
  int pid = 0;
  bool exited = false;  // ended by exit; else killed by `signal`
  int exit_code = -1;
  int signal = 0;
  std::string error_output;
};

// Runs `body` in a forked child whose standard error is captured, and waits for it; the child
// exits with body's result, or kChildFailed when it throws. What the child does (faults included)
// cannot harm the test process. The child is killed by SIGALRM after `limit_seconds`, so a hang
// fails instead of blocking, and writes no kernel core file of its own.
inline ChildOutcome run_in_child(const std::function<int()>& body, unsigned limit_seconds = 120) {
  ChildOutcome outcome;
  int pipe_ends[2];
  if (pipe(pipe_ends) != 0) {
    return outcome;
  }
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    close(pipe_ends[0]);
    dup2(pipe_ends[1], STDERR_FILENO);
    close(pipe_ends[1]);
    const rlimit no_core{0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    alarm(limit_seconds);
    // Nothing may leave the child but through _exit: an escaping exception would carry on
    // with the parent's test run inside the child.
    int code = kChildFailed;
    try {
      code = body();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "child failed: %s\n", error.what());
    } catch (...) {
      std::fprintf(stderr, "child failed\n");
    }
    std::fflush(nullptr);
    _exit(code);
  }
  close(pipe_ends[1]);
  outcome.pid = pid;
  char buffer[4096];
  ssize_t count;
  while ((count = read(pipe_ends[0], buffer, sizeof buffer)) != 0) {
    if (count > 0) {
      outcome.error_output.append(buffer, static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      break;
    }
  }
  close(pipe_ends[0]);
  int status = 0;
  if (pid > 0 && waitpid(pid, &status, 0) == pid) {
    outcome.exited = WIFEXITED(status);
    outcome.exit_code = outcome.exited ? WEXITSTATUS(status) : -1;
    outcome.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }
  return outcome;
}

}  // namespace crash_test
