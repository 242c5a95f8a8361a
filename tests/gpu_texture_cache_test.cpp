// The texture cache of the map slots with the real renderer behind it: the GL textures that
// frames upload, keep and delete, seen from the render thread.
#include <GL/glew.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "host/composition.h"
#include "host/effect_host.h"
#include "plugin/ae_plugin_connection.h"
#include "tests/e2e_plugin_support.h"
#include "tests/e2e_scene_support.h"

namespace {

using lunaform::host::Animated;
using lunaform::host::Composition;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::SolidLayer;

// The effect's own plug-in object in a host, rendering a small composition with a 64 x 32
// solid "Map" (and an empty layer parameter until a test chooses it).
class CacheHost {
 public:
  CacheHost() : host(&e2e_plugin::entry_for<AePluginConnection>) {
    {
      e2e_plugin::StderrCapture banner;
      EXPECT_EQ(host.global_setup(), PF_Err_NONE);
    }
    EXPECT_EQ(host.params_setup(), PF_Err_NONE);
    EXPECT_EQ(host.sequence_setup(), PF_Err_NONE);
    Composition comp = e2e_scene::sphere_composition();
    comp.width = 96;
    comp.height = 54;
    Layer map;
    map.name = "Map";
    map.content = SolidLayer{{0.2, 0.4, 0.6, 1.0}, 64, 32};
    comp.layers.push_back(map);
    host.set_composition(std::move(comp));
    host.settings().layer = {96, 54};
  }

  void choose(const std::string& param, const std::string& layer) {
    e2e_scene::effect_of(host.composition()).params[param] = LayerRef{layer};
  }

  // Renders a frame; returns the "Load Layer" lines it wrote.
  std::vector<std::string> render() {
    e2e_scene::DebugLines debug;
    EXPECT_EQ(host.smart_pre_render(), PF_Err_NONE);
    EXPECT_EQ(host.smart_render(), PF_Err_NONE);
    std::vector<std::string> loads;
    for (const std::string& line : debug.take()) {
      if (line.rfind("Load Layer ", 0) == 0) {
        loads.push_back(line.substr(0, line.find(':')));
      }
    }
    return loads;
  }

  // The material the last frame was drawn with, as the renderer received it.
  const material_properties& drawn() { return state().scene.material; }

  bool is_texture(unsigned int name) {
    bool result = false;
    on_render_thread([&] { result = name != 0 && glIsTexture(name) == GL_TRUE; });
    return result;
  }

  // Runs GL calls where the module's context is current.
  template <typename Calls>
  void on_render_thread(Calls&& calls) {
    state().render_thread->run_on_renderer([&](Renderer&) { calls(); });
  }

  lunaform::host::EffectHost host;

 private:
  RenderState& state() {
    AePlugin* object = nullptr;
    std::memcpy(&object, host.handles().bytes(host.global_data()).data(), sizeof object);
    return *dynamic_cast<AePluginConnection&>(*object).renderer;
  }
};

TEST(GpuTextureCache, AnUnchangedLayerIsUploadedOnceAndAChangedOneReplacesItsTexture) {
  CacheHost cache;
  cache.choose("Diffuse Layer", "Map");
  EXPECT_EQ(cache.render(), std::vector<std::string>{"Load Layer 502"});
  const unsigned int first = cache.drawn().diffuse_texture;
  EXPECT_TRUE(cache.is_texture(first));

  EXPECT_TRUE(cache.render().empty()) << "an unchanged frame uploads nothing";
  EXPECT_EQ(cache.drawn().diffuse_texture, first);
  EXPECT_TRUE(cache.is_texture(first));

  std::get<SolidLayer>(lunaform::host::find_layer(cache.host.composition(), "Map")->content).width =
      80;
  EXPECT_EQ(cache.render(), std::vector<std::string>{"Load Layer 502"});
  const unsigned int resized = cache.drawn().diffuse_texture;
  EXPECT_TRUE(cache.is_texture(resized));
  if (resized != first) {
    EXPECT_FALSE(cache.is_texture(first)) << "the old texture is deleted, not leaked";
  }
  // The new texture has the new size: the layer really was uploaded again.
  GLint width = 0;
  cache.on_render_thread([&] {
    glBindTexture(GL_TEXTURE_2D, resized);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    glBindTexture(GL_TEXTURE_2D, 0);
  });
  EXPECT_EQ(width, 80);

  cache.choose("Diffuse Layer", "");
  EXPECT_TRUE(cache.render().empty());
  EXPECT_EQ(cache.drawn().diffuse_texture, 0u);
  EXPECT_FALSE(cache.is_texture(resized)) << "emptying the parameter deletes the texture";
}

TEST(GpuTextureCache, ANewKindOfTextureForTheSameLayerReloadsIt) {
  CacheHost cache;
  cache.choose("Bump Map Layer", "Map");
  e2e_scene::effect_of(cache.host.composition()).params["Use Normal Map"] = Animated<double>(1.0);
  EXPECT_EQ(cache.render(), std::vector<std::string>{"Load Layer 508"});
  const unsigned int as_normal_map = cache.drawn().normal_texture;
  EXPECT_TRUE(cache.is_texture(as_normal_map));

  e2e_scene::effect_of(cache.host.composition()).params["Use Normal Map"] = Animated<double>(0.0);
  EXPECT_EQ(cache.render(), std::vector<std::string>{"Load Layer 508"});
  if (cache.drawn().normal_texture != as_normal_map) {
    EXPECT_FALSE(cache.is_texture(as_normal_map)) << "the texture of the old kind is deleted";
  }
}

}  // namespace
