// A mirror sphere in an environment whose colour encodes direction: every pixel must show the
// environment in the direction the eye ray is reflected to.
#include <GL/glew.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "renderer/render_client.h"
#include "tests/gpu_map_textures.h"
#include "tests/gpu_render_harness.h"
#include "tests/gpu_shading_reference.h"

namespace {

namespace ref = shading_reference;
using gpu_maps::rgba;

constexpr int kWidth = 96;
constexpr int kHeight = 80;
constexpr hxsdk::vec4 kCentre{0.0f, 0.0f, 0.0f, 0.0f};

// The colour the environment has in direction d (unit): (d + 1) / 2.
rgba colour_of(ref::vec3 d) {
  return {static_cast<float>((d.x + 1) / 2), static_cast<float>((d.y + 1) / 2),
          static_cast<float>((d.z + 1) / 2), 1.0f};
}

// The equirectangular image of that environment: the texel at (u, v) holds the colour of the
// direction at longitude (u - 0.5) 2 pi about y, measured from +z towards +x, and elevation
// (v - 0.5) 3.1415 towards +y.
GLuint direction_environment(Renderer& renderer) {
  constexpr int kSourceWidth = 1024;
  constexpr int kSourceHeight = 512;
  return gpu_maps::upload(renderer, kSourceWidth, kSourceHeight, [](int x, int y) {
    const double longitude = ((x + 0.5) / kSourceWidth - 0.5) * 2.0 * M_PI;
    const double elevation =
        std::clamp(((y + 0.5) / kSourceHeight - 0.5) * 3.1415, -M_PI / 2, M_PI / 2);
    return colour_of({std::sin(longitude) * std::cos(elevation), std::sin(elevation),
                      std::cos(longitude) * std::cos(elevation)});
  });
}

// A perfect mirror: no diffuse colour, no lights, full reflectivity, glossiness 1.
ref::sphere_scene mirror_scene(unsigned int cube, const hxsdk::quaternion& environment) {
  ref::sphere_scene s;
  s.width = kWidth;
  s.height = kHeight;
  s.camera = gpu_render::look_at_camera({60.0f, -40.0f, -420.0f, 0.0f}, kCentre,
                                        {0.0f, 1.0f, 0.0f, 0.0f}, 30.0f, kWidth, kHeight);
  s.model_matrix =
      model_matrix(kCentre, hxsdk::quaternion_from_euler({0.4f, 1.1f, -0.3f, 0.0f}), 90.0f);
  s.material = gpu_render::plain_material();
  s.material.model_color = {0.0f, 0.0f, 0.0f, 1.0f};
  s.material.reflectivity = 1.0f;
  s.material.glossiness = 1.0f;
  s.material.specular = 0.0f;
  s.material.environment_texture = cube;
  s.material.environment_orientation = environment;
  return s;
}

ref::vec3 reflected(ref::vec3 view, ref::vec3 n) {
  const double d = 2.0 * ref::dot(view, n);
  return {d * n.x - view.x, d * n.y - view.y, d * n.z - view.z};
}

TEST(GpuEnvironmentReflection, MirrorSphereShowsTheEnvironmentInTheReflectedDirection) {
  gpu_render::SphereRenderer renderer;
  GLuint cube = 0;
  renderer.thread().run_on_renderer([&](Renderer& r) {
    const GLuint source = direction_environment(r);
    cube = r.make_environment_cube(source);
    r.delete_texture(source);
  });
  ASSERT_NE(cube, 0u);

  struct Case {
    const char* name;
    hxsdk::quaternion orientation;
    // Where the environment rotation takes a direction before the lookup.
    ref::vec3 (*rotate)(ref::vec3);
  };
  const Case cases[] = {
      {"unrotated", {0.0f, 0.0f, 0.0f, 1.0f}, [](ref::vec3 d) { return d; }},
      // Half a turn about y maps (x, y, z) to (-x, y, -z) whichever way it turns.
      {"half a turn about y",
       {0.0f, 1.0f, 0.0f, 0.0f},
       [](ref::vec3 d) {
         return ref::vec3{-d.x, d.y, -d.z};
       }},
  };
  for (const Case& c : cases) {
    const ref::sphere_scene scene = mirror_scene(cube, c.orientation);
    const gpu_render::rendered_image image = renderer.render(scene, {});
    int compared = 0;
    int wrong = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const ref::ray_hits hits = ref::drawn_fragments(scene, x + 0.5, y + 0.5);
        if (!hits.front || !ref::pixel_is_clear_of_edges(scene, x, y)) {
          continue;
        }
        const ref::vec3 p = hits.front->world_position;
        const ref::vec3 eye = ref::to_vec3(scene.camera.eye_position);
        const ref::vec3 view = ref::normalize({eye.x - p.x, eye.y - p.y, eye.z - p.z});
        const ref::vec3 towards = c.rotate(reflected(view, hits.front->flat_normal));
        const rgba want = colour_of(towards);
        const ref::argb got = image.pixel(x, y);
        ++compared;
        // The cube holds half floats of a 1024-wide source resampled to 512-texel faces; the
        // mesh's normals are a few 1e-4 radians off the sphere's.
        const double error = std::max({std::abs(got.r - want[0]), std::abs(got.g - want[1]),
                                       std::abs(got.b - want[2]), std::abs(got.a - 1.0)});
        if (error > 0.01 && wrong++ < 5) {
          ADD_FAILURE() << c.name << ": pixel " << x << "," << y << " is (" << got.r << ", "
                        << got.g << ", " << got.b << "), the reflection shows (" << want[0] << ", "
                        << want[1] << ", " << want[2] << ")";
        }
      }
    }
    EXPECT_GT(compared, 2000) << c.name;
  }
}

}  // namespace
