#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

namespace lunaform::host {

// Reads the whole file into memory. Returns the bytes (owned by the caller).
// Throws HostError whose message is the system's reason ("No such file or directory", or
// "read error: Is a directory") when the file cannot be opened or read. Any thread.
std::vector<std::byte> read_file_bytes(const std::filesystem::path& file);

}  // namespace lunaform::host
