// Core records of the effect API: commands, error codes, flags, pixels, worlds,
// parameter definitions, the in-data and out-data records, the Smart Render protocol
// and the entry point's signature.
#ifndef LUNAFORM_SDK_AE_AE_EFFECT_H
#define LUNAFORM_SDK_AE_AE_EFFECT_H

#include "A.h"

#ifdef __cplusplus
extern "C" {
#endif

// Packed version word: build in bits 0-8, stage 9-10, bug fix 11-14, minor 15-18,
// major low three bits 19-21 and major high four bits 26-29.
#define PF_Vers_BUILD_BITS 0x1ffL
#define PF_Vers_BUILD_SHIFT 0
#define PF_Vers_STAGE_BITS 0x3L
#define PF_Vers_STAGE_SHIFT 9
#define PF_Vers_BUGFIX_BITS 0xfL
#define PF_Vers_BUGFIX_SHIFT 11
#define PF_Vers_SUBVERS_BITS 0xfL
#define PF_Vers_SUBVERS_SHIFT 15
#define PF_Vers_VERS_BITS 0x7L
#define PF_Vers_VERS_SHIFT 19
#define PF_Vers_VERS_HIGH_BITS 0xfL
#define PF_Vers_VERS_HIGH_SHIFT 26
#define PF_Vers_VERS_LOW_SHIFT 3

#define PF_Vers_VERS_HIGH(vers) ((vers) >> PF_Vers_VERS_LOW_SHIFT)

#define PF_VERSION(vers, subvers, bugvers, stage, build)                                 \
  (A_u_long)(((((A_u_long)PF_Vers_VERS_HIGH(vers)) & PF_Vers_VERS_HIGH_BITS)             \
              << PF_Vers_VERS_HIGH_SHIFT) |                                              \
             ((((A_u_long)(vers)) & PF_Vers_VERS_BITS) << PF_Vers_VERS_SHIFT) |          \
             ((((A_u_long)(subvers)) & PF_Vers_SUBVERS_BITS) << PF_Vers_SUBVERS_SHIFT) | \
             ((((A_u_long)(bugvers)) & PF_Vers_BUGFIX_BITS) << PF_Vers_BUGFIX_SHIFT) |   \
             ((((A_u_long)(stage)) & PF_Vers_STAGE_BITS) << PF_Vers_STAGE_SHIFT) |       \
             ((((A_u_long)(build)) & PF_Vers_BUILD_BITS) << PF_Vers_BUILD_SHIFT))

enum { PF_Stage_DEVELOP = 0, PF_Stage_ALPHA = 1, PF_Stage_BETA = 2, PF_Stage_RELEASE = 3 };
typedef A_long PF_Stage;

#define PF_MAX_EFFECT_NAME_LEN 31
#define PF_MAX_EFFECT_CATEGORY_NAME_LEN 31
#define PF_MAX_EFFECT_PARAM_NAME_LEN 31
#define PF_MAX_PARAM_DESCRIPTION_LEN 31
#define PF_MAX_PARAM_VALUE_LEN 31
#define PF_MAX_EFFECT_MSG_LEN 255
#define PF_MAX_WORLD_WIDTH 30000
#define PF_MAX_WORLD_HEIGHT 30000
#define PF_FIRST_ERR 512

enum { PF_Quality_DRAWING_AUDIO = -1, PF_Quality_LO = 0, PF_Quality_HI = 1 };
typedef A_long PF_Quality;

enum { PF_MF_Alpha_PREMUL = 0, PF_MF_Alpha_STRAIGHT = (1L << 0) };
typedef A_long PF_ModeFlags;

enum { PF_Field_FRAME = 0L, PF_Field_UPPER = 1L, PF_Field_LOWER = 2L };
typedef A_long PF_Field;

enum {
  PF_Param_RESERVED = -1,
  PF_Param_LAYER = 0,
  PF_Param_SLIDER = 1,
  PF_Param_FIX_SLIDER = 2,
  PF_Param_ANGLE = 3,
  PF_Param_CHECKBOX = 4,
  PF_Param_COLOR = 5,
  PF_Param_POINT = 6,
  PF_Param_POPUP = 7,
  PF_Param_CUSTOM = 8,
  PF_Param_NO_DATA = 9,
  PF_Param_FLOAT_SLIDER = 10,
  PF_Param_ARBITRARY_DATA = 11,
  PF_Param_PATH = 12,
  PF_Param_GROUP_START = 13,
  PF_Param_GROUP_END = 14,
  PF_Param_BUTTON = 15,
  PF_Param_RESERVED2 = 16,
  PF_Param_RESERVED3 = 17,
  PF_Param_POINT_3D = 18
};
typedef A_long PF_ParamType;

enum {
  PF_ParamFlag_RESERVED1 = 1 << 0,
  PF_ParamFlag_CANNOT_TIME_VARY = 1 << 1,
  PF_ParamFlag_CANNOT_INTERP = 1 << 2,
  PF_ParamFlag_RESERVED2 = 1 << 3,
  PF_ParamFlag_RESERVED3 = 1 << 4,
  PF_ParamFlag_COLLAPSE_TWIRLY = 1 << 5,
  PF_ParamFlag_SUPERVISE = 1 << 6,
  PF_ParamFlag_START_COLLAPSED = PF_ParamFlag_COLLAPSE_TWIRLY,
  PF_ParamFlag_USE_VALUE_FOR_OLD_PROJECTS = 1 << 7,
  PF_ParamFlag_LAYER_PARAM_IS_TRACKMATTE = 1 << 7,
  PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED = 1 << 8,
  PF_ParamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 1 << 9
};
typedef A_long PF_ParamFlags;

enum {
  PF_Err_NONE = 0,
  PF_Err_OUT_OF_MEMORY = 4,
  PF_Err_INTERNAL_STRUCT_DAMAGED = PF_FIRST_ERR,
  PF_Err_INVALID_INDEX = PF_FIRST_ERR + 1,
  PF_Err_UNRECOGNIZED_PARAM_TYPE = PF_FIRST_ERR + 2,
  PF_Err_INVALID_CALLBACK = PF_FIRST_ERR + 3,
  PF_Err_BAD_CALLBACK_PARAM = PF_FIRST_ERR + 4,
  PF_Interrupt_CANCEL = PF_FIRST_ERR + 5,
  PF_Err_CANNOT_PARSE_KEYFRAME_TEXT = PF_FIRST_ERR + 6
};
typedef A_long PF_Err;

enum {
  PF_WorldFlag_DEEP = 1L << 0,
  PF_WorldFlag_WRITEABLE = 1L << 1,
  PF_WorldFlag_RESERVED0 = 1L << 24,
  PF_WorldFlag_RESERVED1 = 1L << 25,
  PF_WorldFlag_RESERVED2 = 1L << 26,
  PF_WorldFlag_RESERVED3 = 1L << 27,
  PF_WorldFlag_RESERVED4 = 1L << 28,
  PF_WorldFlag_RESERVED5 = 1L << 29,
  PF_WorldFlag_RESERVED6 = 1L << 30,
  PF_WorldFlag_RESERVED = (A_long)(1UL << 31)
};
typedef A_long PF_WorldFlags;

#define PF_WORLD_IS_DEEP(W) (((W)->world_flags & PF_WorldFlag_DEEP) != 0)

// White of an 8-bit channel and of the host's 16-bit channel (which stops at 2^15).
#define PF_MAX_CHAN8 255
#define PF_HALF_CHAN8 128
#define PF_MAX_CHAN16 32768
#define PF_HALF_CHAN16 16384

enum {
  PF_OutFlag_NONE = 0L,
  PF_OutFlag_KEEP_RESOURCE_OPEN = 1L << 0,
  PF_OutFlag_WIDE_TIME_INPUT = 1L << 1,
  PF_OutFlag_NON_PARAM_VARY = 1L << 2,
  PF_OutFlag_RESERVED6 = 1L << 3,
  PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING = 1L << 4,
  PF_OutFlag_I_DO_DIALOG = 1L << 5,
  PF_OutFlag_USE_OUTPUT_EXTENT = 1L << 6,
  PF_OutFlag_SEND_DO_DIALOG = 1L << 7,
  PF_OutFlag_DISPLAY_ERROR_MESSAGE = 1L << 8,
  PF_OutFlag_I_EXPAND_BUFFER = 1L << 9,
  PF_OutFlag_PIX_INDEPENDENT = 1L << 10,
  PF_OutFlag_I_WRITE_INPUT_BUFFER = 1L << 11,
  PF_OutFlag_I_SHRINK_BUFFER = 1L << 12,
  PF_OutFlag_WORKS_IN_PLACE = 1L << 13,
  PF_OutFlag_RESERVED8 = 1L << 14,
  PF_OutFlag_CUSTOM_UI = 1L << 15,
  PF_OutFlag_RESERVED7 = 1L << 16,
  PF_OutFlag_REFRESH_UI = 1L << 17,
  PF_OutFlag_NOP_RENDER = 1L << 18,
  PF_OutFlag_I_USE_SHUTTER_ANGLE = 1L << 19,
  PF_OutFlag_I_USE_AUDIO = 1L << 20,
  PF_OutFlag_I_AM_OBSOLETE = 1L << 21,
  PF_OutFlag_FORCE_RERENDER = 1L << 22,
  PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS = 1L << 23,
  PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES = 1L << 24,
  PF_OutFlag_DEEP_COLOR_AWARE = 1L << 25,
  PF_OutFlag_SEND_UPDATE_PARAMS_UI = 1L << 26,
  PF_OutFlag_AUDIO_FLOAT_ONLY = 1L << 27,
  PF_OutFlag_AUDIO_IIR = 1L << 28,
  PF_OutFlag_I_SYNTHESIZE_AUDIO = 1L << 29,
  PF_OutFlag_AUDIO_EFFECT_TOO = 1L << 30,
  PF_OutFlag_AUDIO_EFFECT_ONLY = (A_long)(1UL << 31)
};
typedef A_long PF_OutFlags;

enum {
  PF_OutFlag2_NONE = 0L,
  PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS = 1L << 0,
  PF_OutFlag2_I_USE_3D_CAMERA = 1L << 1,
  PF_OutFlag2_I_USE_3D_LIGHTS = 1L << 2,
  PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG = 1L << 3,
  PF_OutFlag2_I_AM_THREADSAFE = 1L << 4,
  PF_OutFlag2_CAN_COMBINE_WITH_DESTINATION = 1L << 5,
  PF_OutFlag2_DOESNT_NEED_EMPTY_PIXELS = 1L << 6,
  PF_OutFlag2_REVEALS_ZERO_ALPHA = 1L << 7,
  PF_OutFlag2_PRESERVES_FULLY_OPAQUE_PIXELS = 1L << 8,
  PF_OutFlag2_SUPPORTS_SMART_RENDER = 1L << 10,
  PF_OutFlag2_RESERVED9 = 1L << 11,
  PF_OutFlag2_FLOAT_COLOR_AWARE = 1L << 12,
  PF_OutFlag2_I_USE_COLORSPACE_ENUMERATION = 1L << 13,
  PF_OutFlag2_I_AM_DEPRECATED = 1L << 14,
  PF_OutFlag2_PPRO_DO_NOT_CLONE_SEQUENCE_DATA_FOR_RENDER = 1L << 15,
  PF_OutFlag2_RESERVED10 = 1L << 16,
  PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT = 1L << 17,
  PF_OutFlag2_I_USE_TIMECODE = 1L << 18,
  PF_OutFlag2_DEPENDS_ON_UNREFERENCED_MASKS = 1L << 19,
  PF_OutFlag2_OUTPUT_IS_WATERMARKED = 1L << 20,
  PF_OutFlag2_I_MIX_GUID_DEPENDENCIES = 1L << 21,
  PF_OutFlag2_AE13_5_THREADSAFE = 1L << 22,
  PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA = 1L << 23,
  PF_OutFlag2_CUSTOM_UI_ASYNC_MANAGER = 1L << 24,
  PF_OutFlag2_SUPPORTS_GPU_RENDER_F32 = 1L << 25,
  PF_OutFlag2_RESERVED12 = 1L << 26,
  PF_OutFlag2_SUPPORTS_THREADED_RENDERING = 1L << 27
};
typedef A_long PF_OutFlags2;

enum { PF_InFlag_NONE = 0L, PF_InFlag_PROJECT_IS_RENDER_ONLY = 1L << 0 };
typedef A_long PF_InFlags;

enum {
  PF_Cmd_ABOUT = 0,
  PF_Cmd_GLOBAL_SETUP = 1,
  PF_Cmd_UNUSED_0 = 2,
  PF_Cmd_GLOBAL_SETDOWN = 3,
  PF_Cmd_PARAMS_SETUP = 4,
  PF_Cmd_SEQUENCE_SETUP = 5,
  PF_Cmd_SEQUENCE_RESETUP = 6,
  PF_Cmd_SEQUENCE_FLATTEN = 7,
  PF_Cmd_SEQUENCE_SETDOWN = 8,
  PF_Cmd_DO_DIALOG = 9,
  PF_Cmd_FRAME_SETUP = 10,
  PF_Cmd_RENDER = 11,
  PF_Cmd_FRAME_SETDOWN = 12,
  PF_Cmd_USER_CHANGED_PARAM = 13,
  PF_Cmd_UPDATE_PARAMS_UI = 14,
  PF_Cmd_EVENT = 15,
  PF_Cmd_GET_EXTERNAL_DEPENDENCIES = 16,
  PF_Cmd_COMPLETELY_GENERAL = 17,
  PF_Cmd_QUERY_DYNAMIC_FLAGS = 18,
  PF_Cmd_AUDIO_RENDER = 19,
  PF_Cmd_AUDIO_SETUP = 20,
  PF_Cmd_AUDIO_SETDOWN = 21,
  PF_Cmd_ARBITRARY_CALLBACK = 22,
  PF_Cmd_SMART_PRE_RENDER = 23,
  PF_Cmd_SMART_RENDER = 24,
  PF_Cmd_RESERVED1 = 25,
  PF_Cmd_RESERVED2 = 26,
  PF_Cmd_RESERVED3 = 27,
  PF_Cmd_GET_FLATTENED_SEQUENCE_DATA = 28,
  PF_Cmd_TRANSLATE_PARAMS_TO_PREFS = 29,
  PF_Cmd_RESERVED4 = 30,
  PF_Cmd_SMART_RENDER_GPU = 31,
  PF_Cmd_GPU_DEVICE_SETUP = 32,
  PF_Cmd_GPU_DEVICE_SETDOWN = 33,
  PF_Cmd_NUM_CMDS = 34
};
typedef A_long PF_Cmd;

typedef struct _PF_LayerAudio* PF_LayerAudio;
typedef void* PF_SndSamplePtr;

// The host's opaque reference to one effect instance, passed back with every callback.
struct PF_ProgressInfo;
typedef struct PF_ProgressInfo* PF_ProgPtr;

typedef A_long PF_ParamValue;

typedef struct {
  A_short major;
  A_short minor;
} PF_SpecVersion;

typedef A_long PF_ParamIndex;
typedef A_u_long PF_UFixed;

// 16.16 fixed point.
typedef A_long PF_Fixed;
typedef A_char PF_Boolean;
// A relocatable host block: a pointer to the pointer that the host's lock call returns.
typedef void** PF_Handle;

typedef struct {
  A_short v;
  A_short h;
} PF_LegacyPoint;

typedef struct {
  A_short top, left, bottom, right;
} PF_LegacyRect;

// A module may define LPOINT_RENAME_COMPONENTS to name the components x and y.
typedef struct {
#ifdef LPOINT_RENAME_COMPONENTS
  A_long x;
  A_long y;
#else
  A_long h;
  A_long v;
#endif
} PF_Point;

typedef struct {
  A_long left, top, right, bottom;
} PF_LRect;

typedef PF_LRect PF_Rect;
typedef PF_Rect PF_UnionableRect;

typedef struct {
  A_long num;
  A_u_long den;
} PF_RationalScale;

#define PF_Fixed_MINVAL ((PF_Fixed)0x80000000)
#define PF_Fixed_MAXVAL ((PF_Fixed)0x7fffffff)

typedef struct {
  PF_Fixed x, y;
} PF_FixedPoint;

typedef struct {
  PF_Fixed left, top, right, bottom;
} PF_FixedRect;

typedef struct {
  PF_Fixed mat[3][3];
} PF_Matrix;

// Channel order in host memory is alpha, red, green, blue at every depth.
typedef struct {
  A_u_char alpha, red, green, blue;
} PF_Pixel;

typedef PF_Pixel PF_Pixel8;
typedef PF_Pixel PF_UnionablePixel;

typedef struct {
#ifdef PF_PIXEL16_RENAME_COMPONENTS
  A_u_short alphaSu, redSu, greenSu, blueSu;
#else
  A_u_short alpha, red, green, blue;
#endif
} PF_Pixel16;

typedef A_FpShort PF_FpShort;
typedef A_FpLong PF_FpLong;

typedef struct {
  PF_FpShort alpha, red, green, blue;
} PF_PixelFloat, PF_Pixel32;

typedef struct {
  PF_FpLong mat[3][3];
} PF_FloatMatrix;

typedef A_u_long PF_PixLong;

typedef struct _PF_PixelOpaque* PF_PixelOpaquePtr;
#ifdef PF_DEEP_COLOR_AWARE
typedef PF_PixelOpaquePtr PF_PixelPtr;
#else
typedef PF_Pixel* PF_PixelPtr;
#endif

typedef PF_Fixed PF_RGB_Pixel[3];
typedef PF_Fixed PF_YIQ_Pixel[3];
typedef PF_Fixed PF_HLS_Pixel[3];

enum { PF_LayerDefault_MYSELF = -1, PF_LayerDefault_NONE = 0 };

// A block of pixels: rows of `rowbytes` bytes (at least width times the pixel size),
// `data` pointing at the top-left pixel. Also the value of a layer parameter.
typedef struct PF_LayerDef {
  void* reserved0;
  void* reserved1;
  PF_WorldFlags world_flags;
  PF_PixelPtr data;
  A_long rowbytes;
  A_long width;
  A_long height;
  PF_UnionableRect extent_hint;
  void* platform_ref;
  A_long reserved_long1;
  void* reserved_long4;
  PF_RationalScale pix_aspect_ratio;
  void* reserved_long2;
  A_long origin_x;
  A_long origin_y;
  A_long reserved_long3;
  A_long dephault;
} PF_LayerDef;

typedef PF_LayerDef PF_EffectWorld;

enum { PF_UNSIGNED_PCM = 0, PF_SIGNED_PCM = 1, PF_SIGNED_FLOAT = 2 };
typedef A_short PF_SoundFormat;

enum { PF_SSS_1 = 1, PF_SSS_2 = 2, PF_SSS_4 = 4 };
typedef A_short PF_SoundSampleSize;

enum { PF_Channels_MONO = 1, PF_Channels_STEREO = 2 };
typedef A_short PF_SoundChannels;

typedef struct {
  PF_FpLong rateF;
  PF_SoundChannels num_channels;
  PF_SoundFormat format;
  PF_SoundSampleSize sample_size;
} PF_SoundFormatInfo;

typedef struct {
  PF_SoundFormatInfo fi;
  A_long num_samples;
  void* dataP;
} PF_SoundWorld;

enum {
  PF_ValueDisplayFlag_NONE = 0,
  PF_ValueDisplayFlag_PERCENT = 1 << 0,
  PF_ValueDisplayFlag_PIXEL = 1 << 1,
  PF_ValueDisplayFlag_RESERVED1 = 1 << 2,
  PF_ValueDisplayFlag_REVERSE = 1 << 3
};
typedef A_short PF_ValueDisplayFlags;

typedef struct {
  PF_ParamValue value;
  A_char value_str[PF_MAX_PARAM_VALUE_LEN + 1];
  A_char value_desc[PF_MAX_PARAM_DESCRIPTION_LEN + 1];
  PF_ParamValue valid_min, valid_max;
  PF_ParamValue slider_min, slider_max;
  PF_ParamValue dephault;
} PF_SliderDef;

typedef struct {
  PF_Fixed value;
  A_char value_str[PF_MAX_PARAM_VALUE_LEN + 1];
  A_char value_desc[PF_MAX_PARAM_DESCRIPTION_LEN + 1];
  PF_Fixed valid_min, valid_max;
  PF_Fixed slider_min, slider_max;
  PF_Fixed dephault;
  A_short precision;
  PF_ValueDisplayFlags display_flags;
} PF_FixedSliderDef;

enum { PF_FSliderFlag_NONE = 0, PF_FSliderFlag_WANT_PHASE = 1L << 0 };
typedef A_u_long PF_FSliderFlags;

// The value is double precision; ranges and default are single precision.
typedef struct {
  PF_FpLong value;
  PF_FpLong phase;
  A_char value_desc[PF_MAX_PARAM_DESCRIPTION_LEN + 1];
  PF_FpShort valid_min, valid_max;
  PF_FpShort slider_min, slider_max;
  PF_FpShort dephault;
  A_short precision;
  PF_ValueDisplayFlags display_flags;
  PF_FSliderFlags fs_flags;
  PF_FpShort curve_tolerance;
  PF_Boolean useExponent;
  PF_FpShort exponent;
} PF_FloatSliderDef;

// Degrees in 16.16 fixed point.
typedef struct {
  PF_Fixed value;
  PF_Fixed dephault;
  PF_Fixed valid_min, valid_max;
} PF_AngleDef;

typedef struct {
  PF_ParamValue value;
  PF_Boolean dephault;
  A_char reserved;
  A_short reserved1;
  union {
    const A_char* nameptr;
  } u;
} PF_CheckBoxDef;

typedef struct {
  PF_UnionablePixel value;
  PF_UnionablePixel dephault;
} PF_ColorDef;

typedef struct {
  PF_Fixed x_value;
  PF_Fixed y_value;
  A_char reserved[3];
  PF_Boolean restrict_bounds;
  PF_Fixed x_dephault;
  PF_Fixed y_dephault;
} PF_PointDef;

typedef struct {
  PF_FpLong x_value;
  PF_FpLong y_value;
  PF_FpLong z_value;
  PF_FpLong x_dephault;
  PF_FpLong y_dephault;
  PF_FpLong z_dephault;
  char reserved[16];
} PF_Point3DDef;

// Choices are one string with the entries separated by '|'; value and default are 1-based.
typedef struct {
  PF_ParamValue value;
  A_short num_choices;
  A_short dephault;
  union {
    const A_char* namesptr;
  } u;
} PF_PopupDef;

typedef struct {
  PF_ParamValue value;
  union {
    const A_char* namesptr;
  } u;
} PF_ButtonDef;

enum { PF_PathID_NONE = 0 };
typedef A_u_long PF_PathID;

enum {
  PF_MaskMode_NONE = 0,
  PF_MaskMode_ADD,
  PF_MaskMode_SUBTRACT,
  PF_MaskMode_INTERSECT,
  PF_MaskMode_LIGHTEN,
  PF_MaskMode_DARKEN,
  PF_MaskMode_DIFFERENCE,
  PF_MaskMode_ACCUM,
  PF_NUM_MASKMODES
};
typedef A_long PF_MaskMode;

typedef struct PF_PathDef {
  PF_PathID path_id;
  A_long reserved0;
  A_long dephault;
} PF_PathDef;

typedef PF_Handle PF_ArbitraryH;

typedef struct {
  A_short id;
  A_short pad;
  PF_ArbitraryH dephault;
  PF_ArbitraryH value;
  void* refconPV;
} PF_ArbitraryDef;

typedef struct {
  PF_ParamIndex param_index;
} PF_UserChangedParamExtra;

typedef union {
  PF_LayerDef ld;
  PF_SliderDef sd;
  PF_FixedSliderDef fd;
  PF_AngleDef ad;
  PF_CheckBoxDef bd;
  PF_ColorDef cd;
  PF_PointDef td;
  PF_PopupDef pd;
  PF_FloatSliderDef fs_d;
  PF_ArbitraryDef arb_d;
  PF_PathDef path_d;
  PF_ButtonDef button_d;
  PF_Point3DDef point3d_d;
} PF_ParamDefUnion;

enum {
  PF_PUI_NONE = 0,
  PF_PUI_TOPIC = 1L << 0,
  PF_PUI_CONTROL = 1L << 1,
  PF_PUI_STD_CONTROL_ONLY = 1L << 2,
  PF_PUI_NO_ECW_UI = 1L << 3,
  PF_PUI_ECW_SEPARATOR = 1L << 4,
  PF_PUI_DISABLED = 1L << 5,
  PF_PUI_DONT_ERASE_TOPIC = 1L << 6,
  PF_PUI_DONT_ERASE_CONTROL = 1L << 7,
  PF_PUI_RADIO_BUTTON = 1L << 8,
  PF_PUI_INVISIBLE = 1L << 9
};
typedef A_long PF_ParamUIFlags;

enum {
  PF_ChangeFlag_NONE = 0,
  PF_ChangeFlag_CHANGED_VALUE = 1L << 0,
  PF_ChangeFlag_RESERVED = 1L << 1,
  PF_ChangeFlag_SET_TO_VARY = 1L << 2,
  PF_ChangeFlag_SET_TO_CONSTANT = 1L << 3
};
typedef A_long PF_ChangeFlags;

typedef struct {
  union {
    A_long id;
    PF_ChangeFlags change_flags;
  } uu;
  PF_ParamUIFlags ui_flags;
  A_short ui_width;
  A_short ui_height;
  PF_ParamType param_type;
  A_char name[PF_MAX_EFFECT_PARAM_NAME_LEN + 1];
  PF_ParamFlags flags;
  A_long unused;
  PF_ParamDefUnion u;
} PF_ParamDef, *PF_ParamDefPtr, **PF_ParamDefH;

// The host's parameter array: element 0 is the effect's own input layer.
typedef PF_ParamDef** PF_ParamList;

enum {
  PF_ChannelMask_ALPHA = 0x1,
  PF_ChannelMask_RED = 0x2,
  PF_ChannelMask_GREEN = 0x4,
  PF_ChannelMask_BLUE = 0x8,
  PF_ChannelMask_ARGB = 0xF
};
typedef A_long PF_ChannelMask;

enum {
  PF_GPU_Framework_NONE = 0,
  PF_GPU_Framework_OPENCL = 1,
  PF_GPU_Framework_METAL = 2,
  PF_GPU_Framework_CUDA = 3
};
typedef A_long PF_GPU_Framework;

typedef struct {
  PF_LRect rect;
  PF_Field field;
  PF_ChannelMask channel_mask;
  PF_Boolean preserve_rgb_of_zero_alpha;
  char unused[3];
  A_long reserved[4];
} PF_RenderRequest;

typedef struct {
  PF_RenderRequest output_request;
  short bitdepth;
  const void* gpu_data;
  PF_GPU_Framework what_gpu;
  A_u_long device_index;
} PF_PreRenderInput;

typedef void (*PF_DeletePreRenderDataFunc)(void* pre_render_data);

enum {
  PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS = 0x1,
  PF_RenderOutputFlag_GPU_RENDER_POSSIBLE = 0x2
};
typedef short PF_RenderOutputFlags;

typedef struct {
  PF_LRect result_rect;
  PF_LRect max_result_rect;
  PF_Boolean solid;
  PF_Boolean reserved;
  PF_RenderOutputFlags flags;
  void* pre_render_data;
  PF_DeletePreRenderDataFunc delete_pre_render_data_func;
} PF_PreRenderOutput;

typedef struct {
  PF_LRect result_rect;
  PF_LRect max_result_rect;
  PF_RationalScale par;
  PF_Boolean solid;
  PF_Boolean reservedB[3];
  A_long ref_width;
  A_long ref_height;
  A_long reserved[6];
} PF_CheckoutResult;

typedef struct {
  PF_Err (*checkout_layer)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long checkout_idL,
                           const PF_RenderRequest* req, A_long what_time, A_long time_step,
                           A_u_long time_scale, PF_CheckoutResult* checkout_result);
  PF_Err (*GuidMixInPtr)(PF_ProgPtr effect_ref, A_u_long buf_sizeLu, const void* buf);
} PF_PreRenderCallbacks;

typedef struct {
  PF_PreRenderInput* input;
  PF_PreRenderOutput* output;
  PF_PreRenderCallbacks* cb;
} PF_PreRenderExtra;

typedef struct {
  PF_RenderRequest output_request;
  short bitdepth;
  void* pre_render_data;
  const void* gpu_data;
  PF_GPU_Framework what_gpu;
  A_u_long device_index;
} PF_SmartRenderInput;

typedef struct {
  PF_Err (*checkout_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_idL,
                                  PF_EffectWorld** pixels);
  PF_Err (*checkin_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_idL);
  PF_Err (*checkout_output)(PF_ProgPtr effect_ref, PF_EffectWorld** output);
} PF_SmartRenderCallbacks;

typedef struct {
  PF_SmartRenderInput* input;
  PF_SmartRenderCallbacks* cb;
} PF_SmartRenderExtra;

typedef struct _PF_CustomUIInfo PF_CustomUIInfo;

typedef struct {
  PF_Err (*checkout_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long what_time,
                           A_long time_step, A_u_long time_scale, PF_ParamDef* param);
  PF_Err (*checkin_param)(PF_ProgPtr effect_ref, PF_ParamDef* param);
  PF_Err (*add_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, PF_ParamDefPtr def);
  PF_Err (*abort)(PF_ProgPtr effect_ref);
  PF_Err (*progress)(PF_ProgPtr effect_ref, A_long current, A_long total);
  PF_Err (*register_ui)(PF_ProgPtr effect_ref, PF_CustomUIInfo* cust_info);
  PF_Err (*checkout_layer_audio)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long start_time,
                                 A_long duration, A_u_long time_scale, PF_UFixed rate,
                                 A_long bytes_per_sample, A_long num_channels, A_long fmt_signed,
                                 PF_LayerAudio* audio);
  PF_Err (*checkin_layer_audio)(PF_ProgPtr effect_ref, PF_LayerAudio audio);
  PF_Err (*get_audio_data)(PF_ProgPtr effect_ref, PF_LayerAudio audio, PF_SndSamplePtr* data0,
                           A_long* num_samples0, PF_UFixed* rate0, A_long* bytes_per_sample0,
                           A_long* num_channels0, A_long* fmt_signed0);
  void* reserved_str[3];
  void* reserved[10];
} PF_InteractCallbacks;

typedef struct {
  A_u_long my_version;
  A_char name[PF_MAX_EFFECT_NAME_LEN + 1];
  PF_Handle global_data;
  A_long num_params;
  PF_Handle sequence_data;
  A_long flat_sdata_size;
  PF_Handle frame_data;
  A_long width;
  A_long height;
  PF_Point origin;
  PF_OutFlags out_flags;
  A_char return_msg[PF_MAX_EFFECT_MSG_LEN + 1];
  A_long start_sampL;
  A_long dur_sampL;
  PF_SoundWorld dest_snd;
  PF_OutFlags2 out_flags2;
} PF_OutData;

struct SPBasicSuite;

// Times are in units of 1/time_scale seconds; the downsample ratios are numerator
// over denominator (1/2 at half resolution).
typedef struct {
  PF_InteractCallbacks inter;
  struct _PF_UtilCallbacks* utils;
  PF_ProgPtr effect_ref;
  PF_Quality quality;
  PF_SpecVersion version;
  A_long serial_num;
  A_long appl_id;
  A_long num_params;
  A_long reserved;
  A_long what_cpu;
  A_long what_fpu;
  A_long current_time;
  A_long time_step;
  A_long total_time;
  A_long local_time_step;
  A_u_long time_scale;
  PF_Field field;
  PF_Fixed shutter_angle;
  A_long width;
  A_long height;
  PF_Rect extent_hint;
  A_long output_origin_x;
  A_long output_origin_y;
  PF_RationalScale downsample_x;
  PF_RationalScale downsample_y;
  PF_RationalScale pixel_aspect_ratio;
  PF_InFlags in_flags;
  PF_Handle global_data;
  PF_Handle sequence_data;
  PF_Handle frame_data;
  A_long start_sampL;
  A_long dur_sampL;
  A_long total_sampL;
  PF_SoundWorld src_snd;
  struct SPBasicSuite* pica_basicP;
  A_long pre_effect_source_origin_x;
  A_long pre_effect_source_origin_y;
  PF_Fixed shutter_phase;
} PF_InData;

// The entry point every command goes through. `output` is only used by the non-smart
// render path; `extra` is the command's extra record (event, pre-render, render).
typedef PF_Err (*PF_FilterProc)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                PF_ParamList params, PF_LayerDef* output, void* extra);

#ifdef __cplusplus
}
#endif

#endif
