#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/composition.h"
#include "tests/e2e_scene_support.h"

namespace {

using e2e_scene::Operation;
using e2e_scene::SceneHost;
using K = Operation::Kind;
using lunaform::host::Animated;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::SolidLayer;

Layer solid(const std::string& name, Color color, int width, int height) {
  Layer layer;
  layer.name = name;
  layer.content = SolidLayer{color, width, height};
  return layer;
}

// A composition whose map parameters choose the layers named in `choices` ("Diffuse Layer" ->
// "Red"); it holds a red 64 x 32 solid "Red", and "Blue", a blue one of the same size.
Composition with_maps(const std::map<std::string, std::string>& choices) {
  Composition comp = e2e_scene::sphere_composition();
  comp.layers.push_back(solid("Red", {1, 0, 0, 1}, 64, 32));
  comp.layers.push_back(solid("Blue", {0, 0, 1, 1}, 64, 32));
  for (const auto& [param, layer] : choices) {
    e2e_scene::effect_of(comp).params[param] = LayerRef{layer};
  }
  return comp;
}

// The texture operations of a frame, in order, without the clearing of the empty slots
// (delete_texture(0)) that every frame does for the maps that have no layer.
std::vector<Operation> texture_work(const std::vector<Operation>& ops) {
  std::vector<Operation> work;
  for (const Operation& op : ops) {
    const bool texture_op = op.kind == K::delete_texture || op.kind == K::upload_texture ||
                            op.kind == K::make_normal_map || op.kind == K::make_environment_cube;
    if (texture_op && !(op.kind == K::delete_texture && op.texture == 0)) {
      work.push_back(op);
    }
  }
  return work;
}

std::vector<K> kinds(const std::vector<Operation>& ops) {
  std::vector<K> result;
  for (const Operation& op : ops) {
    result.push_back(op.kind);
  }
  return result;
}

std::vector<std::string> load_lines(e2e_scene::DebugLines& debug) {
  std::vector<std::string> loads;
  for (const std::string& line : debug.take()) {
    if (line.rfind("Load Layer ", 0) == 0) {
      loads.push_back(line.substr(0, line.find(':')));
    }
  }
  return loads;
}

material_properties drawn_material(const std::vector<Operation>& ops) {
  return e2e_scene::only(ops, K::draw).scene.material;
}

TEST(E2eSceneTextures, UnchangedLayerIsUploadedOnceAndThenReused) {
  SceneHost scene(with_maps({{"Diffuse Layer", "Red"}}));
  e2e_scene::DebugLines debug;

  const std::vector<Operation> first = scene.render();
  const std::vector<Operation> uploads = texture_work(first);
  ASSERT_EQ(kinds(uploads), std::vector<K>{K::upload_texture});
  EXPECT_EQ(uploads[0].image.width, 64);
  EXPECT_EQ(uploads[0].image.height, 32);
  EXPECT_NE(uploads[0].image.data, nullptr);
  EXPECT_EQ(drawn_material(first).diffuse_texture, uploads[0].result);
  EXPECT_EQ(load_lines(debug), std::vector<std::string>{"Load Layer 502"});

  const std::vector<Operation> second = scene.render();
  EXPECT_TRUE(texture_work(second).empty());
  EXPECT_TRUE(load_lines(debug).empty());
  EXPECT_EQ(drawn_material(second).diffuse_texture, uploads[0].result);
}

TEST(E2eSceneTextures, ChangedPixelsSizeOrChoiceMakeTheTextureAgain) {
  struct Case {
    std::string name;
    std::function<void(Composition&)> change;
    int width;
    int height;
  };
  const std::vector<Case> cases = {
      {"pixels",
       [](Composition& c) {
         std::get<SolidLayer>(lunaform::host::find_layer(c, "Red")->content).color = {0, 1, 0, 1};
       },
       64, 32},
      {"size",
       [](Composition& c) {
         std::get<SolidLayer>(lunaform::host::find_layer(c, "Red")->content).width = 80;
       },
       80, 32},
      {"choice",
       [](Composition& c) { e2e_scene::effect_of(c).params["Diffuse Layer"] = LayerRef{"Blue"}; },
       64, 32},
  };
  for (const Case& c : cases) {
    SceneHost scene(with_maps({{"Diffuse Layer", "Red"}}));
    const unsigned int before = drawn_material(scene.render()).diffuse_texture;
    c.change(scene.host.composition());
    e2e_scene::DebugLines debug;
    const std::vector<Operation> ops = scene.render();
    const std::vector<Operation> work = texture_work(ops);
    ASSERT_EQ(kinds(work), (std::vector<K>{K::delete_texture, K::upload_texture})) << c.name;
    EXPECT_EQ(work[0].texture, before) << c.name;
    EXPECT_EQ(work[1].image.width, c.width) << c.name;
    EXPECT_EQ(work[1].image.height, c.height) << c.name;
    EXPECT_EQ(drawn_material(ops).diffuse_texture, work[1].result) << c.name;
    EXPECT_EQ(load_lines(debug), std::vector<std::string>{"Load Layer 502"}) << c.name;
  }
}

TEST(E2eSceneTextures, BumpLayerIsConvertedToANormalMapUnlessItIsOne) {
  SceneHost scene(with_maps({{"Bump Map Layer", "Red"}}));
  e2e_scene::DebugLines debug;

  const std::vector<Operation> height = scene.render();
  const std::vector<Operation> converted = texture_work(height);
  ASSERT_EQ(kinds(converted),
            (std::vector<K>{K::upload_texture, K::make_normal_map, K::delete_texture}));
  EXPECT_EQ(converted[1].texture, converted[0].result);
  EXPECT_EQ(converted[1].width, 64);
  EXPECT_EQ(converted[1].height, 32);
  EXPECT_EQ(converted[2].texture, converted[0].result);
  EXPECT_EQ(drawn_material(height).normal_texture, converted[1].result);
  EXPECT_EQ(load_lines(debug), std::vector<std::string>{"Load Layer 508"});

  // Turning "Use Normal Map" on changes the kind: the layer is taken as it is.
  e2e_scene::effect_of(scene.host.composition()).params["Use Normal Map"] = Animated<double>(1.0);
  const std::vector<Operation> normal = scene.render();
  const std::vector<Operation> plain = texture_work(normal);
  ASSERT_EQ(kinds(plain), (std::vector<K>{K::delete_texture, K::upload_texture}));
  EXPECT_EQ(plain[0].texture, converted[1].result);
  EXPECT_EQ(drawn_material(normal).normal_texture, plain[1].result);

  // And off again: converted again.
  e2e_scene::effect_of(scene.host.composition()).params["Use Normal Map"] = Animated<double>(0.0);
  EXPECT_EQ(kinds(texture_work(scene.render())),
            (std::vector<K>{K::delete_texture, K::upload_texture, K::make_normal_map,
                            K::delete_texture}));
}

TEST(E2eSceneTextures, EnvironmentCubeIsMadeOnceForAllSixMotionBlurSamples) {
  Composition comp = with_maps({{"Environment Layer", "Red"}});
  e2e_scene::effect_of(comp).params["Motion Blur"] = Animated<double>(2.0);
  e2e_scene::effect_of(comp).params["Motion Blur Samples"] = Animated<double>(6.0);
  SceneHost scene(comp);
  e2e_scene::DebugLines debug;
  const std::vector<Operation> ops = scene.render();

  const std::vector<Operation> work = texture_work(ops);
  ASSERT_EQ(kinds(work),
            (std::vector<K>{K::upload_texture, K::make_environment_cube, K::delete_texture}));
  EXPECT_EQ(work[1].texture, work[0].result);
  EXPECT_EQ(work[2].texture, work[0].result);
  // The cube is made before the first sample's draw and used by all six.
  const std::vector<Operation> draws = e2e_scene::of_kind(ops, K::draw);
  ASSERT_EQ(draws.size(), 6u);
  EXPECT_EQ(work[1].time, draws[0].time);
  for (const Operation& draw : draws) {
    EXPECT_EQ(draw.scene.material.environment_texture, work[1].result);
  }
  EXPECT_EQ(load_lines(debug), std::vector<std::string>{"Load Layer 517"});
}

TEST(E2eSceneTextures, EmptiedLayerParameterDeletesItsTextureQuietly) {
  SceneHost scene(with_maps({{"Glossiness Layer", "Red"}}));
  const unsigned int texture = drawn_material(scene.render()).glossiness_texture;
  ASSERT_NE(texture, 0u);
  e2e_scene::effect_of(scene.host.composition()).params["Glossiness Layer"] = LayerRef{""};
  e2e_scene::DebugLines debug;
  const std::vector<Operation> ops = scene.render();
  const std::vector<Operation> work = texture_work(ops);
  ASSERT_EQ(kinds(work), std::vector<K>{K::delete_texture});
  EXPECT_EQ(work[0].texture, texture);
  EXPECT_EQ(drawn_material(ops).glossiness_texture, 0u);
  EXPECT_TRUE(load_lines(debug).empty());
}

TEST(E2eSceneTextures, UploadedImageIsTheLayerAsTheHostCheckedItOut) {
  SceneHost scene(with_maps({{"Illumination Layer", "Red"}}));
  scene.host.settings().downsample_x = scene.host.settings().downsample_y = {1, 2};
  scene.host.settings().bits_per_channel = 16;
  const std::vector<Operation> ops = scene.render();
  const Operation upload = e2e_scene::only(ops, K::upload_texture);
  const PF_EffectWorld* world = nullptr;
  for (const lunaform::host::RenderCheckoutCall& call : scene.host.render_checkouts()) {
    if (call.kind == lunaform::host::RenderCheckoutCall::Kind::layer_pixels &&
        call.checkout_id == 506) {
      world = call.world;
    }
  }
  ASSERT_NE(world, nullptr);
  EXPECT_EQ(upload.image.data, world->data);
  EXPECT_EQ(upload.image.row_bytes, world->rowbytes);
  EXPECT_EQ(upload.image.width, 32);
  EXPECT_EQ(upload.image.height, 16);
  EXPECT_EQ(upload.image.bytes_per_channel, 2u);
  EXPECT_EQ(drawn_material(ops).illumination_texture, upload.result);
}

TEST(E2eSceneTextures, FailedCheckoutLeavesTheMapOutWithoutFailingTheFrame) {
  SceneHost scene(with_maps({{"Diffuse Layer", "Red"}}));
  scene.host.checkout_failures().layer_pixels[502] = PF_Err_OUT_OF_MEMORY;
  const std::vector<Operation> ops = scene.render();  // the render itself answers 0
  EXPECT_TRUE(e2e_scene::of_kind(ops, K::upload_texture).empty());
  EXPECT_EQ(drawn_material(ops).diffuse_texture, 0u);
}

TEST(E2eSceneTextures, FlattenedInstanceRendersWithoutMapsAndWritesNothing) {
  SceneHost scene(with_maps({{"Diffuse Layer", "Red"}, {"Environment Layer", "Blue"}}));
  ASSERT_EQ(scene.host.sequence_flatten(), PF_Err_NONE);
  const PF_Handle flat = scene.host.sequence_data();
  ASSERT_NE(flat, nullptr);
  ASSERT_EQ(scene.host.handles().bytes(flat).size(), 0u);

  const std::vector<Operation> ops = scene.render();
  EXPECT_TRUE(texture_work(ops).empty());
  EXPECT_TRUE(e2e_scene::of_kind(ops, K::delete_texture).empty());
  const material_properties m = drawn_material(ops);
  EXPECT_EQ(m.diffuse_texture, 0u);
  EXPECT_EQ(m.environment_texture, 0u);
  EXPECT_EQ(scene.host.sequence_data(), flat);
  EXPECT_EQ(scene.host.handles().bytes(flat).size(), 0u);
}

}  // namespace
