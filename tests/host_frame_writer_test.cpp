#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/frame_path.h"
#include "host/frame_range.h"
#include "host/frame_writer.h"
#include "host/host_error.h"
#include "host/image_file_type.h"
#include "host/output_region.h"
#include "host/pixel_world.h"
#include "host/stderr_line_guard.h"
#include "tests/host_temp_folder.h"

// What lunaform-render takes from its command line and gives back: frame ranges, regions,
// output names and types, the frames written, and its standard-error lines.
namespace {

using lunaform::host::HostError;
using lunaform::host::PixelWorld;
using lunaform::host::write_frame;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testing::StrEq;
using testing::ThrowsMessage;

// The channels of `file` as stored (type T), read without any premultiplication, and its spec.
template <typename T>
std::vector<T> read_stored(const std::filesystem::path& file, OIIO::ImageSpec* spec = nullptr) {
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string(), &config);
  if (!input) {
    ADD_FAILURE() << OIIO::geterror();
    return {};
  }
  std::vector<T> channels(input->spec().image_pixels() * input->spec().nchannels);
  EXPECT_TRUE(input->read_image(0, 0, 0, input->spec().nchannels, OIIO::BaseTypeFromC<T>::value,
                                channels.data()));
  if (spec != nullptr) {
    *spec = input->spec();
  }
  return channels;
}

// Writes `pixel` (the host's alpha, red, green, blue) at (x, y) of `world`.
template <typename Pixel>
void put(PixelWorld& world, A_long x, A_long y, const Pixel& pixel) {
  std::memcpy(world.row(y).data() + x * sizeof(Pixel), &pixel, sizeof pixel);
}

TEST(FrameWriter, EightBitAndFloatWorldsAreStoredAsStraightRgbaWithoutTheRowPadding) {
  const host_test::TempFolder folder;
  // Host pixels, alpha first; one is fully transparent yet coloured.
  const PF_Pixel8 host[2][3] = {{{255, 10, 20, 30}, {128, 40, 50, 60}, {0, 200, 100, 50}},
                                {{1, 70, 80, 90}, {255, 255, 0, 7}, {64, 3, 2, 1}}};
  PixelWorld bytes(3, 2, 8);
  for (A_long i = 0; i < 6; ++i) {
    put(bytes, i % 3, i / 3, host[i / 3][i % 3]);
  }
  write_frame(bytes, folder / "frame.png");
  OIIO::ImageSpec spec;
  EXPECT_THAT(read_stored<std::uint8_t>(folder / "frame.png", &spec),
              ElementsAre(10, 20, 30, 255, 40, 50, 60, 128, 200, 100, 50, 0, 70, 80, 90, 1, 255, 0,
                          7, 255, 3, 2, 1, 64));
  EXPECT_EQ(spec.format, OIIO::TypeDesc::UINT8);

  PixelWorld floats(2, 2, 32);
  put(floats, 0, 0, PF_PixelFloat{1.0f, 2.5f, -0.25f, 0.5f});
  put(floats, 1, 0, PF_PixelFloat{0.0f, 0.75f, 0.125f, 3.0f});  // transparent, coloured
  put(floats, 0, 1, PF_PixelFloat{0.5f, 1e-6f, 100.0f, 0.0f});
  put(floats, 1, 1, PF_PixelFloat{0.25f, 0.5f, 0.25f, 0.125f});
  write_frame(floats, folder / "frame.exr");
  EXPECT_THAT(read_stored<float>(folder / "frame.exr", &spec),
              ElementsAre(2.5f, -0.25f, 0.5f, 1.0f, 0.75f, 0.125f, 3.0f, 0.0f, 1e-6f, 100.0f, 0.0f,
                          0.5f, 0.5f, 0.25f, 0.125f, 0.25f));
  EXPECT_EQ(spec.format, OIIO::TypeDesc::FLOAT);
  EXPECT_EQ(spec.channelnames, (std::vector<std::string>{"R", "G", "B", "A"}));
}

TEST(FrameWriter, SixteenBitValuesAreRescaledFromTheHostWhiteToTheFileWhite) {
  const host_test::TempFolder folder;
  // host × 65535 / 32768, rounded by hand; above white stays white.
  const std::uint16_t host[] = {0, 1, 100, 16384, 32767, 32768, 40000, 65535};
  const std::uint16_t file[] = {0, 2, 200, 32768, 65533, 65535, 65535, 65535};
  constexpr A_long kCount = 8;
  // Each case in a channel of its own, so a wrong channel order shows as well: pixel i holds
  // case i as red, the next as green, the one after as blue and the one before as alpha, on
  // both rows (the second row is read past the first row's padding).
  const auto at = [&](A_long i) { return (i + kCount) % kCount; };
  PixelWorld world(kCount, 2, 16);
  for (A_long i = 0; i < 2 * kCount; ++i) {
    const A_long x = i % kCount;
    put(world, x, i / kCount,
        PF_Pixel16{host[at(x - 1)], host[at(x)], host[at(x + 1)], host[at(x + 2)]});
  }
  write_frame(world, folder / "deep.png");
  const std::vector<std::uint16_t> stored = read_stored<std::uint16_t>(folder / "deep.png");
  ASSERT_EQ(stored.size(), 2u * kCount * 4);
  for (A_long i = 0; i < 2 * kCount; ++i) {
    const A_long x = i % kCount;
    EXPECT_THAT(std::vector(stored.begin() + 4 * i, stored.begin() + 4 * i + 4),
                ElementsAre(file[at(x)], file[at(x + 1)], file[at(x + 2)], file[at(x - 1)]))
        << "pixel " << x << " of row " << i / kCount;
  }
}

TEST(FrameWriter, AFileIsReplacedWholeOrLeftAsItWasAndOutputsAreCheckedBeforeRendering) {
  const host_test::TempFolder folder;
  const auto names = [&] {
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
      found.insert(entry.path().filename().string());
    }
    return found;
  };
  const auto width = [&] {
    OIIO::ImageSpec spec;
    read_stored<std::uint8_t>(folder / "out.png", &spec);
    return spec.width;
  };
  write_frame(PixelWorld(3, 2, 8), folder / "out.png");
  const PixelWorld second(5, 4, 8);
  write_frame(second, folder / "out.png");
  EXPECT_EQ(width(), 5);
  // Refused before anything is written: a depth the file type cannot hold. Failing at the end:
  // the complete image cannot take the place of a folder, or has no folder to go to.
  EXPECT_THAT([&] { write_frame(PixelWorld(7, 7, 32), folder / "out.png"); },
              ThrowsMessage<HostError>(HasSubstr("cannot write 32 bits per channel to '" +
                                                 (folder / "out.png").string() + "'")));
  std::filesystem::create_directory(folder / "taken.png");
  EXPECT_THAT([&] { write_frame(second, folder / "taken.png"); },
              ThrowsMessage<HostError>(
                  StartsWith("cannot write '" + (folder / "taken.png").string() + "': ")));
  EXPECT_THAT([&] { write_frame(second, folder / "missing" / "out.png"); },
              ThrowsMessage<HostError>(StartsWith("cannot write '")));
  EXPECT_EQ(width(), 5);
  EXPECT_EQ(names(), (std::set<std::string>{"out.png", "taken.png"})) << "no temporary file left";

  const std::filesystem::path text = folder.write("file.txt", "not a folder");
  const std::pair<std::filesystem::path, std::string> refused[] = {
      {folder / "missing" / "out.png",
       "the folder '" + (folder / "missing").string() + "' does not exist"},
      {text / "out.png", "'" + text.string() + "' is not a folder"},
      {folder / "taken.png", "it is a folder"},
  };
  for (const auto& [output, reason] : refused) {
    EXPECT_THAT(
        [&] { lunaform::host::check_writable(output); },
        ThrowsMessage<HostError>(StrEq("cannot write '" + output.string() + "': " + reason)));
  }
  EXPECT_NO_THROW(lunaform::host::check_writable(folder / "new.png"));
}

TEST(RenderOptionText, FramesAreInclusiveRunsOfWholeNumbersInsideTheComposition) {
  using lunaform::host::parse_frame_range;
  EXPECT_EQ(parse_frame_range("0-47").size(), 48);
  EXPECT_EQ(parse_frame_range("12").first, 12);
  EXPECT_EQ(parse_frame_range("12").last, 12);
  EXPECT_THAT(
      [] { parse_frame_range("5-2"); },
      ThrowsMessage<HostError>(StrEq("bad --frames '5-2': the last frame comes before the first")));
  for (const std::string bad : {"", "-3", "1-", "-", "a-b", "1-2-3", "+1-2", " 1-2", "1.5",
                                "99999999999", "0-99999999999"}) {
    EXPECT_THAT(
        [&] { parse_frame_range(bad); },
        ThrowsMessage<HostError>(StartsWith("bad --frames '" + bad + "': expected FIRST-LAST")));
  }
  // A frame counts when it starts before the composition ends: 10 s at 30 fps in units of
  // 1/3600 s; 5 s at 29.97 fps (149.85 frames: the last one partial); one frame exactly; one
  // unit more starts a second frame; nothing.
  std::vector<int> counts;
  for (const auto& [total, step] : {std::pair{36000, 120}, std::pair{18000000, 120120},
                                    std::pair{120, 120}, std::pair{121, 120}, std::pair{0, 120}}) {
    counts.push_back(lunaform::host::frame_count(total, step));
  }
  EXPECT_THAT(counts, ElementsAre(300, 150, 1, 2, 0));
  EXPECT_THROW(lunaform::host::frame_count(100, 0), HostError);
  using lunaform::host::check_frame_range;
  EXPECT_NO_THROW(check_frame_range(parse_frame_range("0-299"), 300));
  EXPECT_THAT([] { check_frame_range(parse_frame_range("0-300"), 300); },
              ThrowsMessage<HostError>(
                  StrEq("frames 0-300 lie outside the composition, which has frames 0-299")));
  EXPECT_THAT([] { check_frame_range(parse_frame_range("300"), 300); },
              ThrowsMessage<HostError>(HasSubstr("frame 300 lies outside")));
  EXPECT_THAT([] { check_frame_range(parse_frame_range("0"), 0); },
              ThrowsMessage<HostError>(testing::EndsWith("which has no frames")));
}

TEST(RenderOptionText, RegionsAreRectanglesInsideTheLayer) {
  const PF_LRect region = lunaform::host::parse_region("10,20,30,40");
  EXPECT_THAT(std::vector({region.left, region.top, region.right, region.bottom}),
              ElementsAre(10, 20, 40, 60));
  const std::pair<std::string, std::string> bad[] = {
      {"1,2,3", "expected X,Y,WIDTH,HEIGHT"},
      {"1,2,3,4,5", "expected X,Y,WIDTH,HEIGHT"},
      {"a,b,c,d", "expected X,Y,WIDTH,HEIGHT"},
      {"-1,0,5,5", "expected X,Y,WIDTH,HEIGHT"},
      {"0,0,5,", "expected X,Y,WIDTH,HEIGHT"},
      {"0,0,0,5", "width and height must be at least 1"},
      {"0,0,5,0", "width and height must be at least 1"},
      {"2147483647,0,5,5", "larger than any layer"}};
  for (const auto& [text, problem] : bad) {
    EXPECT_THAT([&] { lunaform::host::parse_region(text); },
                ThrowsMessage<HostError>(HasSubstr("bad --region '" + text + "': " + problem)));
  }
  // A 960 x 540 layer: the region may touch every edge but not cross one.
  EXPECT_NO_THROW(lunaform::host::check_region({0, 0, 960, 540}, {960, 540}));
  EXPECT_NO_THROW(lunaform::host::check_region({959, 539, 960, 540}, {960, 540}));
  EXPECT_THAT(
      [] {
        lunaform::host::check_region({900, 0, 961, 10}, {960, 540});
      },
      ThrowsMessage<HostError>(
          StrEq("--region 900,0,61,10 reaches outside the layer of 960 x 540 pixels")));
  EXPECT_THROW(lunaform::host::check_region({0, 500, 10, 541}, {960, 540}), HostError);
}

TEST(RenderOptionText, OutputNamesGiveTheFrameFileTypeAndDepths) {
  const std::tuple<std::string, int, std::string> names[] = {
      {"out.####.png", 7, "out.0007.png"},
      {"shots/take.##.exr", 123, "shots/take.123.exr"},
      {"#.png", 0, "0.png"},
      {"out.png", 5, "out.png"},
      {"a#b/out.png", 5, "a#b/out.png"}};
  for (const auto& [pattern, frame, file] : names) {
    EXPECT_EQ(lunaform::host::frame_file(pattern, frame), file);
    EXPECT_EQ(lunaform::host::has_frame_placeholder(pattern), pattern != file) << pattern;
  }
  EXPECT_THAT([] { lunaform::host::has_frame_placeholder("out.##.v#.png"); },
              ThrowsMessage<HostError>(HasSubstr("more than one frame-number placeholder")));

  using lunaform::host::ImageFileType;
  EXPECT_EQ(lunaform::host::image_file_type("dir.exr/A.PNG"), ImageFileType::png);
  EXPECT_EQ(lunaform::host::image_file_type("a.Exr"), ImageFileType::exr);
  EXPECT_EQ(lunaform::host::default_bits_per_channel(ImageFileType::png), 8);
  EXPECT_EQ(lunaform::host::default_bits_per_channel(ImageFileType::exr), 32);
  EXPECT_THAT([] { lunaform::host::image_file_type("a.jpg"); },
              ThrowsMessage<HostError>(
                  StrEq("cannot write 'a.jpg': unknown image type '.jpg' (use .png or .exr)")));
  EXPECT_THAT([] { lunaform::host::image_file_type("png"); },
              ThrowsMessage<HostError>(HasSubstr("no image type")));
  for (const auto& [file, bits, fits] :
       {std::tuple{"a.png", 8, true}, std::tuple{"a.png", 16, true}, std::tuple{"a.png", 32, false},
        std::tuple{"a.exr", 32, true}, std::tuple{"a.exr", 8, false},
        std::tuple{"a.exr", 16, false}}) {
    if (fits) {
      EXPECT_NO_THROW(lunaform::host::check_bits_for_file(file, bits));
    } else {
      EXPECT_THAT([&] { lunaform::host::check_bits_for_file(file, bits); },
                  ThrowsMessage<HostError>(HasSubstr("cannot write " + std::to_string(bits) +
                                                     " bits per channel to '" + file + "'")));
    }
  }
}

TEST(StderrLineGuard, TextWithoutALineEndIsEndedBeforeTheNextLineStarts) {
  testing::internal::CaptureStderr();
  int callbacks = 0;
  {
    const lunaform::host::StderrLineGuard guard([&] {
      ++callbacks;
      std::fputs("[line ended]\n", stderr);
    });
    std::fputs("## banner", stderr);
    // Written below the C library by another thread: collected all the same.
    std::thread([] { EXPECT_EQ(write(STDERR_FILENO, " (thread)", 9), 9); }).join();
  }
  std::cerr << "host line\n";
  {
    // Nothing written: no extra line end and no call.
    const lunaform::host::StderrLineGuard quiet([&] { ++callbacks; });
  }
  {
    const lunaform::host::StderrLineGuard ended;
    std::cerr << "complete line\n";
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "[line ended]\n## banner (thread)\nhost line\ncomplete line\n");
  EXPECT_EQ(callbacks, 1);
}

}  // namespace
