#pragma once

#include <cstdint>

#include "platform/debug_output.h"
#include "plugin/ae_plugin.h"
#include "plugin/command_context.h"
#include "plugin/host_suites.h"
#include "plugin/sequence_data.h"
#include "scene/image_desc.h"
#include "scene/stopwatch.h"

// What a slot's texture was made as (TextureSlot::kind).
enum class TextureKind : std::uint32_t {
  plain = 0,
  height_to_normal = 1,
  environment_cube = 2,
};

// The pixels of the layer chosen in layer parameter `param_id`, checked out for this Smart
// Render under the checkout id param_id; an empty record when no layer is chosen or the
// checkout fails. A failed checkout only leaves the map out: context.error keeps its value.
image_desc check_out_map(CommandContext& context, AePlugin& plugin, std::int32_t param_id);

// Asks the host for the parameter's current state stamp (from the current time on), compares
// it with the slot's and keeps the new one in the slot. Returns whether the two were
// identical; false when the host has no "PF Param Utils Suite", so that every load reloads.
bool map_state_unchanged(CommandContext& context, HostSuites& suites, std::int32_t param_id,
                         TextureSlot& slot);

// Whether the slot's texture still shows `image` made as `kind`.
bool slot_texture_current(const TextureSlot& slot, bool state_unchanged, const image_desc& image,
                          TextureKind kind);

// The texture for layer parameter `param_id`, made as `kind` and cached in `slot`: reused when
// nothing changed, else made again from the layer's pixels through `client`'s renderer
// operations (delete_texture, upload_texture, make_normal_map, make_environment_cube), with
// one "Load Layer <id>: <ms> ms" debug line. Returns the texture name, 0 when no layer is
// chosen or the upload gave nothing.
template <typename Client>
unsigned int load_map(CommandContext& context, AePlugin& plugin, HostSuites& suites, Client& client,
                      std::int32_t param_id, TextureSlot& slot, TextureKind kind) {
  const image_desc image = check_out_map(context, plugin, param_id);
  const bool unchanged = map_state_unchanged(context, suites, param_id, slot);
  if (slot_texture_current(slot, unchanged, image, kind)) {
    return slot.texture;
  }

  const Stopwatch timer;
  slot.kind = static_cast<std::uint32_t>(kind);
  slot.width = image.width;
  slot.height = image.height;
  client.delete_texture(slot.texture);
  slot.texture = 0;
  if (image.data == nullptr) {
    return 0;
  }
  slot.texture = client.upload_texture(image);
  if (slot.texture != 0 && kind != TextureKind::plain) {
    const unsigned int uploaded = slot.texture;
    slot.texture = kind == TextureKind::height_to_normal
                       ? client.make_normal_map(uploaded, slot.width, slot.height)
                       : client.make_environment_cube(uploaded);
    client.delete_texture(uploaded);
  }
  hxsdk::debug_printf("Load Layer %d: %.2f ms\n", static_cast<int>(param_id),
                      timer.elapsed_milliseconds());
  return slot.texture;
}
