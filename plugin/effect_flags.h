#pragma once

#include "AE_Effect.h"

// What the effect declares to the host about itself. Global setup writes these into the
// out-data and the PiPL record carries the same numbers, which hosts require to agree.
namespace effect_flags {

// Version 1.0.0, develop stage, build 66: what projects record as the effect's version.
inline constexpr A_u_long kVersion = PF_VERSION(1, 0, 0, PF_Stage_DEVELOP, 66);
static_assert(kVersion == 0x00080042);

inline constexpr PF_OutFlags kOutFlags =
    PF_OutFlag_CUSTOM_UI | PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_SEND_UPDATE_PARAMS_UI;
static_assert(kOutFlags == 0x06008000);

inline constexpr PF_OutFlags2 kOutFlags2 =
    PF_OutFlag2_I_USE_3D_CAMERA | PF_OutFlag2_I_USE_3D_LIGHTS |
    PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG | PF_OutFlag2_SUPPORTS_SMART_RENDER |
    PF_OutFlag2_FLOAT_COLOR_AWARE;
static_assert(kOutFlags2 == 0x0000140E);

}  // namespace effect_flags
