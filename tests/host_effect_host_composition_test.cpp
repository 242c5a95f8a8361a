#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

namespace {

using host_test::AcquiredSuite;
using host_test::param_def;
using host_test::ParamsModule;
using host_test::ScriptedEntry;
using lunaform::host::Animated;
using lunaform::host::Color;
using lunaform::host::Composition;
using lunaform::host::default_composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::FootageLayer;
using lunaform::host::HostError;
using lunaform::host::Image;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::LayerSize;
using lunaform::host::ParamValue;
using lunaform::host::SolidLayer;
using lunaform::host::Vec3;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

enum Index : PF_ParamIndex {
  kRadius = 1,
  kPosition,
  kColor,
  kAngle,
  kPopup,
  kCheckbox,
  kMap,
  kOtherMap,
  kDefaultPosition
};

std::vector<PF_ParamDef> effect_params() {
  PF_ParamDef position = param_def(PF_Param_POINT_3D, 11, "Position");
  PF_ParamDef default_position = param_def(PF_Param_POINT_3D, 12, "Default Position");
  for (PF_ParamDef* def : {&position, &default_position}) {
    def->u.point3d_d.x_value = def->u.point3d_d.x_dephault = 50;
    def->u.point3d_d.y_value = def->u.point3d_d.y_dephault = 25;
    def->u.point3d_d.z_value = def->u.point3d_d.z_dephault = 40;
  }
  PF_ParamDef popup = param_def(PF_Param_POPUP, 30, "Motion Blur");
  popup.u.pd.num_choices = 3;
  popup.u.pd.value = 1;
  popup.u.pd.u.namesptr = "Comp Settings|On|Off";
  return {param_def(PF_Param_FLOAT_SLIDER, 16, "Radius"),
          position,
          param_def(PF_Param_COLOR, 20, "Color"),
          param_def(PF_Param_ANGLE, 21, "Rotation X"),
          popup,
          param_def(PF_Param_CHECKBOX, 31, "Unlit Only"),
          param_def(PF_Param_LAYER, 502, "Diffuse Layer"),
          param_def(PF_Param_LAYER, 504, "Glossiness Layer"),
          default_position};
}

std::shared_ptr<const Image> three_by_two() {
  auto image = std::make_shared<Image>();
  image->width = 3;
  image->height = 2;
  // (r, g, b, a) per pixel, rows from the top.
  image->rgba = {0.2f, 0.4f, 0.6f, 0.5f, 1.5f, -0.25f, 1.0f, 1.0f, 0.0f,  0.0f, 0.0f,  0.0f,
                 0.1f, 0.1f, 0.1f, 1.0f, 0.3f, 0.3f,   0.3f, 0.3f, 0.88f, 0.8f, 0.72f, 0.6f};
  return image;
}

Composition scene() {
  Composition comp = default_composition();
  Layer photo;
  photo.name = "Photo";
  photo.content = FootageLayer{"photo.exr", three_by_two()};
  comp.layers.push_back(photo);
  Layer grey;
  grey.name = "Grey";
  grey.content = SolidLayer{Color{0.5, 0.25, 1, 1}, 101, 51};
  comp.layers.push_back(grey);
  auto& params = std::get<EffectLayer>(comp.layers[0].content).params;
  Animated<double> radius;
  radius.set_key(1, 100.0);
  radius.set_key(2, 200.0);
  params["Radius"] = radius;
  params["Position"] = Animated<Vec3>(Vec3{400, 300, -20});
  params["Color"] = Animated<Color>(Color{1, 0.5, 0, 0.25});
  params["Rotation X"] = Animated<double>(90.5);
  params["Motion Blur"] = Animated<double>(2.0);
  params["Unlit Only"] = Animated<double>(1.0);
  params["Diffuse Layer"] = LayerRef{"Grey"};
  return comp;
}

class EffectHostComposition : public testing::Test {
 protected:
  void SetUp() override {
    host_.set_composition(scene());
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  }

  // Checks parameter `index` out at `time` (in-data units) inside a render command.
  PF_ParamDef checkout(PF_ParamIndex index, A_long time) {
    PF_ParamDef def{};
    host_.run_inside_command(PF_Cmd_SMART_RENDER, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
      EXPECT_EQ(
          in.inter.checkout_param(in.effect_ref, index, time, in.time_step, in.time_scale, &def),
          PF_Err_NONE);
      EXPECT_EQ(in.inter.checkin_param(in.effect_ref, &def), PF_Err_NONE);
    });
    return def;
  }

  std::map<std::string, ParamValue>& params() {
    return std::get<EffectLayer>(host_.composition().layers[0].content).params;
  }

  ParamsModule module_{effect_params()};
  EffectHost host_{ParamsModule::entry};
};

TEST_F(EffectHostComposition, SetCompositionTakesTheEffectLayersSizeAspectAndTimes) {
  Composition comp = scene();
  auto& effect = std::get<EffectLayer>(comp.layers[0].content);
  effect.width = 720;
  effect.height = 486;
  effect.pixel_aspect = {10, 11};
  comp.frame_rate = {25, 1};
  comp.duration = 4;
  host_.set_composition(comp);
  EXPECT_EQ(host_.settings().layer.width, 720);
  EXPECT_EQ(host_.settings().layer.height, 486);
  EXPECT_EQ(host_.settings().pixel_aspect.num, 10);
  EXPECT_EQ(host_.settings().pixel_aspect.den, 11u);
  EXPECT_EQ(host_.settings().time_scale, 3000u);
  EXPECT_EQ(host_.settings().time_step, 120);
  EXPECT_EQ(host_.settings().total_time, 12000);

  Composition broken = comp;
  broken.layers.clear();
  EXPECT_THROW(host_.set_composition(broken), HostError);
  EXPECT_EQ(host_.composition().layers.size(), comp.layers.size()) << "the old one stays";
}

TEST_F(EffectHostComposition, ParametersCheckOutAsTheCompositionSaysAtTheAskedTime) {
  // 30 fps: 3600 units per second. Radius runs from 100 at 1 s to 200 at 2 s.
  EXPECT_DOUBLE_EQ(checkout(kRadius, 0).u.fs_d.value, 100.0);
  EXPECT_DOUBLE_EQ(checkout(kRadius, 4500).u.fs_d.value, 125.0);
  EXPECT_DOUBLE_EQ(checkout(kRadius, 4500 + 1).u.fs_d.value, 125.0 + 100.0 / 3600);
  EXPECT_DOUBLE_EQ(checkout(kRadius, 9000).u.fs_d.value, 200.0);

  const PF_ParamDef color = checkout(kColor, 0);
  EXPECT_EQ(color.u.cd.value.alpha, 64);  // round(0.25 × 255)
  EXPECT_EQ(color.u.cd.value.red, 255);
  EXPECT_EQ(color.u.cd.value.green, 128);  // round(127.5)
  EXPECT_EQ(color.u.cd.value.blue, 0);
  EXPECT_EQ(checkout(kAngle, 0).u.ad.value, 5931008);  // 90.5 × 65536
  EXPECT_EQ(checkout(kPopup, 0).u.pd.value, 2);
  EXPECT_EQ(checkout(kCheckbox, 0).u.bd.value, 1);
  EXPECT_THAT(host_.problems(), IsEmpty());
  EXPECT_EQ(host_.outstanding_param_checkouts(), 0);
}

TEST_F(EffectHostComposition, PointsArriveInDownsampledLayerPixels) {
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
    const PF_Point3DDef set = checkout(kPosition, 0).u.point3d_d;
    EXPECT_DOUBLE_EQ(set.x_value, c.position.x);
    EXPECT_DOUBLE_EQ(set.y_value, c.position.y);
    EXPECT_DOUBLE_EQ(set.z_value, c.position.z);
    const PF_Point3DDef dflt = checkout(kDefaultPosition, 0).u.point3d_d;
    EXPECT_DOUBLE_EQ(dflt.x_value, c.default_position.x);
    EXPECT_DOUBLE_EQ(dflt.y_value, c.default_position.y);
    EXPECT_DOUBLE_EQ(dflt.z_value, c.default_position.z);
  }
}

TEST_F(EffectHostComposition, LayerParametersGiveTheChosenLayersDownsampledSize) {
  host_.settings().downsample_x = host_.settings().downsample_y = {1, 2};
  const PF_ParamDef map = checkout(kMap, 0);
  EXPECT_EQ(map.u.ld.width, 51);  // ceil(101 / 2)
  EXPECT_EQ(map.u.ld.height, 26);
  EXPECT_EQ(map.u.ld.data, nullptr);
  const PF_ParamDef empty = checkout(kOtherMap, 0);
  EXPECT_EQ(empty.u.ld.width, 0);
  EXPECT_EQ(empty.u.ld.height, 0);
  EXPECT_EQ(host_.chosen_layer(kMap), 2u);
  EXPECT_FALSE(host_.chosen_layer(kOtherMap));
  EXPECT_FALSE(host_.chosen_layer(kRadius));

  host_.set_layer_source(kMap, std::nullopt);  // the test's choice wins over the composition's
  EXPECT_FALSE(host_.chosen_layer(kMap));
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(EffectHostComposition, TheParameterArrayOfACommandHoldsTheValuesAtItsTime) {
  host_.settings().current_time = 5400;  // 1.5 s
  double radius = 0;
  host_.run_inside_command(PF_Cmd_SMART_RENDER, [&](PF_InData&, PF_OutData&, PF_ParamList list) {
    radius = list[kRadius]->u.fs_d.value;
  });
  EXPECT_DOUBLE_EQ(radius, 150.0);
}

TEST_F(EffectHostComposition, ValuesThatDoNotFitTheParametersAreListedByName) {
  params()["Radios"] = Animated<double>(3.0);
  params()["Color"] = Animated<double>(3.0);
  params()["Motion Blur"] = Animated<double>(4.0);
  params()["Rotation X"] = LayerRef{"Grey"};
  const auto mismatches = host_.effect_param_mismatches();
  ASSERT_EQ(mismatches.size(), 4u);
  EXPECT_EQ(mismatches[0].name, "Color");
  EXPECT_THAT(mismatches[0].problem, HasSubstr("given a number for a COLOR parameter"));
  EXPECT_EQ(mismatches[1].name, "Motion Blur");
  EXPECT_THAT(mismatches[1].problem, HasSubstr("a choice outside 1..3 of a popup"));
  EXPECT_EQ(mismatches[2].name, "Radios");
  EXPECT_EQ(mismatches[2].problem, "the effect has no parameter named 'Radios'");
  EXPECT_EQ(mismatches[3].name, "Rotation X");
  EXPECT_THAT(mismatches[3].problem, HasSubstr("a layer for a ANGLE parameter"));

  params().erase("Radios");
  params().erase("Color");
  params().erase("Motion Blur");
  params().erase("Rotation X");
  EXPECT_THAT(host_.effect_param_mismatches(), IsEmpty());
}

TEST_F(EffectHostComposition, EverySuiteIsOfferedUnderTheNameAndVersionModulesAskFor) {
  struct Wanted {
    const char* name;
    int version;
  };
  const Wanted wanted[] = {
      {"AEGP Utility Suite", 10}, {"AEGP PF Interface Suite", 1}, {"AEGP Camera Suite", 2},
      {"AEGP Comp Suite", 11},    {"AEGP Item Suite", 10},        {"AEGP Layer Suite", 11},
      {"AEGP Light Suite", 2},    {"AEGP Stream Suite", 7},       {"AEGP Dynamic Stream Suite", 2},
      {"AEGP Effect Suite", 2},   {"PF Param Utils Suite", 3}};
  host_.run_inside_command(PF_Cmd_SMART_RENDER, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
    for (const Wanted& w : wanted) {
      const void* table = nullptr;
      EXPECT_EQ(in.pica_basicP->AcquireSuite(w.name, w.version, &table), kSPNoError) << w.name;
      EXPECT_NE(table, nullptr) << w.name;
      in.pica_basicP->ReleaseSuite(w.name, w.version);
    }
  });
  for (const Wanted& w : wanted) {
    EXPECT_EQ(host_.suites().use(w.name, w.version).acquired, 1) << w.name;
  }
  EXPECT_THAT(host_.suites().unreleased(), IsEmpty());
}

// A module that checks out the "Diffuse Layer" in Smart PreRender and copies its pixels in
// Smart Render.
class PixelReader {
 public:
  PixelReader()
      : script_([this](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList,
                       void* extra) -> PF_Err { return handle(command, in, out, extra); }) {}

  std::vector<std::byte> bytes;
  PF_EffectWorld world{};

 private:
  PF_Err handle(PF_Cmd command, PF_InData* in, PF_OutData* out, void* extra) {
    switch (command) {
      case PF_Cmd_PARAMS_SETUP: {
        PF_ParamDef map = param_def(PF_Param_LAYER, 502, "Diffuse Layer");
        out->num_params = 2;
        return in->inter.add_param(in->effect_ref, -1, &map);
      }
      case PF_Cmd_SMART_PRE_RENDER: {
        auto* pre = static_cast<PF_PreRenderExtra*>(extra);
        PF_RenderRequest whole{};
        whole.rect = {0, 0, 10000, 10000};
        PF_CheckoutResult result{};
        return pre->cb->checkout_layer(in->effect_ref, 1, 502, &whole, in->current_time,
                                       in->time_step, in->time_scale, &result);
      }
      case PF_Cmd_SMART_RENDER: {
        auto* render = static_cast<PF_SmartRenderExtra*>(extra);
        PF_EffectWorld* pixels = nullptr;
        const PF_Err err = render->cb->checkout_layer_pixels(in->effect_ref, 502, &pixels);
        if (err != PF_Err_NONE || pixels == nullptr) {
          return err;
        }
        world = *pixels;
        const auto* start = reinterpret_cast<const std::byte*>(pixels->data);
        bytes.assign(start, start + static_cast<size_t>(pixels->rowbytes) * pixels->height);
        return render->cb->checkin_layer_pixels(in->effect_ref, 502);
      }
      default:
        return PF_Err_NONE;
    }
  }

  ScriptedEntry script_;
};

class EffectHostLayerPixels : public testing::Test {
 protected:
  void render(const char* layer, int bits, PF_RationalScale downsample = {1, 1}) {
    Composition comp = scene();
    std::get<EffectLayer>(comp.layers[0].content).params = {{"Diffuse Layer", LayerRef{layer}}};
    host_.set_composition(comp);
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
    host_.settings().bits_per_channel = bits;
    host_.settings().downsample_x = host_.settings().downsample_y = downsample;
    ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
    ASSERT_EQ(host_.smart_render(), PF_Err_NONE);
    EXPECT_THAT(host_.problems(), IsEmpty());
  }

  template <typename Channel>
  std::vector<Channel> pixel(int x, int y) const {
    std::vector<Channel> argb(4);
    std::memcpy(argb.data(),
                reader_.bytes.data() + static_cast<size_t>(y) * reader_.world.rowbytes +
                    static_cast<size_t>(x) * 4 * sizeof(Channel),
                4 * sizeof(Channel));
    return argb;
  }

  PixelReader reader_;
  EffectHost host_{&ScriptedEntry::entry};
};

TEST_F(EffectHostLayerPixels, FootageArrivesAsStraightColourInTheRendersDepth) {
  render("Photo", 8);
  ASSERT_EQ(reader_.world.width, 3);
  ASSERT_EQ(reader_.world.height, 2);
  // (0.2, 0.4, 0.6) at alpha 0.5 stays straight: not multiplied by alpha.
  EXPECT_THAT(pixel<A_u_char>(0, 0), ElementsAre(128, 51, 102, 153));
  EXPECT_THAT(pixel<A_u_char>(1, 0), ElementsAre(255, 255, 0, 255)) << "clamped";
  EXPECT_THAT(pixel<A_u_char>(2, 1), ElementsAre(153, 224, 204, 184));

  render("Photo", 16);
  EXPECT_THAT(pixel<A_u_short>(0, 0), ElementsAre(16384, 6554, 13107, 19661));
  EXPECT_THAT(pixel<A_u_short>(1, 0), ElementsAre(32768, 32768, 0, 32768));

  render("Photo", 32);
  EXPECT_THAT(pixel<float>(0, 0), ElementsAre(0.5f, 0.2f, 0.4f, 0.6f));
  EXPECT_THAT(pixel<float>(1, 0), ElementsAre(1.0f, 1.5f, -0.25f, 1.0f)) << "float keeps range";
}

TEST_F(EffectHostLayerPixels, HalfResolutionShowsTheSourcePixelUnderEachCentre) {
  render("Photo", 32, {1, 2});
  ASSERT_EQ(reader_.world.width, 2);  // ceil(3 / 2)
  ASSERT_EQ(reader_.world.height, 1);
  // Centres at source (1, 1) and (3, 1); the second lies past the edge and takes column 2.
  EXPECT_THAT(pixel<float>(0, 0), ElementsAre(0.3f, 0.3f, 0.3f, 0.3f));
  EXPECT_THAT(pixel<float>(1, 0), ElementsAre(0.6f, 0.88f, 0.8f, 0.72f));
}

TEST_F(EffectHostLayerPixels, ASolidIsItsColourEverywhere) {
  render("Grey", 8, {1, 4});
  ASSERT_EQ(reader_.world.width, 26);  // ceil(101 / 4)
  ASSERT_EQ(reader_.world.height, 13);
  for (int y : {0, 12}) {
    for (int x : {0, 25}) {
      EXPECT_THAT(pixel<A_u_char>(x, y), ElementsAre(255, 128, 64, 255)) << x << "," << y;
    }
  }
}

}  // namespace
