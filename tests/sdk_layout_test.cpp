// The records and suite tables of sdk/ae laid out as the published effect API lays them out on
// x86-64, every number worked out by hand from the published field lists (A_long 4 bytes,
// pointers 8, natural alignment), none derived from the declarations under test.
#include <gtest/gtest.h>

#include <cstddef>

#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "AE_EffectCBSuites.h"
#include "AE_EffectSuites.h"
#include "AE_EffectUI.h"
#include "AE_GeneralPlug.h"
#include "DrawbotSuite.h"
#include "SPBasic.h"

namespace {

constexpr std::size_t P = 8;  // a pointer

struct Layout {
  const char* what;
  std::size_t declared, published;
};
// clang-format off
#define SIZE(type, bytes) Layout{#type, sizeof(type), bytes}
#define AT(type, field, bytes) Layout{#type "::" #field, offsetof(type, field), bytes}
#define V(name, value) Layout{#name, static_cast<std::size_t>(name), value}
// clang-format on

TEST(SdkLayout, DeclarationsHaveThePublishedSizesOffsetsAndCommandNumbers) {
  const Layout published[] = {
      SIZE(A_long, 4), SIZE(A_short, 2), SIZE(A_Boolean, 1), SIZE(A_u_longlong, 8),
      SIZE(PF_Handle, P), SIZE(A_Time, 4 + 4), SIZE(A_Ratio, 4 + 4), SIZE(A_Matrix4, 16 * 8),
      SIZE(A_FloatPoint, 2 * 8), SIZE(A_LRect, 4 * 4), SIZE(PF_Pixel, 4), SIZE(PF_Pixel16, 8),
      SIZE(PF_PixelFloat, 16), SIZE(PF_Point, 8), SIZE(PF_Rect, 16), SIZE(PF_RationalScale, 8),
      SIZE(PF_SpecVersion, 4), SIZE(PF_FloatMatrix, 9 * 8), SIZE(PF_SliderDef, 4 + 32 + 32 + 5 * 4),
      SIZE(PF_FixedSliderDef, 4 + 32 + 32 + 5 * 4 + 2 + 2), SIZE(PF_FloatSliderDef, 88),
      SIZE(PF_AngleDef, 4 * 4), SIZE(PF_CheckBoxDef, 4 + 1 + 1 + 2 + 8), SIZE(PF_ColorDef, 4 + 4),
      SIZE(PF_PointDef, 4 + 4 + 3 + 1 + 4 + 4), SIZE(PF_PopupDef, 4 + 2 + 2 + 8),
      SIZE(PF_Point3DDef, 6 * 8 + 16), SIZE(PF_ArbitraryDef, 2 + 2 + 4 + 8 + 8 + 8),
      SIZE(PF_ParamDefUnion, 120), SIZE(PF_ParamDef, 4 + 4 + 2 + 2 + 4 + 32 + 4 + 4 + 120),
      SIZE(PF_InteractCallbacks, (9 + 3 + 10) * P),
      SIZE(PF_SoundWorld, 8 + 2 + 2 + 2 + 2 + 4 + 4 + 8), SIZE(PF_ANSICallbacks, 19 * P + 8),
      SIZE(PF_ColorCallbacks, 8 * P), SIZE(PF_RenderRequest, 16 + 4 + 4 + 1 + 3 + 16),
      SIZE(PF_PreRenderInput, 44 + 2 + 2 + 8 + 4 + 4),
      SIZE(PF_PreRenderOutput, 16 + 16 + 1 + 1 + 2 + 4 + 8 + 8), SIZE(PF_PreRenderCallbacks, 2 * P),
      SIZE(PF_CheckoutResult, 16 + 16 + 8 + 1 + 3 + 4 + 4 + 6 * 4),
      SIZE(PF_SmartRenderInput, 44 + 2 + 2 + 8 + 8 + 4 + 4), SIZE(PF_CustomUIInfo, 11 * 4),
      SIZE(PF_EventUnion, 64), SIZE(PF_EffectWindowInfo, 4 + 4 + 16 + 16 + 4),
      SIZE(PF_EventCallbacks, 9 * P), SIZE(PF_EventExtra, 8 + 4 + 4 + 64 + 44 + 4 + 9 * 8 + 4 + 4),
      SIZE(PF_Context, 4 + 4 + 8 + 32 + 8 + 8 + 8), SIZE(AEGP_ColorVal, 4 * 8),
      SIZE(AEGP_TwoDVal, 2 * 8), SIZE(AEGP_ThreeDVal, 3 * 8), SIZE(AEGP_StreamVal2, 4 * 8),
      SIZE(AEGP_StreamVal, 4 * 8), SIZE(AEGP_StreamValue2, 8 + 32), SIZE(AEGP_StreamValue, 8 + 32),
      SIZE(AEGP_LTimeMode, 2), SIZE(AEGP_LayerTransferMode, 3 * 4),
      SIZE(AEGP_ErrReportState, 12 * 4), SIZE(PF_State, 4 * 4),
      // Suite tables: the number of functions of each published version.
      SIZE(SPBasicSuite, 7 * P), SIZE(AEGP_UtilitySuite4, 30 * P),
      SIZE(AEGP_PFInterfaceSuite1, 5 * P), SIZE(AEGP_StreamSuite2, 22 * P),
      SIZE(AEGP_DynamicStreamSuite2, 17 * P), SIZE(AEGP_EffectSuite2, 17 * P),
      SIZE(AEGP_CameraSuite2, 5 * P), SIZE(AEGP_LightSuite2, 2 * P), SIZE(AEGP_CompSuite5, 30 * P),
      SIZE(AEGP_ItemSuite6, 26 * P), SIZE(AEGP_LayerSuite5, 46 * P),
      SIZE(PF_ParamUtilsSuite3, 9 * P), SIZE(PF_EffectCustomUISuite1, P),
      SIZE(PF_HandleSuite1, 6 * P), SIZE(DRAWBOT_DrawbotSuite1, 2 * P),
      SIZE(DRAWBOT_SupplierSuite1, 13 * P), SIZE(DRAWBOT_SurfaceSuite1, 17 * P),
      SIZE(PF_LayerDef, 8 + 8 + 8 + 8 + 4 + 4 + 4 + 16 + 4 + 8 + 8 + 8 + 8 + 8 + 16),
      SIZE(PF_InData, 176 + 8 + 8 + 4 + 4 + 10 * 4 + 5 * 4 + 16 + 2 * 4 + 3 * 8 + 4 + 3 * 8 +
                          3 * 4 + 4 + 32 + 8 + 3 * 4 + 4),
      SIZE(PF_OutData,
           4 + 32 + 4 + 8 + 4 + 4 + 8 + 4 + 4 + 8 + 4 + 4 + 8 + 4 + 256 + 4 + 4 + 4 + 32 + 4 + 4),
      // 26 callbacks, the ANSI block, the colour block, 14 callbacks and an A_long padded.
      SIZE(PF_UtilCallbacks, 26 * P + 160 + 64 + 14 * P + 8),

      // Offsets where a field left out or swapped with its neighbour keeps the size.
      AT(PF_Pixel, alpha, 0), AT(PF_Pixel, red, 1), AT(PF_LayerDef, data, 24),
      AT(PF_LayerDef, rowbytes, 32), AT(PF_LayerDef, extent_hint, 44),
      AT(PF_LayerDef, platform_ref, 64), AT(PF_LayerDef, pix_aspect_ratio, 88),
      AT(PF_LayerDef, origin_x, 104), AT(PF_FloatSliderDef, display_flags, 70),
      AT(PF_FloatSliderDef, fs_flags, 72), AT(PF_FloatSliderDef, useExponent, 80),
      AT(PF_ParamDef, param_type, 12), AT(PF_ParamDef, u, 56), AT(PF_InData, effect_ref, 184),
      AT(PF_InData, current_time, 224), AT(PF_InData, downsample_x, 284),
      AT(PF_InData, downsample_y, 292), AT(PF_InData, pixel_aspect_ratio, 300),
      AT(PF_InData, global_data, 312), AT(PF_InData, pica_basicP, 384),
      AT(PF_InData, shutter_phase, 400), AT(PF_OutData, global_data, 40),
      AT(PF_OutData, out_flags, 96), AT(PF_OutData, return_msg, 100),
      AT(PF_OutData, out_flags2, 400), AT(PF_UtilCallbacks, host_new_handle, 20 * P),
      AT(PF_UtilCallbacks, ansi, 26 * P),
      AT(PF_UtilCallbacks, get_platform_data, 26 * P + 160 + 64), AT(PF_PreRenderOutput, solid, 32),
      AT(PF_PreRenderOutput, pre_render_data, 40), AT(PF_CheckoutResult, ref_width, 44),
      AT(PF_SmartRenderInput, pre_render_data, 48),
      AT(PF_SmartRenderCallbacks, checkout_output, 2 * P), AT(PF_EventExtra, effect_win, 80),
      AT(PF_EventExtra, cbs, 128), AT(PF_EventExtra, evt_out_flags, 204),
      // The suites' functions: the slot of the last one the module calls in each table.
      AT(AEGP_PFInterfaceSuite1, AEGP_GetEffectCameraMatrix, 4 * P),
      AT(AEGP_StreamSuite2, AEGP_GetLayerStreamValue, 16 * P),
      AT(AEGP_CompSuite5, AEGP_GetCompShutterAnglePhase, 9 * P),
      AT(AEGP_LayerSuite5, AEGP_GetLayerToWorldXform, 38 * P),
      AT(PF_ParamUtilsSuite3, PF_AreStatesIdentical, 2 * P),
      AT(DRAWBOT_SupplierSuite1, ReleaseObject, 12 * P),
      // The commands and errors, numbers every host and module exchange.
      V(PF_Cmd_ABOUT, 0), V(PF_Cmd_GLOBAL_SETUP, 1), V(PF_Cmd_GLOBAL_SETDOWN, 3),
      V(PF_Cmd_PARAMS_SETUP, 4), V(PF_Cmd_SEQUENCE_SETUP, 5), V(PF_Cmd_SEQUENCE_RESETUP, 6),
      V(PF_Cmd_SEQUENCE_FLATTEN, 7), V(PF_Cmd_SEQUENCE_SETDOWN, 8), V(PF_Cmd_DO_DIALOG, 9),
      V(PF_Cmd_USER_CHANGED_PARAM, 13), V(PF_Cmd_UPDATE_PARAMS_UI, 14), V(PF_Cmd_EVENT, 15),
      V(PF_Cmd_COMPLETELY_GENERAL, 17), V(PF_Cmd_ARBITRARY_CALLBACK, 22),
      V(PF_Cmd_SMART_PRE_RENDER, 23), V(PF_Cmd_SMART_RENDER, 24), V(PF_Err_OUT_OF_MEMORY, 4),
      V(PF_Err_INTERNAL_STRUCT_DAMAGED, 512), V(PF_Err_BAD_CALLBACK_PARAM, 516),
      V(PF_Interrupt_CANCEL, 517)};
  for (const Layout& layout : published) {
    EXPECT_EQ(layout.declared, layout.published) << layout.what;
  }
}

}  // namespace
