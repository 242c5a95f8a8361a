#include <GL/glew.h>

#include <cmath>
#include <vector>

#include "renderer/cube_faces.h"
#include "renderer/full_screen_quad.h"
#include "renderer/ggx_sample_table.h"
#include "renderer/renderer.h"

namespace {

constexpr int kCubeSize = 512;
constexpr int kPrefilteredLevels = 6;

void set_face_vectors(GLuint program, const cube_face& face) {
  glUniform3fv(glGetUniformLocation(program, "initialCoord"), 1, face.initial.data());
  glUniform3fv(glGetUniformLocation(program, "coordIncX"), 1, face.increment_x.data());
  glUniform3fv(glGetUniformLocation(program, "coordIncY"), 1, face.increment_y.data());
}

void allocate_face_level(int face, int level, int width, int height) {
  glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, level, GL_RGBA16F, width, height, 0, GL_RGBA,
               GL_FLOAT, nullptr);
}

void attach_face_level(GLuint cube, int face, int level) {
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0,
                         GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, cube, level);
}

}  // namespace

void Renderer::build_sample_table() {
  const std::vector<float> texels = ggx_sample_table::make();
  glGenTextures(1, &sample_table_);
  glBindTexture(GL_TEXTURE_2D, sample_table_);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA16F, ggx_sample_table::kSamples, ggx_sample_table::kLayers,
               0, GL_RGBA, GL_FLOAT, texels.data());
  glBindTexture(GL_TEXTURE_2D, 0);
}

unsigned int Renderer::make_environment_cube(unsigned int equirectangular_texture) {
  if (equirectangular_texture == 0) {
    return 0;
  }
  glDisable(GL_MULTISAMPLE);
  glDisable(GL_CULL_FACE);

  GLuint framebuffer = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  GLuint cube = 0;
  glGenTextures(1, &cube);
  glBindTexture(GL_TEXTURE_CUBE_MAP, cube);
  glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  for (int face = 0; face < 6; ++face) {
    allocate_face_level(face, 0, kCubeSize, kCubeSize);
  }

  glUseProgram(equirectangular_to_cube_program_);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, equirectangular_texture);
  for (int face = 0; face < 6; ++face) {
    attach_face_level(cube, face, 0);
    glViewport(0, 0, kCubeSize, kCubeSize);
    set_face_vectors(equirectangular_to_cube_program_, kCubeFaces[face]);
    quad_->draw();
  }
  glDeleteFramebuffers(1, &framebuffer);

  prefilter_environment(cube, kCubeSize, kCubeSize);

  glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
  glUseProgram(0);
  glBindVertexArray(0);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  return cube;
}

void Renderer::prefilter_environment(unsigned int cube, int width, int height) {
  GLuint framebuffer = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glUseProgram(prefilter_program_);
  glActiveTexture(GL_TEXTURE1);
  glBindTexture(GL_TEXTURE_2D, sample_table_);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_CUBE_MAP, cube);

  // The whole chain down to 1 x 1 is allocated so the texture is mipmap-complete; only the
  // prefiltered levels are ever sampled.
  const int levels = static_cast<int>(std::floor(std::log2(static_cast<double>(width))));
  for (int level = 1; level <= levels; ++level) {
    for (int face = 0; face < 6; ++face) {
      allocate_face_level(face, level, width >> level, height >> level);
    }
  }
  glUniform1ui(glGetUniformLocation(prefilter_program_, "numSamples"), ggx_sample_table::kSamples);

  for (int level = 1; level <= kPrefilteredLevels; ++level) {
    // Each level blurs the one above it with the next lobe, so the blur accumulates and a
    // rough level needs no more samples than a sharp one.
    glUniform1f(glGetUniformLocation(prefilter_program_, "sampleLod"),
                static_cast<float>(level - 1));
    glUniform1ui(glGetUniformLocation(prefilter_program_, "roughnessLayer"),
                 static_cast<GLuint>(level - 1));
    for (int face = 0; face < 6; ++face) {
      attach_face_level(cube, face, level);
      set_face_vectors(prefilter_program_, kCubeFaces[face]);
      glViewport(0, 0, width >> level, height >> level);
      quad_->draw();
    }
    // Only now may the level just written be read: while it was drawn the texture still
    // ended one level above it.
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BASE_LEVEL, 0);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_LEVEL, level);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
  }

  glDeleteFramebuffers(1, &framebuffer);
  glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
  glUseProgram(0);
  glBindVertexArray(0);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
}
