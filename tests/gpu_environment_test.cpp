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
#include <vector>

#include "tests/gpu_render_harness.h"
#include "tests/gpu_shading_reference.h"

namespace {

namespace ref = shading_reference;
using gpu_render::rgba;

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

class GpuEnvironment : public gpu_render::GpuRendererSuite {
 protected:
  static void SetUpTestSuite() {
    GpuRendererSuite::SetUpTestSuite();
    if (!thread_) {
      return;
    }
    run([](Renderer& r) {
      const GLuint source = gpu_render::upload(r, 1024, 512, [](int x, int y) {
        return rgba{(x + 0.5f) / 1024, (y + 0.5f) / 512, x >= 512 ? 1.0f : 0.0f, 1.0f};
      });
      cube_ = r.make_environment_cube(source);
      r.delete_texture(source);
      glGetIntegerv(GL_FRAMEBUFFER_BINDING, &left_bound_[0]);
      glGetIntegerv(GL_CURRENT_PROGRAM, &left_bound_[1]);
      for (int i = 0; i < 42; ++i) {
        levels_[i / 6][i % 6] =
            gpu_render::read_level(GL_TEXTURE_CUBE_MAP_POSITIVE_X + i % 6, cube_, i / 6);
      }
    });
  }
  static void TearDownTestSuite() {
    if (thread_) {
      run([](Renderer& r) { r.delete_texture(cube_); });
    }
    GpuRendererSuite::TearDownTestSuite();
  }

  static inline GLuint cube_ = 0;
  static inline GLint left_bound_[2] = {-1, -1};  // framebuffer and program after converting
  static inline std::array<std::array<std::vector<rgba>, 6>, 7> levels_;  // level, face
};

// Source 0 makes no cube, no texture or framebuffer, and leaves culling and multisampling on.
TEST_F(GpuEnvironment, SourceZeroMakesNoCubeAndChangesNoState) {
  run([&](Renderer& r) {
    const auto live_objects = [] {
      int count = 0;
      for (GLuint name = 1; name < 4096; ++name) {
        count += (glIsTexture(name) == GL_TRUE) + (glIsFramebuffer(name) == GL_TRUE);
      }
      return count;
    };
    glEnable(GL_CULL_FACE);
    glEnable(GL_MULTISAMPLE);
    const int objects_before = live_objects();
    EXPECT_EQ(r.make_environment_cube(0), 0u);
    EXPECT_EQ(live_objects(), objects_before);
    EXPECT_EQ(glIsEnabled(GL_CULL_FACE) + glIsEnabled(GL_MULTISAMPLE), 2);
  });
}

TEST_F(GpuEnvironment, CubeIsAHalfFloat512MipChainOfSevenFilteredLevelsAndLeavesNothingBound) {
  std::vector<GLint> state;
  run([&](Renderer&) {
    state = gpu_render::texture_state(
        GL_TEXTURE_CUBE_MAP, cube_,
        {GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_MAX_LEVEL, GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER},
        9);
  });
  EXPECT_EQ(state, (std::vector<GLint>{GL_RGBA16F, 0, 6, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, 512,
                                       256, 128, 64, 32, 16, 8, 4, 2, 1}));
  EXPECT_EQ(left_bound_[0] + left_bound_[1], 0);
}

// The centre of the +X face (between its four middle texels) looks along +X, at u 0.75;
// every texel away from the seam, the poles and the blue edge (where the test image's ramps
// end) shows the u and v of its direction, and the blue of its side.
TEST_F(GpuEnvironment, EveryLevelZeroTexelShowsTheEquirectangularPointOfItsDirection) {
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
        if (u < 0.01 || u > 0.99 || v < 0.02 || v > 0.98 || std::abs(u - 0.5) < 0.01) {
          continue;
        }
        const rgba& got = levels_[0][face][j * 512 + i];
        EXPECT_NEAR(got[0], u, 3e-3) << "face " << face << " texel " << i << ", " << j;
        EXPECT_NEAR(got[1], v, 3e-3) << "face " << face << " texel " << i << ", " << j;
        EXPECT_NEAR(got[2], u > 0.5 ? 1.0 : 0.0, 1e-3)
            << "face " << face << " texel " << i << ", " << j;
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 2000);
}

// Filtering is linear and the lobes are symmetric, so in blue (1 where x > 0) a direction on
// the bright side and its mirror image on the dark side always sum to 1, and the bright
// side's light spreads further with every level: on the +Z face's middle row, which the
// boundary x = 0 halves, texel i looks along (sc, 0, 1), 14 degrees either side of the
// boundary at a quarter of the way from the middle to the edges. Alpha, 1 everywhere, stays
// 1 on every texel of every face and level: the weights of each level sum to 1.
TEST_F(GpuEnvironment, LevelsBlurMoreAndMoreWithoutLosingOrGainingLight) {
  double previous_bright = 1.0;
  for (int level = 0; level <= 6; ++level) {
    for (int face = 0; face < 6; ++face) {
      EXPECT_EQ(std::count_if(levels_[level][face].begin(), levels_[level][face].end(),
                              [](const rgba& t) { return std::abs(t[3] - 1.0f) > 2e-3f; }),
                0)
          << "level " << level << " face " << face;
    }
    const int size = 512 >> level;
    const int middle = size / 2 * size + size / 2;
    const double bright = levels_[level][4][middle + size / 8][2];
    const double dark = levels_[level][4][middle - size / 8 - 1][2];
    EXPECT_NEAR(bright + dark, 1.0, 0.03) << "level " << level;
    EXPECT_LE(bright, previous_bright + 0.01) << "level " << level;
    EXPECT_GT(bright, level == 0 ? 0.999 : 0.5) << "level " << level;
    previous_bright = bright;
  }
  EXPECT_LT(previous_bright, 0.85) << "the roughest level is barely blurred";
}

// A perfect mirror (no diffuse colour, no lights, full reflectivity, glossiness 1): every
// pixel shows the environment in the direction the eye ray is reflected to, after the
// environment's rotation (half a turn about y maps (x, y, z) to (-x, y, -z) whichever way it
// turns). Compared away from the seam, where filtering mixes both ends of u, and the poles,
// where u turns faster than the mesh's normals are exact; the cube holds half floats of a
// 1024-wide source resampled to 512-texel faces.
TEST_F(GpuEnvironment, MirrorSphereShowsTheEnvironmentInTheReflectedDirection) {
  for (const double turn : {1.0, -1.0}) {
    ref::sphere_scene scene{96, 80};
    scene.camera = gpu_render::look_at_camera({60.0f, -40.0f, -420.0f, 0.0f}, {}, 30.0f, 96, 80);
    scene.model_matrix =
        model_matrix({}, hxsdk::quaternion_from_euler({0.4f, 1.1f, -0.3f, 0.0f}), 90.0f);
    scene.material = gpu_render::plain_material();
    scene.material.model_color = {0.0f, 0.0f, 0.0f, 1.0f};
    scene.material.reflectivity = scene.material.glossiness = 1.0f;
    scene.material.specular = 0.0f;
    scene.material.environment_texture = cube_;
    scene.material.environment_orientation = {0.0f, turn < 0.0 ? 1.0f : 0.0f, 0.0f,
                                              turn < 0.0 ? 0.0f : 1.0f};
    const gpu_render::rendered_image image = render(scene);
    int compared = 0;
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
      ++compared;
      const ref::argb got = image.pixel(i % 96, i / 96);
      if (std::max({std::abs(got.r - u), std::abs(got.g - v), std::abs(got.a - 1.0)}) > 0.01) {
        wrong.add("turn ", turn, ", pixel ", i % 96, ", ", i / 96, " shows (u ", got.r, ", v ",
                  got.g, "), the reflection (", u, ", ", v, ")");
      }
    }
    EXPECT_GT(compared, 1500) << turn;
    EXPECT_EQ(wrong.count, 0) << wrong.first.str();
  }
}

}  // namespace
