#include "host/frame_path.h"

#include <optional>
#include <string>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

struct Placeholder {
  size_t position = 0;
  size_t length = 0;
};

std::optional<Placeholder> find_placeholder(const std::filesystem::path& pattern) {
  const std::string name = pattern.filename().string();
  const size_t position = name.find('#');
  if (position == std::string::npos) {
    return std::nullopt;
  }
  const size_t end = name.find_first_not_of('#', position);
  const size_t length = (end == std::string::npos ? name.size() : end) - position;
  if (name.find('#', position + length) != std::string::npos) {
    throw HostError("'" + pattern.string() +
                    "' holds more than one frame-number placeholder; use one run of '#'");
  }
  return Placeholder{position, length};
}

}  // namespace

bool has_frame_placeholder(const std::filesystem::path& pattern) {
  return find_placeholder(pattern).has_value();
}

std::filesystem::path frame_file(const std::filesystem::path& pattern, int frame) {
  const auto placeholder = find_placeholder(pattern);
  if (!placeholder) {
    return pattern;
  }
  std::string number = std::to_string(frame);
  if (number.size() < placeholder->length) {
    number.insert(0, placeholder->length - number.size(), '0');
  }
  std::string name = pattern.filename().string();
  name.replace(placeholder->position, placeholder->length, number);
  return pattern.parent_path() / name;
}

}  // namespace lunaform::host
