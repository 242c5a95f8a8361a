#include "host/file_bytes.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void throw_system_error(const std::string& prefix) {
  throw HostError(prefix + std::strerror(errno));
}

}  // namespace

std::vector<std::byte> read_file_bytes(const std::filesystem::path& file) {
  std::unique_ptr<std::FILE, FileCloser> stream(std::fopen(file.c_str(), "rb"));
  if (!stream) {
    throw_system_error("");
  }
  std::vector<std::byte> bytes;
  std::byte chunk[1 << 16];
  for (;;) {
    const size_t count = std::fread(chunk, 1, sizeof chunk, stream.get());
    bytes.insert(bytes.end(), chunk, chunk + count);
    if (count < sizeof chunk) {
      break;
    }
  }
  if (std::ferror(stream.get())) {
    throw_system_error("read error: ");
  }
  return bytes;
}

}  // namespace lunaform::host
