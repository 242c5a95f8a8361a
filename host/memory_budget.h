#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace lunaform::host {

// Bytes this process can still take as far as the system says: the least of the memory
// available without swapping (MemAvailable; Linux overcommits, so a larger allocation may
// succeed and be killed when used), what the address-space limit leaves, and what the memory
// limits of this process's control group leave (cgroup_memory_headroom). Nothing when none of
// them can be read. Reads /proc and /sys/fs/cgroup; any thread.
std::optional<std::uint64_t> available_memory();

// What the cgroup v2 memory limits leave to this process: `self_cgroup` is the text of
// /proc/self/cgroup, whose "0::PATH" line names its group in the hierarchy mounted at `root`.
// Returns the least, over that group and the groups above it, of memory.max minus
// memory.current (0 when over); nothing when no group has a limit. A limit of "max", a file
// that is missing or cannot be read, and a text without a "0::" line (cgroup v1) mean no limit.
std::optional<std::uint64_t> cgroup_memory_headroom(const std::filesystem::path& root,
                                                    const std::string& self_cgroup);

}  // namespace lunaform::host
