#include "host/footage.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "AE_Effect.h"
#include "host/host_error.h"
#include "host/message_line.h"

namespace lunaform::host {
namespace {

// OpenImageIO's reader names of the formats footage may come in.
constexpr std::array<std::string_view, 5> kFootageFormats = {"png", "jpeg", "tiff", "openexr",
                                                             "hdr"};

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& reason) {
  throw HostError("cannot read image '" + file.string() + "': " + reason);
}

void check_file_exists(const std::filesystem::path& file) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(file, error);
  if (error) {
    fail(file, error.message());
  }
  if (std::filesystem::is_directory(status)) {
    fail(file, "is a folder, not an image");
  }
}

void check_side_range(const std::filesystem::path& file, const char* what, int width, int height) {
  if (width < 1 || height < 1 || width > PF_MAX_WORLD_WIDTH || height > PF_MAX_WORLD_HEIGHT) {
    fail(file, std::string("impossible ") + what + " size " + std::to_string(width) + " x " +
                   std::to_string(height) + " (each side 1 to " +
                   std::to_string(PF_MAX_WORLD_WIDTH) + ")");
  }
}

// Which file channels become red, green, blue and alpha. A grey image names its one colour
// channel three times; alpha is -1 when the file has none.
struct ChannelMap {
  std::array<int, 3> colour{};
  int alpha = -1;
};

ChannelMap map_channels(const std::filesystem::path& file, const OIIO::ImageSpec& layout) {
  ChannelMap map;
  map.alpha = layout.alpha_channel;
  std::vector<int> colour;
  for (int c = 0; c < layout.nchannels; ++c) {
    if (c != map.alpha) {
      colour.push_back(c);
    }
  }
  if (colour.size() == 1) {
    map.colour = {colour[0], colour[0], colour[0]};
  } else if (colour.size() >= 3) {
    map.colour = {colour[0], colour[1], colour[2]};
  } else {
    fail(file, std::to_string(layout.nchannels) + " channels (" +
                   (map.alpha >= 0 ? "with" : "without") + " alpha) are neither grey nor RGB");
  }
  return map;
}

std::string counted(size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

// Replaces NaN by 0 and ±infinity by the largest finite float of that sign, so that nothing
// downstream (texture filtering, averaging of samples) spreads them. Returns the warning line,
// empty when every value was finite.
std::string clean_non_finite(const std::filesystem::path& file, std::vector<float>& values) {
  constexpr float kLargest = std::numeric_limits<float>::max();
  size_t nan_count = 0;
  size_t infinite_count = 0;
  for (float& v : values) {
    if (std::isnan(v)) {
      v = 0.0f;
      ++nan_count;
    } else if (std::isinf(v)) {
      v = v > 0 ? kLargest : -kLargest;
      ++infinite_count;
    }
  }
  if (nan_count == 0 && infinite_count == 0) {
    return {};
  }
  return "'" + file.string() + "': " + counted(nan_count, "NaN value") + " set to 0, " +
         counted(infinite_count, "infinite value") + " set to the largest finite float";
}

// The file's pixels as its native channels, converted to float by OpenImageIO (integers
// divided by their maximum).
std::vector<float> read_native(const std::filesystem::path& file, OIIO::ImageInput& input) {
  const OIIO::ImageSpec& layout = input.spec();
  std::vector<float> native(static_cast<size_t>(layout.width) * static_cast<size_t>(layout.height) *
                            static_cast<size_t>(layout.nchannels));
  if (!input.read_image(0, 0, 0, layout.nchannels, OIIO::TypeDesc::FLOAT, native.data())) {
    fail(file, "corrupt image: " + one_line(input.geterror()));
  }
  return native;
}

Footage read_opened(const std::filesystem::path& file, OIIO::ImageInput& input) {
  const std::string_view format = input.format_name();
  if (std::find(kFootageFormats.begin(), kFootageFormats.end(), format) == kFootageFormats.end()) {
    fail(file, "unsupported image format '" + std::string(format) +
                   "' (footage is PNG, JPEG, TIFF, EXR or HDR)");
  }
  const OIIO::ImageSpec& layout = input.spec();
  if (layout.depth > 1) {
    fail(file, "volume images are not supported");
  }
  if (layout.deep) {
    fail(file, "deep images are not supported");
  }
  check_side_range(file, "image", layout.full_width, layout.full_height);
  check_side_range(file, "data window", layout.width, layout.height);
  const ChannelMap map = map_channels(file, layout);
  const std::vector<float> native = read_native(file, input);

  Footage footage;
  footage.image.width = layout.full_width;
  footage.image.height = layout.full_height;
  footage.image.rgba.assign(
      static_cast<size_t>(layout.full_width) * static_cast<size_t>(layout.full_height) * 4, 0.0f);
  // The data window may sit anywhere relative to the display window; only their overlap holds
  // pixels, the rest stays transparent black.
  const int nchannels = layout.nchannels;
  for (int y = 0; y < layout.height; ++y) {
    const int out_y = layout.y + y - layout.full_y;
    if (out_y < 0 || out_y >= layout.full_height) {
      continue;
    }
    for (int x = 0; x < layout.width; ++x) {
      const int out_x = layout.x + x - layout.full_x;
      if (out_x < 0 || out_x >= layout.full_width) {
        continue;
      }
      const float* in = native.data() + (static_cast<size_t>(y) * layout.width + x) * nchannels;
      float* out =
          footage.image.rgba.data() + (static_cast<size_t>(out_y) * layout.full_width + out_x) * 4;
      out[0] = in[map.colour[0]];
      out[1] = in[map.colour[1]];
      out[2] = in[map.colour[2]];
      out[3] = map.alpha >= 0 ? in[map.alpha] : 1.0f;
    }
  }
  footage.warning = clean_non_finite(file, footage.image.rgba);
  return footage;
}

}  // namespace

Footage read_footage(const std::filesystem::path& file) {
  check_file_exists(file);
  // Footage is straight colour: without this hint the PNG and TIFF readers multiply colour by
  // alpha, and a module given a premultiplied map would darken every soft edge a second time.
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(file.string(), &config);
  if (!input) {
    fail(file, "unsupported or corrupt image: " + one_line(OIIO::geterror()));
  }
  try {
    return read_opened(file, *input);
  } catch (const std::bad_alloc&) {
    fail(file, "not enough memory for a " + std::to_string(input->spec().full_width) + " x " +
                   std::to_string(input->spec().full_height) + " image");
  }
}

}  // namespace lunaform::host
