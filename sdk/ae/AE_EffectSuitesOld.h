// Earlier, frozen versions of PF suites, kept because hosts still answer them by their
// old version numbers. Reached through AE_EffectSuites.h.
#ifndef LUNAFORM_SDK_AE_AE_EFFECTSUITESOLD_H
#define LUNAFORM_SDK_AE_AE_EFFECTSUITESOLD_H

#include "AE_EffectUI.h"
#include "SPBasic.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kPFEffectCustomUISuiteVersion1 1

typedef struct PF_EffectCustomUISuite1 {
  SPAPI PF_Err (*PF_GetDrawingReference)(const PF_ContextH effect_contextH,
                                         DRAWBOT_DrawRef* referenceP0);
} PF_EffectCustomUISuite1;

#ifdef __cplusplus
}
#endif

#endif
