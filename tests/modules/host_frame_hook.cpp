// Paints every 8-bit frame opaque white after running the shell command LUNAFORM_FRAME_HOOK with
// FRAME set to the frame number: a test changes the world between two frames without a race.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "tests/modules/test_module_pipl.h"

LUNAFORM_TEST_MODULE_PIPL("Frame Hook", "FrameHookMain", "HOST TEST Frame Hook")

namespace {

PF_Err smart_render(const PF_InData& in_data, const PF_SmartRenderExtra& extra) {
  if (const char* hook = std::getenv("LUNAFORM_FRAME_HOOK")) {
    setenv("FRAME", std::to_string(in_data.current_time / in_data.time_step).c_str(), 1);
    if (std::system(hook) != 0) {
      std::fputs("Frame Hook: the hook failed\n", stderr);
      return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
  }
  PF_EffectWorld* output = nullptr;
  if (const PF_Err error = extra.cb->checkout_output(in_data.effect_ref, &output)) {
    return error;
  }
  if (extra.input->bitdepth != 8) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  for (A_long y = 0; y < output->height; ++y) {
    auto* row = reinterpret_cast<PF_Pixel8*>(reinterpret_cast<char*>(output->data) +
                                             static_cast<std::ptrdiff_t>(y) * output->rowbytes);
    for (A_long x = 0; x < output->width; ++x) {
      row[x] = PF_Pixel8{255, 255, 255, 255};
    }
  }
  return PF_Err_NONE;
}

}  // namespace

extern "C" PF_Err FrameHookMain(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data,
                                PF_ParamList, PF_LayerDef*, void* extra) {
  if (command == PF_Cmd_PARAMS_SETUP) {
    out_data->num_params = 1;
  } else if (command == PF_Cmd_SMART_PRE_RENDER) {
    auto* pre_render = static_cast<PF_PreRenderExtra*>(extra);
    pre_render->output->result_rect = pre_render->input->output_request.rect;
    pre_render->output->max_result_rect = pre_render->input->output_request.rect;
  } else if (command == PF_Cmd_SMART_RENDER) {
    return smart_render(*in_data, *static_cast<PF_SmartRenderExtra*>(extra));
  }
  return PF_Err_NONE;
}
