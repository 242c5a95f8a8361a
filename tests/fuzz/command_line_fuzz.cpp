// The values lunaform-render takes from its command line: frames, a part of them, a region and an
// output name, one to a line of each input. A bad value must end in HostError, one line;
// anything else is a finding.
#include <cstdint>
#include <sstream>
#include <string>

#include "host/frame_path.h"
#include "host/frame_range.h"
#include "host/host_error.h"
#include "host/output_region.h"

namespace {

template <class Read>
void refusing_only_with_host_error(Read read) {
  try {
    read();
  } catch (const lunaform::host::HostError&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
  std::string frames, chunk, region, output;
  std::getline(lines, frames);
  std::getline(lines, chunk);
  std::getline(lines, region);
  std::getline(lines, output);
  refusing_only_with_host_error([&] {
    const lunaform::host::FrameRange range = lunaform::host::parse_frame_range(frames);
    lunaform::host::check_frame_range(range, 1000);
    lunaform::host::chunk_frames(range, lunaform::host::parse_frame_chunk(chunk));
  });
  refusing_only_with_host_error([&] {
    lunaform::host::check_region(lunaform::host::parse_region(region), {1920, 1080});
  });
  refusing_only_with_host_error([&] {
    if (lunaform::host::has_frame_placeholder(output)) {
      lunaform::host::frame_file(output, 123456);
    }
  });
  return 0;
}
