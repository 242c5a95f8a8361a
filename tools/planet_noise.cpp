#include "tools/planet_noise.h"

#include <cmath>
#include <numeric>
#include <utility>

namespace planet_textures {
namespace {

// Octave shifts: irrational-looking offsets so that no two octaves share their lattice points
// (otherwise every octave is 0 at the origin and the sum shows a regular pattern there).
constexpr vec3 kOctaveShift = {17.31, -9.87, 5.43};

// Perlin's quintic 6t^5 - 15t^4 + 10t^3: its first and second derivatives vanish at 0 and 1,
// so the noise has no creases along the lattice planes.
double fade(double t) {
  return t * t * t * (t * (t * 6.0 - 15.0) + 10.0);
}

double lerp(double a, double b, double t) {
  return a + (b - a) * t;
}

// Dot product of (x, y, z) with one of the twelve cube-edge gradients (four repeated to fill
// sixteen), picked by the low bits of the corner's hash.
double gradient_dot(int hash, double x, double y, double z) {
  const int h = hash & 15;
  const double u = h < 8 ? x : y;
  const double v = h < 4 ? y : (h == 12 || h == 14 ? x : z);
  return ((h & 1) == 0 ? u : -u) + ((h & 2) == 0 ? v : -v);
}

}  // namespace

std::uint64_t mix64(std::uint64_t value) {
  value += 0x9e3779b97f4a7c15ull;
  value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9ull;
  value = (value ^ (value >> 27)) * 0x94d049bb133111ebull;
  return value ^ (value >> 31);
}

double unit_hash(std::uint64_t seed, std::uint64_t a, std::uint64_t b) {
  const std::uint64_t h = mix64(mix64(mix64(seed) ^ a) ^ b);
  return static_cast<double>(h >> 11) * 0x1.0p-53;
}

gradient_noise::gradient_noise(std::uint64_t seed) {
  std::array<std::uint8_t, 256> values{};
  std::iota(values.begin(), values.end(), std::uint8_t{0});
  // Fisher-Yates with our own generator: std::shuffle's results differ between libraries.
  std::uint64_t state = seed;
  for (int i = 255; i > 0; --i) {
    state = mix64(state);
    std::swap(values[i], values[state % static_cast<std::uint64_t>(i + 1)]);
  }
  for (int i = 0; i < 512; ++i) {
    permutation_[i] = values[i & 255];
  }
}

double gradient_noise::operator()(const vec3& p) const {
  const double fx = std::floor(p.x);
  const double fy = std::floor(p.y);
  const double fz = std::floor(p.z);
  const int X = static_cast<int>(static_cast<long long>(fx) & 255);
  const int Y = static_cast<int>(static_cast<long long>(fy) & 255);
  const int Z = static_cast<int>(static_cast<long long>(fz) & 255);
  const double x = p.x - fx;
  const double y = p.y - fy;
  const double z = p.z - fz;
  const double u = fade(x);
  const double v = fade(y);
  const double w = fade(z);

  const auto& P = permutation_;
  const int A = P[X] + Y;
  const int AA = P[A] + Z;
  const int AB = P[A + 1] + Z;
  const int B = P[X + 1] + Y;
  const int BA = P[B] + Z;
  const int BB = P[B + 1] + Z;

  return lerp(
      lerp(lerp(gradient_dot(P[AA], x, y, z), gradient_dot(P[BA], x - 1, y, z), u),
           lerp(gradient_dot(P[AB], x, y - 1, z), gradient_dot(P[BB], x - 1, y - 1, z), u), v),
      lerp(lerp(gradient_dot(P[AA + 1], x, y, z - 1), gradient_dot(P[BA + 1], x - 1, y, z - 1), u),
           lerp(gradient_dot(P[AB + 1], x, y - 1, z - 1),
                gradient_dot(P[BB + 1], x - 1, y - 1, z - 1), u),
           v),
      w);
}

double fbm(const gradient_noise& noise, const vec3& p, int octaves) {
  double sum = 0.0;
  double total = 0.0;
  double amplitude = 1.0;
  vec3 q = p;
  for (int i = 0; i < octaves; ++i) {
    sum += amplitude * noise(q);
    total += amplitude;
    amplitude *= 0.5;
    q = 2.0 * q + kOctaveShift;
  }
  return sum / total;
}

double ridged_fbm(const gradient_noise& noise, const vec3& p, int octaves) {
  double sum = 0.0;
  double total = 0.0;
  double amplitude = 1.0;
  vec3 q = p;
  for (int i = 0; i < octaves; ++i) {
    const double crest = 1.0 - std::abs(noise(q));
    sum += amplitude * crest * crest;
    total += amplitude;
    amplitude *= 0.5;
    q = 2.0 * q + kOctaveShift;
  }
  return sum / total;
}

}  // namespace planet_textures
