#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AE_GeneralPlug.h"
#include "SPBasic.h"
#include "host/camera_math.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "host/host_error.h"
#include "tests/host_suite_support.h"

// The composition model (keyframes, times, checks, layer axes) and the composition as a module
// sees it: parameter values checked out at a time and the camera the AEGP suites report.
namespace {

namespace lh = lunaform::host;
using host_test::in_render;
using host_test::nums;
using host_test::param_def;
using lh::Animated;
using lh::Layer;
using lh::LayerRef;
using lh::Vec3;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

MATCHER_P(Near, expected, "") {
  return std::abs(arg.x - expected.x) < 1e-9 && std::abs(arg.y - expected.y) < 1e-9 &&
         std::abs(arg.z - expected.z) < 1e-9;
}

TEST(Composition, KeysInterpolateLinearlyAndHoldOutsideAndTimesCount120UnitsAFrame) {
  Animated<double> value = 7.0;
  EXPECT_EQ(value.at(-3), 7.0);
  value.set_key(2.0, 30.0);  // keys given out of order
  value.set_key(1.0, 10.0);
  value.set_key(4.0, 0.0);
  std::vector<double> at;
  for (const double seconds : {-1.0, 1.0, 1.25, 1.5, 2.0, 3.0, 3.5, 4.0, 100.0}) {
    at.push_back(value.at(seconds));
  }
  EXPECT_THAT(at, ElementsAre(10, 10, 15, 20, 30, 15, 7.5, 0, 0));
  value.set_key(2.0, 50.0);  // a key at an existing time replaces it
  EXPECT_DOUBLE_EQ(value.at(1.5), 30.0);

  // Points and colours per component.
  Animated<Vec3> point;
  point.set_key(0, Vec3{0, 100, -50});
  point.set_key(2, Vec3{10, 0, 50});
  EXPECT_EQ(point.at(0.5), (Vec3{2.5, 75, -25}));
  Animated<lh::Color> color;
  color.set_key(10, lh::Color{1, 0, 0, 1});
  color.set_key(11, lh::Color{0, 0, 1, 0});
  EXPECT_EQ(color.at(10.25), (lh::Color{0.75, 0, 0.25, 0.75}));

  // Layers run to the composition's end; times count 120 units a frame.
  lh::Composition comp = lh::default_composition();  // 10 s
  Layer light{.name = "Light", .in_point = 2.5, .content = lh::LightLayer{}};
  EXPECT_DOUBLE_EQ(lh::layer_duration(comp, light), 7.5);
  light.duration = 1.25;
  EXPECT_DOUBLE_EQ(lh::layer_duration(comp, light), 1.25);
  comp.frame_rate = {30000, 1001};
  comp.duration = 2;
  const auto base = lh::time_base(comp);
  EXPECT_THAT(nums(base.time_scale, base.time_step, base.total_time),
              ElementsAre(3600000, 120120, 7200000));
}

TEST(CheckComposition, RefusesWhatTheHostCannotServeWithOneLineNamingTheProblem) {
  const auto image = std::make_shared<lh::Image>(lh::Image{2, 2, std::vector<float>(15)});
  const auto add = [](lh::Composition& c, std::string name, lh::LayerContent content) {
    c.layers.push_back(Layer{.name = std::move(name), .content = std::move(content)});
  };
  const lh::SolidLayer solid{.width = 4, .height = 4};
  const lh::SolidLayer negative{.width = -1, .height = 4};
  const lh::FootageLayer footage{"photo.png", image};
  const auto map = [](lh::Composition& c, std::string layer) {
    std::get<lh::EffectLayer>(c.layers[0].content).params["Diffuse Layer"] = LayerRef{layer};
  };
  const std::vector<std::pair<std::function<void(lh::Composition&)>, std::string>> cases = {
      {[](lh::Composition& c) { c.width = 0; }, "composition size 0 x 1080"},
      {[](lh::Composition& c) { c.height = -5; }, "composition size 1920 x -5"},
      {[](lh::Composition& c) { c.pixel_aspect.num = 0; }, "pixel aspect 0/1"},
      {[](lh::Composition& c) { c.frame_rate.den = 0; }, "frame rate 30/0"},
      {[](lh::Composition& c) { c.duration = -1; }, "duration"},
      {[](lh::Composition& c) { c.duration = std::nan(""); }, "duration"},
      {[](lh::Composition& c) { c.shutter_angle = 721; }, "shutter angle"},
      {[](lh::Composition& c) { c.layers.clear(); }, "no layer carrying"},
      {[&](lh::Composition& c) { add(c, "Second", lh::EffectLayer{}); },
       "more than one layer carrying"},
      {[&](lh::Composition& c) { add(c, "A", lh::CameraLayer{}), add(c, "B", lh::CameraLayer{}); },
       "more than one camera"},
      {[&](lh::Composition& c) { add(c, "Lunaform", solid); }, "two layers are named 'Lunaform'"},
      {[&](lh::Composition& c) { add(c, "", lh::LightLayer{}); }, "no name"},
      {[&](lh::Composition& c) { add(c, "Red", negative); }, "layer 'Red': width -1"},
      {[&](lh::Composition& c) { add(c, "Photo", footage); },
       "layer 'Photo': image of 2 x 2 holds 15 floats"},
      {[&](lh::Composition& c) { add(c, "Key", lh::LightLayer{}), c.layers.back().duration = -2; },
       "layer 'Key': negative duration"},
      {[&](lh::Composition& c) { map(c, "Moon"); },
       "parameter 'Diffuse Layer' names layer 'Moon', which the composition does not have"},
      {[&](lh::Composition& c) { add(c, "Key", lh::LightLayer{}), map(c, "Key"); },
       "names layer 'Key', which has no pixels"},
  };
  for (const auto& [spoil, message] : cases) {
    lh::Composition comp = lh::default_composition();
    spoil(comp);
    EXPECT_THAT([&] { lh::check_composition(comp); },
                testing::ThrowsMessage<lh::HostError>(
                    testing::AllOf(HasSubstr(message), testing::Not(HasSubstr("\n")))));
  }
}

TEST(LayerAxes, FollowThePointOfInterestAndTheAnglesAsWorkedOutByHand) {
  struct Case {
    const char* what;
    Vec3 position;
    std::optional<Vec3> point_of_interest;
    Vec3 orientation, rotation;
    Vec3 x, y, z;
  };
  const double h = std::sqrt(0.5);
  const std::optional<Vec3> none;
  const Case cases[] = {
      {"no point of interest", {5, 6, 7}, none, {}, {}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
      // Turned 45 degrees toward +x; kept level, so y stays straight down.
      {"right, ahead", {9, 5, -10}, Vec3{19, 5, 0}, {}, {}, {h, 0, -h}, {0, 1, 0}, {h, 0, h}},
      {"straight down", {0, -500, 0}, Vec3{0, 500, 0}, {}, {}, {1, 0, 0}, {0, 0, -1}, {0, 1, 0}},
      {"rotation z 90, clockwise", {}, none, {}, {0, 0, 90}, {0, 1, 0}, {-1, 0, 0}, {0, 0, 1}},
      {"orientation x 90", {}, none, {90, 0, 0}, {}, {1, 0, 0}, {0, 0, 1}, {0, -1, 0}},
      // Orientation y 90, then rotation x 90 in the turned frame: R = Ry(90)·Rx(90).
      {"y 90 then x 90", {}, none, {0, 90, 0}, {90, 0, 0}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    lh::Transform transform{
        .position = c.position, .orientation = c.orientation, .rotation = c.rotation};
    if (c.point_of_interest) {
      transform.point_of_interest = Animated<Vec3>(*c.point_of_interest);
    }
    EXPECT_THAT(lh::layer_axes(transform, 0), ElementsAre(Near(c.x), Near(c.y), Near(c.z)));
  }
}

enum Index : PF_ParamIndex { kRadius = 1, kPosition, kColor, kAngle, kPopup, kCheckbox, kDefault };

// An entry function whose parameter setup registers these seven, as indices 1 to 7.
PF_Err add_effect_params(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void*) {
  const PF_ParamType types[] = {PF_Param_FLOAT_SLIDER, PF_Param_POINT_3D, PF_Param_COLOR,
                                PF_Param_ANGLE,        PF_Param_POPUP,    PF_Param_CHECKBOX,
                                PF_Param_POINT_3D};
  const char* names[] = {"Radius",      "Position",   "Color",           "Rotation X",
                         "Motion Blur", "Unlit Only", "Default Position"};
  for (A_long i = 0; command == PF_Cmd_PARAMS_SETUP && i < 7; ++i) {
    PF_ParamDef def = param_def(types[i], i + 1, names[i]);
    if (i + 1 == kPosition || i + 1 == kDefault) {
      def.u.point3d_d.x_value = def.u.point3d_d.x_dephault = 50;
      def.u.point3d_d.y_value = def.u.point3d_d.y_dephault = 25;
      def.u.point3d_d.z_value = def.u.point3d_d.z_dephault = 40;
    } else if (i + 1 == kPopup) {
      def.u.pd.num_choices = 3;
      def.u.pd.u.namesptr = "Comp Settings|On|Off";
    }
    if (const PF_Err err = in->inter.add_param(in->effect_ref, -1, &def)) {
      return err;
    }
    out->num_params = i + 2;
  }
  return PF_Err_NONE;
}

lh::Composition scene() {
  lh::Composition comp = lh::default_composition();
  auto& params = std::get<lh::EffectLayer>(comp.layers[0].content).params;
  Animated<double> radius;
  radius.set_key(1, 100.0);
  radius.set_key(2, 200.0);
  params = {{"Radius", radius},
            {"Position", Animated<Vec3>(Vec3{400, 300, -20})},
            {"Color", Animated<lh::Color>(lh::Color{1, 0.5, 0, 0.25})},
            {"Rotation X", Animated<double>(90.5)},
            {"Motion Blur", Animated<double>(2.0)},
            {"Unlit Only", Animated<double>(1.0)}};
  return comp;
}

class HostSuites : public testing::Test {
 protected:
  void SetUp() override {
    host_.set_composition(scene());
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
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

  host_test::ScriptedEntry module_{add_effect_params};
  lh::EffectHost host_{&host_test::ScriptedEntry::entry};
};

TEST_F(HostSuites, ParametersCheckOutAtTheAskedTimeAndPointsInDownsampledLayerPixels) {
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
  EXPECT_EQ(host_.outstanding_param_checkouts(), 0);

  // Points arrive in downsampled layer pixels.
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
    const PF_Point3DDef dflt = checkout(kDefault).u.point3d_d;
    EXPECT_THAT(nums(dflt.x_value, dflt.y_value, dflt.z_value),
                ElementsAre(c.default_position.x, c.default_position.y, c.default_position.z));
  }
  EXPECT_THAT(host_.problems(), IsEmpty());
}

// What the camera suites answer at the in-data time moved by `offset` (a motion-blur sample).
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
    // Acquired and given back around the calls, as a module's suite cache does.
    const auto acquire = [&](const char* name, int version) {
      const void* table = nullptr;
      EXPECT_EQ(in.pica_basicP->AcquireSuite(name, version, &table), kSPNoError) << name;
      return table;
    };
    const auto* pf = static_cast<const AEGP_PFInterfaceSuite1*>(
        acquire(kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1));
    A_Time time{};
    EXPECT_EQ(pf->AEGP_ConvertEffectToCompTime(in.effect_ref, in.current_time + offset,
                                               in.time_scale, &time),
              A_Err_NONE);
    answer.camera = reinterpret_cast<AEGP_LayerH>(&answer);  // must be overwritten
    EXPECT_EQ(pf->AEGP_GetEffectCamera(in.effect_ref, &time, &answer.camera), A_Err_NONE);
    EXPECT_EQ(pf->AEGP_GetEffectCameraMatrix(in.effect_ref, &time, &answer.matrix, &answer.distance,
                                             &answer.width, &answer.height),
              A_Err_NONE);
    in.pica_basicP->ReleaseSuite(kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1);
    if (answer.camera != nullptr) {
      const auto* cameras = static_cast<const AEGP_CameraSuite2*>(
          acquire(kAEGPCameraSuite, kAEGPCameraSuiteVersion2));
      EXPECT_EQ(cameras->AEGP_GetCameraType(answer.camera, &answer.type), A_Err_NONE);
      in.pica_basicP->ReleaseSuite(kAEGPCameraSuite, kAEGPCameraSuiteVersion2);
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

  // Moving along x at 360 pixels a second, seen a quarter frame (30 units) after frame 1.
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

}  // namespace
