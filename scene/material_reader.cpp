#include "scene/material_reader.h"

#include <cmath>
#include <string>

#include "plugin/hx_exception.h"
#include "plugin/param_ids.h"
#include "plugin/param_readers.h"
#include "scene/effect_host_queries.h"
#include "scene/param_conversions.h"
#include "scene/sphere_placement.h"

namespace {

constexpr std::int32_t kHemisphere = 2;

hxsdk::quaternion read_orientation(CommandContext& context, std::int32_t x_id, std::int32_t y_id,
                                   std::int32_t z_id) {
  const PF_Fixed z = get_param_angle(context, z_id);
  const PF_Fixed y = get_param_angle(context, y_id);
  const PF_Fixed x = get_param_angle(context, x_id);
  return orientation_from_fixed_degrees(x, y, z);
}

// 1 / "Gamma"; a gamma that is not a positive number would turn every output pixel into
// infinity or NaN.
float inverse_output_gamma(float gamma) {
  if (!(gamma > 0.0f) || !std::isfinite(gamma)) {
    throw hx_exception("\"Gamma\" is " + std::to_string(gamma) + "; it must be a positive number.");
  }
  return 1.0f / gamma;
}

}  // namespace

void read_material_and_placement(CommandContext& context, const render_data& frame,
                                 scene_parameters& scene) {
  material_properties& m = scene.material;
  m.bump_is_height = get_param_int(context, PARAM_USE_NORMAL_MAP) != 0 ? 0 : 1;
  m.surface_mode = get_param_int(context, PARAM_SURFACE);

  m.diffuse_gamma = get_param_float(context, PARAM_DIFFUSE_GAMMA);
  m.glossiness_gamma = get_param_float(context, PARAM_GLOSSINESS_GAMMA);
  m.illumination_gamma = get_param_float(context, PARAM_ILLUMINATION_GAMMA);
  m.environment_gamma = get_param_float(context, PARAM_ENVIRONMENT_GAMMA);

  m.diffuse_blend = get_param_float(context, PARAM_DIFFUSE_BLEND);
  m.edge_feather = get_param_float(context, PARAM_EDGE_FEATHER);
  m.edge_shrink = get_param_float(context, PARAM_EDGE_SHRINK);
  m.diffuse_brightness = get_param_float(context, PARAM_DIFFUSE_BRIGHTNESS);
  m.glossiness_brightness = get_param_float(context, PARAM_GLOSSINESS_BRIGHTNESS);
  m.illumination_brightness = get_param_float(context, PARAM_ILLUMINATION_BRIGHTNESS);
  m.environment_brightness = get_param_float(context, PARAM_ENVIRONMENT_BRIGHTNESS);
  m.fresnel = get_param_float(context, PARAM_FRESNEL);
  m.fresnel_bias = get_param_float(context, PARAM_FRESNEL_BIAS);
  m.shadow_light = get_param_float(context, PARAM_SHADOW_LIGHT);
  m.shadow_light_contrast = get_param_float(context, PARAM_SHADOW_LIGHT_CONTRAST);
  m.shadow_light_expansion = get_param_float(context, PARAM_SHADOW_LIGHT_EXPANSION);
  m.bump_influence = get_param_float(context, PARAM_BUMP_INFLUENCE);

  m.environment_orientation =
      read_orientation(context, PARAM_ENV_ROTATION_X, PARAM_ENV_ROTATION_Y, PARAM_ENV_ROTATION_Z);

  m.model_color = color_from_pixel(get_param_color(context, PARAM_COLOR));
  m.model_color.w = get_param_float(context, PARAM_OPACITY);

  m.ambient = get_param_float(context, PARAM_AMBIENT);
  m.diffuse = get_param_float(context, PARAM_DIFFUSE);
  m.glossiness = get_param_float(context, PARAM_GLOSSINESS);
  m.specular = get_param_float(context, PARAM_SPECULAR);
  m.reflectivity = get_param_float(context, PARAM_REFLECTIVITY);

  // "Illumination" scales the colour's alpha too: at 0 the self-illumination is gone entirely.
  const hxsdk::vec4 illumination =
      color_from_pixel(get_param_color(context, PARAM_ILLUMINATION_COLOR));
  const float strength = get_param_float(context, PARAM_ILLUMINATION);
  m.illumination_color = {illumination.x * strength, illumination.y * strength,
                          illumination.z * strength, illumination.w * strength};

  m.normal_amount = get_param_float(context, PARAM_BUMP_INTENSITY);
  // Only a normal map has channels to flip; a height map's normals are made the right way up.
  m.normal_invert_green = m.bump_is_height == 0
                              ? flag_from_value(get_param_int(context, PARAM_FLIP_NORMAL_CHANNELS))
                              : 0;
  m.clip_lighting = get_param_float(context, PARAM_BUMP_FALLOFF);

  m.uv_type = get_param_int(context, PARAM_UV_TYPE);
  m.uv_feathering = get_param_float(context, PARAM_BOX_UV_FEATHERING);
  m.uv_repeat = {get_param_float(context, PARAM_UV_REPEAT_X),
                 get_param_float(context, PARAM_UV_REPEAT_Y)};
  m.uv_offset = {get_param_float(context, PARAM_UV_OFFSET_X),
                 get_param_float(context, PARAM_UV_OFFSET_Y)};
  m.uv_mode = get_param_int(context, PARAM_UV_MODE);
  m.uv_rotation = fixed_degrees_to_radians(get_param_angle(context, PARAM_UV_ROTATION));

  m.unlit = flag_from_value(get_param_int(context, PARAM_UNLIT_ONLY));

  const std::int32_t object = get_param_int(context, PARAM_OBJECT);
  scene.position = sphere_position(get_param_point3d(context, PARAM_POSITION),
                                   layer_pixel_aspect(*context.in_data), frame.inv_downsample_x);
  scene.orientation =
      read_orientation(context, PARAM_ROTATION_X, PARAM_ROTATION_Y, PARAM_ROTATION_Z);
  scene.radius = get_param_float(context, PARAM_RADIUS);
  scene.inverse_gamma = inverse_output_gamma(get_param_float(context, PARAM_GAMMA));
  m.flatten_bottom = object == kHemisphere ? 1 : 0;
}
