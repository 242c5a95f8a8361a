#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace lunaform::host {

// Finds the section called `name` in an in-memory ELF64 little-endian file image (a shared
// object as the linker wrote it). Returns a view of the section's bytes inside `image`; it is
// valid as long as `image` is. Throws HostError with one line naming what is wrong: "not an ELF
// file", "not a 64-bit little-endian ELF file", "truncated ELF file (...)", "corrupt ELF
// section table (...)", "no <name> section". Pure function, any thread.
std::span<const std::byte> find_elf_section(std::span<const std::byte> image,
                                            std::string_view name);

}  // namespace lunaform::host
