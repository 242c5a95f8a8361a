#include "crash/crash_report.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

#include "crash/core_file.h"
#include "platform/documents_folder.h"

namespace crash {
namespace {

// localtime_r is not on the list of async-signal-safe functions only because it may load the
// time zone; the translator's installation has loaded it already (tzset), after which
// localtime_r only reads the loaded rules.
std::tm local_time_now() {
  std::tm local{};
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const std::time_t seconds = now.tv_sec;
  localtime_r(&seconds, &local);
  return local;
}

}  // namespace

void write_crash_report(const siginfo_t& info, const ucontext_t& context,
                        PathText& dump_path) noexcept {
  const std::tm local_time = local_time_now();
  char base_folder[kPathCapacity] = {};
  if (!hxsdk::documents_folder(base_folder)) {
    hxsdk::temporary_folder(base_folder);
  }
  append_report_folder(dump_path, base_folder);
  // One level only, and an existing folder is fine: the result does not matter, opening the
  // file tells.
  mkdir(dump_path.c_str(), 0777);
  dump_path.append("/");
  append_dump_file_name(dump_path, local_time, getpid(), gettid());
  if (dump_path.truncated()) {
    return;
  }
  // The dump holds the process's memory: only its owner may read it.
  const int fd = open(dump_path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) {
    return;
  }
  write_core_file(fd, info, context);
  close(fd);
}

}  // namespace crash
