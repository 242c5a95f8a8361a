// The effect through the host, without drawing: exports and PiPL, commands and their failures,
// suites, parameters, the instance's slots, Smart PreRender's requests and the frame record.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "host/composition.h"
#include "host/effect_host.h"
#include "host/module.h"
#include "platform/debug_output.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/host_suites.h"
#include "plugin/hx_exception.h"
#include "plugin/param_ids.h"
#include "plugin/param_readers.h"
#include "plugin/param_tables.h"
#include "scene/render_data.h"
#include "tests/e2e_plugin_support.h"
#include "tests/shell_command.h"

namespace {

using namespace e2e_plugin;
using lunaform::host::EffectHost;
using lunaform::host::LayerSize;
using lunaform::host::RenderCheckoutCall;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// Version 1.0.2 build 66 as hosts pack it: major at bit 19, build in the low bits.
constexpr std::uint32_t kPackedVersion = (1u << 19) | 66u;
// Custom UI (bit 15), deep colour (25), update-params-UI (26).
constexpr std::uint32_t kOutFlags = (1u << 15) | (1u << 25) | (1u << 26);
// 3D camera (1), 3D lights (2), groups start collapsed (3), smart render (10), float colour (12).
constexpr std::uint32_t kOutFlags2 = (1u << 1) | (1u << 2) | (1u << 3) | (1u << 10) | (1u << 12);

TEST(E2ePluginEntry, TheModuleFileExportsTwoEntryPointsAndCarriesTheEffectsPipl) {
  const ShellRun symbols = run_shell_command(
      std::string("nm -D --defined-only --format=just-symbols ") + LUNAFORM_MODULE_PATH);
  EXPECT_EQ(std::tuple(symbols.exit_code, symbols.output),
            std::tuple(0, "GetPluginVersion\nPluginMain\n"));

  real_module_entry();  // loads the module (and keeps it loaded)
  void* handle = dlopen(LUNAFORM_MODULE_PATH, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(handle, nullptr) << dlerror();
  const auto get_version =
      reinterpret_cast<std::uint32_t* (*)(std::uint32_t*)>(dlsym(handle, "GetPluginVersion"));
  ASSERT_NE(get_version, nullptr);
  std::uint32_t version[4] = {9, 9, 9, 9};
  EXPECT_EQ(get_version(version), version);
  EXPECT_THAT(version, ElementsAre(1u, 0u, 2u, 66u));
  dlclose(handle);

  // The PiPL as the host decodes it, its properties in the order the resource lists them.
  const lunaform::host::Pipl pipl = lunaform::host::Module::load(LUNAFORM_MODULE_PATH).pipl();
  std::string keys;
  for (const lunaform::host::PiplProperty& property : pipl.properties) {
    keys += property.vendor + property.key + " ";
  }
  EXPECT_EQ(keys,
            "8BIMkind 8BIMname 8BIMcatg 8BIM8664 8BIMeVER 8BIMePVR 8BIMeSVR 8BIMeINF "
            "8BIMeGLO 8BIMeGL2 8BIMeMNA 8BIMaeFL ");
  EXPECT_EQ(std::tuple(pipl.kind, pipl.name, pipl.category, pipl.entry_point, pipl.match_name),
            std::tuple("eFKT", "Lunaform", "Brightmoor", "PluginMain", "BRIGHTMOOR Sphere"));
  EXPECT_EQ(
      std::tuple(pipl.version, pipl.pipl_version, pipl.spec_version_major, pipl.spec_version_minor,
                 pipl.info_flags, pipl.global_out_flags, pipl.global_out_flags_2, pipl.ae_flags),
      std::tuple(kPackedVersion, 2u, 13u, 9u, 0u, kOutFlags, kOutFlags2, 0u));
}

TEST(E2ePluginEntry, EveryLifecycleCommandSucceedsAndGivesBackEverySuiteItTook) {
  const auto module = lunaform::host::Module::load(LUNAFORM_MODULE_PATH);
  EffectHost host(module.entry_point());
  StderrCapture error_output;
  // Before global setup there is no object to take a command within range (up to 10000).
  EXPECT_EQ((std::tuple{host.send(10000), host.send(-1), host.send(10001)}),
            std::tuple(PF_Err_INTERNAL_STRUCT_DAMAGED, PF_Err_INTERNAL_STRUCT_DAMAGED, 0));
  // Commands above it are answered without touching their records (these pointers would fault).
  for (const PF_Cmd command : {10001, 10002, 65536, INT_MAX}) {
    EXPECT_EQ(module.entry_point()(command, reinterpret_cast<PF_InData*>(std::uintptr_t{0x10}),
                                   reinterpret_cast<PF_OutData*>(std::uintptr_t{0x20}),
                                   reinterpret_cast<PF_ParamList>(std::uintptr_t{0x30}), nullptr,
                                   nullptr),
              0)
        << command;
  }
  int suites_used = 0;
  // Sends one command: it must succeed, and take each suite it needs once and give it back.
  const auto command = [&](const char* name, const std::function<PF_Err()>& send) {
    SCOPED_TRACE(name);
    host.suites().reset_counts();
    ASSERT_EQ(send(), PF_Err_NONE);
    for (const lunaform::host::SuiteUse& use : host.suites().uses()) {
      EXPECT_EQ(std::tuple(use.acquired, use.released), std::tuple(1, 1)) << use.name;
      ++suites_used;
    }
  };
  command("global setup", [&] { return host.global_setup(); });
  const std::string refused =
      "Lunaform Exception: Lunaform received a command before its global setup.\n";
  EXPECT_EQ(error_output.take(), refused + refused + "## Lunaform 1.0.2 (66)");
  // What the module declares at run time is what its PiPL promises.
  EXPECT_EQ(std::tuple(host.out_data().my_version, std::uint32_t(host.out_data().out_flags),
                       std::uint32_t(host.out_data().out_flags2)),
            std::tuple(kPackedVersion, kOutFlags, kOutFlags2));
  EXPECT_THAT(host.aegp_registrations(), testing::ElementsAre(testing::Field(
                                             &lunaform::host::AegpRegistration::name, "Lunaform")));
  command("parameter setup", [&] { return host.params_setup(); });
  EXPECT_EQ(host.out_data().num_params, 80);
  command("commands without a handler", [&] {
    for (const PF_Cmd unknown :
         {2, 10, 11, 12, 16, 18, 19, 20, 21, 25, 26, 100, 9999, 10000, -1, -24, INT_MIN}) {
      EXPECT_EQ(host.send(unknown), PF_Err_NONE) << "command " << unknown;
    }
    return PF_Err_NONE;
  });
  StderrCapture about_text;
  command("about", [&] { return host.about(); });
  EXPECT_EQ(about_text.take(), "Lunaform: Lunaform v1.0.2 (66)\n");
  command("sequence setup", [&] { return host.sequence_setup(); });
  command("parameter UI update", [&] { return host.update_params_ui(); });
  command("sequence setdown", [&] { return host.sequence_setdown(); });
  command("global setdown", [&] { return host.global_setdown(); });
  // Utility at global setup, four suites at the UI update: the checks above looked at suites.
  EXPECT_EQ(suites_used, 5);
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_EQ(host.outstanding_param_checkouts(), 0);
  EXPECT_THAT(host.problems(), IsEmpty());
}

// Handlers that fail after taking two suites, with a standard exception or something else.
struct FailsAfterAcquiring : AePluginConnection {
  void on_user_changed_param(CommandContext& context) override {
    HostSuites suites(*context.in_data);
    suites.get<AEGP_PFInterfaceSuite1>();
    suites.get<AEGP_DynamicStreamSuite2>();
    if (context.in_data->current_time == 0) {
      throw std::runtime_error("failed halfway");
    }
    throw 42;
  }
};

TEST(E2ePluginEntry, AFailingHandlerGives512AndItsPopupAndStillReleasesItsSuites) {
  EffectHost host(&entry_for<FailsAfterAcquiring>);
  StderrCapture banner;
  MessageBoxCapture shown;
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  EXPECT_EQ(host.user_changed_param(1), PF_Err_INTERNAL_STRUCT_DAMAGED);
  host.settings().current_time = 1;
  EXPECT_EQ(host.user_changed_param(1), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_THAT(
      shown.messages,
      ElementsAre(Pair("Lunaform Exception", "failed halfway"),
                  Pair("Lunaform Exception", "Lunaform has encountered an unrecoverable error.")));
  EXPECT_THAT(host.suites().unreleased(), IsEmpty());
  // Without the basic suite a suite is refused with its name and version.
  host.run_inside_command(PF_Cmd_UPDATE_PARAMS_UI, [&](PF_InData& in_data, PF_OutData&,
                                                       PF_ParamList) {
    in_data.pica_basicP = nullptr;
    HostSuites suites(in_data);
    EXPECT_EQ(suites.find<AEGP_StreamSuite2>(), nullptr);
    EXPECT_THAT([&] { suites.get<AEGP_StreamSuite2>(); },
                testing::ThrowsMessage<hx_exception>(testing::StrEq(
                    "Lunaform needs the host's \"AEGP Stream Suite\" version 7, which this host "
                    "does not offer.")));
  });
}

// Plug-in objects whose GPU side fails to come up with a standard exception or something else.
template <int kWay>
struct NoGpu : AePluginConnection {
  NoGpu()
      : AePluginConnection([]() -> std::unique_ptr<RenderState> {
          if (kWay == 0) {
            throw std::runtime_error("failed to create OpenGL 4.1 context");
          }
          throw 7;
        }) {}
};

TEST(E2ePluginEntry, WithoutItsGpuSideTheEffectSaysWhyAndInstancesComeAndGoButNeverRender) {
  const std::pair<PF_FilterProc, std::string> cases[] = {
      {&entry_for<NoGpu<0>>,
       "Lunaform failed to initialize with error:\n\nfailed to create OpenGL 4.1 context"},
      {&entry_for<NoGpu<1>>, "Lunaform has encountered an unrecoverable error."}};
  for (const auto& [entry, popup] : cases) {
    SCOPED_TRACE(popup);
    EffectHost host(entry);
    StderrCapture banner;
    MessageBoxCapture shown;
    EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_THAT(shown.messages, ElementsAre(Pair("Lunaform Exception", popup)));
    EXPECT_EQ(plugin_in<AePluginConnection>(host).renderer, nullptr);
    // Instances are made, saved, loaded and closed; frames cancelled without a timing line.
    EXPECT_EQ((std::tuple{host.params_setup(), host.sequence_setup(), host.sequence_flatten(),
                          host.sequence_resetup(), host.smart_pre_render()}),
              std::tuple(0, 0, 0, 0, 0));
    EXPECT_EQ(host.handles().size(host.sequence_data()), 164u);
    const auto previous =
        hxsdk::set_debug_sink([](std::string_view line) { ADD_FAILURE() << line; });
    EXPECT_EQ(host.smart_render(), PF_Interrupt_CANCEL);
    hxsdk::set_debug_sink(previous);
    EXPECT_EQ(shown.messages.size(), 1u);
    // Global setdown is sent after a failed setup too; nothing is left behind.
    EXPECT_EQ((std::tuple{host.sequence_setdown(), host.global_setdown()}), std::tuple(0, 0));
    EXPECT_EQ(host.handles().live_count(), 0u);
    EXPECT_THAT(host.suites().unreleased(), IsEmpty());
    EXPECT_THAT(host.problems(), IsEmpty());
  }
}

// The real module set up once for the suite, with a solid that map parameters can choose.
class E2ePluginParams : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_ = std::make_unique<EffectHost>(real_module_entry());
    lunaform::host::Composition comp = host_->composition();
    comp.layers.push_back({.name = "Texture", .content = lunaform::host::SolidLayer{{}, 64, 32}});
    host_->set_composition(comp);
    set_up_instance(*host_);
  }
  static void TearDownTestSuite() { host_.reset(); }
  static const PF_ParamDef& def(PF_ParamIndex index) { return host_->params().at(index).received; }

  static inline std::unique_ptr<EffectHost> host_;
};

TEST_F(E2ePluginParams, SeventyNineParametersInThePublishedOrderWithTheirIdsTypesFlagsAndDefaults) {
  // Projects store values by id and hosts by index: neither may ever move.
  // clang-format off
  constexpr A_long kIds[] = {1, 10, 16, 11, 12, 13, 14, 50, 200, 202, 203, 204, 205, 218, 209, 206,
      215, 207, 208, 211, 213, 220, 214, 216, 212, 210, 223, 221, 222, 2003, 224, 201, 500, 502, 503,
      513, 217, 504, 505, 514, 506, 507, 515, 508, 512, 511, 516, 219, 501, 700, 702, 708, 703, 704,
      705, 706, 709, 707, 701, 2000, 525, 517, 518, 519, 520, 522, 523, 524, 521, 526, 2100, 2102,
      2103, 2104, 2101, 2005, 2004, 2002, 2001};
  // N no data, P popup, F float slider, 3 3D point, A angle, C colour, B checkbox, L layer,
  // G group start, E group end; ten to a block.
  const std::string types = "NPF3AAAPGC" "FFFFCFGFFF" "FFFEFFGFFB" "EEGLFFFLFF" "LFFLFBBFEG"
                            "PPFFFFAFEG" "GLFFGAAAEE" "GPFFEBFPE";
  const std::map<char, PF_ParamType> type_of = {{'N', PF_Param_NO_DATA}, {'P', PF_Param_POPUP},
      {'F', PF_Param_FLOAT_SLIDER}, {'3', PF_Param_POINT_3D}, {'A', PF_Param_ANGLE},
      {'C', PF_Param_COLOR}, {'B', PF_Param_CHECKBOX}, {'L', PF_Param_LAYER},
      {'G', PF_Param_GROUP_START}, {'E', PF_Param_GROUP_END}};
  const std::set<PF_ParamIndex> collapsed = {5, 6, 7, 17, 27, 33, 50, 57, 60, 61, 65, 66, 67, 68, 71};
  // clang-format on
  ASSERT_EQ(host_->params().size(), 80u);
  for (PF_ParamIndex index = 1; index < 80; ++index) {
    SCOPED_TRACE(testing::Message() << "index " << index);
    const PF_ParamDef& d = def(index);
    EXPECT_EQ(d.uu.id, kIds[index - 1]);
    EXPECT_EQ(d.param_type, type_of.at(types[std::size_t(index - 1)]));
    // The supervised header (0x40), collapsed groups and angles (0x20), and Multisampling,
    // which changes no picture's content, kept out of the inputs' state (0x100).
    const PF_ParamFlags flags = collapsed.count(index) ? 0x20 : 0;
    EXPECT_EQ(d.flags, index == 1 ? 0x40 : index == 78 ? 0x100 : flags);
    if (d.param_type == PF_Param_FLOAT_SLIDER) {
      // The slider's range lies within the valid one, which holds the default.
      const PF_FloatSliderDef& s = d.u.fs_d;
      EXPECT_TRUE(s.valid_min <= s.slider_min && s.slider_min < s.slider_max &&
                  s.slider_max <= s.valid_max && s.valid_min <= s.dephault &&
                  s.dephault <= s.valid_max);
      EXPECT_EQ(s.value, s.dephault);
    } else if (d.param_type == PF_Param_POPUP) {
      // As many choices as the string names; 1-based.
      const std::string& choices = host_->params().at(index).popup_choices;
      EXPECT_EQ(d.u.pd.num_choices, std::count(choices.begin(), choices.end(), '|') + 1);
      EXPECT_TRUE(d.u.pd.dephault >= 1 && d.u.pd.dephault <= d.u.pd.num_choices);
      EXPECT_EQ(d.u.pd.value, d.u.pd.dephault);
    } else if (d.param_type == PF_Param_CHECKBOX) {
      EXPECT_EQ(d.u.bd.value, d.u.bd.dephault);
    }
  }
  // A new instance renders with 8 GPU samples.
  EXPECT_EQ(std::tuple(host_->params().at(78).popup_choices, def(78).u.pd.dephault),
            std::tuple("0|2|4|8|16", 4));
  // The header is a custom control of the banner's size, drawn only in the effect's panel.
  EXPECT_EQ(std::tuple(def(1).ui_flags, def(1).ui_width, def(1).ui_height),
            std::tuple(PF_PUI_CONTROL, 558, 84));
  ASSERT_TRUE(host_->custom_ui().has_value());
  const PF_CustomUIInfo& ui = *host_->custom_ui();
  EXPECT_EQ(std::tuple(ui.events, ui.comp_ui_width, ui.layer_ui_width, ui.preview_ui_width),
            std::tuple(4, 0, 0, 0));
  EXPECT_THAT(host_->problems(), IsEmpty());
}

TEST_F(E2ePluginParams, OnlySettingsThatCannotActAreGreyedOutAndOnlyUntilTheyCan) {
  auto& params = effect_of(host_->composition()).params;
  params.clear();
  // The maps whose settings only act on a chosen layer, and those settings.
  const std::map<std::string, std::vector<std::string>> map_settings = {
      {"Diffuse Layer", {"Diffuse Gamma", "Diffuse Brightness", "Diffuse Blend"}},
      {"Glossiness Layer", {"Glossiness Gamma", "Glossiness Brightness"}},
      {"Illumination Layer", {"Illumination Gamma", "Illumination Brightness"}},
      {"Bump Map Layer",
       {"Bump Map Intensity", "Use Normal Map", "Flip Normal Channels", "Bump Falloff"}}};
  std::set<std::string> chosen;
  // Exactly the parameters that cannot act are greyed out (bit 4; bit 1 would hide them).
  const auto expect_greyed = [&](bool shutter_greyed) {
    ASSERT_EQ(host_->update_params_ui(), PF_Err_NONE);
    EXPECT_EQ(host_->aegp_handles(), lunaform::host::AegpHandleCounts{});
    std::set<std::string> greyed = {shutter_greyed ? "Shutter Angle" : "(no parameter)"};
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
       {std::pair{1.0, true}, std::pair{2.0, false}, std::pair{3.0, true}, std::pair{2.0, false}}) {
    SCOPED_TRACE(choice);
    params["Motion Blur"] = choice;
    expect_greyed(shutter_greyed);
  }
  // Choosing a layer enables its map's settings, one map at a time; taking it away greys them
  // out again. The environment's settings act without a layer and are never greyed.
  for (const char* map : {"Diffuse Layer", "Bump Map Layer", "Glossiness Layer"}) {
    SCOPED_TRACE(map);
    params[map] = lunaform::host::LayerRef{"Texture"};
    chosen.insert(map);
    expect_greyed(false);
  }
  params["Diffuse Layer"] = lunaform::host::LayerRef{""};
  chosen.erase("Diffuse Layer");
  expect_greyed(false);
  params.clear();
  EXPECT_THAT(host_->problems(), IsEmpty());
}

TEST_F(E2ePluginParams, EachInstanceHoldsFiveEmptySlotsThatNeitherSavingNorLoadingCarries) {
  EffectHost& host = *host_;
  const std::size_t others = host.handles().live_count() - 1;  // the global data
  // Five slots of 32 bytes after a 4-byte header, all zero (the host fills new blocks with 0xA5).
  const auto expect_fresh = [&] {
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
  // Loaded from the flat handle or from a block of anything, it is new; the old block goes.
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
  EXPECT_EQ(std::tuple(host.handles().live_count(), host.in_data().sequence_data),
            std::tuple(others, PF_Handle{}));
  ASSERT_EQ((std::tuple{host.sequence_setup(), host.sequence_flatten(), host.sequence_setdown()}),
            std::tuple(0, 0, 0));
  EXPECT_EQ(host.handles().live_count(), others);
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST(E2ePluginParamTables, RepeatedSetupKeepsEveryChoiceStringWhereTheHostWasGivenIt) {
  EffectHost host(&entry_for<AePluginConnection>);
  set_up_instance(host);
  // Far past the 100 strings reserved the list relocates, but the characters given stay put.
  const std::size_t first = popup_choice_strings.size() - 6;
  const char* first_characters = popup_choice_strings[first]->c_str();
  for (int setup = 0; setup < 20; ++setup) {
    ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  }
  EXPECT_EQ(popup_choice_strings.size(), first + 6 * 21);
  EXPECT_EQ(popup_choice_strings[first]->c_str(), first_characters);
  EXPECT_STREQ(first_characters, "Sphere|Hemisphere");
  // The readers see the current value and refuse an id never registered.
  host.params().at(3).current.u.fs_d.value = 123.25;
  host.run_inside_command(PF_Cmd_SMART_RENDER, [](PF_InData& in, PF_OutData& out, PF_ParamList p) {
    CommandContext context{&in, &out, p, nullptr, PF_Err_NONE};
    EXPECT_EQ(get_param_float(context, PARAM_RADIUS), 123.25f);
    EXPECT_THROW(get_param_float(context, 15), hx_exception);
  });
  EXPECT_EQ(host.outstanding_param_checkouts(), 0);
}

// Records the frame record Smart Render built; needs no GPU side, since nothing is drawn.
class RecordsFrame : public AePluginConnection {
 public:
  RecordsFrame() : AePluginConnection([]() -> std::unique_ptr<RenderState> { return nullptr; }) {}
  void on_smart_render(CommandContext&) override { renders.push_back(frame); }
  static inline std::vector<render_data> renders;
};

auto rect(const PF_LRect& r) {
  return std::tuple(r.left, r.top, r.right, r.bottom);
}

class E2ePluginSmartRender : public testing::Test {
 protected:
  void SetUp() override {
    RecordsFrame::renders.clear();
    set_up_instance(host_);
  }
  EffectHost host_{&entry_for<RecordsFrame>};
};

TEST_F(E2ePluginSmartRender,
       PreRenderAsksForTheMapsWholeAndMergesTheInputsRectanglesWithoutShrinking) {
  // Host indices of the map parameters; Illumination (41) stays empty.
  for (const auto& [index, size] :
       {std::pair{34, LayerSize{641, 481}}, std::pair{38, LayerSize{100, 50}},
        std::pair{62, LayerSize{2048, 1024}}, std::pair{44, LayerSize{33, 17}}}) {
    host_.set_layer_source(index, size);
  }
  host_.settings() = {.downsample_x = {1, 2},
                      .downsample_y = {1, 4},
                      .current_time = 45,
                      .time_step = 3,
                      .time_scale = 90};
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  // The input, then each map under its parameter's id at the resolution, rounded up.
  using Request = std::tuple<PF_ParamIndex, A_long, A_long, A_long>;  // index, id, width, height
  // clang-format off
  const std::vector<Request> expected = {{0, 0, 960, 270}, {34, 502, 321, 121}, {38, 504, 50, 13},
      {41, 506, 0, 0}, {62, 517, 1024, 256}, {44, 508, 17, 5}};
  // clang-format on
  const auto& calls = host_.layer_checkouts();
  ASSERT_EQ(calls.size(), expected.size());
  for (std::size_t i = 0; i < calls.size(); ++i) {
    const auto& [index, id, width, height] = expected[i];
    const PF_RenderRequest& request = calls[i].request;
    EXPECT_EQ(std::tuple(calls[i].index, calls[i].checkout_id, rect(request.rect)),
              std::tuple(index, id, std::tuple(0, 0, width, height)));
    EXPECT_EQ(std::tuple(calls[i].what_time, calls[i].time_step, calls[i].time_scale),
              std::tuple(45, 3, 90u));
    // The maps: every channel of whole frames, colour kept under zero alpha.
    EXPECT_TRUE(i == 0 || (request.field == PF_Field_FRAME && request.channel_mask == 15 &&
                           request.preserve_rgb_of_zero_alpha))
        << index;
  }
  EXPECT_EQ(host_.outstanding_param_checkouts(), 0);

  // The host answers the input checkout with the request clipped to the 1920 x 1080 layer.
  host_.settings() = {};
  const PF_LRect layer{0, 0, 1920, 1080}, none{0, 0, 0, 0}, out{10, 10, 300, 200};
  // Initial result and maximum, the output request, the merged result and maximum.
  // clang-format off
  const std::tuple<PF_LRect, PF_LRect, std::optional<PF_LRect>, PF_LRect, PF_LRect> cases[] = {
      {{5, 5, 5, 100}, none, none, none, layer},  // the empty output takes the empty input result
      {{100, 100, 50, 300}, {7, 7, 7, 9}, out, out, layer},  // a degenerate one the input's
      {{-50, -20, 100, 100}, {-5, 0, 10, 2000}, out, {-50, -20, 300, 200}, {-5, 0, 1920, 2000}},
      {{-100, -100, 5000, 5000}, {-10, -10, 4000, 3000}, out, {-100, -100, 5000, 5000}, {-10, -10, 4000, 3000}},
      {{1, 2, 3, 4}, layer, none, {1, 2, 3, 4}, layer}};  // an empty input result leaves the output
  // clang-format on
  for (const auto& [result, max, output, merged_result, merged_max] : cases) {
    host_.settings().output_rect = output;
    ASSERT_EQ(host_.smart_pre_render({.result_rect = result, .max_result_rect = max}), PF_Err_NONE);
    EXPECT_EQ(std::tuple(rect(host_.pre_render_output().result_rect),
                         rect(host_.pre_render_output().max_result_rect)),
              std::tuple(rect(merged_result), rect(merged_max)));
  }
  // A failed input checkout leaves the rectangles as they were; the maps are asked for anyway.
  host_.checkout_failures().layer[0] = PF_Err_OUT_OF_MEMORY;
  ASSERT_EQ(host_.smart_pre_render({.result_rect = {5, 6, 7, 8}}), PF_Err_NONE);
  EXPECT_EQ(std::tuple(rect(host_.pre_render_output().result_rect),
                       rect(host_.pre_render_output().max_result_rect)),
            std::tuple(std::tuple(5, 6, 7, 8), rect(none)));
  EXPECT_EQ(host_.layer_checkouts().size(), 6u);
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(E2ePluginSmartRender,
       TheFrameRecordFollowsDownsamplingDepthAspectAndTheOutputAndFailedCheckoutsSkipIt) {
  struct Case {
    LayerSize layer;
    PF_RationalScale down_x, down_y, aspect;
    std::optional<PF_LRect> output;
    int bits, width, height, origin_x, origin_y;
    float inv_aspect;
  };
  // clang-format off
  const Case cases[] = {
      {{1920, 1080}, {1, 2}, {1, 2}, {1, 1}, {}, 8, 960, 540, 0, 0, 1.0f},  // half resolution
      {{1920, 1080}, {1, 2}, {1, 2}, {1, 1}, PF_LRect{0, 0, 1000, 600}, 16, 1000, 600, 0, 0, 1.0f},
      // ceil(1921 / 2) = 961, ceil(1081 / 2) = 541; 10 / 9 in single precision.
      {{1921, 1081}, {1, 2}, {1, 2}, {9, 10}, {}, 32, 961, 541, 0, 0, 1.11111116f},
      // ceil(1000 / 3) = 334, ceil(1001 / 4) = 251; a partial output keeps its origin.
      {{1000, 1001}, {1, 3}, {1, 4}, {1, 1}, PF_LRect{100, 50, 300, 250}, 8, 334, 251, 100, 50, 1.0f},
      // 563 x 29945 = 16859035 needs 25 bits: in single precision it rounds to 16859036, and
      // 16859036 / 565 = 29839.002 rounds up to 29840, where the exact quotient is 29839.
      {{29945, 2}, {563, 565}, {1, 1}, {1, 1}, PF_LRect{0, 0, 16, 2}, 8, 29840, 2, 0, 0, 1.0f}};
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << c.layer.width << " at " << c.down_x.num << "/" << c.down_x.den);
    host_.settings() = {.layer = c.layer,
                        .downsample_x = c.down_x,
                        .downsample_y = c.down_y,
                        .pixel_aspect = c.aspect,
                        .bits_per_channel = c.bits,
                        .output_rect = c.output};
    RecordsFrame::renders.clear();
    ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
    ASSERT_EQ(host_.smart_render(), PF_Err_NONE);
    ASSERT_EQ(RecordsFrame::renders.size(), 1u);
    const render_data& frame = RecordsFrame::renders[0];
    EXPECT_EQ(std::tuple(frame.render_width, frame.render_height, frame.output_origin_x,
                         frame.output_origin_y),
              std::tuple(c.width, c.height, c.origin_x, c.origin_y));
    EXPECT_EQ(std::tuple(frame.inv_downsample_x, frame.inv_downsample_y, frame.inv_pixel_aspect),
              std::tuple(float(c.down_x.den) / float(c.down_x.num),
                         float(c.down_y.den) / float(c.down_y.num), c.inv_aspect));
    EXPECT_EQ(frame.bytes_per_channel, unsigned(c.bits / 8));
    // The input and output images are the worlds the host handed out, in that order.
    const auto& calls = host_.render_checkouts();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(
        std::tuple(calls[0].kind, calls[0].checkout_id, calls[1].kind),
        std::tuple(RenderCheckoutCall::Kind::layer_pixels, 0, RenderCheckoutCall::Kind::output));
    for (const auto& [image, world] : {std::pair{frame.input_image, calls[0].world},
                                       std::pair{frame.output_image, calls[1].world}}) {
      ASSERT_NE(world, nullptr);
      EXPECT_EQ(image.data, world->data);
      EXPECT_EQ(
          std::tuple(image.row_bytes, image.width, image.height, int(image.bytes_per_channel)),
          std::tuple(world->rowbytes, world->width, world->height, c.bits / 8));
    }
  }
  EXPECT_THAT(host_.problems(), IsEmpty());
  // A failed checkout returns the host's error and skips the render.
  RecordsFrame::renders.clear();
  host_.checkout_failures().output = PF_Err_OUT_OF_MEMORY;
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  EXPECT_EQ(host_.smart_render(), PF_Err_OUT_OF_MEMORY);
  host_.checkout_failures() = {.layer_pixels = {{0, PF_Err_BAD_CALLBACK_PARAM}}};
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  EXPECT_EQ(host_.smart_render(), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_THAT(RecordsFrame::renders, IsEmpty());
  // The output is not even asked for once the input failed.
  ASSERT_EQ(host_.render_checkouts().size(), 1u);
  EXPECT_EQ(host_.render_checkouts()[0].kind, RenderCheckoutCall::Kind::layer_pixels);
}

}  // namespace
