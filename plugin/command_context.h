#pragma once

#include "AE_Effect.h"

// What every handler of the plug-in object receives for one host command. Built on the
// stack by AePlugin::dispatch; the pointers are the host's and live for the command only.
struct CommandContext {
  PF_InData* in_data = nullptr;
  PF_OutData* out_data = nullptr;
  PF_ParamList params = nullptr;
  // The command's extra record: a custom-UI event, the Smart PreRender or Smart Render extra.
  void* extra = nullptr;
  // The host error code returned for this command. Handlers report host errors only here.
  PF_Err error = PF_Err_NONE;
};
