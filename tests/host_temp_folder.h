#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace host_test {

// A fresh folder under the test temporary folder, removed with everything in it when the
// object goes. Each test process gets its own (ctest runs tests in parallel).
class TempFolder {
 public:
  TempFolder() {
    std::string pattern =
        (std::filesystem::path(testing::TempDir()) / "lunaform_test_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      ADD_FAILURE() << "cannot create a temporary folder from " << pattern;
    }
    path_ = pattern;
  }
  ~TempFolder() { std::filesystem::remove_all(path_, ignored_); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

  // Writes `text` to `name` in the folder and returns the file's path.
  std::filesystem::path write(std::string_view name, std::string_view text) const {
    const std::filesystem::path file = path_ / name;
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }

 private:
  std::filesystem::path path_;
  std::error_code ignored_;
};

}  // namespace host_test
