// The render targets of a frame and the way out of them: building the targets for an output,
// averaging samples into the accumulation texture and converting it into the host's buffer.
#include <GL/glew.h>

#include "platform/gl_context.h"
#include "renderer/full_screen_quad.h"
#include "renderer/pixel_transfer.h"
#include "renderer/render_target_pool.h"
#include "renderer/renderer.h"

namespace {

// Clears `areas` of the bound draw framebuffer to transparent black (and the far depth).
void clear_areas(const std::vector<PixelRect>& areas, GLbitfield buffers) {
  glEnable(GL_SCISSOR_TEST);
  glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
  glClearDepth(1.0);
  for (const PixelRect& area : areas) {
    glScissor(area.x0, area.y0, area.width(), area.height());
    glClear(buffers);
  }
  glDisable(GL_SCISSOR_TEST);
}

// Resolves `area` of the bound read framebuffer into the same pixels of the bound draw one.
void copy_area(const PixelRect& area) {
  if (!area.empty()) {
    glBlitFramebuffer(area.x0, area.y0, area.x1, area.y1, area.x0, area.y0, area.x1, area.y1,
                      GL_COLOR_BUFFER_BIT, GL_NEAREST);
  }
}

}  // namespace

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
  sample_area_ = {};
  accumulated_area_ = {};
  targets_->release_all();
  accumulation_framebuffer_ = targets_->new_framebuffer();
  accumulation_texture_ = targets_->create_render_texture(width, height, 0);
  targets_->attach(accumulation_framebuffer_, GL_COLOR_ATTACHMENT0, accumulation_texture_);

  multisample_framebuffer_ = targets_->new_framebuffer();
  multisample_color_ = targets_->create_render_texture(width, height, samples);
  depth_ = targets_->create_depth_buffer(width, height, samples);
  targets_->attach(multisample_framebuffer_, GL_COLOR_ATTACHMENT0, multisample_color_);
  targets_->attach(multisample_framebuffer_, GL_DEPTH_ATTACHMENT, depth_);
  // The resolve target only serves frames of several samples; it is made by the first of them.
  resolve_framebuffer_ = 0;
}

void Renderer::extend_sample(const PixelRect& bounds) {
  const PixelRect extended = bounding_union(sample_area_, bounds);
  glBindFramebuffer(GL_FRAMEBUFFER, multisample_framebuffer_);
  glDepthMask(GL_TRUE);
  clear_areas(strips_outside(extended, sample_area_), GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glDepthMask(GL_FALSE);
  sample_area_ = extended;
}

void Renderer::accumulate_sample(float weight) {
  // The first sample of a frame (weight 1) replaces whatever the accumulation held.
  if (weight == 1.0f) {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, multisample_framebuffer_);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, accumulation_framebuffer_);
    copy_area(sample_area_);
    accumulated_area_ = sample_area_;
  } else {
    // Both images count as transparent outside their areas, so the blend covers the two areas'
    // bounds and first clears what either has not written there.
    const PixelRect blended = bounding_union(accumulated_area_, sample_area_);
    if (resolve_framebuffer_ == 0) {
      resolve_framebuffer_ = targets_->new_framebuffer();
      resolve_texture_ = targets_->create_render_texture(built_width_, built_height_, 0);
      targets_->attach(resolve_framebuffer_, GL_COLOR_ATTACHMENT0, resolve_texture_);
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, multisample_framebuffer_);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, resolve_framebuffer_);
    clear_areas(strips_outside(blended, sample_area_), GL_COLOR_BUFFER_BIT);
    copy_area(sample_area_);
    glBindFramebuffer(GL_FRAMEBUFFER, accumulation_framebuffer_);
    clear_areas(strips_outside(blended, accumulated_area_), GL_COLOR_BUFFER_BIT);
    glDisable(GL_MULTISAMPLE);
    glDisable(GL_CULL_FACE);
    glDisable(GL_DEPTH_TEST);
    glViewport(0, 0, output_.output_image.width, output_.output_image.height);
    glEnable(GL_SCISSOR_TEST);
    glScissor(blended.x0, blended.y0, blended.width(), blended.height());
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
    glDisable(GL_SCISSOR_TEST);
    glEnable(GL_DEPTH_TEST);
    accumulated_area_ = blended;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glFinish();
}

void Renderer::read_output(float gamma) {
  transfer_->read_output(output_.output_image, output_.bytes_per_channel, gamma, accumulated_area_);
}
