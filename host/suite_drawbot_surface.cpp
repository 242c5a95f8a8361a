// "DRAWBOT Surface Suite" version 1: images drawn on the draw event's surface.
#include <cairo.h>

#include <algorithm>
#include <cmath>

#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

SPErr draw_image(DRAWBOT_SurfaceRef surface, DRAWBOT_ImageRef image, const DRAWBOT_PointF32* origin,
                 float alpha) {
  constexpr const char* kName = "DrawImage";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, kName, origin, "origin")) {
      return A_Err_PARAMETER;
    }
    const DrawbotObjects& objects = host.drawbot_objects();
    if (surface == nullptr || surface != objects.surface()) {
      return refuse_call(host, kName, "not the surface of the current draw event");
    }
    cairo_surface_t* pixels = objects.image(image);
    if (pixels == nullptr) {
      return refuse_call(host, kName, "unknown or already released image");
    }
    if (!std::isfinite(origin->x) || !std::isfinite(origin->y) || !std::isfinite(alpha)) {
      return refuse_call(host, kName, "an origin or opacity that is not a number");
    }
    cairo_t* canvas = objects.canvas();
    cairo_save(canvas);
    cairo_set_source_surface(canvas, pixels, origin->x, origin->y);
    cairo_paint_with_alpha(canvas, std::clamp(alpha, 0.0f, 1.0f));
    cairo_restore(canvas);
    return A_Err_NONE;
  });
}

DRAWBOT_SurfaceSuite1 make_table() {
  DRAWBOT_SurfaceSuite1 t{};
  t.DrawImage = draw_image;
  refuse<"PushStateStack">(t.PushStateStack);
  refuse<"PopStateStack">(t.PopStateStack);
  refuse<"PaintRect">(t.PaintRect);
  refuse<"FillPath">(t.FillPath);
  refuse<"StrokePath">(t.StrokePath);
  refuse<"Clip">(t.Clip);
  refuse<"GetClipBounds">(t.GetClipBounds);
  refuse<"IsWithinClipBounds">(t.IsWithinClipBounds);
  refuse<"Transform">(t.Transform);
  refuse<"DrawString">(t.DrawString);
  refuse<"SetInterpolationPolicy">(t.SetInterpolationPolicy);
  refuse<"GetInterpolationPolicy">(t.GetInterpolationPolicy);
  refuse<"SetAntiAliasPolicy">(t.SetAntiAliasPolicy);
  refuse<"GetAntiAliasPolicy">(t.GetAntiAliasPolicy);
  refuse<"Flush">(t.Flush);
  refuse<"GetTransformToScreenScale">(t.GetTransformToScreenScale);
  return t;
}

}  // namespace

const DRAWBOT_SurfaceSuite1* drawbot_surface_suite() {
  static const DRAWBOT_SurfaceSuite1 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
