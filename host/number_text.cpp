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

std::optional<std::vector<int>> parse_whole_numbers(std::string_view text, std::size_t count) {
  std::vector<int> numbers;
  std::string_view rest = text;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t comma = rest.find(',');
    const bool last = i + 1 == count;
    if (last != (comma == std::string_view::npos)) {
      return std::nullopt;
    }
    const auto number = parse_whole_number(rest.substr(0, comma));
    if (!number) {
      return std::nullopt;
    }
    numbers.push_back(*number);
    rest = last ? std::string_view{} : rest.substr(comma + 1);
  }
  return numbers;
}

}  // namespace lunaform::host
