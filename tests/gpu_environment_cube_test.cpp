// The environment cube made from an equirectangular texture: where each cube texel looks, what
// the prefiltered levels hold, and the GL state the conversion leaves.
#include <GL/glew.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "renderer/renderer_thread.h"
#include "tests/gpu_map_textures.h"

namespace {

using gpu_maps::rgba;

constexpr int kSourceWidth = 1024;
constexpr int kSourceHeight = 512;

struct direction {
  double x, y, z;
};

// Where texel (i, j) of a size x size cube face looks, from the face selection table of the
// OpenGL specification (major axis, sc, tc): s = (sc / |ma| + 1) / 2, t = (tc / |ma| + 1) / 2.
direction texel_direction(int face, int i, int j, int size) {
  const double sc = 2.0 * (i + 0.5) / size - 1.0;
  const double tc = 2.0 * (j + 0.5) / size - 1.0;
  switch (face) {
    case 0:
      return {1.0, -tc, -sc};
    case 1:
      return {-1.0, -tc, sc};
    case 2:
      return {sc, 1.0, tc};
    case 3:
      return {sc, -1.0, -tc};
    case 4:
      return {sc, -tc, 1.0};
    default:
      return {-sc, -tc, -1.0};
  }
}

// The equirectangular point a direction shows: u turns about y from -z through +x; v runs
// from -y (0) to +y (1), with the elevation divided by 3.1415.
std::array<double, 2> equirectangular_point(direction d) {
  const double u = std::atan2(d.x, d.z) / (2.0 * M_PI) + 0.5;
  const double v = std::atan2(d.y, std::hypot(d.x, d.z)) / 3.1415 + 0.5;
  return {u, v};
}

// An equirectangular image whose red and green are the texel centre's u and v.
rgba uv_texel(int x, int y, int width, int height) {
  return {static_cast<float>((x + 0.5) / width), static_cast<float>((y + 0.5) / height), 0.25f,
          1.0f};
}

// GL objects of the context, counted by name (a name counts once it has been bound).
int live_textures_and_framebuffers() {
  int count = 0;
  for (GLuint name = 1; name < 4096; ++name) {
    count += (glIsTexture(name) == GL_TRUE ? 1 : 0) + (glIsFramebuffer(name) == GL_TRUE ? 1 : 0);
  }
  return count;
}

TEST(GpuEnvironmentCube, SourceZeroCreatesNothingAndChangesNoState) {
  RendererThread thread;
  GLuint cube = 1;
  GLboolean culling = GL_FALSE;
  GLboolean multisampling = GL_FALSE;
  int objects_before = 0;
  int objects_after = 0;
  thread.run_on_renderer([&](Renderer& renderer) {
    glEnable(GL_CULL_FACE);
    glEnable(GL_MULTISAMPLE);
    objects_before = live_textures_and_framebuffers();
    cube = renderer.make_environment_cube(0);
    objects_after = live_textures_and_framebuffers();
    culling = glIsEnabled(GL_CULL_FACE);
    multisampling = glIsEnabled(GL_MULTISAMPLE);
  });
  EXPECT_EQ(cube, 0u);
  EXPECT_EQ(objects_after, objects_before);
  EXPECT_EQ(culling, GL_TRUE);
  EXPECT_EQ(multisampling, GL_TRUE);
}

TEST(GpuEnvironmentCube, EveryFaceTexelShowsTheEquirectangularPointOfItsDirection) {
  RendererThread thread;
  std::array<std::vector<rgba>, 6> faces;
  thread.run_on_renderer([&](Renderer& renderer) {
    const GLuint source = gpu_maps::upload(renderer, kSourceWidth, kSourceHeight, [](int x, int y) {
      return uv_texel(x, y, kSourceWidth, kSourceHeight);
    });
    const GLuint cube = renderer.make_environment_cube(source);
    for (int face = 0; face < 6; ++face) {
      faces[face] = gpu_maps::read_level(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, cube, 0);
    }
    renderer.delete_texture(cube);
    renderer.delete_texture(source);
  });
  for (const auto& face : faces) {
    ASSERT_EQ(face.size(), std::size_t{512 * 512});
  }

  // The centre of the +X face (between its four middle texels) looks along +X.
  double centre_u = 0.0;
  double centre_v = 0.0;
  for (const int at : {255 * 512 + 255, 255 * 512 + 256, 256 * 512 + 255, 256 * 512 + 256}) {
    centre_u += faces[0][at][0] / 4.0;
    centre_v += faces[0][at][1] / 4.0;
  }
  EXPECT_NEAR(centre_u, 0.75, 2e-3);
  EXPECT_NEAR(centre_v, 0.5, 2e-3);

  int compared = 0;
  for (int face = 0; face < 6; ++face) {
    for (int j = 4; j < 512; j += 24) {
      for (int i = 4; i < 512; i += 24) {
        const auto [u, v] = equirectangular_point(texel_direction(face, i, j, 512));
        // Away from the seam and the poles, where the ramps of the test image end.
        if (u < 0.01 || u > 0.99 || v < 0.02 || v > 0.98) {
          continue;
        }
        const rgba& got = faces[face][static_cast<std::size_t>(j) * 512 + i];
        const std::string where = "face " + std::to_string(face) + " texel " + std::to_string(i) +
                                  "," + std::to_string(j);
        EXPECT_NEAR(got[0], u, 3e-3) << where;
        EXPECT_NEAR(got[1], v, 3e-3) << where;
        EXPECT_NEAR(got[2], 0.25, 1e-3) << where;
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 2000);
}

TEST(GpuEnvironmentCube, ConstantEnvironmentKeepsItsColourAtEveryLevel) {
  RendererThread thread;
  const rgba colour = {0.2f, 0.5f, 0.8f, 1.0f};
  std::vector<std::vector<rgba>> levels;  // level-major, six faces each
  GLint internal_format = 0;
  GLint base_level = -1;
  GLint max_level = -1;
  GLint min_filter = 0;
  GLint mag_filter = 0;
  std::vector<GLint> widths;
  GLboolean culling = GL_TRUE;
  GLboolean multisampling = GL_TRUE;
  GLint framebuffer = -1;
  GLint program = -1;
  thread.run_on_renderer([&](Renderer& renderer) {
    const GLuint source = gpu_maps::upload(renderer, 64, 32, [&](int, int) { return colour; });
    glEnable(GL_CULL_FACE);
    glEnable(GL_MULTISAMPLE);
    const GLuint cube = renderer.make_environment_cube(source);
    culling = glIsEnabled(GL_CULL_FACE);
    multisampling = glIsEnabled(GL_MULTISAMPLE);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    for (int level = 0; level <= 6; ++level) {
      for (int face = 0; face < 6; ++face) {
        levels.push_back(gpu_maps::read_level(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, cube, level));
      }
    }
    glBindTexture(GL_TEXTURE_CUBE_MAP, cube);
    glGetTexLevelParameteriv(GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, 0, GL_TEXTURE_INTERNAL_FORMAT,
                             &internal_format);
    glGetTexParameteriv(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BASE_LEVEL, &base_level);
    glGetTexParameteriv(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_LEVEL, &max_level);
    glGetTexParameteriv(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MIN_FILTER, &min_filter);
    glGetTexParameteriv(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAG_FILTER, &mag_filter);
    for (int level = 0; level <= 9; ++level) {
      GLint width = 0;
      glGetTexLevelParameteriv(GL_TEXTURE_CUBE_MAP_POSITIVE_Y, level, GL_TEXTURE_WIDTH, &width);
      widths.push_back(width);
    }
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
    renderer.delete_texture(cube);
    renderer.delete_texture(source);
  });
  for (std::size_t at = 0; at < levels.size(); ++at) {
    int wrong = 0;
    for (const rgba& texel : levels[at]) {
      for (int c = 0; c < 4; ++c) {
        wrong += std::abs(texel[c] - colour[c]) > 2e-3f ? 1 : 0;
      }
    }
    EXPECT_EQ(wrong, 0) << "level " << at / 6 << " face " << at % 6;
  }
  EXPECT_EQ(internal_format, GL_RGBA16F);
  EXPECT_EQ(base_level, 0);
  EXPECT_EQ(max_level, 6);
  EXPECT_EQ(min_filter, GL_LINEAR_MIPMAP_LINEAR);
  EXPECT_EQ(mag_filter, GL_LINEAR);
  EXPECT_EQ(widths, (std::vector<GLint>{512, 256, 128, 64, 32, 16, 8, 4, 2, 1}));
  EXPECT_EQ(culling, GL_FALSE);
  EXPECT_EQ(multisampling, GL_FALSE);
  EXPECT_EQ(framebuffer, 0);
  EXPECT_EQ(program, 0);
}

TEST(GpuEnvironmentCube, LevelsBlurMoreAndMoreWithoutLosingLight) {
  // White where x > 0, black elsewhere. Filtering is linear and the lobes are symmetric, so a
  // direction on the bright side and its mirror image on the dark side always sum to 1, and the
  // bright side's light spreads further with every level.
  RendererThread thread;
  std::vector<std::vector<rgba>> plus_z;  // the +Z face, which the boundary x = 0 halves
  thread.run_on_renderer([&](Renderer& renderer) {
    const GLuint source = gpu_maps::upload(renderer, kSourceWidth, kSourceHeight, [](int x, int) {
      // u above 0.5 is x > 0.
      const float value = x >= kSourceWidth / 2 ? 1.0f : 0.0f;
      return rgba{value, value, value, 1.0f};
    });
    const GLuint cube = renderer.make_environment_cube(source);
    for (int level = 0; level <= 6; ++level) {
      plus_z.push_back(gpu_maps::read_level(GL_TEXTURE_CUBE_MAP_POSITIVE_Z, cube, level));
    }
    renderer.delete_texture(cube);
    renderer.delete_texture(source);
  });
  double previous_bright = 1.0;
  for (int level = 0; level <= 6; ++level) {
    const int size = 512 >> level;
    // On the +Z face's middle row, texel i looks along (sc, 0, 1): 14 degrees either side of
    // the boundary at a quarter of the way from the middle to the edges.
    const int row = size / 2;
    const int bright_column = size / 2 + size / 8;
    const int dark_column = size / 2 - size / 8 - 1;
    const double bright = plus_z[level][static_cast<std::size_t>(row) * size + bright_column][0];
    const double dark = plus_z[level][static_cast<std::size_t>(row) * size + dark_column][0];
    EXPECT_NEAR(bright + dark, 1.0, 0.03) << "level " << level;
    EXPECT_LE(bright, previous_bright + 0.01) << "level " << level;
    EXPECT_GT(bright, 0.5) << "level " << level;
    previous_bright = bright;
    if (level == 0) {
      EXPECT_NEAR(bright, 1.0, 1e-3);
    }
  }
  EXPECT_LT(previous_bright, 0.85) << "the roughest level is barely blurred";
}

}  // namespace
