// Custom user interface of an effect: event kinds and their records, the context handle,
// the custom-UI registration record, cursors and key codes.
#ifndef LUNAFORM_SDK_AE_AE_EFFECTUI_H
#define LUNAFORM_SDK_AE_AE_EFFECTUI_H

#include "AE_Effect.h"
#include "DrawbotSuiteTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

// Which windows an effect wants custom-UI events in.
enum {
  PF_CustomEFlag_NONE = 0,
  PF_CustomEFlag_COMP = 1L << 0,
  PF_CustomEFlag_LAYER = 1L << 1,
  PF_CustomEFlag_EFFECT = 1L << 2,
  PF_CustomEFlag_PREVIEW = 1L << 3
};
typedef A_long PF_CustomEventFlags;

enum {
  PF_Window_NONE = -1,
  PF_Window_COMP = 0,
  PF_Window_LAYER = 1,
  PF_Window_EFFECT = 2,
  PF_Window_PREVIEW = 3
};
typedef A_long PF_WindowType;

enum {
  PF_Event_NONE = -1,
  PF_Event_NEW_CONTEXT = 0,
  PF_Event_ACTIVATE = 1,
  PF_Event_DO_CLICK = 2,
  PF_Event_DRAG = 3,
  PF_Event_DRAW = 4,
  PF_Event_DEACTIVATE = 5,
  PF_Event_CLOSE_CONTEXT = 6,
  PF_Event_IDLE = 7,
  PF_Event_KEYDOWN_OBSOLETE = 8,
  PF_Event_ADJUST_CURSOR = 9,
  PF_Event_KEYDOWN = 10,
  PF_Event_MOUSE_EXITED = 11,
  PF_Event_NUM_EVENTS = 12
};
typedef A_long PF_EventType;

enum {
  PF_Cursor_NONE = 0,
  PF_Cursor_CUSTOM = 1,
  PF_Cursor_ARROW = 2,
  PF_Cursor_HOLLOW_ARROW = 3,
  PF_Cursor_WATCH_N_WAIT = 4,
  PF_Cursor_MAGNIFY = 5,
  PF_Cursor_MAGNIFY_PLUS = 6,
  PF_Cursor_MAGNIFY_MINUS = 7,
  PF_Cursor_CROSSHAIRS = 8,
  PF_Cursor_CROSS_RECT = 9,
  PF_Cursor_CROSS_OVAL = 10,
  PF_Cursor_CROSS_ROTATE = 11,
  PF_Cursor_PAN = 12,
  PF_Cursor_EYEDROPPER = 13,
  PF_Cursor_HAND = 14,
  PF_Cursor_PEN = 15,
  PF_Cursor_PEN_ADD = 16,
  PF_Cursor_PEN_DELETE = 17,
  PF_Cursor_PEN_CLOSE = 18,
  PF_Cursor_PEN_DRAG = 19,
  PF_Cursor_PEN_CORNER = 20,
  PF_Cursor_RESIZE_VERTICAL = 21,
  PF_Cursor_RESIZE_HORIZONTAL = 22,
  PF_Cursor_FINGER_POINTER = 23,
  PF_Cursor_SCALE_HORIZ = 24,
  PF_Cursor_SCALE_DIAG_LR = 25,
  PF_Cursor_SCALE_VERT = 26,
  PF_Cursor_SCALE_DIAG_UR = 27,
  PF_Cursor_ROT_TOP = 28,
  PF_Cursor_ROT_TOP_RIGHT = 29,
  PF_Cursor_ROT_RIGHT = 30,
  PF_Cursor_ROT_BOT_RIGHT = 31,
  PF_Cursor_ROT_BOTTOM = 32,
  PF_Cursor_ROT_BOT_LEFT = 33,
  PF_Cursor_ROT_LEFT = 34,
  PF_Cursor_ROT_TOP_LEFT = 35,
  PF_Cursor_DRAG_CENTER = 36,
  PF_Cursor_COPY = 37,
  PF_Cursor_ALIAS = 38,
  PF_Cursor_CONTEXT = 39,
  PF_Cursor_SLIP_EDIT = 40,
  PF_Cursor_CAMERA_ORBIT = 41,
  PF_Cursor_CAMERA_PAN = 42,
  PF_Cursor_CAMERA_DOLLY = 43,
  PF_Cursor_ROTATE_X = 44,
  PF_Cursor_ROTATE_Y = 45,
  PF_Cursor_ROTATE_Z = 46,
  PF_Cursor_ARROW_X = 47,
  PF_Cursor_ARROW_Y = 48,
  PF_Cursor_ARROW_Z = 49,
  PF_Cursor_SCISSORS = 50,
  PF_Cursor_FAT_EYEDROPPER = 51,
  PF_Cursor_FINGER_POINTER_SCRUB = 52,
  PF_Cursor_HORZ_I_BEAM = 53,
  PF_Cursor_VERT_I_BEAM = 54,
  PF_Cursor_HORZ_BOX_I_BEAM = 55,
  PF_Cursor_VERT_BOX_I_BEAM = 56,
  PF_Cursor_I_BEAM_0 = 57,
  PF_Cursor_I_BEAM_11_25 = 58,
  PF_Cursor_I_BEAM_22_5 = 59,
  PF_Cursor_I_BEAM_33_75 = 60,
  PF_Cursor_I_BEAM_45 = 61,
  PF_Cursor_I_BEAM_56_25 = 62,
  PF_Cursor_I_BEAM_67_5 = 63,
  PF_Cursor_I_BEAM_78_75 = 64,
  PF_Cursor_I_BEAM_90 = 65,
  PF_Cursor_I_BEAM_101_25 = 66,
  PF_Cursor_I_BEAM_112_5 = 67,
  PF_Cursor_I_BEAM_123_75 = 68,
  PF_Cursor_I_BEAM_135 = 69,
  PF_Cursor_I_BEAM_146_25 = 70,
  PF_Cursor_I_BEAM_157_5 = 71,
  PF_Cursor_I_BEAM_168_75 = 72,
  PF_Cursor_CROSSHAIRS_PICKUP = 73,
  PF_Cursor_ARROW_SELECTOR = 74,
  PF_Cursor_LAYER_MOVE = 75,
  PF_Cursor_MOVE_START_MARGIN = 76,
  PF_Cursor_MOVE_END_MARGIN = 77,
  PF_Cursor_SOLID_ARROW = 78,
  PF_Cursor_HOLLOW_ARROW_PLUS = 79,
  PF_Cursor_BRUSH_CENTER = 80,
  PF_Cursor_CLONE_SOURCE = 81,
  PF_Cursor_CLONE_SOURCE_OFFSET = 82,
  PF_Cursor_HOLLOW_LAYER_MOVE = 83,
  PF_Cursor_MOVE_TRACK_SEARCH_REGION = 84,
  PF_Cursor_MOVE_TRACK_ATTACH_POINT = 85,
  PF_Cursor_COLOR_CUBE_CROSS_SECTION = 86,
  PF_Cursor_PEN_CORNER_ROTOBEZ_TENSION = 87,
  PF_Cursor_PIN = 88,
  PF_Cursor_PIN_ADD = 89,
  PF_Cursor_MESH_ADD = 90,
  PF_Cursor_MARQUEE = 91,
  PF_Cursor_CROSS_ROUNDED_RECT = 92,
  PF_Cursor_CROSS_POLYGON = 93,
  PF_Cursor_CROSS_STAR = 94,
  PF_Cursor_PIN_STARCH = 95,
  PF_Cursor_PIN_OVERLAP = 96,
  PF_Cursor_STOPWATCH = 97,
  PF_Cursor_DRAG_DOT = 98,
  PF_Cursor_DRAG_CIRCLE = 99,
  PF_Cursor_DIRECT_SELECT = 100,
  PF_Cursor_DRAG_COPY_MOVE = 101,
  PF_Cursor_DRAG_COPY_ROTATE = 102,
  PF_Cursor_CAMERA_MAYA = 103,
  PF_Cursor_RESIZE_HORIZONTAL_LEFT = 104,
  PF_Cursor_RESIZE_HORIZONTAL_RIGHT = 105,
  PF_Cursor_FEATHER = 106,
  PF_Cursor_FEATHER_ADD = 107,
  PF_Cursor_FEATHER_DELETE = 108,
  PF_Cursor_FEATHER_MOVE = 109,
  PF_Cursor_FEATHER_TENSION = 110,
  PF_Cursor_FEATHER_MARQUEE = 111,
  PF_Cursor_LASSO_ARROW = 112,
  PF_Cursor_DRAG_NO_DROP = 113,
  PF_Cursor_DRAG_COPY = 114,
  PF_Cursor_DRAG_LINK = 115,
  PF_Cursor_PIN_BEND = 116,
  PF_Cursor_PIN_ADVANCED = 117,
  PF_MAX_CURSOR_PLUS_ONE = 118
};
typedef A_long PF_CursorType;

enum {
  PF_Mod_NONE = 0x0000,
  PF_Mod_CMD_CTRL_KEY = 0x0100,
  PF_Mod_SHIFT_KEY = 0x0200,
  PF_Mod_CAPS_LOCK_KEY = 0x0400,
  PF_Mod_OPT_ALT_KEY = 0x0800,
  PF_Mod_MAC_CONTROL_KEY = 0x1000
};
typedef A_long PF_Modifiers;

typedef struct {
  PF_Point screen_point;
  PF_Modifiers modifiers;
  PF_CursorType set_cursor;
} PF_AdjustCursorEventInfo;

// `continue_refcon` and `send_drag` survive from a click to the drag events it asks for.
typedef struct {
  A_u_long when;
  PF_Point screen_point;
  A_long num_clicks;
  PF_Modifiers modifiers;
  A_intptr_t continue_refcon[4];
  PF_Boolean send_drag;
  PF_Boolean last_time;
} PF_DoClickEventInfo;

typedef struct {
  PF_UnionableRect update_rect;
  A_long depth;
} PF_DrawEventInfo;

typedef struct {
  A_u_long when;
  PF_Point screen_point;
  A_long char_code;
  A_long key_code;
  PF_Modifiers modifiers;
} PF_KeyDownEventObsolete;

typedef A_u_long PF_KeyCode;
typedef A_u_short PF_ControlCode;

typedef struct {
  A_u_long when;
  PF_Point screen_point;
  PF_KeyCode keycode;
  PF_Modifiers modifiers;
} PF_KeyDownEvent;

enum { PF_KEYCODE_FLAG_Printable = (A_long)(1UL << 31), PF_KEYCODE_FLAG_Extended = 1 << 30 };

enum {
  PF_ControlCode_Unknown = 0xFFFF,
  PF_ControlCode_Space = 1,
  PF_ControlCode_Backspace = 2,
  PF_ControlCode_Tab = 3,
  PF_ControlCode_Return = 4,
  PF_ControlCode_Enter = 5,
  PF_ControlCode_Escape = 6,
  PF_ControlCode_F1 = 7,
  PF_ControlCode_F2 = 8,
  PF_ControlCode_F3 = 9,
  PF_ControlCode_F4 = 10,
  PF_ControlCode_F5 = 11,
  PF_ControlCode_F6 = 12,
  PF_ControlCode_F7 = 13,
  PF_ControlCode_F8 = 14,
  PF_ControlCode_F9 = 15,
  PF_ControlCode_F10 = 16,
  PF_ControlCode_F11 = 17,
  PF_ControlCode_F12 = 18,
  PF_ControlCode_F13 = 19,
  PF_ControlCode_F14 = 20,
  PF_ControlCode_F15 = 21,
  PF_ControlCode_F16 = 22,
  PF_ControlCode_F17 = 23,
  PF_ControlCode_F18 = 24,
  PF_ControlCode_F19 = 25,
  PF_ControlCode_F20 = 26,
  PF_ControlCode_F21 = 27,
  PF_ControlCode_F22 = 28,
  PF_ControlCode_F23 = 29,
  PF_ControlCode_F24 = 30,
  PF_ControlCode_PrintScreen = 31,
  PF_ControlCode_ScrollLock = 32,
  PF_ControlCode_Pause = 33,
  PF_ControlCode_Insert = 34,
  PF_ControlCode_Delete = 35,
  PF_ControlCode_Home = 36,
  PF_ControlCode_End = 37,
  PF_ControlCode_PageUp = 38,
  PF_ControlCode_PageDown = 39,
  PF_ControlCode_Help = 40,
  PF_ControlCode_Clear = 41,
  PF_ControlCode_Left = 42,
  PF_ControlCode_Right = 43,
  PF_ControlCode_Up = 44,
  PF_ControlCode_Down = 45,
  PF_ControlCode_NumLock = 46,
  PF_ControlCode_Command = 47,
  PF_ControlCode_Option = 48,
  PF_ControlCode_Alt = PF_ControlCode_Option,
  PF_ControlCode_Control = 49,
  PF_ControlCode_Shift = 50,
  PF_ControlCode_CapsLock = 51,
  PF_ControlCode_ContextMenu = 52
};

typedef union {
  PF_DoClickEventInfo do_click;
  PF_DrawEventInfo draw;
  PF_KeyDownEvent key_down;
  PF_AdjustCursorEventInfo adjust_cursor;
} PF_EventUnion;

typedef struct _PF_ContextRefcon* PF_ContextRefcon;

#define PF_CONTEXT_MAGIC 0x05ea771e

typedef struct {
  A_u_long magic;
  PF_WindowType w_type;
  PF_ContextRefcon reserved_flt;
  A_intptr_t plugin_state[4];
  DRAWBOT_DrawRef reserved_drawref;
  void* reserved_paneP;
  void* reserved_job_manageP;
} PF_Context, *PF_ContextPtr, **PF_ContextH;

typedef enum { PenTip, PenEraser } PF_StylusTool;

typedef struct {
  A_FpShort stylus_tiltxF;
  A_FpShort stylus_tiltyF;
  A_FpShort stylus_pressureF;
  A_FpShort stylus_wheelF;
} PF_StylusEventInfo;

typedef struct PF_PointerEventInfo {
  A_FpLong when_secondsF;
  PF_Point screen_point;
  A_short num_clicksS;
  A_long mod_keysL;
  PF_StylusTool stylus_tool;
  PF_Boolean stylus_extra_dataB;
  PF_StylusEventInfo stylus_extra_data;
} PF_PointerEventInfo;

typedef struct {
  void* refcon;
  PF_Err (*layer_to_comp)(void* refcon, PF_ContextH context, A_long curr_time, A_long time_scale,
                          PF_FixedPoint* pt);
  PF_Err (*comp_to_layer)(void* refcon, PF_ContextH context, A_long curr_time, A_long time_scale,
                          PF_FixedPoint* pt);
  PF_Err (*get_comp2layer_xform)(void* refcon, PF_ContextH context, A_long curr_time,
                                 A_long time_scale, A_long* exists, PF_FloatMatrix* c2l);
  PF_Err (*get_layer2comp_xform)(void* refcon, PF_ContextH context, A_long curr_time,
                                 A_long time_scale, PF_FloatMatrix* l2c);
  PF_Err (*source_to_frame)(void* refcon, PF_ContextH context, PF_FixedPoint* pt);
  PF_Err (*frame_to_source)(void* refcon, PF_ContextH context, PF_FixedPoint* pt);
  PF_Err (*info_draw_color)(void* refcon, PF_Pixel color);
  PF_Err (*info_draw_text)(void* refcon, const A_char* text1Z0, const A_char* text2Z0);
} PF_EventCallbacks, *PF_EventCallbacksPtr;

enum { PF_EA_NONE = 0, PF_EA_PARAM_TITLE = 1, PF_EA_CONTROL = 2 };
typedef A_long PF_EffectArea;

// Where the event's parameter sits in the effect controls panel, in panel coordinates.
typedef struct {
  PF_ParamIndex index;
  PF_EffectArea area;
  PF_UnionableRect current_frame;
  PF_UnionableRect param_title_frame;
  A_long horiz_offset;
} PF_EffectWindowInfo;

enum {
  PF_EO_NONE = 0,
  PF_EO_HANDLED_EVENT = (1L << 0),
  PF_EO_ALWAYS_UPDATE = (1L << 1),
  PF_EO_NEVER_UPDATE = (1L << 2),
  PF_EO_UPDATE_NOW = (1L << 3)
};
typedef A_long PF_EventOutFlags;

enum { PF_EI_NONE = 0, PF_EI_DONT_DRAW = 1L << 0 };
typedef A_long PF_EventInFlags;

typedef struct {
  PF_UnionableRect port_rect;
} PF_ItemWindowInfo;

typedef union {
  PF_EffectWindowInfo effect_win;
  PF_ItemWindowInfo item_win;
} PF_WindowUnion;

// The extra record of PF_Cmd_EVENT.
typedef struct {
  PF_ContextH contextH;
  PF_EventType e_type;
  PF_EventUnion u;
#ifdef PF_USE_NEW_WINDOW_UNION
  PF_WindowUnion window_union;
#else
  PF_EffectWindowInfo effect_win;
#endif
  PF_EventCallbacks cbs;
  PF_EventInFlags evt_in_flags;
  PF_EventOutFlags evt_out_flags;
} PF_EventExtra;

enum {
  PF_UIAlignment_NONE = 0,
  PF_UIAlignment_TOP = 1L << 0,
  PF_UIAlignment_LEFT = 1L << 1,
  PF_UIAlignment_BOTTOM = 1L << 2,
  PF_UIAlignment_RIGHT = 1L << 3
};
typedef A_long PF_UIAlignment;

// Passed to the register_ui callback at parameter setup.
struct _PF_CustomUIInfo {
  A_long reserved;
  PF_CustomEventFlags events;
  A_long comp_ui_width;
  A_long comp_ui_height;
  PF_UIAlignment comp_ui_alignment;
  A_long layer_ui_width;
  A_long layer_ui_height;
  PF_UIAlignment layer_ui_alignment;
  A_long preview_ui_width;
  A_long preview_ui_height;
  PF_UIAlignment preview_ui_alignment;
};

#ifdef __cplusplus
}
#endif

#endif
