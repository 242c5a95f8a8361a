#pragma once

#include <string>

namespace lunaform::host {

// A library's message (OpenImageIO's may span several lines and end in a line break) as one
// line: trailing spaces and breaks dropped, inner breaks turned into "; ", "unknown error"
// when nothing is left. Pure function.
std::string one_line(std::string text);

}  // namespace lunaform::host
