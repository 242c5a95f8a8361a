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
#include <sstream>
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
  double weight = 1.0;
  double s = 0.0;
  double t = 0.0;
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
// per model axis (x, y, z): weights |n| per axis (kept above 1e-5), normalised, sharpened by
// the feathering exponent and made to sum to 1, each from the face of that axis that the
// normal p points to. The positive faces read from p with x negated, the negative faces from
// p with z negated, so the two faces of an axis show the map turned differently.
std::vector<map_fetch> colour_map_fetches(const material_properties& m, vec3 p) {
  switch (m.uv_type) {
    case 1: {
      const auto [u, v] = spherical_coordinates(p);
      const map_fetch f = placed(m, u - 0.5, v - 0.5);
      return {{1.0, f.s + 0.5 * m.uv_repeat.x, f.t + 0.5 * m.uv_repeat.y}};
    }
    case 2: {
      const double exponent = ref::box_feathering_exponent(m.uv_feathering);
      const std::array<double, 3> n = {p.x, p.y, p.z};
      std::array<double, 3> w{};
      double length = 0.0;
      for (int axis = 0; axis < 3; ++axis) {
        w[axis] = std::max(std::abs(n[axis]), 1e-5);
        length += w[axis] * w[axis];
      }
      double sum = 0.0;
      for (double& wi : w) {
        sum += (wi = std::pow(wi / std::sqrt(length), exponent));
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
const hxsdk::vec4 kEye{0.0f, 0.0f, -500.0f, 0.0f};

// A material that shows the diffuse map as it is: unlit (the diffuse light is exactly 1, no
// highlight), white, opaque, no illumination colour, no environment, map gamma and
// brightness 1. The output pixel is then the map lookup itself.
ref::sphere_scene scene_of(unsigned int map, double x, double y, double z,
                           void (*change)(material_properties&) = nullptr) {
  ref::sphere_scene s;
  s.width = s.height = kSize;
  s.camera = gpu_render::look_at_camera(kEye, kCentre, 24.0f, kSize, kSize);
  s.model_matrix =
      model_matrix(kCentre,
                   hxsdk::quaternion_from_euler(
                       {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 0.0f}),
                   85.0f);  // about 59 pixels on the picture
  s.material = gpu_render::plain_material();
  s.material.unlit = 1;
  s.material.model_color = {1.0f, 1.0f, 1.0f, 1.0f};
  s.material.diffuse_texture = map;
  if (change != nullptr) {
    change(s.material);
  }
  return s;
}

constexpr int kMapWidth = 256;
constexpr int kMapHeight = 128;

// 8 x 4 cells of 32 x 32 texels. A cell's red names its column and its green its row;
// blue varies too, so every channel is exercised.
constexpr int kCellColumns = 8;
constexpr int kCellRows = 4;
ref::rgba cell_colour(int column, int row) {
  return {(column + 0.5) / kCellColumns, (row + 0.5) / kCellRows,
          ((3 * column + row) % 5 + 0.5) / 5.0, 1.0};
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
  void SetUp() override {
    gpu_render::GpuRendererSuite::SetUp();
    if (HasFatalFailure()) {
      return;
    }
    renderer().run([&](Renderer& r) {
      cell_map_ = gpu_render::upload(r, kMapWidth, kMapHeight, [](int x, int y) {
        const ref::rgba c = cell_colour(x * kCellColumns / kMapWidth, y * kCellRows / kMapHeight);
        return gpu_render::rgba{float(c.r), float(c.g), float(c.b), 1.0f};
      });
      smooth_map_ = gpu_render::upload(r, kMapWidth, kMapHeight, [](int x, int y) {
        const ref::rgba c = smooth_map_value((x + 0.5) / kMapWidth, (y + 0.5) / kMapHeight);
        return gpu_render::rgba{float(c.r), float(c.g), float(c.b), 1.0f};
      });
    });
  }
  void TearDown() override {
    if (cell_map_ != 0) {
      renderer().run([&](Renderer& r) {
        r.delete_texture(cell_map_);
        r.delete_texture(smooth_map_);
      });
    }
  }
  unsigned int cell_map_ = 0;
  unsigned int smooth_map_ = 0;
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

// --- Cell map: which cell each pixel shows ---

std::pair<int, int> cell_of(const map_fetch& f, int uv_mode) {
  return {std::clamp(static_cast<int>(std::floor(wrapped(f.s, uv_mode) * kCellColumns)), 0,
                     kCellColumns - 1),
          std::clamp(static_cast<int>(std::floor(wrapped(f.t, uv_mode) * kCellRows)), 0,
                     kCellRows - 1)};
}

// The colour the cell map must give pixel (x, y) and the cell of its heaviest fetch, or
// nothing when the pixel is no fair witness: its surface is seen obliquely, or a fetch that
// matters (weight 1e-3 or more) lies within 15 % of a cell border, or the surface two pixels
// away diagonally (which filtering may read) names other cells or box weights more than 0.2
// apart (near a seam, the silhouette, or where the box weights change fast).
std::optional<std::pair<ref::rgba, std::pair<int, int>>> expected_cell_pixel(
    const ref::sphere_scene& scene, int x, int y) {
  const material_properties& m = scene.material;
  const std::optional<ref::surface_fragment> centre = front_point(scene, x + 0.5, y + 0.5, 0.3);
  if (!centre) {
    return std::nullopt;
  }
  const std::vector<map_fetch> fetches = colour_map_fetches(m, centre->model_position);
  for (const map_fetch& f : fetches) {
    for (const double c :
         {wrapped(f.s, m.uv_mode) * kCellColumns, wrapped(f.t, m.uv_mode) * kCellRows}) {
      if (f.weight >= 1e-3 && std::abs(c - std::floor(c) - 0.5) > 0.35) {
        return std::nullopt;
      }
    }
  }
  for (const auto& [dx, dy] : {std::pair{-2, -2}, {2, -2}, {-2, 2}, {2, 2}}) {
    const std::optional<ref::surface_fragment> near =
        front_point(scene, x + 0.5 + dx, y + 0.5 + dy, 0.1);
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
    const ref::rgba c = cell_colour(column, row);
    colour = {colour.r + f.weight * c.r, colour.g + f.weight * c.g, colour.b + f.weight * c.b, 1.0};
    heaviest = f.weight > heaviest->weight ? &f : heaviest;
  }
  const double g = m.diffuse_gamma;
  return std::pair{
      ref::rgba{std::pow(colour.r, g), std::pow(colour.g, g), std::pow(colour.b, g), 1.0},
      cell_of(*heaviest, m.uv_mode)};
}

struct ProjectionCase {
  const char* what;
  std::array<double, 3> turn;  // Euler angles of the sphere; 0 shows the camera model -z
  void (*change)(material_properties&);
};

constexpr std::array<double, 3> kFacing = {0.0, 0.0, 0.0};
constexpr std::array<double, 3> kOblique = {0.5, 0.7, -0.3};

const ProjectionCase kProjectionCases[] = {
    {"spherical", kFacing, [](material_properties&) {}},
    {"spherical on a turned sphere", kOblique, [](material_properties&) {}},
    {"spherical, repeat 2 x 2", kFacing,
     [](material_properties& m) {
       m.uv_repeat = {2.0f, 2.0f};
     }},
    {"spherical, mirrored repeat 2 x 2", kFacing,
     [](material_properties& m) {
       m.uv_repeat = {2.0f, 2.0f};
       m.uv_mode = 2;
     }},
    {"spherical, repeat -2 x 1 (wrapping flips the map)", kFacing,
     [](material_properties& m) {
       m.uv_repeat = {-2.0f, 1.0f};
     }},
    {"spherical, mirrored repeat 1.5 x -1.5", kOblique,
     [](material_properties& m) {
       m.uv_repeat = {1.5f, -1.5f};
       m.uv_mode = 2;
     }},
    {"spherical, offset 0.3 x -0.2", kFacing,
     [](material_properties& m) {
       m.uv_offset = {0.3f, -0.2f};
     }},
    {"spherical, rotation 0.6", kFacing, [](material_properties& m) { m.uv_rotation = 0.6f; }},
    {"spherical, rotation, repeat, offset and mirror together", kOblique,
     [](material_properties& m) {
       m.uv_rotation = -0.9f;
       m.uv_repeat = {1.5f, 2.5f};
       m.uv_offset = {0.2f, 0.35f};
       m.uv_mode = 2;
     }},
    {"spherical, map gamma 2.2", kOblique, [](material_properties& m) { m.diffuse_gamma = 2.2f; }},
    {"box, hardest blend", kOblique,
     [](material_properties& m) {
       m.uv_type = 2;
       m.uv_feathering = 0.0f;
     }},
    {"box, softest blend", kOblique,
     [](material_properties& m) {
       m.uv_type = 2;
       m.uv_feathering = 1.0f;
     }},
    {"box, mirrored repeat, rotation and offset",
     {-0.6, 2.4, 0.2},
     [](material_properties& m) {
       m.uv_type = 2;
       m.uv_feathering = 0.0f;
       m.uv_repeat = {2.0f, -1.0f};
       m.uv_offset = {0.1f, 0.25f};
       m.uv_rotation = 0.4f;
       m.uv_mode = 2;
     }},
    {"plane XY", kFacing, [](material_properties& m) { m.uv_type = 3; }},
    {"plane XY on a turned sphere, mirrored repeat", kOblique,
     [](material_properties& m) {
       m.uv_type = 3;
       m.uv_repeat = {2.0f, 2.0f};
       m.uv_mode = 2;
     }},
    {"plane XZ, repeat and offset",
     {kPi / 2.0, 0.0, 0.0},
     [](material_properties& m) {
       m.uv_type = 4;
       m.uv_repeat = {1.5f, 1.5f};
       m.uv_offset = {-0.3f, 0.15f};
     }},
    {"plane ZY, rotation",
     {0.0, kPi / 2.0, 0.0},
     [](material_properties& m) {
       m.uv_type = 5;
       m.uv_rotation = 0.5f;
     }},
    {"uv type 0 projects on the ZY plane",
     {0.0, kPi / 2.0, 0.0},
     [](material_properties& m) { m.uv_type = 0; }},
};

// Cell colours are at least 0.125 apart in red or 0.25 in green: a fetch from a neighbouring
// cell, or a mirrored or shifted one, misses by far more than 0.01. Inside a cell every mip
// level holds the cell's colour, so the filtering adds nothing; the box blend's weights move
// by less than 0.005 with the mesh's normal error.
TEST_F(GpuUvProjection, EveryProjectionPutsTheCellTheCpuNamesUnderEachPixel) {
  for (const ProjectionCase& c : kProjectionCases) {
    const ref::sphere_scene scene = scene_of(cell_map_, c.turn[0], c.turn[1], c.turn[2], c.change);
    const rendered_image image = renderer().render(scene);
    int compared = 0;
    int mismatched = 0;
    std::ostringstream first_mismatches;
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
                      100.0 * std::abs(gpu.a - 1.0)}) > 0.01 &&
            ++mismatched <= 5) {
          first_mismatches << "\n  pixel (" << x << ", " << y << "): cell (" << e->second.first
                           << ", " << e->second.second << ") colour (" << want.r << ", " << want.g
                           << ", " << want.b << "), got (" << gpu.r << ", " << gpu.g << ", "
                           << gpu.b << ", a " << gpu.a << ")";
        }
      }
    }
    // A case proves something only with enough pixels over several cells; the thinnest
    // (the box seen from a corner) still compares about 480.
    EXPECT_GE(compared, 300) << c.what;
    EXPECT_GE(cells_seen.size(), 5u) << c.what;
    EXPECT_EQ(mismatched, 0) << c.what << ":" << first_mismatches.str();
  }
}

// Where u wraps from 1 to 0, neighbouring fragments of one shading quad see u differ by
// about 1; derivatives taken from u itself would pick the smallest mip level there and draw
// a line of the map's average colour (green 0.5 where the map is about 0.8 along the seam,
// red near 0.5 where the map's bands are anything from 0.1 to 0.9). The seam is turned
// towards the camera; each row where it crosses clear of the poles and the silhouette is
// compared around the crossing.
TEST_F(GpuUvProjection, SphericalSeamPixelsShowTheMapLikeTheirNeighbours) {
  constexpr int kSeamReach = 2;  // pixels either side of the crossing whose quads may span it
  constexpr int kBaseline = 7;   // pixels either side that set the row's ordinary step
  for (const int mode : {1, 2}) {
    ref::sphere_scene scene = scene_of(smooth_map_, 0.0, kPi + 0.15, 0.0);
    scene.material.uv_mode = mode;
    const rendered_image image = renderer().render(scene);
    int rows = 0;
    int failures = 0;
    std::ostringstream first_failures;
    for (int y = 0; y < kSize; ++y) {
      // The crossing: u at pixel centres jumps by more than a half between x and x + 1.
      std::vector<std::optional<std::array<double, 2>>> row_uv(kSize);
      for (int x = 0; x < kSize; ++x) {
        if (const auto f = front_point(scene, x + 0.5, y + 0.5, 0.3)) {
          row_uv[x] = spherical_coordinates(f->model_position);
        }
      }
      std::optional<int> crossing;
      for (int x = kBaseline; x + 1 + kBaseline < kSize; ++x) {
        if (row_uv[x] && row_uv[x + 1] && std::abs((*row_uv[x + 1])[0] - (*row_uv[x])[0]) > 0.5) {
          crossing = x;
        }
      }
      bool clear = crossing.has_value();
      for (int x = crossing.value_or(0) - kBaseline; clear && x <= *crossing + 1 + kBaseline; ++x) {
        clear = row_uv[x] && std::abs((*row_uv[x])[1] - 0.5) < 0.35;
      }
      if (!clear) {
        continue;
      }
      ++rows;
      const int xs = *crossing;
      // The largest step between horizontal neighbours, in any channel.
      double ordinary = 0.0;
      double at_seam = 0.0;
      for (int x = xs - kBaseline; x <= xs + kBaseline; ++x) {
        const ref::argb a = image.pixel(x, y);
        const ref::argb b = image.pixel(x + 1, y);
        const double step =
            std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
        double& widest = (x >= xs - kSeamReach - 1 && x <= xs + kSeamReach) ? at_seam : ordinary;
        widest = std::max(widest, step);
      }
      if (at_seam > 2.0 * ordinary + 0.01 && ++failures <= 5) {
        first_failures << "\n  row " << y << ", seam after column " << xs << ": step " << at_seam
                       << " beside ordinary steps up to " << ordinary;
      }
      for (int x = xs - kSeamReach; x <= xs + 1 + kSeamReach; ++x) {
        const auto [u, v] = *row_uv[x];
        const ref::rgba want = smooth_map_value(wrapped(u, mode), wrapped(v, mode));
        const ref::argb gpu = image.pixel(x, y);
        if (std::max(std::abs(gpu.r - want.r), std::abs(gpu.g - want.g)) > 0.02 &&
            ++failures <= 5) {
          first_failures << "\n  pixel (" << x << ", " << y << "): map (" << want.r << ", "
                         << want.g << "), got (" << gpu.r << ", " << gpu.g << ")";
        }
      }
    }
    // The seam runs down most of the sphere's 118-pixel height.
    EXPECT_GE(rows, 50) << "uv mode " << mode;
    EXPECT_EQ(failures, 0) << "uv mode " << mode << ":" << first_failures.str();
  }
}

}  // namespace
