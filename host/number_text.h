#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace lunaform::host {

// The whole number `text` spells in decimal digits alone (no sign, no spaces), or nothing when
// it is empty, holds anything else or exceeds the int range. Pure function.
std::optional<int> parse_whole_number(std::string_view text);

// The `count` whole numbers that `text` lists separated by commas ("0,0,64,32" for 4), or
// nothing when it lists another count or anything parse_whole_number refuses. Pure function.
std::optional<std::vector<int>> parse_whole_numbers(std::string_view text, std::size_t count);

}  // namespace lunaform::host
