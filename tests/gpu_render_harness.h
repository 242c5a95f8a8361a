#pragma once

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "renderer/render_client.h"
#include "renderer/renderer_thread.h"
#include "renderer/sphere_mesh.h"
#include "scene/render_data.h"
#include "tests/gpu_shading_reference.h"

// Drives the real renderer through frames as the frame render command does, into host-style
// buffers owned here.
namespace gpu_render {

namespace ref = shading_reference;

// Every field the shading reads set explicitly, the rest 0: a lit, moderately glossy orange
// surface with no maps, no reflection and no self-illumination.
inline material_properties plain_material() {
  material_properties m;
  m.surface_mode = 2;
  m.diffuse_blend = m.diffuse_gamma = m.glossiness_gamma = m.illumination_gamma = 1.0f;
  m.environment_gamma = m.diffuse_brightness = m.glossiness_brightness = 1.0f;
  m.illumination_brightness = m.environment_brightness = m.normal_amount = m.ambient = 1.0f;
  m.shadow_light_contrast = 1.0f;
  m.clip_lighting = m.bump_influence = m.glossiness = m.uv_feathering = 0.5f;
  m.model_color = {0.8f, 0.6f, 0.4f, 1.0f};
  m.illumination_color = {0.0f, 0.0f, 0.0f, 1.0f};
  m.diffuse = 0.9f;
  m.specular = 0.3f;
  m.uv_type = m.uv_mode = 1;
  m.uv_repeat = {1.0f, 1.0f};
  return m;
}

// A camera in the host's orientation, y down and buffer row 0 at the top, so that the mesh's
// outside faces come out clockwise; the textbook frustum (near 1, far 100000, fov_y in degrees).
inline render_properties look_at_camera(hxsdk::vec4 eye, hxsdk::vec4 target, float fov_y, int width,
                                        int height) {
  const ref::vec3 e = ref::to_vec3(eye);
  const ref::vec3 forward = normalize(ref::to_vec3(target) - e);
  const ref::vec3 right = normalize(ref::vec3{forward.z, 0.0, -forward.x});  // down x forward
  const ref::vec3 rows[3] = {right, cross(forward, right), forward * -1.0};
  render_properties camera;
  camera.view_size = {static_cast<float>(width), static_cast<float>(height)};
  for (int i = 0; i < 12; ++i) {  // column i / 3, row i % 3
    const ref::vec3& row = rows[i % 3];
    const double column[4] = {row.x, row.y, row.z, -dot(row, e)};
    camera.view_matrix[4 * (i / 3) + i % 3] = float(column[i / 3]);
  }
  camera.view_matrix[15] = 1.0f;
  const float f = 1.0f / std::tan(fov_y * 3.14159265f / 360.0f);
  camera.projection_matrix[0] = f * static_cast<float>(height) / static_cast<float>(width);
  camera.projection_matrix[5] = f;
  camera.projection_matrix[10] = (100000.0f + 1.0f) / (1.0f - 100000.0f);
  camera.projection_matrix[11] = -1.0f;
  camera.projection_matrix[14] = 2.0f * 100000.0f / (1.0f - 100000.0f);
  camera.eye_position = {eye.x, eye.y, eye.z, 0.0f};
  return camera;
}

// How the host buffer of a frame looks.
struct output_format {
  unsigned int samples = 0;            // GPU multisampling; 0 = none
  std::uint8_t bytes_per_channel = 4;  // 1, 2 or 4
  std::int32_t row_padding = 0;        // bytes after each row's pixels
  float gamma = 1.0f;                  // exponent applied to straight colour on output
};

// The output buffer of one frame, ARGB pixels, every byte 0xA5 until written.
struct rendered_image {
  rendered_image(int w, int h, const output_format& format)
      : width(w),
        height(h),
        bytes_per_channel(format.bytes_per_channel),
        row_bytes(w * 4 * format.bytes_per_channel + format.row_padding),
        bytes(static_cast<std::size_t>(row_bytes) * h, std::byte{0xA5}) {}
  int width, height, bytes_per_channel;
  std::int32_t row_bytes;
  std::vector<std::byte> bytes;

  // Pixel (x, y) in the buffer's units (0-255, 0-32767 or float).
  ref::argb pixel(int x, int y) const {
    const auto channel = [&](int i) -> double {
      const std::byte* at = &bytes[y * row_bytes + (4 * x + i) * bytes_per_channel];
      std::uint16_t word = 0;
      float value = 0.0f;
      std::memcpy(bytes_per_channel == 2 ? static_cast<void*>(&word) : &value, at,
                  bytes_per_channel);
      return bytes_per_channel == 1   ? std::to_integer<int>(*at)
             : bytes_per_channel == 2 ? word
                                      : value;
    };
    return {channel(0), channel(1), channel(2), channel(3)};
  }

  // The frame description that points the renderer's output at this buffer.
  render_data output() {
    render_data output;
    output.output_image = {row_bytes, static_cast<std::uint32_t>(bytes_per_channel), width, height,
                           bytes.data()};
    output.inv_downsample_x = output.inv_downsample_y = output.inv_pixel_aspect = 1.0f;
    output.render_width = width;
    output.render_height = height;
    output.bytes_per_channel = static_cast<std::uint8_t>(bytes_per_channel);
    return output;
  }
};

// A suite sharing one render thread (GL context, OpenCL device, programs) and the mesh.
class GpuRendererSuite : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    try {
      thread_ = std::make_unique<RendererThread>();
      sphere_ = load_sphere_mesh(*thread_);
    } catch (const std::exception& e) {
      thread_.reset();
      failure_ = e.what();
    }
  }
  static void TearDownTestSuite() { thread_.reset(); }
  void SetUp() override { ASSERT_TRUE(thread_) << "no renderer: " << failure_; }

  // Runs `job` on the render thread, where the renderer's context is current.
  static void run(const std::function<void(Renderer&)>& job) { thread_->run_on_renderer(job); }

  // One frame of `scene`, one job per operation as the module's client side posts them.
  static rendered_image render(const ref::sphere_scene& s, const output_format& format = {}) {
    rendered_image image(s.width, s.height, format);
    run([&](Renderer& r) { r.set_output(format.samples, image.output()); });
    run([&](Renderer& r) { r.set_render_properties(s.camera); });
    run([&](Renderer& r) { r.set_lights(s.lights); });
    run([&](Renderer& r) { r.clear_target(); });
    run([&](Renderer& r) { r.draw_model(sphere_, s.model_matrix, s.material); });
    run([&](Renderer& r) { r.accumulate_sample(1.0f); });
    run([&](Renderer& r) { r.read_output(format.gamma); });
    return image;
  }

  static inline std::unique_ptr<RendererThread> thread_;
  static inline model_ref sphere_;
  static inline std::string failure_;
};

using rgba = std::array<float, 4>;

// The differences a test found: how many, and what the first five were.
struct mismatches {
  int count = 0;
  std::ostringstream first;
  template <typename... What>
  void add(const What&... what) {
    if (++count <= 5) {
      ((first << "\n  ") << ... << what);
    }
  }
};

// On the render thread: the renderer's texture of a float image of texel(x, y), row 0 first.
inline GLuint upload(Renderer& renderer, int width, int height,
                     const std::function<rgba(int x, int y)>& texel) {
  std::vector<float> argb;
  for (int i = 0; i < width * height; ++i) {
    const rgba c = texel(i % width, i / width);
    argb.insert(argb.end(), {c[3], c[0], c[1], c[2]});
  }
  return renderer.upload_texture({width * 16, 4, width, height, argb.data()});
}

// On the render thread: a level of a 2D texture or of one cube face, as RGBA floats.
inline std::vector<rgba> read_level(GLenum target, GLuint texture, int level) {
  const GLenum binding = target == GL_TEXTURE_2D ? GL_TEXTURE_2D : GL_TEXTURE_CUBE_MAP;
  glBindTexture(binding, texture);
  GLint width = 0, height = 0;
  glGetTexLevelParameteriv(target, level, GL_TEXTURE_WIDTH, &width);
  glGetTexLevelParameteriv(target, level, GL_TEXTURE_HEIGHT, &height);
  std::vector<rgba> texels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  glGetTexImage(target, level, GL_RGBA, GL_FLOAT, texels.data());
  glBindTexture(binding, 0);
  return texels;
}

// On the render thread: how many names are textures or framebuffers (once bound).
inline int live_gl_objects() {
  int count = 0;
  for (GLuint name = 1; name < 4096; ++name) {
    count += (glIsTexture(name) == GL_TRUE) + (glIsFramebuffer(name) == GL_TRUE);
  }
  return count;
}

// On the render thread: the internal format (+X face of a cube), `parameters` and the width of
// each level up to `last_level`.
inline std::vector<GLint> texture_state(GLenum binding, GLuint name,
                                        std::initializer_list<GLenum> parameters, int last_level) {
  const GLenum image = binding == GL_TEXTURE_2D ? binding : GL_TEXTURE_CUBE_MAP_POSITIVE_X;
  std::vector<GLint> state(1);
  glBindTexture(binding, name);
  glGetTexLevelParameteriv(image, 0, GL_TEXTURE_INTERNAL_FORMAT, &state[0]);
  for (const GLenum parameter : parameters) {
    glGetTexParameteriv(binding, parameter, &state.emplace_back());
  }
  for (int level = 0; level <= last_level; ++level) {
    glGetTexLevelParameteriv(image, level, GL_TEXTURE_WIDTH, &state.emplace_back());
  }
  glBindTexture(binding, 0);
  return state;
}

}  // namespace gpu_render
