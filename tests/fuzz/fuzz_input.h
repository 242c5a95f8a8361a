#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

// The readers under test take files by name: each input is written to one file of a folder of
// this process's own, which goes when the process does.
class fuzz_file {
 public:
  explicit fuzz_file(const std::string& name)
      : folder_(std::filesystem::temp_directory_path() /
                ("lunaform-fuzz-" + std::to_string(getpid()))),
        path_(folder_ / name) {
    std::filesystem::create_directories(folder_);
  }
  ~fuzz_file() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  const std::filesystem::path& write(const std::uint8_t* data, std::size_t size) {
    std::ofstream(path_, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    return path_;
  }

 private:
  std::filesystem::path folder_;
  std::filesystem::path path_;
};
