#include "host/number_text.h"

#include <charconv>

namespace lunaform::host {

std::optional<int> parse_whole_number(std::string_view text) {
  // from_chars accepts a leading '-'; command-line numbers here are never negative.
  if (text.empty() || text.front() < '0' || text.front() > '9') {
    return std::nullopt;
  }
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

}  // namespace lunaform::host
