#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "tests/host_scripted_entry.h"

namespace {

using host_test::ScriptedEntry;
using lunaform::host::EffectHost;
using lunaform::host::HostError;
using lunaform::host::kSuiteNotFoundError;
using lunaform::host::LayerSize;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

PF_ParamDef float_slider(A_long id, const char* name, double value) {
  PF_ParamDef def{};
  def.param_type = PF_Param_FLOAT_SLIDER;
  def.uu.id = id;
  std::strncpy(def.name, name, sizeof def.name - 1);
  def.u.fs_d.value = value;
  def.u.fs_d.dephault = static_cast<PF_FpShort>(value);
  return def;
}

PF_ParamDef layer_param(A_long id, const char* name) {
  PF_ParamDef def{};
  def.param_type = PF_Param_LAYER;
  def.uu.id = id;
  std::strncpy(def.name, name, sizeof def.name - 1);
  def.u.ld.dephault = PF_LayerDefault_NONE;
  return def;
}

// Registers a float slider (index 1) and a layer parameter (index 2) and counts them.
PF_Err add_two_params(PF_InData* in_data, PF_OutData* out_data) {
  PF_ParamDef slider = float_slider(16, "Radius", 200.0);
  PF_ParamDef layer = layer_param(502, "Diffuse Layer");
  PF_Err err = in_data->inter.add_param(in_data->effect_ref, -1, &slider);
  if (err == PF_Err_NONE) {
    err = in_data->inter.add_param(in_data->effect_ref, -1, &layer);
  }
  out_data->num_params = 3;
  return err;
}

TEST(EffectHost, GlobalAndSequenceDataTravelFromCommandToCommand) {
  std::vector<PF_Handle> seen_global;
  std::vector<PF_Handle> seen_sequence;
  PF_Handle flat = nullptr;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void*) -> PF_Err {
        seen_global.push_back(in->global_data);
        seen_sequence.push_back(in->sequence_data);
        switch (command) {
          case PF_Cmd_GLOBAL_SETUP:
            out->global_data = in->utils->host_new_handle(8);
            break;
          case PF_Cmd_PARAMS_SETUP:
            out->num_params = 1;  // the input layer alone
            break;
          case PF_Cmd_SEQUENCE_SETUP:
            out->sequence_data = in->utils->host_new_handle(16);
            break;
          case PF_Cmd_SEQUENCE_FLATTEN:
            flat = in->utils->host_new_handle(0);
            in->utils->host_dispose_handle(in->sequence_data);
            out->sequence_data = flat;
            break;
          case PF_Cmd_SEQUENCE_RESETUP:
            in->utils->host_dispose_handle(in->sequence_data);
            out->sequence_data = in->utils->host_new_handle(16);
            break;
          case PF_Cmd_SEQUENCE_SETDOWN:
            in->utils->host_dispose_handle(in->sequence_data);
            out->sequence_data = nullptr;
            break;
          case PF_Cmd_GLOBAL_SETDOWN:
            in->utils->host_dispose_handle(in->global_data);
            out->global_data = nullptr;
            break;
          default:
            break;  // leaves the out-data handles as the host filled them
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

TEST(EffectHost, InDataDescribesTheCompositionOfTheSettings) {
  std::optional<PF_InData> seen;
  ScriptedEntry script([&](PF_Cmd, PF_InData* in, PF_OutData*, PF_ParamList, void*) -> PF_Err {
    seen = *in;
    return PF_Err_NONE;
  });
  EffectHost host(&ScriptedEntry::entry);
  host.settings().layer = {1920, 1080};
  host.settings().downsample_x = {1, 2};
  host.settings().downsample_y = {1, 4};
  host.settings().pixel_aspect = {4, 3};
  host.settings().current_time = 48;
  host.settings().time_step = 2;
  host.settings().time_scale = 48;
  host.settings().total_time = 480;
  host.params_setup();

  ASSERT_TRUE(seen.has_value());
  EXPECT_EQ(seen->width, 1920);
  EXPECT_EQ(seen->height, 1080);
  EXPECT_EQ(seen->extent_hint.right, 960);
  EXPECT_EQ(seen->extent_hint.bottom, 270);
  EXPECT_EQ(seen->downsample_x.num, 1);
  EXPECT_EQ(seen->downsample_x.den, 2u);
  EXPECT_EQ(seen->downsample_y.den, 4u);
  EXPECT_EQ(seen->pixel_aspect_ratio.num, 4);
  EXPECT_EQ(seen->pixel_aspect_ratio.den, 3u);
  EXPECT_EQ(seen->current_time, 48);
  EXPECT_EQ(seen->time_step, 2);
  EXPECT_EQ(seen->time_scale, 48u);
  EXPECT_EQ(seen->total_time, 480);
  EXPECT_EQ(seen->num_params, 1) << "only the input layer exists when parameter setup starts";
  EXPECT_EQ(seen->effect_ref, reinterpret_cast<PF_ProgPtr>(&host));
  EXPECT_NE(seen->utils, nullptr);
  EXPECT_NE(seen->pica_basicP, nullptr);
  EXPECT_NE(seen->inter.add_param, nullptr);
  EXPECT_NE(seen->inter.checkout_param, nullptr);
}

TEST(EffectHost, ParameterSetupCollectsTheDefinitionsInOrder) {
  ScriptedEntry script(
      [](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void*) -> PF_Err {
        return command == PF_Cmd_PARAMS_SETUP ? add_two_params(in, out) : PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  ASSERT_EQ(host.params().size(), 3u);
  EXPECT_EQ(host.params().at(1).received.uu.id, 16);
  EXPECT_EQ(host.params().at(1).name, "Radius");
  EXPECT_EQ(host.params().at(1).received.u.fs_d.value, 200.0);
  EXPECT_EQ(host.params().at(2).received.param_type, PF_Param_LAYER);
  EXPECT_THAT(host.problems(), IsEmpty());

  // A second setup starts again from the input layer.
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  EXPECT_EQ(host.params().size(), 3u);
  EXPECT_EQ(host.in_data().num_params, 1);
}

TEST(EffectHost, ParameterCallsOutOfOrderAreRefusedAndReported) {
  PF_Err add_result = PF_Err_NONE;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void*) -> PF_Err {
        if (command == PF_Cmd_PARAMS_SETUP) {
          PF_ParamDef def = float_slider(1, "Only", 1.0);
          in->inter.add_param(in->effect_ref, -1, &def);
          out->num_params = 5;  // miscounted
        } else if (command == PF_Cmd_UPDATE_PARAMS_UI) {
          PF_ParamDef def = float_slider(2, "Late", 1.0);
          add_result = in->inter.add_param(in->effect_ref, -1, &def);
          PF_ParamDef param;
          in->inter.checkin_param(in->effect_ref, &param);
        }
        return PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  host.params_setup();
  host.update_params_ui();
  EXPECT_EQ(add_result, PF_Err_INVALID_CALLBACK);
  EXPECT_EQ(host.params().size(), 2u);
  EXPECT_THAT(host.problems(),
              ElementsAre("parameter setup reported 5 parameters, the host received 2",
                          "add_param outside parameter setup", "checkin_param without a checkout"));
}

TEST(EffectHost, CheckoutHandsOutTheCurrentValueAndLayerSizesAtTheDownsample) {
  struct Seen {
    PF_Err result;
    PF_ParamDef param;
  };
  std::vector<Seen> seen;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void*) -> PF_Err {
        if (command == PF_Cmd_PARAMS_SETUP) {
          return add_two_params(in, out);
        }
        for (PF_ParamIndex index : {0, 1, 2, 3}) {
          Seen s{};
          s.result = in->inter.checkout_param(in->effect_ref, index, in->current_time,
                                              in->time_step, in->time_scale, &s.param);
          seen.push_back(s);
        }
        return PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  host.settings().layer = {1920, 1080};
  host.settings().downsample_x = {1, 2};
  host.settings().downsample_y = {1, 2};
  host.params_setup();
  host.params().at(1).current.u.fs_d.value = 42.5;

  host.update_params_ui();  // the diffuse layer parameter is still empty
  host.set_layer_source(2, LayerSize{301, 99});
  host.update_params_ui();

  ASSERT_EQ(seen.size(), 8u);
  // Input layer: the effect's own layer at half resolution.
  EXPECT_EQ(seen[0].result, PF_Err_NONE);
  EXPECT_EQ(seen[0].param.u.ld.width, 960);
  EXPECT_EQ(seen[0].param.u.ld.height, 540);
  // The slider's value as the test set it, not as registered.
  EXPECT_EQ(seen[1].param.u.fs_d.value, 42.5);
  EXPECT_EQ(host.params().at(1).received.u.fs_d.value, 200.0);
  // An empty layer parameter: no error, 0 x 0.
  EXPECT_EQ(seen[2].result, PF_Err_NONE);
  EXPECT_EQ(seen[2].param.u.ld.width, 0);
  EXPECT_EQ(seen[2].param.u.ld.height, 0);
  EXPECT_EQ(seen[2].param.u.ld.dephault, PF_LayerDefault_NONE);
  // Beyond the list.
  EXPECT_EQ(seen[3].result, PF_Err_INVALID_INDEX);
  // With a layer: ceil(301 / 2) x ceil(99 / 2).
  EXPECT_EQ(seen[6].param.u.ld.width, 151);
  EXPECT_EQ(seen[6].param.u.ld.height, 50);

  EXPECT_EQ(host.outstanding_param_checkouts(), 6) << "six successful checkouts, no checkin";
  EXPECT_THAT(host.problems(), ElementsAre(HasSubstr("checkout_param of index 3"),
                                           HasSubstr("checkout_param of index 3")));
}

TEST(EffectHost, CustomUiAndTheMainWindowAreAnswered) {
  PF_Err other_item = PF_Err_NONE;
  void* window = &other_item;
  ScriptedEntry script([&](PF_Cmd command, PF_InData* in, PF_OutData*, PF_ParamList,
                           void*) -> PF_Err {
    if (command == PF_Cmd_PARAMS_SETUP) {
      PF_CustomUIInfo info{};
      info.events = PF_CustomEFlag_EFFECT;
      in->inter.register_ui(in->effect_ref, &info);
    } else if (command == PF_Cmd_GLOBAL_SETUP) {
      in->utils->get_platform_data(in->effect_ref, PF_PlatData_MAIN_WND, &window);
      wchar_t path[256];
      other_item = in->utils->get_platform_data(in->effect_ref, PF_PlatData_EXE_FILE_PATH_W, path);
    }
    return PF_Err_NONE;
  });
  EffectHost host(&ScriptedEntry::entry);
  EXPECT_FALSE(host.custom_ui().has_value());
  host.global_setup();
  host.params_setup();
  EXPECT_EQ(window, nullptr);
  EXPECT_EQ(other_item, PF_Err_BAD_CALLBACK_PARAM);
  ASSERT_TRUE(host.custom_ui().has_value());
  EXPECT_EQ(host.custom_ui()->events, PF_CustomEFlag_EFFECT);
}

TEST(EffectHost, HandleCallbacksCountLeaksAndSurviveForeignHandles) {
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData*, PF_ParamList, void*) -> PF_Err {
        if (command == PF_Cmd_GLOBAL_SETUP) {
          PF_Handle kept = in->utils->host_new_handle(10);
          PF_Handle freed = in->utils->host_new_handle(20);
          auto* bytes = static_cast<char*>(in->utils->host_lock_handle(freed));
          bytes[19] = 'z';
          in->utils->host_unlock_handle(freed);
          if (in->utils->host_get_handle_size(kept) != 10) {
            return PF_Err_INTERNAL_STRUCT_DAMAGED;
          }
          if (in->utils->host_resize_handle(40, &kept) != PF_Err_NONE) {
            return PF_Err_INTERNAL_STRUCT_DAMAGED;
          }
          in->utils->host_dispose_handle(freed);
          void* stray = nullptr;
          in->utils->host_dispose_handle(&stray);
          in->utils->host_unlock_handle(kept);
        }
        return PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 1u) << "the kept handle is the module's leak";
  EXPECT_THAT(host.problems(), ElementsAre("host_dispose_handle of an unknown handle",
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
        SPBasicSuite* basic = in->pica_basicP;
        const void* table = nullptr;
        if (command == PF_Cmd_GLOBAL_SETUP) {
          basic->AcquireSuite("Counter Suite", 2, &table);
          static_cast<const CounterSuite*>(table)->next();
          basic->ReleaseSuite("Counter Suite", 2);
          const void* missing = &counter;
          if (basic->AcquireSuite("AEGP Mask Suite", 6, &missing) != kSuiteNotFoundError ||
              missing != nullptr) {
            return PF_Err_INTERNAL_STRUCT_DAMAGED;
          }
        } else if (command == PF_Cmd_SEQUENCE_SETUP) {
          basic->AcquireSuite("Counter Suite", 2, &table);  // never released
        }
        return PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  host.suites().provide("Counter Suite", 2, &counter);
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  EXPECT_EQ(calls, 1);
  EXPECT_THAT(host.suites().unreleased(), IsEmpty());
  EXPECT_EQ(host.suites().use("AEGP Mask Suite", 6).refused, 1);

  host.sequence_setup();
  EXPECT_EQ(host.suites().use("Counter Suite", 2).acquired, 2);
  EXPECT_EQ(host.suites().use("Counter Suite", 2).released, 1);
  EXPECT_THAT(host.suites().unreleased(), ElementsAre("Counter Suite v2: 2 acquired, 1 released"));
}

TEST(EffectHost, TheBasicSuiteAllocatesBlocksAndComparesNames) {
  ScriptedEntry script([](PF_Cmd, PF_InData* in, PF_OutData*, PF_ParamList, void*) -> PF_Err {
    SPBasicSuite* basic = in->pica_basicP;
    void* block = nullptr;
    if (basic->AllocateBlock(16, &block) != kSPNoError || block == nullptr) {
      return PF_Err_OUT_OF_MEMORY;
    }
    std::memcpy(block, "0123456789abcdef", 16);
    void* grown = nullptr;
    if (basic->ReallocateBlock(block, 64, &grown) != kSPNoError ||
        std::memcmp(grown, "0123456789abcdef", 16) != 0) {
      return PF_Err_OUT_OF_MEMORY;
    }
    basic->FreeBlock(grown);
    const bool same = basic->IsEqual("AEGP Stream Suite", "AEGP Stream Suite");
    const bool different = basic->IsEqual("AEGP Stream Suite", "AEGP Stream Suite ");
    return same && !different ? PF_Err_NONE : PF_Err_INTERNAL_STRUCT_DAMAGED;
  });
  EffectHost host(&ScriptedEntry::entry);
  EXPECT_EQ(host.global_setup(), PF_Err_NONE);
}

TEST(EffectHost, TheDestructorSendsTheSetdownsAHostStillOwes) {
  {
    ScriptedEntry script(
        [](PF_Cmd command, PF_InData*, PF_OutData*, PF_ParamList, void*) -> PF_Err {
          return command == PF_Cmd_GLOBAL_SETUP ? PF_Err_INTERNAL_STRUCT_DAMAGED : PF_Err_NONE;
        });
    {
      EffectHost host(&ScriptedEntry::entry);
      EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
      host.sequence_setup();
    }
    EXPECT_THAT(script.received, ElementsAre(PF_Cmd_GLOBAL_SETUP, PF_Cmd_SEQUENCE_SETUP,
                                             PF_Cmd_SEQUENCE_SETDOWN, PF_Cmd_GLOBAL_SETDOWN));
  }
  {
    ScriptedEntry script(nullptr);
    {
      EffectHost host(&ScriptedEntry::entry);
      host.global_setup();
      host.global_setdown();
    }
    EXPECT_THAT(script.received, ElementsAre(PF_Cmd_GLOBAL_SETUP, PF_Cmd_GLOBAL_SETDOWN));
  }
  {
    ScriptedEntry script(nullptr);
    { EffectHost host(&ScriptedEntry::entry); }
    EXPECT_THAT(script.received, IsEmpty()) << "nothing is owed without a global setup";
  }
}

TEST(EffectHost, EveryCommandIsRecordedWithItsResultAndExtra) {
  std::vector<void*> extras;
  PF_ParamIndex changed = -1;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData*, PF_OutData*, PF_ParamList, void* extra) -> PF_Err {
        extras.push_back(extra);
        if (command == PF_Cmd_USER_CHANGED_PARAM) {
          changed = static_cast<PF_UserChangedParamExtra*>(extra)->param_index;
        }
        return command == 10001 ? PF_Err_NONE : command;
      });
  EffectHost host(&ScriptedEntry::entry);
  int marker = 0;
  EXPECT_EQ(host.send(25, &marker), 25);
  EXPECT_EQ(host.send(-3), -3);
  EXPECT_EQ(host.send(10001), PF_Err_NONE);
  EXPECT_EQ(host.about(), PF_Cmd_ABOUT);
  EXPECT_EQ(host.user_changed_param(7), PF_Cmd_USER_CHANGED_PARAM);
  EXPECT_EQ(changed, 7);
  EXPECT_EQ(extras[0], &marker);
  EXPECT_EQ(extras[1], nullptr);

  ASSERT_EQ(host.commands().size(), 5u);
  EXPECT_EQ(host.commands()[0].command, 25);
  EXPECT_EQ(host.commands()[0].result, 25);
  EXPECT_EQ(host.commands()[1].command, -3);
  EXPECT_EQ(host.commands()[2].result, PF_Err_NONE);
  EXPECT_EQ(host.commands()[3].command, PF_Cmd_ABOUT);
  EXPECT_EQ(host.commands()[4].command, PF_Cmd_USER_CHANGED_PARAM);
}

TEST(EffectHost, CallbacksThroughTheReferenceOfADestroyedHostAreRefused) {
  PF_InData kept{};
  ScriptedEntry script([&](PF_Cmd, PF_InData* in, PF_OutData*, PF_ParamList, void*) -> PF_Err {
    kept = *in;
    return PF_Err_NONE;
  });
  { EffectHost(&ScriptedEntry::entry).params_setup(); }
  PF_ParamDef param{};
  EXPECT_EQ(kept.inter.checkout_param(kept.effect_ref, 0, 0, 1, 30, &param),
            PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(kept.inter.add_param(kept.effect_ref, -1, &param), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(kept.utils->host_new_handle(8), nullptr) << "no host is active on this thread";
  const void* table = &param;
  EXPECT_EQ(kept.pica_basicP->AcquireSuite("AEGP Utility Suite", 10, &table), kSuiteNotFoundError);
  EXPECT_EQ(table, nullptr);
}

TEST(EffectHost, ImpossibleSettingsThrowBeforeTheModuleRuns) {
  struct Case {
    const char* what;
    void (*spoil)(lunaform::host::HostSettings&);
    const char* message;
  };
  const Case cases[] = {
      {"bit depth", [](auto& s) { s.bits_per_channel = 24; }, "unsupported bit depth 24"},
      {"downsample",
       [](auto& s) {
         s.downsample_x = {1, 0};
       },
       "impossible horizontal downsample 1/0"},
      {"pixel aspect",
       [](auto& s) {
         s.pixel_aspect = {0, 1};
       },
       "impossible pixel aspect ratio 0/1"},
      {"layer",
       [](auto& s) {
         s.layer = {-5, 10};
       },
       "impossible layer size -5 x 10"},
      {"time scale", [](auto& s) { s.time_scale = 0; }, "impossible time scale 0"},
      {"output",
       [](auto& s) {
         s.output_rect = PF_LRect{10, 10, 5, 20};
       },
       "impossible output size -5 x 10"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ScriptedEntry script(nullptr);
    EffectHost host(&ScriptedEntry::entry);
    c.spoil(host.settings());
    EXPECT_THAT([&] { host.global_setup(); },
                testing::ThrowsMessage<HostError>(HasSubstr(c.message)));
    EXPECT_THAT(script.received, IsEmpty());
  }
  ScriptedEntry script(nullptr);
  EffectHost host(&ScriptedEntry::entry);
  EXPECT_THROW(host.set_layer_source(0, LayerSize{10, 10}), HostError);
  EXPECT_THROW(host.set_layer_source(3, LayerSize{40000, 10}), HostError);
}

TEST(EffectHost, RunInsideCommandBehavesAsThatCommandWithoutTheModule) {
  ScriptedEntry script(nullptr);
  EffectHost host(&ScriptedEntry::entry);
  host.run_inside_command(PF_Cmd_PARAMS_SETUP, [](PF_InData& in, PF_OutData& out, PF_ParamList) {
    PF_ParamDef def = float_slider(3, "Inside", 1.0);
    EXPECT_EQ(in.inter.add_param(in.effect_ref, -1, &def), PF_Err_NONE);
    out.global_data = in.utils->host_new_handle(4);
  });
  EXPECT_EQ(host.params().size(), 2u);
  EXPECT_NE(host.global_data(), nullptr) << "out-data handles are carried as after a command";
  EXPECT_EQ(host.handles().live_count(), 1u);
  EXPECT_TRUE(host.commands().empty());
  EXPECT_TRUE(script.received.empty());
  EXPECT_EQ(EffectHost::active(), nullptr);

  {
    const EffectHost::Activation activation(host);
    EXPECT_EQ(EffectHost::active(), &host);
  }
  EXPECT_EQ(EffectHost::active(), nullptr);
}

}  // namespace
