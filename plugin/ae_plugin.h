#pragma once

#include <cstdint>

#include "AE_Effect.h"
#include "platform/message_box.h"
#include "plugin/command_context.h"
#include "scene/render_data.h"

// Base class of the plug-in object: turns each host command into a call of one virtual
// handler, and prepares the Smart PreRender and Smart Render protocols before their handlers
// run. One object exists per loaded module, from global setup to global setdown; the entry
// point owns it. Commands reach it one at a time, on the host's threads.
//
// A handler reports a host error only through CommandContext::error; anything it throws
// travels to the entry point's exception barrier.
class AePlugin {
 public:
  AePlugin() = default;
  AePlugin(const AePlugin&) = delete;
  AePlugin& operator=(const AePlugin&) = delete;

  // Handlers, in the order of the object's virtual table.
  virtual ~AePlugin() = default;
  // Global setup, after the non-virtual global_setup has declared the effect.
  virtual void on_global_setup(CommandContext& context) = 0;
  virtual void on_global_setdown(CommandContext& context) = 0;
  // Parameter setup: the dispatcher counts the host's input layer itself, after this.
  virtual void on_params_setup(CommandContext& context) = 0;
  virtual void on_update_params_ui(CommandContext& context) = 0;
  // The sequence handlers return the handle the dispatcher stores as the sequence data.
  virtual PF_Handle on_sequence_setup(CommandContext& context);
  virtual void on_sequence_setdown(CommandContext& context, PF_Handle sequence_data);
  virtual PF_Handle on_sequence_flatten(CommandContext& context, PF_Handle sequence_data);
  virtual PF_Handle on_sequence_resetup(CommandContext& context, PF_Handle sequence_data);
  virtual void on_user_changed_param(CommandContext& context) = 0;
  // Smart Render, once `frame` describes the checked-out buffers.
  virtual void on_smart_render(CommandContext& context) = 0;
  // Smart PreRender, once the input layer is checked out and its rectangles merged.
  virtual void on_smart_pre_render(CommandContext& context) = 0;
  virtual void on_do_dialog(CommandContext& context) = 0;
  virtual void on_event(CommandContext& context) = 0;
  virtual void on_arbitrary_callback(CommandContext& context) = 0;
  virtual void on_completely_general(CommandContext& context);

  // Runs one host command; returns the host error code for it. Commands without a handler
  // (2, 10 to 12, 16, 18 to 21, and everything outside 0 to 24) do nothing and return 0.
  PF_Err dispatch(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data, PF_ParamList params,
                  void* extra);

  // Global setup: declares the effect's version and flags, asks the host for its main window,
  // then runs on_global_setup.
  void global_setup(CommandContext& context);

  // Checks out one buffer of the current Smart Render: the output for a negative
  // checkout_id, else the layer checked out under that id at pre-render. The callback's
  // result goes to context.error. Fills `image` (keeping its width and height when nothing
  // comes back) and returns the host's world, or null on failure.
  PF_EffectWorld* checkout_image(CommandContext& context, A_long checkout_id, image_desc& image);

  // Asks the host, during Smart PreRender, for the whole layer chosen in the layer parameter
  // `param_id`, under the checkout id param_id. Returns the host callback's result.
  PF_Err request_layer(CommandContext& context, std::int32_t param_id);

  // The id the host's AEGP layer gave the module at global setup.
  std::int32_t aegp_plugin_id = 0;
  // The current Smart Render's buffers and geometry; valid during that command only.
  render_data frame{};
  // The host's main window, owner of the module's own windows.
  hxsdk::NativeWindow host_window = nullptr;

 private:
  void prepare_smart_pre_render(CommandContext& context);
  // False when a buffer could not be checked out (the host's code is in context.error).
  bool prepare_smart_render(CommandContext& context);
};
