#include "renderer/render_target_pool.h"

#include <algorithm>
#include <stdexcept>

#include "renderer/float_texture.h"

namespace {

// The requested sample count within a limit of the context; 0 stays 0 (no multisampling).
GLsizei clamped_samples(unsigned int requested, GLint limit) {
  return static_cast<GLsizei>(std::min<long long>(requested, limit));
}

}  // namespace

RenderTargetPool::RenderTargetPool() : multisample_textures_(GLEW_ARB_texture_multisample) {
  glGetIntegerv(GL_MAX_SAMPLES, &max_samples_);
  glGetIntegerv(GL_MAX_COLOR_TEXTURE_SAMPLES, &max_color_texture_samples_);
  glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &max_renderbuffer_size_);
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &max_texture_size_);
}

RenderTargetPool::~RenderTargetPool() {
  release_all();
}

GLuint RenderTargetPool::new_framebuffer() {
  GLuint name = 0;
  glGenFramebuffers(1, &name);
  framebuffers_.push_back(name);
  return name;
}

RenderTexture RenderTargetPool::create_render_texture(int width, int height, unsigned int samples) {
  const GLsizei sample_count = clamped_samples(samples, max_color_texture_samples_);
  if (sample_count > 0 && !multisample_textures_) {
    throw std::runtime_error("render texture multi-sampling not supported");
  }
  if (width > max_texture_size_ || height > max_texture_size_) {
    throw std::runtime_error("render texture size is over maximum supported size");
  }
  GLuint name = 0;
  glGenTextures(1, &name);
  textures_.push_back(name);
  if (sample_count > 0) {
    glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, name);
    glTexImage2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, sample_count, GL_RGBA32F, width, height,
                            GL_TRUE);
    glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, 0);
  } else {
    glBindTexture(GL_TEXTURE_2D, name);
    define_linear_float_texture(width, height);
    glBindTexture(GL_TEXTURE_2D, 0);
  }
  return {name, RenderTexture::kTexture, sample_count > 0};
}

RenderTexture RenderTargetPool::create_depth_buffer(int width, int height, unsigned int samples) {
  const GLsizei sample_count = clamped_samples(samples, max_samples_);
  if (width > max_renderbuffer_size_ || height > max_renderbuffer_size_) {
    throw std::runtime_error("render buffer size is over maximum supported size");
  }
  GLuint name = 0;
  glGenRenderbuffers(1, &name);
  renderbuffers_.push_back(name);
  glBindRenderbuffer(GL_RENDERBUFFER, name);
  if (sample_count > 0) {
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, sample_count, GL_DEPTH_COMPONENT24, width,
                                     height);
  } else {
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, width, height);
  }
  glBindRenderbuffer(GL_RENDERBUFFER, 0);
  return {name, RenderTexture::kRenderbuffer, sample_count > 0};
}

void RenderTargetPool::attach(GLuint framebuffer, GLenum attachment, const RenderTexture& target) {
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  if (target.kind == RenderTexture::kRenderbuffer) {
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, target.name);
  } else {
    glFramebufferTexture2D(GL_FRAMEBUFFER, attachment,
                           target.multisampled ? GL_TEXTURE_2D_MULTISAMPLE : GL_TEXTURE_2D,
                           target.name, 0);
  }
  const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  if (status != GL_FRAMEBUFFER_COMPLETE) {
    throw std::runtime_error("failed to attach render target");
  }
}

namespace {

void forget(std::vector<GLuint>& names, GLuint name) {
  names.erase(std::remove(names.begin(), names.end(), name), names.end());
}

}  // namespace

void RenderTargetPool::release(GLuint framebuffer, const std::vector<RenderTexture>& attached) {
  glDeleteFramebuffers(1, &framebuffer);
  forget(framebuffers_, framebuffer);
  for (const RenderTexture& target : attached) {
    if (target.kind == RenderTexture::kRenderbuffer) {
      glDeleteRenderbuffers(1, &target.name);
      forget(renderbuffers_, target.name);
    } else {
      glDeleteTextures(1, &target.name);
      forget(textures_, target.name);
    }
  }
}

void RenderTargetPool::release_all() {
  glDeleteFramebuffers(static_cast<GLsizei>(framebuffers_.size()), framebuffers_.data());
  glDeleteRenderbuffers(static_cast<GLsizei>(renderbuffers_.size()), renderbuffers_.data());
  glDeleteTextures(static_cast<GLsizei>(textures_.size()), textures_.data());
  framebuffers_.clear();
  renderbuffers_.clear();
  textures_.clear();
}
