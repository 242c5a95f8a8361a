#include "scene/render_state_client.h"

#include "renderer/render_client.h"

void RenderStateClient::set_output(unsigned int sample_count, const render_data& frame) {
  state_.render_thread->run_on_renderer(
      [&](Renderer& renderer) { renderer.set_output(sample_count, frame); });
}

void RenderStateClient::post_render_properties(const render_properties& camera) {
  ::post_render_properties(state_, camera);
}

void RenderStateClient::post_lights(const std::vector<light_properties>& lights) {
  ::post_lights(state_, lights);
}

void RenderStateClient::clear_target() {
  state_.render_thread->run_on_renderer([](Renderer& renderer) { renderer.clear_target(); });
}

void RenderStateClient::post_draw(float weight) {
  ::post_draw(state_, weight);
}

void RenderStateClient::read_output(float gamma) {
  state_.render_thread->run_on_renderer([&](Renderer& renderer) { renderer.read_output(gamma); });
}

void RenderStateClient::delete_texture(unsigned int texture) {
  state_.render_thread->run_on_renderer(
      [&](Renderer& renderer) { renderer.delete_texture(texture); });
}

unsigned int RenderStateClient::upload_texture(const image_desc& image) {
  unsigned int texture = 0;
  state_.render_thread->run_on_renderer(
      [&](Renderer& renderer) { texture = renderer.upload_texture(image); });
  return texture;
}

unsigned int RenderStateClient::make_normal_map(unsigned int bump_texture, int width, int height) {
  unsigned int texture = 0;
  state_.render_thread->run_on_renderer(
      [&](Renderer& renderer) { texture = renderer.make_normal_map(bump_texture, width, height); });
  return texture;
}

unsigned int RenderStateClient::make_environment_cube(unsigned int equirectangular_texture) {
  unsigned int texture = 0;
  state_.render_thread->run_on_renderer([&](Renderer& renderer) {
    texture = renderer.make_environment_cube(equirectangular_texture);
  });
  return texture;
}
