#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/effect_host.h"
#include "tests/host_scripted_entry.h"

namespace {

using host_test::ScriptedEntry;
using lunaform::host::EffectHost;
using lunaform::host::LayerSize;
using lunaform::host::RenderCheckoutCall;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr PF_ParamIndex kMapIndex = 1;
constexpr A_long kMapId = 502;

void expect_rect(const PF_LRect& rect, A_long left, A_long top, A_long right, A_long bottom) {
  EXPECT_EQ(rect.left, left);
  EXPECT_EQ(rect.top, top);
  EXPECT_EQ(rect.right, right);
  EXPECT_EQ(rect.bottom, bottom);
}

// A module with one map layer parameter (index 1) whose Smart PreRender checks out the input
// layer under id 0 and the map under id 502, and whose Smart Render runs `render`.
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

 private:
  PF_Err handle(PF_Cmd command, PF_InData* in, PF_OutData* out, void* extra) {
    switch (command) {
      case PF_Cmd_PARAMS_SETUP: {
        PF_ParamDef map{};
        map.param_type = PF_Param_LAYER;
        map.uu.id = kMapId;
        std::strcpy(map.name, "Map");
        out->num_params = 2;
        return in->inter.add_param(in->effect_ref, -1, &map);
      }
      case PF_Cmd_SMART_PRE_RENDER: {
        auto* pre = static_cast<PF_PreRenderExtra*>(extra);
        pre_render_input = *pre->input;
        PF_CheckoutResult input{};
        checkout_results.push_back(
            pre->cb->checkout_layer(in->effect_ref, 0, 0, &pre->input->output_request,
                                    in->current_time, in->time_step, in->time_scale, &input));
        pre->output->result_rect = input.result_rect;
        pre->output->max_result_rect = input.max_result_rect;
        PF_RenderRequest whole{};
        whole.rect = {0, 0, 10000, 10000};
        PF_CheckoutResult map{};
        checkout_results.push_back(pre->cb->checkout_layer(in->effect_ref, kMapIndex, kMapId,
                                                           &whole, in->current_time + 5,
                                                           in->time_step, in->time_scale, &map));
        return PF_Err_NONE;
      }
      case PF_Cmd_SMART_RENDER: {
        auto* render = static_cast<PF_SmartRenderExtra*>(extra);
        render_input = *render->input;
        return render_ ? render_(in, render) : PF_Err_NONE;
      }
      default:
        return PF_Err_NONE;
    }
  }

  Render render_;
  ScriptedEntry script_;
};

class EffectHostSmartRender : public testing::Test {
 protected:
  void start() {
    host_.settings().layer = {1920, 1080};
    host_.settings().downsample_x = {1, 2};
    host_.settings().downsample_y = {1, 2};
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  }

  EffectHost host_{&ScriptedEntry::entry};
};

TEST_F(EffectHostSmartRender, PreRenderAtHalfResolutionAnswersWithTheDownsampledLayer) {
  SmartModule module;
  start();
  host_.settings().current_time = 30;
  host_.settings().pixel_aspect = {10, 11};
  host_.settings().bits_per_channel = 16;
  host_.set_layer_source(kMapIndex, LayerSize{1001, 500});
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);

  // The host requests the whole downsampled layer: ceil(1920 / 2) x ceil(1080 / 2).
  expect_rect(module.pre_render_input.output_request.rect, 0, 0, 960, 540);
  EXPECT_EQ(module.pre_render_input.output_request.channel_mask, PF_ChannelMask_ARGB);
  EXPECT_EQ(module.pre_render_input.bitdepth, 16);
  EXPECT_THAT(module.checkout_results, ElementsAre(PF_Err_NONE, PF_Err_NONE));

  ASSERT_EQ(host_.layer_checkouts().size(), 2u);
  const auto& input = host_.layer_checkouts()[0];
  EXPECT_EQ(input.index, 0);
  EXPECT_EQ(input.checkout_id, 0);
  EXPECT_EQ(input.what_time, 30);
  EXPECT_EQ(input.time_scale, 30u);
  expect_rect(input.request.rect, 0, 0, 960, 540);
  expect_rect(input.answer.result_rect, 0, 0, 960, 540);
  expect_rect(input.answer.max_result_rect, 0, 0, 960, 540);
  EXPECT_EQ(input.answer.ref_width, 1920);
  EXPECT_EQ(input.answer.ref_height, 1080);
  EXPECT_EQ(input.answer.par.num, 10);
  EXPECT_EQ(input.answer.par.den, 11u);

  // The map: ceil(1001 / 2) x 250, and the oversized request is cut to the layer.
  const auto& map = host_.layer_checkouts()[1];
  EXPECT_EQ(map.index, kMapIndex);
  EXPECT_EQ(map.checkout_id, kMapId);
  EXPECT_EQ(map.what_time, 35);
  expect_rect(map.answer.result_rect, 0, 0, 501, 250);
  expect_rect(map.answer.max_result_rect, 0, 0, 501, 250);
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(EffectHostSmartRender, APartialOutputIsRequestedAndIntersectedWithEachLayer) {
  SmartModule module;
  start();
  host_.settings().output_rect = PF_LRect{100, 50, 1000, 300};
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  expect_rect(module.pre_render_input.output_request.rect, 100, 50, 1000, 300);
  // The input layer is 960 x 540 at half resolution: the request's right part lies outside.
  expect_rect(host_.layer_checkouts()[0].answer.result_rect, 100, 50, 960, 300);
  expect_rect(host_.pre_render_output().result_rect, 100, 50, 960, 300);
}

TEST_F(EffectHostSmartRender, AnEmptyLayerParameterChecksOutWithNothing) {
  SmartModule module;
  start();
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  const auto& map = host_.layer_checkouts()[1];
  EXPECT_EQ(map.result, PF_Err_NONE);
  expect_rect(map.answer.result_rect, 0, 0, 0, 0);
  expect_rect(map.answer.max_result_rect, 0, 0, 0, 0);

  PF_EffectWorld* pixels = nullptr;
  std::vector<PF_Err> results;
  ScriptedEntry render(
      [&](PF_Cmd, PF_InData* in, PF_OutData*, PF_ParamList, void* extra) -> PF_Err {
        auto* smart = static_cast<PF_SmartRenderExtra*>(extra);
        results.push_back(smart->cb->checkout_layer_pixels(in->effect_ref, kMapId, &pixels));
        return PF_Err_NONE;
      });
  ASSERT_EQ(host_.smart_render(), PF_Err_NONE);
  EXPECT_THAT(results, ElementsAre(PF_Err_NONE));
  EXPECT_EQ(pixels, nullptr);
}

TEST_F(EffectHostSmartRender, ChosenCheckoutsFailWithTheChosenError) {
  SmartModule module([](PF_InData* in, PF_SmartRenderExtra* extra) -> PF_Err {
    PF_EffectWorld* input = reinterpret_cast<PF_EffectWorld*>(1);
    PF_Err err = extra->cb->checkout_layer_pixels(in->effect_ref, 0, &input);
    if (err != PF_Err_NONE) {
      return input == nullptr ? err : PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
    PF_EffectWorld* output = nullptr;
    return extra->cb->checkout_output(in->effect_ref, &output);
  });
  start();
  host_.set_layer_source(kMapIndex, LayerSize{64, 64});
  host_.checkout_failures().layer[kMapId] = PF_Err_OUT_OF_MEMORY;
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  EXPECT_THAT(module.checkout_results, ElementsAre(PF_Err_NONE, PF_Err_OUT_OF_MEMORY));
  EXPECT_EQ(host_.layer_checkouts()[1].result, PF_Err_OUT_OF_MEMORY);

  host_.checkout_failures().layer_pixels[0] = PF_Err_INTERNAL_STRUCT_DAMAGED + 7;
  EXPECT_EQ(host_.smart_render(), PF_Err_INTERNAL_STRUCT_DAMAGED + 7);
  host_.checkout_failures().layer_pixels.clear();
  host_.checkout_failures().output = PF_Err_OUT_OF_MEMORY;
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  EXPECT_EQ(host_.smart_render(), PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(host_.output_world(), nullptr);
  EXPECT_THAT(host_.problems(), IsEmpty()) << "chosen failures are not the module's fault";
}

TEST_F(EffectHostSmartRender, OutputWorldsHavePaddedRowsAndAreClearedBeforeEachRender) {
  struct Case {
    int bits;
    size_t pixel_bytes;
  };
  for (const Case c : {Case{8, 4}, Case{16, 8}, Case{32, 16}}) {
    SCOPED_TRACE(c.bits);
    std::vector<bool> was_clear;
    SmartModule module([&](PF_InData* in, PF_SmartRenderExtra* extra) -> PF_Err {
      PF_EffectWorld* output = nullptr;
      const PF_Err err = extra->cb->checkout_output(in->effect_ref, &output);
      if (err != PF_Err_NONE) {
        return err;
      }
      const size_t row = static_cast<size_t>(output->width) * c.pixel_bytes;
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
    host.settings().layer = {1920, 1080};
    host.settings().downsample_x = {1, 2};
    host.settings().downsample_y = {1, 2};
    host.settings().bits_per_channel = c.bits;
    host.settings().output_rect = PF_LRect{100, 50, 500, 300};
    host.params_setup();
    for (int render = 0; render < 2; ++render) {
      ASSERT_EQ(host.smart_pre_render(), PF_Err_NONE);
      ASSERT_EQ(host.smart_render(), PF_Err_NONE);
    }
    EXPECT_THAT(was_clear, ElementsAre(true, true));
    EXPECT_EQ(module.render_input.bitdepth, c.bits);
    ASSERT_NE(host.output_world(), nullptr);
    const PF_EffectWorld& world = host.output_world()->world();
    EXPECT_EQ(world.width, 400);
    EXPECT_EQ(world.height, 250);
    EXPECT_EQ(world.origin_x, 100);
    EXPECT_EQ(world.origin_y, 50);
    EXPECT_GT(static_cast<size_t>(world.rowbytes), 400 * c.pixel_bytes);
    EXPECT_TRUE(host.output_world()->padding_intact());
    EXPECT_EQ(host.output_world()->row(249)[0], std::byte{0x7F});
  }
}

TEST_F(EffectHostSmartRender, LayerPixelsComeOnlyUnderIdsThePreRenderCheckedOut) {
  std::vector<PF_Err> results;
  std::vector<PF_EffectWorld*> worlds;
  SmartModule module([&](PF_InData* in, PF_SmartRenderExtra* extra) -> PF_Err {
    for (A_long id : {A_long{0}, kMapId, A_long{77}}) {
      PF_EffectWorld* world = nullptr;
      results.push_back(extra->cb->checkout_layer_pixels(in->effect_ref, id, &world));
      worlds.push_back(world);
    }
    results.push_back(extra->cb->checkin_layer_pixels(in->effect_ref, kMapId));
    results.push_back(extra->cb->checkin_layer_pixels(in->effect_ref, 77));
    return PF_Err_NONE;
  });
  start();
  host_.settings().bits_per_channel = 32;
  host_.set_layer_source(kMapIndex, LayerSize{100, 31});
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  ASSERT_EQ(host_.smart_render(), PF_Err_NONE);

  EXPECT_THAT(results, ElementsAre(PF_Err_NONE, PF_Err_NONE, PF_Err_BAD_CALLBACK_PARAM, PF_Err_NONE,
                                   PF_Err_BAD_CALLBACK_PARAM));
  ASSERT_NE(worlds[0], nullptr);
  EXPECT_EQ(worlds[0]->width, 960);
  EXPECT_EQ(worlds[0]->height, 540);
  ASSERT_NE(worlds[1], nullptr);
  EXPECT_EQ(worlds[1]->width, 50);
  EXPECT_EQ(worlds[1]->height, 16);
  EXPECT_GE(static_cast<size_t>(worlds[1]->rowbytes), 50 * sizeof(PF_PixelFloat));
  EXPECT_EQ(worlds[2], nullptr);

  const auto& calls = host_.render_checkouts();
  ASSERT_EQ(calls.size(), 5u);
  EXPECT_EQ(calls[1].kind, RenderCheckoutCall::Kind::layer_pixels);
  EXPECT_EQ(calls[1].checkout_id, kMapId);
  EXPECT_EQ(calls[1].world, worlds[1]);
  EXPECT_EQ(calls[3].kind, RenderCheckoutCall::Kind::checkin_layer_pixels);
  EXPECT_THAT(host_.problems(),
              ElementsAre(HasSubstr("checkout id 77, which Smart PreRender did not check out"),
                          HasSubstr("checkin_layer_pixels of checkout id 77")));
}

TEST_F(EffectHostSmartRender, RenderCallbacksOutsideTheirCommandAreRefused) {
  std::vector<PF_Err> results;
  PF_PreRenderCallbacks* pre = nullptr;
  PF_SmartRenderCallbacks* smart = nullptr;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamList, void* extra) -> PF_Err {
        PF_RenderRequest request{};
        PF_CheckoutResult result{};
        PF_EffectWorld* world = nullptr;
        if (command == PF_Cmd_PARAMS_SETUP) {
          out->num_params = 1;
        } else if (command == PF_Cmd_SMART_PRE_RENDER) {
          pre = static_cast<PF_PreRenderExtra*>(extra)->cb;
          // This module added no parameters: index 5 does not exist.
          results.push_back(pre->checkout_layer(in->effect_ref, 5, 1, &request, 0, 1, 30, &result));
        } else if (command == PF_Cmd_SMART_RENDER) {
          smart = static_cast<PF_SmartRenderExtra*>(extra)->cb;
          results.push_back(pre->checkout_layer(in->effect_ref, 0, 0, &request, 0, 1, 30, &result));
        } else if (command == PF_Cmd_UPDATE_PARAMS_UI) {
          results.push_back(smart->checkout_output(in->effect_ref, &world));
          results.push_back(smart->checkout_layer_pixels(in->effect_ref, 0, &world));
        }
        return PF_Err_NONE;
      });
  start();
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  ASSERT_EQ(host_.smart_render(), PF_Err_NONE);
  ASSERT_EQ(host_.update_params_ui(), PF_Err_NONE);
  EXPECT_THAT(results, ElementsAre(PF_Err_INVALID_INDEX, PF_Err_INVALID_CALLBACK,
                                   PF_Err_INVALID_CALLBACK, PF_Err_INVALID_CALLBACK));
  EXPECT_THAT(host_.problems(), ElementsAre("checkout_layer of index 5, not a layer parameter",
                                            "checkout_layer outside Smart PreRender",
                                            "checkout_output outside Smart Render",
                                            "checkout_layer_pixels outside Smart Render"));
}

TEST_F(EffectHostSmartRender, PreRenderDataReachesTheRenderAndIsDeletedAfterIt) {
  static int deleted = 0;
  static int payload = 0;
  ScriptedEntry script(
      [&](PF_Cmd command, PF_InData*, PF_OutData*, PF_ParamList, void* extra) -> PF_Err {
        if (command == PF_Cmd_SMART_PRE_RENDER) {
          auto* pre = static_cast<PF_PreRenderExtra*>(extra);
          // The preset rectangle arrives as the test set it.
          if (pre->output->result_rect.right != 77) {
            return PF_Err_INTERNAL_STRUCT_DAMAGED;
          }
          pre->output->pre_render_data = &payload;
          pre->output->delete_pre_render_data_func = [](void* data) {
            deleted += data == &payload ? 1 : 100;
          };
        } else if (command == PF_Cmd_SMART_RENDER) {
          auto* render = static_cast<PF_SmartRenderExtra*>(extra);
          return render->input->pre_render_data == &payload ? PF_Err_NONE
                                                            : PF_Err_INTERNAL_STRUCT_DAMAGED;
        }
        return PF_Err_NONE;
      });
  PF_PreRenderOutput preset{};
  preset.result_rect = {0, 0, 77, 10};
  ASSERT_EQ(host_.smart_pre_render(preset), PF_Err_NONE);
  EXPECT_EQ(deleted, 0);
  ASSERT_EQ(host_.smart_render(), PF_Err_NONE);
  EXPECT_EQ(deleted, 1);
}

}  // namespace
