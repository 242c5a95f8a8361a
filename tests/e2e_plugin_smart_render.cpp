// Smart PreRender and the frame record Smart Render builds, through the host with the effect's
// own handlers; the frame itself is recorded instead of drawn.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "host/effect_host.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/param_ids.h"
#include "scene/render_data.h"
#include "tests/e2e_plugin_support.h"

namespace {

using e2e_plugin::entry_for;
using lunaform::host::EffectHost;
using lunaform::host::LayerSize;
using lunaform::host::RenderCheckoutCall;
using testing::IsEmpty;

// What the plug-in object saw in one Smart Render: its frame record, and the diffuse map
// layer fetched the way the texture loader fetches it.
struct RenderRecord {
  render_data frame;
  image_desc diffuse;
  bool diffuse_world = false;
  PF_Err diffuse_error = PF_Err_NONE;
};

// Needs no GPU side: the frame is recorded, not drawn.
class RecordsFrame : public AePluginConnection {
 public:
  RecordsFrame() : AePluginConnection([]() -> std::unique_ptr<RenderState> { return nullptr; }) {}
  void on_smart_render(CommandContext& context) override {
    RenderRecord record{frame};
    // Marks that show whether a checkout that brings nothing keeps the size fields.
    record.diffuse.width = -7;
    record.diffuse.height = -9;
    record.diffuse_world = checkout_image(context, PARAM_DIFFUSE_LAYER, record.diffuse) != nullptr;
    record.diffuse_error = std::exchange(context.error, PF_Err_NONE);
    renders.push_back(record);
  }
  static inline std::vector<RenderRecord> renders;
};

auto rect(const PF_LRect& r) {
  return std::tuple(r.left, r.top, r.right, r.bottom);
}

class E2ePluginSmartRender : public testing::Test {
 protected:
  void SetUp() override {
    RecordsFrame::renders.clear();
    e2e_plugin::StderrCapture banner;
    ASSERT_EQ(host_.global_setup(), PF_Err_NONE);
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  }
  // One frame: Smart PreRender, then Smart Render; returns what the plug-in object recorded.
  std::optional<RenderRecord> render_frame() {
    RecordsFrame::renders.clear();
    EXPECT_EQ(host_.smart_pre_render(), PF_Err_NONE);
    EXPECT_EQ(host_.smart_render(), PF_Err_NONE);
    EXPECT_LE(RecordsFrame::renders.size(), 1u);
    return RecordsFrame::renders.empty() ? std::nullopt : std::optional(RecordsFrame::renders[0]);
  }

  EffectHost host_{&entry_for<RecordsFrame>};
};

TEST_F(E2ePluginSmartRender, PreRenderAsksForTheInputThenTheFiveMapsWholeAtTheCurrentResolution) {
  // Host indices of the map parameters, from the published parameter table.
  host_.set_layer_source(34, LayerSize{641, 481});    // Diffuse Layer
  host_.set_layer_source(38, LayerSize{100, 50});     // Glossiness Layer
  host_.set_layer_source(62, LayerSize{2048, 1024});  // Environment Layer
  host_.set_layer_source(44, LayerSize{33, 17});      // Bump Map Layer; Illumination (41) empty
  host_.settings().current_time = 45;
  host_.settings().time_step = 3;
  host_.settings().time_scale = 90;
  for (const A_u_long down : {1u, 2u}) {
    SCOPED_TRACE(down);
    host_.settings().downsample_x = {1, down};
    host_.settings().downsample_y = {1, 2 * down};
    ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
    // Index, checkout id (the parameter's id), and the layer's size rounded up: ceil(641 / 2)
    // is 321, ceil(481 / 4) is 121.
    const std::vector<std::tuple<PF_ParamIndex, A_long, A_long, A_long>> expected =
        down == 1
            ? std::vector<std::tuple<PF_ParamIndex, A_long, A_long, A_long>>{{0, 0, 1920, 540},
                                                                             {34, 502, 641, 241},
                                                                             {38, 504, 100, 25},
                                                                             {41, 506, 0, 0},
                                                                             {62, 517, 2048, 512},
                                                                             {44, 508, 33, 9}}
            : std::vector<std::tuple<PF_ParamIndex, A_long, A_long, A_long>>{
                  {0, 0, 960, 270}, {34, 502, 321, 121},  {38, 504, 50, 13},
                  {41, 506, 0, 0},  {62, 517, 1024, 256}, {44, 508, 17, 5}};
    const auto& calls = host_.layer_checkouts();
    ASSERT_EQ(calls.size(), expected.size());
    for (std::size_t i = 0; i < calls.size(); ++i) {
      const auto& [index, id, width, height] = expected[i];
      EXPECT_EQ(std::tuple(calls[i].index, calls[i].checkout_id), std::tuple(index, id)) << i;
      EXPECT_EQ(rect(calls[i].request.rect), std::tuple(0, 0, width, height)) << i;
      EXPECT_EQ(std::tuple(calls[i].what_time, calls[i].time_step, calls[i].time_scale),
                std::tuple(45, 3, 90u));
      if (i > 0) {  // the maps: every channel of whole frames, colour kept under zero alpha
        EXPECT_EQ(calls[i].request.field, PF_Field_FRAME);
        EXPECT_EQ(calls[i].request.channel_mask, 15);
        EXPECT_TRUE(calls[i].request.preserve_rgb_of_zero_alpha);
      }
    }
  }
  EXPECT_EQ(host_.outstanding_param_checkouts(), 0);
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(E2ePluginSmartRender, PreRenderMergesTheInputsRectanglesWithoutEverShrinking) {
  // The host answers the input checkout with the request clipped to the 1920 x 1080 layer as
  // result, and the whole layer as maximum result.
  const PF_LRect layer{0, 0, 1920, 1080};
  const PF_LRect none{0, 0, 0, 0};
  struct Case {
    const char* name;
    PF_LRect initial_result, initial_max;
    std::optional<PF_LRect> output_request;
    PF_LRect result, max;
  };
  const Case cases[] = {
      {"empty output takes the empty input result", {5, 5, 5, 100}, none, none, none, layer},
      {"degenerate output takes the input's",
       {100, 100, 50, 300},
       {7, 7, 7, 9},
       PF_LRect{10, 10, 300, 200},
       {10, 10, 300, 200},
       layer},
      {"union of overlapping rectangles",
       {-50, -20, 100, 100},
       {-5, 0, 10, 2000},
       PF_LRect{10, 10, 300, 200},
       {-50, -20, 300, 200},
       {-5, 0, 1920, 2000}},
      {"larger output is kept",
       {-100, -100, 5000, 5000},
       {-10, -10, 4000, 3000},
       PF_LRect{10, 10, 300, 200},
       {-100, -100, 5000, 5000},
       {-10, -10, 4000, 3000}},
      {"empty input result leaves the output", {1, 2, 3, 4}, layer, none, {1, 2, 3, 4}, layer},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    host_.settings().output_rect = c.output_request;
    PF_PreRenderOutput initial{};
    initial.result_rect = c.initial_result;
    initial.max_result_rect = c.initial_max;
    ASSERT_EQ(host_.smart_pre_render(initial), PF_Err_NONE);
    EXPECT_EQ(rect(host_.pre_render_output().result_rect), rect(c.result));
    EXPECT_EQ(rect(host_.pre_render_output().max_result_rect), rect(c.max));
  }
  // A failed input checkout says nothing about the input: the rectangles stay as they were,
  // and the map layers are asked for all the same.
  host_.checkout_failures().layer[0] = PF_Err_OUT_OF_MEMORY;
  PF_PreRenderOutput initial{};
  initial.result_rect = {5, 6, 7, 8};
  ASSERT_EQ(host_.smart_pre_render(initial), PF_Err_NONE);
  EXPECT_EQ(rect(host_.pre_render_output().result_rect), std::tuple(5, 6, 7, 8));
  EXPECT_EQ(rect(host_.pre_render_output().max_result_rect), rect(none));
  EXPECT_EQ(host_.layer_checkouts().size(), 6u);
}

TEST_F(E2ePluginSmartRender, TheFrameRecordFollowsDownsamplingDepthAspectAndTheOutput) {
  struct Case {
    const char* name;
    LayerSize layer;
    PF_RationalScale down_x, down_y, aspect;
    std::optional<PF_LRect> output;
    int bits;
    int width, height, origin_x, origin_y;
    float inv_aspect;
  };
  const Case cases[] = {
      {"half resolution", {1920, 1080}, {1, 2}, {1, 2}, {1, 1}, {}, 8, 960, 540, 0, 0, 1.0f},
      {"output beyond the layer",
       {1920, 1080},
       {1, 2},
       {1, 2},
       {1, 1},
       PF_LRect{0, 0, 1000, 600},
       16,
       1000,
       600,
       0,
       0,
       1.0f},
      // ceil(1921 / 2) = 961, ceil(1081 / 2) = 541; 10 / 9 in single precision.
      {"odd sizes round up",
       {1921, 1081},
       {1, 2},
       {1, 2},
       {9, 10},
       {},
       32,
       961,
       541,
       0,
       0,
       1.11111116f},
      // ceil(1000 / 3) = 334, ceil(1001 / 4) = 251; a partial output keeps its origin.
      {"thirds and quarters",
       {1000, 1001},
       {1, 3},
       {1, 4},
       {1, 1},
       PF_LRect{100, 50, 300, 250},
       8,
       334,
       251,
       100,
       50,
       1.0f},
      // 563 x 29945 = 16859035 needs 25 bits: in single precision it rounds to 16859036, and
      // 16859036 / 565 = 29839.002 rounds up to 29840, where the exact quotient is 29839.
      {"single-precision quotient",
       {29945, 2},
       {563, 565},
       {1, 1},
       {1, 1},
       PF_LRect{0, 0, 16, 2},
       8,
       29840,
       2,
       0,
       0,
       1.0f},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    host_.settings().layer = c.layer;
    host_.settings().downsample_x = c.down_x;
    host_.settings().downsample_y = c.down_y;
    host_.settings().pixel_aspect = c.aspect;
    host_.settings().output_rect = c.output;
    host_.settings().bits_per_channel = c.bits;
    const std::optional<RenderRecord> record = render_frame();
    ASSERT_TRUE(record.has_value());
    const render_data& frame = record->frame;
    EXPECT_EQ(frame.render_width, c.width);
    EXPECT_EQ(frame.render_height, c.height);
    EXPECT_EQ(frame.output_origin_x, c.origin_x);
    EXPECT_EQ(frame.output_origin_y, c.origin_y);
    EXPECT_EQ(frame.inv_downsample_x, float(c.down_x.den) / float(c.down_x.num));
    EXPECT_EQ(frame.inv_downsample_y, float(c.down_y.den) / float(c.down_y.num));
    EXPECT_EQ(frame.inv_pixel_aspect, c.inv_aspect);
    const unsigned bytes = unsigned(c.bits / 8);
    EXPECT_EQ(frame.bytes_per_channel, bytes);
    // The input and output images are the worlds the host handed out, in that order.
    const auto& calls = host_.render_checkouts();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[0].kind, RenderCheckoutCall::Kind::layer_pixels);
    EXPECT_EQ(calls[0].checkout_id, 0);
    EXPECT_EQ(calls[1].kind, RenderCheckoutCall::Kind::output);
    for (const auto& [image, world] : {std::pair{frame.input_image, calls[0].world},
                                       std::pair{frame.output_image, calls[1].world}}) {
      ASSERT_NE(world, nullptr);
      EXPECT_EQ(image.data, world->data);
      EXPECT_EQ(image.row_bytes, world->rowbytes);
      EXPECT_EQ(std::tuple(image.width, image.height), std::tuple(world->width, world->height));
      EXPECT_EQ(image.bytes_per_channel, bytes);
    }
    if (!c.output) {
      EXPECT_EQ(std::tuple(frame.output_image.width, frame.output_image.height),
                std::tuple(c.width, c.height));
    }
  }
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(E2ePluginSmartRender, AMapLayerChecksOutUnderItsParameterIdAndAnEmptyOneAsNoImage) {
  std::optional<RenderRecord> record = render_frame();
  ASSERT_TRUE(record.has_value());
  EXPECT_FALSE(record->diffuse_world);
  EXPECT_EQ(record->diffuse_error, PF_Err_NONE);
  EXPECT_EQ(record->diffuse.row_bytes, 0);
  EXPECT_EQ(record->diffuse.bytes_per_channel, 1u);
  EXPECT_EQ(record->diffuse.data, nullptr);
  EXPECT_EQ(std::tuple(record->diffuse.width, record->diffuse.height), std::tuple(-7, -9));

  host_.settings().bits_per_channel = 16;
  host_.set_layer_source(34, LayerSize{64, 32});
  record = render_frame();
  ASSERT_TRUE(record.has_value());
  ASSERT_TRUE(record->diffuse_world);
  EXPECT_EQ(std::tuple(record->diffuse.width, record->diffuse.height), std::tuple(64, 32));
  EXPECT_EQ(record->diffuse.bytes_per_channel, 2u);
  const auto& calls = host_.render_checkouts();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[2].checkout_id, 502);
  ASSERT_NE(calls[2].world, nullptr);
  EXPECT_EQ(record->diffuse.row_bytes, calls[2].world->rowbytes);
  EXPECT_EQ(record->diffuse.data, calls[2].world->data);
}

TEST_F(E2ePluginSmartRender, AFailedCheckoutReturnsTheHostsErrorAndSkipsTheRender) {
  host_.checkout_failures().output = PF_Err_OUT_OF_MEMORY;
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  EXPECT_EQ(host_.smart_render(), PF_Err_OUT_OF_MEMORY);
  host_.checkout_failures().output = PF_Err_NONE;
  host_.checkout_failures().layer_pixels[0] = PF_Err_BAD_CALLBACK_PARAM;
  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  EXPECT_EQ(host_.smart_render(), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_THAT(RecordsFrame::renders, IsEmpty());
  // The output is not even asked for once the input failed.
  ASSERT_EQ(host_.render_checkouts().size(), 1u);
  EXPECT_EQ(host_.render_checkouts()[0].kind, RenderCheckoutCall::Kind::layer_pixels);
}

}  // namespace
