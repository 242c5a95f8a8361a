#include "renderer/renderer.h"

#include <GL/glew.h>

#include "platform/gl_context.h"
#include "renderer/cl_environment.h"
#include "renderer/full_screen_quad.h"
#include "renderer/material_programs.h"
#include "renderer/pixel_transfer.h"
#include "renderer/program_library.h"
#include "renderer/render_target_pool.h"
#include "renderer/texture_library.h"

namespace {

GLuint uniform_buffer(GLsizeiptr size) {
  GLuint buffer = 0;
  glGenBuffers(1, &buffer);
  glBindBuffer(GL_UNIFORM_BUFFER, buffer);
  glBufferData(GL_UNIFORM_BUFFER, size, nullptr, GL_DYNAMIC_DRAW);
  glBindBuffer(GL_UNIFORM_BUFFER, 0);
  return buffer;
}

void upload_uniform_block(GLuint buffer, const void* data, GLsizeiptr size) {
  glBindBuffer(GL_UNIFORM_BUFFER, buffer);
  glBufferSubData(GL_UNIFORM_BUFFER, 0, size, data);
  glBindBuffer(GL_UNIFORM_BUFFER, 0);
}

}  // namespace

Renderer::Renderer(const renderer_sources& sources) {
  gl_ = std::make_unique<GlContext>();
  cl_ = std::make_unique<ClEnvironment>(*gl_);
  targets_ = std::make_unique<RenderTargetPool>();
  programs_ = std::make_unique<ProgramLibrary>();
  textures_ = std::make_unique<TextureLibrary>();

  quad_ = std::make_unique<FullScreenQuad>();
  copy_program_ = build_program(*programs_, sources.quad_vertex, sources.copy_fragment, {});
  glUseProgram(copy_program_);
  set_sampler_unit(copy_program_, "textureSampler", 0);
  transform_matrices_buffer_ = uniform_buffer(sizeof(TransformMatricesBlock));
  lights_buffer_ = uniform_buffer(sizeof(LightsBlock));

  bump_to_normal_program_ =
      build_program(*programs_, sources.quad_vertex, sources.bump_to_normal_fragment, {});
  glUseProgram(bump_to_normal_program_);
  set_sampler_unit(bump_to_normal_program_, "textureSampler", 0);
  equirectangular_to_cube_program_ =
      build_program(*programs_, sources.quad_vertex, sources.equirectangular_to_cube_fragment, {});
  glUseProgram(equirectangular_to_cube_program_);
  set_sampler_unit(equirectangular_to_cube_program_, "textureSampler", 0);
  prefilter_program_ =
      build_program(*programs_, sources.quad_vertex, sources.prefilter_fragment, {});
  glUseProgram(prefilter_program_);
  set_sampler_unit(prefilter_program_, "textureSampler", 0);
  set_sampler_unit(prefilter_program_, "samplesSampler", 1);

  material_programs_ = std::make_unique<MaterialPrograms>(*programs_, sources.material_vertex,
                                                          sources.material_fragment);
  build_sample_table();

  glDepthMask(GL_FALSE);
  glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
  // Shading every sample separately keeps thin highlights and the soft edge sharp in
  // multisampled targets instead of smearing one shaded value over a pixel.
  if (GLEW_ARB_sample_shading) {
    glEnable(GL_SAMPLE_SHADING_ARB);
    glMinSampleShadingARB(1.0f);
  }

  transfer_ = std::make_unique<PixelTransfer>(*programs_, cl_->current());
}

Renderer::~Renderer() {
  release_resources();
}

void Renderer::release_resources() {
  transfer_.reset();
  glDeleteTextures(1, &sample_table_);
  glDeleteBuffers(1, &transform_matrices_buffer_);
  glDeleteBuffers(1, &lights_buffer_);
  quad_.reset();
}

void Renderer::set_render_properties(const render_properties& camera) {
  camera_ = camera;
  const TransformMatricesBlock block = pack_transform_matrices(camera_);
  upload_uniform_block(transform_matrices_buffer_, block.data(), sizeof(block));
}

void Renderer::set_lights(const std::vector<light_properties>& lights) {
  const LightsBlock block = pack_lights(lights);
  upload_uniform_block(lights_buffer_, block.data(), sizeof(block));
}

void Renderer::clear_target() {
  // The draws bind the sample target and set its viewport: where it lies is theirs to choose.
  sample_area_ = {};
  glFrontFace(GL_CW);
  glDisable(GL_BLEND);
  glDisable(GL_DEPTH_TEST);
  glBindBufferBase(GL_UNIFORM_BUFFER, kTransformMatricesBinding, transform_matrices_buffer_);
  glBindBufferBase(GL_UNIFORM_BUFFER, kLightsBinding, lights_buffer_);
}

void Renderer::delete_texture(unsigned int texture) {
  glDeleteTextures(1, &texture);
}

model_ref Renderer::upload_model(const void* vertices, uint32_t vertex_count,
                                 const uint32_t* indices, uint32_t index_count) {
  constexpr GLsizei kStride = 64;
  model_ref model;
  model.index_count = index_count;
  glGenVertexArrays(1, &model.vertex_array);
  glBindVertexArray(model.vertex_array);
  glGenBuffers(1, &model.vertex_buffer);
  glBindBuffer(GL_ARRAY_BUFFER, model.vertex_buffer);
  glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertex_count) * kStride, vertices,
               GL_STATIC_DRAW);
  // position, texture coordinates, normal, tangent with handedness
  const struct {
    GLint components;
    uintptr_t offset;
  } attributes[] = {{3, 0}, {2, 16}, {3, 32}, {4, 48}};
  for (GLuint location = 0; location < 4; ++location) {
    glVertexAttribPointer(location, attributes[location].components, GL_FLOAT, GL_FALSE, kStride,
                          reinterpret_cast<const void*>(attributes[location].offset));
    glEnableVertexAttribArray(location);
  }
  glGenBuffers(1, &model.index_buffer);
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, model.index_buffer);
  glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(index_count) * 4, indices,
               GL_STATIC_DRAW);
  glBindVertexArray(0);
  glBindBuffer(GL_ARRAY_BUFFER, 0);
  return model;
}

unsigned int Renderer::upload_texture(const image_desc& image) {
  return transfer_->upload_texture(image, *textures_);
}
