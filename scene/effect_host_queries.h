#pragma once

#include "AE_Effect.h"
#include "AE_GeneralPlug.h"
#include "plugin/host_suites.h"

// Small questions about the effect's place in the composition, shared by the camera, the
// lights and the motion-blur settings. Host results are not checked: a failed call leaves a
// null handle, which the host's next call refuses in turn.

// The effect's layer and the composition that holds it.
struct effect_layer_place {
  AEGP_LayerH layer = nullptr;
  AEGP_CompH composition = nullptr;
};
effect_layer_place find_effect_layer(const PF_InData& in_data, HostSuites& suites);

// P_l: the pixel aspect of the effect's layer as the in-data gives it (numerator over
// denominator). The Smart Render preparation has already refused a zero ratio.
float layer_pixel_aspect(const PF_InData& in_data);

// P_c: the pixel aspect of the composition. Throws hx_exception when the host gives a ratio
// with a zero numerator or denominator.
float composition_pixel_aspect(HostSuites& suites, AEGP_CompH composition);

// `effect_time` (in the in-data's time scale) on the composition's clock; the two differ by
// the layer's offset.
A_Time composition_time(const PF_InData& in_data, HostSuites& suites, A_long effect_time);
