// "AEGP Stream Suite" version 7: the effect's parameters as streams, their values, and the
// streams of light layers.
#include <optional>

#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

bool is_registered(EffectHost& host, const char* function, AEGP_PluginID plugin_id) {
  if (!host.aegp_objects().is_registered(plugin_id)) {
    refuse_call(
        host, function,
        "plug-in id " + std::to_string(plugin_id) + " was not given by AEGP_RegisterWithAEGP");
    return false;
  }
  return true;
}

A_Err get_new_effect_stream_by_index(AEGP_PluginID plugin_id, AEGP_EffectRefH effect,
                                     PF_ParamIndex index, AEGP_StreamRefH* stream) {
  constexpr const char* kName = "AEGP_GetNewEffectStreamByIndex";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!is_registered(host, kName, plugin_id) || !has_out(host, kName, stream, "stream")) {
      return A_Err_PARAMETER;
    }
    if (host.aegp_objects().find(effect, AegpKind::effect) == nullptr) {
      return refuse_call(host, kName, "unknown or disposed effect reference");
    }
    if (!host.params().contains(index)) {
      return refuse_call(host, kName,
                         "parameter index " + std::to_string(index) + " of " +
                             std::to_string(host.params().size()));
    }
    *stream = static_cast<AEGP_StreamRefH>(host.aegp_objects().new_stream(index));
    return A_Err_NONE;
  });
}

A_Err dispose_stream(AEGP_StreamRefH stream) {
  constexpr const char* kName = "AEGP_DisposeStream";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!host.aegp_objects().dispose(stream, AegpKind::stream)) {
      return refuse_call(host, kName, "unknown or already disposed stream");
    }
    return A_Err_NONE;
  });
}

double full_resolution(double downsampled, PF_RationalScale scale) {
  return downsampled * scale.den / scale.num;
}

// A parameter's value as its stream reports it: layer parameters the chosen layer's id (0 for
// none), numbers as they are (angles in degrees), points in full-resolution layer pixels,
// colours as 0-1 channels. Nothing for parameter types that have no stream value here.
std::optional<AEGP_StreamVal> stream_value(EffectHost& host, PF_ParamIndex index, double seconds) {
  AEGP_StreamVal val{};
  if (host.params().at(index).current.param_type == PF_Param_LAYER) {
    const auto chosen = host.chosen_layer(index);
    val.layer_id = chosen ? layer_id(*chosen) : AEGP_LayerIDVal_NONE;
    return val;
  }
  const PF_ParamDef def = host.param_value_at(index, seconds);
  const PF_RationalScale dx = host.settings().downsample_x;
  const PF_RationalScale dy = host.settings().downsample_y;
  switch (def.param_type) {
    case PF_Param_FLOAT_SLIDER:
      val.one_d = def.u.fs_d.value;
      break;
    case PF_Param_SLIDER:
      val.one_d = def.u.sd.value;
      break;
    case PF_Param_FIX_SLIDER:
      val.one_d = def.u.fd.value / 65536.0;
      break;
    case PF_Param_ANGLE:
      val.one_d = def.u.ad.value / 65536.0;
      break;
    case PF_Param_CHECKBOX:
      val.one_d = def.u.bd.value;
      break;
    case PF_Param_POPUP:
      val.one_d = def.u.pd.value;
      break;
    case PF_Param_COLOR:
      val.color = {def.u.cd.value.alpha / 255.0, def.u.cd.value.red / 255.0,
                   def.u.cd.value.green / 255.0, def.u.cd.value.blue / 255.0};
      break;
    case PF_Param_POINT:
      val.two_d = {full_resolution(def.u.td.x_value / 65536.0, dx),
                   full_resolution(def.u.td.y_value / 65536.0, dy)};
      break;
    case PF_Param_POINT_3D:
      val.three_d = {full_resolution(def.u.point3d_d.x_value, dx),
                     full_resolution(def.u.point3d_d.y_value, dy),
                     full_resolution(def.u.point3d_d.z_value, dx)};
      break;
    default:
      return std::nullopt;
  }
  return val;
}

A_Err get_new_stream_value(AEGP_PluginID plugin_id, AEGP_StreamRefH stream, AEGP_LTimeMode mode,
                           const A_Time* time, A_Boolean, AEGP_StreamValue* value) {
  constexpr const char* kName = "AEGP_GetNewStreamValue";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const AegpObject* object = stream_of(host, kName, stream);
    const auto seconds = seconds_of(host, kName, time);
    if (object == nullptr || !seconds || !is_registered(host, kName, plugin_id) ||
        !has_out(host, kName, value, "value")) {
      return A_Err_PARAMETER;
    }
    if (mode != AEGP_LTimeMode_LayerTime && mode != AEGP_LTimeMode_CompTime) {
      return refuse_call(host, kName, "time mode " + std::to_string(mode));
    }
    const auto val = stream_value(host, object->param, *seconds);
    if (!val) {
      return refuse_call(host, kName,
                         "parameter " + std::to_string(object->param) +
                             " has no value this host reports as a stream");
    }
    value->streamH = stream;
    value->val = *val;
    host.aegp_objects().add_stream_value(stream);
    return A_Err_NONE;
  });
}

A_Err dispose_stream_value(AEGP_StreamValue* value) {
  constexpr const char* kName = "AEGP_DisposeStreamValue";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, kName, value, "value")) {
      return A_Err_PARAMETER;
    }
    if (!host.aegp_objects().dispose_stream_value(value->streamH)) {
      return refuse_call(host, kName, "a value the host did not hand out, or disposed twice");
    }
    return A_Err_NONE;
  });
}

// Light streams by number: intensity (percent), colour (0-1, alpha 1), cone angle (degrees),
// cone feather (percent), falloff distance.
std::optional<std::pair<AEGP_StreamVal, AEGP_StreamType>> light_stream(const LightLayer& light,
                                                                       AEGP_LayerStream which,
                                                                       double seconds) {
  AEGP_StreamVal val{};
  switch (which) {
    case AEGP_LayerStream_INTENSITY:
      val.one_d = light.intensity_percent.at(seconds);
      break;
    case AEGP_LayerStream_COLOR: {
      const Color color = light.color.at(seconds);
      val.color = {1.0, color.red, color.green, color.blue};
      return std::pair{val, AEGP_StreamType{AEGP_StreamType_COLOR}};
    }
    case AEGP_LayerStream_CONE_ANGLE:
      val.one_d = light.cone_angle_degrees.at(seconds);
      break;
    case AEGP_LayerStream_CONE_FEATHER:
      val.one_d = light.cone_feather_percent.at(seconds);
      break;
    case AEGP_LayerStream_LIGHT_FALLOFF_DISTANCE:
      val.one_d = light.falloff_distance.at(seconds);
      break;
    default:
      return std::nullopt;
  }
  return std::pair{val, AEGP_StreamType{AEGP_StreamType_OneD}};
}

A_Err get_layer_stream_value(AEGP_LayerH layer, AEGP_LayerStream which, AEGP_LTimeMode mode,
                             const A_Time* time, A_Boolean, AEGP_StreamVal* value,
                             AEGP_StreamType* type) {
  constexpr const char* kName = "AEGP_GetLayerStreamValue";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const auto index = layer_index_of(host, kName, layer);
    const auto seconds = seconds_of(host, kName, time);
    if (!index || !seconds || !has_out(host, kName, value, "value")) {
      return A_Err_PARAMETER;
    }
    if (mode != AEGP_LTimeMode_LayerTime && mode != AEGP_LTimeMode_CompTime) {
      return refuse_call(host, kName, "time mode " + std::to_string(mode));
    }
    const auto* light = std::get_if<LightLayer>(&host.composition().layers[*index].content);
    const auto answer = light != nullptr ? light_stream(*light, which, *seconds) : std::nullopt;
    if (!answer) {
      return refuse_call(
          host, kName,
          "stream " + std::to_string(which) + " is not one this host reports for this layer");
    }
    *value = answer->first;
    if (type != nullptr) {
      *type = answer->second;
    }
    return A_Err_NONE;
  });
}

AEGP_StreamSuite2 make_table() {
  AEGP_StreamSuite2 t{};
  t.AEGP_GetNewEffectStreamByIndex = get_new_effect_stream_by_index;
  t.AEGP_DisposeStream = dispose_stream;
  t.AEGP_GetNewStreamValue = get_new_stream_value;
  t.AEGP_DisposeStreamValue = dispose_stream_value;
  t.AEGP_GetLayerStreamValue = get_layer_stream_value;
  refuse<"AEGP_IsStreamLegal">(t.AEGP_IsStreamLegal);
  refuse<"AEGP_CanVaryOverTime">(t.AEGP_CanVaryOverTime);
  refuse<"AEGP_GetValidInterpolations">(t.AEGP_GetValidInterpolations);
  refuse<"AEGP_GetNewLayerStream">(t.AEGP_GetNewLayerStream);
  refuse<"AEGP_GetEffectNumParamStreams">(t.AEGP_GetEffectNumParamStreams);
  refuse<"AEGP_GetNewMaskStream">(t.AEGP_GetNewMaskStream);
  refuse<"AEGP_GetStreamName">(t.AEGP_GetStreamName);
  refuse<"AEGP_GetStreamUnitsText">(t.AEGP_GetStreamUnitsText);
  refuse<"AEGP_GetStreamProperties">(t.AEGP_GetStreamProperties);
  refuse<"AEGP_IsStreamTimevarying">(t.AEGP_IsStreamTimevarying);
  refuse<"AEGP_GetStreamType">(t.AEGP_GetStreamType);
  refuse<"AEGP_SetStreamValue">(t.AEGP_SetStreamValue);
  refuse<"AEGP_GetExpressionState">(t.AEGP_GetExpressionState);
  refuse<"AEGP_SetExpressionState">(t.AEGP_SetExpressionState);
  refuse<"AEGP_GetExpression">(t.AEGP_GetExpression);
  refuse<"AEGP_SetExpression">(t.AEGP_SetExpression);
  refuse<"AEGP_DuplicateStreamRef">(t.AEGP_DuplicateStreamRef);
  return t;
}

}  // namespace

const AEGP_StreamSuite2* stream_suite() {
  static const AEGP_StreamSuite2 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
