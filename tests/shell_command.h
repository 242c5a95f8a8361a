#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

// What a shell command printed on standard output and how it ended.
struct ShellRun {
  int exit_code = -1;  // -1 when it could not be started or did not exit normally
  std::string output;
};

// Runs command with /bin/sh and waits for it.
inline ShellRun run_shell_command(const std::string& command) {
  ShellRun run;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) {
    return run;
  }
  char buffer[4096];
  size_t count;
  while ((count = fread(buffer, 1, sizeof buffer, pipe)) > 0) {
    run.output.append(buffer, count);
  }
  const int status = pclose(pipe);
  run.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}
