#include "crash/memory_regions.h"

#include "crash/proc_file.h"

namespace crash {
namespace {

// Room for the text of /proc/self/smaps (under 1 KiB a mapping) of a process with tens of
// thousands of mappings.
constexpr std::size_t kSmapsTextCapacity = std::size_t{64} << 20;
constexpr std::uint64_t kLargestDumpedRegion = std::uint64_t{1} << 30;

// Reads a number in `base` from the front of `text` and removes it; false when there is none.
bool take_number(std::string_view& text, int base, std::uint64_t& value) {
  value = 0;
  std::size_t used = 0;
  for (; used < text.size(); ++used) {
    const char c = text[used];
    int digit;
    if (c >= '0' && c <= '9') {
      digit = c - '0';
    } else if (base == 16 && c >= 'a' && c <= 'f') {
      digit = c - 'a' + 10;
    } else {
      break;
    }
    value = value * static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(digit);
  }
  text.remove_prefix(used);
  return used > 0;
}

bool take_char(std::string_view& text, char expected) {
  if (!text.starts_with(expected)) {
    return false;
  }
  text.remove_prefix(1);
  return true;
}

// Removes the next field up to (not including) the following space.
std::string_view take_field(std::string_view& text) {
  const std::string_view field = text.substr(0, text.find(' '));
  text.remove_prefix(field.size());
  return field;
}

void skip_spaces(std::string_view& text) {
  while (text.starts_with(' ')) {
    text.remove_prefix(1);
  }
}

// "Anonymous:   12 kB": whether the amount is above zero.
bool nonzero_amount(std::string_view value) {
  skip_spaces(value);
  std::uint64_t amount = 0;
  return take_number(value, 10, amount) && amount > 0;
}

// "VmFlags: rd wr mr": whether the two-letter flag is among them.
bool has_flag(std::string_view flags, std::string_view flag) {
  while (!flags.empty()) {
    skip_spaces(flags);
    if (take_field(flags) == flag) {
      return true;
    }
  }
  return false;
}

// Takes one "Key: value" line of a mapping's entry into `region`.
void take_detail(std::string_view line, MemoryRegion& region) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) {
    return;
  }
  const std::string_view key = line.substr(0, colon);
  const std::string_view value = line.substr(colon + 1);
  if (key == "Anonymous" || key == "Swap") {
    region.has_private_pages = region.has_private_pages || nonzero_amount(value);
  } else if (key == "VmFlags") {
    region.device = has_flag(value, "io") || has_flag(value, "pf");
    region.dont_dump = has_flag(value, "dd");
  }
}

}  // namespace

bool parse_memory_region(std::string_view line, MemoryRegion& region) {
  region = MemoryRegion{};
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  std::uint64_t inode = 0;
  if (!take_number(line, 16, start) || !take_char(line, '-') || !take_number(line, 16, end) ||
      !take_char(line, ' ')) {
    return false;
  }
  const std::string_view permissions = take_field(line);
  if (permissions.size() != 4 || !take_char(line, ' ') ||
      !take_number(line, 16, region.file_offset) || !take_char(line, ' ')) {
    return false;
  }
  const std::string_view device = take_field(line);
  if (device.find(':') == std::string_view::npos || !take_char(line, ' ') ||
      !take_number(line, 10, inode) || end < start) {
    return false;
  }
  skip_spaces(line);
  region.start = static_cast<std::uintptr_t>(start);
  region.end = static_cast<std::uintptr_t>(end);
  region.readable = permissions[0] == 'r';
  region.writable = permissions[1] == 'w';
  region.executable = permissions[2] == 'x';
  region.shared = permissions[3] == 's';
  region.path = line;
  return true;
}

std::size_t parse_memory_regions(std::string_view smaps, std::span<MemoryRegion> regions) {
  std::size_t count = 0;
  for (std::size_t line_end = smaps.find('\n'); line_end != std::string_view::npos;
       line_end = smaps.find('\n')) {
    const std::string_view line = smaps.substr(0, line_end);
    smaps.remove_prefix(line_end + 1);
    // Detail keys start with a capital letter, which no hexadecimal address does.
    MemoryRegion region;
    if (parse_memory_region(line, region)) {
      if (count == regions.size()) {
        break;
      }
      regions[count++] = region;
    } else if (count > 0) {
      take_detail(line, regions[count - 1]);
    }
  }
  return count;
}

bool region_contents_dumped(const MemoryRegion& region) {
  if (!region.readable || region.device || region.dont_dump ||
      region.end - region.start > kLargestDumpedRegion || region.path.starts_with("[vvar") ||
      region.path == "[vsyscall]") {
    return false;
  }
  return region.writable || !region.file_backed() || region.has_private_pages;
}

std::span<const MemoryRegion> read_memory_regions(ScratchArena& arena, std::size_t max_regions) {
  char* text = arena.allocate_buffer(kSmapsTextCapacity);
  if (text == nullptr) {
    return {};
  }
  const std::string_view smaps(text,
                               read_proc_file("/proc/self/smaps", {text, kSmapsTextCapacity}));
  // The table is sized to the entries, not to the maximum: each entry is written once more.
  std::size_t entries = 0;
  MemoryRegion header;
  for (std::size_t start = 0, end = smaps.find('\n'); end != std::string_view::npos;
       start = end + 1, end = smaps.find('\n', start)) {
    entries += parse_memory_region(smaps.substr(start, end - start), header) ? 1 : 0;
  }
  const std::size_t count = entries < max_regions ? entries : max_regions;
  MemoryRegion* regions = arena.allocate<MemoryRegion>(count);
  if (regions == nullptr) {
    return {};
  }
  return {regions, parse_memory_regions(smaps, {regions, count})};
}

}  // namespace crash
