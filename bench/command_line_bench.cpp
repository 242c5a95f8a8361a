// What a lunaform-render user waits for, as a whole process from start to exit, and the
// process's peak resident memory: the default still, a frame of the planet example, and large
// frames (a sphere filling most of the frame) beside an untiled 4096 x 4096 one, per pixel.
// Each iteration starts the renderer afresh, so library loading and global setup count.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;

struct ProcessRun {
  double seconds = 0.0;
  double peak_mb = 0.0;
  bool succeeded = false;
};

// Runs lunaform-render with `arguments`, its output thrown away.
ProcessRun run_renderer(const std::vector<std::string>& arguments) {
  std::vector<char*> argv{const_cast<char*>(LUNAFORM_RENDER_PATH)};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  ProcessRun run;
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  if (posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) == 0) {
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) == child) {
      run.succeeded = WIFEXITED(status) && WEXITSTATUS(status) == 0;
      run.peak_mb = static_cast<double>(usage.ru_maxrss) / 1024.0;
    }
  }
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  posix_spawn_file_actions_destroy(&actions);
  return run;
}

fs::path scratch_folder() {
  const fs::path folder = fs::temp_directory_path() / "lunaform_bench";
  fs::create_directories(folder);
  return folder;
}

// A square composition of `side` pixels whose sphere fills 90 % of its height.
fs::path square_scene(int side) {
  const fs::path file = scratch_folder() / ("square-" + std::to_string(side) + ".json");
  std::ofstream(file) << R"({"composition": {"width": )" << side << R"(, "height": )" << side
                      << R"(}, "layers": [{"name": "Sphere", "type": "effect", "params": )"
                      << R"({"Radius": )" << side * 0.45 << "}}]}\n";
  return file;
}

// Times whole runs; the counters give the mean seconds and the largest peak.
void time_runs(benchmark::State& state, const std::vector<std::string>& arguments,
               double pixels = 0.0) {
  double seconds = 0.0;
  double peak_mb = 0.0;
  for (auto _ : state) {
    const ProcessRun run = run_renderer(arguments);
    if (!run.succeeded) {
      state.SkipWithError("lunaform-render failed");
      return;
    }
    seconds += run.seconds;
    peak_mb = std::max(peak_mb, run.peak_mb);
  }
  const double runs = static_cast<double>(state.iterations());
  state.counters["seconds"] = seconds / runs;
  state.counters["peak_mb"] = peak_mb;
  if (pixels > 0.0) {
    state.counters["ns_per_pixel"] = seconds / runs / pixels * 1e9;
  }
}

void BM_ProcessStill(benchmark::State& state) {
  time_runs(state, {"-o", (scratch_folder() / "still.png").string()});
}
BENCHMARK(BM_ProcessStill)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

// Frames 0-5 less frame 0 alone: the cost of one more frame of the planet, textures cached.
void BM_ProcessPlanetFrame(benchmark::State& state) {
  const std::string scene = fs::path(LUNAFORM_SOURCE_DIR) / "examples" / "planet.json";
  const std::string output = (scratch_folder() / "planet.####.png").string();
  double per_frame = 0.0;
  for (auto _ : state) {
    const ProcessRun one = run_renderer({scene, "-o", output, "--frames", "0"});
    const ProcessRun six = run_renderer({scene, "-o", output, "--frames", "0-5"});
    if (!one.succeeded || !six.succeeded) {
      state.SkipWithError("lunaform-render failed");
      return;
    }
    per_frame += (six.seconds - one.seconds) / 5.0;
  }
  state.counters["seconds_per_frame"] = per_frame / static_cast<double>(state.iterations());
}
BENCHMARK(BM_ProcessPlanetFrame)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(2);

// Argument: the frame's side; 4096 renders in one piece, the larger ones in tiles.
void BM_ProcessLargeFrame(benchmark::State& state) {
  const auto side = static_cast<int>(state.range(0));
  time_runs(state, {square_scene(side).string(), "-o", (scratch_folder() / "large.png").string()},
            static_cast<double>(side) * side);
}
BENCHMARK(BM_ProcessLargeFrame)
    ->Arg(4096)
    ->Arg(8000)
    ->Unit(benchmark::kSecond)
    ->UseRealTime()
    ->Iterations(1);

}  // namespace
