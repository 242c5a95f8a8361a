#pragma once

#include <vector>

#include "scene/light_properties.h"
#include "scene/material_properties.h"
#include "scene/math3d.h"

// Everything scene assembly gathers for one motion-blur sample.
struct scene_parameters {
  hxsdk::vec4 position;  // sphere centre in world space, w = 0
  hxsdk::quaternion orientation{0.0f, 0.0f, 0.0f, 1.0f};
  float radius = 0.0f;
  float inverse_gamma = 1.0f;  // exponent applied to the output's straight colour
  material_properties material;
  std::vector<light_properties> lights;
};
