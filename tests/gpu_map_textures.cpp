#include "tests/gpu_map_textures.h"

#include "scene/image_desc.h"

namespace gpu_maps {

GLuint upload(Renderer& renderer, int width, int height,
              const std::function<rgba(int x, int y)>& texel) {
  std::vector<float> argb;
  argb.reserve(static_cast<std::size_t>(width) * height * 4);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const rgba c = texel(x, y);
      argb.insert(argb.end(), {c[3], c[0], c[1], c[2]});
    }
  }
  image_desc image;
  image.width = width;
  image.height = height;
  image.bytes_per_channel = 4;
  image.row_bytes = width * 16;
  image.data = argb.data();
  return renderer.upload_texture(image);
}

std::vector<rgba> read_level(GLenum target, GLuint texture, int level) {
  const GLenum binding = target == GL_TEXTURE_2D ? GL_TEXTURE_2D : GL_TEXTURE_CUBE_MAP;
  glBindTexture(binding, texture);
  GLint width = 0;
  GLint height = 0;
  glGetTexLevelParameteriv(target, level, GL_TEXTURE_WIDTH, &width);
  glGetTexLevelParameteriv(target, level, GL_TEXTURE_HEIGHT, &height);
  std::vector<rgba> texels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  glGetTexImage(target, level, GL_RGBA, GL_FLOAT, texels.data());
  glBindTexture(binding, 0);
  return texels;
}

}  // namespace gpu_maps
