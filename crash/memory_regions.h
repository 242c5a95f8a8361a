#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "crash/scratch_arena.h"

namespace crash {

// One mapping of the process as /proc/self/smaps describes it.
struct MemoryRegion {
  std::uintptr_t start = 0;
  std::uintptr_t end = 0;
  std::uint64_t file_offset = 0;
  bool readable = false;
  bool writable = false;
  bool executable = false;
  bool shared = false;
  // Some pages of the mapping are the process's own copies ("Anonymous" or "Swap" above 0):
  // for a file mapping, pages that were written after loading, such as relocated data.
  bool has_private_pages = false;
  // The kernel marks the mapping as device memory ("io", "pf") or as not to be dumped ("dd").
  bool device = false;
  bool dont_dump = false;
  // The mapped file ("/usr/lib/x86_64-linux-gnu/libc.so.6"), a kernel name ("[stack]",
  // "[vdso]") or empty for anonymous memory; points into the text it was parsed from.
  std::string_view path;

  bool file_backed() const { return path.starts_with('/'); }
};

// Parses the first line of a mapping's entry ("START-END PERMS OFFSET DEV INODE   PATH", the
// numbers in hexadecimal but the inode); false when the line does not have that form.
bool parse_memory_region(std::string_view line, MemoryRegion& region);

// Parses the text of /proc/self/smaps into `regions` (at most its size, in the order given)
// and returns how many it filled. Only whole lines count: a text cut off mid-line loses that
// line.
std::size_t parse_memory_regions(std::string_view smaps, std::span<MemoryRegion> regions);

// Whether a crash dump carries the region's bytes, following the kernel's own core dumps:
// what only the process has is dumped (writable and anonymous memory, the stacks, pages it
// changed in file mappings such as relocated read-only data); unchanged file mappings are not,
// a debugger reads them from the files. Never dumped: what cannot be read (no read permission,
// [vvar], [vsyscall]), device memory (reading it may have side effects), mappings marked not
// to be dumped, and reservations of more than 1 GiB (a sanitizer's shadow memory).
bool region_contents_dumped(const MemoryRegion& region);

// The mappings of the calling process, in address order, in memory taken from `arena`; empty
// when /proc/self/smaps cannot be read or the arena is too small. At most `max_regions`.
// Async-signal-safe.
std::span<const MemoryRegion> read_memory_regions(ScratchArena& arena, std::size_t max_regions);

}  // namespace crash
