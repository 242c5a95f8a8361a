#include "renderer/renderer.h"

void Renderer::set_output(unsigned int sample_count, const render_data& output) {
  output_ = output;
  sample_count_ = sample_count;
}

void Renderer::set_render_properties(const render_properties& camera) {
  camera_ = camera;
  // Both packed blocks are uploaded to their uniform buffers from here once a context exists.
  transform_matrices_ = pack_transform_matrices(camera_);
}

void Renderer::set_lights(const std::vector<light_properties>& lights) {
  lights_ = pack_lights(lights);
}

void Renderer::clear_target() {}

void Renderer::draw_model(const model_ref&, const hxsdk::mat4&, const material_properties&) {}

void Renderer::accumulate_sample(float) {}

void Renderer::read_output(float) {}

void Renderer::delete_texture(unsigned int) {}

model_ref Renderer::upload_model(const void*, uint32_t, const uint32_t*, uint32_t) {
  return {};
}

unsigned int Renderer::upload_texture(const image_desc&) {
  return 0;
}

unsigned int Renderer::make_environment_cube(unsigned int) {
  return 0;
}

unsigned int Renderer::make_normal_map(unsigned int, int, int) {
  return 0;
}
