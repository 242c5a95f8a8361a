#pragma once

#include <cstdint>

// A colour or depth surface of a render target: a GL texture or renderbuffer name.
struct RenderTexture {
  enum Kind : int32_t { kTexture = 0, kRenderbuffer = 1 };
  uint32_t name = 0;
  int32_t kind = kTexture;
  bool multisampled = false;
};
