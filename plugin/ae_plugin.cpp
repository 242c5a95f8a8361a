#include "plugin/ae_plugin.h"

#include <cstdio>
#include <string>

#include "plugin/about.h"
#include "plugin/effect_flags.h"
#include "plugin/host_main_window.h"
#include "plugin/host_suites.h"
#include "plugin/product_info.h"

PF_Handle AePlugin::on_sequence_setup(CommandContext&) {
  return nullptr;
}

void AePlugin::on_sequence_setdown(CommandContext&, PF_Handle) {}

PF_Handle AePlugin::on_sequence_flatten(CommandContext&, PF_Handle) {
  return nullptr;
}

PF_Handle AePlugin::on_sequence_resetup(CommandContext&, PF_Handle) {
  return nullptr;
}

void AePlugin::on_completely_general(CommandContext&) {}

PF_Err AePlugin::dispatch(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data,
                          PF_ParamList params, void* extra) {
  CommandContext context{in_data, out_data, params, extra, PF_Err_NONE};
  const auto store_sequence_data = [&](PF_Handle handle) {
    out_data->sequence_data = handle;
    in_data->sequence_data = handle;
  };

  switch (command) {
    case PF_Cmd_ABOUT:
      show_about(host_window);
      break;
    case PF_Cmd_GLOBAL_SETUP:
      global_setup(context);
      break;
    case PF_Cmd_GLOBAL_SETDOWN:
      on_global_setdown(context);
      break;
    case PF_Cmd_PARAMS_SETUP:
      // The host's own input layer is parameter 0; the handler registers from index 1 on.
      out_data->num_params = 0;
      on_params_setup(context);
      out_data->num_params += 1;
      break;
    case PF_Cmd_SEQUENCE_SETUP:
      store_sequence_data(on_sequence_setup(context));
      break;
    case PF_Cmd_SEQUENCE_RESETUP:
      store_sequence_data(on_sequence_resetup(context, in_data->sequence_data));
      break;
    case PF_Cmd_SEQUENCE_FLATTEN:
      store_sequence_data(on_sequence_flatten(context, in_data->sequence_data));
      break;
    case PF_Cmd_SEQUENCE_SETDOWN:
      on_sequence_setdown(context, in_data->sequence_data);
      store_sequence_data(nullptr);
      break;
    case PF_Cmd_DO_DIALOG:
      on_do_dialog(context);
      break;
    case PF_Cmd_USER_CHANGED_PARAM:
      on_user_changed_param(context);
      break;
    case PF_Cmd_UPDATE_PARAMS_UI:
      on_update_params_ui(context);
      break;
    case PF_Cmd_EVENT:
      on_event(context);
      break;
    case PF_Cmd_COMPLETELY_GENERAL:
      on_completely_general(context);
      break;
    case PF_Cmd_ARBITRARY_CALLBACK:
      on_arbitrary_callback(context);
      break;
    case PF_Cmd_SMART_PRE_RENDER:
      prepare_smart_pre_render(context);
      on_smart_pre_render(context);
      break;
    case PF_Cmd_SMART_RENDER:
      if (prepare_smart_render(context)) {
        on_smart_render(context);
      }
      break;
    default:
      break;
  }
  return context.error;
}

void AePlugin::global_setup(CommandContext& context) {
  HostSuites suites(*context.in_data);
  context.out_data->my_version = effect_flags::kVersion;
  context.out_data->out_flags = effect_flags::kOutFlags;
  context.out_data->out_flags2 = effect_flags::kOutFlags2;

  // A host's log shows which build it loaded; no line end, the host's next line follows.
  const std::string banner = std::string("## ") + product::kName + " " + product::version_text() +
                             " (" + std::to_string(product::kBuild) + ")";
  std::fputs(banner.c_str(), stderr);
  std::fflush(stderr);

  try {
    // The AEGP layer knows the module by this id in every stream and effect call.
    aegp_plugin_id = 0;
    suites.get<AEGP_UtilitySuite4>().AEGP_RegisterWithAEGP(nullptr, product::kName,
                                                           &aegp_plugin_id);

    host_window = host_main_window(context.in_data);

    on_global_setup(context);
  } catch (...) {
    // Without a display the failure's popup goes to standard error too, and would otherwise
    // continue the banner's line.
    std::fputc('\n', stderr);
    std::fflush(stderr);
    throw;
  }
}
