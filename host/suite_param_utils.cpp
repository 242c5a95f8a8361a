// "PF Param Utils Suite" version 3: parameter state stamps, with which a module sees whether a
// parameter (or the layer it chooses) changed since it last looked.
#include <cstring>

#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

// The stamp describes the value at the start time (the current time when none is given); the
// duration does not widen it.
PF_Err get_current_state(PF_ProgPtr effect_ref, PF_ParamIndex index, const A_Time* start,
                         const A_Time*, PF_State* state) {
  constexpr const char* kName = "PF_GetCurrentState";
  return with_effect_host(effect_ref, kName, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, kName, state, "state")) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (!host.params().contains(index)) {
      return refuse_call(host, kName,
                         "parameter index " + std::to_string(index) + " of " +
                             std::to_string(host.params().size()),
                         PF_Err_INVALID_INDEX);
    }
    const A_Time now{host.in_data().current_time, host.in_data().time_scale};
    const auto seconds = seconds_of(host, kName, start != nullptr ? start : &now);
    if (!seconds) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *state = host.param_state(index, *seconds);
    return PF_Err_NONE;
  });
}

PF_Err are_states_identical(PF_ProgPtr effect_ref, const PF_State* first, const PF_State* second,
                            A_Boolean* same) {
  constexpr const char* kName = "PF_AreStatesIdentical";
  return with_effect_host(effect_ref, kName, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, kName, first, "first state") ||
        !has_out(host, kName, second, "second state") || !has_out(host, kName, same, "answer")) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *same = std::memcmp(first, second, sizeof(PF_State)) == 0 ? 1 : 0;
    return PF_Err_NONE;
  });
}

PF_ParamUtilsSuite3 make_table() {
  PF_ParamUtilsSuite3 t{};
  t.PF_GetCurrentState = get_current_state;
  t.PF_AreStatesIdentical = are_states_identical;
  refuse<"PF_UpdateParamUI", PF_Err_INVALID_CALLBACK>(t.PF_UpdateParamUI);
  refuse<"PF_IsIdenticalCheckout", PF_Err_INVALID_CALLBACK>(t.PF_IsIdenticalCheckout);
  refuse<"PF_FindKeyframeTime", PF_Err_INVALID_CALLBACK>(t.PF_FindKeyframeTime);
  refuse<"PF_GetKeyframeCount", PF_Err_INVALID_CALLBACK>(t.PF_GetKeyframeCount);
  refuse<"PF_CheckoutKeyframe", PF_Err_INVALID_CALLBACK>(t.PF_CheckoutKeyframe);
  refuse<"PF_CheckinKeyframe", PF_Err_INVALID_CALLBACK>(t.PF_CheckinKeyframe);
  refuse<"PF_KeyIndexToTime", PF_Err_INVALID_CALLBACK>(t.PF_KeyIndexToTime);
  return t;
}

}  // namespace

const PF_ParamUtilsSuite3* param_utils_suite() {
  static const PF_ParamUtilsSuite3 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
