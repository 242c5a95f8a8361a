#pragma once

#include <cstdint>
#include <memory>

#include "DrawbotSuiteTypes.h"
#include "plugin/ae_plugin.h"

// The effect's plug-in object: the handlers that give the effect its parameters, its
// layer requests and (as they arrive) its lifecycle, banner and rendering.
class AePluginConnection : public AePlugin {
 public:
  void on_global_setup(CommandContext& context) override;
  void on_global_setdown(CommandContext& context) override;
  void on_params_setup(CommandContext& context) override;
  void on_update_params_ui(CommandContext& context) override;
  void on_user_changed_param(CommandContext& context) override;
  void on_smart_render(CommandContext& context) override;
  // Requests the five map layers, each whole and under its parameter id.
  void on_smart_pre_render(CommandContext& context) override;
  void on_do_dialog(CommandContext& context) override;
  void on_event(CommandContext& context) override;
  void on_arbitrary_callback(CommandContext& context) override;

  // The banner drawn at the top of the effect's controls: its decoded pixels, the size of
  // one image, and the host images made from them (released at global setdown, never here).
  std::unique_ptr<std::uint8_t[]> header_pixels;
  std::int32_t header_width = 0;
  std::int32_t header_height = 0;
  DRAWBOT_ImageRef header_image = nullptr;
  DRAWBOT_ImageRef header_image_hover = nullptr;
  // Whether the pointer is over the banner's link.
  bool header_hover = false;
};
