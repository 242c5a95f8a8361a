// The map texture cache with real footage: what frames and motion-blur samples upload while
// the file behind a footage layer stays the same, is rewritten, or breaks.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "host/composition.h"
#include "tests/gpu_footage_support.h"
#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"

namespace {

using gpu_footage::FootageHost;
using lunaform::host::Composition;

using Rgba8 = std::array<unsigned char, 4 * 4 * 2>;

// Writes a 4 x 2 RGBA PNG and marks it as rewritten.
void write_map(const std::filesystem::path& file, const Rgba8& pixels) {
  host_test::write_image(file, host_test::image_layout(4, 2, 4, OIIO::TypeDesc::UINT8),
                         pixels.data());
  host_test::mark_rewritten(file);
}

// A map whose every byte is `seed` + its index × 7 (mod 256), alpha included.
Rgba8 map_pixels(int seed) {
  Rgba8 pixels{};
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    pixels[i] = static_cast<unsigned char>((seed + i * 7) % 256);
  }
  return pixels;
}

// What an 8-bit checkout of `pixels` gives the texture: each byte over 255.
std::vector<float> as_texture(const Rgba8& pixels) {
  std::vector<float> texture;
  for (const unsigned char byte : pixels) {
    texture.push_back(byte / 255.0f);
  }
  return texture;
}

// A composition whose "Diffuse Layer" shows the footage layer "Map" of `file`.
Composition diffuse_footage(const std::filesystem::path& file) {
  Composition comp = e2e_scene::sphere_composition();
  comp.layers.push_back(host_test::footage_layer("Map", file));
  e2e_scene::effect_of(comp).params["Diffuse Layer"] = lunaform::host::LayerRef{"Map"};
  return comp;
}

TEST(GpuFootageRefresh, UnchangedFootageIsUploadedInTheFirstSampleOfTheFirstFrameOnly) {
  const host_test::TempFolder folder;
  write_map(folder / "map.png", map_pixels(3));
  Composition comp = diffuse_footage(folder / "map.png");
  e2e_scene::effect_of(comp).params["Motion Blur"] = lunaform::host::Animated<double>(2.0);
  e2e_scene::effect_of(comp).params["Motion Blur Samples"] = lunaform::host::Animated<double>(6.0);
  FootageHost scene(comp);

  EXPECT_EQ(scene.render(0), std::vector<std::string>{"Load Layer 502"});
  // The samples' sub-frame times, as the module asked the host for the camera at each.
  std::vector<double> sample_times;
  for (const lunaform::host::TimedCall& call : scene.host.timed_calls()) {
    const double seconds = static_cast<double>(call.time.value) / call.time.scale;
    if (sample_times.empty() || sample_times.back() != seconds) {
      sample_times.push_back(seconds);
    }
  }
  ASSERT_EQ(std::set<double>(sample_times.begin(), sample_times.end()).size(), 6u);
  ASSERT_EQ(scene.load_times.size(), 1u);
  EXPECT_EQ(scene.load_times[0], sample_times.front());

  for (const int frame : {1, 2, 1}) {
    EXPECT_THAT(scene.render(frame), testing::IsEmpty()) << "frame " << frame;
  }
  EXPECT_EQ(gpu_footage::texture_mismatch(scene.texture_pixels(scene.drawn().diffuse_texture), 4, 2,
                                          as_texture(map_pixels(3))),
            "");
}

TEST(GpuFootageRefresh, ARewrittenFileIsUploadedOnceWithItsNewPixelsAndABrokenOneKeepsTheOld) {
  const host_test::TempFolder folder;
  const std::filesystem::path file = folder / "map.png";
  write_map(file, map_pixels(3));
  FootageHost scene(diffuse_footage(file));
  const auto texture = [&] { return scene.texture_pixels(scene.drawn().diffuse_texture); };
  EXPECT_EQ(scene.render(), std::vector<std::string>{"Load Layer 502"});
  EXPECT_EQ(gpu_footage::texture_mismatch(texture(), 4, 2, as_texture(map_pixels(3))), "");

  write_map(file, map_pixels(100));
  EXPECT_EQ(scene.render(), std::vector<std::string>{"Load Layer 502"});
  EXPECT_EQ(gpu_footage::texture_mismatch(texture(), 4, 2, as_texture(map_pixels(100))), "");
  EXPECT_THAT(scene.render(), testing::IsEmpty()) << "read once, uploaded once";

  folder.write("map.png", "no longer a picture");
  host_test::mark_rewritten(file);
  EXPECT_THAT(scene.render(), testing::IsEmpty());
  EXPECT_EQ(gpu_footage::texture_mismatch(texture(), 4, 2, as_texture(map_pixels(100))), "");
  const std::vector<std::string> warnings = scene.host.take_footage_warnings();
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_THAT(warnings[0], testing::StartsWith("cannot read image '" + file.string()));
  EXPECT_THAT(scene.render(), testing::IsEmpty());
  EXPECT_THAT(scene.host.take_footage_warnings(), testing::IsEmpty());
}

}  // namespace
