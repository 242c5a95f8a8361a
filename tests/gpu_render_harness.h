#pragma once

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "renderer/render_client.h"
#include "renderer/renderer_thread.h"
#include "scene/model_ref.h"
#include "scene/render_data.h"
#include "tests/gpu_shading_reference.h"

// Drives the real renderer (EGL context, OpenCL transfer, material program) through frames
// the way the frame render command does, into host-style buffers owned here; float map
// textures made through the renderer's own upload path, and read back.
namespace gpu_render {

// A camera in the host's orientation: world y points down the picture, the eye looks along
// `forward`, and buffer row 0 is the top of the picture. This is not a free choice: the
// target's front faces are the clockwise ones, and the mesh's outside faces come out
// clockwise only when the world-to-window mapping keeps its orientation, which the host's
// y-down, z-away world does. fov_y is the full vertical angle in degrees.
render_properties look_at_camera(hxsdk::vec4 eye, hxsdk::vec4 target, float fov_y_degrees,
                                 int width, int height);

// Every field the shading reads, set explicitly: a lit, moderately glossy orange surface
// with no maps, no reflection and no self-illumination.
material_properties plain_material();

// How the host buffer of a frame looks.
struct output_format {
  unsigned int samples = 0;            // GPU multisampling; 0 = none
  std::uint8_t bytes_per_channel = 4;  // 1, 2 or 4
  std::int32_t row_padding = 0;        // bytes after each row's pixels
  float gamma = 1.0f;                  // exponent applied to straight colour on output
};

// The output buffer of one frame, rows row_bytes apart, ARGB pixels. Every byte starts as
// 0xA5: a pixel the output did not write keeps it (alpha 165 in 8 bits, a tiny negative
// number in float).
struct rendered_image {
  rendered_image(int width, int height, const output_format& format);
  int width;
  int height;
  int bytes_per_channel;
  std::int32_t row_bytes;
  std::vector<std::byte> bytes;

  // Pixel (x, y) in the buffer's units (0-255, 0-32767 or float).
  shading_reference::argb pixel(int x, int y) const;
  // The frame description that points the renderer's output at this buffer.
  render_data output();
};

// One render thread with the sphere mesh uploaded.
class SphereRenderer {
 public:
  // Starts the render thread (throws what building the renderer throws) and uploads the mesh.
  SphereRenderer();

  // One frame whose motion-blur samples are the given scenes (same size), accumulated with
  // weights 1, 1/2, 1/3, ... in that order.
  rendered_image render(std::span<const shading_reference::sphere_scene> samples,
                        const output_format& format = {});
  rendered_image render(const shading_reference::sphere_scene& scene,
                        const output_format& format = {}) {
    return render(std::span(&scene, 1), format);
  }

  // Runs `job` on the render thread, where the renderer's context is current.
  void run(const std::function<void(Renderer&)>& job) { thread_->run_on_renderer(job); }

 private:
  std::unique_ptr<RendererThread> thread_;
  model_ref sphere_;
};

// A suite sharing one SphereRenderer: building it costs a GL context, an OpenCL device and
// the programs.
class GpuRendererSuite : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite() { renderer_.reset(); }
  void SetUp() override { ASSERT_TRUE(renderer_) << "no renderer: " << failure_; }
  static SphereRenderer& renderer() { return *renderer_; }
  static std::unique_ptr<SphereRenderer> renderer_;
  static std::string failure_;
};

using rgba = std::array<float, 4>;

// On the render thread: uploads a width x height float image whose texel (x, y) (row 0
// first) is texel(x, y) and returns the renderer's texture.
GLuint upload(Renderer& renderer, int width, int height,
              const std::function<rgba(int x, int y)>& texel);

// On the render thread: level `level` of a 2D texture, or of one face of a cube map (face 0
// to 5 in GL's order), as RGBA floats, rows from t = 0.
std::vector<rgba> read_level(GLenum target, GLuint texture, int level);

}  // namespace gpu_render
