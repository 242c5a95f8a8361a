#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/composition.h"
#include "host/effect_host.h"
#include "plugin/ae_plugin_connection.h"
#include "tests/e2e_plugin_support.h"
#include "tests/e2e_scene_support.h"

namespace {

using e2e_scene::Operation;
using e2e_scene::SceneHost;
using lunaform::host::Animated;
using lunaform::host::Composition;
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

// The operation kinds of one sample without maps: the five map loads find no layer and only
// clear their (empty) slots.
std::vector<Operation::Kind> sample_sequence() {
  using K = Operation::Kind;
  return {K::set_render_properties,
          K::delete_texture,
          K::delete_texture,
          K::delete_texture,
          K::delete_texture,
          K::delete_texture,
          K::set_lights,
          K::clear_target,
          K::draw};
}

TEST(E2eSceneFrame, SixMotionBlurSamplesSpreadOverHalfAFrameAndAverage) {
  Composition comp = moving_sphere();
  auto& params = e2e_scene::effect_of(comp).params;
  params["Motion Blur"] = Animated<double>(2.0);  // On
  params["Motion Blur Samples"] = Animated<double>(6.0);
  params["Shutter Angle"] = Animated<double>(180.0);
  SceneHost scene(comp);
  scene.host.settings().current_time = kFrameTen;

  const std::vector<Operation> ops = scene.render();

  std::vector<Operation::Kind> expected_kinds = {Operation::Kind::set_output};
  for (int sample = 0; sample < 6; ++sample) {
    const std::vector<Operation::Kind> one = sample_sequence();
    expected_kinds.insert(expected_kinds.end(), one.begin(), one.end());
  }
  expected_kinds.push_back(Operation::Kind::read_output);
  ASSERT_EQ(ops.size(), expected_kinds.size());
  for (std::size_t i = 0; i < ops.size(); ++i) {
    EXPECT_EQ(ops[i].kind, expected_kinds[i])
        << "operation " << i << " is " << e2e_scene::kind_name(ops[i].kind);
  }

  // Sample k at k/12 of a frame (10 ticks), weighted 1/(k+1) so that the result is the mean.
  const std::vector<Operation> draws = e2e_scene::of_kind(ops, Operation::Kind::draw);
  const std::vector<Operation> cameras =
      e2e_scene::of_kind(ops, Operation::Kind::set_render_properties);
  ASSERT_EQ(draws.size(), 6u);
  ASSERT_EQ(cameras.size(), 6u);
  for (int k = 0; k < 6; ++k) {
    EXPECT_EQ(cameras[k].time, kFrameTen + 10 * k) << "sample " << k;
    EXPECT_EQ(draws[k].time, kFrameTen + 10 * k) << "sample " << k;
    EXPECT_FLOAT_EQ(draws[k].value, 1.0f / static_cast<float>(k + 1)) << "sample " << k;
    EXPECT_NEAR(draws[k].scene.position.x, 100.0 + 100.0 * k, 1e-3) << "sample " << k;
  }
  // The host's time is back at the frame before the output is read, and after the command.
  EXPECT_EQ(ops.back().time, kFrameTen);
  EXPECT_EQ(scene.host.in_data().current_time, kFrameTen);
  EXPECT_FLOAT_EQ(scene.plugin().sample_counter, 7.0f);
}

TEST(E2eSceneFrame, CompSettingsFollowTheCompositionAndLayerSwitchesAndShutter) {
  struct Case {
    std::string name;
    double popup;
    bool comp_blur;
    bool layer_blur;
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
    Composition comp = moving_sphere();
    comp.motion_blur = c.comp_blur;
    comp.shutter_angle = c.comp_shutter;
    comp.layers[0].motion_blur = c.layer_blur;
    e2e_scene::effect_of(comp).params["Motion Blur"] = Animated<double>(c.popup);
    SceneHost scene(comp);
    scene.host.settings().current_time = kFrameTen;
    const std::vector<Operation> draws = e2e_scene::of_kind(scene.render(), Operation::Kind::draw);
    ASSERT_EQ(draws.size(), c.offsets.size()) << c.name;
    for (std::size_t k = 0; k < draws.size(); ++k) {
      EXPECT_EQ(draws[k].time, kFrameTen + c.offsets[k]) << c.name << ", sample " << k;
      EXPECT_FLOAT_EQ(draws[k].value, 1.0f / static_cast<float>(k + 1)) << c.name;
    }
  }
}

TEST(E2eSceneFrame, MultisamplingChoiceSetsTheGpuSampleCount) {
  struct Case {
    std::string name;
    std::optional<double> choice;
    unsigned int samples;
  };
  for (const Case& c : {Case{"\"0\"", 1.0, 0}, Case{"\"16\"", 5.0, 16}, Case{"default", {}, 8}}) {
    Composition comp = e2e_scene::sphere_composition();
    if (c.choice) {
      e2e_scene::effect_of(comp).params["Multisampling"] = Animated<double>(*c.choice);
    }
    SceneHost scene(comp);
    const Operation output = e2e_scene::only(scene.render(), Operation::Kind::set_output);
    EXPECT_EQ(output.sample_count, c.samples) << c.name;
  }
}

TEST(E2eSceneFrame, OutputDescriptionReachesTheRendererAsTheHostGaveIt) {
  SceneHost scene;
  scene.host.settings().downsample_x = scene.host.settings().downsample_y = {1, 2};
  scene.host.settings().bits_per_channel = 16;
  scene.host.settings().output_rect = PF_LRect{100, 50, 500, 300};
  const Operation output = e2e_scene::only(scene.render(), Operation::Kind::set_output);
  const lunaform::host::PixelWorld* world = scene.host.output_world();
  ASSERT_NE(world, nullptr);
  EXPECT_EQ(output.output.output_image.data, world->world().data);
  EXPECT_EQ(output.output.output_image.width, 400);
  EXPECT_EQ(output.output.output_image.height, 250);
  EXPECT_EQ(output.output.output_image.row_bytes, world->world().rowbytes);
  EXPECT_EQ(output.output.output_image.bytes_per_channel, 2u);
  EXPECT_EQ(output.output.output_origin_x, 100);
  EXPECT_EQ(output.output.output_origin_y, 50);
  EXPECT_EQ(output.output.render_width, 960);
  EXPECT_EQ(output.output.render_height, 540);
  EXPECT_FLOAT_EQ(output.output.inv_downsample_x, 2.0f);
}

TEST(E2eSceneFrame, OutputGammaIsTheInverseOfGamma) {
  Composition comp = e2e_scene::sphere_composition();
  e2e_scene::effect_of(comp).params["Gamma"] = Animated<double>(2.5);
  SceneHost scene(comp);
  EXPECT_FLOAT_EQ(e2e_scene::only(scene.render(), Operation::Kind::read_output).value, 0.4f);
}

TEST(E2eSceneFrame, UnusableGammaIsRefusedWithAMessageNamingIt) {
  Composition comp = e2e_scene::sphere_composition();
  e2e_scene::effect_of(comp).params["Gamma"] = Animated<double>(0.0);
  SceneHost scene(comp);
  e2e_plugin::MessageBoxCapture popups;
  ASSERT_EQ(scene.host.smart_pre_render(), PF_Err_NONE);
  EXPECT_EQ(scene.host.smart_render(), PF_Err_INTERNAL_STRUCT_DAMAGED);
  ASSERT_EQ(popups.messages.size(), 1u);
  EXPECT_NE(popups.messages[0].second.find("\"Gamma\""), std::string::npos)
      << popups.messages[0].second;
  // The frame stopped before the output; nothing was left locked or acquired.
  EXPECT_TRUE(scene.plugin().frames.empty());
  EXPECT_EQ(scene.host.handles().lock_count(scene.host.sequence_data()), 0);
  EXPECT_TRUE(scene.host.suites().unreleased().empty());
}

TEST(E2eSceneFrame, TimingLinesReportTheStagesOfEveryFrame) {
  SceneHost scene;
  e2e_scene::DebugLines debug;
  scene.render();
  scene.render();
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
    const double loop = std::stod(lines[3 * frame + 1].substr(8));
    const double whole = std::stod(lines[3 * frame + 2].substr(13));
    EXPECT_LE(loop, whole);
  }
}

TEST(E2eSceneFrame, EverySuiteAcquiredForAFrameIsReleased) {
  SceneHost scene;
  scene.render();
  EXPECT_TRUE(scene.host.suites().unreleased().empty());
  EXPECT_EQ(scene.host.outstanding_param_checkouts(), 0);
}

// The module's plug-in object without a GPU side: global setup fails as it would on a machine
// whose OpenGL cannot be started.
class NoGpuPlugin : public AePluginConnection {
 public:
  NoGpuPlugin()
      : AePluginConnection([]() -> std::unique_ptr<RenderState> {
          throw std::runtime_error("failed to create OpenGL 4.1 context");
        }) {}
};

TEST(E2eSceneFrame, FrameWithoutRenderStateIsCancelledWith517) {
  e2e_plugin::MessageBoxCapture popups;
  lunaform::host::EffectHost host(&e2e_plugin::entry_for<NoGpuPlugin>);
  EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  ASSERT_EQ(host.smart_pre_render(), PF_Err_NONE);
  e2e_scene::DebugLines debug;
  EXPECT_EQ(host.smart_render(), PF_Interrupt_CANCEL);
  EXPECT_TRUE(debug.take().empty());
  EXPECT_TRUE(host.suites().unreleased().empty());
  EXPECT_EQ(host.outstanding_param_checkouts(), 0);
}

TEST(E2eSceneFrame, ModuleFileRendersAFrameThroughItsRenderThread) {
  lunaform::host::EffectHost host(e2e_plugin::real_module_entry());
  {
    e2e_plugin::StderrCapture banner;
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  }
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  Composition comp = moving_sphere();
  lunaform::host::Layer map;
  map.name = "Map";
  map.content = lunaform::host::SolidLayer{{0.5, 0.5, 0.5, 1.0}, 16, 16};
  comp.layers.push_back(map);
  auto& params = e2e_scene::effect_of(comp).params;
  params["Motion Blur"] = Animated<double>(2.0);
  for (const char* layer : {"Diffuse Layer", "Bump Map Layer", "Environment Layer"}) {
    params[layer] = lunaform::host::LayerRef{"Map"};
  }
  host.set_composition(comp);
  host.settings().current_time = kFrameTen;
  for (int frame = 0; frame < 2; ++frame) {
    ASSERT_EQ(host.smart_pre_render(), PF_Err_NONE);
    EXPECT_EQ(host.smart_render(), PF_Err_NONE);
    EXPECT_EQ(host.in_data().current_time, kFrameTen);
    EXPECT_TRUE(host.problems().empty()) << host.problems().front();
    EXPECT_TRUE(host.suites().unreleased().empty());
  }
}

}  // namespace
