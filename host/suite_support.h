#pragma once

// Pieces shared by the host's suite implementations (host/suite_*.cpp): finding the host a call
// belongs to, refusing bad calls with a problem line, reading times and handles.

#include <algorithm>
#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "AE_GeneralPlug.h"
#include "host/effect_host.h"

namespace lunaform::host::suites {

// A suite function's name as a template argument, for the refusal of functions the host does
// not implement.
template <std::size_t N>
struct FunctionName {
  char text[N];
  constexpr FunctionName(const char (&name)[N]) { std::copy_n(name, N, text); }  // NOLINT
};

template <FunctionName Name, A_Err Error, typename Result, typename... Args>
Result refused(Args...) {
  if (EffectHost* host = EffectHost::active()) {
    host->note_problem(std::string(Name.text) + " is not implemented by this host");
  }
  return Error;
}

// Fills a suite slot with a function that returns `Error` and notes a problem: a module that
// calls it gets an error, never a null pointer.
template <FunctionName Name, A_Err Error = A_Err_GENERIC, typename Result, typename... Args>
void refuse(Result (*&slot)(Args...)) {
  slot = &refused<Name, Error, Result, Args...>;
}

// Notes "FUNCTION: PROBLEM" on `host` and returns `error`.
A_Err refuse_call(EffectHost& host, const char* function, const std::string& problem,
                  A_Err error = A_Err_PARAMETER);

// Runs `body(host)` as the suite function `function`: noted among the host's suite calls,
// failed at once when the host was told to fail it, and A_Err_GENERIC (with a problem noted)
// when the body throws.
template <typename Body>
A_Err run_suite_function(EffectHost& host, const char* function, Body body) {
  if (const auto failure = host.enter_suite_function(function)) {
    return *failure;
  }
  A_Err result = A_Err_NONE;
  try {
    result = body(host);
  } catch (const std::exception& error) {
    result = refuse_call(host, function, error.what(), A_Err_GENERIC);
  }
  host.note_suite_result(result);
  return result;
}

// Runs `body(host)` for the host active on the calling thread (AEGP calls carry no effect
// reference); A_Err_GENERIC when none is, or when the body throws (noted as a problem).
template <typename Body>
A_Err with_active_host(const char* function, Body body) {
  EffectHost* host = EffectHost::active();
  if (host == nullptr) {
    return A_Err_GENERIC;
  }
  return run_suite_function(*host, function, body);
}

// The same for calls that carry the effect's reference: the host behind it, else refused.
template <typename Body>
A_Err with_effect_host(PF_ProgPtr effect_ref, const char* function, Body body) {
  EffectHost* host = EffectHost::from_effect_ref(effect_ref);
  if (host == nullptr) {
    if (EffectHost* active = EffectHost::active()) {
      return refuse_call(*active, function, "unknown effect reference");
    }
    return A_Err_PARAMETER;
  }
  return run_suite_function(*host, function, body);
}

// Seconds of a time the module passed; nothing (with a problem noted) for a null time or a
// zero scale. The call is listed in timed_calls().
std::optional<double> seconds_of(EffectHost& host, const char* function, const A_Time* time);

// A time in the in-data time scale of the running command: round(seconds × scale).
A_Time in_host_time(const EffectHost& host, double seconds);

// The layer index behind a layer handle; nothing (with a problem noted) for a null or unknown
// handle or one whose layer the composition no longer has.
std::optional<std::size_t> layer_index_of(EffectHost& host, const char* function,
                                          AEGP_LayerH layer);
// The live stream behind a stream handle; null (with a problem noted) for an unknown or
// disposed one.
const AegpObject* stream_of(EffectHost& host, const char* function, AEGP_StreamRefH stream);
// Whether `comp` is the composition's handle (a problem is noted when it is not).
bool is_comp(EffectHost& host, const char* function, AEGP_CompH comp);

// Checks an out-pointer argument; notes "FUNCTION: null NAME" when it is null.
template <typename T>
bool has_out(EffectHost& host, const char* function, T* out, const char* name) {
  if (out == nullptr) {
    refuse_call(host, function, std::string("null ") + name);
    return false;
  }
  return true;
}

}  // namespace lunaform::host::suites
