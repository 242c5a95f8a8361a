#include "tests/gpu_shading_reference.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
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

struct dvec4 {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double w = 0.0;
};

dmat4 widen(const hxsdk::mat4& m) {
  dmat4 d;
  for (std::size_t i = 0; i < 16; ++i) {
    d.e[i] = m[i];
  }
  return d;
}

dmat4 product(const dmat4& a, const dmat4& b) {
  dmat4 p;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      double sum = 0.0;
      for (int k = 0; k < 4; ++k) {
        sum += a.at(r, k) * b.at(k, c);
      }
      p.at(r, c) = sum;
    }
  }
  return p;
}

// Gauss-Jordan elimination with partial pivoting: a different road to the inverse than the
// cofactor expansion the module uses, so that the two cannot share a mistake.
dmat4 inverted(const dmat4& m) {
  dmat4 a = m;
  dmat4 inv;
  for (int i = 0; i < 4; ++i) {
    inv.at(i, i) = 1.0;
  }
  for (int column = 0; column < 4; ++column) {
    int pivot = column;
    for (int row = column + 1; row < 4; ++row) {
      if (std::abs(a.at(row, column)) > std::abs(a.at(pivot, column))) {
        pivot = row;
      }
    }
    for (int k = 0; k < 4; ++k) {
      std::swap(a.at(column, k), a.at(pivot, k));
      std::swap(inv.at(column, k), inv.at(pivot, k));
    }
    const double scale = 1.0 / a.at(column, column);
    for (int k = 0; k < 4; ++k) {
      a.at(column, k) *= scale;
      inv.at(column, k) *= scale;
    }
    for (int row = 0; row < 4; ++row) {
      if (row == column) {
        continue;
      }
      const double factor = a.at(row, column);
      for (int k = 0; k < 4; ++k) {
        a.at(row, k) -= factor * a.at(column, k);
        inv.at(row, k) -= factor * inv.at(column, k);
      }
    }
  }
  return inv;
}

dvec4 apply(const dmat4& m, dvec4 v) {
  const double in[4] = {v.x, v.y, v.z, v.w};
  double out[4] = {};
  for (int r = 0; r < 4; ++r) {
    for (int k = 0; k < 4; ++k) {
      out[r] += m.at(r, k) * in[k];
    }
  }
  return {out[0], out[1], out[2], out[3]};
}

dvec4 point(vec3 p) {
  return {p.x, p.y, p.z, 1.0};
}
dvec4 direction(vec3 d) {
  return {d.x, d.y, d.z, 0.0};
}
vec3 xyz(dvec4 v) {
  return {v.x, v.y, v.z};
}
vec3 dehomogenised(dvec4 v) {
  return {v.x / v.w, v.y / v.w, v.z / v.w};
}

vec3 operator+(vec3 a, vec3 b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
vec3 operator-(vec3 a, vec3 b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
vec3 operator-(vec3 a) {
  return {-a.x, -a.y, -a.z};
}
vec3 operator*(vec3 a, double s) {
  return {a.x * s, a.y * s, a.z * s};
}
vec3 cross(vec3 a, vec3 b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

rgba operator+(rgba a, rgba b) {
  return {a.r + b.r, a.g + b.g, a.b + b.b, a.a + b.a};
}
rgba operator*(rgba c, double s) {
  return {c.r * s, c.g * s, c.b * s, c.a * s};
}
rgba to_rgba(const hxsdk::vec4& v) {
  return {v.x, v.y, v.z, v.w};
}

double clamp01(double x) {
  return std::clamp(x, 0.0, 1.0);
}
double mix(double a, double b, double t) {
  return a + (b - a) * t;
}
double smoothstep01(double x) {
  const double t = clamp01(x);
  return t * t * (3.0 - 2.0 * t);
}

// The transforms of one frame, widened to double and inverted once.
struct frame_transforms {
  dmat4 view_projection;
  dmat4 inverse_view_projection;
  dmat4 model;
  dmat4 inverse_model;
};

frame_transforms transforms_of(const sphere_scene& scene) {
  frame_transforms t;
  t.view_projection =
      product(widen(scene.camera.projection_matrix), widen(scene.camera.view_matrix));
  t.inverse_view_projection = inverted(t.view_projection);
  t.model = widen(scene.model_matrix);
  t.inverse_model = inverted(t.model);
  return t;
}

// GL's viewport transform for viewport (0, 0, width, height).
std::optional<std::array<double, 2>> project_to_window(const sphere_scene& scene,
                                                       const dmat4& view_projection, vec3 world) {
  const dvec4 clip = apply(view_projection, point(world));
  if (clip.w <= 0.0) {
    return std::nullopt;
  }
  return std::array<double, 2>{(clip.x / clip.w + 1.0) * 0.5 * scene.width,
                               (clip.y / clip.w + 1.0) * 0.5 * scene.height};
}

// The mesh lists its triangles counter-clockwise seen from outside. A tiny triangle laid
// that way around the model-space normal is carried to the window, and the sign of its area
// there is GL's facing decision; the target's front faces are the clockwise ones. Deciding
// it this way keeps the reference free of any assumption about the camera's handedness.
bool is_front_facing(const sphere_scene& scene, const frame_transforms& t, vec3 model_point) {
  constexpr double kEdge = 1.0e-4;
  const vec3 n = normalize(model_point);
  const vec3 helper = std::abs(n.x) < 0.9 ? vec3{1.0, 0.0, 0.0} : vec3{0.0, 1.0, 0.0};
  const vec3 t1 = normalize(cross(helper, n));
  const vec3 t2 = cross(n, t1);  // (t1, t2, n) right-handed: t1 x t2 = n
  const vec3 corners[3] = {model_point, model_point + t1 * kEdge, model_point + t2 * kEdge};
  std::array<double, 2> window[3];
  for (int i = 0; i < 3; ++i) {
    const auto w =
        project_to_window(scene, t.view_projection, xyz(apply(t.model, point(corners[i]))));
    if (!w) {
      return false;
    }
    window[i] = *w;
  }
  const double signed_area = (window[1][0] - window[0][0]) * (window[2][1] - window[0][1]) -
                             (window[2][0] - window[0][0]) * (window[1][1] - window[0][1]);
  return signed_area < 0.0;
}

// The world normal of the unit-sphere point p: the model normal p carried by the transposed
// inverse of the model matrix's linear part (the translation does not reach a 3 x 3 part).
vec3 world_normal(const frame_transforms& t, vec3 p) {
  const dmat4& inv = t.inverse_model;
  return normalize({inv.at(0, 0) * p.x + inv.at(1, 0) * p.y + inv.at(2, 0) * p.z,
                    inv.at(0, 1) * p.x + inv.at(1, 1) * p.y + inv.at(2, 1) * p.z,
                    inv.at(0, 2) * p.x + inv.at(1, 2) * p.y + inv.at(2, 2) * p.z});
}

surface_fragment fragment_at(const sphere_scene& scene, const frame_transforms& t, vec3 world,
                             vec3 model) {
  surface_fragment f;
  f.world_position = world;
  f.model_position = model;
  f.front_facing = is_front_facing(scene, t, model);
  const vec3 n = world_normal(t, model);
  f.flat_normal = f.front_facing ? n : -n;
  return f;
}

ray_hits hits_with(const sphere_scene& scene, const frame_transforms& t, double window_x,
                   double window_y) {
  // Window to normalised device coordinates; two depths on the pixel's ray, unprojected.
  const double ndc_x = 2.0 * window_x / scene.width - 1.0;
  const double ndc_y = 2.0 * window_y / scene.height - 1.0;
  const vec3 near_point =
      dehomogenised(apply(t.inverse_view_projection, {ndc_x, ndc_y, -1.0, 1.0}));
  const vec3 mid_point = dehomogenised(apply(t.inverse_view_projection, {ndc_x, ndc_y, 0.0, 1.0}));
  const vec3 origin = near_point;
  const vec3 ray = mid_point - near_point;

  // In model space the sphere is |p| = 1 and the ray stays a line with the same parameter:
  // |o + s d|^2 = 1 is a quadratic in s.
  const vec3 o = xyz(apply(t.inverse_model, point(origin)));
  const vec3 d = xyz(apply(t.inverse_model, direction(ray)));
  const double a = dot(d, d);
  const double b = 2.0 * dot(o, d);
  const double c = dot(o, o) - 1.0;
  const double discriminant = b * b - 4.0 * a * c;
  ray_hits hits;
  if (discriminant < 0.0) {
    return hits;
  }
  const double root = std::sqrt(discriminant);
  for (double s : {(-b - root) / (2.0 * a), (-b + root) / (2.0 * a)}) {
    if (s <= 0.0) {
      continue;  // before the near plane
    }
    const surface_fragment f = fragment_at(scene, t, origin + ray * s, o + d * s);
    std::optional<surface_fragment>& slot = f.front_facing ? hits.front : hits.back;
    if (!slot) {
      slot = f;
    }
  }
  return hits;
}

ray_hits drawn_with(const sphere_scene& scene, const frame_transforms& t, double window_x,
                    double window_y) {
  ray_hits hits = hits_with(scene, t, window_x, window_y);
  const int mode = scene.material.surface_mode;
  if (mode == 3) {
    hits.front.reset();  // Back: front faces culled
  } else if (mode != 1) {
    hits.back.reset();  // Front and anything else: back faces culled
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

// Accumulated direct light of one fragment.
struct direct_light {
  double amount = 0.0;  // A: signed, drives the illumination's shadow/light split
  rgba diffuse;         // Ld
  rgba specular;        // Ls
};

direct_light unlit_light() {
  direct_light d;
  d.amount = 1.0;
  d.diffuse = {1.0, 1.0, 1.0, 1.0};
  return d;
}

direct_light lit_light(const sphere_scene& scene, vec3 p, vec3 v, vec3 nf) {
  const material_properties& m = scene.material;
  const packed_lights packed = pack_light_list(scene.lights);
  const vec3 n = nf;  // without a normal map the shading normal is the flat one
  const double roughness = 1.0 - m.glossiness;
  direct_light d;
  for (const light_properties& l : packed.slots) {
    const vec3 to_light = l.light_type == kLightParallel ? normalize(-to_vec3(l.direction))
                                                         : normalize(to_vec3(l.position) - p);
    const double spot = l.light_type == kLightSpot
                            ? spot_factor(dot(to_vec3(l.direction), -to_light),
                                          spot_cone_cos(l.cone_angle), l.cone_feather)
                            : 1.0;
    const vec3 h = normalize(to_light + v);
    const double nf_dot_l = dot(nf, to_light);
    const double n_dot_l = dot(n, to_light);
    const double n_dot_l_clamped = std::max(0.0, n_dot_l);
    const double k = terminator_factor(nf_dot_l, m.clip_lighting);
    const double grey = clamp01((l.color.x + l.color.y + l.color.z) / 3.0);
    d.amount += spot * mix(nf_dot_l, n_dot_l, m.bump_influence * k) * grey;
    const double reach = spot * n_dot_l_clamped * k;
    const double highlight = specular_term(n, roughness, n_dot_l_clamped, h, v);
    d.specular = d.specular + to_rgba(l.color) * (reach * highlight);
    d.diffuse = d.diffuse + to_rgba(l.color) * reach;
  }
  d.specular = d.specular * m.specular;
  d.diffuse = d.diffuse * m.diffuse + packed.ambient * m.ambient;
  return d;
}

}  // namespace

vec3 to_vec3(const hxsdk::vec4& v) {
  return {v.x, v.y, v.z};
}

vec3 normalize(vec3 v) {
  const double length = std::sqrt(dot(v, v));
  return {v.x / length, v.y / length, v.z / length};
}

double dot(vec3 a, vec3 b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

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
    a = std::max(0.0, (half_angle - std::acos(cos_to_axis)) / half_angle);
    a = clamp01(a / feather);
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

ray_hits sphere_hits(const sphere_scene& scene, double window_x, double window_y) {
  return hits_with(scene, transforms_of(scene), window_x, window_y);
}

ray_hits drawn_fragments(const sphere_scene& scene, double window_x, double window_y) {
  return drawn_with(scene, transforms_of(scene), window_x, window_y);
}

rgba shade_fragment(const sphere_scene& scene, const surface_fragment& fragment) {
  const material_properties& m = scene.material;
  const vec3 p = fragment.world_position;
  const vec3 v = normalize(to_vec3(scene.camera.eye_position) - p);
  const vec3 nf = fragment.flat_normal;

  const direct_light light = m.unlit != 0 ? unlit_light() : lit_light(scene, p, v, nf);

  // Self-illumination, split into the share on the shadow side and the share on the light
  // side by the light amount A.
  const double fresnel = illumination_fresnel(clamp01(dot(nf, v)), m.fresnel, m.fresnel_bias);
  const rgba illumination = to_rgba(m.illumination_color) * fresnel;
  const double t = clamp01(light.amount + m.shadow_light_expansion);
  const double contrast = shadow_light_contrast_exponent(m.shadow_light_contrast);
  const double split = m.shadow_light;
  const double shadow_share =
      std::pow(1.0 - t, contrast) * std::max(0.0, 1.0 - std::max(0.0, split));
  const double light_share = std::pow(t, contrast) * std::max(0.0, 1.0 - std::max(0.0, -split));

  // Without a diffuse map D = 1, and without an environment map both environment terms are 0.
  const rgba base = to_rgba(m.model_color);
  rgba c = {base.r * light.diffuse.r, base.g * light.diffuse.g, base.b * light.diffuse.b, 0.0};
  c = c + light.specular + illumination * (shadow_share + light_share);
  c.a = base.a * edge_alpha_factor(dot(v, nf), m.edge_feather, m.edge_shrink);
  return {c.r * c.a, c.g * c.a, c.b * c.a, c.a};
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
  const frame_transforms t = transforms_of(scene);
  const packed_lights packed = pack_light_list(scene.lights);

  // What the picture is made of at one window position: which passes draw there, and for
  // each drawn fragment which spot cones it lies in.
  const auto signature = [&](double wx, double wy) {
    const ray_hits drawn = drawn_with(scene, t, wx, wy);
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

  const double cx = x + 0.5;
  const double cy = y + 0.5;
  const std::vector<bool> centre = signature(cx, cy);
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      if (signature(cx + dx, cy + dy) != centre) {
        return false;
      }
    }
  }
  const ray_hits drawn = drawn_with(scene, t, cx, cy);
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
  const frame_transforms t = transforms_of(scene);
  int covered = 0;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      const ray_hits drawn = drawn_with(scene, t, x + (i + 0.5) / n, y + (j + 0.5) / n);
      if (drawn.front || drawn.back) {
        ++covered;
      }
    }
  }
  return static_cast<double>(covered) / (n * n);
}

std::optional<std::array<double, 2>> window_position(const sphere_scene& scene, vec3 world) {
  return project_to_window(scene, transforms_of(scene).view_projection, world);
}

namespace {

// OpenCL's saturating conversion to an unsigned integer type with its default rounding
// towards zero; NaN becomes 0.
double saturate_truncate(double v, double maximum) {
  if (!(v > 0.0)) {
    return 0.0;
  }
  return v >= maximum ? maximum : std::trunc(v);
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

argb output_pixel(const rgba& premultiplied, double gamma, int bytes_per_channel) {
  const double a = clamp01(premultiplied.a);
  rgba straight = premultiplied;
  if (a > 0.0) {
    straight = {premultiplied.r / a, premultiplied.g / a, premultiplied.b / a, a};
  }
  return {to_channel(a, bytes_per_channel),
          to_channel(std::pow(straight.r, gamma), bytes_per_channel),
          to_channel(std::pow(straight.g, gamma), bytes_per_channel),
          to_channel(std::pow(straight.b, gamma), bytes_per_channel)};
}

}  // namespace shading_reference
