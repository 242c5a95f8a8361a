#include "host/suite_support.h"

#include <cmath>

namespace lunaform::host::suites {

A_Err refuse_call(EffectHost& host, const char* function, const std::string& problem, A_Err error) {
  host.note_problem(std::string(function) + ": " + problem);
  return error;
}

std::optional<double> seconds_of(EffectHost& host, const char* function, const A_Time* time) {
  if (time == nullptr || time->scale == 0) {
    refuse_call(host, function, time == nullptr ? "null time" : "time with scale 0");
    return std::nullopt;
  }
  host.note_timed_call(function, *time);
  return static_cast<double>(time->value) / time->scale;
}

A_Time in_host_time(const EffectHost& host, double seconds) {
  const A_u_long scale = host.in_data().time_scale;
  return {static_cast<A_long>(std::lround(seconds * scale)), scale};
}

std::optional<std::size_t> layer_index_of(EffectHost& host, const char* function,
                                          AEGP_LayerH layer) {
  const AegpObject* object = host.aegp_objects().find(layer, AegpKind::layer);
  if (object == nullptr) {
    refuse_call(host, function, "unknown layer handle");
    return std::nullopt;
  }
  if (object->layer >= host.composition().layers.size()) {
    refuse_call(host, function, "the layer of this handle is no longer in the composition");
    return std::nullopt;
  }
  return object->layer;
}

const AegpObject* stream_of(EffectHost& host, const char* function, AEGP_StreamRefH stream) {
  const AegpObject* object = host.aegp_objects().find(stream, AegpKind::stream);
  if (object == nullptr) {
    refuse_call(host, function, "unknown or disposed stream");
  }
  return object;
}

bool is_comp(EffectHost& host, const char* function, AEGP_CompH comp) {
  if (host.aegp_objects().find(comp, AegpKind::comp) == nullptr) {
    refuse_call(host, function, "unknown composition handle");
    return false;
  }
  return true;
}

}  // namespace lunaform::host::suites
