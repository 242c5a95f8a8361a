#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "host/composition.h"
#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/module.h"
#include "host/pixel_world.h"
#include "host/render_frame.h"
#include "tests/e2e_plugin_support.h"

namespace {

using lunaform::host::EffectHost;
using lunaform::host::HostError;
using lunaform::host::Module;
using lunaform::host::PixelWorld;
using lunaform::host::render_frame;

// Whether every pixel of `world` holds `value` in all four channels.
template <typename Channel>
bool every_channel_is(const PixelWorld& world, Channel value) {
  for (A_long y = 0; y < world.height(); ++y) {
    const auto row = world.row(y);
    for (size_t offset = 0; offset < row.size(); offset += sizeof(Channel)) {
      Channel channel;
      std::memcpy(&channel, row.data() + offset, sizeof channel);
      if (channel != value) {
        return false;
      }
    }
  }
  return true;
}

// Opaque white and transparent black at the world's depth, checked channel by channel.
bool is_white(const PixelWorld& world) {
  switch (world.bits_per_channel()) {
    case 8:
      return every_channel_is<A_u_char>(world, 255);
    case 16:
      return every_channel_is<A_u_short>(world, 32768);
    default:
      return every_channel_is<float>(world, 1.0f);
  }
}
bool is_transparent(const PixelWorld& world) {
  return every_channel_is<A_u_char>(world, 0);
}

// The frame-script module (frame 0 white, frame 1 untouched, frame 2 fails) set up in a host
// with a 64 x 36 composition of 10 frames.
class E2eRenderFrame : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(host_.global_setup(), PF_Err_NONE);
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
    ASSERT_EQ(host_.sequence_setup(), PF_Err_NONE);
    lunaform::host::Composition comp = lunaform::host::default_composition();
    comp.width = 64;
    comp.height = 36;
    comp.duration = 10.0 / 30.0;
    auto& effect = std::get<lunaform::host::EffectLayer>(comp.layers.front().content);
    effect.width = 64;
    effect.height = 36;
    host_.set_composition(std::move(comp));
  }

  Module module_ =
      Module::load(std::filesystem::path(LUNAFORM_TEST_MODULE_DIR) / "host_frame_script.so");
  EffectHost host_{module_.entry_point()};
};

TEST_F(E2eRenderFrame, AFrameTheModuleLeavesUntouchedIsTransparentEvenAfterAPaintedOne) {
  for (const int bits : {8, 16, 32}) {
    SCOPED_TRACE(bits);
    host_.settings().bits_per_channel = bits;
    const std::unique_ptr<PixelWorld> painted = render_frame(host_, 0);
    ASSERT_NE(painted, nullptr);
    EXPECT_EQ(painted->bits_per_channel(), bits);
    EXPECT_TRUE(is_white(*painted));
    // The painted world stays the caller's while the next frame renders.
    const std::unique_ptr<PixelWorld> untouched = render_frame(host_, 1);
    ASSERT_NE(untouched, nullptr);
    EXPECT_NE(untouched.get(), painted.get());
    EXPECT_TRUE(is_transparent(*untouched));
    EXPECT_TRUE(is_white(*painted));
    EXPECT_TRUE(untouched->padding_intact());
    EXPECT_EQ(host_.output_world(), nullptr);
    // The module was handed the output for the untouched frame too: its zeros are the host's.
    ASSERT_FALSE(host_.render_checkouts().empty());
    EXPECT_EQ(host_.render_checkouts().back().kind,
              lunaform::host::RenderCheckoutCall::Kind::output);
  }
  EXPECT_THAT(host_.problems(), testing::IsEmpty());
  EXPECT_EQ(host_.in_data().current_time, host_.settings().time_step);
}

TEST_F(E2eRenderFrame, TheWorldCoversTheDownsampledLayerOrTheRegion) {
  struct Case {
    A_u_long downsample;
    std::optional<PF_LRect> region;
    A_long width, height, origin_x, origin_y;
  };
  // 64 x 36 at 1/3 is 22 x 12 (sides rounded up); a region is its own size at its own place.
  for (const Case c : {Case{1, std::nullopt, 64, 36, 0, 0}, Case{3, std::nullopt, 22, 12, 0, 0},
                       Case{1, PF_LRect{5, 6, 15, 10}, 10, 4, 5, 6},
                       Case{2, PF_LRect{30, 16, 32, 18}, 2, 2, 30, 16}}) {
    SCOPED_TRACE(c.width);
    host_.settings().downsample_x = {1, c.downsample};
    host_.settings().downsample_y = {1, c.downsample};
    host_.settings().output_rect = c.region;
    const std::unique_ptr<PixelWorld> world = render_frame(host_, 0);
    EXPECT_EQ(world->width(), c.width);
    EXPECT_EQ(world->height(), c.height);
    EXPECT_EQ(world->world()->origin_x, c.origin_x);
    EXPECT_EQ(world->world()->origin_y, c.origin_y);
    EXPECT_TRUE(is_white(*world));
  }
}

TEST_F(E2eRenderFrame, ModuleErrorsAndFramesOutsideTheCompositionAreOneLine) {
  e2e_plugin::StderrCapture module_message;
  EXPECT_THAT([&] { render_frame(host_, 2); }, testing::ThrowsMessage<HostError>(testing::StrEq(
                                                   "Smart Render of frame 2 failed with error 4")));
  EXPECT_EQ(module_message.take(), "Frame Script: frame 2 fails on purpose\n");
  EXPECT_THAT([&] { render_frame(host_, 10); },
              testing::ThrowsMessage<HostError>(
                  testing::StrEq("frame 10 lies outside the composition, which has frames 0-9")));
  EXPECT_THROW(render_frame(host_, -1), HostError);
}

}  // namespace
