#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "AE_EffectSuites.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "tests/host_suite_support.h"

namespace {

using host_test::AcquiredSuite;
using host_test::param_def;
using host_test::ParamsModule;
using lunaform::host::Animated;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::default_composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::FootageLayer;
using lunaform::host::Image;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::SolidLayer;
using testing::IsEmpty;

constexpr PF_ParamIndex kMap = 1;
constexpr PF_ParamIndex kGamma = 2;
constexpr PF_ParamIndex kOtherMap = 3;

std::shared_ptr<const Image> image(float first_red) {
  auto picture = std::make_shared<Image>();
  picture->width = 2;
  picture->height = 2;
  picture->rgba = {first_red, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 1, 1, 1, 1};
  return picture;
}

class HostSuiteParamUtils : public testing::Test {
 protected:
  void SetUp() override {
    Composition comp = default_composition();
    Layer photo;
    photo.name = "Photo";
    photo.content = FootageLayer{"photo.exr", image(0.25f)};
    comp.layers.push_back(photo);
    Layer grey;
    grey.name = "Grey";
    grey.content = SolidLayer{Color{0.5, 0.5, 0.5, 1}, 64, 32};
    comp.layers.push_back(grey);
    host_.set_composition(comp);
    params()["Diffuse Layer"] = LayerRef{"Photo"};
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  }

  void TearDown() override {
    EXPECT_THAT(host_.problems(), IsEmpty());
    EXPECT_THAT(host_.suites().unreleased(), IsEmpty());
  }

  std::map<std::string, lunaform::host::ParamValue>& params() {
    return std::get<EffectLayer>(host_.composition().layers[0].content).params;
  }

  // The stamp of parameter `index` at `time` (in-data units), asked the way the texture loader
  // asks: start at that time, duration 0.
  PF_State state(PF_ParamIndex index, A_long time = 0) {
    PF_State stamp{};
    host_.run_inside_command(PF_Cmd_SMART_RENDER, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
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
    host_.run_inside_command(PF_Cmd_SMART_RENDER, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
      AcquiredSuite<PF_ParamUtilsSuite3> utils(in, kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3);
      EXPECT_EQ(utils->PF_AreStatesIdentical(in.effect_ref, &first, &second, &same), PF_Err_NONE);
    });
    EXPECT_TRUE(same == 0 || same == 1);
    return same == 1;
  }

  ParamsModule module_{{param_def(PF_Param_LAYER, 502, "Diffuse Layer"),
                        param_def(PF_Param_FLOAT_SLIDER, 503, "Diffuse Gamma"),
                        param_def(PF_Param_LAYER, 504, "Glossiness Layer")}};
  EffectHost host_{ParamsModule::entry};
};

TEST_F(HostSuiteParamUtils, ALayerParametersStampChangesWithTheChosenLayersPixelsAndSize) {
  const PF_State first = state(kMap);
  EXPECT_TRUE(identical(first, state(kMap))) << "nothing changed";
  EXPECT_TRUE(identical(first, state(kMap, 3600))) << "a still image at another time";

  auto& photo = std::get<FootageLayer>(host_.composition().layers[1].content);
  photo.image = image(0.25f);  // a new picture with the same pixels
  EXPECT_TRUE(identical(first, state(kMap))) << "same pixels";

  photo.image = image(0.26f);
  const PF_State changed_pixel = state(kMap);
  EXPECT_FALSE(identical(first, changed_pixel)) << "one pixel changed";

  auto bigger = std::make_shared<Image>(*image(0.26f));
  bigger->width = 4;
  bigger->height = 1;
  photo.image = bigger;  // the same 16 floats read as 4 x 1
  EXPECT_FALSE(identical(changed_pixel, state(kMap))) << "size changed";

  params()["Diffuse Layer"] = LayerRef{"Grey"};
  const PF_State grey = state(kMap);
  EXPECT_FALSE(identical(changed_pixel, grey)) << "another layer chosen";
  auto& solid = std::get<SolidLayer>(host_.composition().layers[2].content);
  solid.color.red = 0.75;
  EXPECT_FALSE(identical(grey, state(kMap))) << "the solid's colour changed";
  solid.color.red = 0.5;
  EXPECT_TRUE(identical(grey, state(kMap))) << "and back";
  solid.width = 65;
  EXPECT_FALSE(identical(grey, state(kMap))) << "the solid's size changed";
}

TEST_F(HostSuiteParamUtils, AnEmptyLayerParameterKeepsOneStamp) {
  const PF_State empty = state(kOtherMap);
  EXPECT_TRUE(identical(empty, state(kOtherMap)));
  EXPECT_FALSE(identical(empty, state(kMap))) << "another parameter, another stamp";
}

TEST_F(HostSuiteParamUtils, AValueParametersStampChangesWithItsValue) {
  const PF_State first = state(kGamma);
  EXPECT_TRUE(identical(first, state(kGamma)));
  host_.params().at(kGamma).current.u.fs_d.value = 2.2;
  const PF_State changed = state(kGamma);
  EXPECT_FALSE(identical(first, changed)) << "value changed";

  Animated<double> gamma;
  gamma.set_key(0, 1.0);
  gamma.set_key(1, 3.0);
  params()["Diffuse Gamma"] = gamma;
  EXPECT_FALSE(identical(state(kGamma, 0), state(kGamma, 1800))) << "keyframes differ in time";
  EXPECT_TRUE(identical(state(kGamma, 1800), state(kGamma, 1800)));
  EXPECT_TRUE(identical(state(kGamma, 3600), state(kGamma, 7200))) << "held after the last key";
}

}  // namespace
