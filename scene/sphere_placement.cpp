#include "scene/sphere_placement.h"

hxsdk::vec4 sphere_position(const std::array<double, 3>& position, float layer_pixel_aspect,
                            float downsample) {
  return {static_cast<float>(position[0] * layer_pixel_aspect * downsample),
          static_cast<float>(position[1] * downsample),
          static_cast<float>(position[2] * downsample), 0.0f};
}
