// The host with its test modules, and lunaform-render run as a user runs it: what it prints and
// writes, with the frame script's module (frame 0 white, frame 1 untouched, frame 2 fails).
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/module.h"
#include "tests/e2e_plugin_support.h"
#include "tests/host_temp_folder.h"
#include "tests/shell_command.h"

namespace {

using namespace e2e_plugin;
using lunaform::host::EffectHost;
using lunaform::host::HostError;
using lunaform::host::Module;
using testing::HasSubstr;
using testing::IsEmpty;

const std::filesystem::path kModules = LUNAFORM_TEST_MODULE_DIR;

TEST(E2eHostModules, FilesThatCannotBeLoadedAreRefusedWithTheirReasonBeforeAnyOfTheirCodeRuns) {
  // Truncated ELF files and damaged PiPLs have their own tests; here, how a module is refused.
  const host_test::TempFolder folder;
  const std::pair<std::filesystem::path, std::string> cases[] = {
      {kModules / "no_such_module.so", "No such file or directory"},
      {kModules, "read error: Is a directory"},
      {folder.write("not_elf.so", "hello\n"), "not an ELF file"},
      {kModules / "host_no_pipl.so", "no .pipl section"},
      {kModules / "host_missing_entry.so", "its entry point 'NotExportedMain' is not exported"},
      {kModules / "host_unresolved_symbol.so",
       "undefined symbol: lunaform_test_function_nobody_defines"}};
  for (const auto& [file, reason] : cases) {
    EXPECT_THAT([&] { Module::load(file); },
                testing::ThrowsMessage<HostError>(
                    testing::AllOf(testing::StartsWith("cannot load '" + file.string() + "': "),
                                   HasSubstr(reason), testing::Not(HasSubstr("\n")))));
  }
  EXPECT_EQ(std::getenv("LUNAFORM_HOST_NO_PIPL_LOADED"), nullptr)
      << "a file without a PiPL must be refused before any of its code runs";

  // A module whose global setup fails is still sent global setdown, which frees what it kept;
  // its entry point is found by the name its PiPL gives (not PluginMain).
  const Module failing = Module::load(kModules / "host_failing_setup.so");
  EffectHost host(failing.entry_point());
  EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(host.handles().live_count(), 1u);
  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 0u);
  EXPECT_THAT(host.problems(), IsEmpty());
}

struct ToolRun {
  int exit_code = -1;
  std::string out, err;  // standard output and standard error
};

// Runs lunaform-render in the folder `where` without a display: nothing may wait for a user.
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

const std::string kFrameScript = "--module " + quoted(kModules / "host_frame_script.so") + " ";

// The text's last line, without its line break.
std::string last_line(std::string text) {
  if (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  return text.substr(text.rfind('\n') + 1);
}

TEST(E2eRenderTool, EveryBadInputEndsWithOneClearLineAndWritesNothing) {
  const host_test::TempFolder folder;
  const std::string failing = quoted(kModules / "host_failing_setup.so");
  const std::string no_pipl = quoted(kModules / "host_no_pipl.so");
  const std::string fs = kFrameScript;
  const std::optional<std::string> module_speaks;  // something the module wrote comes first
  // The arguments, the last line after "lunaform-render: ", and all of standard error before it
  // when known exactly, with nothing on standard output.
  // clang-format off
  const std::tuple<std::string, std::string, std::optional<std::string>> cases[] = {
      {fs + "--frames 0-300", "frames 0-300 lie outside the composition, which has frames 0-299", ""},
      {fs + "-o out.png --frames 0-1", "frames 0-1 need a frame number in the output name 'out.png', for example 'out.####.png'", ""},
      {fs + "--region 1900,0,100,100", "--region 1900,0,100,100 reaches outside the layer of 1920 x 1080 pixels", ""},
      {fs + "--downsample 2 --region 960,0,1,1", "--region 960,0,1,1 reaches outside the layer of 960 x 540 pixels", ""},
      {fs + "--downsample 0", "bad --downsample 0: renders at 1/N of the size, N from 1", ""},
      {fs + "-o out.jpg", "cannot write 'out.jpg': unknown image type '.jpg' (use .png or .exr)", ""},
      {fs + "-o out.png --bpc 32", "cannot write 32 bits per channel to 'out.png': PNG holds 8 or 16 (use .exr for 32-bit float)", ""},
      {fs + "-o /no/such/folder/out.png", "cannot write '/no/such/folder/out.png': the folder '/no/such/folder' does not exist", ""},
      {fs + "--bpc 12", "--bpc: 12 not in {8,16,32}", ""},
      // The module's out-of-memory error: 1920 x 1080 x 4 bytes for the band, two worlds of
      // 1928 x 1080 x 4 and 1920 x 1080 x 128 for the module's targets make 290.4 MB.
      {fs + "--frames 2 -o out.png", "Smart Render of frame 2 ran out of memory: frames of 1920 x 1080 pixels at 8 bits per channel need at least 290 MB; render them smaller (--downsample), in parts (--region), in smaller tiles (--tile) or with fewer bits per channel (--bpc)", "Frame Script: frame 2 fails on purpose\n"},
      {"--module " + failing, "global setup of " + failing + " failed with error 512", module_speaks},
      {"--info /no/such/module.so", "cannot load '/no/such/module.so': No such file or directory", ""},
      {"--info " + no_pipl, "cannot load " + no_pipl + ": no .pipl section", ""},
      {"--info " + failing, "global setup of " + failing + " failed with error 512", module_speaks},
      {"--controls panel.png --pointer 200", "bad --pointer '200': expected X,Y (two whole numbers)", module_speaks},
      {"--controls panel.png --pointer 2,4,0", "bad --pointer '2,4,0': expected X,Y (two whole numbers)", module_speaks},
      {"--controls panel.png --pointer 566,10", "--pointer 566,10 lies outside the controls panel (574 x 120 pixels, the header control's top-left corner at 8,28)", module_speaks},
      {"--controls /no/such/folder/panel.png", "cannot write '/no/such/folder/panel.png': the folder '/no/such/folder' does not exist", module_speaks},
      {"--controls", "--controls shows a window and needs a display (DISPLAY is not set); --controls OUT.png draws the panel into a file instead", module_speaks},
      {"--controls --pointer 1,2", "--pointer needs --controls OUT.png", module_speaks}};
  // clang-format on
  for (const auto& [arguments, line, before] : cases) {
    SCOPED_TRACE(arguments);
    const ToolRun run = run_render(folder.path(), arguments);
    EXPECT_NE(run.exit_code, 0);
    EXPECT_EQ(last_line(run.err), "lunaform-render: " + line) << run.err;
    if (before) {
      EXPECT_EQ(run.err, *before + "lunaform-render: " + line + "\n");
      EXPECT_EQ(run.out, "");
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  }
}

TEST(E2eRenderTool, FramesTakeTheirSizeDepthAndNameFromTheOptionsAndARangeOneFileEach) {
  const host_test::TempFolder folder;
  folder.write("tiny.json", R"({"composition": {"width": 64, "height": 36},
                                "layers": [{"name": "Sphere", "type": "effect"}]})");
  // Without an output the file is named after the scene; 32 bits choose EXR. Each is white.
  // clang-format off
  const std::tuple<std::string, std::string, int, int, OIIO::TypeDesc> cases[] = {
      {"--downsample 8 -o a.png", "a.png", 240, 135, OIIO::TypeDesc::UINT8},
      {"--downsample 8 --bpc 16 -o b.png", "b.png", 240, 135, OIIO::TypeDesc::UINT16},
      {"--downsample 8 -o c.exr", "c.exr", 240, 135, OIIO::TypeDesc::FLOAT},
      {"--region 100,50,30,20 -o d.png", "d.png", 30, 20, OIIO::TypeDesc::UINT8},
      {"--downsample 4 --region 470,260,10,10 -o e.png", "e.png", 10, 10, OIIO::TypeDesc::UINT8},
      {"tiny.json", "tiny.png", 64, 36, OIIO::TypeDesc::UINT8},
      {"tiny.json --bpc 32 --downsample 2", "tiny.exr", 32, 18, OIIO::TypeDesc::FLOAT}};
  // clang-format on
  for (const auto& [arguments, file, width, height, format] : cases) {
    SCOPED_TRACE(arguments);
    const ToolRun run = run_render(folder.path(), kFrameScript + arguments);
    ASSERT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(std::tuple(run.out, run.err), std::tuple("wrote " + file + "\n", ""));
    const StoredFrame frame = read_frame(folder / file);
    EXPECT_EQ(std::tuple(frame.width, frame.height, frame.channels, frame.format),
              std::tuple(width, height, 4, format));
    EXPECT_THAT(frame.values, testing::Each(1.0f));
  }
  // A range: one file and one progress line per frame, and the first and last file named.
  const ToolRun run = run_render(folder.path(), kFrameScript + "--frames 0-1 --downsample 8 -o " +
                                                    quoted(folder / "shot.####.png"));
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const std::string first = (folder / "shot.0000.png").string();
  const std::string second = (folder / "shot.0001.png").string();
  EXPECT_EQ(run.err, "frame 1/2: " + first + "\nframe 2/2: " + second + "\n");
  EXPECT_EQ(run.out, "wrote 2 frames: " + first + " to " + second + "\n");
  EXPECT_THAT(read_frame(first).values, testing::Each(1.0f));
  const StoredFrame untouched = read_frame(second);
  EXPECT_EQ(std::tuple(untouched.width, untouched.height), std::tuple(240, 135));
  EXPECT_THAT(untouched.values, testing::Each(0.0f));
  // On a terminal the progress line is rewritten in place, and ended before the summary.
  const ShellRun terminal = run_shell_command(
      "cd " + quoted(folder.path()) + " && script -qec \"env -u DISPLAY " + LUNAFORM_RENDER_PATH +
      " " + kFrameScript + "--frames 0-1 --downsample 8 -o t.####.png\" /dev/null");
  EXPECT_THAT(
      terminal.output,
      HasSubstr("\r\x1b[Kframe 2/2: t.0001.png\r\nwrote 2 frames: t.0000.png to t.0001.png"));
}

TEST(E2eRenderTool, TheEffectDescribesItselfChecksScenesAndRendersItsDefaultComposition) {
  const host_test::TempFolder folder;
  const ToolRun info = run_render(folder.path(), "--info " + quoted(LUNAFORM_MODULE_PATH));
  EXPECT_EQ(info.exit_code, 0) << info.err;
  for (const char* line :
       {"Name:          Lunaform\n", "Category:      Brightmoor\n",
        "Match name:    BRIGHTMOOR Sphere\n",
        "Version:       1.0.0 develop build 66 (0x00080042)\n", "Parameters (80):", "\"Radius\"",
        "valid 0 to 100000, slider 0 to 15, default 200, precision 1",
        "choices \"0|2|4|8|16\" (5), default 4"}) {
    EXPECT_THAT(info.out, HasSubstr(line));
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
  // A misspelt parameter name is refused with the file and the place, exit code 2.
  const std::filesystem::path bad = folder.write(
      "bad.json",
      R"({"layers": [{"name": "Sphere", "type": "effect", "params": {"Radiuss": 300}}]})");
  const ToolRun refused = run_render(folder.path(), "--check " + quoted(bad));
  EXPECT_EQ(std::tuple(refused.exit_code, refused.out), std::tuple(2, ""));
  EXPECT_THAT(last_line(refused.err),
              HasSubstr("lunaform-render: " + bad.string() +
                        ": /layers/0/params/Radiuss: unknown parameter \"Radiuss\""));

  // Without arguments the default composition; the host ends the effect's build line.
  const ToolRun run = run_render(folder.path(), "");
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.out, "wrote lunaform.png\n");
  EXPECT_THAT(run.err, HasSubstr("## Lunaform 1.0.2 (66)\n"));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}),
            3);  // and two scenes
  const StoredFrame frame = read_frame(folder / "lunaform.png");
  EXPECT_EQ(std::tuple(frame.width, frame.height, frame.channels, frame.format),
            std::tuple(1920, 1080, 4, OIIO::TypeDesc(OIIO::TypeDesc::UINT8)));
}

// examples/lights.json (960 x 540, four lights) at 2 s, whole, as a region and in tiles whose
// seams cross the sphere: 250 divides neither 960 nor 540, 64 neither 180 nor 110.
TEST(E2eRenderTool, RegionsAndTilesAgreeWithTheWholeFrameAndLargeFramesAreTiledUnasked) {
  const host_test::TempFolder folder;
  const auto examples = std::filesystem::path(__FILE__).parent_path().parent_path() / "examples";
  for (const char* options :
       {"--bpc 32 -o whole.exr", "--bpc 32 --region 420,150,180,110 -o part.exr",
        "--bpc 32 --tile 250 -o tiles.exr", "--bpc 32 --region 420,150,180,110 --tile 64 -o pt.exr",
        "-o whole.png", "--tile 250 -o tiles.png"}) {
    const ToolRun run =
        run_render(folder.path(), quoted(examples / "lights.json") + " --frames 60 " + options);
    ASSERT_EQ(run.exit_code, 0) << run.err;
    EXPECT_THAT(run.err, testing::Not(HasSubstr("tile"))) << "no progress off a terminal";
  }
  // Each tile's projection is a matrix of its own, which moves the steep specular peak (up to
  // ~60) by up to ~3 % in the last bits: float differences count relative to values above 1.
  // At 8 bits the same moves flip the rounding of a few pixels by one step. A misplaced tile
  // or band would differ by the sphere's whole edge.
  // `file` against the part of `reference` at `left`, `top`: the largest difference below
  // `tolerance`, at most `differing` channel values apart at all.
  const auto compare = [&](const StoredFrame& reference, const char* file, int left, int top,
                           float tolerance, int differing) {
    SCOPED_TRACE(file);
    const StoredFrame part = read_frame(folder / file);
    const bool region = left > 0;
    ASSERT_EQ(std::tuple(part.width, part.height),
              region ? std::tuple(180, 110) : std::tuple(reference.width, reference.height));
    int covered = 0, over = 0;
    float largest = 0.0f;
    for (int y = 0; y < part.height; ++y) {
      for (int x = 0; x < part.width; ++x) {
        const float* a = &part.values[(std::size_t(y) * part.width + x) * 4];
        const float* b = &reference.values[(std::size_t(top + y) * reference.width + left + x) * 4];
        covered += b[3] > 0.0f;
        for (int i = 0; i < 4; ++i) {
          const float difference = std::abs(a[i] - b[i]) / std::max({1.0f, a[i], b[i]});
          largest = std::max(largest, difference);
          over += difference > 1e-6f;
        }
      }
    }
    EXPECT_GT(covered, 1000) << "the sphere shows";
    EXPECT_LT(largest, tolerance);
    EXPECT_LE(over, differing);
  };
  const StoredFrame whole = read_frame(folder / "whole.exr");
  ASSERT_EQ(std::tuple(whole.width, whole.height), std::tuple(960, 540));
  compare(whole, "part.exr", 420, 150, 0.05f, 1000);
  compare(whole, "tiles.exr", 0, 0, 0.05f, 5000);
  compare(whole, "pt.exr", 420, 150, 0.05f, 1000);
  compare(read_frame(folder / "whole.png"), "tiles.png", 0, 0, 1.5f / 255, 20);

  // On a terminal the frame's line names the tile under way.
  const ShellRun terminal =
      run_shell_command("cd " + quoted(folder.path()) + " && script -qec \"env -u DISPLAY " +
                        LUNAFORM_RENDER_PATH + " --tile 500 --downsample 2 -o t.png\" /dev/null");
  EXPECT_THAT(terminal.output, HasSubstr("\r\x1b[Kt.png: tile 4 of 4\r\nwrote t.png"));
  const ToolRun refused = run_render(folder.path(), "--tile -5");
  EXPECT_EQ(std::tuple(refused.exit_code, last_line(refused.err)),
            std::tuple(2, "lunaform-render: bad --tile -5: tiles are N x N pixels, N from 1"));

  // Wider than any texture llvmpipe allows (16384): asked as one tile it fails with the
  // effect's popup; unasked it is rendered in tiles, and the sphere at the layer's centre,
  // 200 pixels in radius, covers columns 10000 to 10399 across a seam (5 x 2048 = 10240).
  folder.write("wide.json", R"({"composition": {"width": 20400, "height": 4},
                                "layers": [{"name": "Sphere", "type": "effect"}]})");
  const ToolRun wide = run_render(folder.path(), "wide.json --bpc 32 --tile 20400 -o wide.exr");
  EXPECT_NE(wide.exit_code, 0);
  EXPECT_THAT(wide.err, HasSubstr("render texture size is over maximum supported size"));
  EXPECT_EQ(last_line(wide.err), "lunaform-render: Smart Render of frame 0 failed with error 512");
  ASSERT_EQ(run_render(folder.path(), "wide.json --bpc 32 -o wide.exr").exit_code, 0);
  const StoredFrame tiled = read_frame(folder / "wide.exr");
  std::set<int> columns;
  for (std::size_t i = 0; i < tiled.values.size() / 4; ++i) {
    if (tiled.values[i * 4 + 3] > 0.0f) {
      columns.insert(int(i % 20400));
    }
  }
  EXPECT_EQ(std::tuple(columns.size(), *columns.begin(), *columns.rbegin()),
            std::tuple(400u, 10000, 10399));
}

}  // namespace
