#include "scene/param_conversions.h"

hxsdk::vec4 color_from_pixel(const PF_Pixel& pixel) {
  constexpr float kScale = 1.0f / 255.0f;
  return {static_cast<float>(pixel.red) * kScale, static_cast<float>(pixel.green) * kScale,
          static_cast<float>(pixel.blue) * kScale, static_cast<float>(pixel.alpha) * kScale};
}

float fixed_degrees_to_radians(PF_Fixed degrees) {
  constexpr float kRadiansPerFixedDegree = 2.663161e-7f;  // pi / (180 * 65536)
  return static_cast<float>(degrees) * kRadiansPerFixedDegree;
}

hxsdk::quaternion orientation_from_fixed_degrees(PF_Fixed x, PF_Fixed y, PF_Fixed z) {
  return hxsdk::quaternion_from_euler({fixed_degrees_to_radians(x), fixed_degrees_to_radians(y),
                                       fixed_degrees_to_radians(z), 0.0f});
}

std::uint8_t flag_from_value(std::int32_t value) {
  return value != 0 ? 1 : 0;
}
