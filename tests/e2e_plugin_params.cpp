// The effect's parameters as a host receives them, the greying of those that have no effect,
// and the instance's block of texture slots.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/composition.h"
#include "host/effect_host.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/hx_exception.h"
#include "plugin/param_ids.h"
#include "plugin/param_readers.h"
#include "plugin/param_tables.h"
#include "tests/e2e_plugin_support.h"

namespace {

using e2e_plugin::entry_for;
using e2e_plugin::real_module_entry;
using e2e_plugin::StderrCapture;
using lunaform::host::Composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::LayerRef;
using testing::IsEmpty;

// The real module set up once for the suite, in the host's default composition plus a solid
// that map parameters can choose. Tests that change the instance leave it set up.
class E2ePluginParams : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_ = std::make_unique<EffectHost>(real_module_entry());
    Composition comp = host_->composition();
    comp.layers.push_back({.name = "Texture", .content = lunaform::host::SolidLayer{{}, 64, 32}});
    host_->set_composition(comp);
    e2e_plugin::set_up_instance(*host_);
  }
  static void TearDownTestSuite() { host_.reset(); }

  static const PF_ParamDef& def(PF_ParamIndex index) { return host_->params().at(index).received; }
  static PF_ParamIndex index_of(const std::string& name) {
    for (PF_ParamIndex index = 1; index < PF_ParamIndex(host_->params().size()); ++index) {
      if (host_->params().at(index).name == name) {
        return index;
      }
    }
    ADD_FAILURE() << "no parameter \"" << name << "\"";
    return 0;
  }

  static inline std::unique_ptr<EffectHost> host_;
};

TEST_F(E2ePluginParams, SeventyNineParametersInThePublishedOrderWithTheirIdsAndTypes) {
  // Projects store values by id and hosts by index: neither may ever move.
  constexpr A_long kIds[] = {
      1,   10,  16,  11,  12,  13,  14,   50,   200,  202,  203,  204,  205,  218,  209, 206,
      215, 207, 208, 211, 213, 220, 214,  216,  212,  210,  223,  221,  222,  2003, 224, 201,
      500, 502, 503, 513, 217, 504, 505,  514,  506,  507,  515,  508,  512,  511,  516, 219,
      501, 700, 702, 708, 703, 704, 705,  706,  709,  707,  701,  2000, 525,  517,  518, 519,
      520, 522, 523, 524, 521, 526, 2100, 2102, 2103, 2104, 2101, 2005, 2004, 2002, 2001};
  // N no data, P popup, F float slider, 3 3D point, A angle, C colour, B checkbox, L layer,
  // G group start, E group end; ten to a block.
  const std::string types =
      "NPF3AAAPGC"
      "FFFFCFGFFF"
      "FFFEFFGFFB"
      "EEGLFFFLFF"
      "LFFLFBBFEG"
      "PPFFFFAFEG"
      "GLFFGAAAEE"
      "GPFFEBFPE";
  const std::map<char, PF_ParamType> type_of = {
      {'N', PF_Param_NO_DATA},  {'P', PF_Param_POPUP}, {'F', PF_Param_FLOAT_SLIDER},
      {'3', PF_Param_POINT_3D}, {'A', PF_Param_ANGLE}, {'C', PF_Param_COLOR},
      {'B', PF_Param_CHECKBOX}, {'L', PF_Param_LAYER}, {'G', PF_Param_GROUP_START},
      {'E', PF_Param_GROUP_END}};
  const std::set<PF_ParamIndex> collapsed = {5,  6,  7,  17, 27, 33, 50, 57,
                                             60, 61, 65, 66, 67, 68, 71};
  ASSERT_EQ(host_->params().size(), 80u);
  for (PF_ParamIndex index = 1; index < 80; ++index) {
    SCOPED_TRACE(testing::Message() << "index " << index);
    EXPECT_EQ(def(index).uu.id, kIds[index - 1]);
    EXPECT_EQ(def(index).param_type, type_of.at(types[std::size_t(index - 1)]));
    // Supervised header (0x40), collapsed groups and angles (0x20), and Multisampling, which
    // does not change the picture's content, excluded from the inputs' state (0x100).
    const PF_ParamFlags flags = index == 1               ? 0x40
                                : index == 78            ? 0x100
                                : collapsed.count(index) ? 0x20
                                                         : 0;
    EXPECT_EQ(def(index).flags, flags);
  }
  for (const auto& [index, name] : std::map<PF_ParamIndex, std::string>{{1, ""},
                                                                        {2, "3D Object"},
                                                                        {3, "Radius"},
                                                                        {20, "Shadow/Light"},
                                                                        {66, "Env. Rotation X"},
                                                                        {71, "Motion Blur"},
                                                                        {72, "Motion Blur"},
                                                                        {78, "Multisampling"},
                                                                        {79, ""}}) {
    EXPECT_EQ(host_->params().at(index).name, name) << "index " << index;
  }
  // The header is a custom control of the banner's size, drawn only in the effect's panel.
  EXPECT_EQ(def(1).ui_flags, PF_PUI_CONTROL);
  EXPECT_EQ(def(1).ui_width, 558);
  EXPECT_EQ(def(1).ui_height, 84);
  ASSERT_TRUE(host_->custom_ui().has_value());
  EXPECT_EQ(host_->custom_ui()->events, 4);
  EXPECT_EQ(host_->custom_ui()->comp_ui_width + host_->custom_ui()->layer_ui_width +
                host_->custom_ui()->preview_ui_width,
            0);
  EXPECT_THAT(host_->problems(), IsEmpty());
}

TEST_F(E2ePluginParams, ValuesStartAtTheirDefaultsWithinTheirRanges) {
  for (PF_ParamIndex index = 1; index < 80; ++index) {
    const PF_FloatSliderDef& s = def(index).u.fs_d;
    if (def(index).param_type == PF_Param_FLOAT_SLIDER) {
      SCOPED_TRACE(host_->params().at(index).name);
      EXPECT_LE(s.valid_min, s.slider_min);
      EXPECT_LT(s.slider_min, s.slider_max);
      EXPECT_LE(s.slider_max, s.valid_max);
      EXPECT_TRUE(s.valid_min <= s.dephault && s.dephault <= s.valid_max);
      EXPECT_EQ(s.value, double(s.dephault));
      EXPECT_EQ(s.display_flags, 0);
    }
  }
  // The sliders whose ranges are easiest to get wrong: a slider range far inside the valid one,
  // negative ranges, a lower limit above zero, whole numbers.
  struct Slider {
    const char* name;
    float valid_min, valid_max, slider_min, slider_max, dephault;
    A_short precision;
  };
  for (const Slider& expected :
       {Slider{"Radius", 0, 100000, 0, 15, 200, 1}, Slider{"Fresnel", -1, 1, -0.5f, 0.5f, 0, 2},
        Slider{"Shadow/Light Contrast", 0.01f, 10, 0.01f, 10, 3, 2},
        Slider{"Bump Map Intensity", -10, 10, -0.5f, 0.5f, 1, 2},
        Slider{"Bump Falloff", 0, 1, 0, 1, 0.8f, 2},
        Slider{"Motion Blur Samples", 3, 200, 3, 200, 6, 0},
        Slider{"Shutter Angle", 1, 10000, 1, 1000, 180, 0},
        Slider{"Gamma", 0.01f, 10, 0.01f, 2, 2.2f, 2}}) {
    SCOPED_TRACE(expected.name);
    const PF_FloatSliderDef& s = def(index_of(expected.name)).u.fs_d;
    EXPECT_EQ(s.valid_min, expected.valid_min);
    EXPECT_EQ(s.valid_max, expected.valid_max);
    EXPECT_NEAR(s.slider_min, expected.slider_min, 1e-5);
    EXPECT_NEAR(s.slider_max, expected.slider_max, 1e-4);
    EXPECT_EQ(s.dephault, expected.dephault);
    EXPECT_EQ(s.precision, expected.precision);
  }
  struct Popup {
    PF_ParamIndex index;
    const char* choices;
    A_short count, dephault;
  };
  for (const Popup& expected :
       {Popup{2, "Sphere|Hemisphere", 2, 1}, Popup{8, "All|Front|Back", 3, 2},
        Popup{51, "Spherical|Box|Plane XY|Plane XZ|Plane ZY", 5, 1},
        Popup{52, "Repeat|Mirror", 2, 1}, Popup{72, "Comp Settings|On|Off", 3, 1},
        Popup{78, "0|2|4|8|16", 5, 4}}) {
    SCOPED_TRACE(expected.choices);
    EXPECT_EQ(host_->params().at(expected.index).popup_choices, expected.choices);
    EXPECT_EQ(def(expected.index).u.pd.num_choices, expected.count);
    EXPECT_EQ(def(expected.index).u.pd.dephault, expected.dephault);
    EXPECT_EQ(def(expected.index).u.pd.value, expected.dephault);
  }
  // Only "Unlit Only" carries its name beside the box; only the default lights start on.
  for (const auto& [index, label, on] : {std::tuple{30, "Unlit Only", 0}, std::tuple{46, "", 0},
                                         std::tuple{47, "", 0}, std::tuple{76, "", 1}}) {
    EXPECT_EQ(host_->params().at(index).checkbox_label, label) << index;
    EXPECT_EQ(def(index).u.bd.value, on) << index;
    EXPECT_EQ(def(index).u.bd.dephault, on) << index;
  }
  for (const PF_ParamIndex index : {10, 15}) {  // colours: opaque white
    for (const PF_Pixel& p : {def(index).u.cd.value, def(index).u.cd.dephault}) {
      EXPECT_TRUE(p.alpha == 255 && p.red == 255 && p.green == 255 && p.blue == 255) << index;
    }
  }
  for (const PF_ParamIndex index : {5, 6, 7, 57, 66, 67, 68}) {
    EXPECT_EQ(def(index).u.ad.value, 0) << index;
  }
  for (const PF_ParamIndex index : {34, 38, 41, 44, 62}) {
    EXPECT_EQ(def(index).u.ld.dephault, 0) << index;
  }
  // Position in percent of the layer, so the sphere starts at the layer's centre.
  const PF_Point3DDef& position = def(4).u.point3d_d;
  EXPECT_EQ(std::vector<double>({position.x_value, position.y_value, position.z_value,
                                 position.x_dephault, position.y_dephault, position.z_dephault}),
            std::vector<double>({50, 50, 0, 50, 50, 0}));
}

TEST_F(E2ePluginParams, OnlySettingsThatCannotActAreGreyedOutAndOnlyUntilTheyCan) {
  EffectLayer& effect = std::get<EffectLayer>(
      host_->composition().layers.at(effect_layer_index(host_->composition()).value()).content);
  effect.params.clear();
  // The maps whose settings only act on a chosen layer, and those settings.
  const std::map<std::string, std::vector<std::string>> map_settings = {
      {"Diffuse Layer", {"Diffuse Gamma", "Diffuse Brightness", "Diffuse Blend"}},
      {"Glossiness Layer", {"Glossiness Gamma", "Glossiness Brightness"}},
      {"Illumination Layer", {"Illumination Gamma", "Illumination Brightness"}},
      {"Bump Map Layer",
       {"Bump Map Intensity", "Use Normal Map", "Flip Normal Channels", "Bump Falloff"}}};
  std::set<std::string> chosen;
  // Sends the UI update, checks it left nothing behind, and checks every parameter's flags:
  // greyed out (bit 4; bit 1 would hide it) exactly where it cannot act.
  const auto expect_greyed = [&](bool shutter_greyed) {
    ASSERT_EQ(host_->update_params_ui(), PF_Err_NONE);
    EXPECT_EQ(host_->aegp_handles(), lunaform::host::AegpHandleCounts{});
    EXPECT_THAT(host_->suites().unreleased(), IsEmpty());
    EXPECT_EQ(host_->outstanding_param_checkouts(), 0);
    std::set<std::string> greyed;
    if (shutter_greyed) {
      greyed.insert("Shutter Angle");
    }
    for (const auto& [map, settings] : map_settings) {
      if (chosen.count(map) == 0) {
        greyed.insert(settings.begin(), settings.end());
      }
    }
    for (PF_ParamIndex index = 1; index < 80; ++index) {
      const std::string& name = host_->params().at(index).name;
      EXPECT_EQ(host_->dynamic_stream_flags(index), greyed.count(name) ? 16u : 0u) << name;
    }
  };
  // Motion blur from "Comp Settings" to "On", "Off" and back: each update sets the flag both ways.
  for (const auto& [choice, shutter_greyed] :
       {std::pair{1.0, true}, std::pair{2.0, false}, std::pair{3.0, true}, std::pair{2.0, false},
        std::pair{1.0, true}}) {
    SCOPED_TRACE(choice);
    effect.params["Motion Blur"] = choice;
    expect_greyed(shutter_greyed);
  }
  // Choosing a layer enables that map's settings, one map at a time; taking it away greys them
  // out again. The environment's settings act without a layer and are never greyed.
  for (const char* map : {"Diffuse Layer", "Bump Map Layer", "Glossiness Layer"}) {
    SCOPED_TRACE(map);
    effect.params[map] = LayerRef{"Texture"};
    chosen.insert(map);
    expect_greyed(true);
  }
  effect.params["Diffuse Layer"] = LayerRef{""};
  chosen.erase("Diffuse Layer");
  expect_greyed(true);
  effect.params.clear();
  EXPECT_THAT(host_->problems(), IsEmpty());
}

TEST_F(E2ePluginParams, EachInstanceHoldsFiveEmptySlotsThatNeitherSavingNorLoadingCarries) {
  EffectHost& host = *host_;
  const std::size_t others = host.handles().live_count() - 1;  // global data, ...
  // Five slots of 32 bytes after a 4-byte header, all zero: the host fills new blocks with
  // 0xA5, so every zero was written by the module.
  const auto expect_fresh = [&] {
    ASSERT_NE(host.sequence_data(), nullptr);
    const auto bytes = host.handles().bytes(host.sequence_data());
    EXPECT_EQ(bytes.size(), 164u);
    EXPECT_TRUE(
        std::all_of(bytes.begin(), bytes.end(), [](std::byte b) { return b == std::byte{0}; }));
    EXPECT_EQ(host.handles().lock_count(host.sequence_data()), 0);
    EXPECT_EQ(host.handles().live_count(), others + 1);
  };
  expect_fresh();
  // Saved, the instance is an empty flat handle and its live block is gone.
  const PF_Handle live = host.sequence_data();
  ASSERT_EQ(host.sequence_flatten(), PF_Err_NONE);
  const PF_Handle flat = host.sequence_data();
  EXPECT_EQ(host.handles().size(flat), 0u);
  EXPECT_EQ(host.handles().size(live), std::nullopt);
  // Loaded from the flat handle, or from a block of anything another program wrote, it is as
  // new; what it was loaded from is not read, and goes.
  ASSERT_EQ(host.sequence_resetup(), PF_Err_NONE);
  EXPECT_EQ(host.handles().size(flat), std::nullopt);
  expect_fresh();
  const auto scribbled = host.handles().bytes(host.sequence_data());
  std::fill(scribbled.begin(), scribbled.end(), std::byte{0x5C});
  const PF_Handle old = host.sequence_data();
  ASSERT_EQ(host.sequence_resetup(), PF_Err_NONE);
  EXPECT_EQ(host.handles().size(old), std::nullopt);
  expect_fresh();
  // Closed live, or closed saved without being loaded again, it leaves no handle.
  ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), others);
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_flatten(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), others);
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  EXPECT_THAT(host.problems(), IsEmpty());
}

// The real plug-in object in this process, where its id and index tables can be read.
TEST(E2ePluginParamTables, SetupFillsBothTablesAndKeepsEveryChoiceStringWhereTheHostWasGivenIt) {
  EffectHost host(&entry_for<AePluginConnection>);
  {
    StderrCapture banner;
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  }
  const std::size_t strings_before = popup_choice_strings.size();
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  EXPECT_EQ(param_id_by_index.size(), 80u);
  EXPECT_EQ(param_index_by_id.size(), 2105u);
  EXPECT_EQ(popup_choice_strings.size(), strings_before + 6);
  EXPECT_EQ(param_id_by_index[0], 0u);
  EXPECT_EQ(param_index_by_id[15], 0u);  // an id never registered
  for (PF_ParamIndex index = 1; index < 80; ++index) {
    const auto id = std::uint32_t(host.params().at(index).received.uu.id);
    EXPECT_EQ(param_id_by_index[std::size_t(index)], id) << "index " << index;
    EXPECT_EQ(param_index_by_id[id], std::uint32_t(index)) << "id " << id;
  }
  // Setup again and again: the same indices, and although the list relocates far past the
  // 100 strings it reserves, the characters the host was given first stay put, unchanged.
  const std::vector<std::uint32_t> first_indices = param_index_by_id;
  const std::string* first_choices = popup_choice_strings[strings_before].get();
  const char* first_characters = first_choices->c_str();
  for (int setup = 0; setup < 20; ++setup) {
    ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  }
  EXPECT_EQ(param_index_by_id, first_indices);
  EXPECT_EQ(param_id_by_index.size(), 80u);
  EXPECT_EQ(popup_choice_strings.size(), strings_before + 6 * 21);
  EXPECT_GT(popup_choice_strings.size(), 100u);
  EXPECT_EQ(popup_choice_strings[strings_before].get(), first_choices);
  EXPECT_EQ(first_choices->c_str(), first_characters);
  EXPECT_STREQ(first_characters, "Sphere|Hemisphere");

  // The readers return the current values, and refuse an id that was never registered rather
  // than read it as the input layer.
  host.params().at(3).current.u.fs_d.value = 123.25;
  host.params().at(2).current.u.pd.value = 2;
  host.run_inside_command(
      PF_Cmd_SMART_RENDER, [](PF_InData& in_data, PF_OutData& out_data, PF_ParamList params) {
        CommandContext context{&in_data, &out_data, params, nullptr, PF_Err_NONE};
        EXPECT_EQ(get_param_float(context, PARAM_RADIUS), 123.25f);
        EXPECT_EQ(get_param_int(context, PARAM_OBJECT), 2);
        EXPECT_EQ(get_param_float(context, PARAM_GAMMA), 2.2f);
        EXPECT_EQ(get_param_int(context, PARAM_MULTISAMPLING), 4);
        EXPECT_EQ(get_param_int(context, PARAM_USE_DEFAULT_LIGHTS), 1);
        EXPECT_THROW(get_param_float(context, 15), hx_exception);
      });
  EXPECT_EQ(host.outstanding_param_checkouts(), 0);
  EXPECT_THAT(host.problems(), IsEmpty());
}

}  // namespace
