#include "host/render_progress.h"

namespace lunaform::host {

RenderProgress::RenderProgress(std::ostream& out, int total_frames, bool terminal)
    : out_(out), total_(total_frames), terminal_(terminal) {}

RenderProgress::~RenderProgress() {
  end_line();
}

void RenderProgress::end_line() {
  if (line_open_) {
    out_ << "\n" << std::flush;
    line_open_ = false;
  }
}

void RenderProgress::next_frame(const std::filesystem::path& file) {
  ++done_;
  frame_text_ = file.string();
  if (total_ < 2) {
    return;
  }
  frame_text_ =
      "frame " + std::to_string(done_) + "/" + std::to_string(total_) + ": " + frame_text_;
  // Clearing to the line's end (ESC [ K) removes the rest of a longer previous line.
  out_ << (terminal_ ? "\r\x1b[K" : "") << frame_text_ << (terminal_ ? "" : "\n") << std::flush;
  line_open_ = terminal_;
}

void RenderProgress::next_tile(int index, int count) {
  if (!terminal_ || count < 2) {
    return;
  }
  out_ << "\r\x1b[K" << frame_text_ << ": tile " << index + 1 << " of " << count << std::flush;
  line_open_ = true;
}

}  // namespace lunaform::host
