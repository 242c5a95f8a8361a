// Opaque references and value records of the host's 2D drawing suites.
#ifndef LUNAFORM_SDK_AE_DRAWBOTSUITETYPES_H
#define LUNAFORM_SDK_AE_DRAWBOTSUITETYPES_H

typedef struct _DRAWBOT_DrawRef* DRAWBOT_DrawRef;
typedef struct _DRAWBOT_SupplierRef* DRAWBOT_SupplierRef;
typedef struct _DRAWBOT_SurfaceRef* DRAWBOT_SurfaceRef;
typedef struct _DRAWBOT_PenRef* DRAWBOT_PenRef;
typedef struct _DRAWBOT_PathRef* DRAWBOT_PathRef;
typedef struct _DRAWBOT_BrushRef* DRAWBOT_BrushRef;
typedef struct _DRAWBOT_ImageRef* DRAWBOT_ImageRef;
typedef struct _DRAWBOT_FontRef* DRAWBOT_FontRef;
// Any of the references above, as passed to RetainObject and ReleaseObject.
typedef struct _DRAWBOT_ObjectRef* DRAWBOT_ObjectRef;

typedef struct {
  float red;
  float green;
  float blue;
  float alpha;
} DRAWBOT_ColorRGBA;

typedef struct {
  float x;
  float y;
} DRAWBOT_PointF32;

typedef struct {
  float left;
  float top;
  float width;
  float height;
} DRAWBOT_RectF32;

typedef struct {
  int left;
  int top;
  int width;
  int height;
} DRAWBOT_Rect32;

typedef struct {
  float mat[3][3];
} DRAWBOT_MatrixF32;

enum {
  kDRAWBOT_FillType_EvenOdd = 0,
  kDRAWBOT_FillType_Winding = 1,
  kDRAWBOT_FillType_Default = kDRAWBOT_FillType_Winding
};
typedef int DRAWBOT_FillType;

// Byte order of image buffers handed to NewImageFromBuffer.
enum {
  kDRAWBOT_PixelLayout_24RGB = 0,
  kDRAWBOT_PixelLayout_24BGR = 1,
  kDRAWBOT_PixelLayout_32RGB = 2,
  kDRAWBOT_PixelLayout_32BGR = 3,
  kDRAWBOT_PixelLayout_32ARGB_Straight = 4,
  kDRAWBOT_PixelLayout_32ARGB_Premul = 5,
  kDRAWBOT_PixelLayout_32BGRA_Straight = 6,
  kDRAWBOT_PixelLayout_32BGRA_Premul = 7
};
typedef int DRAWBOT_PixelLayout;

enum {
  kDRAWBOT_TextAlignment_Left = 0,
  kDRAWBOT_TextAlignment_Center = 1,
  kDRAWBOT_TextAlignment_Right = 2,
  kDRAWBOT_TextAlignment_Default = kDRAWBOT_TextAlignment_Left
};
typedef int DRAWBOT_TextAlignment;

enum {
  kDRAWBOT_TextTruncation_None = 0,
  kDRAWBOT_TextTruncation_End = 1,
  kDRAWBOT_TextTruncation_EndEllipsis = 2,
  kDRAWBOT_TextTruncation_PathEllipsis = 3
};
typedef int DRAWBOT_TextTruncation;

enum {
  kDRAWBOT_InterpolationPolicy_None = 0,
  kDRAWBOT_InterpolationPolicy_Med = 1,
  kDRAWBOT_InterpolationPolicy_High = 2,
  kDRAWBOT_InterpolationPolicy_Default = kDRAWBOT_InterpolationPolicy_None
};
typedef int DRAWBOT_InterpolationPolicy;

enum {
  kDRAWBOT_AntiAliasPolicy_None = 0,
  kDRAWBOT_AntiAliasPolicy_Med = 1,
  kDRAWBOT_AntiAliasPolicy_High = 2,
  kDRAWBOT_AntiAliasPolicy_Default = kDRAWBOT_AntiAliasPolicy_None
};
typedef int DRAWBOT_AntiAliasPolicy;

#endif
