#pragma once

#include <GL/glew.h>

// Makes the textures that material maps are uploaded into, with the filtering the context
// allows. Render thread only, with the context current.
class TextureLibrary {
 public:
  // Reads the context's anisotropy limit (0 where anisotropic filtering is not supported, or
  // where the driver's anisotropic sampling ignores explicit gradients).
  TextureLibrary();

  // A linear, edge-clamped RGBA32F texture of the given size with undefined contents, left
  // bound to GL_TEXTURE_2D so that it can be filled.
  GLuint create_map_texture(int width, int height) const;
  // Once filled: full anisotropy, trilinear minification and the mipmap chain. Leaves the
  // texture unbound.
  void finish_map_texture(GLuint texture) const;

  // Gives the texture bound to GL_TEXTURE_2D the full anisotropy, where there is any.
  void apply_anisotropy() const;

 private:
  float max_anisotropy_ = 0.0f;
};
