// A module whose PiPL names an entry point it does not export.
#include "AE_Effect.h"
#include "tests/modules/test_module_pipl.h"

LUNAFORM_TEST_MODULE_PIPL("Missing Entry", "NotExportedMain", "HOST TEST Missing Entry")

extern "C" PF_Err PluginMain(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamList, PF_LayerDef*, void*) {
  return PF_Err_NONE;
}
