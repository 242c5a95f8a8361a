#pragma once

#include "AE_EffectSuites.h"
#include "AE_GeneralPlug.h"
#include "DrawbotSuite.h"

// The function tables of the host's suites, one per file host/suite_NAME.cpp.
namespace lunaform::host::suites {

const AEGP_UtilitySuite4* utility_suite();
const AEGP_PFInterfaceSuite1* pf_interface_suite();
const AEGP_CameraSuite2* camera_suite();
const AEGP_LightSuite2* light_suite();
const AEGP_CompSuite5* comp_suite();
const AEGP_ItemSuite6* item_suite();
const AEGP_LayerSuite5* layer_suite();
const AEGP_StreamSuite2* stream_suite();
const AEGP_DynamicStreamSuite2* dynamic_stream_suite();
const AEGP_EffectSuite2* effect_suite();
const PF_ParamUtilsSuite3* param_utils_suite();
const PF_EffectCustomUISuite1* custom_ui_suite();
const DRAWBOT_DrawbotSuite1* drawbot_draw_suite();
const DRAWBOT_SupplierSuite1* drawbot_supplier_suite();
const DRAWBOT_SurfaceSuite1* drawbot_surface_suite();

}  // namespace lunaform::host::suites
