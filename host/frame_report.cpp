#include "host/frame_report.h"

#include <nlohmann/json.hpp>

namespace lunaform::host {

void FrameReport::plan(const std::vector<int>& frames) {
  out_ << nlohmann::json{{"frames", frames}}.dump() << std::endl;
}

void FrameReport::frame(int frame, const std::filesystem::path& file, std::string_view status,
                        double seconds) {
  const nlohmann::json line = {
      {"frame", frame}, {"file", file.string()}, {"status", status}, {"seconds", seconds}};
  // A file name that is not UTF-8 still gives a line of JSON, with replacement characters.
  out_ << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << std::endl;
}

}  // namespace lunaform::host
