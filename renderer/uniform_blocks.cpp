#include "renderer/uniform_blocks.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace {

// std140 puts mat4 and vec4 on 16-byte boundaries, vec2 on 8 and scalars on 4, and rounds
// a block up to a multiple of 16. These structs spell that layout out with explicit pads.

struct TransformMatrices {
  hxsdk::mat4 view;
  hxsdk::mat4 projection;
  hxsdk::vec2 view_size;
  float padding[2];
};
static_assert(sizeof(TransformMatrices) == sizeof(TransformMatricesBlock));
static_assert(offsetof(TransformMatrices, projection) == 64);
static_assert(offsetof(TransformMatrices, view_size) == 128);

struct LightSlot {
  hxsdk::vec4 position;
  hxsdk::vec4 direction;
  hxsdk::vec4 color;
  int32_t light_type;
  int32_t falloff_type;
  float falloff;
  float spot_cone_cos;
  float spot_feather;
  int32_t padding[3];
};
static_assert(sizeof(LightSlot) == 80);
static_assert(offsetof(LightSlot, light_type) == 48);

struct Lights {
  int32_t num_lights;
  int32_t padding[3];
  hxsdk::vec4 ambient_lights;
  LightSlot slots[kMaxLights];
};
static_assert(sizeof(Lights) == sizeof(LightsBlock));
static_assert(offsetof(Lights, ambient_lights) == 16);
static_assert(offsetof(Lights, slots) == 32);

// Half the cone angle, converted from degrees: pi / 360.
constexpr float kHalfDegreeInRadians = 0.008726646f;

void add(hxsdk::vec4& sum, const hxsdk::vec4& v) {
  sum.x += v.x;
  sum.y += v.y;
  sum.z += v.z;
  sum.w += v.w;
}

}  // namespace

TransformMatricesBlock pack_transform_matrices(const render_properties& camera) {
  return std::bit_cast<TransformMatricesBlock>(
      TransformMatrices{camera.view_matrix, camera.projection_matrix, camera.view_size, {}});
}

LightsBlock pack_lights(const std::vector<light_properties>& lights) {
  Lights block{};
  for (const light_properties& light : lights) {
    if (block.num_lights == kMaxLights) {
      break;
    }
    if (light.light_type == kLightAmbient) {
      add(block.ambient_lights, light.color);
      continue;
    }
    LightSlot& slot = block.slots[block.num_lights++];
    slot.position = light.position;
    slot.direction = light.direction;
    slot.color = light.color;
    slot.light_type = light.light_type;
    slot.falloff_type = light.falloff_type;
    slot.falloff = light.falloff;
    if (light.light_type == kLightSpot) {
      slot.spot_cone_cos = std::cos(light.cone_angle * kHalfDegreeInRadians);
      slot.spot_feather = light.cone_feather;
    }
  }
  return std::bit_cast<LightsBlock>(block);
}
