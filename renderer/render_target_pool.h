#pragma once

#include <GL/glew.h>

#include <cstdint>
#include <vector>

#include "renderer/render_texture.h"

// Makes and owns the framebuffers, textures and renderbuffers of the render targets, and
// knows the context's limits for them. Render thread only, with the context current.
class RenderTargetPool {
 public:
  // Reads the limits of the current context.
  RenderTargetPool();
  ~RenderTargetPool();
  RenderTargetPool(const RenderTargetPool&) = delete;
  RenderTargetPool& operator=(const RenderTargetPool&) = delete;

  GLuint new_framebuffer();
  // A linear, edge-clamped RGBA32F texture, multisampled with min(samples, the colour-texture
  // sample limit) samples when that is above 0. Throws std::runtime_error when the size or
  // the multisampling is beyond the context.
  RenderTexture create_render_texture(int width, int height, unsigned int samples);
  // A depth renderbuffer with min(samples, the sample limit) samples. Throws
  // std::runtime_error when the size is beyond the context.
  RenderTexture create_depth_buffer(int width, int height, unsigned int samples);
  // Attaches to framebuffer and checks that it is complete (std::runtime_error otherwise).
  void attach(GLuint framebuffer, GLenum attachment, const RenderTexture& target);
  // Deletes a framebuffer made here and the targets attached to it.
  void release(GLuint framebuffer, const std::vector<RenderTexture>& attached);
  // Deletes everything made so far.
  void release_all();

  GLint max_samples() const { return max_samples_; }
  GLint max_color_texture_samples() const { return max_color_texture_samples_; }

 private:
  std::vector<GLuint> framebuffers_;
  std::vector<GLuint> textures_;
  std::vector<GLuint> renderbuffers_;
  bool multisample_textures_ = false;
  GLint max_samples_ = 0;
  GLint max_color_texture_samples_ = 0;
  GLint max_renderbuffer_size_ = 0;
  GLint max_texture_size_ = 0;
};
