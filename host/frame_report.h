#pragma once

#include <filesystem>
#include <ostream>
#include <string_view>
#include <vector>

namespace lunaform::host {

// Progress for programs rather than people: one JSON object a line, flushed as soon as it is
// written, so that a batch scheduler's log holds every finished frame even if the job is killed
// the next moment. The farm scripts read these lines back. One thread.
class FrameReport {
 public:
  explicit FrameReport(std::ostream& out) : out_(out) {}

  // {"frames": [12, 13, 14]}: the frames this run takes care of, before the first of them.
  void plan(const std::vector<int>& frames);
  // {"frame": 12, "file": "out.0012.png", "status": "written", "seconds": 1.234}; the status is
  // "written", or "skipped" for a frame whose file was already there.
  void frame(int frame, const std::filesystem::path& file, std::string_view status, double seconds);

 private:
  std::ostream& out_;
};

}  // namespace lunaform::host
