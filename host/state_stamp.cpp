#include "host/state_stamp.h"

#include <cstring>
#include <variant>

namespace lunaform::host {
namespace {

constexpr std::uint64_t kFnvPrime = 0x100000001b3ull;

}  // namespace

void ContentHash::add_bytes(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::size_t offset = 0;
  for (; offset + 8 <= size; offset += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes + offset, 8);
    hash_ = (hash_ ^ word) * kFnvPrime;
  }
  for (; offset < size; ++offset) {
    hash_ = (hash_ ^ bytes[offset]) * kFnvPrime;
  }
}

PF_State make_state(PF_ParamIndex index, std::uint64_t content) {
  PF_State state{};
  state.reservedAL[0] = index;
  state.reservedAL[1] = 0;
  std::memcpy(&state.reservedAL[2], &content, sizeof content);
  return state;
}

std::uint64_t ImageHashes::hash(const std::shared_ptr<const Image>& image) {
  const auto found = hashes_.find(image.get());
  if (found != hashes_.end()) {
    return found->second.second;
  }
  ContentHash content;
  content.add(image->width);
  content.add(image->height);
  content.add_bytes(image->rgba.data(), image->rgba.size() * sizeof(float));
  hashes_.emplace(image.get(), std::pair{image, content.value()});
  return content.value();
}

void ImageHashes::prune() {
  std::erase_if(hashes_, [](const auto& entry) { return entry.second.first.use_count() == 1; });
}

std::uint64_t layer_content_hash(const Layer& layer, std::size_t index, ImageHashes& images) {
  ContentHash content;
  content.add(layer_id(index));
  const auto [width, height] = layer_pixel_size(layer);
  content.add(width);
  content.add(height);
  content.add(layer.content.index());
  if (const auto* footage = std::get_if<FootageLayer>(&layer.content);
      footage != nullptr && footage->image != nullptr) {
    content.add(images.hash(footage->image));
  } else if (const auto* solid = std::get_if<SolidLayer>(&layer.content)) {
    content.add(solid->color);
  }
  return content.value();
}

}  // namespace lunaform::host
