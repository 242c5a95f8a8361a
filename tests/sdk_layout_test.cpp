// The declarations in sdk/ae must lay out every record and suite table exactly as the
// published effect API does on x86-64, or a real host and the module would read each
// other's fields at the wrong places. Every expected number below is worked out by hand
// from the published field lists (A_long 4 bytes, pointers 8, natural alignment), and
// every enumerator value is the published one, so none of them is derived from the
// declarations under test.
#include <cstddef>
#include <string_view>

#include <gtest/gtest.h>

#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "AE_EffectCBSuites.h"
#include "AE_EffectSuites.h"
#include "AE_EffectUI.h"
#include "AE_GeneralPlug.h"
#include "DrawbotSuite.h"
#include "SPBasic.h"

namespace {

constexpr std::size_t kPtr = 8;

// ---- basic types ----
static_assert(sizeof(A_long) == 4 && sizeof(A_u_long) == 4 && sizeof(A_short) == 2);
static_assert(sizeof(A_Boolean) == 1 && sizeof(PF_Boolean) == 1 && sizeof(A_char) == 1);
static_assert(sizeof(A_u_longlong) == 8 && sizeof(PF_Handle) == kPtr && sizeof(A_intptr_t) == 8);
static_assert(sizeof(A_Time) == 4 + 4 && offsetof(A_Time, scale) == 4);
static_assert(sizeof(A_Ratio) == 4 + 4 && offsetof(A_Ratio, den) == 4);
static_assert(sizeof(A_Matrix4) == 16 * 8);
static_assert(sizeof(A_FloatPoint) == 2 * 8 && sizeof(A_LRect) == 4 * 4);

// ---- pixels and geometry ----
static_assert(sizeof(PF_Pixel) == 4 && offsetof(PF_Pixel, alpha) == 0 &&
              offsetof(PF_Pixel, red) == 1 && offsetof(PF_Pixel, green) == 2 &&
              offsetof(PF_Pixel, blue) == 3);
static_assert(sizeof(PF_Pixel16) == 4 * 2 && offsetof(PF_Pixel16, blue) == 6);
static_assert(sizeof(PF_PixelFloat) == 4 * 4 && offsetof(PF_PixelFloat, blue) == 12);
static_assert(sizeof(PF_Point) == 8 && offsetof(PF_Point, v) == 4);
static_assert(sizeof(PF_Rect) == 16 && offsetof(PF_LRect, right) == 8);
static_assert(sizeof(PF_RationalScale) == 8 && sizeof(PF_SpecVersion) == 4);
static_assert(sizeof(PF_FloatMatrix) == 9 * 8);

// ---- worlds ----
// reserved0, reserved1 | world_flags + 4 padding | data | rowbytes, width, height,
// extent_hint (16) + 4 padding | platform_ref | reserved_long1 + 4 padding | reserved_long4 |
// pix_aspect_ratio | reserved_long2 | origin_x, origin_y, reserved_long3, dephault
static_assert(offsetof(PF_LayerDef, world_flags) == 16);
static_assert(offsetof(PF_LayerDef, data) == 24);
static_assert(offsetof(PF_LayerDef, rowbytes) == 32);
static_assert(offsetof(PF_LayerDef, width) == 36);
static_assert(offsetof(PF_LayerDef, height) == 40);
static_assert(offsetof(PF_LayerDef, extent_hint) == 44);
static_assert(offsetof(PF_LayerDef, platform_ref) == 64);
static_assert(offsetof(PF_LayerDef, pix_aspect_ratio) == 88);
static_assert(offsetof(PF_LayerDef, origin_x) == 104);
static_assert(offsetof(PF_LayerDef, origin_y) == 108);
static_assert(offsetof(PF_LayerDef, dephault) == 116);
static_assert(sizeof(PF_LayerDef) == 8 + 8 + 8 + 8 + 4 + 4 + 4 + 16 + 4 + 8 + 8 + 8 + 8 + 8 + 16);

// ---- parameter definitions ----
static_assert(sizeof(PF_SliderDef) == 4 + 32 + 32 + 5 * 4);
static_assert(sizeof(PF_FixedSliderDef) == 4 + 32 + 32 + 5 * 4 + 2 + 2);
static_assert(offsetof(PF_FloatSliderDef, value_desc) == 16);
static_assert(offsetof(PF_FloatSliderDef, valid_min) == 48);
static_assert(offsetof(PF_FloatSliderDef, dephault) == 64);
static_assert(offsetof(PF_FloatSliderDef, precision) == 68);
static_assert(offsetof(PF_FloatSliderDef, display_flags) == 70);
static_assert(offsetof(PF_FloatSliderDef, fs_flags) == 72);
static_assert(offsetof(PF_FloatSliderDef, useExponent) == 80);
static_assert(offsetof(PF_FloatSliderDef, exponent) == 84);
static_assert(sizeof(PF_FloatSliderDef) == 88);
static_assert(sizeof(PF_AngleDef) == 4 * 4);
static_assert(sizeof(PF_CheckBoxDef) == 4 + 1 + 1 + 2 + 8 && offsetof(PF_CheckBoxDef, u) == 8);
static_assert(sizeof(PF_ColorDef) == 4 + 4 && offsetof(PF_ColorDef, dephault) == 4);
static_assert(sizeof(PF_PointDef) == 4 + 4 + 3 + 1 + 4 + 4);
static_assert(sizeof(PF_PopupDef) == 4 + 2 + 2 + 8 && offsetof(PF_PopupDef, dephault) == 6);
static_assert(sizeof(PF_Point3DDef) == 6 * 8 + 16 && offsetof(PF_Point3DDef, z_value) == 16);
static_assert(sizeof(PF_ArbitraryDef) == 2 + 2 + 4 + 8 + 8 + 8);
static_assert(sizeof(PF_ParamDefUnion) == sizeof(PF_LayerDef));
static_assert(offsetof(PF_ParamDef, ui_flags) == 4);
static_assert(offsetof(PF_ParamDef, ui_width) == 8);
static_assert(offsetof(PF_ParamDef, ui_height) == 10);
static_assert(offsetof(PF_ParamDef, param_type) == 12);
static_assert(offsetof(PF_ParamDef, name) == 16);
static_assert(offsetof(PF_ParamDef, flags) == 48);
static_assert(offsetof(PF_ParamDef, u) == 56);
static_assert(sizeof(PF_ParamDef) == 4 + 4 + 2 + 2 + 4 + 32 + 4 + 4 + 120);

// ---- in-data, out-data and their callbacks ----
static_assert(sizeof(PF_InteractCallbacks) == (9 + 3 + 10) * kPtr);
static_assert(offsetof(PF_InteractCallbacks, add_param) == 2 * kPtr);
static_assert(offsetof(PF_InteractCallbacks, register_ui) == 5 * kPtr);
static_assert(sizeof(PF_SoundWorld) == 8 + 2 + 2 + 2 + 2 + 4 + 4 + 8);
static_assert(offsetof(PF_InData, utils) == 176);
static_assert(offsetof(PF_InData, effect_ref) == 184);
static_assert(offsetof(PF_InData, quality) == 192);
static_assert(offsetof(PF_InData, version) == 196);
static_assert(offsetof(PF_InData, num_params) == 208);
static_assert(offsetof(PF_InData, current_time) == 224);
static_assert(offsetof(PF_InData, time_step) == 228);
static_assert(offsetof(PF_InData, local_time_step) == 236);
static_assert(offsetof(PF_InData, time_scale) == 240);
static_assert(offsetof(PF_InData, shutter_angle) == 248);
static_assert(offsetof(PF_InData, width) == 252);
static_assert(offsetof(PF_InData, extent_hint) == 260);
static_assert(offsetof(PF_InData, output_origin_x) == 276);
static_assert(offsetof(PF_InData, downsample_x) == 284);
static_assert(offsetof(PF_InData, downsample_y) == 292);
static_assert(offsetof(PF_InData, pixel_aspect_ratio) == 300);
static_assert(offsetof(PF_InData, in_flags) == 308);
static_assert(offsetof(PF_InData, global_data) == 312);
static_assert(offsetof(PF_InData, sequence_data) == 320);
static_assert(offsetof(PF_InData, frame_data) == 328);
static_assert(offsetof(PF_InData, src_snd) == 352);
static_assert(offsetof(PF_InData, pica_basicP) == 384);
static_assert(offsetof(PF_InData, shutter_phase) == 400);
static_assert(sizeof(PF_InData) == 408);
static_assert(offsetof(PF_OutData, name) == 4);
static_assert(offsetof(PF_OutData, global_data) == 40);
static_assert(offsetof(PF_OutData, num_params) == 48);
static_assert(offsetof(PF_OutData, sequence_data) == 56);
static_assert(offsetof(PF_OutData, frame_data) == 72);
static_assert(offsetof(PF_OutData, origin) == 88);
static_assert(offsetof(PF_OutData, out_flags) == 96);
static_assert(offsetof(PF_OutData, return_msg) == 100);
static_assert(offsetof(PF_OutData, dest_snd) == 368);
static_assert(offsetof(PF_OutData, out_flags2) == 400);
static_assert(sizeof(PF_OutData) == 408);

// 26 callbacks, the ANSI block (19 functions and one A_long, padded to 160), the colour
// block (8 functions), 15 more callbacks and one A_long padded to 8.
static_assert(sizeof(PF_ANSICallbacks) == 19 * kPtr + 8);
static_assert(sizeof(PF_ColorCallbacks) == 8 * kPtr);
static_assert(offsetof(PF_UtilCallbacks, host_new_handle) == 20 * kPtr);
static_assert(offsetof(PF_UtilCallbacks, host_lock_handle) == 21 * kPtr);
static_assert(offsetof(PF_UtilCallbacks, host_unlock_handle) == 22 * kPtr);
static_assert(offsetof(PF_UtilCallbacks, host_dispose_handle) == 23 * kPtr);
static_assert(offsetof(PF_UtilCallbacks, ansi) == 26 * kPtr);
static_assert(offsetof(PF_UtilCallbacks, colorCB) == 26 * kPtr + 160);
static_assert(offsetof(PF_UtilCallbacks, get_platform_data) == 26 * kPtr + 160 + 64);
static_assert(offsetof(PF_UtilCallbacks, host_get_handle_size) == 26 * kPtr + 160 + 64 + 8);
static_assert(offsetof(PF_UtilCallbacks, host_resize_handle) == 26 * kPtr + 160 + 64 + 32);
static_assert(sizeof(PF_UtilCallbacks) == 26 * kPtr + 160 + 64 + 14 * kPtr + 8);

// ---- Smart PreRender / Smart Render ----
static_assert(offsetof(PF_RenderRequest, field) == 16);
static_assert(offsetof(PF_RenderRequest, channel_mask) == 20);
static_assert(offsetof(PF_RenderRequest, preserve_rgb_of_zero_alpha) == 24);
static_assert(offsetof(PF_RenderRequest, reserved) == 28);
static_assert(sizeof(PF_RenderRequest) == 16 + 4 + 4 + 1 + 3 + 16);
static_assert(offsetof(PF_PreRenderInput, bitdepth) == 44);
static_assert(sizeof(PF_PreRenderInput) == 44 + 2 + 2 + 8 + 4 + 4);
static_assert(offsetof(PF_PreRenderOutput, max_result_rect) == 16);
static_assert(offsetof(PF_PreRenderOutput, solid) == 32);
static_assert(offsetof(PF_PreRenderOutput, flags) == 34);
static_assert(offsetof(PF_PreRenderOutput, pre_render_data) == 40);
static_assert(sizeof(PF_PreRenderOutput) == 16 + 16 + 1 + 1 + 2 + 4 + 8 + 8);
static_assert(offsetof(PF_CheckoutResult, par) == 32);
static_assert(offsetof(PF_CheckoutResult, ref_width) == 44);
static_assert(sizeof(PF_CheckoutResult) == 16 + 16 + 8 + 1 + 3 + 4 + 4 + 6 * 4);
static_assert(sizeof(PF_PreRenderCallbacks) == 2 * kPtr);
static_assert(offsetof(PF_PreRenderExtra, cb) == 2 * kPtr);
static_assert(offsetof(PF_SmartRenderInput, bitdepth) == 44);
static_assert(offsetof(PF_SmartRenderInput, pre_render_data) == 48);
static_assert(sizeof(PF_SmartRenderInput) == 44 + 2 + 2 + 8 + 8 + 4 + 4);
static_assert(offsetof(PF_SmartRenderCallbacks, checkout_output) == 2 * kPtr);
static_assert(offsetof(PF_SmartRenderExtra, cb) == kPtr);

// ---- custom UI ----
static_assert(sizeof(PF_CustomUIInfo) == 11 * 4 && offsetof(PF_CustomUIInfo, events) == 4);
static_assert(offsetof(PF_DoClickEventInfo, continue_refcon) == 24);
static_assert(offsetof(PF_DoClickEventInfo, send_drag) == 56);
static_assert(sizeof(PF_EventUnion) == 64);
static_assert(sizeof(PF_EffectWindowInfo) == 4 + 4 + 16 + 16 + 4);
static_assert(offsetof(PF_EffectWindowInfo, param_title_frame) == 24);
static_assert(sizeof(PF_EventCallbacks) == 9 * kPtr);
static_assert(offsetof(PF_EventExtra, e_type) == 8);
static_assert(offsetof(PF_EventExtra, u) == 16);
static_assert(offsetof(PF_EventExtra, effect_win) == 80);
static_assert(offsetof(PF_EventExtra, cbs) == 128);
static_assert(offsetof(PF_EventExtra, evt_in_flags) == 200);
static_assert(offsetof(PF_EventExtra, evt_out_flags) == 204);
static_assert(sizeof(PF_EventExtra) == 208);
static_assert(sizeof(PF_Context) == 4 + 4 + 8 + 32 + 8 + 8 + 8);

// ---- AEGP values ----
static_assert(sizeof(AEGP_ColorVal) == 4 * 8);
static_assert(sizeof(AEGP_TwoDVal) == 2 * 8 && sizeof(AEGP_ThreeDVal) == 3 * 8);
static_assert(sizeof(AEGP_StreamVal2) == 4 * 8 && sizeof(AEGP_StreamVal) == 4 * 8);
static_assert(offsetof(AEGP_StreamValue2, val) == kPtr && sizeof(AEGP_StreamValue2) == 8 + 32);
static_assert(offsetof(AEGP_StreamValue, val) == kPtr && sizeof(AEGP_StreamValue) == 8 + 32);
static_assert(sizeof(AEGP_LTimeMode) == 2);
static_assert(sizeof(AEGP_LayerTransferMode) == 3 * 4);
static_assert(sizeof(AEGP_ErrReportState) == 12 * 4);
static_assert(sizeof(PF_State) == 4 * 4);

// ---- suite tables: total size and the slot of every function the module calls ----
static_assert(sizeof(SPBasicSuite) == 7 * kPtr);
static_assert(offsetof(SPBasicSuite, ReleaseSuite) == 1 * kPtr);
static_assert(sizeof(AEGP_UtilitySuite4) == 30 * kPtr);
static_assert(offsetof(AEGP_UtilitySuite4, AEGP_RegisterWithAEGP) == 8 * kPtr);
static_assert(sizeof(AEGP_PFInterfaceSuite1) == 5 * kPtr);
static_assert(offsetof(AEGP_PFInterfaceSuite1, AEGP_GetNewEffectForEffect) == 1 * kPtr);
static_assert(offsetof(AEGP_PFInterfaceSuite1, AEGP_ConvertEffectToCompTime) == 2 * kPtr);
static_assert(offsetof(AEGP_PFInterfaceSuite1, AEGP_GetEffectCamera) == 3 * kPtr);
static_assert(offsetof(AEGP_PFInterfaceSuite1, AEGP_GetEffectCameraMatrix) == 4 * kPtr);
static_assert(sizeof(AEGP_StreamSuite2) == 22 * kPtr);
static_assert(offsetof(AEGP_StreamSuite2, AEGP_GetNewEffectStreamByIndex) == 5 * kPtr);
static_assert(offsetof(AEGP_StreamSuite2, AEGP_DisposeStream) == 7 * kPtr);
static_assert(offsetof(AEGP_StreamSuite2, AEGP_GetNewStreamValue) == 13 * kPtr);
static_assert(offsetof(AEGP_StreamSuite2, AEGP_DisposeStreamValue) == 14 * kPtr);
static_assert(offsetof(AEGP_StreamSuite2, AEGP_GetLayerStreamValue) == 16 * kPtr);
static_assert(sizeof(AEGP_DynamicStreamSuite2) == 17 * kPtr);
static_assert(offsetof(AEGP_DynamicStreamSuite2, AEGP_SetDynamicStreamFlag) == 5 * kPtr);
static_assert(sizeof(AEGP_EffectSuite2) == 17 * kPtr);
static_assert(offsetof(AEGP_EffectSuite2, AEGP_DisposeEffect) == 8 * kPtr);
static_assert(sizeof(AEGP_CameraSuite2) == 5 * kPtr);
static_assert(offsetof(AEGP_CameraSuite2, AEGP_GetCameraType) == 1 * kPtr);
static_assert(sizeof(AEGP_LightSuite2) == 2 * kPtr);
static_assert(sizeof(AEGP_CompSuite5) == 30 * kPtr);
static_assert(offsetof(AEGP_CompSuite5, AEGP_GetItemFromComp) == 1 * kPtr);
static_assert(offsetof(AEGP_CompSuite5, AEGP_GetCompFlags) == 6 * kPtr);
static_assert(offsetof(AEGP_CompSuite5, AEGP_GetCompShutterAnglePhase) == 9 * kPtr);
static_assert(sizeof(AEGP_ItemSuite6) == 26 * kPtr);
static_assert(offsetof(AEGP_ItemSuite6, AEGP_GetItemPixelAspectRatio) == 17 * kPtr);
static_assert(sizeof(AEGP_LayerSuite5) == 46 * kPtr);
static_assert(offsetof(AEGP_LayerSuite5, AEGP_GetCompLayerByIndex) == 1 * kPtr);
static_assert(offsetof(AEGP_LayerSuite5, AEGP_GetLayerParentComp) == 6 * kPtr);
static_assert(offsetof(AEGP_LayerSuite5, AEGP_GetLayerFlags) == 10 * kPtr);
static_assert(offsetof(AEGP_LayerSuite5, AEGP_IsLayerVideoReallyOn) == 12 * kPtr);
static_assert(offsetof(AEGP_LayerSuite5, AEGP_GetLayerInPoint) == 15 * kPtr);
static_assert(offsetof(AEGP_LayerSuite5, AEGP_GetLayerDuration) == 16 * kPtr);
static_assert(offsetof(AEGP_LayerSuite5, AEGP_GetLayerObjectType) == 28 * kPtr);
static_assert(offsetof(AEGP_LayerSuite5, AEGP_GetLayerToWorldXform) == 38 * kPtr);
static_assert(sizeof(PF_ParamUtilsSuite3) == 9 * kPtr);
static_assert(offsetof(PF_ParamUtilsSuite3, PF_GetCurrentState) == 1 * kPtr);
static_assert(offsetof(PF_ParamUtilsSuite3, PF_AreStatesIdentical) == 2 * kPtr);
static_assert(sizeof(PF_EffectCustomUISuite1) == 1 * kPtr);
static_assert(sizeof(PF_HandleSuite1) == 6 * kPtr);
static_assert(sizeof(DRAWBOT_DrawbotSuite1) == 2 * kPtr);
static_assert(offsetof(DRAWBOT_DrawbotSuite1, GetSurface) == 1 * kPtr);
static_assert(sizeof(DRAWBOT_SupplierSuite1) == 13 * kPtr);
static_assert(offsetof(DRAWBOT_SupplierSuite1, NewImageFromBuffer) == 5 * kPtr);
static_assert(offsetof(DRAWBOT_SupplierSuite1, ReleaseObject) == 12 * kPtr);
static_assert(sizeof(DRAWBOT_SurfaceSuite1) == 17 * kPtr);
static_assert(offsetof(DRAWBOT_SurfaceSuite1, DrawImage) == 10 * kPtr);

// ---- published enumerator values and suite names ----
static_assert(PF_Cmd_ABOUT == 0 && PF_Cmd_GLOBAL_SETUP == 1 && PF_Cmd_GLOBAL_SETDOWN == 3 &&
              PF_Cmd_PARAMS_SETUP == 4 && PF_Cmd_SEQUENCE_SETUP == 5 &&
              PF_Cmd_SEQUENCE_RESETUP == 6 && PF_Cmd_SEQUENCE_FLATTEN == 7 &&
              PF_Cmd_SEQUENCE_SETDOWN == 8 && PF_Cmd_DO_DIALOG == 9 &&
              PF_Cmd_USER_CHANGED_PARAM == 13 && PF_Cmd_UPDATE_PARAMS_UI == 14 &&
              PF_Cmd_EVENT == 15 && PF_Cmd_COMPLETELY_GENERAL == 17 &&
              PF_Cmd_ARBITRARY_CALLBACK == 22 && PF_Cmd_SMART_PRE_RENDER == 23 &&
              PF_Cmd_SMART_RENDER == 24);
static_assert(PF_Err_OUT_OF_MEMORY == 4 && PF_Err_INTERNAL_STRUCT_DAMAGED == 512 &&
              PF_Err_BAD_CALLBACK_PARAM == 516 && PF_Interrupt_CANCEL == 517);
static_assert(PF_OutFlag_CUSTOM_UI == 0x8000 && PF_OutFlag_DEEP_COLOR_AWARE == 0x02000000 &&
              PF_OutFlag_SEND_UPDATE_PARAMS_UI == 0x04000000 &&
              PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING == 0x10);
static_assert(PF_OutFlag2_I_USE_3D_CAMERA == 0x2 && PF_OutFlag2_I_USE_3D_LIGHTS == 0x4 &&
              PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG == 0x8 &&
              PF_OutFlag2_SUPPORTS_SMART_RENDER == 0x400 &&
              PF_OutFlag2_FLOAT_COLOR_AWARE == 0x1000);
static_assert(PF_Param_LAYER == 0 && PF_Param_ANGLE == 3 && PF_Param_CHECKBOX == 4 &&
              PF_Param_COLOR == 5 && PF_Param_POPUP == 7 && PF_Param_NO_DATA == 9 &&
              PF_Param_FLOAT_SLIDER == 10 && PF_Param_GROUP_START == 13 &&
              PF_Param_GROUP_END == 14 && PF_Param_POINT_3D == 18);
static_assert(PF_ParamFlag_START_COLLAPSED == 0x20 && PF_ParamFlag_SUPERVISE == 0x40 &&
              PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED == 0x100);
static_assert(PF_PUI_CONTROL == 2 && PF_PUI_DISABLED == 0x20);
static_assert(PF_CustomEFlag_EFFECT == 4 && PF_Event_DO_CLICK == 2 && PF_Event_DRAG == 3 &&
              PF_Event_DRAW == 4 && PF_Event_ADJUST_CURSOR == 9 && PF_EA_CONTROL == 2 &&
              PF_EO_HANDLED_EVENT == 1 && PF_EO_ALWAYS_UPDATE == 2 && PF_EI_DONT_DRAW == 1);
static_assert(PF_Cursor_ARROW == 2 && PF_Cursor_FINGER_POINTER == 23);
static_assert(PF_PlatData_MAIN_WND == 0 && PF_ChannelMask_ARGB == 15 && PF_Field_FRAME == 0);
static_assert(PF_VERSION(1, 0, 0, PF_Stage_DEVELOP, 66) == 0x00080042);
static_assert(AEGP_LTimeMode_CompTime == 1 && AEGP_ObjectType_LIGHT == 1 &&
              AEGP_CameraType_ORTHOGRAPHIC == 1);
static_assert(AEGP_LightType_PARALLEL == 0 && AEGP_LightType_SPOT == 1 &&
              AEGP_LightType_POINT == 2 && AEGP_LightType_AMBIENT == 3);
static_assert(AEGP_LayerStream_INTENSITY == 16 && AEGP_LayerStream_COLOR == 17 &&
              AEGP_LayerStream_CONE_ANGLE == 18 && AEGP_LayerStream_CONE_FEATHER == 19 &&
              AEGP_LayerStream_LIGHT_FALLOFF_DISTANCE == 42);
static_assert(AEGP_DynStreamFlag_HIDDEN == 2 && AEGP_DynStreamFlag_DISABLED == 16);
static_assert(AEGP_CompFlag_ENABLE_MOTION_BLUR == 8 && AEGP_LayerFlag_MOTION_BLUR == 8);
static_assert(kDRAWBOT_PixelLayout_32BGR == 3);
static_assert(std::string_view(kAEGPUtilitySuite) == "AEGP Utility Suite" &&
              kAEGPUtilitySuiteVersion4 == 10);
static_assert(std::string_view(kAEGPPFInterfaceSuite) == "AEGP PF Interface Suite" &&
              kAEGPPFInterfaceSuiteVersion1 == 1);
static_assert(std::string_view(kAEGPStreamSuite) == "AEGP Stream Suite" &&
              kAEGPStreamSuiteVersion2 == 7);
static_assert(std::string_view(kAEGPDynamicStreamSuite) == "AEGP Dynamic Stream Suite" &&
              kAEGPDynamicStreamSuiteVersion2 == 2);
static_assert(std::string_view(kAEGPEffectSuite) == "AEGP Effect Suite" &&
              kAEGPEffectSuiteVersion2 == 2);
static_assert(std::string_view(kAEGPCameraSuite) == "AEGP Camera Suite" &&
              kAEGPCameraSuiteVersion2 == 2);
static_assert(std::string_view(kAEGPLightSuite) == "AEGP Light Suite" &&
              kAEGPLightSuiteVersion2 == 2);
static_assert(std::string_view(kAEGPCompSuite) == "AEGP Comp Suite" &&
              kAEGPCompSuiteVersion5 == 11);
static_assert(std::string_view(kAEGPItemSuite) == "AEGP Item Suite" &&
              kAEGPItemSuiteVersion6 == 10);
static_assert(std::string_view(kAEGPLayerSuite) == "AEGP Layer Suite" &&
              kAEGPLayerSuiteVersion5 == 11);
static_assert(std::string_view(kPFParamUtilsSuite) == "PF Param Utils Suite" &&
              kPFParamUtilsSuiteVersion3 == 3);
static_assert(std::string_view(kPFEffectCustomUISuite) == "PF Effect Custom UI Suite" &&
              kPFEffectCustomUISuiteVersion1 == 1);
static_assert(std::string_view(kDRAWBOT_DrawSuite) == "DRAWBOT Draw Suite" &&
              std::string_view(kDRAWBOT_SupplierSuite) == "DRAWBOT Supplier Suite" &&
              std::string_view(kDRAWBOT_SurfaceSuite) == "DRAWBOT Surface Suite");

struct SizeCase {
  const char* record;
  std::size_t declared;
  std::size_t published;
};

TEST(SdkLayout, StructuresHaveThePublishedSizes) {
  const SizeCase cases[] = {
      // inter, utils, effect_ref | quality, version | ten A_longs from serial_num to
      // local_time_step | time_scale, field, shutter_angle, width, height | extent_hint |
      // output origin | three ratios | in_flags | three handles | three sample counts + padding
      // | src_snd | pica_basicP | two origins and shutter_phase + padding
      {"PF_InData", sizeof(PF_InData),
       176 + 8 + 8 + 4 + 4 + 10 * 4 + 5 * 4 + 16 + 2 * 4 + 3 * 8 + 4 + 3 * 8 + 3 * 4 + 4 + 32 + 8 +
           3 * 4 + 4},
      // my_version, name + padding | global_data | num_params + padding | sequence_data |
      // flat_sdata_size + padding | frame_data | width, height | origin | out_flags |
      // return_msg | start_sampL, dur_sampL + padding | dest_snd | out_flags2 + padding
      {"PF_OutData", sizeof(PF_OutData),
       4 + 32 + 4 + 8 + 4 + 4 + 8 + 4 + 4 + 8 + 4 + 4 + 8 + 4 + 256 + 4 + 4 + 4 + 32 + 4 + 4},
      {"PF_LayerDef", sizeof(PF_LayerDef), 3 * 8 + 8 + 3 * 4 + 16 + 4 + 8 + 8 + 8 + 8 + 8 + 4 * 4},
      {"PF_ParamDef", sizeof(PF_ParamDef), 4 + 4 + 2 + 2 + 4 + 32 + 4 + 4 + 120},
      {"PF_RenderRequest", sizeof(PF_RenderRequest), 16 + 4 + 4 + 1 + 3 + 4 * 4},
      {"PF_CheckoutResult", sizeof(PF_CheckoutResult), 16 + 16 + 8 + 1 + 3 + 4 + 4 + 6 * 4},
      {"PF_CustomUIInfo", sizeof(PF_CustomUIInfo), 11 * 4},
      {"PF_EventExtra", sizeof(PF_EventExtra), 8 + 4 + 4 + 64 + 44 + 4 + 9 * 8 + 4 + 4},
      {"PF_UtilCallbacks", sizeof(PF_UtilCallbacks), 26 * 8 + 160 + 64 + 14 * 8 + 4 + 4},
      {"PF_Pixel", sizeof(PF_Pixel), 4 * 1},
      {"PF_Pixel16", sizeof(PF_Pixel16), 4 * 2},
      {"PF_PixelFloat", sizeof(PF_PixelFloat), 4 * 4},
      {"A_Time", sizeof(A_Time), 4 + 4},
      {"AEGP_StreamVal2", sizeof(AEGP_StreamVal2), 4 * 8},
      {"AEGP_StreamValue2", sizeof(AEGP_StreamValue2), 8 + 4 * 8},
      {"PF_State", sizeof(PF_State), 4 * 4},
  };
  for (const SizeCase& c : cases) {
    EXPECT_EQ(c.declared, c.published) << c.record;
  }
}

}  // namespace
