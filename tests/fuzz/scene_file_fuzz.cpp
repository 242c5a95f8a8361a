// Scene files, as `lunaform-render --check` reads them: the JSON text becomes a composition, and
// with the module named by LUNAFORM_MODULE loaded once (its parameter setup done), the effect's
// values are converted by the parameters it registered. A bad file must end in HostError, one
// line; anything else (a crash, a sanitizer report, another exception) is a finding.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

#include "host/effect_host.h"
#include "host/host_error.h"
#include "host/module.h"
#include "host/scene_file.h"
#include "tests/fuzz/fuzz_input.h"

namespace {

struct loaded_module {
  std::optional<lunaform::host::Module> module;
  std::unique_ptr<lunaform::host::EffectHost> host;
};

loaded_module& effect() {
  static loaded_module loaded = [] {
    loaded_module made;
    if (const char* file = std::getenv("LUNAFORM_MODULE")) {
      made.module.emplace(lunaform::host::Module::load(file));
      made.host = std::make_unique<lunaform::host::EffectHost>(made.module->entry_point());
      if (made.host->global_setup() != PF_Err_NONE || made.host->params_setup() != PF_Err_NONE) {
        std::abort();
      }
    }
    return made;
  }();
  return loaded;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fuzz_file scene("scene.json");
  try {
    const lunaform::host::SceneFile read = lunaform::host::SceneFile::load(scene.write(data, size));
    if (effect().host) {
      effect().host->set_composition(read.composition_for(effect().host->params()));
    }
  } catch (const lunaform::host::HostError&) {
  }
  return 0;
}
