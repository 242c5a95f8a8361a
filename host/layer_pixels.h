#pragma once

#include "AE_Effect.h"
#include "host/composition.h"
#include "host/pixel_world.h"

namespace lunaform::host {

// Fills `world` with the pixels of `layer` (footage or solid) at the downsample factors
// `downsample_x` and `downsample_y` (1/2 at half resolution): the part of the downsampled layer
// (ceil per side) that starts at the world's origin_x, origin_y and has the world's size. Colour
// stays straight (not premultiplied), in A, R, G, B order at the world's depth: 8 bits round(v ×
// 255), 16 bits round(v × 32768) (the host's white is 32768), each clamped to the channel's range;
// 32 bits the float as it is. Downsampling takes the nearest pixel: the downsampled layer's pixel
// (x, y) shows the source pixel under its centre, floor((x + 0.5) × den / num), clamped to the
// image. Layers without pixels (footage without an image, cameras, lights, the effect layer) leave
// the world as it is.
void fill_layer_pixels(PixelWorld& world, const Layer& layer, PF_RationalScale downsample_x,
                       PF_RationalScale downsample_y);

}  // namespace lunaform::host
