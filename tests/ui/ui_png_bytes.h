#pragma once

#include <zlib.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

// Builds small PNG files byte by byte, independently of the toolkit's reader: known pixels in,
// a file any PNG reader accepts out.
namespace ui_test_png {

// PNG colour types and their samples per pixel.
enum colour_type : std::uint8_t { grey = 0, rgb = 2, grey_alpha = 4, rgba = 6 };

inline int samples_per_pixel(colour_type type) {
  switch (type) {
    case grey:
      return 1;
    case rgb:
      return 3;
    case grey_alpha:
      return 2;
    case rgba:
      return 4;
  }
  throw std::invalid_argument("unknown PNG colour type");
}

inline void append_big_endian(std::vector<unsigned char>& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    out.push_back(static_cast<unsigned char>(value >> shift));
  }
}

inline void append_chunk(std::vector<unsigned char>& out, const char* type,
                         const std::vector<unsigned char>& data) {
  append_big_endian(out, static_cast<std::uint32_t>(data.size()));
  std::vector<unsigned char> typed(type, type + 4);
  typed.insert(typed.end(), data.begin(), data.end());
  out.insert(out.end(), typed.begin(), typed.end());
  append_big_endian(
      out, static_cast<std::uint32_t>(crc32(0, typed.data(), static_cast<uInt>(typed.size()))));
}

// An 8-bit PNG of `width` x `height` pixels, `samples` holding the rows from the top, each
// pixel's samples in the colour type's order (R, G, B, A; grey, alpha), no padding.
inline std::vector<unsigned char> encode(int width, int height, colour_type type,
                                         const std::vector<unsigned char>& samples) {
  const std::size_t row_bytes = static_cast<std::size_t>(width) * samples_per_pixel(type);
  if (samples.size() != row_bytes * static_cast<std::size_t>(height)) {
    throw std::invalid_argument("the samples do not fill the image");
  }
  std::vector<unsigned char> out = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  std::vector<unsigned char> header;
  append_big_endian(header, static_cast<std::uint32_t>(width));
  append_big_endian(header, static_cast<std::uint32_t>(height));
  header.insert(header.end(), {8, type, 0, 0, 0});  // depth, type, compression, filter, interlace
  append_chunk(out, "IHDR", header);

  std::vector<unsigned char> filtered;  // every row with filter type 0 (none) in front
  for (int y = 0; y < height; ++y) {
    filtered.push_back(0);
    const auto row = samples.begin() + static_cast<std::ptrdiff_t>(row_bytes * y);
    filtered.insert(filtered.end(), row, row + static_cast<std::ptrdiff_t>(row_bytes));
  }
  uLongf packed_size = compressBound(static_cast<uLong>(filtered.size()));
  std::vector<unsigned char> packed(packed_size);
  compress(packed.data(), &packed_size, filtered.data(), static_cast<uLong>(filtered.size()));
  packed.resize(packed_size);
  append_chunk(out, "IDAT", packed);
  append_chunk(out, "IEND", {});
  return out;
}

}  // namespace ui_test_png
