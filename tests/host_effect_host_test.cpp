#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/param_list.h"
#include "tests/host_suite_support.h"

// The host's command protocol: what travels from command to command, what the in-data and the
// parameter callbacks hand out, handles and suites, and what the host owes when it goes.
namespace {

namespace lh = lunaform::host;
using host_test::nums;
using host_test::param_def;
using host_test::ScriptedEntry;
using lh::EffectHost;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Registers a float slider "Radius" of 200 (index 1) and an empty layer parameter (index 2).
PF_Err add_two_params(PF_InData* in, PF_OutData* out, A_long claimed = 3) {
  PF_ParamDef slider = param_def(PF_Param_FLOAT_SLIDER, 16, "Radius");
  slider.u.fs_d.value = 200;
  PF_ParamDef layer = param_def(PF_Param_LAYER, 502, "Diffuse Layer");
  layer.u.ld.dephault = PF_LayerDefault_NONE;
  out->num_params = claimed;
  const PF_Err err = in->inter.add_param(in->effect_ref, -1, &slider);
  return err != PF_Err_NONE ? err : in->inter.add_param(in->effect_ref, -1, &layer);
}

TEST(EffectHost, GlobalAndSequenceDataTravelFromCommandToCommand) {
  std::vector<PF_Handle> seen_global;
  std::vector<PF_Handle> seen_sequence;
  PF_Handle flat = nullptr;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void*) -> PF_Err {
        seen_global.push_back(in->global_data);
        seen_sequence.push_back(in->sequence_data);
        const auto replace_sequence = [&](PF_Handle next) {
          in->utils->host_dispose_handle(in->sequence_data);
          out->sequence_data = next;
        };
        switch (command) {
          case PF_Cmd_GLOBAL_SETUP:
            out->global_data = in->utils->host_new_handle(8);
            break;
          case PF_Cmd_SEQUENCE_SETUP:
            out->sequence_data = in->utils->host_new_handle(16);
            break;
          case PF_Cmd_SEQUENCE_FLATTEN:
            replace_sequence(flat = in->utils->host_new_handle(0));
            break;
          case PF_Cmd_SEQUENCE_RESETUP:
            replace_sequence(in->utils->host_new_handle(16));
            break;
          case PF_Cmd_SEQUENCE_SETDOWN:
            replace_sequence(nullptr);
            break;
          case PF_Cmd_GLOBAL_SETDOWN:
            in->utils->host_dispose_handle(in->global_data);
            out->global_data = nullptr;
            break;
          default:
            out->num_params = 1;  // leaves the out-data handles as the host filled them
        }
        return PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  host.global_setup();
  const PF_Handle global = host.global_data();
  ASSERT_NE(global, nullptr);
  host.params_setup();
  host.sequence_setup();
  const PF_Handle live = host.sequence_data();
  host.update_params_ui();
  host.sequence_flatten();
  EXPECT_EQ(host.sequence_data(), flat);
  host.sequence_resetup();
  const PF_Handle resetup = host.sequence_data();
  host.sequence_setdown();
  host.global_setdown();

  EXPECT_THAT(seen_global,
              ElementsAre(nullptr, global, global, global, global, global, global, global));
  EXPECT_THAT(seen_sequence,
              ElementsAre(nullptr, nullptr, nullptr, live, live, flat, resetup, nullptr));
  EXPECT_EQ(host.global_data(), nullptr);
  EXPECT_EQ(host.sequence_data(), nullptr);
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST(EffectHost, InDataAndParameterCheckoutsDescribeTheLayerAtTheDownsample) {
  std::vector<PF_InData> in_data;
  std::vector<std::pair<PF_Err, PF_ParamDef>> checkouts;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void*) -> PF_Err {
        in_data.push_back(*in);
        if (command == PF_Cmd_PARAMS_SETUP) {
          return add_two_params(in, out);
        }
        for (PF_ParamIndex index : {0, 1, 2, 3}) {
          auto& [err, param] = checkouts.emplace_back();
          err = in->inter.checkout_param(in->effect_ref, index, in->current_time, in->time_step,
                                         in->time_scale, &param);
        }
        return PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  lh::HostSettings& settings = host.settings();
  settings.downsample_x = {1, 2};
  settings.downsample_y = {1, 4};
  settings.pixel_aspect = {4, 3};
  settings.current_time = 48;
  settings.time_step = 2;
  settings.time_scale = 48;
  settings.total_time = 480;
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  host.params().at(1).current.u.fs_d.value = 42.5;
  host.update_params_ui();  // the layer parameter is still empty
  host.set_layer_source(2, lh::LayerSize{301, 99});
  host.update_params_ui();

  // Parameter setup starts with the input layer alone; the extent is the downsampled layer.
  const PF_InData& in = in_data.at(0);
  EXPECT_THAT(nums(in.width, in.height, in.extent_hint.right, in.extent_hint.bottom, in.num_params),
              ElementsAre(1920, 1080, 960, 270, 1));
  EXPECT_THAT(nums(in.downsample_x.num, in.downsample_x.den, in.downsample_y.den,
                   in.pixel_aspect_ratio.num, in.pixel_aspect_ratio.den),
              ElementsAre(1, 2, 4, 4, 3));
  EXPECT_THAT(nums(in.current_time, in.time_step, in.time_scale, in.total_time),
              ElementsAre(48, 2, 48, 480));
  EXPECT_EQ(in.effect_ref, reinterpret_cast<PF_ProgPtr>(&host));

  // The input layer at the downsample; the slider as the test set it, not as registered; an
  // empty layer parameter with no error and 0 x 0; index 3 past the list; a chosen layer at
  // ceil(301 / 2) x ceil(99 / 4).
  ASSERT_EQ(checkouts.size(), 8u);
  const auto size = [&](int i) {
    return nums(checkouts[i].first, checkouts[i].second.u.ld.width,
                checkouts[i].second.u.ld.height);
  };
  EXPECT_THAT(size(0), ElementsAre(PF_Err_NONE, 960, 270));
  EXPECT_EQ(checkouts[1].second.u.fs_d.value, 42.5);
  EXPECT_EQ(host.params().at(1).received.u.fs_d.value, 200.0);
  EXPECT_THAT(size(2), ElementsAre(PF_Err_NONE, 0, 0));
  EXPECT_EQ(checkouts[3].first, PF_Err_INVALID_INDEX);
  EXPECT_THAT(size(6), ElementsAre(PF_Err_NONE, 151, 25));
  EXPECT_EQ(host.outstanding_param_checkouts(), 6) << "six successful checkouts, no checkin";
  EXPECT_THAT(host.problems(), ElementsAre(HasSubstr("checkout_param of index 3"),
                                           HasSubstr("checkout_param of index 3")));
}

TEST(EffectHost, ParameterSetupCollectsDefinitionsInOrderAndRefusesThemLater) {
  A_long claimed = 3;
  PF_Err late = PF_Err_NONE;
  PF_ParamIndex changed = -1;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void* extra) -> PF_Err {
        if (command == PF_Cmd_PARAMS_SETUP) {
          return add_two_params(in, out, claimed);
        }
        if (command == PF_Cmd_USER_CHANGED_PARAM) {
          changed = static_cast<PF_UserChangedParamExtra*>(extra)->param_index;
          return PF_Err_NONE;
        }
        PF_ParamDef def = param_def(PF_Param_FLOAT_SLIDER, 2, "Late");
        late = in->inter.add_param(in->effect_ref, -1, &def);
        in->inter.checkin_param(in->effect_ref, &def);
        return PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  ASSERT_EQ(host.params().size(), 3u);
  EXPECT_EQ(host.params().at(1).name, "Radius");
  EXPECT_EQ(host.params().at(2).received.uu.id, 502);
  EXPECT_THAT(host.problems(), IsEmpty());

  claimed = 5;
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  EXPECT_EQ(host.params().size(), 3u) << "a second setup starts again from the input layer";
  host.update_params_ui();
  EXPECT_EQ(late, PF_Err_INVALID_CALLBACK);
  EXPECT_EQ(host.params().size(), 3u);
  EXPECT_EQ(host.user_changed_param(2), PF_Err_NONE);
  EXPECT_EQ(changed, 2);
  EXPECT_THAT(host.problems(),
              ElementsAre("parameter setup reported 5 parameters, the host received 3",
                          "add_param outside parameter setup", "checkin_param without a checkout"));
}

TEST(EffectHost, HandlesPlatformDataAndCustomUiAreServedAndMisuseIsReported) {
  void* window = &window;
  PF_Err exe_path = PF_Err_NONE;
  bool filled = false;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void*) -> PF_Err {
        if (command == PF_Cmd_PARAMS_SETUP) {
          PF_CustomUIInfo info{};
          info.events = PF_CustomEFlag_EFFECT;
          out->num_params = 1;
          return in->inter.register_ui(in->effect_ref, &info);
        }
        in->utils->get_platform_data(in->effect_ref, PF_PlatData_MAIN_WND, &window);
        wchar_t path[256];
        exe_path = in->utils->get_platform_data(in->effect_ref, PF_PlatData_EXE_FILE_PATH_W, path);
        PF_Handle kept = in->utils->host_new_handle(10);
        PF_Handle freed = in->utils->host_new_handle(20);
        // Fresh blocks are filled, not zeroed, so a module that relies on zeroed memory shows it.
        const auto* bytes = static_cast<unsigned char*>(in->utils->host_lock_handle(freed));
        filled = std::all_of(bytes, bytes + 20, [](unsigned char b) { return b == 0xA5; });
        in->utils->host_unlock_handle(freed);
        if (in->utils->host_get_handle_size(kept) != 10) {
          return PF_Err_INTERNAL_STRUCT_DAMAGED;
        }
        in->utils->host_dispose_handle(freed);
        void* stray = nullptr;
        in->utils->host_dispose_handle(&stray);
        in->utils->host_unlock_handle(kept);
        return PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  EXPECT_FALSE(host.custom_ui().has_value());
  host.params_setup();
  EXPECT_EQ(window, nullptr) << "no main window unless one is set";
  EXPECT_EQ(exe_path, PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_TRUE(filled);
  ASSERT_TRUE(host.custom_ui().has_value());
  EXPECT_EQ(host.custom_ui()->events, PF_CustomEFlag_EFFECT);
  EXPECT_EQ(host.handles().live_count(), 1u) << "the kept handle is the module's leak";
  EXPECT_THAT(host.problems(),
              ElementsAre("get_platform_data for item 7, which this host does not offer",
                          "host_dispose_handle of an unknown handle",
                          "host_unlock_handle of an unknown or unlocked handle"));
}

// A suite table of the test's own, offered to the module through the basic suite.
struct CounterSuite {
  int (*next)();
};

TEST(EffectHost, TheBasicSuiteCountsEveryAcquireAndRelease) {
  static int calls = 0;
  const CounterSuite counter{[] { return ++calls; }};
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData*, PF_ParamList, void*) -> PF_Err {
        const void* table = nullptr;
        in->pica_basicP->AcquireSuite("Counter Suite", 2, &table);
        static_cast<const CounterSuite*>(table)->next();
        if (command == PF_Cmd_GLOBAL_SETUP) {  // kept after sequence setup
          in->pica_basicP->ReleaseSuite("Counter Suite", 2);
        }
        const void* missing = &counter;
        in->pica_basicP->AcquireSuite("Counter Suite", 1, &missing);
        return missing == nullptr ? PF_Err_NONE : PF_Err_INTERNAL_STRUCT_DAMAGED;
      });
  EffectHost host(&ScriptedEntry::entry);
  host.suites().provide("Counter Suite", 2, &counter);
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  EXPECT_THAT(host.suites().unreleased(), IsEmpty());
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(host.suites().use("Counter Suite", 1).refused, 2) << "another version";
  EXPECT_THAT(host.suites().unreleased(), ElementsAre("Counter Suite v2: 2 acquired, 1 released"));
  // One release too many is refused, and cannot hide a leak of another suite.
  host.run_inside_command(PF_Cmd_SEQUENCE_SETUP, [&](PF_InData& in, PF_OutData&, PF_ParamList) {
    EXPECT_EQ(in.pica_basicP->ReleaseSuite("Counter Suite", 2), kSPNoError);
    EXPECT_EQ(in.pica_basicP->ReleaseSuite("Counter Suite", 2), lh::kSuiteNotFoundError);
  });
  EXPECT_EQ(host.suites().use("Counter Suite", 2).released, 3);
}

TEST(EffectHost, TheDestructorSendsTheSetdownsAHostStillOwes) {
  for (const bool sequence : {true, false}) {
    // Global setup fails: its setdown is owed all the same, but only once.
    ScriptedEntry script([](PF_Cmd command, PF_InData*, PF_OutData*, PF_ParamList, void*) {
      return command == PF_Cmd_GLOBAL_SETUP ? PF_Err_INTERNAL_STRUCT_DAMAGED : PF_Err_NONE;
    });
    {
      EffectHost host(&ScriptedEntry::entry);
      EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
      sequence ? host.sequence_setup() : host.global_setdown();
    }
    const std::vector<PF_Cmd> owed =
        sequence ? std::vector<PF_Cmd>{PF_Cmd_SEQUENCE_SETDOWN, PF_Cmd_GLOBAL_SETDOWN}
                 : std::vector<PF_Cmd>{PF_Cmd_GLOBAL_SETDOWN};
    EXPECT_EQ(std::vector(script.received.begin() + (sequence ? 2 : 1), script.received.end()),
              owed);
  }
  ScriptedEntry script(nullptr);
  { EffectHost host(&ScriptedEntry::entry); }
  EXPECT_THAT(script.received, IsEmpty()) << "nothing is owed without a global setup";
}

TEST(EffectHost, ImpossibleSettingsThrowBeforeTheModuleRuns) {
  using Spoil = void (*)(lh::HostSettings&);
  const std::pair<Spoil, const char*> cases[] = {
      {[](lh::HostSettings& s) { s.bits_per_channel = 24; }, "unsupported bit depth 24"},
      {[](lh::HostSettings& s) { s.downsample_x.den = 0; }, "impossible horizontal downsample 1/0"},
      {[](lh::HostSettings& s) { s.pixel_aspect.num = 0; }, "impossible pixel aspect ratio 0/1"},
      {[](lh::HostSettings& s) { s.layer.width = -5; }, "impossible layer size -5 x 1080"},
      {[](lh::HostSettings& s) { s.time_scale = 0; }, "impossible time scale 0"},
      {[](lh::HostSettings& s) {
         s.output_rect = PF_LRect{10, 10, 5, 20};
       },
       "impossible output size -5 x 10"},
  };
  for (const auto& [spoil, message] : cases) {
    ScriptedEntry script(nullptr);
    EffectHost host(&ScriptedEntry::entry);
    spoil(host.settings());
    EXPECT_THAT([&] { host.global_setup(); },
                testing::ThrowsMessage<lh::HostError>(HasSubstr(message)));
    EXPECT_THAT(script.received, IsEmpty());
  }
  ScriptedEntry script(nullptr);
  EffectHost host(&ScriptedEntry::entry);
  EXPECT_THROW(host.set_layer_source(0, lh::LayerSize{10, 10}), lh::HostError);
  EXPECT_THROW(host.set_layer_source(3, lh::LayerSize{40000, 10}), lh::HostError);
}

TEST(ParamList, KeepsItsOwnCopiesInsertsBeforeAnIndexAndRefusesBadDefinitions) {
  lh::ParamList list;
  std::string problem;
  std::string choices = "One|Two|Three";
  PF_ParamDef popup = param_def(PF_Param_POPUP, 10, "");
  popup.u.pd.num_choices = 3;
  popup.u.pd.u.namesptr = choices.c_str();
  std::memset(popup.name, 'x', sizeof popup.name);  // all 32 characters, no terminator
  PF_ParamDef angle = param_def(PF_Param_ANGLE, 30, "A");
  ASSERT_EQ(list.add(-1, &popup, problem), PF_Err_NONE);
  ASSERT_EQ(list.add(1, &angle, problem), PF_Err_NONE);
  choices.assign(choices.size(), '?');
  EXPECT_THAT(nums(list.at(1).received.uu.id, list.at(2).received.uu.id), ElementsAre(30, 10));
  EXPECT_EQ(list.at(2).name, std::string(32, 'x'));
  EXPECT_EQ(list.at(2).popup_choices, "One|Two|Three");
  EXPECT_TRUE(problem.empty());
  // Kept, and reported: a popup whose count disagrees with its string.
  popup.u.pd.num_choices = 4;
  popup.u.pd.u.namesptr = "A|B|C";
  EXPECT_EQ(list.add(-1, &popup, problem), PF_Err_NONE);
  EXPECT_THAT(problem, HasSubstr("declares 4 choices but its string holds 3"));

  const std::tuple<PF_ParamIndex, PF_ParamType, PF_Err, const char*> refused[] = {
      {-1, -1, PF_Err_BAD_CALLBACK_PARAM, "add_param with a null definition"},
      {0, PF_Param_FLOAT_SLIDER, PF_Err_INVALID_INDEX, "add_param at index 0 (the list holds 4)"},
      {5, PF_Param_FLOAT_SLIDER, PF_Err_INVALID_INDEX, "add_param at index 5 (the list holds 4)"},
      {-2, PF_Param_FLOAT_SLIDER, PF_Err_INVALID_INDEX, "add_param at index -2"},
      {-1, 16, PF_Err_UNRECOGNIZED_PARAM_TYPE, "add_param with unknown parameter type 16"},
  };
  for (const auto& [index, type, expected, message] : refused) {
    PF_ParamDef def = param_def(type, 5, "P");
    EXPECT_EQ(list.add(index, type == -1 ? nullptr : &def, problem), expected) << message;
    EXPECT_THAT(problem, HasSubstr(message));
  }
  EXPECT_EQ(list.size(), 4u);
}

}  // namespace
