#pragma once

#include "scene/math3d.h"

// Values the material program receives in a different form than the material record holds.

// Turns model normals into world normals: the transposed inverse of the model matrix without
// its translation.
hxsdk::mat4 normal_matrix(const hxsdk::mat4& model_matrix);

// Exponent of the illumination's shadow/light split: contrasts up to 1 pass unchanged, each
// further unit multiplies the exponent by 2^1.5, so the control reaches very hard splits.
float shadow_light_contrast_exponent(float contrast);

// Exponent that sharpens the blend between box-projection faces: 1 (softest) for feathering
// 1, 65 for feathering 0.
float uv_feathering_exponent(float feathering);
