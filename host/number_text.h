#pragma once

#include <optional>
#include <string_view>

namespace lunaform::host {

// The whole number `text` spells in decimal digits alone (no sign, no spaces), or nothing when
// it is empty, holds anything else or exceeds the int range. Pure function.
std::optional<int> parse_whole_number(std::string_view text);

}  // namespace lunaform::host
