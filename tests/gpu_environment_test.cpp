// The environment cube made from an equirectangular texture (where each cube texel looks,
// what the prefiltered levels hold, the GL state the conversion leaves) and a mirror sphere
// that shows it. Converting is the slowest thing the renderer does, so the suite converts
// one image whose channels serve every test: red and green are the texel centre's u and v,
// blue is 1 on the x > 0 half of the sphere of directions and 0 on the other, alpha is 1.
#include <GL/glew.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "tests/gpu_render_harness.h"
#include "tests/gpu_shading_reference.h"

namespace {

namespace ref = shading_reference;
using gpu_render::rgba;

constexpr int kSourceWidth = 1024;
constexpr int kSourceHeight = 512;

// The equirectangular point a direction shows: u turns about y from -z through +x; v runs
// from -y (0) to +y (1), with the elevation divided by 3.1415.
std::array<double, 2> equirectangular_point(ref::vec3 d) {
  return {std::atan2(d.x, d.z) / (2.0 * M_PI) + 0.5,
          std::atan2(d.y, std::hypot(d.x, d.z)) / 3.1415 + 0.5};
}

// Where texel (i, j) of a size x size cube face looks, from the face selection table of the
// OpenGL specification (major axis, sc, tc): s = (sc / |ma| + 1) / 2, t = (tc / |ma| + 1) / 2.
ref::vec3 texel_direction(int face, int i, int j, int size) {
  const double sc = 2.0 * (i + 0.5) / size - 1.0;
  const double tc = 2.0 * (j + 0.5) / size - 1.0;
  const ref::vec3 directions[6] = {{1.0, -tc, -sc}, {-1.0, -tc, sc}, {sc, 1.0, tc},
                                   {sc, -1.0, -tc}, {sc, -tc, 1.0},  {-sc, -tc, -1.0}};
  return directions[face];
}

// GL objects of the context, counted by name (a name counts once it has been bound).
int live_textures_and_framebuffers() {
  int count = 0;
  for (GLuint name = 1; name < 4096; ++name) {
    count += (glIsTexture(name) == GL_TRUE) + (glIsFramebuffer(name) == GL_TRUE);
  }
  return count;
}

class GpuEnvironment : public gpu_render::GpuRendererSuite {
 protected:
  static void SetUpTestSuite() {
    gpu_render::GpuRendererSuite::SetUpTestSuite();
    if (!renderer_) {
      return;
    }
    renderer().run([](Renderer& r) {
      const GLuint source = gpu_render::upload(r, kSourceWidth, kSourceHeight, [](int x, int y) {
        return rgba{static_cast<float>((x + 0.5) / kSourceWidth),
                    static_cast<float>((y + 0.5) / kSourceHeight),
                    x >= kSourceWidth / 2 ? 1.0f : 0.0f, 1.0f};
      });
      cube_ = r.make_environment_cube(source);
      glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer_after_);
      glGetIntegerv(GL_CURRENT_PROGRAM, &program_after_);
      r.delete_texture(source);
      for (int level = 0; level <= 6; ++level) {
        for (int face = 0; face < 6; ++face) {
          levels_[level][face] =
              gpu_render::read_level(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, cube_, level);
        }
      }
    });
  }
  static void TearDownTestSuite() {
    if (renderer_) {
      renderer().run([](Renderer& r) { r.delete_texture(cube_); });
    }
    gpu_render::GpuRendererSuite::TearDownTestSuite();
  }

  static GLuint cube_;
  static GLint framebuffer_after_;
  static GLint program_after_;
  static std::array<std::array<std::vector<rgba>, 6>, 7> levels_;  // level, face
};

GLuint GpuEnvironment::cube_ = 0;
GLint GpuEnvironment::framebuffer_after_ = -1;
GLint GpuEnvironment::program_after_ = -1;
std::array<std::array<std::vector<rgba>, 6>, 7> GpuEnvironment::levels_;

TEST_F(GpuEnvironment, SourceZeroMakesNoCubeAndChangesNoState) {
  renderer().run([&](Renderer& r) {
    glEnable(GL_CULL_FACE);
    glEnable(GL_MULTISAMPLE);
    const int objects_before = live_textures_and_framebuffers();
    EXPECT_EQ(r.make_environment_cube(0), 0u);
    EXPECT_EQ(live_textures_and_framebuffers(), objects_before);
    EXPECT_EQ(glIsEnabled(GL_CULL_FACE), GL_TRUE);
    EXPECT_EQ(glIsEnabled(GL_MULTISAMPLE), GL_TRUE);
  });
}

TEST_F(GpuEnvironment, CubeIsAHalfFloat512MipChainOfSevenFilteredLevelsAndLeavesNothingBound) {
  std::vector<GLint> state;
  renderer().run([&](Renderer&) {
    glBindTexture(GL_TEXTURE_CUBE_MAP, cube_);
    GLint value = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, 0, GL_TEXTURE_INTERNAL_FORMAT, &value);
    state.push_back(value);
    for (const GLenum name : {GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_MAX_LEVEL, GL_TEXTURE_MIN_FILTER,
                              GL_TEXTURE_MAG_FILTER}) {
      glGetTexParameteriv(GL_TEXTURE_CUBE_MAP, name, &value);
      state.push_back(value);
    }
    for (int level = 0; level <= 9; ++level) {
      glGetTexLevelParameteriv(GL_TEXTURE_CUBE_MAP_POSITIVE_Y, level, GL_TEXTURE_WIDTH, &value);
      state.push_back(value);
    }
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
  });
  EXPECT_EQ(state, (std::vector<GLint>{GL_RGBA16F, 0, 6, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, 512,
                                       256, 128, 64, 32, 16, 8, 4, 2, 1}));
  EXPECT_EQ(framebuffer_after_, 0);
  EXPECT_EQ(program_after_, 0);
}

TEST_F(GpuEnvironment, EveryLevelZeroTexelShowsTheEquirectangularPointOfItsDirection) {
  // The centre of the +X face (between its four middle texels) looks along +X.
  double centre_u = 0.0;
  double centre_v = 0.0;
  for (const int at : {255 * 512 + 255, 255 * 512 + 256, 256 * 512 + 255, 256 * 512 + 256}) {
    centre_u += levels_[0][0][at][0] / 4.0;
    centre_v += levels_[0][0][at][1] / 4.0;
  }
  EXPECT_NEAR(centre_u, 0.75, 2e-3);
  EXPECT_NEAR(centre_v, 0.5, 2e-3);
  int compared = 0;
  for (int face = 0; face < 6; ++face) {
    ASSERT_EQ(levels_[0][face].size(), std::size_t{512 * 512});
    for (int j = 4; j < 512; j += 24) {
      for (int i = 4; i < 512; i += 24) {
        const auto [u, v] = equirectangular_point(texel_direction(face, i, j, 512));
        // Away from the seam, the poles and the blue edge, where the test image's ramps end.
        if (u < 0.01 || u > 0.99 || v < 0.02 || v > 0.98 || std::abs(u - 0.5) < 0.01) {
          continue;
        }
        const rgba& got = levels_[0][face][static_cast<std::size_t>(j) * 512 + i];
        const std::string where = "face " + std::to_string(face) + " texel " + std::to_string(i) +
                                  "," + std::to_string(j);
        EXPECT_NEAR(got[0], u, 3e-3) << where;
        EXPECT_NEAR(got[1], v, 3e-3) << where;
        EXPECT_NEAR(got[2], u > 0.5 ? 1.0 : 0.0, 1e-3) << where;
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 2000);
}

// Filtering is linear and the lobes are symmetric, so in blue (1 where x > 0) a direction on
// the bright side and its mirror image on the dark side always sum to 1, and the bright
// side's light spreads further with every level. Alpha, 1 everywhere, stays 1 on every
// texel of every face and level: the weights of each level sum to 1.
TEST_F(GpuEnvironment, LevelsBlurMoreAndMoreWithoutLosingOrGainingLight) {
  double previous_bright = 1.0;
  for (int level = 0; level <= 6; ++level) {
    for (int face = 0; face < 6; ++face) {
      const auto off = std::count_if(levels_[level][face].begin(), levels_[level][face].end(),
                                     [](const rgba& t) { return std::abs(t[3] - 1.0f) > 2e-3f; });
      EXPECT_EQ(off, 0) << "level " << level << " face " << face;
    }
    // On the +Z face's middle row, which the boundary x = 0 halves, texel i looks along
    // (sc, 0, 1): 14 degrees either side of the boundary at a quarter of the way from the
    // middle to the edges.
    const int size = 512 >> level;
    const std::vector<rgba>& plus_z = levels_[level][4];
    const double bright =
        plus_z[static_cast<std::size_t>(size / 2) * size + size / 2 + size / 8][2];
    const double dark =
        plus_z[static_cast<std::size_t>(size / 2) * size + size / 2 - size / 8 - 1][2];
    EXPECT_NEAR(bright + dark, 1.0, 0.03) << "level " << level;
    EXPECT_LE(bright, previous_bright + 0.01) << "level " << level;
    EXPECT_GT(bright, level == 0 ? 0.999 : 0.5) << "level " << level;
    previous_bright = bright;
  }
  EXPECT_LT(previous_bright, 0.85) << "the roughest level is barely blurred";
}

// A perfect mirror (no diffuse colour, no lights, full reflectivity, glossiness 1): every
// pixel shows the environment in the direction the eye ray is reflected to, after the
// environment's rotation.
TEST_F(GpuEnvironment, MirrorSphereShowsTheEnvironmentInTheReflectedDirection) {
  constexpr int kWidth = 96;
  constexpr int kHeight = 80;
  struct Case {
    const char* name;
    hxsdk::quaternion orientation;
    double turn;  // the quaternion's half turn about y maps (x, y, z) to (-x, y, -z) or not
  };
  for (const Case& c : {Case{"unrotated", {0.0f, 0.0f, 0.0f, 1.0f}, 1.0},
                        Case{"half a turn about y", {0.0f, 1.0f, 0.0f, 0.0f}, -1.0}}) {
    ref::sphere_scene scene;
    scene.width = kWidth;
    scene.height = kHeight;
    scene.camera =
        gpu_render::look_at_camera({60.0f, -40.0f, -420.0f, 0.0f}, {}, 30.0f, kWidth, kHeight);
    scene.model_matrix =
        model_matrix({}, hxsdk::quaternion_from_euler({0.4f, 1.1f, -0.3f, 0.0f}), 90.0f);
    scene.material = gpu_render::plain_material();
    scene.material.model_color = {0.0f, 0.0f, 0.0f, 1.0f};
    scene.material.reflectivity = 1.0f;
    scene.material.glossiness = 1.0f;
    scene.material.specular = 0.0f;
    scene.material.environment_texture = cube_;
    scene.material.environment_orientation = c.orientation;
    const gpu_render::rendered_image image = renderer().render(scene);
    int compared = 0;
    int wrong = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const ref::ray_hits hits = ref::drawn_fragments(scene, x + 0.5, y + 0.5);
        if (!hits.front || !ref::pixel_is_clear_of_edges(scene, x, y)) {
          continue;
        }
        const ref::vec3 n = hits.front->flat_normal;
        const ref::vec3 view =
            normalize(ref::to_vec3(scene.camera.eye_position) - hits.front->world_position);
        const ref::vec3 r = n * (2.0 * dot(view, n)) - view;
        const auto [u, v] = equirectangular_point({c.turn * r.x, r.y, c.turn * r.z});
        // Away from the seam, where filtering mixes both ends of u, and the poles, where u
        // turns faster than the mesh's normals are exact.
        if (u < 0.02 || u > 0.98 || v < 0.1 || v > 0.9) {
          continue;
        }
        ++compared;
        // The cube holds half floats of a 1024-wide source resampled to 512-texel faces; the
        // mesh's normals are a few 1e-4 radians off the sphere's.
        const ref::argb got = image.pixel(x, y);
        if (std::max({std::abs(got.r - u), std::abs(got.g - v), std::abs(got.a - 1.0)}) > 0.01 &&
            wrong++ < 5) {
          ADD_FAILURE() << c.name << ": pixel " << x << "," << y << " shows (u " << got.r << ", v "
                        << got.g << "), the reflection (" << u << ", " << v << ")";
        }
      }
    }
    EXPECT_GT(compared, 1500) << c.name;
  }
}

}  // namespace
