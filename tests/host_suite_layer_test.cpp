#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "AE_GeneralPlug.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "tests/host_suite_support.h"

namespace {

using host_test::AcquiredSuite;
using host_test::ScriptedEntry;
using lunaform::host::Animated;
using lunaform::host::CameraLayer;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::default_composition;
using lunaform::host::EffectHost;
using lunaform::host::Layer;
using lunaform::host::LightLayer;
using lunaform::host::LightType;
using lunaform::host::SolidLayer;
using lunaform::host::Vec3;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Layer light(std::string name, LightType type, Vec3 position, Vec3 point_of_interest) {
  Layer layer;
  layer.name = std::move(name);
  layer.transform.position = position;
  layer.transform.point_of_interest = Animated<Vec3>(point_of_interest);
  LightLayer content;
  content.type = type;
  layer.content = content;
  return layer;
}

// Effect layer, three lights, a camera and a solid, as the tests below describe them.
Composition lit_composition() {
  Composition comp = default_composition();
  comp.motion_blur = true;
  comp.layers[0].motion_blur = true;

  Layer key = light("Key", LightType::parallel, {100, 200, -300}, {100, 200, 700});
  auto& key_light = std::get<LightLayer>(key.content);
  key_light.intensity_percent = 200.0;
  key_light.color = Color{1, 0.5, 0.25, 0.1};
  comp.layers.push_back(key);

  Layer spot = light("Spot", LightType::spot, {10, 20, 30}, {10, 120, 30});  // looks down
  spot.in_point = 1.5;
  spot.duration = 2;
  auto& spot_light = std::get<LightLayer>(spot.content);
  spot_light.cone_angle_degrees = 90.0;
  spot_light.cone_feather_percent = 50.0;
  spot_light.falloff_distance = 250.0;
  comp.layers.push_back(spot);

  Layer off = light("Off", LightType::point, {0, 0, 0}, {0, 0, 1});
  off.video_on = false;
  comp.layers.push_back(off);

  Layer camera;
  camera.name = "Camera";
  camera.content = CameraLayer{800.0};
  comp.layers.push_back(camera);

  Layer solid;
  solid.name = "Grey";
  solid.content = SolidLayer{Color{0.5, 0.5, 0.5, 1}, 64, 64};
  comp.layers.push_back(solid);
  return comp;
}

// What the host tells about one layer.
struct LayerFacts {
  AEGP_ObjectType type = -5;
  A_Time in_point{};
  A_Time duration{};
  A_Boolean video_on = 7;
  AEGP_LayerFlags flags = -1;
};

class HostSuiteLayer : public testing::Test {
 protected:
  void SetUp() override { host_.set_composition(lit_composition()); }

  // Runs `body` inside a render command with the suites a module's light reading acquires and
  // the layers of the effect's composition.
  template <typename Body>
  void with_layers(Body body) {
    host_.run_inside_command(PF_Cmd_SMART_RENDER, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
      AcquiredSuite<AEGP_PFInterfaceSuite1> pf(in, kAEGPPFInterfaceSuite,
                                               kAEGPPFInterfaceSuiteVersion1);
      AcquiredSuite<AEGP_LayerSuite5> layers(in, kAEGPLayerSuite, kAEGPLayerSuiteVersion5);
      AEGP_LayerH effect_layer = nullptr;
      AEGP_CompH comp = nullptr;
      A_long count = -1;
      ASSERT_EQ(pf->AEGP_GetEffectLayer(in.effect_ref, &effect_layer), A_Err_NONE);
      ASSERT_EQ(layers->AEGP_GetLayerParentComp(effect_layer, &comp), A_Err_NONE);
      ASSERT_EQ(layers->AEGP_GetCompNumLayers(comp, &count), A_Err_NONE);
      std::vector<AEGP_LayerH> handles(static_cast<size_t>(count));
      for (A_long i = 0; i < count; ++i) {
        ASSERT_EQ(layers->AEGP_GetCompLayerByIndex(comp, i, &handles[i]), A_Err_NONE);
      }
      EXPECT_EQ(handles[0], effect_layer);
      body(in, *layers.get(), comp, handles);
    });
  }

  ScriptedEntry script_{nullptr};
  EffectHost host_{&ScriptedEntry::entry};
};

TEST_F(HostSuiteLayer, WalksTheLayersWithTheirKindsSwitchesAndTimesInCompositionTime) {
  std::vector<LayerFacts> facts;
  with_layers([&](PF_InData&, const AEGP_LayerSuite5& layers, AEGP_CompH,
                  const std::vector<AEGP_LayerH>& handles) {
    for (AEGP_LayerH layer : handles) {
      LayerFacts& f = facts.emplace_back();
      EXPECT_EQ(layers.AEGP_GetLayerObjectType(layer, &f.type), A_Err_NONE);
      EXPECT_EQ(layers.AEGP_GetLayerInPoint(layer, AEGP_LTimeMode_CompTime, &f.in_point),
                A_Err_NONE);
      EXPECT_EQ(layers.AEGP_GetLayerDuration(layer, AEGP_LTimeMode_CompTime, &f.duration),
                A_Err_NONE);
      EXPECT_EQ(layers.AEGP_IsLayerVideoReallyOn(layer, &f.video_on), A_Err_NONE);
      EXPECT_EQ(layers.AEGP_GetLayerFlags(layer, &f.flags), A_Err_NONE);
    }
  });
  ASSERT_EQ(facts.size(), 6u);
  const AEGP_ObjectType types[] = {0, 1, 1, 1, 2, 0};
  for (size_t i = 0; i < facts.size(); ++i) {
    EXPECT_EQ(facts[i].type, types[i]) << "layer " << i;
  }
  // 30 fps gives the effect 3600 time units per second.
  EXPECT_EQ(facts[2].in_point.value, 5400);  // 1.5 s
  EXPECT_EQ(facts[2].in_point.scale, 3600u);
  EXPECT_EQ(facts[2].duration.value, 7200);  // 2 s
  EXPECT_EQ(facts[1].in_point.value, 0);
  EXPECT_EQ(facts[1].duration.value, 36000);  // to the composition's end, 10 s
  EXPECT_EQ(facts[3].video_on, 0);
  EXPECT_EQ(facts[1].video_on, 1);
  EXPECT_EQ(facts[0].flags, AEGP_LayerFlag_VIDEO_ACTIVE | AEGP_LayerFlag_MOTION_BLUR);
  EXPECT_EQ(facts[1].flags, AEGP_LayerFlag_VIDEO_ACTIVE);
  EXPECT_EQ(facts[3].flags, 0);
  EXPECT_THAT(host_.problems(), IsEmpty());
  EXPECT_THAT(host_.suites().unreleased(), IsEmpty());
}

TEST_F(HostSuiteLayer, InPointsComeInTheTimeScaleOfTheRunningCommand) {
  host_.settings().time_scale = 90;
  A_Time in_point{};
  with_layers([&](PF_InData&, const AEGP_LayerSuite5& layers, AEGP_CompH,
                  const std::vector<AEGP_LayerH>& handles) {
    EXPECT_EQ(layers.AEGP_GetLayerInPoint(handles[2], AEGP_LTimeMode_CompTime, &in_point),
              A_Err_NONE);
  });
  EXPECT_EQ(in_point.value, 135);
  EXPECT_EQ(in_point.scale, 90u);
}

TEST_F(HostSuiteLayer, LightsReportTypeTransformAndStreams) {
  std::vector<AEGP_LightType> types;
  A_Matrix4 spot_xform{};
  std::vector<double> one_d;
  AEGP_StreamVal color{};
  AEGP_StreamType color_type = -1;
  with_layers([&](PF_InData& in, const AEGP_LayerSuite5& layers, AEGP_CompH,
                  const std::vector<AEGP_LayerH>& handles) {
    AcquiredSuite<AEGP_LightSuite2> lights(in, kAEGPLightSuite, kAEGPLightSuiteVersion2);
    AcquiredSuite<AEGP_StreamSuite2> streams(in, kAEGPStreamSuite, kAEGPStreamSuiteVersion2);
    for (size_t i = 1; i <= 3; ++i) {
      EXPECT_EQ(lights->AEGP_GetLightType(handles[i], &types.emplace_back()), A_Err_NONE);
    }
    const A_Time time{0, in.time_scale};
    EXPECT_EQ(layers.AEGP_GetLayerToWorldXform(handles[2], &time, &spot_xform), A_Err_NONE);
    auto read = [&](AEGP_LayerH layer, AEGP_LayerStream which) {
      AEGP_StreamVal val{};
      EXPECT_EQ(streams->AEGP_GetLayerStreamValue(layer, which, AEGP_LTimeMode_CompTime, &time,
                                                  false, &val, nullptr),
                A_Err_NONE)
          << which;
      one_d.push_back(val.one_d);
    };
    read(handles[1], AEGP_LayerStream_INTENSITY);
    read(handles[2], AEGP_LayerStream_CONE_ANGLE);
    read(handles[2], AEGP_LayerStream_CONE_FEATHER);
    read(handles[2], AEGP_LayerStream_LIGHT_FALLOFF_DISTANCE);
    EXPECT_EQ(streams->AEGP_GetLayerStreamValue(handles[1], AEGP_LayerStream_COLOR,
                                                AEGP_LTimeMode_CompTime, &time, false, &color,
                                                &color_type),
              A_Err_NONE);
  });
  EXPECT_THAT(types, ElementsAre(0u, 1u, 2u));
  // The spot at (10, 20, 30) looks straight down at (10, 120, 30): local z = (0, 1, 0), x stays
  // (1, 0, 0), y = z × x = (0, 0, −1).
  const double expected[4][4] = {{1, 0, 0, 0}, {0, 0, -1, 0}, {0, 1, 0, 0}, {10, 20, 30, 1}};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      EXPECT_NEAR(spot_xform.mat[r][c], expected[r][c], 1e-12) << r << "," << c;
    }
  }
  EXPECT_THAT(one_d, ElementsAre(200.0, 90.0, 50.0, 250.0));
  EXPECT_EQ(color_type, AEGP_StreamType_COLOR);
  EXPECT_EQ(color.color.alphaF, 1.0);  // the light's colour has no alpha of its own
  EXPECT_EQ(color.color.redF, 1.0);
  EXPECT_EQ(color.color.greenF, 0.5);
  EXPECT_EQ(color.color.blueF, 0.25);
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(HostSuiteLayer, CompositionFlagsAndShutterAreReportedAsFractionsOfAFrame) {
  struct Case {
    double angle;
    double phase;
    A_Ratio expected_angle;
    A_Ratio expected_phase;
  };
  const Case cases[] = {{180, -90, {1, 2}, {-1, 4}},
                        {90, 0, {1, 4}, {0, 1}},
                        {172.8, 45, {12, 25}, {1, 8}},
                        {720, 0, {2, 1}, {0, 1}}};
  for (const Case& c : cases) {
    Composition comp = lit_composition();
    comp.shutter_angle = c.angle;
    comp.shutter_phase = c.phase;
    comp.motion_blur = c.angle != 90;
    host_.set_composition(comp);
    A_Ratio angle{};
    A_Ratio phase{};
    AEGP_CompFlags flags = -1;
    with_layers([&](PF_InData& in, const AEGP_LayerSuite5&, AEGP_CompH comp_handle,
                    const std::vector<AEGP_LayerH>&) {
      AcquiredSuite<AEGP_CompSuite5> comps(in, kAEGPCompSuite, kAEGPCompSuiteVersion5);
      EXPECT_EQ(comps->AEGP_GetCompFlags(comp_handle, &flags), A_Err_NONE);
      EXPECT_EQ(comps->AEGP_GetCompShutterAnglePhase(comp_handle, &angle, &phase), A_Err_NONE);
    });
    EXPECT_EQ(flags, c.angle != 90 ? AEGP_CompFlag_ENABLE_MOTION_BLUR : 0) << c.angle;
    EXPECT_EQ(angle.num, c.expected_angle.num) << c.angle;
    EXPECT_EQ(angle.den, c.expected_angle.den) << c.angle;
    EXPECT_EQ(phase.num, c.expected_phase.num) << c.phase;
    EXPECT_EQ(phase.den, c.expected_phase.den) << c.phase;
  }
}

TEST_F(HostSuiteLayer, BadHandlesAndRequestsAreRefusedAndReported) {
  std::vector<A_Err> results;
  with_layers([&](PF_InData& in, const AEGP_LayerSuite5& layers, AEGP_CompH comp,
                  const std::vector<AEGP_LayerH>& handles) {
    AcquiredSuite<AEGP_StreamSuite2> streams(in, kAEGPStreamSuite, kAEGPStreamSuiteVersion2);
    AcquiredSuite<AEGP_LightSuite2> lights(in, kAEGPLightSuite, kAEGPLightSuiteVersion2);
    int not_a_handle = 0;
    AEGP_LayerH layer = nullptr;
    AEGP_ObjectType type = 0;
    AEGP_LightType light_type = 0;
    AEGP_StreamVal val{};
    const A_Time time{0, in.time_scale};
    results.push_back(layers.AEGP_GetCompLayerByIndex(comp, 6, &layer));
    results.push_back(
        layers.AEGP_GetLayerObjectType(reinterpret_cast<AEGP_LayerH>(&not_a_handle), &type));
    results.push_back(lights->AEGP_GetLightType(handles[5], &light_type));
    results.push_back(
        streams->AEGP_GetLayerStreamValue(handles[1], AEGP_LayerStream_SHADOW_DARKNESS,
                                          AEGP_LTimeMode_CompTime, &time, false, &val, nullptr));
    results.push_back(streams->AEGP_GetLayerStreamValue(handles[5], AEGP_LayerStream_INTENSITY,
                                                        AEGP_LTimeMode_CompTime, &time, false, &val,
                                                        nullptr));
    results.push_back(layers.AEGP_GetActiveLayer(&layer));
  });
  for (A_Err result : results) {
    EXPECT_NE(result, A_Err_NONE);
  }
  ASSERT_EQ(host_.problems().size(), results.size());
  EXPECT_THAT(host_.problems()[0], HasSubstr("AEGP_GetCompLayerByIndex: layer index 6 of 6"));
  EXPECT_THAT(host_.problems()[1], HasSubstr("unknown layer handle"));
  EXPECT_THAT(host_.problems()[2], HasSubstr("not a light"));
  EXPECT_THAT(host_.problems()[3], HasSubstr("stream 20"));
  EXPECT_THAT(host_.problems()[5], HasSubstr("AEGP_GetActiveLayer is not implemented"));
}

}  // namespace
