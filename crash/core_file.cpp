#include "crash/core_file.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

#include "crash/core_notes.h"
#include "crash/memory_regions.h"
#include "crash/scratch_arena.h"

namespace crash {
namespace {

// The scratch space maps generously; only the pages used become memory.
constexpr std::size_t kScratchCapacity = std::size_t{128} << 20;
// Program headers are counted in 16 bits, and beyond 0xfffe a core needs a section header to
// hold the count. One header is the notes', and cutting the scratch space out of a mapping may
// add two. A process has far fewer mappings.
constexpr std::size_t kMaxRegions = 0xfffe - 3;
constexpr std::size_t kWriteChunk = std::size_t{1} << 20;

// Writes with the system call itself rather than the C library's wrapper: the bytes are the
// process's memory as it is, a sanitizer's poisoned redzones included, and a sanitizer's
// interceptor of pwrite would take reading them for a bug.
bool write_all(int fd, const void* bytes, std::size_t size, off_t offset) {
  const auto* next = static_cast<const std::byte*>(bytes);
  while (size > 0) {
    const ssize_t written = syscall(SYS_pwrite64, fd, next, size, offset);
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return false;
    }
    next += written;
    size -= static_cast<std::size_t>(written);
    offset += written;
  }
  return true;
}

// Copies memory into the file at `offset`. The kernel reads the bytes on write's behalf, so a
// page that cannot be read (a file mapping beyond the file's end, memory unmapped meanwhile)
// makes write fail instead of faulting here; then the range is retried page by page and
// unreadable pages stay a hole in the file, which reads as zeros.
void write_memory(int fd, std::uintptr_t start, std::size_t size, off_t offset,
                  std::size_t page_size) {
  if (write_all(fd, reinterpret_cast<const void*>(start), size, offset)) {
    return;
  }
  for (std::size_t page = 0; page < size; page += page_size) {
    write_all(fd, reinterpret_cast<const void*>(start + page), page_size,
              offset + static_cast<off_t>(page));
  }
}

// Copies the pages of anonymous memory that were ever touched. Untouched pages (neither in
// memory nor in swap, as /proc/self/pagemap tells) read as zeros: like the kernel's own dumps,
// the file gets holes there, so a thread's mostly unused 8 MiB stack costs only its used part.
void write_touched_pages(int fd, int pagemap, std::uintptr_t start, std::size_t size, off_t offset,
                         std::size_t page_size) {
  constexpr std::uint64_t kPresent = std::uint64_t{1} << 63;
  constexpr std::uint64_t kSwapped = std::uint64_t{1} << 62;
  std::uint64_t entries[kWriteChunk / 4096];
  const std::size_t pages = size / page_size;
  const off_t entries_offset = static_cast<off_t>(start / page_size * sizeof(std::uint64_t));
  if (pages > std::size(entries) ||
      pread(pagemap, entries, pages * sizeof(std::uint64_t), entries_offset) !=
          static_cast<ssize_t>(pages * sizeof(std::uint64_t))) {
    write_memory(fd, start, size, offset, page_size);
    return;
  }
  std::size_t run_start = 0;
  for (std::size_t page = 0; page <= pages; ++page) {
    if (page < pages && (entries[page] & (kPresent | kSwapped)) != 0) {
      continue;
    }
    if (page > run_start) {
      write_memory(fd, start + run_start * page_size, (page - run_start) * page_size,
                   offset + static_cast<off_t>(run_start * page_size), page_size);
    }
    run_start = page + 1;
  }
}

// Memory that is zero until the process writes it: unnamed mappings, the heap, the stacks.
bool plain_anonymous(const MemoryRegion& region) {
  return region.path.empty() || region.path == "[heap]" || region.path.starts_with("[stack") ||
         region.path.starts_with("[anon");
}

// Copies a dumped mapping's bytes into the file at `offset`, a chunk at a time.
void write_region(int fd, int pagemap, const MemoryRegion& region, off_t offset,
                  std::size_t page_size) {
  for (std::uintptr_t chunk = region.start; chunk < region.end; chunk += kWriteChunk) {
    const std::size_t chunk_size = std::min<std::size_t>(kWriteChunk, region.end - chunk);
    const off_t chunk_offset = offset + static_cast<off_t>(chunk - region.start);
    // Pages of a file mapping that were never touched still hold the file's bytes, and the
    // kernel's own images ([vdso]) are there whether touched or not.
    if (!plain_anonymous(region) || pagemap < 0) {
      write_memory(fd, chunk, chunk_size, chunk_offset, page_size);
    } else {
      write_touched_pages(fd, pagemap, chunk, chunk_size, chunk_offset, page_size);
    }
  }
}

Elf64_Ehdr core_header(std::size_t program_headers) {
  Elf64_Ehdr header{};
  header.e_ident[EI_MAG0] = ELFMAG0;
  header.e_ident[EI_MAG1] = ELFMAG1;
  header.e_ident[EI_MAG2] = ELFMAG2;
  header.e_ident[EI_MAG3] = ELFMAG3;
  header.e_ident[EI_CLASS] = ELFCLASS64;
  header.e_ident[EI_DATA] = ELFDATA2LSB;
  header.e_ident[EI_VERSION] = EV_CURRENT;
  header.e_ident[EI_OSABI] = ELFOSABI_NONE;
  header.e_type = ET_CORE;
  header.e_machine = EM_X86_64;
  header.e_version = EV_CURRENT;
  header.e_phoff = sizeof(Elf64_Ehdr);
  header.e_ehsize = sizeof(Elf64_Ehdr);
  header.e_phentsize = sizeof(Elf64_Phdr);
  header.e_phnum = static_cast<Elf64_Half>(program_headers);
  return header;
}

Elf64_Word segment_flags(const MemoryRegion& region) {
  return (region.readable ? PF_R : 0) | (region.writable ? PF_W : 0) |
         (region.executable ? PF_X : 0);
}

// One loadable segment of the core: a mapping, or a part of one.
struct Segment {
  MemoryRegion region;
  bool dumped = false;
};

// The mappings as segments. The scratch space holds nothing but the dump's own working data:
// it stays in the core as mapped memory without bytes, cut out of the mapping that contains
// it (the kernel may have merged it with a neighbour). Empty when the arena is full.
std::span<const Segment> plan_segments(ScratchArena& arena, std::span<const MemoryRegion> regions) {
  Segment* segments = arena.allocate<Segment>(regions.size() + 2);
  if (segments == nullptr) {
    return {};
  }
  std::size_t count = 0;
  const auto add = [&](const MemoryRegion& region, std::uintptr_t start, std::uintptr_t end,
                       bool dumped) {
    if (start < end) {
      segments[count].region = region;
      segments[count].region.start = start;
      segments[count].region.end = end;
      segments[count].dumped = dumped;
      ++count;
    }
  };
  for (const MemoryRegion& region : regions) {
    const bool dumped = region_contents_dumped(region);
    if (region.end <= arena.begin() || region.start >= arena.end()) {
      add(region, region.start, region.end, dumped);
      continue;
    }
    add(region, region.start, arena.begin(), dumped);
    add(region, std::max(region.start, arena.begin()), std::min(region.end, arena.end()), false);
    add(region, arena.end(), region.end, dumped);
  }
  return {segments, count};
}

}  // namespace

bool write_core_file(int fd, const siginfo_t& info, const ucontext_t& context) noexcept {
  ScratchArena arena(kScratchCapacity);
  const std::size_t page_size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::span<const MemoryRegion> regions = read_memory_regions(arena, kMaxRegions);
  if (regions.empty()) {
    return false;
  }
  const std::span<const std::byte> notes =
      build_core_notes(arena, info, context, regions, page_size);
  const std::span<const Segment> segments = plan_segments(arena, regions);
  const std::size_t header_count = 1 + segments.size();
  Elf64_Phdr* headers = arena.allocate<Elf64_Phdr>(header_count);
  if (notes.empty() || segments.empty() || headers == nullptr) {
    return false;
  }

  // Layout: the ELF header, the program headers, the notes, then the dumped segments in
  // address order, starting on a page boundary.
  const std::size_t notes_offset = sizeof(Elf64_Ehdr) + header_count * sizeof(Elf64_Phdr);
  std::size_t data_offset = (notes_offset + notes.size() + page_size - 1) / page_size * page_size;
  headers[0].p_type = PT_NOTE;
  headers[0].p_offset = notes_offset;
  headers[0].p_filesz = notes.size();
  headers[0].p_align = 4;
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const MemoryRegion& region = segments[i].region;
    Elf64_Phdr& header = headers[1 + i];
    header.p_type = PT_LOAD;
    header.p_flags = segment_flags(region);
    header.p_offset = data_offset;
    header.p_vaddr = region.start;
    header.p_memsz = region.end - region.start;
    // A segment without bytes still tells the debugger the range was mapped.
    header.p_filesz = segments[i].dumped ? header.p_memsz : 0;
    header.p_align = page_size;
    data_offset += header.p_filesz;
  }

  const Elf64_Ehdr file_header = core_header(header_count);
  if (!write_all(fd, &file_header, sizeof file_header, 0) ||
      !write_all(fd, headers, header_count * sizeof(Elf64_Phdr), sizeof file_header) ||
      !write_all(fd, notes.data(), notes.size(), static_cast<off_t>(notes_offset))) {
    return false;
  }
  const int pagemap = open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC);
  for (std::size_t i = 0; i < segments.size(); ++i) {
    if (segments[i].dumped) {
      write_region(fd, pagemap, segments[i].region, static_cast<off_t>(headers[1 + i].p_offset),
                   page_size);
    }
  }
  if (pagemap >= 0) {
    close(pagemap);
  }
  // Holes at the end (an unreadable last page) still belong to the file.
  return ftruncate(fd, static_cast<off_t>(data_offset)) == 0;
}

}  // namespace crash
