#pragma once

#include <filesystem>
#include <string>

#include "host/composition.h"

namespace lunaform::host {

// One footage file as the host keeps it: its pixels (float RGBA, straight colour, rows from the
// top, no padding) and what reading it found worth a warning. Values are the file's own, only
// rescaled: 8- and 16-bit integer files run from 0 to 1 (0-255 and 0-65535 divided by their
// maximum); float files keep their range.
struct Footage {
  Image image;
  // One line ("'FILE': ...") when the file held NaN or infinite values that were replaced;
  // empty otherwise. Left for the caller to show, marked as a warning.
  std::string warning;
};

// Reads a PNG, JPEG, TIFF, OpenEXR or Radiance HDR file into straight float RGBA.
// Colour is never premultiplied or divided by alpha on the way in; an image without alpha gets
// alpha 1, a greyscale image is copied into red, green and blue. Only the first subimage of a
// multi-part file is read; an EXR data window smaller than its display window is placed in the
// display window, with transparent black around it. NaN becomes 0 and ±infinity the largest
// finite float of its sign, reported in Footage::warning.
// Returns the pixels (owned by the caller). Throws HostError with one line "cannot read image
// 'FILE': REASON" for a missing file, a folder, a format other than those five, a corrupt or
// truncated file, a channel layout that is not grey, grey + alpha, RGB or RGBA (extra channels
// after those are ignored), or a side outside 1..30000. Any thread.
Footage read_footage(const std::filesystem::path& file);

}  // namespace lunaform::host
