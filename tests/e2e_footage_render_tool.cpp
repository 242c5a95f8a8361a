// lunaform-render with footage that needs the host's care on the way in.
#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"
#include "tests/shell_command.h"

namespace {

std::string quoted(const std::filesystem::path& path) {
  return "'" + path.string() + "'";
}

// Every value of an EXR frame, or nothing when it cannot be read.
std::vector<float> frame_values(const std::filesystem::path& file) {
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string());
  if (!input) {
    ADD_FAILURE() << file << ": " << OIIO::geterror();
    return {};
  }
  const OIIO::ImageSpec& spec = input->spec();
  std::vector<float> values(spec.image_pixels() * static_cast<size_t>(spec.nchannels));
  EXPECT_TRUE(input->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::FLOAT, values.data()));
  return values;
}

TEST(E2eFootageRenderTool, FloatFootageWithNanAndInfinityIsCleanedWithAWarningAndRenders) {
  const host_test::TempFolder folder;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> dirty = {nan, 0.5f, inf, 1.0f, 0.25f, 0.5f, 0.75f, 1.0f};
  host_test::write_image(folder / "dirty.exr",
                         host_test::image_layout(2, 1, 4, OIIO::TypeDesc::FLOAT), dirty.data());
  const std::filesystem::path scene = folder.write("scene.json", R"({
      "composition": {"width": 64, "height": 36},
      "layers": [
        {"name": "Dirty", "type": "footage", "file": "dirty.exr", "enabled": false},
        {"name": "Sphere", "type": "effect",
         "params": {"Radius": 12, "Diffuse Layer": "Dirty", "Illumination Layer": "Dirty"}}]})");
  const std::filesystem::path frame = folder / "frame.exr";

  const ShellRun run = run_shell_command(std::string(LUNAFORM_RENDER_PATH) + " " + quoted(scene) +
                                         " -o " + quoted(frame) + " 2>&1");

  EXPECT_EQ(run.exit_code, 0) << run.output;
  EXPECT_THAT(run.output,
              testing::HasSubstr("lunaform-render: warning: '" + (folder / "dirty.exr").string() +
                                 "': 1 NaN value set to 0, 1 infinite value set to "
                                 "the largest finite float\n"));
  EXPECT_THAT(run.output, testing::HasSubstr("wrote " + frame.string() + "\n"));
  // The largest finite float that an infinity becomes can still overflow through a map's
  // gamma on the GPU, so only the frame's completeness is checked here.
  EXPECT_EQ(frame_values(frame).size(), 64u * 36u * 4u);
}

}  // namespace
