#pragma once

#include <CL/cl.h>
#include <GL/glew.h>

#include <mutex>
#include <string>
#include <vector>

#include "renderer/shader_sources.h"

class ClDevice;

// Owns every GL program, OpenCL program and OpenCL kernel the renderer builds. Each is
// recorded the moment it exists, so one whose build failed is released here too. Render
// thread only; the mutex guards the OpenCL lists.
class ProgramLibrary {
 public:
  ProgramLibrary() = default;
  ~ProgramLibrary();
  ProgramLibrary(const ProgramLibrary&) = delete;
  ProgramLibrary& operator=(const ProgramLibrary&) = delete;

  void record_program(GLuint program) { gl_programs_.push_back(program); }
  void record_cl_program(cl_program program);
  void record_kernel(cl_kernel kernel);

 private:
  std::mutex mutex_;
  std::vector<GLuint> gl_programs_;
  std::vector<cl_program> cl_programs_;
  std::vector<cl_kernel> kernels_;
};

// Compiles the stages whose source is not empty, binds fragment output 0 to "outColor" and
// links. Each of `fragment_defines` ("NAME VALUE") becomes a "#define" line after the fragment
// source's #version line; the log's line numbers still count the file's lines. Throws
// shader_compile_exception: "invalid shader code" when the vertex or fragment source is empty,
// "failed to compile shader source" (after the log went to the debug output and to a "Shader Log"
// message box), "failed to link shader program" (log to the debug output only).
GLuint build_program(ProgramLibrary& library, shader_source vertex, shader_source fragment,
                     shader_source geometry, const std::vector<std::string>& fragment_defines = {});

// Uniform set-up of the program in use.
void set_sampler_unit(GLuint program, const char* name, GLint unit);
void bind_uniform_block(GLuint program, const char* name, GLuint binding);

// Builds source for the device's context with "-cl-fast-relaxed-math", each define prepended
// as "#define DEFINE". Throws shader_compile_exception "could not create program" or, with the
// build log sent to the debug output, "could not build program".
cl_program build_cl_program(ProgramLibrary& library, const ClDevice& device,
                            const std::vector<std::string>& defines, shader_source source);

// Throws shader_compile_exception "could not create kernel".
cl_kernel create_kernel(ProgramLibrary& library, cl_program program, const char* name);
