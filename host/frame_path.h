#pragma once

#include <filesystem>

namespace lunaform::host {

// Output file names of frame sequences. The frame-number placeholder is one run of '#' in the
// file's name (never in its folder): it becomes the frame number padded with zeros to the run's
// length, "out.####.png" giving "out.0007.png" for frame 7; a number with more digits than the
// run is written whole ("out.##.png", frame 123: "out.123.png").

// Whether the file name of `pattern` holds the placeholder. Throws HostError with one line
// when it holds more than one run of '#', as the frame number could go in either. Pure function.
bool has_frame_placeholder(const std::filesystem::path& pattern);

// `pattern` with its placeholder replaced by `frame` (0 or above); `pattern` itself when it has
// none. Throws HostError as has_frame_placeholder(). Pure function.
std::filesystem::path frame_file(const std::filesystem::path& pattern, int frame);

}  // namespace lunaform::host
