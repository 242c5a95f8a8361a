#include "crash/proc_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace crash {

std::size_t read_proc_file(const char* path, std::span<char> buffer) noexcept {
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    return 0;
  }
  std::size_t length = 0;
  while (length < buffer.size()) {
    const ssize_t count = read(fd, buffer.data() + length, buffer.size() - length);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      break;
    }
    length += static_cast<std::size_t>(count);
  }
  close(fd);
  return length;
}

}  // namespace crash
