#pragma once

#include <vector>

// Importance-sampled half-vector directions for prefiltering the environment with a GGX
// specular lobe: one row per roughness layer, each sample a unit vector in tangent space
// (z along the normal).
namespace ggx_sample_table {

inline constexpr int kSamples = 512;
inline constexpr int kLayers = 6;

// The GGX roughness of a layer: (layer + 1)/6 raised to 2.8, about 0.0066 for layer 0 and 1
// for layer 5.
float layer_roughness(int layer);

// The base-2 radical inverse of i: its 32 bits reversed, as a fraction of 2^32.
float radical_inverse(unsigned int i);

// kLayers rows of kSamples RGBA texels (x, y, z, 0), row after row: the Hammersley points
// (i / kSamples, radical_inverse(i)) mapped through the inverse GGX distribution.
std::vector<float> make();

}  // namespace ggx_sample_table
