#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>

#include "AE_GeneralPlug.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "tests/host_suite_support.h"

namespace {

using host_test::AcquiredSuite;
using host_test::ScriptedEntry;
using lunaform::host::Animated;
using lunaform::host::CameraLayer;
using lunaform::host::Composition;
using lunaform::host::default_composition;
using lunaform::host::EffectHost;
using lunaform::host::Layer;
using lunaform::host::Projection;
using lunaform::host::Vec3;
using testing::IsEmpty;

const double kHalf = std::sqrt(0.5);

struct CameraAnswer {
  A_Err camera_error = -1;
  AEGP_LayerH camera = nullptr;
  A_Err matrix_error = -1;
  A_Matrix4 matrix{};
  A_FpLong distance = 0;
  A_short width = 0;
  A_short height = 0;
  AEGP_CameraType type = 99;
};

// Asks the host for the camera at the in-data time (moved by `time_offset` first, as a module
// does for motion-blur samples), the way the effect does.
CameraAnswer ask_camera(EffectHost& host, A_long time_offset = 0) {
  CameraAnswer answer;
  host.run_inside_command(PF_Cmd_SMART_RENDER, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
    AcquiredSuite<AEGP_PFInterfaceSuite1> pf(in, kAEGPPFInterfaceSuite,
                                             kAEGPPFInterfaceSuiteVersion1);
    in.current_time += time_offset;
    A_Time comp_time{};
    EXPECT_EQ(
        pf->AEGP_ConvertEffectToCompTime(in.effect_ref, in.current_time, in.time_scale, &comp_time),
        A_Err_NONE);
    answer.camera = reinterpret_cast<AEGP_LayerH>(&answer);  // must be overwritten
    answer.camera_error = pf->AEGP_GetEffectCamera(in.effect_ref, &comp_time, &answer.camera);
    answer.matrix_error = pf->AEGP_GetEffectCameraMatrix(
        in.effect_ref, &comp_time, &answer.matrix, &answer.distance, &answer.width, &answer.height);
    if (answer.camera != nullptr) {
      AcquiredSuite<AEGP_CameraSuite2> cameras(in, kAEGPCameraSuite, kAEGPCameraSuiteVersion2);
      EXPECT_EQ(cameras->AEGP_GetCameraType(answer.camera, &answer.type), A_Err_NONE);
    }
  });
  return answer;
}

void expect_matrix(const A_Matrix4& actual, const double (&expected)[4][4]) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      EXPECT_NEAR(actual.mat[r][c], expected[r][c], 1e-9) << "element " << r << "," << c;
    }
  }
}

Composition with_camera(Vec3 position, std::optional<Vec3> point_of_interest, double zoom,
                        Projection projection) {
  Composition comp = default_composition();
  Layer camera;
  camera.name = "Camera";
  camera.transform.position = position;
  if (point_of_interest) {
    camera.transform.point_of_interest = Animated<Vec3>(*point_of_interest);
  }
  camera.content = CameraLayer{zoom, projection};
  comp.layers.push_back(camera);
  return comp;
}

class HostSuiteCamera : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_THAT(host_.suites().unreleased(), IsEmpty());
    EXPECT_THAT(host_.problems(), IsEmpty());
  }

  ScriptedEntry script_{nullptr};
  EffectHost host_{&ScriptedEntry::entry};
};

TEST_F(HostSuiteCamera, WithoutACameraLayerTheMatrixIsTheDefaultCameraAtTheCompositionsCentre) {
  host_.set_composition(default_composition());
  const CameraAnswer answer = ask_camera(host_);
  EXPECT_EQ(answer.camera_error, A_Err_NONE);
  EXPECT_EQ(answer.camera, nullptr);
  ASSERT_EQ(answer.matrix_error, A_Err_NONE);
  EXPECT_NEAR(answer.distance, 1920 * 50.0 / 36.0, 0.5);  // a 50 mm lens
  const double eye[4][4] = {
      {1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {960, 540, -answer.distance, 1}};
  expect_matrix(answer.matrix, eye);
  EXPECT_EQ(answer.width, 1920);
  EXPECT_EQ(answer.height, 1080);
}

TEST_F(HostSuiteCamera, ACameraWithAPointOfInterestLooksAtIt) {
  host_.set_composition(
      with_camera({960, 540, -1000}, Vec3{1960, 540, 0}, 1200, Projection::perspective));
  const CameraAnswer answer = ask_camera(host_);
  ASSERT_EQ(answer.matrix_error, A_Err_NONE);
  ASSERT_NE(answer.camera, nullptr);
  EXPECT_EQ(answer.type, AEGP_CameraType_PERSPECTIVE);
  EXPECT_EQ(answer.distance, 1200);
  // Turned 45 degrees toward +x, level: x = (√½, 0, −√½), y = (0, 1, 0), z = (√½, 0, √½).
  const double turned[4][4] = {
      {kHalf, 0, -kHalf, 0}, {0, 1, 0, 0}, {kHalf, 0, kHalf, 0}, {960, 540, -1000, 1}};
  expect_matrix(answer.matrix, turned);
}

TEST_F(HostSuiteCamera, AnOrthographicCameraReportsTypeOne) {
  host_.set_composition(with_camera({0, 0, -100}, std::nullopt, 900, Projection::orthographic));
  const CameraAnswer answer = ask_camera(host_);
  ASSERT_NE(answer.camera, nullptr);
  EXPECT_EQ(answer.type, 1u);
}

TEST_F(HostSuiteCamera, AnswersFollowTheSubFrameTimeTheModuleMovedTo) {
  Composition comp = with_camera({}, std::nullopt, 1000, Projection::perspective);
  Animated<Vec3> path;
  path.set_key(0, Vec3{0, 0, -1000});
  path.set_key(1, Vec3{360, 0, -1000});
  comp.layers.back().transform.position = path;
  host_.set_composition(comp);          // 30 fps: 3600 units per second, 120 per frame
  host_.settings().current_time = 120;  // frame 1

  const CameraAnswer at_frame = ask_camera(host_);
  EXPECT_NEAR(at_frame.matrix.mat[3][0], 360.0 / 30, 1e-9);
  const CameraAnswer quarter_later = ask_camera(host_, 30);  // a quarter frame later
  EXPECT_NEAR(quarter_later.matrix.mat[3][0], 360.0 * 150 / 3600, 1e-9);

  ASSERT_EQ(host_.timed_calls().size(), 3u);
  EXPECT_EQ(host_.timed_calls()[0].function, "AEGP_ConvertEffectToCompTime");
  EXPECT_EQ(host_.timed_calls()[2].function, "AEGP_GetEffectCameraMatrix");
  EXPECT_EQ(host_.timed_calls()[2].time.value, 150);
  EXPECT_EQ(host_.timed_calls()[2].time.scale, 3600u);
}

TEST_F(HostSuiteCamera, TheCompositionPixelAspectComesThroughItsItem) {
  Composition comp = default_composition();
  comp.pixel_aspect = {4, 3};
  host_.set_composition(comp);
  A_Ratio ratio{};
  host_.run_inside_command(PF_Cmd_SMART_RENDER, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
    AcquiredSuite<AEGP_PFInterfaceSuite1> pf(in, kAEGPPFInterfaceSuite,
                                             kAEGPPFInterfaceSuiteVersion1);
    AcquiredSuite<AEGP_LayerSuite5> layers(in, kAEGPLayerSuite, kAEGPLayerSuiteVersion5);
    AcquiredSuite<AEGP_CompSuite5> comps(in, kAEGPCompSuite, kAEGPCompSuiteVersion5);
    AcquiredSuite<AEGP_ItemSuite6> items(in, kAEGPItemSuite, kAEGPItemSuiteVersion6);
    AEGP_LayerH layer = nullptr;
    AEGP_CompH comp_handle = nullptr;
    AEGP_ItemH item = nullptr;
    ASSERT_EQ(pf->AEGP_GetEffectLayer(in.effect_ref, &layer), A_Err_NONE);
    ASSERT_EQ(layers->AEGP_GetLayerParentComp(layer, &comp_handle), A_Err_NONE);
    ASSERT_EQ(comps->AEGP_GetItemFromComp(comp_handle, &item), A_Err_NONE);
    ASSERT_EQ(items->AEGP_GetItemPixelAspectRatio(item, &ratio), A_Err_NONE);
  });
  EXPECT_EQ(ratio.num, 4);
  EXPECT_EQ(ratio.den, 3u);
  // The effect layer keeps its own pixel aspect in the in-data.
  EXPECT_EQ(host_.in_data().pixel_aspect_ratio.num, 1);
  EXPECT_EQ(host_.in_data().pixel_aspect_ratio.den, 1u);
}

}  // namespace
