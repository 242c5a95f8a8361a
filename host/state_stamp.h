#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "AE_EffectSuites.h"
#include "host/composition.h"

namespace lunaform::host {

// Parameter state stamps (PF_GetCurrentState): 16 bytes that are equal for two queries exactly
// when what the parameter delivers is the same. The stamp is a 64-bit hash of the content plus
// the parameter index, so equal stamps of one parameter mean "nothing changed" and any change
// of the content changes the stamp (up to hash collisions, 1 in 2^64).

// An incremental 64-bit hash (FNV-1a over 64-bit words, then the tail bytes). Not for security.
class ContentHash {
 public:
  void add_bytes(const void* data, std::size_t size);
  template <typename T>
  void add(const T& value) {
    add_bytes(&value, sizeof value);
  }
  std::uint64_t value() const { return hash_; }

 private:
  std::uint64_t hash_ = 0xcbf29ce484222325ull;
};

// The stamp of parameter `index` whose content hashed to `content`.
PF_State make_state(PF_ParamIndex index, std::uint64_t content);

// Hashes of footage images, each computed once: Image pixels are immutable once shared (a new
// picture is a new Image), and the cache holds a reference to every image it hashed, so an
// address is never reused for another image while it is listed. One thread at a time.
class ImageHashes {
 public:
  std::uint64_t hash(const std::shared_ptr<const Image>& image);
  // Forgets images that nothing but this cache still holds.
  void prune();

 private:
  std::map<const Image*, std::pair<std::shared_ptr<const Image>, std::uint64_t>> hashes_;
};

// The content hash of a layer's pixels as a layer parameter delivers them: its id, size and
// pixels (footage) or colour (solid).
std::uint64_t layer_content_hash(const Layer& layer, std::size_t index, ImageHashes& images);

}  // namespace lunaform::host
