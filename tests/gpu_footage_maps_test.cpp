// Footage files of every kind the host reads, checked out at every bit depth for every map
// parameter, as the GL textures the renderer ends up holding.
#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/composition.h"
#include "tests/gpu_footage_support.h"
#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"

namespace {

using gpu_footage::FootageHost;
using lunaform::host::Composition;

constexpr int kWidth = 16;
constexpr int kHeight = 8;

// How a footage file of one kind is written: its channels and their type, the range its
// colour values are spread over (float files hold values outside 0..1), and whether the
// format stores them exactly.
struct FileKind {
  std::string extension;
  int channels;
  OIIO::TypeDesc type;
  float low, high;
  bool lossless;
};

const std::vector<FileKind> kKinds = {
    {"png", 4, OIIO::TypeDesc::UINT16, 0.0f, 1.0f, true},
    {"jpg", 3, OIIO::TypeDesc::UINT8, 0.0f, 1.0f, false},
    {"tif", 4, OIIO::TypeDesc::UINT8, 0.0f, 1.0f, true},
    {"exr", 4, OIIO::TypeDesc::FLOAT, -0.25f, 1.5f, true},
    // Radiance's shared-exponent pixels hold no negative values and round the mantissas.
    {"hdr", 3, OIIO::TypeDesc::FLOAT, 0.0f, 1.5f, false},
};

// The maps that take a layer as it is ("Use Normal Map" on for the bump map), in the order
// of their parameter ids, which their "Load Layer" lines carry.
struct PlainMap {
  std::string param;
  std::string load_line;
  unsigned int material_properties::*texture;
};
const std::vector<PlainMap> kPlainMaps = {
    {"Diffuse Layer", "Load Layer 502", &material_properties::diffuse_texture},
    {"Glossiness Layer", "Load Layer 504", &material_properties::glossiness_texture},
    {"Illumination Layer", "Load Layer 506", &material_properties::illumination_texture},
    {"Bump Map Layer", "Load Layer 508", &material_properties::normal_texture},
};

// A value in 0..1 for channel c of pixel (x, y) of pattern `pattern`: every pixel, channel and
// pattern differs from its neighbours, so a swapped channel, a flipped row or a mixed-up
// layer shows. Alpha runs over 0..1 too, so colour that is not straight shows.
double pattern_value(int pattern, int x, int y, int c) {
  return ((x * 7 + y * 13 + c * 29 + pattern * 41) % 97) / 96.0;
}

// The value `kind`'s file of pattern `pattern` is given for channel c of pixel (x, y), as a
// float (colour spread over the kind's range) or as an integer of the file's type.
double written_value(const FileKind& kind, int pattern, int x, int y, int c) {
  const double u = pattern_value(pattern, x, y, c);
  if (kind.type == OIIO::TypeDesc::FLOAT) {
    return c == 3 ? u : kind.low + u * (kind.high - kind.low);
  }
  return std::round(u * (kind.type == OIIO::TypeDesc::UINT16 ? 65535.0 : 255.0));
}

// Writes `kind`'s file of pattern `pattern` with OpenImageIO and returns its path.
std::filesystem::path write_pattern(const host_test::TempFolder& folder, const FileKind& kind,
                                    int pattern) {
  const std::filesystem::path file =
      folder / (kind.extension + "_" + std::to_string(pattern) + "." + kind.extension);
  std::vector<double> values;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      for (int c = 0; c < kind.channels; ++c) {
        values.push_back(written_value(kind, pattern, x, y, c));
      }
    }
  }
  const OIIO::ImageSpec layout = host_test::image_layout(kWidth, kHeight, kind.channels, kind.type);
  const std::vector<float> floats(values.begin(), values.end());
  const std::vector<unsigned short> shorts(values.begin(), values.end());
  const std::vector<unsigned char> bytes(values.begin(), values.end());
  const void* pixels = kind.type == OIIO::TypeDesc::FLOAT ? static_cast<const void*>(floats.data())
                       : kind.type == OIIO::TypeDesc::UINT16
                           ? static_cast<const void*>(shorts.data())
                           : static_cast<const void*>(bytes.data());
  host_test::write_image(file, layout, pixels);
  return file;
}

// The file's pixels as the format stores them: straight float RGBA as OpenImageIO decodes
// them (integers divided by their maximum), alpha 1 where the file has none. Lossless kinds
// must give back the values written.
std::vector<float> stored_pixels(const std::filesystem::path& file, const FileKind& kind,
                                 int pattern) {
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string(), &config);
  EXPECT_TRUE(input) << OIIO::geterror();
  std::vector<float> native(static_cast<std::size_t>(kWidth) * kHeight * kind.channels);
  if (input) {
    EXPECT_TRUE(input->read_image(0, 0, 0, kind.channels, OIIO::TypeDesc::FLOAT, native.data()));
  }
  const double maximum = kind.type == OIIO::TypeDesc::FLOAT    ? 1.0
                         : kind.type == OIIO::TypeDesc::UINT16 ? 65535.0
                                                               : 255.0;
  std::vector<float> rgba;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      for (int c = 0; c < 4; ++c) {
        if (c >= kind.channels) {
          rgba.push_back(1.0f);
          continue;
        }
        rgba.push_back(native[(static_cast<std::size_t>(y) * kWidth + x) * kind.channels + c]);
        if (kind.lossless) {
          EXPECT_NEAR(rgba.back(), written_value(kind, pattern, x, y, c) / maximum, 1e-6)
              << file << " at (" << x << ", " << y << ") channel " << c;
        }
      }
    }
  }
  return rgba;
}

std::string layer_name(const FileKind& kind, int pattern) {
  return kind.extension + " " + std::to_string(pattern);
}

TEST(GpuFootageMaps, EveryFileKindReachesEveryPlainMapAsTheHostCheckedItOutAtEveryDepth) {
  // One file of every kind per map, each with its own pattern.
  const host_test::TempFolder folder;
  Composition comp = e2e_scene::sphere_composition();
  std::map<std::string, std::vector<float>> stored;
  for (const FileKind& kind : kKinds) {
    for (std::size_t map = 0; map < kPlainMaps.size(); ++map) {
      const int pattern = static_cast<int>(map);
      const std::filesystem::path file = write_pattern(folder, kind, pattern);
      stored[layer_name(kind, pattern)] = stored_pixels(file, kind, pattern);
      comp.layers.push_back(host_test::footage_layer(layer_name(kind, pattern), file));
    }
  }
  e2e_scene::effect_of(comp).params["Use Normal Map"] = lunaform::host::Animated<double>(1.0);

  std::vector<std::string> all_load_lines;
  for (const PlainMap& map : kPlainMaps) {
    all_load_lines.push_back(map.load_line);
  }

  // Frame f shows kind (f + m) mod 5 in map m: five frames per depth take every kind through
  // every map, and every map reloads in every frame.
  FootageHost scene(comp);
  for (const int bits : {8, 16, 32}) {
    for (std::size_t frame = 0; frame < kKinds.size(); ++frame) {
      for (std::size_t map = 0; map < kPlainMaps.size(); ++map) {
        scene.choose(kPlainMaps[map].param,
                     layer_name(kKinds[(frame + map) % kKinds.size()], static_cast<int>(map)));
      }
      std::vector<std::string> loads = scene.render(0, bits);
      std::sort(loads.begin(), loads.end());
      EXPECT_EQ(loads, all_load_lines) << bits << " bits, frame " << frame;
      for (std::size_t map = 0; map < kPlainMaps.size(); ++map) {
        const FileKind& kind = kKinds[(frame + map) % kKinds.size()];
        const std::string layer = layer_name(kind, static_cast<int>(map));
        const gpu_footage::RgbaPixels texture =
            scene.texture_pixels(scene.drawn().*kPlainMaps[map].texture);
        EXPECT_EQ(gpu_footage::texture_mismatch(texture, kWidth, kHeight,
                                                gpu_footage::expected_texture(stored[layer], bits)),
                  "")
            << kPlainMaps[map].param << " showing " << layer << " at " << bits << " bits";
      }
    }
  }
}

TEST(GpuFootageMaps, ConvertedMapsBecomeANormalMapOfTheBumpsSizeAndA512CubeMap) {
  const host_test::TempFolder folder;
  Composition comp = e2e_scene::sphere_composition();
  comp.layers.push_back(host_test::footage_layer("Bumps", write_pattern(folder, kKinds[0], 0)));
  comp.layers.push_back(host_test::footage_layer("Sky", write_pattern(folder, kKinds[4], 1)));
  e2e_scene::effect_of(comp).params["Bump Map Layer"] = lunaform::host::LayerRef{"Bumps"};
  e2e_scene::effect_of(comp).params["Environment Layer"] = lunaform::host::LayerRef{"Sky"};
  FootageHost scene(comp);
  std::vector<std::string> loads = scene.render(0, 16);
  std::sort(loads.begin(), loads.end());
  EXPECT_EQ(loads, (std::vector<std::string>{"Load Layer 508", "Load Layer 517"}));
  const material_properties& drawn = scene.drawn();
  EXPECT_EQ(scene.size_as(GL_TEXTURE_2D, drawn.normal_texture), std::pair(kWidth, kHeight));
  EXPECT_EQ(scene.size_as(GL_TEXTURE_CUBE_MAP, drawn.environment_texture), std::pair(512, 512));
  EXPECT_EQ(scene.size_as(GL_TEXTURE_CUBE_MAP, drawn.normal_texture), std::nullopt)
      << "a 2D texture is no cube map";
}

TEST(GpuFootageMaps, AFrameOfAnotherDepthReloadsTheSameFootageSoFloatValuesSurviveAPreview) {
  const host_test::TempFolder folder;
  const std::vector<float> bright = {1.5f, -0.25f, 0.5f, 1.0f};
  host_test::write_image(folder / "bright.exr",
                         host_test::image_layout(1, 1, 4, OIIO::TypeDesc::FLOAT), bright.data());
  Composition comp = e2e_scene::sphere_composition();
  comp.layers.push_back(host_test::footage_layer("Bright", folder / "bright.exr"));
  e2e_scene::effect_of(comp).params["Illumination Layer"] = lunaform::host::LayerRef{"Bright"};
  FootageHost scene(comp);
  const auto texture = [&] { return scene.texture_pixels(scene.drawn().illumination_texture); };

  EXPECT_EQ(scene.render(0, 8), std::vector<std::string>{"Load Layer 506"});
  EXPECT_EQ(gpu_footage::texture_mismatch(texture(), 1, 1, {1.0f, 0.0f, 128 / 255.0f, 1.0f}), "");
  EXPECT_EQ(scene.render(0, 32), std::vector<std::string>{"Load Layer 506"});
  EXPECT_EQ(gpu_footage::texture_mismatch(texture(), 1, 1, bright), "");
  EXPECT_THAT(scene.render(0, 32), testing::IsEmpty());
}

}  // namespace
