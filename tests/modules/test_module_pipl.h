#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// Builds, at compile time, the PiPL of a small test module in the layout a host reads from the
// ".pipl" section: little-endian numbers, four-character codes stored reversed, values padded
// to four bytes. Only the properties a host requires (kind, name, entry point, match name) and
// the category are written.
namespace test_module {

struct PiplBytes {
  std::array<unsigned char, 256> data{};
  size_t size = 0;

  constexpr void byte(unsigned char value) { data[size++] = value; }
  constexpr void u32(uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
      byte(static_cast<unsigned char>(value >> shift));
    }
  }
  constexpr void code(std::string_view four) {
    for (size_t i = 4; i-- > 0;) {
      byte(static_cast<unsigned char>(four[i]));
    }
  }
  constexpr void pad(size_t length) {
    while (length++ % 4 != 0) {
      byte(0);
    }
  }
  constexpr void property_header(std::string_view key, size_t length) {
    code("8BIM");
    code(key);
    u32(0);  // id
    u32(static_cast<uint32_t>(length));
  }
  constexpr void pascal_property(std::string_view key, std::string_view text) {
    property_header(key, text.size() + 1);
    byte(static_cast<unsigned char>(text.size()));
    for (char c : text) {
      byte(static_cast<unsigned char>(c));
    }
    pad(text.size() + 1);
  }
  constexpr void c_string_property(std::string_view key, std::string_view text) {
    property_header(key, text.size() + 1);
    for (char c : text) {
      byte(static_cast<unsigned char>(c));
    }
    byte(0);
    pad(text.size() + 1);
  }
};

consteval PiplBytes effect_pipl(std::string_view name, std::string_view entry_point,
                                std::string_view match_name) {
  PiplBytes pipl;
  pipl.byte(1);  // version 1, little-endian
  pipl.byte(0);
  pipl.u32(0);  // reserved
  pipl.u32(5);  // property count
  pipl.property_header("kind", 4);
  pipl.code("eFKT");
  pipl.pascal_property("name", name);
  pipl.pascal_property("catg", "Host Tests");
  pipl.c_string_property("8664", entry_point);
  pipl.pascal_property("eMNA", match_name);
  return pipl;
}

template <size_t Size>
consteval std::array<unsigned char, Size> section_bytes(PiplBytes pipl) {
  std::array<unsigned char, Size> bytes{};
  for (size_t i = 0; i < Size; ++i) {
    bytes[i] = pipl.data[i];
  }
  return bytes;
}

}  // namespace test_module

// Places the PiPL of this module in its ".pipl" section (and nowhere else in the file).
#define LUNAFORM_TEST_MODULE_PIPL(name, entry_point, match_name)                                \
  namespace {                                                                                   \
  [[gnu::section(".pipl"), gnu::used]] const auto kPipl =                                       \
      test_module::section_bytes<test_module::effect_pipl(name, entry_point, match_name).size>( \
          test_module::effect_pipl(name, entry_point, match_name));                             \
  }
