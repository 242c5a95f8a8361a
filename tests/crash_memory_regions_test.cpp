#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "crash/memory_regions.h"

namespace {

// What one entry of the sample below must parse to.
struct ExpectedRegion {
  std::uintptr_t start, end;
  std::uint64_t offset;
  const char* permissions;  // rwxs, '-' where not
  const char* path;
  bool dumped;
};

std::string permissions_of(const crash::MemoryRegion& region) {
  return {region.readable ? 'r' : '-', region.writable ? 'w' : '-', region.executable ? 'x' : '-',
          region.shared ? 's' : '-'};
}

// Entries as /proc/self/smaps writes them, with the detail lines that matter and some that
// do not.
constexpr char kSmaps[] =
    // Program headers and read-only data, untouched: the file has them.
    "55d0c1a00000-55d0c1a02000 r--p 00000000 08:01 1234567                    /usr/bin/cat\n"
    "Size:                  8 kB\n"
    "Anonymous:             0 kB\n"
    "Swap:                  0 kB\n"
    "VmFlags: rd mr mw me \n"
    // Relocated read-only data: written once, then protected.
    "55d0c1a02000-55d0c1a03000 r--p 00001000 08:01 1234567                    /usr/bin/cat\n"
    "Anonymous:             4 kB\n"
    "VmFlags: rd mr mw me ac \n"
    // A changed page that went to swap.
    "55d0c1a03000-55d0c1a04000 r--p 00002000 08:01 1234567                    /usr/bin/cat\n"
    "Anonymous:             0 kB\n"
    "Swap:                  4 kB\n"
    "VmFlags: rd mr mw me ac \n"
    "7f0000001000-7f0000003000 rw-p 0001f000 08:01 42 /usr/lib/libx.so\n"
    "VmFlags: rd wr mr mw me ac \n"
    // Anonymous code (a JIT compiler's), with no path after the inode.
    "7f0000004000-7f0000005000 r-xp 00000000 00:00 0 \n"
    "VmFlags: rd ex mr mw me \n"
    "7ffd1234a000-7ffd1236b000 rw-p 00000000 00:00 0                          [stack]\n"
    "VmFlags: rd wr mr mw me gd ac \n"
    "7ffd123f0000-7ffd123f4000 r--p 00000000 00:00 0                          [vvar]\n"
    "VmFlags: rd mr pf io de dd \n"
    "7f0000010000-7f0000011000 ---p 00000000 00:00 0\n"
    "VmFlags: mr mw me \n"
    // A path with spaces and the kernel's mark for a deleted file.
    "7f0000020000-7f0000021000 rw-s 00002000 00:05 77  /tmp/my lib.so (deleted)\n"
    "VmFlags: rd wr sh mr mw me ms \n"
    // Device memory, and memory marked not to be dumped.
    "7f0000030000-7f0000032000 rw-s 100000000 00:05 9 /dev/dri/card0\n"
    "VmFlags: rd wr sh mr mw me ms io pf \n"
    "7f0000040000-7f0000041000 rw-p 00000000 00:00 0\n"
    "VmFlags: rd wr mr mw me dd \n"
    // A reservation over 1 GiB (a sanitizer's shadow) and one of exactly 1 GiB.
    "600000000000-600040001000 rw-p 00000000 00:00 0\n"
    "VmFlags: rd wr mr mw me nr \n"
    "610000000000-610040000000 rw-p 00000000 00:00 0\n"
    // The last line is cut off: only whole lines count.
    "620000000000-620000001000 rw-p 00000000 00:00 0";

TEST(CrashMemoryRegions, SmapsEntriesGiveTheRegionsAndWhetherTheirBytesAreDumped) {
  const std::vector<ExpectedRegion> expected = {
      {0x55d0c1a00000, 0x55d0c1a02000, 0, "r---", "/usr/bin/cat", false},
      {0x55d0c1a02000, 0x55d0c1a03000, 0x1000, "r---", "/usr/bin/cat", true},
      {0x55d0c1a03000, 0x55d0c1a04000, 0x2000, "r---", "/usr/bin/cat", true},
      {0x7f0000001000, 0x7f0000003000, 0x1f000, "rw--", "/usr/lib/libx.so", true},
      {0x7f0000004000, 0x7f0000005000, 0, "r-x-", "", true},
      {0x7ffd1234a000, 0x7ffd1236b000, 0, "rw--", "[stack]", true},
      {0x7ffd123f0000, 0x7ffd123f4000, 0, "r---", "[vvar]", false},
      {0x7f0000010000, 0x7f0000011000, 0, "----", "", false},
      {0x7f0000020000, 0x7f0000021000, 0x2000, "rw-s", "/tmp/my lib.so (deleted)", true},
      {0x7f0000030000, 0x7f0000032000, 0x100000000, "rw-s", "/dev/dri/card0", false},
      {0x7f0000040000, 0x7f0000041000, 0, "rw--", "", false},
      {0x600000000000, 0x600040001000, 0, "rw--", "", false},
      {0x610000000000, 0x610040000000, 0, "rw--", "", true},
  };
  std::vector<crash::MemoryRegion> regions(expected.size() + 5);
  ASSERT_EQ(crash::parse_memory_regions(kSmaps, regions), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE(i);
    const crash::MemoryRegion& region = regions[i];
    EXPECT_EQ(region.start, expected[i].start);
    EXPECT_EQ(region.end, expected[i].end);
    EXPECT_EQ(region.file_offset, expected[i].offset);
    EXPECT_EQ(permissions_of(region), expected[i].permissions);
    EXPECT_EQ(region.path, expected[i].path);
    EXPECT_EQ(crash::region_contents_dumped(region), expected[i].dumped);
  }
}

TEST(CrashMemoryRegions, ATableTooSmallKeepsTheFirstEntries) {
  std::vector<crash::MemoryRegion> regions(2);
  ASSERT_EQ(crash::parse_memory_regions(kSmaps, regions), 2u);
  EXPECT_EQ(regions[1].start, 0x55d0c1a02000u);
  EXPECT_TRUE(regions[1].has_private_pages) << "its details still reach it";
}

TEST(CrashMemoryRegions, MalformedEntryLinesAreRefused) {
  for (const char* line : {"", "7f00-", "7f00-7f10", "7f00-7f10 rw-p", "7f10-7f00 rw-p 0 00:00 0",
                           "zz00-7f10 rw-p 0 00:00 0", "7f00-7f10 rw 0 00:00 0",
                           "7f00-7f10 rw-p 0 0000 0", "Size:                  8 kB"}) {
    crash::MemoryRegion region;
    EXPECT_FALSE(crash::parse_memory_region(line, region)) << line;
  }
}

}  // namespace
