// "AEGP Light Suite" version 2: the type of a light layer.
#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

A_Err get_light_type(AEGP_LayerH light_layer, AEGP_LightType* type) {
  constexpr const char* kName = "AEGP_GetLightType";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const auto index = layer_index_of(host, kName, light_layer);
    if (!index || !has_out(host, kName, type, "light type")) {
      return A_Err_PARAMETER;
    }
    const auto* light = std::get_if<LightLayer>(&host.composition().layers[*index].content);
    if (light == nullptr) {
      return refuse_call(host, kName, "the layer is not a light");
    }
    *type = static_cast<AEGP_LightType>(light->type);
    return A_Err_NONE;
  });
}

AEGP_LightSuite2 make_table() {
  AEGP_LightSuite2 t{};
  t.AEGP_GetLightType = get_light_type;
  refuse<"AEGP_SetLightType">(t.AEGP_SetLightType);
  return t;
}

}  // namespace

const AEGP_LightSuite2* light_suite() {
  static const AEGP_LightSuite2 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
