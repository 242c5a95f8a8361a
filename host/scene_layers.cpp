#include "host/scene_layers.h"

#include <limits>
#include <string_view>
#include <utility>

#include "AE_Effect.h"
#include "host/footage.h"
#include "host/host_error.h"

namespace lunaform::host {
namespace {

using Keys = std::vector<std::string_view>;

constexpr double kLargest = std::numeric_limits<double>::max();

// Keys every layer may have.
Keys with_common_keys(Keys keys) {
  keys.insert(keys.begin(), {"name", "type", "in_point", "duration", "enabled", "motion_blur"});
  return keys;
}

Animated<Vec3> read_vec3(const SceneNode& node) {
  return node.animated<Vec3>([](const SceneNode& n) { return n.vec3(); });
}

Animated<double> read_number(const SceneNode& node, double min, double max) {
  return node.animated<double>([min, max](const SceneNode& n) { return n.number_in(min, max); });
}

Vec3 composition_centre(const Composition& settings) {
  return {settings.width / 2.0, settings.height / 2.0, 0};
}

// Where cameras and lights stand unless the file says otherwise: where the host's default
// camera stands, in front of the composition's centre at the distance that shows its width.
Vec3 default_viewpoint(const Composition& settings, double zoom) {
  return {settings.width / 2.0, settings.height / 2.0, -zoom};
}

// The layer's side named `key` in pixels, or `fallback` (the composition's) when not given.
std::int32_t read_side(const SceneNode& layer, const char* key, std::int32_t fallback) {
  const auto side = layer.find(key);
  return side ? static_cast<std::int32_t>(side->whole_number(1, PF_MAX_WORLD_WIDTH)) : fallback;
}

void read_common(const SceneNode& node, Layer& layer) {
  const SceneNode name = node.child("name");
  layer.name = name.text();
  if (layer.name.empty()) {
    name.fail("a layer name cannot be empty");
  }
  if (const auto in_point = node.find("in_point")) {
    layer.in_point = in_point->number();
  }
  if (const auto duration = node.find("duration")) {
    layer.duration = duration->positive_number();
  }
  if (const auto enabled = node.find("enabled")) {
    layer.video_on = enabled->boolean();
  }
  if (const auto motion_blur = node.find("motion_blur")) {
    layer.motion_blur = motion_blur->boolean();
  }
}

// Layers with pixels sit centred in the composition, as a host places a new layer.
void place_in_centre(const Composition& settings, std::int32_t width, std::int32_t height,
                     Layer& layer) {
  layer.transform.position = composition_centre(settings);
  layer.transform.anchor = Vec3{width / 2.0, height / 2.0, 0};
}

// Position and aim of a camera or a directed light. A point of interest aims the layer's z
// axis at it; without one the layer faces +z, turned by its orientation. A layer that gives
// neither looks at the composition's centre.
void read_aim(const SceneNode& node, const Composition& settings, Vec3 default_position,
              Transform& transform) {
  transform.position = default_position;
  if (const auto position = node.find("position")) {
    transform.position = read_vec3(*position);
  }
  const auto orientation = node.find("orientation");
  if (const auto point = node.find("point_of_interest")) {
    transform.point_of_interest = read_vec3(*point);
  } else if (!orientation) {
    transform.point_of_interest = Animated<Vec3>(composition_centre(settings));
  }
  if (orientation) {
    transform.orientation = read_vec3(*orientation);
  }
  if (const auto rotation = node.find("rotation")) {
    transform.rotation = read_vec3(*rotation);
  }
}

void read_footage_layer(const SceneNode& node, SceneLayerContext& context, Layer& layer) {
  node.expect_keys(with_common_keys({"file"}));
  read_common(node, layer);
  const SceneNode file = node.child("file");
  const std::filesystem::path path = (context.folder / file.text()).lexically_normal();
  std::shared_ptr<const Image>& image = context.images[path];
  if (image == nullptr) {
    try {
      Footage footage = read_footage(path);
      if (!footage.warning.empty()) {
        context.warnings.push_back(std::move(footage.warning));
      }
      image = std::make_shared<const Image>(std::move(footage.image));
    } catch (const HostError& error) {
      context.images.erase(path);
      file.fail(error.what());
    }
  }
  place_in_centre(context.settings, image->width, image->height, layer);
  layer.content = FootageLayer{path, image};
}

void read_solid_layer(const SceneNode& node, const Composition& settings, Layer& layer) {
  node.expect_keys(with_common_keys({"color", "width", "height"}));
  read_common(node, layer);
  SolidLayer solid;
  solid.color = node.child("color").color();
  solid.width = read_side(node, "width", settings.width);
  solid.height = read_side(node, "height", settings.height);
  place_in_centre(settings, solid.width, solid.height, layer);
  layer.content = solid;
}

void read_camera_layer(const SceneNode& node, const Composition& settings, Layer& layer) {
  node.expect_keys(with_common_keys(
      {"position", "point_of_interest", "orientation", "rotation", "zoom", "projection"}));
  read_common(node, layer);
  CameraLayer camera;
  camera.zoom = default_camera_zoom(settings.width);
  if (const auto zoom = node.find("zoom")) {
    camera.zoom = zoom->animated<double>([](const SceneNode& n) { return n.positive_number(); });
  }
  if (const auto projection = node.find("projection")) {
    const std::string name = projection->text();
    if (name == "orthographic") {
      camera.projection = Projection::orthographic;
    } else if (name != "perspective") {
      projection->fail("unknown projection \"" + name + "\" (perspective or orthographic)");
    }
  }
  read_aim(node, settings, default_viewpoint(settings, camera.zoom.at(0)), layer.transform);
  layer.content = std::move(camera);
}

LightType read_light_type(const SceneNode& node) {
  const std::string name = node.text();
  constexpr std::pair<std::string_view, LightType> kTypes[] = {{"parallel", LightType::parallel},
                                                               {"spot", LightType::spot},
                                                               {"point", LightType::point},
                                                               {"ambient", LightType::ambient}};
  for (const auto& [type_name, type] : kTypes) {
    if (name == type_name) {
      return type;
    }
  }
  node.fail("unknown light type \"" + name + "\" (parallel, spot, point or ambient)");
}

// The keys a light of each type may have: what the host shows for that type.
Keys light_keys(LightType type) {
  switch (type) {
    case LightType::parallel:
      return {"light_type", "position", "point_of_interest", "orientation",
              "rotation",   "color",    "intensity",         "falloff_distance"};
    case LightType::spot:
      return {"light_type", "position",  "point_of_interest", "orientation",  "rotation",
              "color",      "intensity", "cone_angle",        "cone_feather", "falloff_distance"};
    case LightType::point:
      return {"light_type", "position", "color", "intensity", "falloff_distance"};
    case LightType::ambient:
      return {"light_type", "color", "intensity"};
  }
  return {};
}

void read_light_layer(const SceneNode& node, const Composition& settings, Layer& layer) {
  LightLayer light;
  light.type = read_light_type(node.child("light_type"));
  node.expect_keys(with_common_keys(light_keys(light.type)));
  read_common(node, layer);
  const Vec3 viewpoint = default_viewpoint(settings, default_camera_zoom(settings.width));
  if (light.type == LightType::parallel || light.type == LightType::spot) {
    read_aim(node, settings, viewpoint, layer.transform);
  } else {
    layer.transform.position = viewpoint;
    if (const auto position = node.find("position")) {
      layer.transform.position = read_vec3(*position);
    }
  }
  if (const auto color = node.find("color")) {
    light.color = color->animated<Color>([](const SceneNode& n) { return n.color(); });
  }
  if (const auto intensity = node.find("intensity")) {
    light.intensity_percent = read_number(*intensity, -kLargest, kLargest);
  }
  if (const auto cone_angle = node.find("cone_angle")) {
    light.cone_angle_degrees = read_number(*cone_angle, 0, 180);
  }
  if (const auto cone_feather = node.find("cone_feather")) {
    light.cone_feather_percent = read_number(*cone_feather, 0, 100);
  }
  if (const auto falloff = node.find("falloff_distance")) {
    light.falloff_distance = read_number(*falloff, 0, kLargest);
  }
  layer.content = std::move(light);
}

void read_effect_layer(const SceneNode& node, const Composition& settings, Layer& layer) {
  node.expect_keys(with_common_keys({"width", "height", "pixel_aspect", "params"}));
  read_common(node, layer);
  // The host runs the effect in composition time: its layer cannot start later or earlier.
  if (layer.in_point != 0) {
    node.child("in_point").fail("the effect layer starts at 0 s, where the composition starts");
  }
  EffectLayer effect;
  effect.width = read_side(node, "width", settings.width);
  effect.height = read_side(node, "height", settings.height);
  effect.pixel_aspect = settings.pixel_aspect;
  if (const auto pixel_aspect = node.find("pixel_aspect")) {
    effect.pixel_aspect = pixel_aspect->ratio();
  }
  // The values themselves are read once the module's parameters are known.
  if (const auto params = node.find("params"); params && !params->value().is_object()) {
    params->fail("expected an object of parameter values by name");
  }
  place_in_centre(settings, effect.width, effect.height, layer);
  layer.content = std::move(effect);
}

}  // namespace

Layer read_scene_layer(const SceneNode& node, SceneLayerContext& context) {
  const SceneNode type_node = node.child("type");
  const std::string type = type_node.text();
  Layer layer;
  if (type == "footage") {
    read_footage_layer(node, context, layer);
  } else if (type == "solid") {
    read_solid_layer(node, context.settings, layer);
  } else if (type == "camera") {
    read_camera_layer(node, context.settings, layer);
  } else if (type == "light") {
    read_light_layer(node, context.settings, layer);
  } else if (type == "effect") {
    read_effect_layer(node, context.settings, layer);
  } else {
    type_node.fail("unknown layer type \"" + type + "\" (footage, solid, camera, light or effect)");
  }
  return layer;
}

}  // namespace lunaform::host
