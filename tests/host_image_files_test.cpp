#include "host/footage.h"

#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/footage_refresh.h"
#include "host/frame_path.h"
#include "host/frame_range.h"
#include "host/frame_writer.h"
#include "host/host_error.h"
#include "host/image_file_type.h"
#include "host/memory_budget.h"
#include "host/output_region.h"
#include "host/pixel_world.h"
#include "tests/host_footage_refresh_files.h"
#include "tests/host_temp_folder.h"
#include "tests/host_test_images.h"

// Image files in and out: footage read and re-read, frames written, lunaform-render's options.
namespace {

using host_test::image_layout;
using host_test::write_image;
using lunaform::host::Composition;
using lunaform::host::FootageLayer;
using lunaform::host::FootageRefresh;
using lunaform::host::FrameRange;
using lunaform::host::HostError;
using lunaform::host::PixelWorld;
using lunaform::host::read_footage;
using lunaform::host::write_frame;
using testing::ElementsAre;
using testing::FloatNear;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pointwise;
using testing::StartsWith;
using testing::StrEq;
using testing::ThrowsMessage;

// A minimal 8-bit RGBA PNG (signature, IHDR, one IDAT, IEND) written byte by byte, so that its
// stored values are known without any image library.
std::string rgba8_png(uint32_t width, uint32_t height, const std::vector<uint8_t>& rgba) {
  const auto be32 = [](uint32_t v) {
    return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
  };
  std::string png("\x89PNG\r\n\x1a\n", 8);
  const auto chunk = [&](const std::string& type_and_data) {
    const auto* bytes = reinterpret_cast<const Bytef*>(type_and_data.data());
    png += be32(static_cast<uint32_t>(type_and_data.size() - 4)) + type_and_data +
           be32(static_cast<uint32_t>(crc32(0, bytes, static_cast<uInt>(type_and_data.size()))));
  };
  // 8 bits, RGBA, deflate, no filter, no interlace; each row starts with filter type none.
  chunk("IHDR" + be32(width) + be32(height) + std::string("\x08\x06\x00\x00\x00", 5));
  std::string rows;
  for (uint32_t y = 0; y < height; ++y) {
    rows += '\0';
    rows.append(reinterpret_cast<const char*>(rgba.data()) + y * width * 4, width * 4);
  }
  uLongf packed_size = compressBound(static_cast<uLong>(rows.size()));
  std::string packed(packed_size, '\0');
  compress(reinterpret_cast<Bytef*>(packed.data()), &packed_size,
           reinterpret_cast<const Bytef*>(rows.data()), static_cast<uLong>(rows.size()));
  chunk("IDAT" + packed.substr(0, packed_size));
  chunk("IEND");
  return png;
}

TEST(FootageReader, EveryFormatAndLayoutBecomesStraightFiniteFloatRgba) {
  struct Case {
    const char* file;
    int channels;
    OIIO::TypeDesc format;
    std::vector<double> stored;   // one row, in the file's own units
    std::vector<float> expected;  // RGBA, worked out by hand
    float tolerance = 1e-6f;
  };
  const float h = 1 / 65535.0f;
  const float b = 1 / 255.0f;
  const OIIO::TypeDesc U8 = OIIO::TypeDesc::UINT8, U16 = OIIO::TypeDesc::UINT16;
  const OIIO::TypeDesc F = OIIO::TypeDesc::FLOAT;
  const std::vector<Case> cases = {
      {"rgba16.png", 4, U16, {65535, 32768, 1000, 16384}, {1, 32768 * h, 1000 * h, 16384 * h}},
      {"rgb16.tif", 3, U16, {4096, 30000, 65535}, {4096 * h, 30000 * h, 1, 1}},
      {"grey8.png", 1, U8, {0, 200}, {0, 0, 0, 1, 200 * b, 200 * b, 200 * b, 1}},
      {"grey_alpha8.png", 2, U8, {90, 30}, {90 * b, 90 * b, 90 * b, 30 * b}},
      {"rgba.exr", 4, F, {2.5, -0.25, 7, 0}, {2.5f, -0.25f, 7, 0}},
      {"rgb.exr", 3, F, {0.75, 1.5, 3}, {0.75f, 1.5f, 3, 1}},
      // Lossy: a flat colour comes back within a few codes.
      {"rgb.jpg", 3, U8, {200, 100, 50}, {200 * b, 100 * b, 50 * b, 1}, 3 * b},
      // Radiance RGBE keeps 8 mantissa bits under a shared exponent: these are exact in it.
      {"rgb.hdr", 3, F, {4, 1, 0.5}, {4, 1, 0.5f, 1}, 4 / 128.0f},
  };
  const host_test::TempFolder folder;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    std::vector<std::byte> bytes(c.stored.size() * c.format.size());  // in the file's type
    for (size_t i = 0; i < c.stored.size(); ++i) {
      const auto put = [&](auto v) { std::memcpy(bytes.data() + i * sizeof v, &v, sizeof v); };
      c.format == U8    ? put(static_cast<uint8_t>(c.stored[i]))
      : c.format == U16 ? put(static_cast<uint16_t>(c.stored[i]))
                        : put(static_cast<float>(c.stored[i]));
    }
    const int width = static_cast<int>(c.stored.size()) / c.channels;
    write_image(folder / c.file, image_layout(width, 1, c.channels, c.format), bytes.data());
    const lunaform::host::Footage footage = read_footage(folder / c.file);
    EXPECT_TRUE(footage.image.width == width && footage.image.height == 1);
    EXPECT_THAT(footage.image.rgba, Pointwise(FloatNear(c.tolerance), c.expected));
    EXPECT_EQ(footage.warning, "");
  }
  // Colour stays straight: half-transparent red, quarter-transparent purple, in a PNG by hand.
  const auto png =
      folder.write("straight.png", rgba8_png(2, 1, {255, 0, 0, 128, 102, 51, 153, 64}));
  EXPECT_THAT(
      read_footage(png).image.rgba,
      Pointwise(FloatNear(1e-6f), {1.0f, 0.0f, 0.0f, 128 * b, 102 * b, 51 * b, 153 * b, 64 * b}));

  // NaN and infinity are replaced, with one warning naming the file.
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> dirty = {nan, inf, -inf, 0.5f, 0.25f, nan, 2.0f, 1.0f};
  write_image(folder / "dirty.exr", image_layout(2, 1, 4, OIIO::TypeDesc::FLOAT), dirty.data());
  const lunaform::host::Footage cleaned = read_footage(folder / "dirty.exr");
  const float largest = std::numeric_limits<float>::max();
  EXPECT_THAT(cleaned.image.rgba, ElementsAre(0, largest, -largest, 0.5f, 0.25f, 0, 2, 1));
  EXPECT_EQ(cleaned.warning, "'" + (folder / "dirty.exr").string() +
                                 "': 2 NaN values set to 0, 2 infinite values set to the "
                                 "largest finite float");
}

TEST(FootageReader, UnreadableFilesAreRefusedWithOneLineNamingFileAndReason) {
  const host_test::TempFolder folder;
  const std::vector<uint8_t> grey(30001, 0);
  write_image(folder / "wide.png", image_layout(30001, 1, 1, OIIO::TypeDesc::UINT8), grey.data());
  write_image(folder / "picture.bmp", image_layout(4, 4, 3, OIIO::TypeDesc::UINT8), grey.data());
  write_image(folder / "two.exr", image_layout(1, 1, 2, OIIO::TypeDesc::FLOAT), grey.data());
  folder.write("text.png", "this is not an image\n");
  const std::string png = rgba8_png(8, 8, std::vector<uint8_t>(8 * 8 * 4, 7));
  folder.write("truncated.png", png.substr(0, png.size() - 30));
  std::filesystem::create_directory(folder / "folder.png");
  const std::pair<const char*, const char*> cases[] = {
      {"missing.png", "No such file or directory"},
      {"folder.png", "is a folder, not an image"},
      {"text.png", "unsupported or corrupt image: "},
      {"truncated.png", "corrupt image: "},
      {"picture.bmp", "unsupported image format 'bmp' (footage is PNG, JPEG, TIFF, EXR or HDR)"},
      {"wide.png", "impossible image size 30001 x 1 (each side 1 to 30000)"},
      {"two.exr", "2 channels (without alpha) are neither grey nor RGB"},
  };
  for (const auto& [file, reason] : cases) {
    const std::string start = "cannot read image '" + (folder / file).string() + "': " + reason;
    EXPECT_THAT([&] { read_footage(folder / file); },
                testing::ThrowsMessage<HostError>(testing::AllOf(
                    testing::StartsWith(start), testing::Not(testing::HasSubstr("\n")))));
  }
}

// Writes a 2 x 1 grey PNG of `first` and `second` (0-255) and marks the file as rewritten.
void write_grey(const std::filesystem::path& file, unsigned char first, unsigned char second) {
  const std::array<unsigned char, 2> pixels = {first, second};
  write_image(file, image_layout(2, 1, 1, OIIO::TypeDesc::UINT8), pixels.data());
  host_test::mark_rewritten(file);
}

// Layers "A1" and "A2" share a.png as the scene reader shares one file's pixels; "B" shows b.png.
TEST(FootageRefresh, AChangedFileIsReadAgainOnceForItsLayersAndAnUnreadableOneKeepsItsPixels) {
  const host_test::TempFolder folder;
  const std::filesystem::path a = folder / "a.png";
  write_grey(a, 51, 102);
  write_grey(folder / "b.png", 204, 255);
  Composition comp;
  comp.layers.push_back(host_test::footage_layer("A1", a));
  comp.layers.push_back(comp.layers[0]);
  comp.layers[1].name = "A2";
  comp.layers.push_back(host_test::footage_layer("B", folder / "b.png"));
  const auto image = [&](int i) { return std::get<FootageLayer>(comp.layers[i].content).image; };
  const auto old_a = image(0), b = image(2);
  FootageRefresh refresh;
  refresh.watch(comp);
  EXPECT_THAT(refresh.refresh(comp), IsEmpty());
  EXPECT_EQ(image(0), old_a) << "an unchanged file is not read again";
  write_grey(a, 0, 255);
  EXPECT_THAT(refresh.refresh(comp), IsEmpty());
  const auto new_a = image(0);
  ASSERT_NE(new_a, old_a);
  EXPECT_EQ(image(1), new_a) << "the layers keep sharing one image";
  EXPECT_EQ(new_a->rgba, (std::vector<float>{0, 0, 0, 1, 1, 1, 1, 1}));
  EXPECT_EQ(image(2), b);
  EXPECT_THAT(refresh.refresh(comp), IsEmpty());
  EXPECT_EQ(image(0), new_a) << "a file read again is not read a third time";

  const std::string start = "cannot read image '" + a.string() + "': ";
  const std::string end = "; its layers keep the pixels read before";
  host_test::mark_rewritten(folder.write("a.png", "not a picture any more"));
  EXPECT_THAT(refresh.refresh(comp),
              ElementsAre(testing::AllOf(StartsWith(start), testing::EndsWith(end))));
  EXPECT_THAT(refresh.refresh(comp), IsEmpty()) << "the same failure is told once";
  std::filesystem::remove(a);
  EXPECT_THAT(refresh.refresh(comp), ElementsAre(start + "No such file or directory" + end));
  EXPECT_TRUE(image(0) == new_a && image(1) == new_a);
  write_grey(a, 255, 0);
  EXPECT_THAT(refresh.refresh(comp), IsEmpty());
  EXPECT_EQ(image(1)->rgba, (std::vector<float>{1, 1, 1, 1, 0, 0, 0, 1}));
}

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

TEST(FrameWriter, WorldsAreStoredAsStraightRgbaWithoutTheRowPaddingAndSixteenBitsRescaled) {
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

  // 16 bits: host × 65535 / 32768, rounded by hand; above white stays white.
  const std::uint16_t host16[] = {0, 1, 100, 16384, 32767, 32768, 40000, 65535};
  const std::uint16_t file[] = {0, 2, 200, 32768, 65533, 65535, 65535, 65535};
  constexpr A_long kCount = 8;
  // A wrong channel order shows too: pixel i holds cases i, i + 1, i + 2 as red, green, blue
  // and i - 1 as alpha, on both rows (the second read past the first row's padding).
  const auto at = [&](A_long i) { return (i + kCount) % kCount; };
  PixelWorld world(kCount, 2, 16);
  for (A_long i = 0; i < 2 * kCount; ++i) {
    const A_long x = i % kCount;
    put(world, x, i / kCount,
        PF_Pixel16{host16[at(x - 1)], host16[at(x)], host16[at(x + 1)], host16[at(x + 2)]});
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
  const auto pixels = [&] { return read_stored<std::uint8_t>(folder / "out.png").size() / 4; };
  write_frame(PixelWorld(3, 2, 8), folder / "out.png");
  const PixelWorld second(5, 4, 8);
  write_frame(second, folder / "out.png");
  EXPECT_EQ(pixels(), 5u * 4);
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
  EXPECT_EQ(pixels(), 5u * 4);
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    names.insert(entry.path().filename().string());
  }
  EXPECT_EQ(names, (std::set<std::string>{"out.png", "taken.png"})) << "no temporary file left";

  const std::filesystem::path text = folder.write("file.txt", "not a folder");
  const std::pair<std::filesystem::path, std::string> refused[] = {
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

TEST(RenderOptionText, FramesAreInclusiveStepsOfWholeNumbersInsideTheComposition) {
  using lunaform::host::parse_frame_range;
  EXPECT_EQ(parse_frame_range("0-47").size(), 48);
  EXPECT_EQ(parse_frame_range("12"), (FrameRange{12, 12, 1}));
  // A step takes every S-th frame, the last one the step reaches closing the range.
  EXPECT_EQ(parse_frame_range("0-10:4"), (FrameRange{0, 8, 4}));
  EXPECT_EQ(parse_frame_range("0-10:4").size(), 3);
  EXPECT_EQ(parse_frame_range("3-9:3"), (FrameRange{3, 9, 3}));
  std::vector<std::pair<std::string, std::string>> refused = {
      {"5-2", "bad --frames '5-2': the last frame comes before the first"},
      {"0-10:0", "the step must be 1 or more"}};
  for (const std::string bad : {"", "-3", "1-", "-", "a-b", "1-2-3", "+1-2", " 1-2", "1.5",
                                "99999999999", "0-99999999999", "5:2", "0-10:", "0-10:x"}) {
    refused.emplace_back(bad, "bad --frames '" + bad + "': expected FIRST-LAST");
  }
  for (const auto& [bad, problem] : refused) {
    EXPECT_THAT([&] { parse_frame_range(bad); }, ThrowsMessage<HostError>(HasSubstr(problem)));
  }
  for (const auto& [bad, problem] :
       {std::pair{"4/4", "bad --chunk '4/4': the part must be 0 to 3"},
        std::pair{"0/0", "1 part or more"}, std::pair{"1", "expected PART/PARTS"},
        std::pair{"-1/4", "expected"}}) {
    EXPECT_THAT([&] { lunaform::host::parse_frame_chunk(bad); },
                ThrowsMessage<HostError>(HasSubstr(problem)));
  }
  // A frame counts when it starts before the end: 10 s at 30 fps (units of 1/3600 s); 5 s at
  // 29.97 fps (149.85 frames); one frame exactly; one unit more; nothing.
  std::vector<int> counts;
  for (const auto& [total, step] : {std::pair{36000, 120}, std::pair{18000000, 120120},
                                    std::pair{120, 120}, std::pair{121, 120}, std::pair{0, 120}}) {
    counts.push_back(lunaform::host::frame_count(total, step));
  }
  EXPECT_THAT(counts, ElementsAre(300, 150, 1, 2, 0));
  EXPECT_THROW(lunaform::host::frame_count(100, 0), HostError);
  using lunaform::host::check_frame_range;
  EXPECT_NO_THROW(check_frame_range(parse_frame_range("0-299"), 300));
  EXPECT_THAT([] { check_frame_range(parse_frame_range("300"), 300); },
              ThrowsMessage<HostError>(HasSubstr("frame 300 lies outside")));
  EXPECT_THAT([] { check_frame_range(parse_frame_range("0"), 0); },
              ThrowsMessage<HostError>(testing::EndsWith("which has no frames")));
}

// The parts hold every frame once, in order, their sizes differing by one at most, larger first.
TEST(RenderOptionText, ChunksShareTheFramesNearlyEquallyInOrder) {
  using lunaform::host::chunk_frames;
  for (const auto& [range, parts] :
       {std::pair{FrameRange{0, 23, 1}, 4}, std::pair{FrameRange{0, 9, 1}, 4},
        std::pair{FrameRange{5, 95, 10}, 3}, std::pair{FrameRange{0, 1, 1}, 5}}) {
    std::vector<int> joined, sizes, expected;
    for (int index = 0; index < parts; ++index) {
      const std::vector<int> part = chunk_frames(range, {index, parts});
      joined.insert(joined.end(), part.begin(), part.end());
      sizes.push_back(static_cast<int>(part.size()));
    }
    for (int frame = range.first; frame <= range.last; frame += range.step) {
      expected.push_back(frame);
    }
    EXPECT_EQ(joined, expected);
    EXPECT_TRUE(std::is_sorted(sizes.rbegin(), sizes.rend()));
    EXPECT_LE(sizes.front() - sizes.back(), 1);
  }
}

TEST(RenderOptionText, RegionsAreRectanglesInsideTheLayerAndOutputNamesGiveFrameTypeAndDepth) {
  namespace lh = lunaform::host;
  const PF_LRect region = lh::parse_region("10,20,30,40");
  EXPECT_THAT(std::vector({region.left, region.top, region.right, region.bottom}),
              ElementsAre(10, 20, 40, 60));
  const auto refused = [](const std::string& text, const std::string& problem) {
    EXPECT_THAT([&] { lh::parse_region(text); },
                ThrowsMessage<HostError>(HasSubstr("bad --region '" + text + "': " + problem)));
  };
  for (const char* text : {"1,2,3", "1,2,3,4,5", "a,b,c,d", "-1,0,5,5", "0,0,5,"}) {
    refused(text, "expected X,Y,WIDTH,HEIGHT");
  }
  refused("0,0,0,5", "width and height must be at least 1");
  refused("0,0,5,0", "width and height must be at least 1");
  refused("2147483647,0,5,5", "larger than any layer");
  // A 960 x 540 layer: the region may touch every edge but not cross one.
  EXPECT_NO_THROW(lh::check_region({0, 0, 960, 540}, {960, 540}));
  EXPECT_NO_THROW(lh::check_region({959, 539, 960, 540}, {960, 540}));
  EXPECT_THROW(lh::check_region({900, 0, 961, 10}, {960, 540}), HostError);
  EXPECT_THROW(lh::check_region({0, 500, 10, 541}, {960, 540}), HostError);

  // Output names give the frame, the file type and its depths.
  const std::tuple<std::string, int, std::string> names[] = {
      {"out.####.png", 7, "out.0007.png"},
      {"shots/take.##.exr", 123, "shots/take.123.exr"},
      {"#.png", 0, "0.png"},
      {"a#b/out.png", 5, "a#b/out.png"}};
  for (const auto& [pattern, frame, file] : names) {
    EXPECT_EQ(lh::frame_file(pattern, frame), file);
    EXPECT_EQ(lh::has_frame_placeholder(pattern), pattern != file) << pattern;
  }
  EXPECT_THAT([] { lh::has_frame_placeholder("out.##.v#.png"); },
              ThrowsMessage<HostError>(HasSubstr("more than one frame-number placeholder")));
  EXPECT_EQ(lh::image_file_type("dir.exr/A.PNG"), lh::ImageFileType::png);
  EXPECT_EQ(lh::default_bits_per_channel(lh::image_file_type("a.Exr")), 32);
  EXPECT_EQ(lh::default_bits_per_channel(lh::ImageFileType::png), 8);
  EXPECT_THROW(lh::image_file_type("a.jpg"), HostError);
  EXPECT_NO_THROW(lh::check_bits_for_file("a.png", 16));
  EXPECT_THAT([] { lh::check_bits_for_file("a.exr", 16); },
              ThrowsMessage<HostError>(HasSubstr("cannot write 16 bits per channel to 'a.exr'")));
}

// A control group's limit counts for the groups under it: the least headroom wins; "max" is
// no limit, and without a cgroup v2 line (v1) nothing is known.
TEST(RenderMemory, TheControlGroupLeavesTheLeastHeadroomOfItsOwnLimitAndThoseAboveIt) {
  using lunaform::host::cgroup_memory_headroom;
  const host_test::TempFolder root;
  std::filesystem::create_directories(root / "jobs" / "render");
  root.write("jobs/memory.max", "3000000000\n");
  root.write("jobs/memory.current", "1000000000\n");
  root.write("jobs/render/memory.max", "max\n");
  root.write("jobs/render/memory.current", "900000000\n");
  EXPECT_EQ(cgroup_memory_headroom(root.path(), "0::/jobs/render\n"), 2000000000u);
  root.write("jobs/render/memory.max", "1500000000\n");
  EXPECT_EQ(cgroup_memory_headroom(root.path(), "1:name=systemd:/\n0::/jobs/render\n"), 600000000u);
  root.write("jobs/render/memory.current", "1600000000\n");
  EXPECT_EQ(cgroup_memory_headroom(root.path(), "0::/jobs/render"), 0u);
  EXPECT_EQ(cgroup_memory_headroom(root.path(), "0::/\n"), std::nullopt);
  EXPECT_EQ(cgroup_memory_headroom(root.path(), "4:memory:/jobs/render\n"), std::nullopt);
}

}  // namespace
