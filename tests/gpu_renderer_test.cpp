// The renderer's construction and refusals, its programs' bindings, the pixel transfer both
// ways (host pixels into textures, the accumulated image into host buffers) and the normal
// maps it makes from bump images, on a real EGL context and OpenCL device.
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

#include "platform/message_box.h"
#include "renderer/shader_compile_exception.h"
#include "tests/gpu_render_harness.h"
#include "tests/gpu_shading_reference.h"

namespace {

namespace ref = shading_reference;
using gpu_render::rendered_image;
using gpu_render::rgba;

class GpuRenderer : public gpu_render::GpuRendererSuite {};

TEST_F(GpuRenderer, ProgramsThatDoNotBuildFailConstructionWithTheirMessage) {
  // The second compiles, but takes the quad's two texture coordinates as three: only the
  // link can refuse it.
  const char* const broken =
      "#version 330\nout vec4 outColor;\nvoid main() { outColor = vec4(1.0) + ; }\n";
  const char* const unmatched =
      "#version 330\nin vec3 textureCoords;\nout vec4 outColor;\n"
      "void main() { outColor = vec4(textureCoords, 1.0); }\n";
  struct Case {
    shader_source renderer_sources::*program;
    shader_source source;
    const char* message;
    bool shows_log;
  };
  for (const Case& c :
       {Case{&renderer_sources::material_fragment,
             {broken, std::strlen(broken)},
             "failed to compile shader source",
             true},
        Case{&renderer_sources::copy_fragment,
             {unmatched, std::strlen(unmatched)},
             "failed to link shader program",
             false},
        Case{&renderer_sources::material_fragment, {}, "invalid shader code", false}}) {
    std::vector<std::pair<std::string, std::string>> boxes;
    const hxsdk::MessageBoxSink previous = hxsdk::set_message_box_sink(
        [&](std::string_view title, std::string_view text) { boxes.emplace_back(title, text); });
    renderer_sources sources;
    sources.*c.program = c.source;
    std::string failure = "built";
    try {
      RendererThread thread([sources] { return std::make_unique<Renderer>(sources); });
    } catch (const shader_compile_exception& error) {
      failure = error.what();
    }
    hxsdk::set_message_box_sink(previous);
    EXPECT_EQ(failure, c.message);
    ASSERT_EQ(boxes.size(), c.shows_log ? 1u : 0u) << c.message;
    if (c.shows_log) {
      EXPECT_EQ(boxes[0].first, "Shader Log");
      // The compiler's log names the line of the error.
      EXPECT_NE(boxes[0].second.find("3"), std::string::npos) << boxes[0].second;
    }
  }
}

TEST_F(GpuRenderer, SamplerUnitsAndBlockBindingsAreSetAfterLinking) {
  // The material program has the lights block and five maps; the image programs (copy,
  // bump-to-normal, equirectangular, prefilter) read their source on unit 0, and the
  // prefilter its sample table on unit 1.
  std::vector<std::vector<GLint>> programs;
  renderer().run([&](Renderer&) {
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
  renderer().run([&](Renderer&) { glGetIntegerv(GL_MAX_TEXTURE_SIZE, &max_size); });
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
    renderer().run([&](Renderer& r) {
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
      const int x = i % 4;
      const int y = i / 4;
      const ref::rgba p = colours[(i + i / 4) % 4];
      const auto expect = [&](const rendered_image& image, const ref::argb& want,
                              const char* what) {
        const ref::argb got = image.pixel(x, y);
        EXPECT_NEAR(got.a, want.a, tolerance) << what << " (" << x << ", " << y << ")";
        EXPECT_NEAR(got.r, want.r, tolerance) << what << " (" << x << ", " << y << ")";
        EXPECT_NEAR(got.g, want.g, tolerance) << what << " (" << x << ", " << y << ")";
        EXPECT_NEAR(got.b, want.b, tolerance) << what << " (" << x << ", " << y << ")";
      };
      const std::string what =
          std::to_string(c.bytes_per_channel) + " bytes, gamma " + std::to_string(c.gamma) + ": ";
      if (y < 2) {
        expect(full, ref::output_pixel(p, c.gamma, c.bytes_per_channel),
               (what + "painted").c_str());
        expect(
            halved,
            ref::output_pixel({p.r / 2, p.g / 2, p.b / 2, p.a / 2}, c.gamma, c.bytes_per_channel),
            (what + "kept and halved").c_str());
      }
      expect(taller, {}, (what + "new targets").c_str());
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

TEST_F(GpuRenderer, InputTransferTurnsHostPixelsOfEveryDepthIntoMipmappedRgbaFloats) {
  // alpha, red, green, blue per pixel, two rows of two; rows padded with a marker that must
  // not leak. 16-bit 32768, the host's white, lands slightly above 1; floats pass through as
  // they are, out-of-range values included.
  const std::vector<double> eight = {255, 0, 51, 255, 0,   255, 0,   0,
                                     102, 1, 2,  3,   255, 255, 255, 255};
  const std::vector<double> sixteen = {32767, 0, 16384, 32767, 32768, 32767, 0,     0,
                                       100,   1, 2,     3,     32767, 32767, 32767, 32767};
  const std::vector<double> floats = {1.0, 0.25, 0.5, 0.75, 0.0, 2.0, -1.0, 0.5,
                                      0.5, 0.1,  0.2, 0.3,  1.0, 1.0, 1.0,  1.0};
  struct Case {
    const std::vector<double>& argb;
    std::uint32_t depth;
    double scale;
  };
  for (const Case& c : {Case{eight, 1, 255.0}, {sixteen, 2, 32767.0}, {floats, 4, 1.0}}) {
    const int row_bytes = 2 * 4 * static_cast<int>(c.depth) + 8;
    std::vector<std::byte> pixels(static_cast<std::size_t>(row_bytes) * 2, std::byte{0x5a});
    for (std::size_t i = 0; i < c.argb.size(); ++i) {
      std::byte* at = pixels.data() + (i / 8) * row_bytes + (i % 8) * c.depth;
      const auto value8 = static_cast<std::uint8_t>(c.argb[i]);
      const auto value16 = static_cast<std::uint16_t>(c.argb[i]);
      const auto value32 = static_cast<float>(c.argb[i]);
      std::memcpy(at,
                  c.depth == 1   ? static_cast<const void*>(&value8)
                  : c.depth == 2 ? static_cast<const void*>(&value16)
                                 : static_cast<const void*>(&value32),
                  c.depth);
    }
    std::vector<rgba> texels;
    GLint min_filter = 0;
    GLint level_one_width = 0;
    renderer().run([&](Renderer& r) {
      const GLuint texture = r.upload_texture({row_bytes, c.depth, 2, 2, pixels.data()});
      texels = gpu_render::read_level(GL_TEXTURE_2D, texture, 0);
      glBindTexture(GL_TEXTURE_2D, texture);
      glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &min_filter);
      glGetTexLevelParameteriv(GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH, &level_one_width);
      glBindTexture(GL_TEXTURE_2D, 0);
      r.delete_texture(texture);
    });
    ASSERT_EQ(texels.size(), 4u);
    for (std::size_t i = 0; i < c.argb.size(); ++i) {
      // Texel channel i % 4 (r, g, b, a) comes from host channel (i + 1) % 4 (a, r, g, b).
      EXPECT_NEAR(texels[i / 4][i % 4], c.argb[i / 4 * 4 + (i + 1) % 4] / c.scale, 1e-6)
          << c.depth << " bytes per channel, value " << i;
    }
    EXPECT_EQ(min_filter, GL_LINEAR_MIPMAP_LINEAR);
    EXPECT_EQ(level_one_width, 1);
  }
  unsigned int texture = 1;
  renderer().run([&](Renderer& r) { texture = r.upload_texture({}); });
  EXPECT_EQ(texture, 0u) << "a layer without pixels makes no texture";
}

// Normal maps from bump images: Sobel gradients of the mean of red, green and blue, encoded
// as (n + 1) / 2 with n = normalize(-gx, -gy, 0.5), the gradients divided by the output's
// downsampling. Inside a ramp of `slope` per texel each Sobel sum spans two texels with
// weights 1, 2, 1: 8 slope; at the first and last texel the clamped edge repeats the border
// texel and the gradient halves. Rows run down the image, as host rows do: gy is bottom
// minus top.
TEST_F(GpuRenderer, NormalMapsHoldTheEncodedSobelNormalOfTheBumps) {
  constexpr int kWidth = 32;
  constexpr int kHeight = 16;
  const auto encoded = [](double gx, double gy) {
    const double length = std::sqrt(gx * gx + gy * gy + 0.25);
    return std::optional(rgba{float((-gx / length + 1.0) / 2.0), float((-gy / length + 1.0) / 2.0),
                              float((0.5 / length + 1.0) / 2.0), 1.0f});
  };
  const auto ramp = [](double slope, int at, int size) {
    return (at == 0 || at == size - 1 ? 4.0 : 8.0) * slope;
  };
  struct Case {
    const char* what;
    float downsampling;
    std::function<float(int x, int y)> height;
    std::function<std::optional<rgba>(int x, int y)> expected;
  };
  const Case cases[] = {
      {"flat", 1.0f, [](int, int) { return 0.4f; }, [&](int, int) { return encoded(0.0, 0.0); }},
      {"ramp along x", 1.0f, [](int x, int) { return 0.01f * x; },
       [&](int x, int) { return encoded(ramp(0.01, x, kWidth), 0.0); }},
      {"ramp along y", 1.0f, [](int, int y) { return 0.01f * y; },
       [&](int, int y) { return encoded(0.0, ramp(0.01, y, kHeight)); }},
      // Along the borders the diagonal mixes clamped and unclamped neighbours: inside only.
      {"diagonal ramp", 1.0f, [](int x, int y) { return 0.01f * (x + y); },
       [&](int x, int y) {
         const bool inside = x > 0 && y > 0 && x < kWidth - 1 && y < kHeight - 1;
         return inside ? encoded(0.08, 0.08) : std::nullopt;
       }},
      {"ramp along x at half resolution", 2.0f, [](int x, int) { return 0.02f * x; },
       [&](int x, int) { return encoded(ramp(0.01, x, kWidth), 0.0); }},
  };
  for (const Case& c : cases) {
    std::vector<rgba> texels;
    std::vector<GLfloat> state;
    rendered_image output(8, 8, {.bytes_per_channel = 1});
    renderer().run([&](Renderer& r) {
      render_data frame = output.output();
      frame.inv_downsample_x = frame.inv_downsample_y = c.downsampling;
      r.set_output(0, frame);
      // Grey levels of the height in red, green and blue in different mixes with the same mean.
      const GLuint bump = gpu_render::upload(r, kWidth, kHeight, [&](int x, int y) {
        const float h = c.height(x, y);
        return rgba{h * 0.5f, h * 1.5f, h, 0.3f};
      });
      const GLuint normals = r.make_normal_map(bump, kWidth, kHeight);
      GLint value = 0;
      for (const GLenum binding :
           {GL_TEXTURE_BINDING_2D, GL_CURRENT_PROGRAM, GL_FRAMEBUFFER_BINDING}) {
        glGetIntegerv(binding, &value);
        state.push_back(binding == GL_TEXTURE_BINDING_2D ? value == GLint(normals) : value);
      }
      texels = gpu_render::read_level(GL_TEXTURE_2D, normals, 0);
      // Mipmapped, repeating, half float, and filtered like the maps the renderer uploads.
      for (const GLuint texture : {bump, normals}) {
        glBindTexture(GL_TEXTURE_2D, texture);
        GLfloat anisotropy = 0.0f;
        if (GLEW_EXT_texture_filter_anisotropic) {
          glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, &anisotropy);
        }
        state.push_back(anisotropy);
      }
      glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &value);
      state.push_back(value == GL_RGBA16F);
      for (const GLenum name :
           {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER, GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
        state.push_back(value);
      }
      glGetTexLevelParameteriv(GL_TEXTURE_2D, 5, GL_TEXTURE_WIDTH, &value);
      state.push_back(value);
      glBindTexture(GL_TEXTURE_2D, 0);
      r.delete_texture(normals);
      r.delete_texture(bump);
    });
    ASSERT_EQ(texels.size(), std::size_t{kWidth * kHeight}) << c.what;
    int wrong = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const std::optional<rgba> want = c.expected(x, y);
        for (int i = 0; want && i < 4; ++i) {
          const float got = texels[static_cast<std::size_t>(y) * kWidth + x][i];
          if (std::abs(got - (*want)[i]) > 1.5e-3f && wrong++ < 5) {
            ADD_FAILURE() << c.what << ": texel " << x << "," << y << " channel " << i << " is "
                          << got << ", expected " << (*want)[i];
          }
        }
      }
    }
    ASSERT_EQ(state.size(), 11u);
    EXPECT_EQ(state[3], state[4]) << "anisotropy of the normal map and of an uploaded map";
    state.erase(state.begin() + 3, state.begin() + 5);
    EXPECT_EQ(state, (std::vector<GLfloat>{1, 0, 0, 1, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR,
                                           GL_REPEAT, GL_REPEAT, 1}))
        << c.what;
  }
}

}  // namespace
