#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "renderer/renderer_thread.h"
#include "scene/material_properties.h"
#include "scene/math3d.h"
#include "scene/model_ref.h"
#include "scene/render_properties.h"
#include "tests/gpu_shading_reference.h"

// Drives the real renderer (EGL context, OpenCL transfer, material program) through one
// frame the way the frame render command does, into a host-style buffer owned here.
namespace gpu_render {

// A camera in the host's orientation: world y points down the picture, the eye looks along
// `forward`, and buffer row 0 is the top of the picture. This is not a free choice: the
// target's front faces are the clockwise ones, and the mesh's outside faces come out
// clockwise only when the world-to-window mapping keeps its orientation, which the host's
// y-down, z-away world does. fov_y is the full vertical angle in degrees.
render_properties look_at_camera(hxsdk::vec4 eye, hxsdk::vec4 target, hxsdk::vec4 down,
                                 float fov_y_degrees, int width, int height);

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

// Every byte of a buffer is set to this before a frame: any pixel the output did not write
// keeps it (its alpha would read 165 in 8 bits, a tiny negative number in float).
inline constexpr std::byte kUnwrittenMarker{0xA5};

// The output buffer of one frame, rows row_bytes apart, ARGB pixels.
struct rendered_image {
  int width = 0;
  int height = 0;
  std::int32_t row_bytes = 0;
  int bytes_per_channel = 4;
  std::vector<std::byte> bytes;

  // Pixel (x, y) in the buffer's units (0-255, 0-32767 or float).
  shading_reference::argb pixel(int x, int y) const;
};

// One render thread with the sphere mesh uploaded: building it costs a GL context, an
// OpenCL device and the programs, so suites share one.
class SphereRenderer {
 public:
  // Starts the render thread (throws what building the renderer throws) and uploads the mesh.
  SphereRenderer();

  // One frame of one sample, drawn from scene, read out in format.
  rendered_image render(const shading_reference::sphere_scene& scene, const output_format& format);

  // One frame whose motion-blur samples are the given scenes (same size), accumulated with
  // weights 1, 1/2, 1/3, ... in that order.
  rendered_image render_samples(std::span<const shading_reference::sphere_scene> samples,
                                const output_format& format);

  // The render thread, for tests that make textures before they render.
  RendererThread& thread() { return *thread_; }

 private:
  std::unique_ptr<RendererThread> thread_;
  model_ref sphere_;
};

}  // namespace gpu_render
