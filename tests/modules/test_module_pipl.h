#pragma once

#include <array>
#include <cstddef>
#include <string_view>

// The PiPL of a small test module, built at compile time in the layout a host reads from the
// ".pipl" section: little-endian numbers, four-character codes stored reversed, each property
// ("8BIM", key, id 0, length, value padded to four bytes) of those a host requires (kind,
// name, entry point, match name) and the category.
namespace test_module {

struct PiplBytes {
  std::array<unsigned char, 256> data{};  // zeroed: a C string's NUL, padding, the unused end
  size_t size = 0;

  enum Value { code, pascal, c_string };
  constexpr void bytes(std::string_view text, bool reversed = false) {
    for (size_t i = 0; i < text.size(); ++i) {
      data[size++] = static_cast<unsigned char>(text[reversed ? text.size() - 1 - i : i]);
    }
  }
  constexpr void u32(size_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
      data[size++] = static_cast<unsigned char>(value >> shift);
    }
  }
  constexpr void property(std::string_view key, std::string_view text, Value kind) {
    const size_t length = kind == code ? 4 : text.size() + 1;
    bytes("8BIM", true);
    bytes(key, true);
    u32(0);
    u32(length);
    if (kind == pascal) {
      data[size++] = static_cast<unsigned char>(text.size());
    }
    bytes(text, kind == code);
    size += (kind == c_string ? 1 : 0) + (4 - length % 4) % 4;
  }
};

consteval PiplBytes effect_pipl(std::string_view name, std::string_view entry_point,
                                std::string_view match_name) {
  PiplBytes pipl;
  pipl.bytes(std::string_view("\1\0", 2));  // version 1, little-endian
  pipl.u32(0);                              // reserved
  pipl.u32(5);                              // property count
  pipl.property("kind", "eFKT", PiplBytes::code);
  pipl.property("name", name, PiplBytes::pascal);
  pipl.property("catg", "Host Tests", PiplBytes::pascal);
  pipl.property("8664", entry_point, PiplBytes::c_string);
  pipl.property("eMNA", match_name, PiplBytes::pascal);
  return pipl;
}

}  // namespace test_module

// Places the PiPL of this module in its ".pipl" section (and nowhere else in the file).
#define LUNAFORM_TEST_MODULE_PIPL(name, entry_point, match_name)    \
  namespace {                                                       \
  [[gnu::section(".pipl"), gnu::used]] const auto kPipl =           \
      test_module::effect_pipl(name, entry_point, match_name).data; \
  }
