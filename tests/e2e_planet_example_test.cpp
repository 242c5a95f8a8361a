#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "host/scene_parse.h"
#include "host_temp_folder.h"
#include "tests/shell_command.h"

namespace {

const std::filesystem::path kExamples =
    std::filesystem::path(__FILE__).parent_path().parent_path() / "examples";

std::string quoted(const std::filesystem::path& path) {
  return "'" + path.string() + "'";
}

// examples/planet.json as a scene in `folder`, with its footage found where the example keeps
// it. Two settings are changed to keep the render short on a software GPU, neither of which
// moves light or dark: no environment map (its prefiltering alone takes seconds) and no
// multisampling.
std::filesystem::path quick_planet_scene(const host_test::TempFolder& folder) {
  const std::filesystem::path example = kExamples / "planet.json";
  std::ostringstream text;
  text << std::ifstream(example).rdbuf();
  nlohmann::json scene = lunaform::host::parse_scene_text(example, text.str());
  for (nlohmann::json& layer : scene.at("layers")) {
    if (layer.at("type") == "footage") {
      layer["file"] = (kExamples / layer.at("file").get<std::string>()).string();
    } else if (layer.at("type") == "effect") {
      layer["params"]["Environment Layer"] = nullptr;
      layer["params"]["Multisampling"] = "0";
    }
  }
  return folder.write("planet.json", scene.dump(2));
}

struct Pixel {
  int x, y;
  float r, g, b, a;
  float luminance() const { return 0.2126f * r + 0.7152f * g + 0.0722f * b; }
};

std::vector<Pixel> read_pixels(const std::filesystem::path& file) {
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string(), &config);
  if (!input) {
    ADD_FAILURE() << file << ": " << OIIO::geterror();
    return {};
  }
  const OIIO::ImageSpec& spec = input->spec();
  EXPECT_EQ(spec.nchannels, 4);
  std::vector<float> values(static_cast<std::size_t>(spec.width) * spec.height * 4);
  EXPECT_TRUE(input->read_image(0, 0, 0, 4, OIIO::TypeDesc::FLOAT, values.data()));
  std::vector<Pixel> pixels;
  for (int y = 0; y < spec.height; ++y) {
    for (int x = 0; x < spec.width; ++x) {
      const float* v = values.data() + (static_cast<std::size_t>(y) * spec.width + x) * 4;
      pixels.push_back({x, y, v[0], v[1], v[2], v[3]});
    }
  }
  return pixels;
}

float median_luminance(std::vector<Pixel> pixels) {
  const auto middle = pixels.begin() + static_cast<std::ptrdiff_t>(pixels.size() / 2);
  std::nth_element(pixels.begin(), middle, pixels.end(),
                   [](const Pixel& a, const Pixel& b) { return a.luminance() < b.luminance(); });
  return middle->luminance();
}

// In the example's first frame the sun stands to the left of the camera and the camera looks
// at the planet: the left of the disc is day, the right night, where only the city-lights map
// shines (there is no other light and, in this render, no environment).
TEST(E2ePlanetExample, FirstFrameHasADaySideAndANightSideWithCityLights) {
  const host_test::TempFolder folder;
  const std::filesystem::path scene = quick_planet_scene(folder);
  const std::filesystem::path image = folder / "planet.png";
  const ShellRun run =
      run_shell_command(std::string(LUNAFORM_RENDER_PATH) + " " + quoted(scene) +
                        " --frames 0 --downsample 4 -o " + quoted(image) + " 2>&1");
  ASSERT_EQ(run.exit_code, 0) << run.output;

  // The disc: every opaque pixel; its bounding box gives the centre and radius.
  std::vector<Pixel> disc;
  for (const Pixel& p : read_pixels(image)) {
    if (p.a >= 254.0f / 255.0f) {
      disc.push_back(p);
    }
  }
  ASSERT_GT(disc.size(), 2000u) << "the planet should fill a good part of a 320 x 180 frame";
  const auto [left, right] = std::minmax_element(
      disc.begin(), disc.end(), [](const Pixel& a, const Pixel& b) { return a.x < b.x; });
  const float centre = 0.5f * static_cast<float>(left->x + right->x);
  const float radius = 0.5f * static_cast<float>(right->x - left->x);

  std::vector<Pixel> day;
  std::vector<Pixel> night;
  for (const Pixel& p : disc) {
    if (p.x < centre - 0.5f * radius) {
      day.push_back(p);
    } else if (p.x > centre + 0.6f * radius) {
      night.push_back(p);
    }
  }
  ASSERT_FALSE(day.empty());
  ASSERT_FALSE(night.empty());
  double day_sum = 0.0;
  for (const Pixel& p : day) {
    day_sum += p.luminance();
  }
  EXPECT_GT(day_sum / static_cast<double>(day.size()), 0.15) << "the day side should be lit";
  const float night_median = median_luminance(night);
  EXPECT_LT(night_median, 0.03f) << "the night side should be dark";

  int lights = 0;
  for (const Pixel& p : night) {
    if (p.luminance() > night_median + 0.08f) {
      ++lights;
      EXPECT_GT(p.r, p.b) << "city lights are warm, at " << p.x << ", " << p.y;
    }
  }
  EXPECT_GE(lights, 5) << "city lights should stand out from the dark around them";
}

}  // namespace
