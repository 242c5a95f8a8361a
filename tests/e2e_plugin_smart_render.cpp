#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "host/effect_host.h"
#include "plugin/ae_plugin_connection.h"
#include "plugin/param_ids.h"
#include "scene/render_data.h"
#include "tests/e2e_plugin_support.h"

namespace {

using e2e_plugin::entry_for;
using e2e_plugin::StderrCapture;
using lunaform::host::EffectHost;
using lunaform::host::LayerSize;
using testing::IsEmpty;

// What the plug-in object saw in one Smart Render: its frame record, and a map layer fetched
// the way the texture loader fetches it.
struct RenderRecord {
  render_data frame;
  image_desc diffuse;
  bool diffuse_world = false;
  PF_Err diffuse_error = PF_Err_NONE;
};

class RecordsFrame : public AePluginConnection {
 public:
  void on_smart_render(CommandContext& context) override {
    RenderRecord record{frame};
    // Marks that show whether a checkout that brings nothing keeps the size fields.
    record.diffuse.width = -7;
    record.diffuse.height = -9;
    record.diffuse_world = checkout_image(context, PARAM_DIFFUSE_LAYER, record.diffuse) != nullptr;
    record.diffuse_error = context.error;
    context.error = PF_Err_NONE;
    renders.push_back(record);
  }

  static inline std::vector<RenderRecord> renders;
};

bool same_rect(const PF_LRect& a, const PF_LRect& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

std::string describe(const PF_LRect& r) {
  return "(" + std::to_string(r.left) + ", " + std::to_string(r.top) + ", " +
         std::to_string(r.right) + ", " + std::to_string(r.bottom) + ")";
}

class E2ePluginSmartRender : public testing::Test {
 protected:
  void SetUp() override {
    RecordsFrame::renders.clear();
    StderrCapture banner;
    ASSERT_EQ(host_.global_setup(), PF_Err_NONE);
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
  }

  // One frame: Smart PreRender, then Smart Render; returns Smart Render's result.
  PF_Err render_frame() {
    EXPECT_EQ(host_.smart_pre_render(), PF_Err_NONE);
    return host_.smart_render();
  }

  EffectHost host_{&entry_for<RecordsFrame>};
};

TEST_F(E2ePluginSmartRender, PreRenderRequestsTheFiveMapLayersWholeInOrder) {
  // Host indices of the layer parameters, from the published parameter table.
  host_.set_layer_source(34, LayerSize{640, 480});    // Diffuse Layer
  host_.set_layer_source(38, LayerSize{100, 50});     // Glossiness Layer
  host_.set_layer_source(62, LayerSize{2048, 1024});  // Environment Layer
  host_.set_layer_source(44, LayerSize{33, 17});      // Bump Map Layer
  // Illumination Layer (41) stays empty.
  host_.settings().current_time = 45;
  host_.settings().time_step = 3;
  host_.settings().time_scale = 90;

  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);

  struct Expected {
    PF_ParamIndex index;
    A_long checkout_id;
    A_long width;
    A_long height;
  };
  const Expected expected[] = {
      {34, 502, 640, 480},   {38, 504, 100, 50}, {41, 506, 0, 0},
      {62, 517, 2048, 1024}, {44, 508, 33, 17},
  };
  const auto& calls = host_.layer_checkouts();
  ASSERT_EQ(calls.size(), 6u);
  // First the effect's own input layer, under checkout id 0, for the host's output request.
  EXPECT_EQ(calls[0].index, 0);
  EXPECT_EQ(calls[0].checkout_id, 0);
  EXPECT_TRUE(same_rect(calls[0].request.rect, PF_LRect{0, 0, 1920, 1080}));
  for (size_t i = 0; i < std::size(expected); ++i) {
    SCOPED_TRACE(testing::Message() << "request " << i + 1);
    const auto& call = calls[i + 1];
    EXPECT_EQ(call.index, expected[i].index);
    EXPECT_EQ(call.checkout_id, expected[i].checkout_id);
    EXPECT_TRUE(same_rect(call.request.rect, PF_LRect{0, 0, expected[i].width, expected[i].height}))
        << describe(call.request.rect);
    EXPECT_EQ(call.request.field, PF_Field_FRAME);
    EXPECT_EQ(call.request.channel_mask, 15);
    EXPECT_TRUE(call.request.preserve_rgb_of_zero_alpha);
  }
  for (const auto& call : calls) {
    EXPECT_EQ(call.what_time, 45);
    EXPECT_EQ(call.time_step, 3);
    EXPECT_EQ(call.time_scale, 90u);
  }
  EXPECT_EQ(host_.outstanding_param_checkouts(), 0);
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(E2ePluginSmartRender, PreRenderRequestsLayersAtTheCurrentResolution) {
  host_.settings().downsample_x = {1, 2};
  host_.settings().downsample_y = {1, 4};
  host_.set_layer_source(34, LayerSize{641, 481});

  ASSERT_EQ(host_.smart_pre_render(), PF_Err_NONE);
  ASSERT_EQ(host_.layer_checkouts().size(), 6u);
  // ceil(641 / 2) = 321, ceil(481 / 4) = 121.
  EXPECT_TRUE(same_rect(host_.layer_checkouts()[1].request.rect, PF_LRect{0, 0, 321, 121}));
}

TEST_F(E2ePluginSmartRender, PreRenderMergesTheInputsRectanglesWithoutEverShrinking) {
  // The host answers the input checkout with the request clipped to the 1920 × 1080 layer as
  // result, and the whole layer as maximum result.
  const PF_LRect layer{0, 0, 1920, 1080};
  const PF_LRect none{0, 0, 0, 0};
  struct Case {
    const char* name;
    PF_LRect initial_result;
    PF_LRect initial_max;
    std::optional<PF_LRect> output_request;
    PF_LRect expected_result;
    PF_LRect expected_max;
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
      {"empty input result leaves the output",
       {1, 2, 3, 4},
       {0, 0, 1920, 1080},
       none,
       {1, 2, 3, 4},
       layer},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    host_.settings().output_rect = c.output_request;
    PF_PreRenderOutput initial{};
    initial.result_rect = c.initial_result;
    initial.max_result_rect = c.initial_max;
    ASSERT_EQ(host_.smart_pre_render(initial), PF_Err_NONE);
    EXPECT_TRUE(same_rect(host_.pre_render_output().result_rect, c.expected_result))
        << describe(host_.pre_render_output().result_rect);
    EXPECT_TRUE(same_rect(host_.pre_render_output().max_result_rect, c.expected_max))
        << describe(host_.pre_render_output().max_result_rect);
  }
}

TEST_F(E2ePluginSmartRender, FailedInputCheckoutLeavesTheRectanglesAlone) {
  host_.checkout_failures().layer[0] = PF_Err_OUT_OF_MEMORY;
  PF_PreRenderOutput initial{};
  initial.result_rect = {5, 6, 7, 8};
  ASSERT_EQ(host_.smart_pre_render(initial), PF_Err_NONE);
  EXPECT_TRUE(same_rect(host_.pre_render_output().result_rect, PF_LRect{5, 6, 7, 8}));
  EXPECT_TRUE(same_rect(host_.pre_render_output().max_result_rect, PF_LRect{0, 0, 0, 0}));
  // The map layers are requested all the same.
  EXPECT_EQ(host_.layer_checkouts().size(), 6u);
}

TEST_F(E2ePluginSmartRender, HalfResolutionFrameOfA1920By1080Layer) {
  host_.settings().downsample_x = {1, 2};
  host_.settings().downsample_y = {1, 2};
  ASSERT_EQ(render_frame(), PF_Err_NONE);
  ASSERT_EQ(RecordsFrame::renders.size(), 1u);
  const render_data& frame = RecordsFrame::renders[0].frame;

  EXPECT_EQ(frame.inv_downsample_x, 2.0f);
  EXPECT_EQ(frame.inv_downsample_y, 2.0f);
  EXPECT_EQ(frame.render_width, 960);
  EXPECT_EQ(frame.render_height, 540);
  EXPECT_EQ(frame.inv_pixel_aspect, 1.0f);
  EXPECT_EQ(frame.output_origin_x, 0);
  EXPECT_EQ(frame.output_origin_y, 0);

  ASSERT_NE(host_.output_world(), nullptr);
  const PF_EffectWorld& output = host_.output_world()->world();
  EXPECT_EQ(frame.output_image.width, 960);
  EXPECT_EQ(frame.output_image.height, 540);
  EXPECT_EQ(frame.output_image.row_bytes, output.rowbytes);
  EXPECT_EQ(frame.output_image.data, output.data);

  const auto& calls = host_.render_checkouts();
  ASSERT_GE(calls.size(), 2u);
  EXPECT_EQ(calls[0].kind, lunaform::host::RenderCheckoutCall::Kind::layer_pixels);
  EXPECT_EQ(calls[0].checkout_id, 0);
  ASSERT_NE(calls[0].world, nullptr);
  EXPECT_EQ(frame.input_image.width, 960);
  EXPECT_EQ(frame.input_image.height, 540);
  EXPECT_EQ(frame.input_image.row_bytes, calls[0].world->rowbytes);
  EXPECT_EQ(frame.input_image.data, calls[0].world->data);
  EXPECT_EQ(calls[1].kind, lunaform::host::RenderCheckoutCall::Kind::output);
  EXPECT_THAT(host_.problems(), IsEmpty());
}

TEST_F(E2ePluginSmartRender, RenderSizeIsTheCeiledLayerSizeRaisedToTheOutput) {
  struct Case {
    const char* name;
    LayerSize layer;
    PF_RationalScale downsample_x;
    PF_RationalScale downsample_y;
    std::optional<PF_LRect> output_rect;
    int render_width;
    int render_height;
    int origin_x;
    int origin_y;
  };
  const Case cases[] = {
      {"half resolution, output beyond the layer",
       {1920, 1080},
       {1, 2},
       {1, 2},
       PF_LRect{0, 0, 1000, 600},
       1000,
       600,
       0,
       0},
      // ceil(1921 / 2) = 961, ceil(1081 / 2) = 541.
      {"odd sizes round up", {1921, 1081}, {1, 2}, {1, 2}, std::nullopt, 961, 541, 0, 0},
      // ceil(1000 / 3) = 334, ceil(1001 / 4) = 251; a partial output keeps its origin.
      {"thirds and quarters",
       {1000, 1001},
       {1, 3},
       {1, 4},
       PF_LRect{100, 50, 300, 250},
       334,
       251,
       100,
       50},
      // 563 × 29945 = 16859035 needs 25 bits: in single precision it rounds to 16859036, and
      // 16859036 / 565 = 29839.002 rounds up to 29840, where the exact quotient is 29839.
      {"single-precision quotient",
       {29945, 2},
       {563, 565},
       {1, 1},
       PF_LRect{0, 0, 16, 2},
       29840,
       2,
       0,
       0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    RecordsFrame::renders.clear();
    host_.settings().layer = c.layer;
    host_.settings().downsample_x = c.downsample_x;
    host_.settings().downsample_y = c.downsample_y;
    host_.settings().output_rect = c.output_rect;
    ASSERT_EQ(render_frame(), PF_Err_NONE);
    ASSERT_EQ(RecordsFrame::renders.size(), 1u);
    const render_data& frame = RecordsFrame::renders[0].frame;
    EXPECT_EQ(frame.render_width, c.render_width);
    EXPECT_EQ(frame.render_height, c.render_height);
    EXPECT_EQ(frame.output_origin_x, c.origin_x);
    EXPECT_EQ(frame.output_origin_y, c.origin_y);
    EXPECT_EQ(frame.inv_downsample_x,
              static_cast<float>(c.downsample_x.den) / static_cast<float>(c.downsample_x.num));
    EXPECT_EQ(frame.inv_downsample_y,
              static_cast<float>(c.downsample_y.den) / static_cast<float>(c.downsample_y.num));
  }
}

TEST_F(E2ePluginSmartRender, BitDepthAndPixelAspectReachTheFrame) {
  host_.settings().pixel_aspect = {9, 10};
  for (const auto& [bits, bytes] : {std::pair{8, 1u}, std::pair{16, 2u}, std::pair{32, 4u}}) {
    SCOPED_TRACE(testing::Message() << bits << " bits");
    RecordsFrame::renders.clear();
    host_.settings().bits_per_channel = bits;
    ASSERT_EQ(render_frame(), PF_Err_NONE);
    ASSERT_EQ(RecordsFrame::renders.size(), 1u);
    const render_data& frame = RecordsFrame::renders[0].frame;
    EXPECT_EQ(frame.bytes_per_channel, bytes);
    EXPECT_EQ(frame.input_image.bytes_per_channel, bytes);
    EXPECT_EQ(frame.output_image.bytes_per_channel, bytes);
    EXPECT_EQ(frame.output_image.row_bytes, host_.output_world()->world().rowbytes);
    // 10 / 9 in single precision.
    EXPECT_EQ(frame.inv_pixel_aspect, 1.11111116f);
  }
}

TEST_F(E2ePluginSmartRender, EmptyMapLayerChecksOutAsNoImage) {
  ASSERT_EQ(render_frame(), PF_Err_NONE);
  ASSERT_EQ(RecordsFrame::renders.size(), 1u);
  const RenderRecord& record = RecordsFrame::renders[0];
  EXPECT_FALSE(record.diffuse_world);
  EXPECT_EQ(record.diffuse_error, PF_Err_NONE);
  EXPECT_EQ(record.diffuse.row_bytes, 0);
  EXPECT_EQ(record.diffuse.bytes_per_channel, 1u);
  EXPECT_EQ(record.diffuse.data, nullptr);
  EXPECT_EQ(record.diffuse.width, -7);
  EXPECT_EQ(record.diffuse.height, -9);
}

TEST_F(E2ePluginSmartRender, MapLayerChecksOutUnderItsParameterId) {
  host_.settings().bits_per_channel = 16;
  host_.set_layer_source(34, LayerSize{64, 32});
  ASSERT_EQ(render_frame(), PF_Err_NONE);
  ASSERT_EQ(RecordsFrame::renders.size(), 1u);
  const RenderRecord& record = RecordsFrame::renders[0];
  ASSERT_TRUE(record.diffuse_world);
  EXPECT_EQ(record.diffuse.width, 64);
  EXPECT_EQ(record.diffuse.height, 32);
  EXPECT_EQ(record.diffuse.bytes_per_channel, 2u);
  const auto& calls = host_.render_checkouts();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[2].checkout_id, 502);
  ASSERT_NE(calls[2].world, nullptr);
  EXPECT_EQ(record.diffuse.row_bytes, calls[2].world->rowbytes);
  EXPECT_EQ(record.diffuse.data, calls[2].world->data);
}

TEST_F(E2ePluginSmartRender, FailedCheckoutReturnsTheHostsErrorAndSkipsTheRender) {
  host_.checkout_failures().output = PF_Err_OUT_OF_MEMORY;
  EXPECT_EQ(render_frame(), PF_Err_OUT_OF_MEMORY);
  EXPECT_THAT(RecordsFrame::renders, IsEmpty());

  host_.checkout_failures().output = PF_Err_NONE;
  host_.checkout_failures().layer_pixels[0] = PF_Err_BAD_CALLBACK_PARAM;
  EXPECT_EQ(render_frame(), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_THAT(RecordsFrame::renders, IsEmpty());
  // The output is not even asked for once the input failed.
  ASSERT_EQ(host_.render_checkouts().size(), 1u);
  EXPECT_EQ(host_.render_checkouts()[0].kind,
            lunaform::host::RenderCheckoutCall::Kind::layer_pixels);
}

}  // namespace
