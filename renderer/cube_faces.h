#pragma once

#include <array>

// How each face of a cube map is drawn as a full-target quad: the quad's texture coordinate
// (s, t) looks along initial + s * increment_x + t * increment_y, for a cube of half-size 0.5
// about the origin. Faces in the order of the GL face enumerants (+X, -X, +Y, -Y, +Z, -Z),
// oriented as GL samples them.
struct cube_face {
  std::array<float, 3> initial;
  std::array<float, 3> increment_x;
  std::array<float, 3> increment_y;
};

inline constexpr std::array<cube_face, 6> kCubeFaces = {{
    {{0.5f, 0.5f, 0.5f}, {0.0f, 0.0f, -1.0f}, {0.0f, -1.0f, 0.0f}},
    {{-0.5f, 0.5f, -0.5f}, {0.0f, 0.0f, 1.0f}, {0.0f, -1.0f, 0.0f}},
    {{-0.5f, 0.5f, -0.5f}, {1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 1.0f}},
    {{-0.5f, -0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, {0.0f, 0.0f, -1.0f}},
    {{-0.5f, 0.5f, 0.5f}, {1.0f, 0.0f, 0.0f}, {0.0f, -1.0f, 0.0f}},
    {{0.5f, 0.5f, -0.5f}, {-1.0f, 0.0f, 0.0f}, {0.0f, -1.0f, 0.0f}},
}};
