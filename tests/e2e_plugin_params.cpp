#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

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
using lunaform::host::EffectHost;
using testing::IsEmpty;

constexpr PF_ParamFlags kCollapsed = 0x20;
constexpr PF_ParamFlags kSupervise = 0x40;
constexpr PF_ParamFlags kExcludeFromInputsChanged = 0x100;

// The parameter set as the host must see it, written from the effect's published table.
struct ExpectedParam {
  PF_ParamIndex index;
  A_long id;
  PF_ParamType type;
  const char* name;
  PF_ParamFlags flags;
};

constexpr ExpectedParam kExpectedParams[] = {
    {1, 1, PF_Param_NO_DATA, "", kSupervise},
    {2, 10, PF_Param_POPUP, "3D Object", 0},
    {3, 16, PF_Param_FLOAT_SLIDER, "Radius", 0},
    {4, 11, PF_Param_POINT_3D, "Position", 0},
    {5, 12, PF_Param_ANGLE, "Rotation X", kCollapsed},
    {6, 13, PF_Param_ANGLE, "Rotation Y", kCollapsed},
    {7, 14, PF_Param_ANGLE, "Rotation Z", kCollapsed},
    {8, 50, PF_Param_POPUP, "Surface", 0},
    {9, 200, PF_Param_GROUP_START, "Material", 0},
    {10, 202, PF_Param_COLOR, "Color", 0},
    {11, 203, PF_Param_FLOAT_SLIDER, "Diffuse", 0},
    {12, 204, PF_Param_FLOAT_SLIDER, "Glossiness", 0},
    {13, 205, PF_Param_FLOAT_SLIDER, "Specular", 0},
    {14, 218, PF_Param_FLOAT_SLIDER, "Reflectivity", 0},
    {15, 209, PF_Param_COLOR, "Illumination Color", 0},
    {16, 206, PF_Param_FLOAT_SLIDER, "Illumination", 0},
    {17, 215, PF_Param_GROUP_START, "Illumination Options", kCollapsed},
    {18, 207, PF_Param_FLOAT_SLIDER, "Fresnel", 0},
    {19, 208, PF_Param_FLOAT_SLIDER, "Fresnel Bias", 0},
    {20, 211, PF_Param_FLOAT_SLIDER, "Shadow/Light", 0},
    {21, 213, PF_Param_FLOAT_SLIDER, "Shadow/Light Contrast", 0},
    {22, 220, PF_Param_FLOAT_SLIDER, "Shadow/Light Expansion", 0},
    {23, 214, PF_Param_FLOAT_SLIDER, "Bump Influence", 0},
    {24, 216, PF_Param_GROUP_END, "", 0},
    {25, 212, PF_Param_FLOAT_SLIDER, "Ambient", 0},
    {26, 210, PF_Param_FLOAT_SLIDER, "Opacity", 0},
    {27, 223, PF_Param_GROUP_START, "Advanced Options", kCollapsed},
    {28, 221, PF_Param_FLOAT_SLIDER, "Edge Feather", 0},
    {29, 222, PF_Param_FLOAT_SLIDER, "Edge Shrink", 0},
    {30, 2003, PF_Param_CHECKBOX, "Unlit Only", 0},
    {31, 224, PF_Param_GROUP_END, "", 0},
    {32, 201, PF_Param_GROUP_END, "", 0},
    {33, 500, PF_Param_GROUP_START, "Maps", kCollapsed},
    {34, 502, PF_Param_LAYER, "Diffuse Layer", 0},
    {35, 503, PF_Param_FLOAT_SLIDER, "Diffuse Gamma", 0},
    {36, 513, PF_Param_FLOAT_SLIDER, "Diffuse Brightness", 0},
    {37, 217, PF_Param_FLOAT_SLIDER, "Diffuse Blend", 0},
    {38, 504, PF_Param_LAYER, "Glossiness Layer", 0},
    {39, 505, PF_Param_FLOAT_SLIDER, "Glossiness Gamma", 0},
    {40, 514, PF_Param_FLOAT_SLIDER, "Glossiness Brightness", 0},
    {41, 506, PF_Param_LAYER, "Illumination Layer", 0},
    {42, 507, PF_Param_FLOAT_SLIDER, "Illumination Gamma", 0},
    {43, 515, PF_Param_FLOAT_SLIDER, "Illumination Brightness", 0},
    {44, 508, PF_Param_LAYER, "Bump Map Layer", 0},
    {45, 512, PF_Param_FLOAT_SLIDER, "Bump Map Intensity", 0},
    {46, 511, PF_Param_CHECKBOX, "Use Normal Map", 0},
    {47, 516, PF_Param_CHECKBOX, "Flip Normal Channels", 0},
    {48, 219, PF_Param_FLOAT_SLIDER, "Bump Falloff", 0},
    {49, 501, PF_Param_GROUP_END, "", 0},
    {50, 700, PF_Param_GROUP_START, "UV", kCollapsed},
    {51, 702, PF_Param_POPUP, "UV Type", 0},
    {52, 708, PF_Param_POPUP, "UV Mode", 0},
    {53, 703, PF_Param_FLOAT_SLIDER, "UV Repeat X", 0},
    {54, 704, PF_Param_FLOAT_SLIDER, "UV Repeat Y", 0},
    {55, 705, PF_Param_FLOAT_SLIDER, "UV Offset X", 0},
    {56, 706, PF_Param_FLOAT_SLIDER, "UV Offset Y", 0},
    {57, 709, PF_Param_ANGLE, "UV Rotation", kCollapsed},
    {58, 707, PF_Param_FLOAT_SLIDER, "Box UV Feathering", 0},
    {59, 701, PF_Param_GROUP_END, "", 0},
    {60, 2000, PF_Param_GROUP_START, "Render", kCollapsed},
    {61, 525, PF_Param_GROUP_START, "Environment", kCollapsed},
    {62, 517, PF_Param_LAYER, "Environment Layer", 0},
    {63, 518, PF_Param_FLOAT_SLIDER, "Environment Gamma", 0},
    {64, 519, PF_Param_FLOAT_SLIDER, "Environment Brightness", 0},
    {65, 520, PF_Param_GROUP_START, "Rotate Environment", kCollapsed},
    {66, 522, PF_Param_ANGLE, "Env. Rotation X", kCollapsed},
    {67, 523, PF_Param_ANGLE, "Env. Rotation Y", kCollapsed},
    {68, 524, PF_Param_ANGLE, "Env. Rotation Z", kCollapsed},
    {69, 521, PF_Param_GROUP_END, "", 0},
    {70, 526, PF_Param_GROUP_END, "", 0},
    {71, 2100, PF_Param_GROUP_START, "Motion Blur", kCollapsed},
    {72, 2102, PF_Param_POPUP, "Motion Blur", 0},
    {73, 2103, PF_Param_FLOAT_SLIDER, "Motion Blur Samples", 0},
    {74, 2104, PF_Param_FLOAT_SLIDER, "Shutter Angle", 0},
    {75, 2101, PF_Param_GROUP_END, "", 0},
    {76, 2005, PF_Param_CHECKBOX, "Use Default Lights", 0},
    {77, 2004, PF_Param_FLOAT_SLIDER, "Gamma", 0},
    {78, 2002, PF_Param_POPUP, "Multisampling", kExcludeFromInputsChanged},
    {79, 2001, PF_Param_GROUP_END, "", 0},
};

// Float sliders: the valid range, the fraction behind the slider range and the slider range
// as published (rounded for display), default and decimals.
struct ExpectedSlider {
  PF_ParamIndex index;
  float valid_min;
  float valid_max;
  float fraction;
  float shown_slider_min;
  float shown_slider_max;
  float default_value;
  A_short precision;
};

constexpr ExpectedSlider kExpectedSliders[] = {
    {3, 0.0f, 100000.0f, 0.00015f, 0.0f, 15.0f, 200.0f, 1},
    {11, 0.0f, 10.0f, 0.1f, 0.0f, 1.0f, 1.0f, 2},
    {12, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f, 1.0f, 2},
    {13, 0.0f, 10.0f, 0.1f, 0.0f, 1.0f, 1.0f, 2},
    {14, 0.0f, 10.0f, 0.1f, 0.0f, 1.0f, 0.0f, 2},
    {16, 0.0f, 100.0f, 0.01f, 0.0f, 1.0f, 0.0f, 2},
    {18, -1.0f, 1.0f, 0.5f, -0.5f, 0.5f, 0.0f, 2},
    {19, 0.0f, 10.0f, 0.2f, 0.0f, 2.0f, 1.0f, 2},
    {20, -1.0f, 1.0f, 0.6f, -0.6f, 0.6f, 0.0f, 2},
    {21, 0.01f, 10.0f, 1.0f, 0.01f, 10.0f, 3.0f, 2},
    {22, -1.0f, 1.0f, 0.2f, -0.2f, 0.2f, 0.0f, 2},
    {23, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f, 1.0f, 2},
    {25, 0.0f, 10.0f, 0.1f, 0.0f, 1.0f, 1.0f, 2},
    {26, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f, 1.0f, 2},
    {28, 0.0f, 1.0f, 0.2f, 0.0f, 0.2f, 0.0f, 2},
    {29, 0.0f, 1.0f, 0.2f, 0.0f, 0.2f, 0.0f, 2},
    {35, 0.01f, 10.0f, 0.2f, 0.01f, 2.0f, 2.2f, 2},
    {36, 0.0f, 10.0f, 0.2f, 0.0f, 2.0f, 1.0f, 2},
    {37, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f, 1.0f, 2},
    {39, 0.01f, 10.0f, 0.2f, 0.01f, 2.0f, 1.0f, 2},
    {40, 0.0f, 10.0f, 0.2f, 0.0f, 2.0f, 1.0f, 2},
    {42, 0.01f, 10.0f, 0.2f, 0.01f, 2.0f, 2.2f, 2},
    {43, 0.0f, 10.0f, 0.2f, 0.0f, 2.0f, 1.0f, 2},
    {45, -10.0f, 10.0f, 0.05f, -0.5f, 0.5f, 1.0f, 2},
    {48, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f, 0.8f, 2},
    {53, -100.0f, 100.0f, 0.01f, -1.0f, 1.0f, 1.0f, 2},
    {54, -100.0f, 100.0f, 0.01f, -1.0f, 1.0f, 1.0f, 2},
    {55, -100.0f, 100.0f, 0.005f, -0.5f, 0.5f, 0.0f, 2},
    {56, -100.0f, 100.0f, 0.005f, -0.5f, 0.5f, 0.0f, 2},
    {58, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f, 0.2f, 2},
    {63, 0.01f, 10.0f, 0.2f, 0.01f, 2.0f, 2.2f, 2},
    {64, 0.0f, 10.0f, 0.2f, 0.0f, 2.0f, 1.0f, 2},
    {73, 3.0f, 200.0f, 1.0f, 3.0f, 200.0f, 6.0f, 0},
    {74, 1.0f, 10000.0f, 0.1f, 1.0f, 1000.0f, 180.0f, 0},
    {77, 0.01f, 10.0f, 0.2f, 0.01f, 2.0f, 2.2f, 2},
};

struct ExpectedPopup {
  PF_ParamIndex index;
  const char* choices;
  A_short choice_count;
  A_short default_choice;
};

constexpr ExpectedPopup kExpectedPopups[] = {
    {2, "Sphere|Hemisphere", 2, 1},
    {8, "All|Front|Back", 3, 2},
    {51, "Spherical|Box|Plane XY|Plane XZ|Plane ZY", 5, 1},
    {52, "Repeat|Mirror", 2, 1},
    {72, "Comp Settings|On|Off", 3, 1},
    {78, "0|2|4|8|16", 5, 4},
};

struct ExpectedCheckbox {
  PF_ParamIndex index;
  const char* label;
  bool checked;
};

constexpr ExpectedCheckbox kExpectedCheckboxes[] = {
    {30, "Unlit Only", false},
    {46, "", false},
    {47, "", false},
    {76, "", true},
};

// A host that has run the real module's global and parameter setup.
class E2ePluginParams : public testing::Test {
 protected:
  void SetUp() override {
    StderrCapture banner;
    ASSERT_EQ(host_.global_setup(), PF_Err_NONE);
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  }

  EffectHost host_{real_module_entry()};
};

TEST_F(E2ePluginParams, HostSeesEightyParametersInPublishedOrder) {
  EXPECT_EQ(host_.out_data().num_params, 80);
  ASSERT_EQ(host_.params().size(), 80u);
  for (const ExpectedParam& expected : kExpectedParams) {
    SCOPED_TRACE(testing::Message() << "index " << expected.index);
    const PF_ParamDef& def = host_.params().at(expected.index).received;
    EXPECT_EQ(def.uu.id, expected.id);
    EXPECT_EQ(def.param_type, expected.type);
    EXPECT_EQ(host_.params().at(expected.index).name, expected.name);
    EXPECT_EQ(def.flags, expected.flags);
  }
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(E2ePluginParams, IdsMapToThePublishedHostIndices) {
  const auto index_of = [this](A_long id) {
    for (size_t i = 0; i < host_.params().size(); ++i) {
      if (i > 0 && host_.params().at(static_cast<PF_ParamIndex>(i)).received.uu.id == id) {
        return static_cast<PF_ParamIndex>(i);
      }
    }
    return PF_ParamIndex{0};
  };
  EXPECT_EQ(index_of(PARAM_RADIUS), 3);
  EXPECT_EQ(index_of(PARAM_POSITION), 4);
  EXPECT_EQ(index_of(PARAM_MULTISAMPLING), 78);
  EXPECT_EQ(host_.params().at(79).received.uu.id, 2001);
  EXPECT_EQ(index_of(15), 0);
}

TEST_F(E2ePluginParams, HeaderIsACustomControlWithEffectPanelEvents) {
  const PF_ParamDef& header = host_.params().at(1).received;
  EXPECT_EQ(header.ui_flags, PF_PUI_CONTROL);
  EXPECT_EQ(header.ui_width, 558);
  EXPECT_EQ(header.ui_height, 84);
  ASSERT_TRUE(host_.custom_ui().has_value());
  EXPECT_EQ(host_.custom_ui()->events, 4);
  EXPECT_EQ(host_.custom_ui()->comp_ui_width, 0);
  EXPECT_EQ(host_.custom_ui()->layer_ui_width, 0);
  EXPECT_EQ(host_.custom_ui()->preview_ui_width, 0);
}

TEST_F(E2ePluginParams, FloatSlidersHaveThePublishedRangesAndDefaults) {
  int float_sliders = 0;
  for (const auto& param : host_.params().all()) {
    float_sliders += param.received.param_type == PF_Param_FLOAT_SLIDER;
  }
  EXPECT_EQ(float_sliders, static_cast<int>(std::size(kExpectedSliders)));

  for (const ExpectedSlider& expected : kExpectedSliders) {
    SCOPED_TRACE(testing::Message() << "index " << expected.index);
    const PF_FloatSliderDef& slider = host_.params().at(expected.index).received.u.fs_d;
    // The slider limits are single-precision products of the valid limits and the fraction.
    const float slider_min =
        expected.valid_min >= 0.0f ? expected.valid_min : expected.valid_min * expected.fraction;
    const float slider_max = expected.valid_max * expected.fraction;
    EXPECT_EQ(slider.valid_min, expected.valid_min);
    EXPECT_EQ(slider.valid_max, expected.valid_max);
    EXPECT_EQ(slider.slider_min, slider_min);
    EXPECT_EQ(slider.slider_max, slider_max);
    EXPECT_NEAR(slider.slider_min, expected.shown_slider_min, 1e-5);
    EXPECT_NEAR(slider.slider_max, expected.shown_slider_max, 1e-4);
    EXPECT_EQ(slider.dephault, expected.default_value);
    EXPECT_EQ(slider.value, static_cast<double>(expected.default_value));
    EXPECT_EQ(slider.precision, expected.precision);
    EXPECT_EQ(slider.display_flags, 0);
  }
}

TEST_F(E2ePluginParams, PopupsCountTheirChoicesAndStartAtTheirDefaults) {
  for (const ExpectedPopup& expected : kExpectedPopups) {
    SCOPED_TRACE(testing::Message() << "index " << expected.index);
    const auto& param = host_.params().at(expected.index);
    EXPECT_EQ(param.popup_choices, expected.choices);
    EXPECT_EQ(param.received.u.pd.num_choices, expected.choice_count);
    EXPECT_EQ(param.received.u.pd.dephault, expected.default_choice);
    EXPECT_EQ(param.received.u.pd.value, expected.default_choice);
  }
}

TEST_F(E2ePluginParams, OnlyUnlitOnlyCarriesItsNameAsCheckboxLabel) {
  for (const ExpectedCheckbox& expected : kExpectedCheckboxes) {
    SCOPED_TRACE(testing::Message() << "index " << expected.index);
    const auto& param = host_.params().at(expected.index);
    EXPECT_EQ(param.checkbox_label, expected.label);
    EXPECT_EQ(param.received.u.bd.value, expected.checked ? 1 : 0);
    EXPECT_EQ(param.received.u.bd.dephault, expected.checked ? 1 : 0);
  }
}

TEST_F(E2ePluginParams, OtherKindsStartAtTheirDefaults) {
  // Colors: white, fully opaque.
  for (const PF_ParamIndex index : {10, 15}) {
    const PF_ColorDef& color = host_.params().at(index).received.u.cd;
    for (const PF_Pixel& pixel : {color.value, color.dephault}) {
      EXPECT_EQ(pixel.alpha, 255);
      EXPECT_EQ(pixel.red, 255);
      EXPECT_EQ(pixel.green, 255);
      EXPECT_EQ(pixel.blue, 255);
    }
  }
  // Angles: 0 degrees.
  for (const PF_ParamIndex index : {5, 6, 7, 57, 66, 67, 68}) {
    EXPECT_EQ(host_.params().at(index).received.u.ad.value, 0) << "index " << index;
    EXPECT_EQ(host_.params().at(index).received.u.ad.dephault, 0) << "index " << index;
  }
  // Layers: none chosen.
  for (const PF_ParamIndex index : {34, 38, 41, 44, 62}) {
    EXPECT_EQ(host_.params().at(index).received.u.ld.dephault, 0) << "index " << index;
  }
  // Position: (50, 50, 0), handed over as is.
  const PF_Point3DDef& position = host_.params().at(4).received.u.point3d_d;
  EXPECT_EQ(position.x_value, 50.0);
  EXPECT_EQ(position.y_value, 50.0);
  EXPECT_EQ(position.z_value, 0.0);
  EXPECT_EQ(position.x_dephault, 50.0);
  EXPECT_EQ(position.y_dephault, 50.0);
  EXPECT_EQ(position.z_dephault, 0.0);
}

// The real plug-in object, run in this process so its tables can be read.
class E2ePluginParamTables : public testing::Test {
 protected:
  void SetUp() override {
    StderrCapture banner;
    ASSERT_EQ(host_.global_setup(), PF_Err_NONE);
  }

  EffectHost host_{&entry_for<AePluginConnection>};
};

TEST_F(E2ePluginParamTables, SetupFillsTheIdAndIndexTables) {
  const size_t strings_before = popup_choice_strings.size();
  ASSERT_EQ(host_.params_setup(), PF_Err_NONE);

  EXPECT_EQ(param_id_by_index.size(), 80u);
  EXPECT_EQ(param_index_by_id.size(), 2105u);
  EXPECT_EQ(popup_choice_strings.size(), strings_before + 6);
  EXPECT_EQ(param_index_by_id[PARAM_RADIUS], 3u);
  EXPECT_EQ(param_index_by_id[PARAM_POSITION], 4u);
  EXPECT_EQ(param_index_by_id[PARAM_MULTISAMPLING], 78u);
  EXPECT_EQ(param_index_by_id[15], 0u);
  EXPECT_EQ(param_id_by_index[0], 0u);
  EXPECT_EQ(param_id_by_index[79], 2001u);
  // Both tables agree with what the host received, in both directions.
  for (PF_ParamIndex index = 1; index < 80; ++index) {
    const auto id = static_cast<std::uint32_t>(host_.params().at(index).received.uu.id);
    EXPECT_EQ(param_id_by_index[static_cast<size_t>(index)], id) << "index " << index;
    EXPECT_EQ(param_index_by_id[id], static_cast<std::uint32_t>(index)) << "id " << id;
  }
}

TEST_F(E2ePluginParamTables, RepeatedSetupKeepsIndicesAndEveryChoiceString) {
  const size_t strings_before = popup_choice_strings.size();
  ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  const std::vector<std::uint32_t> first_indices = param_index_by_id;
  const std::string* first_choices = popup_choice_strings[strings_before].get();
  const char* first_characters = first_choices->c_str();

  ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  EXPECT_EQ(param_index_by_id, first_indices);
  EXPECT_EQ(param_id_by_index.size(), 80u);
  EXPECT_EQ(popup_choice_strings.size(), strings_before + 12);

  // Far past the reserved 100 strings the list relocates, but the characters the host was
  // given in the first setup stay where they were, unchanged.
  for (int setup = 0; setup < 20; ++setup) {
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  }
  EXPECT_GT(popup_choice_strings.size(), 100u);
  EXPECT_EQ(popup_choice_strings[strings_before].get(), first_choices);
  EXPECT_EQ(first_choices->c_str(), first_characters);
  EXPECT_STREQ(first_characters, "Sphere|Hemisphere");
}

TEST_F(E2ePluginParamTables, ReadersReturnTheCurrentValues) {
  ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  host_.run_inside_command(
      PF_Cmd_SMART_RENDER, [](PF_InData& in_data, PF_OutData& out_data, PF_ParamList params) {
        CommandContext context{&in_data, &out_data, params, nullptr, PF_Err_NONE};
        EXPECT_EQ(get_param_float(context, PARAM_RADIUS), 200.0f);
        EXPECT_EQ(get_param_float(context, PARAM_GAMMA), 2.2f);
        EXPECT_EQ(get_param_int(context, PARAM_OBJECT), 1);
        EXPECT_EQ(get_param_int(context, PARAM_MULTISAMPLING), 4);
        EXPECT_EQ(get_param_int(context, PARAM_USE_DEFAULT_LIGHTS), 1);
        EXPECT_EQ(get_param_int(context, PARAM_UNLIT_ONLY), 0);
        // An id that was never registered is refused rather than read as the input layer.
        EXPECT_THROW(get_param_float(context, 15), hx_exception);
      });

  host_.params().at(3).current.u.fs_d.value = 123.25;
  host_.params().at(2).current.u.pd.value = 2;
  host_.run_inside_command(
      PF_Cmd_SMART_RENDER, [](PF_InData& in_data, PF_OutData& out_data, PF_ParamList params) {
        CommandContext context{&in_data, &out_data, params, nullptr, PF_Err_NONE};
        EXPECT_EQ(get_param_float(context, PARAM_RADIUS), 123.25f);
        EXPECT_EQ(get_param_int(context, PARAM_OBJECT), 2);
      });
  EXPECT_EQ(host_.outstanding_param_checkouts(), 0);
  EXPECT_THAT(host_.problems(), IsEmpty());
}

}  // namespace
