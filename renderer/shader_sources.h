#pragma once

#include <cstddef>

// A program stage's source text as built into the module: NUL-terminated, with its length
// without the terminator. A length of 0 means the stage is absent.
struct shader_source {
  const char* text = nullptr;
  std::size_t length = 0;
};

// The sources of renderer/shaders/, named after their files.
namespace shader_sources {
extern const shader_source quad_vert;
extern const shader_source copy_frag;
extern const shader_source bump_to_normal_frag;
extern const shader_source equirectangular_to_cube_frag;
extern const shader_source prefilter_frag;
extern const shader_source material_vert;
extern const shader_source material_frag;
extern const shader_source pixel_transfer_cl;
}  // namespace shader_sources
