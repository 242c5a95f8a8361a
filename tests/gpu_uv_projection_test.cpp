// Where the diffuse map lands on the real renderer's sphere (EGL on llvmpipe, OpenCL on
// PoCL): the rendered colour of a pixel against the map texel that a CPU projection of that
// pixel's surface point names. The projections are written here from their definitions in
// plain double arithmetic; nothing shares code with the renderer's shaders.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/gpu_render_harness.h"
#include "tests/gpu_shading_reference.h"

namespace {

namespace ref = shading_reference;
using gpu_render::rendered_image;
using ref::vec3;

constexpr double kPi = 3.14159265358979323846;

// --- The projections ---

// One texture fetch of a 2D map and its share of the map's value at the point. s runs along
// the texture's rows (0 at the first texel of a row), t down the rows (0 at the first row
// handed to the upload); both are as the projection made them, before the wrap folds them.
struct map_fetch {
  double weight, s, t;
};

// (u, v) of the spherical projection for a model-space direction: u turns once around the
// y axis and wraps from 1 to 0 on the half-plane x = 0, z > 0; v runs from 0 at -y to 1 at +y.
std::array<double, 2> spherical_coordinates(vec3 direction) {
  const vec3 d = normalize(direction);
  return {-std::atan2(-d.x, -d.z) / (2.0 * kPi) + 0.5,
          std::atan2(d.y, std::hypot(d.x, d.z)) / kPi + 0.5};
}

// Turns (s, t) by the map rotation, counter-clockwise, about its origin; then repeat scales
// about the map's origin and the offset moves the result.
map_fetch placed(const material_properties& m, double s, double t) {
  const double c = std::cos(m.uv_rotation);
  const double n = std::sin(m.uv_rotation);
  return {1.0, (s * c - t * n) * m.uv_repeat.x + m.uv_offset.x,
          (s * n + t * c) * m.uv_repeat.y + m.uv_offset.y};
}

// A model-space pair in -1..1 on the unit sphere: rotated about the model axis, halved, so
// that the sphere's extent covers the map once, repeated, offset and centred on the map.
map_fetch planar(const material_properties& m, double a, double b) {
  const map_fetch f = placed(m, a * 0.5, b * 0.5);
  return {1.0, f.s + 0.5, f.t + 0.5};
}

// The fetches a colour map gets at the unit-sphere point p (model space). The spherical
// projection rotates the map about its centre (0.5, 0.5). The box projection makes one fetch
// per model axis (x, y, z), each from the face of that axis that the normal p points to. The
// positive faces read from p with x negated, the negative faces from p with z negated, so the two
// faces of an axis show the map turned differently.
std::vector<map_fetch> colour_map_fetches(const material_properties& m, vec3 p) {
  switch (m.uv_type) {
    case 1: {
      const auto [u, v] = spherical_coordinates(p);
      const map_fetch f = placed(m, u - 0.5, v - 0.5);
      return {{1.0, f.s + 0.5 * m.uv_repeat.x, f.t + 0.5 * m.uv_repeat.y}};
    }
    case 2: {
      // Weights |n| per axis (kept above 1e-5), sharpened by the feathering exponent and
      // made to sum to 1.
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

// A coordinate folded into 0..1 as the sampler's wrap mode does it: uv_mode 1 repeats the
// map (keeps the fraction), any other value mirrors every second repetition.
double wrapped(double coordinate, int uv_mode) {
  if (uv_mode == 1) {
    return coordinate - std::floor(coordinate);
  }
  const double folded = coordinate - 2.0 * std::floor(coordinate / 2.0);
  return folded <= 1.0 ? folded : 2.0 - folded;
}

// --- The frame every test draws, and the maps ---

constexpr int kSize = 144;
constexpr hxsdk::vec4 kCentre{6.0f, -4.0f, 0.0f, 0.0f};
constexpr hxsdk::vec4 kEye{0.0f, 0.0f, -500.0f, 0.0f};

// The sphere (about 59 pixels across) turned by Euler angles `turn` (0: the camera sees model
// -z), in a material that shows the diffuse map as it is: unlit (the diffuse light is
// exactly 1, no highlight), white, opaque, no illumination, no environment. The output
// pixel is then the map lookup itself.
ref::sphere_scene scene_of(unsigned int map, std::array<double, 3> turn) {
  ref::sphere_scene s{kSize, kSize};
  s.camera = gpu_render::look_at_camera(kEye, kCentre, 24.0f, kSize, kSize);
  const hxsdk::vec4 angles = {float(turn[0]), float(turn[1]), float(turn[2]), 0.0f};
  s.model_matrix = model_matrix(kCentre, hxsdk::quaternion_from_euler(angles), 85.0f);
  s.material = gpu_render::plain_material();
  s.material.unlit = 1;
  s.material.model_color = {1.0f, 1.0f, 1.0f, 1.0f};
  s.material.diffuse_texture = map;
  return s;
}

// 8 x 4 cells. A cell's red names its column and its green its row; blue varies too, so
// every channel is exercised.
ref::rgba cell_colour(int column, int row) {
  return {(column + 0.5) / 8, (row + 0.5) / 4, ((3 * column + row) % 5 + 0.5) / 5.0, 1.0};
}
ref::rgba cell_map_value(double s, double t) {
  return cell_colour(int(s * 8), int(t * 4));
}

// Smooth everywhere, the two edges of each row alike (green is one cosine period across the
// map), and with detail in t (red: four sine periods down the map), so that a lookup from a
// coarse mip level, which averages rows, differs from the texels around it. At texture
// coordinates (s, t) the bilinear lookup is this function to within 0.002.
ref::rgba smooth_map_value(double s, double t) {
  return {0.5 + 0.4 * std::sin(8.0 * kPi * t), 0.5 + 0.3 * std::cos(2.0 * kPi * s), 0.5, 1.0};
}

class GpuUvProjection : public gpu_render::GpuRendererSuite {
 protected:
  // A 256 x 128 map whose texel centred at (s, t) has colour(s, t); it goes with the suite's
  // context.
  static unsigned int map_of(ref::rgba (*colour)(double s, double t)) {
    unsigned int map = 0;
    run([&](Renderer& r) {
      map = gpu_render::upload(r, 256, 128, [&](int x, int y) {
        const ref::rgba c = colour((x + 0.5) / 256, (y + 0.5) / 128);
        return gpu_render::rgba{float(c.r), float(c.g), float(c.b), 1.0f};
      });
    });
    return map;
  }
};

// The front surface point under window position (wx, wy) when the view meets it at least
// as squarely as min_facing (V.N), else nothing.
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

// The colour the cell map must give pixel (x, y) and the cell of its heaviest fetch, or
// nothing when the pixel is no fair witness: its surface is seen obliquely, or a fetch that
// matters (weight 1e-3 or more) lies within 15 % of a cell border, or the surface two pixels
// away diagonally (which filtering may read) names other cells or box weights more than 0.2
// apart (near a seam, the silhouette, or where the box weights change fast). Inside a cell
// every mip level holds the cell's colour, so the filtering adds nothing.
std::optional<std::pair<ref::rgba, std::pair<int, int>>> expected_cell_pixel(
    const ref::sphere_scene& scene, int x, int y) {
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
  ref::rgba colour{0.0, 0.0, 0.0, 1.0};
  const map_fetch* heaviest = &fetches[0];
  for (const map_fetch& f : fetches) {
    const auto [column, row] = cell_of(f, m.uv_mode);
    colour = colour + cell_colour(column, row) * f.weight;
    heaviest = f.weight > heaviest->weight ? &f : heaviest;
  }
  const double g = m.diffuse_gamma;
  return std::pair{ref::rgba{std::pow(colour.r, g), std::pow(colour.g, g), std::pow(colour.b, g)},
                   cell_of(*heaviest, m.uv_mode)};
}

// Cell colours are at least 0.125 apart in red or 0.25 in green: a fetch from a neighbouring
// cell, or a mirrored or shifted one, misses by far more than 0.01; the box blend's weights
// move by less than 0.005 with the mesh's normal error.
TEST_F(GpuUvProjection, EveryProjectionPutsTheCellTheCpuNamesUnderEachPixel) {
  const unsigned int cells = map_of(cell_map_value);
  // The map's placement: uv type and mode, repeat, offset, rotation, box feathering, gamma.
  struct placement {
    int type = 1, mode = 1;
    hxsdk::vec2 repeat{1.0f, 1.0f}, offset{0.0f, 0.0f};
    float rotation = 0.0f, feathering = 0.5f, gamma = 1.0f;
  };
  constexpr std::array<double, 3> kFacing = {0.0, 0.0, 0.0};
  constexpr std::array<double, 3> kOblique = {0.5, 0.7, -0.3};
  const struct {
    const char* what;
    std::array<double, 3> turn;
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
       {-0.6, 2.4, 0.2},
       {2, 2, {2.0f, -1.0f}, {0.1f, 0.25f}, 0.4f, 0.0f}},
      {"plane XY on a turned sphere, mirrored repeat",
       kOblique,
       {.type = 3, .mode = 2, .repeat = {2.0f, 2.0f}}},
      {"plane XZ, repeat and offset",
       {kPi / 2.0, 0.0, 0.0},
       {.type = 4, .repeat = {1.5f, 1.5f}, .offset = {-0.3f, 0.15f}}},
      {"plane ZY, rotation", {0.0, kPi / 2.0, 0.0}, {.type = 5, .rotation = 0.5f}},
      {"uv type 0 projects on the ZY plane", {0.0, kPi / 2.0, 0.0}, {.type = 0}},
  };
  for (const auto& c : cases) {
    ref::sphere_scene scene = scene_of(cells, c.turn);
    material_properties& m = scene.material;
    m.uv_type = c.p.type, m.uv_mode = c.p.mode, m.uv_repeat = c.p.repeat, m.uv_offset = c.p.offset;
    m.uv_rotation = c.p.rotation, m.uv_feathering = c.p.feathering, m.diffuse_gamma = c.p.gamma;
    const rendered_image image = render(scene);
    int compared = 0;
    gpu_render::mismatches wrong;
    std::set<std::pair<int, int>> cells_seen;
    // Every second pixel of every second row, shifted by one on alternate rows: cells are
    // at least 14 pixels wide, so every cell keeps its witnesses, at a quarter of the cost.
    for (int y = 0; y < kSize; y += 2) {
      for (int x = (y / 2) % 2; x < kSize; x += 2) {
        const auto e = expected_cell_pixel(scene, x, y);
        if (!e) {
          continue;
        }
        ++compared;
        cells_seen.insert(e->second);
        const ref::argb gpu = image.pixel(x, y);
        const ref::rgba& want = e->first;
        if (std::max({std::abs(gpu.r - want.r), std::abs(gpu.g - want.g), std::abs(gpu.b - want.b),
                      100.0 * std::abs(gpu.a - 1.0)}) > 0.01) {
          wrong.add("pixel (", x, ", ", y, "): cell (", e->second.first, ", ", e->second.second,
                    ") colour (", want.r, ", ", want.g, ", ", want.b, "), got (", gpu.r, ", ",
                    gpu.g, ", ", gpu.b, ", a ", gpu.a, ")");
        }
      }
    }
    // A case proves something only with enough pixels over several cells; the thinnest
    // (the box seen from a corner) still compares about 480.
    EXPECT_GE(compared, 300) << c.what;
    EXPECT_GE(cells_seen.size(), 5u) << c.what;
    EXPECT_EQ(wrong.count, 0) << c.what << ":" << wrong.first.str();
  }
}

// Where u wraps from 1 to 0, neighbouring fragments of one shading quad see u differ by
// about 1; derivatives taken from u itself would pick the smallest mip level there and draw
// a line of the map's average colour (green 0.5 where the map is about 0.8 along the seam,
// red near 0.5 where the map's bands are anything from 0.1 to 0.9). The seam is turned
// towards the camera; each row where it crosses clear of the poles and the silhouette is
// compared around the crossing: the pixels whose quads may span it (2 either side) must show
// the map at their coordinates and step no further than twice the row's ordinary steps (7
// pixels either side).
TEST_F(GpuUvProjection, SphericalSeamPixelsShowTheMapLikeTheirNeighbours) {
  const unsigned int smooth = map_of(smooth_map_value);
  for (const int mode : {1, 2}) {
    ref::sphere_scene scene = scene_of(smooth, {0.0, kPi + 0.15, 0.0});
    scene.material.uv_mode = mode;
    const rendered_image image = render(scene);
    int rows = 0;
    gpu_render::mismatches wrong;
    for (int y = 0; y < kSize; ++y) {
      // The crossing: u at pixel centres jumps by more than a half between x and x + 1.
      std::vector<std::optional<std::array<double, 2>>> uv(kSize);
      for (int x = 0; x < kSize; ++x) {
        if (const auto f = front_point(scene, x + 0.5, y + 0.5, 0.3)) {
          uv[x] = spherical_coordinates(f->model_position);
        }
      }
      std::optional<int> crossing;
      for (int x = 7; x + 8 < kSize; ++x) {
        if (uv[x] && uv[x + 1] && std::abs((*uv[x + 1])[0] - (*uv[x])[0]) > 0.5) {
          crossing = x;
        }
      }
      bool clear = crossing.has_value();
      for (int x = crossing.value_or(0) - 7; clear && x <= *crossing + 8; ++x) {
        clear = uv[x] && std::abs((*uv[x])[1] - 0.5) < 0.35;
      }
      if (!clear) {
        continue;
      }
      ++rows;
      const int xs = *crossing;
      double ordinary = 0.0;  // the largest step between horizontal neighbours, any channel
      double at_seam = 0.0;
      for (int x = xs - 7; x <= xs + 7; ++x) {
        const ref::argb a = image.pixel(x, y);
        const ref::argb b = image.pixel(x + 1, y);
        double& widest = (x >= xs - 3 && x <= xs + 2) ? at_seam : ordinary;
        widest = std::max({widest, std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
      }
      if (at_seam > 2.0 * ordinary + 0.01) {
        wrong.add("row ", y, ", seam after column ", xs, ": step ", at_seam, " beside ", ordinary);
      }
      for (int x = xs - 2; x <= xs + 3; ++x) {
        const ref::rgba want =
            smooth_map_value(wrapped((*uv[x])[0], mode), wrapped((*uv[x])[1], mode));
        const ref::argb gpu = image.pixel(x, y);
        if (std::max(std::abs(gpu.r - want.r), std::abs(gpu.g - want.g)) > 0.02) {
          wrong.add("pixel (", x, ", ", y, "): map (", want.r, ", ", want.g, "), got (", gpu.r,
                    ", ", gpu.g, ")");
        }
      }
    }
    // The seam runs down most of the sphere's 118-pixel height.
    EXPECT_GE(rows, 50) << "uv mode " << mode;
    EXPECT_EQ(wrong.count, 0) << "uv mode " << mode << ":" << wrong.first.str();
  }
}

}  // namespace
