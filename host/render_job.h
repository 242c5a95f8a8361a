#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "AE_Effect.h"
#include "host/composition.h"
#include "host/effect_host.h"
#include "host/frame_range.h"
#include "host/scene_file.h"
#include "host/tile_grid.h"

namespace lunaform::host {

// What a lunaform-render command line asks for, as typed.
struct RenderOptions {
  std::optional<std::filesystem::path> scene;   // none: default_composition()
  std::optional<std::filesystem::path> output;  // none: a name in the current folder
  std::optional<std::string> frames;            // "A-B:S", "A-B" or "A"; none: frame 0
  std::optional<std::string> chunk;             // "I/N": render part I of N of the frames
  std::optional<int> bits_per_channel;          // none: from the output's extension
  int downsample = 1;                           // render at 1 / downsample of the size
  std::optional<std::string> region;            // "X,Y,W,H" of the downsampled layer
  std::optional<int> tile;                      // N: tiles of N x N pixels; none: as needed
};

// What to try when frames do not fit in memory: "render them smaller (--downsample), ...".
extern const char* const kSmallerFramesAdvice;

// A render whose options have all been checked against each other and against the
// composition, before any module is loaded, so that a mistake costs no render time.
class RenderJob {
 public:
  // Checks the options, reads the scene file (SceneFile::load) and checks the frames and the
  // region against its composition (or the default composition). With a chunk, the job renders
  // only that part of the frames (chunk_frames). Without an output the file
  // goes to the current folder, named after the scene file (or "lunaform"), with ".####"
  // before the extension when several frames are asked, ".png" unless 32 bits are asked
  // (".exr"). Returns the job (a plain value). Throws HostError with one line: a bad --frames
  // or --region text, a downsample below 1, an output type that cannot hold the bit depth, an
  // output that needs a frame-number placeholder (several frames) and has none, a scene that
  // cannot be read, frames outside the composition, a region outside the downsampled layer,
  // an output folder that cannot be written, a tile side below 1. All of these are InputErrors.
  //
  // Each frame is rendered in the tiles of tiles(): those asked for, else one tile unless a
  // side is larger than a GPU target reliably holds or the whole frame would need more memory
  // than there is (available_memory), in which case tiles of a default size. A frame that needs
  // more memory than there is even in its tiles is refused with a HostError that says how much
  // it needs and how to make it smaller: not an InputError, since the same job may fit another
  // machine.
  static RenderJob plan(const RenderOptions& options);

  // The frames asked for, and those of them this job renders (all, or its chunk's), in order.
  const FrameRange& frames() const { return frames_; }
  const std::vector<int>& frames_to_render() const { return frames_to_render_; }
  int bits_per_channel() const { return bits_per_channel_; }
  // The output rectangles of each frame, within the region or the whole downsampled layer.
  const TileGrid& tiles() const { return tiles_; }
  // The file frame `frame` goes to (the output with its placeholder filled in).
  std::filesystem::path output_file(int frame) const;
  // Warning lines of reading the scene (footage with NaN or infinite values).
  const std::vector<std::string>& warnings() const { return warnings_; }

  // Takes the module in `host` through global, parameter and sequence setup, gives the host the
  // composition (the scene's values converted by the parameters the module registered) and
  // sets bits per channel, downsample and output rectangle. `module` names the module in
  // messages. Throws HostError with one line for an error code a command returns ("global
  // setup of 'M' failed with error 512"), InputError for a scene value the module's parameters
  // refuse.
  // Afterwards render_frame() renders the job's frames.
  void prepare(EffectHost& host, const std::filesystem::path& module) const;

  // The line for a render of this job that ran out of memory: `what` ("Smart Render of frame 3
  // ran out of memory"), then what the job's frames need and how to make them smaller.
  std::string out_of_memory_line(const std::string& what) const;

 private:
  static RenderJob plan_checked(const RenderOptions& options);
  // Chooses the tiles (`asked`: the side the options name) and refuses a frame too large even
  // in them.
  void choose_tiles(std::optional<int> asked);
  // "frames of W x H pixels at B bits per channel need at least N[ in tiles of S x S]".
  std::string needs_text() const;

  std::optional<SceneFile> scene_;
  std::filesystem::path output_;
  FrameRange frames_;
  std::vector<int> frames_to_render_;
  int bits_per_channel_ = 8;
  int downsample_ = 1;
  std::optional<PF_LRect> region_;
  LayerSize frame_size_;  // of each written image: the region's, else the downsampled layer's
  TileGrid tiles_;
  std::uint64_t frame_bytes_ = 0;  // what a frame in tiles_ needs (frame_memory)
  std::vector<std::string> warnings_;
};

}  // namespace lunaform::host
