#include "host/host_suites.h"

#include "host/suite_tables.h"

namespace lunaform::host {

void provide_host_suites(SuiteRegistry& registry) {
  registry.provide(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4, suites::utility_suite());
  registry.provide(kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1,
                   suites::pf_interface_suite());
  registry.provide(kAEGPCameraSuite, kAEGPCameraSuiteVersion2, suites::camera_suite());
  registry.provide(kAEGPLightSuite, kAEGPLightSuiteVersion2, suites::light_suite());
  registry.provide(kAEGPCompSuite, kAEGPCompSuiteVersion5, suites::comp_suite());
  registry.provide(kAEGPItemSuite, kAEGPItemSuiteVersion6, suites::item_suite());
  registry.provide(kAEGPLayerSuite, kAEGPLayerSuiteVersion5, suites::layer_suite());
  registry.provide(kAEGPStreamSuite, kAEGPStreamSuiteVersion2, suites::stream_suite());
  registry.provide(kAEGPDynamicStreamSuite, kAEGPDynamicStreamSuiteVersion2,
                   suites::dynamic_stream_suite());
  registry.provide(kAEGPEffectSuite, kAEGPEffectSuiteVersion2, suites::effect_suite());
  registry.provide(kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3, suites::param_utils_suite());
  registry.provide(kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion1,
                   suites::custom_ui_suite());
  registry.provide(kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1, suites::drawbot_draw_suite());
  registry.provide(kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1,
                   suites::drawbot_supplier_suite());
  registry.provide(kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version1,
                   suites::drawbot_surface_suite());
}

}  // namespace lunaform::host
