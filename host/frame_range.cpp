#include "host/frame_range.h"

#include <string>

#include "host/host_error.h"
#include "host/number_text.h"

namespace lunaform::host {

int frame_count(A_long total_time, A_long time_step) {
  if (time_step <= 0) {
    throw HostError("impossible frame duration of " + std::to_string(time_step) + " time units");
  }
  if (total_time <= 0) {
    return 0;
  }
  return static_cast<int>((static_cast<long long>(total_time) + time_step - 1) / time_step);
}

FrameRange parse_frame_range(std::string_view text) {
  const auto fail = [&](const std::string& problem) {
    throw HostError("bad --frames '" + std::string(text) + "': " + problem);
  };
  const size_t dash = text.find('-');
  const std::string_view first_text = text.substr(0, dash);
  const std::string_view last_text =
      dash == std::string_view::npos ? first_text : text.substr(dash + 1);
  const auto first = parse_whole_number(first_text);
  const auto last = parse_whole_number(last_text);
  if (!first || !last) {
    fail("expected FIRST-LAST or one frame, as whole numbers from 0 (for example 0-47)");
  }
  if (*last < *first) {
    fail("the last frame comes before the first");
  }
  return {*first, *last};
}

void check_frame_range(const FrameRange& range, int count) {
  if (range.first >= 0 && range.last < count) {
    return;
  }
  const std::string asked =
      range.first == range.last
          ? "frame " + std::to_string(range.first) + " lies"
          : "frames " + std::to_string(range.first) + "-" + std::to_string(range.last) + " lie";
  throw HostError(
      asked + " outside the composition, which has " +
      (count == 0 ? std::string("no frames") : "frames 0-" + std::to_string(count - 1)));
}

}  // namespace lunaform::host
