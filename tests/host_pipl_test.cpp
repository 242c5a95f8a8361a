#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "host/elf_section.h"
#include "host/host_error.h"
#include "host/pipl.h"
#include "tests/host_suite_support.h"

// How the host finds an effect in a module file: the .pipl ELF section and the PiPL record in it.
namespace {

using host_test::nums;
using lunaform::host::find_elf_section;
using lunaform::host::HostError;
using lunaform::host::parse_pipl;
using lunaform::host::Pipl;
using testing::ElementsAre;
using testing::HasSubstr;

// A minimal ELF64 little-endian image laid out by hand: the file header, each section's bytes,
// the section name table, then the section headers (null section first, name table last).
struct ElfImage {
  std::vector<std::byte> bytes;
  uint64_t table = 0;  // offset of the section headers

  template <typename Record>
  Record* at(uint64_t offset) {  // a record of the image, changed in place
    return reinterpret_cast<Record*>(bytes.data() + offset);
  }
  Elf64_Ehdr* header() { return at<Elf64_Ehdr>(0); }
  Elf64_Shdr* section(int index) { return at<Elf64_Shdr>(table + index * sizeof(Elf64_Shdr)); }
};

// Sections .text, .pip, .pipl (index 3) and .pipl2, then .shstrtab (index 5).
ElfImage sample_image() {
  std::string data;
  std::string names("\0", 1);
  std::vector<Elf64_Shdr> headers(1, Elf64_Shdr{});
  const auto add = [&](const std::string& name, const std::string& contents, Elf64_Word type) {
    headers.push_back(Elf64_Shdr{.sh_name = static_cast<Elf64_Word>(names.size()),
                                 .sh_type = type,
                                 .sh_offset = sizeof(Elf64_Ehdr) + data.size(),
                                 .sh_size = contents.size()});
    names += name + '\0';
    data += contents;
  };
  add(".text", "code bytes", SHT_PROGBITS);
  add(".pip", "short", SHT_PROGBITS);
  add(".pipl", "PIPL-CONTENTS", SHT_PROGBITS);
  add(".pipl2", "longer", SHT_PROGBITS);
  add(".shstrtab", names + ".shstrtab" + '\0', SHT_STRTAB);
  data.resize((data.size() + 7) / 8 * 8);  // the section headers aligned, as linkers place them

  Elf64_Ehdr file{
      .e_ident = {ELFMAG0, ELFMAG1, ELFMAG2, ELFMAG3, ELFCLASS64, ELFDATA2LSB, EV_CURRENT},
      .e_type = ET_DYN,
      .e_machine = EM_X86_64,
      .e_version = EV_CURRENT,
      .e_ehsize = sizeof(Elf64_Ehdr)};
  file.e_shoff = sizeof(Elf64_Ehdr) + data.size();
  file.e_shentsize = sizeof(Elf64_Shdr);
  file.e_shnum = static_cast<uint16_t>(headers.size());
  file.e_shstrndx = static_cast<uint16_t>(headers.size() - 1);
  ElfImage image{.table = file.e_shoff};
  image.bytes.resize(file.e_shoff + headers.size() * sizeof(Elf64_Shdr));
  std::memcpy(image.bytes.data(), &file, sizeof file);
  std::memcpy(image.bytes.data() + sizeof file, data.data(), data.size());
  std::memcpy(image.bytes.data() + file.e_shoff, headers.data(),
              headers.size() * sizeof(Elf64_Shdr));
  return image;
}

std::string section_text(const ElfImage& image, const char* name) {
  const std::span<const std::byte> bytes = find_elf_section(image.bytes, name);
  return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

TEST(ElfSection, FindsTheSectionByExactNameAlsoThroughExtendedCountsAndRefusesDamage) {
  ElfImage image = sample_image();
  EXPECT_EQ(section_text(image, ".pipl"), "PIPL-CONTENTS");
  EXPECT_EQ(section_text(image, ".pip"), "short");
  // With e_shnum 0 and e_shstrndx SHN_XINDEX the real values live in section header 0: the
  // count in its size, the name table's index in its link.
  image.section(0)->sh_size = image.header()->e_shnum;
  image.section(0)->sh_link = image.header()->e_shstrndx;
  image.header()->e_shnum = 0;
  image.header()->e_shstrndx = SHN_XINDEX;
  EXPECT_EQ(section_text(image, ".pipl"), "PIPL-CONTENTS");

  // Damaged images are refused with their fault.
  using Damage = std::function<void(ElfImage&)>;
  const std::vector<std::pair<Damage, const char*>> cases = {
      {[](ElfImage& i) { i.bytes.clear(); }, "not an ELF file"},
      {[](ElfImage& i) { i.bytes.resize(4); },
       "truncated ELF file (the identification bytes end at byte 16, the file has 4)"},
      {[](ElfImage& i) { i.bytes[EI_CLASS] = std::byte{ELFCLASS32}; },
       "not a 64-bit little-endian ELF file"},
      {[](ElfImage& i) { i.bytes.resize(40); },
       "truncated ELF file (the file header would end at byte 64, the file has 40)"},
      {[](ElfImage& i) { i.header()->e_shoff = 0; },
       "no .pipl section (the file has no section table)"},
      {[](ElfImage& i) { i.header()->e_shentsize = 40; },
       "corrupt ELF section table (entries of 40 bytes, expected 64)"},
      {[](ElfImage& i) { i.header()->e_shnum = 60000; },
       "truncated ELF file (the section table would end"},
      {[](ElfImage& i) { i.header()->e_shstrndx = 6; },
       "corrupt ELF section table (section name table index 6 of 6 sections)"},
      {[](ElfImage& i) { i.section(5)->sh_size = 1 << 20; },
       "truncated ELF file (the section name table would end"},
      {[](ElfImage& i) { i.section(1)->sh_name = 5000; },
       "corrupt ELF section table (section 1 has a name outside the name table)"},
      {[](ElfImage& i) { i.section(3)->sh_offset = i.bytes.size() - 4; },
       "truncated ELF file (the .pipl section would end"},
      {[](ElfImage& i) { i.section(3)->sh_type = SHT_NOBITS; },
       "the .pipl section has no contents in the file"},
      {[](ElfImage& i) { i.section(3)->sh_name = i.section(1)->sh_name; },  // a second .text
       "no .pipl section"},
  };
  for (const auto& [damage, message] : cases) {
    ElfImage damaged = sample_image();
    damage(damaged);
    EXPECT_THAT([&] { find_elf_section(damaged.bytes, ".pipl"); },
                testing::ThrowsMessage<HostError>(HasSubstr(message)));
  }
}

// Writes a PiPL the way the Windows resource compiler lays it out, independently of the parser:
// little-endian numbers, four-character codes reversed, values padded to four bytes.
class PiplWriter {
 public:
  explicit PiplWriter(uint16_t version = 1) {
    bytes_ = {uint8_t(version), uint8_t(version >> 8), 0, 0, 0, 0};
  }

  PiplWriter& add(const std::string& key, const std::vector<uint8_t>& value,
                  const std::string& vendor = "8BIM") {
    bytes_.insert(bytes_.end(), vendor.rbegin(), vendor.rend());
    bytes_.insert(bytes_.end(), key.rbegin(), key.rend());
    const std::vector<uint8_t> length = le32(static_cast<uint32_t>(value.size()));
    bytes_.insert(bytes_.end(), {0, 0, 0, 0});
    bytes_.insert(bytes_.end(), length.begin(), length.end());
    bytes_.insert(bytes_.end(), value.begin(), value.end());
    bytes_.insert(bytes_.end(), (4 - value.size() % 4) % 4, 0);
    ++count_;
    return *this;
  }

  // The record, claiming `claimed` properties (by default as many as were added).
  std::vector<std::byte> bytes(int64_t claimed = -1) const {
    std::vector<uint8_t> record = bytes_;
    const std::vector<uint8_t> count = le32(static_cast<uint32_t>(claimed < 0 ? count_ : claimed));
    record.insert(record.begin() + 6, count.begin(), count.end());
    const auto* start = reinterpret_cast<const std::byte*>(record.data());
    return {start, start + record.size()};
  }

  static std::vector<uint8_t> le32(uint32_t v) {
    return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
  }
  static std::vector<uint8_t> pascal(const std::string& text) {  // its length, then the text
    const std::string bytes = static_cast<char>(text.size()) + text;
    return {bytes.begin(), bytes.end()};
  }
  static std::vector<uint8_t> c_string(const std::string& text) {
    return {text.c_str(), text.c_str() + text.size() + 1};  // with its terminating NUL
  }
  static std::vector<uint8_t> code(const std::string& text) { return {text.rbegin(), text.rend()}; }

 private:
  std::vector<uint8_t> bytes_;
  uint32_t count_ = 0;
};

using W = PiplWriter;

// The four properties every effect needs; `skip` leaves one out, `kind` replaces the kind.
PiplWriter bare_pipl(const std::string& skip = "", const std::string& kind = "eFKT") {
  PiplWriter writer;
  const std::pair<std::string, std::vector<uint8_t>> properties[] = {{"kind", W::code(kind)},
                                                                     {"name", W::pascal("N")},
                                                                     {"8664", W::c_string("E")},
                                                                     {"eMNA", W::pascal("M")}};
  for (const auto& [key, value] : properties) {
    if (key != skip) {
      writer.add(key, value);
    }
  }
  return writer;
}

// An effect's twelve properties in its resource's order; four values of 4 bytes carry no padding.
PiplWriter effect_pipl() {
  PiplWriter writer;
  writer.add("kind", W::code("eFKT"))
      .add("name", W::pascal("Lunaform"))
      .add("catg", W::pascal("Brightmoor"))
      .add("8664", W::c_string("PluginMain"))
      .add("eVER", W::le32(0x00080042))
      .add("ePVR", W::le32(2))
      .add("eSVR", {13, 0, 9, 0})
      .add("eINF", {0x34, 0x12})
      .add("eGLO", W::le32(0x06008000))
      .add("eGL2", W::le32(0x0000140E))
      .add("eMNA", W::pascal("BRIGHTMOOR Sphere"))
      .add("aeFL", W::le32(7));
  return writer;
}

TEST(Pipl, DecodesEveryPropertyOfAnEffectAndKeepsOtherVendorsUndecoded) {
  const Pipl pipl = parse_pipl(effect_pipl().add("name", W::pascal("Foreign"), "ACME").bytes());
  EXPECT_THAT(std::vector({pipl.kind, pipl.name, pipl.category, pipl.entry_point, pipl.match_name}),
              ElementsAre("eFKT", "Lunaform", "Brightmoor", "PluginMain", "BRIGHTMOOR Sphere"));
  EXPECT_THAT(
      nums(pipl.version, pipl.pipl_version, pipl.spec_version_major, pipl.spec_version_minor,
           pipl.info_flags, pipl.global_out_flags, pipl.global_out_flags_2, pipl.ae_flags),
      ElementsAre(0x00080042, 2, 13, 9, 0x1234, 0x06008000, 0x0000140E, 7));
  ASSERT_EQ(pipl.properties.size(), 13u);
  // "Lunaform" as a Pascal string is 9 bytes, stored without its padding.
  EXPECT_EQ(pipl.properties[1].value.size(), 9u);
  EXPECT_EQ(pipl.properties[12].vendor + pipl.properties[12].key, "ACMEname");

  const Pipl bare = parse_pipl(bare_pipl().bytes());  // optional properties: zero and empty
  EXPECT_EQ(bare.category, "");
  EXPECT_THAT(nums(bare.version, bare.global_out_flags, bare.spec_version_major),
              ElementsAre(0, 0, 0));
}

TEST(Pipl, MalformedRecordsAreRefusedWithOneClearMessage) {
  const auto with = [](const std::string& key, const std::vector<uint8_t>& value) {
    return PiplWriter().add("kind", W::code("eFKT")).add(key, value).bytes();
  };
  std::vector<std::byte> one_too_many = effect_pipl().bytes(13);
  one_too_many.resize(one_too_many.size() + 8);  // room for the count check, not for a property
  std::vector<std::byte> long_value = effect_pipl().bytes();
  long_value[10 + 12] = long_value[10 + 13] = std::byte{0xFF};  // the first length: 65535
  const std::vector<std::pair<std::vector<std::byte>, std::string>> cases = {
      {std::vector<std::byte>(5), "truncated PiPL (5 bytes, the header alone needs 10)"},
      {PiplWriter(2).bytes(), "unsupported PiPL version 2"},
      {effect_pipl().bytes(1000), "PiPL claims 1000 properties but its"},
      {one_too_many, "PiPL property 13 runs past the end of the data"},
      {long_value,
       "PiPL property 'kind' (number 1) has a value of 65535 bytes, running past the end"},
      {with("name", {20, 'a', 'b'}), "PiPL property 'name' holds 3 bytes, needs 21"},
      {with("eGLO", {1, 2}), "PiPL property 'eGLO' holds 2 bytes, needs 4"},
      {with("8664", {0, 0, 0, 0}), "PiPL property '8664' is empty"},
      {effect_pipl().add("name", W::pascal("Again")).bytes(), "PiPL property 'name' appears twice"},
      {bare_pipl("kind").bytes(), "PiPL has no 'kind' property (the plug-in kind)"},
      {bare_pipl("name").bytes(), "PiPL has no 'name' property (the effect's name)"},
      {bare_pipl("8664").add("8664", W::c_string("E"), "ACME").bytes(),
       "PiPL has no '8664' property (the entry point)"},
      {bare_pipl("eMNA").bytes(), "PiPL has no 'eMNA' property (the match name)"},
      {bare_pipl("", "AEgx").bytes(), "PiPL kind is 'AEgx', not an effect ('eFKT')"},
  };
  for (const auto& [bytes, message] : cases) {
    EXPECT_THAT([&] { parse_pipl(bytes); }, testing::ThrowsMessage<HostError>(HasSubstr(message)));
  }
}

}  // namespace
