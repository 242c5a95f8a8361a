#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host_temp_folder.h"
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

// Runs lunaform-render with `arguments` in the folder `where` (default outputs land there).
ToolRun run_render(const std::filesystem::path& where, const std::string& arguments) {
  const std::filesystem::path err_file = std::filesystem::path(testing::TempDir()) /
                                         ("render_tool_stderr_" + std::to_string(getpid()));
  const std::string command = "cd " + quoted(where) + " && " + LUNAFORM_RENDER_PATH + " " +
                              arguments + " 2>" + quoted(err_file);
  const ShellRun shell = run_shell_command(command);
  ToolRun run;
  run.exit_code = shell.exit_code;
  run.out = shell.output;
  std::ifstream err(err_file);
  run.err.assign(std::istreambuf_iterator<char>(err), {});
  std::filesystem::remove(err_file);
  return run;
}

const std::string kFrameScript =
    "--module " + quoted(std::filesystem::path(LUNAFORM_TEST_MODULE_DIR) / "host_frame_script.so");

std::set<std::string> names_in(const std::filesystem::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

// A written frame as its file stores it, every channel as a float of the file's scale
// (255 = 255.0 for 8 bits, 65535 for 16, the value itself for floats).
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
  frame.width = spec.width;
  frame.height = spec.height;
  frame.channels = spec.nchannels;
  frame.format = spec.format;
  frame.values.resize(spec.image_pixels() * static_cast<size_t>(spec.nchannels));
  // Read in the file's own type, then widen, so no scaling hides a wrong value.
  if (spec.format == OIIO::TypeDesc::UINT8) {
    std::vector<unsigned char> raw(frame.values.size());
    EXPECT_TRUE(input->read_image(0, 0, 0, spec.nchannels, spec.format, raw.data()));
    frame.values.assign(raw.begin(), raw.end());
  } else if (spec.format == OIIO::TypeDesc::UINT16) {
    std::vector<unsigned short> raw(frame.values.size());
    EXPECT_TRUE(input->read_image(0, 0, 0, spec.nchannels, spec.format, raw.data()));
    frame.values.assign(raw.begin(), raw.end());
  } else {
    EXPECT_TRUE(
        input->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::FLOAT, frame.values.data()));
  }
  return frame;
}

bool all_equal(const std::vector<float>& values, float expected) {
  return !values.empty() &&
         std::all_of(values.begin(), values.end(), [&](float v) { return v == expected; });
}

// The text's last line, without its line break.
std::string last_line(std::string text) {
  if (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  const size_t previous_break = text.rfind('\n');
  return previous_break == std::string::npos ? text : text.substr(previous_break + 1);
}

TEST(E2eRenderToolFrames, EveryBadInputEndsWithOneLineAndWritesNothing) {
  const host_test::TempFolder folder;
  const std::filesystem::path failing_setup =
      std::filesystem::path(LUNAFORM_TEST_MODULE_DIR) / "host_failing_setup.so";
  struct Case {
    std::string arguments;
    std::string line;
    bool only_line;  // false where the module speaks first
  };
  // The frame script's module stands in wherever a module is loaded at all.
  const Case cases[] = {
      {"/no/such/scene.json",
       "/no/such/scene.json: cannot read the scene file: No such file or directory", true},
      {"--frames 5-2", "bad --frames '5-2': the last frame comes before the first", true},
      {"--frames 0-300", "frames 0-300 lie outside the composition, which has frames 0-299", true},
      {"-o out.png --frames 0-1",
       "frames 0-1 need a frame number in the output name 'out.png', for example "
       "'out.####.png'",
       true},
      {"--region 1900,0,100,100",
       "--region 1900,0,100,100 reaches outside the layer of 1920 x 1080 pixels", true},
      {"--downsample 2 --region 960,0,1,1",
       "--region 960,0,1,1 reaches outside the layer of 960 x 540 pixels", true},
      {"--region 0,0,0,10", "bad --region '0,0,0,10': width and height must be at least 1", true},
      {"--downsample 0", "bad --downsample 0: renders at 1/N of the size, N from 1", true},
      {"-o out.jpg", "cannot write 'out.jpg': unknown image type '.jpg' (use .png or .exr)", true},
      {"-o out.png --bpc 32",
       "cannot write 32 bits per channel to 'out.png': PNG holds 8 or 16 (use .exr for 32-bit "
       "float)",
       true},
      {"-o /no/such/folder/out.png",
       "cannot write '/no/such/folder/out.png': the folder '/no/such/folder' does not exist", true},
      {"--bpc 12", "--bpc: 12 not in {8,16,32}", true},
      {"--frames 2 -o out.png", "Smart Render of frame 2 failed with error 4", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments);
    const ToolRun run = run_render(folder.path(), kFrameScript + " " + c.arguments);
    EXPECT_NE(run.exit_code, 0);
    EXPECT_EQ(last_line(run.err), "lunaform-render: " + c.line) << run.err;
    if (c.only_line) {
      EXPECT_EQ(run.err, "lunaform-render: " + c.line + "\n");
    }
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(names_in(folder.path()), testing::IsEmpty());
  }

  const ToolRun refused = run_render(folder.path(), "--module " + quoted(failing_setup));
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_EQ(last_line(refused.err), "lunaform-render: global setup of '" + failing_setup.string() +
                                        "' failed with error 512");
  EXPECT_THAT(names_in(folder.path()), testing::IsEmpty());
}

TEST(E2eRenderToolFrames, AFailingFrameLeavesTheModulesMessageAndNoImage) {
  const host_test::TempFolder folder;
  const ToolRun run =
      run_render(folder.path(), kFrameScript + " --frames 2 -o " + quoted(folder / "out.png"));
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err,
            "Frame Script: frame 2 fails on purpose\n"
            "lunaform-render: Smart Render of frame 2 failed with error 4\n");
  EXPECT_THAT(names_in(folder.path()), testing::IsEmpty());
}

TEST(E2eRenderToolFrames, ATwoFrameRangeWritesOneFilePerFrame) {
  const host_test::TempFolder folder;
  const std::filesystem::path pattern = folder / "shot.####.png";
  const ToolRun run = run_render(
      folder.path(), kFrameScript + " --frames 0-1 --downsample 8 -o " + quoted(pattern));
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const std::filesystem::path first = folder / "shot.0000.png";
  const std::filesystem::path second = folder / "shot.0001.png";
  EXPECT_EQ(run.err, "frame 1/2: " + first.string() + "\nframe 2/2: " + second.string() + "\n");
  EXPECT_EQ(run.out, "wrote 2 frames: " + first.string() + " to " + second.string() + "\n");
  EXPECT_EQ(names_in(folder.path()), (std::set<std::string>{"shot.0000.png", "shot.0001.png"}));

  // 1920 x 1080 at 1/8; frame 0 is painted opaque white, frame 1 is left transparent.
  const StoredFrame painted = read_frame(first);
  const StoredFrame untouched = read_frame(second);
  for (const StoredFrame* frame : {&painted, &untouched}) {
    EXPECT_EQ(frame->width, 240);
    EXPECT_EQ(frame->height, 135);
    EXPECT_EQ(frame->channels, 4);
  }
  EXPECT_TRUE(all_equal(painted.values, 255.0f));
  EXPECT_TRUE(all_equal(untouched.values, 0.0f));
}

TEST(E2eRenderToolFrames, DepthDownsampleRegionAndSceneShapeTheFile) {
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
    EXPECT_EQ(frame.width, c.width);
    EXPECT_EQ(frame.height, c.height);
    EXPECT_EQ(frame.channels, 4);
    EXPECT_EQ(frame.format, c.format);
    EXPECT_TRUE(all_equal(frame.values, c.white));
  }
}

TEST(E2eRenderToolFrames, WithoutArgumentsTheEffectsDefaultCompositionIsRendered) {
  const host_test::TempFolder folder;
  const ToolRun run = run_render(folder.path(), "");
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out, "wrote lunaform.png\n");
  // The effect's banner comes without a line end; the host ends it.
  EXPECT_THAT(run.err, HasSubstr("## Lunaform 1.0.2 (66)\n"));
  EXPECT_EQ(names_in(folder.path()), std::set<std::string>{"lunaform.png"});
  const StoredFrame frame = read_frame(folder / "lunaform.png");
  EXPECT_EQ(frame.width, 1920);
  EXPECT_EQ(frame.height, 1080);
  EXPECT_EQ(frame.channels, 4);
  EXPECT_EQ(frame.format, OIIO::TypeDesc::UINT8);
}

}  // namespace
