// "AEGP Effect Suite" version 2: disposal of the AEGP effect references the host handed out.
#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

A_Err dispose_effect(AEGP_EffectRefH effect) {
  constexpr const char* kName = "AEGP_DisposeEffect";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!host.aegp_objects().dispose(effect, AegpKind::effect)) {
      return refuse_call(host, kName, "unknown or already disposed effect reference");
    }
    return A_Err_NONE;
  });
}

AEGP_EffectSuite2 make_table() {
  AEGP_EffectSuite2 t{};
  t.AEGP_DisposeEffect = dispose_effect;
  refuse<"AEGP_GetLayerNumEffects">(t.AEGP_GetLayerNumEffects);
  refuse<"AEGP_GetLayerEffectByIndex">(t.AEGP_GetLayerEffectByIndex);
  refuse<"AEGP_GetInstalledKeyFromLayerEffect">(t.AEGP_GetInstalledKeyFromLayerEffect);
  refuse<"AEGP_GetEffectParamUnionByIndex">(t.AEGP_GetEffectParamUnionByIndex);
  refuse<"AEGP_GetEffectFlags">(t.AEGP_GetEffectFlags);
  refuse<"AEGP_SetEffectFlags">(t.AEGP_SetEffectFlags);
  refuse<"AEGP_ReorderEffect">(t.AEGP_ReorderEffect);
  refuse<"AEGP_EffectCallGeneric">(t.AEGP_EffectCallGeneric);
  refuse<"AEGP_ApplyEffect">(t.AEGP_ApplyEffect);
  refuse<"AEGP_DeleteLayerEffect">(t.AEGP_DeleteLayerEffect);
  refuse<"AEGP_GetNumInstalledEffects">(t.AEGP_GetNumInstalledEffects);
  refuse<"AEGP_GetNextInstalledEffect">(t.AEGP_GetNextInstalledEffect);
  refuse<"AEGP_GetEffectName">(t.AEGP_GetEffectName);
  refuse<"AEGP_GetEffectMatchName">(t.AEGP_GetEffectMatchName);
  refuse<"AEGP_GetEffectCategory">(t.AEGP_GetEffectCategory);
  refuse<"AEGP_DuplicateEffect">(t.AEGP_DuplicateEffect);
  return t;
}

}  // namespace

const AEGP_EffectSuite2* effect_suite() {
  static const AEGP_EffectSuite2 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
