#pragma once

#include <filesystem>
#include <ostream>
#include <string>

namespace lunaform::host {

// Progress of a render of several frames: before each frame one line "frame 3/48: FILE".
// On a terminal the line is rewritten in place (carriage return) and ended when the render ends
// or fails, so that what follows starts on a line of its own. A render of one frame shows
// nothing, unless on a terminal its frames are rendered in several tiles: the line then says
// which tile is under way, "FILE: tile 12 of 16" (after "frame 3/48: " for several frames).
// Writes to the stream it is given; one thread.
class RenderProgress {
 public:
  RenderProgress(std::ostream& out, int total_frames, bool terminal);
  ~RenderProgress();
  RenderProgress(const RenderProgress&) = delete;
  RenderProgress& operator=(const RenderProgress&) = delete;

  // Announces the next frame, which goes to `file`.
  void next_frame(const std::filesystem::path& file);
  // Announces tile `index` (from 0) of the `count` tiles of the frame announced last.
  void next_tile(int index, int count);
  // Ends a line left open on a terminal, so that other text can follow on a line of its own.
  void end_line();

 private:
  std::ostream& out_;
  int total_;
  int done_ = 0;
  bool terminal_;
  bool line_open_ = false;
  std::string frame_text_;  // what the frame's line says before the tile
};

}  // namespace lunaform::host
