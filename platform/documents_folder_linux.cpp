#include "platform/documents_folder.h"

#include <sys/stat.h>

#include <cstdlib>
#include <initializer_list>
#include <string_view>

namespace hxsdk {
namespace {

// Joins `parts` into `folder`; false when the result does not fit with its NUL.
bool join(std::span<char> folder, std::initializer_list<std::string_view> parts) {
  std::size_t length = 0;
  for (const std::string_view part : parts) {
    if (part.size() >= folder.size() - length) {
      return false;
    }
    part.copy(folder.data() + length, part.size());
    length += part.size();
  }
  folder[length] = '\0';
  return true;
}

bool is_folder(const char* path) {
  struct stat status;
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// Fills `folder` from environment variable `name` plus `suffix` when the result is a folder.
bool folder_from_environment(std::span<char> folder, const char* name, std::string_view suffix) {
  // getenv only reads the environment block: no allocation, no lock.
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' && join(folder, {value, suffix}) &&
         is_folder(folder.data());
}

}  // namespace

bool documents_folder(std::span<char> folder) {
  return folder_from_environment(folder, "XDG_DOCUMENTS_DIR", "") ||
         folder_from_environment(folder, "HOME", "/Documents");
}

bool temporary_folder(std::span<char> folder) {
  return folder_from_environment(folder, "TMPDIR", "") || join(folder, {"/tmp"});
}

}  // namespace hxsdk
