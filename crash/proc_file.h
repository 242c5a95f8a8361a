#pragma once

#include <cstddef>
#include <span>

namespace crash {

// Reads the file at `path` (a /proc file, whose size is unknown until read) into `buffer`
// with plain system calls; stops when the buffer is full. Returns the number of bytes read,
// 0 when the file cannot be opened. Async-signal-safe.
std::size_t read_proc_file(const char* path, std::span<char> buffer) noexcept;

}  // namespace crash
