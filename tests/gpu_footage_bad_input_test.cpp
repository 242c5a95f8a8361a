// Map layers a frame must survive: one pixel, no pixels, nothing opaque, and 16-bit channels
// beyond the host's white. Each frame still renders, with the map shown as it is or left out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "host/composition.h"
#include "tests/gpu_footage_support.h"
#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"

namespace {

using gpu_footage::FootageHost;
using lunaform::host::Composition;
using lunaform::host::PixelWorld;

// Channel `c` (alpha, red, green, blue) of output pixel (x, y) as a float in the world's units.
float channel(const PixelWorld& world, int x, int y, int c) {
  const std::byte* pixel = world.row(y).data() + x * world.pixel_bytes();
  if (world.bits_per_channel() == 32) {
    float value = 0;
    std::memcpy(&value, pixel + 4 * c, 4);
    return value;
  }
  if (world.bits_per_channel() == 16) {
    unsigned short value = 0;
    std::memcpy(&value, pixel + 2 * c, 2);
    return value;
  }
  return static_cast<float>(static_cast<unsigned char>(pixel[c]));
}

// Whether every channel of every output pixel is a finite number and not negative, alpha no
// larger than `white` and, in 8- and 16-bit worlds, colour neither (float frames may hold
// colour beyond white).
bool frame_in_range(const PixelWorld& world, float white) {
  for (int y = 0; y < world.height(); ++y) {
    for (int x = 0; x < world.width(); ++x) {
      for (int c = 0; c < 4; ++c) {
        const float v = channel(world, x, y, c);
        const bool capped = c == 0 || world.bits_per_channel() != 32;
        if (!std::isfinite(v) || v < 0.0f || (capped && v > white)) {
          return false;
        }
      }
    }
  }
  return true;
}

// A small sphere in the middle of the 64 x 36 frame: its centre pixel is covered, the corners
// are not.
Composition small_sphere() {
  Composition comp = e2e_scene::sphere_composition();
  e2e_scene::effect_of(comp).params["Radius"] = lunaform::host::Animated<double>(12.0);
  return comp;
}

float centre_alpha(const PixelWorld& world) {
  return channel(world, 32, 18, 0);
}
float corner_alpha(const PixelWorld& world) {
  return channel(world, 0, 0, 0);
}

TEST(GpuFootageBadInput, OnePixelFootageServesEveryPlainMapAndBecomesAOnePixelNormalMap) {
  const host_test::TempFolder folder;
  const std::array<unsigned char, 4> pixel = {200, 100, 50, 255};
  host_test::write_image(folder / "dot.png",
                         host_test::image_layout(1, 1, 4, OIIO::TypeDesc::UINT8), pixel.data());
  Composition comp = small_sphere();
  comp.layers.push_back(host_test::footage_layer("Dot", folder / "dot.png"));
  for (const char* param :
       {"Diffuse Layer", "Glossiness Layer", "Illumination Layer", "Bump Map Layer"}) {
    e2e_scene::effect_of(comp).params[param] = lunaform::host::LayerRef{"Dot"};
  }
  FootageHost scene(comp);
  std::vector<std::string> loads = scene.render(0, 32);
  std::sort(loads.begin(), loads.end());
  EXPECT_EQ(loads, (std::vector<std::string>{"Load Layer 502", "Load Layer 504", "Load Layer 506",
                                             "Load Layer 508"}));
  const std::vector<float> dot = {200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 1.0f};
  const material_properties& drawn = scene.drawn();
  for (const unsigned int texture :
       {drawn.diffuse_texture, drawn.glossiness_texture, drawn.illumination_texture}) {
    EXPECT_EQ(gpu_footage::texture_mismatch(scene.texture_pixels(texture), 1, 1, dot), "");
  }
  EXPECT_EQ(scene.size_as(GL_TEXTURE_2D, drawn.normal_texture), std::pair(1, 1));
  EXPECT_TRUE(frame_in_range(*scene.output, 1.0f));
  EXPECT_EQ(centre_alpha(*scene.output), 1.0f);
  EXPECT_EQ(corner_alpha(*scene.output), 0.0f);
}

// Renders `comp` with every map parameter choosing what `choices` names; expects a frame
// without any map: the sphere drawn plain in the middle, nothing around it. Returns the
// frame's "Load Layer" lines.
std::vector<std::string> expect_plain_sphere(const Composition& comp,
                                             const std::map<std::string, std::string>& choices) {
  FootageHost scene(comp);
  for (const auto& [param, layer] : choices) {
    scene.choose(param, layer);
  }
  const std::vector<std::string> loads = scene.render(0, 32);
  const material_properties& drawn = scene.drawn();
  EXPECT_EQ(drawn.diffuse_texture, 0u);
  EXPECT_EQ(drawn.glossiness_texture, 0u);
  EXPECT_EQ(drawn.illumination_texture, 0u);
  EXPECT_EQ(drawn.normal_texture, 0u);
  EXPECT_EQ(drawn.environment_texture, 0u);
  EXPECT_TRUE(frame_in_range(*scene.output, 1.0f));
  EXPECT_EQ(centre_alpha(*scene.output), 1.0f);
  EXPECT_EQ(corner_alpha(*scene.output), 0.0f);
  return loads;
}

TEST(GpuFootageBadInput, LayerParametersChoosingNothingLeaveTheirMapsOutQuietly) {
  // None chosen, and, set after the host checked the composition, a name no layer has.
  EXPECT_THAT(expect_plain_sphere(small_sphere(), {{"Diffuse Layer", ""},
                                                   {"Glossiness Layer", "No Such Layer"},
                                                   {"Illumination Layer", ""},
                                                   {"Bump Map Layer", "No Such Layer"},
                                                   {"Environment Layer", ""}}),
              testing::IsEmpty());
}

TEST(GpuFootageBadInput, ZeroSizeLayersAreLeftOutWithoutFailingTheFrame) {
  // The host checks such layers out as worlds of 0 x 0 pixels.
  Composition comp = small_sphere();
  lunaform::host::Layer blank;
  blank.name = "Blank";
  blank.content = lunaform::host::FootageLayer{"blank.png", nullptr};
  comp.layers.push_back(blank);
  lunaform::host::Layer empty_solid;
  empty_solid.name = "Empty Solid";
  empty_solid.content = lunaform::host::SolidLayer{{1, 0, 0, 1}, 0, 0};
  comp.layers.push_back(empty_solid);
  expect_plain_sphere(comp, {{"Diffuse Layer", "Blank"},
                             {"Glossiness Layer", "Empty Solid"},
                             {"Illumination Layer", "Blank"},
                             {"Bump Map Layer", "Empty Solid"},
                             {"Environment Layer", "Blank"}});
}

TEST(GpuFootageBadInput, AFullyTransparentDiffuseMapKeepsItsColourAndHidesTheSphere) {
  const host_test::TempFolder folder;
  std::vector<unsigned char> pixels;
  for (int i = 0; i < 8; ++i) {
    pixels.insert(pixels.end(), {200, 100, 50, 0});
  }
  host_test::write_image(folder / "clear.png",
                         host_test::image_layout(4, 2, 4, OIIO::TypeDesc::UINT8), pixels.data());
  Composition comp = small_sphere();
  comp.layers.push_back(host_test::footage_layer("Clear", folder / "clear.png"));
  e2e_scene::effect_of(comp).params["Diffuse Layer"] = lunaform::host::LayerRef{"Clear"};
  FootageHost scene(comp);
  EXPECT_EQ(scene.render(0, 32), std::vector<std::string>{"Load Layer 502"});

  // Straight colour survives alpha 0 on its way to the texture.
  std::vector<float> clear;
  for (int i = 0; i < 8; ++i) {
    clear.insert(clear.end(), {200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 0.0f});
  }
  EXPECT_EQ(gpu_footage::texture_mismatch(scene.texture_pixels(scene.drawn().diffuse_texture), 4, 2,
                                          clear),
            "");
  // "Diffuse Blend" is 1, so the sphere takes the map's alpha: nothing of it shows.
  EXPECT_TRUE(frame_in_range(*scene.output, 1.0f));
  for (int y = 0; y < scene.output->height(); ++y) {
    for (int x = 0; x < scene.output->width(); ++x) {
      ASSERT_EQ(channel(*scene.output, x, y, 0), 0.0f) << x << ", " << y;
    }
  }
}

// The effect's plug-in object behind a host that writes 16-bit diffuse-map channels beyond
// its white of 32768, as a misbehaving host might: before the frame is rendered it fills the
// checked-out world with (alpha, red, green, blue) = kOverbright. The module checks the same
// world out again.
constexpr std::array<unsigned short, 4> kOverbright = {65535, 65535, 49152, 32769};

class OverbrightMapPlugin : public AePluginConnection {
 public:
  void on_smart_render(CommandContext& context) override {
    const auto& extra = *static_cast<PF_SmartRenderExtra*>(context.extra);
    PF_EffectWorld* world = nullptr;
    if (extra.cb->checkout_layer_pixels(context.in_data->effect_ref, 502, &world) == PF_Err_NONE &&
        world != nullptr) {
      for (A_long y = 0; y < world->height; ++y) {
        auto* row = reinterpret_cast<std::byte*>(world->data) + y * world->rowbytes;
        for (A_long x = 0; x < world->width; ++x) {
          std::memcpy(row + x * 8, kOverbright.data(), 8);
        }
      }
    }
    AePluginConnection::on_smart_render(context);
  }
};

TEST(GpuFootageBadInput, SixteenBitChannelsBeyondWhiteRenderAFrameWithinRange) {
  const host_test::TempFolder folder;
  const std::array<unsigned char, 4> grey = {128, 128, 128, 255};
  host_test::write_image(folder / "grey.png",
                         host_test::image_layout(1, 1, 4, OIIO::TypeDesc::UINT8), grey.data());
  Composition comp = small_sphere();
  comp.layers.push_back(host_test::footage_layer("Grey", folder / "grey.png"));
  e2e_scene::effect_of(comp).params["Diffuse Layer"] = lunaform::host::LayerRef{"Grey"};
  FootageHost scene(comp, &e2e_plugin::entry_for<OverbrightMapPlugin>);
  EXPECT_EQ(scene.render(0, 16), std::vector<std::string>{"Load Layer 502"});

  // The input transfer divides by 32767 whatever the value: red and alpha near 2.
  const std::vector<float> overbright = {65535 / 32767.0f, 49152 / 32767.0f, 32769 / 32767.0f,
                                         65535 / 32767.0f};
  EXPECT_EQ(gpu_footage::texture_mismatch(scene.texture_pixels(scene.drawn().diffuse_texture), 1, 1,
                                          overbright),
            "");
  // The output never goes beyond the 32767 the output transfer writes for 1: alpha 2 is
  // clamped, not wrapped round.
  EXPECT_TRUE(frame_in_range(*scene.output, 32767.0f));
  EXPECT_EQ(centre_alpha(*scene.output), 32767.0f);
  EXPECT_EQ(corner_alpha(*scene.output), 0.0f);
}

}  // namespace
