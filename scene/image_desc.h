#pragma once

#include <cstdint>

// One host pixel buffer as handed to the renderer: rows of `width` pixels `row_bytes` apart,
// four channels (alpha, red, green, blue) of `bytes_per_channel` bytes each. The pixels stay
// the host's; the record only points at them. Without a buffer: row_bytes 0, data null.
struct image_desc {
  int32_t row_bytes = 0;
  uint32_t bytes_per_channel = 1;
  int32_t width = 0;
  int32_t height = 0;
  void* data = nullptr;
};
