// lunaform-render: the command-line front end of the host library. It renders frames of a
// scene file (or of the built-in default composition) through an effect module to PNG or EXR
// files, reports what the host learns from a module (--info), checks scene files (--check),
// sends the about command (--about) and shows the effect's custom controls in a window or draws
// them into a PNG file (--controls).
#include <signal.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <chrono>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/command_result.h"
#include "host/controls_panel.h"
#include "host/controls_window.h"
#include "host/effect_host.h"
#include "host/frame_report.h"
#include "host/frame_writer.h"
#include "host/host_error.h"
#include "host/image_file_type.h"
#include "host/interruption.h"
#include "host/main_window.h"
#include "host/module.h"
#include "host/module_report.h"
#include "host/panel_pointer.h"
#include "host/pixel_world.h"
#include "host/render_frame.h"
#include "host/render_job.h"
#include "host/render_progress.h"
#include "host/scene_file.h"
#include "host/stderr_line_guard.h"
#include "host/tile_grid.h"

namespace {

using lunaform::host::ControlsPanel;
using lunaform::host::EffectHost;
using lunaform::host::MainWindow;
using lunaform::host::Module;
using lunaform::host::module_command;
using lunaform::host::require_success;
using lunaform::host::SceneFile;
using lunaform::host::StderrLineGuard;

constexpr const char* kProgram = "lunaform-render";

// The module that ships beside the executable.
std::filesystem::path default_module() {
  std::error_code error;
  const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path folder =
      error ? std::filesystem::path(".") : executable.parent_path();
  return folder / LUNAFORM_DEFAULT_MODULE;
}

void print_warnings(const EffectHost& host) {
  for (const std::string& problem : host.problems()) {
    std::cerr << kProgram << ": warning: " << problem << "\n";
  }
}

// Loads the module and takes it through the commands a host sends before it can render; the
// host's destructor sends the setdowns that an early failure skipped.
void print_module_info(const std::filesystem::path& file) {
  const Module module = Module::load(file);
  std::cout << "Module:        " << module.file().string() << "\n";
  lunaform::host::write_pipl_report(std::cout, module.pipl());

  EffectHost host(module.entry_point());
  {
    const StderrLineGuard banner;
    require_success(host.global_setup(), module_command("global setup", file));
  }
  lunaform::host::write_global_setup_report(std::cout, host.out_data());
  require_success(host.params_setup(), module_command("parameter setup", file));
  lunaform::host::write_param_table(std::cout, host.params());
  require_success(host.sequence_setup(), module_command("sequence setup", file));
  require_success(host.sequence_setdown(), module_command("sequence setdown", file));
  require_success(host.global_setdown(), module_command("global setdown", file));
  print_warnings(host);
}

// Reads a scene file and applies it to the module's own parameters, as a render would before its
// first frame: every problem of the file comes out as one line naming the file and the place.
void check_scene(const std::filesystem::path& scene_path, const std::filesystem::path& file) {
  const SceneFile scene = lunaform::host::as_input([&] { return SceneFile::load(scene_path); });
  for (const std::string& warning : scene.warnings()) {
    std::cerr << kProgram << ": warning: " << warning << "\n";
  }
  const Module module = Module::load(file);
  EffectHost host(module.entry_point());
  {
    const StderrLineGuard banner;
    require_success(host.global_setup(), module_command("global setup", file));
  }
  require_success(host.params_setup(), module_command("parameter setup", file));
  lunaform::host::Composition composition =
      lunaform::host::as_input([&] { return scene.composition_for(host.params()); });
  const std::string summary = std::to_string(composition.width) + " x " +
                              std::to_string(composition.height) + ", " +
                              std::to_string(composition.layers.size()) + " layers";
  host.set_composition(std::move(composition));
  std::cout << scene_path.string() << ": " << summary << ": the effect accepts the scene\n";
}

// Sends the about command. What the module shows is its own business: on a display a dialog
// owned by the host's main window (which stays hidden), without one its text on standard error.
void show_about(const std::filesystem::path& file) {
  const Module module = Module::load(file);
  std::unique_ptr<MainWindow> window;
  if (MainWindow::display_available()) {
    window = std::make_unique<MainWindow>(module.pipl().name, 1, 1);
  }
  EffectHost host(module.entry_point());
  host.set_main_window(window != nullptr ? window->native_handle() : nullptr);
  {
    const StderrLineGuard banner;
    require_success(host.global_setup(), module_command("global setup", file));
  }
  {
    const StderrLineGuard about_text;
    require_success(host.about(), module_command("the about command", file));
  }
  require_success(host.global_setdown(), module_command("global setdown", file));
  print_warnings(host);
}

// Takes the module through the commands a host sends before it shows an effect's controls.
void set_up_controls(EffectHost& host, const std::filesystem::path& file) {
  {
    const StderrLineGuard banner;
    require_success(host.global_setup(), module_command("global setup", file));
  }
  require_success(host.params_setup(), module_command("parameter setup", file));
  require_success(host.sequence_setup(), module_command("sequence setup", file));
}

void set_down_controls(EffectHost& host, const std::filesystem::path& file) {
  require_success(host.sequence_setdown(), module_command("sequence setdown", file));
  require_success(host.global_setdown(), module_command("global setdown", file));
  print_warnings(host);
}

// The effect's controls in a window of the host's, until the user closes it.
void show_controls(const std::filesystem::path& file) {
  if (!MainWindow::display_available()) {
    throw lunaform::host::HostError(
        "--controls shows a window and needs a display (DISPLAY is not set); "
        "--controls OUT.png draws the panel into a file instead");
  }
  const Module module = Module::load(file);
  MainWindow window(module.pipl().name + " effect controls", 1, 1);
  EffectHost host(module.entry_point());
  host.set_main_window(window.native_handle());
  set_up_controls(host, file);
  {
    ControlsPanel panel(host);
    require_success(lunaform::host::show_controls_window(window, panel),
                    module_command("a custom-UI event", file));
  }
  set_down_controls(host, file);
}

// The effect's controls drawn into `out` as a host's panel shows them, after the pointer
// moved to `pointer` (in the header control's own pixels) if one is given.
void write_controls(const std::filesystem::path& out, const std::optional<std::string>& pointer,
                    const std::filesystem::path& file) {
  lunaform::host::check_bits_for_file(out, 8);
  lunaform::host::check_writable(out);
  const std::optional<PF_Point> control_point =
      pointer ? std::optional(lunaform::host::parse_pointer(*pointer)) : std::nullopt;
  const Module module = Module::load(file);
  EffectHost host(module.entry_point());
  set_up_controls(host, file);
  {
    ControlsPanel panel(host);
    if (control_point) {
      const PF_Point point = lunaform::host::pointer_on_panel(panel.layout(), *control_point);
      require_success(panel.move_pointer(point), module_command("the cursor event", file));
    }
    require_success(panel.draw(), module_command("the draw event", file));
    lunaform::host::write_frame(*panel.to_world(), out);
  }
  set_down_controls(host, file);
  std::cout << "wrote " << out.string() << "\n";
}

// How the command ends, for a batch scheduler to tell what happened.
constexpr int kRenderFailed = 1;  // the module, the GPU, the disk: another run may succeed
constexpr int kBadInput = 2;      // the command line or the scene: running again will not help
constexpr int kInterrupted = 3;   // SIGTERM or SIGINT: frames written so far stay

// What a render reports besides its frames.
struct RenderReporting {
  bool skip_existing = false;  // frames whose file is already there are not rendered again
  bool json_progress = false;  // one JSON line per frame on standard output, for programs
};

// Renders frame `frame` of `job` tile by tile, each tile's rows going to the frame's file as
// soon as its band of tiles is complete. What the module writes to standard error meanwhile
// is kept on lines of its own.
void render_tiles(EffectHost& host, const lunaform::host::RenderJob& job, int frame,
                  lunaform::host::RenderProgress& progress) {
  const lunaform::host::TileGrid& tiles = job.tiles();
  lunaform::host::begin_frame(host, frame);
  lunaform::host::FrameWriter writer(job.output_file(frame), tiles.frame.right - tiles.frame.left,
                                     tiles.frame.bottom - tiles.frame.top, job.bits_per_channel());
  for (int index = 0; index < tiles.count(); ++index) {
    progress.next_tile(index, tiles.count());
    host.settings().output_rect = tiles.tile(index);
    std::unique_ptr<lunaform::host::PixelWorld> world;
    {
      const StderrLineGuard module_text([&] { progress.end_line(); });
      world = lunaform::host::render_output(host, frame);
    }
    writer.add_tile(*world);
  }
  writer.finish();
}

// Renders the job's frames one after the other, each written as soon as it is done.
void render(const lunaform::host::RenderOptions& options, const std::filesystem::path& file,
            const RenderReporting& reporting) {
  const lunaform::host::RenderJob job = lunaform::host::RenderJob::plan(options);
  for (const std::string& warning : job.warnings()) {
    std::cerr << kProgram << ": warning: " << warning << "\n";
  }
  lunaform::host::FrameReport report(std::cout);
  if (reporting.json_progress) {
    report.plan(job.frames_to_render());
  }
  // A frame counts as written only once its file is there, whole: frames are written to a
  // temporary name and renamed when complete.
  std::vector<int> pending;
  for (const int frame : job.frames_to_render()) {
    if (reporting.skip_existing && std::filesystem::exists(job.output_file(frame))) {
      if (reporting.json_progress) {
        report.frame(frame, job.output_file(frame), "skipped", 0.0);
      }
    } else {
      pending.push_back(frame);
    }
  }
  const auto skipped = job.frames_to_render().size() - pending.size();
  if (pending.empty()) {
    if (!reporting.json_progress) {
      std::cout << (job.frames_to_render().empty()
                        ? std::string("this part of the frames holds no frame: nothing to render")
                        : "all " + std::to_string(skipped) + " frames are already there")
                << "\n";
    }
    return;
  }

  const Module module = Module::load(file);
  EffectHost host(module.entry_point());
  {
    const StderrLineGuard module_text;
    job.prepare(host, file);
  }
  // The compiler inside PoCL may have put in signal handlers of its own while the module set up.
  lunaform::host::end_on_interruption(kProgram, kInterrupted);
  {
    lunaform::host::RenderProgress progress(std::cerr, static_cast<int>(pending.size()),
                                            isatty(STDERR_FILENO) == 1 && !reporting.json_progress);
    for (const int frame : pending) {
      const auto started = std::chrono::steady_clock::now();
      progress.next_frame(job.output_file(frame));
      try {
        render_tiles(host, job, frame, progress);
      } catch (const lunaform::host::OutOfMemoryError& error) {
        throw lunaform::host::HostError(job.out_of_memory_line(error.what()));
      } catch (const std::bad_alloc&) {
        throw lunaform::host::HostError(
            job.out_of_memory_line("frame " + std::to_string(frame) + " ran out of memory"));
      }
      for (const std::string& warning : host.take_footage_warnings()) {
        progress.end_line();
        std::cerr << kProgram << ": warning: " << warning << "\n";
      }
      if (reporting.json_progress) {
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - started;
        report.frame(frame, job.output_file(frame), "written", took.count());
      }
    }
  }
  print_warnings(host);
  if (reporting.json_progress) {
    return;
  }
  const std::string already = skipped > 0 ? " (" + std::to_string(skipped) + " already there)" : "";
  if (pending.size() == 1) {
    std::cout << "wrote " << job.output_file(pending.front()).string() << already << "\n";
  } else {
    std::cout << "wrote " << pending.size() << " frames" << already << ": "
              << job.output_file(pending.front()).string() << " to "
              << job.output_file(pending.back()).string() << "\n";
  }
}

}  // namespace

int main(int argc, char** argv) {
  // A write past the file-size limit then fails with EFBIG, which the frame writer reports like
  // a full disk, instead of the signal ending the process with a partial file left behind.
  signal(SIGXFSZ, SIG_IGN);
  CLI::App app{
      "Renders frames of a scene file (without one: the built-in default composition, 1920 x "
      "1080, the effect at its defaults) through the Lunaform effect module to PNG or EXR files.",
      kProgram};
  lunaform::host::RenderOptions options;
  std::string scene;
  CLI::Option* scene_option =
      app.add_option("SCENE", scene, "The scene file to render (see docs/scene-format.md)")
          ->type_name("FILE");
  std::string output;
  CLI::Option* output_option = app.add_option(
      "-o,--output", output,
      "The image file: .png (8 or 16 bits per channel) or .exr (32-bit float); several frames "
      "need a run of '#' for the frame number (out.####.png). Default: the scene's name or "
      "'lunaform', in the current folder");
  std::string frames;
  CLI::Option* frames_option = app.add_option(
      "--frames", frames,
      "Composition frames FIRST-LAST, both included, every STEP-th with FIRST-LAST:STEP, or one "
      "frame (default 0)");
  std::string chunk;
  CLI::Option* chunk_option =
      app.add_option(
             "--chunk", chunk,
             "Render only part I of N nearly equal parts of the frames, I counted from 0: how the "
             "tasks "
             "of a render farm's array job share a sequence (--chunk $SLURM_ARRAY_TASK_ID/N)")
          ->type_name("I/N");
  RenderReporting reporting;
  CLI::Option* skip_option = app.add_flag(
      "--skip-existing", reporting.skip_existing,
      "Leave out frames whose file is already there (a file is only ever there whole), so that "
      "a render run again finishes what an interrupted one left");
  CLI::Option* json_option = app.add_flag(
      "--json-progress", reporting.json_progress,
      "Report on standard output, for programs: first {\"frames\": [...]}, then one line per "
      "frame {\"frame\": N, \"file\": ..., \"status\": \"written\" or \"skipped\", "
      "\"seconds\": T}");
  int bits = 0;
  CLI::Option* bits_option =
      app.add_option("--bpc", bits,
                     "Bits per channel: 8 or 16 (PNG), 32 (EXR); default: by the output's type")
          ->check(CLI::IsMember({8, 16, 32}));
  CLI::Option* downsample_option = app.add_option(
      "--downsample", options.downsample, "Render at 1/N of the size (N from 1; default 1)");
  std::string region;
  CLI::Option* region_option = app.add_option(
      "--region", region, "Render only the rectangle X,Y,WIDTH,HEIGHT of the (downsampled) layer");
  int tile = 0;
  CLI::Option* tile_option = app.add_option(
      "--tile", tile,
      "Render each frame in tiles of N x N pixels, one after the other, and write it band by "
      "band. Without it a frame is rendered whole unless a side is larger than 4096 pixels or "
      "it would need more memory than there is; then in tiles of 2048 x 2048");
  tile_option->type_name("N");
  std::string module;
  CLI::Option* info_option =
      app.add_option("--info", module,
                     "Load MODULE (default: " LUNAFORM_DEFAULT_MODULE
                     " beside this program), take it through setup and setdown and print its PiPL "
                     "and parameters")
          ->expected(0, 1)
          ->type_name("MODULE");
  std::string check;
  CLI::Option* check_option =
      app.add_option("--check", check,
                     "Read SCENE and apply it to the module's parameters; report the first "
                     "problem")
          ->type_name("SCENE");
  CLI::Option* about_option = app.add_flag("--about")->description(
      "Send the module the about command: on a display it shows its About dialog, without one "
      "it writes the text to standard error");
  std::string controls;
  CLI::Option* controls_option =
      app.add_option(
             "--controls", controls,
             "Show the effect's custom controls as a host's effect-controls panel does: in a "
             "window (needs a display; Escape or the close box ends it), or, given OUT.png, drawn "
             "into that PNG file without a window. The panel is one title strip 24 pixels high "
             "across the top, then the 558 x 84 header control with its top-left corner at 8,28 "
             "(574 x 120 in all)")
          ->expected(0, 1)
          ->type_name("OUT.png");
  std::string pointer;
  CLI::Option* pointer_option =
      app.add_option("--pointer", pointer,
                     "With --controls OUT.png: the pointer rests at X,Y of the header control "
                     "(its top-left corner is 0,0) before the panel is drawn, so the control "
                     "shows its hover")
          ->type_name("X,Y")
          ->needs(controls_option);
  app.add_option("--module", module,
                 "The module to render, check, ask or show (default: " LUNAFORM_DEFAULT_MODULE
                 " beside this program)")
      ->type_name("MODULE");
  for (CLI::Option* render_only :
       {scene_option, output_option, frames_option, bits_option, downsample_option, region_option,
        tile_option, chunk_option, skip_option, json_option}) {
    for (CLI::Option* other_task : {info_option, check_option, about_option, controls_option}) {
      other_task->excludes(render_only);
    }
  }
  info_option->excludes(check_option);
  about_option->excludes(info_option)->excludes(check_option)->excludes(controls_option);
  controls_option->excludes(info_option)->excludes(check_option);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return kBadInput;
  }

  try {
    const std::filesystem::path module_file =
        module.empty() ? default_module() : std::filesystem::path(module);
    if (info_option->count() > 0) {
      print_module_info(module_file);
    } else if (check_option->count() > 0) {
      check_scene(check, module_file);
    } else if (about_option->count() > 0) {
      show_about(module_file);
    } else if (controls_option->count() > 0 && controls.empty()) {
      if (pointer_option->count() > 0) {
        throw lunaform::host::HostError("--pointer needs --controls OUT.png");
      }
      show_controls(module_file);
    } else if (controls_option->count() > 0) {
      write_controls(controls, pointer_option->count() > 0 ? std::optional(pointer) : std::nullopt,
                     module_file);
    } else {
      if (scene_option->count() > 0) {
        options.scene = scene;
      }
      if (output_option->count() > 0) {
        options.output = output;
      }
      if (frames_option->count() > 0) {
        options.frames = frames;
      }
      if (chunk_option->count() > 0) {
        options.chunk = chunk;
      }
      if (bits_option->count() > 0) {
        options.bits_per_channel = bits;
      }
      if (region_option->count() > 0) {
        options.region = region;
      }
      if (tile_option->count() > 0) {
        options.tile = tile;
      }
      lunaform::host::end_on_interruption(kProgram, kInterrupted);
      render(options, module_file, reporting);
    }
  } catch (const lunaform::host::InputError& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return kBadInput;
  } catch (const std::bad_alloc&) {
    std::cerr << kProgram << ": ran out of memory; " << lunaform::host::kSmallerFramesAdvice
              << "\n";
    return kRenderFailed;
  } catch (const std::exception& error) {
    // HostError carries one line meant for the user; anything else (memory, the file system)
    // is reported the same way rather than ending the process abruptly.
    std::cerr << kProgram << ": " << error.what() << "\n";
    return kRenderFailed;
  }
  return 0;
}
