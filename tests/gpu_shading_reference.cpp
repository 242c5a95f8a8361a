#include "tests/gpu_shading_reference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace shading_reference {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kLightSlots = 8;
constexpr double kHemisphereCutY = 0.00001;

// A 4 x 4 double matrix stored like hxsdk::mat4: column by column, for column vectors.
struct dmat4 {
  std::array<double, 16> e{};
  double at(int row, int column) const { return e[4 * column + row]; }
  double& at(int row, int column) { return e[4 * column + row]; }
};
using dvec4 = std::array<double, 4>;

dmat4 widen(const hxsdk::mat4& m) {
  dmat4 d;
  for (int i = 0; i < 16; ++i) {
    d.e[i] = m[i];
  }
  return d;
}

dvec4 apply(const dmat4& m, dvec4 v) {
  dvec4 out{};
  for (int k = 0; k < 16; ++k) {
    out[k % 4] += m.e[k] * v[k / 4];
  }
  return out;
}

// Entry (r, c) of a b sums over k; i runs over every (r, k, c).
dmat4 product(const dmat4& a, const dmat4& b) {
  dmat4 p;
  for (int i = 0; i < 64; ++i) {
    p.at(i % 4, i / 16) += a.at(i % 4, i / 4 % 4) * b.at(i / 4 % 4, i / 16);
  }
  return p;
}

// Gauss-Jordan elimination with partial pivoting on the rows of [m | I]: a different road to
// the inverse than the cofactor expansion the module uses, so that the two cannot share a
// mistake.
dmat4 inverted(const dmat4& m) {
  std::array<std::array<double, 8>, 4> a{};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      a[r][c] = m.at(r, c);
    }
    a[r][4 + r] = 1.0;
  }
  for (int column = 0; column < 4; ++column) {
    int pivot = column;
    for (int r = column + 1; r < 4; ++r) {
      pivot = std::abs(a[r][column]) > std::abs(a[pivot][column]) ? r : pivot;
    }
    std::swap(a[column], a[pivot]);
    const double scale = a[column][column];
    for (double& v : a[column]) {
      v /= scale;
    }
    for (int r = 0; r < 4; ++r) {
      const double factor = r == column ? 0.0 : a[r][column];
      for (int k = 0; k < 8; ++k) {
        a[r][k] -= factor * a[column][k];
      }
    }
  }
  dmat4 inverse;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      inverse.at(r, c) = a[r][4 + c];
    }
  }
  return inverse;
}

rgba to_rgba(const hxsdk::vec4& v) {
  return {v.x, v.y, v.z, v.w};
}
double clamp01(double x) {
  return std::clamp(x, 0.0, 1.0);
}
double smoothstep01(double x) {
  const double t = clamp01(x);
  return t * t * (3.0 - 2.0 * t);
}

// Both points where the ray through window position (wx, wy) meets the sphere, before
// culling: the near one sees the outside, the far one the inside.
ray_hits sphere_hits(const sphere_scene& scene, double wx, double wy) {
  // Window to normalised device coordinates; two depths on the pixel's ray, unprojected.
  const dmat4 inverse_view_projection =
      inverted(product(widen(scene.camera.projection_matrix), widen(scene.camera.view_matrix)));
  const dmat4 inverse_model = inverted(widen(scene.model_matrix));
  const double ndc_x = 2.0 * wx / scene.width - 1.0;
  const double ndc_y = 2.0 * wy / scene.height - 1.0;
  const auto unprojected = [&](double depth) {
    const dvec4 p = apply(inverse_view_projection, {ndc_x, ndc_y, depth, 1.0});
    return vec3{p[0] / p[3], p[1] / p[3], p[2] / p[3]};
  };
  const vec3 origin = unprojected(-1.0);
  const vec3 ray = unprojected(0.0) - origin;

  // In model space the sphere is |p| = 1 and the ray stays a line with the same parameter:
  // |o + s d|^2 = 1 is a quadratic in s.
  const auto to_model = [&](vec3 v, double w) {
    const dvec4 m = apply(inverse_model, {v.x, v.y, v.z, w});
    return vec3{m[0], m[1], m[2]};
  };
  const vec3 o = to_model(origin, 1.0);
  const vec3 d = to_model(ray, 0.0);
  const double a = dot(d, d);
  const double b = 2.0 * dot(o, d);
  const double discriminant = b * b - 4.0 * a * (dot(o, o) - 1.0);
  ray_hits hits;
  if (discriminant < 0.0) {
    return hits;
  }
  const double root = std::sqrt(discriminant);
  for (const double s : {(-b - root) / (2.0 * a), (-b + root) / (2.0 * a)}) {
    if (s <= 0.0) {
      continue;  // before the near plane
    }
    surface_fragment f;
    f.world_position = origin + ray * s;
    f.model_position = o + d * s;
    // The model normal p carried by the transposed inverse of the model matrix's linear part.
    const vec3 p = f.model_position;
    const dmat4& inv = inverse_model;
    const vec3 n = normalize(vec3{inv.at(0, 0) * p.x + inv.at(1, 0) * p.y + inv.at(2, 0) * p.z,
                                  inv.at(0, 1) * p.x + inv.at(1, 1) * p.y + inv.at(2, 1) * p.z,
                                  inv.at(0, 2) * p.x + inv.at(1, 2) * p.y + inv.at(2, 2) * p.z});
    const bool outside = dot(n, to_vec3(scene.camera.eye_position) - f.world_position) > 0.0;
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

direct_light lit_light(const sphere_scene& scene, vec3 p, vec3 v, vec3 nf) {
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
    const double k = terminator_factor(nf_dot_l, m.clip_lighting);
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

rgba shade_fragment(const sphere_scene& scene, const surface_fragment& fragment) {
  const material_properties& m = scene.material;
  const vec3 v = normalize(to_vec3(scene.camera.eye_position) - fragment.world_position);
  const vec3 nf = fragment.flat_normal;
  const direct_light light =
      m.unlit != 0 ? direct_light{} : lit_light(scene, fragment.world_position, v, nf);

  // Self-illumination, split into the share on the shadow side and the share on the light
  // side by the light amount A.
  const double fresnel = illumination_fresnel(clamp01(dot(nf, v)), m.fresnel, m.fresnel_bias);
  const double t = clamp01(light.amount + m.shadow_light_expansion);
  const double contrast = shadow_light_contrast_exponent(m.shadow_light_contrast);
  const double split = m.shadow_light;
  const double shadow_share =
      std::pow(1.0 - t, contrast) * std::max(0.0, 1.0 - std::max(0.0, split));
  const double light_share = std::pow(t, contrast) * std::max(0.0, 1.0 - std::max(0.0, -split));

  // Without a diffuse map D = 1, and without an environment map both environment terms are 0.
  const rgba base = to_rgba(m.model_color);
  rgba c = {base.r * light.diffuse.r, base.g * light.diffuse.g, base.b * light.diffuse.b, 0.0};
  c = c + light.specular + to_rgba(m.illumination_color) * (fresnel * (shadow_share + light_share));
  c.a = base.a * edge_alpha_factor(dot(v, nf), m.edge_feather, m.edge_shrink);
  return {c.r * c.a, c.g * c.a, c.b * c.a, c.a};
}

// OpenCL's saturating conversion to an unsigned integer type with its default rounding
// towards zero; NaN becomes 0.
double saturate_truncate(double v, double maximum) {
  return !(v > 0.0) ? 0.0 : v >= maximum ? maximum : std::trunc(v);
}

double to_channel(double v, int bytes_per_channel) {
  switch (bytes_per_channel) {
    case 1:
      return saturate_truncate(v * 255.0, 255.0);
    case 2:
      // Halving maps 65535 to 32767, the host's 16-bit range without its white 32768.
      return std::floor(saturate_truncate(v * 65535.0, 65535.0) / 2.0);
    default:
      return v;
  }
}

}  // namespace

double shadow_light_contrast_exponent(double contrast) {
  return std::min(contrast, 1.0) * std::pow(2.0, 1.5 * std::max(0.0, contrast - 1.0));
}

double box_feathering_exponent(double uv_feathering) {
  return (1.0 - uv_feathering) * (1.0 - uv_feathering) * 64.0 + 1.0;
}

double spot_cone_cos(double cone_angle_degrees) {
  return std::cos(cone_angle_degrees * kPi / 360.0);
}

// With feather > 0 the strength ramps linearly in angle from 0 at the cone's half angle h to
// 1 at h (1 - feather); smoothstep then rounds both ends of the ramp and the square darkens
// its outer part.
double spot_factor(double cos_to_axis, double cone_cos, double feather) {
  double a = 1.0;
  if (cos_to_axis <= cone_cos) {
    a = 0.0;
  } else if (feather > 0.0) {
    const double half_angle = std::acos(cone_cos);
    a = clamp01(std::max(0.0, (half_angle - std::acos(cos_to_axis)) / half_angle) / feather);
  }
  const double s = smoothstep01(a);
  return clamp01(s * s);
}

// Linear in Nf.L: 1 where the surface faces the light, 0 from Nf.L = -(1 - 0.99 clip) on.
double terminator_factor(double nf_dot_l, double clip_lighting) {
  return 1.0 - clamp01(nf_dot_l * -(1.0 / (1.0 - clip_lighting * 0.99)));
}

// D: GGX normal distribution with alpha = r'^3, r' the roughness lifted to 0.125..1 so that
// a mirror does not become an infinitely thin spike. Gv, Gl: Schlick-GGX visibility terms in
// the form 1 / (x (1 - k) + k), k = alpha / 2, which fold the 1 / (N.V) and 1 / (N.L) of the
// Cook-Torrance denominator in. The result D Gv Gl / 4 is then weighted by N.V (the caller
// weights by N.L).
double specular_term(vec3 n, double roughness, double n_dot_l_clamped, vec3 h, vec3 v) {
  const double n_dot_h = std::max(0.0, dot(n, h));
  const double lifted = roughness * 0.875 + 0.125;
  const double alpha = lifted * lifted * lifted;
  const double alpha2 = alpha * alpha;
  const double q = n_dot_h * n_dot_h * (alpha2 - 1.0) + 1.0;
  const double distribution = alpha2 / (3.1415927 * q * q);
  const double k = alpha / 2.0;
  const double n_dot_v = std::max(0.0, dot(n, v));
  const double visibility_v = 1.0 / (n_dot_v * (1.0 - k) + k);
  const double visibility_l = 1.0 / (n_dot_l_clamped * (1.0 - k) + k);
  return distribution * visibility_v * visibility_l / 4.0 * n_dot_v;
}

// A blend of the curve y^bias with 1 by |strength|: y = 1 - N.V brightens the rim
// (strength > 0), y = N.V the centre (strength <= 0). Off below bias 0.01.
double illumination_fresnel(double n_dot_v, double strength, double bias) {
  if (bias < 0.01) {
    return 1.0;
  }
  const double y = strength > 0.0 ? 1.0 - n_dot_v : n_dot_v;
  return std::pow(y, bias) * std::abs(strength) + (1.0 - std::abs(strength));
}

// ed: the angle between view and normal mapped linearly to 1 (facing) .. 0 (silhouette);
// shrink moves the edge inwards, feather is the width of the ramp from 0 to 1 above it.
double edge_alpha_factor(double v_dot_nf, double edge_feather, double edge_shrink) {
  if (!(edge_feather > 0.0 || edge_shrink > 0.0)) {
    return 1.0;
  }
  const double f = std::max(0.001, edge_feather);
  const double ed = 1.0 - std::acos(std::clamp(v_dot_nf, 0.0, 1.0)) / (kPi * 0.5);
  const double sd = clamp01((ed - edge_shrink) / (1.0 - edge_shrink * 0.999));
  return clamp01(1.0 - (f - sd) / f);
}

packed_lights pack_light_list(const std::vector<light_properties>& lights) {
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

ray_hits drawn_fragments(const sphere_scene& scene, double window_x, double window_y) {
  ray_hits hits = sphere_hits(scene, window_x, window_y);
  const int mode = scene.material.surface_mode;
  if (mode == 3) {
    hits.front.reset();  // Back: the outside culled
  } else if (mode != 1) {
    hits.back.reset();  // Front and anything else: the inside culled
  }
  if (scene.material.flatten_bottom != 0) {
    for (std::optional<surface_fragment>* f : {&hits.front, &hits.back}) {
      if (*f && (*f)->model_position.y > kHemisphereCutY) {
        f->reset();
      }
    }
  }
  return hits;
}

std::optional<rgba> material_pixel(const sphere_scene& scene, int x, int y) {
  const ray_hits drawn = drawn_fragments(scene, x + 0.5, y + 0.5);
  if (!drawn.front && !drawn.back) {
    return std::nullopt;
  }
  // The back pass writes unblended into a target cleared to 0; the front pass then blends
  // with colour factors (SRC_ALPHA, ONE_MINUS_SRC_ALPHA) and alpha factors (ONE,
  // ONE_MINUS_SRC_ALPHA). The program's colour is already premultiplied, so the colour
  // channels end up multiplied by alpha twice: that is what GL computes.
  rgba target = drawn.back ? shade_fragment(scene, *drawn.back) : rgba{};
  if (drawn.front) {
    const rgba source = shade_fragment(scene, *drawn.front);
    if (scene.material.surface_mode == 1) {
      const double keep = 1.0 - source.a;
      target = {source.r * source.a + target.r * keep, source.g * source.a + target.g * keep,
                source.b * source.a + target.b * keep, source.a + target.a * keep};
    } else {
      target = source;
    }
  }
  return target;
}

bool pixel_is_clear_of_edges(const sphere_scene& scene, int x, int y) {
  constexpr double kMinimumFacing = 0.15;
  const packed_lights packed = pack_light_list(scene.lights);
  // What the picture is made of at one window position: which passes draw there, and for
  // each drawn fragment which spot cones it lies in.
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
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      if (signature(x + 0.5 + dx, y + 0.5 + dy) != centre) {
        return false;
      }
    }
  }
  const ray_hits drawn = drawn_fragments(scene, x + 0.5, y + 0.5);
  for (const std::optional<surface_fragment>* f : {&drawn.front, &drawn.back}) {
    if (*f) {
      const vec3 v = normalize(to_vec3(scene.camera.eye_position) - (*f)->world_position);
      if (dot(v, (*f)->flat_normal) < kMinimumFacing) {
        return false;
      }
    }
  }
  return true;
}

double covered_fraction(const sphere_scene& scene, int x, int y, int n) {
  int covered = 0;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      const ray_hits drawn = drawn_fragments(scene, x + (i + 0.5) / n, y + (j + 0.5) / n);
      covered += (drawn.front || drawn.back) ? 1 : 0;
    }
  }
  return static_cast<double>(covered) / (n * n);
}

argb output_pixel(const rgba& premultiplied, double gamma, int bytes_per_channel) {
  const double a = clamp01(premultiplied.a);
  const double divisor = a > 0.0 ? a : 1.0;
  const auto channel = [&](double premultiplied_value) {
    return to_channel(std::pow(premultiplied_value / divisor, gamma), bytes_per_channel);
  };
  return {to_channel(a, bytes_per_channel), channel(premultiplied.r), channel(premultiplied.g),
          channel(premultiplied.b)};
}

}  // namespace shading_reference
