#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "renderer/pixel_rect.h"
#include "renderer/render_texture.h"
#include "renderer/shader_sources.h"
#include "renderer/uniform_blocks.h"
#include "scene/image_desc.h"
#include "scene/light_properties.h"
#include "scene/material_properties.h"
#include "scene/math3d.h"
#include "scene/model_ref.h"
#include "scene/render_data.h"
#include "scene/render_properties.h"

class ClEnvironment;
class FullScreenQuad;
class GlContext;
class MaterialPrograms;
class PixelTransfer;
class ProgramLibrary;
class RenderTargetPool;
class TextureLibrary;

// The GLSL sources a Renderer builds its programs from; tests swap one for a broken source.
struct renderer_sources {
  shader_source quad_vertex = shader_sources::quad_vert;
  shader_source copy_fragment = shader_sources::copy_frag;
  shader_source bump_to_normal_fragment = shader_sources::bump_to_normal_frag;
  shader_source equirectangular_to_cube_fragment = shader_sources::equirectangular_to_cube_frag;
  shader_source prefilter_fragment = shader_sources::prefilter_frag;
  shader_source material_vertex = shader_sources::material_vert;
  shader_source material_fragment = shader_sources::material_frag;
};

// The object every render-thread job acts on. It is built, used and destroyed on the render
// thread only (see RendererThread); host-side code reaches it through jobs, never directly.
// Arguments are references into the waiting caller's frame and are not kept beyond the call
// unless copied.
//
// Per frame: set_output, then per motion-blur sample set_render_properties, the texture
// operations, set_lights, clear_target, draw_model and accumulate_sample with weight 1/k for
// sample k, and last read_output.
//
// Only the pixels a draw can reach are worked on: the multisample target covers just the
// bounds of the sample's mesh as projected (it is placed there at the sample's first draw and
// grows when a sample needs more), and each draw clears the part its bounds add; the
// accumulation keeps the bounds of what it holds and treats everything outside as
// transparent; the output converts just those bounds. A small sphere in a large frame costs
// little more than the sphere, in time and in memory.
class Renderer {
 public:
  // Creates the GL context (current on this thread from here on), the OpenCL device, the
  // programs and kernels. Throws std::runtime_error or shader_compile_exception with the
  // text the user is shown.
  explicit Renderer(const renderer_sources& sources = {});
  ~Renderer();
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

  // Where the frame goes and how many GPU samples per pixel (0: no multisampling). Rebuilds
  // the render targets when the size or the sample count changed. Throws std::runtime_error
  // when the size or the samples are beyond the context.
  void set_output(unsigned int sample_count, const render_data& output);
  void set_render_properties(const render_properties& camera);
  void set_lights(const std::vector<light_properties>& lights);
  // Starts a sample with nothing in it.
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
  // Returns a new cube map (the caller's) made from an equirectangular texture: 512 x 512
  // faces, level 0 the environment itself, levels 1 to 6 blurred with ever rougher specular
  // lobes. 0 for texture 0, with nothing created.
  unsigned int make_environment_cube(unsigned int equirectangular_texture);
  // Returns a new texture (the caller's) of the bump texture's size holding the encoded
  // tangent-space normals of the height field, with its mipmaps.
  unsigned int make_normal_map(unsigned int bump_texture, int width, int height);

 private:
  void build_render_targets(int width, int height, unsigned int samples);
  // Clears the sample target where `bounds` reaches beyond what the sample covers so far,
  // first moving or growing the target when it does not cover them.
  void extend_sample(const PixelRect& bounds);
  // Makes the multisample target cover `area`, keeping what the sample has drawn so far.
  void place_sample_target(const PixelRect& area);
  void build_sample_table();
  void prefilter_environment(unsigned int cube, int width, int height);
  void release_resources();

  std::unique_ptr<GlContext> gl_;
  std::unique_ptr<ClEnvironment> cl_;
  std::unique_ptr<RenderTargetPool> targets_;
  std::unique_ptr<ProgramLibrary> programs_;
  std::unique_ptr<TextureLibrary> textures_;

  render_data output_;
  uint32_t sample_count_ = 0;
  render_properties camera_;

  int built_width_ = 0;
  int built_height_ = 0;
  uint32_t built_samples_ = 0;
  uint32_t accumulation_framebuffer_ = 0;
  uint32_t multisample_framebuffer_ = 0;
  uint32_t resolve_framebuffer_ = 0;
  RenderTexture multisample_color_;
  RenderTexture depth_;
  RenderTexture accumulation_texture_;
  RenderTexture resolve_texture_;
  // The frame's pixels the multisample target covers (its size is the allocated one).
  PixelRect sample_target_;
  // Where the current sample may hold something, and where the accumulation does.
  PixelRect sample_area_;
  PixelRect accumulated_area_;

  std::unique_ptr<FullScreenQuad> quad_;
  uint32_t copy_program_ = 0;
  uint32_t transform_matrices_buffer_ = 0;
  uint32_t lights_buffer_ = 0;
  std::unique_ptr<MaterialPrograms> material_programs_;
  uint32_t bump_to_normal_program_ = 0;
  uint32_t equirectangular_to_cube_program_ = 0;
  uint32_t prefilter_program_ = 0;
  uint32_t sample_table_ = 0;

  std::unique_ptr<PixelTransfer> transfer_;
};
