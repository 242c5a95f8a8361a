#include "renderer/pixel_transfer.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

#include "platform/debug_output.h"
#include "plugin/hx_exception.h"
#include "renderer/cl_environment.h"
#include "renderer/program_library.h"
#include "renderer/shader_sources.h"
#include "renderer/texture_library.h"
#include "scene/stopwatch.h"

namespace {

constexpr std::array<const char*, 3> kDepthDefines = {"OUTPUT_BPC 32", "OUTPUT_BPC 16",
                                                      "OUTPUT_BPC 8"};

// The kernels take their pixel from their global ids, so an offset range converts just the area.
void run_over_pixels(cl_command_queue queue, cl_kernel kernel, const PixelRect& area) {
  const size_t offset[2] = {static_cast<size_t>(area.x0), static_cast<size_t>(area.y0)};
  const size_t global_size[2] = {static_cast<size_t>(area.width()),
                                 static_cast<size_t>(area.height())};
  clEnqueueNDRangeKernel(queue, kernel, 2, offset, global_size, nullptr, 0, nullptr, nullptr);
}

void clear_outside(const image_desc& output, const PixelRect& area, size_t pixel_bytes) {
  auto* bytes = static_cast<std::byte*>(output.data);
  const auto row_bytes = static_cast<size_t>(output.row_bytes);
  const size_t left = static_cast<size_t>(area.x0) * pixel_bytes;
  const size_t right = static_cast<size_t>(area.x0 + area.width()) * pixel_bytes;
  for (int y = 0; y < output.height; ++y) {
    std::byte* row = bytes + static_cast<size_t>(y) * row_bytes;
    if (area.empty() || y < area.y0 || y >= area.y1) {
      std::memset(row, 0, row_bytes);
    } else {
      std::memset(row, 0, left);
      std::memset(row + right, 0, row_bytes - right);
    }
  }
}

}  // namespace

PixelTransfer::PixelTransfer(ProgramLibrary& programs, const ClDevice& device) : device_(device) {
  for (size_t depth = 0; depth < kDepthDefines.size(); ++depth) {
    const cl_program program = build_cl_program(programs, device, {kDepthDefines[depth]},
                                                shader_sources::pixel_transfer_cl);
    kernels_[depth][kInput] = create_kernel(programs, program, "input");
    kernels_[depth][kOutput] = create_kernel(programs, program, "output");
  }
}

PixelTransfer::~PixelTransfer() {
  release_output_image();
  if (output_buffer_ != nullptr) {
    clReleaseMemObject(output_buffer_);
  }
}

cl_kernel PixelTransfer::kernel(Direction direction, uint32_t bytes_per_channel) const {
  switch (bytes_per_channel) {
    case 4:
      return kernels_[0][direction];
    case 2:
      return kernels_[1][direction];
    case 1:
      return kernels_[2][direction];
    default:
      throw hx_exception("unsupported pixel depth of " + std::to_string(bytes_per_channel) +
                         " bytes per channel");
  }
}

void PixelTransfer::release_output_image() {
  output_image_.reset();
}

void PixelTransfer::rebuild_output(GLuint accumulation_texture, const image_desc& output) {
  release_output_image();
  if (output_buffer_ != nullptr) {
    clReleaseMemObject(output_buffer_);
    output_buffer_ = nullptr;
  }
  // The output kernel only reads the accumulated image, so the image is made read-only: where
  // textures travel by copy, nothing is copied back into the texture.
  output_image_ = std::make_unique<ClGlImage>(device_, CL_MEM_READ_ONLY, accumulation_texture);
  output_buffer_size_ = static_cast<size_t>(output.row_bytes) * static_cast<size_t>(output.height);
  if (device_.shares_gl()) {
    cl_int error = CL_SUCCESS;
    output_buffer_ =
        clCreateBuffer(device_.context(), CL_MEM_WRITE_ONLY, output_buffer_size_, nullptr, &error);
  }
  const cl_mem image = output_image_->image();
  const auto row_bytes = static_cast<cl_uint>(output.row_bytes);
  for (const auto& depth_kernels : kernels_) {
    const cl_kernel output_kernel = depth_kernels[kOutput];
    clSetKernelArg(output_kernel, 0, sizeof(image), &image);
    clSetKernelArg(output_kernel, 2, sizeof(row_bytes), &row_bytes);
  }
}

void PixelTransfer::read_output(const image_desc& output, uint32_t bytes_per_channel, float gamma,
                                const PixelRect& area) {
  const Stopwatch stopwatch;
  const cl_kernel output_kernel = kernel(kOutput, bytes_per_channel);
  const size_t pixel_bytes = 4 * static_cast<size_t>(bytes_per_channel);
  if (!area.empty()) {
    clSetKernelArg(output_kernel, 3, sizeof(gamma), &gamma);
    convert_area(output, output_kernel, pixel_bytes, area);
  }
  clear_outside(output, area, pixel_bytes);
  hxsdk::debug_printf("Output Render: %.2f ms\n", stopwatch.elapsed_milliseconds());
}

void PixelTransfer::convert_area(const image_desc& output, cl_kernel output_kernel,
                                 size_t pixel_bytes, const PixelRect& area) {
  const cl_command_queue queue = device_.queue();
  const auto row_bytes = static_cast<size_t>(output.row_bytes);
  cl_mem buffer = output_buffer_;
  if (buffer == nullptr) {
    // A device without memory of its own writes the host's rows in place.
    cl_int error = CL_SUCCESS;
    buffer = clCreateBuffer(device_.context(), CL_MEM_WRITE_ONLY | CL_MEM_USE_HOST_PTR,
                            output_buffer_size_, output.data, &error);
    if (error != CL_SUCCESS || buffer == nullptr) {
      throw std::runtime_error("failed to give OpenCL the output's memory");
    }
  }
  clSetKernelArg(output_kernel, 1, sizeof(buffer), &buffer);
  output_image_->acquire(area);
  run_over_pixels(queue, output_kernel, area);
  output_image_->release(area);
  if (buffer == output_buffer_) {
    const size_t origin[3] = {static_cast<size_t>(area.x0) * pixel_bytes,
                              static_cast<size_t>(area.y0), 0};
    const size_t region[3] = {static_cast<size_t>(area.width()) * pixel_bytes,
                              static_cast<size_t>(area.height()), 1};
    clEnqueueReadBufferRect(queue, buffer, CL_TRUE, origin, origin, region, row_bytes, 0, row_bytes,
                            0, output.data, 0, nullptr, nullptr);
  } else {
    // Mapping a buffer over host memory brings that memory up to date; on a CPU device the
    // kernel has written it already and nothing is copied.
    const size_t first_byte = static_cast<size_t>(area.y0) * row_bytes;
    const size_t area_bytes = static_cast<size_t>(area.height()) * row_bytes;
    cl_int error = CL_SUCCESS;
    void* rows = clEnqueueMapBuffer(queue, buffer, CL_TRUE, CL_MAP_READ, first_byte, area_bytes, 0,
                                    nullptr, nullptr, &error);
    if (rows != nullptr) {
      clEnqueueUnmapMemObject(queue, buffer, rows, 0, nullptr, nullptr);
    }
    clReleaseMemObject(buffer);
  }
  clFinish(queue);
}

GLuint PixelTransfer::upload_texture(const image_desc& image, const TextureLibrary& textures) {
  // A host may hand out a world of no pixels with a buffer pointer all the same.
  if (image.data == nullptr || image.width <= 0 || image.height <= 0) {
    return 0;
  }
  const cl_kernel input_kernel = kernel(kInput, image.bytes_per_channel);
  const GLuint texture = textures.create_map_texture(image.width, image.height);
  glFinish();
  const cl_command_queue queue = device_.queue();
  {
    ClGlImage target(device_, CL_MEM_WRITE_ONLY, texture);
    const size_t size = static_cast<size_t>(image.height) * static_cast<size_t>(image.row_bytes);
    cl_int error = CL_SUCCESS;
    const cl_mem buffer =
        clCreateBuffer(device_.context(), CL_MEM_READ_ONLY, size, nullptr, &error);
    clEnqueueWriteBuffer(queue, buffer, CL_FALSE, 0, size, image.data, 0, nullptr, nullptr);
    const cl_mem target_image = target.image();
    const auto row_bytes = static_cast<cl_uint>(image.row_bytes);
    clSetKernelArg(input_kernel, 0, sizeof(target_image), &target_image);
    clSetKernelArg(input_kernel, 1, sizeof(buffer), &buffer);
    clSetKernelArg(input_kernel, 2, sizeof(row_bytes), &row_bytes);
    const PixelRect whole{0, 0, image.width, image.height};
    target.acquire(whole);
    run_over_pixels(queue, input_kernel, whole);
    target.release(whole);
    clReleaseMemObject(buffer);
  }
  clFinish(queue);
  textures.finish_map_texture(texture);
  return texture;
}
