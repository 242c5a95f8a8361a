// The render targets of a frame and the way out of them: building the targets for an output,
// averaging samples into the accumulation texture and converting it into the host's buffer.
#include <GL/glew.h>

#include "platform/gl_context.h"
#include "renderer/full_screen_quad.h"
#include "renderer/pixel_transfer.h"
#include "renderer/render_target_pool.h"
#include "renderer/renderer.h"

void Renderer::set_output(unsigned int sample_count, const render_data& output) {
  output_ = output;
  sample_count_ = sample_count;
  gl_->make_current();
  const image_desc& image = output_.output_image;
  const size_t size = static_cast<size_t>(image.row_bytes) * static_cast<size_t>(image.height);
  const bool rebuild = image.width != built_width_ || image.height != built_height_ ||
                       sample_count_ != built_samples_;
  if (size == transfer_->output_buffer_size() && !rebuild) {
    return;
  }
  transfer_->release_output_image();
  if (rebuild) {
    build_render_targets(image.width, image.height, sample_count_);
  }
  transfer_->rebuild_output(accumulation_texture_.name, image);
}

void Renderer::build_render_targets(int width, int height, unsigned int samples) {
  built_width_ = width;
  built_height_ = height;
  built_samples_ = samples;
  targets_->release_all();
  accumulation_framebuffer_ = targets_->new_framebuffer();
  accumulation_texture_ = targets_->create_render_texture(width, height, 0);
  targets_->attach(accumulation_framebuffer_, GL_COLOR_ATTACHMENT0, accumulation_texture_);

  multisample_framebuffer_ = targets_->new_framebuffer();
  multisample_color_ = targets_->create_render_texture(width, height, samples);
  depth_ = targets_->create_depth_buffer(width, height, samples);
  targets_->attach(multisample_framebuffer_, GL_COLOR_ATTACHMENT0, multisample_color_);
  targets_->attach(multisample_framebuffer_, GL_DEPTH_ATTACHMENT, depth_);

  resolve_framebuffer_ = targets_->new_framebuffer();
  resolve_texture_ = targets_->create_render_texture(width, height, 0);
  targets_->attach(resolve_framebuffer_, GL_COLOR_ATTACHMENT0, resolve_texture_);
}

void Renderer::accumulate_sample(float weight) {
  // The first sample of a frame (weight 1) replaces whatever the accumulation held.
  const bool exact = weight == 1.0f;
  glBindFramebuffer(GL_READ_FRAMEBUFFER, multisample_framebuffer_);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, exact ? accumulation_framebuffer_ : resolve_framebuffer_);
  glDrawBuffer(GL_COLOR_ATTACHMENT0);
  glReadBuffer(GL_COLOR_ATTACHMENT0);
  glBlitFramebuffer(0, 0, built_width_, built_height_, 0, 0, built_width_, built_height_,
                    GL_COLOR_BUFFER_BIT, GL_NEAREST);
  if (!exact) {
    glBindFramebuffer(GL_FRAMEBUFFER, accumulation_framebuffer_);
    glDisable(GL_MULTISAMPLE);
    glDisable(GL_CULL_FACE);
    glDisable(GL_DEPTH_TEST);
    glViewport(0, 0, output_.output_image.width, output_.output_image.height);
    glEnable(GL_BLEND);
    glBlendFunc(GL_CONSTANT_COLOR, GL_ONE_MINUS_CONSTANT_COLOR);
    glBlendColor(weight, weight, weight, weight);
    glUseProgram(copy_program_);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, resolve_texture_.name);
    quad_->draw();
    glBindVertexArray(0);
    glUseProgram(0);
    glDisable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
  }
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glFinish();
}

void Renderer::read_output(float gamma) {
  transfer_->read_output(output_.output_image, output_.bytes_per_channel, gamma);
}
