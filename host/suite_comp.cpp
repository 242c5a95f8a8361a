// "AEGP Comp Suite" version 11: the composition's item, flags and shutter.
#include <cmath>
#include <numeric>

#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

// An angle in degrees as a fraction of one frame (360 degrees), reduced: 180 gives 1/2, -90
// gives -1/4. Angles with decimals keep up to six of them.
A_Ratio fraction_of_frame(double degrees) {
  std::int64_t scale = 1;
  while (scale < 1000000 && std::abs(degrees * scale - std::round(degrees * scale)) > 1e-9) {
    scale *= 10;
  }
  std::int64_t num = std::llround(degrees * scale);
  std::int64_t den = 360 * scale;
  const std::int64_t divisor = std::gcd(num, den);
  if (divisor > 1) {
    num /= divisor;
    den /= divisor;
  }
  return {static_cast<A_long>(num), static_cast<A_u_long>(den)};
}

A_Err get_item_from_comp(AEGP_CompH comp, AEGP_ItemH* item) {
  constexpr const char* kName = "AEGP_GetItemFromComp";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!is_comp(host, kName, comp) || !has_out(host, kName, item, "item")) {
      return A_Err_PARAMETER;
    }
    *item = static_cast<AEGP_ItemH>(host.aegp_objects().item());
    return A_Err_NONE;
  });
}

A_Err get_comp_flags(AEGP_CompH comp, AEGP_CompFlags* flags) {
  constexpr const char* kName = "AEGP_GetCompFlags";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!is_comp(host, kName, comp) || !has_out(host, kName, flags, "flags")) {
      return A_Err_PARAMETER;
    }
    *flags = host.composition().motion_blur ? AEGP_CompFlag_ENABLE_MOTION_BLUR : 0;
    return A_Err_NONE;
  });
}

// The module uses the angle's ratio as the fraction of a frame the shutter stays open.
A_Err get_comp_shutter_angle_phase(AEGP_CompH comp, A_Ratio* angle, A_Ratio* phase) {
  constexpr const char* kName = "AEGP_GetCompShutterAnglePhase";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!is_comp(host, kName, comp) || !has_out(host, kName, angle, "angle") ||
        !has_out(host, kName, phase, "phase")) {
      return A_Err_PARAMETER;
    }
    *angle = fraction_of_frame(host.composition().shutter_angle);
    *phase = fraction_of_frame(host.composition().shutter_phase);
    return A_Err_NONE;
  });
}

AEGP_CompSuite5 make_table() {
  AEGP_CompSuite5 t{};
  t.AEGP_GetItemFromComp = get_item_from_comp;
  t.AEGP_GetCompFlags = get_comp_flags;
  t.AEGP_GetCompShutterAnglePhase = get_comp_shutter_angle_phase;
  refuse<"AEGP_GetCompFromItem">(t.AEGP_GetCompFromItem);
  refuse<"AEGP_GetCompDownsampleFactor">(t.AEGP_GetCompDownsampleFactor);
  refuse<"AEGP_SetCompDownsampleFactor">(t.AEGP_SetCompDownsampleFactor);
  refuse<"AEGP_GetCompBGColor">(t.AEGP_GetCompBGColor);
  refuse<"AEGP_SetCompBGColor">(t.AEGP_SetCompBGColor);
  refuse<"AEGP_GetCompFramerate">(t.AEGP_GetCompFramerate);
  refuse<"AEGP_SetCompFrameRate">(t.AEGP_SetCompFrameRate);
  refuse<"AEGP_GetCompShutterFrameRange">(t.AEGP_GetCompShutterFrameRange);
  refuse<"AEGP_GetCompWorkAreaStart">(t.AEGP_GetCompWorkAreaStart);
  refuse<"AEGP_GetCompWorkAreaDuration">(t.AEGP_GetCompWorkAreaDuration);
  refuse<"AEGP_SetCompWorkAreaStartAndDuration">(t.AEGP_SetCompWorkAreaStartAndDuration);
  refuse<"AEGP_CreateSolidInComp">(t.AEGP_CreateSolidInComp);
  refuse<"AEGP_CreateCameraInComp">(t.AEGP_CreateCameraInComp);
  refuse<"AEGP_CreateLightInComp">(t.AEGP_CreateLightInComp);
  refuse<"AEGP_CreateComp">(t.AEGP_CreateComp);
  refuse<"AEGP_GetNewCollectionFromCompSelection">(t.AEGP_GetNewCollectionFromCompSelection);
  refuse<"AEGP_SetSelection">(t.AEGP_SetSelection);
  refuse<"AEGP_GetCompDisplayStartTime">(t.AEGP_GetCompDisplayStartTime);
  refuse<"AEGP_SetCompDisplayStartTime">(t.AEGP_SetCompDisplayStartTime);
  refuse<"AEGP_SetCompDuration">(t.AEGP_SetCompDuration);
  refuse<"AEGP_CreateNullInComp">(t.AEGP_CreateNullInComp);
  refuse<"AEGP_SetCompPixelAspectRatio">(t.AEGP_SetCompPixelAspectRatio);
  refuse<"AEGP_CreateTextLayerInComp">(t.AEGP_CreateTextLayerInComp);
  refuse<"AEGP_SetCompDimensions">(t.AEGP_SetCompDimensions);
  refuse<"AEGP_DuplicateComp">(t.AEGP_DuplicateComp);
  refuse<"AEGP_GetCompFrameDuration">(t.AEGP_GetCompFrameDuration);
  refuse<"AEGP_GetMostRecentlyUsedComp">(t.AEGP_GetMostRecentlyUsedComp);
  return t;
}

}  // namespace

const AEGP_CompSuite5* comp_suite() {
  static const AEGP_CompSuite5 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
