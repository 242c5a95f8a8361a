// The pixel-transfer kernels as the renderer builds them, run on the real OpenCL device: what
// the output kernel writes for chosen texels, and what the input kernel makes of host pixels
// on their way into a texture.
#include <GL/glew.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "platform/gl_context.h"
#include "renderer/cl_environment.h"
#include "renderer/program_library.h"
#include "renderer/renderer_thread.h"

namespace {

using Texel = std::array<float, 4>;  // r, g, b, a as the accumulation texture holds them

// The output kernel of one pixel depth, built as the renderer builds it, applied to a row of
// texels; returns the buffer row it wrote (alpha, red, green, blue per pixel).
class OutputKernel {
 public:
  explicit OutputKernel(int bits)
      : environment_(gl_),
        program_(build_cl_program(library_, environment_.current(),
                                  {"OUTPUT_BPC " + std::to_string(bits)},
                                  shader_sources::pixel_transfer_cl)),
        kernel_(create_kernel(library_, program_, "output")),
        bytes_per_channel_(bits / 8) {}

  std::vector<std::byte> run(const std::vector<Texel>& texels, float gamma) {
    const ClDevice& device = environment_.current();
    const cl_image_format format{CL_RGBA, CL_FLOAT};
    cl_image_desc description{};
    description.image_type = CL_MEM_OBJECT_IMAGE2D;
    description.image_width = texels.size();
    description.image_height = 1;
    cl_int error = CL_SUCCESS;
    cl_mem image = clCreateImage(device.context(), CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, &format,
                                 &description, const_cast<Texel*>(texels.data()), &error);
    EXPECT_EQ(error, CL_SUCCESS);
    const cl_uint row_bytes = static_cast<cl_uint>(texels.size() * 4 * bytes_per_channel_);
    cl_mem buffer = clCreateBuffer(device.context(), CL_MEM_READ_WRITE, row_bytes, nullptr, &error);
    clSetKernelArg(kernel_, 0, sizeof(image), &image);
    clSetKernelArg(kernel_, 1, sizeof(buffer), &buffer);
    clSetKernelArg(kernel_, 2, sizeof(row_bytes), &row_bytes);
    clSetKernelArg(kernel_, 3, sizeof(gamma), &gamma);
    const size_t size[2] = {texels.size(), 1};
    EXPECT_EQ(clEnqueueNDRangeKernel(device.queue(), kernel_, 2, nullptr, size, nullptr, 0, nullptr,
                                     nullptr),
              CL_SUCCESS);
    std::vector<std::byte> row(row_bytes);
    clEnqueueReadBuffer(device.queue(), buffer, CL_TRUE, 0, row_bytes, row.data(), 0, nullptr,
                        nullptr);
    clReleaseMemObject(buffer);
    clReleaseMemObject(image);
    return row;
  }

 private:
  GlContext gl_;
  ClEnvironment environment_;
  ProgramLibrary library_;
  cl_program program_;
  cl_kernel kernel_;
  int bytes_per_channel_;
};

template <typename Channel>
std::vector<double> channels_of(const std::vector<std::byte>& row) {
  std::vector<double> values(row.size() / sizeof(Channel));
  for (size_t i = 0; i < values.size(); ++i) {
    Channel value;
    std::memcpy(&value, row.data() + i * sizeof(Channel), sizeof(Channel));
    values[i] = static_cast<double>(value);
  }
  return values;
}

TEST(GpuPixelTransfer, OutputKernelUnpremultipliesClampsAlphaAndAppliesGamma) {
  // Premultiplied texels in, straight alpha-first pixels out. Expectations by hand: 8 bits
  // truncate v * 255, 16 bits truncate v * 65535 and halve, so 1.0 gives 32767.
  const std::vector<Texel> texels = {
      {1.0f, 1.0f, 1.0f, 1.0f},     // opaque white
      {0.25f, 0.5f, 0.1f, 0.5f},    // half alpha: colour doubles to (0.5, 1.0, 0.2)
      {0.36f, 0.04f, 0.0f, 0.0f},   // alpha 0: no division, colour still raised to gamma
      {0.5f, 0.25f, 0.75f, 2.0f}};  // alpha above 1 is clamped before the division
  struct Case {
    int bits;
    float gamma;
    std::vector<double> expected;
  };
  const Case cases[] = {
      {8, 1.0f, {255, 255, 255, 255, 127, 127, 255, 51, 0, 91, 10, 0, 255, 127, 63, 191}},
      {16,
       1.0f,
       {32767, 32767, 32767, 32767, 16383, 16383, 32767, 6553, 0, 11796, 1310, 0, 32767, 16383,
        8191, 24575}},
      {32, 1.0f, {1, 1, 1, 1, 0.5, 0.5, 1.0, 0.2, 0, 0.36, 0.04, 0, 1, 0.5, 0.25, 0.75}},
      // Gamma 0.5 takes square roots of the straight colour, never of alpha.
      {32,
       0.5f,
       {1, 1, 1, 1, 0.5, std::sqrt(0.5), 1.0, std::sqrt(0.2), 0, 0.6, 0.2, 0, 1, std::sqrt(0.5),
        0.5, std::sqrt(0.75)}},
  };
  for (const Case& c : cases) {
    OutputKernel kernel(c.bits);
    const std::vector<std::byte> row = kernel.run(texels, c.gamma);
    const std::vector<double> got = c.bits == 8    ? channels_of<uint8_t>(row)
                                    : c.bits == 16 ? channels_of<uint16_t>(row)
                                                   : channels_of<float>(row);
    ASSERT_EQ(got.size(), c.expected.size());
    for (size_t i = 0; i < got.size(); ++i) {
      // Relaxed maths may leave a division or pow a few units in the last place off, which
      // can move a truncated integer by one.
      const double tolerance = c.bits == 32 ? 1e-5 : 1.0;
      EXPECT_NEAR(got[i], c.expected[i], tolerance)
          << c.bits << " bits, gamma " << c.gamma << ", channel " << i;
    }
  }
}

// Host pixels of one depth with row padding, uploaded through the renderer; returns level 0 of
// the texture it made, and checks that the texture is mipmapped.
std::vector<float> uploaded_texels(RendererThread& thread, const std::vector<std::byte>& pixels,
                                   int width, int height, int row_bytes, uint32_t depth) {
  image_desc image;
  image.width = width;
  image.height = height;
  image.row_bytes = row_bytes;
  image.bytes_per_channel = depth;
  image.data = const_cast<std::byte*>(pixels.data());
  std::vector<float> texels(static_cast<size_t>(width * height * 4));
  GLint min_filter = 0;
  GLint level_one_width = 0;
  thread.run_on_renderer([&](Renderer& renderer) {
    const GLuint texture = renderer.upload_texture(image);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, texels.data());
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &min_filter);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH, &level_one_width);
    glBindTexture(GL_TEXTURE_2D, 0);
    renderer.delete_texture(texture);
  });
  EXPECT_EQ(min_filter, GL_LINEAR_MIPMAP_LINEAR);
  EXPECT_EQ(level_one_width, width / 2);
  return texels;
}

template <typename Channel>
std::vector<std::byte> padded_pixels(const std::vector<Channel>& argb, int width, int height,
                                     int row_bytes) {
  std::vector<std::byte> pixels(static_cast<size_t>(row_bytes * height), std::byte{0x5a});
  for (int y = 0; y < height; ++y) {
    std::memcpy(pixels.data() + y * row_bytes, argb.data() + y * width * 4,
                static_cast<size_t>(width) * 4 * sizeof(Channel));
  }
  return pixels;
}

TEST(GpuPixelTransfer, InputKernelTurnsHostPixelsOfEveryDepthIntoRgbaFloats) {
  RendererThread thread;
  constexpr int kWidth = 2;
  constexpr int kHeight = 2;
  // alpha, red, green, blue per pixel, two rows; rows padded with a marker that must not leak.
  const std::vector<uint8_t> eight = {255, 0, 51, 255, 0,   255, 0,   0,
                                      102, 1, 2,  3,   255, 255, 255, 255};
  const std::vector<uint16_t> sixteen = {32767, 0, 16384, 32767, 32768, 32767, 0,     0,
                                         100,   1, 2,     3,     32767, 32767, 32767, 32767};
  const std::vector<float> floats = {1.0f, 0.25f, 0.5f, 0.75f, 0.0f, 2.0f, -1.0f, 0.5f,
                                     0.5f, 0.1f,  0.2f, 0.3f,  1.0f, 1.0f, 1.0f,  1.0f};
  const auto as_rgba = [](const std::vector<double>& argb, double scale) {
    std::vector<double> rgba;
    for (size_t i = 0; i < argb.size(); i += 4) {
      rgba.insert(rgba.end(),
                  {argb[i + 1] / scale, argb[i + 2] / scale, argb[i + 3] / scale, argb[i] / scale});
    }
    return rgba;
  };
  struct Case {
    const char* name;
    std::vector<std::byte> pixels;
    int row_bytes;
    uint32_t depth;
    std::vector<double> expected;
  };
  const Case cases[] = {
      {"8 bits", padded_pixels(eight, kWidth, kHeight, 12), 12, 1,
       as_rgba({eight.begin(), eight.end()}, 255.0)},
      // 32768, the host's white, lands slightly above 1.
      {"16 bits", padded_pixels(sixteen, kWidth, kHeight, 24), 24, 2,
       as_rgba({sixteen.begin(), sixteen.end()}, 32767.0)},
      // Floats pass through as they are, out-of-range values included.
      {"32 bits", padded_pixels(floats, kWidth, kHeight, 48), 48, 4,
       as_rgba({floats.begin(), floats.end()}, 1.0)},
  };
  for (const Case& c : cases) {
    const std::vector<float> texels =
        uploaded_texels(thread, c.pixels, kWidth, kHeight, c.row_bytes, c.depth);
    ASSERT_EQ(texels.size(), c.expected.size());
    for (size_t i = 0; i < texels.size(); ++i) {
      EXPECT_NEAR(texels[i], c.expected[i], 1e-6) << c.name << ", value " << i;
    }
  }
  image_desc empty;
  unsigned int texture = 1;
  thread.run_on_renderer([&](Renderer& renderer) { texture = renderer.upload_texture(empty); });
  EXPECT_EQ(texture, 0u) << "a layer without pixels makes no texture";
}

}  // namespace
