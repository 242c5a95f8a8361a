#include "host/stderr_line_guard.h"

#include <unistd.h>

#include <iostream>
#include <utility>

namespace lunaform::host {
namespace {

void flush_stderr() {
  std::cerr.flush();
  std::fflush(stderr);
}

}  // namespace

StderrLineGuard::StderrLineGuard(std::function<void()> before_text)
    : before_text_(std::move(before_text)) {
  flush_stderr();
  collected_ = std::tmpfile();
  if (collected_ == nullptr) {
    return;
  }
  saved_stderr_ = dup(STDERR_FILENO);
  if (saved_stderr_ < 0 || dup2(fileno(collected_), STDERR_FILENO) < 0) {
    if (saved_stderr_ >= 0) {
      close(saved_stderr_);
      saved_stderr_ = -1;
    }
    std::fclose(collected_);
    collected_ = nullptr;
  }
}

StderrLineGuard::~StderrLineGuard() {
  if (collected_ == nullptr) {
    return;
  }
  flush_stderr();
  dup2(saved_stderr_, STDERR_FILENO);
  close(saved_stderr_);
  std::rewind(collected_);
  // Passed on in pieces, so that nothing here allocates (and could throw) in a destructor.
  char buffer[4096];
  size_t count = std::fread(buffer, 1, sizeof buffer, collected_);
  if (count > 0) {
    try {
      if (before_text_) {
        before_text_();
      }
    } catch (...) {
      // The module's text matters more than the caller's tidying of its own line.
    }
    char last = '\n';
    for (; count > 0; count = std::fread(buffer, 1, sizeof buffer, collected_)) {
      std::fwrite(buffer, 1, count, stderr);
      last = buffer[count - 1];
    }
    if (last != '\n') {
      std::fputc('\n', stderr);
    }
    std::fflush(stderr);
  }
  std::fclose(collected_);
}

}  // namespace lunaform::host
