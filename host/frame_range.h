#pragma once

#include <string_view>
#include <vector>

#include "AE_Effect.h"

namespace lunaform::host {

// Composition frames first, first + step, ... up to last, both ends included; frame 0 starts at
// composition time 0. `last` is always one of the frames.
struct FrameRange {
  int first = 0;
  int last = 0;
  int step = 1;

  int size() const { return (last - first) / step + 1; }
  friend bool operator==(const FrameRange&, const FrameRange&) = default;
};

// One of `count` nearly equal parts of a range's frames, numbered from 0: how a render farm's
// array job hands each task its share (Slurm's SLURM_ARRAY_TASK_ID with --array=0-(count-1)).
struct FrameChunk {
  int index = 0;
  int count = 1;
};

// How many frames start inside a composition of `total_time` units whose frames last
// `time_step` units: ceil(total_time / time_step), so a last, partial frame counts. 0 for an
// empty composition. Throws HostError for a `time_step` that is not positive. Pure function.
int frame_count(A_long total_time, A_long time_step);

// Reads "A-B:S" (every S-th frame from A up to B), "A-B" (frames A to B) or "A" (that frame
// alone): whole numbers, frames from 0, B not before A, S from 1. A last frame that the step
// passes over is dropped ("0-10:4" is 0, 4, 8). Throws HostError with one line ("bad --frames
// '5-2': the last frame comes before the first") for anything else. Pure function.
FrameRange parse_frame_range(std::string_view text);

// Reads "I/N": part I (from 0) of N parts, N from 1. Throws HostError with one line ("bad
// --chunk '4/4': the part must be 0 to 3") for anything else. Pure function.
FrameChunk parse_frame_chunk(std::string_view text);

// The frames of `range` that part `chunk` holds, in order. The parts take the frames in order,
// one after the other, their sizes differing by one at most (the first ones being the larger);
// a part of a range with fewer frames than parts may hold none. Pure function.
std::vector<int> chunk_frames(const FrameRange& range, const FrameChunk& chunk);

// Throws HostError with one line ("frames 0-300 lie outside the composition, which has frames
// 0-299") when `range` does not lie in 0 .. count - 1. Pure function.
void check_frame_range(const FrameRange& range, int count);

}  // namespace lunaform::host
