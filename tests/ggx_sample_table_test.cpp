#include "renderer/ggx_sample_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

namespace {

struct sample {
  double x, y, z;
};

sample sample_at(const std::vector<float>& table, int layer, int i) {
  const std::size_t at = (static_cast<std::size_t>(layer) * ggx_sample_table::kSamples + i) * 4;
  return {table[at], table[at + 1], table[at + 2]};
}

// The radical inverse the slow way: bit k of i contributes 2^-(k+1).
double radical_inverse_by_bits(unsigned int i) {
  double value = 0.0;
  double weight = 0.5;
  for (; i != 0; i >>= 1, weight *= 0.5) {
    value += (i & 1u) * weight;
  }
  return value;
}

TEST(GgxSampleTable, RadicalInverseMirrorsTheBitsAboutTheBinaryPoint) {
  EXPECT_EQ(ggx_sample_table::radical_inverse(0), 0.0f);
  EXPECT_EQ(ggx_sample_table::radical_inverse(1), 0.5f);
  EXPECT_EQ(ggx_sample_table::radical_inverse(2), 0.25f);
  EXPECT_EQ(ggx_sample_table::radical_inverse(3), 0.75f);
  for (unsigned int i = 0; i < 512; ++i) {
    EXPECT_NEAR(ggx_sample_table::radical_inverse(i), radical_inverse_by_bits(i), 1e-7) << i;
  }
}

TEST(GgxSampleTable, EverySampleIsAUnitHalfVectorAboutTheNormalStartingWithTheNormal) {
  const std::vector<float> table = ggx_sample_table::make();
  ASSERT_EQ(table.size(), std::size_t{512 * 6 * 4});
  for (int layer = 0; layer < 6; ++layer) {
    const sample first = sample_at(table, layer, 0);
    EXPECT_EQ(first.x, 0.0);
    EXPECT_EQ(first.y, 0.0);
    EXPECT_EQ(first.z, 1.0);
    for (int i = 0; i < 512; ++i) {
      const sample s = sample_at(table, layer, i);
      EXPECT_NEAR(s.x * s.x + s.y * s.y + s.z * s.z, 1.0, 1e-5) << layer << "/" << i;
      EXPECT_GE(s.z, 0.0);
      EXPECT_EQ(table[(static_cast<std::size_t>(layer) * 512 + i) * 4 + 3], 0.0f);
      if (i > 0) {
        // Sample i sits at azimuth 2 pi i / 512.
        double azimuth = std::atan2(s.y, s.x);
        if (azimuth < 0.0) {
          azimuth += 2.0 * M_PI;
        }
        EXPECT_NEAR(azimuth, 2.0 * M_PI * i / 512.0, 1e-4) << layer << "/" << i;
      }
    }
  }
}

TEST(GgxSampleTable, PolarAnglesFollowTheGgxLobeOfEachLayer) {
  EXPECT_NEAR(ggx_sample_table::layer_roughness(0), 0.0066, 1e-4);
  EXPECT_NEAR(ggx_sample_table::layer_roughness(5), 1.0, 1e-6);
  const std::vector<float> table = ggx_sample_table::make();
  for (int layer = 0; layer < 6; ++layer) {
    const double a = ggx_sample_table::layer_roughness(layer);
    for (int i = 1; i < 512; ++i) {
      // For GGX the cumulative in the polar angle inverts to tan^2 = a^2 xi / (1 - xi).
      const double xi = radical_inverse_by_bits(static_cast<unsigned int>(i));
      const sample s = sample_at(table, layer, i);
      const double tan2 = (s.x * s.x + s.y * s.y) / (s.z * s.z);
      EXPECT_NEAR(tan2, a * a * xi / (1.0 - xi), 2e-3 * (1.0 + tan2)) << layer << "/" << i;
    }
  }
}

TEST(GgxSampleTable, RoughestLayerIsCosineDistributed) {
  // Cosine-weighted directions project to points spread evenly over the unit disk: the share
  // inside radius r is r^2.
  const std::vector<float> table = ggx_sample_table::make();
  for (const double r2 : {0.1, 0.25, 0.5, 0.75, 0.9}) {
    int inside = 0;
    for (int i = 0; i < 512; ++i) {
      const sample s = sample_at(table, 5, i);
      inside += s.x * s.x + s.y * s.y < r2 ? 1 : 0;
    }
    EXPECT_NEAR(inside / 512.0, r2, 2.0 / 512.0) << "radius^2 " << r2;
  }
  // The smoothest layer keeps every half-vector within 9 degrees of the normal.
  for (int i = 0; i < 512; ++i) {
    EXPECT_GT(sample_at(table, 0, i).z, std::cos(9.0 * M_PI / 180.0)) << i;
  }
}

}  // namespace
