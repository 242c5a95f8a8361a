// The material program against the CPU reference of the shading, against relations between
// frames, and where it puts the diffuse map: a pixel against the texel that a projection of
// its surface point, written here from its definition, names.
#include <gtest/gtest.h>

#include <set>

#include "tests/gpu_render_harness.h"

namespace {

namespace ref = shading_reference;
using gpu_render::plain_material;
using gpu_render::rendered_image;
using ref::vec3;

constexpr double kPi = 3.14159265358979323846;

// How far a GPU value may be from the reference. The frequency-40 geodesic mesh lies up to
// 1.3e-4 radii inside the sphere and its normals are a few 1e-4 radians off; away from
// grazing views (V.Nf >= 0.15) that moves a shading normal by at most ~1e-3 radians. Diffuse,
// fresnel and edge terms change by at most ~2 per radian, hence 2e-3; the narrowest highlight
// here (alpha ~ 0.03) by ~1 %, hence 1e-2 relative. A wrong formula moves pixels by 5 % or more.
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

// A light of `type` at `position` pointing along `along` (made unit length).
light_properties light(int type, hxsdk::vec4 color, hxsdk::vec4 position = {},
                       hxsdk::vec4 along = {}, float cone_angle = 0, float cone_feather = 0) {
  const float n = std::max(1e-9f, std::hypot(along.x, along.y, along.z));
  const hxsdk::vec4 direction = {along.x / n, along.y / n, along.z / n, 0.0f};
  return {position, direction, color, type, 0, 0.0f, cone_angle, cone_feather};
}

// World y points down: the sun comes from the upper left and front; the near light is 1.6
// radii up, left and in front, a spot there aimed off the centre so that its axis and edge
// both fall on the visible side.
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
  s.camera = gpu_render::look_at_camera(kEye, kCentre, 24.0f, kSize, kSize);
  s.model_matrix = model_matrix(centre, hxsdk::quaternion_from_euler(turn), 85.0f);
  s.material = material;
  s.lights = std::move(lights);
  return s;
}

// Every pixel clear of edges against the reference: a drawn one within the tolerance, an
// empty one exactly 0; at least 500 of each (the tipped hemisphere's dome covers ~3000).
::testing::AssertionResult matches_reference(const ref::sphere_scene& scene,
                                             const rendered_image& image) {
  int covered = 0;
  int empty = 0;
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

class GpuMaterialPixels : public gpu_render::GpuRendererSuite {
 protected:
  // A 256 x 128 map of colour(s, t) at its texel centres, shown as it is (unlit, white,
  // opaque: the output is the lookup itself); it goes with the suite's context.
  static material_properties showing_map(ref::rgba (*colour)(double s, double t)) {
    material_properties m = plain_material();
    m.unlit = 1;
    m.model_color = {1.0f, 1.0f, 1.0f, 1.0f};
    run([&](Renderer& r) {
      m.diffuse_texture = gpu_render::upload(r, 256, 128, [&](int x, int y) {
        const ref::rgba c = colour((x + 0.5) / 256, (y + 0.5) / 128);
        return gpu_render::rgba{float(c.r), float(c.g), float(c.b), 1.0f};
      });
    });
    return m;
  }
};

TEST_F(GpuMaterialPixels, EveryPixelClearOfEdgesMatchesTheCpuShading) {
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

// Multisampled shading may be evaluated at the samples (up to 3/8 pixel off centre; a pixel
// spans ~0.017 radians) and averaged: symmetric patterns cancel first-order changes but not
// the terminator's kink, 0.5 x 0.375 x 0.017 x 0.9 ~ 3e-3 at most, hence 6e-3. Coverage
// errors along the silhouette (~360 pixels) largely cancel: 1 % of the ~10000 pixels' area
// is far outside them. Each sample count must take effect at the same output size.
TEST_F(GpuMaterialPixels, MultisamplingSmoothsOnlyTheSilhouetteAndKeepsTheInterior) {
  const ref::sphere_scene scene = scene_of(plain_material());
  double area = 0.0;  // of the analytic sphere
  std::vector<bool> clear;
  for (int i = 0; i < kSize * kSize; ++i) {
    area += ref::covered_fraction(scene, i % kSize, i / kSize, 8);
    clear.push_back(ref::pixel_is_clear_of_edges(scene, i % kSize, i / kSize));
  }
  const rendered_image single = render(scene, {.samples = 0});
  for (const unsigned samples : {0u, 2u, 4u, 8u, 16u}) {
    const rendered_image multi = samples == 0 ? single : render(scene, {.samples = samples});
    double multi_area = 0.0;
    int interior_differing = 0;
    int fractional = 0;
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
    // Partial coverage, only at the silhouette and only with samples.
    EXPECT_EQ(interior_differing, 0) << samples << " samples";
    EXPECT_EQ(fractional > 0, samples > 0) << samples << " samples";
    EXPECT_NEAR(multi_area, area, 0.01 * area) << samples << " samples";
  }
}

// --- The projections ---

// One fetch of a map and its share of the value: s along the rows, t down them (0 at the
// first row uploaded), as the projection made them, before the wrap folds them.
struct map_fetch {
  double weight, s, t;
};

// The spherical projection of a model direction: u turns once around y, wrapping from 1 to 0
// on the half-plane x = 0, z > 0; v runs from 0 at -y to 1 at +y.
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

// A model-space pair in -1..1, halved to cover the map once, placed, centred on the map.
map_fetch planar(const material_properties& m, double a, double b) {
  const map_fetch f = placed(m, a * 0.5, b * 0.5);
  return {1.0, f.s + 0.5, f.t + 0.5};
}

// The fetches of a colour map at the unit-sphere point p. The spherical projection turns
// the map about its centre; the box makes one per model axis, from the face p points to:
// positive faces read p with x negated, negative ones with z negated.
std::vector<map_fetch> colour_map_fetches(const material_properties& m, vec3 p) {
  switch (m.uv_type) {
    case 1: {
      const auto [u, v] = spherical_coordinates(p);
      const map_fetch f = placed(m, u - 0.5, v - 0.5);
      return {{1.0, f.s + 0.5 * m.uv_repeat.x, f.t + 0.5 * m.uv_repeat.y}};
    }
    case 2: {
      // Weights |n| (at least 1e-5) raised to the feathering exponent, summing to 1.
      const std::array<double, 3> n = {p.x, p.y, p.z};
      std::array<double, 3> w{};
      double sum = 0.0;
      for (int axis = 0; axis < 3; ++axis) {
        sum += w[axis] = std::pow(std::max(std::abs(n[axis]), 1e-5),
                                  ref::box_feathering_exponent(m.uv_feathering));
      }
      std::vector<map_fetch> fetches;
      for (int axis = 0; axis < 3; ++axis) {
        const vec3 q = n[axis] > 0.0 ? vec3{-p.x, p.y, p.z} : vec3{p.x, p.y, -p.z};
        map_fetch f = axis == 0   ? planar(m, q.z, q.y)
                      : axis == 1 ? planar(m, q.x, q.z)
                                  : planar(m, q.x, q.y);
        f.weight = n[axis] != 0.0 ? w[axis] / sum : 0.0;
        fetches.push_back(f);
      }
      return fetches;
    }
    case 3:
      return {planar(m, p.x, p.y)};
    case 4:
      return {planar(m, p.x, p.z)};
    default:
      return {planar(m, p.z, p.y)};
  }
}

// A coordinate folded into 0..1 by the wrap: mode 1 repeats, others mirror every second time.
double wrapped(double coordinate, int uv_mode) {
  if (uv_mode == 1) {
    return coordinate - std::floor(coordinate);
  }
  const double folded = coordinate - 2.0 * std::floor(coordinate / 2.0);
  return folded <= 1.0 ? folded : 2.0 - folded;
}

// 8 x 4 cells: red names the column, green the row; blue varies too.
ref::rgba cell_colour(int column, int row) {
  return {(column + 0.5) / 8, (row + 0.5) / 4, ((3 * column + row) % 5 + 0.5) / 5.0, 1.0};
}
ref::rgba cell_map_value(double s, double t) {
  return cell_colour(int(s * 8), int(t * 4));
}

// Smooth, both ends of each row alike, with detail down the map so that a coarse mip level
// differs from the texels around it; the bilinear lookup matches it to within 0.002.
ref::rgba smooth_map_value(double s, double t) {
  return {0.5 + 0.4 * std::sin(8.0 * kPi * t), 0.5 + 0.3 * std::cos(2.0 * kPi * s), 0.5, 1.0};
}

// The front surface at window position (wx, wy) when V.N is at least min_facing.
std::optional<ref::surface_fragment> front_point(const ref::sphere_scene& scene, double wx,
                                                 double wy, double min_facing) {
  const std::optional<ref::surface_fragment> f = ref::drawn_fragments(scene, wx, wy).front;
  if (!f || dot(normalize(ref::to_vec3(kEye) - f->world_position), f->flat_normal) < min_facing) {
    return std::nullopt;
  }
  return f;
}

std::pair<int, int> cell_of(const map_fetch& f, int uv_mode) {
  return {std::clamp(int(std::floor(wrapped(f.s, uv_mode) * 8)), 0, 7),
          std::clamp(int(std::floor(wrapped(f.t, uv_mode) * 4)), 0, 3)};
}

// The colour the cell map gives pixel (x, y), unless the pixel is no fair witness: seen obliquely,
// a fetch that matters (1e-3) within 15 % of a cell border, or the surface two pixels away
// diagonally (which filtering reads) in other cells or with box weights 0.2 apart. Inside a cell
// every mip level holds the cell's colour.
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

// Cells differ by 0.125 in red or 0.25 in green: a fetch from another cell misses by far more
// than 0.01; the box weights move by less than 0.005 with the mesh's normal error.
TEST_F(GpuMaterialPixels, EveryProjectionPutsTheCellTheCpuNamesUnderEachPixel) {
  const material_properties cells = showing_map(cell_map_value);
  // The map's placement: uv type and mode, repeat, offset, rotation, box feathering, gamma.
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
    // A quarter of the pixels, staggered: every cell (14 pixels or more) keeps witnesses.
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
// draw a line of the map's average colour. With the seam facing the camera, in each row where
// it crosses clear of the poles and the silhouette, the pixels whose quads may span it (2
// either side) show the map at their coordinates.
TEST_F(GpuMaterialPixels, SphericalSeamPixelsShowTheMapLikeTheirNeighbours) {
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
        // The crossing: u jumps by more than a half between xs and xs + 1, clear of the
        // poles and the silhouette.
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
