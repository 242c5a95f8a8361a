#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// Builds a PiPL (plug-in property list) at compile time, byte for byte in the layout that
// Windows hosts read from a plug-in's "PIPL" resource:
//
//   u16 version (1), u32 reserved (0), u32 property count, then per property:
//   vendor code, key, u32 id (0), u32 value length, value padded with zeros to 4 bytes.
//
// Four-character codes (vendor, key, and code values such as the plug-in kind) are 32-bit
// numbers stored little-endian, so "8BIM" appears as the bytes "MIB8". Numbers are
// little-endian. The value length counts the padding, as the resource compiler writes it.
namespace pipl {

enum class ValueType {
  four_char_code,  // text: a four-character code such as "eFKT"
  pascal_string,   // text: a length byte followed by the characters
  c_string,        // text: the characters followed by a zero byte
  u32,             // number
  u16,             // number, the low 16 bits
  u16_pair,        // first, second: two u16 in that order
};

struct Property {
  std::string_view key;
  ValueType type;
  std::string_view text = {};
  std::uint32_t number = 0;
  std::uint16_t first = 0;
  std::uint16_t second = 0;
};

inline constexpr std::string_view kVendor = "8BIM";
inline constexpr std::size_t kHeaderSize = 2 + 4 + 4;
inline constexpr std::size_t kPropertyHeaderSize = 4 + 4 + 4 + 4;

constexpr std::size_t padded_to_4(std::size_t size) {
  return (size + 3) / 4 * 4;
}

constexpr std::size_t value_size(const Property& property) {
  switch (property.type) {
    case ValueType::four_char_code:
    case ValueType::u32:
    case ValueType::u16_pair:
      return 4;
    case ValueType::u16:
      return 2;
    case ValueType::pascal_string:
    case ValueType::c_string:
      return property.text.size() + 1;
  }
  return 0;
}

template <std::size_t N>
constexpr std::size_t record_size(const std::array<Property, N>& properties) {
  std::size_t size = kHeaderSize;
  for (const Property& property : properties) {
    size += kPropertyHeaderSize + padded_to_4(value_size(property));
  }
  return size;
}

namespace detail {

template <std::size_t Size>
struct ByteWriter {
  std::array<std::uint8_t, Size> bytes{};
  std::size_t position = 0;

  constexpr void put_byte(std::uint8_t byte) { bytes[position++] = byte; }
  constexpr void put_u16(std::uint32_t value) {
    put_byte(static_cast<std::uint8_t>(value & 0xFF));
    put_byte(static_cast<std::uint8_t>((value >> 8) & 0xFF));
  }
  constexpr void put_u32(std::uint32_t value) {
    put_u16(value & 0xFFFF);
    put_u16(value >> 16);
  }
  // A four-character code is the big-endian reading of its characters as a u32.
  constexpr void put_four_char_code(std::string_view code) {
    if (code.size() != 4) {
      throw "a four-character code needs exactly four characters";
    }
    for (std::size_t i = 4; i-- > 0;) {
      put_byte(static_cast<std::uint8_t>(code[i]));
    }
  }
  constexpr void put_text(std::string_view text) {
    for (char c : text) {
      put_byte(static_cast<std::uint8_t>(c));
    }
  }
  constexpr void pad_to(std::size_t end) {
    while (position < end) {
      put_byte(0);
    }
  }
};

}  // namespace detail

// Size must equal record_size(properties); anything else fails to compile when the
// result initialises a constexpr variable.
template <std::size_t Size, std::size_t N>
constexpr std::array<std::uint8_t, Size> build(const std::array<Property, N>& properties) {
  if (Size != record_size(properties)) {
    throw "the PiPL size does not match its properties";
  }
  detail::ByteWriter<Size> out;
  out.put_u16(1);
  out.put_u32(0);
  out.put_u32(static_cast<std::uint32_t>(N));
  for (const Property& property : properties) {
    const std::size_t length = padded_to_4(value_size(property));
    out.put_four_char_code(kVendor);
    out.put_four_char_code(property.key);
    out.put_u32(0);
    out.put_u32(static_cast<std::uint32_t>(length));
    const std::size_t value_end = out.position + length;
    switch (property.type) {
      case ValueType::four_char_code:
        out.put_four_char_code(property.text);
        break;
      case ValueType::pascal_string:
        if (property.text.size() > 255) {
          throw "a Pascal string holds at most 255 characters";
        }
        out.put_byte(static_cast<std::uint8_t>(property.text.size()));
        out.put_text(property.text);
        break;
      case ValueType::c_string:
        out.put_text(property.text);
        out.put_byte(0);
        break;
      case ValueType::u32:
        out.put_u32(property.number);
        break;
      case ValueType::u16:
        out.put_u16(property.number);
        break;
      case ValueType::u16_pair:
        out.put_u16(property.first);
        out.put_u16(property.second);
        break;
    }
    out.pad_to(value_end);
  }
  return out.bytes;
}

}  // namespace pipl
