#pragma once

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "scene/light_properties.h"
#include "scene/material_properties.h"
#include "scene/math3d.h"
#include "scene/render_properties.h"

// The sphere's shading on the CPU for the GPU pixel tests: a ray through a pixel centre meets an
// analytic sphere, shaded in double precision from the formulas' definitions (no maps).
namespace shading_reference {

struct vec3 {
  double x = 0.0, y = 0.0, z = 0.0;
  friend vec3 operator+(vec3 a, vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
  friend vec3 operator-(vec3 a, vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
  friend vec3 operator*(vec3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
  friend double dot(vec3 a, vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
  friend vec3 normalize(vec3 v) { return v * (1.0 / std::sqrt(dot(v, v))); }
  friend vec3 cross(vec3 a, vec3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
  }
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

// A host buffer pixel in its own units (0-255, 0-32767 or float), in memory order.
struct argb {
  double a = 0.0, r = 0.0, g = 0.0, b = 0.0;
};

// One frame: size, a perspective camera, the unit sphere's placement, material and lights.
struct sphere_scene {
  int width = 0, height = 0;
  render_properties camera;
  hxsdk::mat4 model_matrix;
  material_properties material;
  std::vector<light_properties> lights;
};

constexpr double kPi = 3.14159265358979323846;
constexpr int kLightSlots = 8;

inline rgba to_rgba(const hxsdk::vec4& v) {
  return {v.x, v.y, v.z, v.w};
}
inline double clamp01(double x) {
  return std::clamp(x, 0.0, 1.0);
}

// OpenCL's saturating conversion to an unsigned type, rounding towards zero; NaN gives 0.
inline double saturate_truncate(double v, double maximum) {
  return !(v > 0.0) ? 0.0 : v >= maximum ? maximum : std::trunc(v);
}

// 16 bits: halving maps 65535 to 32767, the host's 16-bit range without its white 32768.
inline double to_channel(double v, int bytes_per_channel) {
  return bytes_per_channel == 1   ? saturate_truncate(v * 255.0, 255.0)
         : bytes_per_channel == 2 ? std::floor(saturate_truncate(v * 65535.0, 65535.0) / 2.0)
                                  : v;
}

inline double spot_cone_cos(double cone_angle_degrees) {
  return std::cos(cone_angle_degrees * kPi / 360.0);
}

// A spot's strength at cos_to_axis from its axis: with feather > 0 a ramp, linear in angle,
// from 0 at the half angle h to 1 at h (1 - feather), rounded by smoothstep and squared.
inline double spot_factor(double cos_to_axis, double cone_cos, double feather) {
  double a = 1.0;
  if (cos_to_axis <= cone_cos) {
    a = 0.0;
  } else if (feather > 0.0) {
    const double half_angle = std::acos(cone_cos);
    a = clamp01(std::max(0.0, (half_angle - std::acos(cos_to_axis)) / half_angle) / feather);
  }
  const double s = a * a * (3.0 - 2.0 * a);  // smoothstep; a is in 0..1
  return clamp01(s * s);
}

// GGX distribution with alpha = r'^3 (roughness lifted to 0.125..1) times Schlick-GGX
// visibilities 1 / (x (1 - k) + k), k = alpha / 2, over 4, weighted by N.V (the caller's N.L).
inline double specular_term(vec3 n, double roughness, double n_dot_l_clamped, vec3 h, vec3 v) {
  const double n_dot_h = std::max(0.0, dot(n, h));
  const double alpha = std::pow(roughness * 0.875 + 0.125, 3);
  const double alpha2 = alpha * alpha;
  const double q = n_dot_h * n_dot_h * (alpha2 - 1.0) + 1.0;
  const double distribution = alpha2 / (3.1415927 * q * q);
  const auto visibility = [k = alpha / 2.0](double x) { return 1.0 / (x * (1.0 - k) + k); };
  const double n_dot_v = std::max(0.0, dot(n, v));
  return distribution * visibility(n_dot_v) * visibility(n_dot_l_clamped) / 4.0 * n_dot_v;
}

// Up to 8 slots in list order, and the sum of the ambient colours met before they ran out.
struct packed_lights {
  std::vector<light_properties> slots;
  rgba ambient;
};
inline packed_lights pack_light_list(const std::vector<light_properties>& lights) {
  packed_lights packed;
  for (const light_properties& l : lights) {
    if (static_cast<int>(packed.slots.size()) == kLightSlots) {
      break;
    }
    if (l.light_type == kLightAmbient) {
      packed.ambient = packed.ambient + to_rgba(l.color);
    } else {
      packed.slots.push_back(l);
    }
  }
  return packed;
}

// One fragment of the sphere as the fragment stage sees it.
struct surface_fragment {
  vec3 world_position;
  vec3 model_position;  // on the unit sphere
  vec3 flat_normal;     // world, unit, turned towards the viewer on the far (inner) side
};

// Fragments on the ray through one window position: the outside and the inside.
struct ray_hits {
  std::optional<surface_fragment> front;
  std::optional<surface_fragment> back;
};
// Where the ray through window position (wx, wy) meets the sphere, before culling.
inline ray_hits sphere_hits(const sphere_scene& scene, double wx, double wy) {
  // The view ray is where the planes clip.x = ndc_x clip.w and clip.y = ndc_y clip.w meet,
  // along the cross product of their normals, the way clip.w grows.
  const auto column = [](const hxsdk::mat4& m, int c) {
    return vec3{m[4 * c], m[4 * c + 1], m[4 * c + 2]};
  };
  const auto clip_row = [&](int r) {  // of projection x view, without its translation
    const hxsdk::mat4 &v = scene.camera.view_matrix, &p = scene.camera.projection_matrix;
    vec3 row;
    for (int k = 0; k < 4; ++k) {
      row = row + vec3{v[k], v[4 + k], v[8 + k]} * p[4 * k + r];
    }
    return row;
  };
  const vec3 eye = to_vec3(scene.camera.eye_position);
  vec3 d = normalize(cross(clip_row(0) - clip_row(3) * (2.0 * wx / scene.width - 1.0),
                           clip_row(1) - clip_row(3) * (2.0 * wy / scene.height - 1.0)));
  d = dot(d, clip_row(3)) > 0.0 ? d : d * -1.0;
  // |eye + s d - c|^2 = r^2 for centre c, radius r; the model point is L^T (p - c) / r^2.
  const hxsdk::mat4& model = scene.model_matrix;
  const vec3 c = column(model, 3);
  const double r2 = dot(column(model, 0), column(model, 0));
  const vec3 oc = eye - c;
  const double b = dot(oc, d);
  const double discriminant = b * b - dot(oc, oc) + r2;
  ray_hits hits;
  for (const double s : {-b - std::sqrt(discriminant), -b + std::sqrt(discriminant)}) {
    if (discriminant < 0.0 || s <= 0.0) {
      continue;  // a miss, or behind the eye
    }
    surface_fragment f;
    f.world_position = eye + d * s;
    const vec3 p = f.world_position - c;
    f.model_position =
        vec3{dot(column(model, 0), p), dot(column(model, 1), p), dot(column(model, 2), p)} *
        (1.0 / r2);
    const vec3 n = normalize(p);
    const bool outside = dot(n, eye - f.world_position) > 0.0;
    f.flat_normal = outside ? n : n * -1.0;
    (outside ? hits.front : hits.back) = f;
  }
  return hits;
}

// Accumulated direct light of one fragment.
struct direct_light {
  double amount = 1.0;                  // A: signed, drives the illumination's shadow/light split
  rgba diffuse = {1.0, 1.0, 1.0, 1.0};  // Ld; unlit surfaces take the material colour as it is
  rgba specular;                        // Ls
};

inline direct_light lit_light(const sphere_scene& scene, vec3 p, vec3 v, vec3 nf) {
  const material_properties& m = scene.material;
  const packed_lights packed = pack_light_list(scene.lights);
  const vec3 n = nf;  // without a normal map the shading normal is the flat one
  direct_light d{0.0, {}, {}};
  for (const light_properties& l : packed.slots) {
    const vec3 to_light = l.light_type == kLightParallel ? normalize(to_vec3(l.direction) * -1.0)
                                                         : normalize(to_vec3(l.position) - p);
    const double spot = l.light_type == kLightSpot
                            ? spot_factor(-dot(to_vec3(l.direction), to_light),
                                          spot_cone_cos(l.cone_angle), l.cone_feather)
                            : 1.0;
    const double nf_dot_l = dot(nf, to_light);
    const double n_dot_l = dot(n, to_light);
    const double n_dot_l_clamped = std::max(0.0, n_dot_l);
    // Light reaching the flat surface: 1 facing the light, down to 0 at -(1 - 0.99 clip).
    const double k = 1.0 - clamp01(nf_dot_l * -(1.0 / (1.0 - m.clip_lighting * 0.99)));
    const double grey = clamp01((l.color.x + l.color.y + l.color.z) / 3.0);
    // The bump influence mixes the flat and shading normals' N.L into the light amount.
    d.amount += spot * (nf_dot_l + (n_dot_l - nf_dot_l) * m.bump_influence * k) * grey;
    const double reach = spot * n_dot_l_clamped * k;
    const double highlight =
        specular_term(n, 1.0 - m.glossiness, n_dot_l_clamped, normalize(to_light + v), v);
    d.specular = d.specular + to_rgba(l.color) * (reach * highlight);
    d.diffuse = d.diffuse + to_rgba(l.color) * reach;
  }
  d.specular = d.specular * m.specular;
  d.diffuse = d.diffuse * m.diffuse + packed.ambient * m.ambient;
  return d;
}

inline rgba shade_fragment(const sphere_scene& scene, const surface_fragment& fragment) {
  const material_properties& m = scene.material;
  const vec3 v = normalize(to_vec3(scene.camera.eye_position) - fragment.world_position);
  const vec3 nf = fragment.flat_normal;
  const direct_light light =
      m.unlit != 0 ? direct_light{} : lit_light(scene, fragment.world_position, v, nf);

  // Self-illumination: y^bias blended with 1 by |fresnel| (off below bias 0.01), y = 1 - N.V
  // brightening the rim (fresnel > 0), y = N.V the centre; then split into shadow and light
  // shares by the light amount A.
  const double n_dot_v = clamp01(dot(nf, v));
  const double y = m.fresnel > 0.0 ? 1.0 - n_dot_v : n_dot_v;
  const double fresnel = m.fresnel_bias < 0.01 ? 1.0
                                               : std::pow(y, m.fresnel_bias) * std::abs(m.fresnel) +
                                                     (1.0 - std::abs(m.fresnel));
  const double t = clamp01(light.amount + m.shadow_light_expansion);
  // Up to 1 as it is, each further unit of contrast times 2^1.5.
  const double contrast = std::min<double>(m.shadow_light_contrast, 1.0) *
                          std::pow(2.0, 1.5 * std::max(0.0, m.shadow_light_contrast - 1.0));
  const double split = m.shadow_light;
  const double shadow_share =
      std::pow(1.0 - t, contrast) * std::max(0.0, 1.0 - std::max(0.0, split));
  const double light_share = std::pow(t, contrast) * std::max(0.0, 1.0 - std::max(0.0, -split));

  const rgba base = to_rgba(m.model_color);
  rgba c = {base.r * light.diffuse.r, base.g * light.diffuse.g, base.b * light.diffuse.b, 0.0};
  c = c + light.specular + to_rgba(m.illumination_color) * (fresnel * (shadow_share + light_share));
  // The soft edge: ed maps the view angle to 1 (facing) .. 0 (silhouette); shrink moves the
  // edge inwards, feather is the width of the ramp above it.
  const double feather = std::max(0.001, double(m.edge_feather));
  const double ed = 1.0 - std::acos(n_dot_v) / (kPi * 0.5);
  const double sd = clamp01((ed - m.edge_shrink) / (1.0 - m.edge_shrink * 0.999));
  const bool soft = m.edge_feather > 0.0 || m.edge_shrink > 0.0;
  c.a = base.a * (soft ? clamp01(1.0 - (feather - sd) / feather) : 1.0);
  return {c.r * c.a, c.g * c.a, c.b * c.a, c.a};
}

// The fragments the draw's passes keep: culled by surface mode, then cut to the hemisphere.
inline ray_hits drawn_fragments(const sphere_scene& scene, double window_x, double window_y) {
  ray_hits hits = sphere_hits(scene, window_x, window_y);
  const int mode = scene.material.surface_mode;
  if (mode == 3) {
    hits.front.reset();  // Back: the outside culled
  } else if (mode != 1) {
    hits.back.reset();  // Front and anything else: the inside culled
  }
  if (scene.material.flatten_bottom != 0) {
    for (std::optional<surface_fragment>* f : {&hits.front, &hits.back}) {
      if (*f && (*f)->model_position.y > 0.00001) {
        f->reset();
      }
    }
  }
  return hits;
}

// The premultiplied colour the draw leaves in pixel (x, y), or nothing when none is drawn.
inline std::optional<rgba> material_pixel(const sphere_scene& scene, int x, int y) {
  const ray_hits drawn = drawn_fragments(scene, x + 0.5, y + 0.5);
  if (!drawn.front && !drawn.back) {
    return std::nullopt;
  }
  // Surface All blends the front over the back with colour factors (SRC_ALPHA,
  // ONE_MINUS_SRC_ALPHA): premultiplied colour is multiplied by alpha twice, as in GL.
  const rgba back = drawn.back ? shade_fragment(scene, *drawn.back) : rgba{};
  if (!drawn.front) {
    return back;
  }
  const rgba front = shade_fragment(scene, *drawn.front);
  return scene.material.surface_mode != 1
             ? front
             : rgba{front.r * front.a, front.g * front.a, front.b * front.a, front.a} +
                   back * (1.0 - front.a);
}

// True when pixel (x, y) is a pixel away from every silhouette, hemisphere cut and spot cone
// edge and sees no surface at a grazing angle, where the mesh's facets differ from the sphere.
inline bool pixel_is_clear_of_edges(const sphere_scene& scene, int x, int y) {
  const packed_lights packed = pack_light_list(scene.lights);
  // Which passes draw at a window position, and which spot cones each fragment lies in.
  const auto signature = [&](double wx, double wy) {
    const ray_hits drawn = drawn_fragments(scene, wx, wy);
    std::vector<bool> s{drawn.front.has_value(), drawn.back.has_value()};
    for (const std::optional<surface_fragment>* f : {&drawn.front, &drawn.back}) {
      for (const light_properties& l : packed.slots) {
        if (*f && l.light_type == kLightSpot) {
          const vec3 from_light = normalize((*f)->world_position - to_vec3(l.position));
          s.push_back(dot(to_vec3(l.direction), from_light) > spot_cone_cos(l.cone_angle));
        }
      }
    }
    return s;
  };
  const std::vector<bool> centre = signature(x + 0.5, y + 0.5);
  for (int i = 0; i < 9; ++i) {
    if (signature(x + i % 3 - 0.5, y + i / 3 - 0.5) != centre) {
      return false;
    }
  }
  const ray_hits drawn = drawn_fragments(scene, x + 0.5, y + 0.5);
  const vec3 eye = to_vec3(scene.camera.eye_position);
  for (const std::optional<surface_fragment>* f : {&drawn.front, &drawn.back}) {
    if (*f && dot(normalize(eye - (*f)->world_position), (*f)->flat_normal) < 0.15) {
      return false;
    }
  }
  return true;
}

// Alpha clamped to 0..1, colour divided by it when positive and raised to gamma, converted.
inline argb output_pixel(const rgba& premultiplied, double gamma, int bytes_per_channel) {
  const double a = clamp01(premultiplied.a);
  const double divisor = a > 0.0 ? a : 1.0;
  const auto channel = [&](double premultiplied_value) {
    return to_channel(std::pow(premultiplied_value / divisor, gamma), bytes_per_channel);
  };
  return {to_channel(a, bytes_per_channel), channel(premultiplied.r), channel(premultiplied.g),
          channel(premultiplied.b)};
}

}  // namespace shading_reference
