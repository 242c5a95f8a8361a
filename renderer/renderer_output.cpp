// The render targets of a frame and the way out of them: building the targets for an output,
// averaging samples into the accumulation texture and converting it into the host's buffer.
#include <GL/glew.h>

#include <algorithm>

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

// Resolves `from` of the bound read framebuffer into `to`, of the same size, of the bound draw
// one.
void copy_area(const PixelRect& from, const PixelRect& to) {
  if (!from.empty()) {
    glBlitFramebuffer(from.x0, from.y0, from.x1, from.y1, to.x0, to.y0, to.x1, to.y1,
                      GL_COLOR_BUFFER_BIT, GL_NEAREST);
  }
}

// The same rectangles seen from an origin at (x, y).
std::vector<PixelRect> relative_to(std::vector<PixelRect> rects, int x, int y) {
  for (PixelRect& rect : rects) {
    rect = relative_to(rect, x, y);
  }
  return rects;
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

  // The multisample target is placed and sized by the first draw, the resolve target made by
  // the first frame of several samples.
  multisample_framebuffer_ = 0;
  sample_target_ = {};
  resolve_framebuffer_ = 0;
}

void Renderer::place_sample_target(const PixelRect& area) {
  const PixelRect placed{area.x0, area.y0, area.x0 + std::max(area.width(), sample_target_.width()),
                         area.y0 + std::max(area.height(), sample_target_.height())};
  const bool grow =
      placed.width() > sample_target_.width() || placed.height() > sample_target_.height();
  if (grow || !sample_area_.empty()) {
    // A new target; what the sample drew in the old one moves over, sample for sample.
    const GLuint framebuffer = targets_->new_framebuffer();
    const RenderTexture color =
        targets_->create_render_texture(placed.width(), placed.height(), built_samples_);
    const RenderTexture depth =
        targets_->create_depth_buffer(placed.width(), placed.height(), built_samples_);
    targets_->attach(framebuffer, GL_COLOR_ATTACHMENT0, color);
    targets_->attach(framebuffer, GL_DEPTH_ATTACHMENT, depth);
    if (multisample_framebuffer_ != 0) {
      glBindFramebuffer(GL_READ_FRAMEBUFFER, multisample_framebuffer_);
      glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
      copy_area(relative_to(sample_area_, sample_target_.x0, sample_target_.y0),
                relative_to(sample_area_, placed.x0, placed.y0));
      targets_->release(multisample_framebuffer_, {multisample_color_, depth_});
    }
    multisample_framebuffer_ = framebuffer;
    multisample_color_ = color;
    depth_ = depth;
  }
  sample_target_ = placed;
}

void Renderer::extend_sample(const PixelRect& bounds) {
  const PixelRect extended = bounding_union(sample_area_, bounds);
  if (!contains(sample_target_, extended)) {
    place_sample_target(extended);
  }
  glBindFramebuffer(GL_FRAMEBUFFER, multisample_framebuffer_);
  glDepthMask(GL_TRUE);
  clear_areas(
      relative_to(strips_outside(extended, sample_area_), sample_target_.x0, sample_target_.y0),
      GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glDepthMask(GL_FALSE);
  sample_area_ = extended;
}

void Renderer::accumulate_sample(float weight) {
  const PixelRect sample_in_target =
      relative_to(sample_area_, sample_target_.x0, sample_target_.y0);
  // The first sample of a frame (weight 1) replaces whatever the accumulation held.
  if (weight == 1.0f) {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, multisample_framebuffer_);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, accumulation_framebuffer_);
    copy_area(sample_in_target, sample_area_);
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
    copy_area(sample_in_target, sample_area_);
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
