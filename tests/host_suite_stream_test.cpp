#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AE_GeneralPlug.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "tests/host_suite_support.h"

namespace {

using host_test::AcquiredSuite;
using host_test::param_def;
using host_test::ParamsModule;
using lunaform::host::AegpHandleCounts;
using lunaform::host::Animated;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::default_composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::LayerSize;
using lunaform::host::SolidLayer;
using lunaform::host::Vec3;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr PF_ParamIndex kRadius = 1;
constexpr PF_ParamIndex kMap = 2;
constexpr PF_ParamIndex kPosition = 3;
constexpr PF_ParamIndex kColor = 4;
constexpr PF_ParamIndex kAngle = 5;

std::vector<PF_ParamDef> effect_params() {
  PF_ParamDef position = param_def(PF_Param_POINT_3D, 11, "Position");
  position.u.point3d_d.x_value = position.u.point3d_d.x_dephault = 50;
  position.u.point3d_d.y_value = position.u.point3d_d.y_dephault = 50;
  return {param_def(PF_Param_FLOAT_SLIDER, 16, "Radius"),
          param_def(PF_Param_LAYER, 502, "Diffuse Layer"), position,
          param_def(PF_Param_COLOR, 20, "Color"), param_def(PF_Param_ANGLE, 12, "Rotation X")};
}

// The suites a module's parameter-UI update uses, acquired inside one command.
struct StreamSuites {
  explicit StreamSuites(const PF_InData& in)
      : utility(in, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4),
        pf(in, kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1),
        streams(in, kAEGPStreamSuite, kAEGPStreamSuiteVersion2),
        dynamic(in, kAEGPDynamicStreamSuite, kAEGPDynamicStreamSuiteVersion2),
        effects(in, kAEGPEffectSuite, kAEGPEffectSuiteVersion2) {}

  AcquiredSuite<AEGP_UtilitySuite4> utility;
  AcquiredSuite<AEGP_PFInterfaceSuite1> pf;
  AcquiredSuite<AEGP_StreamSuite2> streams;
  AcquiredSuite<AEGP_DynamicStreamSuite2> dynamic;
  AcquiredSuite<AEGP_EffectSuite2> effects;
};

class HostSuiteStream : public testing::Test {
 protected:
  void SetUp() override {
    Composition comp = default_composition();
    Layer grey;
    grey.name = "Grey";
    grey.content = SolidLayer{Color{0.5, 0.5, 0.5, 1}, 64, 32};
    comp.layers.push_back(grey);  // index 1, id 2
    auto& params = std::get<EffectLayer>(comp.layers[0].content).params;
    Animated<double> radius;
    radius.set_key(0, 100.0);
    radius.set_key(1, 300.0);
    params["Radius"] = radius;
    params["Position"] = Animated<Vec3>(Vec3{400, 300, -20});
    params["Color"] = Animated<Color>(Color{1, 0.5, 0, 1});
    params["Rotation X"] = Animated<double>(45.0);
    host_.set_composition(comp);
    host_.settings().downsample_x = host_.settings().downsample_y = {1, 2};
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
    host_.run_inside_command(PF_Cmd_GLOBAL_SETUP, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
      AcquiredSuite<AEGP_UtilitySuite4> utility(in, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4);
      ASSERT_EQ(utility->AEGP_RegisterWithAEGP(nullptr, "Tester", &plugin_id_), A_Err_NONE);
    });
  }

  // The value of parameter `index`'s stream at `time` (in the in-data scale), taken and given
  // back the way a module's layer check does.
  AEGP_StreamVal stream_value(PF_ParamIndex index, A_long time = 0) {
    AEGP_StreamVal result{};
    host_.run_inside_command(PF_Cmd_UPDATE_PARAMS_UI, [&](PF_InData& in, PF_OutData&,
                                                          PF_ParamList) {
      StreamSuites s(in);
      AEGP_EffectRefH effect = nullptr;
      AEGP_StreamRefH stream = nullptr;
      AEGP_StreamValue value{};
      const A_Time when{time, in.time_scale};
      ASSERT_EQ(s.pf->AEGP_GetNewEffectForEffect(plugin_id_, in.effect_ref, &effect), A_Err_NONE);
      ASSERT_EQ(s.streams->AEGP_GetNewEffectStreamByIndex(plugin_id_, effect, index, &stream),
                A_Err_NONE);
      ASSERT_EQ(s.streams->AEGP_GetNewStreamValue(plugin_id_, stream, AEGP_LTimeMode_CompTime,
                                                  &when, false, &value),
                A_Err_NONE);
      EXPECT_EQ(value.streamH, stream);
      result = value.val;
      EXPECT_EQ(s.streams->AEGP_DisposeStreamValue(&value), A_Err_NONE);
      EXPECT_EQ(s.streams->AEGP_DisposeStream(stream), A_Err_NONE);
      EXPECT_EQ(s.effects->AEGP_DisposeEffect(effect), A_Err_NONE);
    });
    return result;
  }

  // Sets one dynamic flag on parameter `index` and returns the call's result.
  A_Err set_flag(PF_ParamIndex index, AEGP_DynStreamFlags flag, bool set) {
    A_Err result = -1;
    host_.run_inside_command(
        PF_Cmd_UPDATE_PARAMS_UI, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
          StreamSuites s(in);
          AEGP_EffectRefH effect = nullptr;
          AEGP_StreamRefH stream = nullptr;
          s.pf->AEGP_GetNewEffectForEffect(plugin_id_, in.effect_ref, &effect);
          s.streams->AEGP_GetNewEffectStreamByIndex(plugin_id_, effect, index, &stream);
          result = s.dynamic->AEGP_SetDynamicStreamFlag(stream, flag, false, set);
          s.streams->AEGP_DisposeStream(stream);
          s.effects->AEGP_DisposeEffect(effect);
        });
    return result;
  }

  ParamsModule module_{effect_params()};
  EffectHost host_{ParamsModule::entry};
  AEGP_PluginID plugin_id_ = 0;
};

TEST_F(HostSuiteStream, RegistrationHandsOutAnIdAndRecordsTheCall) {
  ASSERT_EQ(host_.aegp_registrations().size(), 1u);
  EXPECT_EQ(host_.aegp_registrations()[0].name, "Tester");
  EXPECT_EQ(host_.aegp_registrations()[0].refcon, nullptr);
  EXPECT_EQ(host_.aegp_registrations()[0].id, plugin_id_);
  EXPECT_NE(plugin_id_, 0);
}

TEST_F(HostSuiteStream, ALayerParametersStreamHoldsTheChosenLayersId) {
  EXPECT_EQ(stream_value(kMap).layer_id, 0) << "nothing chosen";

  auto& params = std::get<EffectLayer>(host_.composition().layers[0].content).params;
  params["Diffuse Layer"] = LayerRef{"Grey"};
  EXPECT_EQ(stream_value(kMap).layer_id, 2) << "Grey, the second layer";

  host_.set_layer_source(kMap, LayerSize{10, 10});  // appended as the third layer
  EXPECT_EQ(stream_value(kMap).layer_id, 3);
  host_.set_layer_source(kMap, std::nullopt);
  EXPECT_EQ(stream_value(kMap).layer_id, 0) << "detached";

  EXPECT_EQ(host_.aegp_handles(), AegpHandleCounts{});
  EXPECT_THAT(host_.suites().unreleased(), IsEmpty());
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(HostSuiteStream, ValueStreamsReportTheCompositionsValueAtTheAskedTime) {
  EXPECT_DOUBLE_EQ(stream_value(kRadius, 900).one_d, 150.0);  // a quarter second in
  EXPECT_DOUBLE_EQ(stream_value(kRadius, 3600).one_d, 300.0);
  // Points in full-resolution layer pixels, though the render runs at half resolution.
  const AEGP_StreamVal position = stream_value(kPosition);
  EXPECT_DOUBLE_EQ(position.three_d.x, 400);
  EXPECT_DOUBLE_EQ(position.three_d.y, 300);
  EXPECT_DOUBLE_EQ(position.three_d.z, -20);
  const AEGP_StreamVal color = stream_value(kColor);
  EXPECT_DOUBLE_EQ(color.color.redF, 1.0);
  EXPECT_DOUBLE_EQ(color.color.greenF, 128 / 255.0);  // held in 8 bits
  EXPECT_DOUBLE_EQ(color.color.blueF, 0.0);
  EXPECT_DOUBLE_EQ(stream_value(kAngle).one_d, 45.0);
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(HostSuiteStream, DynamicFlagsAreKeptPerParameterUntilTheNextParameterSetup) {
  EXPECT_EQ(host_.dynamic_stream_flags(kRadius), 0u);
  EXPECT_EQ(set_flag(kRadius, AEGP_DynStreamFlag_DISABLED, true), A_Err_NONE);
  EXPECT_EQ(host_.dynamic_stream_flags(kRadius), 16u);
  EXPECT_EQ(host_.dynamic_stream_flags(kColor), 0u);
  EXPECT_EQ(set_flag(kRadius, AEGP_DynStreamFlag_HIDDEN, true), A_Err_NONE);
  EXPECT_EQ(host_.dynamic_stream_flags(kRadius), 18u);
  EXPECT_EQ(set_flag(kRadius, AEGP_DynStreamFlag_DISABLED, false), A_Err_NONE);
  EXPECT_EQ(host_.dynamic_stream_flags(kRadius), 2u);
  EXPECT_THAT(host_.problems(), IsEmpty());

  EXPECT_NE(set_flag(kColor, AEGP_DynStreamFlag_DISABLED | AEGP_DynStreamFlag_HIDDEN, true),
            A_Err_NONE);
  EXPECT_EQ(host_.dynamic_stream_flags(kColor), 0u);
  EXPECT_THAT(host_.problems(), ElementsAre(HasSubstr("are not one flag")));

  ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  EXPECT_EQ(host_.dynamic_stream_flags(kRadius), 0u);
  EXPECT_EQ(host_.aegp_handles(), AegpHandleCounts{});
}

TEST_F(HostSuiteStream, LeakedAndDoublyDisposedObjectsShowInTheCountsAndProblems) {
  host_.run_inside_command(PF_Cmd_UPDATE_PARAMS_UI, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
    StreamSuites s(in);
    AEGP_EffectRefH effect = nullptr;
    AEGP_StreamRefH kept = nullptr;
    AEGP_StreamRefH twice = nullptr;
    AEGP_StreamValue value{};
    const A_Time when{0, in.time_scale};
    ASSERT_EQ(s.pf->AEGP_GetNewEffectForEffect(plugin_id_, in.effect_ref, &effect), A_Err_NONE);
    s.streams->AEGP_GetNewEffectStreamByIndex(plugin_id_, effect, kRadius, &kept);
    s.streams->AEGP_GetNewEffectStreamByIndex(plugin_id_, effect, kColor, &twice);
    s.streams->AEGP_GetNewStreamValue(plugin_id_, kept, AEGP_LTimeMode_CompTime, &when, false,
                                      &value);
    EXPECT_EQ(host_.aegp_handles(), (AegpHandleCounts{1, 2, 1}));
    EXPECT_EQ(s.streams->AEGP_DisposeStream(twice), A_Err_NONE);
    EXPECT_NE(s.streams->AEGP_DisposeStream(twice), A_Err_NONE);
    AEGP_StreamValue stranger{};
    stranger.streamH = twice;
    EXPECT_NE(s.streams->AEGP_DisposeStreamValue(&stranger), A_Err_NONE);
    AEGP_EffectRefH other = nullptr;
    EXPECT_NE(s.pf->AEGP_GetNewEffectForEffect(plugin_id_ + 7, in.effect_ref, &other), A_Err_NONE);
    AEGP_StreamRefH out_of_range = nullptr;
    EXPECT_NE(s.streams->AEGP_GetNewEffectStreamByIndex(plugin_id_, effect, 6, &out_of_range),
              A_Err_NONE);
    EXPECT_EQ(s.effects->AEGP_DisposeEffect(effect), A_Err_NONE);
    EXPECT_NE(s.effects->AEGP_DisposeEffect(effect), A_Err_NONE);
  });
  EXPECT_EQ(host_.aegp_handles(), (AegpHandleCounts{0, 1, 1}));
  EXPECT_THAT(host_.problems(),
              ElementsAre(HasSubstr("AEGP_DisposeStream: unknown or already disposed"),
                          HasSubstr("AEGP_DisposeStreamValue: a value the host did not hand out"),
                          HasSubstr("plug-in id"), HasSubstr("parameter index 6 of 6"),
                          HasSubstr("AEGP_DisposeEffect: unknown or already disposed")));
}

}  // namespace
