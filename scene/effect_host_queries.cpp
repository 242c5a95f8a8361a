#include "scene/effect_host_queries.h"

#include <string>

#include "plugin/hx_exception.h"

effect_layer_place find_effect_layer(const PF_InData& in_data, HostSuites& suites) {
  effect_layer_place place;
  require_host(
      suites.get<AEGP_PFInterfaceSuite1>().AEGP_GetEffectLayer(in_data.effect_ref, &place.layer),
      "AEGP_GetEffectLayer");
  require_host(
      suites.get<AEGP_LayerSuite5>().AEGP_GetLayerParentComp(place.layer, &place.composition),
      "AEGP_GetLayerParentComp");
  return place;
}

float layer_pixel_aspect(const PF_InData& in_data) {
  return static_cast<float>(in_data.pixel_aspect_ratio.num) /
         static_cast<float>(in_data.pixel_aspect_ratio.den);
}

float composition_pixel_aspect(HostSuites& suites, AEGP_CompH composition) {
  AEGP_ItemH item = nullptr;
  require_host(suites.get<AEGP_CompSuite5>().AEGP_GetItemFromComp(composition, &item),
               "AEGP_GetItemFromComp");
  A_Ratio aspect{1, 1};
  require_host(suites.get<AEGP_ItemSuite6>().AEGP_GetItemPixelAspectRatio(item, &aspect),
               "AEGP_GetItemPixelAspectRatio");
  if (aspect.num == 0 || aspect.den == 0) {
    throw hx_exception("The host sent a composition pixel aspect ratio of " +
                       std::to_string(aspect.num) + "/" + std::to_string(aspect.den) + ".");
  }
  return static_cast<float>(aspect.num) / static_cast<float>(aspect.den);
}

A_Time composition_time(const PF_InData& in_data, HostSuites& suites, A_long effect_time) {
  A_Time time{};
  require_host(suites.get<AEGP_PFInterfaceSuite1>().AEGP_ConvertEffectToCompTime(
                   in_data.effect_ref, effect_time, in_data.time_scale, &time),
               "AEGP_ConvertEffectToCompTime");
  return time;
}
