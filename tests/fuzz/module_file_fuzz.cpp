// Effect module files: the ELF section table that leads to the ".pipl" section, and the PiPL
// record in it; each input is read both as a whole module file and as a PiPL alone. A corrupt
// file must end in HostError, one line; anything else is a finding.
#include <cstddef>
#include <cstdint>
#include <span>

#include "host/elf_section.h"
#include "host/host_error.h"
#include "host/pipl.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::byte> bytes(reinterpret_cast<const std::byte*>(data), size);
  try {
    lunaform::host::parse_pipl(lunaform::host::find_elf_section(bytes, ".pipl"));
  } catch (const lunaform::host::HostError&) {
  }
  try {
    lunaform::host::parse_pipl(bytes);
  } catch (const lunaform::host::HostError&) {
  }
  return 0;
}
