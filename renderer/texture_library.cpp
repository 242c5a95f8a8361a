#include "renderer/texture_library.h"

#include "renderer/float_texture.h"
#include "renderer/gl_vendor.h"

TextureLibrary::TextureLibrary() {
  // Mesa's software rasteriser samples anisotropically from the coordinates' own differences
  // even where a lookup passes explicit gradients, so the spherical projection's seam and the
  // environment's poles would read the whole map's average there. Trilinear filtering alone
  // keeps them right.
  const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  const bool gradients_ignored = renderer != nullptr && mentions(renderer, "llvmpipe");
  if (GLEW_EXT_texture_filter_anisotropic && !gradients_ignored) {
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &max_anisotropy_);
  }
}

GLuint TextureLibrary::create_map_texture(int width, int height) const {
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(GL_TEXTURE_2D, name);
  define_linear_float_texture(width, height);
  return name;
}

void TextureLibrary::finish_map_texture(GLuint texture) const {
  glBindTexture(GL_TEXTURE_2D, texture);
  apply_anisotropy();
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
  glGenerateMipmap(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, 0);
}

void TextureLibrary::apply_anisotropy() const {
  if (max_anisotropy_ != 0.0f) {
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, max_anisotropy_);
  }
}
