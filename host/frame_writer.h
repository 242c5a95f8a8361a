#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "AE_Effect.h"
#include "host/pixel_world.h"

namespace lunaform::host {

// Throws HostError with one line ("cannot write 'out/a.png': the folder 'out' does not exist")
// when `file` could not be created: its folder is missing, is not a folder or is not writable
// by this process, or `file` is itself a folder. Meant to run before a render, so that a long
// render does not fail only at its end. Any thread.
void check_writable(const std::filesystem::path& file);

// Writes one image to `file` as the image type its extension names (image_file_type): 8- or
// 16-bit pixels as PNG, 32-bit pixels as OpenEXR of 32-bit floats (check_bits_for_file).
//
// The image arrives in tiles, in reading order: the tiles of one band share its top row and
// height and follow each other from the left edge to the right one, and the band is written as
// scanlines as soon as its last tile arrives. The writer holds one band of the image in the
// file's layout, besides what the file format's own writer keeps.
//
// Pixels go from the host's alpha, red, green, blue to the file's red, green, blue, alpha;
// row padding is skipped. Colour stays straight and the file says so (unassociated alpha):
// nothing is multiplied or divided by alpha, and a transparent pixel keeps its colour. 8-bit
// values and floats are written unchanged; 16-bit values, 0 to 32768 in the host, become 0 to
// 65535: value × 65535 / 32768 rounded to the nearest, anything above 32768 written as 65535.
//
// The first complete band creates a new temporary file in `file`'s folder; finish() renames it
// to `file` once the image is complete. `file` is then either the whole new image or
// untouched: every write to the temporary file is checked, and a writer destroyed unfinished
// or failed removes it. One thread at a time.
class FrameWriter {
 public:
  // Throws HostError with one line for a file type that cannot hold the depth.
  FrameWriter(std::filesystem::path file, A_long width, A_long height, int bits_per_channel);
  ~FrameWriter();
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  // Takes the next tile (only read). Throws HostError "cannot write 'FILE': REASON" when the
  // band it completes cannot be written, std::invalid_argument for a tile that does not
  // continue the band (another height or depth, past the right edge or the bottom).
  void add_tile(const PixelWorld& tile);
  // Completes the file and moves it to `file`. Throws HostError "cannot write 'FILE': REASON",
  // std::invalid_argument when bands are missing.
  void finish();

 private:
  struct Output;
  void write_band();

  std::filesystem::path file_;
  A_long width_;
  A_long height_;
  int bits_per_channel_;
  std::vector<unsigned char> band_;  // the band's rows in the file's layout
  A_long band_top_ = 0;              // the image row the band starts at
  A_long band_height_ = 0;
  A_long band_filled_ = 0;  // columns of the band that tiles have filled
  std::unique_ptr<Output> output_;
};

// Writes `world` to `file` as an image of one band (FrameWriter). Throws HostError with one
// line "cannot write 'FILE': REASON". Any thread; the world is only read.
void write_frame(const PixelWorld& world, const std::filesystem::path& file);

}  // namespace lunaform::host
