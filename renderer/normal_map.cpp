#include <GL/glew.h>

#include "renderer/full_screen_quad.h"
#include "renderer/renderer.h"
#include "renderer/texture_library.h"

unsigned int Renderer::make_normal_map(unsigned int bump_texture, int width, int height) {
  glDisable(GL_MULTISAMPLE);
  glDisable(GL_CULL_FACE);

  GLuint normals = 0;
  glGenTextures(1, &normals);
  glBindTexture(GL_TEXTURE_2D, normals);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
  textures_->apply_anisotropy();
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA16F, width, height, 0, GL_RGBA, GL_FLOAT, nullptr);

  GLuint framebuffer = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, normals, 0);
  glViewport(0, 0, width, height);

  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, bump_texture);
  glUseProgram(bump_to_normal_program_);
  glUniform2f(glGetUniformLocation(bump_to_normal_program_, "pixelSize"),
              1.0f / static_cast<float>(width), 1.0f / static_cast<float>(height));
  // A downsampled frame checks the bump layer out smaller, which steepens its slopes per
  // texel by the downsampling factor; dividing by it keeps the relief of a full-size frame.
  // Before any output was set there is no downsampling to undo.
  const float downsampling = output_.inv_downsample_x > 0.0f ? output_.inv_downsample_x : 1.0f;
  glUniform1f(glGetUniformLocation(bump_to_normal_program_, "scaleFactor"), 1.0f / downsampling);
  quad_->draw();
  glBindVertexArray(0);

  glDeleteFramebuffers(1, &framebuffer);
  glBindTexture(GL_TEXTURE_2D, normals);
  glGenerateMipmap(GL_TEXTURE_2D);
  glUseProgram(0);
  return normals;
}
