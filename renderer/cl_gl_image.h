#pragma once

#include <CL/cl.h>
#include <GL/glew.h>

#include "renderer/pixel_rect.h"

class ClDevice;

// An OpenCL image that stands for level 0 of a 2D RGBA32F GL texture, used between acquire
// and release. On a device that shares the GL context it is the texture itself. Elsewhere it
// is an image of the same size and format in memory the host can map: acquire reads the
// texture's pixels of an area straight into that memory when OpenCL may read them, and release
// writes the area back into the texture when OpenCL may have written it, each a single copy
// (where the device works in host memory, as a CPU device does, mapping copies nothing).
// Kernels see the same image either way. Render thread only, with the GL context current and
// the GL queue finished before acquire.
class ClGlImage {
 public:
  // access: CL_MEM_READ_ONLY, CL_MEM_WRITE_ONLY or CL_MEM_READ_WRITE, as the kernels use it.
  // Throws std::runtime_error when the image cannot be made.
  ClGlImage(const ClDevice& device, cl_mem_flags access, GLuint texture);
  ~ClGlImage();
  ClGlImage(const ClGlImage&) = delete;
  ClGlImage& operator=(const ClGlImage&) = delete;

  cl_mem image() const { return image_; }
  // area: the pixels the kernels will read or write; outside it the image is left as it was.
  // Throws std::runtime_error when the image's memory cannot be mapped.
  void acquire(const PixelRect& area);
  void release(const PixelRect& area);

 private:
  // The area's pixels in host memory, row_pixels apart, between map and unmap.
  struct Mapping {
    void* pixels;
    GLint row_pixels;
  };
  Mapping map(const PixelRect& area, cl_map_flags flags);
  void unmap(const Mapping& mapping);

  const ClDevice& device_;
  cl_mem_flags access_;
  GLuint texture_;
  // Where textures travel by copy and OpenCL reads them: a framebuffer to read the texture from.
  GLuint read_framebuffer_ = 0;
  cl_mem image_ = nullptr;
};
