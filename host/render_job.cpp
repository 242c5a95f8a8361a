#include "host/render_job.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <variant>

#include "host/command_result.h"
#include "host/frame_path.h"
#include "host/frame_writer.h"
#include "host/host_error.h"
#include "host/image_file_type.h"
#include "host/layer_geometry.h"
#include "host/output_region.h"
#include "host/pixel_world.h"

namespace lunaform::host {
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

// Bytes this process can still take as far as the system says: the memory available without
// swapping (Linux overcommits, so a larger allocation may succeed and be killed when used) and
// what the address-space limit leaves; nothing when neither can be read.
std::optional<std::uint64_t> available_memory() {
  std::optional<std::uint64_t> available;
  std::ifstream meminfo("/proc/meminfo");
  for (std::string line; std::getline(meminfo, line);) {
    std::istringstream fields(line);
    std::string key;
    std::uint64_t kib = 0;
    if (fields >> key >> kib && key == "MemAvailable:") {
      available = kib * 1024;
      break;
    }
  }
  rlimit limit{};
  std::uint64_t pages = 0;
  if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
      std::ifstream("/proc/self/statm") >> pages) {
    const std::uint64_t used = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t left = limit.rlim_cur > used ? limit.rlim_cur - used : 0;
    available = std::min(available.value_or(left), left);
  }
  return available;
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
  job.check_memory();
  return job;
}

void RenderJob::check_memory() const {
  // The host's output world with its row padding, and the writer's copy in the file's layout.
  const auto width = static_cast<std::uint64_t>(frame_size_.width);
  const auto height = static_cast<std::uint64_t>(frame_size_.height);
  const std::uint64_t pixel_bytes = 4 * static_cast<std::uint64_t>(bits_per_channel_ / 8);
  const std::uint64_t needed =
      (width + PixelWorld::kPaddingPixels) * height * pixel_bytes + width * height * pixel_bytes;
  const std::optional<std::uint64_t> available = available_memory();
  if (available && needed > *available) {
    throw HostError("only " + memory_text(*available) + " of memory is available, and frames of " +
                    std::to_string(width) + " x " + std::to_string(height) + " pixels at " +
                    std::to_string(bits_per_channel_) + " bits per channel need at least " +
                    memory_text(needed) +
                    "; render them smaller (--downsample), in parts (--region) or with fewer "
                    "bits per channel (--bpc)");
  }
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
