#pragma once

#include <cstdint>

// A mesh the renderer holds on the GPU: GL names and the number of indices drawn as triangles.
struct model_ref {
  uint32_t vertex_array = 0;
  uint32_t vertex_buffer = 0;
  uint32_t index_buffer = 0;
  uint32_t index_count = 0;
};
