#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "host/elf_section.h"
#include "host/host_error.h"

namespace {

using lunaform::host::find_elf_section;
using lunaform::host::HostError;
using testing::HasSubstr;

std::vector<std::byte> bytes_of(const std::string& text) {
  std::vector<std::byte> bytes(text.size());
  std::memcpy(bytes.data(), text.data(), text.size());
  return bytes;
}

struct Section {
  std::string name;
  std::string contents;
};

// A minimal ELF64 little-endian image laid out by hand: the file header, each section's bytes,
// the section name table, then the section headers (null section first, name table last).
struct ElfImage {
  std::vector<std::byte> bytes;
  uint64_t section_table_offset = 0;
  uint16_t section_count = 0;

  Elf64_Ehdr header() const {
    Elf64_Ehdr h;
    std::memcpy(&h, bytes.data(), sizeof h);
    return h;
  }
  void set_header(const Elf64_Ehdr& h) { std::memcpy(bytes.data(), &h, sizeof h); }
  Elf64_Shdr section(int index) const {
    Elf64_Shdr s;
    std::memcpy(&s, bytes.data() + section_table_offset + index * sizeof s, sizeof s);
    return s;
  }
  void set_section(int index, const Elf64_Shdr& s) {
    std::memcpy(bytes.data() + section_table_offset + index * sizeof s, &s, sizeof s);
  }
};

ElfImage build_elf(const std::vector<Section>& sections) {
  std::string data;
  std::string names("\0", 1);
  std::vector<Elf64_Shdr> headers(1, Elf64_Shdr{});
  for (const Section& section : sections) {
    Elf64_Shdr header{};
    header.sh_name = static_cast<Elf64_Word>(names.size());
    header.sh_type = SHT_PROGBITS;
    header.sh_offset = sizeof(Elf64_Ehdr) + data.size();
    header.sh_size = section.contents.size();
    headers.push_back(header);
    names += section.name + '\0';
    data += section.contents;
  }
  Elf64_Shdr name_table{};
  name_table.sh_name = static_cast<Elf64_Word>(names.size());
  names += std::string(".shstrtab") + '\0';
  name_table.sh_type = SHT_STRTAB;
  name_table.sh_offset = sizeof(Elf64_Ehdr) + data.size();
  name_table.sh_size = names.size();
  headers.push_back(name_table);
  data += names;

  Elf64_Ehdr file{};
  std::memcpy(file.e_ident, ELFMAG, SELFMAG);
  file.e_ident[EI_CLASS] = ELFCLASS64;
  file.e_ident[EI_DATA] = ELFDATA2LSB;
  file.e_ident[EI_VERSION] = EV_CURRENT;
  file.e_type = ET_DYN;
  file.e_machine = EM_X86_64;
  file.e_version = EV_CURRENT;
  file.e_ehsize = sizeof(Elf64_Ehdr);
  file.e_shoff = sizeof(Elf64_Ehdr) + data.size();
  file.e_shentsize = sizeof(Elf64_Shdr);
  file.e_shnum = static_cast<uint16_t>(headers.size());
  file.e_shstrndx = static_cast<uint16_t>(headers.size() - 1);

  ElfImage image;
  image.section_table_offset = file.e_shoff;
  image.section_count = file.e_shnum;
  image.bytes.resize(file.e_shoff + headers.size() * sizeof(Elf64_Shdr));
  std::memcpy(image.bytes.data(), &file, sizeof file);
  std::memcpy(image.bytes.data() + sizeof file, data.data(), data.size());
  std::memcpy(image.bytes.data() + file.e_shoff, headers.data(),
              headers.size() * sizeof(Elf64_Shdr));
  return image;
}

std::string text_of(std::span<const std::byte> bytes) {
  return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

ElfImage sample_image() {
  return build_elf({{".text", "code bytes"},
                    {".pip", "short"},
                    {".pipl", "PIPL-CONTENTS"},
                    {".pipl2", "longer"}});
}

TEST(ElfSection, FindsTheSectionWithExactlyThatName) {
  const ElfImage image = sample_image();
  EXPECT_EQ(text_of(find_elf_section(image.bytes, ".pipl")), "PIPL-CONTENTS");
  EXPECT_EQ(text_of(find_elf_section(image.bytes, ".pip")), "short");
  EXPECT_EQ(text_of(find_elf_section(image.bytes, ".text")), "code bytes");
}

TEST(ElfSection, ReadsTheExtendedSectionCountAndNameIndex) {
  // With e_shnum 0 and e_shstrndx SHN_XINDEX the real values live in section header 0.
  ElfImage image = sample_image();
  Elf64_Ehdr header = image.header();
  Elf64_Shdr first = image.section(0);
  first.sh_size = header.e_shnum;
  first.sh_link = header.e_shstrndx;
  header.e_shnum = 0;
  header.e_shstrndx = SHN_XINDEX;
  image.set_header(header);
  image.set_section(0, first);
  EXPECT_EQ(text_of(find_elf_section(image.bytes, ".pipl")), "PIPL-CONTENTS");
}

struct Corruption {
  const char* what;
  std::function<void(ElfImage&)> damage;
  const char* message;
};

TEST(ElfSection, DamagedImagesAreRefusedWithTheirFault) {
  const int pipl = 3;  // index of .pipl in sample_image()
  const std::vector<Corruption> cases = {
      {"empty file", [](ElfImage& i) { i.bytes.clear(); }, "not an ELF file"},
      {"text file", [](ElfImage& i) { i.bytes = bytes_of("#!/bin/sh\necho hello\n"); },
       "not an ELF file"},
      {"magic only", [](ElfImage& i) { i.bytes.resize(4); },
       "truncated ELF file (the identification bytes end at byte 16, the file has 4)"},
      {"32-bit class", [](ElfImage& i) { i.bytes[EI_CLASS] = std::byte{ELFCLASS32}; },
       "not a 64-bit little-endian ELF file"},
      {"big-endian", [](ElfImage& i) { i.bytes[EI_DATA] = std::byte{ELFDATA2MSB}; },
       "not a 64-bit little-endian ELF file"},
      {"cut inside the file header", [](ElfImage& i) { i.bytes.resize(40); },
       "truncated ELF file (the file header would end at byte 64, the file has 40)"},
      {"cut inside the section table", [](ElfImage& i) { i.bytes.resize(i.bytes.size() - 10); },
       "truncated ELF file"},
      {"no section table",
       [](ElfImage& i) {
         Elf64_Ehdr h = i.header();
         h.e_shoff = 0;
         i.set_header(h);
       },
       "no .pipl section (the file has no section table)"},
      {"wrong section header size",
       [](ElfImage& i) {
         Elf64_Ehdr h = i.header();
         h.e_shentsize = 40;
         i.set_header(h);
       },
       "corrupt ELF section table (entries of 40 bytes, expected 64)"},
      {"section count past the end",
       [](ElfImage& i) {
         Elf64_Ehdr h = i.header();
         h.e_shnum = 60000;
         i.set_header(h);
       },
       "truncated ELF file (the section table would end"},
      {"name table index out of range",
       [](ElfImage& i) {
         Elf64_Ehdr h = i.header();
         h.e_shstrndx = i.section_count;
         i.set_header(h);
       },
       "corrupt ELF section table (section name table index 6 of 6 sections)"},
      {"name table past the end",
       [](ElfImage& i) {
         Elf64_Shdr s = i.section(i.section_count - 1);
         s.sh_size = 1 << 20;
         i.set_section(i.section_count - 1, s);
       },
       "truncated ELF file (the section name table would end"},
      {"name offset outside the name table",
       [&](ElfImage& i) {
         Elf64_Shdr s = i.section(1);
         s.sh_name = 5000;
         i.set_section(1, s);
       },
       "corrupt ELF section table (section 1 has a name outside the name table)"},
      {"section contents past the end",
       [&](ElfImage& i) {
         Elf64_Shdr s = i.section(pipl);
         s.sh_offset = i.bytes.size() - 4;
         i.set_section(pipl, s);
       },
       "truncated ELF file (the .pipl section would end"},
      {"section without file contents",
       [&](ElfImage& i) {
         Elf64_Shdr s = i.section(pipl);
         s.sh_type = SHT_NOBITS;
         i.set_section(pipl, s);
       },
       "the .pipl section has no contents in the file"},
      {"section renamed",
       [&](ElfImage& i) {
         Elf64_Shdr s = i.section(pipl);
         s.sh_name = i.section(1).sh_name;  // now a second ".text"
         i.set_section(pipl, s);
       },
       "no .pipl section"},
  };
  for (const Corruption& c : cases) {
    SCOPED_TRACE(c.what);
    ElfImage image = sample_image();
    c.damage(image);
    try {
      find_elf_section(image.bytes, ".pipl");
      ADD_FAILURE() << "accepted";
    } catch (const HostError& error) {
      EXPECT_THAT(error.what(), HasSubstr(c.message));
    }
  }
}

}  // namespace
