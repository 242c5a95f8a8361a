#include "host/footage.h"

#include <OpenImageIO/imageio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "host/host_error.h"
#include "host_temp_folder.h"
#include "host_test_images.h"

// OpenImageIO 2.4 loses one error string (31 bytes) when libpng abandons a truncated PNG with
// longjmp; a program of a few lines that only opens and reads such a file with OpenImageIO
// shows the same leak. Without this, the truncated-file case fails every leak-checked run.
// The fast unwinder often stops in libstdc++'s string assignment, which keeps no frame pointer,
// before it reaches OpenImageIO: then that assignment is all the stack names.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:OpenImageIO_v2_4::ImageInput::geterror\n"
         "leak:std::__cxx11::basic_string<char, std::char_traits<char>, "
         "std::allocator<char> >::_M_assign\n";
}

namespace {

using lunaform::host::Footage;
using lunaform::host::HostError;
using lunaform::host::read_footage;

using host_test::image_layout;
using host_test::write_image;

// Stored values in the file's own units (0-255, 0-65535, or float), converted to its type.
std::vector<std::byte> native_bytes(const std::vector<double>& stored, OIIO::TypeDesc format) {
  std::vector<std::byte> bytes(stored.size() * format.size());
  for (size_t i = 0; i < stored.size(); ++i) {
    std::byte* at = bytes.data() + i * format.size();
    if (format == OIIO::TypeDesc::UINT8) {
      const auto v = static_cast<uint8_t>(stored[i]);
      std::memcpy(at, &v, sizeof v);
    } else if (format == OIIO::TypeDesc::UINT16) {
      const auto v = static_cast<uint16_t>(stored[i]);
      std::memcpy(at, &v, sizeof v);
    } else {
      const auto v = static_cast<float>(stored[i]);
      std::memcpy(at, &v, sizeof v);
    }
  }
  return bytes;
}

void expect_pixels(const Footage& footage, const std::vector<float>& expected, float tolerance,
                   const std::string& what) {
  ASSERT_EQ(footage.image.rgba.size(), expected.size()) << what;
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(footage.image.rgba[i], expected[i], tolerance)
        << what << ": pixel " << i / 4 << " channel " << i % 4;
  }
}

// A minimal 8-bit RGBA PNG encoder (signature, IHDR, one IDAT, IEND), so that the file's stored
// values are known without any image library: what the reader returns can then only come from
// the bytes written here.
void append_chunk(std::string& png, const char* type, const std::string& data) {
  const auto put32 = [&png](uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      png += static_cast<char>((v >> shift) & 0xFF);
    }
  };
  put32(static_cast<uint32_t>(data.size()));
  const std::string body = std::string(type, 4) + data;
  png += body;
  put32(static_cast<uint32_t>(
      crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()))));
}

std::string rgba8_png(uint32_t width, uint32_t height, const std::vector<uint8_t>& rgba) {
  std::string header;
  for (const uint32_t v : {width, height}) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      header += static_cast<char>((v >> shift) & 0xFF);
    }
  }
  header +=
      std::string("\x08\x06\x00\x00\x00", 5);  // 8 bits, RGBA, deflate, no filter, no interlace
  std::string rows;
  for (uint32_t y = 0; y < height; ++y) {
    rows += '\0';  // filter type: none
    rows.append(reinterpret_cast<const char*>(rgba.data()) + y * width * 4, width * 4);
  }
  uLongf packed_size = compressBound(static_cast<uLong>(rows.size()));
  std::string packed(packed_size, '\0');
  compress(reinterpret_cast<Bytef*>(packed.data()), &packed_size,
           reinterpret_cast<const Bytef*>(rows.data()), static_cast<uLong>(rows.size()));
  packed.resize(packed_size);

  std::string png("\x89PNG\r\n\x1a\n", 8);
  append_chunk(png, "IHDR", header);
  append_chunk(png, "IDAT", packed);
  append_chunk(png, "IEND", "");
  return png;
}

TEST(FootageReader, HalfTransparentPngPixelsKeepTheirStraightColour) {
  const host_test::TempFolder folder;
  // A half-transparent red, and a quarter-transparent purple whose colour would change if it
  // were multiplied by alpha.
  const std::filesystem::path file =
      folder.write("straight.png", rgba8_png(2, 1, {255, 0, 0, 128, 102, 51, 153, 64}));

  const Footage footage = read_footage(file);

  EXPECT_EQ(footage.image.width, 2);
  EXPECT_EQ(footage.image.height, 1);
  expect_pixels(
      footage,
      {1.0f, 0.0f, 0.0f, 128 / 255.0f, 102 / 255.0f, 51 / 255.0f, 153 / 255.0f, 64 / 255.0f}, 1e-6f,
      "hand-written PNG");
  EXPECT_EQ(footage.warning, "");
}

TEST(FootageReader, EveryFormatAndChannelLayoutBecomesStraightFloatRgba) {
  struct Case {
    const char* file;
    int width;
    int height;
    int channels;
    OIIO::TypeDesc format;
    std::vector<double> stored;   // in the file's own units
    std::vector<float> expected;  // RGBA, worked out by hand
    float tolerance;
  };
  const std::vector<Case> cases = {
      {"rgba8.png",
       2,
       1,
       4,
       OIIO::TypeDesc::UINT8,
       {255, 0, 0, 128, 102, 51, 153, 64},
       {1, 0, 0, 128 / 255.0f, 102 / 255.0f, 51 / 255.0f, 153 / 255.0f, 64 / 255.0f},
       1e-6f},
      {"rgba16.png",
       1,
       1,
       4,
       OIIO::TypeDesc::UINT16,
       {65535, 32768, 1000, 16384},
       {1, 32768 / 65535.0f, 1000 / 65535.0f, 16384 / 65535.0f},
       1e-7f},
      {"rgba16.tif",
       1,
       1,
       4,
       OIIO::TypeDesc::UINT16,
       {65535, 13107, 0, 32768},
       {1, 13107 / 65535.0f, 0, 32768 / 65535.0f},
       1e-7f},
      {"rgb16.tif",
       2,
       1,
       3,
       OIIO::TypeDesc::UINT16,
       {0, 65535, 4096, 30000, 20000, 10000},
       {0, 1, 4096 / 65535.0f, 1, 30000 / 65535.0f, 20000 / 65535.0f, 10000 / 65535.0f, 1},
       1e-7f},
      {"grey8.png",
       2,
       1,
       1,
       OIIO::TypeDesc::UINT8,
       {0, 200},
       {0, 0, 0, 1, 200 / 255.0f, 200 / 255.0f, 200 / 255.0f, 1},
       1e-6f},
      {"grey_alpha8.png",
       1,
       1,
       2,
       OIIO::TypeDesc::UINT8,
       {90, 30},
       {90 / 255.0f, 90 / 255.0f, 90 / 255.0f, 30 / 255.0f},
       1e-6f},
      {"grey16.tif",
       1,
       1,
       1,
       OIIO::TypeDesc::UINT16,
       {50000},
       {50000 / 65535.0f, 50000 / 65535.0f, 50000 / 65535.0f, 1},
       1e-7f},
      {"rgba_float.exr",
       2,
       1,
       4,
       OIIO::TypeDesc::FLOAT,
       {2.5, -0.25, 0.125, 0.5, 0, 1, 7, 0},
       {2.5f, -0.25f, 0.125f, 0.5f, 0, 1, 7, 0},
       0.0f},
      {"rgb_float.exr", 1, 1, 3, OIIO::TypeDesc::FLOAT, {0.75, 1.5, 3}, {0.75f, 1.5f, 3, 1}, 0.0f},
      // Lossy: a flat colour comes back within a few codes.
      {"rgb.jpg",
       2,
       2,
       3,
       OIIO::TypeDesc::UINT8,
       {200, 100, 50, 200, 100, 50, 200, 100, 50, 200, 100, 50},
       {200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 1, 200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 1,
        200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 1, 200 / 255.0f, 100 / 255.0f, 50 / 255.0f, 1},
       3 / 255.0f},
      // Radiance RGBE keeps 8 mantissa bits under a shared exponent: these are exact in it.
      {"rgb.hdr", 1, 1, 3, OIIO::TypeDesc::FLOAT, {4, 1, 0.5}, {4, 1, 0.5f, 1}, 4 / 128.0f},
  };
  const host_test::TempFolder folder;
  for (const Case& c : cases) {
    const std::filesystem::path file = folder / c.file;
    const std::vector<std::byte> bytes = native_bytes(c.stored, c.format);
    write_image(file, image_layout(c.width, c.height, c.channels, c.format), bytes.data());

    const Footage footage = read_footage(file);

    EXPECT_EQ(footage.image.width, c.width) << c.file;
    EXPECT_EQ(footage.image.height, c.height) << c.file;
    expect_pixels(footage, c.expected, c.tolerance, c.file);
    EXPECT_EQ(footage.warning, "") << c.file;
  }
}

TEST(FootageReader, NanAndInfinityAreReplacedWithOneWarningNamingTheFile) {
  const host_test::TempFolder folder;
  const std::filesystem::path file = folder / "dirty.exr";
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> stored = {nan, inf, -inf, 0.5f, 0.25f, nan, 2.0f, 1.0f};
  write_image(file, image_layout(2, 1, 4, OIIO::TypeDesc::FLOAT), stored.data());

  const Footage footage = read_footage(file);

  const float largest = 3.40282347e+38f;
  expect_pixels(footage, {0, largest, -largest, 0.5f, 0.25f, 0, 2, 1}, 0.0f, "cleaned EXR");
  EXPECT_EQ(footage.warning, "'" + file.string() +
                                 "': 2 NaN values set to 0, 2 infinite values set to the "
                                 "largest finite float");
}

TEST(FootageReader, ExrDataWindowIsPlacedInsideTheDisplayWindow) {
  const host_test::TempFolder folder;
  const std::filesystem::path file = folder / "window.exr";
  // Display window 4 x 3 at the origin; data window 2 x 1 starting at (1, 1).
  OIIO::ImageSpec layout = image_layout(2, 1, 4, OIIO::TypeDesc::FLOAT);
  layout.x = 1;
  layout.y = 1;
  layout.full_x = 0;
  layout.full_y = 0;
  layout.full_width = 4;
  layout.full_height = 3;
  const std::vector<float> stored = {0.1f, 0.2f, 0.3f, 1.0f, 0.4f, 0.5f, 0.6f, 0.5f};
  write_image(file, layout, stored.data());

  const Footage footage = read_footage(file);

  ASSERT_EQ(footage.image.width, 4);
  ASSERT_EQ(footage.image.height, 3);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 4; ++x) {
      const float* p = footage.image.rgba.data() + (y * 4 + x) * 4;
      const std::vector<float> got(p, p + 4);
      if (y == 1 && x == 1) {
        EXPECT_THAT(got, testing::ElementsAre(0.1f, 0.2f, 0.3f, 1.0f));
      } else if (y == 1 && x == 2) {
        EXPECT_THAT(got, testing::ElementsAre(0.4f, 0.5f, 0.6f, 0.5f));
      } else {
        EXPECT_THAT(got, testing::ElementsAre(0, 0, 0, 0)) << x << ", " << y;
      }
    }
  }
}

TEST(FootageReader, UnreadableFilesAreRefusedWithOneLineNamingFileAndReason) {
  const host_test::TempFolder folder;
  const std::vector<uint8_t> grey(30001, 0);
  write_image(folder / "wide.png", image_layout(30001, 1, 1, OIIO::TypeDesc::UINT8), grey.data());
  const std::vector<uint8_t> rgb(4 * 4 * 3, 128);
  write_image(folder / "picture.bmp", image_layout(4, 4, 3, OIIO::TypeDesc::UINT8), rgb.data());
  const std::vector<float> red_green = {0.5f, 0.25f};
  write_image(folder / "two.exr", image_layout(1, 1, 2, OIIO::TypeDesc::FLOAT), red_green.data());
  folder.write("text.png", "this is not an image\n");
  const std::string png = rgba8_png(8, 8, std::vector<uint8_t>(8 * 8 * 4, 7));
  folder.write("truncated.png", png.substr(0, png.size() - 30));
  std::filesystem::create_directory(folder / "folder.png");

  struct Case {
    const char* file;
    const char* reason;  // the start of what follows "cannot read image 'FILE': "
  };
  const Case cases[] = {
      {"missing.png", "No such file or directory"},
      {"folder.png", "is a folder, not an image"},
      {"text.png", "unsupported or corrupt image: "},
      {"truncated.png", "corrupt image: "},
      {"picture.bmp", "unsupported image format 'bmp' (footage is PNG, JPEG, TIFF, EXR or HDR)"},
      {"wide.png", "impossible image size 30001 x 1 (each side 1 to 30000)"},
      {"two.exr", "2 channels (without alpha) are neither grey nor RGB"},
  };
  for (const Case& c : cases) {
    const std::filesystem::path file = folder / c.file;
    try {
      read_footage(file);
      ADD_FAILURE() << c.file << " was read";
    } catch (const HostError& error) {
      const std::string message = error.what();
      EXPECT_THAT(message,
                  testing::StartsWith("cannot read image '" + file.string() + "': " + c.reason));
      EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
  }
}

}  // namespace
