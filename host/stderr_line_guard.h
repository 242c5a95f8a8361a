#pragma once

#include <cstdio>
#include <functional>

namespace lunaform::host {

// Keeps a module's text on standard error from running into the host's own lines. While alive
// it collects whatever the process writes to standard error (file descriptor 2: C and C++
// streams, any thread) in an unnamed temporary file; when it goes, it restores standard error
// and passes the collected text on, ended with a line break if it lacks one (a module may write
// a line without a line end, as the effect does with its banner at global setup).
//
// `before_text` runs just before collected text is passed on, and only when there is some: a
// caller that keeps a line open (a progress line rewritten in place) ends it there. Nothing is
// lost when no temporary file can be made: the text then goes straight to standard error.
// One guard at a time per process; create and destroy it on one thread.
class StderrLineGuard {
 public:
  explicit StderrLineGuard(std::function<void()> before_text = {});
  ~StderrLineGuard();
  StderrLineGuard(const StderrLineGuard&) = delete;
  StderrLineGuard& operator=(const StderrLineGuard&) = delete;

 private:
  std::function<void()> before_text_;
  std::FILE* collected_ = nullptr;
  int saved_stderr_ = -1;
};

}  // namespace lunaform::host
