// The renderer on a real EGL context and OpenCL device: construction, bindings, the output
// transfer into host buffers, and the normal maps and environment cubes it makes.
#include <GL/glew.h>
#include <gtest/gtest.h>

#include "renderer/shader_compile_exception.h"
#include "tests/e2e_plugin_support.h"
#include "tests/gpu_render_harness.h"

namespace {

namespace ref = shading_reference;
using gpu_render::rendered_image;
using gpu_render::rgba;

class GpuRenderer : public gpu_render::GpuRendererSuite {};

// A program that does not compile shows its log (naming the line) in a box; one taking the
// quad's two texture coordinates as three fails at the link, missing code at once; no box.
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

// The material program reads its maps from units 0 to 4 and its blocks from bindings 0 and 1,
// where the draw binds them (the image programs' units show in the cube and blur tests).
TEST_F(GpuRenderer, MaterialSamplerUnitsAndBlockBindingsAreSetAfterLinking) {
  std::vector<GLint> units;
  run([&](Renderer&) {
    for (GLuint program = 1; program < 64; ++program) {
      if (glIsProgram(program) && glGetUniformBlockIndex(program, "Lights") != GL_INVALID_INDEX) {
        for (const char* name : {"diffuseSampler", "glossinessSampler", "illuminationSampler",
                                 "normalSampler", "environmentSampler"}) {
          glGetUniformiv(program, glGetUniformLocation(program, name), &units.emplace_back());
        }
        for (const char* name : {"TransformMatrices", "Lights"}) {
          glGetActiveUniformBlockiv(program, glGetUniformBlockIndex(program, name),
                                    GL_UNIFORM_BLOCK_BINDING, &units.emplace_back());
        }
      }
    }
  });
  EXPECT_EQ(units, (std::vector<GLint>{0, 1, 2, 3, 4, 0, 1}));
}

// Premultiplied colours painted into the sample target go out through the accumulation and
// the output kernel of each depth as the CPU reference converts them (alpha clamped before
// the division, none at alpha 0, gamma on colour only, truncation); row padding comes back
// as zeros. The same size keeps the accumulated image: a third of a sample of nothing leaves
// two thirds of it (a weight other than 1/2 tells the blend's two factors apart); targets of
// a new size start empty.
TEST_F(GpuRenderer, OutputConversionOfEveryDepthUnpremultipliesClampsAppliesGammaAndPads) {
  const ref::rgba colours[] = {
      {1.0, 1.0, 1.0, 1.0}, {0.25, 0.5, 0.1, 0.5}, {0.36, 0.04, 0.0, 0.0}, {0.5, 0.25, 0.75, 2.0}};
  // Samples, bytes per channel, row padding (whole pixels, as hosts pad) and gamma.
  for (const gpu_render::output_format c : {gpu_render::output_format{0, 1, 20, 1.0f},
                                            {0, 2, 24, 1.0f},
                                            {0, 4, 32, 1.0f},
                                            {0, 4, 0, 0.5f},
                                            {0, 1, 4, 0.45f}}) {
    rendered_image full(4, 2, c);
    rendered_image faded(4, 2, c);
    rendered_image taller(4, 3, c);  // new targets
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
      for (rendered_image* next : {&faded, &taller}) {
        r.set_output(0, next->output());
        r.clear_target();
        r.accumulate_sample(1.0f / 3.0f);
        r.read_output(c.gamma);
      }
    });
    const double tolerance = c.bytes_per_channel == 4 ? 1e-5 : 1.0;  // relaxed maths
    for (int i = 0; i < 12; ++i) {
      const ref::rgba p = colours[(i + i / 4) % 4];
      const ref::argb want[3] = {ref::output_pixel(p, c.gamma, c.bytes_per_channel),
                                 ref::output_pixel(p * (2.0 / 3.0), c.gamma, c.bytes_per_channel),
                                 {}};
      for (int k = i < 8 ? 0 : 2; k < 3; ++k) {
        const ref::argb got = (k == 0 ? full : k == 1 ? faded : taller).pixel(i % 4, i / 4);
        EXPECT_LE(std::max({std::abs(got.a - want[k].a), std::abs(got.r - want[k].r),
                            std::abs(got.g - want[k].g), std::abs(got.b - want[k].b)}),
                  tolerance)
            << int{c.bytes_per_channel} << " bytes, gamma " << c.gamma << ", image " << k
            << ", pixel " << i % 4 << ", " << i / 4;
      }
    }
    for (const rendered_image* image : {&full, &faded, &taller}) {
      for (int y = 0; y < image->height; ++y) {
        for (int i = image->width * 4 * c.bytes_per_channel; i < image->row_bytes; ++i) {
          EXPECT_EQ(std::to_integer<int>(image->bytes[y * image->row_bytes + i]), 0)
              << "padding byte " << i << " of row " << y;
        }
      }
    }
  }
}

// Normal maps: Sobel gradients of the mean of red, green and blue over the downsampling,
// encoded as (n + 1) / 2, n = normalize(-gx, -gy, 0.5); a ramp of s per texel gives 8 s (4 s
// at the clamped ends), gy bottom minus top. Mipmapped, repeating, half float, filtered like
// the uploaded maps, with nothing left bound.
TEST_F(GpuRenderer, NormalMapsHoldTheEncodedSobelNormalOfTheBumps) {
  // Heights 0.4 + sx x + sy y; a diagonal ramp is compared inside its border only.
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

// --- The environment cube ---

// The equirectangular point of a direction: u turns about y from -z through +x, v from -y (0)
// to +y (1), with the elevation divided by 3.1415.
std::array<double, 2> equirectangular_point(ref::vec3 d) {
  return {std::atan2(d.x, d.z) / (2.0 * M_PI) + 0.5,
          std::atan2(d.y, std::hypot(d.x, d.z)) / 3.1415 + 0.5};
}

// Source 0 makes no cube, no texture or framebuffer, and leaves culling and multisampling on.
TEST_F(GpuRenderer, SourceZeroMakesNoEnvironmentCubeAndChangesNoState) {
  run([&](Renderer& r) {
    glEnable(GL_CULL_FACE);
    glEnable(GL_MULTISAMPLE);
    const int objects_before = gpu_render::live_gl_objects();
    EXPECT_EQ(r.make_environment_cube(0), 0u);
    EXPECT_EQ(gpu_render::live_gl_objects(), objects_before);
    EXPECT_EQ(glIsEnabled(GL_CULL_FACE) + glIsEnabled(GL_MULTISAMPLE), 2);
    glDisable(GL_CULL_FACE);  // as a new context has it
  });
}

// Converting is slow, so one image serves every fact: red and green are the texel's u and v,
// blue is 1 where x > 0, alpha 1. A half-float 512 mip chain of seven filtered levels.
TEST_F(GpuRenderer, AnEnvironmentCubeShowsEachDirectionBlursLevelByLevelAndMirrorsOnTheSphere) {
  GLuint cube = 0;
  GLint left_bound[2] = {-1, -1};  // framebuffer and program after converting
  std::vector<GLint> state;
  std::array<std::array<std::vector<rgba>, 6>, 7> levels;  // level, face
  run([&](Renderer& r) {
    const GLuint source = gpu_render::upload(r, 1024, 512, [](int x, int y) {
      return rgba{(x + 0.5f) / 1024, (y + 0.5f) / 512, x >= 512 ? 1.0f : 0.0f, 1.0f};
    });
    cube = r.make_environment_cube(source);
    r.delete_texture(source);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &left_bound[0]);
    glGetIntegerv(GL_CURRENT_PROGRAM, &left_bound[1]);
    for (int i = 0; i < 42; ++i) {
      levels[i / 6][i % 6] =
          gpu_render::read_level(GL_TEXTURE_CUBE_MAP_POSITIVE_X + i % 6, cube, i / 6);
    }
    state = gpu_render::texture_state(
        GL_TEXTURE_CUBE_MAP, cube,
        {GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_MAX_LEVEL, GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER},
        9);
  });
  EXPECT_EQ(state, (std::vector<GLint>{GL_RGBA16F, 0, 6, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, 512,
                                       256, 128, 64, 32, 16, 8, 4, 2, 1}));
  EXPECT_EQ(left_bound[0] + left_bound[1], 0);

  // Level 0: texel (i, j) of a face looks where GL's cube face table says (major axis, sc,
  // tc; s = (sc / |ma| + 1) / 2, t likewise); away from the seam, the poles and the blue edge
  // it shows that direction's u, v and blue. The +X face's middle looks along +X: u 0.75.
  int compared = 0;
  for (int face = 0; face < 6; ++face) {
    ASSERT_EQ(levels[0][face].size(), std::size_t{512 * 512});
    for (int j = 4; j < 512; j += 24) {
      for (int i = 4; i < 512; i += 24) {
        const double sc = (i + 0.5) / 256 - 1.0;
        const double tc = (j + 0.5) / 256 - 1.0;
        const ref::vec3 directions[6] = {{1.0, -tc, -sc}, {-1.0, -tc, sc}, {sc, 1.0, tc},
                                         {sc, -1.0, -tc}, {sc, -tc, 1.0},  {-sc, -tc, -1.0}};
        const auto [u, v] = equirectangular_point(directions[face]);
        if (u < 0.01 || u > 0.99 || v < 0.02 || v > 0.98 || std::abs(u - 0.5) < 0.01) {
          continue;
        }
        const rgba& got = levels[0][face][j * 512 + i];
        EXPECT_LE(std::max({std::abs(got[0] - u), std::abs(got[1] - v),
                            std::abs(got[2] - (u > 0.5 ? 1.0 : 0.0)) * 3.0}),
                  3e-3)
            << "face " << face << " texel " << i << ", " << j;
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 2000);
  double centre_u = 0.0;
  for (const int at : {255 * 512 + 255, 255 * 512 + 256, 256 * 512 + 255, 256 * 512 + 256}) {
    centre_u += levels[0][0][at][0] / 4.0;
  }
  EXPECT_NEAR(centre_u, 0.75, 2e-3);

  // Linear filtering with symmetric lobes: in blue, mirror images across x = 0 sum to 1 and
  // the bright side spreads further with every level (on the +Z face's middle row, 14 degrees
  // either side of x = 0). Alpha stays 1 everywhere: each level's weights sum to 1.
  double previous_bright = 1.0;
  for (int level = 0; level <= 6; ++level) {
    for (int face = 0; face < 6; ++face) {
      EXPECT_EQ(std::count_if(levels[level][face].begin(), levels[level][face].end(),
                              [](const rgba& t) { return std::abs(t[3] - 1.0f) > 2e-3f; }),
                0)
          << "level " << level << " face " << face;
    }
    const int size = 512 >> level;
    const int middle = size / 2 * size + size / 2;
    const double bright = levels[level][4][middle + size / 8][2];
    const double dark = levels[level][4][middle - size / 8 - 1][2];
    EXPECT_NEAR(bright + dark, 1.0, 0.03) << "level " << level;
    EXPECT_LE(bright, previous_bright + 0.01) << "level " << level;
    EXPECT_GT(bright, level == 0 ? 0.999 : 0.5) << "level " << level;
    previous_bright = bright;
  }
  EXPECT_LT(previous_bright, 0.85) << "the roughest level is barely blurred";

  // A perfect mirror shows the environment where the eye ray reflects to, after the
  // environment's rotation (half a turn about y maps (x, y, z) to (-x, y, -z)); compared away
  // from the seam (filtering mixes both ends of u) and the poles (u turns faster than the
  // mesh's normals are exact), within the half floats of the resampled faces.
  for (const double turn : {1.0, -1.0}) {
    ref::sphere_scene scene{96, 80};
    scene.camera = gpu_render::look_at_camera({60.0f, -40.0f, -420.0f, 0.0f}, {}, 30.0f, 96, 80);
    scene.model_matrix =
        model_matrix({}, hxsdk::quaternion_from_euler({0.4f, 1.1f, -0.3f, 0.0f}), 90.0f);
    scene.material = gpu_render::plain_material();
    scene.material.model_color = {0.0f, 0.0f, 0.0f, 1.0f};
    scene.material.reflectivity = scene.material.glossiness = 1.0f;
    scene.material.specular = 0.0f;
    scene.material.environment_texture = cube;
    scene.material.environment_orientation = {0.0f, turn < 0.0 ? 1.0f : 0.0f, 0.0f,
                                              turn < 0.0 ? 0.0f : 1.0f};
    const gpu_render::rendered_image image = render(scene);
    int mirrored = 0;
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
      ++mirrored;
      const ref::argb got = image.pixel(i % 96, i / 96);
      if (std::max({std::abs(got.r - u), std::abs(got.g - v), std::abs(got.a - 1.0)}) > 0.01) {
        wrong.add("turn ", turn, ", pixel ", i % 96, ", ", i / 96, " shows (u ", got.r, ", v ",
                  got.g, "), the reflection (", u, ", ", v, ")");
      }
    }
    EXPECT_GT(mirrored, 1500) << turn;
    EXPECT_EQ(wrong.count, 0) << wrong.first.str();
  }
}

}  // namespace
