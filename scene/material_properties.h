#pragma once

#include <cstdint>

#include "scene/math3d.h"

// Everything the material shading of one draw reads, filled from the effect's parameters.
// Texture fields are GL texture names borrowed from the instance's texture slots for the
// draw; 0 means the map is absent. Gammas are exponents, angles radians.
struct material_properties {
  int32_t surface_mode = 1;    // 1 all, 2 front, 3 back
  uint8_t flatten_bottom = 0;  // hemisphere
  uint8_t unlit = 0;
  uint32_t diffuse_texture = 0;
  uint32_t glossiness_texture = 0;
  uint32_t illumination_texture = 0;
  uint32_t environment_texture = 0;  // prefiltered cube map
  uint32_t normal_texture = 0;
  float diffuse_blend = 0.0f;
  float edge_feather = 0.0f;
  float edge_shrink = 0.0f;
  float diffuse_gamma = 0.0f;
  float glossiness_gamma = 0.0f;
  float illumination_gamma = 0.0f;
  float environment_gamma = 0.0f;
  float diffuse_brightness = 0.0f;
  float glossiness_brightness = 0.0f;
  float illumination_brightness = 0.0f;
  float environment_brightness = 0.0f;
  float normal_amount = 0.0f;
  float clip_lighting = 0.0f;
  uint8_t bump_is_height = 0;  // scene assembly's own flag; the draw does not read it
  uint8_t normal_invert_green = 0;
  float fresnel = 0.0f;
  float fresnel_bias = 0.0f;
  float shadow_light = 0.0f;
  float shadow_light_contrast = 0.0f;
  float shadow_light_expansion = 0.0f;
  float bump_influence = 0.0f;
  hxsdk::vec4 model_color;  // rgb 0 to 1, a = opacity
  hxsdk::vec4 illumination_color;
  float reflectivity = 0.0f;
  float ambient = 0.0f;
  float diffuse = 0.0f;
  float glossiness = 0.0f;
  float specular = 0.0f;
  hxsdk::quaternion environment_orientation{0.0f, 0.0f, 0.0f, 1.0f};
  int32_t uv_type = 1;  // 1 spherical, 2 box, 3 plane XY, 4 plane XZ, 5 plane ZY
  int32_t uv_mode = 1;  // 1 repeat, 2 mirror
  hxsdk::vec2 uv_repeat;
  hxsdk::vec2 uv_offset;
  float uv_feathering = 0.0f;
  float uv_rotation = 0.0f;
};
