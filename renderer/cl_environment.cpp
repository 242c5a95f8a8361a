#include "renderer/cl_environment.h"

#include <CL/cl_gl.h>
#include <GL/glew.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/gl_context.h"
#include "renderer/gl_vendor.h"

ClDevice::ClDevice(cl_platform_id platform, cl_device_id device, cl_context context,
                   cl_command_queue queue, bool shares_gl)
    : device_(device),
      platform_(platform),
      context_(context),
      queue_(queue),
      shares_gl_(shares_gl) {}

ClDevice::~ClDevice() {
  clReleaseCommandQueue(queue_);
  clReleaseContext(context_);
}

namespace {

std::vector<cl_platform_id> platform_ids() {
  cl_uint count = 0;
  if (clGetPlatformIDs(0, nullptr, &count) != CL_SUCCESS || count == 0) {
    throw std::runtime_error("no OpenCL platforms available");
  }
  std::vector<cl_platform_id> platforms(count);
  if (clGetPlatformIDs(count, platforms.data(), nullptr) != CL_SUCCESS) {
    throw std::runtime_error("error getting OpenCL platform ids");
  }
  return platforms;
}

std::optional<std::string> platform_text(cl_platform_id platform, cl_platform_info what) {
  std::array<char, 512> text{};
  if (clGetPlatformInfo(platform, what, text.size() - 1, text.data(), nullptr) != CL_SUCCESS) {
    return std::nullopt;
  }
  return std::string(text.data());
}

// A context and queue for one device, or null when either cannot be made.
std::unique_ptr<ClDevice> open_device(cl_platform_id platform, cl_device_id device,
                                      const cl_context_properties* properties, bool shares_gl) {
  cl_int error = CL_SUCCESS;
  const cl_context context = clCreateContext(properties, 1, &device, nullptr, nullptr, &error);
  if (error != CL_SUCCESS || context == nullptr) {
    return nullptr;
  }
  const cl_command_queue queue = clCreateCommandQueue(context, device, 0, &error);
  if (error != CL_SUCCESS || queue == nullptr) {
    clReleaseContext(context);
    return nullptr;
  }
  return std::make_unique<ClDevice>(platform, device, context, queue, shares_gl);
}

// The GPU device of platform that runs the current GL context, if the platform can share it
// and matches the GL vendor.
std::unique_ptr<ClDevice> open_sharing_device(cl_platform_id platform, const GlContext& gl,
                                              bool only_platform, GlVendorClass vendor_class) {
  const auto get_gl_context_info = reinterpret_cast<clGetGLContextInfoKHR_fn>(
      clGetExtensionFunctionAddressForPlatform(platform, "clGetGLContextInfoKHR"));
  if (get_gl_context_info == nullptr) {
    return nullptr;
  }
  const cl_context_properties properties[] = {
      CL_GL_CONTEXT_KHR,
      reinterpret_cast<cl_context_properties>(gl.native_context()),
      CL_EGL_DISPLAY_KHR,
      reinterpret_cast<cl_context_properties>(gl.native_display()),
      CL_CONTEXT_PLATFORM,
      reinterpret_cast<cl_context_properties>(platform),
      0};
  cl_device_id device = nullptr;
  size_t size = 0;
  if (get_gl_context_info(properties, CL_CURRENT_DEVICE_FOR_GL_CONTEXT_KHR, sizeof(device), &device,
                          &size) != CL_SUCCESS ||
      size == 0 || device == nullptr) {
    return nullptr;
  }
  cl_device_type type = 0;
  if (clGetDeviceInfo(device, CL_DEVICE_TYPE, sizeof(type), &type, nullptr) != CL_SUCCESS ||
      type != CL_DEVICE_TYPE_GPU) {
    return nullptr;
  }
  const std::optional<std::string> vendor = platform_text(platform, CL_PLATFORM_VENDOR);
  if (!vendor) {
    return nullptr;
  }
  if (!only_platform && !matches_vendor_class(*vendor, vendor_class)) {
    const std::optional<std::string> name = platform_text(platform, CL_PLATFORM_NAME);
    if (!name || !matches_vendor_class(*name, vendor_class)) {
      return nullptr;
    }
  }
  return open_device(platform, device, properties, true);
}

// No platform shares the context (a CPU implementation such as PoCL): the first device that
// opens serves, and textures travel through copies.
std::unique_ptr<ClDevice> open_copying_device(const std::vector<cl_platform_id>& platforms) {
  for (const cl_platform_id platform : platforms) {
    cl_device_id device = nullptr;
    if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 1, &device, nullptr) != CL_SUCCESS) {
      continue;
    }
    const cl_context_properties properties[] = {
        CL_CONTEXT_PLATFORM, reinterpret_cast<cl_context_properties>(platform), 0};
    if (auto opened = open_device(platform, device, properties, false)) {
      return opened;
    }
  }
  return nullptr;
}

}  // namespace

ClEnvironment::ClEnvironment(const GlContext& gl) {
  const std::vector<cl_platform_id> platforms = platform_ids();
  const GlVendorClass vendor_class =
      gl_vendor_class(reinterpret_cast<const char*>(glGetString(GL_VENDOR)));
  std::unique_ptr<ClDevice> chosen;
  for (const cl_platform_id platform : platforms) {
    chosen = open_sharing_device(platform, gl, platforms.size() == 1, vendor_class);
    if (chosen) {
      break;
    }
  }
  if (!chosen) {
    chosen = open_copying_device(platforms);
  }
  if (!chosen) {
    throw std::runtime_error("no valid OpenCL/OpenGL interop device\n");
  }
  devices_.push_back(std::move(chosen));
}
