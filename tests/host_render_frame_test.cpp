#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "host/effect_host.h"
#include "host/pixel_world.h"
#include "host/render_frame.h"

namespace {

// An effect that answers every command and does nothing, the output included.
PF_Err does_nothing(PF_Cmd, PF_InData*, PF_OutData* out_data, PF_ParamList, PF_LayerDef*, void*) {
  out_data->num_params = 1;
  return PF_Err_NONE;
}

TEST(RenderFrame, AModuleThatNeverTakesTheOutputGivesATransparentWorldOfTheRequest) {
  lunaform::host::EffectHost host(&does_nothing);
  ASSERT_EQ(host.global_setup(), PF_Err_NONE);
  ASSERT_EQ(host.params_setup(), PF_Err_NONE);
  ASSERT_EQ(host.sequence_setup(), PF_Err_NONE);
  host.settings().layer = {40, 20};
  host.settings().bits_per_channel = 16;
  host.settings().output_rect = PF_LRect{4, 2, 14, 7};

  const std::unique_ptr<lunaform::host::PixelWorld> world = lunaform::host::render_frame(host, 3);
  ASSERT_NE(world, nullptr);
  EXPECT_EQ(world->width(), 10);
  EXPECT_EQ(world->height(), 5);
  EXPECT_EQ(world->bits_per_channel(), 16);
  EXPECT_EQ(world->world()->origin_x, 4);
  EXPECT_EQ(world->world()->origin_y, 2);
  for (A_long y = 0; y < world->height(); ++y) {
    const auto row = world->row(y);
    EXPECT_TRUE(std::all_of(row.begin(), row.end(), [](std::byte b) { return b == std::byte{0}; }));
  }
  EXPECT_TRUE(host.render_checkouts().empty());
  EXPECT_EQ(host.in_data().current_time, 3 * host.settings().time_step);
}

}  // namespace
