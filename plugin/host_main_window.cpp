#include "plugin/host_main_window.h"

#include "AE_EffectCB.h"

hxsdk::NativeWindow host_main_window(PF_InData* in_data) {
  hxsdk::NativeWindow window = nullptr;
  if (in_data != nullptr && in_data->utils != nullptr &&
      in_data->utils->get_platform_data != nullptr) {
    in_data->utils->get_platform_data(in_data->effect_ref, PF_PlatData_MAIN_WND, &window);
  }
  return window;
}
