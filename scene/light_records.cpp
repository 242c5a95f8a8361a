#include "scene/light_records.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

float scaled_channel(double channel, double intensity) {
  return static_cast<float>(std::max(0.0, channel * intensity / 100.0));
}

}  // namespace

light_properties light_from_host(const host_light& light, float layer_pixel_aspect) {
  const auto& x = light.layer_to_world.mat;
  light_properties record;
  record.position = {static_cast<float>(x[3][0] * layer_pixel_aspect), static_cast<float>(x[3][1]),
                     static_cast<float>(x[3][2]), 0.0f};
  record.color = {scaled_channel(light.color.redF, light.intensity),
                  scaled_channel(light.color.greenF, light.intensity),
                  scaled_channel(light.color.blueF, light.intensity), 1.0f};
  record.light_type = static_cast<std::int32_t>(light.type);
  record.falloff_type = 0;
  record.falloff = static_cast<float>(light.falloff);
  if (light.type == AEGP_LightType_PARALLEL || light.type == AEGP_LightType_SPOT) {
    record.direction = {static_cast<float>(x[2][0]), static_cast<float>(x[2][1]),
                        static_cast<float>(x[2][2]), 0.0f};
  }
  if (light.type == AEGP_LightType_SPOT) {
    record.cone_angle = static_cast<float>(light.cone_angle);
    record.cone_feather = static_cast<float>(light.cone_feather / 100.0);
  }
  return record;
}

std::vector<light_properties> default_lights() {
  light_properties key;
  key.position = {-10000.0f, -10000.0f, 0.0f, 0.0f};
  key.direction = {0.70710677f, 0.70710677f, 0.0f, 0.0f};
  key.color = {1.0f, 1.0f, 1.0f, 1.0f};
  key.light_type = kLightParallel;

  light_properties fill;
  fill.color = {0.2f, 0.2f, 0.2f, 0.2f};
  fill.light_type = kLightAmbient;
  return {key, fill};
}

A_long to_effect_time(const A_Time& time, A_u_long effect_time_scale) {
  if (time.scale == 0) {
    return 0;
  }
  const double converted =
      std::trunc(static_cast<double>(effect_time_scale) / static_cast<double>(time.scale) *
                 static_cast<double>(time.value));
  return static_cast<A_long>(std::clamp(converted, double{std::numeric_limits<A_long>::min()},
                                        double{std::numeric_limits<A_long>::max()}));
}

bool light_is_live(A_long in_point, A_long duration, A_long current_time) {
  // 64-bit sum: a layer lasting to the end of time must not wrap around.
  return in_point <= current_time &&
         static_cast<std::int64_t>(current_time) <
             static_cast<std::int64_t>(in_point) + static_cast<std::int64_t>(duration);
}
