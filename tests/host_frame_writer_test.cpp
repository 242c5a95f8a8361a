#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/frame_writer.h"
#include "host/host_error.h"
#include "host/pixel_world.h"
#include "host_temp_folder.h"

namespace {

using lunaform::host::check_writable;
using lunaform::host::HostError;
using lunaform::host::PixelWorld;
using lunaform::host::write_frame;
using testing::HasSubstr;
using testing::ThrowsMessage;

// An image as stored in its file: size, channel type, and the channels as `T`, read without
// any premultiplication.
template <typename T>
struct StoredImage {
  OIIO::ImageSpec spec;
  std::vector<T> channels;
};

template <typename T>
StoredImage<T> read_stored(const std::filesystem::path& file, OIIO::TypeDesc type) {
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string(), &config);
  StoredImage<T> image;
  if (!input) {
    ADD_FAILURE() << OIIO::geterror();
    return image;
  }
  image.spec = input->spec();
  image.channels.resize(image.spec.image_pixels() * static_cast<size_t>(image.spec.nchannels));
  EXPECT_TRUE(input->read_image(0, 0, 0, image.spec.nchannels, type, image.channels.data()));
  return image;
}

// Writes `pixel` (the host's alpha, red, green, blue) at (x, y) of `world`.
template <typename Pixel>
void put(PixelWorld& world, A_long x, A_long y, const Pixel& pixel) {
  std::memcpy(world.row(y).data() + x * sizeof(Pixel), &pixel, sizeof pixel);
}

std::set<std::string> names_in(const std::filesystem::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

TEST(FrameWriter, EightBitWorldsBecomeStraightRgbaPngsWithoutTheRowPadding) {
  const host_test::TempFolder folder;
  // Host pixels, alpha first; one is fully transparent yet coloured.
  const PF_Pixel8 host[2][3] = {{{255, 10, 20, 30}, {128, 40, 50, 60}, {0, 200, 100, 50}},
                                {{1, 70, 80, 90}, {255, 255, 0, 7}, {64, 3, 2, 1}}};
  // The same pixels as the file stores them: red, green, blue, alpha.
  const std::uint8_t expected[] = {10, 20, 30, 255, 40,  50, 60, 128, 200, 100, 50, 0,
                                   70, 80, 90, 1,   255, 0,  7,  255, 3,   2,   1,  64};
  PixelWorld world(3, 2, 8);
  for (A_long y = 0; y < 2; ++y) {
    for (A_long x = 0; x < 3; ++x) {
      put(world, x, y, host[y][x]);
    }
  }
  write_frame(world, folder / "frame.png");

  const auto stored = read_stored<std::uint8_t>(folder / "frame.png", OIIO::TypeDesc::UINT8);
  EXPECT_EQ(stored.spec.width, 3);
  EXPECT_EQ(stored.spec.height, 2);
  EXPECT_EQ(stored.spec.nchannels, 4);
  EXPECT_EQ(stored.spec.format, OIIO::TypeDesc::UINT8);
  EXPECT_THAT(stored.channels, testing::ElementsAreArray(expected));
}

TEST(FrameWriter, SixteenBitValuesAreRescaledFromTheHostWhiteToTheFileWhite) {
  const host_test::TempFolder folder;
  struct Case {
    A_u_short host;
    std::uint16_t file;  // host × 65535 / 32768, rounded by hand; above white stays white
  };
  const Case cases[] = {{0, 0},         {1, 2},         {100, 200},     {16384, 32768},
                        {32767, 65533}, {32768, 65535}, {40000, 65535}, {65535, 65535}};
  constexpr A_long kCount = sizeof cases / sizeof cases[0];
  // Each case in a channel of its own, so a wrong channel order shows as well: pixel i holds
  // case i as red, the next as green, the one after as blue and the one before as alpha, on
  // both rows (the second row is read past the first row's padding).
  const auto at = [&](A_long i) { return cases[(i + kCount) % kCount]; };
  PixelWorld world(kCount, 2, 16);
  for (A_long y = 0; y < 2; ++y) {
    for (A_long i = 0; i < kCount; ++i) {
      put(world, i, y, PF_Pixel16{at(i - 1).host, at(i).host, at(i + 1).host, at(i + 2).host});
    }
  }
  write_frame(world, folder / "deep.png");

  const auto stored = read_stored<std::uint16_t>(folder / "deep.png", OIIO::TypeDesc::UINT16);
  EXPECT_EQ(stored.spec.format, OIIO::TypeDesc::UINT16);
  ASSERT_EQ(stored.channels.size(), static_cast<size_t>(kCount * 2 * 4));
  for (A_long y = 0; y < 2; ++y) {
    for (A_long i = 0; i < kCount; ++i) {
      SCOPED_TRACE("pixel " + std::to_string(i) + ", row " + std::to_string(y));
      const std::uint16_t* rgba = &stored.channels[static_cast<size_t>((y * kCount + i) * 4)];
      EXPECT_EQ(rgba[0], at(i).file) << "from " << at(i).host;
      EXPECT_EQ(rgba[1], at(i + 1).file) << "from " << at(i + 1).host;
      EXPECT_EQ(rgba[2], at(i + 2).file) << "from " << at(i + 2).host;
      EXPECT_EQ(rgba[3], at(i - 1).file) << "from " << at(i - 1).host;
    }
  }
}

TEST(FrameWriter, FloatWorldsBecomeExrsOfTheSameValues) {
  const host_test::TempFolder folder;
  PixelWorld world(2, 2, 32);
  put(world, 0, 0, PF_PixelFloat{1.0f, 2.5f, -0.25f, 0.5f});
  put(world, 1, 0, PF_PixelFloat{0.0f, 0.75f, 0.125f, 3.0f});  // transparent, coloured
  put(world, 0, 1, PF_PixelFloat{0.5f, 1e-6f, 100.0f, 0.0f});
  put(world, 1, 1, PF_PixelFloat{0.25f, 0.5f, 0.25f, 0.125f});
  write_frame(world, folder / "frame.exr");

  const auto stored = read_stored<float>(folder / "frame.exr", OIIO::TypeDesc::FLOAT);
  EXPECT_EQ(stored.spec.format, OIIO::TypeDesc::FLOAT);
  EXPECT_EQ(stored.spec.channelnames, (std::vector<std::string>{"R", "G", "B", "A"}));
  EXPECT_THAT(stored.channels,
              testing::ElementsAre(2.5f, -0.25f, 0.5f, 1.0f, 0.75f, 0.125f, 3.0f, 0.0f, 1e-6f,
                                   100.0f, 0.0f, 0.5f, 0.5f, 0.25f, 0.125f, 0.25f));
}

TEST(FrameWriter, AFileIsReplacedWholeOrLeftAsItWas) {
  const host_test::TempFolder folder;
  PixelWorld first(3, 2, 8);
  put(first, 0, 0, PF_Pixel8{255, 1, 2, 3});
  write_frame(first, folder / "out.png");
  PixelWorld second(5, 4, 8);
  write_frame(second, folder / "out.png");
  EXPECT_EQ(read_stored<std::uint8_t>(folder / "out.png", OIIO::TypeDesc::UINT8).spec.width, 5);
  EXPECT_EQ(names_in(folder.path()), std::set<std::string>{"out.png"});

  // Refused before anything is written: a depth the file type cannot hold.
  const PixelWorld floats(7, 7, 32);
  EXPECT_THAT([&] { write_frame(floats, folder / "out.png"); },
              ThrowsMessage<HostError>(HasSubstr("cannot write 32 bits per channel to '" +
                                                 (folder / "out.png").string() + "'")));
  // Failing at the end: the complete image cannot take the place of a folder.
  std::filesystem::create_directory(folder / "taken.png");
  EXPECT_THAT([&] { write_frame(second, folder / "taken.png"); },
              ThrowsMessage<HostError>(
                  HasSubstr("cannot write '" + (folder / "taken.png").string() + "': ")));
  EXPECT_THAT([&] { write_frame(second, folder / "missing" / "out.png"); },
              ThrowsMessage<HostError>(HasSubstr("cannot write '")));

  EXPECT_EQ(read_stored<std::uint8_t>(folder / "out.png", OIIO::TypeDesc::UINT8).spec.width, 5);
  EXPECT_EQ(names_in(folder.path()), (std::set<std::string>{"out.png", "taken.png"}));
}

TEST(FrameWriter, OutputsThatCannotBeCreatedAreNamedBeforeRendering) {
  const host_test::TempFolder folder;
  const std::filesystem::path file = folder.write("file.txt", "not a folder");
  std::filesystem::create_directory(folder / "folder.png");
  struct Case {
    std::filesystem::path output;
    std::string message;
  };
  const Case cases[] = {
      {folder / "missing" / "out.png",
       "the folder '" + (folder / "missing").string() + "' does not exist"},
      {file / "out.png", "'" + file.string() + "' is not a folder"},
      {folder / "folder.png", "it is a folder"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.output);
    EXPECT_THAT([&] { check_writable(c.output); },
                ThrowsMessage<HostError>(
                    testing::StrEq("cannot write '" + c.output.string() + "': " + c.message)));
  }
  EXPECT_NO_THROW(check_writable(folder / "new.png"));
}

}  // namespace
