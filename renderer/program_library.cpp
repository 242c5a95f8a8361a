#include "renderer/program_library.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "platform/debug_output.h"
#include "platform/message_box.h"
#include "renderer/cl_environment.h"
#include "renderer/shader_compile_exception.h"

ProgramLibrary::~ProgramLibrary() {
  for (const GLuint program : gl_programs_) {
    glDeleteProgram(program);
  }
  for (const cl_kernel kernel : kernels_) {
    if (kernel != nullptr) {
      clReleaseKernel(kernel);
    }
  }
  for (const cl_program program : cl_programs_) {
    clReleaseProgram(program);
  }
}

void ProgramLibrary::record_cl_program(cl_program program) {
  std::lock_guard lock(mutex_);
  cl_programs_.push_back(program);
}

void ProgramLibrary::record_kernel(cl_kernel kernel) {
  std::lock_guard lock(mutex_);
  kernels_.push_back(kernel);
}

namespace {

// Shaders and programs report their logs through functions of the same shape.
using GetParameter = void(GLAPIENTRY*)(GLuint, GLenum, GLint*);
using GetInfoLog = void(GLAPIENTRY*)(GLuint, GLsizei, GLsizei*, GLchar*);

std::string info_log(GLuint object, GetParameter get_parameter, GetInfoLog get_info_log) {
  GLint length = 0;
  get_parameter(object, GL_INFO_LOG_LENGTH, &length);
  std::string log(static_cast<size_t>(std::max(length, 1)), '\0');
  GLsizei written = 0;
  get_info_log(object, static_cast<GLsizei>(log.size()), &written, log.data());
  log.resize(static_cast<size_t>(written));
  return log;
}

// A shader object only has to live until it is attached: deleting it then marks it for
// deletion with its program, and deleting it on a failure path frees it at once.
struct ShaderDeleter {
  void operator()(const GLuint* shader) const { glDeleteShader(*shader); }
};

// "#define NAME VALUE" lines, one per entry of `defines` ("NAME VALUE").
std::string define_lines(const std::vector<std::string>& defines) {
  std::string text;
  for (const std::string& define : defines) {
    text += "#define " + define + "\n";
  }
  return text;
}

// A #version line must come first, so the defines are spliced in after it, followed by a #line
// that puts the numbering back on the file's own lines.
void compile_and_attach(GLuint program, GLenum stage, shader_source source,
                        const std::vector<std::string>& defines) {
  const GLuint shader = glCreateShader(stage);
  const std::unique_ptr<const GLuint, ShaderDeleter> deleter(&shader);
  if (defines.empty()) {
    glShaderSource(shader, 1, &source.text, nullptr);
  } else {
    const std::string_view text(source.text, source.length);
    const size_t first_line_end = std::min(text.find('\n'), text.size());
    const std::string spliced = std::string(text.substr(0, first_line_end)) + "\n" +
                                define_lines(defines) + "#line 2\n" +
                                std::string(text.substr(first_line_end));
    const char* spliced_text = spliced.c_str();
    glShaderSource(shader, 1, &spliced_text, nullptr);
  }
  glCompileShader(shader);
  GLint compiled = GL_FALSE;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
  if (compiled != GL_TRUE) {
    const std::string log = info_log(shader, glGetShaderiv, glGetShaderInfoLog);
    hxsdk::debug_output(log);
    hxsdk::show_message_box(nullptr, "Shader Log", log);
    throw shader_compile_exception("failed to compile shader source");
  }
  glAttachShader(program, shader);
}

}  // namespace

GLuint build_program(ProgramLibrary& library, shader_source vertex, shader_source fragment,
                     shader_source geometry, const std::vector<std::string>& fragment_defines) {
  if (vertex.length == 0 || fragment.length == 0) {
    throw shader_compile_exception("invalid shader code");
  }
  const GLuint program = glCreateProgram();
  library.record_program(program);
  compile_and_attach(program, GL_VERTEX_SHADER, vertex, {});
  if (geometry.length != 0) {
    compile_and_attach(program, GL_GEOMETRY_SHADER, geometry, {});
  }
  compile_and_attach(program, GL_FRAGMENT_SHADER, fragment, fragment_defines);
  glBindFragDataLocation(program, 0, "outColor");
  glLinkProgram(program);
  GLint linked = GL_FALSE;
  glGetProgramiv(program, GL_LINK_STATUS, &linked);
  if (linked != GL_TRUE) {
    hxsdk::debug_output(info_log(program, glGetProgramiv, glGetProgramInfoLog));
    throw shader_compile_exception("failed to link shader program");
  }
  return program;
}

void set_sampler_unit(GLuint program, const char* name, GLint unit) {
  glUniform1i(glGetUniformLocation(program, name), unit);
}

void bind_uniform_block(GLuint program, const char* name, GLuint binding) {
  glUniformBlockBinding(program, glGetUniformBlockIndex(program, name), binding);
}

cl_program build_cl_program(ProgramLibrary& library, const ClDevice& device,
                            const std::vector<std::string>& defines, shader_source source) {
  std::string text = define_lines(defines);
  text.append(source.text, source.length);
  const char* text_pointer = text.c_str();
  cl_int error = CL_SUCCESS;
  const cl_program program =
      clCreateProgramWithSource(device.context(), 1, &text_pointer, nullptr, &error);
  if (error != CL_SUCCESS || program == nullptr) {
    throw shader_compile_exception("could not create program");
  }
  library.record_cl_program(program);
  if (clBuildProgram(program, 0, nullptr, "-cl-fast-relaxed-math", nullptr, nullptr) !=
      CL_SUCCESS) {
    size_t size = 0;
    clGetProgramBuildInfo(program, device.device(), CL_PROGRAM_BUILD_LOG, 0, nullptr, &size);
    std::string log(size, '\0');
    clGetProgramBuildInfo(program, device.device(), CL_PROGRAM_BUILD_LOG, size, log.data(),
                          nullptr);
    hxsdk::debug_output(log);
    throw shader_compile_exception("could not build program");
  }
  return program;
}

cl_kernel create_kernel(ProgramLibrary& library, cl_program program, const char* name) {
  cl_int error = CL_SUCCESS;
  const cl_kernel kernel = clCreateKernel(program, name, &error);
  library.record_kernel(kernel);
  if (error != CL_SUCCESS || kernel == nullptr) {
    throw shader_compile_exception("could not create kernel");
  }
  return kernel;
}
