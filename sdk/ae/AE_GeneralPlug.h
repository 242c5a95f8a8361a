// AEGP: the host's general plug-in services (project, items, compositions, layers,
// streams, effects, cameras, lights), as opaque handles, value records and suites.
// Suites that the current public headers keep as frozen earlier versions are in
// AE_GeneralPlugOld.h, included at the end.
#ifndef LUNAFORM_SDK_AE_AE_GENERALPLUG_H
#define LUNAFORM_SDK_AE_AE_GENERALPLUG_H

#include "A.h"
#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "AE_EffectSuites.h"
#include "PR_Public.h"
#include "SPBasic.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _AEGP_Project** AEGP_ProjectH;
typedef struct _AEGP_Item** AEGP_ItemH;
typedef struct _AEGP_Comp** AEGP_CompH;
typedef struct _AEGP_Footage** AEGP_FootageH;
typedef struct _AEGP_Layer** AEGP_LayerH;
typedef struct _AEGP_Effect** AEGP_EffectRefH;
typedef struct _AEGP_Mask** AEGP_MaskRefH;
typedef struct _AEGPp_Stream** AEGP_StreamRefH;
typedef struct _AEGP_MaskOutline** AEGP_MaskOutlineValH;
typedef struct _AEGP_Collection2** AEGP_Collection2H;
typedef struct _AEGP_TextDocument** AEGP_TextDocumentH;
typedef struct _AEGP_MarkerVal* AEGP_MarkerValP;

// The id the host returns from AEGP_RegisterWithAEGP; many calls take it back.
typedef A_long AEGP_PluginID;
typedef struct _AEGP_GlobalRefcon* AEGP_GlobalRefcon;

#define AEGP_MAX_PATH_SIZE 260
#define AEGP_MAX_ITEM_NAME_SIZE 32
#define AEGP_MAX_LAYER_NAME_SIZE 32
#define AEGP_MAX_EFFECT_NAME_SIZE (PF_MAX_EFFECT_NAME_LEN + 17)
#define AEGP_MAX_EFFECT_MATCH_NAME_SIZE (PF_MAX_EFFECT_NAME_LEN + 17)
#define AEGP_MAX_EFFECT_CATEGORY_NAME_SIZE (PF_MAX_EFFECT_CATEGORY_NAME_LEN + 1)
#define AEGP_MAX_STREAM_NAME_SIZE (PF_MAX_EFFECT_PARAM_NAME_LEN + 1)
#define AEGP_MAX_STREAM_UNITS_SIZE (PF_MAX_EFFECT_PARAM_NAME_LEN + 1)
#define AEGP_MAX_PLUGIN_NAME_SIZE 32
#define AEGP_MAX_MARKER_NAME_SIZE 64
#define AEGP_MAX_MARKER_URL_SIZE 1024
#define AEGP_MAX_MARKER_TARGET_SIZE 128
#define AEGP_MAX_MARKER_CHAPTER_SIZE 128

#define AEGP_Index_NONE ((A_long)0x80000000)
#define AEGP_Index_START ((A_long)0)
#define AEGP_Index_END ((A_long)-1)
typedef A_long AEGP_Index;

// Layer parameters hold the chosen layer's id; 0 means no layer.
#define AEGP_LayerIDVal_NONE (0L)
typedef A_long AEGP_LayerIDVal;
#define AEGP_MaskIDVal_NONE (0L)
typedef A_long AEGP_MaskIDVal;

typedef struct {
  A_FpLong alphaF, redF, greenF, blueF;
} AEGP_ColorVal;

enum {
  AEGP_CameraType_NONE = -1,
  AEGP_CameraType_PERSPECTIVE = 0,
  AEGP_CameraType_ORTHOGRAPHIC = 1,
  AEGP_CameraType_NUM_TYPES = 2
};
typedef A_u_long AEGP_CameraType;

enum {
  AEGP_FilmSizeUnits_NONE = 0,
  AEGP_FilmSizeUnits_HORIZONTAL = 1,
  AEGP_FilmSizeUnits_VERTICAL = 2,
  AEGP_FilmSizeUnits_DIAGONAL = 3
};
typedef A_long AEGP_FilmSizeUnits;

enum {
  AEGP_LightType_NONE = -1,
  AEGP_LightType_PARALLEL = 0,
  AEGP_LightType_SPOT = 1,
  AEGP_LightType_POINT = 2,
  AEGP_LightType_AMBIENT = 3,
  AEGP_LightType_NUM_TYPES = 4
};
typedef A_u_long AEGP_LightType;

enum {
  AEGP_LightFalloff_NONE = 0,
  AEGP_LightFalloff_SMOOTH = 1,
  AEGP_LightFalloff_INVERSE_SQUARE_CLAMPED = 2
};
typedef A_u_long AEGP_LightFalloffType;

enum {
  AEGP_ItemType_NONE = 0,
  AEGP_ItemType_FOLDER = 1,
  AEGP_ItemType_COMP = 2,
  AEGP_ItemType_SOLID_defunct = 3,
  AEGP_ItemType_FOOTAGE = 4,
  AEGP_ItemType_NUM_TYPES1 = 5
};
typedef A_short AEGP_ItemType;

enum {
  AEGP_ItemFlag_MISSING = 0x1,
  AEGP_ItemFlag_HAS_PROXY = 0x2,
  AEGP_ItemFlag_USING_PROXY = 0x4,
  AEGP_ItemFlag_MISSING_PROXY = 0x8,
  AEGP_ItemFlag_HAS_VIDEO = 0x10,
  AEGP_ItemFlag_HAS_AUDIO = 0x20,
  AEGP_ItemFlag_STILL = 0x40,
  AEGP_ItemFlag_HAS_ACTIVE_AUDIO = 0x80
};
typedef A_long AEGP_ItemFlags;

enum { AEGP_Label_NONE = -1, AEGP_Label_NO_LABEL = 0 };
typedef A_char AEGP_LabelID;

typedef struct {
  A_short xS, yS;
} AEGP_DownsampleFactor;

enum {
  AEGP_CompFlag_SHOW_ALL_SHY = 0x1,
  AEGP_CompFlag_RESERVED_1 = 0x2,
  AEGP_CompFlag_RESERVED_2 = 0x4,
  AEGP_CompFlag_ENABLE_MOTION_BLUR = 0x8,
  AEGP_CompFlag_ENABLE_TIME_FILTER = 0x10,
  AEGP_CompFlag_GRID_TO_FRAMES = 0x20,
  AEGP_CompFlag_GRID_TO_FIELDS = 0x40,
  AEGP_CompFlag_USE_LOCAL_DSF = 0x80,
  AEGP_CompFlag_DRAFT_3D = 0x100,
  AEGP_CompFlag_SHOW_GRAPH = 0x200,
  AEGP_CompFlag_RESERVED_3 = 0x400
};
typedef A_long AEGP_CompFlags;

enum { AEGP_TransferFlag_PRESERVE_ALPHA = 0x1, AEGP_TransferFlag_RANDOMIZE_DISSOLVE = 0x2 };
typedef A_long AEGP_TransferFlags;

enum {
  AEGP_TrackMatte_NO_TRACK_MATTE = 0,
  AEGP_TrackMatte_ALPHA = 1,
  AEGP_TrackMatte_NOT_ALPHA = 2,
  AEGP_TrackMatte_LUMA = 3,
  AEGP_TrackMatte_NOT_LUMA = 4
};
typedef A_long AEGP_TrackMatte;

typedef struct {
  PF_TransferMode mode;
  AEGP_TransferFlags flags;
  AEGP_TrackMatte track_matte;
} AEGP_LayerTransferMode;

enum {
  AEGP_LayerQual_NONE = -1,
  AEGP_LayerQual_WIREFRAME = 0,
  AEGP_LayerQual_DRAFT = 1,
  AEGP_LayerQual_BEST = 2
};
typedef A_short AEGP_LayerQuality;

enum {
  AEGP_LayerFlag_NONE = 0x00000000,
  AEGP_LayerFlag_VIDEO_ACTIVE = 0x00000001,
  AEGP_LayerFlag_AUDIO_ACTIVE = 0x00000002,
  AEGP_LayerFlag_EFFECTS_ACTIVE = 0x00000004,
  AEGP_LayerFlag_MOTION_BLUR = 0x00000008,
  AEGP_LayerFlag_FRAME_BLENDING = 0x00000010,
  AEGP_LayerFlag_LOCKED = 0x00000020,
  AEGP_LayerFlag_SHY = 0x00000040,
  AEGP_LayerFlag_COLLAPSE = 0x00000080,
  AEGP_LayerFlag_AUTO_ORIENT_ROTATION = 0x00000100,
  AEGP_LayerFlag_ADJUSTMENT_LAYER = 0x00000200,
  AEGP_LayerFlag_TIME_REMAPPING = 0x00000400,
  AEGP_LayerFlag_LAYER_IS_3D = 0x00000800,
  AEGP_LayerFlag_LOOK_AT_CAMERA = 0x00001000,
  AEGP_LayerFlag_LOOK_AT_POI = 0x00002000,
  AEGP_LayerFlag_SOLO = 0x00004000,
  AEGP_LayerFlag_MARKERS_LOCKED = 0x00008000,
  AEGP_LayerFlag_NULL_LAYER = 0x00010000,
  AEGP_LayerFlag_HIDE_LOCKED_MASKS = 0x00020000,
  AEGP_LayerFlag_GUIDE_LAYER = 0x00040000,
  AEGP_LayerFlag_ADVANCED_FRAME_BLENDING = 0x00080000,
  AEGP_LayerFlag_SUBLAYERS_RENDER_SEPARATELY = 0x00100000,
  AEGP_LayerFlag_ENVIRONMENT_LAYER = 0x00200000
};
typedef A_long AEGP_LayerFlags;

enum {
  AEGP_ObjectType_NONE = -1,
  AEGP_ObjectType_AV = 0,
  AEGP_ObjectType_LIGHT = 1,
  AEGP_ObjectType_CAMERA = 2,
  AEGP_ObjectType_TEXT = 3,
  AEGP_ObjectType_VECTOR = 4,
  AEGP_ObjectType_NUM_TYPES = 5
};
typedef A_long AEGP_ObjectType;

enum { AEGP_LTimeMode_LayerTime = 0, AEGP_LTimeMode_CompTime = 1 };
typedef A_short AEGP_LTimeMode;

enum {
  AEGP_LayerStream_NONE = -1,
  AEGP_LayerStream_ANCHORPOINT = 0,
  AEGP_LayerStream_POSITION = 1,
  AEGP_LayerStream_SCALE = 2,
  AEGP_LayerStream_ROTATION = 3,
  AEGP_LayerStream_ROTATE_Z = AEGP_LayerStream_ROTATION,
  AEGP_LayerStream_OPACITY = 4,
  AEGP_LayerStream_AUDIO = 5,
  AEGP_LayerStream_MARKER = 6,
  AEGP_LayerStream_TIME_REMAP = 7,
  AEGP_LayerStream_ROTATE_X = 8,
  AEGP_LayerStream_ROTATE_Y = 9,
  AEGP_LayerStream_ORIENTATION = 10,
  AEGP_LayerStream_ZOOM = 11,
  AEGP_LayerStream_DEPTH_OF_FIELD = 12,
  AEGP_LayerStream_FOCUS_DISTANCE = 13,
  AEGP_LayerStream_APERTURE = 14,
  AEGP_LayerStream_BLUR_LEVEL = 15,
  AEGP_LayerStream_INTENSITY = 16,
  AEGP_LayerStream_COLOR = 17,
  AEGP_LayerStream_CONE_ANGLE = 18,
  AEGP_LayerStream_CONE_FEATHER = 19,
  AEGP_LayerStream_SHADOW_DARKNESS = 20,
  AEGP_LayerStream_SHADOW_DIFFUSION = 21,
  AEGP_LayerStream_ACCEPTS_SHADOWS = 22,
  AEGP_LayerStream_ACCEPTS_LIGHTS = 23,
  AEGP_LayerStream_AMBIENT_COEFF = 24,
  AEGP_LayerStream_DIFFUSE_COEFF = 25,
  AEGP_LayerStream_SPECULAR_INTENSITY = 26,
  AEGP_LayerStream_SPECULAR_SHININESS = 27,
  AEGP_LayerStream_CASTS_SHADOWS = 28,
  AEGP_LayerStream_LIGHT_TRANSMISSION = 29,
  AEGP_LayerStream_METAL = 30,
  AEGP_LayerStream_SOURCE_TEXT = 31,
  AEGP_LayerStream_IRIS_SHAPE = 32,
  AEGP_LayerStream_IRIS_ROTATION = 33,
  AEGP_LayerStream_IRIS_ROUNDNESS = 34,
  AEGP_LayerStream_IRIS_ASPECT_RATIO = 35,
  AEGP_LayerStream_IRIS_DIFFRACTION_FRINGE = 36,
  AEGP_LayerStream_IRIS_HIGHLIGHT_GAIN = 37,
  AEGP_LayerStream_IRIS_HIGHLIGHT_THRESHOLD = 38,
  AEGP_LayerStream_IRIS_HIGHLIGHT_SATURATION = 39,
  AEGP_LayerStream_LIGHT_FALLOFF_TYPE = 40,
  AEGP_LayerStream_LIGHT_FALLOFF_START = 41,
  AEGP_LayerStream_LIGHT_FALLOFF_DISTANCE = 42,
  AEGP_LayerStream_REFLECTION_INTENSITY = 43,
  AEGP_LayerStream_REFLECTION_SHARPNESS = 44,
  AEGP_LayerStream_REFLECTION_ROLLOFF = 45,
  AEGP_LayerStream_TRANSPARENCY_COEFF = 46,
  AEGP_LayerStream_TRANSPARENCY_ROLLOFF = 47,
  AEGP_LayerStream_INDEX_OF_REFRACTION = 48,
  AEGP_LayerStream_EXTRUSION_BEVEL_STYLE = 49,
  AEGP_LayerStream_EXTRUSION_BEVEL_DIRECTION = 50,
  AEGP_LayerStream_EXTRUSION_BEVEL_DEPTH = 51,
  AEGP_LayerStream_EXTRUSION_HOLE_BEVEL_DEPTH = 52,
  AEGP_LayerStream_EXTRUSION_DEPTH = 53,
  AEGP_LayerStream_PLANE_CURVATURE = 54,
  AEGP_LayerStream_PLANE_SUBDIVISION = 55,
  AEGP_LayerStream_NUMTYPES = 56,
  AEGP_LayerStream_BEGIN = AEGP_LayerStream_NONE + 1,
  AEGP_LayerStream_END = AEGP_LayerStream_NUMTYPES
};
typedef A_long AEGP_LayerStream;

enum {
  AEGP_MaskStream_OUTLINE = 400,
  AEGP_MaskStream_OPACITY = 401,
  AEGP_MaskStream_FEATHER = 402,
  AEGP_MaskStream_EXPANSION = 403,
  AEGP_MaskStream_BEGIN = AEGP_MaskStream_OUTLINE,
  AEGP_MaskStream_END = AEGP_MaskStream_EXPANSION + 1
};
typedef A_long AEGP_MaskStream;

enum {
  AEGP_StreamFlag_NONE = 0,
  AEGP_StreamFlag_HAS_MIN = 0x01,
  AEGP_StreamFlag_HAS_MAX = 0x02,
  AEGP_StreamFlag_IS_SPATIAL = 0x04
};
typedef A_long AEGP_StreamFlags;

typedef A_FpLong AEGP_OneDVal;

typedef struct {
  A_FpLong x, y;
} AEGP_TwoDVal;

typedef struct {
  A_FpLong x, y, z;
} AEGP_ThreeDVal;

typedef A_FpLong AEGP_FourDVal[4];
typedef A_Handle AEGP_ArbBlockVal;

enum {
  AEGP_KeyInterp_NONE = 0,
  AEGP_KeyInterp_LINEAR = 1,
  AEGP_KeyInterp_BEZIER = 2,
  AEGP_KeyInterp_HOLD = 3,
  AEGP_Interp_NUM_VALUES = 4
};
typedef A_long AEGP_KeyframeInterpolationType;

enum {
  AEGP_KeyInterpMask_NONE = 0,
  AEGP_KeyInterpMask_LINEAR = 1 << 0,
  AEGP_KeyInterpMask_BEZIER = 1 << 1,
  AEGP_KeyInterpMask_HOLD = 1 << 2,
  AEGP_KeyInterpMask_CUSTOM = 1 << 3,
  AEGP_KeyInterpMask_ANY = 0xFFFF
};
typedef A_long AEGP_KeyInterpolationMask;

// One stream value; which member is valid follows from the stream's AEGP_StreamType.
typedef union {
  AEGP_FourDVal four_d;
  AEGP_ThreeDVal three_d;
  AEGP_TwoDVal two_d;
  AEGP_OneDVal one_d;
  AEGP_ColorVal color;
  AEGP_ArbBlockVal arbH;
  AEGP_MarkerValP markerP;
  AEGP_LayerIDVal layer_id;
  AEGP_MaskIDVal mask_id;
  AEGP_MaskOutlineValH mask;
  AEGP_TextDocumentH text_documentH;
} AEGP_StreamVal2;

typedef struct {
  AEGP_StreamRefH streamH;
  AEGP_StreamVal2 val;
} AEGP_StreamValue2;

enum {
  AEGP_StreamType_NO_DATA = 0,
  AEGP_StreamType_ThreeD_SPATIAL = 1,
  AEGP_StreamType_ThreeD = 2,
  AEGP_StreamType_TwoD_SPATIAL = 3,
  AEGP_StreamType_TwoD = 4,
  AEGP_StreamType_OneD = 5,
  AEGP_StreamType_COLOR = 6,
  AEGP_StreamType_ARB = 7,
  AEGP_StreamType_MARKER = 8,
  AEGP_StreamType_LAYER_ID = 9,
  AEGP_StreamType_MASK_ID = 10,
  AEGP_StreamType_MASK = 11,
  AEGP_StreamType_TEXT_DOCUMENT = 12
};
typedef A_long AEGP_StreamType;

enum {
  AEGP_StreamGroupingType_NONE = -1,
  AEGP_StreamGroupingType_LEAF = 0,
  AEGP_StreamGroupingType_NAMED_GROUP = 1,
  AEGP_StreamGroupingType_INDEXED_GROUP = 2
};
typedef A_long AEGP_StreamGroupingType;

// Bit masks; AEGP_SetDynamicStreamFlag takes exactly one of them.
enum {
  AEGP_DynStreamFlag_ACTIVE_EYEBALL = 1L << 0,
  AEGP_DynStreamFlag_HIDDEN = 1L << 1,
  AEGP_DynStreamFlag_DISABLED = 1L << 4,
  AEGP_DynStreamFlag_ELIDED = 1L << 5,
  AEGP_DynStreamFlag_SHOWN_WHEN_EMPTY = 1L << 10,
  AEGP_DynStreamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 1L << 16
};
typedef A_u_long AEGP_DynStreamFlags;

typedef A_long AEGP_InstalledEffectKey;
#define AEGP_InstalledEffectKey_NONE 0

enum {
  AEGP_EffectFlags_NONE = 0,
  AEGP_EffectFlags_ACTIVE = 0x01L << 0,
  AEGP_EffectFlags_AUDIO_ONLY = 0x01L << 1,
  AEGP_EffectFlags_AUDIO_TOO = 0x01L << 2,
  AEGP_EffectFlags_MISSING = 0x01L << 3
};
typedef A_long AEGP_EffectFlags;
typedef A_long AEGP_EffectIndex;

typedef struct {
  A_long reservedAL[12];
} AEGP_ErrReportState;

#define kAEGPItemSuite "AEGP Item Suite"
#define kAEGPCompSuite "AEGP Comp Suite"
#define kAEGPLayerSuite "AEGP Layer Suite"
#define kAEGPStreamSuite "AEGP Stream Suite"
#define kAEGPDynamicStreamSuite "AEGP Dynamic Stream Suite"
#define kAEGPEffectSuite "AEGP Effect Suite"
#define kAEGPUtilitySuite "AEGP Utility Suite"

#define kAEGPCameraSuite "AEGP Camera Suite"
#define kAEGPCameraSuiteVersion2 2

typedef struct AEGP_CameraSuite2 {
  SPAPI A_Err (*AEGP_GetCamera)(PR_RenderContextH render_contextH, const A_Time* comp_timeP,
                                AEGP_LayerH* camera_layerPH);
  SPAPI A_Err (*AEGP_GetCameraType)(AEGP_LayerH camera_layerH, AEGP_CameraType* camera_typeP);
  SPAPI A_Err (*AEGP_GetDefaultCameraDistanceToImagePlane)(AEGP_CompH compH,
                                                           A_FpLong* dist_to_planePF);
  SPAPI A_Err (*AEGP_GetCameraFilmSize)(AEGP_LayerH camera_layerH,
                                        AEGP_FilmSizeUnits* film_size_unitsP,
                                        A_FpLong* film_sizePF0);
  SPAPI A_Err (*AEGP_SetCameraFilmSize)(AEGP_LayerH camera_layerH,
                                        AEGP_FilmSizeUnits film_size_units, A_FpLong* film_sizePF0);
} AEGP_CameraSuite2;

#define kAEGPLightSuite "AEGP Light Suite"
#define kAEGPLightSuiteVersion2 2

typedef struct AEGP_LightSuite2 {
  SPAPI A_Err (*AEGP_GetLightType)(AEGP_LayerH light_layerH, AEGP_LightType* light_typeP);
  SPAPI A_Err (*AEGP_SetLightType)(AEGP_LayerH light_layerH, AEGP_LightType light_type);
} AEGP_LightSuite2;

#define kAEGPPFInterfaceSuite "AEGP PF Interface Suite"
#define kAEGPPFInterfaceSuiteVersion1 1

// Bridges from an effect instance (its PF_ProgPtr) to the AEGP world. The camera matrix
// is camera-to-world in composition pixels, row-vector convention.
typedef struct AEGP_PFInterfaceSuite1 {
  SPAPI A_Err (*AEGP_GetEffectLayer)(PF_ProgPtr effect_pp_ref, AEGP_LayerH* layerPH);
  SPAPI A_Err (*AEGP_GetNewEffectForEffect)(AEGP_PluginID aegp_plugin_id, PF_ProgPtr effect_pp_ref,
                                            AEGP_EffectRefH* effect_refPH);
  SPAPI A_Err (*AEGP_ConvertEffectToCompTime)(PF_ProgPtr effect_pp_ref, A_long what_timeL,
                                              A_u_long time_scaleLu, A_Time* comp_timePT);
  SPAPI A_Err (*AEGP_GetEffectCamera)(PF_ProgPtr effect_pp_ref, const A_Time* comp_timePT,
                                      AEGP_LayerH* camera_layerPH);
  SPAPI A_Err (*AEGP_GetEffectCameraMatrix)(PF_ProgPtr effect_pp_ref, const A_Time* comp_timePT,
                                            A_Matrix4* camera_matrixP,
                                            A_FpLong* dist_to_image_planePF,
                                            A_short* image_plane_widthPL,
                                            A_short* image_plane_heightPL);
} AEGP_PFInterfaceSuite1;

#ifdef __cplusplus
}
#endif

#include "AE_GeneralPlugOld.h"

#endif
