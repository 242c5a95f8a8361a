#include "tests/gpu_render_harness.h"

#include <cmath>
#include <cstring>
#include <exception>

#include "renderer/sphere_mesh.h"
#include "scene/image_desc.h"

namespace gpu_render {

material_properties plain_material() {
  material_properties m;
  m.surface_mode = 2;
  m.flatten_bottom = 0;
  m.unlit = 0;
  m.diffuse_blend = 1.0f;
  m.edge_feather = m.edge_shrink = 0.0f;
  m.diffuse_gamma = m.glossiness_gamma = m.illumination_gamma = m.environment_gamma = 1.0f;
  m.diffuse_brightness = m.glossiness_brightness = 1.0f;
  m.illumination_brightness = m.environment_brightness = 1.0f;
  m.normal_amount = 1.0f;
  m.clip_lighting = 0.5f;
  m.normal_invert_green = 0;
  m.fresnel = m.fresnel_bias = 0.0f;
  m.shadow_light = m.shadow_light_expansion = 0.0f;
  m.shadow_light_contrast = 1.0f;
  m.bump_influence = 0.5f;
  m.model_color = {0.8f, 0.6f, 0.4f, 1.0f};
  m.illumination_color = {0.0f, 0.0f, 0.0f, 1.0f};
  m.reflectivity = 0.0f;
  m.ambient = 1.0f;
  m.diffuse = 0.9f;
  m.glossiness = 0.5f;
  m.specular = 0.3f;
  m.environment_orientation = {0.0f, 0.0f, 0.0f, 1.0f};
  m.uv_type = m.uv_mode = 1;
  m.uv_repeat = {1.0f, 1.0f};
  m.uv_offset = {0.0f, 0.0f};
  m.uv_feathering = 0.5f;
  m.uv_rotation = 0.0f;
  return m;
}

render_properties look_at_camera(hxsdk::vec4 eye, hxsdk::vec4 target, float fov_y_degrees,
                                 int width, int height) {
  namespace ref = shading_reference;
  // View rows right, down and -forward, so that view space looks down -z with y down the
  // picture.
  const ref::vec3 e = ref::to_vec3(eye);
  const ref::vec3 forward = normalize(ref::to_vec3(target) - e);
  const ref::vec3 right = normalize(ref::vec3{forward.z, 0.0, -forward.x});  // world down x forward
  const ref::vec3 down = {forward.y * right.z - forward.z * right.y,
                          forward.z * right.x - forward.x * right.z,
                          forward.x * right.y - forward.y * right.x};
  const ref::vec3 rows[3] = {right, down, forward * -1.0};
  render_properties camera;
  camera.view_size = {static_cast<float>(width), static_cast<float>(height)};
  for (int r = 0; r < 3; ++r) {
    camera.view_matrix[r] = static_cast<float>(rows[r].x);
    camera.view_matrix[4 + r] = static_cast<float>(rows[r].y);
    camera.view_matrix[8 + r] = static_cast<float>(rows[r].z);
    camera.view_matrix[12 + r] = static_cast<float>(-dot(rows[r], e));
  }
  camera.view_matrix[15] = 1.0f;
  // The textbook symmetric frustum (near 1, far 100000): clip y = f * y_view / -z_view, so
  // with y down the picture the picture's top lands on window row 0.
  constexpr float kNear = 1.0f;
  constexpr float kFar = 100000.0f;
  const float f = 1.0f / std::tan(fov_y_degrees * 3.14159265f / 360.0f);
  camera.projection_matrix[0] = f * static_cast<float>(height) / static_cast<float>(width);
  camera.projection_matrix[5] = f;
  camera.projection_matrix[10] = (kFar + kNear) / (kNear - kFar);
  camera.projection_matrix[11] = -1.0f;
  camera.projection_matrix[14] = 2.0f * kFar * kNear / (kNear - kFar);
  camera.eye_position = {eye.x, eye.y, eye.z, 0.0f};
  return camera;
}

rendered_image::rendered_image(int w, int h, const output_format& format)
    : width(w),
      height(h),
      bytes_per_channel(format.bytes_per_channel),
      row_bytes(w * 4 * format.bytes_per_channel + format.row_padding),
      bytes(static_cast<std::size_t>(row_bytes) * h, std::byte{0xA5}) {}

shading_reference::argb rendered_image::pixel(int x, int y) const {
  const std::byte* at = bytes.data() + static_cast<std::size_t>(y) * row_bytes +
                        static_cast<std::size_t>(x) * 4 * bytes_per_channel;
  double channels[4] = {};
  for (int c = 0; c < 4; ++c) {
    const std::byte* channel = at + c * bytes_per_channel;
    if (bytes_per_channel == 1) {
      channels[c] = std::to_integer<unsigned>(*channel);
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

render_data rendered_image::output() {
  render_data output;
  output.output_image = {row_bytes, static_cast<std::uint32_t>(bytes_per_channel), width, height,
                         bytes.data()};
  output.inv_downsample_x = output.inv_downsample_y = 1.0f;
  output.render_width = width;
  output.render_height = height;
  output.inv_pixel_aspect = 1.0f;
  output.bytes_per_channel = static_cast<std::uint8_t>(bytes_per_channel);
  return output;
}

SphereRenderer::SphereRenderer() : thread_(std::make_unique<RendererThread>()) {
  sphere_ = load_sphere_mesh(*thread_);
}

rendered_image SphereRenderer::render(std::span<const shading_reference::sphere_scene> samples,
                                      const output_format& format) {
  rendered_image image(samples[0].width, samples[0].height, format);
  run([&](Renderer& r) { r.set_output(format.samples, image.output()); });
  float counter = 1.0f;
  for (const shading_reference::sphere_scene& sample : samples) {
    // One job per operation, as the module's client side posts them.
    run([&](Renderer& r) { r.set_render_properties(sample.camera); });
    run([&](Renderer& r) { r.set_lights(sample.lights); });
    run([&](Renderer& r) { r.clear_target(); });
    run([&](Renderer& r) { r.draw_model(sphere_, sample.model_matrix, sample.material); });
    run([&](Renderer& r) { r.accumulate_sample(1.0f / counter); });
    counter += 1.0f;
  }
  run([&](Renderer& r) { r.read_output(format.gamma); });
  return image;
}

std::unique_ptr<SphereRenderer> GpuRendererSuite::renderer_;
std::string GpuRendererSuite::failure_;

void GpuRendererSuite::SetUpTestSuite() {
  try {
    renderer_ = std::make_unique<SphereRenderer>();
  } catch (const std::exception& e) {
    failure_ = e.what();
  }
}

GLuint upload(Renderer& renderer, int width, int height,
              const std::function<rgba(int x, int y)>& texel) {
  std::vector<float> argb;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const rgba c = texel(x, y);
      argb.insert(argb.end(), {c[3], c[0], c[1], c[2]});
    }
  }
  return renderer.upload_texture({width * 16, 4, width, height, argb.data()});
}

std::vector<rgba> read_level(GLenum target, GLuint texture, int level) {
  const GLenum binding = target == GL_TEXTURE_2D ? GL_TEXTURE_2D : GL_TEXTURE_CUBE_MAP;
  glBindTexture(binding, texture);
  GLint width = 0;
  GLint height = 0;
  glGetTexLevelParameteriv(target, level, GL_TEXTURE_WIDTH, &width);
  glGetTexLevelParameteriv(target, level, GL_TEXTURE_HEIGHT, &height);
  std::vector<rgba> texels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  glGetTexImage(target, level, GL_RGBA, GL_FLOAT, texels.data());
  glBindTexture(binding, 0);
  return texels;
}

}  // namespace gpu_render
