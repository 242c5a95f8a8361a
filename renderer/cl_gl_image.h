#pragma once

#include <CL/cl.h>
#include <GL/glew.h>

#include <array>
#include <cstddef>
#include <vector>

class ClDevice;

// An OpenCL image that stands for level 0 of a 2D RGBA32F GL texture, used between acquire
// and release. On a device that shares the GL context it is the texture itself. Elsewhere it
// is an image of the same size and format: acquire fills it from the texture when OpenCL may
// read it, and release copies it into the texture when OpenCL may have written it. Kernels see
// the same image either way. Render thread only, with the GL context current and the GL queue
// finished before acquire.
class ClGlImage {
 public:
  // access: CL_MEM_READ_ONLY, CL_MEM_WRITE_ONLY or CL_MEM_READ_WRITE, as the kernels use it.
  // Throws std::runtime_error when the image cannot be made.
  ClGlImage(const ClDevice& device, cl_mem_flags access, GLuint texture);
  ~ClGlImage();
  ClGlImage(const ClGlImage&) = delete;
  ClGlImage& operator=(const ClGlImage&) = delete;

  cl_mem image() const { return image_; }
  void acquire();
  void release();

 private:
  // Origin and region of level 0 for the image transfers.
  struct Copy {
    std::array<size_t, 3> origin;
    std::array<size_t, 3> region;
  };
  // Sizes the staging buffer for the whole level and returns its copy region.
  Copy whole_image();

  const ClDevice& device_;
  cl_mem_flags access_;
  GLuint texture_;
  GLint width_ = 0;
  GLint height_ = 0;
  cl_mem image_ = nullptr;
  std::vector<float> staging_;
};
