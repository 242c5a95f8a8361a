#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/composition.h"
#include "host/scene_node.h"

namespace lunaform::host {

// What reading one layer of a scene file needs besides the layer itself.
struct SceneLayerContext {
  // The composition's settings (size, duration), for the defaults that depend on them.
  const Composition& settings;
  // The scene file's folder: relative footage paths start there.
  std::filesystem::path folder;
  // Images read so far, by path, so that layers showing one file share its pixels.
  std::map<std::filesystem::path, std::shared_ptr<const Image>> images;
  // Warnings of the footage reader, one line each.
  std::vector<std::string> warnings;
};

// Reads one element of the scene file's "layers" list into a layer of the model: its kind
// ("type": footage, solid, camera, light, effect), name, timing, switches, placement and
// content. Footage files are read here. The effect layer's parameter values are left empty
// (they are converted once the module's parameters are known). Throws HostError naming the
// file and the JSON pointer of the offending value.
Layer read_scene_layer(const SceneNode& node, SceneLayerContext& context);

}  // namespace lunaform::host
