#include "host/output_region.h"

#include <string>

#include "host/host_error.h"
#include "host/number_text.h"

namespace lunaform::host {

PF_LRect parse_region(std::string_view text) {
  const auto fail = [&](const std::string& problem) {
    throw HostError("bad --region '" + std::string(text) + "': " + problem);
  };
  const auto numbers = parse_whole_numbers(text, 4);
  if (!numbers) {
    fail("expected X,Y,WIDTH,HEIGHT (four whole numbers)");
  }
  const int x = (*numbers)[0];
  const int y = (*numbers)[1];
  const int width = (*numbers)[2];
  const int height = (*numbers)[3];
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
