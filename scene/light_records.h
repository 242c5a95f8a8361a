#pragma once

#include <vector>

#include "AE_GeneralPlug.h"
#include "scene/light_properties.h"

// What the host tells of one light layer at the current time.
struct host_light {
  AEGP_LightType type = AEGP_LightType_PARALLEL;
  A_Matrix4 layer_to_world{};  // row-vector form: row 2 the local z axis, row 3 the position
  AEGP_ColorVal color{};
  double intensity = 0.0;     // percent
  double cone_angle = 0.0;    // degrees
  double cone_feather = 0.0;  // percent
  double falloff = 0.0;
};

// The light's record in world space; x of its position made square by the layer's pixel
// aspect, its colour scaled by the intensity and clamped at black.
light_properties light_from_host(const host_light& light, float layer_pixel_aspect);

// The lights used when the composition has none: a white key light from the upper left
// (a parallel light at (-10000, -10000, 0) pointing at the origin) and a dim ambient fill.
std::vector<light_properties> default_lights();

// A host time in the effect's time scale: trunc(effect_time_scale / time.scale * time.value).
// A time without a scale (what a failed host call leaves) counts as 0.
A_long to_effect_time(const A_Time& time, A_u_long effect_time_scale);

// A layer exists from its in point up to, but not including, its in point plus its duration.
bool light_is_live(A_long in_point, A_long duration, A_long current_time);
