#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "AE_EffectSuites.h"
#include "AE_GeneralPlug.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "host/host_error.h"
#include "tests/host_suite_support.h"

// The composition as a module sees it: parameter values checked out at a time, and the AEGP
// and PF suites that report layers, lights, the camera, streams and state stamps.
namespace {

namespace lh = lunaform::host;
using host_test::AcquiredSuite;
using host_test::in_render;
using host_test::nums;
using host_test::param_def;
using lh::Animated;
using lh::Layer;
using lh::LayerRef;
using lh::Vec3;
using testing::ElementsAre;
using testing::IsEmpty;

enum Index : PF_ParamIndex { kRadius = 1, kPosition, kColor, kAngle, kPopup, kCheckbox, kMap };
enum MoreIndex : PF_ParamIndex { kOtherMap = 8, kDefaultPosition };

std::vector<PF_ParamDef> effect_params() {
  std::vector<PF_ParamDef> defs;
  const PF_ParamType types[] = {PF_Param_FLOAT_SLIDER, PF_Param_POINT_3D, PF_Param_COLOR,
                                PF_Param_ANGLE,        PF_Param_POPUP,    PF_Param_CHECKBOX,
                                PF_Param_LAYER,        PF_Param_LAYER,    PF_Param_POINT_3D};
  const char* names[] = {"Radius",        "Position",    "Color",
                         "Rotation X",    "Motion Blur", "Unlit Only",
                         "Diffuse Layer", "Gloss Layer", "Default Position"};
  for (A_long i = 0; i < 9; ++i) {
    defs.push_back(param_def(types[i], i + 1, names[i]));
  }
  for (PF_ParamDef* def : {&defs[kPosition - 1], &defs[kDefaultPosition - 1]}) {
    def->u.point3d_d.x_value = def->u.point3d_d.x_dephault = 50;
    def->u.point3d_d.y_value = def->u.point3d_d.y_dephault = 25;
    def->u.point3d_d.z_value = def->u.point3d_d.z_dephault = 40;
  }
  defs[kPopup - 1].u.pd.num_choices = 3;
  defs[kPopup - 1].u.pd.u.namesptr = "Comp Settings|On|Off";
  return defs;
}

std::shared_ptr<const lh::Image> picture(float first_red) {
  auto image = std::make_shared<lh::Image>();
  image->width = 2;
  image->height = 2;
  image->rgba = {first_red, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 1, 1, 1, 1};
  return image;
}

Layer light(std::string name, lh::LightType type, Vec3 position, Vec3 point_of_interest) {
  Layer layer{.name = std::move(name), .content = lh::LightLayer{.type = type}};
  layer.transform.position = position;
  layer.transform.point_of_interest = Animated<Vec3>(point_of_interest);
  return layer;
}

// The effect layer (with motion blur) and its values, a 2 x 2 footage layer "Photo", a
// 101 x 51 solid "Grey", a parallel light "Key", a spot "Spot" from 1.5 s for 2 s, and a point
// light "Off" that is switched off.
lh::Composition scene() {
  lh::Composition comp = lh::default_composition();
  comp.motion_blur = comp.layers[0].motion_blur = true;
  comp.layers.push_back(
      Layer{.name = "Photo", .content = lh::FootageLayer{"a.exr", picture(0.25f)}});
  comp.layers.push_back(
      Layer{.name = "Grey", .content = lh::SolidLayer{{0.5, 0.25, 1, 1}, 101, 51}});
  comp.layers.push_back(light("Key", lh::LightType::parallel, {100, 200, -300}, {100, 200, 700}));
  std::get<lh::LightLayer>(comp.layers.back().content).intensity_percent = 200.0;
  std::get<lh::LightLayer>(comp.layers.back().content).color = lh::Color{1, 0.5, 0.25, 0.1};
  comp.layers.push_back(light("Spot", lh::LightType::spot, {10, 20, 30}, {10, 120, 30}));  // down
  comp.layers.back().in_point = 1.5;
  comp.layers.back().duration = 2;
  auto& spot = std::get<lh::LightLayer>(comp.layers.back().content);
  spot.cone_angle_degrees = 80.0;  // the defaults are 90, 50 and 500
  spot.cone_feather_percent = 40.0;
  spot.falloff_distance = 250.0;
  comp.layers.push_back(light("Off", lh::LightType::point, {0, 0, 0}, {0, 0, 1}));
  comp.layers.back().video_on = false;

  auto& params = std::get<lh::EffectLayer>(comp.layers[0].content).params;
  Animated<double> radius;
  radius.set_key(1, 100.0);
  radius.set_key(2, 200.0);
  params = {{"Radius", radius},
            {"Position", Animated<Vec3>(Vec3{400, 300, -20})},
            {"Color", Animated<lh::Color>(lh::Color{1, 0.5, 0, 0.25})},
            {"Rotation X", Animated<double>(90.5)},
            {"Motion Blur", Animated<double>(2.0)},
            {"Unlit Only", Animated<double>(1.0)},
            {"Diffuse Layer", LayerRef{"Grey"}}};
  return comp;
}

class HostSuites : public testing::Test {
 protected:
  void SetUp() override {
    host_.set_composition(scene());
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  }

  std::map<std::string, lh::ParamValue>& params() {
    return std::get<lh::EffectLayer>(host_.composition().layers[0].content).params;
  }

  // Checks parameter `index` out at `time` (in-data units) inside a render command.
  PF_ParamDef checkout(PF_ParamIndex index, A_long time = 0) {
    PF_ParamDef def{};
    in_render(host_, [&](PF_InData& in) {
      EXPECT_EQ(
          in.inter.checkout_param(in.effect_ref, index, time, in.time_step, in.time_scale, &def),
          PF_Err_NONE);
      EXPECT_EQ(in.inter.checkin_param(in.effect_ref, &def), PF_Err_NONE);
    });
    return def;
  }

  // Runs `body` in a render command with the layer suite and the handles of every layer of the
  // effect's composition, found the way a module's light reading finds them.
  void with_layers(const std::function<void(PF_InData&, const AEGP_LayerSuite5&, AEGP_CompH,
                                            const std::vector<AEGP_LayerH>&)>& body) {
    in_render(host_, [&](PF_InData& in) {
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

  host_test::ParamsModule module_{effect_params()};
  lh::EffectHost host_{host_test::ParamsModule::entry};
};

TEST_F(HostSuites, ParametersCheckOutAsTheCompositionSaysAtTheAskedTime) {
  // 30 fps: 3600 units per second. Radius runs from 100 at 1 s to 200 at 2 s.
  EXPECT_DOUBLE_EQ(checkout(kRadius, 0).u.fs_d.value, 100.0);
  EXPECT_DOUBLE_EQ(checkout(kRadius, 4500).u.fs_d.value, 125.0);
  EXPECT_DOUBLE_EQ(checkout(kRadius, 4500 + 1).u.fs_d.value, 125.0 + 100.0 / 3600);
  EXPECT_DOUBLE_EQ(checkout(kRadius, 9000).u.fs_d.value, 200.0);
  const PF_Pixel color = checkout(kColor).u.cd.value;
  // round(0.25 × 255), 255, round(127.5), 0
  EXPECT_THAT(nums(color.alpha, color.red, color.green, color.blue), ElementsAre(64, 255, 128, 0));
  EXPECT_EQ(checkout(kAngle).u.ad.value, 5931008);  // 90.5 × 65536
  EXPECT_EQ(checkout(kPopup).u.pd.value, 2);
  EXPECT_EQ(checkout(kCheckbox).u.bd.value, 1);
  // A command's parameter array holds the values at its time.
  host_.settings().current_time = 5400;  // 1.5 s
  host_.run_inside_command(PF_Cmd_SMART_RENDER, [&](PF_InData&, PF_OutData&, PF_ParamList list) {
    EXPECT_DOUBLE_EQ(list[kRadius]->u.fs_d.value, 150.0);
  });
  EXPECT_THAT(host_.problems(), IsEmpty());
  EXPECT_EQ(host_.outstanding_param_checkouts(), 0);
}

TEST_F(HostSuites, PointsAndLayersArriveInDownsampledLayerPixels) {
  struct Case {
    PF_RationalScale x, y;
    Vec3 position;          // "Position": set in pixels
    Vec3 default_position;  // "Default Position": 50 %, 25 % of 1920 x 1080, z 40
  };
  const Case cases[] = {
      {{1, 1}, {1, 1}, {400, 300, -20}, {960, 270, 40}},
      {{1, 2}, {1, 2}, {200, 150, -10}, {480, 135, 20}},
      {{1, 2}, {1, 4}, {200, 75, -10}, {480, 67.5, 20}},
  };
  for (const Case& c : cases) {
    host_.settings().downsample_x = c.x;
    host_.settings().downsample_y = c.y;
    const PF_Point3DDef set = checkout(kPosition).u.point3d_d;
    EXPECT_THAT(nums(set.x_value, set.y_value, set.z_value),
                ElementsAre(c.position.x, c.position.y, c.position.z));
    const PF_Point3DDef dflt = checkout(kDefaultPosition).u.point3d_d;
    EXPECT_THAT(nums(dflt.x_value, dflt.y_value, dflt.z_value),
                ElementsAre(c.default_position.x, c.default_position.y, c.default_position.z));
  }
  // A map gives its layer's size, ceil(101 / 2) x ceil(51 / 4), and no pixels; an empty one 0 x 0.
  const PF_LayerDef map = checkout(kMap).u.ld;
  EXPECT_THAT(nums(map.width, map.height), ElementsAre(51, 13));
  EXPECT_EQ(map.data, nullptr);
  EXPECT_THAT(nums(checkout(kOtherMap).u.ld.width, checkout(kOtherMap).u.ld.height),
              ElementsAre(0, 0));
  EXPECT_THAT(host_.problems(), IsEmpty());
}

// What AEGP_GetEffectCamera and AEGP_GetEffectCameraMatrix answer at the in-data time moved by
// `offset`, as a module asks for its motion-blur samples.
struct CameraAnswer {
  AEGP_LayerH camera = nullptr;
  A_Matrix4 matrix{};
  A_FpLong distance = 0;
  A_short width = 0;
  A_short height = 0;
  AEGP_CameraType type = 99;
};

CameraAnswer ask_camera(lh::EffectHost& host, A_long offset = 0) {
  CameraAnswer answer;
  in_render(host, [&](PF_InData& in) {
    AcquiredSuite<AEGP_PFInterfaceSuite1> pf(in, kAEGPPFInterfaceSuite,
                                             kAEGPPFInterfaceSuiteVersion1);
    A_Time time{};
    EXPECT_EQ(pf->AEGP_ConvertEffectToCompTime(in.effect_ref, in.current_time + offset,
                                               in.time_scale, &time),
              A_Err_NONE);
    answer.camera = reinterpret_cast<AEGP_LayerH>(&answer);  // must be overwritten
    EXPECT_EQ(pf->AEGP_GetEffectCamera(in.effect_ref, &time, &answer.camera), A_Err_NONE);
    EXPECT_EQ(pf->AEGP_GetEffectCameraMatrix(in.effect_ref, &time, &answer.matrix, &answer.distance,
                                             &answer.width, &answer.height),
              A_Err_NONE);
    if (answer.camera != nullptr) {
      AcquiredSuite<AEGP_CameraSuite2> cameras(in, kAEGPCameraSuite, kAEGPCameraSuiteVersion2);
      EXPECT_EQ(cameras->AEGP_GetCameraType(answer.camera, &answer.type), A_Err_NONE);
    }
  });
  return answer;
}

void expect_matrix(const A_Matrix4& actual, const std::vector<double>& rows) {
  for (int i = 0; i < 16; ++i) {
    EXPECT_NEAR(actual.mat[i / 4][i % 4], rows[i], 1e-9) << "element " << i / 4 << "," << i % 4;
  }
}

TEST_F(HostSuites, TheCameraMatrixIsTheDefaultCameraOrTheCameraLayersAtTheAskedTime) {
  CameraAnswer answer = ask_camera(host_);
  EXPECT_EQ(answer.camera, nullptr);
  EXPECT_NEAR(answer.distance, 1920 * 50.0 / 36.0, 0.5);  // a 50 mm lens
  expect_matrix(answer.matrix, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 960, 540, -answer.distance, 1});
  EXPECT_THAT(nums(answer.width, answer.height), ElementsAre(1920, 1080));

  // Turned 45 degrees toward +x, level: x = (√½, 0, −√½), y = (0, 1, 0), z = (√½, 0, √½).
  lh::Composition comp = scene();
  Layer camera{.name = "Camera", .content = lh::CameraLayer{1200.0}};
  camera.transform.position = Vec3{960, 540, -1000};
  camera.transform.point_of_interest = Animated<Vec3>(Vec3{1960, 540, 0});
  comp.layers.push_back(camera);
  host_.set_composition(comp);
  answer = ask_camera(host_);
  ASSERT_NE(answer.camera, nullptr);
  EXPECT_EQ(answer.type, AEGP_CameraType_PERSPECTIVE);
  EXPECT_EQ(answer.distance, 1200);
  const double h = std::sqrt(0.5);
  expect_matrix(answer.matrix, {h, 0, -h, 0, 0, 1, 0, 0, h, 0, h, 0, 960, 540, -1000, 1});

  // Moving along x by 360 pixels a second, seen a quarter frame after frame 1 (30 fps: 3600
  // units a second, 120 a frame).
  Animated<Vec3> path;
  path.set_key(0, Vec3{0, 0, -1000});
  path.set_key(1, Vec3{360, 0, -1000});
  comp.layers.back().transform.position = path;
  std::get<lh::CameraLayer>(comp.layers.back().content).projection = lh::Projection::orthographic;
  host_.set_composition(comp);
  host_.settings().current_time = 120;
  answer = ask_camera(host_, 30);
  EXPECT_EQ(answer.type, 1u) << "orthographic";
  EXPECT_NEAR(answer.matrix.mat[3][0], 360.0 * 150 / 3600, 1e-9);
  ASSERT_EQ(host_.timed_calls().size(), 3u);
  EXPECT_EQ(host_.timed_calls()[2].function, "AEGP_GetEffectCameraMatrix");
  EXPECT_THAT(nums(host_.timed_calls()[2].time.value, host_.timed_calls()[2].time.scale),
              ElementsAre(150, 3600));
  EXPECT_THAT(host_.suites().unreleased(), IsEmpty());
}

TEST_F(HostSuites, LayersReportKindsSwitchesAndTimesInTheRunningCommandsScale) {
  struct Facts {
    AEGP_ObjectType type = -5;
    A_Time in_point{};
    A_Time duration{};
    A_Boolean video_on = 7;
    AEGP_LayerFlags flags = -1;
  };
  std::vector<Facts> facts;
  A_Ratio pixel_aspect{};
  host_.composition().pixel_aspect = {4, 3};
  host_.settings().time_scale = 90;  // times come in the running command's scale
  with_layers([&](PF_InData& in, const AEGP_LayerSuite5& layers, AEGP_CompH comp,
                  const std::vector<AEGP_LayerH>& handles) {
    for (AEGP_LayerH layer : handles) {
      Facts& f = facts.emplace_back();
      EXPECT_EQ(layers.AEGP_GetLayerObjectType(layer, &f.type), A_Err_NONE);
      EXPECT_EQ(layers.AEGP_GetLayerInPoint(layer, AEGP_LTimeMode_CompTime, &f.in_point),
                A_Err_NONE);
      EXPECT_EQ(layers.AEGP_GetLayerDuration(layer, AEGP_LTimeMode_CompTime, &f.duration),
                A_Err_NONE);
      EXPECT_EQ(layers.AEGP_IsLayerVideoReallyOn(layer, &f.video_on), A_Err_NONE);
      EXPECT_EQ(layers.AEGP_GetLayerFlags(layer, &f.flags), A_Err_NONE);
    }
    AcquiredSuite<AEGP_CompSuite5> comps(in, kAEGPCompSuite, kAEGPCompSuiteVersion5);
    AcquiredSuite<AEGP_ItemSuite6> items(in, kAEGPItemSuite, kAEGPItemSuiteVersion6);
    AEGP_ItemH item = nullptr;
    ASSERT_EQ(comps->AEGP_GetItemFromComp(comp, &item), A_Err_NONE);
    ASSERT_EQ(items->AEGP_GetItemPixelAspectRatio(item, &pixel_aspect), A_Err_NONE);
  });
  ASSERT_EQ(facts.size(), 6u);
  std::vector<double> types;
  for (const Facts& f : facts) {
    types.push_back(f.type);
  }
  EXPECT_THAT(types, ElementsAre(0, 0, 0, 1, 1, 1));
  // The spot runs from 1.5 s for 2 s; a layer without a duration runs to the end at 10 s.
  EXPECT_THAT(nums(facts[4].in_point.value, facts[4].in_point.scale, facts[4].duration.value),
              ElementsAre(135, 90, 180));
  EXPECT_THAT(nums(facts[3].in_point.value, facts[3].duration.value), ElementsAre(0, 900));
  EXPECT_THAT(nums(facts[3].video_on, facts[5].video_on), ElementsAre(1, 0));
  EXPECT_THAT(nums(facts[0].flags, facts[3].flags, facts[5].flags),
              ElementsAre(AEGP_LayerFlag_VIDEO_ACTIVE | AEGP_LayerFlag_MOTION_BLUR,
                          AEGP_LayerFlag_VIDEO_ACTIVE, 0));
  // The composition's own pixel aspect comes through its item; the effect layer keeps its own.
  EXPECT_THAT(nums(pixel_aspect.num, pixel_aspect.den), ElementsAre(4, 3));
  EXPECT_THAT(nums(host_.in_data().pixel_aspect_ratio.num, host_.in_data().pixel_aspect_ratio.den),
              ElementsAre(1, 1));

  EXPECT_THAT(host_.problems(), IsEmpty());
  EXPECT_THAT(host_.suites().unreleased(), IsEmpty());
}

TEST_F(HostSuites, LightsReportTypeTransformAndStreams) {
  std::vector<AEGP_LightType> types;
  A_Matrix4 spot_xform{};
  std::vector<double> one_d;
  AEGP_StreamVal color{};
  AEGP_StreamType color_type = -1;
  with_layers([&](PF_InData& in, const AEGP_LayerSuite5& layers, AEGP_CompH,
                  const std::vector<AEGP_LayerH>& handles) {
    AcquiredSuite<AEGP_LightSuite2> lights(in, kAEGPLightSuite, kAEGPLightSuiteVersion2);
    AcquiredSuite<AEGP_StreamSuite2> streams(in, kAEGPStreamSuite, kAEGPStreamSuiteVersion2);
    for (size_t i = 3; i <= 5; ++i) {
      EXPECT_EQ(lights->AEGP_GetLightType(handles[i], &types.emplace_back()), A_Err_NONE);
    }
    const A_Time time{0, in.time_scale};
    EXPECT_EQ(layers.AEGP_GetLayerToWorldXform(handles[4], &time, &spot_xform), A_Err_NONE);
    const auto read = [&](AEGP_LayerH layer, AEGP_LayerStream which) {
      AEGP_StreamVal val{};
      EXPECT_EQ(streams->AEGP_GetLayerStreamValue(layer, which, AEGP_LTimeMode_CompTime, &time,
                                                  false, &val, nullptr),
                A_Err_NONE)
          << which;
      one_d.push_back(val.one_d);
    };
    read(handles[3], AEGP_LayerStream_INTENSITY);
    read(handles[4], AEGP_LayerStream_CONE_ANGLE);
    read(handles[4], AEGP_LayerStream_CONE_FEATHER);
    read(handles[4], AEGP_LayerStream_LIGHT_FALLOFF_DISTANCE);
    EXPECT_EQ(streams->AEGP_GetLayerStreamValue(handles[3], AEGP_LayerStream_COLOR,
                                                AEGP_LTimeMode_CompTime, &time, false, &color,
                                                &color_type),
              A_Err_NONE);
  });
  EXPECT_THAT(types, ElementsAre(0u, 1u, 2u));
  // The spot at (10, 20, 30) looks straight down at (10, 120, 30): local z = (0, 1, 0), x stays
  // (1, 0, 0), y = z × x = (0, 0, −1).
  expect_matrix(spot_xform, {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 10, 20, 30, 1});
  EXPECT_THAT(one_d, ElementsAre(200.0, 80.0, 40.0, 250.0));
  EXPECT_EQ(color_type, AEGP_StreamType_COLOR);
  // The light's colour has no alpha of its own.
  EXPECT_THAT(nums(color.color.alphaF, color.color.redF, color.color.greenF, color.color.blueF),
              ElementsAre(1.0, 1.0, 0.5, 0.25));
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(HostSuites, CompositionFlagsAndShutterAreReportedAsFractionsOfAFrame) {
  struct Case {
    double angle;
    double phase;
    std::vector<double> expected;  // angle and phase as num / den
  };
  const Case cases[] = {{180, -90, {1, 2, -1, 4}},
                        {90, 0, {1, 4, 0, 1}},
                        {172.8, 45, {12, 25, 1, 8}},
                        {720, 0, {2, 1, 0, 1}}};
  for (const Case& c : cases) {
    host_.composition().shutter_angle = c.angle;
    host_.composition().shutter_phase = c.phase;
    host_.composition().motion_blur = c.angle != 90;
    A_Ratio angle{};
    A_Ratio phase{};
    AEGP_CompFlags flags = -1;
    with_layers([&](PF_InData& in, const AEGP_LayerSuite5&, AEGP_CompH comp,
                    const std::vector<AEGP_LayerH>&) {
      AcquiredSuite<AEGP_CompSuite5> comps(in, kAEGPCompSuite, kAEGPCompSuiteVersion5);
      EXPECT_EQ(comps->AEGP_GetCompFlags(comp, &flags), A_Err_NONE);
      EXPECT_EQ(comps->AEGP_GetCompShutterAnglePhase(comp, &angle, &phase), A_Err_NONE);
    });
    EXPECT_EQ(flags, c.angle != 90 ? AEGP_CompFlag_ENABLE_MOTION_BLUR : 0) << c.angle;
    EXPECT_EQ(nums(angle.num, angle.den, phase.num, phase.den), c.expected) << c.angle;
  }
}

// The state stamp of parameter `index` at `time` (in-data units), asked the way the texture
// loader asks (start at that time, duration 0), and compared through the suite.
class HostSuiteStamps : public HostSuites {
 protected:
  PF_State state(PF_ParamIndex index, A_long time = 0) {
    PF_State stamp{};
    in_render(host_, [&](PF_InData& in) {
      AcquiredSuite<PF_ParamUtilsSuite3> utils(in, kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3);
      const A_Time start{time, in.time_scale};
      const A_Time duration{0, in.time_scale};
      EXPECT_EQ(utils->PF_GetCurrentState(in.effect_ref, index, &start, &duration, &stamp),
                PF_Err_NONE);
    });
    return stamp;
  }

  bool identical(const PF_State& first, const PF_State& second) {
    A_Boolean same = 7;
    in_render(host_, [&](PF_InData& in) {
      AcquiredSuite<PF_ParamUtilsSuite3> utils(in, kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3);
      EXPECT_EQ(utils->PF_AreStatesIdentical(in.effect_ref, &first, &second, &same), PF_Err_NONE);
    });
    EXPECT_TRUE(same == 0 || same == 1);
    return same == 1;
  }
};

TEST_F(HostSuiteStamps, ALayerParametersStampChangesWithTheChosenLayersPixelsAndSize) {
  params()["Diffuse Layer"] = LayerRef{"Photo"};
  const PF_State first = state(kMap);
  EXPECT_TRUE(identical(first, state(kMap, 3600))) << "a still image at another time";
  auto& photo = std::get<lh::FootageLayer>(host_.composition().layers[1].content);
  photo.image = picture(0.25f);
  EXPECT_TRUE(identical(first, state(kMap))) << "a new picture with the same pixels";
  photo.image = picture(0.26f);
  const PF_State changed_pixel = state(kMap);
  EXPECT_FALSE(identical(first, changed_pixel)) << "one pixel changed";
  auto wider = std::make_shared<lh::Image>(*picture(0.26f));
  wider->width = 4;
  wider->height = 1;
  photo.image = wider;  // the same 16 floats read as 4 x 1
  EXPECT_FALSE(identical(changed_pixel, state(kMap))) << "size changed";

  params()["Diffuse Layer"] = LayerRef{"Grey"};
  const PF_State grey = state(kMap);
  EXPECT_FALSE(identical(changed_pixel, grey)) << "another layer chosen";
  auto& solid = std::get<lh::SolidLayer>(host_.composition().layers[2].content);
  solid.color.red = 0.75;
  EXPECT_FALSE(identical(grey, state(kMap))) << "the solid's colour changed";
  solid.color.red = 0.5;
  EXPECT_TRUE(identical(grey, state(kMap))) << "and back";
  solid.width = 102;
  EXPECT_FALSE(identical(grey, state(kMap))) << "the solid's size changed";
  EXPECT_FALSE(identical(state(kOtherMap), state(kMap))) << "another parameter, another stamp";
  EXPECT_THAT(host_.suites().unreleased(), IsEmpty());
}

TEST_F(HostSuiteStamps, AValueParametersStampChangesWithItsValueAtTheAskedTime) {
  // Radius: 100 until 1 s, 200 from 2 s.
  EXPECT_TRUE(identical(state(kRadius, 0), state(kRadius, 1800))) << "held before the first key";
  EXPECT_FALSE(identical(state(kRadius, 3600), state(kRadius, 5400))) << "between the keys";
  EXPECT_TRUE(identical(state(kRadius, 7200), state(kRadius, 9000))) << "held after the last key";
  const PF_State angle = state(kAngle);
  params()["Rotation X"] = Animated<double>(45.0);
  EXPECT_FALSE(identical(angle, state(kAngle))) << "value changed";
  EXPECT_THAT(host_.problems(), IsEmpty());
}

}  // namespace
