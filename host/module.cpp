#include "host/module.h"

#include <dlfcn.h>

#include <string>
#include <utility>
#include <vector>

#include "host/elf_section.h"
#include "host/file_bytes.h"
#include "host/host_error.h"

namespace lunaform::host {
namespace {

std::string loader_error() {
  const char* text = dlerror();
  return text != nullptr ? text : "unknown loader error";
}

Pipl read_pipl(const std::filesystem::path& file) {
  const std::vector<std::byte> image = read_file_bytes(file);
  return parse_pipl(find_elf_section(image, ".pipl"));
}

}  // namespace

Module::Module(std::filesystem::path file, Pipl pipl, PF_FilterProc entry)
    : file_(std::move(file)), pipl_(std::move(pipl)), entry_point_(entry) {}

Module Module::load(const std::filesystem::path& file) {
  try {
    Pipl pipl = read_pipl(file);
    // dlopen searches the library path for a bare file name; an absolute path loads this file.
    const std::filesystem::path absolute = std::filesystem::absolute(file);
    void* library = dlopen(absolute.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr) {
      throw HostError(loader_error());
    }
    dlerror();
    void* symbol = dlsym(library, pipl.entry_point.c_str());
    if (symbol == nullptr) {
      throw HostError("its entry point '" + pipl.entry_point + "' is not exported (" +
                      loader_error() + ")");
    }
    return Module(file, std::move(pipl), reinterpret_cast<PF_FilterProc>(symbol));
  } catch (const HostError& error) {
    throw HostError("cannot load '" + file.string() + "': " + error.what());
  }
}

}  // namespace lunaform::host
