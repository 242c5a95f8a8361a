#pragma once

#include <GL/glew.h>

#include <array>
#include <initializer_list>
#include <sstream>
#include <vector>

// GL state the GPU tests read back on the render thread, and how they report differences.
namespace gpu_render {

using rgba = std::array<float, 4>;

// The differences a test found: how many, and what the first five were.
struct mismatches {
  int count = 0;
  std::ostringstream first;
  template <typename... What>
  void add(const What&... what) {
    if (++count <= 5) {
      ((first << "\n  ") << ... << what);
    }
  }
};

// On the render thread: a level of a 2D texture or of one cube face, as RGBA floats.
inline std::vector<rgba> read_level(GLenum target, GLuint texture, int level) {
  const GLenum binding = target == GL_TEXTURE_2D ? GL_TEXTURE_2D : GL_TEXTURE_CUBE_MAP;
  glBindTexture(binding, texture);
  GLint width = 0, height = 0;
  glGetTexLevelParameteriv(target, level, GL_TEXTURE_WIDTH, &width);
  glGetTexLevelParameteriv(target, level, GL_TEXTURE_HEIGHT, &height);
  std::vector<rgba> texels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  glGetTexImage(target, level, GL_RGBA, GL_FLOAT, texels.data());
  glBindTexture(binding, 0);
  return texels;
}

// On the render thread: how many names are textures or framebuffers (once bound).
inline int live_gl_objects() {
  int count = 0;
  for (GLuint name = 1; name < 4096; ++name) {
    count += (glIsTexture(name) == GL_TRUE) + (glIsFramebuffer(name) == GL_TRUE);
  }
  return count;
}

// On the render thread: the internal format (+X face of a cube), `parameters` and the width of
// each level up to `last_level`.
inline std::vector<GLint> texture_state(GLenum binding, GLuint name,
                                        std::initializer_list<GLenum> parameters, int last_level) {
  const GLenum image = binding == GL_TEXTURE_2D ? binding : GL_TEXTURE_CUBE_MAP_POSITIVE_X;
  std::vector<GLint> state(1);
  glBindTexture(binding, name);
  glGetTexLevelParameteriv(image, 0, GL_TEXTURE_INTERNAL_FORMAT, &state[0]);
  for (const GLenum parameter : parameters) {
    glGetTexParameteriv(binding, parameter, &state.emplace_back());
  }
  for (int level = 0; level <= last_level; ++level) {
    glGetTexLevelParameteriv(image, level, GL_TEXTURE_WIDTH, &state.emplace_back());
  }
  glBindTexture(binding, 0);
  return state;
}

}  // namespace gpu_render
