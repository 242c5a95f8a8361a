#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/elf_section.h"
#include "host/file_bytes.h"
#include "host/module.h"

namespace {

// The effect's PiPL exactly as a Windows resource compiler lays it out, written out by hand:
// little-endian numbers, vendor, key and four-character values stored byte-reversed, value
// lengths that include the padding to four bytes.
// clang-format off
constexpr std::array<std::uint8_t, 290> kExpectedPipl = {
    0x01, 0x00,  // version 1
    0x00, 0x00, 0x00, 0x00,  // reserved
    0x0C, 0x00, 0x00, 0x00,  // 12 properties
    // kind: "eFKT", an effect
    'M', 'I', 'B', '8', 'd', 'n', 'i', 'k',
    0, 0, 0, 0, 4, 0, 0, 0,
    'T', 'K', 'F', 'e',
    // name: Pascal "Lunaform" (9 bytes, padded to 12)
    'M', 'I', 'B', '8', 'e', 'm', 'a', 'n',
    0, 0, 0, 0, 12, 0, 0, 0,
    8, 'L', 'u', 'n', 'a', 'f', 'o', 'r',
    'm', 0, 0, 0,
    // catg: Pascal "Brightmoor" (11 bytes, padded to 12)
    'M', 'I', 'B', '8', 'g', 't', 'a', 'c',
    0, 0, 0, 0, 12, 0, 0, 0,
    10, 'B', 'r', 'i', 'g', 'h', 't', 'm',
    'o', 'o', 'r', 0,
    // 8664: C string "PluginMain" (11 bytes, padded to 12)
    'M', 'I', 'B', '8', '4', '6', '6', '8',
    0, 0, 0, 0, 12, 0, 0, 0,
    'P', 'l', 'u', 'g', 'i', 'n', 'M', 'a',
    'i', 'n', 0, 0,
    // eVER: 0x00080042 = 1 << 19 (major 1) | 66 (build), minor, bug-fix and stage 0
    'M', 'I', 'B', '8', 'R', 'E', 'V', 'e',
    0, 0, 0, 0, 4, 0, 0, 0,
    0x42, 0x00, 0x08, 0x00,
    // ePVR: 2
    'M', 'I', 'B', '8', 'R', 'V', 'P', 'e',
    0, 0, 0, 0, 4, 0, 0, 0,
    2, 0, 0, 0,
    // eSVR: 13, 9
    'M', 'I', 'B', '8', 'R', 'V', 'S', 'e',
    0, 0, 0, 0, 4, 0, 0, 0,
    13, 0, 9, 0,
    // eINF: 0 in two bytes, padded to four
    'M', 'I', 'B', '8', 'F', 'N', 'I', 'e',
    0, 0, 0, 0, 4, 0, 0, 0,
    0, 0, 0, 0,
    // eGLO: 0x06008000
    'M', 'I', 'B', '8', 'O', 'L', 'G', 'e',
    0, 0, 0, 0, 4, 0, 0, 0,
    0x00, 0x80, 0x00, 0x06,
    // eGL2: 0x0000140E
    'M', 'I', 'B', '8', '2', 'L', 'G', 'e',
    0, 0, 0, 0, 4, 0, 0, 0,
    0x0E, 0x14, 0x00, 0x00,
    // eMNA: Pascal "BRIGHTMOOR Sphere" (18 bytes, padded to 20)
    'M', 'I', 'B', '8', 'A', 'N', 'M', 'e',
    0, 0, 0, 0, 20, 0, 0, 0,
    17, 'B', 'R', 'I', 'G', 'H', 'T', 'M',
    'O', 'O', 'R', ' ', 'S', 'p', 'h', 'e',
    'r', 'e', 0, 0,
    // aeFL: 0
    'M', 'I', 'B', '8', 'L', 'F', 'e', 'a',
    0, 0, 0, 0, 4, 0, 0, 0,
    0, 0, 0, 0,
};
// clang-format on

TEST(E2ePluginPipl, ModuleFileCarriesThePiplByteForByte) {
  const std::vector<std::byte> file = lunaform::host::read_file_bytes(LUNAFORM_MODULE_PATH);
  const auto section = lunaform::host::find_elf_section(file, ".pipl");
  ASSERT_EQ(section.size(), kExpectedPipl.size());
  for (std::size_t i = 0; i < kExpectedPipl.size(); ++i) {
    EXPECT_EQ(std::to_integer<int>(section[i]), kExpectedPipl[i]) << "byte " << i;
  }
}

TEST(E2ePluginPipl, HostReadsTheEffectsIdentityFromThePipl) {
  const auto module = lunaform::host::Module::load(LUNAFORM_MODULE_PATH);
  const auto& pipl = module.pipl();
  EXPECT_EQ(pipl.kind, "eFKT");
  EXPECT_EQ(pipl.name, "Lunaform");
  EXPECT_EQ(pipl.category, "Brightmoor");
  EXPECT_EQ(pipl.entry_point, "PluginMain");
  EXPECT_EQ(pipl.match_name, "BRIGHTMOOR Sphere");
  EXPECT_EQ(pipl.version, 0x00080042u);
  EXPECT_EQ(pipl.spec_version_major, 13);
  EXPECT_EQ(pipl.spec_version_minor, 9);
  EXPECT_EQ(pipl.global_out_flags, 0x06008000u);
  EXPECT_EQ(pipl.global_out_flags_2, 0x0000140Eu);
  EXPECT_NE(module.entry_point(), nullptr);
}

}  // namespace
