#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace lunaform::host {

// One property of a PiPL as stored. Vendor and key are given in reading order ("8BIM",
// "eVER"), already turned around from their byte-reversed storage.
struct PiplProperty {
  std::string vendor;
  std::string key;
  uint32_t id = 0;
  std::vector<std::byte> value;  // without the padding to four bytes
};

// What a host learns about an effect from its PiPL record. Strings are decoded: Pascal strings
// without their length byte, the entry point without its terminator, four-character codes in
// reading order.
struct Pipl {
  std::string kind;                      // "kind": "eFKT" for an effect
  std::string name;                      // "name": the display name
  std::string category;                  // "catg": the effects-menu category
  std::string entry_point;               // "8664": the exported entry function for 64-bit x86
  uint32_t version = 0;                  // "eVER": packed effect version (see plugin_version.h)
  uint32_t pipl_version = 0;             // "ePVR"
  uint16_t spec_version_major = 0;       // "eSVR", first half
  uint16_t spec_version_minor = 0;       // "eSVR", second half
  uint16_t info_flags = 0;               // "eINF"
  uint32_t global_out_flags = 0;         // "eGLO"
  uint32_t global_out_flags_2 = 0;       // "eGL2"
  std::string match_name;                // "eMNA": the name projects store the effect under
  uint32_t ae_flags = 0;                 // "aeFL"
  std::vector<PiplProperty> properties;  // every property in file order, known or not
};

// Parses a PiPL in its little-endian binary layout: u16 version (1), u32 reserved, u32 property
// count, then per property a vendor code, a key (both four bytes, stored byte-reversed), u32 id,
// u32 value length and the value padded to a multiple of four bytes.
// The kind, name, entry point and match name must be present (a host cannot offer or store the
// effect without them); the other properties default to zero or empty. Returns the parsed record
// (owned by the caller). Throws HostError with one line naming the fault (wrong version, a count
// larger than the data, a value running past the end, a value too short for its property, a
// missing required property, a kind other than an effect). Pure function, any thread.
Pipl parse_pipl(std::span<const std::byte> data);

}  // namespace lunaform::host
