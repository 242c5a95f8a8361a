#pragma once

#include <string>
#include <utility>

#include "plugin/hx_exception.h"

// A GLSL or OpenCL program that would not build; the log has gone to the debug output.
class shader_compile_exception : public hx_exception {
 public:
  explicit shader_compile_exception(std::string message) : hx_exception(std::move(message)) {}
};
