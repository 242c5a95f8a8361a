#include "host/pipl.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <string_view>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

constexpr uint16_t kPiplVersion = 1;
constexpr size_t kHeaderSize = 2 + 4 + 4;
constexpr size_t kPropertyHeaderSize = 4 + 4 + 4 + 4;
constexpr std::string_view kVendor = "8BIM";

// The layout is little-endian whatever machine reads it.
uint32_t little_endian(std::span<const std::byte> bytes) {
  uint32_t value = 0;
  for (size_t i = bytes.size(); i-- > 0;) {
    value = (value << 8) | std::to_integer<uint32_t>(bytes[i]);
  }
  return value;
}

// Four-character codes are stored as little-endian 32-bit numbers, so their characters come
// in reverse reading order.
std::string four_char_code(std::span<const std::byte> bytes) {
  std::string code(4, '\0');
  for (size_t i = 0; i < 4; ++i) {
    code[i] = static_cast<char>(bytes[3 - i]);
  }
  return code;
}

class PropertyValue {
 public:
  explicit PropertyValue(const PiplProperty& property) : property_(property) {}

  std::span<const std::byte> bytes(size_t needed) const {
    if (property_.value.size() < needed) {
      throw HostError("PiPL property '" + property_.key + "' holds " +
                      std::to_string(property_.value.size()) + " bytes, needs " +
                      std::to_string(needed));
    }
    return std::span(property_.value).first(needed);
  }
  uint32_t u32() const { return little_endian(bytes(4)); }
  uint16_t u16(size_t index = 0) const {
    return static_cast<uint16_t>(little_endian(bytes(2 * index + 2).subspan(2 * index)));
  }
  std::string code() const { return four_char_code(bytes(4)); }

  std::string pascal_string() const {
    const size_t length = std::to_integer<size_t>(bytes(1)[0]);
    const auto text = bytes(1 + length).subspan(1);
    return std::string(reinterpret_cast<const char*>(text.data()), text.size());
  }

  std::string c_string() const {
    const auto& value = property_.value;
    const auto end = std::find(value.begin(), value.end(), std::byte{0});
    if (end == value.begin()) {
      throw HostError("PiPL property '" + property_.key + "' is empty");
    }
    return std::string(reinterpret_cast<const char*>(value.data()), end - value.begin());
  }

 private:
  const PiplProperty& property_;
};

void decode_known(const PiplProperty& property, Pipl& pipl) {
  const PropertyValue value(property);
  const std::string& key = property.key;
  if (key == "kind") {
    pipl.kind = value.code();
  } else if (key == "name") {
    pipl.name = value.pascal_string();
  } else if (key == "catg") {
    pipl.category = value.pascal_string();
  } else if (key == "8664") {
    pipl.entry_point = value.c_string();
  } else if (key == "eVER") {
    pipl.version = value.u32();
  } else if (key == "ePVR") {
    pipl.pipl_version = value.u32();
  } else if (key == "eSVR") {
    pipl.spec_version_major = value.u16(0);
    pipl.spec_version_minor = value.u16(1);
  } else if (key == "eINF") {
    pipl.info_flags = value.u16();
  } else if (key == "eGLO") {
    pipl.global_out_flags = value.u32();
  } else if (key == "eGL2") {
    pipl.global_out_flags_2 = value.u32();
  } else if (key == "eMNA") {
    pipl.match_name = value.pascal_string();
  } else if (key == "aeFL") {
    pipl.ae_flags = value.u32();
  }
}

class Reader {
 public:
  explicit Reader(std::span<const std::byte> data) : data_(data) {}

  size_t left() const { return data_.size() - position_; }
  std::span<const std::byte> take(size_t count) {
    const auto bytes = data_.subspan(position_, count);
    position_ += count;
    return bytes;
  }
  void skip_padding(size_t value_length) {
    position_ += std::min((4 - value_length % 4) % 4, left());
  }

 private:
  std::span<const std::byte> data_;
  size_t position_ = 0;
};

PiplProperty read_property(Reader& reader, uint32_t number) {
  if (reader.left() < kPropertyHeaderSize) {
    throw HostError("PiPL property " + std::to_string(number) + " runs past the end of the data");
  }
  PiplProperty property;
  property.vendor = four_char_code(reader.take(4));
  property.key = four_char_code(reader.take(4));
  property.id = little_endian(reader.take(4));
  const uint32_t length = little_endian(reader.take(4));
  if (length > reader.left()) {
    throw HostError("PiPL property '" + property.key + "' (number " + std::to_string(number) +
                    ") has a value of " + std::to_string(length) +
                    " bytes, running past the end of the data (" + std::to_string(reader.left()) +
                    " bytes left)");
  }
  const auto value = reader.take(length);
  property.value.assign(value.begin(), value.end());
  reader.skip_padding(length);
  return property;
}

}  // namespace

Pipl parse_pipl(std::span<const std::byte> data) {
  if (data.size() < kHeaderSize) {
    throw HostError("truncated PiPL (" + std::to_string(data.size()) +
                    " bytes, the header alone needs " + std::to_string(kHeaderSize) + ")");
  }
  Reader reader(data);
  const auto version = static_cast<uint16_t>(little_endian(reader.take(2)));
  if (version != kPiplVersion) {
    throw HostError("unsupported PiPL version " + std::to_string(version) + " (expected " +
                    std::to_string(kPiplVersion) + ")");
  }
  reader.take(4);  // reserved
  const uint32_t count = little_endian(reader.take(4));
  const size_t room = reader.left() / kPropertyHeaderSize;
  if (count > room) {
    throw HostError("PiPL claims " + std::to_string(count) + " properties but its " +
                    std::to_string(data.size()) + " bytes hold at most " + std::to_string(room));
  }

  Pipl pipl;
  std::set<std::string> seen;
  for (uint32_t number = 1; number <= count; ++number) {
    PiplProperty property = read_property(reader, number);
    if (property.vendor == kVendor) {
      if (!seen.insert(property.key).second) {
        throw HostError("PiPL property '" + property.key + "' appears twice");
      }
      decode_known(property, pipl);
    }
    pipl.properties.push_back(std::move(property));
  }

  static constexpr std::pair<const char*, const char*> kRequired[] = {
      {"kind", "the plug-in kind"},
      {"name", "the effect's name"},
      {"8664", "the entry point"},
      {"eMNA", "the match name"},
  };
  for (const auto& [key, meaning] : kRequired) {
    if (!seen.contains(key)) {
      throw HostError("PiPL has no '" + std::string(key) + "' property (" + meaning + ")");
    }
  }
  if (pipl.kind != "eFKT") {
    throw HostError("PiPL kind is '" + pipl.kind + "', not an effect ('eFKT')");
  }
  return pipl;
}

}  // namespace lunaform::host
