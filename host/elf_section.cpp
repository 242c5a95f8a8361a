#include "host/elf_section.h"

#include <elf.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

// The image comes from an arbitrary file: every offset and size read from it is checked
// against the image before anything at that place is read.
bool fits(std::span<const std::byte> image, uint64_t offset, uint64_t size) {
  return offset <= image.size() && size <= image.size() - offset;
}

template <typename Record>
Record read_record(std::span<const std::byte> image, uint64_t offset) {
  Record record;
  std::memcpy(&record, image.data() + offset, sizeof record);
  return record;
}

std::string truncated(const char* what, uint64_t end, size_t size) {
  return "truncated ELF file (" + std::string(what) + " end at byte " + std::to_string(end) +
         ", the file has " + std::to_string(size) + ")";
}

Elf64_Ehdr read_file_header(std::span<const std::byte> image) {
  if (image.size() < SELFMAG || std::memcmp(image.data(), ELFMAG, SELFMAG) != 0) {
    throw HostError("not an ELF file");
  }
  if (image.size() < EI_NIDENT) {
    throw HostError(truncated("the identification bytes", EI_NIDENT, image.size()));
  }
  const auto* ident = reinterpret_cast<const unsigned char*>(image.data());
  if (ident[EI_CLASS] != ELFCLASS64 || ident[EI_DATA] != ELFDATA2LSB) {
    throw HostError("not a 64-bit little-endian ELF file");
  }
  if (image.size() < sizeof(Elf64_Ehdr)) {
    throw HostError(truncated("the file header would", sizeof(Elf64_Ehdr), image.size()));
  }
  return read_record<Elf64_Ehdr>(image, 0);
}

}  // namespace

std::span<const std::byte> find_elf_section(std::span<const std::byte> image,
                                            std::string_view name) {
  const Elf64_Ehdr header = read_file_header(image);
  if (header.e_shoff == 0) {
    throw HostError("no " + std::string(name) + " section (the file has no section table)");
  }
  if (header.e_shentsize != sizeof(Elf64_Shdr)) {
    throw HostError("corrupt ELF section table (entries of " + std::to_string(header.e_shentsize) +
                    " bytes, expected " + std::to_string(sizeof(Elf64_Shdr)) + ")");
  }
  if (!fits(image, header.e_shoff, sizeof(Elf64_Shdr))) {
    throw HostError(
        truncated("the section table would", header.e_shoff + sizeof(Elf64_Shdr), image.size()));
  }
  // With more sections than the header fields can hold, the real count and the index of the
  // name table live in the first section header.
  const auto first = read_record<Elf64_Shdr>(image, header.e_shoff);
  const uint64_t count = header.e_shnum != 0 ? header.e_shnum : first.sh_size;
  const uint64_t names_index = header.e_shstrndx != SHN_XINDEX ? header.e_shstrndx : first.sh_link;
  if (count > (image.size() - header.e_shoff) / sizeof(Elf64_Shdr)) {
    throw HostError(truncated("the section table would",
                              header.e_shoff + count * sizeof(Elf64_Shdr), image.size()));
  }
  auto section_header = [&](uint64_t index) {
    return read_record<Elf64_Shdr>(image, header.e_shoff + index * sizeof(Elf64_Shdr));
  };
  if (names_index == SHN_UNDEF || names_index >= count) {
    throw HostError("corrupt ELF section table (section name table index " +
                    std::to_string(names_index) + " of " + std::to_string(count) + " sections)");
  }
  const Elf64_Shdr names = section_header(names_index);
  if (!fits(image, names.sh_offset, names.sh_size)) {
    throw HostError(
        truncated("the section name table would", names.sh_offset + names.sh_size, image.size()));
  }
  const std::string_view name_table(reinterpret_cast<const char*>(image.data()) + names.sh_offset,
                                    names.sh_size);

  for (uint64_t index = 1; index < count; ++index) {
    const Elf64_Shdr section = section_header(index);
    if (section.sh_name >= name_table.size()) {
      throw HostError("corrupt ELF section table (section " + std::to_string(index) +
                      " has a name outside the name table)");
    }
    const std::string_view rest = name_table.substr(section.sh_name);
    const size_t end = rest.find('\0');
    if (end == std::string_view::npos) {
      throw HostError("corrupt ELF section table (unterminated name of section " +
                      std::to_string(index) + ")");
    }
    if (rest.substr(0, end) != name) {
      continue;
    }
    if (section.sh_type == SHT_NOBITS) {
      throw HostError("the " + std::string(name) + " section has no contents in the file");
    }
    if (!fits(image, section.sh_offset, section.sh_size)) {
      throw HostError(truncated(("the " + std::string(name) + " section would").c_str(),
                                section.sh_offset + section.sh_size, image.size()));
    }
    return image.subspan(section.sh_offset, section.sh_size);
  }
  throw HostError("no " + std::string(name) + " section");
}

}  // namespace lunaform::host
