// Basic scalar and record types shared by every part of the effect API.
//
// Widths follow the public SDK on 64-bit targets: A_long is 32 bits, pointers and
// handles 64 bits. The SDK wraps its records in an 8-byte pack pragma; on x86-64
// that equals natural alignment for every type declared here, so no pragma is used.
#ifndef LUNAFORM_SDK_AE_A_H
#define LUNAFORM_SDK_AE_A_H

#include <stdint.h>

typedef int32_t A_long;
typedef uint32_t A_u_long;
typedef char A_char;
typedef double A_FpLong;
typedef float A_FpShort;
typedef A_long A_Err;
typedef void* A_Handle;
typedef A_long A_Fixed;
typedef A_u_long A_UFixed;
typedef int16_t A_short;
typedef uint16_t A_u_short;
typedef uint8_t A_u_char;
typedef uint8_t A_Boolean;
typedef intptr_t A_intptr_t;
typedef uint64_t A_u_longlong;

typedef struct {
  A_long value;
  A_u_long scale;
} A_Time;

typedef struct {
  A_long num;
  A_u_long den;
} A_Ratio;

typedef struct {
  A_FpLong x, y;
} A_FloatPoint;

typedef struct {
  A_FpLong x, y, z;
} A_FloatPoint3;

typedef struct {
  A_FpLong left, top, right, bottom;
} A_FloatRect;

typedef struct {
  A_FpLong mat[3][3];
} A_Matrix3;

// Row-vector convention: a point is multiplied from the left, translation in row 3.
typedef struct {
  A_FpLong mat[4][4];
} A_Matrix4;

typedef struct {
  A_short top, left, bottom, right;
} A_LegacyRect;

typedef struct {
  A_long left, top, right, bottom;
} A_LRect;

typedef A_LRect A_Rect;

typedef struct {
  A_long x, y;
} A_LPoint;

typedef struct {
  A_FpLong radius, angle;
} A_FloatPolar;

typedef A_u_longlong A_HandleSize;

typedef struct {
  A_FpLong alpha;
  A_FpLong red;
  A_FpLong green;
  A_FpLong blue;
} A_Color;

enum {
  A_Err_NONE = 0,
  A_Err_GENERIC = 1,
  A_Err_STRUCT = 2,
  A_Err_PARAMETER = 3,
  A_Err_ALLOC = 4,
  A_Err_WRONG_THREAD = 5,
  A_Err_CONST_PROJECT_MODIFICATION = 6,
  A_Err_MISSING_SUITE = 13
};

typedef struct {
  A_short majorS;
  A_short minorS;
} A_Version;

typedef struct _Up_OpaqueMem** AEGP_MemHandle;

typedef A_u_short A_UTF16Char;

// GCC builds of the SDK use a one-byte enum storage type here.
typedef A_char A_LegacyEnumType;

#endif
