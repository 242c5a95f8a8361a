#include "host/render_job.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <variant>

#include "host/command_result.h"
#include "host/frame_path.h"
#include "host/frame_writer.h"
#include "host/host_error.h"
#include "host/image_file_type.h"
#include "host/layer_geometry.h"
#include "host/memory_budget.h"
#include "host/output_region.h"
#include "host/pixel_world.h"

namespace lunaform::host {

const char* const kSmallerFramesAdvice =
    "render them smaller (--downsample), in parts (--region), in smaller tiles (--tile) or with "
    "fewer bits per channel (--bpc)";

namespace {

std::filesystem::path default_output(const RenderOptions& options, bool several_frames) {
  const std::string stem = options.scene ? options.scene->stem().string() : "lunaform";
  const bool floats = options.bits_per_channel == 32;
  return stem + (several_frames ? ".####" : "") + (floats ? ".exr" : ".png");
}

LayerSize effect_layer_size(const Composition& comp) {
  const auto index = effect_layer_index(comp);
  if (!index) {
    throw HostError("the composition has no layer that carries the effect");
  }
  const auto& effect = std::get<EffectLayer>(comp.layers[*index].content);
  return {effect.width, effect.height};
}

// A frame with a side above this is rendered in tiles: GPU render targets much larger are not
// reliably there (multisampled 8000 x 8000 ones fail to attach under llvmpipe).
constexpr A_long kLargestUntiledSide = 4096;

// The side of the tiles chosen for a frame too large to render whole. Half the largest
// untiled side, so that a GPU that renders frames of that size holds a tile's targets with
// room to spare (about 540 MB of them, see kModuleBytesPerPixel), and large enough that the
// fixed cost of each tile (one Smart PreRender and Smart Render, the module's scene set-up,
// targets rebuilt for the narrower tiles at the edges) stays small: an 8000 x 8000 frame is
// 16 tiles.
constexpr A_long kAutomaticTileSide = 2048;

// The module's memory per output pixel of one render, as an estimate: RGBA float colour (16
// bytes a pixel) in a multisampled target of kGpuSamples samples and about three single-sampled
// ones (accumulation, resolve, the output's transfer), and a depth buffer of 4 bytes a sample.
// Multisampling is on by default, taken here as 4 samples; a scene that turns it off needs
// less. With a software renderer (llvmpipe) these targets lie in this process's memory.
constexpr std::uint64_t kGpuSamples = 4;
constexpr std::uint64_t kModuleBytesPerPixel = 16 * (kGpuSamples + 3) + 4 * kGpuSamples;

// Bytes a frame of `frame` pixels holds at its peak when rendered in tiles of at most `side` x
// `side` (a side as large as the frame is one tile): the writer's band, the frame's width by
// a tile's height in the file's layout; the output world and the effect's input world of one
// tile, rows padded; and the module's targets for one tile.
std::uint64_t frame_memory(LayerSize frame, A_long side, int bits_per_channel) {
  const auto pixel_bytes = static_cast<std::uint64_t>(4 * (bits_per_channel / 8));
  const auto tile_width = static_cast<std::uint64_t>(std::min(side, frame.width));
  const auto tile_height = static_cast<std::uint64_t>(std::min(side, frame.height));
  const std::uint64_t band = static_cast<std::uint64_t>(frame.width) * tile_height * pixel_bytes;
  const std::uint64_t world = (tile_width + PixelWorld::kPaddingPixels) * tile_height * pixel_bytes;
  return band + 2 * world + tile_width * tile_height * kModuleBytesPerPixel;
}

std::string memory_text(std::uint64_t bytes) {
  char text[32];
  if (bytes < 1'000'000'000) {
    std::snprintf(text, sizeof text, "%.0f MB", static_cast<double>(bytes) / 1e6);
  } else {
    std::snprintf(text, sizeof text, "%.1f GB", static_cast<double>(bytes) / 1e9);
  }
  return text;
}

}  // namespace

RenderJob RenderJob::plan(const RenderOptions& options) {
  RenderJob job = as_input([&] { return plan_checked(options); });
  job.choose_tiles(options.tile);
  return job;
}

void RenderJob::choose_tiles(std::optional<int> asked) {
  const PF_LRect frame = region_.value_or(PF_LRect{0, 0, frame_size_.width, frame_size_.height});
  const A_long largest = std::max(frame_size_.width, frame_size_.height);
  const std::optional<std::uint64_t> available = available_memory();
  A_long side = std::min<A_long>(asked.value_or(largest), largest);
  if (!asked &&
      (largest > kLargestUntiledSide ||
       (available && frame_memory(frame_size_, largest, bits_per_channel_) > *available))) {
    side = std::min(kAutomaticTileSide, largest);
  }
  tiles_ = {frame, side};
  frame_bytes_ = frame_memory(frame_size_, side, bits_per_channel_);
  if (available && frame_bytes_ > *available) {
    throw HostError("only " + memory_text(*available) + " of memory is available, and " +
                    needs_text() + "; " + kSmallerFramesAdvice);
  }
}

std::string RenderJob::needs_text() const {
  const std::string side = std::to_string(tiles_.side);
  return "frames of " + std::to_string(frame_size_.width) + " x " +
         std::to_string(frame_size_.height) + " pixels at " + std::to_string(bits_per_channel_) +
         " bits per channel need at least " + memory_text(frame_bytes_) +
         (tiles_.count() > 1 ? " in tiles of " + side + " x " + side : "");
}

std::string RenderJob::out_of_memory_line(const std::string& what) const {
  return what + ": " + needs_text() + "; " + kSmallerFramesAdvice;
}

RenderJob RenderJob::plan_checked(const RenderOptions& options) {
  RenderJob job;
  // Frame 0 alone unless a range is given.
  const FrameRange frames = options.frames ? parse_frame_range(*options.frames) : FrameRange{};
  if (options.downsample < 1) {
    throw HostError("bad --downsample " + std::to_string(options.downsample) +
                    ": renders at 1/N of the size, N from 1");
  }
  job.downsample_ = options.downsample;
  if (options.region) {
    job.region_ = parse_region(*options.region);
  }
  if (options.tile && *options.tile < 1) {
    throw HostError("bad --tile " + std::to_string(*options.tile) +
                    ": tiles are N x N pixels, N from 1");
  }
  const bool several_frames = frames.size() > 1;
  job.output_ = options.output.value_or(default_output(options, several_frames));
  job.bits_per_channel_ =
      options.bits_per_channel.value_or(default_bits_per_channel(image_file_type(job.output_)));
  check_bits_for_file(job.output_, job.bits_per_channel_);
  if (several_frames && !has_frame_placeholder(job.output_)) {
    throw HostError("frames " + *options.frames + " need a frame number in the output name '" +
                    job.output_.string() + "', for example 'out.####.png'");
  }

  Composition comp = default_composition();
  if (options.scene) {
    job.scene_ = SceneFile::load(*options.scene);
    job.warnings_ = job.scene_->warnings();
    comp = job.scene_->composition();
  }
  const TimeBase base = time_base(comp);
  job.frames_ = frames;
  check_frame_range(job.frames_, frame_count(base.total_time, base.time_step));
  job.frames_to_render_ =
      chunk_frames(frames, options.chunk ? parse_frame_chunk(*options.chunk) : FrameChunk{});
  const PF_RationalScale scale{1, static_cast<A_u_long>(job.downsample_)};
  job.frame_size_ = downsampled(effect_layer_size(comp), scale, scale);
  if (job.region_) {
    check_region(*job.region_, job.frame_size_);
    job.frame_size_ = {job.region_->right - job.region_->left,
                       job.region_->bottom - job.region_->top};
  }
  check_writable(job.output_);
  return job;
}

std::filesystem::path RenderJob::output_file(int frame) const {
  return frame_file(output_, frame);
}

void RenderJob::prepare(EffectHost& host, const std::filesystem::path& module) const {
  require_success(host.global_setup(), module_command("global setup", module));
  require_success(host.params_setup(), module_command("parameter setup", module));
  require_success(host.sequence_setup(), module_command("sequence setup", module));
  Composition composition = default_composition();
  if (scene_) {
    composition = as_input([&] { return scene_->composition_for(host.params()); });
  }
  host.set_composition(std::move(composition));
  HostSettings& settings = host.settings();
  settings.bits_per_channel = bits_per_channel_;
  settings.downsample_x = {1, static_cast<A_u_long>(downsample_)};
  settings.downsample_y = settings.downsample_x;
  settings.output_rect = region_;
}

}  // namespace lunaform::host
