#pragma once

#include <cstdint>
#include <memory>

#include "AE_EffectUI.h"
#include "DrawbotSuiteTypes.h"
#include "plugin/ae_plugin.h"
#include "plugin/host_suites.h"
#include "plugin/render_state_startup.h"
#include "renderer/render_client.h"
#include "scene/render_state.h"

// The effect's plug-in object: the handlers that give the effect its parameters, its
// lifecycle, its layer requests and (as they arrive) its banner and rendering.
class AePluginConnection : public AePlugin {
 public:
  // make_render_state is what global setup calls to bring up the GPU side.
  explicit AePluginConnection(RenderStateFactory make_render_state = create_render_state);

  // Brings up the GPU side, replacing (and stopping) one a previous global setup left.
  void on_global_setup(CommandContext& context) override;
  // Gives the host back the banner's images and stops the GPU side.
  void on_global_setdown(CommandContext& context) override;
  void on_params_setup(CommandContext& context) override;
  // Greys out the parameters that have no effect with the current values.
  void on_update_params_ui(CommandContext& context) override;
  // The instance's block of texture slots, all empty.
  PF_Handle on_sequence_setup(CommandContext& context) override;
  // Deletes the instance's textures and disposes its block.
  void on_sequence_setdown(CommandContext& context, PF_Handle sequence_data) override;
  // The instance's flat form carries nothing: a 0-byte handle. The live block goes.
  PF_Handle on_sequence_flatten(CommandContext& context, PF_Handle sequence_data) override;
  // A fresh block of empty slots; the flat handle is disposed.
  PF_Handle on_sequence_resetup(CommandContext& context, PF_Handle flat_data) override;
  void on_user_changed_param(CommandContext& context) override;
  void on_smart_render(CommandContext& context) override;
  // Requests the five map layers, each whole and under its parameter id.
  void on_smart_pre_render(CommandContext& context) override;
  void on_do_dialog(CommandContext& context) override;
  // The header control's events: draws the banner, lights its link while the pointer is over
  // it, opens the product page when the link is clicked.
  void on_event(CommandContext& context) override;
  void on_arbitrary_callback(CommandContext& context) override;

  // The GPU side: the render thread, the sphere mesh and the current sample's records. Null
  // before global setup and after a global setup that failed.
  std::unique_ptr<RenderState> renderer;
  // The banner drawn at the top of the effect's controls: its decoded pixels, the size of
  // one image, and the host images made from them (released at global setdown, never here).
  std::unique_ptr<std::uint8_t[]> header_pixels;
  std::int32_t header_width = 0;
  std::int32_t header_height = 0;
  DRAWBOT_ImageRef header_image = nullptr;
  DRAWBOT_ImageRef header_image_hover = nullptr;
  // Whether the pointer is over the banner's link.
  bool header_hover = false;
  // 1-based number of the motion-blur sample being drawn in the current frame.
  float sample_counter = 0.0f;

 private:
  void draw_header(CommandContext& context, PF_EventExtra& event, bool header);
  // The host image of the banner to show now, made from header_pixels on first use (the banner
  // is decoded first if need be); null when the banner cannot be decoded.
  DRAWBOT_ImageRef header_host_image(HostSuites& suites, DRAWBOT_SupplierRef supplier);
  void release_header_images(CommandContext& context);

  RenderStateFactory make_render_state_;
};
