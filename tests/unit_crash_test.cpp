// The crash handler's pieces that run without a fault: where reports go, what they are named,
// and which memory a dump holds.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "crash/crash_report_path.h"
#include "crash/memory_regions.h"
#include "platform/documents_folder.h"
#include "tests/host_temp_folder.h"

namespace {

namespace fs = std::filesystem;
using Setting = std::optional<std::string>;  // nullopt: the variable is not set

void set_variable(const char* name, const Setting& value) {
  value ? setenv(name, value->c_str(), 1) : unsetenv(name);
}

// Gives the process its own folder variables back when it goes.
struct SavedVariables {
  std::vector<std::pair<const char*, Setting>> saved;
  SavedVariables() {
    for (const char* name : {"XDG_DOCUMENTS_DIR", "HOME", "TMPDIR"}) {
      saved.emplace_back(name, std::getenv(name) ? Setting(std::getenv(name)) : std::nullopt);
    }
  }
  ~SavedVariables() {
    for (const auto& [name, value] : saved) {
      set_variable(name, value);
    }
  }
};

TEST(DocumentsFolder, DocumentsComeFromXdgThenHomeAndTemporaryFilesFromTmpdirThenTmp) {
  host_test::TempFolder root;
  const std::string home = root / "with", bare_home = root / "without", xdg = root / "xdg";
  const std::string missing = root / "missing", home_documents = home + "/Documents";
  fs::create_directories(home_documents);
  fs::create_directories(bare_home);
  fs::create_directories(xdg);
  struct Case {
    const char* what;
    Setting xdg_documents, home, tmpdir;
    Setting documents;  // nullopt: none found
    std::string temporary;
  };
  const std::vector<Case> cases = {
      {"XDG folder first", xdg, home, xdg, xdg, xdg},
      {"XDG folder missing", missing, home, missing, home_documents, "/tmp"},
      {"XDG empty", "", home, std::nullopt, home_documents, "/tmp"},
      {"no Documents in home", std::nullopt, bare_home, "", std::nullopt, "/tmp"},
      {"no home", std::nullopt, std::nullopt, std::nullopt, std::nullopt, "/tmp"},
      {"a file is no folder", root.write("file", "x").string(), std::nullopt, std::nullopt,
       std::nullopt, "/tmp"},
  };
  const SavedVariables saved;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    set_variable("XDG_DOCUMENTS_DIR", c.xdg_documents);
    set_variable("HOME", c.home);
    set_variable("TMPDIR", c.tmpdir);
    char folder[4096];
    EXPECT_EQ(hxsdk::documents_folder(folder) ? Setting(folder) : std::nullopt, c.documents);
    ASSERT_TRUE(hxsdk::temporary_folder(folder));
    EXPECT_EQ(std::string(folder), c.temporary);
  }
  // A path needs room for its terminating NUL too.
  set_variable("XDG_DOCUMENTS_DIR", xdg);
  std::vector<char> exact(xdg.size() + 1, 'x'), short_by_one(xdg.size());
  EXPECT_TRUE(hxsdk::documents_folder(exact));
  EXPECT_EQ(std::string(exact.data()), xdg);
  EXPECT_FALSE(hxsdk::documents_folder(short_by_one));
}

// The report name of thread `thread` of process `process` at local time `when`.
std::string report_name(const char* when, long process, long thread) {
  std::tm time{};
  EXPECT_NE(strptime(when, "%Y-%m-%d %H:%M:%S", &time), nullptr) << when;
  crash::PathText path;
  crash::append_dump_file_name(path, time, process, thread);
  return std::string(path.view());
}

TEST(CrashReportPath, ReportsGoToTheMakersErrorLogsNamedByTagLocalTimeProcessAndThread) {
  EXPECT_EQ(report_name("2024-01-31 23:59:59", 4321, 8765),
            "Lunaform_v1.0.66-20240131-235959-4321-8765.dmp");
  // Single digits are padded to two, the year to four; ids are not padded.
  EXPECT_EQ(report_name("801-02-03 04:05:06", 7, 4194304),
            "Lunaform_v1.0.66-08010203-040506-7-4194304.dmp");
  for (const auto& [base, folder] : std::vector<std::pair<std::string, std::string>>{
           {"/home/ada/Documents", "/home/ada/Documents/Brightmoor/Error Logs"},
           {"/tmp/", "/tmp/Brightmoor/Error Logs"},
           {"/", "/Brightmoor/Error Logs"}}) {
    crash::PathText path;
    crash::append_report_folder(path, base);
    EXPECT_EQ(path.view(), folder);
    EXPECT_FALSE(path.truncated());
  }
  // A path too long for the system is cut at the capacity and marked so.
  const std::string base = "/" + std::string(crash::kPathCapacity - 10, 'a');
  crash::PathText path;
  crash::append_report_folder(path, base);
  EXPECT_TRUE(path.truncated());
  EXPECT_EQ(path.view(), (base + "/Brightmoor/Error Logs").substr(0, crash::kPathCapacity));
}

// Entries as /proc/self/smaps writes them: a program's untouched headers, relocated data and a
// page in swap; a library's data; anonymous JIT code; the stack and kernel pages; a deleted file
// with spaces; device and do-not-dump memory; reservations over and of exactly 1 GiB (a
// sanitizer's shadow); a last line cut off.
constexpr char kSmaps[] =
    "55d0c1a00000-55d0c1a02000 r--p 00000000 08:01 1234567                    /usr/bin/cat\n"
    "Size:                  8 kB\n"
    "Anonymous:             0 kB\n"
    "Swap:                  0 kB\n"
    "VmFlags: rd mr mw me \n"
    "55d0c1a02000-55d0c1a03000 r--p 00001000 08:01 1234567                    /usr/bin/cat\n"
    "Anonymous:             4 kB\n"
    "VmFlags: rd mr mw me ac \n"
    "55d0c1a03000-55d0c1a04000 r--p 00002000 08:01 1234567                    /usr/bin/cat\n"
    "Anonymous:             0 kB\n"
    "Swap:                  4 kB\n"
    "VmFlags: rd mr mw me ac \n"
    "7f0000001000-7f0000003000 rw-p 0001f000 08:01 42 /usr/lib/libx.so\n"
    "VmFlags: rd wr mr mw me ac \n"
    "7f0000004000-7f0000005000 r-xp 00000000 00:00 0 \n"
    "VmFlags: rd ex mr mw me \n"
    "7ffd1234a000-7ffd1236b000 rw-p 00000000 00:00 0                          [stack]\n"
    "VmFlags: rd wr mr mw me gd ac \n"
    "7ffd123f0000-7ffd123f4000 r--p 00000000 00:00 0                          [vvar]\n"
    "VmFlags: rd mr pf io de dd \n"
    "7f0000010000-7f0000011000 ---p 00000000 00:00 0\n"
    "VmFlags: mr mw me \n"
    "7f0000020000-7f0000021000 rw-s 00002000 00:05 77  /tmp/my lib.so (deleted)\n"
    "VmFlags: rd wr sh mr mw me ms \n"
    "7f0000030000-7f0000032000 rw-s 100000000 00:05 9 /dev/dri/card0\n"
    "VmFlags: rd wr sh mr mw me ms io pf \n"
    "7f0000040000-7f0000041000 rw-p 00000000 00:00 0\n"
    "VmFlags: rd wr mr mw me dd \n"
    "600000000000-600040001000 rw-p 00000000 00:00 0\n"
    "VmFlags: rd wr mr mw me nr \n"
    "610000000000-610040000000 rw-p 00000000 00:00 0\n"
    "620000000000-620000001000 rw-p 00000000 00:00 0";

TEST(CrashMemoryRegions, SmapsEntriesGiveTheRegionsAndWhetherTheirBytesAreDumped) {
  // Start, end, file offset, rwxs ('-' where not), path, and "dumped" when the bytes go in.
  const std::vector<std::string> expected = {
      "55d0c1a00000-55d0c1a02000 0 r--- /usr/bin/cat",
      "55d0c1a02000-55d0c1a03000 1000 r--- /usr/bin/cat dumped",
      "55d0c1a03000-55d0c1a04000 2000 r--- /usr/bin/cat dumped",
      "7f0000001000-7f0000003000 1f000 rw-- /usr/lib/libx.so dumped",
      "7f0000004000-7f0000005000 0 r-x-  dumped",
      "7ffd1234a000-7ffd1236b000 0 rw-- [stack] dumped",
      "7ffd123f0000-7ffd123f4000 0 r--- [vvar]",
      "7f0000010000-7f0000011000 0 ---- ",
      "7f0000020000-7f0000021000 2000 rw-s /tmp/my lib.so (deleted) dumped",
      "7f0000030000-7f0000032000 100000000 rw-s /dev/dri/card0",
      "7f0000040000-7f0000041000 0 rw-- ",
      "600000000000-600040001000 0 rw-- ",
      "610000000000-610040000000 0 rw--  dumped"};
  std::vector<crash::MemoryRegion> regions(expected.size() + 5);
  ASSERT_EQ(crash::parse_memory_regions(kSmaps, regions), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const crash::MemoryRegion& r = regions[i];
    char text[160];
    std::snprintf(text, sizeof text, "%lx-%lx %lx %c%c%c%c %.*s%s", r.start, r.end,
                  static_cast<unsigned long>(r.file_offset), r.readable ? 'r' : '-',
                  r.writable ? 'w' : '-', r.executable ? 'x' : '-', r.shared ? 's' : '-',
                  static_cast<int>(r.path.size()), r.path.data(),
                  crash::region_contents_dumped(r) ? " dumped" : "");
    EXPECT_EQ(text, expected[i]);
  }
  // A table too small keeps the first entries, their details included.
  std::vector<crash::MemoryRegion> two(2);
  ASSERT_EQ(crash::parse_memory_regions(kSmaps, two), 2u);
  EXPECT_EQ(two[1].start, 0x55d0c1a02000u);
  EXPECT_TRUE(two[1].has_private_pages);

  for (const char* line : {"", "7f00-", "7f00-7f10", "7f00-7f10 rw-p", "7f10-7f00 rw-p 0 00:00 0",
                           "zz00-7f10 rw-p 0 00:00 0", "7f00-7f10 rw 0 00:00 0",
                           "7f00-7f10 rw-p 0 0000 0", "Size:                  8 kB"}) {
    crash::MemoryRegion region;
    EXPECT_FALSE(crash::parse_memory_region(line, region)) << "malformed, yet taken: " << line;
  }
}

}  // namespace
