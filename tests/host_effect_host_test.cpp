#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "host/effect_host.h"
#include "host/pixel_world.h"
#include "tests/host_suite_support.h"

// The host's command protocol: what travels between commands, in-data, parameters, handles, the
// setdowns owed, and Smart Render with its layer and output worlds.
namespace {

namespace lh = lunaform::host;
using host_test::edges;
using host_test::nums;
using host_test::param_def;
using host_test::ScriptedEntry;
using lh::EffectHost;
using lh::PixelWorld;
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
  host.sequence_resetup();
  const PF_Handle resetup = host.sequence_data();
  host.sequence_setdown();
  host.global_setdown();

  EXPECT_THAT(seen_global,
              ElementsAre(nullptr, global, global, global, global, global, global, global));
  EXPECT_THAT(seen_sequence,
              ElementsAre(nullptr, nullptr, nullptr, live, live, flat, resetup, nullptr));
  EXPECT_EQ(host.global_data(), nullptr);
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

  // The input layer at the downsample; the slider as set, not as registered; an empty layer
  // with no error, 0 x 0; index 3 past the list; a chosen layer at ceil(301 / 2) x ceil(99 / 4).
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
  EXPECT_EQ(checkouts[6].second.u.ld.data, nullptr) << "a parameter checkout holds no pixels";
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
  host.params_setup();
  EXPECT_EQ(window, nullptr) << "no main window unless one is set";
  EXPECT_TRUE(filled);
  ASSERT_TRUE(host.custom_ui().has_value());
  EXPECT_EQ(host.custom_ui()->events, PF_CustomEFlag_EFFECT);
  EXPECT_EQ(host.handles().live_count(), 1u) << "the kept handle is the module's leak";
  EXPECT_THAT(host.problems(), ElementsAre("host_dispose_handle of an unknown handle",
                                           "host_unlock_handle of an unknown or unlocked handle"));
}

TEST(EffectHost, TheDestructorSendsTheSetdownsAHostStillOwesEvenAfterAFailedGlobalSetup) {
  const auto owed = [](bool sequence) {
    ScriptedEntry script([](PF_Cmd command, PF_InData*, PF_OutData*, PF_ParamList, void*) {
      return command == PF_Cmd_GLOBAL_SETUP ? PF_Err_INTERNAL_STRUCT_DAMAGED : PF_Err_NONE;
    });
    {
      EffectHost host(&ScriptedEntry::entry);
      host.global_setup();
      sequence ? host.sequence_setup() : host.global_setdown();  // owed once, not twice
    }
    return script.received;
  };
  EXPECT_THAT(owed(true), ElementsAre(PF_Cmd_GLOBAL_SETUP, PF_Cmd_SEQUENCE_SETUP,
                                      PF_Cmd_SEQUENCE_SETDOWN, PF_Cmd_GLOBAL_SETDOWN));
  EXPECT_THAT(owed(false), ElementsAre(PF_Cmd_GLOBAL_SETUP, PF_Cmd_GLOBAL_SETDOWN));
  ScriptedEntry script(nullptr);
  { EffectHost host(&ScriptedEntry::entry); }
  EXPECT_THAT(script.received, IsEmpty()) << "nothing is owed without a global setup";
}

constexpr PF_ParamIndex kMapIndex = 1;
constexpr A_long kMapId = 502;

// A module with one map layer parameter (index 1): Smart PreRender checks out the input layer
// (id 0) and map_request of the map (id 502; the whole map unless set) five units later; Smart
// Render runs `render`.
class SmartModule {
 public:
  using Render = std::function<PF_Err(PF_InData*, PF_SmartRenderExtra*)>;

  explicit SmartModule(Render render = nullptr)
      : render_(std::move(render)),
        script_([this](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList,
                       void* extra) -> PF_Err { return handle(command, in, out, extra); }) {}

  PF_PreRenderInput pre_render_input{};
  std::vector<PF_Err> checkout_results;
  PF_SmartRenderInput render_input{};
  PF_LRect map_request{0, 0, 10000, 10000};

 private:
  PF_Err handle(PF_Cmd command, PF_InData* in, PF_OutData* out, void* extra) {
    if (command == PF_Cmd_PARAMS_SETUP) {
      PF_ParamDef map = host_test::param_def(PF_Param_LAYER, kMapId, "Diffuse Layer");
      out->num_params = 2;
      return in->inter.add_param(in->effect_ref, -1, &map);
    }
    if (command == PF_Cmd_SMART_PRE_RENDER) {
      auto* pre = static_cast<PF_PreRenderExtra*>(extra);
      pre_render_input = *pre->input;
      PF_CheckoutResult input{};
      checkout_results.push_back(
          pre->cb->checkout_layer(in->effect_ref, 0, 0, &pre->input->output_request,
                                  in->current_time, in->time_step, in->time_scale, &input));
      pre->output->result_rect = input.result_rect;
      pre->output->max_result_rect = input.max_result_rect;
      PF_RenderRequest request{.rect = map_request};
      PF_CheckoutResult map{};
      checkout_results.push_back(pre->cb->checkout_layer(in->effect_ref, kMapIndex, kMapId,
                                                         &request, in->current_time + 5,
                                                         in->time_step, in->time_scale, &map));
    } else if (command == PF_Cmd_SMART_RENDER) {
      auto* render = static_cast<PF_SmartRenderExtra*>(extra);
      render_input = *render->input;
      return render_ ? render_(in, render) : PF_Err_NONE;
    }
    return PF_Err_NONE;
  }

  Render render_;
  ScriptedEntry script_;
};

TEST(EffectHostSmartRender, PreRenderRequestsAndAnswersTheDownsampledLayersCutToTheRequest) {
  PF_EffectWorld stale{};
  PF_EffectWorld* map_pixels = &stale;
  std::vector<PF_Err> pixel_results;
  SmartModule module([&](PF_InData* in, PF_SmartRenderExtra* smart) {
    pixel_results.push_back(smart->cb->checkout_layer_pixels(in->effect_ref, kMapId, &map_pixels));
    return PF_Err_NONE;
  });
  EffectHost host(&ScriptedEntry::entry);
  host.settings().downsample_x = host.settings().downsample_y = {1, 2};
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  host.settings().current_time = 30;
  host.settings().pixel_aspect = {10, 11};
  host.settings().bits_per_channel = 16;
  // An empty map parameter checks out with no error, empty rectangles and no pixels.
  ASSERT_EQ(host.smart_pre_render(), PF_Err_NONE);
  EXPECT_THAT(edges(host.layer_checkouts()[1].answer.max_result_rect), ElementsAre(0, 0, 0, 0));
  ASSERT_EQ(host.smart_render(), PF_Err_NONE);
  EXPECT_THAT(pixel_results, ElementsAre(PF_Err_NONE));
  EXPECT_EQ(map_pixels, nullptr);

  host.set_layer_source(kMapIndex, lh::LayerSize{1001, 500});
  ASSERT_EQ(host.smart_pre_render(), PF_Err_NONE);
  // The whole downsampled layer is requested: ceil(1920 / 2) x ceil(1080 / 2).
  const PF_PreRenderInput& request = module.pre_render_input;
  EXPECT_THAT(edges(request.output_request.rect), ElementsAre(0, 0, 960, 540));
  EXPECT_EQ(request.output_request.channel_mask, PF_ChannelMask_ARGB);
  EXPECT_EQ(request.bitdepth, 16);
  EXPECT_THAT(module.checkout_results, ElementsAre(0, 0, 0, 0));
  ASSERT_EQ(host.layer_checkouts().size(), 2u);
  const auto& input = host.layer_checkouts()[0];
  EXPECT_THAT(nums(input.index, input.checkout_id, input.what_time, input.time_scale),
              ElementsAre(0, 0, 30, 30));
  EXPECT_THAT(edges(input.answer.max_result_rect), ElementsAre(0, 0, 960, 540));
  EXPECT_THAT(nums(input.answer.ref_width, input.answer.ref_height, input.answer.par.num,
                   input.answer.par.den),
              ElementsAre(1920, 1080, 10, 11));
  // The map at ceil(1001 / 2) x 250: the oversized request is cut to the layer.
  const auto& map = host.layer_checkouts()[1];
  EXPECT_THAT(nums(map.index, map.checkout_id, map.what_time), ElementsAre(kMapIndex, kMapId, 35));
  EXPECT_THAT(edges(map.answer.result_rect), ElementsAre(0, 0, 501, 250));
  EXPECT_THAT(edges(map.answer.max_result_rect), ElementsAre(0, 0, 501, 250));

  // A partial output is requested as set and cut to each layer: the right part lies outside.
  host.settings().output_rect = PF_LRect{100, 50, 1000, 300};
  ASSERT_EQ(host.smart_pre_render(), PF_Err_NONE);
  EXPECT_THAT(edges(module.pre_render_input.output_request.rect), ElementsAre(100, 50, 1000, 300));
  EXPECT_THAT(edges(host.layer_checkouts()[0].answer.result_rect), ElementsAre(100, 50, 960, 300));
  EXPECT_THAT(edges(host.pre_render_output().result_rect), ElementsAre(100, 50, 960, 300));
  EXPECT_THAT(host.problems(), IsEmpty());
}

TEST(EffectHostOutput, WorldsHavePaddedRowsAndAreClearedBeforeEachRenderAtEveryDepth) {
  for (const int bits : {8, 16, 32}) {
    SCOPED_TRACE(bits);
    const size_t pixel_bytes = bits / 2;  // four channels of bits / 8 bytes
    std::vector<bool> was_clear;
    SmartModule module([&](PF_InData* in, PF_SmartRenderExtra* extra) -> PF_Err {
      PF_EffectWorld* output = nullptr;
      if (const PF_Err err = extra->cb->checkout_output(in->effect_ref, &output)) {
        return err;
      }
      const size_t row = static_cast<size_t>(output->width) * pixel_bytes;
      bool clear = true;
      for (A_long y = 0; y < output->height; ++y) {
        auto* start = reinterpret_cast<unsigned char*>(output->data) + y * output->rowbytes;
        clear = clear && std::all_of(start, start + row, [](unsigned char b) { return b == 0; });
        std::memset(start, 0x7F, row);  // every pixel written, nothing past the row
      }
      was_clear.push_back(clear);
      return PF_Err_NONE;
    });
    EffectHost host(&ScriptedEntry::entry);
    host.settings().downsample_x = host.settings().downsample_y = {1, 2};
    host.settings().bits_per_channel = bits;
    host.settings().output_rect = PF_LRect{100, 50, 500, 300};
    host.params_setup();
    for (int render = 0; render < 2; ++render) {
      ASSERT_EQ(host.smart_pre_render(), PF_Err_NONE);
      ASSERT_EQ(host.smart_render(), PF_Err_NONE);
    }
    EXPECT_THAT(was_clear, ElementsAre(true, true));
    EXPECT_EQ(module.render_input.bitdepth, bits);
    ASSERT_NE(host.output_world(), nullptr);
    const PF_EffectWorld& world = host.output_world()->world();
    EXPECT_THAT(nums(world.width, world.height, world.origin_x, world.origin_y),
                ElementsAre(400, 250, 100, 50));
    EXPECT_GT(static_cast<size_t>(world.rowbytes), 400 * pixel_bytes);
    EXPECT_EQ((world.world_flags & PF_WorldFlag_DEEP) != 0, bits == 16);
    EXPECT_TRUE(host.output_world()->padding_intact());
    EXPECT_EQ(host.output_world()->row(249)[0], std::byte{0x7F});
  }

  PixelWorld world(10, 3, 8);
  auto* base = reinterpret_cast<std::byte*>(world.world()->data);
  // One pixel too many on the middle row, as a module that assumes packed rows would write.
  std::fill_n(base + world.world()->rowbytes + 10 * 4, 4, std::byte{0xFF});
  EXPECT_FALSE(world.padding_intact());
  world.clear();
  EXPECT_TRUE(world.padding_intact());
}

// Layer pixels as the composition gives them: a 3 x 2 float image "Photo" and a 101 x 51
// solid "Grey", read by a module that copies the map's pixels in Smart Render.
TEST(EffectHostLayerPixels, DownsamplingTakesThePixelUnderEachCentreAndSolidsAreTheirColour) {
  std::vector<std::byte> bytes;
  PF_EffectWorld world{};
  SmartModule module([&](PF_InData* in, PF_SmartRenderExtra* render) -> PF_Err {
    PF_EffectWorld* pixels = nullptr;
    const PF_Err err = render->cb->checkout_layer_pixels(in->effect_ref, kMapId, &pixels);
    if (err != PF_Err_NONE || pixels == nullptr) {
      return err;
    }
    world = *pixels;
    const auto* start = reinterpret_cast<const std::byte*>(pixels->data);
    bytes.assign(start, start + static_cast<size_t>(pixels->rowbytes) * pixels->height);
    return render->cb->checkin_layer_pixels(in->effect_ref, kMapId);
  });
  EffectHost host(&ScriptedEntry::entry);
  lh::Composition comp = lh::default_composition();
  const auto image = std::make_shared<lh::Image>(lh::Image{
      3, 2, {0.2f, 0.4f, 0.6f, 0.5f, 1.5f, -0.25f, 1.0f, 1.0f, 0.0f,  0.0f, 0.0f,  0.0f,
             0.1f, 0.1f, 0.1f, 1.0f, 0.3f, 0.3f,   0.3f, 0.3f, 0.88f, 0.8f, 0.72f, 0.6f}});
  comp.layers.push_back(
      lh::Layer{.name = "Photo", .content = lh::FootageLayer{"photo.exr", image}});
  comp.layers.push_back(
      lh::Layer{.name = "Grey", .content = lh::SolidLayer{{0.5, 0.25, 1, 1}, 101, 51}});
  const auto render = [&](const char* layer, int bits, PF_RationalScale downsample) {
    std::get<lh::EffectLayer>(comp.layers[0].content).params = {
        {"Diffuse Layer", lh::LayerRef{layer}}};
    host.set_composition(comp);
    ASSERT_EQ(host.params_setup(), PF_Err_NONE);
    host.settings().bits_per_channel = bits;
    host.settings().downsample_x = host.settings().downsample_y = downsample;
    ASSERT_EQ(host.smart_pre_render(), PF_Err_NONE);
    ASSERT_EQ(host.smart_render(), PF_Err_NONE);
    EXPECT_THAT(host.problems(), IsEmpty());
  };
  // Pixel (x, y) of the copy as alpha, red, green, blue, in the type of `channel`.
  const auto pixel = [&](auto channel, int x, int y) {
    std::vector<decltype(channel)> argb(4);
    const size_t size = sizeof channel;
    std::memcpy(argb.data(), bytes.data() + y * size_t(world.rowbytes) + x * 4 * size, 4 * size);
    return argb;
  };
  // At reduced resolution, the source pixel under each centre: at half size the centres lie at
  // source (1, 1) and (3, 1), the second past the edge, so it takes column 2.
  render("Photo", 32, {1, 2});
  ASSERT_THAT(nums(world.width, world.height), ElementsAre(2, 1));  // ceil(3 / 2) x 1
  EXPECT_THAT(pixel(0.0f, 0, 0), ElementsAre(0.3f, 0.3f, 0.3f, 0.3f));
  EXPECT_THAT(pixel(0.0f, 1, 0), ElementsAre(0.6f, 0.88f, 0.8f, 0.72f));
  // Part of a layer is a world of that part, placed at its origin: source pixel (1, 0).
  module.map_request = {1, 0, 2, 1};
  render("Photo", 32, {1, 1});
  ASSERT_THAT(nums(world.width, world.height, world.origin_x, world.origin_y),
              ElementsAre(1, 1, 1, 0));
  EXPECT_THAT(pixel(0.0f, 0, 0), ElementsAre(1.0f, 1.5f, -0.25f, 1.0f));
  module.map_request = {0, 0, 10000, 10000};
  render("Grey", 8, {1, 4});  // a solid is its colour everywhere
  ASSERT_THAT(nums(world.width, world.height), ElementsAre(26, 13));  // ceil(101 / 4) ...
  for (const auto& [x, y] :
       {std::pair{0, 0}, std::pair{25, 0}, std::pair{0, 12}, std::pair{25, 12}}) {
    EXPECT_THAT(pixel(A_u_char{}, x, y), ElementsAre(255, 128, 64, 255)) << x << "," << y;
  }
}

}  // namespace
