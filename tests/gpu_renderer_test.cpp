// The renderer's construction and refusals, its programs' bindings, the output transfer of
// the accumulated image into host buffers and the normal maps it makes from bump images, on
// a real EGL context and OpenCL device.
#include <GL/glew.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "renderer/shader_compile_exception.h"
#include "tests/e2e_plugin_support.h"
#include "tests/gpu_render_harness.h"
#include "tests/gpu_shading_reference.h"

namespace {

namespace ref = shading_reference;
using gpu_render::rendered_image;
using gpu_render::rgba;

class GpuRenderer : public gpu_render::GpuRendererSuite {};

// A program that does not compile shows the compiler's log (which names the line of the
// error) in a box; one that compiles but takes the quad's two texture coordinates as three
// fails only at the link, and missing code before anything is built; neither shows a box.
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

TEST_F(GpuRenderer, SamplerUnitsAndBlockBindingsAreSetAfterLinking) {
  // The material program has the lights block and five maps; the image programs (copy,
  // bump-to-normal, equirectangular, prefilter) read their source on unit 0, and the
  // prefilter its sample table on unit 1.
  std::vector<std::vector<GLint>> programs;
  run([&](Renderer&) {
    for (GLuint program = 1; program < 64; ++program) {
      if (!glIsProgram(program)) {
        continue;
      }
      std::vector<GLint> units;
      for (const char* name :
           {"diffuseSampler", "glossinessSampler", "illuminationSampler", "normalSampler",
            "environmentSampler", "textureSampler", "samplesSampler"}) {
        GLint unit = -1;
        if (const GLint location = glGetUniformLocation(program, name); location >= 0) {
          glGetUniformiv(program, location, &unit);
        }
        units.push_back(unit);
      }
      for (const char* name : {"TransformMatrices", "Lights"}) {
        GLint binding = -1;
        if (const GLuint block = glGetUniformBlockIndex(program, name); block != GL_INVALID_INDEX) {
          glGetActiveUniformBlockiv(program, block, GL_UNIFORM_BLOCK_BINDING, &binding);
        }
        units.push_back(binding);
      }
      programs.push_back(units);
    }
  });
  const std::vector<GLint> image = {-1, -1, -1, -1, -1, 0, -1, -1, -1};
  const std::vector<GLint> prefilter = {-1, -1, -1, -1, -1, 0, 1, -1, -1};
  const std::vector<GLint> material = {0, 1, 2, 3, 4, -1, -1, 0, 1};
  EXPECT_EQ(programs, (std::vector{image, image, image, prefilter, material}));
}

TEST_F(GpuRenderer, AnOutputBeyondTheTextureLimitFailsAndEndsTheRenderThread) {
  GLint max_size = 0;
  run([&](Renderer&) { glGetIntegerv(GL_MAX_TEXTURE_SIZE, &max_size); });
  ASSERT_GT(max_size, 0);
  RendererThread thread;
  rendered_image too_wide(max_size + 1, 1, {.bytes_per_channel = 1});
  try {
    thread.run_on_renderer([&](Renderer& r) { r.set_output(0, too_wide.output()); });
    FAIL() << "an output wider than the texture limit was accepted";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "render texture size is over maximum supported size");
  }
  // One failed job ends the thread: later jobs neither run nor fail.
  bool ran = false;
  thread.run_on_renderer([&](Renderer&) { ran = true; });
  EXPECT_FALSE(ran);
}

// Premultiplied colours are painted straight into the sample target (no drawing), one per
// pixel, and go out through the accumulation and the output kernel of each depth. The
// expectation is the CPU reference's conversion: straight alpha-first pixels, alpha clamped
// before the division, no division at alpha 0, gamma on colour only, truncation. The padding
// after each row comes back as zeros, whatever the buffer held. A second frame of the same
// size keeps the accumulated image (a half-weight sample of nothing halves it); targets of a
// new size start empty.
TEST_F(GpuRenderer, OutputConversionOfEveryDepthUnpremultipliesClampsAppliesGammaAndPads) {
  const ref::rgba colours[] = {
      {1.0, 1.0, 1.0, 1.0}, {0.25, 0.5, 0.1, 0.5}, {0.36, 0.04, 0.0, 0.0}, {0.5, 0.25, 0.75, 2.0}};
  struct Case {
    std::uint8_t bytes_per_channel;
    std::int32_t row_padding;  // in whole pixels, as hosts pad their rows
    float gamma;
  };
  for (const Case c :
       {Case{1, 20, 1.0f}, {2, 24, 1.0f}, {4, 32, 1.0f}, {4, 0, 0.5f}, {1, 4, 0.45f}}) {
    const gpu_render::output_format format{
        .bytes_per_channel = c.bytes_per_channel, .row_padding = c.row_padding, .gamma = c.gamma};
    rendered_image full(4, 2, format);
    rendered_image halved(4, 2, format);
    rendered_image taller(4, 3, format);
    run([&](Renderer& r) {
      r.set_output(0, full.output());
      r.clear_target();  // leaves the sample target bound
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
      for (rendered_image* next : {&halved, &taller}) {
        r.set_output(0, next->output());
        r.clear_target();
        r.accumulate_sample(0.5f);
        r.read_output(c.gamma);
      }
    });
    const double tolerance = c.bytes_per_channel == 4 ? 1e-5 : 1.0;  // relaxed maths
    for (int i = 0; i < 12; ++i) {
      const ref::rgba p = colours[(i + i / 4) % 4];
      const ref::argb want[3] = {ref::output_pixel(p, c.gamma, c.bytes_per_channel),
                                 ref::output_pixel(p * 0.5, c.gamma, c.bytes_per_channel),
                                 {}};
      for (int k = i < 8 ? 0 : 2; k < 3; ++k) {
        const ref::argb got = (k == 0 ? full : k == 1 ? halved : taller).pixel(i % 4, i / 4);
        EXPECT_LE(std::max({std::abs(got.a - want[k].a), std::abs(got.r - want[k].r),
                            std::abs(got.g - want[k].g), std::abs(got.b - want[k].b)}),
                  tolerance)
            << int{c.bytes_per_channel} << " bytes, gamma " << c.gamma << ", "
            << (k == 0   ? "painted"
                : k == 1 ? "kept and halved"
                         : "new targets")
            << ", pixel " << i % 4 << ", " << i / 4;
      }
    }
    for (const rendered_image* image : {&full, &halved, &taller}) {
      for (int y = 0; y < image->height; ++y) {
        for (int i = image->width * 4 * c.bytes_per_channel; i < image->row_bytes; ++i) {
          EXPECT_EQ(std::to_integer<int>(image->bytes[y * image->row_bytes + i]), 0)
              << "padding byte " << i << " of row " << y;
        }
      }
    }
  }
}

// Normal maps from bump images: Sobel gradients of the mean of red, green and blue, encoded
// as (n + 1) / 2 with n = normalize(-gx, -gy, 0.5), the gradients divided by the output's
// downsampling. Inside a ramp of `slope` per texel each Sobel sum spans two texels with
// weights 1, 2, 1: 8 slope; at the first and last texel the clamped edge repeats the border
// texel and the gradient halves. Rows run down the image, as host rows do: gy is bottom
// minus top. The map is a mipmapped, repeating half-float texture, filtered like the maps
// the renderer uploads, and nothing is left bound.
TEST_F(GpuRenderer, NormalMapsHoldTheEncodedSobelNormalOfTheBumps) {
  // Heights 0.4 + sx x + sy y; along the borders a diagonal ramp mixes clamped and
  // unclamped neighbours, so only its inside is compared.
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
      // Grey levels of the height in red, green and blue in different mixes with the same mean.
      const GLuint bump = gpu_render::upload(r, 32, 16, [&](int x, int y) {
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
      const int x = i / 4 % 32;
      const int y = i / 128;
      const auto gradient = [&](double slope, int at, int size) {
        return (at == 0 || at == size - 1 ? 4.0 : 8.0) * slope / c.downsampling;
      };
      const double gx = gradient(c.sx, x, 32);
      const double gy = gradient(c.sy, y, 16);
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

}  // namespace
