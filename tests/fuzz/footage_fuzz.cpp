// Footage files of every type the host reads (the first byte of an input picks the file name's
// extension, the rest is the file), through the host's reading and its cleaning of NaN and
// infinities. An unreadable file must end in HostError, one line; anything else is a finding.
#include <array>
#include <cstdint>

#include "host/footage.h"
#include "host/host_error.h"
#include "tests/fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::array<fuzz_file, 5> files{fuzz_file("in.png"), fuzz_file("in.jpg"),
                                        fuzz_file("in.tif"), fuzz_file("in.exr"),
                                        fuzz_file("in.hdr")};
  if (size == 0) {
    return 0;
  }
  try {
    lunaform::host::read_footage(files[data[0] % files.size()].write(data + 1, size - 1));
  } catch (const lunaform::host::HostError&) {
  }
  return 0;
}
