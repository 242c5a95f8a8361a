#pragma once

#include <cstdint>
#include <vector>

#include "renderer/uniform_blocks.h"
#include "scene/image_desc.h"
#include "scene/light_properties.h"
#include "scene/material_properties.h"
#include "scene/math3d.h"
#include "scene/model_ref.h"
#include "scene/render_data.h"
#include "scene/render_properties.h"

// The object every render-thread job acts on. It is built, used and destroyed on the render
// thread only (see RendererThread); host-side code reaches it through jobs, never directly.
// Arguments are references into the waiting caller's frame and are not kept beyond the call
// unless copied.
//
// Per frame: set_output, then per motion-blur sample set_render_properties, the texture
// operations, set_lights, clear_target, draw_model and accumulate_sample with weight 1/k for
// sample k, and last read_output.
class Renderer {
 public:
  // Where the frame goes and how many GPU samples per pixel (0: no multisampling).
  void set_output(unsigned int sample_count, const render_data& output);
  void set_render_properties(const render_properties& camera);
  void set_lights(const std::vector<light_properties>& lights);
  void clear_target();
  void draw_model(const model_ref& model, const hxsdk::mat4& model_matrix,
                  const material_properties& material);
  // Blends the sample into the running image: accumulation = weight * sample +
  // (1 - weight) * accumulation.
  void accumulate_sample(float weight);
  // Writes the accumulated image into the output buffer, raising straight colour to gamma.
  void read_output(float gamma);
  void delete_texture(unsigned int texture);
  // vertices: vertex_count vertices of 64 bytes; indices: index_count triangle corners.
  model_ref upload_model(const void* vertices, uint32_t vertex_count, const uint32_t* indices,
                         uint32_t index_count);
  // Returns the new texture's name, 0 when the record has no pixels.
  unsigned int upload_texture(const image_desc& image);
  // Returns the prefiltered cube map made from an equirectangular texture, 0 for texture 0.
  unsigned int make_environment_cube(unsigned int equirectangular_texture);
  unsigned int make_normal_map(unsigned int bump_texture, int width, int height);

 private:
  render_data output_;
  uint32_t sample_count_ = 0;
  render_properties camera_;
  TransformMatricesBlock transform_matrices_{};
  LightsBlock lights_{};
};
