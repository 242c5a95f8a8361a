#pragma once

#include "plugin/ae_plugin.h"
#include "plugin/command_context.h"
#include "plugin/host_suites.h"
#include "plugin/param_ids.h"
#include "plugin/param_readers.h"
#include "plugin/sequence_data.h"
#include "scene/light_reader.h"
#include "scene/material_reader.h"
#include "scene/scene_parameters.h"
#include "scene/texture_layers.h"

// The scene of the current sample, built in this order: the lights, the five maps (through
// `client`'s texture operations, cached in `sequence_data`'s slots), then the material, the
// placement and the output gamma. Without sequence data (none, or a block too short to hold
// the slots, as a flatten leaves it) no map is loaded and no slot is written.
template <typename Client>
scene_parameters build_scene(CommandContext& context, AePlugin& plugin, HostSuites& suites,
                             SequenceData* sequence_data, Client& client) {
  scene_parameters scene;
  scene.lights = read_lights(context, suites);

  const auto map = [&](std::int32_t param_id, TextureSlotIndex slot,
                       TextureKind kind) -> unsigned int {
    if (sequence_data == nullptr) {
      return 0;
    }
    return load_map(context, plugin, suites, client, param_id, sequence_data->slots[slot], kind);
  };
  material_properties& m = scene.material;
  m.diffuse_texture = map(PARAM_DIFFUSE_LAYER, kDiffuseSlot, TextureKind::plain);
  m.glossiness_texture = map(PARAM_GLOSSINESS_LAYER, kGlossinessSlot, TextureKind::plain);
  m.illumination_texture = map(PARAM_ILLUMINATION_LAYER, kIlluminationSlot, TextureKind::plain);
  const bool normal_map = get_param_int(context, PARAM_USE_NORMAL_MAP) != 0;
  m.normal_texture = map(PARAM_BUMP_LAYER, kBumpSlot,
                         normal_map ? TextureKind::plain : TextureKind::height_to_normal);
  m.environment_texture =
      map(PARAM_ENVIRONMENT_LAYER, kEnvironmentSlot, TextureKind::environment_cube);

  read_material_and_placement(context, plugin.frame, scene);
  return scene;
}
