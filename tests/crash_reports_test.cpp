// Hardware faults in crash_fault_module, run in a child process: its output, the report files
// and gdb's reading of them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "host/effect_host.h"
#include "host/module.h"
#include "tests/crash_fault_commands.h"
#include "tests/host_temp_folder.h"
#include "tests/shell_command.h"

namespace {

using lunaform::host::EffectHost;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

// How a child process ended (exit code -1: killed by `signal`) and what it wrote to stderr.
struct Child {
  int pid = 0, exit_code = -1, signal = 0;
  std::string output;
};

// Runs the crash module in a forked child with its folders under `root` (HOME without
// Documents, the kernel cache kept), an 8 MiB stack and no core file; the child sends global
// setup, runs `then` and exits 0 (125 when it throws). SIGALRM ends a hang after two minutes.
Child run_module(const fs::path& root, const std::function<void(EffectHost&)>& then) {
  for (const char* folder : {"documents/Brightmoor", "temporary/Brightmoor", "home"}) {
    fs::create_directories(root / folder);
  }
  std::fflush(nullptr);
  Child child{fork()};
  if (child.pid == 0) {
    dup2(open((root / "stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    const rlimit no_core{0, 0}, stack{8 << 20, 8 << 20};
    setrlimit(RLIMIT_CORE, &no_core);
    setrlimit(RLIMIT_STACK, &stack);
    alarm(120);
    if (std::getenv("XDG_CACHE_HOME") == nullptr && std::getenv("HOME") != nullptr) {
      setenv("XDG_CACHE_HOME", (fs::path(std::getenv("HOME")) / ".cache").c_str(), 1);
    }
    setenv("XDG_DOCUMENTS_DIR", (root / "documents").c_str(), 1);
    setenv("HOME", (root / "home").c_str(), 1);
    setenv("TMPDIR", (root / "temporary").c_str(), 1);
    // Nothing may leave the child but through _exit, or it would go on with the test run.
    int code = 125;
    try {
      const auto module = lunaform::host::Module::load(fs::path(LUNAFORM_TEST_MODULE_DIR) /
                                                       "crash_fault_module.so");
      EffectHost host(module.entry_point());
      code = host.global_setup() == PF_Err_NONE ? (then(host), 0) : 2;
    } catch (const std::exception& error) {
      std::fprintf(stderr, "child failed: %s\n", error.what());
    }
    std::fflush(nullptr);
    _exit(code);
  }
  int status = 0;
  waitpid(child.pid, &status, 0);
  child.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  child.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  std::ifstream output(root / "stderr");
  child.output.assign(std::istreambuf_iterator<char>(output), {});
  return child;
}

// The paths that the error popups on standard error (no display) name, in order.
std::vector<std::string> popup_paths(const std::string& output) {
  const std::string start =
      "Lunaform Exception: Please compress the following file and contact support "
      "(support@brightmoor.invalid):\n\n";
  std::vector<std::string> paths;
  for (std::size_t at = output.find(start); at != std::string::npos;
       at = output.find(start, at + 1)) {
    paths.push_back(
        output.substr(at + start.size(), output.find('\n', at + start.size()) - at - start.size()));
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

// gdb's backtrace of `dump`, reading only the module's symbols (the GPU stacks' take a minute).
std::string gdb_backtrace(const std::string& dump) {
  return run_shell_command(
             "timeout 300 gdb -nx -batch -iex 'set auto-solib-add off' "
             "-ex 'sharedlibrary crash_fault_module' -ex bt '" +
             fs::read_symlink("/proc/self/exe").string() + "' '" + dump + "' 2>&1")
      .output;
}

TEST(E2eCrashReports, FaultsInCommandsAndRenderJobsBecomeOwnReadableDumpsAndErrorsEachTime) {
  host_test::TempFolder root;
  const fs::path logs = "Brightmoor/Error Logs";
  const std::time_t before = std::time(nullptr);
  const Child child = run_module(root.path(), [&](EffectHost& host) {
    std::string results = "results";
    results += " " + std::to_string(host.send(crash_fault::kFaultInCommand));
    results += " " + std::to_string(host.send(crash_fault::kFaultInRenderJob));
    // Without documents the report goes to the temporary folder; each later fault proves the
    // signal was left unblocked.
    setenv("XDG_DOCUMENTS_DIR", (root / "none").c_str(), 1);
    results += " " + std::to_string(host.send(crash_fault::kStackOverflowInCommand));
    // Without the maker's folder none is made (only one level is), but the path is named.
    fs::create_directories(root / "bare");
    setenv("XDG_DOCUMENTS_DIR", (root / "bare").c_str(), 1);
    results += " " + std::to_string(host.send(crash_fault::kFaultInCommand));
    std::fprintf(stderr, "%s\n", results.c_str());
  });
  const std::time_t after = std::time(nullptr);
  ASSERT_EQ(child.exit_code, 0) << "killed by signal " << child.signal << "\n" << child.output;
  EXPECT_THAT(child.output, HasSubstr("results 512 512 512 512\n"));
  const std::vector<std::string> paths = popup_paths(child.output);
  ASSERT_EQ(paths.size(), 4u) << child.output;
  const fs::path folders[] = {root / "documents" / logs, root / "documents" / logs,
                              root / "temporary" / logs, root / "bare" / logs};
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(paths[i]);
    std::smatch name;
    const std::string file = fs::path(paths[i]).filename().string();
    ASSERT_EQ(fs::path(paths[i]).parent_path(), folders[i]);
    ASSERT_TRUE(std::regex_match(
        file, name,
        std::regex(R"(Lunaform_v1\.0\.66-([0-9]{8}-[0-9]{6})-([0-9]+)-([0-9]+)\.dmp)")));
    EXPECT_TRUE(name[1].str() >= stamp(before) && name[1].str() <= stamp(after)) << name[1];
    EXPECT_EQ(std::stol(name[2]), child.pid);
    // The host's thread is the child's only thread but the render thread: its id is the pid.
    EXPECT_EQ(std::stol(name[3]) == child.pid, i != 1) << "thread " << name[3];
    // The dump holds the process's memory: only its owner may read it.
    EXPECT_EQ(fs::exists(paths[i]) ? fs::status(paths[i]).permissions() : fs::perms::none,
              i == 3 ? fs::perms::none : fs::perms::owner_read | fs::perms::owner_write);
  }
  EXPECT_FALSE(fs::exists(root / "bare" / "Brightmoor"));

  // gdb follows the dump from the faulting function (#0) through the module into the host.
  const std::string command = gdb_backtrace(paths[0]);
  EXPECT_THAT(command, HasSubstr("Program terminated with signal SIGSEGV"));
  EXPECT_THAT(command,
              ContainsRegex(std::string("#0 [^\n]*") + crash_fault::kCommandFaultFunction));
  EXPECT_THAT(command, HasSubstr(crash_fault::kCommandFunction)) << command;
  EXPECT_THAT(command, HasSubstr("lunaform::host::EffectHost::")) << command;
  const std::string render_job = gdb_backtrace(paths[1]);
  EXPECT_THAT(render_job,
              ContainsRegex(std::string("#0 [^\n]*") + crash_fault::kRenderJobFaultFunction));
  EXPECT_THAT(render_job, HasSubstr(crash_fault::kRenderThreadFunction)) << render_job;
}

TEST(E2eCrashReports, FaultsElsewhereAndSentSignalsKeepTheDefaultHandling) {
  // A fault on a host thread that never ran global setup, and a SIGSEGV sent with kill to the
  // thread that did: neither is the module's fault to report. The first kill is taken by the
  // handler that the driver's LLVM puts over ours: it gives ours back and, as the signal came
  // from its own process, lets it go; the second reaches ours.
  const std::function<void(EffectHost&)> cases[] = {
      [](EffectHost& host) {
        std::thread([&host] { host.send(crash_fault::kFaultInCommand); }).join();
      },
      [](EffectHost&) {
        kill(getpid(), SIGSEGV);
        kill(getpid(), SIGSEGV);
      }};
  for (const auto& then : cases) {
    SCOPED_TRACE(&then == cases ? "fault on another thread" : "sent signal");
    host_test::TempFolder root;
    const Child child = run_module(root.path(), then);
#if defined(__SANITIZE_ADDRESS__)
    // AddressSanitizer installed its fault handler before the module did: the signal goes there.
    EXPECT_GT(child.exit_code, 0) << child.output;
    EXPECT_THAT(child.output, HasSubstr("AddressSanitizer: SEGV")) << child.output;
#else
    EXPECT_EQ(child.signal, SIGSEGV) << "exit code " << child.exit_code << "\n" << child.output;
#endif
    EXPECT_THAT(popup_paths(child.output), IsEmpty());
    for (const char* folder : {"documents", "temporary"}) {
      EXPECT_TRUE(fs::is_empty(root / folder / "Brightmoor")) << "a report in " << folder;
    }
  }
}

}  // namespace
