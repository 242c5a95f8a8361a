// The host with the small modules built for its tests: files it must refuse, a module whose
// global setup fails, and frames of the frame script's module (frame 0 white, frame 1
// untouched, frame 2 fails).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/composition.h"
#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/module.h"
#include "host/pixel_world.h"
#include "host/render_frame.h"
#include "tests/e2e_plugin_support.h"

namespace {

using lunaform::host::EffectHost;
using lunaform::host::HostError;
using lunaform::host::Module;
using lunaform::host::PixelWorld;
using lunaform::host::render_frame;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::filesystem::path kModules = LUNAFORM_TEST_MODULE_DIR;

std::filesystem::path write_file(const std::string& name, const std::vector<char>& bytes) {
  const std::filesystem::path file = std::filesystem::path(testing::TempDir()) / name;
  std::ofstream(file, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
  return file;
}

TEST(E2eHostModules, FilesThatCannotBeLoadedAreRefusedWithTheirReasonBeforeAnyOfTheirCodeRuns) {
  std::ifstream in(kModules / "host_failing_setup.so", std::ios::binary);
  const std::vector<char> module{std::istreambuf_iterator<char>(in), {}};
  std::vector<char> corrupt = module;
  // The property count is the u32 right before the first property.
  const std::string first_property = "MIB8dnik";
  const auto found =
      std::search(corrupt.begin(), corrupt.end(), first_property.begin(), first_property.end());
  ASSERT_NE(found, corrupt.end());
  *(found - 4) = char(0xFF);
  const std::pair<std::filesystem::path, std::string> cases[] = {
      {kModules / "no_such_module.so", "No such file or directory"},
      {kModules, "read error: Is a directory"},
      {write_file("not_elf.so", {'h', 'e', 'l', 'l', 'o', '\n'}), "not an ELF file"},
      {write_file("truncated.so", {module.begin(), module.begin() + 100}), "truncated ELF file"},
      {write_file("corrupt_pipl.so", corrupt), "PiPL claims 255 properties"},
      {kModules / "host_no_pipl.so", "no .pipl section"},
      {kModules / "host_missing_entry.so", "its entry point 'NotExportedMain' is not exported"},
      {kModules / "host_unresolved_symbol.so",
       "undefined symbol: lunaform_test_function_nobody_defines"},
  };
  for (const auto& [file, reason] : cases) {
    SCOPED_TRACE(file);
    try {
      Module::load(file);
      ADD_FAILURE() << "loaded";
    } catch (const HostError& error) {
      EXPECT_THAT(error.what(), StartsWith("cannot load '" + file.string() + "': "));
      EXPECT_THAT(error.what(), HasSubstr(reason));
      EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
    }
  }
  EXPECT_EQ(std::getenv("LUNAFORM_HOST_NO_PIPL_LOADED"), nullptr)
      << "a file without a PiPL must be refused before any of its code runs";
}

TEST(E2eHostModules, AFailedGlobalSetupIsStillFollowedByGlobalSetdown) {
  const Module module = Module::load(kModules / "host_failing_setup.so");
  EXPECT_EQ(module.pipl().name, "Failing Setup");
  EXPECT_EQ(module.pipl().entry_point, "FailingSetupMain");
  EffectHost host(module.entry_point());
  EXPECT_EQ(host.global_setup(), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(host.handles().live_count(), 1u) << "the module keeps a block from its failed setup";
  EXPECT_EQ(host.suites().use("AEGP Utility Suite", 10).acquired, 1);
  EXPECT_EQ(host.global_setdown(), PF_Err_NONE);
  EXPECT_EQ(host.handles().live_count(), 0u) << "only the module's setdown frees that block";
  EXPECT_EQ(host.global_data(), nullptr);
  ASSERT_EQ(host.commands().size(), 2u);
  EXPECT_EQ(host.commands()[1].command, PF_Cmd_GLOBAL_SETDOWN);
  EXPECT_THAT(host.problems(), IsEmpty());
}

// Whether every channel of every pixel of `world` is `value`, read at the world's depth.
template <typename Channel>
bool every_channel_is(const PixelWorld& world, Channel value) {
  for (A_long y = 0; y < world.height(); ++y) {
    const auto row = world.row(y);
    for (std::size_t offset = 0; offset < row.size(); offset += sizeof(Channel)) {
      Channel channel;
      std::memcpy(&channel, row.data() + offset, sizeof channel);
      if (channel != value) {
        return false;
      }
    }
  }
  return true;
}

// Opaque white at the world's depth (the host's 16-bit white is 32768).
bool is_white(const PixelWorld& world) {
  return world.bits_per_channel() == 8    ? every_channel_is<A_u_char>(world, 255)
         : world.bits_per_channel() == 16 ? every_channel_is<A_u_short>(world, 32768)
                                          : every_channel_is<float>(world, 1.0f);
}

// The frame script's module set up in a host with a 64 x 36 composition of 10 frames.
class E2eHostFrameScript : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(host_.global_setup(), PF_Err_NONE);
    ASSERT_EQ(host_.params_setup(), PF_Err_NONE);
    ASSERT_EQ(host_.sequence_setup(), PF_Err_NONE);
    lunaform::host::Composition comp = lunaform::host::default_composition();
    comp.width = 64;
    comp.height = 36;
    comp.duration = 10.0 / 30.0;
    auto& effect = std::get<lunaform::host::EffectLayer>(comp.layers.front().content);
    effect.width = 64;
    effect.height = 36;
    host_.set_composition(std::move(comp));
  }

  Module module_ = Module::load(kModules / "host_frame_script.so");
  EffectHost host_{module_.entry_point()};
};

TEST_F(E2eHostFrameScript, AFrameTheModuleLeavesUntouchedIsTransparentEvenAfterAPaintedOne) {
  for (const int bits : {8, 16, 32}) {
    SCOPED_TRACE(bits);
    host_.settings().bits_per_channel = bits;
    const std::unique_ptr<PixelWorld> painted = render_frame(host_, 0);
    ASSERT_NE(painted, nullptr);
    EXPECT_EQ(painted->bits_per_channel(), bits);
    EXPECT_TRUE(is_white(*painted));
    // The painted world stays the caller's while the next frame renders.
    const std::unique_ptr<PixelWorld> untouched = render_frame(host_, 1);
    ASSERT_NE(untouched, nullptr);
    EXPECT_NE(untouched.get(), painted.get());
    EXPECT_TRUE(every_channel_is<A_u_char>(*untouched, 0));
    EXPECT_TRUE(is_white(*painted));
    EXPECT_TRUE(untouched->padding_intact());
    EXPECT_EQ(host_.output_world(), nullptr);
    // The module was handed the output for the untouched frame too: its zeros are the host's.
    ASSERT_FALSE(host_.render_checkouts().empty());
    EXPECT_EQ(host_.render_checkouts().back().kind,
              lunaform::host::RenderCheckoutCall::Kind::output);
  }
  EXPECT_THAT(host_.problems(), IsEmpty());
  EXPECT_EQ(host_.in_data().current_time, host_.settings().time_step);
}

TEST_F(E2eHostFrameScript, TheWorldCoversTheDownsampledLayerOrTheRegion) {
  struct Case {
    A_u_long downsample;
    std::optional<PF_LRect> region;
    A_long width, height, origin_x, origin_y;
  };
  // 64 x 36 at 1/3 is 22 x 12 (sides rounded up); a region is its own size at its own place.
  for (const Case c : {Case{1, std::nullopt, 64, 36, 0, 0}, Case{3, std::nullopt, 22, 12, 0, 0},
                       Case{1, PF_LRect{5, 6, 15, 10}, 10, 4, 5, 6},
                       Case{2, PF_LRect{30, 16, 32, 18}, 2, 2, 30, 16}}) {
    SCOPED_TRACE(c.width);
    host_.settings().downsample_x = host_.settings().downsample_y = {1, c.downsample};
    host_.settings().output_rect = c.region;
    const std::unique_ptr<PixelWorld> world = render_frame(host_, 0);
    EXPECT_EQ(std::tuple(world->width(), world->height()), std::tuple(c.width, c.height));
    EXPECT_EQ(std::tuple(world->world()->origin_x, world->world()->origin_y),
              std::tuple(c.origin_x, c.origin_y));
    EXPECT_TRUE(is_white(*world));
  }
}

TEST_F(E2eHostFrameScript, ModuleErrorsAndFramesOutsideTheCompositionAreOneLine) {
  e2e_plugin::StderrCapture module_message;
  EXPECT_THAT([&] { render_frame(host_, 2); }, testing::ThrowsMessage<HostError>(testing::StrEq(
                                                   "Smart Render of frame 2 failed with error 4")));
  EXPECT_EQ(module_message.take(), "Frame Script: frame 2 fails on purpose\n");
  EXPECT_THAT([&] { render_frame(host_, 10); },
              testing::ThrowsMessage<HostError>(
                  testing::StrEq("frame 10 lies outside the composition, which has frames 0-9")));
  EXPECT_THROW(render_frame(host_, -1), HostError);
}

}  // namespace
