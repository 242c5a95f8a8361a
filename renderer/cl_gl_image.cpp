#include "renderer/cl_gl_image.h"

#include <CL/cl_gl.h>

#include <stdexcept>

#include "renderer/cl_environment.h"

namespace {

constexpr size_t kTexelBytes = 4 * sizeof(float);

bool readable(cl_mem_flags access) {
  return (access & CL_MEM_WRITE_ONLY) == 0;
}

bool writable(cl_mem_flags access) {
  return (access & CL_MEM_READ_ONLY) == 0;
}

}  // namespace

ClGlImage::ClGlImage(const ClDevice& device, cl_mem_flags access, GLuint texture)
    : device_(device), access_(access), texture_(texture) {
  cl_int error = CL_SUCCESS;
  if (device.shares_gl()) {
    image_ = clCreateFromGLTexture(device.context(), access, GL_TEXTURE_2D, 0, texture, &error);
  } else {
    GLint width = 0;
    GLint height = 0;
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
    glBindTexture(GL_TEXTURE_2D, 0);
    const cl_image_format format{CL_RGBA, CL_FLOAT};
    cl_image_desc description{};
    description.image_type = CL_MEM_OBJECT_IMAGE2D;
    description.image_width = static_cast<size_t>(width);
    description.image_height = static_cast<size_t>(height);
    image_ = clCreateImage(device.context(), access | CL_MEM_ALLOC_HOST_PTR, &format, &description,
                           nullptr, &error);
    if (readable(access)) {
      glGenFramebuffers(1, &read_framebuffer_);
      glBindFramebuffer(GL_READ_FRAMEBUFFER, read_framebuffer_);
      glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
      glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    }
  }
  if (error != CL_SUCCESS || image_ == nullptr) {
    glDeleteFramebuffers(1, &read_framebuffer_);
    throw std::runtime_error("failed to share a texture with OpenCL");
  }
}

ClGlImage::~ClGlImage() {
  glDeleteFramebuffers(1, &read_framebuffer_);
  clReleaseMemObject(image_);
}

ClGlImage::Mapping ClGlImage::map(const PixelRect& area, cl_map_flags flags) {
  const size_t origin[3] = {static_cast<size_t>(area.x0), static_cast<size_t>(area.y0), 0};
  const size_t region[3] = {static_cast<size_t>(area.width()), static_cast<size_t>(area.height()),
                            1};
  size_t row_pitch = 0;
  cl_int error = CL_SUCCESS;
  void* pixels = clEnqueueMapImage(device_.queue(), image_, CL_TRUE, flags, origin, region,
                                   &row_pitch, nullptr, 0, nullptr, nullptr, &error);
  if (error != CL_SUCCESS || pixels == nullptr || row_pitch % kTexelBytes != 0) {
    throw std::runtime_error("failed to map an OpenCL image into memory");
  }
  return {pixels, static_cast<GLint>(row_pitch / kTexelBytes)};
}

void ClGlImage::unmap(const Mapping& mapping) {
  clEnqueueUnmapMemObject(device_.queue(), image_, mapping.pixels, 0, nullptr, nullptr);
}

void ClGlImage::acquire(const PixelRect& area) {
  if (device_.shares_gl()) {
    clEnqueueAcquireGLObjects(device_.queue(), 1, &image_, 0, nullptr, nullptr);
    return;
  }
  if (!readable(access_) || area.empty()) {
    return;
  }
  const Mapping mapping = map(area, CL_MAP_WRITE_INVALIDATE_REGION);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, read_framebuffer_);
  glReadBuffer(GL_COLOR_ATTACHMENT0);
  glPixelStorei(GL_PACK_ROW_LENGTH, mapping.row_pixels);
  glReadPixels(area.x0, area.y0, area.width(), area.height(), GL_RGBA, GL_FLOAT, mapping.pixels);
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
  unmap(mapping);
}

void ClGlImage::release(const PixelRect& area) {
  if (device_.shares_gl()) {
    clEnqueueReleaseGLObjects(device_.queue(), 1, &image_, 0, nullptr, nullptr);
    return;
  }
  if (!writable(access_) || area.empty()) {
    return;
  }
  const Mapping mapping = map(area, CL_MAP_READ);
  glBindTexture(GL_TEXTURE_2D, texture_);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, mapping.row_pixels);
  glTexSubImage2D(GL_TEXTURE_2D, 0, area.x0, area.y0, area.width(), area.height(), GL_RGBA,
                  GL_FLOAT, mapping.pixels);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  glBindTexture(GL_TEXTURE_2D, 0);
  unmap(mapping);
}
