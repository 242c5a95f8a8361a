// Faults injected on purpose at each layer of a render. Each must end in one clear line with the
// right exit code, the frames written before it whole and no partial file. The render thread's
// own failures are the unit tests' (RendererThread).
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <tuple>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/pixel_world.h"
#include "host/render_frame.h"
#include "host/scene_file.h"
#include "tests/e2e_plugin_support.h"
#include "tests/host_temp_folder.h"
#include "tests/shell_command.h"

namespace {

using lunaform::host::EffectHost;
using testing::IsEmpty;

const std::filesystem::path kExamples =
    std::filesystem::path(__FILE__).parent_path().parent_path() / "examples";

TEST(E2eInjectedFaults, EachFaultOfARenderEndsInOneLineItsExitCodeAndOnlyWholeFrames) {
  // The test module paints every frame white and runs LUNAFORM_FRAME_HOOK in the shell as a
  // frame starts (FRAME: its number), so that the world changes between two frames: footage
  // goes away or is cut short, no file may grow any more (a full disk as the writer sees it),
  // the folder stops taking files. Root writes to any folder: that case runs as nobody.
  const auto hook = [](int frame, const std::string& change) {
    return "LUNAFORM_FRAME_HOOK='[ $FRAME != " + std::to_string(frame) + " ] || " + change + "' ";
  };
  const bool root = geteuid() == 0;
  const std::string frames = " scene.json --frames 0-2 --downsample 8 -o 'out/f.#.png'";
  const std::string hooked =
      "--module " + e2e_plugin::quoted(LUNAFORM_TEST_MODULE_DIR "/host_frame_script.so") + frames;
  const std::string failed =
      "(66)\nLunaform Exception: Lunaform failed to initialize with error:\n\n";
  struct Case {
    std::string before, arguments;
    int exit_code;
    std::string line;  // once in the output, which has one line of lunaform-render's own
    std::size_t frames_written;
  };
  // clang-format off
  const Case cases[] = {
      {hook(0, "rm map.png"), hooked, 0, "warning: cannot read image 'map.png': No such file or directory; its layers keep the pixels read before\n", 3},
      {hook(0, "truncate -s 100 map.png"), hooked, 0, "hit end of file; its layers keep the pixels read before\n", 3},
      {hook(1, "prlimit --pid $PPID --fsize=0"), hooked, 1, "lunaform-render: cannot write 'out/f.1.png': File too large\n", 1},
      {hook(1, "chmod a-w out") + (root ? "setpriv --reuid=65534 --regid=65534 --clear-groups" : ""), hooked, 1,
       "lunaform-render: cannot write 'out/f.1.png': cannot create a temporary file in 'out': Permission denied\n", 1},
      {"OCL_ICD_VENDORS=/nonexistent", frames, 1, failed + "no OpenCL platforms available\n", 0},
      {"__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent", frames, 1, failed + "failed to create context: EGL found no display", 0},
      // A display that cannot be reached still leaves the message on standard error.
      {"DISPLAY=:9999 MESA_GL_VERSION_OVERRIDE=3.3", frames, 1, failed + "failed to create OpenGL 4.1 context\n", 0},
      // In tiles of 2048 (the frame is wider than 4096) at 16 bytes a pixel: a band of 30000 x
      // 2048, the output and input worlds of (2048 + 8 padding) x 2048, and 2048 x 2048 x 128
      // bytes for the module's targets: 1.65 GB, refused before anything is allocated.
      {"prlimit --as=1000000000", "big.json --bpc 32 -o out/f.exr", 1, "is available, and frames of 30000 x 30000 pixels at 32 bits per channel need at least 1.7 GB in tiles of 2048 x 2048; render them smaller (--downsample), in parts (--region), in smaller tiles (--tile) or with fewer bits per channel (--bpc)\n", 0}};
  // clang-format on
  for (const Case& c : cases) {
#if defined(__SANITIZE_ADDRESS__)
    if (c.before.starts_with("prlimit --as"))  // AddressSanitizer cannot start under this limit
      continue;
#endif
    SCOPED_TRACE(c.before);
    const host_test::TempFolder folder;
    folder.write("scene.json", R"({"layers": [{"name": "Map", "type": "footage", "file": "map.png"},
                                              {"name": "E", "type": "effect"}]})");
    folder.write("big.json", R"({"composition": {"width": 30000, "height": 30000},
                                 "layers": [{"name": "E", "type": "effect"}]})");
    std::filesystem::copy_file(kExamples / "images" / "checker.png", folder / "map.png");
    std::filesystem::create_directory(folder / "out");
    if (root) {
      ASSERT_EQ(chown((folder / "out").c_str(), 65534, 65534), 0);
      std::filesystem::permissions(folder.path(), std::filesystem::perms::others_exec,
                                   std::filesystem::perm_options::add);
    }
    const ShellRun run =
        run_shell_command("cd " + e2e_plugin::quoted(folder.path()) + " && env -u DISPLAY " +
                          c.before + " " + LUNAFORM_RENDER_PATH + " " + c.arguments + " 2>&1");
    EXPECT_EQ(run.exit_code, c.exit_code) << run.output;
    for (const std::string& once : {c.line, std::string("lunaform-render: ")}) {
      const std::size_t at = run.output.find(once);
      EXPECT_TRUE(at != std::string::npos && at == run.output.rfind(once)) << run.output;
    }
    // Whatever is in the folder, temporary files included.
    std::set<std::string> written, present;
    for (std::size_t frame = 0; frame < c.frames_written; ++frame) {
      const std::string name = "f." + std::to_string(frame) + ".png";
      written.insert(name);
      const auto whole = e2e_plugin::read_frame(folder / "out" / name);
      EXPECT_EQ(std::tuple(whole.width, whole.height), std::tuple(240, 135)) << name;
      EXPECT_THAT(whole.values, testing::Each(1.0f)) << name;
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder / "out")) {
      present.insert(entry.path().filename().string());
    }
    EXPECT_EQ(present, written);
  }
}

bool same_pixels(const lunaform::host::PixelWorld& a, const lunaform::host::PixelWorld& b) {
  for (A_long y = 0; y < a.height(); ++y) {
    if (!std::ranges::equal(a.row(y), b.row(y))) {
      return false;
    }
  }
  return a.width() == b.width() && a.height() == b.height();
}

TEST(E2eInjectedFaults, ASuiteFunctionRefusedDuringAFrameFailsItByNameAndNoSuiteIsKept) {
  // The planet example (footage maps, a camera, a light) at 1/8 of its size.
  const auto host = std::make_unique<EffectHost>(e2e_plugin::real_module_entry());
  e2e_plugin::set_up_instance(*host);
  host->set_composition(
      lunaform::host::SceneFile::load(kExamples / "planet.json").composition_for(host->params()));
  host->settings().downsample_x = host->settings().downsample_y = {1, 8};
  host->record_suite_calls(true);
  const auto reference = lunaform::host::render_frame(*host, 0);
  std::set<std::string> functions;
  for (const auto& [function, result] : host->suite_calls()) {
    functions.insert(function);
  }
  EXPECT_GE(functions.size(), 20u) << "the frame asks for its camera, light, maps and times";
  // Only the maps' state checks can fail harmlessly: the maps are then taken again.
  const std::set<std::string> harmless = {"PF_GetCurrentState", "PF_AreStatesIdentical"};
  for (const std::string& function : functions) {
    SCOPED_TRACE(function);
    host->fail_suite_function(function, A_Err_GENERIC);
    host->record_suite_calls(true);
    host->suites().reset_counts();
    e2e_plugin::StderrCapture popup;
    std::unique_ptr<lunaform::host::PixelWorld> frame;
    std::string error;
    try {
      frame = lunaform::host::render_frame(*host, 0);
    } catch (const lunaform::host::HostError& refused) {
      error = refused.what();
    }
    EXPECT_THAT(host->suite_calls(), testing::Contains(std::pair(function, A_Err_GENERIC)));
    if (harmless.contains(function)) {
      EXPECT_EQ(std::tuple(error, popup.take()), std::tuple("", ""));
      EXPECT_TRUE(frame && same_pixels(*frame, *reference));
    } else {
      EXPECT_EQ(error, "Smart Render of frame 0 failed with error 512");
      EXPECT_EQ(popup.take(),
                "Lunaform Exception: The host answered " + function + " with error 1.\n");
    }
    EXPECT_THAT(host->suites().unreleased(), IsEmpty());
    host->fail_suite_function("", A_Err_NONE);
  }
  EXPECT_TRUE(same_pixels(*lunaform::host::render_frame(*host, 0), *reference));
  EXPECT_THAT(host->problems(), IsEmpty());
}

}  // namespace
