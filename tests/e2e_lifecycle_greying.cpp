#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "host/composition.h"
#include "host/effect_host.h"
#include "tests/e2e_plugin_support.h"

namespace {

using e2e_plugin::real_module_entry;
using e2e_plugin::StderrCapture;
using lunaform::host::AegpHandleCounts;
using lunaform::host::Composition;
using lunaform::host::EffectHost;
using lunaform::host::EffectLayer;
using lunaform::host::Layer;
using lunaform::host::LayerRef;
using lunaform::host::SolidLayer;
using testing::IsEmpty;

// The host's "greyed out" stream flag (bit 4); bit 1 would hide the parameter instead.
constexpr AEGP_DynStreamFlags kDisabled = 16;

// The maps whose settings only act on a chosen layer, and those settings.
const std::map<std::string, std::vector<std::string>> kMapSettings = {
    {"Diffuse Layer", {"Diffuse Gamma", "Diffuse Brightness", "Diffuse Blend"}},
    {"Glossiness Layer", {"Glossiness Gamma", "Glossiness Brightness"}},
    {"Illumination Layer", {"Illumination Gamma", "Illumination Brightness"}},
    {"Bump Map Layer",
     {"Bump Map Intensity", "Use Normal Map", "Flip Normal Channels", "Bump Falloff"}},
};

// The real module with its parameters, in the host's default composition plus one solid that
// map parameters can choose.
class E2eLifecycleGreying : public testing::Test {
 protected:
  void SetUp() override {
    Composition comp = host.composition();
    comp.layers.push_back(Layer{.name = "Texture", .content = SolidLayer{{}, 64, 32}});
    host.set_composition(comp);
    StderrCapture banner;
    ASSERT_EQ(host.global_setup(), PF_Err_NONE);
    ASSERT_EQ(host.params_setup(), PF_Err_NONE);
    ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  }

  PF_ParamIndex index_of(const std::string& name) {
    for (PF_ParamIndex index = 1; index < static_cast<PF_ParamIndex>(host.params().size());
         ++index) {
      if (host.params().at(index).name == name) {
        return index;
      }
    }
    ADD_FAILURE() << "no parameter \"" << name << "\"";
    return 0;
  }

  bool disabled(const std::string& name) {
    const AEGP_DynStreamFlags flags = host.dynamic_stream_flags(index_of(name));
    EXPECT_TRUE(flags == 0 || flags == kDisabled) << name << " has flags " << flags;
    return flags == kDisabled;
  }

  EffectLayer& effect_layer() {
    Composition& comp = host.composition();
    return std::get<EffectLayer>(comp.layers.at(effect_layer_index(comp).value()).content);
  }

  // Sends the UI update and checks that it left nothing behind.
  void update_params_ui() {
    ASSERT_EQ(host.update_params_ui(), PF_Err_NONE);
    EXPECT_EQ(host.aegp_handles(), AegpHandleCounts{});
    EXPECT_THAT(host.suites().unreleased(), IsEmpty());
    EXPECT_THAT(host.problems(), IsEmpty());
    EXPECT_EQ(host.outstanding_param_checkouts(), 0);
  }

  EffectHost host{real_module_entry()};
};

TEST_F(E2eLifecycleGreying, ShutterAngleIsUsableOnlyWhileMotionBlurIsOn) {
  struct Case {
    double choice;
    const char* name;
    bool shutter_disabled;
  };
  // Off to On and back: each update sets the flag both ways.
  const Case cases[] = {{1, "Comp Settings", true},
                        {2, "On", false},
                        {3, "Off", true},
                        {2, "On", false},
                        {1, "Comp Settings", true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    effect_layer().params["Motion Blur"] = c.choice;
    update_params_ui();
    EXPECT_EQ(disabled("Shutter Angle"), c.shutter_disabled);
  }
}

TEST_F(E2eLifecycleGreying, MapSettingsAreUsableOnlyWhileTheirMapHasALayer) {
  std::set<std::string> chosen;
  const auto expect_map_settings = [&] {
    for (const auto& [map, settings] : kMapSettings) {
      for (const std::string& setting : settings) {
        EXPECT_EQ(disabled(setting), chosen.count(map) == 0) << setting;
      }
    }
  };

  update_params_ui();
  expect_map_settings();

  // Choosing a layer enables that map's settings at the next update, one map at a time; taking
  // it away greys them out again.
  for (const char* map : {"Diffuse Layer", "Bump Map Layer", "Glossiness Layer"}) {
    SCOPED_TRACE(map);
    effect_layer().params[map] = LayerRef{"Texture"};
    chosen.insert(map);
    update_params_ui();
    expect_map_settings();
  }
  effect_layer().params["Diffuse Layer"] = LayerRef{""};
  chosen.erase("Diffuse Layer");
  update_params_ui();
  expect_map_settings();
}

TEST_F(E2eLifecycleGreying, NoOtherParameterIsEverGreyedOut) {
  std::set<std::string> greyable = {"Shutter Angle"};
  for (const auto& [map, settings] : kMapSettings) {
    greyable.insert(settings.begin(), settings.end());
  }
  // Every map without a layer, motion blur off: as much greyed out as ever happens.
  effect_layer().params["Motion Blur"] = 3.0;
  update_params_ui();

  for (PF_ParamIndex index = 1; index < static_cast<PF_ParamIndex>(host.params().size()); ++index) {
    const std::string& name = host.params().at(index).name;
    EXPECT_EQ(host.dynamic_stream_flags(index), greyable.count(name) != 0 ? kDisabled : 0u)
        << "parameter " << index << " \"" << name << "\"";
  }
  // The environment's settings act without a layer too (its rotation is set up beforehand).
  for (const char* name : {"Environment Layer", "Environment Gamma", "Environment Brightness",
                           "Env. Rotation X", "Env. Rotation Y", "Env. Rotation Z"}) {
    EXPECT_EQ(host.dynamic_stream_flags(index_of(name)), 0u) << name;
  }
}

}  // namespace
