#pragma once

#include <cstdint>

#include "scene/math3d.h"

// Values of light_properties::light_type.
inline constexpr int32_t kLightParallel = 0;
inline constexpr int32_t kLightSpot = 1;
inline constexpr int32_t kLightPoint = 2;
inline constexpr int32_t kLightAmbient = 3;  // only its colour counts; never takes a light slot

// One light in world space. The cone fields are 0 for everything but spot lights.
struct light_properties {
  hxsdk::vec4 position;   // w = 0
  hxsdk::vec4 direction;  // the way the light points, w = 0
  hxsdk::vec4 color;      // rgb x intensity, each >= 0; a = 1
  int32_t light_type = kLightParallel;
  int32_t falloff_type = 0;
  float falloff = 0.0f;
  float cone_angle = 0.0f;    // full cone angle in degrees
  float cone_feather = 0.0f;  // fraction, 0 to 1
};
