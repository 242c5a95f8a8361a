// Scalar types of the plug-in suite manager that hands out every host suite.
#ifndef LUNAFORM_SDK_AE_SPTYPES_H
#define LUNAFORM_SDK_AE_SPTYPES_H

#include <stdint.h>

// Calling-convention marker in front of suite functions; empty on every current platform.
#define SPAPI

typedef uint8_t SPUInt8;
typedef uint16_t SPUInt16;
typedef uint32_t SPUInt32;
typedef int32_t SPInt32;

// Windows builds make this an int (a BOOL); it is only ever returned, never stored in a record.
typedef int SPBoolean;

typedef int SPErr;

#define kSPNoError 0

#endif
