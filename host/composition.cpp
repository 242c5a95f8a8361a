#include "host/composition.h"

#include <cmath>
#include <limits>
#include <numbers>
#include <set>
#include <string>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

// Largest side the effect API allows for a world.
constexpr std::int32_t kMaxSide = 30000;
// Frame rate terms are kept small enough that the effect's time units fit in 32 bits.
constexpr std::int32_t kMaxRatioTerm = 1000000;

std::string in_quotes(std::string_view name) {
  return "'" + std::string(name) + "'";
}

template <typename Kind>
std::size_t count_layers(const Composition& comp) {
  std::size_t count = 0;
  for (const Layer& layer : comp.layers) {
    count += std::holds_alternative<Kind>(layer.content) ? 1 : 0;
  }
  return count;
}

template <typename Kind>
std::optional<std::size_t> first_layer(const Composition& comp) {
  for (std::size_t i = 0; i < comp.layers.size(); ++i) {
    if (std::holds_alternative<Kind>(comp.layers[i].content)) {
      return i;
    }
  }
  return std::nullopt;
}

void check_side(const std::string& what, std::int32_t side) {
  if (side < 0 || side > kMaxSide) {
    throw HostError(what + " " + std::to_string(side) + " is outside 0.." +
                    std::to_string(kMaxSide));
  }
}

void check_layer_size(const Layer& layer) {
  const auto [width, height] = layer_pixel_size(layer);
  check_side("layer " + in_quotes(layer.name) + ": width", width);
  check_side("layer " + in_quotes(layer.name) + ": height", height);
  if (const auto* footage = std::get_if<FootageLayer>(&layer.content);
      footage != nullptr && footage->image != nullptr) {
    const Image& image = *footage->image;
    if (image.rgba.size() !=
        4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
      throw HostError("layer " + in_quotes(layer.name) + ": image of " + std::to_string(width) +
                      " x " + std::to_string(height) + " holds " +
                      std::to_string(image.rgba.size()) + " floats");
    }
  }
}

void check_layer_choice(const Composition& comp, const std::string& param, const LayerRef& ref) {
  if (ref.name.empty()) {
    return;
  }
  const Layer* chosen = find_layer(comp, ref.name);
  if (chosen == nullptr) {
    throw HostError("parameter " + in_quotes(param) + " names layer " + in_quotes(ref.name) +
                    ", which the composition does not have");
  }
  if (std::holds_alternative<CameraLayer>(chosen->content) ||
      std::holds_alternative<LightLayer>(chosen->content) ||
      std::holds_alternative<EffectLayer>(chosen->content)) {
    throw HostError("parameter " + in_quotes(param) + " names layer " + in_quotes(ref.name) +
                    ", which has no pixels to use");
  }
}

}  // namespace

TimeBase time_base(const Composition& comp) {
  TimeBase base;
  base.time_scale = static_cast<std::uint32_t>(comp.frame_rate.num) * kTicksPerFrame;
  base.time_step = static_cast<std::int32_t>(comp.frame_rate.den * kTicksPerFrame);
  base.total_time = static_cast<std::int32_t>(std::lround(comp.duration * base.time_scale));
  return base;
}

const Layer* find_layer(const Composition& comp, std::string_view name) {
  for (const Layer& layer : comp.layers) {
    if (layer.name == name) {
      return &layer;
    }
  }
  return nullptr;
}

Layer* find_layer(Composition& comp, std::string_view name) {
  return const_cast<Layer*>(find_layer(static_cast<const Composition&>(comp), name));
}

std::optional<std::size_t> effect_layer_index(const Composition& comp) {
  return first_layer<EffectLayer>(comp);
}

std::optional<std::size_t> camera_layer_index(const Composition& comp) {
  return first_layer<CameraLayer>(comp);
}

double layer_duration(const Composition& comp, const Layer& layer) {
  return layer.duration.value_or(comp.duration - layer.in_point);
}

std::pair<std::int32_t, std::int32_t> layer_pixel_size(const Layer& layer) {
  if (const auto* footage = std::get_if<FootageLayer>(&layer.content)) {
    return footage->image != nullptr ? std::pair{footage->image->width, footage->image->height}
                                     : std::pair{0, 0};
  }
  if (const auto* solid = std::get_if<SolidLayer>(&layer.content)) {
    return {solid->width, solid->height};
  }
  if (const auto* effect = std::get_if<EffectLayer>(&layer.content)) {
    return {effect->width, effect->height};
  }
  return {0, 0};
}

double default_camera_zoom(std::int32_t width) {
  const double half_angle = 39.6 / 2 * std::numbers::pi / 180;
  return width / 2.0 / std::tan(half_angle);
}

void check_composition(const Composition& comp) {
  if (comp.width <= 0 || comp.height <= 0 || comp.width > kMaxSide || comp.height > kMaxSide) {
    throw HostError("composition size " + std::to_string(comp.width) + " x " +
                    std::to_string(comp.height) + " is outside 1.." + std::to_string(kMaxSide));
  }
  if (comp.pixel_aspect.num <= 0 || comp.pixel_aspect.den == 0) {
    throw HostError("composition pixel aspect " + std::to_string(comp.pixel_aspect.num) + "/" +
                    std::to_string(comp.pixel_aspect.den) + " is not positive");
  }
  if (comp.frame_rate.num <= 0 || comp.frame_rate.den == 0) {
    throw HostError("composition frame rate " + std::to_string(comp.frame_rate.num) + "/" +
                    std::to_string(comp.frame_rate.den) + " is not positive");
  }
  if (comp.frame_rate.num > kMaxRatioTerm ||
      comp.frame_rate.den > static_cast<std::uint32_t>(kMaxRatioTerm)) {
    throw HostError("composition frame rate " + std::to_string(comp.frame_rate.num) + "/" +
                    std::to_string(comp.frame_rate.den) + " has a term above " +
                    std::to_string(kMaxRatioTerm));
  }
  const double longest = std::numeric_limits<std::int32_t>::max() /
                         (static_cast<double>(comp.frame_rate.num) * kTicksPerFrame);
  if (!(comp.duration >= 0 && comp.duration <= longest)) {
    throw HostError("composition duration " + std::to_string(comp.duration) + " s is outside 0.." +
                    std::to_string(longest) + " s");
  }
  if (!(comp.shutter_angle >= 0 && comp.shutter_angle <= 720)) {
    throw HostError("shutter angle " + std::to_string(comp.shutter_angle) +
                    " is outside 0..720 degrees");
  }
  std::set<std::string_view> names;
  for (const Layer& layer : comp.layers) {
    if (layer.name.empty()) {
      throw HostError("a layer has no name");
    }
    if (!names.insert(layer.name).second) {
      throw HostError("two layers are named " + in_quotes(layer.name));
    }
    if (layer.duration && !(*layer.duration >= 0)) {
      throw HostError("layer " + in_quotes(layer.name) + ": negative duration");
    }
    check_layer_size(layer);
  }
  const std::size_t effects = count_layers<EffectLayer>(comp);
  if (effects != 1) {
    throw HostError(effects == 0 ? "the composition has no layer carrying the effect"
                                 : "the composition has more than one layer carrying the effect");
  }
  if (count_layers<CameraLayer>(comp) > 1) {
    throw HostError("the composition has more than one camera");
  }
  const auto& effect = std::get<EffectLayer>(comp.layers[*effect_layer_index(comp)].content);
  if (effect.pixel_aspect.num <= 0 || effect.pixel_aspect.den == 0) {
    throw HostError("effect layer pixel aspect is not positive");
  }
  for (const auto& [param, value] : effect.params) {
    if (const auto* ref = std::get_if<LayerRef>(&value)) {
      check_layer_choice(comp, param, *ref);
    }
  }
}

Composition default_composition() {
  Composition comp;
  Layer layer;
  layer.name = "Lunaform";
  layer.transform.position = Vec3{comp.width / 2.0, comp.height / 2.0, 0};
  EffectLayer effect;
  effect.width = comp.width;
  effect.height = comp.height;
  layer.transform.anchor = Vec3{effect.width / 2.0, effect.height / 2.0, 0};
  layer.content = std::move(effect);
  comp.layers.push_back(std::move(layer));
  return comp;
}

}  // namespace lunaform::host
