// The frame render command through the real host, with the renderer's operations recorded: the
// motion-blur samples and their weights, the output's sample count and gamma, the timing lines,
// and the map textures made, kept and deleted across frames.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include "host/composition.h"
#include "tests/e2e_plugin_support.h"
#include "tests/e2e_scene_support.h"

namespace {

using e2e_scene::Operation;
using K = Operation::Kind;
using lunaform::host::Animated;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::SolidLayer;
using lunaform::host::Vec3;

constexpr A_long kTicksPerFrame = 120;  // the host's time step at 30 frames per second
constexpr A_long kFrameTen = 10 * kTicksPerFrame;

// "Position" moving 1200 pixels to the right during frame 10: at a sub-frame time of k ticks
// past the frame, x = 100 + 10 k.
Composition moving_sphere() {
  Composition comp = e2e_scene::sphere_composition();
  Animated<Vec3> position(Vec3{100.0, 540.0, 0.0});
  position.set_key(10.0 / 30.0, Vec3{100.0, 540.0, 0.0});
  position.set_key(11.0 / 30.0, Vec3{1300.0, 540.0, 0.0});
  e2e_scene::effect_of(comp).params["Position"] = position;
  return comp;
}

class E2eSceneFrame : public e2e_scene::SharedSceneHost {};

TEST_F(E2eSceneFrame, SixMotionBlurSamplesSpreadOverHalfAFrameAndAverage) {
  Composition comp = moving_sphere();
  auto& params = e2e_scene::effect_of(comp).params;
  params["Motion Blur"] = Animated<double>(2.0);  // On
  params["Motion Blur Samples"] = Animated<double>(6.0);
  params["Shutter Angle"] = Animated<double>(180.0);
  scene_->host.settings().current_time = kFrameTen;
  const std::vector<Operation> ops = render(comp);

  // Per sample without maps: the camera, the five map slots cleared (none has a layer), the
  // lights, the target cleared, the draw.
  std::vector<K> expected_kinds = {K::set_output};
  for (int sample = 0; sample < 6; ++sample) {
    expected_kinds.insert(
        expected_kinds.end(),
        {K::set_render_properties, K::delete_texture, K::delete_texture, K::delete_texture,
         K::delete_texture, K::delete_texture, K::set_lights, K::clear_target, K::draw});
  }
  expected_kinds.push_back(K::read_output);
  ASSERT_EQ(ops.size(), expected_kinds.size());
  for (std::size_t i = 0; i < ops.size(); ++i) {
    EXPECT_EQ(ops[i].kind, expected_kinds[i])
        << "operation " << i << " is " << e2e_scene::kind_name(ops[i].kind);
  }
  // Sample k at k/12 of a frame (10 ticks), weighted 1/(k+1) so that the result is the mean.
  const std::vector<Operation> draws = e2e_scene::of_kind(ops, K::draw);
  const std::vector<Operation> cameras = e2e_scene::of_kind(ops, K::set_render_properties);
  for (int k = 0; k < 6; ++k) {
    EXPECT_EQ(cameras[k].time, kFrameTen + 10 * k) << "sample " << k;
    EXPECT_EQ(draws[k].time, kFrameTen + 10 * k) << "sample " << k;
    EXPECT_FLOAT_EQ(draws[k].value, 1.0f / float(k + 1)) << "sample " << k;
    EXPECT_NEAR(draws[k].scene.position.x, 100.0 + 100.0 * k, 1e-3) << "sample " << k;
  }
  // The host's time is back at the frame before the output is read, and after the command.
  EXPECT_EQ(ops.back().time, kFrameTen);
  EXPECT_EQ(scene_->host.in_data().current_time, kFrameTen);
  EXPECT_FLOAT_EQ(scene_->plugin().sample_counter, 7.0f);
}

TEST_F(E2eSceneFrame, CompSettingsFollowTheCompositionAndLayerSwitchesAndShutter) {
  struct Case {
    std::string name;
    double popup;
    bool comp_blur, layer_blur;
    double comp_shutter;  // degrees
    std::vector<A_long> offsets;
  };
  const std::vector<Case> cases = {
      {"both switches on, 180 degrees", 1, true, true, 180, {0, 10, 20, 30, 40, 50}},
      {"both switches on, 90 degrees", 1, true, true, 90, {0, 5, 10, 15, 20, 25}},
      {"layer switch off", 1, true, false, 180, {0}},
      {"composition switch off", 1, false, true, 180, {0}},
      {"Off overrides the switches", 3, true, true, 180, {0}},
      {"On ignores the switches and the composition's shutter",
       2,
       false,
       false,
       90,
       {0, 10, 20, 30, 40, 50}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Composition comp = moving_sphere();
    comp.motion_blur = c.comp_blur;
    comp.shutter_angle = c.comp_shutter;
    comp.layers[0].motion_blur = c.layer_blur;
    e2e_scene::effect_of(comp).params["Motion Blur"] = Animated<double>(c.popup);
    scene_->host.settings().current_time = kFrameTen;
    const std::vector<Operation> draws = e2e_scene::of_kind(render(comp), K::draw);
    ASSERT_EQ(draws.size(), c.offsets.size());
    for (std::size_t k = 0; k < draws.size(); ++k) {
      EXPECT_EQ(draws[k].time, kFrameTen + c.offsets[k]) << "sample " << k;
      EXPECT_FLOAT_EQ(draws[k].value, 1.0f / float(k + 1)) << "sample " << k;
    }
  }
}

TEST_F(E2eSceneFrame, TheOutputTakesItsSampleCountAndGammaFromTheParameters) {
  // "Multisampling" offers 0, 2, 4, 8, 16 samples; the default is 8.
  for (const auto& [choice, samples] :
       {std::pair{std::optional<double>(1.0), 0u}, std::pair{std::optional<double>(5.0), 16u},
        std::pair{std::optional<double>(), 8u}}) {
    Composition comp = e2e_scene::sphere_composition();
    if (choice) {
      e2e_scene::effect_of(comp).params["Multisampling"] = Animated<double>(*choice);
    }
    EXPECT_EQ(e2e_scene::only(render(comp), K::set_output).sample_count, samples);
  }
  Composition comp = e2e_scene::sphere_composition();
  e2e_scene::effect_of(comp).params["Gamma"] = Animated<double>(2.5);
  EXPECT_FLOAT_EQ(e2e_scene::only(render(comp), K::read_output).value, 0.4f);

  // A gamma of 0 has no inverse: the frame is refused with a message naming the parameter,
  // before the output, leaving nothing locked or acquired.
  e2e_scene::effect_of(comp).params["Gamma"] = Animated<double>(0.0);
  scene_->host.set_composition(comp);
  const std::size_t frames = scene_->plugin().frames.size();
  e2e_plugin::MessageBoxCapture popups;
  ASSERT_EQ(scene_->host.smart_pre_render(), PF_Err_NONE);
  EXPECT_EQ(scene_->host.smart_render(), PF_Err_INTERNAL_STRUCT_DAMAGED);
  ASSERT_EQ(popups.messages.size(), 1u);
  EXPECT_NE(popups.messages[0].second.find("\"Gamma\""), std::string::npos)
      << popups.messages[0].second;
  EXPECT_EQ(scene_->plugin().frames.size(), frames);
  EXPECT_EQ(scene_->host.handles().lock_count(scene_->host.sequence_data()), 0);
  EXPECT_TRUE(scene_->host.suites().unreleased().empty());
}

TEST_F(E2eSceneFrame, TimingLinesReportTheStagesOfEveryFrame) {
  e2e_scene::DebugLines debug;
  scene_->render();
  scene_->render();
  const std::vector<std::string> lines = debug.take();
  ASSERT_EQ(lines.size(), 6u);
  const std::regex input("Input Render: [0-9]+\\.[0-9]{2} ms\n");
  const std::regex samples("Render: [0-9]+\\.[0-9]{2} ms\n");
  const std::regex full("Full Render: [0-9]+\\.[0-9]{2} ms\n");
  for (int frame = 0; frame < 2; ++frame) {
    EXPECT_TRUE(std::regex_match(lines[3 * frame], input)) << lines[3 * frame];
    EXPECT_TRUE(std::regex_match(lines[3 * frame + 1], samples)) << lines[3 * frame + 1];
    EXPECT_TRUE(std::regex_match(lines[3 * frame + 2], full)) << lines[3 * frame + 2];
    // The whole frame contains its sample loop.
    EXPECT_LE(std::stod(lines[3 * frame + 1].substr(8)),
              std::stod(lines[3 * frame + 2].substr(13)));
  }
}

// A composition whose map parameters choose the layers named in `choices` ("Diffuse Layer" ->
// "Red"); it holds a red 64 x 32 solid "Red", and "Blue", a blue one of the same size.
Composition with_maps(const std::map<std::string, std::string>& choices) {
  Composition comp = e2e_scene::sphere_composition();
  comp.layers.push_back({.name = "Red", .content = SolidLayer{{1, 0, 0, 1}, 64, 32}});
  comp.layers.push_back({.name = "Blue", .content = SolidLayer{{0, 0, 1, 1}, 64, 32}});
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
    if ((op.kind == K::delete_texture && op.texture != 0) || op.kind == K::upload_texture ||
        op.kind == K::make_normal_map || op.kind == K::make_environment_cube) {
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

// The "Load Layer ID" lines of the map loads since the last call.
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

class E2eSceneTextures : public e2e_scene::SharedSceneHost {};

TEST_F(E2eSceneTextures, AMapIsUploadedOnceThenReusedUntilItsPixelsSizeOrChoiceChange) {
  scene_->host.set_composition(with_maps({{"Diffuse Layer", "Red"}}));
  e2e_scene::DebugLines debug;
  std::vector<Operation> ops = scene_->render();
  std::vector<Operation> work = texture_work(ops);
  ASSERT_EQ(kinds(work), std::vector<K>{K::upload_texture});
  EXPECT_EQ(std::tuple(work[0].image.width, work[0].image.height), std::tuple(64, 32));
  EXPECT_NE(work[0].image.data, nullptr);
  EXPECT_EQ(drawn_material(ops).diffuse_texture, work[0].result);
  EXPECT_EQ(load_lines(debug), std::vector<std::string>{"Load Layer 502"});

  ops = scene_->render();
  EXPECT_TRUE(texture_work(ops).empty());
  EXPECT_TRUE(load_lines(debug).empty());
  unsigned int texture = work[0].result;
  EXPECT_EQ(drawn_material(ops).diffuse_texture, texture);

  struct Change {
    const char* name;
    std::function<void(Composition&)> apply;
    int width;
  };
  const auto red = [](Composition& c) -> SolidLayer& {
    return std::get<SolidLayer>(lunaform::host::find_layer(c, "Red")->content);
  };
  const Change changes[] = {
      {"pixels",
       [&](Composition& c) {
         red(c).color = {0, 1, 0, 1};
       },
       64},
      {"size", [&](Composition& c) { red(c).width = 80; }, 80},
      {"choice",
       [](Composition& c) { e2e_scene::effect_of(c).params["Diffuse Layer"] = LayerRef{"Blue"}; },
       64},
  };
  for (const Change& change : changes) {
    SCOPED_TRACE(change.name);
    change.apply(scene_->host.composition());
    ops = scene_->render();
    work = texture_work(ops);
    ASSERT_EQ(kinds(work), (std::vector<K>{K::delete_texture, K::upload_texture}));
    EXPECT_EQ(work[0].texture, texture);
    EXPECT_EQ(std::tuple(work[1].image.width, work[1].image.height), std::tuple(change.width, 32));
    texture = work[1].result;
    EXPECT_EQ(drawn_material(ops).diffuse_texture, texture);
    EXPECT_EQ(load_lines(debug), std::vector<std::string>{"Load Layer 502"});
  }
  // An emptied parameter deletes its texture quietly.
  e2e_scene::effect_of(scene_->host.composition()).params["Diffuse Layer"] = LayerRef{""};
  ops = scene_->render();
  work = texture_work(ops);
  ASSERT_EQ(kinds(work), std::vector<K>{K::delete_texture});
  EXPECT_EQ(work[0].texture, texture);
  EXPECT_EQ(drawn_material(ops).diffuse_texture, 0u);
  EXPECT_TRUE(load_lines(debug).empty());
}

TEST_F(E2eSceneTextures, ABumpLayerIsConvertedToANormalMapUnlessItIsOne) {
  scene_->host.set_composition(with_maps({{"Bump Map Layer", "Red"}}));
  e2e_scene::DebugLines debug;
  const std::vector<Operation> height = scene_->render();
  const std::vector<Operation> converted = texture_work(height);
  // The uploaded height map is deleted once the normal map is made from it.
  ASSERT_EQ(kinds(converted),
            (std::vector<K>{K::upload_texture, K::make_normal_map, K::delete_texture}));
  EXPECT_EQ(converted[1].texture, converted[0].result);
  EXPECT_EQ(std::tuple(converted[1].width, converted[1].height), std::tuple(64, 32));
  EXPECT_EQ(converted[2].texture, converted[0].result);
  EXPECT_EQ(drawn_material(height).normal_texture, converted[1].result);
  EXPECT_EQ(load_lines(debug), std::vector<std::string>{"Load Layer 508"});

  // Turning "Use Normal Map" on changes the kind: the layer is taken as it is.
  auto& params = e2e_scene::effect_of(scene_->host.composition()).params;
  params["Use Normal Map"] = Animated<double>(1.0);
  const std::vector<Operation> normal = scene_->render();
  const std::vector<Operation> plain = texture_work(normal);
  ASSERT_EQ(kinds(plain), (std::vector<K>{K::delete_texture, K::upload_texture}));
  EXPECT_EQ(plain[0].texture, converted[1].result);
  EXPECT_EQ(drawn_material(normal).normal_texture, plain[1].result);
  // And off again: converted again.
  params["Use Normal Map"] = Animated<double>(0.0);
  EXPECT_EQ(kinds(texture_work(scene_->render())),
            (std::vector<K>{K::delete_texture, K::upload_texture, K::make_normal_map,
                            K::delete_texture}));
}

TEST_F(E2eSceneTextures, TheEnvironmentCubeIsMadeOnceForAllSixMotionBlurSamples) {
  Composition comp = with_maps({{"Environment Layer", "Red"}});
  e2e_scene::effect_of(comp).params["Motion Blur"] = Animated<double>(2.0);
  e2e_scene::effect_of(comp).params["Motion Blur Samples"] = Animated<double>(6.0);
  e2e_scene::DebugLines debug;
  const std::vector<Operation> ops = render(comp);
  const std::vector<Operation> work = texture_work(ops);
  ASSERT_EQ(kinds(work),
            (std::vector<K>{K::upload_texture, K::make_environment_cube, K::delete_texture}));
  EXPECT_EQ(work[1].texture, work[0].result);
  EXPECT_EQ(work[2].texture, work[0].result);
  // Made before the first sample's draw and used by all six.
  const std::vector<Operation> draws = e2e_scene::of_kind(ops, K::draw);
  ASSERT_EQ(draws.size(), 6u);
  EXPECT_EQ(work[1].time, draws[0].time);
  for (const Operation& draw : draws) {
    EXPECT_EQ(draw.scene.material.environment_texture, work[1].result);
  }
  EXPECT_EQ(load_lines(debug), std::vector<std::string>{"Load Layer 517"});
}

TEST_F(E2eSceneTextures, TheUploadIsTheLayerAsCheckedOutOrNothingWhenTheCheckoutFails) {
  scene_->host.settings().downsample_x = scene_->host.settings().downsample_y = {1, 2};
  scene_->host.settings().bits_per_channel = 16;
  std::vector<Operation> ops = render(with_maps({{"Illumination Layer", "Red"}}));
  const Operation upload = e2e_scene::only(ops, K::upload_texture);
  const PF_EffectWorld* world = nullptr;
  for (const lunaform::host::RenderCheckoutCall& call : scene_->host.render_checkouts()) {
    if (call.kind == lunaform::host::RenderCheckoutCall::Kind::layer_pixels &&
        call.checkout_id == 506) {
      world = call.world;
    }
  }
  ASSERT_NE(world, nullptr);
  EXPECT_EQ(upload.image.data, world->data);
  EXPECT_EQ(upload.image.row_bytes, world->rowbytes);
  EXPECT_EQ(std::tuple(upload.image.width, upload.image.height), std::tuple(32, 16));
  EXPECT_EQ(upload.image.bytes_per_channel, 2u);
  EXPECT_EQ(drawn_material(ops).illumination_texture, upload.result);

  // A failed checkout leaves the map out without failing the frame.
  scene_->reset(with_maps({{"Diffuse Layer", "Red"}}));
  scene_->host.checkout_failures().layer_pixels[502] = PF_Err_OUT_OF_MEMORY;
  ops = scene_->render();
  EXPECT_TRUE(e2e_scene::of_kind(ops, K::upload_texture).empty());
  EXPECT_EQ(drawn_material(ops).diffuse_texture, 0u);
}

TEST_F(E2eSceneTextures, AFlattenedInstanceRendersWithoutMapsAndWritesNothing) {
  scene_->host.set_composition(
      with_maps({{"Diffuse Layer", "Red"}, {"Environment Layer", "Blue"}}));
  ASSERT_EQ(scene_->host.sequence_flatten(), PF_Err_NONE);
  const PF_Handle flat = scene_->host.sequence_data();
  ASSERT_NE(flat, nullptr);
  ASSERT_EQ(scene_->host.handles().bytes(flat).size(), 0u);
  const std::vector<Operation> ops = scene_->render();
  EXPECT_TRUE(texture_work(ops).empty());
  EXPECT_TRUE(e2e_scene::of_kind(ops, K::delete_texture).empty());
  EXPECT_EQ(drawn_material(ops).diffuse_texture, 0u);
  EXPECT_EQ(drawn_material(ops).environment_texture, 0u);
  EXPECT_EQ(scene_->host.sequence_data(), flat);
  EXPECT_EQ(scene_->host.handles().bytes(flat).size(), 0u);
}

}  // namespace
