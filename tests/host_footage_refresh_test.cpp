#include "host/footage_refresh.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "host/composition.h"
#include "tests/host_footage_refresh_files.h"
#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"

namespace {

using lunaform::host::Composition;
using lunaform::host::FootageLayer;
using lunaform::host::FootageRefresh;
using lunaform::host::Image;
using lunaform::host::Layer;

// Writes a 2 x 1 grey PNG whose two pixels are `first` and `second` (0-255) and marks the
// file as rewritten.
void write_grey(const std::filesystem::path& file, unsigned char first, unsigned char second) {
  const std::array<unsigned char, 2> pixels = {first, second};
  host_test::write_image(file, host_test::image_layout(2, 1, 1, OIIO::TypeDesc::UINT8),
                         pixels.data());
  host_test::mark_rewritten(file);
}

// The image of footage layer `index`.
std::shared_ptr<const Image> image_of(const Composition& comp, std::size_t index) {
  return std::get<FootageLayer>(comp.layers[index].content).image;
}

// Layers "A1" and "A2" share a.png as the scene reader shares one file's pixels; "B" shows
// b.png.
Composition two_files(const host_test::TempFolder& folder) {
  write_grey(folder / "a.png", 51, 102);
  write_grey(folder / "b.png", 204, 255);
  Composition comp;
  comp.layers.push_back(host_test::footage_layer("A1", folder / "a.png"));
  Layer second_a = comp.layers[0];
  second_a.name = "A2";
  comp.layers.push_back(second_a);
  comp.layers.push_back(host_test::footage_layer("B", folder / "b.png"));
  return comp;
}

TEST(FootageRefresh, AChangedFileIsReadAgainForEveryLayerThatShowsItAndOnlyOnce) {
  const host_test::TempFolder folder;
  Composition comp = two_files(folder);
  FootageRefresh refresh;
  refresh.watch(comp);
  const auto a = image_of(comp, 0);
  const auto b = image_of(comp, 2);

  EXPECT_THAT(refresh.refresh(comp), testing::IsEmpty());
  EXPECT_EQ(image_of(comp, 0), a) << "an unchanged file is not read again";

  write_grey(folder / "a.png", 0, 255);
  EXPECT_THAT(refresh.refresh(comp), testing::IsEmpty());
  const auto new_a = image_of(comp, 0);
  ASSERT_NE(new_a, a);
  EXPECT_EQ(image_of(comp, 1), new_a) << "the layers keep sharing one image";
  EXPECT_EQ(new_a->rgba, (std::vector<float>{0, 0, 0, 1, 1, 1, 1, 1}));
  EXPECT_EQ(image_of(comp, 2), b);

  EXPECT_THAT(refresh.refresh(comp), testing::IsEmpty());
  EXPECT_EQ(image_of(comp, 0), new_a) << "a file read again is not read a third time";
}

TEST(FootageRefresh, AFileThatCannotBeReadKeepsItsPixelsWithOneWarningPerChange) {
  const host_test::TempFolder folder;
  Composition comp = two_files(folder);
  FootageRefresh refresh;
  refresh.watch(comp);
  const auto a = image_of(comp, 0);
  const std::filesystem::path file = folder / "a.png";
  const std::string warning_start = "cannot read image '" + file.string() + "': ";
  const std::string warning_end = "; its layers keep the pixels read before";

  folder.write("a.png", "not a picture any more");
  host_test::mark_rewritten(file);
  std::vector<std::string> warnings = refresh.refresh(comp);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_THAT(warnings[0], testing::StartsWith(warning_start));
  EXPECT_THAT(warnings[0], testing::EndsWith(warning_end));
  EXPECT_EQ(image_of(comp, 0), a);
  EXPECT_EQ(image_of(comp, 1), a);
  EXPECT_THAT(refresh.refresh(comp), testing::IsEmpty()) << "the same failure is told once";

  std::filesystem::remove(file);
  warnings = refresh.refresh(comp);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0], warning_start + "No such file or directory" + warning_end);
  EXPECT_EQ(image_of(comp, 0), a);

  write_grey(file, 255, 0);
  EXPECT_THAT(refresh.refresh(comp), testing::IsEmpty());
  ASSERT_NE(image_of(comp, 0), a);
  EXPECT_EQ(image_of(comp, 0)->rgba, (std::vector<float>{1, 1, 1, 1, 0, 0, 0, 1}));
}

TEST(FootageRefresh, AReReadFileWithNanPassesTheReadersWarningOn) {
  const host_test::TempFolder folder;
  const std::filesystem::path file = folder / "sky.exr";
  const std::array<float, 4> clean = {0.5f, 0.25f, 0.125f, 1.0f};
  const auto layout = host_test::image_layout(1, 1, 4, OIIO::TypeDesc::FLOAT);
  host_test::write_image(file, layout, clean.data());
  Composition comp;
  comp.layers.push_back(host_test::footage_layer("Sky", file));
  FootageRefresh refresh;
  refresh.watch(comp);

  const std::array<float, 4> dirty = {std::nanf(""), 0.25f, 0.125f, 1.0f};
  host_test::write_image(file, layout, dirty.data());
  host_test::mark_rewritten(file);
  EXPECT_THAT(refresh.refresh(comp),
              testing::ElementsAre("'" + file.string() +
                                   "': 1 NaN value set to 0, 0 infinite values set to the "
                                   "largest finite float"));
  EXPECT_EQ(image_of(comp, 0)->rgba, (std::vector<float>{0.0f, 0.25f, 0.125f, 1.0f}));
}

TEST(FootageRefresh, AFileFirstSeenAfterTheWatchBeganIsNotedNotRead) {
  const host_test::TempFolder folder;
  Composition comp = two_files(folder);
  FootageRefresh refresh;
  refresh.watch(Composition{});
  const auto a = image_of(comp, 0);
  EXPECT_THAT(refresh.refresh(comp), testing::IsEmpty());
  EXPECT_EQ(image_of(comp, 0), a);

  write_grey(folder / "a.png", 0, 0);
  refresh.refresh(comp);
  EXPECT_NE(image_of(comp, 0), a) << "once noted, its changes are read";
}

}  // namespace
