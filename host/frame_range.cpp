#include "host/frame_range.h"

#include <algorithm>
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
  const size_t colon = text.find(':');
  const std::string_view frames = text.substr(0, colon);
  const size_t dash = frames.find('-');
  const std::string_view first_text = frames.substr(0, dash);
  const std::string_view last_text =
      dash == std::string_view::npos ? first_text : frames.substr(dash + 1);
  const auto first = parse_whole_number(first_text);
  const auto last = parse_whole_number(last_text);
  const auto step = colon == std::string_view::npos ? std::optional(1)
                                                    : parse_whole_number(text.substr(colon + 1));
  if (!first || !last || !step ||
      (colon != std::string_view::npos && dash == std::string_view::npos)) {
    fail(
        "expected FIRST-LAST, FIRST-LAST:STEP or one frame, as whole numbers from 0 (for example "
        "0-47 or 0-47:2)");
  }
  if (*last < *first) {
    fail("the last frame comes before the first");
  }
  if (*step < 1) {
    fail("the step must be 1 or more");
  }
  return {*first, *first + (*last - *first) / *step * *step, *step};
}

FrameChunk parse_frame_chunk(std::string_view text) {
  const auto fail = [&](const std::string& problem) {
    throw HostError("bad --chunk '" + std::string(text) + "': " + problem);
  };
  const size_t slash = text.find('/');
  const auto index = parse_whole_number(text.substr(0, slash));
  const auto count =
      slash == std::string_view::npos ? std::nullopt : parse_whole_number(text.substr(slash + 1));
  if (!index || !count) {
    fail("expected PART/PARTS as whole numbers, the parts counted from 0 (for example 0/4)");
  }
  if (*count < 1) {
    fail("there must be 1 part or more");
  }
  if (*index >= *count) {
    fail("the part must be 0 to " + std::to_string(*count - 1));
  }
  return {*index, *count};
}

std::vector<int> chunk_frames(const FrameRange& range, const FrameChunk& chunk) {
  const int total = range.size();
  const int smaller = total / chunk.count;
  const int larger_parts = total % chunk.count;
  const int begin = chunk.index * smaller + std::min(chunk.index, larger_parts);
  const int end = begin + smaller + (chunk.index < larger_parts ? 1 : 0);
  std::vector<int> frames;
  for (int position = begin; position < end; ++position) {
    frames.push_back(range.first + position * range.step);
  }
  return frames;
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
