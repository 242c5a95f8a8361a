// Hardware faults inside the module, end to end: a test module built from the effect's own
// entry logic, global setup and render thread (tests/modules/crash_fault_module.cpp) faults on
// purpose in a child process; the child's output, the report files and gdb's reading of them
// show what the user and support would get.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/effect_host.h"
#include "host/module.h"
#include "tests/crash_child_process.h"
#include "tests/crash_fault_commands.h"
#include "tests/host_temp_folder.h"
#include "tests/shell_command.h"

namespace {

using crash_test::ChildOutcome;
using crash_test::run_in_child;
using lunaform::host::EffectHost;
using lunaform::host::Module;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

const fs::path kCrashModule = fs::path(LUNAFORM_TEST_MODULE_DIR) / "crash_fault_module.so";

// The popup's text on standard error (no display): title, then the message up to the path.
constexpr std::string_view kPopupStart =
    "Lunaform Exception: Please compress the following file and contact support "
    "(support@brightmoor.invalid):\n\n";

// The folders a child's reports may go to, all inside one temporary folder: documents and the
// temporary folder, each with the maker's folder in it unless a test removes it, and a home
// without a Documents folder.
struct ReportFolders {
  host_test::TempFolder root;
  fs::path documents = root / "documents";
  fs::path home = root / "home";
  fs::path temporary = root / "temporary";

  ReportFolders() {
    fs::create_directories(documents / "Brightmoor");
    fs::create_directories(temporary / "Brightmoor");
    fs::create_directories(home);
  }

  // Every file in the documents and temporary folders.
  std::vector<fs::path> reports() const {
    std::vector<fs::path> found;
    for (const fs::path& folder : {documents, temporary}) {
      for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
          found.push_back(entry.path());
        }
      }
    }
    return found;
  }
};

// In the child: points the documents lookup at `documents` and HOME and TMPDIR at the given
// folders, loads the module, sends global setup on this thread, then runs
// `then` and prints its results as "result N" lines.
int drive_module(const ReportFolders& folders, const fs::path& documents,
                 const std::function<std::vector<PF_Err>(EffectHost&)>& then) {
  // The OpenCL runtime and the GL driver keep their caches under HOME unless told otherwise:
  // they stay where they were, so kernels are not built anew in every child.
  if (std::getenv("XDG_CACHE_HOME") == nullptr && std::getenv("HOME") != nullptr) {
    setenv("XDG_CACHE_HOME", (fs::path(std::getenv("HOME")) / ".cache").c_str(), 1);
  }
  setenv("XDG_DOCUMENTS_DIR", documents.c_str(), 1);
  setenv("HOME", folders.home.c_str(), 1);
  setenv("TMPDIR", folders.temporary.c_str(), 1);
  const Module module = Module::load(kCrashModule);
  EffectHost host(module.entry_point());
  if (host.global_setup() != PF_Err_NONE) {
    return 2;
  }
  for (const PF_Err result : then(host)) {
    std::fprintf(stderr, "\nresult %d\n", result);
  }
  return 0;
}

std::vector<PF_Err> send_commands(EffectHost& host, std::vector<PF_Cmd> commands) {
  std::vector<PF_Err> results;
  for (const PF_Cmd command : commands) {
    results.push_back(host.send(command));
  }
  return results;
}

// The "result N" lines the child printed.
std::vector<int> command_results(const std::string& output) {
  std::vector<int> results;
  const std::regex line("\nresult (-?[0-9]+)\n");
  for (auto it = std::sregex_iterator(output.begin(), output.end(), line);
       it != std::sregex_iterator(); ++it) {
    results.push_back(std::stoi((*it)[1]));
  }
  return results;
}

// The paths that the popups on standard error name, in order.
std::vector<std::string> popup_paths(const std::string& output) {
  std::vector<std::string> paths;
  for (std::size_t at = output.find(kPopupStart); at != std::string::npos;
       at = output.find(kPopupStart, at + 1)) {
    const std::size_t start = at + kPopupStart.size();
    paths.push_back(output.substr(start, output.find('\n', start) - start));
  }
  return paths;
}

// The date and time as a report name carries it, from the C library's own formatting.
std::string stamp(std::time_t when) {
  std::tm local{};
  localtime_r(&when, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &local);
  return text;
}

// Checks that `path` names a report file of process `pid` written between `before` and
// `after` in `folder`, and returns the thread id it names.
long check_report_name(const fs::path& path, const fs::path& folder, int pid, std::time_t before,
                       std::time_t after) {
  EXPECT_EQ(path.parent_path(), folder);
  std::smatch parts;
  const std::string name = path.filename().string();
  if (!std::regex_match(
          name, parts,
          std::regex(R"(Lunaform_v1\.0\.66-([0-9]{8}-[0-9]{6})-([0-9]+)-([0-9]+)\.dmp)"))) {
    ADD_FAILURE() << "unexpected report name " << name;
    return 0;
  }
  EXPECT_GE(parts[1].str(), stamp(before));
  EXPECT_LE(parts[1].str(), stamp(after));
  EXPECT_EQ(std::stol(parts[2]), pid);
  return std::stol(parts[3]);
}

// What gdb prints for a backtrace of `dump`, with this test program as the host the child
// ran. Of the shared libraries gdb finds in the dump only the module's symbols are read: that
// keeps gdb from spending most of a minute on the OpenGL and OpenCL stacks, and still fails
// when the dump does not lead gdb to the module.
std::string gdb_backtrace(const fs::path& dump) {
  const fs::path program = fs::read_symlink("/proc/self/exe");
  return run_shell_command(
             "timeout 300 gdb -nx -batch -iex 'set auto-solib-add off' "
             "-ex 'sharedlibrary crash_fault_module' -ex bt '" +
             program.string() + "' '" + dump.string() + "' 2>&1")
      .output;
}

// The backtrace's first frame ("#0  ..."); gdb shows it once on loading the dump, before the
// module's symbols, and again in the backtrace: the last one counts.
std::string first_frame(const std::string& backtrace) {
  const std::size_t start = backtrace.rfind("\n#0 ");
  return start == std::string::npos
             ? std::string()
             : backtrace.substr(start + 1, backtrace.find('\n', start + 1) - start - 1);
}

TEST(E2eCrashReports, AFaultInACommandBecomesADumpAnErrorMessageAnd512EachTime) {
  ReportFolders folders;
  const std::time_t before = std::time(nullptr);
  const ChildOutcome child = run_in_child([&] {
    return drive_module(folders, folders.documents, [](EffectHost& host) {
      // The second fault proves the first left the fault signal unblocked.
      return send_commands(host, {crash_fault::kFaultInCommand, crash_fault::kFaultInCommand});
    });
  });
  const std::time_t after = std::time(nullptr);

  ASSERT_TRUE(child.exited) << "killed by signal " << child.signal << "\n" << child.error_output;
  ASSERT_EQ(child.exit_code, 0) << child.error_output;
  EXPECT_EQ(command_results(child.error_output), (std::vector<int>{512, 512}));
  const std::vector<std::string> paths = popup_paths(child.error_output);
  ASSERT_EQ(paths.size(), 2u) << child.error_output;
  const fs::path folder = folders.documents / "Brightmoor" / "Error Logs";
  for (const std::string& path : paths) {
    EXPECT_TRUE(fs::is_regular_file(path)) << path;
    // The child's only thread ran the command: its thread id is the process id.
    EXPECT_EQ(check_report_name(path, folder, child.pid, before, after), child.pid);
  }

  const std::string backtrace = gdb_backtrace(paths[0]);
  EXPECT_THAT(backtrace, HasSubstr("Program terminated with signal SIGSEGV"));
  EXPECT_THAT(first_frame(backtrace), HasSubstr(crash_fault::kCommandFaultFunction)) << backtrace;
  // Frames beyond the first come from the dumped stack, through the module into the host
  // program, both found where the process had loaded them.
  EXPECT_THAT(backtrace, HasSubstr("run_plugin_entry")) << backtrace;
  EXPECT_THAT(backtrace, HasSubstr("lunaform::host::EffectHost::")) << backtrace;
}

TEST(E2eCrashReports, AStackOverflowIsReportedFromTheAlternateStackAndTheThreadGoesOn) {
  ReportFolders folders;
  const ChildOutcome child = run_in_child([&] {
    // The main thread's stack grows up to this limit; the overflow happens there.
    const rlimit stack{8 << 20, 8 << 20};
    setrlimit(RLIMIT_STACK, &stack);
    return drive_module(folders, folders.documents, [](EffectHost& host) {
      return send_commands(host,
                           {crash_fault::kStackOverflowInCommand, crash_fault::kFaultInCommand});
    });
  });

  ASSERT_TRUE(child.exited) << "killed by signal " << child.signal << "\n" << child.error_output;
  EXPECT_EQ(command_results(child.error_output), (std::vector<int>{512, 512}));
  const std::vector<std::string> paths = popup_paths(child.error_output);
  ASSERT_EQ(paths.size(), 2u) << child.error_output;
  for (const std::string& path : paths) {
    EXPECT_TRUE(fs::is_regular_file(path)) << path;
  }
}

TEST(E2eCrashReports, AFaultInARenderJobReachesTheWaitingCommandAsItsError) {
  ReportFolders folders;
  const std::time_t before = std::time(nullptr);
  const ChildOutcome child = run_in_child([&] {
    return drive_module(folders, folders.documents, [](EffectHost& host) {
      return send_commands(host, {crash_fault::kFaultInRenderJob});
    });
  });
  const std::time_t after = std::time(nullptr);

  ASSERT_TRUE(child.exited) << "killed by signal " << child.signal << "\n" << child.error_output;
  ASSERT_EQ(child.exit_code, 0) << child.error_output;
  EXPECT_EQ(command_results(child.error_output), (std::vector<int>{512}));
  const std::vector<std::string> paths = popup_paths(child.error_output);
  ASSERT_EQ(paths.size(), 1u) << child.error_output;
  EXPECT_TRUE(fs::is_regular_file(paths[0]));
  const long thread = check_report_name(paths[0], folders.documents / "Brightmoor" / "Error Logs",
                                        child.pid, before, after);
  EXPECT_NE(thread, child.pid) << "the report names the render thread, not the host's";

  const std::string backtrace = gdb_backtrace(paths[0]);
  EXPECT_THAT(first_frame(backtrace), HasSubstr(crash_fault::kRenderJobFaultFunction)) << backtrace;
  EXPECT_THAT(backtrace, HasSubstr("serve_jobs")) << backtrace;
}

TEST(E2eCrashReports, AFaultOnAHostThreadThatNeverRanGlobalSetupKeepsTheDefaultHandling) {
  ReportFolders folders;
  const ChildOutcome child = run_in_child([&] {
    return drive_module(folders, folders.documents, [](EffectHost& host) {
      std::thread([&host] { host.send(crash_fault::kFaultInCommand); }).join();
      return std::vector<PF_Err>{};
    });
  });

#if defined(__SANITIZE_ADDRESS__)
  // AddressSanitizer installed its fault handler before the module did: the fault goes there.
  EXPECT_TRUE(child.exited && child.exit_code != 0) << child.error_output;
  EXPECT_THAT(child.error_output, HasSubstr("AddressSanitizer: SEGV")) << child.error_output;
#else
  EXPECT_FALSE(child.exited) << child.error_output;
  EXPECT_EQ(child.signal, SIGSEGV) << child.error_output;
#endif
  EXPECT_THAT(popup_paths(child.error_output), IsEmpty());
  EXPECT_THAT(folders.reports(), IsEmpty());
}

TEST(E2eCrashReports, WithoutDocumentsTheReportGoesToTheTemporaryFolder) {
  ReportFolders folders;
  const ChildOutcome child = run_in_child([&] {
    return drive_module(folders, folders.root / "no_documents", [](EffectHost& host) {
      return send_commands(host, {crash_fault::kFaultInCommand});
    });
  });

  ASSERT_TRUE(child.exited) << child.error_output;
  EXPECT_EQ(command_results(child.error_output), (std::vector<int>{512}));
  const std::vector<std::string> paths = popup_paths(child.error_output);
  ASSERT_EQ(paths.size(), 1u) << child.error_output;
  EXPECT_EQ(fs::path(paths[0]).parent_path(), folders.temporary / "Brightmoor" / "Error Logs");
  EXPECT_TRUE(fs::is_regular_file(paths[0]));
}

TEST(E2eCrashReports, WithoutTheMakersFolderNoReportIsWrittenButItsPathIsStillNamed) {
  ReportFolders folders;
  fs::remove(folders.documents / "Brightmoor");
  const ChildOutcome child = run_in_child([&] {
    return drive_module(folders, folders.documents, [](EffectHost& host) {
      return send_commands(host, {crash_fault::kFaultInCommand});
    });
  });

  ASSERT_TRUE(child.exited) << child.error_output;
  EXPECT_EQ(command_results(child.error_output), (std::vector<int>{512}));
  const std::vector<std::string> paths = popup_paths(child.error_output);
  ASSERT_EQ(paths.size(), 1u) << child.error_output;
  EXPECT_THAT(paths[0], StartsWith((folders.documents / "Brightmoor" / "Error Logs/").string()));
  EXPECT_FALSE(fs::exists(folders.documents / "Brightmoor")) << "only one folder level is made";
  EXPECT_THAT(folders.reports(), IsEmpty());
}

}  // namespace
