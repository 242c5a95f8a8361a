#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "scene/light_properties.h"
#include "scene/render_properties.h"

// CPU-side images of the material program's two std140 uniform blocks, byte for byte what
// the uniform buffers receive.

// TransformMatrices: view (bytes 0-63), projection (64-127), viewSize (128-135), padding.
using TransformMatricesBlock = std::array<std::byte, 144>;

// Lights: numLights and three pad ints, ambientLights at 16, then kMaxLights LightProperties
// of 80 bytes from byte 32.
using LightsBlock = std::array<std::byte, 672>;

inline constexpr int kMaxLights = 8;

// The binding points the two blocks are attached at.
inline constexpr unsigned int kTransformMatricesBinding = 0;
inline constexpr unsigned int kLightsBinding = 1;

TransformMatricesBlock pack_transform_matrices(const render_properties& camera);

// Ambient lights are summed into ambientLights and take no slot; the others fill the slots
// in list order. Once all slots are full the rest of the list, ambient lights included, is
// ignored.
LightsBlock pack_lights(const std::vector<light_properties>& lights);
