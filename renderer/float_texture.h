#pragma once

#include <GL/glew.h>

// Gives the texture bound to GL_TEXTURE_2D linear filtering, edge clamping and an RGBA32F level
// 0 of the given size with undefined contents: what render targets and map textures start as.
void define_linear_float_texture(GLsizei width, GLsizei height);
