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
#include <string>
#include <system_error>
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
// the umask leaves of 0666) and removed again unless moved onto the target.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target) {
    const std::string stem = "." + target.filename().string() + ".part-" + std::to_string(getpid());
    for (int attempt = 0; attempt < 100; ++attempt) {
      const std::filesystem::path candidate =
          folder_of(target) / (stem + "-" + std::to_string(attempt));
      const int descriptor = open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (descriptor >= 0) {
        close(descriptor);
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
    forget_partial_file();
    if (!path_.empty()) {
      std::error_code ignored;
      std::filesystem::remove(path_, ignored);
    }
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::filesystem::path& path() const { return path_; }

  // Replaces the file's contents with `bytes`. Every write is checked here because the image
  // writers do not all notice a failed one: a full disk or the file-size limit would otherwise
  // leave a short file that is then taken for a whole frame.
  void write(const std::vector<unsigned char>& bytes, const std::filesystem::path& target) {
    const int descriptor = open(path_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (descriptor < 0) {
      fail(target, std::strerror(errno));
    }
    for (std::size_t done = 0; done < bytes.size();) {
      const ssize_t count = ::write(descriptor, bytes.data() + done, bytes.size() - done);
      if (count < 0 && errno == EINTR) {
        continue;
      }
      if (count <= 0) {
        const int error = count < 0 ? errno : ENOSPC;
        close(descriptor);
        fail(target, std::strerror(error));
      }
      done += static_cast<std::size_t>(count);
    }
    // Network file systems may report a full disk only here.
    if (close(descriptor) != 0) {
      fail(target, std::strerror(errno));
    }
  }

  void move_to(const std::filesystem::path& target) {
    std::error_code error;
    std::filesystem::rename(path_, target, error);
    if (error) {
      fail(target, error.message());
    }
    forget_partial_file();
    path_.clear();
  }

 private:
  std::filesystem::path path_;
};

// The world's pixels as the file's interleaved red, green, blue, alpha rows, each channel
// passed through `convert`.
template <typename Pixel, typename Channel, typename Convert>
std::vector<Channel> file_rgba(const PixelWorld& world, Convert convert) {
  std::vector<Channel> rgba(static_cast<size_t>(world.width()) *
                            static_cast<size_t>(world.height()) * 4);
  Channel* out = rgba.data();
  for (A_long y = 0; y < world.height(); ++y) {
    const std::byte* row = world.row(y).data();
    for (A_long x = 0; x < world.width(); ++x) {
      Pixel pixel;
      std::memcpy(&pixel, row + static_cast<size_t>(x) * sizeof(Pixel), sizeof pixel);
      *out++ = convert(pixel.red);
      *out++ = convert(pixel.green);
      *out++ = convert(pixel.blue);
      *out++ = convert(pixel.alpha);
    }
  }
  return rgba;
}

// The host's 16-bit white is 32768, a file's 65535.
std::uint16_t file_value_16(A_u_short host_value) {
  constexpr std::uint32_t kHostWhite = 32768;
  constexpr std::uint32_t kFileWhite = 65535;
  const std::uint32_t scaled = (host_value * kFileWhite + kHostWhite / 2) / kHostWhite;
  return static_cast<std::uint16_t>(std::min(scaled, kFileWhite));
}

void write_rgba(const std::filesystem::path& file, ImageFileType type, const PixelWorld& world,
                OIIO::TypeDesc channel_type, const void* rgba) {
  OIIO::ImageSpec layout(world.width(), world.height(), 4, channel_type);
  layout.alpha_channel = 3;
  // Without this the PNG writer would divide colour by alpha, taking it for premultiplied.
  layout.attribute("oiio:UnassociatedAlpha", 1);
  TemporaryFile temporary(file);
  const std::unique_ptr<OIIO::ImageOutput> output =
      OIIO::ImageOutput::create(type == ImageFileType::png ? "png" : "openexr");
  if (!output) {
    fail(file, one_line(OIIO::geterror()));
  }
  std::vector<unsigned char> encoded;
  OIIO::Filesystem::IOVecOutput memory(encoded);
  if (!output->set_ioproxy(&memory) || !output->open(temporary.path().string(), layout) ||
      !output->write_image(channel_type, rgba) || !output->close()) {
    fail(file, one_line(output->geterror()));
  }
  temporary.write(encoded, file);
  temporary.move_to(file);
}

}  // namespace

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

void write_frame(const PixelWorld& world, const std::filesystem::path& file) {
  check_bits_for_file(file, world.bits_per_channel());
  const ImageFileType type = image_file_type(file);
  switch (world.bits_per_channel()) {
    case 8: {
      const auto rgba = file_rgba<PF_Pixel8, std::uint8_t>(world, [](A_u_char v) { return v; });
      write_rgba(file, type, world, OIIO::TypeDesc::UINT8, rgba.data());
      break;
    }
    case 16: {
      const auto rgba = file_rgba<PF_Pixel16, std::uint16_t>(world, file_value_16);
      write_rgba(file, type, world, OIIO::TypeDesc::UINT16, rgba.data());
      break;
    }
    default: {
      const auto rgba = file_rgba<PF_PixelFloat, float>(world, [](float v) { return v; });
      write_rgba(file, type, world, OIIO::TypeDesc::FLOAT, rgba.data());
      break;
    }
  }
}

}  // namespace lunaform::host
