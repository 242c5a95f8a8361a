// lunaform-render: the command-line front end of the host library. For now it reports what the
// host learns from an effect module (its PiPL, the flags of its global setup and its parameters
// as received through parameter setup) and checks scene files against the module.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <string>
#include <utility>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/module.h"
#include "host/module_report.h"
#include "host/scene_file.h"

namespace {

using lunaform::host::EffectHost;
using lunaform::host::HostError;
using lunaform::host::Module;
using lunaform::host::SceneFile;

constexpr const char* kProgram = "lunaform-render";

// The module that ships beside the executable.
std::filesystem::path default_module() {
  std::error_code error;
  const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path folder =
      error ? std::filesystem::path(".") : executable.parent_path();
  return folder / LUNAFORM_DEFAULT_MODULE;
}

void require(PF_Err result, const char* command, const std::filesystem::path& module) {
  if (result != PF_Err_NONE) {
    throw HostError(std::string(command) + " of '" + module.string() + "' failed with error " +
                    std::to_string(result));
  }
}

// Loads the module and takes it through the commands a host sends before it can render; the
// host's destructor sends the setdowns that an early failure skipped.
void print_module_info(const std::filesystem::path& file) {
  const Module module = Module::load(file);
  std::cout << "Module:        " << module.file().string() << "\n";
  lunaform::host::write_pipl_report(std::cout, module.pipl());

  EffectHost host(module.entry_point());
  require(host.global_setup(), "global setup", file);
  lunaform::host::write_global_setup_report(std::cout, host.out_data());
  require(host.params_setup(), "parameter setup", file);
  lunaform::host::write_param_table(std::cout, host.params());
  require(host.sequence_setup(), "sequence setup", file);
  require(host.sequence_setdown(), "sequence setdown", file);
  require(host.global_setdown(), "global setdown", file);
  for (const std::string& problem : host.problems()) {
    std::cerr << kProgram << ": warning: " << problem << "\n";
  }
}

// Reads a scene file and applies it to the module's own parameters, as a render would before its
// first frame: every problem of the file comes out as one line naming the file and the place.
void check_scene(const std::filesystem::path& scene_path, const std::filesystem::path& file) {
  const SceneFile scene = SceneFile::load(scene_path);
  for (const std::string& warning : scene.warnings()) {
    std::cerr << kProgram << ": warning: " << warning << "\n";
  }
  const Module module = Module::load(file);
  EffectHost host(module.entry_point());
  require(host.global_setup(), "global setup", file);
  require(host.params_setup(), "parameter setup", file);
  lunaform::host::Composition composition = scene.composition_for(host.params());
  const std::string summary = std::to_string(composition.width) + " x " +
                              std::to_string(composition.height) + ", " +
                              std::to_string(composition.layers.size()) + " layers";
  host.set_composition(std::move(composition));
  std::cout << scene_path.string() << ": " << summary << ": the effect accepts the scene\n";
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Shows what the Lunaform host learns from an effect module.", kProgram};
  std::string module;
  app.add_option("--info", module,
                 "Load MODULE (default: " LUNAFORM_DEFAULT_MODULE
                 " beside this program), take it through setup and setdown and print its PiPL and "
                 "parameters")
      ->expected(0, 1)
      ->type_name("MODULE");
  std::string scene;
  app.add_option("--check", scene,
                 "Read SCENE and apply it to the module's parameters; report the first problem")
      ->type_name("SCENE");
  app.add_option("--module", module, "The module to use with --check")->type_name("MODULE");
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return 2;
  }

  try {
    const std::filesystem::path module_file =
        module.empty() ? default_module() : std::filesystem::path(module);
    if (scene.empty()) {
      print_module_info(module_file);
    } else {
      check_scene(scene, module_file);
    }
  } catch (const HostError& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return 1;
  }
  return 0;
}
