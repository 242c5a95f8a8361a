#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string_view>

namespace lunaform::host {

// Parses the text of scene file `file` as JSON, with // and /* */ comments allowed.
// Returns the document. Throws HostError with one line: "FILE:LINE:COLUMN: syntax error ..."
// for text that is not JSON (a number too large for a double included), and
// "FILE: POINTER: duplicate key \"KEY\"" for an object that names a key twice, which a JSON
// reader would otherwise resolve silently by keeping one of the two. Pure function.
nlohmann::json parse_scene_text(const std::filesystem::path& file, std::string_view text);

}  // namespace lunaform::host
