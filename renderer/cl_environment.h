#pragma once

#include <CL/cl.h>

#include <memory>
#include <vector>

class GlContext;

// One OpenCL device with a context of its own and an in-order queue on it.
class ClDevice {
 public:
  // Takes ownership of context and queue. shares_gl: the context was created with the GL
  // context's sharing properties, so GL textures can be used by OpenCL directly.
  ClDevice(cl_platform_id platform, cl_device_id device, cl_context context, cl_command_queue queue,
           bool shares_gl);
  ~ClDevice();
  ClDevice(const ClDevice&) = delete;
  ClDevice& operator=(const ClDevice&) = delete;

  cl_device_id device() const { return device_; }
  cl_platform_id platform() const { return platform_; }
  cl_context context() const { return context_; }
  cl_command_queue queue() const { return queue_; }
  bool shares_gl() const { return shares_gl_; }

 private:
  cl_device_id device_;
  cl_platform_id platform_;
  cl_context context_;
  cl_command_queue queue_;
  bool shares_gl_;
};

// The OpenCL device the renderer transfers pixels with. Render thread only.
class ClEnvironment {
 public:
  // Prefers the GPU device that drives gl (a platform whose GL-sharing extension names it,
  // matched against the GL vendor when there are several platforms). Where no platform can
  // share the context, the first device of any platform is used, and GL textures reach it
  // through copies (see ClGlImage). Throws std::runtime_error "no OpenCL platforms
  // available", "error getting OpenCL platform ids" or "no valid OpenCL/OpenGL interop
  // device\n".
  explicit ClEnvironment(const GlContext& gl);

  const ClDevice& current() const { return *devices_.back(); }

 private:
  std::vector<std::unique_ptr<ClDevice>> devices_;
};
