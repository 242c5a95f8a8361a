#include "host/scene_file.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "AE_Effect.h"
#include "host/file_bytes.h"
#include "host/host_error.h"
#include "host/scene_effect_params.h"
#include "host/scene_layers.h"
#include "host/scene_node.h"
#include "host/scene_parse.h"

namespace lunaform::host {
namespace {

// Frame rates beyond this have terms the effect's time units cannot carry.
constexpr std::int64_t kMaxFrameRateTerm = 1000000;

Ratio read_frame_rate(const SceneNode& node) {
  const Ratio rate = node.ratio();
  if (rate.num > kMaxFrameRateTerm || rate.den > kMaxFrameRateTerm) {
    node.fail("frame rate " + std::to_string(rate.num) + "/" + std::to_string(rate.den) +
              " has a term above " + std::to_string(kMaxFrameRateTerm));
  }
  return rate;
}

Composition read_settings(const std::optional<SceneNode>& node) {
  Composition comp;
  if (!node) {
    return comp;
  }
  node->expect_keys({"width", "height", "pixel_aspect", "frame_rate", "duration", "motion_blur",
                     "shutter_angle", "shutter_phase"});
  if (const auto width = node->find("width")) {
    comp.width = static_cast<std::int32_t>(width->whole_number(1, PF_MAX_WORLD_WIDTH));
  }
  if (const auto height = node->find("height")) {
    comp.height = static_cast<std::int32_t>(height->whole_number(1, PF_MAX_WORLD_HEIGHT));
  }
  if (const auto pixel_aspect = node->find("pixel_aspect")) {
    comp.pixel_aspect = pixel_aspect->ratio();
  }
  if (const auto frame_rate = node->find("frame_rate")) {
    comp.frame_rate = read_frame_rate(*frame_rate);
  }
  if (const auto duration = node->find("duration")) {
    // The whole composition must fit the effect's 32-bit time values.
    const double longest =
        std::numeric_limits<std::int32_t>::max() / static_cast<double>(time_base(comp).time_scale);
    comp.duration = duration->positive_number();
    if (comp.duration > longest) {
      duration->fail_outside(0, longest);
    }
  }
  if (const auto motion_blur = node->find("motion_blur")) {
    comp.motion_blur = motion_blur->boolean();
  }
  if (const auto shutter_angle = node->find("shutter_angle")) {
    comp.shutter_angle = shutter_angle->number_in(0, 720);
  }
  if (const auto shutter_phase = node->find("shutter_phase")) {
    comp.shutter_phase = shutter_phase->number_in(-360, 360);
  }
  return comp;
}

// What the model cannot hold: two layers of one name, no effect layer or two, two cameras.
void check_layer_set(const SceneNode& layers, const Composition& comp) {
  std::map<std::string_view, std::size_t> first_of_name;
  std::optional<std::size_t> effect;
  std::optional<std::size_t> camera;
  const std::vector<SceneNode> nodes = layers.elements();
  for (std::size_t i = 0; i < comp.layers.size(); ++i) {
    const Layer& layer = comp.layers[i];
    const auto [first, inserted] = first_of_name.emplace(layer.name, i);
    if (!inserted) {
      nodes[i].child("name").fail("layer " + nodes[first->second].place() +
                                  " already has the name \"" + layer.name + "\"");
    }
    if (std::holds_alternative<EffectLayer>(layer.content)) {
      if (effect) {
        nodes[i].fail("a second effect layer (the first is " + nodes[*effect].place() +
                      "); one layer carries the effect");
      }
      effect = i;
    }
    if (std::holds_alternative<CameraLayer>(layer.content)) {
      if (camera) {
        nodes[i].fail("a second camera (the first is " + nodes[*camera].place() +
                      "); a composition has at most one");
      }
      camera = i;
    }
  }
  if (!effect) {
    layers.fail("no layer has the type \"effect\"; one layer must carry the effect");
  }
}

std::string read_text(const std::filesystem::path& file) {
  try {
    const std::vector<std::byte> bytes = read_file_bytes(file);
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  } catch (const HostError& error) {
    throw HostError(file.string() + ": cannot read the scene file: " + error.what());
  }
}

}  // namespace

SceneFile SceneFile::load(const std::filesystem::path& file) {
  SceneFile scene;
  scene.file_ = file;
  scene.document_ = std::make_shared<const nlohmann::json>(parse_scene_text(file, read_text(file)));
  const SceneNode root(scene.file_, *scene.document_, nlohmann::json::json_pointer());
  root.expect_keys({"composition", "layers"});
  scene.composition_ = read_settings(root.find("composition"));

  const SceneNode layers = root.child("layers");
  SceneLayerContext context{scene.composition_, file.parent_path(), {}, {}};
  for (const SceneNode& node : layers.elements()) {
    scene.composition_.layers.push_back(read_scene_layer(node, context));
  }
  check_layer_set(layers, scene.composition_);
  scene.effect_index_ = *effect_layer_index(scene.composition_);
  scene.warnings_ = std::move(context.warnings);
  // The model's own checks, as the host applies them; everything they refuse should have been
  // refused above with its place, so this only guards against the two drifting apart.
  try {
    check_composition(scene.composition_);
  } catch (const HostError& error) {
    throw HostError(file.string() + ": " + error.what());
  }
  return scene;
}

Composition SceneFile::composition_for(const ParamList& registered) const {
  Composition comp = composition_;
  const nlohmann::json::json_pointer where =
      nlohmann::json::json_pointer("/layers") / effect_index_;
  const SceneNode layer(file_, document_->at(where), where);
  if (const auto params = layer.find("params")) {
    std::get<EffectLayer>(comp.layers[effect_index_].content).params =
        read_effect_params(*params, registered, comp);
  }
  return comp;
}

}  // namespace lunaform::host
