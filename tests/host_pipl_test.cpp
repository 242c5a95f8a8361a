#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/host_error.h"
#include "host/pipl.h"
#include "host/plugin_version.h"

namespace {

using lunaform::host::HostError;
using lunaform::host::parse_pipl;
using lunaform::host::Pipl;
using lunaform::host::PluginVersion;
using testing::HasSubstr;

// Writes a PiPL the way the Windows resource compiler lays it out, independently of the parser:
// little-endian numbers, four-character codes reversed, values padded to four bytes.
class PiplWriter {
 public:
  explicit PiplWriter(uint16_t version = 1) {
    u16(version);
    u32(0);  // reserved
    u32(0);  // property count, filled in by bytes()
  }

  PiplWriter& property(const std::string& key, const std::vector<uint8_t>& value,
                       const std::string& vendor = "8BIM") {
    code(vendor);
    code(key);
    u32(0);
    u32(static_cast<uint32_t>(value.size()));
    bytes_.insert(bytes_.end(), value.begin(), value.end());
    bytes_.insert(bytes_.end(), (4 - value.size() % 4) % 4, 0);
    ++count_;
    return *this;
  }

  std::vector<std::byte> bytes(uint32_t claimed_count) const {
    std::vector<uint8_t> copy = bytes_;
    for (int i = 0; i < 4; ++i) {
      copy[6 + i] = static_cast<uint8_t>(claimed_count >> (8 * i));
    }
    std::vector<std::byte> result(copy.size());
    for (size_t i = 0; i < copy.size(); ++i) {
      result[i] = std::byte{copy[i]};
    }
    return result;
  }
  std::vector<std::byte> bytes() const { return bytes(count_); }

 private:
  void u16(uint16_t v) { bytes_.insert(bytes_.end(), {uint8_t(v), uint8_t(v >> 8)}); }
  void u32(uint32_t v) {
    bytes_.insert(bytes_.end(), {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)});
  }
  void code(const std::string& c) { bytes_.insert(bytes_.end(), c.rbegin(), c.rend()); }

  std::vector<uint8_t> bytes_;
  uint32_t count_ = 0;
};

std::vector<uint8_t> pascal(const std::string& text) {
  std::vector<uint8_t> value{static_cast<uint8_t>(text.size())};
  value.insert(value.end(), text.begin(), text.end());
  return value;
}

std::vector<uint8_t> c_string(const std::string& text) {
  std::vector<uint8_t> value(text.begin(), text.end());
  value.push_back(0);
  return value;
}

std::vector<uint8_t> le32(uint32_t v) {
  return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
}

std::vector<uint8_t> reversed(const std::string& code) {
  return {code.rbegin(), code.rend()};
}

// The twelve properties of an effect, in the order the effect's resource lists them.
PiplWriter effect_pipl() {
  PiplWriter writer;
  writer.property("kind", reversed("eFKT"))
      .property("name", pascal("Lunaform"))
      .property("catg", pascal("Brightmoor"))
      .property("8664", c_string("PluginMain"))
      .property("eVER", le32(0x00080042))
      .property("ePVR", le32(2))
      .property("eSVR", {13, 0, 9, 0})
      .property("eINF", {0x34, 0x12})
      .property("eGLO", le32(0x06008000))
      .property("eGL2", le32(0x0000140E))
      .property("eMNA", pascal("BRIGHTMOOR Sphere"))
      .property("aeFL", le32(7));
  return writer;
}

TEST(Pipl, DecodesEveryPropertyOfAnEffect) {
  const Pipl pipl = parse_pipl(effect_pipl().bytes());
  EXPECT_EQ(pipl.kind, "eFKT");
  EXPECT_EQ(pipl.name, "Lunaform");
  EXPECT_EQ(pipl.category, "Brightmoor");
  EXPECT_EQ(pipl.entry_point, "PluginMain");
  EXPECT_EQ(pipl.version, 0x00080042u);
  EXPECT_EQ(pipl.pipl_version, 2u);
  EXPECT_EQ(pipl.spec_version_major, 13);
  EXPECT_EQ(pipl.spec_version_minor, 9);
  EXPECT_EQ(pipl.info_flags, 0x1234);
  EXPECT_EQ(pipl.global_out_flags, 0x06008000u);
  EXPECT_EQ(pipl.global_out_flags_2, 0x0000140Eu);
  EXPECT_EQ(pipl.match_name, "BRIGHTMOOR Sphere");
  EXPECT_EQ(pipl.ae_flags, 7u);

  ASSERT_EQ(pipl.properties.size(), 12u);
  EXPECT_EQ(pipl.properties[1].vendor, "8BIM");
  EXPECT_EQ(pipl.properties[1].key, "name");
  // "Lunaform" as a Pascal string is 9 bytes, stored without its padding.
  EXPECT_EQ(pipl.properties[1].value.size(), 9u);
  EXPECT_EQ(pipl.properties[11].key, "aeFL");
}

TEST(Pipl, KeepsOtherVendorsPropertiesWithoutDecodingThem) {
  PiplWriter writer;
  writer.property("kind", reversed("eFKT"))
      .property("name", pascal("Real Name"))
      .property("name", pascal("Foreign"), "ACME")
      .property("8664", c_string("Entry"))
      .property("eMNA", pascal("Match"));
  const Pipl pipl = parse_pipl(writer.bytes());
  EXPECT_EQ(pipl.name, "Real Name");
  ASSERT_EQ(pipl.properties.size(), 5u);
  EXPECT_EQ(pipl.properties[2].vendor, "ACME");
  EXPECT_EQ(pipl.properties[2].key, "name");
}

TEST(Pipl, OptionalPropertiesDefaultToZeroAndEmpty) {
  PiplWriter writer;
  writer.property("kind", reversed("eFKT"))
      .property("name", pascal("Bare"))
      .property("8664", c_string("Entry"))
      .property("eMNA", pascal("Bare Match"));
  const Pipl pipl = parse_pipl(writer.bytes());
  EXPECT_EQ(pipl.category, "");
  EXPECT_EQ(pipl.version, 0u);
  EXPECT_EQ(pipl.global_out_flags, 0u);
  EXPECT_EQ(pipl.spec_version_major, 0);
}

struct BadPipl {
  const char* what;
  std::function<std::vector<std::byte>()> bytes;
  const char* message;
};

TEST(Pipl, MalformedRecordsAreRefusedWithOneClearMessage) {
  const std::vector<BadPipl> cases = {
      {"shorter than its header", [] { return std::vector<std::byte>(5); },
       "truncated PiPL (5 bytes, the header alone needs 10)"},
      {"unknown version", [] { return PiplWriter(2).bytes(); }, "unsupported PiPL version 2"},
      {"count larger than the data", [] { return effect_pipl().bytes(1000); },
       "PiPL claims 1000 properties but its"},
      {"count one too many",
       [] {
         auto bytes = effect_pipl().bytes(13);
         bytes.resize(bytes.size() + 8);  // room for the count check, not for a property
         return bytes;
       },
       "PiPL property 13 runs past the end of the data"},
      {"value length past the end",
       [] {
         auto bytes = effect_pipl().bytes();
         bytes[10 + 12] = std::byte{0xFF};  // the first property's length: 65535 bytes
         bytes[10 + 13] = std::byte{0xFF};
         return bytes;
       },
       "PiPL property 'kind' (number 1) has a value of 65535 bytes, running past the end"},
      {"Pascal string longer than its value",
       [] {
         PiplWriter writer;
         writer.property("kind", reversed("eFKT")).property("name", {20, 'a', 'b'});
         return writer.bytes();
       },
       "PiPL property 'name' holds 3 bytes, needs 21"},
      {"number too short",
       [] {
         PiplWriter writer;
         writer.property("kind", reversed("eFKT")).property("eGLO", {1, 2});
         return writer.bytes();
       },
       "PiPL property 'eGLO' holds 2 bytes, needs 4"},
      {"empty entry point",
       [] {
         PiplWriter writer;
         writer.property("kind", reversed("eFKT")).property("8664", {0, 0, 0, 0});
         return writer.bytes();
       },
       "PiPL property '8664' is empty"},
      {"duplicate property",
       [] {
         PiplWriter writer = effect_pipl();
         writer.property("name", pascal("Again"));
         return writer.bytes();
       },
       "PiPL property 'name' appears twice"},
      {"no kind",
       [] {
         PiplWriter writer;
         writer.property("name", pascal("N"))
             .property("8664", c_string("E"))
             .property("eMNA", pascal("M"));
         return writer.bytes();
       },
       "PiPL has no 'kind' property (the plug-in kind)"},
      {"no name",
       [] {
         PiplWriter writer;
         writer.property("kind", reversed("eFKT"))
             .property("8664", c_string("E"))
             .property("eMNA", pascal("M"));
         return writer.bytes();
       },
       "PiPL has no 'name' property (the effect's name)"},
      {"no entry point",
       [] {
         PiplWriter writer;
         writer.property("kind", reversed("eFKT"))
             .property("name", pascal("N"))
             .property("8664", c_string("E"), "ACME")
             .property("eMNA", pascal("M"));
         return writer.bytes();
       },
       "PiPL has no '8664' property (the entry point)"},
      {"no match name",
       [] {
         PiplWriter writer;
         writer.property("kind", reversed("eFKT"))
             .property("name", pascal("N"))
             .property("8664", c_string("E"));
         return writer.bytes();
       },
       "PiPL has no 'eMNA' property (the match name)"},
      {"not an effect",
       [] {
         PiplWriter writer;
         writer.property("kind", reversed("AEgx"))
             .property("name", pascal("N"))
             .property("8664", c_string("E"))
             .property("eMNA", pascal("M"));
         return writer.bytes();
       },
       "PiPL kind is 'AEgx', not an effect ('eFKT')"},
  };
  for (const BadPipl& c : cases) {
    SCOPED_TRACE(c.what);
    try {
      parse_pipl(c.bytes());
      ADD_FAILURE() << "accepted";
    } catch (const HostError& error) {
      EXPECT_THAT(error.what(), HasSubstr(c.message));
    }
  }
}

TEST(PluginVersion, UnpacksEveryFieldOfThePackedVersion) {
  struct Case {
    uint32_t packed;
    PluginVersion expected;
    const char* text;
  };
  // Packed by hand: major low bits << 19 | major high bits << 26 | minor << 15 | bugfix << 11
  // | stage << 9 | build.
  const Case cases[] = {
      {0x00080042, {1, 0, 0, 0, 66}, "1.0.0 develop build 66"},
      {(5u << 19) | (3u << 15) | (2u << 11) | (3u << 9) | 511u,
       {5, 3, 2, 3, 511},
       "5.3.2 release build 511"},
      // Major 13 = 0b1101: low three bits 0b101, high bits 0b1.
      {(1u << 26) | (5u << 19) | (9u << 15) | (1u << 9) | 7u,
       {13, 9, 0, 1, 7},
       "13.9.0 alpha build 7"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const PluginVersion version = lunaform::host::unpack_plugin_version(c.packed);
    EXPECT_EQ(version.major, c.expected.major);
    EXPECT_EQ(version.minor, c.expected.minor);
    EXPECT_EQ(version.bugfix, c.expected.bugfix);
    EXPECT_EQ(version.stage, c.expected.stage);
    EXPECT_EQ(version.build, c.expected.build);
    EXPECT_EQ(lunaform::host::describe_plugin_version(version), c.text);
  }
}

}  // namespace
