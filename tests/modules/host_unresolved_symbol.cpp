// A module that needs a function no library provides: the loader refuses it when it binds
// every symbol at load time.
#include "AE_Effect.h"
#include "tests/modules/test_module_pipl.h"

LUNAFORM_TEST_MODULE_PIPL("Unresolved", "PluginMain", "HOST TEST Unresolved")

extern "C" PF_Err lunaform_test_function_nobody_defines(PF_Cmd command);

extern "C" PF_Err PluginMain(PF_Cmd command, PF_InData*, PF_OutData*, PF_ParamList, PF_LayerDef*,
                             void*) {
  return lunaform_test_function_nobody_defines(command);
}
