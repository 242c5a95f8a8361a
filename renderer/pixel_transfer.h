#pragma once

#include <CL/cl.h>
#include <GL/glew.h>

#include <array>
#include <cstddef>
#include <memory>

#include "renderer/cl_gl_image.h"
#include "renderer/pixel_rect.h"
#include "scene/image_desc.h"
#include "scene/render_data.h"

class ClDevice;
class ProgramLibrary;
class TextureLibrary;

// Moves pixels between host buffers (alpha, red, green, blue; 8, 16 or 32 bits per channel;
// rows row_bytes apart) and GL textures with the "input" and "output" kernels. Render thread
// only, with the GL context current.
class PixelTransfer {
 public:
  // Builds the kernel source once per pixel depth. Throws shader_compile_exception.
  PixelTransfer(ProgramLibrary& programs, const ClDevice& device);
  ~PixelTransfer();
  PixelTransfer(const PixelTransfer&) = delete;
  PixelTransfer& operator=(const PixelTransfer&) = delete;

  // Lets go of the accumulation texture before its render targets are rebuilt.
  void release_output_image();
  // Points the output kernels at a (rebuilt) accumulation texture and, where the device
  // shares the GL context, a buffer of the output's size in bytes.
  void rebuild_output(GLuint accumulation_texture, const image_desc& output);
  // Converts the accumulation texture's pixels in `area` into output.data: straight colour
  // raised to gamma. Everything else of output.data, row padding included, becomes zero (what
  // the kernel makes of a transparent texel), so pixels the frame never reached cost no
  // transfer. Writes an "Output Render" timing line.
  void read_output(const image_desc& output, uint32_t bytes_per_channel, float gamma,
                   const PixelRect& area);
  // Bytes of the buffer the output kernels write (row bytes x height); 0 before the first
  // rebuild_output.
  size_t output_buffer_size() const { return output_buffer_size_; }
  // A mipmapped RGBA32F texture of the image's pixels; 0 when it has none.
  GLuint upload_texture(const image_desc& image, const TextureLibrary& textures);

 private:
  enum Direction { kInput = 0, kOutput = 1 };
  // Throws hx_exception for a depth other than 1, 2 or 4 bytes per channel.
  cl_kernel kernel(Direction direction, uint32_t bytes_per_channel) const;
  // Runs the output kernel over `area` and brings its pixels into output.data.
  void convert_area(const image_desc& output, cl_kernel output_kernel, size_t pixel_bytes,
                    const PixelRect& area);

  const ClDevice& device_;
  // [depth][direction], depth 0: 32 bits, 1: 16 bits, 2: 8 bits per channel.
  std::array<std::array<cl_kernel, 2>, 3> kernels_{};
  size_t output_buffer_size_ = 0;
  // Only where the device shares the GL context and has memory of its own; elsewhere the kernel
  // writes into the host's buffer itself.
  cl_mem output_buffer_ = nullptr;
  std::unique_ptr<ClGlImage> output_image_;
};
