// lunaform-render: the command-line front end of the host library. For now it reports what the
// host learns from an effect module: its PiPL, the flags of its global setup and its parameters
// as received through parameter setup.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <string>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/module.h"
#include "host/module_report.h"

namespace {

using lunaform::host::EffectHost;
using lunaform::host::HostError;
using lunaform::host::Module;

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
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return 2;
  }

  try {
    print_module_info(module.empty() ? default_module() : std::filesystem::path(module));
  } catch (const HostError& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return 1;
  }
  return 0;
}
