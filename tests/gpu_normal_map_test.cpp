// Normal maps made from bump (height) images: Sobel gradients of the mean of red, green and
// blue, encoded as (n + 1) / 2.
#include <GL/glew.h>
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "renderer/renderer_thread.h"
#include "scene/render_data.h"
#include "tests/gpu_map_textures.h"

namespace {

using gpu_maps::rgba;

constexpr int kWidth = 32;
constexpr int kHeight = 16;

// The encoded unit normal of a height field whose Sobel gradients are gx and gy.
rgba encoded_normal(double gx, double gy) {
  const double length = std::sqrt(gx * gx + gy * gy + 0.25);
  return {static_cast<float>((-gx / length + 1.0) / 2.0),
          static_cast<float>((-gy / length + 1.0) / 2.0),
          static_cast<float>((0.5 / length + 1.0) / 2.0), 1.0f};
}

// Makes the normal map of a kWidth x kHeight float bump image, at full resolution or after an
// output at the given downsampling was set; returns level 0.
std::vector<rgba> normals_of(const std::function<float(int x, int y)>& height,
                             float downsampling = 0.0f) {
  RendererThread thread;
  std::vector<rgba> texels;
  thread.run_on_renderer([&](Renderer& renderer) {
    std::vector<std::byte> output_pixels(8 * 8 * 4);
    if (downsampling > 0.0f) {
      render_data output;
      output.bytes_per_channel = 1;
      output.inv_downsample_x = downsampling;
      output.inv_downsample_y = downsampling;
      output.output_image = {8 * 4, 1, 8, 8, output_pixels.data()};
      renderer.set_output(0, output);
    }
    const GLuint bump = gpu_maps::upload(renderer, kWidth, kHeight, [&](int x, int y) {
      // Grey levels of the height in red, green and blue in different mixes with the same mean.
      const float h = height(x, y);
      return rgba{h * 0.5f, h * 1.5f, h, 0.3f};
    });
    const GLuint normals = renderer.make_normal_map(bump, kWidth, kHeight);
    texels = gpu_maps::read_level(GL_TEXTURE_2D, normals, 0);
    renderer.delete_texture(normals);
    renderer.delete_texture(bump);
  });
  return texels;
}

// Compares the texels for which `expected` has a value.
void expect_texels(const std::vector<rgba>& got,
                   const std::function<std::optional<rgba>(int x, int y)>& expected,
                   const std::string& what) {
  ASSERT_EQ(got.size(), std::size_t{kWidth * kHeight}) << what;
  int wrong = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const std::optional<rgba> expectation = expected(x, y);
      if (!expectation) {
        continue;
      }
      const rgba& want = *expectation;
      const rgba& texel = got[static_cast<std::size_t>(y) * kWidth + x];
      for (int c = 0; c < 4; ++c) {
        if (std::abs(texel[c] - want[c]) > 1.5e-3f && wrong++ < 5) {
          ADD_FAILURE() << what << ": texel " << x << "," << y << " channel " << c << " is "
                        << texel[c] << ", expected " << want[c];
        }
      }
    }
  }
}

TEST(GpuNormalMap, FlatBumpGivesTheUnperturbedNormalEverywhere) {
  expect_texels(
      normals_of([](int, int) { return 0.4f; }),
      [](int, int) {
        return rgba{0.5f, 0.5f, 1.0f, 1.0f};
      },
      "flat");
}

// The Sobel gradient of a height rising by `slope` per texel, at texel `at` of `size` along
// the rise. Inside, each sum spans two texels with weights 1, 2, 1: 8 slope. At the first and
// last texel the clamped edge repeats the border texel and the gradient halves.
double ramp_gradient(double slope, int at, int size) {
  return (at == 0 || at == size - 1) ? 4.0 * slope : 8.0 * slope;
}

TEST(GpuNormalMap, RampsGiveTheSobelGradientWithClampedBorders) {
  constexpr float kSlope = 0.01f;
  expect_texels(
      normals_of([](int x, int) { return kSlope * static_cast<float>(x); }),
      [&](int x, int) {
        return std::optional(encoded_normal(ramp_gradient(kSlope, x, kWidth), 0.0));
      },
      "ramp along x");
  // Rows run down the image, as host rows do; gy is bottom minus top.
  expect_texels(
      normals_of([](int, int y) { return kSlope * static_cast<float>(y); }),
      [&](int, int y) {
        return std::optional(encoded_normal(0.0, ramp_gradient(kSlope, y, kHeight)));
      },
      "ramp along y");
  // Along the borders the diagonal mixes clamped and unclamped neighbours: inside only.
  expect_texels(
      normals_of([](int x, int y) { return kSlope * static_cast<float>(x + y); }),
      [&](int x, int y) -> std::optional<rgba> {
        if (x < 1 || y < 1 || x > kWidth - 2 || y > kHeight - 2) {
          return std::nullopt;
        }
        return encoded_normal(8.0 * kSlope, 8.0 * kSlope);
      },
      "diagonal ramp");
}

TEST(GpuNormalMap, HalfResolutionHalvesTheGradient) {
  constexpr float kSlope = 0.02f;
  for (const float downsampling : {1.0f, 2.0f}) {
    expect_texels(
        normals_of([](int x, int) { return kSlope * static_cast<float>(x); }, downsampling),
        [&](int x, int) {
          return std::optional(
              encoded_normal(ramp_gradient(kSlope / downsampling, x, kWidth), 0.0));
        },
        "downsampled by " + std::to_string(downsampling));
  }
}

TEST(GpuNormalMap, ResultIsAMipmappedRepeatingHalfFloatTexture) {
  RendererThread thread;
  GLint format = 0;
  GLint min_filter = 0;
  GLint mag_filter = 0;
  GLint wrap_s = 0;
  GLint wrap_t = 0;
  GLint last_level_width = 0;
  GLfloat anisotropy = 0.0f;
  GLfloat map_anisotropy = 0.0f;
  GLint bound = 0;
  GLint program = -1;
  GLint framebuffer = -1;
  thread.run_on_renderer([&](Renderer& renderer) {
    const GLuint bump = gpu_maps::upload(renderer, kWidth, kHeight, [](int, int) {
      return rgba{1, 1, 1, 1};
    });
    const GLuint normals = renderer.make_normal_map(bump, kWidth, kHeight);
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
    EXPECT_EQ(static_cast<GLuint>(bound), normals);
    glBindTexture(GL_TEXTURE_2D, normals);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &min_filter);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &mag_filter);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, &wrap_s);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, &wrap_t);
    // 32 x 16 has levels down to 1 x 1: level 5.
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 5, GL_TEXTURE_WIDTH, &last_level_width);
    if (GLEW_EXT_texture_filter_anisotropic) {
      glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, &anisotropy);
      glBindTexture(GL_TEXTURE_2D, bump);
      glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, &map_anisotropy);
    }
    glBindTexture(GL_TEXTURE_2D, 0);
    renderer.delete_texture(normals);
    renderer.delete_texture(bump);
  });
  EXPECT_EQ(format, GL_RGBA16F);
  EXPECT_EQ(min_filter, GL_LINEAR_MIPMAP_LINEAR);
  EXPECT_EQ(mag_filter, GL_LINEAR);
  EXPECT_EQ(wrap_s, GL_REPEAT);
  EXPECT_EQ(wrap_t, GL_REPEAT);
  EXPECT_EQ(last_level_width, 1);
  // Filtered like the maps the renderer uploads.
  EXPECT_EQ(anisotropy, map_anisotropy);
  EXPECT_EQ(program, 0);
  EXPECT_EQ(framebuffer, 0);
}

}  // namespace
