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
  if (total_ < 2) {
    return;
  }
  ++done_;
  // Clearing to the line's end (ESC [ K) removes the rest of a longer previous file name.
  out_ << (terminal_ ? "\r\x1b[K" : "") << "frame " << done_ << "/" << total_ << ": "
       << file.string() << (terminal_ ? "" : "\n") << std::flush;
  line_open_ = terminal_;
}

}  // namespace lunaform::host
