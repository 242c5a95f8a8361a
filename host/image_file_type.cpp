#include "host/image_file_type.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "host/host_error.h"

namespace lunaform::host {

ImageFileType image_file_type(const std::filesystem::path& file) {
  std::string extension = file.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (extension == ".png") {
    return ImageFileType::png;
  }
  if (extension == ".exr") {
    return ImageFileType::exr;
  }
  const std::string named = extension.empty()
                                ? "no image type"
                                : "unknown image type '" + file.extension().string() + "'";
  throw HostError("cannot write '" + file.string() + "': " + named + " (use .png or .exr)");
}

int default_bits_per_channel(ImageFileType type) {
  return type == ImageFileType::png ? 8 : 32;
}

void check_bits_for_file(const std::filesystem::path& file, int bits_per_channel) {
  const ImageFileType type = image_file_type(file);
  if (type == ImageFileType::png && bits_per_channel != 8 && bits_per_channel != 16) {
    throw HostError("cannot write " + std::to_string(bits_per_channel) + " bits per channel to '" +
                    file.string() + "': PNG holds 8 or 16 (use .exr for 32-bit float)");
  }
  if (type == ImageFileType::exr && bits_per_channel != 32) {
    throw HostError("cannot write " + std::to_string(bits_per_channel) + " bits per channel to '" +
                    file.string() + "': EXR holds 32-bit float (use .png for 8 or 16)");
  }
}

}  // namespace lunaform::host
