#pragma once

#include <cstddef>
#include <cstdint>

#include "ui/geometry.h"
#include "ui/non_copyable.h"
#include "ui/style.h"

typedef struct _cairo_surface cairo_surface_t;

namespace hxsdk::ui {

// A picture decoded from PNG bytes into premultiplied 32-bit pixels (B, G, R, A in memory, the
// layout the effect header hands to the host), with its frames stacked vertically and a scale
// in pixels per DIP.
class image : non_copyable_non_moveable {
 public:
  image() = default;
  ~image();

  // Decodes `png`. Returns false (and keeps nothing) when the bytes are not a PNG it can read;
  // throws hx_exception when decoded pixels cannot be converted or stored.
  bool load(const unsigned char* png, std::size_t size, float scale, int frames = 1);
  bool load(const image_source& source) {
    return load(source.data, source.size, source.scale, source.frames);
  }

  bool loaded() const { return surface_ != nullptr; }
  int pixel_width() const { return width_; }
  int pixel_height() const { return height_; }
  float scale() const { return scale_; }
  int frames() const { return frames_; }
  // Size in DIPs: pixels / scale.
  sizef size_dips() const;

  struct pixel_lock {
    std::uint8_t* data = nullptr;
    int stride = 0;
    int width = 0;
    int height = 0;
    int bits_per_pixel = 32;
  };
  // The pixels for reading and writing; update_pixels makes writes visible to drawing.
  pixel_lock lock_pixels();
  void update_pixels();

  cairo_surface_t* surface() const { return surface_; }

 private:
  cairo_surface_t* surface_ = nullptr;
  int width_ = 0;
  int height_ = 0;
  float scale_ = 1.0f;
  int frames_ = 1;
};

}  // namespace hxsdk::ui
