// "PF Effect Custom UI Suite" version 1: the drawing reference of a draw event's context.
#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

// Outside a draw event the context has no drawing: the reference is null, as it is for a
// host that cannot draw there.
PF_Err get_drawing_reference(const PF_ContextH context, DRAWBOT_DrawRef* reference) {
  constexpr const char* kName = "PF_GetDrawingReference";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, kName, reference, "reference")) {
      return A_Err_PARAMETER;
    }
    *reference = nullptr;
    if (context == nullptr || context != host.event_context()) {
      return refuse_call(host, kName, "not the context of the event being handled");
    }
    *reference = host.drawbot_objects().drawing();
    return A_Err_NONE;
  });
}

}  // namespace

const PF_EffectCustomUISuite1* custom_ui_suite() {
  static const PF_EffectCustomUISuite1 table{get_drawing_reference};
  return &table;
}

}  // namespace lunaform::host::suites
