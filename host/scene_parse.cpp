#include "host/scene_parse.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

// "FILE:LINE:COLUMN" of the character at `offset` (0-based) of `text`; lines and columns
// count from 1, as editors show them.
std::string location(const std::filesystem::path& file, std::string_view text, std::size_t offset) {
  offset = std::min(offset, text.size());
  const std::string_view before = text.substr(0, offset);
  const std::size_t line =
      1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  const std::size_t line_start =
      before.rfind('\n') == std::string_view::npos ? 0 : before.rfind('\n') + 1;
  return file.string() + ":" + std::to_string(line) + ":" + std::to_string(offset - line_start + 1);
}

// The reader's own explanation without its prefix ("[json.exception.parse_error.101] parse
// error at line 3, column 7: "), which restates the position.
std::string explanation(const std::string& what) {
  const std::size_t column = what.find("column ");
  const std::size_t colon = column == std::string::npos ? column : what.find(": ", column);
  return colon == std::string::npos ? what : what.substr(colon + 2);
}

// Follows the parser through the document so that a repeated key can be reported with its
// JSON pointer: one level per open object (its keys so far) or array (elements so far).
class KeyTracker {
 public:
  explicit KeyTracker(const std::filesystem::path& file) : file_(file) {}

  bool operator()(int /*depth*/, nlohmann::json::parse_event_t event, nlohmann::json& parsed) {
    using Event = nlohmann::json::parse_event_t;
    switch (event) {
      case Event::object_start:
        levels_.push_back({true, {}, {}, 0});
        break;
      case Event::array_start:
        levels_.push_back({false, {}, {}, 0});
        break;
      case Event::key:
        levels_.back().key = parsed.get<std::string>();
        if (!levels_.back().keys.insert(levels_.back().key).second) {
          throw HostError(file_.string() + ": " + pointer() + ": duplicate key \"" +
                          levels_.back().key + "\"");
        }
        break;
      case Event::object_end:
      case Event::array_end:
        levels_.pop_back();
        element_done();
        break;
      case Event::value:
        element_done();
        break;
    }
    return true;
  }

 private:
  struct Level {
    bool is_object;
    std::set<std::string> keys;
    std::string key;
    std::size_t elements;
  };

  void element_done() {
    if (!levels_.empty() && !levels_.back().is_object) {
      ++levels_.back().elements;
    }
  }

  std::string pointer() const {
    nlohmann::json::json_pointer where;
    for (const Level& level : levels_) {
      where = level.is_object ? where / level.key : where / level.elements;
    }
    return where.to_string();
  }

  const std::filesystem::path& file_;
  std::vector<Level> levels_;
};

}  // namespace

nlohmann::json parse_scene_text(const std::filesystem::path& file, std::string_view text) {
  KeyTracker tracker(file);
  try {
    return nlohmann::json::parse(
        text,
        [&tracker](int depth, nlohmann::json::parse_event_t event, nlohmann::json& parsed) {
          return tracker(depth, event, parsed);
        },
        /*allow_exceptions=*/true, /*ignore_comments=*/true);
  } catch (const nlohmann::json::parse_error& error) {
    // error.byte counts the characters read, the offending one included.
    throw HostError(location(file, text, error.byte == 0 ? 0 : error.byte - 1) + ": " +
                    explanation(error.what()));
  } catch (const nlohmann::json::out_of_range& error) {
    // A number beyond the double range: the reader names the digits but not their place.
    const std::string what = error.what();
    const std::size_t open = what.find('\'');
    const std::size_t close = what.rfind('\'');
    const std::string digits =
        open != std::string::npos && close > open ? what.substr(open + 1, close - open - 1) : "";
    const std::size_t at = digits.empty() ? std::string_view::npos : text.find(digits);
    throw HostError(location(file, text, at == std::string_view::npos ? 0 : at) +
                    ": syntax error: number " + digits + " is too large");
  }
}

}  // namespace lunaform::host
