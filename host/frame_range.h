#pragma once

#include <string_view>

#include "AE_Effect.h"

namespace lunaform::host {

// A run of composition frames, both ends included; frame 0 starts at composition time 0.
struct FrameRange {
  int first = 0;
  int last = 0;

  int size() const { return last - first + 1; }
  friend bool operator==(const FrameRange&, const FrameRange&) = default;
};

// How many frames start inside a composition of `total_time` units whose frames last
// `time_step` units: ceil(total_time / time_step), so a last, partial frame counts. 0 for an
// empty composition. Throws HostError for a `time_step` that is not positive. Pure function.
int frame_count(A_long total_time, A_long time_step);

// Reads "A-B" (frames A to B) or "A" (that frame alone): whole numbers from 0, B not before A.
// Returns the range. Throws HostError with one line ("bad --frames '5-2': the last frame comes
// before the first") for anything else. Pure function.
FrameRange parse_frame_range(std::string_view text);

// Throws HostError with one line ("frames 0-300 lie outside the composition, which has frames
// 0-299") when `range` does not lie in 0 .. count - 1. Pure function.
void check_frame_range(const FrameRange& range, int count);

}  // namespace lunaform::host
