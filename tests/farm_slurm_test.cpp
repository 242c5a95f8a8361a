// A render farm of one machine: a real Slurm cluster (munge, slurmctld and slurmd, each in the
// foreground from a configuration written here) runs the planet example's frames as an array
// job through scripts/farm-submit, then loses a task half-way and finishes on a resubmission.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <ranges>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/host_temp_folder.h"
#include "tests/shell_command.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

const fs::path kSource = fs::path(__FILE__).parent_path().parent_path();
constexpr int kFrames = 24;

std::string read_file(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool eventually(const std::function<bool()>& condition, std::chrono::seconds patience) {
  const auto give_up = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > give_up) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  return true;
}

// The cluster of scripts/farm-local-cluster, started by the test (its daemons run in the
// foreground, children of the script) and stopped with it.
class one_node_cluster {
 public:
  explicit one_node_cluster(const fs::path& folder) : folder_(folder) {
    fs::create_directories(folder_);
    const std::string script = (kSource / "scripts/farm-local-cluster").string();
    const std::string folder_text = folder_.string();
    char* arguments[] = {const_cast<char*>(script.c_str()), const_cast<char*>(folder_text.c_str()),
                         nullptr};
    posix_spawn_file_actions_t output;
    posix_spawn_file_actions_init(&output);
    const std::string said = (folder_ / "said").string();
    posix_spawn_file_actions_addopen(&output, STDOUT_FILENO, said.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&output, STDOUT_FILENO, STDERR_FILENO);
    if (posix_spawn(&script_, script.c_str(), &output, nullptr, arguments, environ) != 0) {
      script_ = 0;
    }
    posix_spawn_file_actions_destroy(&output);
    const auto ready = [&] { return read_file(said).starts_with("ready"); };
    const auto settled = [&] { return ready() || waitpid(script_, nullptr, WNOHANG) != 0; };
    if (script_ == 0 || !eventually(settled, std::chrono::seconds(60)) || !ready()) {
      problem_ = read_file(said);
      return;
    }
    setenv("SLURM_CONF", (folder_ / "slurm.conf").c_str(), 1);
  }

  ~one_node_cluster() {
    if (problem_.empty()) {
      run_shell_command("scancel --user=$(id -un) 2>/dev/null");
      unsetenv("SLURM_CONF");
    }
    if (script_ != 0) {
      kill(script_, SIGTERM);
      waitpid(script_, nullptr, 0);
    }
  }

  // Why the cluster does not run; empty when it does.
  const std::string& problem() const { return problem_; }

  // Submits the planet example's frames at a quarter of its size into `out`; returns the job id.
  std::string submit(const fs::path& out) const {
    fs::create_directories(out);
    const ShellRun submitted = run_shell_command(
        (kSource / "scripts/farm-submit").string() + " " +
        (kSource / "examples/planet.json").string() + " " + (out / "planet.####.png").string() +
        " --frames 0-" + std::to_string(kFrames - 1) +
        " --chunks 4 --downsample 4 --renderer " LUNAFORM_RENDER_PATH);
    EXPECT_EQ(submitted.exit_code, 0) << submitted.output;
    return submitted.output.substr(0, submitted.output.find('\n'));
  }

  bool finishes(const std::string& job) const {
    return eventually([&] { return run_shell_command("squeue -h -j " + job).output.empty(); },
                      std::chrono::seconds(600));
  }

 private:
  fs::path folder_;
  pid_t script_ = 0;
  std::string problem_;
};

fs::path frame_file(const fs::path& folder, int frame) {
  const std::string digits = std::to_string(frame);
  return folder / ("planet." + std::string(4 - digits.size(), '0') + digits + ".png");
}

// The frames each of the job's task logs says it wrote, and those it found already there.
struct logged_frames {
  std::set<int> written, skipped;
};

logged_frames read_logs(const fs::path& out, const std::string& job) {
  logged_frames logged;
  for (const auto& entry : fs::directory_iterator(out / "lunaform-farm-logs")) {
    if (!entry.path().filename().string().starts_with(job + "_")) {
      continue;
    }
    std::ifstream log(entry.path());
    for (std::string line; std::getline(log, line);) {
      const auto frame_at = line.find("\"frame\":");
      if (frame_at == std::string::npos) {
        continue;
      }
      const int frame = std::stoi(line.substr(frame_at + 8));
      (line.find("\"written\"") != std::string::npos ? logged.written : logged.skipped)
          .insert(frame);
    }
  }
  return logged;
}

TEST(FarmSlurm, AnArrayJobRendersTheSequenceAndAResubmissionFinishesWhatACancelLeft) {
  const host_test::TempFolder folder;
  const one_node_cluster cluster(folder / "cluster");
  if (!cluster.problem().empty()) {
    GTEST_SKIP() << "Slurm cannot run here: " << cluster.problem();
  }

  // The same frames rendered by one process, the way they would be without a farm.
  fs::create_directories(folder / "alone");
  ASSERT_EQ(run_shell_command(std::string(LUNAFORM_RENDER_PATH " ") +
                              (kSource / "examples/planet.json").string() + " -o " +
                              (folder / "alone/planet.####.png").string() + " --frames 0-" +
                              std::to_string(kFrames - 1) + " --downsample 4 >/dev/null 2>&1")
                .exit_code,
            0);
  const auto same_as_alone = [&](const fs::path& out) {
    for (int frame = 0; frame < kFrames; ++frame) {
      const std::string farmed = read_file(frame_file(out, frame));
      EXPECT_FALSE(farmed.empty()) << "frame " << frame << " is missing";
      EXPECT_EQ(farmed, read_file(frame_file(folder / "alone", frame))) << "frame " << frame;
    }
  };

  // Four tasks share the 24 frames; every frame comes out as one process makes it.
  const fs::path whole = folder / "whole";
  const std::string job = cluster.submit(whole);
  ASSERT_TRUE(cluster.finishes(job));
  same_as_alone(whole);
  const auto frames = std::views::iota(0, kFrames);
  EXPECT_EQ(read_logs(whole, job).written, std::set<int>(frames.begin(), frames.end()));
  const std::string status = (kSource / "scripts/farm-status").string() + " ";
  EXPECT_EQ(run_shell_command(status + job + " >/dev/null").exit_code, 0);

  // Task 0 is cancelled once it has written a frame: it stops at once, leaving no part of a
  // frame, and the job's status names the frames it did not do.
  const fs::path cut = folder / "cut";
  const std::string cut_job = cluster.submit(cut);
  ASSERT_TRUE(eventually([&] { return !read_logs(cut, cut_job).written.empty(); },
                         std::chrono::seconds(300)));
  ASSERT_EQ(run_shell_command("scancel " + cut_job + "_0").exit_code, 0);
  ASSERT_TRUE(cluster.finishes(cut_job));
  std::set<int> missing;
  for (const int frame : frames) {
    if (!fs::exists(frame_file(cut, frame))) {
      missing.insert(frame);
    }
  }
  ASSERT_FALSE(missing.empty()) << "task 0 finished before the cancel reached it";
  for (const auto& entry : fs::directory_iterator(cut)) {
    EXPECT_EQ(entry.path().filename().string().find(".part-"), std::string::npos) << entry.path();
  }
  const ShellRun cut_status = run_shell_command(status + cut_job);
  EXPECT_EQ(cut_status.exit_code, 3) << cut_status.output;
  EXPECT_NE(cut_status.output.find(std::to_string(missing.size()) + " failed"), std::string::npos)
      << cut_status.output;

  // The same submission again renders only what is missing.
  const std::string again = cluster.submit(cut);
  ASSERT_TRUE(cluster.finishes(again));
  const logged_frames second = read_logs(cut, again);
  EXPECT_EQ(second.written, missing);
  EXPECT_EQ(second.written.size() + second.skipped.size(), static_cast<size_t>(kFrames));
  same_as_alone(cut);
  EXPECT_EQ(run_shell_command(status + again + " >/dev/null").exit_code, 0);
}

}  // namespace
