// Character, boolean and string types shared by the drawing suites.
#ifndef LUNAFORM_SDK_AE_ADOBESDKTYPES_H
#define LUNAFORM_SDK_AE_ADOBESDKTYPES_H

#include <stdint.h>

typedef uint16_t ADOBESDK_UTF16Char;
typedef uint8_t ADOBESDK_UTF8Char;
typedef uint8_t ADOBESDK_Boolean;

enum { kAdobesdk_False = 0, kAdobesdk_True = 1 };

typedef ADOBESDK_UTF16Char DRAWBOT_UTF16Char;
typedef ADOBESDK_Boolean DRAWBOT_Boolean;

typedef struct {
  int64_t opaque[2];
} ADOBESDK_String;

#endif
