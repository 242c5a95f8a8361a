#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/composition.h"
#include "host/param_list.h"

namespace lunaform::host {

// A scene file (JSON, described in docs/scene-format.md): one composition with its layers and
// the parameter values of the layer that carries the effect, by parameter name.
//
// Loading happens in two steps because parameter names and kinds belong to the module:
//   1. SceneFile::load() reads the file and every footage image it names and checks everything
//      that does not depend on the effect (syntax, keys, types, ranges, layer names, sizes,
//      one effect layer, at most one camera);
//   2. after the module's parameter setup, composition_for(host.params()) converts the values
//      by the parameters the module registered: their names, kinds, ranges and popup choices.
// Both steps throw HostError with one line "FILE: PLACE: PROBLEM", PLACE being the JSON
// pointer of the offending value ("/layers/2/params/Radius") or, for a syntax error,
// "FILE:LINE:COLUMN: syntax error ...".
//
// Typical use:
//   const SceneFile scene = SceneFile::load(path);
//   for (const std::string& warning : scene.warnings()) std::cerr << warning << "\n";
//   EffectHost host(module.entry_point());
//   host.global_setup();
//   host.params_setup();
//   host.set_composition(scene.composition_for(host.params()));
//
// A SceneFile is a plain value (copies share the read images); any thread, one at a time.
class SceneFile {
 public:
  // Reads `file`; footage paths are taken relative to the file's folder. Returns the scene
  // (owned by the caller). Throws HostError as above.
  static SceneFile load(const std::filesystem::path& file);

  const std::filesystem::path& file() const { return file_; }
  // The composition with every layer; the effect layer's parameter values are still empty.
  const Composition& composition() const { return composition_; }
  // One line per footage file whose NaN or infinite values were replaced on reading.
  const std::vector<std::string>& warnings() const { return warnings_; }

  // The composition with the effect layer's parameter values converted for `registered`, the
  // parameter list as the host received it at parameter setup. Throws HostError for an unknown
  // parameter name, a value of the wrong kind or outside the parameter's valid range, a popup
  // choice the parameter does not have, or a layer parameter naming a layer that is missing
  // or has no pixels (a camera, a light, the effect layer).
  Composition composition_for(const ParamList& registered) const;

 private:
  std::filesystem::path file_;
  Composition composition_;
  std::vector<std::string> warnings_;
  std::shared_ptr<const nlohmann::json> document_;
  std::size_t effect_index_ = 0;
};

}  // namespace lunaform::host
