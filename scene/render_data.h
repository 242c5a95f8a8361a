#pragma once

#include <cstdint>

#include "scene/image_desc.h"

// What one smart render asks for: the buffers, the downsampling and the size of the whole
// layer at that downsampling. render_width / render_height are never smaller than the
// output buffer.
struct render_data {
  image_desc input_image;
  image_desc output_image;
  float inv_downsample_x = 0.0f;  // 1 at full resolution, 2 at half
  float inv_downsample_y = 0.0f;
  int32_t render_width = 0;
  int32_t render_height = 0;
  int32_t output_origin_x = 0;  // the output buffer's origin within the layer
  int32_t output_origin_y = 0;
  float inv_pixel_aspect = 0.0f;
  uint8_t bytes_per_channel = 0;  // 1, 2 or 4
};
