#include "renderer/texture_library.h"

#include "renderer/float_texture.h"

TextureLibrary::TextureLibrary() {
  if (GLEW_EXT_texture_filter_anisotropic) {
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
  if (max_anisotropy_ != 0.0f) {
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, max_anisotropy_);
  }
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
  glGenerateMipmap(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, 0);
}
