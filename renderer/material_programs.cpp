#include "renderer/material_programs.h"

#include <utility>

#include "renderer/program_library.h"
#include "renderer/uniform_blocks.h"

namespace {

constexpr int32_t kUvPlaneZy = 5;

std::string define(const char* name, int value) {
  return std::string(name) + " " + std::to_string(value);
}

// The defines that fix `m`'s choices. Projections outside 1 to 4 read as 5 (plane ZY), which
// is what the shader does with them, so they share its program.
std::vector<std::string> material_program_defines(const material_properties& m) {
  const int32_t uv_type = m.uv_type >= 1 && m.uv_type < kUvPlaneZy ? m.uv_type : kUvPlaneZy;
  return {define("uvType", uv_type),
          define("useDiffuseTexture", m.diffuse_texture != 0),
          define("useGlossinessTexture", m.glossiness_texture != 0),
          define("useIlluminationTexture", m.illumination_texture != 0),
          define("useNormalTexture", m.normal_texture != 0),
          define("useEnvironmentTexture", m.environment_texture != 0),
          define("unlitMode", m.unlit != 0)};
}

}  // namespace

MaterialPrograms::MaterialPrograms(ProgramLibrary& library, shader_source vertex,
                                   shader_source fragment)
    : library_(library), vertex_(vertex), fragment_(fragment) {
  program_for(material_properties{});
}

GLuint MaterialPrograms::program_for(const material_properties& material) {
  std::vector<std::string> defines = material_program_defines(material);
  const auto found = programs_.find(defines);
  if (found != programs_.end()) {
    return found->second;
  }
  const GLuint program = build(defines);
  programs_.emplace(std::move(defines), program);
  return program;
}

GLuint MaterialPrograms::build(const std::vector<std::string>& defines) {
  const GLuint program = build_program(library_, vertex_, fragment_, {}, defines);
  glUseProgram(program);
  bind_uniform_block(program, "TransformMatrices", kTransformMatricesBinding);
  bind_uniform_block(program, "Lights", kLightsBinding);
  set_sampler_unit(program, "diffuseSampler", 0);
  set_sampler_unit(program, "glossinessSampler", 1);
  set_sampler_unit(program, "illuminationSampler", 2);
  set_sampler_unit(program, "normalSampler", 3);
  set_sampler_unit(program, "environmentSampler", 4);
  glUseProgram(0);
  return program;
}
