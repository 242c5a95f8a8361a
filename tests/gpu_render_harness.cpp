#include "tests/gpu_render_harness.h"

#include <cmath>
#include <cstring>
#include <stdexcept>

#include "renderer/sphere_mesh.h"
#include "scene/render_data.h"

namespace gpu_render {

material_properties plain_material() {
  material_properties m;
  m.surface_mode = 2;
  m.flatten_bottom = 0;
  m.unlit = 0;
  m.diffuse_blend = 1.0f;
  m.edge_feather = 0.0f;
  m.edge_shrink = 0.0f;
  m.diffuse_gamma = 1.0f;
  m.glossiness_gamma = 1.0f;
  m.illumination_gamma = 1.0f;
  m.environment_gamma = 1.0f;
  m.diffuse_brightness = 1.0f;
  m.glossiness_brightness = 1.0f;
  m.illumination_brightness = 1.0f;
  m.environment_brightness = 1.0f;
  m.normal_amount = 1.0f;
  m.clip_lighting = 0.5f;
  m.normal_invert_green = 0;
  m.fresnel = 0.0f;
  m.fresnel_bias = 0.0f;
  m.shadow_light = 0.0f;
  m.shadow_light_contrast = 1.0f;
  m.shadow_light_expansion = 0.0f;
  m.bump_influence = 0.5f;
  m.model_color = {0.8f, 0.6f, 0.4f, 1.0f};
  m.illumination_color = {0.0f, 0.0f, 0.0f, 1.0f};
  m.reflectivity = 0.0f;
  m.ambient = 1.0f;
  m.diffuse = 0.9f;
  m.glossiness = 0.5f;
  m.specular = 0.3f;
  m.environment_orientation = {0.0f, 0.0f, 0.0f, 1.0f};
  m.uv_type = 1;
  m.uv_mode = 1;
  m.uv_repeat = {1.0f, 1.0f};
  m.uv_offset = {0.0f, 0.0f};
  m.uv_feathering = 0.5f;
  m.uv_rotation = 0.0f;
  return m;
}
namespace {

constexpr float kPi = 3.14159265f;
constexpr float kNear = 1.0f;
constexpr float kFar = 100000.0f;

hxsdk::vec4 subtract(hxsdk::vec4 a, hxsdk::vec4 b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z, 0.0f};
}
hxsdk::vec4 cross3(hxsdk::vec4 a, hxsdk::vec4 b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x, 0.0f};
}
float dot3(hxsdk::vec4 a, hxsdk::vec4 b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
hxsdk::vec4 unit(hxsdk::vec4 v) {
  const float length = std::sqrt(dot3(v, v));
  return {v.x / length, v.y / length, v.z / length, 0.0f};
}

// Rows right, down and -forward, so that view space looks down -z with y down the picture.
hxsdk::mat4 view_matrix(hxsdk::vec4 eye, hxsdk::vec4 target, hxsdk::vec4 down) {
  const hxsdk::vec4 forward = unit(subtract(target, eye));
  const hxsdk::vec4 right = unit(cross3(down, forward));
  const hxsdk::vec4 true_down = cross3(forward, right);
  const hxsdk::vec4 rows[3] = {right, true_down, {-forward.x, -forward.y, -forward.z, 0.0f}};
  hxsdk::mat4 m;
  for (int r = 0; r < 3; ++r) {
    m[r] = rows[r].x;
    m[4 + r] = rows[r].y;
    m[8 + r] = rows[r].z;
    m[12 + r] = -dot3(rows[r], eye);
  }
  m[15] = 1.0f;
  return m;
}

// The textbook symmetric frustum: clip y = f * y_view / -z_view, so with y down the picture
// the picture's top lands on window row 0.
hxsdk::mat4 perspective_matrix(float fov_y_degrees, float aspect) {
  const float f = 1.0f / std::tan(fov_y_degrees * kPi / 360.0f);
  hxsdk::mat4 m;
  m[0] = f / aspect;
  m[5] = f;
  m[10] = (kFar + kNear) / (kNear - kFar);
  m[11] = -1.0f;
  m[14] = 2.0f * kFar * kNear / (kNear - kFar);
  return m;
}

std::int32_t row_bytes_of(int width, const output_format& format) {
  return width * 4 * format.bytes_per_channel + format.row_padding;
}

}  // namespace

render_properties look_at_camera(hxsdk::vec4 eye, hxsdk::vec4 target, hxsdk::vec4 down,
                                 float fov_y_degrees, int width, int height) {
  render_properties camera;
  camera.view_size = {static_cast<float>(width), static_cast<float>(height)};
  camera.view_matrix = view_matrix(eye, target, down);
  camera.projection_matrix =
      perspective_matrix(fov_y_degrees, static_cast<float>(width) / static_cast<float>(height));
  camera.eye_position = {eye.x, eye.y, eye.z, 0.0f};
  return camera;
}

shading_reference::argb rendered_image::pixel(int x, int y) const {
  const std::byte* at = bytes.data() + static_cast<std::size_t>(y) * row_bytes +
                        static_cast<std::size_t>(x) * 4 * bytes_per_channel;
  double channels[4] = {};
  for (int c = 0; c < 4; ++c) {
    const std::byte* channel = at + c * bytes_per_channel;
    if (bytes_per_channel == 1) {
      channels[c] = static_cast<double>(std::to_integer<unsigned>(*channel));
    } else if (bytes_per_channel == 2) {
      std::uint16_t v = 0;
      std::memcpy(&v, channel, sizeof v);
      channels[c] = v;
    } else {
      float v = 0.0f;
      std::memcpy(&v, channel, sizeof v);
      channels[c] = v;
    }
  }
  return {channels[0], channels[1], channels[2], channels[3]};
}

SphereRenderer::SphereRenderer() : thread_(std::make_unique<RendererThread>()) {
  sphere_ = load_sphere_mesh(*thread_);
}

rendered_image SphereRenderer::render(const shading_reference::sphere_scene& scene,
                                      const output_format& format) {
  return render_samples(std::span(&scene, 1), format);
}

rendered_image SphereRenderer::render_samples(
    std::span<const shading_reference::sphere_scene> samples, const output_format& format) {
  if (samples.empty()) {
    throw std::invalid_argument("a frame needs at least one sample");
  }
  rendered_image image;
  image.width = samples[0].width;
  image.height = samples[0].height;
  image.bytes_per_channel = format.bytes_per_channel;
  image.row_bytes = row_bytes_of(image.width, format);
  image.bytes.assign(static_cast<std::size_t>(image.row_bytes) * image.height, kUnwrittenMarker);

  render_data output;
  output.output_image.row_bytes = image.row_bytes;
  output.output_image.bytes_per_channel = format.bytes_per_channel;
  output.output_image.width = image.width;
  output.output_image.height = image.height;
  output.output_image.data = image.bytes.data();
  output.inv_downsample_x = 1.0f;
  output.inv_downsample_y = 1.0f;
  output.render_width = image.width;
  output.render_height = image.height;
  output.inv_pixel_aspect = 1.0f;
  output.bytes_per_channel = format.bytes_per_channel;

  thread_->run_on_renderer([&](Renderer& r) { r.set_output(format.samples, output); });
  float counter = 1.0f;
  for (const shading_reference::sphere_scene& sample : samples) {
    // One job per operation, as the module's client side posts them.
    const float weight = 1.0f / counter;
    thread_->run_on_renderer([&](Renderer& r) { r.set_render_properties(sample.camera); });
    thread_->run_on_renderer([&](Renderer& r) { r.set_lights(sample.lights); });
    thread_->run_on_renderer([&](Renderer& r) { r.clear_target(); });
    thread_->run_on_renderer(
        [&](Renderer& r) { r.draw_model(sphere_, sample.model_matrix, sample.material); });
    thread_->run_on_renderer([&](Renderer& r) { r.accumulate_sample(weight); });
    counter += 1.0f;
  }
  thread_->run_on_renderer([&](Renderer& r) { r.read_output(format.gamma); });
  return image;
}

}  // namespace gpu_render
