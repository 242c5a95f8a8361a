#pragma once

#include "plugin/sequence_data.h"
#include "renderer/basic_renderer_thread.h"

// Deletes the texture of every slot, in slot order, each as one job on the render thread that
// owns them; empty slots included, since deleting texture 0 does nothing. The slots keep their
// values: the caller is about to dispose of them.
template <typename RendererType>
void delete_slot_textures(BasicRendererThread<RendererType>& render_thread,
                          const SequenceData& data) {
  for (const TextureSlot& slot : data.slots) {
    const unsigned int texture = slot.texture;
    render_thread.run_on_renderer(
        [&texture](RendererType& renderer) { renderer.delete_texture(texture); });
  }
}
