#pragma once

#include <cmath>
#include <optional>
#include <vector>

#include "scene/light_properties.h"
#include "scene/material_properties.h"
#include "scene/math3d.h"
#include "scene/render_properties.h"

// A second, CPU-side rendition of the sphere's material shading, for the GPU pixel tests.
// It shades an analytic sphere in double precision: a ray through a pixel centre meets the
// sphere, and the surface point is shaded with the material formulas written out again here
// from their definitions (no texture maps: every map name is taken to be absent). Nothing
// here touches OpenGL or shares code with the renderer.
namespace shading_reference {

struct vec3 {
  double x = 0.0, y = 0.0, z = 0.0;
  friend vec3 operator+(vec3 a, vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
  friend vec3 operator-(vec3 a, vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
  friend vec3 operator*(vec3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
  friend double dot(vec3 a, vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
  friend vec3 normalize(vec3 v) { return v * (1.0 / std::sqrt(dot(v, v))); }
};
inline vec3 to_vec3(const hxsdk::vec4& v) {
  return {v.x, v.y, v.z};
}

// Premultiplied or straight, as the function says.
struct rgba {
  double r = 0.0, g = 0.0, b = 0.0, a = 0.0;
  friend rgba operator+(rgba p, rgba q) { return {p.r + q.r, p.g + q.g, p.b + q.b, p.a + q.a}; }
  friend rgba operator*(rgba p, double s) { return {p.r * s, p.g * s, p.b * s, p.a * s}; }
};

// A host buffer pixel in the buffer's own units (0-255, 0-32767 or float), channel order
// alpha, red, green, blue as in memory.
struct argb {
  double a = 0.0, r = 0.0, g = 0.0, b = 0.0;
};

// One frame as the renderer is asked to draw it: output size, camera, the sphere's placement
// (translation x rotation x uniform scale of the unit sphere), its material and the lights.
struct sphere_scene {
  int width = 0;
  int height = 0;
  render_properties camera;
  hxsdk::mat4 model_matrix;
  material_properties material;
  std::vector<light_properties> lights;
};

// --- Values the draw derives from the material record ---

// min(x, 1) * 2^(1.5 max(0, x - 1)): values up to 1 pass, every further unit multiplies by
// 2^1.5.
double shadow_light_contrast_exponent(double contrast);
// (1 - f)^2 * 64 + 1: 1 for the softest box blend (f = 1), 65 for the hardest (f = 0).
double box_feathering_exponent(double uv_feathering);
// cos(cone_angle / 2) with the angle in degrees.
double spot_cone_cos(double cone_angle_degrees);

// --- Shading formulas, each named after what it computes ---

// Strength of a spot light at a point whose direction from the light makes cos_to_axis with
// the spot axis.
double spot_factor(double cos_to_axis, double cone_cos, double feather);
// How much light still reaches a flat surface at nf_dot_l = Nf.L past the terminator.
double terminator_factor(double nf_dot_l, double clip_lighting);
// Microfacet highlight (GGX distribution, Schlick-GGX visibility) for roughness 1 - g.
double specular_term(vec3 n, double roughness, double n_dot_l_clamped, vec3 h, vec3 v);
// Weight of the self-illumination at n_dot_v = N.V (clamped to 0..1 by the caller).
double illumination_fresnel(double n_dot_v, double strength, double bias);
// Alpha factor of the soft edge at v_dot_nf = V.Nf.
double edge_alpha_factor(double v_dot_nf, double edge_feather, double edge_shrink);

// The light list as the program receives it.
struct packed_lights {
  std::vector<light_properties> slots;  // at most 8, in list order
  rgba ambient;                         // sum of the ambient colours met before the slots ran out
};
packed_lights pack_light_list(const std::vector<light_properties>& lights);

// --- Geometry ---

// One fragment of the sphere as the fragment stage sees it.
struct surface_fragment {
  vec3 world_position;
  vec3 model_position;  // on the unit sphere
  vec3 flat_normal;     // world, unit, turned towards the viewer on the far (inner) side
};

// The fragments that the draw's passes keep where the ray through window position
// (window_x, window_y) meets the sphere: the near side (the outside, facing the eye) and the
// far side (its inside), after culling by surface mode and the hemisphere cut.
struct ray_hits {
  std::optional<surface_fragment> front;
  std::optional<surface_fragment> back;
};
ray_hits drawn_fragments(const sphere_scene& scene, double window_x, double window_y);

// The premultiplied colour the draw leaves in pixel (x, y) of the target (back pass first,
// front pass blended over it for surface mode All), or nothing when no fragment is drawn.
// Row y is the output buffer's row y.
std::optional<rgba> material_pixel(const sphere_scene& scene, int x, int y);

// True when pixel (x, y) is at least a pixel away from every place where the picture
// changes abruptly (the silhouette, the hemisphere cut, a spot cone's edge) and no drawn
// surface is seen at a grazing angle; the mesh's facets differ from the analytic sphere only
// there by more than a small fraction of a pixel.
bool pixel_is_clear_of_edges(const sphere_scene& scene, int x, int y);

// Fraction of pixel (x, y) covered by drawn fragments, sampled on an n x n grid.
double covered_fraction(const sphere_scene& scene, int x, int y, int n);

// --- Output conversion ---

// The output kernel's pixel: alpha clamped to 0..1, colour divided by it when positive,
// colour raised to gamma, then converted to the buffer's channel type (8 bits:
// trunc(v * 255) saturated; 16 bits: trunc(v * 65535) saturated, halved; 32 bits: as is).
argb output_pixel(const rgba& premultiplied, double gamma, int bytes_per_channel);

}  // namespace shading_reference
