#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "renderer/render_client.h"
#include "tests/gpu_map_textures.h"
#include "tests/gpu_render_harness.h"
#include "tests/gpu_shading_reference.h"
#include "tests/gpu_uv_reference.h"

// Where the diffuse map lands on the real renderer's sphere (EGL on llvmpipe, OpenCL on
// PoCL): the rendered colour of a pixel against the map texel that the CPU projection of
// that pixel's surface point names.
namespace {

namespace ref = shading_reference;
namespace uv = uv_reference;
using gpu_render::rendered_image;

constexpr double kPi = 3.14159265358979323846;

// --- The frame every test draws ---

constexpr int kSize = 144;
constexpr hxsdk::vec4 kCentre{6.0f, -4.0f, 0.0f, 0.0f};
constexpr float kRadius = 85.0f;  // about 59 pixels on the picture
const hxsdk::vec4 kEye{0.0f, 0.0f, -500.0f, 0.0f};

hxsdk::quaternion turned(double x, double y, double z) {
  return hxsdk::quaternion_from_euler(
      {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 0.0f});
}

// A material that shows the diffuse map as it is: unlit (the diffuse light is exactly 1, no
// highlight), white, opaque, no illumination colour, no environment, map gamma and
// brightness 1. The output pixel is then the map lookup itself.
material_properties showing_map(unsigned int texture) {
  material_properties m = gpu_render::plain_material();
  m.unlit = 1;
  m.model_color = {1.0f, 1.0f, 1.0f, 1.0f};
  m.illumination_color = {0.0f, 0.0f, 0.0f, 1.0f};
  m.diffuse_texture = texture;
  return m;
}

ref::sphere_scene scene_of(const material_properties& material, hxsdk::quaternion orientation) {
  ref::sphere_scene s;
  s.width = kSize;
  s.height = kSize;
  s.camera =
      gpu_render::look_at_camera(kEye, kCentre, {0.0f, 1.0f, 0.0f, 0.0f}, 24.0f, kSize, kSize);
  s.model_matrix = model_matrix(kCentre, orientation, kRadius);
  s.material = material;
  return s;
}

// --- The maps ---

constexpr int kMapWidth = 256;
constexpr int kMapHeight = 128;

// 8 x 4 cells of 32 x 32 texels. A cell's red names its column and its green its row
// (column = floor(8 r), row = floor(4 g)); blue varies too, so every channel is exercised.
constexpr int kCellColumns = 8;
constexpr int kCellRows = 4;

ref::rgba cell_colour(int column, int row) {
  return {(column + 0.5) / kCellColumns, (row + 0.5) / kCellRows,
          ((3 * column + row) % 5 + 0.5) / 5.0, 1.0};
}

ref::rgba cell_map_texel(int x, int y) {
  return cell_colour(x * kCellColumns / kMapWidth, y * kCellRows / kMapHeight);
}

// Smooth everywhere, the two edges of each row alike (green is one cosine period across the
// map), and with detail in t (red: four sine periods down the map), so that a lookup from a
// coarse mip level, which averages rows, differs from the texels around it. At texture
// coordinates (s, t) the bilinear lookup is this function to within 0.002.
ref::rgba smooth_map_value(double s, double t) {
  return {0.5 + 0.4 * std::sin(8.0 * kPi * t), 0.5 + 0.3 * std::cos(2.0 * kPi * s), 0.5, 1.0};
}

ref::rgba smooth_map_texel(int x, int y) {
  return smooth_map_value((x + 0.5) / kMapWidth, (y + 0.5) / kMapHeight);
}

unsigned int upload_map(RendererThread& thread, ref::rgba (*texel)(int, int)) {
  unsigned int name = 0;
  thread.run_on_renderer([&](Renderer& r) {
    name = gpu_maps::upload(r, kMapWidth, kMapHeight, [&](int x, int y) {
      const ref::rgba c = texel(x, y);
      return gpu_maps::rgba{static_cast<float>(c.r), static_cast<float>(c.g),
                            static_cast<float>(c.b), static_cast<float>(c.a)};
    });
  });
  return name;
}

// --- Fixture: one renderer and the two maps per suite ---

class GpuUvFixture : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    try {
      renderer_ = std::make_unique<gpu_render::SphereRenderer>();
      cell_map_ = upload_map(renderer_->thread(), cell_map_texel);
      smooth_map_ = upload_map(renderer_->thread(), smooth_map_texel);
    } catch (const std::exception& e) {
      failure_ = e.what();
    }
  }
  static void TearDownTestSuite() {
    if (renderer_) {
      renderer_->thread().run_on_renderer([](Renderer& r) {
        r.delete_texture(cell_map_);
        r.delete_texture(smooth_map_);
      });
    }
    renderer_.reset();
  }

  void SetUp() override {
    if (!renderer_) {
      FAIL() << "the renderer could not be built: " << failure_;
    }
    ASSERT_NE(cell_map_, 0u);
    ASSERT_NE(smooth_map_, 0u);
  }

  static rendered_image render(const ref::sphere_scene& scene) {
    return renderer_->render(scene, {});
  }

  static std::unique_ptr<gpu_render::SphereRenderer> renderer_;
  static std::string failure_;
  static unsigned int cell_map_;
  static unsigned int smooth_map_;
};

std::unique_ptr<gpu_render::SphereRenderer> GpuUvFixture::renderer_;
std::string GpuUvFixture::failure_;
unsigned int GpuUvFixture::cell_map_ = 0;
unsigned int GpuUvFixture::smooth_map_ = 0;

class GpuUvProjection : public GpuUvFixture {};
class GpuUvSeam : public GpuUvFixture {};

// --- Geometry of a pixel ---

// The front surface point under window position (wx, wy) when the view meets it at least
// as squarely as min_facing (V.N), else nothing.
std::optional<ref::surface_fragment> front_point(const ref::sphere_scene& scene, double wx,
                                                 double wy, double min_facing) {
  const std::optional<ref::surface_fragment> f = ref::drawn_fragments(scene, wx, wy).front;
  if (!f) {
    return std::nullopt;
  }
  const ref::vec3 to_eye = ref::normalize(
      {kEye.x - f->world_position.x, kEye.y - f->world_position.y, kEye.z - f->world_position.z});
  if (ref::dot(to_eye, f->flat_normal) < min_facing) {
    return std::nullopt;
  }
  return f;
}

// --- Cell map: which cell each pixel shows ---

struct cell_ref {
  int column = 0;
  int row = 0;
  bool operator==(const cell_ref&) const = default;
};

// Fetches lighter than this are too faint to matter for the colour (at most 1e-3 per
// channel) and are not required to stay inside one cell.
constexpr double kFaintWeight = 1e-3;
// How far inside its cell the pixel centre's fetch must be, as a fraction of the cell.
constexpr double kCellMargin = 0.15;
// Filtering reads a pixel's neighbourhood: the surface two pixels away in every direction
// must still name the same cells, with weights that differ by less than this.
constexpr double kNeighbourOffset = 2.0;
constexpr double kWeightDrift = 0.2;

cell_ref cell_of(const uv::map_fetch& f, int uv_mode) {
  const double s = uv::wrapped(f.s, uv_mode) * kCellColumns;
  const double t = uv::wrapped(f.t, uv_mode) * kCellRows;
  return {std::clamp(static_cast<int>(std::floor(s)), 0, kCellColumns - 1),
          std::clamp(static_cast<int>(std::floor(t)), 0, kCellRows - 1)};
}

bool well_inside_cell(const uv::map_fetch& f, int uv_mode) {
  for (double c :
       {uv::wrapped(f.s, uv_mode) * kCellColumns, uv::wrapped(f.t, uv_mode) * kCellRows}) {
    const double within = c - std::floor(c);
    if (within < kCellMargin || within > 1.0 - kCellMargin) {
      return false;
    }
  }
  return true;
}

struct expected_pixel {
  ref::rgba colour;                          // straight colour, the map's gamma applied
  cell_ref main_cell;                        // the cell of the heaviest fetch
  std::array<double, 2> main_coordinates{};  // its (s, t), wrapped into 0..1
};

// The colour the cell map must give pixel (x, y), or nothing when the pixel is no fair
// witness: its surface is seen obliquely or lies near a cell border, near a projection's
// seam, near the silhouette, or (box) where the face weights change fast.
std::optional<expected_pixel> expected_cell_pixel(const ref::sphere_scene& scene, int x, int y) {
  const material_properties& m = scene.material;
  const double cx = x + 0.5;
  const double cy = y + 0.5;
  const std::optional<ref::surface_fragment> centre = front_point(scene, cx, cy, 0.3);
  if (!centre) {
    return std::nullopt;
  }
  const std::vector<uv::map_fetch> fetches = uv::colour_map_fetches(m, centre->model_position);
  for (const uv::map_fetch& f : fetches) {
    if (f.weight >= kFaintWeight && !well_inside_cell(f, m.uv_mode)) {
      return std::nullopt;
    }
  }
  for (const auto& [dx, dy] : {std::pair{-1, -1}, {1, -1}, {-1, 1}, {1, 1}}) {
    const std::optional<ref::surface_fragment> near =
        front_point(scene, cx + dx * kNeighbourOffset, cy + dy * kNeighbourOffset, 0.1);
    if (!near) {
      return std::nullopt;
    }
    const std::vector<uv::map_fetch> there = uv::colour_map_fetches(m, near->model_position);
    for (std::size_t i = 0; i < fetches.size(); ++i) {
      const bool matters = std::max(fetches[i].weight, there[i].weight) >= kFaintWeight;
      if (matters && (cell_of(fetches[i], m.uv_mode) != cell_of(there[i], m.uv_mode) ||
                      std::abs(fetches[i].weight - there[i].weight) > kWeightDrift)) {
        return std::nullopt;
      }
    }
  }
  expected_pixel e;
  double heaviest = -1.0;
  for (const uv::map_fetch& f : fetches) {
    const cell_ref cell = cell_of(f, m.uv_mode);
    const ref::rgba c = cell_colour(cell.column, cell.row);
    e.colour = {e.colour.r + f.weight * c.r, e.colour.g + f.weight * c.g,
                e.colour.b + f.weight * c.b, 1.0};
    if (f.weight > heaviest) {
      heaviest = f.weight;
      e.main_cell = cell;
      e.main_coordinates = {uv::wrapped(f.s, m.uv_mode), uv::wrapped(f.t, m.uv_mode)};
    }
  }
  const double gamma = m.diffuse_gamma;
  e.colour = {std::pow(e.colour.r, gamma), std::pow(e.colour.g, gamma), std::pow(e.colour.b, gamma),
              1.0};
  return e;
}

std::string describe(const ref::argb& p) {
  std::ostringstream s;
  s << "(r " << p.r << ", g " << p.g << ", b " << p.b << ", a " << p.a << ")";
  return s.str();
}

// Cell colours are at least 0.125 apart in red or 0.25 in green: a fetch from a neighbouring
// cell, or a mirrored or shifted one, misses by far more than this. Inside a cell every mip
// level holds the cell's colour, so the filtering adds nothing; the box blend's weights move
// by less than 0.005 with the mesh's normal error.
constexpr double kColourTolerance = 0.01;

struct ProjectionCase {
  std::string what;
  material_properties material;
  hxsdk::quaternion orientation;
};

std::vector<ProjectionCase> projection_cases(unsigned int map) {
  const hxsdk::quaternion facing = turned(0.0, 0.0, 0.0);  // the camera sees model -z
  const hxsdk::quaternion oblique = turned(0.5, 0.7, -0.3);
  const hxsdk::quaternion y_to_camera = turned(kPi / 2.0, 0.0, 0.0);
  const hxsdk::quaternion x_to_camera = turned(0.0, kPi / 2.0, 0.0);
  const material_properties plain = showing_map(map);
  const auto with = [&](const std::function<void(material_properties&)>& change) {
    material_properties m = plain;
    change(m);
    return m;
  };
  std::vector<ProjectionCase> cases;
  cases.push_back({"spherical", plain, facing});
  cases.push_back({"spherical on a turned sphere", plain, oblique});
  cases.push_back({"spherical, repeat 2 x 2", with([](auto& m) {
                     m.uv_repeat = {2.0f, 2.0f};
                   }),
                   facing});
  cases.push_back({"spherical, mirrored repeat 2 x 2", with([](auto& m) {
                     m.uv_repeat = {2.0f, 2.0f};
                     m.uv_mode = 2;
                   }),
                   facing});
  cases.push_back({"spherical, repeat -2 x 1 (wrapping flips the map)", with([](auto& m) {
                     m.uv_repeat = {-2.0f, 1.0f};
                   }),
                   facing});
  cases.push_back({"spherical, mirrored repeat 1.5 x -1.5", with([](auto& m) {
                     m.uv_repeat = {1.5f, -1.5f};
                     m.uv_mode = 2;
                   }),
                   oblique});
  cases.push_back({"spherical, offset 0.3 x -0.2", with([](auto& m) {
                     m.uv_offset = {0.3f, -0.2f};
                   }),
                   facing});
  cases.push_back({"spherical, rotation 0.6", with([](auto& m) { m.uv_rotation = 0.6f; }), facing});
  cases.push_back({"spherical, rotation, repeat, offset and mirror together", with([](auto& m) {
                     m.uv_rotation = -0.9f;
                     m.uv_repeat = {1.5f, 2.5f};
                     m.uv_offset = {0.2f, 0.35f};
                     m.uv_mode = 2;
                   }),
                   oblique});
  cases.push_back(
      {"spherical, map gamma 2.2", with([](auto& m) { m.diffuse_gamma = 2.2f; }), oblique});
  cases.push_back({"box, hardest blend", with([](auto& m) {
                     m.uv_type = 2;
                     m.uv_feathering = 0.0f;
                   }),
                   oblique});
  cases.push_back({"box, softest blend", with([](auto& m) {
                     m.uv_type = 2;
                     m.uv_feathering = 1.0f;
                   }),
                   oblique});
  cases.push_back({"box, mirrored repeat, rotation and offset", with([](auto& m) {
                     m.uv_type = 2;
                     m.uv_feathering = 0.0f;
                     m.uv_repeat = {2.0f, -1.0f};
                     m.uv_offset = {0.1f, 0.25f};
                     m.uv_rotation = 0.4f;
                     m.uv_mode = 2;
                   }),
                   turned(-0.6, 2.4, 0.2)});
  cases.push_back({"plane XY", with([](auto& m) { m.uv_type = 3; }), facing});
  cases.push_back({"plane XY on a turned sphere, mirrored repeat", with([](auto& m) {
                     m.uv_type = 3;
                     m.uv_repeat = {2.0f, 2.0f};
                     m.uv_mode = 2;
                   }),
                   oblique});
  cases.push_back({"plane XZ, repeat and offset", with([](auto& m) {
                     m.uv_type = 4;
                     m.uv_repeat = {1.5f, 1.5f};
                     m.uv_offset = {-0.3f, 0.15f};
                   }),
                   y_to_camera});
  cases.push_back({"plane ZY, rotation", with([](auto& m) {
                     m.uv_type = 5;
                     m.uv_rotation = 0.5f;
                   }),
                   x_to_camera});
  cases.push_back(
      {"uv type 0 projects on the ZY plane", with([](auto& m) { m.uv_type = 0; }), x_to_camera});
  return cases;
}

TEST_F(GpuUvProjection, EveryProjectionPutsTheCellTheCpuNamesUnderEachPixel) {
  for (const ProjectionCase& c : projection_cases(cell_map_)) {
    const ref::sphere_scene scene = scene_of(c.material, c.orientation);
    const rendered_image image = render(scene);
    int compared = 0;
    int mismatched = 0;
    std::string first_mismatches;
    std::set<std::pair<int, int>> cells_seen;
    // Every second pixel of every second row, shifted by one on alternate rows: cells are
    // at least 14 pixels wide, so every cell keeps its witnesses, at a quarter of the cost.
    for (int y = 0; y < kSize; y += 2) {
      for (int x = (y / 2) % 2; x < kSize; x += 2) {
        const std::optional<expected_pixel> e = expected_cell_pixel(scene, x, y);
        if (!e) {
          continue;
        }
        ++compared;
        cells_seen.insert({e->main_cell.column, e->main_cell.row});
        const ref::argb gpu = image.pixel(x, y);
        const bool ok = std::abs(gpu.r - e->colour.r) <= kColourTolerance &&
                        std::abs(gpu.g - e->colour.g) <= kColourTolerance &&
                        std::abs(gpu.b - e->colour.b) <= kColourTolerance &&
                        std::abs(gpu.a - 1.0) <= 1e-4;
        if (!ok && ++mismatched <= 5) {
          std::ostringstream s;
          s << "\n  pixel (" << x << ", " << y << "): expected cell (" << e->main_cell.column
            << ", " << e->main_cell.row << ") at map (" << e->main_coordinates[0] << ", "
            << e->main_coordinates[1] << ") colour (r " << e->colour.r << ", g " << e->colour.g
            << ", b " << e->colour.b << "), got " << describe(gpu);
          first_mismatches += s.str();
        }
      }
    }
    // A case proves something only with enough pixels over several cells; the thinnest
    // (the box seen from a corner) still compares about 480.
    EXPECT_GE(compared, 300) << c.what;
    EXPECT_GE(cells_seen.size(), 5u) << c.what;
    EXPECT_EQ(mismatched, 0) << c.what << ": " << mismatched << " of " << compared
                             << " pixels differ:" << first_mismatches;
  }
}

// --- The spherical seam ---

// Where u wraps from 1 to 0, neighbouring fragments of one shading quad see u differ by
// about 1; derivatives taken from u itself would pick the smallest mip level there and draw
// a line of the map's average colour (green 0.5 where the map is about 0.8 along the seam,
// red near 0.5 where the map's bands are anything from 0.1 to 0.9). The seam is turned
// towards the camera; each row where it crosses clear of the poles and the silhouette is
// compared around the crossing.
TEST_F(GpuUvSeam, SphericalSeamPixelsShowTheMapLikeTheirNeighbours) {
  constexpr int kSeamReach = 2;  // pixels either side of the crossing whose quads may span it
  constexpr int kBaseline = 7;   // pixels either side that set the row's ordinary step
  constexpr double kMapTolerance = 0.02;
  for (const int mode : {1, 2}) {
    material_properties m = showing_map(smooth_map_);
    m.uv_mode = mode;
    const ref::sphere_scene scene = scene_of(m, turned(0.0, kPi + 0.15, 0.0));
    const rendered_image image = render(scene);
    int rows = 0;
    int seam_steps = 0;  // rows whose seam pixels step further than the rest of the row
    int off_map = 0;     // seam pixels that do not show the map at their coordinates
    std::string failures;
    for (int y = 0; y < kSize; ++y) {
      // The crossing: u at pixel centres jumps by more than a half between x and x + 1.
      std::optional<int> crossing;
      std::vector<std::optional<std::array<double, 2>>> row_uv(kSize);
      for (int x = 0; x < kSize; ++x) {
        if (const auto f = front_point(scene, x + 0.5, y + 0.5, 0.3)) {
          row_uv[x] = uv::spherical_coordinates(f->model_position);
        }
      }
      for (int x = kBaseline; x + 1 + kBaseline < kSize; ++x) {
        if (row_uv[x] && row_uv[x + 1] && std::abs((*row_uv[x + 1])[0] - (*row_uv[x])[0]) > 0.5) {
          crossing = x;
        }
      }
      if (!crossing) {
        continue;
      }
      const int xs = *crossing;
      bool clear = true;
      for (int x = xs - kBaseline; x <= xs + 1 + kBaseline; ++x) {
        clear = clear && row_uv[x] && std::abs((*row_uv[x])[1] - 0.5) < 0.35;
      }
      if (!clear) {
        continue;
      }
      ++rows;
      // The largest step between horizontal neighbours, in any channel.
      const auto step = [&](int x) {
        const ref::argb a = image.pixel(x, y);
        const ref::argb b = image.pixel(x + 1, y);
        return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
      };
      double ordinary = 0.0;
      double at_seam = 0.0;
      for (int x = xs - kBaseline; x <= xs + kBaseline; ++x) {
        if (x >= xs - kSeamReach - 1 && x <= xs + kSeamReach) {
          at_seam = std::max(at_seam, step(x));
        } else {
          ordinary = std::max(ordinary, step(x));
        }
      }
      if (at_seam > 2.0 * ordinary + 0.01 && ++seam_steps <= 5) {
        std::ostringstream s;
        s << "\n  row " << y << ", seam after column " << xs << ": step " << at_seam
          << " beside ordinary steps up to " << ordinary;
        failures += s.str();
      }
      for (int x = xs - kSeamReach; x <= xs + 1 + kSeamReach; ++x) {
        const auto [u, v] = *row_uv[x];
        const ref::rgba want = smooth_map_value(uv::wrapped(u, mode), uv::wrapped(v, mode));
        const ref::argb gpu = image.pixel(x, y);
        if ((std::abs(gpu.r - want.r) > kMapTolerance ||
             std::abs(gpu.g - want.g) > kMapTolerance) &&
            ++off_map <= 5) {
          std::ostringstream s;
          s << "\n  pixel (" << x << ", " << y << "): map (r " << want.r << ", g " << want.g
            << "), got " << describe(gpu);
          failures += s.str();
        }
      }
    }
    // The seam runs down most of the sphere's 118-pixel height.
    EXPECT_GE(rows, 50) << "uv mode " << mode;
    EXPECT_EQ(seam_steps + off_map, 0) << "uv mode " << mode << ":" << failures;
  }
}

}  // namespace
