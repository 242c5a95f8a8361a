// A shared object with an entry point but no ".pipl" section. A host must refuse it before
// loading it: its initialiser leaves a mark in the environment if it ever runs.
#include <cstdlib>

#include "AE_Effect.h"

[[gnu::constructor]] static void mark_loaded() {
  setenv("LUNAFORM_HOST_NO_PIPL_LOADED", "1", 1);
}

extern "C" PF_Err PluginMain(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamList, PF_LayerDef*, void*) {
  return PF_Err_NONE;
}
