#include "host/pixel_world.h"

#include <algorithm>
#include <string>

#include "host/host_error.h"
#include "host/layer_geometry.h"

namespace lunaform::host {
namespace {

constexpr std::byte kPaddingFill{0xA5};

}  // namespace

void check_bit_depth(int bits_per_channel) {
  if (bits_per_channel != 8 && bits_per_channel != 16 && bits_per_channel != 32) {
    throw HostError("unsupported bit depth " + std::to_string(bits_per_channel) +
                    " (8, 16 or 32 bits per channel)");
  }
}

PixelWorld::PixelWorld(A_long width, A_long height, int bits_per_channel)
    : bits_per_channel_(bits_per_channel) {
  check_bit_depth(bits_per_channel);
  check_size("image", {width, height});
  world_.world_flags = PF_WorldFlag_WRITEABLE | (bits_per_channel == 16 ? PF_WorldFlag_DEEP : 0);
  world_.width = width;
  world_.height = height;
  world_.rowbytes = static_cast<A_long>((width + kPaddingPixels) * pixel_bytes());
  world_.extent_hint = {0, 0, width, height};
  world_.pix_aspect_ratio = {1, 1};
  storage_ = std::make_unique<std::byte[]>(row_bytes() * static_cast<size_t>(height));
  world_.data = reinterpret_cast<PF_PixelPtr>(storage_.get());
  clear();
}

void PixelWorld::clear() {
  const size_t used = static_cast<size_t>(width()) * pixel_bytes();
  for (A_long y = 0; y < height(); ++y) {
    std::byte* start = storage_.get() + static_cast<size_t>(y) * row_bytes();
    std::fill(start, start + used, std::byte{0});
    std::fill(start + used, start + row_bytes(), kPaddingFill);
  }
}

std::span<std::byte> PixelWorld::row(A_long y) {
  return {storage_.get() + static_cast<size_t>(y) * row_bytes(),
          static_cast<size_t>(width()) * pixel_bytes()};
}

std::span<const std::byte> PixelWorld::row(A_long y) const {
  return {storage_.get() + static_cast<size_t>(y) * row_bytes(),
          static_cast<size_t>(width()) * pixel_bytes()};
}

bool PixelWorld::padding_intact() const {
  const size_t used = static_cast<size_t>(width()) * pixel_bytes();
  for (A_long y = 0; y < height(); ++y) {
    const std::byte* start = storage_.get() + static_cast<size_t>(y) * row_bytes();
    if (std::any_of(start + used, start + row_bytes(),
                    [](std::byte b) { return b != kPaddingFill; })) {
      return false;
    }
  }
  return true;
}

}  // namespace lunaform::host
