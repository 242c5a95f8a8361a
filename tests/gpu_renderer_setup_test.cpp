// The renderer's construction and its refusals, on a real EGL context: programs that do not
// build and outputs beyond the context's limits reach the caller with their message.
#include <GL/glew.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/message_box.h"
#include "renderer/renderer_thread.h"
#include "renderer/shader_compile_exception.h"

namespace {

constexpr char kBrokenFragment[] =
    "#version 330\nout vec4 outColor;\nvoid main() { outColor = vec4(1.0) + ; }\n";
// Compiles, but takes the quad's two texture coordinates as three: only the link can refuse it.
constexpr char kUnmatchedFragment[] =
    "#version 330\nin vec3 textureCoords;\nout vec4 outColor;\n"
    "void main() { outColor = vec4(textureCoords, 1.0); }\n";

shader_source source_of(const char* text) {
  return {text, std::char_traits<char>::length(text)};
}

struct MessageBoxes {
  MessageBoxes() {
    previous = hxsdk::set_message_box_sink([this](std::string_view title, std::string_view text) {
      shown.push_back({std::string(title), std::string(text)});
    });
  }
  ~MessageBoxes() { hxsdk::set_message_box_sink(previous); }
  struct Box {
    std::string title;
    std::string text;
  };
  std::vector<Box> shown;
  hxsdk::MessageBoxSink previous;
};

// Builds a renderer from sources on its own thread; returns the message of what it threw.
std::string construction_failure(const renderer_sources& sources) {
  try {
    RendererThread thread([sources] { return std::make_unique<Renderer>(sources); });
  } catch (const shader_compile_exception& error) {
    return error.what();
  }
  return "built";
}

TEST(GpuRendererSetup, ProgramsThatDoNotBuildFailConstructionWithTheirMessage) {
  {
    MessageBoxes boxes;
    renderer_sources sources;
    sources.material_fragment = source_of(kBrokenFragment);
    EXPECT_EQ(construction_failure(sources), "failed to compile shader source");
    ASSERT_EQ(boxes.shown.size(), 1u);
    EXPECT_EQ(boxes.shown[0].title, "Shader Log");
    // The compiler's log names the line of the error.
    EXPECT_NE(boxes.shown[0].text.find("3"), std::string::npos) << boxes.shown[0].text;
  }
  {
    MessageBoxes boxes;
    renderer_sources sources;
    sources.copy_fragment = source_of(kUnmatchedFragment);
    EXPECT_EQ(construction_failure(sources), "failed to link shader program");
    EXPECT_TRUE(boxes.shown.empty()) << "a link failure shows no box";
  }
  {
    MessageBoxes boxes;
    renderer_sources sources;
    sources.material_fragment = {};
    EXPECT_EQ(construction_failure(sources), "invalid shader code");
    EXPECT_TRUE(boxes.shown.empty());
  }
}

TEST(GpuRendererSetup, SamplerUnitsAndBlockBindingsAreSetAfterLinking) {
  RendererThread thread;
  std::vector<GLint> units;
  std::vector<GLint> bindings;
  thread.run_on_renderer([&](Renderer&) {
    // The material program is the last one linked; find it among the context's programs.
    for (GLuint program = 1; program < 64; ++program) {
      if (!glIsProgram(program) || glGetUniformBlockIndex(program, "Lights") == GL_INVALID_INDEX) {
        continue;
      }
      for (const char* name : {"diffuseSampler", "glossinessSampler", "illuminationSampler",
                               "normalSampler", "environmentSampler"}) {
        GLint unit = -1;
        glGetUniformiv(program, glGetUniformLocation(program, name), &unit);
        units.push_back(unit);
      }
      for (const char* name : {"TransformMatrices", "Lights"}) {
        GLint binding = -1;
        glGetActiveUniformBlockiv(program, glGetUniformBlockIndex(program, name),
                                  GL_UNIFORM_BLOCK_BINDING, &binding);
        bindings.push_back(binding);
      }
    }
  });
  EXPECT_EQ(units, (std::vector<GLint>{0, 1, 2, 3, 4}));
  EXPECT_EQ(bindings, (std::vector<GLint>{0, 1}));

  // The image programs: the copy, bump-to-normal and equirectangular programs read their
  // source on unit 0; the prefilter reads the cube there and its sample table on unit 1.
  std::vector<std::vector<GLint>> image_units;
  thread.run_on_renderer([&](Renderer&) {
    for (GLuint program = 1; program < 64; ++program) {
      if (!glIsProgram(program) || glGetUniformLocation(program, "textureSampler") < 0) {
        continue;
      }
      std::vector<GLint> program_units;
      for (const char* name : {"textureSampler", "samplesSampler"}) {
        const GLint location = glGetUniformLocation(program, name);
        GLint unit = -1;
        if (location >= 0) {
          glGetUniformiv(program, location, &unit);
        }
        program_units.push_back(unit);
      }
      image_units.push_back(program_units);
    }
  });
  EXPECT_EQ(image_units, (std::vector<std::vector<GLint>>{{0, -1}, {0, -1}, {0, -1}, {0, 1}}));
}

render_data output_of_size(int width, int height, std::vector<std::byte>& pixels) {
  render_data output;
  output.bytes_per_channel = 1;
  output.output_image.width = width;
  output.output_image.height = height;
  output.output_image.row_bytes = width * 4;
  output.output_image.bytes_per_channel = 1;
  pixels.resize(static_cast<size_t>(width) * 4 * static_cast<size_t>(height));
  output.output_image.data = pixels.data();
  return output;
}

TEST(GpuRendererSetup, AnOutputBeyondTheTextureLimitFailsAndEndsTheRenderThread) {
  RendererThread thread;
  GLint max_size = 0;
  thread.run_on_renderer([&](Renderer&) { glGetIntegerv(GL_MAX_TEXTURE_SIZE, &max_size); });
  ASSERT_GT(max_size, 0);
  std::vector<std::byte> pixels;
  const render_data too_wide = output_of_size(max_size + 1, 1, pixels);
  try {
    thread.run_on_renderer([&](Renderer& renderer) { renderer.set_output(0, too_wide); });
    FAIL() << "an output wider than the texture limit was accepted";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "render texture size is over maximum supported size");
  }
  // One failed job ends the thread: later jobs neither run nor fail.
  bool ran = false;
  thread.run_on_renderer([&](Renderer&) { ran = true; });
  EXPECT_FALSE(ran);
}

// The accumulation texture keeps its image across set_output calls of the same size, so a
// half-weight sample of black blends with it; new targets start from nothing.
TEST(GpuRendererSetup, TargetsAreKeptForTheSameSizeAndRebuiltForANewOne) {
  RendererThread thread;
  std::vector<std::byte> pixels;
  std::vector<std::byte> taller_pixels;
  const render_data first = output_of_size(8, 4, pixels);
  const render_data taller = output_of_size(8, 5, taller_pixels);
  const auto accumulate_opaque_red = [](Renderer& renderer) {
    renderer.clear_target();
    // clear_target leaves the multisample target bound: paint it instead of drawing.
    glClearColor(1.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    renderer.accumulate_sample(1.0f);
  };
  const auto accumulate_half_of_nothing = [](Renderer& renderer) {
    renderer.clear_target();
    renderer.accumulate_sample(0.5f);
    renderer.read_output(1.0f);
  };
  thread.run_on_renderer([&](Renderer& renderer) {
    renderer.set_output(0, first);
    accumulate_opaque_red(renderer);
    renderer.set_output(0, first);
    accumulate_half_of_nothing(renderer);
  });
  // alpha 0.5 of straight red: 0.5 * 255 truncated, then full red.
  EXPECT_EQ(std::to_integer<int>(pixels[0]), 127);
  EXPECT_EQ(std::to_integer<int>(pixels[1]), 255);

  thread.run_on_renderer([&](Renderer& renderer) {
    renderer.set_output(0, first);
    accumulate_opaque_red(renderer);
    renderer.set_output(0, taller);
    accumulate_half_of_nothing(renderer);
  });
  EXPECT_EQ(std::to_integer<int>(taller_pixels[0]), 0) << "the new targets start empty";
}

}  // namespace
