#pragma once

#include <GL/glew.h>

#include <array>
#include <functional>
#include <vector>

#include "renderer/renderer.h"

// Float map textures for the environment and bump tests, made through the renderer's own
// upload path, and read back.
namespace gpu_maps {

using rgba = std::array<float, 4>;

// Uploads a width x height float image whose texel (x, y) (row 0 first) is
// texel(x, y) and returns the renderer's texture.
GLuint upload(Renderer& renderer, int width, int height,
              const std::function<rgba(int x, int y)>& texel);

// Level `level` of a 2D texture, or of one face of a cube map (face 0 to 5 in GL's order), as
// RGBA floats, rows from t = 0.
std::vector<rgba> read_level(GLenum target, GLuint texture, int level);

}  // namespace gpu_maps
