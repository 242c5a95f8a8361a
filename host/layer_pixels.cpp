#include "host/layer_pixels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <variant>

namespace lunaform::host {
namespace {

// The host's 16-bit white.
constexpr double kWhite16 = 32768;

// Straight colour of one pixel, channels in host order.
struct Argb {
  float alpha, red, green, blue;
};

void write_pixel(std::byte* out, int bits, const Argb& p) {
  const float channels[4] = {p.alpha, p.red, p.green, p.blue};
  for (int c = 0; c < 4; ++c) {
    // Integer channels cannot hold NaN: it becomes 0 rather than an undefined conversion.
    const double value = std::isnan(channels[c]) ? 0.0 : channels[c];
    if (bits == 8) {
      const auto v = static_cast<A_u_char>(std::clamp(std::round(value * 255.0), 0.0, 255.0));
      std::memcpy(out + c, &v, 1);
    } else if (bits == 16) {
      const auto v =
          static_cast<A_u_short>(std::clamp(std::round(value * kWhite16), 0.0, kWhite16));
      std::memcpy(out + 2 * c, &v, 2);
    } else {
      std::memcpy(out + 4 * c, &channels[c], 4);
    }
  }
}

// The source index shown by downsampled pixel `i`: the one under its centre.
A_long source_index(A_long i, PF_RationalScale scale, A_long source_size) {
  const double position = (i + 0.5) * scale.den / scale.num;
  return std::clamp(static_cast<A_long>(std::floor(position)), A_long{0}, source_size - 1);
}

void fill_footage(PixelWorld& world, const Image& image, PF_RationalScale downsample_x,
                  PF_RationalScale downsample_y) {
  const int bits = world.bits_per_channel();
  const PF_EffectWorld& place = *world.world();
  for (A_long y = 0; y < world.height(); ++y) {
    const A_long sy = source_index(place.origin_y + y, downsample_y, image.height);
    std::byte* row = world.row(y).data();
    for (A_long x = 0; x < world.width(); ++x) {
      const A_long sx = source_index(place.origin_x + x, downsample_x, image.width);
      const float* rgba = image.rgba.data() + (static_cast<std::size_t>(sy) * image.width + sx) * 4;
      write_pixel(row + x * world.pixel_bytes(), bits, {rgba[3], rgba[0], rgba[1], rgba[2]});
    }
  }
}

void fill_solid(PixelWorld& world, const Color& color) {
  const Argb pixel{static_cast<float>(color.alpha), static_cast<float>(color.red),
                   static_cast<float>(color.green), static_cast<float>(color.blue)};
  for (A_long y = 0; y < world.height(); ++y) {
    std::byte* row = world.row(y).data();
    for (A_long x = 0; x < world.width(); ++x) {
      write_pixel(row + x * world.pixel_bytes(), world.bits_per_channel(), pixel);
    }
  }
}

}  // namespace

void fill_layer_pixels(PixelWorld& world, const Layer& layer, PF_RationalScale downsample_x,
                       PF_RationalScale downsample_y) {
  if (const auto* footage = std::get_if<FootageLayer>(&layer.content)) {
    if (footage->image != nullptr && footage->image->width > 0 && footage->image->height > 0) {
      fill_footage(world, *footage->image, downsample_x, downsample_y);
    }
  } else if (const auto* solid = std::get_if<SolidLayer>(&layer.content)) {
    fill_solid(world, solid->color);
  }
}

}  // namespace lunaform::host
