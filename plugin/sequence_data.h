#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "AE_EffectSuites.h"

// One texture layer's GPU copy, cached per effect instance so that an unchanged layer is not
// uploaded again for every frame and every motion-blur sample.
struct TextureSlot {
  // The renderer's texture name, 0 when the slot holds none.
  std::uint32_t texture;
  // The size of the layer image the texture was made from.
  std::int32_t width;
  std::int32_t height;
  // The host's state stamp of the layer parameter when the texture was made; a different stamp
  // means the layer's pixels, size or choice changed.
  PF_State state;
  // What the texture was made as (a plain image, a normal map, an environment cube).
  std::uint32_t kind;
};

// The slots in the order they sit in SequenceData.
enum TextureSlotIndex : std::size_t {
  kDiffuseSlot = 0,
  kGlossinessSlot = 1,
  kIlluminationSlot = 2,
  kBumpSlot = 3,
  kEnvironmentSlot = 4,
  kTextureSlotCount = 5,
};

// The block behind each effect instance's sequence-data handle. It lives only as long as the
// instance is open: it is never flattened into a project, so a reloaded project starts with
// empty slots and the next render rebuilds them. All zero means "no textures".
struct SequenceData {
  std::uint32_t header;  // unused
  std::array<TextureSlot, kTextureSlotCount> slots;
};

// The block lives in host memory as raw bytes: its layout must not depend on the compiler's
// padding, and it must be copyable bytewise.
static_assert(sizeof(PF_State) == 16);
static_assert(offsetof(TextureSlot, texture) == 0);
static_assert(offsetof(TextureSlot, width) == 4);
static_assert(offsetof(TextureSlot, height) == 8);
static_assert(offsetof(TextureSlot, state) == 12);
static_assert(offsetof(TextureSlot, kind) == 28);
static_assert(sizeof(TextureSlot) == 32);
static_assert(offsetof(SequenceData, header) == 0);
static_assert(offsetof(SequenceData, slots) == 4);
static_assert(sizeof(SequenceData) == 164);
static_assert(std::is_trivially_copyable_v<SequenceData>);
