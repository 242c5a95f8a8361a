#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scene/texture_layers.h"

namespace {

TEST(SceneTextureSlots, TextureIsReusedOnlyWhenStampSizeAndKindAllMatch) {
  TextureSlot slot{};
  slot.texture = 7;
  slot.width = 64;
  slot.height = 32;
  slot.kind = static_cast<std::uint32_t>(TextureKind::height_to_normal);
  char pixel = 0;
  struct Case {
    std::string name;
    bool state_unchanged;
    int width;
    int height;
    TextureKind kind;
    unsigned int texture;
    bool reused;
  };
  const std::vector<Case> cases = {
      {"nothing changed", true, 64, 32, TextureKind::height_to_normal, 7, true},
      {"stamp changed", false, 64, 32, TextureKind::height_to_normal, 7, false},
      {"wider", true, 65, 32, TextureKind::height_to_normal, 7, false},
      {"taller", true, 64, 33, TextureKind::height_to_normal, 7, false},
      {"kind changed", true, 64, 32, TextureKind::plain, 7, false},
      {"no texture yet", true, 64, 32, TextureKind::height_to_normal, 0, false},
  };
  for (const Case& c : cases) {
    slot.texture = c.texture;
    image_desc image;
    image.width = c.width;
    image.height = c.height;
    image.data = &pixel;
    EXPECT_EQ(slot_texture_current(slot, c.state_unchanged, image, c.kind), c.reused) << c.name;
  }
}

}  // namespace
