// The utility callbacks reached through PF_InData::utils: pixel sampling and compositing,
// world allocation, iteration, host handles, platform data, ANSI maths and colour helpers.
#ifndef LUNAFORM_SDK_AE_AE_EFFECTCB_H
#define LUNAFORM_SDK_AE_AE_EFFECTCB_H

#include "AE_Effect.h"

#ifdef __cplusplus
extern "C" {
#endif

#define PF_PI 3.14159265358979323846
#define PF_2PI 6.28318530717958647692
#define PF_HALF_PI 1.57079632679489661923
#define PF_E 2.7182818284590452354
#define PF_SQRT2 1.41421356237309504880
#define PF_RAD_PER_DEGREE 0.01745329251994329576

#define PF_KernelFlag_2D 0
#define PF_KernelFlag_1D (1L << 0)
#define PF_KernelFlag_UNNORMALIZED 0
#define PF_KernelFlag_NORMALIZED (1L << 1)
#define PF_KernelFlag_CLAMP 0
#define PF_KernelFlag_NO_CLAMP (1L << 2)
#define PF_KernelFlag_USE_LONG 0
#define PF_KernelFlag_USE_CHAR (1L << 3)
#define PF_KernelFlag_USE_FIXED (1L << 4)
#define PF_KernelFlag_USE_UNDEFINED ((1L << 4) | (1L << 3))
#define PF_KernelFlag_HORIZONTAL 0
#define PF_KernelFlag_VERTICAL (1L << 5)
#define PF_KernelFlag_TRANSPARENT_BORDERS 0
#define PF_KernelFlag_REPLICATE_BORDERS (1L << 6)
#define PF_KernelFlag_STRAIGHT_CONVOLVE 0
#define PF_KernelFlag_ALPHA_WEIGHT_CONVOLVE (1L << 7)
typedef A_u_long PF_KernelFlags;

enum { PF_SampleEdgeBehav_ZERO = 0L };
typedef A_u_long PF_SampleEdgeBehav;

enum {
  PF_Xfer_NONE = -1,
  PF_Xfer_COPY,
  PF_Xfer_BEHIND,
  PF_Xfer_IN_FRONT,
  PF_Xfer_DISSOLVE,
  PF_Xfer_ADD,
  PF_Xfer_MULTIPLY,
  PF_Xfer_SCREEN,
  PF_Xfer_OVERLAY,
  PF_Xfer_SOFT_LIGHT,
  PF_Xfer_HARD_LIGHT,
  PF_Xfer_DARKEN,
  PF_Xfer_LIGHTEN,
  PF_Xfer_DIFFERENCE,
  PF_Xfer_HUE,
  PF_Xfer_SATURATION,
  PF_Xfer_COLOR,
  PF_Xfer_LUMINOSITY,
  PF_Xfer_MULTIPLY_ALPHA,
  PF_Xfer_MULTIPLY_ALPHA_LUMA,
  PF_Xfer_MULTIPLY_NOT_ALPHA,
  PF_Xfer_MULTIPLY_NOT_ALPHA_LUMA,
  PF_Xfer_ADDITIVE_PREMUL,
  PF_Xfer_ALPHA_ADD,
  PF_Xfer_COLOR_DODGE,
  PF_Xfer_COLOR_BURN,
  PF_Xfer_EXCLUSION,
  PF_Xfer_DIFFERENCE2,
  PF_Xfer_COLOR_DODGE2,
  PF_Xfer_COLOR_BURN2,
  PF_Xfer_LINEAR_DODGE,
  PF_Xfer_LINEAR_BURN,
  PF_Xfer_LINEAR_LIGHT,
  PF_Xfer_VIVID_LIGHT,
  PF_Xfer_PIN_LIGHT,
  PF_Xfer_HARD_MIX,
  PF_Xfer_LIGHTER_COLOR,
  PF_Xfer_DARKER_COLOR,
  PF_Xfer_SUBTRACT,
  PF_Xfer_DIVIDE,
  PF_Xfer_RESERVED0,
  PF_Xfer_RESERVED1,
  PF_Xfer_NUM_MODES
};
typedef A_long PF_TransferMode;
typedef PF_TransferMode PF_XferMode;

typedef struct {
  PF_TransferMode xfer;
  A_long rand_seed;
  A_u_char opacity;
  PF_Boolean rgb_only;
  A_u_short opacitySu;
} PF_CompositeMode;

enum { PF_MaskFlag_NONE = 0, PF_MaskFlag_INVERTED = 1L << 0, PF_MaskFlag_LUMINANCE = 1L << 1 };
typedef A_long PF_MaskFlags;

typedef struct {
  PF_EffectWorld mask;
  PF_Point offset;
  PF_MaskFlags what_is_mask;
} PF_MaskWorld;

typedef struct {
  PF_Fixed x_radius;
  PF_Fixed y_radius;
  PF_Fixed area;
  PF_EffectWorld* src;
  PF_SampleEdgeBehav samp_behave;
  A_long allow_asynch;
  A_long motion_blur;
  PF_CompositeMode comp_mode;
  PF_PixelPtr mask0;
  A_u_char* fcm_table;
  A_u_char* fcd_table;
  A_long reserved[8];
} PF_SampPB;

enum {
  PF_Callback_NONE = 0,
  PF_Callback_BEGIN_SAMPLING,
  PF_Callback_SUBPIXEL_SAMPLE,
  PF_Callback_AREA_SAMPLE,
  PF_Callback_OBSOLETE0,
  PF_Callback_END_SAMPLING,
  PF_Callback_COMPOSITE_RECT,
  PF_Callback_BLEND,
  PF_Callback_CONVOLVE,
  PF_Callback_COPY,
  PF_Callback_FILL,
  PF_Callback_GAUSSIAN,
  PF_Callback_ITERATE,
  PF_Callback_PREMUL,
  PF_Callback_PREMUL_COLOR,
  PF_Callback_RGB_TO_HLS,
  PF_Callback_HLS_TO_RGB,
  PF_Callback_RGB_TO_YIQ,
  PF_Callback_YIQ_TO_RGB,
  PF_Callback_LUMINANCE,
  PF_Callback_HUE,
  PF_Callback_LIGHTNESS,
  PF_Callback_SATURATION,
  PF_Callback_NEW_WORLD,
  PF_Callback_DISPOSE_WORLD,
  PF_Callback_ITERATE_ORIGIN,
  PF_Callback_ITERATE_LUT,
  PF_Callback_TRANSFER_RECT,
  PF_Callback_TRANSFORM_WORLD,
  PF_Callback_ITERATE_ORIGIN_NON_CLIP_SRC,
  PF_Callback_ITERATE_GENERIC,
  PF_Callback_SUBPIXEL_SAMPLE16,
  PF_Callback_AREA_SAMPLE16,
  PF_Callback_FILL16,
  PF_Callback_PREMUL_COLOR16,
  PF_Callback_ITERATE16,
  PF_Callback_ITERATE_ORIGIN16,
  PF_Callback_ITERATE_ORIGIN_NON_CLIP_SRC16
};
typedef A_long PF_CallbackID;

typedef PF_Err (*PF_CallbackFunc)(PF_ProgPtr, ...);

// What get_platform_data is asked for; the main window comes back as the platform's
// native window handle (an HWND on Windows).
enum {
  PF_PlatData_MAIN_WND = 0,
  PF_PlatData_EXE_FILE_PATH_DEPRECATED = 1,
  PF_PlatData_RES_FILE_PATH_DEPRECATED = 2,
  PF_PlatData_RES_REFNUM = 3,
  PF_PlatData_RES_DLLINSTANCE = 4,
  PF_PlatData_SP_PLUG_REF = 5,
  PF_PlatData_BUNDLE_REF = 6,
  PF_PlatData_EXE_FILE_PATH_W = 7,
  PF_PlatData_RES_FILE_PATH_W = 8
};
typedef A_long PF_PlatDataID;

enum { PF_Plane_ALPHA = 1, PF_Plane_RED = 2, PF_Plane_GREEN = 4, PF_Plane_BLUE = 8 };
typedef A_u_long PF_Plane;

typedef struct {
  A_FpLong (*atan)(A_FpLong);
  A_FpLong (*atan2)(A_FpLong y, A_FpLong x);
  A_FpLong (*ceil)(A_FpLong);
  A_FpLong (*cos)(A_FpLong);
  A_FpLong (*exp)(A_FpLong);
  A_FpLong (*fabs)(A_FpLong);
  A_FpLong (*floor)(A_FpLong);
  A_FpLong (*fmod)(A_FpLong x, A_FpLong y);
  A_FpLong (*hypot)(A_FpLong x, A_FpLong y);
  A_FpLong (*log)(A_FpLong);
  A_FpLong (*log10)(A_FpLong);
  A_FpLong (*pow)(A_FpLong x, A_FpLong y);
  A_FpLong (*sin)(A_FpLong);
  A_FpLong (*sqrt)(A_FpLong);
  A_FpLong (*tan)(A_FpLong);
  int (*sprintf)(A_char*, const A_char*, ...);
  A_char* (*strcpy)(A_char*, const A_char*);
  A_FpLong (*asin)(A_FpLong);
  A_FpLong (*acos)(A_FpLong);
  A_long ansi_procs[1];
} PF_ANSICallbacks;

typedef struct {
  PF_Err (*RGBtoHLS)(PF_ProgPtr effect_ref, PF_Pixel* rgb, PF_HLS_Pixel hls);
  PF_Err (*HLStoRGB)(PF_ProgPtr effect_ref, PF_HLS_Pixel hls, PF_Pixel* rgb);
  PF_Err (*RGBtoYIQ)(PF_ProgPtr effect_ref, PF_Pixel* rgb, PF_YIQ_Pixel yiq);
  PF_Err (*YIQtoRGB)(PF_ProgPtr effect_ref, PF_YIQ_Pixel yiq, PF_Pixel* rgb);
  PF_Err (*Luminance)(PF_ProgPtr effect_ref, PF_Pixel* rgb, A_long* lum100);
  PF_Err (*Hue)(PF_ProgPtr effect_ref, PF_Pixel* rgb, A_long* hue);
  PF_Err (*Lightness)(PF_ProgPtr effect_ref, PF_Pixel* rgb, A_long* lightness);
  PF_Err (*Saturation)(PF_ProgPtr effect_ref, PF_Pixel* rgb, A_long* saturation);
} PF_ColorCallbacks;

#define PF_Iterations_ONCE_PER_PROCESSOR (-1L)
#define PF_MAX_THREADS 32

enum {
  PF_NewWorldFlag_NONE = 0,
  PF_NewWorldFlag_CLEAR_PIXELS = 1L << 0,
  PF_NewWorldFlag_DEEP_PIXELS = 1L << 1,
  PF_NewWorldFlag_RESERVED0 = 1L << 2,
  PF_NewWorldFlag_RESERVED1 = 1L << 3
};
typedef A_long PF_NewWorldFlags;

typedef PF_Err (*PF_IteratePixel8Func)(void* refconP, A_long xL, A_long yL, PF_Pixel* inP,
                                       PF_Pixel* outP);
typedef PF_Err (*PF_IteratePixel16Func)(void* refconP, A_long xL, A_long yL, PF_Pixel16* inP,
                                        PF_Pixel16* outP);
typedef PF_Err (*PF_IteratePixelFloatFunc)(void* refconP, A_long xL, A_long yL, PF_PixelFloat* inP,
                                           PF_PixelFloat* outP);

typedef struct _PF_UtilCallbacks {
  PF_Err (*begin_sampling)(PF_ProgPtr effect_ref, PF_Quality qual, PF_ModeFlags mf,
                           PF_SampPB* params);
  PF_Err (*subpixel_sample)(PF_ProgPtr effect_ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                            PF_Pixel* dst_pixel);
  PF_Err (*area_sample)(PF_ProgPtr effect_ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                        PF_Pixel* dst_pixel);
  void* get_batch_func_is_deprecated;
  PF_Err (*end_sampling)(PF_ProgPtr effect_ref, PF_Quality qual, PF_ModeFlags mf,
                         PF_SampPB* params);
  PF_Err (*composite_rect)(PF_ProgPtr effect_ref, PF_Rect* src_rect, A_long src_opacity,
                           PF_EffectWorld* source_wld, A_long dest_x, A_long dest_y,
                           PF_Field field_rdr, PF_XferMode xfer_mode, PF_EffectWorld* dest_wld);
  PF_Err (*blend)(PF_ProgPtr effect_ref, const PF_EffectWorld* src1, const PF_EffectWorld* src2,
                  PF_Fixed ratio, PF_EffectWorld* dst);
  PF_Err (*convolve)(PF_ProgPtr effect_ref, PF_EffectWorld* src, const PF_Rect* area,
                     PF_KernelFlags flags, A_long kernel_size, void* a_kernel, void* r_kernel,
                     void* g_kernel, void* b_kernel, PF_EffectWorld* dst);
  PF_Err (*copy)(PF_ProgPtr effect_ref, PF_EffectWorld* src, PF_EffectWorld* dst, PF_Rect* src_r,
                 PF_Rect* dst_r);
  PF_Err (*fill)(PF_ProgPtr effect_ref, const PF_Pixel* color, const PF_Rect* dst_rect,
                 PF_EffectWorld* world);
  PF_Err (*gaussian_kernel)(PF_ProgPtr effect_ref, A_FpLong kRadius, PF_KernelFlags flags,
                            A_FpLong multiplier, A_long* diameter, void* kernel);
  PF_Err (*iterate)(PF_InData* in_data, A_long progress_base, A_long progress_final,
                    PF_EffectWorld* src, const PF_Rect* area, void* refcon,
                    PF_IteratePixel8Func pix_fn, PF_EffectWorld* dst);
  PF_Err (*premultiply)(PF_ProgPtr effect_ref, A_long forward, PF_EffectWorld* dst);
  PF_Err (*premultiply_color)(PF_ProgPtr effect_ref, PF_EffectWorld* src, const PF_Pixel* color,
                              A_long forward, PF_EffectWorld* dst);
  PF_Err (*new_world)(PF_ProgPtr effect_ref, A_long width, A_long height, PF_NewWorldFlags flags,
                      PF_EffectWorld* world);
  PF_Err (*dispose_world)(PF_ProgPtr effect_ref, PF_EffectWorld* world);
  PF_Err (*iterate_origin)(PF_InData* in_data, A_long progress_base, A_long progress_final,
                           PF_EffectWorld* src, const PF_Rect* area, const PF_Point* origin,
                           void* refcon, PF_IteratePixel8Func pix_fn, PF_EffectWorld* dst);
  PF_Err (*iterate_lut)(PF_InData* in_data, A_long progress_base, A_long progress_final,
                        PF_EffectWorld* src, const PF_Rect* area, A_u_char* a_lut0,
                        A_u_char* r_lut0, A_u_char* g_lut0, A_u_char* b_lut0, PF_EffectWorld* dst);
  PF_Err (*transfer_rect)(PF_ProgPtr effect_ref, PF_Quality quality, PF_ModeFlags m_flags,
                          PF_Field field, const PF_Rect* src_rec, const PF_EffectWorld* src_world,
                          const PF_CompositeMode* comp_mode, const PF_MaskWorld* mask_world0,
                          A_long dest_x, A_long dest_y, PF_EffectWorld* dst_world);
  PF_Err (*transform_world)(PF_ProgPtr effect_ref, PF_Quality quality, PF_ModeFlags m_flags,
                            PF_Field field, const PF_EffectWorld* src_world,
                            const PF_CompositeMode* comp_mode, const PF_MaskWorld* mask_world0,
                            const PF_FloatMatrix* matrices, A_long num_matrices,
                            PF_Boolean src2dst_matrix, const PF_Rect* dest_rect,
                            PF_EffectWorld* dst_world);
  PF_Handle (*host_new_handle)(A_u_longlong size);
  void* (*host_lock_handle)(PF_Handle pf_handle);
  void (*host_unlock_handle)(PF_Handle pf_handle);
  void (*host_dispose_handle)(PF_Handle pf_handle);
  PF_Err (*get_callback_addr)(PF_ProgPtr effect_ref, PF_Quality quality, PF_ModeFlags mode_flags,
                              PF_CallbackID which_callback, PF_CallbackFunc* fn_ptr);
  PF_Err (*app)(PF_ProgPtr, A_long, ...);
  PF_ANSICallbacks ansi;
  PF_ColorCallbacks colorCB;
  PF_Err (*get_platform_data)(PF_ProgPtr effect_ref, PF_PlatDataID which, void* data);
  A_u_longlong (*host_get_handle_size)(PF_Handle pf_handle);
  PF_Err (*iterate_origin_non_clip_src)(PF_InData* in_data, A_long progress_base,
                                        A_long progress_final, PF_EffectWorld* src,
                                        const PF_Rect* area, const PF_Point* origin, void* refcon,
                                        PF_IteratePixel8Func pix_fn, PF_EffectWorld* dst);
  PF_Err (*iterate_generic)(A_long iterationsL, void* refconPV,
                            PF_Err (*fn_func)(void* refconPV, A_long thread_indexL, A_long i,
                                              A_long iterationsL));
  PF_Err (*host_resize_handle)(A_u_longlong new_sizeL, PF_Handle* handlePH);
  PF_Err (*subpixel_sample16)(PF_ProgPtr effect_ref, PF_Fixed x, PF_Fixed y,
                              const PF_SampPB* params, PF_Pixel16* dst_pixel);
  PF_Err (*area_sample16)(PF_ProgPtr effect_ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                          PF_Pixel16* dst_pixel);
  PF_Err (*fill16)(PF_ProgPtr effect_ref, const PF_Pixel16* color, const PF_Rect* dst_rect,
                   PF_EffectWorld* world);
  PF_Err (*premultiply_color16)(PF_ProgPtr effect_ref, PF_EffectWorld* src, const PF_Pixel16* color,
                                A_long forward, PF_EffectWorld* dst);
  PF_Err (*iterate16)(PF_InData* in_data, A_long progress_base, A_long progress_final,
                      PF_EffectWorld* src, const PF_Rect* area, void* refcon,
                      PF_IteratePixel16Func pix_fn, PF_EffectWorld* dst);
  PF_Err (*iterate_origin16)(PF_InData* in_data, A_long progress_base, A_long progress_final,
                             PF_EffectWorld* src, const PF_Rect* area, const PF_Point* origin,
                             void* refcon, PF_IteratePixel16Func pix_fn, PF_EffectWorld* dst);
  PF_Err (*iterate_origin_non_clip_src16)(PF_InData* in_data, A_long progress_base,
                                          A_long progress_final, PF_EffectWorld* src,
                                          const PF_Rect* area, const PF_Point* origin, void* refcon,
                                          PF_IteratePixel16Func pix_fn, PF_EffectWorld* dst);
  PF_Err (*get_pixel_data8)(PF_EffectWorld* worldP, PF_PixelPtr pixelsP0, PF_Pixel8** pixPP);
  PF_Err (*get_pixel_data16)(PF_EffectWorld* worldP, PF_PixelPtr pixelsP0, PF_Pixel16** pixPP);
  A_long reserved[1];
} PF_UtilCallbacks;

#ifdef __cplusplus
}
#endif

#endif
