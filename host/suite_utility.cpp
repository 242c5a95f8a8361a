// "AEGP Utility Suite" version 10: registration of a module with the host's AEGP layer.
#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

A_Err register_with_aegp(AEGP_GlobalRefcon refcon, const A_char* name, AEGP_PluginID* id) {
  return with_active_host("AEGP_RegisterWithAEGP", [&](EffectHost& host) -> A_Err {
    if (name == nullptr || !has_out(host, "AEGP_RegisterWithAEGP", id, "plug-in id")) {
      return refuse_call(host, "AEGP_RegisterWithAEGP", "null name or plug-in id");
    }
    *id = host.aegp_objects().register_plugin(refcon, name);
    return A_Err_NONE;
  });
}

AEGP_UtilitySuite4 make_table() {
  AEGP_UtilitySuite4 t{};
  t.AEGP_RegisterWithAEGP = register_with_aegp;
  refuse<"AEGP_ReportInfo">(t.AEGP_ReportInfo);
  refuse<"AEGP_GetDriverPluginInitFuncVersion">(t.AEGP_GetDriverPluginInitFuncVersion);
  refuse<"AEGP_GetDriverImplementationVersion">(t.AEGP_GetDriverImplementationVersion);
  refuse<"AEGP_StartQuietErrors">(t.AEGP_StartQuietErrors);
  refuse<"AEGP_EndQuietErrors">(t.AEGP_EndQuietErrors);
  refuse<"AEGP_GetLastErrorMessage">(t.AEGP_GetLastErrorMessage);
  refuse<"AEGP_StartUndoGroup">(t.AEGP_StartUndoGroup);
  refuse<"AEGP_EndUndoGroup">(t.AEGP_EndUndoGroup);
  refuse<"AEGP_GetMainHWND">(t.AEGP_GetMainHWND);
  refuse<"AEGP_ShowHideAllFloaters">(t.AEGP_ShowHideAllFloaters);
  refuse<"AEGP_PaintPalGetForeColor">(t.AEGP_PaintPalGetForeColor);
  refuse<"AEGP_PaintPalGetBackColor">(t.AEGP_PaintPalGetBackColor);
  refuse<"AEGP_PaintPalSetForeColor">(t.AEGP_PaintPalSetForeColor);
  refuse<"AEGP_PaintPalSetBackColor">(t.AEGP_PaintPalSetBackColor);
  refuse<"AEGP_CharPalGetFillColor">(t.AEGP_CharPalGetFillColor);
  refuse<"AEGP_CharPalGetStrokeColor">(t.AEGP_CharPalGetStrokeColor);
  refuse<"AEGP_CharPalSetFillColor">(t.AEGP_CharPalSetFillColor);
  refuse<"AEGP_CharPalSetStrokeColor">(t.AEGP_CharPalSetStrokeColor);
  refuse<"AEGP_CharPalIsFillColorUIFrontmost">(t.AEGP_CharPalIsFillColorUIFrontmost);
  refuse<"AEGP_ConvertFpLongToHSFRatio">(t.AEGP_ConvertFpLongToHSFRatio);
  refuse<"AEGP_ConvertHSFRatioToFpLong">(t.AEGP_ConvertHSFRatioToFpLong);
  refuse<"AEGP_CauseIdleRoutinesToBeCalled">(t.AEGP_CauseIdleRoutinesToBeCalled);
  refuse<"AEGP_GetSuppressInteractiveUI">(t.AEGP_GetSuppressInteractiveUI);
  refuse<"AEGP_WriteToOSConsole">(t.AEGP_WriteToOSConsole);
  refuse<"AEGP_WriteToDebugLog">(t.AEGP_WriteToDebugLog);
  refuse<"AEGP_IsScriptingAvailable">(t.AEGP_IsScriptingAvailable);
  refuse<"AEGP_ExecuteScript">(t.AEGP_ExecuteScript);
  refuse<"AEGP_HostIsActivated">(t.AEGP_HostIsActivated);
  refuse<"AEGP_GetPluginPlatformRef">(t.AEGP_GetPluginPlatformRef);
  return t;
}

}  // namespace

const AEGP_UtilitySuite4* utility_suite() {
  static const AEGP_UtilitySuite4 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
