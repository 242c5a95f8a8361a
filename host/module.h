#pragma once

#include <filesystem>

#include "AE_Effect.h"
#include "host/pipl.h"

namespace lunaform::host {

// An effect module loaded into the process: its PiPL and its entry point.
//
// Modules are loaded with RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE and never unloaded, because a
// module may run a detached thread of its own; destroying a Module only drops the record.
class Module {
 public:
  // Reads the file's ".pipl" section, parses it, then loads the file and resolves the entry
  // point the PiPL names. Nothing of the module runs before its PiPL has been read, so a file
  // without one is refused without executing its initialisers. Returns the loaded module.
  // Throws HostError with one line "cannot load 'FILE': REASON" (missing file, not an ELF file,
  // no .pipl section, corrupt PiPL, the loader's dlerror text, missing entry point).
  // Any thread.
  static Module load(const std::filesystem::path& file);

  const std::filesystem::path& file() const { return file_; }
  const Pipl& pipl() const { return pipl_; }
  // The effect's entry function; valid for the rest of the process.
  PF_FilterProc entry_point() const { return entry_point_; }

 private:
  Module(std::filesystem::path file, Pipl pipl, PF_FilterProc entry);

  std::filesystem::path file_;
  Pipl pipl_;
  PF_FilterProc entry_point_;
};

}  // namespace lunaform::host
