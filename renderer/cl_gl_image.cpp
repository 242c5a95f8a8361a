#include "renderer/cl_gl_image.h"

#include <CL/cl_gl.h>

#include <stdexcept>

#include "renderer/cl_environment.h"

ClGlImage::ClGlImage(const ClDevice& device, cl_mem_flags access, GLuint texture)
    : device_(device), access_(access), texture_(texture) {
  cl_int error = CL_SUCCESS;
  if (device.shares_gl()) {
    image_ = clCreateFromGLTexture(device.context(), access, GL_TEXTURE_2D, 0, texture, &error);
  } else {
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width_);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height_);
    glBindTexture(GL_TEXTURE_2D, 0);
    const cl_image_format format{CL_RGBA, CL_FLOAT};
    cl_image_desc description{};
    description.image_type = CL_MEM_OBJECT_IMAGE2D;
    description.image_width = static_cast<size_t>(width_);
    description.image_height = static_cast<size_t>(height_);
    image_ = clCreateImage(device.context(), access, &format, &description, nullptr, &error);
  }
  if (error != CL_SUCCESS || image_ == nullptr) {
    throw std::runtime_error("failed to share a texture with OpenCL");
  }
}

ClGlImage::~ClGlImage() {
  clReleaseMemObject(image_);
}

namespace {

bool readable(cl_mem_flags access) {
  return (access & CL_MEM_WRITE_ONLY) == 0;
}

bool writable(cl_mem_flags access) {
  return (access & CL_MEM_READ_ONLY) == 0;
}

}  // namespace

ClGlImage::Copy ClGlImage::whole_image() {
  staging_.resize(static_cast<size_t>(width_) * static_cast<size_t>(height_) * 4);
  return {{0, 0, 0}, {static_cast<size_t>(width_), static_cast<size_t>(height_), 1}};
}

void ClGlImage::acquire() {
  if (device_.shares_gl()) {
    clEnqueueAcquireGLObjects(device_.queue(), 1, &image_, 0, nullptr, nullptr);
    return;
  }
  if (!readable(access_)) {
    return;
  }
  const Copy copy = whole_image();
  glBindTexture(GL_TEXTURE_2D, texture_);
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, staging_.data());
  glBindTexture(GL_TEXTURE_2D, 0);
  clEnqueueWriteImage(device_.queue(), image_, CL_TRUE, copy.origin.data(), copy.region.data(), 0,
                      0, staging_.data(), 0, nullptr, nullptr);
}

void ClGlImage::release() {
  if (device_.shares_gl()) {
    clEnqueueReleaseGLObjects(device_.queue(), 1, &image_, 0, nullptr, nullptr);
    return;
  }
  if (!writable(access_)) {
    return;
  }
  const Copy copy = whole_image();
  clEnqueueReadImage(device_.queue(), image_, CL_TRUE, copy.origin.data(), copy.region.data(), 0, 0,
                     staging_.data(), 0, nullptr, nullptr);
  glBindTexture(GL_TEXTURE_2D, texture_);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width_, height_, GL_RGBA, GL_FLOAT, staging_.data());
  glBindTexture(GL_TEXTURE_2D, 0);
}
