#include "renderer/pixel_transfer.h"

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

void run_over_pixels(cl_command_queue queue, cl_kernel kernel, int width, int height) {
  const size_t global_size[2] = {static_cast<size_t>(width), static_cast<size_t>(height)};
  clEnqueueNDRangeKernel(queue, kernel, 2, nullptr, global_size, nullptr, 0, nullptr, nullptr);
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
  cl_int error = CL_SUCCESS;
  output_buffer_ =
      clCreateBuffer(device_.context(), CL_MEM_READ_WRITE, output_buffer_size_, nullptr, &error);
  // Whole rows are read back, padding included, and the kernels never write the padding: zero
  // it once so the host never receives whatever the new buffer happened to hold.
  const cl_uchar zero = 0;
  clEnqueueFillBuffer(device_.queue(), output_buffer_, &zero, sizeof(zero), 0, output_buffer_size_,
                      0, nullptr, nullptr);
  const cl_mem image = output_image_->image();
  const auto row_bytes = static_cast<cl_uint>(output.row_bytes);
  for (const auto& depth_kernels : kernels_) {
    const cl_kernel output_kernel = depth_kernels[kOutput];
    clSetKernelArg(output_kernel, 0, sizeof(image), &image);
    clSetKernelArg(output_kernel, 1, sizeof(output_buffer_), &output_buffer_);
    clSetKernelArg(output_kernel, 2, sizeof(row_bytes), &row_bytes);
  }
}

void PixelTransfer::read_output(const image_desc& output, uint32_t bytes_per_channel, float gamma) {
  const Stopwatch stopwatch;
  const cl_kernel output_kernel = kernel(kOutput, bytes_per_channel);
  const cl_command_queue queue = device_.queue();
  output_image_->acquire();
  clSetKernelArg(output_kernel, 3, sizeof(gamma), &gamma);
  run_over_pixels(queue, output_kernel, output.width, output.height);
  output_image_->release();
  clEnqueueReadBuffer(queue, output_buffer_, CL_TRUE, 0, output_buffer_size_, output.data, 0,
                      nullptr, nullptr);
  clFinish(queue);
  hxsdk::debug_printf("Output Render: %.2f ms\n", stopwatch.elapsed_milliseconds());
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
    target.acquire();
    run_over_pixels(queue, input_kernel, image.width, image.height);
    target.release();
    clReleaseMemObject(buffer);
  }
  clFinish(queue);
  textures.finish_map_texture(texture);
  return texture;
}
