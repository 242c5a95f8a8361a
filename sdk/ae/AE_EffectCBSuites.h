// Suites that mirror parts of the in-data utility callbacks; the handle suite gives
// the same host handle services without an in-data record at hand.
#ifndef LUNAFORM_SDK_AE_AE_EFFECTCBSUITES_H
#define LUNAFORM_SDK_AE_AE_EFFECTCBSUITES_H

#include "AE_EffectCB.h"
#include "SPBasic.h"

#ifdef __cplusplus
extern "C" {
#endif

// The version macro's number is 2 although the table is the first of its kind.
#define kPFHandleSuite "PF Handle Suite"
#define kPFHandleSuiteVersion1 2

typedef struct PF_HandleSuite1 {
  PF_Handle (*host_new_handle)(A_HandleSize size);
  void* (*host_lock_handle)(PF_Handle pf_handle);
  void (*host_unlock_handle)(PF_Handle pf_handle);
  void (*host_dispose_handle)(PF_Handle pf_handle);
  A_HandleSize (*host_get_handle_size)(PF_Handle pf_handle);
  PF_Err (*host_resize_handle)(A_HandleSize new_sizeL, PF_Handle* handlePH);
} PF_HandleSuite1;

#ifdef __cplusplus
}
#endif

#endif
