#pragma once

#include <filesystem>

#include "host/pixel_world.h"

namespace lunaform::host {

// Throws HostError with one line ("cannot write 'out/a.png': the folder 'out' does not exist")
// when `file` could not be created: its folder is missing, is not a folder or is not writable
// by this process, or `file` is itself a folder. Meant to run before a render, so that a long
// render does not fail only at its end. Any thread.
void check_writable(const std::filesystem::path& file);

// Writes `world` to `file` as the image type its extension names (image_file_type): an 8- or
// 16-bit world as PNG, a 32-bit world as OpenEXR of 32-bit floats (check_bits_for_file).
//
// Pixels go from the host's alpha, red, green, blue to the file's red, green, blue, alpha;
// row padding is skipped. Colour stays straight and the file says so (unassociated alpha):
// nothing is multiplied or divided by alpha, and a transparent pixel keeps its colour. 8-bit
// values and floats are written unchanged; 16-bit values, 0 to 32768 in the host, become 0 to
// 65535: value × 65535 / 32768 rounded to the nearest, anything above 32768 written as 65535.
//
// The image goes to a new temporary file in `file`'s folder, which is renamed to `file` once
// complete: `file` is then either the whole new image or untouched, and a failed write leaves
// no temporary file behind. Throws HostError with one line "cannot write 'FILE': REASON".
// Any thread; the world is only read.
void write_frame(const PixelWorld& world, const std::filesystem::path& file);

}  // namespace lunaform::host
