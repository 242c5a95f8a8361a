#include "renderer/pixel_rect.h"

#include <algorithm>
#include <cmath>
#include <limits>

bool contains(const PixelRect& outer, const PixelRect& inner) {
  return inner.empty() || (inner.x0 >= outer.x0 && inner.y0 >= outer.y0 && inner.x1 <= outer.x1 &&
                           inner.y1 <= outer.y1);
}

PixelRect relative_to(const PixelRect& rect, int x, int y) {
  return {rect.x0 - x, rect.y0 - y, rect.x1 - x, rect.y1 - y};
}

PixelRect bounding_union(const PixelRect& a, const PixelRect& b) {
  if (a.empty()) {
    return b;
  }
  if (b.empty()) {
    return a;
  }
  return {std::min(a.x0, b.x0), std::min(a.y0, b.y0), std::max(a.x1, b.x1), std::max(a.y1, b.y1)};
}

std::vector<PixelRect> strips_outside(const PixelRect& outer, const PixelRect& inner) {
  if (outer.empty()) {
    return {};
  }
  const PixelRect cut{
      std::clamp(inner.x0, outer.x0, outer.x1), std::clamp(inner.y0, outer.y0, outer.y1),
      std::clamp(inner.x1, outer.x0, outer.x1), std::clamp(inner.y1, outer.y0, outer.y1)};
  if (cut.empty()) {
    return {outer};
  }
  std::vector<PixelRect> strips;
  const PixelRect candidates[] = {{outer.x0, outer.y0, outer.x1, cut.y0},
                                  {outer.x0, cut.y1, outer.x1, outer.y1},
                                  {outer.x0, cut.y0, cut.x0, cut.y1},
                                  {cut.x1, cut.y0, outer.x1, cut.y1}};
  for (const PixelRect& strip : candidates) {
    if (!strip.empty()) {
      strips.push_back(strip);
    }
  }
  return strips;
}

PixelRect projected_bounds(const hxsdk::mat4& model_to_clip, int width, int height) {
  const PixelRect whole{0, 0, width, height};
  float low_x = std::numeric_limits<float>::infinity();
  float low_y = low_x;
  float high_x = -low_x;
  float high_y = -low_x;
  for (int corner = 0; corner < 8; ++corner) {
    const float p[4] = {corner & 1 ? 1.0f : -1.0f, corner & 2 ? 1.0f : -1.0f,
                        corner & 4 ? 1.0f : -1.0f, 1.0f};
    float clip[4] = {};
    for (int row = 0; row < 4; ++row) {
      for (int column = 0; column < 4; ++column) {
        clip[row] += model_to_clip[4 * column + row] * p[column];
      }
    }
    // A tiny positive w still bounds the corner, but its window position may not be finite.
    if (!(clip[3] > 1e-6f)) {
      return whole;
    }
    const float x = (clip[0] / clip[3] + 1.0f) * 0.5f * static_cast<float>(width);
    const float y = (clip[1] / clip[3] + 1.0f) * 0.5f * static_cast<float>(height);
    if (!std::isfinite(x) || !std::isfinite(y)) {
      return whole;
    }
    low_x = std::min(low_x, x);
    low_y = std::min(low_y, y);
    high_x = std::max(high_x, x);
    high_y = std::max(high_y, y);
  }
  const auto clamped = [](float value, int limit) {
    return static_cast<int>(std::clamp(value, 0.0f, static_cast<float>(limit)));
  };
  return {clamped(std::floor(low_x) - 1.0f, width), clamped(std::floor(low_y) - 1.0f, height),
          clamped(std::ceil(high_x) + 1.0f, width), clamped(std::ceil(high_y) + 1.0f, height)};
}
