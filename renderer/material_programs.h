#pragma once

#include <GL/glew.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "renderer/shader_sources.h"
#include "scene/material_properties.h"

class ProgramLibrary;

// The material shader, built once for each combination of the choices that decide which of
// its parts run at all: the map projection, which of the five maps are present, lit or unlit.
// Those reach the source as macros named after what they stand for ("#define uvType 1"), so
// the compiler drops every part a draw cannot use. A rasteriser that shades a block of pixels
// in lock-step (llvmpipe among them) runs every side of a branch on a uniform, so a single
// general program made every draw pay for all five projections' texture lookups.
//
// Render thread only. The programs belong to the library.
class MaterialPrograms {
 public:
  // Builds the program for the effect's defaults at once, so a shader that does not build
  // fails here rather than at the first frame. Throws shader_compile_exception.
  MaterialPrograms(ProgramLibrary& library, shader_source vertex, shader_source fragment);

  // The program for `material`'s choices, built on first use. Throws shader_compile_exception.
  GLuint program_for(const material_properties& material);

 private:
  GLuint build(const std::vector<std::string>& defines);

  ProgramLibrary& library_;
  shader_source vertex_;
  shader_source fragment_;
  std::map<std::vector<std::string>, GLuint> programs_;
};
