#include "plugin/header_banner.h"

#include <cstddef>
#include <cstring>

#include "ui/embedded_images.h"
#include "ui/image.h"

std::optional<HeaderBanner> decode_header_banner() {
  // One pixel per pixel; the plain and the lit banner are the image's two frames.
  constexpr float kScale = 1.0f;
  constexpr int kFrames = 2;
  hxsdk::ui::image decoded;
  const auto& png = hxsdk::ui::embedded_images::effect_banner;
  if (!decoded.load(png.data(), png.size(), kScale, kFrames)) {
    return std::nullopt;
  }
  const hxsdk::ui::image::pixel_lock lock = decoded.lock_pixels();
  HeaderBanner banner;
  banner.width = lock.width;
  banner.height = lock.height / kFrames;
  // The host takes rows of exactly width × 4 bytes; the decoder's rows may be padded.
  const std::size_t row_bytes = static_cast<std::size_t>(lock.width) * 4;
  banner.pixels =
      std::make_unique<std::uint8_t[]>(row_bytes * static_cast<std::size_t>(lock.height));
  for (int y = 0; y < lock.height; ++y) {
    std::memcpy(banner.pixels.get() + row_bytes * static_cast<std::size_t>(y),
                lock.data + static_cast<std::ptrdiff_t>(lock.stride) * y, row_bytes);
  }
  return banner;
}

const std::uint8_t* header_image_pixels(const std::uint8_t* pixels, bool hover, std::int32_t width,
                                        std::int32_t height) {
  const std::size_t image_bytes =
      static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
  return hover ? pixels + image_bytes : pixels;
}
