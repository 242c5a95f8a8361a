#include "renderer/render_client.h"

#include "renderer/sphere_mesh.h"

std::unique_ptr<RenderState> create_render_state() {
  auto state = std::make_unique<RenderState>();
  state->render_thread = std::make_unique<RendererThread>();
  state->sphere = load_sphere_mesh(*state->render_thread);
  return state;
}

void post_render_properties(RenderState& state, const render_properties& camera) {
  state.camera = camera;
  state.render_thread->run_on_renderer(
      [&](Renderer& renderer) { renderer.set_render_properties(state.camera); });
}

void post_lights(RenderState& state, const std::vector<light_properties>& lights) {
  state.scene.lights = lights;
  state.render_thread->run_on_renderer(
      [&](Renderer& renderer) { renderer.set_lights(state.scene.lights); });
}

void post_draw(RenderState& state, float weight) {
  const hxsdk::mat4 matrix =
      model_matrix(state.scene.position, state.scene.orientation, state.scene.radius);
  state.render_thread->run_on_renderer(
      [&](Renderer& renderer) { renderer.draw_model(state.sphere, matrix, state.scene.material); });
  state.render_thread->run_on_renderer(
      [&](Renderer& renderer) { renderer.accumulate_sample(weight); });
}

hxsdk::mat4 model_matrix(const hxsdk::vec4& position, const hxsdk::quaternion& orientation,
                         float radius) {
  hxsdk::mat4 matrix = hxsdk::scale_matrix(radius, radius, radius);
  hxsdk::multiply(matrix, hxsdk::rotation_matrix(orientation));
  hxsdk::multiply(matrix, hxsdk::translation_matrix(position));
  return matrix;
}
