// "DRAWBOT Draw Suite" version 1: the supplier and surface of a draw event's drawing.
#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

// Both answers come from the one open drawing; `pick` chooses which of its objects.
template <typename Ref, typename Pick>
SPErr drawing_part(const char* function, DRAWBOT_DrawRef drawing, Ref* out, Pick pick) {
  return with_active_host(function, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, function, out, "reference")) {
      return A_Err_PARAMETER;
    }
    const DrawbotObjects& objects = host.drawbot_objects();
    if (drawing == nullptr || drawing != objects.drawing()) {
      *out = nullptr;
      return refuse_call(host, function, "not the drawing reference of the current draw event");
    }
    *out = pick(objects);
    return A_Err_NONE;
  });
}

SPErr get_supplier(DRAWBOT_DrawRef drawing, DRAWBOT_SupplierRef* supplier) {
  return drawing_part("GetSupplier", drawing, supplier,
                      [](const DrawbotObjects& objects) { return objects.supplier(); });
}

SPErr get_surface(DRAWBOT_DrawRef drawing, DRAWBOT_SurfaceRef* surface) {
  return drawing_part("GetSurface", drawing, surface,
                      [](const DrawbotObjects& objects) { return objects.surface(); });
}

}  // namespace

const DRAWBOT_DrawbotSuite1* drawbot_draw_suite() {
  static const DRAWBOT_DrawbotSuite1 table{get_supplier, get_surface};
  return &table;
}

}  // namespace lunaform::host::suites
