#include "host/output_region.h"

#include <array>
#include <string>

#include "host/host_error.h"
#include "host/number_text.h"

namespace lunaform::host {

PF_LRect parse_region(std::string_view text) {
  const auto fail = [&](const std::string& problem) {
    throw HostError("bad --region '" + std::string(text) + "': " + problem);
  };
  std::array<int, 4> numbers{};
  std::string_view rest = text;
  for (size_t i = 0; i < numbers.size(); ++i) {
    const size_t comma = rest.find(',');
    const bool last = i + 1 == numbers.size();
    if (last != (comma == std::string_view::npos)) {
      fail("expected X,Y,WIDTH,HEIGHT (four whole numbers)");
    }
    const auto number = parse_whole_number(rest.substr(0, comma));
    if (!number) {
      fail("expected X,Y,WIDTH,HEIGHT (four whole numbers)");
    }
    numbers[i] = *number;
    rest = last ? std::string_view{} : rest.substr(comma + 1);
  }
  const auto [x, y, width, height] = numbers;
  if (width < 1 || height < 1) {
    fail("width and height must be at least 1");
  }
  // No layer is wider or taller than 30000 pixels, so a region reaching further is refused
  // here, before its right or bottom edge could overflow.
  if (x > PF_MAX_WORLD_WIDTH || y > PF_MAX_WORLD_HEIGHT || width > PF_MAX_WORLD_WIDTH ||
      height > PF_MAX_WORLD_HEIGHT) {
    fail("larger than any layer (at most " + std::to_string(PF_MAX_WORLD_WIDTH) + " pixels)");
  }
  return {x, y, x + width, y + height};
}

void check_region(const PF_LRect& region, LayerSize layer) {
  if (region.left >= 0 && region.top >= 0 && region.right <= layer.width &&
      region.bottom <= layer.height) {
    return;
  }
  throw HostError("--region " + std::to_string(region.left) + "," + std::to_string(region.top) +
                  "," + std::to_string(region.right - region.left) + "," +
                  std::to_string(region.bottom - region.top) + " reaches outside the layer of " +
                  std::to_string(layer.width) + " x " + std::to_string(layer.height) + " pixels");
}

}  // namespace lunaform::host
