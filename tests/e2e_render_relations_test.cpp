// Frames of the real module through the host, on the GPU, checked against each other: a region
// against the same region of the whole frame, half resolution against the whole frame scaled
// down; an output the GPU cannot hold; a frame with maps and motion blur.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/render_frame.h"
#include "host/scene_file.h"
#include "tests/e2e_plugin_support.h"
#include "tests/e2e_scene_support.h"

namespace {

using lunaform::host::Animated;
using lunaform::host::EffectHost;
using lunaform::host::PixelWorld;

// examples/lights.json (960 x 540) at 2 s: the sun, the spot at full strength, a point light
// and ambient light on the default sphere, rendered at 32 bits per channel. One host for the
// suite, and the whole frame rendered once.
class E2eRenderRelations : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_ = std::make_unique<EffectHost>(e2e_plugin::real_module_entry());
    e2e_plugin::set_up_instance(*host_);
    reset();
    whole_ = render();
  }
  static void TearDownTestSuite() {
    whole_.reset();
    host_.reset();
  }
  void SetUp() override { reset(); }

  static void reset() {
    const auto scene = lunaform::host::SceneFile::load(
        std::filesystem::path(__FILE__).parent_path().parent_path() / "examples/lights.json");
    host_->settings() = {};
    host_->set_composition(scene.composition_for(host_->params()));
    host_->settings().bits_per_channel = 32;
  }
  static std::unique_ptr<PixelWorld> render() { return lunaform::host::render_frame(*host_, 60); }

  static inline std::unique_ptr<EffectHost> host_;
  static inline std::unique_ptr<PixelWorld> whole_;
};

// Pixel (x, y) of a 32-bit world: alpha, red, green, blue.
std::array<float, 4> pixel(const PixelWorld& world, int x, int y) {
  std::array<float, 4> value;
  std::memcpy(value.data(), world.row(y).data() + std::size_t(x) * 16, 16);
  return value;
}

// The largest difference of a channel, relative to the channel's size where that is above 1.
float relative_difference(const std::array<float, 4>& a, const std::array<float, 4>& b) {
  float largest = 0.0f;
  for (int i = 0; i < 4; ++i) {
    largest =
        std::max(largest, std::abs(a[i] - b[i]) / std::max({1.0f, std::abs(a[i]), std::abs(b[i])}));
  }
  return largest;
}

TEST_F(E2eRenderRelations, ARegionIsThatRegionOfTheWholeFrame) {
  // Across the sphere's edge and its lit side, away from the frame's centre.
  const PF_LRect region{420, 150, 600, 260};
  host_->settings().output_rect = region;
  const std::unique_ptr<PixelWorld> part = render();
  ASSERT_EQ(part->width(), region.right - region.left);
  ASSERT_EQ(part->height(), region.bottom - region.top);
  int covered = 0;
  float largest = 0.0f;
  for (int y = 0; y < part->height(); ++y) {
    for (int x = 0; x < part->width(); ++x) {
      const std::array<float, 4> expected = pixel(*whole_, region.left + x, region.top + y);
      covered += expected[0] > 0.0f ? 1 : 0;
      largest = std::max(largest, relative_difference(pixel(*part, x, y), expected));
    }
  }
  EXPECT_GT(covered, 1000) << "the region shows the sphere";
  // The region's projection is the whole frame's cut down, not the same matrix, so positions
  // differ in the last bits. Most pixels agree to 1e-6; the specular peak (values up to about
  // 60 here) is so steep that those bits move it by up to about 1.5 %.
  EXPECT_LT(largest, 0.02f);
}

TEST_F(E2eRenderRelations, HalfResolutionIsTheWholeFrameScaledDown) {
  host_->settings().downsample_x = host_->settings().downsample_y = {1, 2};
  const std::unique_ptr<PixelWorld> half = render();
  ASSERT_EQ(half->width(), whole_->width() / 2);
  ASSERT_EQ(half->height(), whole_->height() / 2);
  double whole_alpha = 0.0;
  double half_alpha = 0.0;
  int compared = 0;
  for (int y = 0; y < half->height(); ++y) {
    for (int x = 0; x < half->width(); ++x) {
      half_alpha += pixel(*half, x, y)[0];
      // The mean of the four full-resolution pixels the half-resolution one covers.
      std::array<float, 4> mean{};
      std::array<float, 4> low{1e30f, 1e30f, 1e30f, 1e30f};
      std::array<float, 4> high{-1e30f, -1e30f, -1e30f, -1e30f};
      for (int d = 0; d < 4; ++d) {
        const std::array<float, 4> p = pixel(*whole_, 2 * x + d % 2, 2 * y + d / 2);
        for (int i = 0; i < 4; ++i) {
          mean[i] += p[i] / 4.0f;
          low[i] = std::min(low[i], p[i]);
          high[i] = std::max(high[i], p[i]);
        }
      }
      whole_alpha += mean[0];
      // Where the four pixels hardly differ (inside the sphere, away from the highlight and the
      // spot's edge), the shading at their common centre, which the half-resolution pixel
      // shows, lies within that spread of their mean.
      constexpr float kSmooth = 0.02f;
      if (low[0] == 1.0f && relative_difference(low, high) < kSmooth) {
        ++compared;
        EXPECT_LT(relative_difference(pixel(*half, x, y), mean), kSmooth)
            << "pixel (" << x << ", " << y << ")";
      }
    }
  }
  EXPECT_GT(compared, 1000);
  // The silhouette's pixels differ one by one, but the area the sphere covers does not.
  EXPECT_NEAR(half_alpha, whole_alpha, 0.01 * whole_alpha);
}

TEST_F(E2eRenderRelations, AnOutputBeyondTheGpuLimitsIsRefusedWithTheRenderersMessage) {
  // 20000 pixels wide: more than any texture this GL allows (16384 on llvmpipe), less than
  // the host's own limit.
  host_->settings().layer = {20000, 4};
  host_->composition().width = 20000;
  host_->composition().height = 4;
  e2e_plugin::StderrCapture popup;
  try {
    render();
    FAIL() << "the oversized frame rendered";
  } catch (const lunaform::host::HostError& error) {
    EXPECT_NE(std::string(error.what()).find("failed with error 512"), std::string::npos)
        << error.what();
  }
  EXPECT_NE(popup.take().find("render texture size is over maximum supported size"),
            std::string::npos);
}

TEST_F(E2eRenderRelations, AFrameWithMapsAndMotionBlurRendersThroughTheRenderThread) {
  lunaform::host::Composition comp = e2e_scene::sphere_composition();
  Animated<lunaform::host::Vec3> position(lunaform::host::Vec3{100.0, 540.0, 0.0});
  position.set_key(10.0 / 30.0, lunaform::host::Vec3{100.0, 540.0, 0.0});
  position.set_key(11.0 / 30.0, lunaform::host::Vec3{1300.0, 540.0, 0.0});
  auto& params = e2e_scene::effect_of(comp).params;
  params["Position"] = position;
  params["Motion Blur"] = Animated<double>(2.0);
  for (const char* layer : {"Diffuse Layer", "Bump Map Layer", "Environment Layer"}) {
    params[layer] = lunaform::host::LayerRef{"Map"};
  }
  comp.layers.push_back(
      {.name = "Map", .content = lunaform::host::SolidLayer{{0.5, 0.5, 0.5, 1.0}, 16, 16}});
  host_->set_composition(comp);
  host_->settings().current_time = 1200;
  for (int frame = 0; frame < 2; ++frame) {
    ASSERT_EQ(host_->smart_pre_render(), PF_Err_NONE);
    EXPECT_EQ(host_->smart_render(), PF_Err_NONE);
    EXPECT_EQ(host_->in_data().current_time, 1200);
    EXPECT_TRUE(host_->problems().empty()) << host_->problems().front();
    EXPECT_TRUE(host_->suites().unreleased().empty());
  }
}

}  // namespace
