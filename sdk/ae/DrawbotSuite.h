// The host's 2D drawing suites, reached from a drawing reference (see
// PF_EffectCustomUISuite1): supplier objects (pens, brushes, fonts, images, paths) and the
// surface they are drawn on.
#ifndef LUNAFORM_SDK_AE_DRAWBOTSUITE_H
#define LUNAFORM_SDK_AE_DRAWBOTSUITE_H

#include "AdobesdkTypes.h"
#include "DrawbotSuiteTypes.h"
#include "SPBasic.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kDRAWBOT_DrawSuite "DRAWBOT Draw Suite"
#define kDRAWBOT_DrawSuite_Version1 1
#define kDRAWBOT_DrawSuite_VersionCurrent kDRAWBOT_DrawSuite_Version1
#define DRAWBOT_DrawbotSuiteCurrent DRAWBOT_DrawbotSuite1

typedef struct DRAWBOT_DrawbotSuite1 {
  SPAPI SPErr (*GetSupplier)(DRAWBOT_DrawRef in_drawbot_ref, DRAWBOT_SupplierRef* out_supplierP);
  SPAPI SPErr (*GetSurface)(DRAWBOT_DrawRef in_drawbot_ref, DRAWBOT_SurfaceRef* out_surfaceP);
} DRAWBOT_DrawbotSuite1;

#define kDRAWBOT_SupplierSuite "DRAWBOT Supplier Suite"
#define kDRAWBOT_SupplierSuite_Version1 1
#define kDRAWBOT_SupplierSuite_VersionCurrent kDRAWBOT_SupplierSuite_Version1
#define DRAWBOT_SupplierSuiteCurrent DRAWBOT_SupplierSuite1

// Objects a supplier creates are reference counted; ReleaseObject drops one reference.
typedef struct DRAWBOT_SupplierSuite1 {
  SPErr (*NewPen)(DRAWBOT_SupplierRef in_supplier_ref, const DRAWBOT_ColorRGBA* in_colorP,
                  float in_size, DRAWBOT_PenRef* out_penP);
  SPErr (*NewBrush)(DRAWBOT_SupplierRef in_supplier_ref, const DRAWBOT_ColorRGBA* in_colorP,
                    DRAWBOT_BrushRef* out_brushP);
  SPErr (*SupportsText)(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_Boolean* out_supports_textPB);
  SPErr (*GetDefaultFontSize)(DRAWBOT_SupplierRef in_supplier_ref, float* out_font_sizeF);
  SPErr (*NewDefaultFont)(DRAWBOT_SupplierRef in_supplier_ref, float in_font_sizeF,
                          DRAWBOT_FontRef* out_fontP);
  SPErr (*NewImageFromBuffer)(DRAWBOT_SupplierRef in_supplier_ref, int in_width, int in_height,
                              int in_row_bytes, DRAWBOT_PixelLayout in_pl, const void* in_dataP,
                              DRAWBOT_ImageRef* out_imageP);
  SPErr (*NewPath)(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_PathRef* out_pathP);
  SPErr (*SupportsPixelLayoutBGRA)(DRAWBOT_SupplierRef in_supplier_ref,
                                   DRAWBOT_Boolean* out_supports_bgraPB);
  SPErr (*PrefersPixelLayoutBGRA)(DRAWBOT_SupplierRef in_supplier_ref,
                                  DRAWBOT_Boolean* out_prefers_bgraPB);
  SPErr (*SupportsPixelLayoutARGB)(DRAWBOT_SupplierRef in_supplier_ref,
                                   DRAWBOT_Boolean* out_supports_argbPB);
  SPErr (*PrefersPixelLayoutARGB)(DRAWBOT_SupplierRef in_supplier_ref,
                                  DRAWBOT_Boolean* out_prefers_argbPB);
  SPErr (*RetainObject)(DRAWBOT_ObjectRef in_obj_ref);
  SPErr (*ReleaseObject)(DRAWBOT_ObjectRef in_obj_ref);
} DRAWBOT_SupplierSuite1;

#define kDRAWBOT_SurfaceSuite "DRAWBOT Surface Suite"
#define kDRAWBOT_SurfaceSuite_Version1 1
#define kDRAWBOT_SurfaceSuite_Version2 2
#define kDRAWBOT_SurfaceSuite_VersionCurrent kDRAWBOT_SurfaceSuite_Version2
#define DRAWBOT_SurfaceSuiteCurrent DRAWBOT_SurfaceSuite2

// Versions 1 and 2 share one table; only version 2 fills GetTransformToScreenScale.
typedef struct DRAWBOT_SurfaceSuite1 {
  SPErr (*PushStateStack)(DRAWBOT_SurfaceRef in_surface_ref);
  SPErr (*PopStateStack)(DRAWBOT_SurfaceRef in_surface_ref);
  SPErr (*PaintRect)(DRAWBOT_SurfaceRef in_surface_ref, const DRAWBOT_ColorRGBA* in_colorP,
                     const DRAWBOT_RectF32* in_rectPR);
  SPErr (*FillPath)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_BrushRef in_brush_ref,
                    DRAWBOT_PathRef in_path_ref, DRAWBOT_FillType in_fill_type);
  SPErr (*StrokePath)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_PenRef in_pen_ref,
                      DRAWBOT_PathRef in_path_ref);
  SPErr (*Clip)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_SupplierRef in_supplier_ref,
                const DRAWBOT_Rect32* in_rectPR);
  SPErr (*GetClipBounds)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_Rect32* out_rectPR);
  SPErr (*IsWithinClipBounds)(DRAWBOT_SurfaceRef in_surface_ref, const DRAWBOT_Rect32* in_rectPR,
                              DRAWBOT_Boolean* out_withinPB);
  SPErr (*Transform)(DRAWBOT_SurfaceRef in_surface_ref, const DRAWBOT_MatrixF32* in_matrixP);
  SPErr (*DrawString)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_BrushRef in_brush_ref,
                      DRAWBOT_FontRef in_font_ref, const DRAWBOT_UTF16Char* in_stringP,
                      const DRAWBOT_PointF32* in_originP, DRAWBOT_TextAlignment in_alignment_style,
                      DRAWBOT_TextTruncation in_truncation_style, float in_truncation_width);
  SPErr (*DrawImage)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_ImageRef in_image_ref,
                     const DRAWBOT_PointF32* in_originP, float in_alpha);
  SPErr (*SetInterpolationPolicy)(DRAWBOT_SurfaceRef in_surface_ref,
                                  DRAWBOT_InterpolationPolicy in_interp);
  SPErr (*GetInterpolationPolicy)(DRAWBOT_SurfaceRef in_surface_ref,
                                  DRAWBOT_InterpolationPolicy* out_interpP);
  SPErr (*SetAntiAliasPolicy)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_AntiAliasPolicy in_policy);
  SPErr (*GetAntiAliasPolicy)(DRAWBOT_SurfaceRef in_surface_ref,
                              DRAWBOT_AntiAliasPolicy* out_policyP);
  SPErr (*Flush)(DRAWBOT_SurfaceRef in_surface_ref);
  SPErr (*GetTransformToScreenScale)(DRAWBOT_SurfaceRef in_surface_ref, float* out_scale);
} DRAWBOT_SurfaceSuite2;
typedef DRAWBOT_SurfaceSuite2 DRAWBOT_SurfaceSuite1;

#define kDRAWBOT_PathSuite "DRAWBOT Path Suite"
#define kDRAWBOT_PathSuite_Version1 1
#define kDRAWBOT_PathSuite_VersionCurrent kDRAWBOT_PathSuite_Version1
#define DRAWBOT_PathSuiteCurrent DRAWBOT_PathSuite1

typedef struct DRAWBOT_PathSuite1 {
  SPErr (*MoveTo)(DRAWBOT_PathRef in_path_ref, float in_x, float in_y);
  SPErr (*LineTo)(DRAWBOT_PathRef in_path_ref, float in_x, float in_y);
  SPErr (*BezierTo)(DRAWBOT_PathRef in_path_ref, const DRAWBOT_PointF32* in_pt1P,
                    const DRAWBOT_PointF32* in_pt2P, const DRAWBOT_PointF32* in_pt3P);
  SPErr (*AddRect)(DRAWBOT_PathRef in_path_ref, const DRAWBOT_RectF32* in_rectPR);
  SPErr (*AddArc)(DRAWBOT_PathRef in_path_ref, const DRAWBOT_PointF32* in_centerP, float in_radius,
                  float in_start_angle, float in_sweep);
  SPErr (*Close)(DRAWBOT_PathRef in_path_ref);
} DRAWBOT_PathSuite1;

#define kDRAWBOT_PenSuite "DRAWBOT Pen Suite"
#define kDRAWBOT_PenSuite_Version1 1
#define kDRAWBOT_PenSuite_VersionCurrent kDRAWBOT_PenSuite_Version1
#define DRAWBOT_PenSuiteCurrent DRAWBOT_PenSuite1

typedef struct DRAWBOT_PenSuite1 {
  SPErr (*SetDashPattern)(DRAWBOT_PenRef in_pen_ref, const float* in_dashesP, int in_pattern_size);
} DRAWBOT_PenSuite1;

#define kDRAWBOT_ImageSuite "DRAWBOT Image Suite"
#define kDRAWBOT_ImageSuite_Version1 1
#define kDRAWBOT_ImageSuite_VersionCurrent kDRAWBOT_ImageSuite_Version1
#define DRAWBOT_ImageSuiteCurrent DRAWBOT_ImageSuite1

typedef struct DRAWBOT_ImageSuite1 {
  SPErr (*SetScaleFactor)(DRAWBOT_ImageRef in_image_ref, float in_scale_factor);
} DRAWBOT_ImageSuite1;

typedef struct {
  DRAWBOT_DrawbotSuiteCurrent* drawbot_suiteP;
  DRAWBOT_SupplierSuiteCurrent* supplier_suiteP;
  DRAWBOT_SurfaceSuiteCurrent* surface_suiteP;
  DRAWBOT_PathSuiteCurrent* path_suiteP;
  DRAWBOT_PenSuiteCurrent* pen_suiteP;
  DRAWBOT_ImageSuiteCurrent* image_suiteP;
} DRAWBOT_Suites;

#ifdef __cplusplus
}
#endif

#endif
