#pragma once

#include "scene/math3d.h"

// The camera of one motion-blur sample.
struct render_properties {
  hxsdk::vec2 view_size;          // the composition's image plane in square pixels
  hxsdk::mat4 view_matrix;        // world to view; the camera looks down -z
  hxsdk::mat4 projection_matrix;  // view to clip
  hxsdk::vec4 eye_position;       // world space, w = 0
};
