#include "renderer/ggx_sample_table.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace ggx_sample_table {

float layer_roughness(int layer) {
  return std::pow(static_cast<float>(layer + 1) * 0.16666667f, 2.8f);
}

float radical_inverse(unsigned int i) {
  std::uint32_t bits = i;
  bits = (bits << 16) | (bits >> 16);
  bits = ((bits & 0x55555555u) << 1) | ((bits & 0xAAAAAAAAu) >> 1);
  bits = ((bits & 0x33333333u) << 2) | ((bits & 0xCCCCCCCCu) >> 2);
  bits = ((bits & 0x0F0F0F0Fu) << 4) | ((bits & 0xF0F0F0F0u) >> 4);
  bits = ((bits & 0x00FF00FFu) << 8) | ((bits & 0xFF00FF00u) >> 8);
  return static_cast<float>(bits) * 2.3283064e-10f;
}

std::vector<float> make() {
  std::vector<float> texels;
  texels.reserve(static_cast<std::size_t>(kSamples) * kLayers * 4);
  for (int layer = 0; layer < kLayers; ++layer) {
    const float a = layer_roughness(layer);
    for (int i = 0; i < kSamples; ++i) {
      const float xi = radical_inverse(static_cast<unsigned int>(i));
      const float phi = static_cast<float>(i) * (1.0f / kSamples) * 6.2831855f;
      // The inverse of the GGX distribution's cumulative, in cos^2 of the polar angle.
      const float cos2 = (1.0f - xi) / ((a * a - 1.0f) * xi + 1.0f);
      const float sin_theta = std::sqrt(1.0f - cos2);
      const float cos_theta = std::sqrt(cos2);
      texels.insert(texels.end(),
                    {std::cos(phi) * sin_theta, std::sin(phi) * sin_theta, cos_theta, 0.0f});
    }
  }
  return texels;
}

}  // namespace ggx_sample_table
