#pragma once

#include <array>
#include <cstdint>

#include "tools/planet_math.h"

// Seeded, deterministic noise for the planet textures: the same seed and point give the same
// value on every machine, so the committed textures can be made again bit for bit.
namespace planet_textures {

// splitmix64: one well-mixed 64-bit value per input; the source of every random choice here.
std::uint64_t mix64(std::uint64_t value);

// A value in [0, 1) made from the 64-bit hash of its arguments.
double unit_hash(std::uint64_t seed, std::uint64_t a, std::uint64_t b);

// Three-dimensional gradient noise (Perlin's improved noise, 2002): a smooth function of space,
// 0 at every integer lattice point, roughly within -1 to 1, with features about one unit
// across. The seed picks the lattice's permutation.
class gradient_noise {
 public:
  explicit gradient_noise(std::uint64_t seed);
  double operator()(const vec3& p) const;

 private:
  std::array<std::uint8_t, 512> permutation_{};  // 256 shuffled values, repeated once
};

// Fractal Brownian motion: `octaves` layers of noise, each at twice the frequency and half the
// amplitude of the one before, every layer shifted so that their lattices do not line up.
// The sum is divided by the total amplitude, so it stays roughly within -1 to 1.
double fbm(const gradient_noise& noise, const vec3& p, int octaves);

// Ridged fractal noise: layers of 1 - |noise|, squared, so that zero crossings become sharp
// crests (mountain ranges); 0 to 1, weighted like fbm.
double ridged_fbm(const gradient_noise& noise, const vec3& p, int octaves);

}  // namespace planet_textures
