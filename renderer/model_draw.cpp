// One mesh drawn with the material program into the multisample target.
#include <GL/glew.h>

#include <cmath>

#include "renderer/material_programs.h"
#include "renderer/material_uniforms.h"
#include "renderer/pixel_rect.h"
#include "renderer/renderer.h"

namespace {

// Uniforms are looked up by name at every draw: one the linker dropped answers -1, which GL
// ignores, so an optimised-away term costs nothing and needs no special case.
class MaterialUniforms {
 public:
  explicit MaterialUniforms(GLuint program) : program_(program) {}

  void set(const char* name, float value) const { glUniform1f(location(name), value); }
  void set(const char* name, int value) const { glUniform1i(location(name), value); }
  void set(const char* name, uint32_t value) const {
    glUniform1i(location(name), static_cast<GLint>(value));
  }
  void set(const char* name, hxsdk::vec2 value) const {
    glUniform2f(location(name), value.x, value.y);
  }
  void set(const char* name, const hxsdk::vec4& value) const {
    glUniform4f(location(name), value.x, value.y, value.z, value.w);
  }
  void set_xyz(const char* name, const hxsdk::vec4& value) const {
    glUniform3f(location(name), value.x, value.y, value.z);
  }
  void set(const char* name, const hxsdk::mat4& value) const {
    glUniformMatrix4fv(location(name), 1, GL_FALSE, value.elements.data());
  }

 private:
  GLint location(const char* name) const { return glGetUniformLocation(program_, name); }
  GLuint program_;
};

void bind_map(GLenum unit, GLenum target, GLuint texture, GLint wrap) {
  glActiveTexture(unit);
  glBindTexture(target, texture);
  glTexParameteri(target, GL_TEXTURE_WRAP_S, wrap);
  glTexParameteri(target, GL_TEXTURE_WRAP_T, wrap);
  if (target == GL_TEXTURE_CUBE_MAP) {
    glTexParameteri(target, GL_TEXTURE_WRAP_R, wrap);
  }
}

void set_material_uniforms(const MaterialUniforms& uniforms, const hxsdk::mat4& model_matrix,
                           const hxsdk::vec4& eye_position, const material_properties& m) {
  uniforms.set("modelMatrix", model_matrix);
  uniforms.set("normalMatrix", normal_matrix(model_matrix));
  uniforms.set_xyz("eyePosition", eye_position);
  uniforms.set("modelColor", m.model_color);
  uniforms.set("edgeFeather", m.edge_feather);
  uniforms.set("edgeShrink", m.edge_shrink);
  uniforms.set("diffuseGamma", m.diffuse_gamma);
  uniforms.set("glossinessGamma", m.glossiness_gamma);
  uniforms.set("illuminationGamma", m.illumination_gamma);
  uniforms.set("environmentGamma", m.environment_gamma);
  uniforms.set("diffuseBlend", m.diffuse_blend);
  uniforms.set("diffuseBrightness", m.diffuse_brightness);
  uniforms.set("glossinessBrightness", m.glossiness_brightness);
  uniforms.set("illuminationBrightness", m.illumination_brightness);
  uniforms.set("environmentBrightness", m.environment_brightness);
  uniforms.set("ambientAmount", m.ambient);
  uniforms.set("diffuseAmount", m.diffuse);
  uniforms.set("glossinessAmount", m.glossiness);
  uniforms.set("specularAmount", m.specular);
  uniforms.set("reflectivityAmount", m.reflectivity);
  uniforms.set("illuminationColor", m.illumination_color);
  uniforms.set("normalAmount", m.normal_amount);
  uniforms.set("normalInvertGreen", m.normal_invert_green != 0 ? -1.0f : 1.0f);
  uniforms.set("clipLighting", m.clip_lighting);
  uniforms.set("environmentRotation", hxsdk::rotation_matrix(m.environment_orientation));
  uniforms.set("illuminationFresnel", m.fresnel);
  uniforms.set("illuminationFresnelBias", m.fresnel_bias);
  uniforms.set("illuminationShadowLight", m.shadow_light);
  uniforms.set("illuminationShadowLightContrast",
               shadow_light_contrast_exponent(m.shadow_light_contrast));
  uniforms.set("illuminationShadowLightExpand", m.shadow_light_expansion);
  uniforms.set("illuminationBumpInfluence", m.bump_influence);
  uniforms.set("uvFeathering", uv_feathering_exponent(m.uv_feathering));
  uniforms.set("uvRepeat", m.uv_repeat);
  uniforms.set("uvOffset", m.uv_offset);
  uniforms.set("uvRotation", hxsdk::vec2{std::cos(m.uv_rotation), std::sin(m.uv_rotation)});
  uniforms.set("flattenBottom", m.flatten_bottom != 0 ? 1 : 0);
}

constexpr int32_t kSurfaceAll = 1;
constexpr int32_t kSurfaceBack = 3;
constexpr int32_t kUvRepeat = 1;

}  // namespace

void Renderer::draw_model(const model_ref& model, const hxsdk::mat4& model_matrix,
                          const material_properties& material) {
  hxsdk::mat4 model_to_clip = model_matrix;
  hxsdk::multiply(model_to_clip, camera_.view_matrix);
  hxsdk::multiply(model_to_clip, camera_.projection_matrix);
  const PixelRect bounds =
      projected_bounds(model_to_clip, output_.output_image.width, output_.output_image.height);
  if (bounds.empty()) {
    return;  // wholly beside the frame
  }
  extend_sample(bounds);
  if (material.surface_mode == kSurfaceAll) {
    // The inside first, unblended; the outside is then blended over it, so a translucent
    // sphere shows its far wall through the near one.
    material_properties inside = material;
    inside.surface_mode = kSurfaceBack;
    draw_model(model, model_matrix, inside);
    glEnable(GL_BLEND);
    glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  }
  glCullFace(material.surface_mode == kSurfaceBack ? GL_FRONT : GL_BACK);
  glBindFramebuffer(GL_FRAMEBUFFER, multisample_framebuffer_);
  // The target covers only part of the frame: the viewport puts that part on it.
  glViewport(-sample_target_.x0, -sample_target_.y0, output_.output_image.width,
             output_.output_image.height);
  glEnable(GL_CULL_FACE);
  glEnable(GL_MULTISAMPLE);
  const GLuint program = material_programs_->program_for(material);
  glUseProgram(program);
  glBindVertexArray(model.vertex_array);

  const GLint wrap = material.uv_mode == kUvRepeat ? GL_REPEAT : GL_MIRRORED_REPEAT;
  bind_map(GL_TEXTURE0, GL_TEXTURE_2D, material.diffuse_texture, wrap);
  bind_map(GL_TEXTURE1, GL_TEXTURE_2D, material.glossiness_texture, wrap);
  bind_map(GL_TEXTURE2, GL_TEXTURE_2D, material.illumination_texture, wrap);
  bind_map(GL_TEXTURE3, GL_TEXTURE_2D, material.normal_texture, wrap);
  bind_map(GL_TEXTURE4, GL_TEXTURE_CUBE_MAP, material.environment_texture, GL_REPEAT);

  const MaterialUniforms uniforms(program);
  set_material_uniforms(uniforms, model_matrix, camera_.eye_position, material);

  glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(model.index_count), GL_UNSIGNED_INT, nullptr);
  glBindVertexArray(0);
  glDisable(GL_BLEND);
  glUseProgram(0);
}
