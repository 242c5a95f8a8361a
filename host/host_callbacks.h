#pragma once

#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "SPBasic.h"

namespace lunaform::host {

// The C function tables the host hands to a module: in-data interaction callbacks, utility
// callbacks, the basic suite and the Smart Render callbacks. Each entry finds its EffectHost
// (by effect reference, or the host active on the thread for calls that carry none) and
// forwards to it; a call that finds no host returns an error instead of touching memory.
class HostCallbacks {
 public:
  static PF_InteractCallbacks interact();
  static PF_UtilCallbacks* utils();
  static SPBasicSuite* basic_suite();
  static PF_PreRenderCallbacks* pre_render();
  static PF_SmartRenderCallbacks* smart_render();
};

}  // namespace lunaform::host
