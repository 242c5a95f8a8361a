// A module whose global setup fails after taking host memory: only the global setdown that a
// host still owes it can give that memory back. Its entry point is not called PluginMain, so
// the host must take the name from the PiPL.
#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "SPBasic.h"
#include "tests/modules/test_module_pipl.h"

LUNAFORM_TEST_MODULE_PIPL("Failing Setup", "FailingSetupMain", "HOST TEST Failing Setup")

extern "C" PF_Err FailingSetupMain(PF_Cmd command, PF_InData* in_data, PF_OutData* out_data,
                                   PF_ParamList, PF_LayerDef*, void*) {
  if (command == PF_Cmd_GLOBAL_SETUP) {
    out_data->global_data = in_data->utils->host_new_handle(64);
    const void* suite = nullptr;
    in_data->pica_basicP->AcquireSuite("AEGP Utility Suite", 10, &suite);
    if (suite != nullptr) {
      in_data->pica_basicP->ReleaseSuite("AEGP Utility Suite", 10);
    }
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
  if (command == PF_Cmd_GLOBAL_SETDOWN) {
    if (in_data->global_data != nullptr) {
      in_data->utils->host_dispose_handle(in_data->global_data);
    }
    out_data->global_data = nullptr;
  }
  return PF_Err_NONE;
}
