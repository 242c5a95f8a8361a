#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "AE_Effect.h"

namespace lunaform::host {

// Throws HostError("unsupported bit depth N (8, 16 or 32 bits per channel)") for any depth but
// those. Pure function.
void check_bit_depth(int bits_per_channel);

// A block of host pixels handed to a module as a PF_EffectWorld: alpha, red, green, blue per
// pixel at 8, 16 or 32 (float) bits per channel. Every row carries kPaddingPixels unused pixels
// after the last real one (row bytes > width × pixel size), as host buffers do, so a module that
// assumes tightly packed rows is caught; the padding is filled with 0xA5 and can be checked
// after the module wrote the world. Owned by whoever made it; one thread at a time.
class PixelWorld {
 public:
  static constexpr A_long kPaddingPixels = 8;

  // Throws HostError for a bit depth other than 8, 16 or 32 or a side outside 0..30000.
  // Pixels start cleared (all channels zero).
  PixelWorld(A_long width, A_long height, int bits_per_channel);
  PixelWorld(const PixelWorld&) = delete;
  PixelWorld& operator=(const PixelWorld&) = delete;

  // The world record the module receives; points into this object.
  PF_EffectWorld* world() { return &world_; }
  const PF_EffectWorld& world() const { return world_; }

  A_long width() const { return world_.width; }
  A_long height() const { return world_.height; }
  int bits_per_channel() const { return bits_per_channel_; }
  size_t pixel_bytes() const { return 4 * static_cast<size_t>(bits_per_channel_ / 8); }
  size_t row_bytes() const { return static_cast<size_t>(world_.rowbytes); }

  // Sets every pixel to zero (transparent black) and refills the row padding.
  void clear();
  // The bytes of one row without its padding.
  std::span<std::byte> row(A_long y);
  std::span<const std::byte> row(A_long y) const;
  // Whether every padding byte still holds its fill, i.e. nothing wrote past a row's end.
  bool padding_intact() const;

 private:
  int bits_per_channel_;
  std::unique_ptr<std::byte[]> storage_;
  PF_EffectWorld world_{};
};

}  // namespace lunaform::host
