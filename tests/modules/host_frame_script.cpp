// A module whose frames follow a fixed script, for tests of rendering through the host: frame 0
// is painted opaque white (at each depth the host's white: 255, 32768 or 1.0), frame 1 is left
// untouched (the output is checked out and nothing is written), frame 2 fails with
// PF_Err_OUT_OF_MEMORY after saying so on standard error, as a module's error popup does
// without a display. With LUNAFORM_FRAME_HOOK set, every frame is painted white after that shell
// command has run with FRAME set to the frame number: a test changes the world between two
// frames without a race.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "tests/modules/test_module_pipl.h"

LUNAFORM_TEST_MODULE_PIPL("Frame Script", "FrameScriptMain", "HOST TEST Frame Script")

namespace {

template <typename Pixel>
PF_Err fill(PF_EffectWorld& world, const Pixel& white) {
  for (A_long y = 0; y < world.height; ++y) {
    auto* row = reinterpret_cast<Pixel*>(reinterpret_cast<char*>(world.data) + y * world.rowbytes);
    std::fill(row, row + world.width, white);
  }
  return PF_Err_NONE;
}

PF_Err smart_render(const PF_InData& in_data, const PF_SmartRenderExtra& extra) {
  const A_long frame = in_data.current_time / in_data.time_step;
  const char* hook = std::getenv("LUNAFORM_FRAME_HOOK");
  if (hook != nullptr) {
    setenv("FRAME", std::to_string(frame).c_str(), 1);
    if (std::system(hook) != 0) {
      std::fputs("Frame Script: the hook failed\n", stderr);
      return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
  }
  PF_EffectWorld* output = nullptr;
  if (const PF_Err error = extra.cb->checkout_output(in_data.effect_ref, &output)) {
    return error;
  }
  switch (hook != nullptr ? 0 : frame) {
    case 0:
      return extra.input->bitdepth == 8    ? fill(*output, PF_Pixel8{255, 255, 255, 255})
             : extra.input->bitdepth == 16 ? fill(*output, PF_Pixel16{32768, 32768, 32768, 32768})
                                           : fill(*output, PF_PixelFloat{1.0f, 1.0f, 1.0f, 1.0f});
    case 2:
      std::fputs("Frame Script: frame 2 fails on purpose\n", stderr);
      return PF_Err_OUT_OF_MEMORY;
    default:
      return PF_Err_NONE;
  }
}

}  // namespace

extern "C" PF_Err FrameScriptMain(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data,
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
