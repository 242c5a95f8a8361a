#pragma once

#include <cstdint>

namespace hxsdk::ui {

// Everything the toolkit lays out is in device-independent units (DIPs) of 1/96 inch; only
// the native window and the drawing surface know pixels.
struct point {
  int x = 0;
  int y = 0;
};

struct size {
  int width = 0;
  int height = 0;
};

struct rect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool contains(point p) const {
    return p.x >= x && p.y >= y && p.x < x + width && p.y < y + height;
  }
  friend bool operator==(const rect&, const rect&) = default;
};

struct sizef {
  float width = 0.0f;
  float height = 0.0f;
};

struct rectf {
  float x = 0.0f;
  float y = 0.0f;
  float width = 0.0f;
  float height = 0.0f;
};

inline rectf to_rectf(const rect& r) {
  return {static_cast<float>(r.x), static_cast<float>(r.y), static_cast<float>(r.width),
          static_cast<float>(r.height)};
}

// RGBA, each 0 to 1, straight (not premultiplied).
struct color {
  float r = 0.0f;
  float g = 0.0f;
  float b = 0.0f;
  float a = 0.0f;

  friend bool operator==(const color&, const color&) = default;
};

// Two 32-bit values in one event argument: the first in the low half, the second in the high
// half (a size as width and height, a position as x and y).
inline std::uint64_t pack_pair(int first, int second) {
  return static_cast<std::uint32_t>(first) |
         (static_cast<std::uint64_t>(static_cast<std::uint32_t>(second)) << 32);
}
inline int pair_first(std::uint64_t packed) {
  return static_cast<std::int32_t>(packed & 0xFFFFFFFFu);
}
inline int pair_second(std::uint64_t packed) {
  return static_cast<std::int32_t>(packed >> 32);
}

}  // namespace hxsdk::ui
