#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/layer_geometry.h"
#include "host/pixel_world.h"
#include "host/render_frame.h"
#include "tests/host_suite_support.h"

namespace {

namespace lh = lunaform::host;
using host_test::edges;
using host_test::nums;
using host_test::ScriptedEntry;
using lh::EffectHost;
using lh::PixelWorld;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr PF_ParamIndex kMapIndex = 1;
constexpr A_long kMapId = 502;

// A module with one map layer parameter, "Diffuse Layer" (index 1), whose Smart PreRender
// checks out the input layer under id 0 and the whole map under id 502 five units later, and
// whose Smart Render runs `render`.
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
      PF_RenderRequest whole{};
      whole.rect = {0, 0, 10000, 10000};
      PF_CheckoutResult map{};
      checkout_results.push_back(pre->cb->checkout_layer(in->effect_ref, kMapIndex, kMapId, &whole,
                                                         in->current_time + 5, in->time_step,
                                                         in->time_scale, &map));
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

class EffectHostSmartRender : public testing::Test {
 protected:
  void start() {
    host_.settings().downsample_x = host_.settings().downsample_y = {1, 2};
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  }

  EffectHost host_{&ScriptedEntry::entry};
};

TEST_F(EffectHostSmartRender, PreRenderRequestsAndAnswersTheDownsampledLayersCutToTheRequest) {
  PF_EffectWorld stale{};
  PF_EffectWorld* map_pixels = &stale;
  std::vector<PF_Err> pixel_results;
  SmartModule module([&](PF_InData* in, PF_SmartRenderExtra* smart) {
    pixel_results.push_back(smart->cb->checkout_layer_pixels(in->effect_ref, kMapId, &map_pixels));
    return PF_Err_NONE;
  });
  start();
  host_.settings().current_time = 30;
  host_.settings().pixel_aspect = {10, 11};
  host_.settings().bits_per_channel = 16;
  // An empty map parameter checks out with no error, empty rectangles and no pixels.
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  EXPECT_THAT(edges(host_.layer_checkouts()[1].answer.max_result_rect), ElementsAre(0, 0, 0, 0));
  ASSERT_EQ(host_.smart_render(), PF_Err_NONE);
  EXPECT_THAT(pixel_results, ElementsAre(PF_Err_NONE));
  EXPECT_EQ(map_pixels, nullptr);

  host_.set_layer_source(kMapIndex, lh::LayerSize{1001, 500});
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  // The whole downsampled layer is requested: ceil(1920 / 2) x ceil(1080 / 2).
  const PF_PreRenderInput& request = module.pre_render_input;
  EXPECT_THAT(edges(request.output_request.rect), ElementsAre(0, 0, 960, 540));
  EXPECT_EQ(request.output_request.channel_mask, PF_ChannelMask_ARGB);
  EXPECT_EQ(request.bitdepth, 16);
  EXPECT_THAT(module.checkout_results, ElementsAre(0, 0, 0, 0));
  ASSERT_EQ(host_.layer_checkouts().size(), 2u);
  const auto& input = host_.layer_checkouts()[0];
  EXPECT_THAT(nums(input.index, input.checkout_id, input.what_time, input.time_scale),
              ElementsAre(0, 0, 30, 30));
  EXPECT_THAT(edges(input.answer.result_rect), ElementsAre(0, 0, 960, 540));
  EXPECT_THAT(edges(input.answer.max_result_rect), ElementsAre(0, 0, 960, 540));
  EXPECT_THAT(nums(input.answer.ref_width, input.answer.ref_height, input.answer.par.num,
                   input.answer.par.den),
              ElementsAre(1920, 1080, 10, 11));
  // The map at ceil(1001 / 2) x 250: the oversized request is cut to the layer.
  const auto& map = host_.layer_checkouts()[1];
  EXPECT_THAT(nums(map.index, map.checkout_id, map.what_time), ElementsAre(kMapIndex, kMapId, 35));
  EXPECT_THAT(edges(map.answer.result_rect), ElementsAre(0, 0, 501, 250));
  EXPECT_THAT(edges(map.answer.max_result_rect), ElementsAre(0, 0, 501, 250));

  // A partial output is requested as set and cut to each layer: the right part lies outside.
  host_.settings().output_rect = PF_LRect{100, 50, 1000, 300};
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  EXPECT_THAT(edges(module.pre_render_input.output_request.rect), ElementsAre(100, 50, 1000, 300));
  EXPECT_THAT(edges(host_.layer_checkouts()[0].answer.result_rect), ElementsAre(100, 50, 960, 300));
  EXPECT_THAT(edges(host_.pre_render_output().result_rect), ElementsAre(100, 50, 960, 300));
  EXPECT_THAT(host_.problems(), IsEmpty());
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
}

TEST_F(EffectHostSmartRender, LayerPixelsComeOnlyUnderIdsThePreRenderCheckedOut) {
  std::vector<PF_Err> results;
  std::vector<PF_EffectWorld*> worlds;
  SmartModule module([&](PF_InData* in, PF_SmartRenderExtra* extra) -> PF_Err {
    for (A_long id : {A_long{0}, kMapId, A_long{77}}) {
      results.push_back(
          extra->cb->checkout_layer_pixels(in->effect_ref, id, &worlds.emplace_back()));
    }
    results.push_back(extra->cb->checkin_layer_pixels(in->effect_ref, kMapId));
    results.push_back(extra->cb->checkin_layer_pixels(in->effect_ref, 77));
    return PF_Err_NONE;
  });
  start();
  host_.settings().bits_per_channel = 32;
  host_.set_layer_source(kMapIndex, lh::LayerSize{100, 31});
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  ASSERT_EQ(host_.smart_render(), PF_Err_NONE);

  EXPECT_THAT(results, ElementsAre(PF_Err_NONE, PF_Err_NONE, PF_Err_BAD_CALLBACK_PARAM, PF_Err_NONE,
                                   PF_Err_BAD_CALLBACK_PARAM));
  ASSERT_NE(worlds[0], nullptr);
  ASSERT_NE(worlds[1], nullptr);
  EXPECT_THAT(nums(worlds[0]->width, worlds[0]->height, worlds[1]->width, worlds[1]->height),
              ElementsAre(960, 540, 50, 16));
  EXPECT_GE(static_cast<size_t>(worlds[1]->rowbytes), 50 * sizeof(PF_PixelFloat));
  EXPECT_EQ(worlds[2], nullptr);
  ASSERT_EQ(host_.render_checkouts().size(), 5u);
  EXPECT_EQ(host_.render_checkouts()[1].world, worlds[1]);
  EXPECT_THAT(host_.problems(),
              ElementsAre(HasSubstr("checkout id 77, which Smart PreRender did not check out"),
                          HasSubstr("checkin_layer_pixels of checkout id 77")));
}

TEST(RenderFrame, AModuleThatNeverTakesTheOutputGivesATransparentWorldOfTheRequest) {
  ScriptedEntry script([](PF_Cmd, PF_InData*, PF_OutData* out, PF_ParamList, void*) {
    out->num_params = 1;
    return PF_Err_NONE;
  });
  EffectHost host(&ScriptedEntry::entry);
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  host.settings().layer = {40, 20};
  host.settings().bits_per_channel = 16;
  host.settings().output_rect = PF_LRect{4, 2, 14, 7};
  const std::unique_ptr<PixelWorld> world = lh::render_frame(host, 3);
  ASSERT_NE(world, nullptr);
  EXPECT_THAT(nums(world->width(), world->height(), world->bits_per_channel(),
                   world->world()->origin_x, world->world()->origin_y),
              ElementsAre(10, 5, 16, 4, 2));
  for (A_long y = 0; y < world->height(); ++y) {
    EXPECT_TRUE(std::ranges::all_of(world->row(y), [](std::byte b) { return b == std::byte{0}; }));
  }
  EXPECT_EQ(host.in_data().current_time, 3 * host.settings().time_step);
}

// Layer pixels as the composition gives them: a 3 x 2 float image "Photo" and a 101 x 51
// solid "Grey", read by a module that copies the map's pixels in Smart Render.
class EffectHostLayerPixels : public testing::Test {
 protected:
  void render(const char* layer, int bits, PF_RationalScale downsample = {1, 1}) {
    lh::Composition comp = lh::default_composition();
    auto image = std::make_shared<lh::Image>();
    image->width = 3;
    image->height = 2;
    image->rgba = {0.2f, 0.4f, 0.6f, 0.5f, 1.5f, -0.25f, 1.0f, 1.0f, 0.0f,  0.0f, 0.0f,  0.0f,
                   0.1f, 0.1f, 0.1f, 1.0f, 0.3f, 0.3f,   0.3f, 0.3f, 0.88f, 0.8f, 0.72f, 0.6f};
    comp.layers.push_back(
        lh::Layer{.name = "Photo", .content = lh::FootageLayer{"photo.exr", image}});
    comp.layers.push_back(
        lh::Layer{.name = "Grey", .content = lh::SolidLayer{{0.5, 0.25, 1, 1}, 101, 51}});
    std::get<lh::EffectLayer>(comp.layers[0].content).params = {
        {"Diffuse Layer", lh::LayerRef{layer}}};
    host_.set_composition(comp);
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
    host_.settings().bits_per_channel = bits;
    host_.settings().downsample_x = host_.settings().downsample_y = downsample;
    ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
    ASSERT_EQ(host_.smart_render(), PF_Err_NONE);
    EXPECT_THAT(host_.problems(), IsEmpty());
  }

  // Pixel (x, y) of the copy as alpha, red, green, blue.
  template <typename Channel>
  std::vector<Channel> pixel(int x, int y) const {
    std::vector<Channel> argb(4);
    std::memcpy(argb.data(),
                bytes_.data() + static_cast<size_t>(y) * world_.rowbytes + x * 4 * sizeof(Channel),
                4 * sizeof(Channel));
    return argb;
  }

  std::vector<std::byte> bytes_;
  PF_EffectWorld world_{};
  SmartModule module_{[this](PF_InData* in, PF_SmartRenderExtra* render) -> PF_Err {
    PF_EffectWorld* pixels = nullptr;
    const PF_Err err = render->cb->checkout_layer_pixels(in->effect_ref, kMapId, &pixels);
    if (err != PF_Err_NONE || pixels == nullptr) {
      return err;
    }
    world_ = *pixels;
    const auto* start = reinterpret_cast<const std::byte*>(pixels->data);
    bytes_.assign(start, start + static_cast<size_t>(pixels->rowbytes) * pixels->height);
    return render->cb->checkin_layer_pixels(in->effect_ref, kMapId);
  }};
  EffectHost host_{&ScriptedEntry::entry};
};

TEST_F(EffectHostLayerPixels, FootageArrivesAsStraightColourInTheRendersDepth) {
  render("Photo", 8);
  ASSERT_THAT(nums(world_.width, world_.height), ElementsAre(3, 2));
  // (0.2, 0.4, 0.6) at alpha 0.5 stays straight: not multiplied by alpha.
  EXPECT_THAT(pixel<A_u_char>(0, 0), ElementsAre(128, 51, 102, 153));
  EXPECT_THAT(pixel<A_u_char>(1, 0), ElementsAre(255, 255, 0, 255)) << "clamped";
  EXPECT_THAT(pixel<A_u_char>(2, 1), ElementsAre(153, 224, 204, 184));
  render("Photo", 16);  // the host's white is 32768
  EXPECT_THAT(pixel<A_u_short>(0, 0), ElementsAre(16384, 6554, 13107, 19661));
  EXPECT_THAT(pixel<A_u_short>(1, 0), ElementsAre(32768, 32768, 0, 32768));
  render("Photo", 32);
  EXPECT_THAT(pixel<float>(0, 0), ElementsAre(0.5f, 0.2f, 0.4f, 0.6f));
  EXPECT_THAT(pixel<float>(1, 0), ElementsAre(1.0f, 1.5f, -0.25f, 1.0f)) << "float keeps range";
}

TEST_F(EffectHostLayerPixels, ReducedResolutionShowsTheSourcePixelUnderEachCentre) {
  render("Photo", 32, {1, 2});
  ASSERT_THAT(nums(world_.width, world_.height), ElementsAre(2, 1));  // ceil(3 / 2) x 1
  // Centres at source (1, 1) and (3, 1); the second lies past the edge and takes column 2.
  EXPECT_THAT(pixel<float>(0, 0), ElementsAre(0.3f, 0.3f, 0.3f, 0.3f));
  EXPECT_THAT(pixel<float>(1, 0), ElementsAre(0.6f, 0.88f, 0.8f, 0.72f));
  render("Grey", 8, {1, 4});  // a solid is its colour everywhere
  ASSERT_THAT(nums(world_.width, world_.height), ElementsAre(26, 13));  // ceil(101 / 4) ...
  for (const auto& [x, y] :
       {std::pair{0, 0}, std::pair{25, 0}, std::pair{0, 12}, std::pair{25, 12}}) {
    EXPECT_THAT(pixel<A_u_char>(x, y), ElementsAre(255, 128, 64, 255)) << x << "," << y;
  }
}

TEST(PixelWorld, NoticesAWritePastARowEnd) {
  PixelWorld world(10, 3, 8);
  auto* base = reinterpret_cast<std::byte*>(world.world()->data);
  // One pixel too many on the middle row, as a module that assumes packed rows would write.
  std::fill_n(base + world.world()->rowbytes + 10 * 4, 4, std::byte{0xFF});
  EXPECT_FALSE(world.padding_intact());
  world.clear();
  EXPECT_TRUE(world.padding_intact());
}

}  // namespace
