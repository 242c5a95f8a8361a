// The renderer on a real EGL context and OpenCL device: construction, the output transfer, the
// maps it makes, and the material program against a CPU reference and projections written here.
#include <GL/glew.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "renderer/material_programs.h"
#include "renderer/program_library.h"
#include "renderer/render_client.h"
#include "renderer/renderer_thread.h"
#include "renderer/shader_compile_exception.h"
#include "renderer/sphere_mesh.h"
#include "scene/render_data.h"
#include "tests/e2e_plugin_support.h"
#include "tests/gpu_render_harness.h"
#include "tests/resident_memory.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

// The sphere's shading on the CPU for the GPU pixel tests: a ray through a pixel centre meets an
// analytic sphere, shaded in double precision from the formulas' definitions (no maps).
namespace ref {

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
vec3 to_vec3(const hxsdk::vec4& v) {
  return {v.x, v.y, v.z};
}

struct rgba {
  double r = 0.0, g = 0.0, b = 0.0, a = 0.0;
  friend rgba operator+(rgba p, rgba q) { return {p.r + q.r, p.g + q.g, p.b + q.b, p.a + q.a}; }
  friend rgba operator*(rgba p, double s) { return {p.r * s, p.g * s, p.b * s, p.a * s}; }
};

// A host buffer pixel in its own units (0-255, 0-32767 or float), in memory order.
struct argb {
  double a = 0.0, r = 0.0, g = 0.0, b = 0.0;
};

struct sphere_scene {
  int width = 0, height = 0;
  render_properties camera;
  hxsdk::mat4 model_matrix;
  material_properties material;
  std::vector<light_properties> lights;
};

rgba to_rgba(const hxsdk::vec4& v) {
  return {v.x, v.y, v.z, v.w};
}
double clamp01(double x) {
  return std::clamp(x, 0.0, 1.0);
}

double spot_cone_cos(double cone_angle_degrees) {
  return std::cos(cone_angle_degrees * kPi / 360.0);
}

// A spot's strength at cos_to_axis from its axis: with feather > 0 a ramp, linear in angle,
// from 0 at the half angle h to 1 at h (1 - feather), rounded by smoothstep and squared.
double spot_factor(double cos_to_axis, double cone_cos, double feather) {
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
double specular_term(vec3 n, double roughness, double n_dot_l_clamped, vec3 h, vec3 v) {
  const double n_dot_h = std::max(0.0, dot(n, h));
  const double alpha = std::pow(roughness * 0.875 + 0.125, 3), alpha2 = alpha * alpha;
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
packed_lights pack_light_list(const std::vector<light_properties>& lights) {
  packed_lights packed;
  for (const light_properties& l : lights) {
    if (static_cast<int>(packed.slots.size()) == 8) {  // the light slots
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
ray_hits sphere_hits(const sphere_scene& scene, double wx, double wy) {
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
  const double b = dot(oc, d), discriminant = b * b - dot(oc, oc) + r2;
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
    const double nf_dot_l = dot(nf, to_light), n_dot_l = dot(n, to_light);
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

rgba shade_fragment(const sphere_scene& scene, const surface_fragment& fragment) {
  const material_properties& m = scene.material;
  const vec3 v = normalize(to_vec3(scene.camera.eye_position) - fragment.world_position);
  const vec3 nf = fragment.flat_normal;
  const direct_light light =
      m.unlit != 0 ? direct_light{} : lit_light(scene, fragment.world_position, v, nf);

  // Self-illumination: y^bias blended with 1 by |fresnel| (off below bias 0.01), y = 1 - N.V (the
  // rim) for fresnel > 0, else N.V; then split into shadow and light shares by the light amount A.
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
      if (*f && (*f)->model_position.y > 0.00001) {
        f->reset();
      }
    }
  }
  return hits;
}

// The premultiplied colour the draw leaves in pixel (x, y), or nothing when none is drawn.
std::optional<rgba> material_pixel(const sphere_scene& scene, int x, int y) {
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
bool pixel_is_clear_of_edges(const sphere_scene& scene, int x, int y) {
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

// Alpha clamped to 0..1, colour divided by it when positive and raised to gamma, converted as
// OpenCL saturates to an unsigned type (towards zero, NaN to 0); 16 bits then halve 65535 to
// 32767, the host's 16-bit range without its white 32768.
argb output_pixel(const rgba& premultiplied, double gamma, int bytes_per_channel) {
  const auto saturate = [](double v, double maximum) {
    return !(v > 0.0) ? 0.0 : v >= maximum ? maximum : std::trunc(v);
  };
  const auto convert = [&](double v) {
    return bytes_per_channel == 1   ? saturate(v * 255.0, 255.0)
           : bytes_per_channel == 2 ? std::floor(saturate(v * 65535.0, 65535.0) / 2.0)
                                    : v;
  };
  const double a = clamp01(premultiplied.a), divisor = a > 0.0 ? a : 1.0;
  const auto channel = [&](double value) { return convert(std::pow(value / divisor, gamma)); };
  return {convert(a), channel(premultiplied.r), channel(premultiplied.g), channel(premultiplied.b)};
}

}  // namespace ref

using gpu_render::rgba;
using ref::vec3;

// On the render thread: the renderer's texture of a float image of texel(x, y), row 0 first.
GLuint upload(Renderer& renderer, int width, int height,
              const std::function<rgba(int x, int y)>& texel) {
  std::vector<float> argb;
  for (int i = 0; i < width * height; ++i) {
    const rgba c = texel(i % width, i / width);
    argb.insert(argb.end(), {c[3], c[0], c[1], c[2]});
  }
  return renderer.upload_texture({width * 16, 4, width, height, argb.data()});
}

// Every field the shading reads set explicitly, the rest 0: a lit, moderately glossy orange
// surface with no maps, no reflection and no self-illumination.
material_properties plain_material() {
  material_properties m;
  m.surface_mode = 2;
  m.diffuse_blend = m.diffuse_gamma = m.glossiness_gamma = m.illumination_gamma = 1.0f;
  m.environment_gamma = m.diffuse_brightness = m.glossiness_brightness = 1.0f;
  m.illumination_brightness = m.environment_brightness = m.normal_amount = m.ambient = 1.0f;
  m.shadow_light_contrast = 1.0f;
  m.clip_lighting = m.bump_influence = m.glossiness = m.uv_feathering = 0.5f;
  m.model_color = {0.8f, 0.6f, 0.4f, 1.0f};
  m.illumination_color = {0.0f, 0.0f, 0.0f, 1.0f};
  m.diffuse = 0.9f, m.specular = 0.3f;
  m.uv_type = m.uv_mode = 1, m.uv_repeat = {1.0f, 1.0f};
  return m;
}

// A camera in the host's orientation, y down and buffer row 0 at the top, so that the mesh's
// outside faces come out clockwise; the textbook frustum (near 1, far 100000, fov_y in degrees).
render_properties look_at_camera(hxsdk::vec4 eye, hxsdk::vec4 target, float fov_y, int width,
                                 int height) {
  const ref::vec3 e = ref::to_vec3(eye);
  const ref::vec3 forward = normalize(ref::to_vec3(target) - e);
  const ref::vec3 right = normalize(ref::vec3{forward.z, 0.0, -forward.x});  // down x forward
  const ref::vec3 rows[3] = {right, cross(forward, right), forward * -1.0};
  render_properties camera;
  camera.view_size = {static_cast<float>(width), static_cast<float>(height)};
  for (int i = 0; i < 12; ++i) {  // column i / 3, row i % 3
    const ref::vec3& row = rows[i % 3];
    const double column[4] = {row.x, row.y, row.z, -dot(row, e)};
    camera.view_matrix[4 * (i / 3) + i % 3] = float(column[i / 3]);
  }
  camera.view_matrix[15] = 1.0f;
  const float f = 1.0f / std::tan(fov_y * 3.14159265f / 360.0f);
  camera.projection_matrix[0] = f * static_cast<float>(height) / static_cast<float>(width);
  camera.projection_matrix[5] = f;
  camera.projection_matrix[10] = (100000.0f + 1.0f) / (1.0f - 100000.0f);
  camera.projection_matrix[11] = -1.0f;
  camera.projection_matrix[14] = 2.0f * 100000.0f / (1.0f - 100000.0f);
  camera.eye_position = {eye.x, eye.y, eye.z, 0.0f};
  return camera;
}

struct output_format {
  unsigned int samples = 0;            // GPU multisampling; 0 = none
  std::uint8_t bytes_per_channel = 4;  // 1, 2 or 4
  std::int32_t row_padding = 0;        // bytes after each row's pixels
  float gamma = 1.0f;                  // exponent applied to straight colour on output
};

// The output buffer of one frame, ARGB pixels, every byte 0xA5 until written.
struct rendered_image {
  rendered_image(int w, int h, const output_format& format)
      : width(w),
        height(h),
        bytes_per_channel(format.bytes_per_channel),
        row_bytes(w * 4 * format.bytes_per_channel + format.row_padding),
        bytes(static_cast<std::size_t>(row_bytes) * h, std::byte{0xA5}) {}
  int width, height, bytes_per_channel;
  std::int32_t row_bytes;
  std::vector<std::byte> bytes;

  // Pixel (x, y) in the buffer's units (0-255, 0-32767 or float).
  ref::argb pixel(int x, int y) const {
    const auto channel = [&](int i) -> double {
      const std::byte* at = &bytes[y * row_bytes + (4 * x + i) * bytes_per_channel];
      std::uint16_t word = 0;
      float value = 0.0f;
      std::memcpy(bytes_per_channel == 2 ? static_cast<void*>(&word) : &value, at,
                  bytes_per_channel);
      return bytes_per_channel == 1   ? std::to_integer<int>(*at)
             : bytes_per_channel == 2 ? word
                                      : value;
    };
    return {channel(0), channel(1), channel(2), channel(3)};
  }

  render_data output() {
    render_data output;
    output.output_image = {row_bytes, static_cast<std::uint32_t>(bytes_per_channel), width, height,
                           bytes.data()};
    output.inv_downsample_x = output.inv_downsample_y = output.inv_pixel_aspect = 1.0f;
    output.render_width = width;
    output.render_height = height;
    output.bytes_per_channel = static_cast<std::uint8_t>(bytes_per_channel);
    return output;
  }
};

// A suite sharing one render thread (GL context, OpenCL device, programs) and the mesh.
class GpuRenderer : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    try {
      thread_ = std::make_unique<RendererThread>();
      sphere_ = load_sphere_mesh(*thread_);
    } catch (const std::exception& e) {
      thread_.reset();
      failure_ = e.what();
    }
  }
  static void TearDownTestSuite() { thread_.reset(); }
  void SetUp() override { ASSERT_TRUE(thread_) << "no renderer: " << failure_; }

  static void run(const std::function<void(Renderer&)>& job) { thread_->run_on_renderer(job); }

  // One frame of `scene`, one job per operation as the module's client side posts them.
  static rendered_image render(const ref::sphere_scene& s, const output_format& format = {}) {
    rendered_image image(s.width, s.height, format);
    run([&](Renderer& r) { r.set_output(format.samples, image.output()); });
    run([&](Renderer& r) { r.set_render_properties(s.camera); });
    run([&](Renderer& r) { r.set_lights(s.lights); });
    run([&](Renderer& r) { r.clear_target(); });
    run([&](Renderer& r) { r.draw_model(sphere_, s.model_matrix, s.material); });
    run([&](Renderer& r) { r.accumulate_sample(1.0f); });
    run([&](Renderer& r) { r.read_output(format.gamma); });
    return image;
  }

  // A 256 x 128 map of colour(s, t) at its texel centres, shown unlit on white: the lookup itself.
  static material_properties showing_map(ref::rgba (*colour)(double s, double t)) {
    material_properties m = plain_material();
    m.unlit = 1;
    m.model_color = {1.0f, 1.0f, 1.0f, 1.0f};
    run([&](Renderer& r) {
      m.diffuse_texture = upload(r, 256, 128, [&](int x, int y) {
        const ref::rgba c = colour((x + 0.5) / 256, (y + 0.5) / 128);
        return rgba{float(c.r), float(c.g), float(c.b), 1.0f};
      });
    });
    return m;
  }

  static inline std::unique_ptr<RendererThread> thread_;
  static inline model_ref sphere_;
  static inline std::string failure_;
};

// A program that does not compile shows its log (naming the line) in a box; one taking the
// quad's two texture coordinates as three fails at the link, missing code at once; no box.
TEST_F(GpuRenderer, ProgramsThatDoNotBuildFailConstructionWithTheirMessage) {
  const auto failure_of = [](shader_source renderer_sources::*program, const char* text) {
    renderer_sources sources;
    sources.*program = {text, text == nullptr ? 0 : std::strlen(text)};
    try {
      RendererThread thread([sources] { return std::make_unique<Renderer>(sources); });
    } catch (const shader_compile_exception& error) {
      return std::string(error.what());
    }
    return std::string("built");
  };
  e2e_plugin::MessageBoxCapture boxes;
  EXPECT_EQ(
      failure_of(&renderer_sources::material_fragment,
                 "#version 330\nout vec4 outColor;\nvoid main() { outColor = vec4(1.0) + ; }\n"),
      "failed to compile shader source");
  ASSERT_EQ(boxes.messages.size(), 1u);
  EXPECT_EQ(boxes.messages[0].first, "Shader Log");
  EXPECT_NE(boxes.messages[0].second.find("3"), std::string::npos) << boxes.messages[0].second;
  EXPECT_EQ(failure_of(&renderer_sources::copy_fragment,
                       "#version 330\nin vec3 textureCoords;\nout vec4 outColor;\n"
                       "void main() { outColor = vec4(textureCoords, 1.0); }\n"),
            "failed to link shader program");
  EXPECT_EQ(failure_of(&renderer_sources::material_fragment, nullptr), "invalid shader code");
  EXPECT_EQ(boxes.messages.size(), 1u);
}

// The material program reads its maps from units 0 to 4 and its blocks from bindings 0 and 1,
// where the draw binds them (the image programs' units show in the cube and blur tests). Only
// a program built for all five maps samples all of them.
TEST_F(GpuRenderer, MaterialSamplerUnitsAndBlockBindingsAreSetAfterLinking) {
  std::vector<GLint> units;
  run([&](Renderer&) {
    ProgramLibrary library;
    MaterialPrograms programs(library, shader_sources::material_vert,
                              shader_sources::material_frag);
    material_properties m = plain_material();
    m.diffuse_texture = m.glossiness_texture = m.illumination_texture = 1;
    m.normal_texture = m.environment_texture = 1;
    const GLuint program = programs.program_for(m);
    for (const char* name : {"diffuseSampler", "glossinessSampler", "illuminationSampler",
                             "normalSampler", "environmentSampler"}) {
      glGetUniformiv(program, glGetUniformLocation(program, name), &units.emplace_back(-1));
    }
    for (const char* name : {"TransformMatrices", "Lights"}) {
      glGetActiveUniformBlockiv(program, glGetUniformBlockIndex(program, name),
                                GL_UNIFORM_BLOCK_BINDING, &units.emplace_back(-1));
    }
  });
  EXPECT_EQ(units, (std::vector<GLint>{0, 1, 2, 3, 4, 0, 1}));
}

// Premultiplied colours in the sample target come out as the CPU reference converts them, row
// padding as zeros. The same size keeps the accumulated image: a third of a sample of nothing
// leaves two thirds (not 1/2, to tell the blend's factors apart); a new size starts empty.
TEST_F(GpuRenderer, OutputConversionOfEveryDepthUnpremultipliesClampsAppliesGammaAndPads) {
  const ref::rgba colours[] = {
      {1.0, 1.0, 1.0, 1.0}, {0.25, 0.5, 0.1, 0.5}, {0.36, 0.04, 0.0, 0.0}, {0.5, 0.25, 0.75, 2.0}};
  // Samples, bytes per channel, row padding (whole pixels, as hosts pad) and gamma.
  for (const output_format c : {output_format{0, 1, 20, 1.0f},
                                {0, 2, 24, 1.0f},
                                {0, 4, 32, 1.0f},
                                {0, 4, 0, 0.5f},
                                {0, 1, 4, 0.45f}}) {
    rendered_image full(4, 2, c);
    rendered_image faded(4, 2, c);
    rendered_image taller(4, 3, c);  // new targets
    run([&](Renderer& r) {
      r.set_output(0, full.output());
      // A camera of zeros puts every corner at the eye, so this draw, which covers nothing,
      // claims the whole sample target and leaves it bound for the colours painted over it.
      r.set_render_properties({});
      r.clear_target();
      r.draw_model(sphere_, hxsdk::identity_matrix(), plain_material());
      glEnable(GL_SCISSOR_TEST);
      for (int i = 0; i < 8; ++i) {
        const ref::rgba& p = colours[(i + i / 4) % 4];  // row 1 shifted by one pixel
        glScissor(i % 4, i / 4, 1, 1);
        glClearColor(float(p.r), float(p.g), float(p.b), float(p.a));
        glClear(GL_COLOR_BUFFER_BIT);
      }
      glDisable(GL_SCISSOR_TEST);
      r.accumulate_sample(1.0f);
      r.read_output(c.gamma);
      for (rendered_image* next : {&faded, &taller}) {
        r.set_output(0, next->output());
        r.clear_target();
        r.accumulate_sample(1.0f / 3.0f);
        r.read_output(c.gamma);
      }
    });
    const double tolerance = c.bytes_per_channel == 4 ? 1e-5 : 1.0;  // relaxed maths
    for (int i = 0; i < 12; ++i) {
      const ref::rgba p = colours[(i + i / 4) % 4];
      const ref::argb want[3] = {ref::output_pixel(p, c.gamma, c.bytes_per_channel),
                                 ref::output_pixel(p * (2.0 / 3.0), c.gamma, c.bytes_per_channel),
                                 {}};
      for (int k = i < 8 ? 0 : 2; k < 3; ++k) {
        const ref::argb got = (k == 0 ? full : k == 1 ? faded : taller).pixel(i % 4, i / 4);
        EXPECT_LE(std::max({std::abs(got.a - want[k].a), std::abs(got.r - want[k].r),
                            std::abs(got.g - want[k].g), std::abs(got.b - want[k].b)}),
                  tolerance)
            << int{c.bytes_per_channel} << " bytes, gamma " << c.gamma << ", image " << k
            << ", pixel " << i % 4 << ", " << i / 4;
      }
    }
    for (const rendered_image* image : {&full, &faded, &taller}) {
      for (int i = 0; i < image->height * image->row_bytes; ++i) {
        EXPECT_TRUE(i % image->row_bytes < image->width * 4 * c.bytes_per_channel ||
                    image->bytes[i] == std::byte{0})
            << "padding byte " << i % image->row_bytes << " of row " << i / image->row_bytes;
      }
    }
  }
}

// A map uploaded and deleted again leaves no memory behind: the OpenCL buffer that carried its
// 16 MB of pixels goes with the upload, so eight uploads would show a leak as 128 MB. (Under
// AddressSanitizer freed memory waits in quarantine and looks the same.)
TEST_F(GpuRenderer, UploadingAndDeletingMapsLeavesNoMemoryBehind) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "freed memory stays resident in the sanitizer's quarantine";
#endif
  const auto upload_and_delete = [](int times) {
    run([&](Renderer& r) {
      for (int i = 0; i < times; ++i) {
        r.delete_texture(upload(r, 1024, 1024, [&](int x, int) {
          return rgba{x * 1e-3f, 0, 0, 1};
        }));
      }
    });
  };
  upload_and_delete(6);  // until the allocators hold what a map needs
  const double before = resident_mb();
  upload_and_delete(8);
  EXPECT_LT(resident_mb() - before, 64.0);
}

// Sobel gradients of the mean of red, green and blue over the downsampling, encoded as (n + 1)
// / 2, n = normalize(-gx, -gy, 0.5); a ramp of s per texel gives 8 s (4 s at the clamped ends).
TEST_F(GpuRenderer, NormalMapsHoldTheEncodedSobelNormalOfTheBumps) {
  const struct {
    const char* what;
    float downsampling, sx, sy;
  } cases[] = {{"flat", 1.0f, 0.0f, 0.0f},
               {"ramp along x", 1.0f, 0.01f, 0.0f},
               {"ramp along y", 1.0f, 0.0f, 0.01f},
               {"diagonal ramp", 1.0f, 0.01f, 0.01f},
               {"ramp along x at half resolution", 2.0f, 0.02f, 0.0f}};
  for (const auto& c : cases) {
    std::vector<rgba> texels;
    std::vector<GLint> state;
    GLfloat anisotropy[2] = {0.0f, 0.0f};  // of the normal map and of its uploaded bumps
    rendered_image output(8, 8, {.bytes_per_channel = 1});
    run([&](Renderer& r) {
      render_data frame = output.output();
      frame.inv_downsample_x = frame.inv_downsample_y = c.downsampling;
      r.set_output(0, frame);
      // Heights 0.4 + sx x + sy y in red, green and blue mixes of the same mean.
      const GLuint bump = upload(r, 32, 16, [&](int x, int y) {
        const float h = 0.4f + c.sx * x + c.sy * y;
        return rgba{h * 0.5f, h * 1.5f, h, 0.3f};
      });
      const GLuint normals = r.make_normal_map(bump, 32, 16);
      for (const GLenum binding :
           {GL_TEXTURE_BINDING_2D, GL_FRAMEBUFFER_BINDING, GL_CURRENT_PROGRAM}) {
        glGetIntegerv(binding, &state.emplace_back());
      }
      state[0] = state[0] == GLint(normals);
      for (int i = 0; i < 2 && GLEW_EXT_texture_filter_anisotropic; ++i) {
        glBindTexture(GL_TEXTURE_2D, i == 0 ? normals : bump);
        glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, &anisotropy[i]);
      }
      const std::vector<GLint> sampling = gpu_render::texture_state(
          GL_TEXTURE_2D, normals,
          {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER, GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}, 5);
      state.insert(state.end(), sampling.begin(), sampling.end());
      texels = gpu_render::read_level(GL_TEXTURE_2D, normals, 0);
      r.delete_texture(normals);
      r.delete_texture(bump);
    });
    ASSERT_EQ(texels.size(), 32u * 16u) << c.what;
    gpu_render::mismatches wrong;
    for (int i = 0; i < 32 * 16 * 4; ++i) {
      const int x = i / 4 % 32, y = i / 128;
      const auto gradient = [&](double slope, int at, int size) {
        return (at == 0 || at == size - 1 ? 4.0 : 8.0) * slope / c.downsampling;
      };
      const double gx = gradient(c.sx, x, 32), gy = gradient(c.sy, y, 16);
      const double length = std::sqrt(gx * gx + gy * gy + 0.25);
      const rgba want = {float((-gx / length + 1.0) / 2.0), float((-gy / length + 1.0) / 2.0),
                         float((0.5 / length + 1.0) / 2.0), 1.0f};
      const bool mixed_border = c.sx * c.sy != 0 && (x % 31 == 0 || y % 15 == 0);
      if (!mixed_border && std::abs(texels[i / 4][i % 4] - want[i % 4]) > 1.5e-3f) {
        wrong.add("texel ", x, ", ", y, " channel ", i % 4, ": ", texels[i / 4][i % 4],
                  ", expected ", want[i % 4]);
      }
    }
    EXPECT_EQ(wrong.count, 0) << c.what << wrong.first.str();
    EXPECT_EQ(anisotropy[0], anisotropy[1]);
    EXPECT_EQ(state, (std::vector<GLint>{1, 0, 0, GL_RGBA16F, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR,
                                         GL_REPEAT, GL_REPEAT, 32, 16, 8, 4, 2, 1}))
        << c.what;
  }
}

// --- The environment cube ---

// The equirectangular point of a direction: u turns about y from -z through +x, v from -y (0)
// to +y (1), with the elevation divided by 3.1415.
std::array<double, 2> equirectangular_point(ref::vec3 d) {
  return {std::atan2(d.x, d.z) / (2.0 * kPi) + 0.5,
          std::atan2(d.y, std::hypot(d.x, d.z)) / 3.1415 + 0.5};
}

// Converting is slow, so one image serves every fact: red and green are the texel's u and v,
// blue is 1 where x > 0, alpha 1. Source 0 makes nothing and leaves culling and multisampling on.
TEST_F(GpuRenderer, AnEnvironmentCubeShowsEachDirectionBlursLevelByLevelAndMirrorsOnTheSphere) {
  GLuint cube = 0;
  GLint left_bound[2] = {-1, -1};  // framebuffer and program after converting
  std::vector<GLint> state;
  std::array<std::array<std::vector<rgba>, 6>, 7> levels;  // level, face
  run([&](Renderer& r) {
    glEnable(GL_CULL_FACE);
    glEnable(GL_MULTISAMPLE);
    const int objects_before = gpu_render::live_gl_objects();
    EXPECT_EQ(r.make_environment_cube(0), 0u);
    EXPECT_EQ(gpu_render::live_gl_objects(), objects_before);
    EXPECT_EQ(glIsEnabled(GL_CULL_FACE) + glIsEnabled(GL_MULTISAMPLE), 2);
    glDisable(GL_CULL_FACE);  // as a new context has it
    const GLuint source = upload(r, 1024, 512, [](int x, int y) {
      return rgba{(x + 0.5f) / 1024, (y + 0.5f) / 512, x >= 512 ? 1.0f : 0.0f, 1.0f};
    });
    cube = r.make_environment_cube(source);
    r.delete_texture(source);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &left_bound[0]);
    glGetIntegerv(GL_CURRENT_PROGRAM, &left_bound[1]);
    for (int i = 0; i < 42; ++i) {
      levels[i / 6][i % 6] =
          gpu_render::read_level(GL_TEXTURE_CUBE_MAP_POSITIVE_X + i % 6, cube, i / 6);
    }
    state = gpu_render::texture_state(
        GL_TEXTURE_CUBE_MAP, cube,
        {GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_MAX_LEVEL, GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER},
        9);
  });
  EXPECT_EQ(state, (std::vector<GLint>{GL_RGBA16F, 0, 6, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, 512,
                                       256, 128, 64, 32, 16, 8, 4, 2, 1}));
  EXPECT_EQ(left_bound[0] + left_bound[1], 0);

  // Level 0: texel (i, j) of a face looks where GL's cube face table says; away from the seam,
  // the poles and the blue edge it shows that direction's u, v and blue.
  int compared = 0;
  for (int face = 0; face < 6; ++face) {
    ASSERT_EQ(levels[0][face].size(), std::size_t{512 * 512});
    for (int j = 4; j < 512; j += 24) {
      for (int i = 4; i < 512; i += 24) {
        const double sc = (i + 0.5) / 256 - 1.0;
        const double tc = (j + 0.5) / 256 - 1.0;
        const ref::vec3 directions[6] = {{1.0, -tc, -sc}, {-1.0, -tc, sc}, {sc, 1.0, tc},
                                         {sc, -1.0, -tc}, {sc, -tc, 1.0},  {-sc, -tc, -1.0}};
        const auto [u, v] = equirectangular_point(directions[face]);
        if (u < 0.01 || u > 0.99 || v < 0.02 || v > 0.98 || std::abs(u - 0.5) < 0.01) {
          continue;
        }
        const rgba& got = levels[0][face][j * 512 + i];
        EXPECT_LE(std::max({std::abs(got[0] - u), std::abs(got[1] - v),
                            std::abs(got[2] - (u > 0.5 ? 1.0 : 0.0)) * 3.0}),
                  3e-3)
            << "face " << face << " texel " << i << ", " << j;
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 2000);

  // Symmetric lobes: in blue, mirror images across x = 0 sum to 1 and the bright side spreads
  // further with every level; alpha stays 1 (each level's weights sum to 1).
  double previous_bright = 1.0;
  for (int level = 0; level <= 6; ++level) {
    for (int face = 0; face < 6; ++face) {
      EXPECT_TRUE(std::ranges::all_of(levels[level][face],
                                      [](const rgba& t) { return std::abs(t[3] - 1.0f) <= 2e-3f; }))
          << "level " << level << " face " << face;
    }
    const int size = 512 >> level;
    const int middle = size / 2 * size + size / 2;
    const double bright = levels[level][4][middle + size / 8][2];
    const double dark = levels[level][4][middle - size / 8 - 1][2];
    EXPECT_NEAR(bright + dark, 1.0, 0.03) << "level " << level;
    EXPECT_LE(bright, previous_bright + 0.01) << "level " << level;
    EXPECT_GT(bright, level == 0 ? 0.999 : 0.5) << "level " << level;
    previous_bright = bright;
  }
  EXPECT_LT(previous_bright, 0.85) << "the roughest level is barely blurred";

  // A perfect mirror shows where the eye ray reflects to, after the environment's rotation
  // (half a turn about y negates x and z); away from the seam and the poles.
  for (const double turn : {1.0, -1.0}) {
    ref::sphere_scene scene{96, 80};
    scene.camera = look_at_camera({60.0f, -40.0f, -420.0f, 0.0f}, {}, 30.0f, 96, 80);
    scene.model_matrix =
        model_matrix({}, hxsdk::quaternion_from_euler({0.4f, 1.1f, -0.3f, 0.0f}), 90.0f);
    scene.material = plain_material();
    scene.material.model_color = {0.0f, 0.0f, 0.0f, 1.0f};
    scene.material.reflectivity = scene.material.glossiness = 1.0f;
    scene.material.specular = 0.0f;
    scene.material.environment_texture = cube;
    scene.material.environment_orientation = {0.0f, turn < 0.0 ? 1.0f : 0.0f, 0.0f,
                                              turn < 0.0 ? 0.0f : 1.0f};
    const rendered_image image = render(scene);
    int mirrored = 0;
    gpu_render::mismatches wrong;
    for (int i = 0; i < 96 * 80; ++i) {
      const auto& front = ref::drawn_fragments(scene, i % 96 + 0.5, i / 96 + 0.5).front;
      if (!front || !ref::pixel_is_clear_of_edges(scene, i % 96, i / 96)) {
        continue;
      }
      const ref::vec3 n = front->flat_normal;
      const ref::vec3 view =
          normalize(ref::to_vec3(scene.camera.eye_position) - front->world_position);
      const ref::vec3 r = n * (2.0 * dot(view, n)) - view;
      const auto [u, v] = equirectangular_point({turn * r.x, r.y, turn * r.z});
      if (u < 0.02 || u > 0.98 || v < 0.1 || v > 0.9) {
        continue;
      }
      ++mirrored;
      const ref::argb got = image.pixel(i % 96, i / 96);
      if (std::max({std::abs(got.r - u), std::abs(got.g - v), std::abs(got.a - 1.0)}) > 0.01) {
        wrong.add("turn ", turn, ", pixel ", i % 96, ", ", i / 96, " shows (u ", got.r, ", v ",
                  got.g, "), the reflection (", u, ", ", v, ")");
      }
    }
    EXPECT_GT(mirrored, 1500) << turn;
    EXPECT_EQ(wrong.count, 0) << wrong.first.str();
  }
}

// --- The material program ---

// The mesh's normals are ~1e-3 radians off away from grazing views; diffuse, fresnel and edge
// terms move ~2 per radian, the narrowest highlight ~1 %. Wrong formulas move pixels 5 % or more.
constexpr double kAbsoluteTolerance = 2e-3;
constexpr double kRelativeTolerance = 1e-2;

// Every frame: 144 x 144 pixels, the sphere ~115 across, off the middle, turned arbitrarily.
constexpr int kSize = 144;
constexpr hxsdk::vec4 kCentre{6.0f, -4.0f, 0.0f, 0.0f};
constexpr hxsdk::vec4 kEye{0.0f, 0.0f, -500.0f, 0.0f};
constexpr hxsdk::vec4 kTurn = {0.3f, -0.5f, 0.2f, 0.0f};

std::array<double, 4> channels(const ref::argb& p) {
  return {p.a, p.r, p.g, p.b};
}

light_properties light(int type, hxsdk::vec4 color, hxsdk::vec4 position = {},
                       hxsdk::vec4 along = {}, float cone_angle = 0, float cone_feather = 0) {
  const float n = std::max(1e-9f, std::hypot(along.x, along.y, along.z));
  const hxsdk::vec4 direction = {along.x / n, along.y / n, along.z / n, 0.0f};
  return {position, direction, color, type, 0, 0.0f, cone_angle, cone_feather};
}

// World y points down: the sun from the upper left and front; a spot near the sphere aimed off
// its centre so that its axis and edge both fall on the visible side.
const hxsdk::vec4 kWarmWhite{1.0f, 0.95f, 0.9f, 1.0f};
const light_properties kSun = light(kLightParallel, kWarmWhite, {}, {0.5f, 0.6f, 0.62f, 0.0f});
const light_properties kDimAmbient = light(kLightAmbient, {0.1f, 0.1f, 0.1f, 1.0f});
const hxsdk::vec4 kNearLight{kCentre.x - 60.0f, kCentre.y - 50.0f, kCentre.z - 105.0f, 0.0f};
light_properties spot(float cone_angle, float cone_feather) {
  return light(kLightSpot, kWarmWhite, kNearLight, {120.0f, 100.0f, 105.0f, 0.0f}, cone_angle,
               cone_feather);
}

ref::sphere_scene scene_of(const material_properties& material,
                           std::vector<light_properties> lights = {kDimAmbient, kSun},
                           hxsdk::vec4 turn = kTurn, hxsdk::vec4 centre = kCentre) {
  ref::sphere_scene s{kSize, kSize};
  s.camera = look_at_camera(kEye, kCentre, 24.0f, kSize, kSize);
  s.model_matrix = model_matrix(centre, hxsdk::quaternion_from_euler(turn), 85.0f);
  s.material = material;
  s.lights = std::move(lights);
  return s;
}

// Motion-blur samples of spheres in different places, one smaller and one starting beside the
// frame, average like their single frames do: where a sample drew nothing it counts as
// transparent, and nothing of an earlier sample or frame shows through. Two spheres apart in
// one sample (the second reaching beyond where the first put the sample target) add up.
TEST_F(GpuRenderer, SamplesInDifferentPlacesAverageLikeTheirSingleFrames) {
  const output_format format{.samples = 4};
  std::vector<ref::sphere_scene> samples;
  for (const auto& [dx, radius] : {std::pair{-50.0f, 85.0f}, {60.0f, 40.0f}, {180.0f, 85.0f}}) {
    samples.push_back(scene_of(plain_material()));
    samples.back().model_matrix = model_matrix({kCentre.x + dx, kCentre.y, 0.0f, 0.0f},
                                               hxsdk::quaternion_from_euler(kTurn), radius);
  }
  std::vector<rendered_image> singles;
  for (const ref::sphere_scene& sample : samples) {
    singles.push_back(render(sample, format));
  }
  // Frame 0 takes samples 0, 1, 2 in turn; frame 1 draws spheres 0 and 2 in one sample.
  const std::vector<std::vector<std::size_t>> frames[2] = {{{0}, {1}, {2}}, {{0, 2}}};
  const double weights[2][3] = {{1 / 3.0, 1 / 3.0, 1 / 3.0}, {1.0, 0.0, 1.0}};
  for (int f = 0; f < 2; ++f) {
    rendered_image image(kSize, kSize, format);
    run([&](Renderer& r) {
      r.set_output(format.samples, image.output());
      r.set_lights(samples[0].lights);
      for (std::size_t k = 0; k < frames[f].size(); ++k) {
        r.set_render_properties(samples[0].camera);
        r.clear_target();
        for (const std::size_t s : frames[f][k]) {
          r.draw_model(sphere_, samples[s].model_matrix, samples[s].material);
        }
        r.accumulate_sample(1.0f / float(k + 1));
      }
      r.read_output(format.gamma);
    });
    gpu_render::mismatches wrong;
    for (int i = 0; i < kSize * kSize; ++i) {
      ref::argb sum;  // premultiplied
      for (int k = 0; k < 3; ++k) {
        const ref::argb p = singles[k].pixel(i % kSize, i / kSize);
        const double w = weights[f][k];
        sum = {sum.a + p.a * w, sum.r + p.r * p.a * w, sum.g + p.g * p.a * w,
               sum.b + p.b * p.a * w};
      }
      const ref::argb got = image.pixel(i % kSize, i / kSize);
      const double scale = got.a > 0.0 ? got.a : 1.0;  // the output is straight colour
      if (std::max({std::abs(got.a - sum.a), std::abs(got.r * scale - sum.r),
                    std::abs(got.g * scale - sum.g), std::abs(got.b * scale - sum.b)}) > 1e-4) {
        wrong.add("pixel ", i % kSize, ", ", i / kSize, ": alpha ", got.a, " against ", sum.a);
      }
    }
    EXPECT_EQ(wrong.count, 0) << "frame " << f << wrong.first.str();
  }
}

// Every pixel clear of edges against the reference: a drawn one within the tolerance, an
// empty one exactly 0; at least 500 of each (the tipped hemisphere's dome covers ~3000).
::testing::AssertionResult matches_reference(const ref::sphere_scene& scene,
                                             const rendered_image& image) {
  int covered = 0, empty = 0;
  gpu_render::mismatches wrong;
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      if (!ref::pixel_is_clear_of_edges(scene, x, y)) {
        continue;
      }
      const std::array<double, 4> gpu = channels(image.pixel(x, y));
      const std::optional<ref::rgba> drawn = ref::material_pixel(scene, x, y);
      const std::array<double, 4> want =
          channels(drawn ? ref::output_pixel(*drawn, 1.0, 4) : ref::argb{});
      ++(drawn ? covered : empty);
      for (int i = 0; i < 4; ++i) {
        if (std::abs(gpu[i] - want[i]) >
            (drawn ? kAbsoluteTolerance + kRelativeTolerance * want[i] : 0.0)) {
          wrong.add("pixel (", x, ", ", y, ") argb[", i, "]: ", gpu[i], ", reference ", want[i]);
        }
      }
    }
  }
  if (covered < 500 || empty < 500 || wrong.count > 0) {
    return ::testing::AssertionFailure()
           << covered << " covered and " << empty << " empty pixels clear of edges, " << wrong.count
           << " values differ:" << wrong.first.str();
  }
  return ::testing::AssertionSuccess();
}

TEST_F(GpuRenderer, EveryPixelClearOfEdgesMatchesTheCpuShading) {
  // Eight dim lights fill the slots; a ninth and an ambient light after them may not count.
  std::vector<light_properties> nine = {};
  for (int i = 0; i < 8; ++i) {
    nine.push_back(light(kLightParallel, {0.15f, 0.1f, 0.05f, 1.0f}, {},
                         {std::cos(i * 0.7f), std::sin(i * 0.7f), 0.8f, 0.0f}));
  }
  nine.push_back(light(kLightParallel, {5.0f, 0.0f, 0.0f, 1.0f}, {}, {0.0f, 0.0f, 1.0f, 0.0f}));
  nine.push_back(light(kLightAmbient, {0.0f, 0.0f, 5.0f, 1.0f}));
  const hxsdk::vec4 open = {-25.0f * kPi / 180.0f, 0.0f, 0.2f, 0.0f};
  const auto none = [](material_properties&) {};
  const auto unlit = [](material_properties& m) { m.unlit = 1; };
  const struct {
    const char* what;
    void (*change)(material_properties&);
    hxsdk::vec4 turn = kTurn;
    std::vector<light_properties> lights = {kDimAmbient, kSun};
  } cases[] = {
      {"one parallel light", none, kTurn, {kSun}},
      {"a spot light of cone 90 and feather 0.5", none, kTurn, {kDimAmbient, spot(90, 0.5f)}},
      {"a hard-edged spot light", none, kTurn, {kDimAmbient, spot(60, 0.0f)}},
      {"a point light", none, kTurn, {kDimAmbient, light(kLightPoint, kWarmWhite, kNearLight)}},
      {"two ambient lights and no direct light",
       [](auto& m) { m.ambient = 0.9f; },
       kTurn,
       {light(kLightAmbient, {0.3f, 0.4f, 0.5f, 1.0f}), kDimAmbient}},
      {"nine lights and an ambient light after them", none, kTurn, nine},
      {"unlit, with lights present", unlit},
      // The mesh's seam (the model's +z meridian) and poles facing the camera: no cracks.
      {"unlit, the seam facing the camera", unlit, {0.0f, kPi, 0.0f, 0.0f}},
      {"unlit, the +y pole facing the camera", unlit, {-kPi / 2, 0.0f, 0.0f, 0.0f}},
      {"unlit, the -y pole facing the camera", unlit, {kPi / 2, 0.0f, 0.0f, 0.0f}},
      {"half opacity with a shrunk, feathered edge",
       [](auto& m) { m.model_color.w = m.edge_feather = 0.5f, m.edge_shrink = 0.2f; }},
      {"rim illumination fading on the shadow side",
       [](auto& m) {
         m.illumination_color = {0.3f, 0.6f, 0.9f, 1.0f};
         m.fresnel = 0.8f, m.fresnel_bias = 2.0f, m.shadow_light = 0.4f;
         m.shadow_light_contrast = 1.5f, m.shadow_light_expansion = 0.1f;
       }},
      {"centre illumination fading on the light side",
       [](auto& m) {
         m.illumination_color = {0.9f, 0.5f, 0.2f, 1.0f};
         m.fresnel = -1.0f, m.fresnel_bias = 1.5f, m.shadow_light = -0.6f;
         m.shadow_light_contrast = 2.5f, m.shadow_light_expansion = -0.2f;
       }},
      {"a glossy highlight",
       [](auto& m) {
         m.model_color = {0.2f, 0.25f, 0.3f, 1.0f}, m.glossiness = 0.8f, m.specular = 1.0f;
       }},
      // The tipped hemisphere shows its dome at the top, its inside through the cut below.
      {"surface all, half opacity", [](auto& m) { m.surface_mode = 1, m.model_color.w = 0.5f; }},
      {"surface front, half opacity", [](auto& m) { m.surface_mode = 2, m.model_color.w = 0.5f; }},
      {"surface back, half opacity", [](auto& m) { m.surface_mode = 3, m.model_color.w = 0.5f; }},
      {"hemisphere, surface all", [](auto& m) { m.surface_mode = 1, m.flatten_bottom = 1; }, open},
      {"hemisphere, surface front", [](auto& m) { m.surface_mode = 2, m.flatten_bottom = 1; },
       open},
      {"hemisphere, surface back", [](auto& m) { m.surface_mode = 3, m.flatten_bottom = 1; }, open},
  };
  for (const auto& c : cases) {
    material_properties m = plain_material();
    c.change(m);
    const ref::sphere_scene scene = scene_of(m, c.lights, c.turn);
    EXPECT_TRUE(matches_reference(scene, render(scene))) << c.what;
  }
}

// Shading at the samples (3/8 pixel off centre) moves the terminator's kink by ~3e-3, hence 6e-3;
// silhouette coverage errors largely cancel. Each count must take effect at the same size.
TEST_F(GpuRenderer, MultisamplingSmoothsOnlyTheSilhouetteAndKeepsTheInterior) {
  const ref::sphere_scene scene = scene_of(plain_material());
  double area = 0.0;  // of the analytic sphere, sampled on an 8 x 8 grid in each pixel
  std::vector<bool> clear;
  for (int i = 0; i < kSize * kSize; ++i) {
    for (int k = 0; k < 64; ++k) {
      const ref::ray_hits drawn =
          ref::drawn_fragments(scene, i % kSize + (k % 8 + 0.5) / 8, i / kSize + (k / 8 + 0.5) / 8);
      area += (drawn.front || drawn.back) / 64.0;
    }
    clear.push_back(ref::pixel_is_clear_of_edges(scene, i % kSize, i / kSize));
  }
  const rendered_image single = render(scene, {.samples = 0});
  for (const unsigned samples : {0u, 2u, 4u, 8u, 16u}) {
    const rendered_image multi = samples == 0 ? single : render(scene, {.samples = samples});
    double multi_area = 0.0;
    int interior_differing = 0, fractional = 0;
    for (int i = 0; i < kSize * kSize; ++i) {
      const std::array<double, 4> got = channels(multi.pixel(i % kSize, i / kSize));
      const std::array<double, 4> want = channels(single.pixel(i % kSize, i / kSize));
      multi_area += got[0];
      fractional += got[0] > 0.0 && got[0] < 1.0;
      interior_differing += clear[i] && got[0] > 0.0 && got[0] < 1.0;
      for (int c = 0; clear[i] && c < 4; ++c) {
        interior_differing += std::abs(got[c] - want[c]) > 6e-3 + kRelativeTolerance * want[c];
      }
    }
    EXPECT_EQ(interior_differing, 0) << samples << " samples";
    EXPECT_EQ(fractional > 0, samples > 0) << samples << " samples";
    EXPECT_NEAR(multi_area, area, 0.01 * area) << samples << " samples";
  }
}

// --- The projections ---

// One fetch of a map and its share of the value, before the wrap folds s and t.
struct map_fetch {
  double weight, s, t;
};

// u turns once around y, wrapping from 1 to 0 at x = 0, z > 0; v runs from 0 at -y to 1 at +y.
std::array<double, 2> spherical_coordinates(vec3 direction) {
  const vec3 d = normalize(direction);
  return {-std::atan2(-d.x, -d.z) / (2.0 * kPi) + 0.5,
          std::atan2(d.y, std::hypot(d.x, d.z)) / kPi + 0.5};
}

// (s, t) turned counter-clockwise by the map rotation, scaled by repeat, moved by offset.
map_fetch placed(const material_properties& m, double s, double t) {
  const double c = std::cos(m.uv_rotation);
  const double n = std::sin(m.uv_rotation);
  return {1.0, (s * c - t * n) * m.uv_repeat.x + m.uv_offset.x,
          (s * n + t * c) * m.uv_repeat.y + m.uv_offset.y};
}

// The fetches of a colour map at the unit-sphere point p; the box makes one per model axis,
// positive faces reading p with x negated, negative ones with z negated. Planar projections
// halve a model-space pair in -1..1 to cover the map once, place it and centre it on the map.
std::vector<map_fetch> colour_map_fetches(const material_properties& m, vec3 p) {
  const auto planar = [&](double a, double b) {
    const map_fetch f = placed(m, a * 0.5, b * 0.5);
    return map_fetch{1.0, f.s + 0.5, f.t + 0.5};
  };
  switch (m.uv_type) {
    case 1: {
      const auto [u, v] = spherical_coordinates(p);
      const map_fetch f = placed(m, u - 0.5, v - 0.5);
      return {{1.0, f.s + 0.5 * m.uv_repeat.x, f.t + 0.5 * m.uv_repeat.y}};
    }
    case 2: {
      // Weights |n| (at least 1e-5) raised to (1 - f)^2 64 + 1, summing to 1.
      const std::array<double, 3> n = {p.x, p.y, p.z};
      const double exponent = (1.0 - m.uv_feathering) * (1.0 - m.uv_feathering) * 64.0 + 1.0;
      std::vector<map_fetch> fetches;
      double sum = 0.0;
      for (int axis = 0; axis < 3; ++axis) {
        const vec3 q = n[axis] > 0.0 ? vec3{-p.x, p.y, p.z} : vec3{p.x, p.y, -p.z};
        fetches.push_back(axis == 0 ? planar(q.z, q.y) : planar(q.x, axis == 1 ? q.z : q.y));
        sum += fetches.back().weight = std::pow(std::max(std::abs(n[axis]), 1e-5), exponent);
      }
      for (int axis = 0; axis < 3; ++axis) {
        fetches[axis].weight = n[axis] != 0.0 ? fetches[axis].weight / sum : 0.0;
      }
      return fetches;
    }
    case 3:
      return {planar(p.x, p.y)};
    case 4:
      return {planar(p.x, p.z)};
    default:
      return {planar(p.z, p.y)};
  }
}

// A coordinate folded into 0..1 by the wrap: mode 1 repeats, others mirror every second time.
double wrapped(double coordinate, int uv_mode) {
  const double folded = coordinate - 2.0 * std::floor(coordinate / 2.0);
  return uv_mode == 1 ? coordinate - std::floor(coordinate) : folded <= 1.0 ? folded : 2.0 - folded;
}

// 8 x 4 cells: red names the column, green the row; blue varies too.
ref::rgba cell_colour(int column, int row) {
  return {(column + 0.5) / 8, (row + 0.5) / 4, ((3 * column + row) % 5 + 0.5) / 5.0, 1.0};
}

// Smooth, both ends of each row alike, detailed enough down the map that a coarse mip differs.
ref::rgba smooth_map_value(double s, double t) {
  return {0.5 + 0.4 * std::sin(8.0 * kPi * t), 0.5 + 0.3 * std::cos(2.0 * kPi * s), 0.5, 1.0};
}

// The front surface at window position (wx, wy) when V.N is at least min_facing.
std::optional<ref::surface_fragment> front_point(const ref::sphere_scene& scene, double wx,
                                                 double wy, double min_facing) {
  const std::optional<ref::surface_fragment> f = ref::drawn_fragments(scene, wx, wy).front;
  const bool facing =
      f && dot(normalize(ref::to_vec3(kEye) - f->world_position), f->flat_normal) >= min_facing;
  return facing ? f : std::nullopt;
}

std::pair<int, int> cell_of(const map_fetch& f, int uv_mode) {
  return {std::clamp(int(std::floor(wrapped(f.s, uv_mode) * 8)), 0, 7),
          std::clamp(int(std::floor(wrapped(f.t, uv_mode) * 4)), 0, 3)};
}

// The colour the cell map gives pixel (x, y), unless seen obliquely, near a cell border, or with
// the surface two pixels away diagonally (which filtering reads) in other cells.
std::optional<ref::rgba> expected_cell_pixel(const ref::sphere_scene& scene, int x, int y) {
  const material_properties& m = scene.material;
  const std::optional<ref::surface_fragment> centre = front_point(scene, x + 0.5, y + 0.5, 0.3);
  if (!centre) {
    return std::nullopt;
  }
  const std::vector<map_fetch> fetches = colour_map_fetches(m, centre->model_position);
  for (const map_fetch& f : fetches) {
    for (const double c : {wrapped(f.s, m.uv_mode) * 8, wrapped(f.t, m.uv_mode) * 4}) {
      if (f.weight >= 1e-3 && std::abs(c - std::floor(c) - 0.5) > 0.35) {
        return std::nullopt;
      }
    }
  }
  for (const auto& [dx, dy] : {std::pair{-2, -2}, {2, -2}, {-2, 2}, {2, 2}}) {
    const auto near = front_point(scene, x + 0.5 + dx, y + 0.5 + dy, 0.1);
    if (!near) {
      return std::nullopt;
    }
    const std::vector<map_fetch> there = colour_map_fetches(m, near->model_position);
    for (std::size_t i = 0; i < fetches.size(); ++i) {
      if (std::max(fetches[i].weight, there[i].weight) >= 1e-3 &&
          (cell_of(fetches[i], m.uv_mode) != cell_of(there[i], m.uv_mode) ||
           std::abs(fetches[i].weight - there[i].weight) > 0.2)) {
        return std::nullopt;
      }
    }
  }
  ref::rgba colour;
  for (const map_fetch& f : fetches) {
    const auto [column, row] = cell_of(f, m.uv_mode);
    colour = colour + cell_colour(column, row) * f.weight;
  }
  const double g = m.diffuse_gamma;
  return ref::rgba{std::pow(colour.r, g), std::pow(colour.g, g), std::pow(colour.b, g), 1.0};
}

// A fetch from another cell misses by 0.125 or more; box weights move < 0.005 with mesh error.
TEST_F(GpuRenderer, EveryProjectionPutsTheCellTheCpuNamesUnderEachPixel) {
  const material_properties cells =
      showing_map([](double s, double t) { return cell_colour(int(s * 8), int(t * 4)); });
  struct placement {
    int type = 1, mode = 1;
    hxsdk::vec2 repeat{1.0f, 1.0f}, offset{0.0f, 0.0f};
    float rotation = 0.0f, feathering = 0.5f, gamma = 1.0f;
  };
  constexpr hxsdk::vec4 kFacing = {0.0f, 0.0f, 0.0f, 0.0f};  // the camera sees model -z
  constexpr hxsdk::vec4 kOblique = {0.5f, 0.7f, -0.3f, 0.0f};
  const struct {
    const char* what;
    hxsdk::vec4 turn;
    placement p;
  } cases[] = {
      {"spherical on a turned sphere, map gamma 2.2", kOblique, {.gamma = 2.2f}},
      {"spherical, mirrored repeat 2 x 2", kFacing, {.mode = 2, .repeat = {2.0f, 2.0f}}},
      {"spherical, repeat -2 x 1 (wrapping flips the map)", kFacing, {.repeat = {-2.0f, 1.0f}}},
      {"spherical, mirrored repeat 1.5 x -1.5", kOblique, {.mode = 2, .repeat = {1.5f, -1.5f}}},
      {"spherical, rotation, repeat, offset and mirror together",
       kOblique,
       {.mode = 2, .repeat = {1.5f, 2.5f}, .offset = {0.2f, 0.35f}, .rotation = -0.9f}},
      {"box, hardest blend", kOblique, {.type = 2, .feathering = 0.0f}},
      {"box, softest blend", kOblique, {.type = 2, .feathering = 1.0f}},
      {"box, mirrored repeat, rotation and offset",
       {-0.6f, 2.4f, 0.2f, 0.0f},
       {2, 2, {2.0f, -1.0f}, {0.1f, 0.25f}, 0.4f, 0.0f}},
      {"plane XY on a turned sphere, mirrored repeat",
       kOblique,
       {.type = 3, .mode = 2, .repeat = {2.0f, 2.0f}}},
      {"plane XZ, repeat and offset",
       {kPi / 2.0, 0.0f, 0.0f, 0.0f},
       {.type = 4, .repeat = {1.5f, 1.5f}, .offset = {-0.3f, 0.15f}}},
      {"plane ZY, rotation", {0.0f, kPi / 2.0, 0.0f, 0.0f}, {.type = 5, .rotation = 0.5f}},
      {"uv type 0 projects on the ZY plane", {0.0f, kPi / 2.0, 0.0f, 0.0f}, {.type = 0}},
  };
  for (const auto& c : cases) {
    ref::sphere_scene scene = scene_of(cells, {}, c.turn);
    material_properties& m = scene.material;
    m.uv_type = c.p.type, m.uv_mode = c.p.mode, m.uv_repeat = c.p.repeat, m.uv_offset = c.p.offset;
    m.uv_rotation = c.p.rotation, m.uv_feathering = c.p.feathering, m.diffuse_gamma = c.p.gamma;
    const rendered_image image = render(scene);
    int compared = 0;
    gpu_render::mismatches wrong;
    std::set<std::pair<long, long>> colours;  // red and green, to 0.01
    // A quarter of the pixels, staggered.
    for (int y = 0; y < kSize; y += 2) {
      for (int x = (y / 2) % 2; x < kSize; x += 2) {
        const auto e = expected_cell_pixel(scene, x, y);
        if (!e) {
          continue;
        }
        ++compared;
        const ref::rgba& want = *e;
        colours.insert({std::lround(want.r * 100), std::lround(want.g * 100)});
        const ref::argb gpu = image.pixel(x, y);
        if (std::max({std::abs(gpu.r - want.r), std::abs(gpu.g - want.g), std::abs(gpu.b - want.b),
                      100.0 * std::abs(gpu.a - 1.0)}) > 0.01) {
          wrong.add("pixel (", x, ", ", y, "): map (", want.r, ", ", want.g, ", ", want.b,
                    "), got (", gpu.r, ", ", gpu.g, ", ", gpu.b, ", a ", gpu.a, ")");
        }
      }
    }
    // Enough pixels over several cells (the box seen from a corner compares about 480).
    EXPECT_GE(compared, 300) << c.what;
    EXPECT_GE(colours.size(), 5u) << c.what;
    EXPECT_EQ(wrong.count, 0) << c.what << ":" << wrong.first.str();
  }
}

// Where u wraps from 1 to 0, derivatives taken from u would pick the smallest mip level and
// draw a line of the map's average colour: pixels whose quads may span the seam show the map.
TEST_F(GpuRenderer, SphericalSeamPixelsShowTheMapLikeTheirNeighbours) {
  const material_properties smooth = showing_map(smooth_map_value);
  for (const int mode : {1, 2}) {
    ref::sphere_scene scene = scene_of(smooth, {}, {0.0f, kPi + 0.15, 0.0f, 0.0f});
    scene.material.uv_mode = mode;
    const rendered_image image = render(scene);
    int rows = 0;
    gpu_render::mismatches wrong;
    for (int y = 0; y < kSize; ++y) {
      std::vector<std::optional<std::array<double, 2>>> uv(kSize);
      for (int x = 0; x < kSize; ++x) {
        if (const auto f = front_point(scene, x + 0.5, y + 0.5, 0.3)) {
          uv[x] = spherical_coordinates(f->model_position);
        }
      }
      for (int xs = 2; xs + 4 < kSize; ++xs) {
        // The crossing: u jumps by more than a half, clear of the poles and the silhouette.
        bool crossing = uv[xs] && uv[xs + 1] && std::abs((*uv[xs + 1])[0] - (*uv[xs])[0]) > 0.5;
        for (int x = xs - 2; crossing && x <= xs + 3; ++x) {
          crossing = uv[x] && std::abs((*uv[x])[1] - 0.5) < 0.35;
        }
        for (int x = xs - 2; crossing && x <= xs + 3; ++x) {
          const ref::rgba want =
              smooth_map_value(wrapped((*uv[x])[0], mode), wrapped((*uv[x])[1], mode));
          const ref::argb gpu = image.pixel(x, y);
          if (std::max(std::abs(gpu.r - want.r), std::abs(gpu.g - want.g)) > 0.02) {
            wrong.add("pixel (", x, ", ", y, "): map (", want.r, ", ", want.g, "), got (", gpu.r,
                      ", ", gpu.g, ")");
          }
        }
        rows += crossing;
      }
    }
    // The seam runs down most of the sphere's 118-pixel height.
    EXPECT_GE(rows, 50) << "uv mode " << mode;
    EXPECT_EQ(wrong.count, 0) << "uv mode " << mode << ":" << wrong.first.str();
  }
}

}  // namespace
