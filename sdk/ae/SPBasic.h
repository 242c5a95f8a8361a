// The basic suite: the one table the host passes in, through which all other suites are
// acquired by name and version, plus a block allocator.
#ifndef LUNAFORM_SDK_AE_SPBASIC_H
#define LUNAFORM_SDK_AE_SPBASIC_H

#include <stddef.h>

#include "SPTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kSPBasicSuite "SP Basic Suite"
#define kSPBasicSuiteVersion 4

typedef struct SPBasicSuite {
  SPAPI SPErr (*AcquireSuite)(const char* name, int version, const void** suite);
  SPAPI SPErr (*ReleaseSuite)(const char* name, int version);
  SPAPI SPBoolean (*IsEqual)(const char* token1, const char* token2);
  SPAPI SPErr (*AllocateBlock)(size_t size, void** block);
  SPAPI SPErr (*FreeBlock)(void* block);
  SPAPI SPErr (*ReallocateBlock)(void* block, size_t newSize, void** newblock);
  SPAPI SPErr (*Undefined)(void);
} SPBasicSuite;

#ifdef __cplusplus
}
#endif

#endif
