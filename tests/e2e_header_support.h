#pragma once

#include <OpenImageIO/imageio.h>
#include <cairo.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include "AE_Effect.h"

// Shared by the header control's end-to-end suites (e2e_header_*.cpp): images as rows of
// red, green, blue, read with OpenImageIO or taken from a cairo surface, and the banner file
// the module builds in, decoded here without the module's decoder.
namespace e2e_header {

struct RgbImage {
  int width = 0;
  int height = 0;
  std::vector<std::array<std::uint8_t, 3>> pixels;  // row by row from the top

  const std::array<std::uint8_t, 3>& at(int x, int y) const {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  }
};

// The colour channels of an 8-bit image file; empty (with a test failure) when it cannot be read.
inline RgbImage read_rgb(const std::filesystem::path& file) {
  RgbImage image;
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string());
  if (!input) {
    ADD_FAILURE() << "cannot read " << file << ": " << OIIO::geterror();
    return image;
  }
  const OIIO::ImageSpec& spec = input->spec();
  std::vector<std::uint8_t> bytes(spec.image_pixels() * static_cast<std::size_t>(spec.nchannels));
  if (spec.nchannels < 3 ||
      !input->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::UINT8, bytes.data())) {
    ADD_FAILURE() << "cannot read the colour of " << file;
    return image;
  }
  image.width = spec.width;
  image.height = spec.height;
  for (std::size_t i = 0; i < bytes.size(); i += static_cast<std::size_t>(spec.nchannels)) {
    image.pixels.push_back({bytes[i], bytes[i + 1], bytes[i + 2]});
  }
  return image;
}

// The colour of an opaque cairo ARGB32 surface.
inline RgbImage surface_rgb(cairo_surface_t* surface) {
  cairo_surface_flush(surface);
  RgbImage image;
  image.width = cairo_image_surface_get_width(surface);
  image.height = cairo_image_surface_get_height(surface);
  const unsigned char* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      std::uint32_t word = 0;
      std::memcpy(&word, data + y * stride + x * 4, sizeof word);
      image.pixels.push_back({static_cast<std::uint8_t>(word >> 16),
                              static_cast<std::uint8_t>(word >> 8),
                              static_cast<std::uint8_t>(word)});
    }
  }
  return image;
}

// The banner file: the plain banner in rows 0 to 83, the lit one in rows 84 to 167.
inline const RgbImage& banner_file() {
  static const RgbImage banner = read_rgb(
      std::filesystem::path(__FILE__).parent_path().parent_path() / "ui/images/effect_banner.png");
  return banner;
}

// How many pixels of the 558 x 84 control whose top-left corner is `corner` in `panel` differ
// from the banner's lit or plain half.
inline int differences_from_banner(const RgbImage& panel, PF_Point corner, bool lit) {
  constexpr int kControlWidth = 558;
  constexpr int kControlHeight = 84;
  const RgbImage& banner = banner_file();
  int differences = 0;
  for (int y = 0; y < kControlHeight; ++y) {
    for (int x = 0; x < kControlWidth; ++x) {
      if (panel.at(corner.h + x, corner.v + y) != banner.at(x, y + (lit ? kControlHeight : 0))) {
        ++differences;
      }
    }
  }
  return differences;
}

}  // namespace e2e_header
