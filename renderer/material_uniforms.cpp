#include "renderer/material_uniforms.h"

#include <algorithm>
#include <cmath>
#include <utility>

hxsdk::mat4 normal_matrix(const hxsdk::mat4& model_matrix) {
  hxsdk::mat4 linear = model_matrix;
  linear[12] = 0.0f;
  linear[13] = 0.0f;
  linear[14] = 0.0f;
  hxsdk::mat4 result = hxsdk::inverse(linear);
  for (int column = 0; column < 4; ++column) {
    for (int row = column + 1; row < 4; ++row) {
      std::swap(result[column * 4 + row], result[row * 4 + column]);
    }
  }
  return result;
}

float shadow_light_contrast_exponent(float contrast) {
  return std::min(contrast, 1.0f) * std::pow(2.0f, 1.5f * std::max(0.0f, contrast - 1.0f));
}

float uv_feathering_exponent(float feathering) {
  return (1.0f - feathering) * (1.0f - feathering) * 64.0f + 1.0f;
}
