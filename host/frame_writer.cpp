#include "host/frame_writer.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "host/host_error.h"
#include "host/image_file_type.h"
#include "host/interruption.h"
#include "host/message_line.h"

namespace lunaform::host {
namespace {

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& reason) {
  throw HostError("cannot write '" + file.string() + "': " + reason);
}

std::filesystem::path folder_of(const std::filesystem::path& file) {
  return file.parent_path().empty() ? std::filesystem::path(".") : file.parent_path();
}

// A file of a fresh name beside the target, created empty with the usual permissions (what
// the umask leaves of 0666), open for writing, and removed again unless moved onto the target.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target) : target_(target) {
    const std::string stem = "." + target.filename().string() + ".part-" + std::to_string(getpid());
    for (int attempt = 0; attempt < 100; ++attempt) {
      const std::filesystem::path candidate =
          folder_of(target) / (stem + "-" + std::to_string(attempt));
      descriptor_ = open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (descriptor_ >= 0) {
        path_ = candidate;
        note_partial_file(path_);
        return;
      }
      if (errno != EEXIST) {
        fail(target, "cannot create a temporary file in '" + folder_of(target).string() +
                         "': " + std::strerror(errno));
      }
    }
    fail(target, "no free temporary file name in '" + folder_of(target).string() + "'");
  }
  ~TemporaryFile() {
    if (descriptor_ >= 0) {
      close(descriptor_);
    }
    forget_partial_file();
    if (!path_.empty()) {
      std::error_code ignored;
      std::filesystem::remove(path_, ignored);
    }
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  int descriptor() const { return descriptor_; }

  // Closes the file and renames it to the target.
  void move_to_target() {
    const int descriptor = std::exchange(descriptor_, -1);
    // Network file systems may report a full disk only here.
    if (close(descriptor) != 0) {
      fail(target_, std::strerror(errno));
    }
    std::error_code error;
    std::filesystem::rename(path_, target_, error);
    if (error) {
      fail(target_, error.message());
    }
    forget_partial_file();
    path_.clear();
  }

 private:
  std::filesystem::path target_;
  std::filesystem::path path_;
  int descriptor_ = -1;
};

// What the image writers write goes through this proxy to the temporary file. Every write is
// checked here because the writers do not all notice a failed one: a full disk or the file-size
// limit would otherwise leave a short file that is then taken for a whole frame. The first
// failure's errno is kept, and every write after it refused.
class CheckedFileProxy final : public OIIO::Filesystem::IOProxy {
 public:
  CheckedFileProxy(int descriptor, const std::string& name)
      : IOProxy(name, Write), descriptor_(descriptor) {}

  const char* proxytype() const override { return "checked file"; }
  size_t write(const void* data, size_t size) override {
    const size_t done = pwrite(data, size, m_pos);
    m_pos += static_cast<std::int64_t>(done);
    return done;
  }
  size_t pwrite(const void* data, size_t size, std::int64_t offset) override {
    const auto* bytes = static_cast<const unsigned char*>(data);
    size_t done = 0;
    while (failure_ == 0 && done < size) {
      const ssize_t count = ::pwrite(descriptor_, bytes + done, size - done,
                                     static_cast<off_t>(offset + static_cast<std::int64_t>(done)));
      if (count < 0 && errno == EINTR) {
        continue;
      }
      if (count <= 0) {
        failure_ = count < 0 ? errno : ENOSPC;
      } else {
        done += static_cast<size_t>(count);
      }
    }
    end_ = std::max(end_, static_cast<size_t>(offset) + done);
    return done;
  }
  size_t size() const override { return end_; }

  // The errno of the first write that failed; 0 while none has.
  int failure() const { return failure_; }

 private:
  int descriptor_;
  int failure_ = 0;
  size_t end_ = 0;
};

// Converts the tile's pixels to the file's red, green, blue, alpha, each channel passed through
// `convert`, into rows of `row_bytes` from `out`.
template <typename Pixel, typename Channel, typename Convert>
void file_rgba(const PixelWorld& tile, unsigned char* out, size_t row_bytes, Convert convert) {
  for (A_long y = 0; y < tile.height(); ++y) {
    const std::byte* row = tile.row(y).data();
    unsigned char* to = out + static_cast<size_t>(y) * row_bytes;
    for (A_long x = 0; x < tile.width(); ++x) {
      Pixel pixel;
      std::memcpy(&pixel, row + static_cast<size_t>(x) * sizeof(Pixel), sizeof pixel);
      const Channel rgba[4] = {convert(pixel.red), convert(pixel.green), convert(pixel.blue),
                               convert(pixel.alpha)};
      std::memcpy(to, rgba, sizeof rgba);
      to += sizeof rgba;
    }
  }
}

// The host's 16-bit white is 32768, a file's 65535.
std::uint16_t file_value_16(A_u_short host_value) {
  constexpr std::uint32_t kHostWhite = 32768;
  constexpr std::uint32_t kFileWhite = 65535;
  const std::uint32_t scaled = (host_value * kFileWhite + kHostWhite / 2) / kHostWhite;
  return static_cast<std::uint16_t>(std::min(scaled, kFileWhite));
}

OIIO::TypeDesc channel_type(int bits_per_channel) {
  switch (bits_per_channel) {
    case 8:
      return OIIO::TypeDesc::UINT8;
    case 16:
      return OIIO::TypeDesc::UINT16;
    default:
      return OIIO::TypeDesc::FLOAT;
  }
}

}  // namespace

// The temporary file and the image writer that writes into it; members end in reverse order,
// the writer first, while its file is still open.
struct FrameWriter::Output {
  TemporaryFile temporary;
  CheckedFileProxy proxy;
  std::unique_ptr<OIIO::ImageOutput> image;

  explicit Output(const std::filesystem::path& file)
      : temporary(file), proxy(temporary.descriptor(), file.string()) {}

  // Throws the first failed write's reason, else the image writer's message when `ok` is
  // false.
  void check(bool ok, const std::filesystem::path& file) const {
    if (proxy.failure() != 0) {
      fail(file, std::strerror(proxy.failure()));
    }
    if (!ok) {
      fail(file, one_line(image != nullptr ? image->geterror() : OIIO::geterror()));
    }
  }
};

void check_writable(const std::filesystem::path& file) {
  const std::filesystem::path folder = folder_of(file);
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(folder, error);
  if (status.type() == std::filesystem::file_type::not_found) {
    fail(file, "the folder '" + folder.string() + "' does not exist");
  }
  if (error) {
    fail(file, error.message());
  }
  if (!std::filesystem::is_directory(status)) {
    fail(file, "'" + folder.string() + "' is not a folder");
  }
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    fail(file, "the folder '" + folder.string() + "' is not writable: " + std::strerror(errno));
  }
  if (std::filesystem::is_directory(file, error)) {
    fail(file, "it is a folder");
  }
}

FrameWriter::FrameWriter(std::filesystem::path file, A_long width, A_long height,
                         int bits_per_channel)
    : file_(std::move(file)), width_(width), height_(height), bits_per_channel_(bits_per_channel) {
  check_bits_for_file(file_, bits_per_channel_);
}

FrameWriter::~FrameWriter() = default;

void FrameWriter::add_tile(const PixelWorld& tile) {
  if (band_filled_ == 0) {
    band_height_ = tile.height();
  }
  if (tile.bits_per_channel() != bits_per_channel_ || tile.height() != band_height_ ||
      tile.width() > width_ - band_filled_ || band_height_ > height_ - band_top_) {
    throw std::invalid_argument("the tile does not continue the image's band");
  }
  const size_t pixel_bytes = 4 * static_cast<size_t>(bits_per_channel_ / 8);
  const size_t row_bytes = static_cast<size_t>(width_) * pixel_bytes;
  band_.resize(row_bytes * static_cast<size_t>(band_height_));
  unsigned char* at = band_.data() + static_cast<size_t>(band_filled_) * pixel_bytes;
  switch (bits_per_channel_) {
    case 8:
      file_rgba<PF_Pixel8, std::uint8_t>(tile, at, row_bytes, [](A_u_char v) { return v; });
      break;
    case 16:
      file_rgba<PF_Pixel16, std::uint16_t>(tile, at, row_bytes, file_value_16);
      break;
    default:
      file_rgba<PF_PixelFloat, float>(tile, at, row_bytes, [](float v) { return v; });
      break;
  }
  band_filled_ += tile.width();
  if (band_filled_ == width_) {
    write_band();
  }
}

void FrameWriter::write_band() {
  if (!output_) {
    OIIO::ImageSpec layout(width_, height_, 4, channel_type(bits_per_channel_));
    layout.alpha_channel = 3;
    // Without this the PNG writer would divide colour by alpha, taking it for premultiplied.
    layout.attribute("oiio:UnassociatedAlpha", 1);
    auto output = std::make_unique<Output>(file_);
    output->image =
        OIIO::ImageOutput::create(image_file_type(file_) == ImageFileType::png ? "png" : "openexr");
    output->check(output->image != nullptr && output->image->set_ioproxy(&output->proxy) &&
                      output->image->open(file_.string(), layout),
                  file_);
    output_ = std::move(output);
  }
  output_->check(output_->image->write_scanlines(band_top_, band_top_ + band_height_, 0,
                                                 channel_type(bits_per_channel_), band_.data()),
                 file_);
  band_top_ += band_height_;
  band_filled_ = 0;
}

void FrameWriter::finish() {
  if (band_top_ != height_ || !output_) {
    throw std::invalid_argument("the image's bands are not all there");
  }
  output_->check(output_->image->close(), file_);
  output_->temporary.move_to_target();
  output_.reset();
}

void write_frame(const PixelWorld& world, const std::filesystem::path& file) {
  FrameWriter writer(file, world.width(), world.height(), world.bits_per_channel());
  writer.add_tile(world);
  writer.finish();
}

}  // namespace lunaform::host
