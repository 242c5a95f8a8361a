#include "renderer/uniform_blocks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

template <typename T, std::size_t N>
T read_at(const std::array<std::byte, N>& block, std::size_t offset) {
  T value;
  std::memcpy(&value, block.data() + offset, sizeof value);
  return value;
}

template <std::size_t N>
void expect_vec4_at(const std::array<std::byte, N>& block, std::size_t offset, float x, float y,
                    float z, float w) {
  EXPECT_FLOAT_EQ(read_at<float>(block, offset), x) << "byte " << offset;
  EXPECT_FLOAT_EQ(read_at<float>(block, offset + 4), y) << "byte " << offset + 4;
  EXPECT_FLOAT_EQ(read_at<float>(block, offset + 8), z) << "byte " << offset + 8;
  EXPECT_FLOAT_EQ(read_at<float>(block, offset + 12), w) << "byte " << offset + 12;
}

// Byte offsets of the Lights block: numLights at 0, ambientLights at 16, slot s at 32 + 80 s,
// and within a slot position 0, direction 16, color 32, lightType 48, falloffType 52,
// falloff 56, spotConeCos 60, spotFeather 64.
constexpr std::size_t slot(int s) {
  return 32 + 80 * static_cast<std::size_t>(s);
}

light_properties point_light(float falloff) {
  light_properties light;
  light.light_type = kLightPoint;
  light.falloff = falloff;
  light.color = {1.0f, 1.0f, 1.0f, 1.0f};
  return light;
}

light_properties ambient_light(float r, float g, float b) {
  light_properties light;
  light.light_type = kLightAmbient;
  light.color = {r, g, b, 1.0f};
  return light;
}

TEST(UniformBlocks, TransformMatricesHoldViewProjectionAndViewSizeAtTheirStd140Offsets) {
  render_properties camera;
  for (int i = 0; i < 16; ++i) {
    camera.view_matrix[i] = static_cast<float>(i + 1);
    camera.projection_matrix[i] = static_cast<float>(101 + i);
  }
  camera.view_size = {1920.0f, 1080.0f};
  camera.eye_position = {5.0f, 6.0f, 7.0f, 0.0f};

  const TransformMatricesBlock block = pack_transform_matrices(camera);
  ASSERT_EQ(block.size(), 144u);
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(read_at<float>(block, 4 * i), static_cast<float>(i + 1)) << "view element " << i;
    EXPECT_EQ(read_at<float>(block, 64 + 4 * i), static_cast<float>(101 + i))
        << "projection element " << i;
  }
  EXPECT_EQ(read_at<float>(block, 128), 1920.0f);
  EXPECT_EQ(read_at<float>(block, 132), 1080.0f);
}

TEST(UniformBlocks, ALightSlotCarriesTheRecordAndTheSpotConeCosine) {
  light_properties spot;
  spot.position = {1.0f, 2.0f, 3.0f, 0.0f};
  spot.direction = {0.0f, 0.6f, -0.8f, 0.0f};
  spot.color = {0.5f, 0.25f, 2.0f, 1.0f};
  spot.light_type = kLightSpot;
  spot.falloff_type = 0;
  spot.falloff = 7.5f;
  spot.cone_angle = 90.0f;
  spot.cone_feather = 0.25f;
  light_properties parallel;
  parallel.position = {-4.0f, 0.0f, 9.0f, 0.0f};
  parallel.direction = {1.0f, 0.0f, 0.0f, 0.0f};
  parallel.color = {0.1f, 0.2f, 0.3f, 1.0f};
  parallel.light_type = kLightParallel;

  const LightsBlock block = pack_lights({spot, parallel});
  ASSERT_EQ(block.size(), 672u);
  EXPECT_EQ(read_at<int32_t>(block, 0), 2);
  expect_vec4_at(block, 16, 0.0f, 0.0f, 0.0f, 0.0f);

  expect_vec4_at(block, slot(0), 1.0f, 2.0f, 3.0f, 0.0f);
  expect_vec4_at(block, slot(0) + 16, 0.0f, 0.6f, -0.8f, 0.0f);
  expect_vec4_at(block, slot(0) + 32, 0.5f, 0.25f, 2.0f, 1.0f);
  EXPECT_EQ(read_at<int32_t>(block, slot(0) + 48), 1);
  EXPECT_EQ(read_at<int32_t>(block, slot(0) + 52), 0);
  EXPECT_FLOAT_EQ(read_at<float>(block, slot(0) + 56), 7.5f);
  // Half of the 90 degree cone: cos 45 degrees.
  EXPECT_NEAR(read_at<float>(block, slot(0) + 60), std::sqrt(0.5), 1e-6);
  EXPECT_FLOAT_EQ(read_at<float>(block, slot(0) + 64), 0.25f);

  expect_vec4_at(block, slot(1), -4.0f, 0.0f, 9.0f, 0.0f);
  expect_vec4_at(block, slot(1) + 16, 1.0f, 0.0f, 0.0f, 0.0f);
  expect_vec4_at(block, slot(1) + 32, 0.1f, 0.2f, 0.3f, 1.0f);
  EXPECT_EQ(read_at<int32_t>(block, slot(1) + 48), 0);
}

TEST(UniformBlocks, SpotConeCosineIsTheCosineOfHalfTheConeAngle) {
  struct Case {
    float cone_degrees;
    double expected;
  };
  const Case cases[] = {{0.0f, 1.0}, {60.0f, std::sqrt(3.0) / 2}, {120.0f, 0.5}, {180.0f, 0.0}};
  for (const Case& c : cases) {
    light_properties spot;
    spot.light_type = kLightSpot;
    spot.cone_angle = c.cone_degrees;
    const LightsBlock block = pack_lights({spot});
    EXPECT_NEAR(read_at<float>(block, slot(0) + 60), c.expected, 1e-6)
        << c.cone_degrees << " degrees";
  }
}

TEST(UniformBlocks, LightListsFillAtMostEightSlotsAndSumTheAmbientOnes) {
  struct Case {
    std::string name;
    std::vector<light_properties> lights;
    int32_t num_lights;
    float ambient[4];
    std::vector<float> slot_falloffs;  // identifies which light landed in each filled slot
  };
  std::vector<light_properties> nine_points;
  for (int i = 0; i < 9; ++i) {
    nine_points.push_back(point_light(static_cast<float>(i)));
  }
  std::vector<light_properties> ambient_after_eighth(nine_points.begin(), nine_points.begin() + 8);
  ambient_after_eighth.push_back(ambient_light(0.5f, 0.5f, 0.5f));
  std::vector<light_properties> ambient_before_eighth(nine_points.begin(), nine_points.begin() + 7);
  ambient_before_eighth.push_back(ambient_light(0.5f, 0.25f, 0.125f));
  ambient_before_eighth.push_back(point_light(7.0f));

  const Case cases[] = {
      {"no lights", {}, 0, {0, 0, 0, 0}, {}},
      {"only ambient lights",
       {ambient_light(0.1f, 0.2f, 0.3f), ambient_light(0.4f, 0.5f, 0.6f)},
       0,
       {0.5f, 0.7f, 0.9f, 2.0f},
       {}},
      {"ambient lights around a point light",
       {ambient_light(0.1f, 0.2f, 0.3f), point_light(3.0f), ambient_light(0.4f, 0.5f, 0.6f)},
       1,
       {0.5f, 0.7f, 0.9f, 2.0f},
       {3.0f}},
      {"nine point lights", nine_points, 8, {0, 0, 0, 0}, {0, 1, 2, 3, 4, 5, 6, 7}},
      {"an ambient light after the eighth slot",
       ambient_after_eighth,
       8,
       {0, 0, 0, 0},
       {0, 1, 2, 3, 4, 5, 6, 7}},
      {"an ambient light before the eighth slot",
       ambient_before_eighth,
       8,
       {0.5f, 0.25f, 0.125f, 1.0f},
       {0, 1, 2, 3, 4, 5, 6, 7}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const LightsBlock block = pack_lights(c.lights);
    EXPECT_EQ(read_at<int32_t>(block, 0), c.num_lights);
    expect_vec4_at(block, 16, c.ambient[0], c.ambient[1], c.ambient[2], c.ambient[3]);
    for (std::size_t s = 0; s < c.slot_falloffs.size(); ++s) {
      EXPECT_EQ(read_at<int32_t>(block, slot(static_cast<int>(s)) + 48), kLightPoint);
      EXPECT_EQ(read_at<float>(block, slot(static_cast<int>(s)) + 56), c.slot_falloffs[s])
          << "slot " << s;
    }
    // Slots past numLights stay empty.
    for (int s = c.num_lights; s < kMaxLights; ++s) {
      for (std::size_t byte = slot(s); byte < slot(s + 1); ++byte) {
        ASSERT_EQ(block[byte], std::byte{0}) << "slot " << s << ", byte " << byte;
      }
    }
  }
}

}  // namespace
