#pragma once

#include <cstdint>
#include <memory>
#include <optional>

// The banner of the header control, decoded from the PNG built into the module: two images of
// `width` x `height` pixels stacked, the plain banner above the same banner with its link lit.
// Pixels are premultiplied 32-bit B, G, R, A in rows of width × 4 bytes, without padding.
struct HeaderBanner {
  std::unique_ptr<std::uint8_t[]> pixels;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// Decodes the built-in banner; nothing when it cannot be decoded. Any thread.
std::optional<HeaderBanner> decode_header_banner();

// The first pixel of the image to show in `pixels` (a HeaderBanner's): the lit one while the
// pointer is over the link, else the plain one. Pure function.
const std::uint8_t* header_image_pixels(const std::uint8_t* pixels, bool hover, std::int32_t width,
                                        std::int32_t height);
