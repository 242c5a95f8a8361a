#pragma once

#include <filesystem>

namespace lunaform::host {

// The image files lunaform-render writes, chosen by the output file's extension: PNG holds 8
// or 16 bits per channel, OpenEXR 32-bit float.
enum class ImageFileType { png, exr };

// The type `file` names by its extension, ".png" or ".exr" in any letter case. Throws HostError
// with one line ("cannot write 'out.jpg': unknown image type '.jpg' (use .png or .exr)") for
// any other. Pure function.
ImageFileType image_file_type(const std::filesystem::path& file);

// The bit depth a file type stands for when none is asked: 8 for PNG, 32 for EXR.
int default_bits_per_channel(ImageFileType type);

// Throws HostError with one line when `file`'s type cannot hold `bits_per_channel` (PNG: 8 or
// 16; EXR: 32), or names no known type. Pure function.
void check_bits_for_file(const std::filesystem::path& file, int bits_per_channel);

}  // namespace lunaform::host
