#pragma once

#include <filesystem>
#include <ostream>

namespace lunaform::host {

// Progress of a render of several frames: before each frame one line "frame 3/48: FILE".
// On a terminal the line is rewritten in place (carriage return) and ended when the render ends
// or fails, so that what follows starts on a line of its own. A render of one frame shows
// nothing. Writes to the stream it is given; one thread.
class RenderProgress {
 public:
  RenderProgress(std::ostream& out, int total_frames, bool terminal);
  ~RenderProgress();
  RenderProgress(const RenderProgress&) = delete;
  RenderProgress& operator=(const RenderProgress&) = delete;

  // Announces the next frame, which goes to `file`.
  void next_frame(const std::filesystem::path& file);
  // Ends a line left open on a terminal, so that other text can follow on a line of its own.
  void end_line();

 private:
  std::ostream& out_;
  int total_;
  int done_ = 0;
  bool terminal_;
  bool line_open_ = false;
};

}  // namespace lunaform::host
