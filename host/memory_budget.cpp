#include "host/memory_budget.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace lunaform::host {
namespace {

// The smaller of two limits, either of which may be missing.
std::optional<std::uint64_t> least(std::optional<std::uint64_t> a, std::optional<std::uint64_t> b) {
  if (a && b) {
    return std::min(*a, *b);
  }
  return a ? a : b;
}

std::optional<std::uint64_t> read_number(const std::filesystem::path& file) {
  std::uint64_t value = 0;
  if (std::ifstream in(file); in >> value) {
    return value;
  }
  return std::nullopt;
}

std::optional<std::uint64_t> mem_available() {
  std::ifstream meminfo("/proc/meminfo");
  for (std::string line; std::getline(meminfo, line);) {
    std::istringstream fields(line);
    std::string key;
    std::uint64_t kib = 0;
    if (fields >> key >> kib && key == "MemAvailable:") {
      return kib * 1024;
    }
  }
  return std::nullopt;
}

std::optional<std::uint64_t> address_space_left() {
  rlimit limit{};
  std::uint64_t pages = 0;
  if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
      !(std::ifstream("/proc/self/statm") >> pages)) {
    return std::nullopt;
  }
  const std::uint64_t used = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  return limit.rlim_cur > used ? limit.rlim_cur - used : 0;
}

}  // namespace

std::optional<std::uint64_t> cgroup_memory_headroom(const std::filesystem::path& root,
                                                    const std::string& self_cgroup) {
  std::istringstream lines(self_cgroup);
  std::string group;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("0::")) {
      group = line.substr(3);
    }
  }
  if (group.empty()) {
    return std::nullopt;
  }
  std::optional<std::uint64_t> headroom;
  // A group's usage counts against every limit above it too.
  for (std::filesystem::path at = std::filesystem::path(group).relative_path();;
       at = at.parent_path()) {
    const std::optional<std::uint64_t> max = read_number(root / at / "memory.max");
    const std::optional<std::uint64_t> current = read_number(root / at / "memory.current");
    if (max && current) {
      headroom = least(headroom, *max > *current ? *max - *current : 0);
    }
    if (at.empty()) {
      return headroom;
    }
  }
}

std::optional<std::uint64_t> available_memory() {
  std::ifstream self("/proc/self/cgroup");
  const std::string groups{std::istreambuf_iterator<char>(self), {}};
  return least(least(mem_available(), address_space_left()),
               cgroup_memory_headroom("/sys/fs/cgroup", groups));
}

}  // namespace lunaform::host
