// lunaform-render as a user runs it, in a child process: what it prints, the files it writes
// and what is in them, with the frame script's module where the picture must be known exactly
// and with the effect itself where it is judged by its light and dark.
#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "host/scene_parse.h"
#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"
#include "tests/shell_command.h"

namespace {

using testing::HasSubstr;

struct ToolRun {
  int exit_code = -1;
  std::string out;  // standard output
  std::string err;  // standard error
};

std::string quoted(const std::filesystem::path& path) {
  return "'" + path.string() + "'";
}

// Runs lunaform-render with `arguments` in the folder `where` (default outputs land there),
// without a display whatever the test's environment has: nothing may wait for a user.
ToolRun run_render(const std::filesystem::path& where, const std::string& arguments) {
  const std::filesystem::path err_file = std::filesystem::path(testing::TempDir()) /
                                         ("render_tool_stderr_" + std::to_string(getpid()));
  const ShellRun shell =
      run_shell_command("cd " + quoted(where) + " && env -u DISPLAY " + LUNAFORM_RENDER_PATH + " " +
                        arguments + " 2>" + quoted(err_file));
  std::ifstream err(err_file);
  ToolRun run{shell.exit_code, shell.output, {std::istreambuf_iterator<char>(err), {}}};
  std::filesystem::remove(err_file);
  return run;
}

const std::filesystem::path kModules = LUNAFORM_TEST_MODULE_DIR;
const std::string kFrameScript = "--module " + quoted(kModules / "host_frame_script.so");

std::set<std::string> names_in(const std::filesystem::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

// The text's last line, without its line break.
std::string last_line(std::string text) {
  if (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  return text.substr(text.rfind('\n') + 1);
}

// A written frame as its file stores it, every channel as a float of the file's scale
// (255 for 8-bit white, 65535 for 16, the value itself for floats). Colour stays straight.
struct StoredFrame {
  int width = 0;
  int height = 0;
  int channels = 0;
  OIIO::TypeDesc format;
  std::vector<float> values;
};

StoredFrame read_frame(const std::filesystem::path& file) {
  StoredFrame frame;
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string(), &config);
  if (!input) {
    ADD_FAILURE() << file << ": " << OIIO::geterror();
    return frame;
  }
  const OIIO::ImageSpec& spec = input->spec();
  frame = {spec.width, spec.height, spec.nchannels, spec.format, {}};
  frame.values.resize(spec.image_pixels() * std::size_t(spec.nchannels));
  // Read in the file's own type, then widen, so no scaling hides a wrong value.
  const auto read_as = [&](auto raw, OIIO::TypeDesc type) {
    raw.resize(frame.values.size());
    EXPECT_TRUE(input->read_image(0, 0, 0, spec.nchannels, type, raw.data()));
    frame.values.assign(raw.begin(), raw.end());
  };
  if (spec.format == OIIO::TypeDesc::UINT8) {
    read_as(std::vector<unsigned char>(), OIIO::TypeDesc::UINT8);
  } else if (spec.format == OIIO::TypeDesc::UINT16) {
    read_as(std::vector<unsigned short>(), OIIO::TypeDesc::UINT16);
  } else {
    read_as(std::vector<float>(), OIIO::TypeDesc::FLOAT);
  }
  return frame;
}

bool all_equal(const std::vector<float>& values, float expected) {
  return !values.empty() &&
         std::all_of(values.begin(), values.end(), [&](float v) { return v == expected; });
}

TEST(E2eRenderTool, EveryBadInputEndsWithOneClearLineAndWritesNothing) {
  const host_test::TempFolder folder;
  const std::string failing = quoted(kModules / "host_failing_setup.so");
  const std::string fs = kFrameScript + " ";
  struct Case {
    std::string arguments;
    std::string line;
    // All that comes before the line when known exactly, with nothing on standard output;
    // unset where the module speaks first.
    std::optional<std::string> before = "";
  };
  const Case cases[] = {
      {fs + "/no/such/scene.json",
       "/no/such/scene.json: cannot read the scene file: No such file or directory"},
      {fs + "--frames 5-2", "bad --frames '5-2': the last frame comes before the first"},
      {fs + "--frames 0-300", "frames 0-300 lie outside the composition, which has frames 0-299"},
      {fs + "-o out.png --frames 0-1",
       "frames 0-1 need a frame number in the output name 'out.png', for example 'out.####.png'"},
      {fs + "--region 1900,0,100,100",
       "--region 1900,0,100,100 reaches outside the layer of 1920 x 1080 pixels"},
      {fs + "--downsample 2 --region 960,0,1,1",
       "--region 960,0,1,1 reaches outside the layer of 960 x 540 pixels"},
      {fs + "--region 0,0,0,10", "bad --region '0,0,0,10': width and height must be at least 1"},
      {fs + "--downsample 0", "bad --downsample 0: renders at 1/N of the size, N from 1"},
      {fs + "-o out.jpg", "cannot write 'out.jpg': unknown image type '.jpg' (use .png or .exr)"},
      {fs + "-o out.png --bpc 32",
       "cannot write 32 bits per channel to 'out.png': PNG holds 8 or 16 (use .exr for 32-bit "
       "float)"},
      {fs + "-o /no/such/folder/out.png",
       "cannot write '/no/such/folder/out.png': the folder '/no/such/folder' does not exist"},
      {fs + "--bpc 12", "--bpc: 12 not in {8,16,32}"},
      {fs + "--frames 2 -o out.png", "Smart Render of frame 2 failed with error 4",
       "Frame Script: frame 2 fails on purpose\n"},
      {"--module " + failing, "global setup of " + failing + " failed with error 512", {}},
      {"--info /no/such/module.so", "cannot load '/no/such/module.so': No such file or directory"},
      {"--info " + quoted(kModules / "host_no_pipl.so"),
       "cannot load " + quoted(kModules / "host_no_pipl.so") + ": no .pipl section"},
      {"--info " + failing, "global setup of " + failing + " failed with error 512", {}},
      {"--controls panel.png --pointer 200",
       "bad --pointer '200': expected X,Y (two whole numbers)",
       {}},
      {"--controls panel.png --pointer 2,4,0",
       "bad --pointer '2,4,0': expected X,Y (two whole numbers)",
       {}},
      {"--controls panel.png --pointer 566,10",
       "--pointer 566,10 lies outside the controls panel (574 x 120 pixels, the header control's "
       "top-left corner at 8,28)",
       {}},
      {"--controls /no/such/folder/panel.png",
       "cannot write '/no/such/folder/panel.png': the folder '/no/such/folder' does not exist",
       {}},
      {"--controls",
       "--controls shows a window and needs a display (DISPLAY is not set); --controls OUT.png "
       "draws the panel into a file instead",
       {}},
      {"--controls --pointer 1,2", "--pointer needs --controls OUT.png", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments);
    const ToolRun run = run_render(folder.path(), c.arguments);
    EXPECT_NE(run.exit_code, 0);
    EXPECT_EQ(last_line(run.err), "lunaform-render: " + c.line) << run.err;
    if (c.before) {
      EXPECT_EQ(run.err, *c.before + "lunaform-render: " + c.line + "\n");
      EXPECT_EQ(run.out, "");
    }
    EXPECT_THAT(names_in(folder.path()), testing::IsEmpty());
  }
}

TEST(E2eRenderTool, ARangeWritesOneFilePerFrameAndNamesTheFirstAndLast) {
  const host_test::TempFolder folder;
  const ToolRun run = run_render(folder.path(), kFrameScript + " --frames 0-1 --downsample 8 -o " +
                                                    quoted(folder / "shot.####.png"));
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const std::string first = (folder / "shot.0000.png").string();
  const std::string second = (folder / "shot.0001.png").string();
  // Not a terminal: one progress line per frame.
  EXPECT_EQ(run.err, "frame 1/2: " + first + "\nframe 2/2: " + second + "\n");
  EXPECT_EQ(run.out, "wrote 2 frames: " + first + " to " + second + "\n");
  EXPECT_EQ(names_in(folder.path()), (std::set<std::string>{"shot.0000.png", "shot.0001.png"}));
  // 1920 x 1080 at 1/8; frame 0 is painted opaque white, frame 1 is left transparent.
  const StoredFrame painted = read_frame(first);
  const StoredFrame untouched = read_frame(second);
  EXPECT_EQ(std::tuple(painted.width, painted.height, painted.channels), std::tuple(240, 135, 4));
  EXPECT_EQ(std::tuple(untouched.width, untouched.height), std::tuple(240, 135));
  EXPECT_TRUE(all_equal(painted.values, 255.0f));
  EXPECT_TRUE(all_equal(untouched.values, 0.0f));

  // A single frame by number: written, and no progress shown.
  const ToolRun single = run_render(folder.path(), kFrameScript + " --frames 0 --downsample 8 -o " +
                                                       quoted(folder / "one.####.png"));
  ASSERT_EQ(single.exit_code, 0) << single.err;
  EXPECT_EQ(single.err, "");
  EXPECT_EQ(single.out, "wrote " + (folder / "one.0000.png").string() + "\n");
  EXPECT_TRUE(all_equal(read_frame(folder / "one.0000.png").values, 255.0f));
}

TEST(E2eRenderTool, DepthDownsampleRegionAndSceneShapeTheFile) {
  const host_test::TempFolder folder;
  folder.write("tiny.json", R"({"composition": {"width": 64, "height": 36},
                                "layers": [{"name": "Sphere", "type": "effect"}]})");
  struct Case {
    std::string arguments;
    std::string file;  // as the tool names it
    int width, height;
    OIIO::TypeDesc format;
    float white;  // the file's white
  };
  const Case cases[] = {
      {"--downsample 8 -o a.png", "a.png", 240, 135, OIIO::TypeDesc::UINT8, 255.0f},
      {"--downsample 8 --bpc 16 -o b.png", "b.png", 240, 135, OIIO::TypeDesc::UINT16, 65535.0f},
      {"--downsample 8 -o c.exr", "c.exr", 240, 135, OIIO::TypeDesc::FLOAT, 1.0f},
      {"--region 100,50,30,20 -o d.png", "d.png", 30, 20, OIIO::TypeDesc::UINT8, 255.0f},
      {"--downsample 4 --region 470,260,10,10 -o e.png", "e.png", 10, 10, OIIO::TypeDesc::UINT8,
       255.0f},
      // Without an output the file is named after the scene, in the current folder; 32 bits
      // choose EXR.
      {"tiny.json", "tiny.png", 64, 36, OIIO::TypeDesc::UINT8, 255.0f},
      {"tiny.json --bpc 32 --downsample 2", "tiny.exr", 32, 18, OIIO::TypeDesc::FLOAT, 1.0f},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments);
    const ToolRun run = run_render(folder.path(), kFrameScript + " " + c.arguments);
    ASSERT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(run.out, "wrote " + c.file + "\n");
    EXPECT_EQ(run.err, "");
    const StoredFrame frame = read_frame(folder / c.file);
    EXPECT_EQ(std::tuple(frame.width, frame.height, frame.channels),
              std::tuple(c.width, c.height, 4));
    EXPECT_EQ(frame.format, c.format);
    EXPECT_TRUE(all_equal(frame.values, c.white));
  }
}

TEST(E2eRenderTool, InfoCheckAndAboutDescribeTheEffectWithoutRendering) {
  const host_test::TempFolder folder;
  for (const std::string& arguments :
       {"--info " + quoted(LUNAFORM_MODULE_PATH), std::string("--info")}) {
    SCOPED_TRACE(arguments);
    const ToolRun run = run_render(folder.path(), arguments);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    for (const char* line :
         {"Name:          Lunaform\n", "Category:      Brightmoor\n",
          "Match name:    BRIGHTMOOR Sphere\n",
          "Version:       1.0.0 develop build 66 (0x00080042)\n", "Parameters (80):", "\"Radius\"",
          "valid 0 to 100000, slider 0 to 15, default 200, precision 1",
          "choices \"0|2|4|8|16\" (5), default 4"}) {
      EXPECT_THAT(run.out, HasSubstr(line));
    }
  }
  const ToolRun about = run_render(folder.path(), "--about");
  EXPECT_EQ(about.exit_code, 0) << about.err;
  EXPECT_THAT(about.err, HasSubstr("Lunaform v1.0.2 (66)"));

  const std::filesystem::path good = folder.write(
      "good.json",
      R"({"layers": [{"name": "Sphere", "type": "effect", "params": {"Radius": 300}}]})");
  const ToolRun accepted = run_render(folder.path(), "--check " + quoted(good));
  EXPECT_EQ(accepted.exit_code, 0) << accepted.err;
  EXPECT_EQ(accepted.out,
            good.string() + ": 1920 x 1080, 1 layers: the effect accepts the scene\n");
  // Names are checked against the parameters the module registered, so a misspelling is
  // refused with the file and the place.
  const std::filesystem::path bad = folder.write(
      "bad.json",
      R"({"layers": [{"name": "Sphere", "type": "effect", "params": {"Radiuss": 300}}]})");
  const ToolRun refused = run_render(folder.path(), "--check " + quoted(bad));
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_THAT(last_line(refused.err),
              HasSubstr("lunaform-render: " + bad.string() +
                        ": /layers/0/params/Radiuss: unknown parameter \"Radiuss\""));
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(names_in(folder.path()), (std::set<std::string>{"bad.json", "good.json"}));
}

TEST(E2eRenderTool, WithoutArgumentsTheEffectsDefaultCompositionIsRendered) {
  const host_test::TempFolder folder;
  const ToolRun run = run_render(folder.path(), "");
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out, "wrote lunaform.png\n");
  // The effect's banner comes without a line end; the host ends it.
  EXPECT_THAT(run.err, HasSubstr("## Lunaform 1.0.2 (66)\n"));
  EXPECT_EQ(names_in(folder.path()), std::set<std::string>{"lunaform.png"});
  const StoredFrame frame = read_frame(folder / "lunaform.png");
  EXPECT_EQ(std::tuple(frame.width, frame.height, frame.channels), std::tuple(1920, 1080, 4));
  EXPECT_EQ(frame.format, OIIO::TypeDesc::UINT8);
}

TEST(E2eRenderTool, FloatFootageWithNanAndInfinityIsCleanedWithAWarningAndRenders) {
  const host_test::TempFolder folder;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> dirty = {nan, 0.5f, inf, 1.0f, 0.25f, 0.5f, 0.75f, 1.0f};
  host_test::write_image(folder / "dirty.exr",
                         host_test::image_layout(2, 1, 4, OIIO::TypeDesc::FLOAT), dirty.data());
  folder.write("scene.json", R"({"composition": {"width": 64, "height": 36}, "layers": [
      {"name": "Dirty", "type": "footage", "file": "dirty.exr", "enabled": false},
      {"name": "Sphere", "type": "effect",
       "params": {"Radius": 12, "Diffuse Layer": "Dirty", "Illumination Layer": "Dirty"}}]})");
  const ToolRun run = run_render(folder.path(), quoted(folder / "scene.json") + " -o frame.exr");
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_THAT(run.err, HasSubstr("lunaform-render: warning: '" + (folder / "dirty.exr").string() +
                                 "': 1 NaN value set to 0, 1 infinite value set to the largest "
                                 "finite float\n"));
  EXPECT_EQ(run.out, "wrote frame.exr\n");
  // The largest finite float that an infinity becomes can still overflow through a map's
  // gamma on the GPU, so only the frame's completeness is checked here.
  EXPECT_EQ(read_frame(folder / "frame.exr").values.size(), 64u * 36u * 4u);
}

// In the planet example's first frame the sun stands to the left of the camera, which looks at
// the planet: the left of the disc is day, the right night, where only the city-lights map
// shines. Two settings keep the render short on a software GPU and move neither light nor
// dark: no environment map (its prefiltering alone takes seconds) and no multisampling.
TEST(E2eRenderTool, ThePlanetExamplesFirstFrameHasADaySideAndANightSideWithCityLights) {
  const host_test::TempFolder folder;
  const std::filesystem::path examples =
      std::filesystem::path(__FILE__).parent_path().parent_path() / "examples";
  std::ostringstream text;
  text << std::ifstream(examples / "planet.json").rdbuf();
  nlohmann::json scene = lunaform::host::parse_scene_text(examples / "planet.json", text.str());
  for (nlohmann::json& layer : scene.at("layers")) {
    if (layer.at("type") == "footage") {
      layer["file"] = (examples / layer.at("file").get<std::string>()).string();
    } else if (layer.at("type") == "effect") {
      layer["params"]["Environment Layer"] = nullptr;
      layer["params"]["Multisampling"] = "0";
    }
  }
  folder.write("planet.json", scene.dump(2));
  const ToolRun run =
      run_render(folder.path(), "planet.json --frames 0 --downsample 4 -o planet.png");
  ASSERT_EQ(run.exit_code, 0) << run.err;

  struct Pixel {
    int x;
    float r, g, b;
    float luminance() const { return 0.2126f * r + 0.7152f * g + 0.0722f * b; }
  };
  // The disc: every opaque pixel; its leftmost and rightmost give the centre and radius.
  const StoredFrame frame = read_frame(folder / "planet.png");
  std::vector<Pixel> disc;
  for (std::size_t i = 0; i + 3 < frame.values.size(); i += 4) {
    if (frame.values[i + 3] >= 254.0f) {
      disc.push_back({int(i / 4) % frame.width, frame.values[i] / 255.0f,
                      frame.values[i + 1] / 255.0f, frame.values[i + 2] / 255.0f});
    }
  }
  ASSERT_GT(disc.size(), 2000u) << "the planet should fill a good part of a 320 x 180 frame";
  const auto [left, right] = std::minmax_element(
      disc.begin(), disc.end(), [](const Pixel& a, const Pixel& b) { return a.x < b.x; });
  const float centre = 0.5f * float(left->x + right->x);
  const float radius = 0.5f * float(right->x - left->x);
  double day = 0.0;
  int day_count = 0;
  std::vector<Pixel> night;
  for (const Pixel& p : disc) {
    if (p.x < centre - 0.5f * radius) {
      day += p.luminance();
      ++day_count;
    } else if (p.x > centre + 0.6f * radius) {
      night.push_back(p);
    }
  }
  ASSERT_GT(day_count, 0);
  ASSERT_FALSE(night.empty());
  EXPECT_GT(day / day_count, 0.15) << "the day side should be lit";
  std::vector<Pixel> sorted = night;
  const auto middle = sorted.begin() + std::ptrdiff_t(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end(),
                   [](const Pixel& a, const Pixel& b) { return a.luminance() < b.luminance(); });
  const float night_median = middle->luminance();
  EXPECT_LT(night_median, 0.03f) << "the night side should be dark";
  int lights = 0;
  for (const Pixel& p : night) {
    if (p.luminance() > night_median + 0.08f) {
      ++lights;
      EXPECT_GT(p.r, p.b) << "city lights are warm, at x " << p.x;
    }
  }
  EXPECT_GE(lights, 5) << "city lights should stand out from the dark around them";
}

}  // namespace
