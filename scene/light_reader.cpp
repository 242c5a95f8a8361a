#include "scene/light_reader.h"

#include "plugin/param_ids.h"
#include "plugin/param_readers.h"
#include "scene/effect_host_queries.h"
#include "scene/light_records.h"

namespace {

AEGP_StreamVal stream_value(HostSuites& suites, AEGP_LayerH layer, AEGP_LayerStream stream,
                            const A_Time& time) {
  AEGP_StreamVal value{};
  require_host(suites.get<AEGP_StreamSuite2>().AEGP_GetLayerStreamValue(
                   layer, stream, AEGP_LTimeMode_CompTime, &time, false, &value, nullptr),
               "AEGP_GetLayerStreamValue");
  return value;
}

double stream_number(HostSuites& suites, AEGP_LayerH layer, AEGP_LayerStream stream,
                     const A_Time& time) {
  return stream_value(suites, layer, stream, time).one_d;
}

bool exists_now(const PF_InData& in_data, HostSuites& suites, AEGP_LayerH layer) {
  const auto& layers = suites.get<AEGP_LayerSuite5>();
  A_Time in_point{};
  A_Time duration{};
  require_host(layers.AEGP_GetLayerInPoint(layer, AEGP_LTimeMode_CompTime, &in_point),
               "AEGP_GetLayerInPoint");
  require_host(layers.AEGP_GetLayerDuration(layer, AEGP_LTimeMode_CompTime, &duration),
               "AEGP_GetLayerDuration");
  return light_is_live(to_effect_time(in_point, in_data.time_scale),
                       to_effect_time(duration, in_data.time_scale), in_data.current_time);
}

host_light query_light(HostSuites& suites, AEGP_LayerH layer, const A_Time& time) {
  host_light light;
  require_host(suites.get<AEGP_LightSuite2>().AEGP_GetLightType(layer, &light.type),
               "AEGP_GetLightType");
  require_host(
      suites.get<AEGP_LayerSuite5>().AEGP_GetLayerToWorldXform(layer, &time, &light.layer_to_world),
      "AEGP_GetLayerToWorldXform");
  light.intensity = stream_number(suites, layer, AEGP_LayerStream_INTENSITY, time);
  light.color = stream_value(suites, layer, AEGP_LayerStream_COLOR, time).color;
  light.falloff = stream_number(suites, layer, AEGP_LayerStream_LIGHT_FALLOFF_DISTANCE, time);
  if (light.type == AEGP_LightType_SPOT) {
    light.cone_angle = stream_number(suites, layer, AEGP_LayerStream_CONE_ANGLE, time);
    light.cone_feather = stream_number(suites, layer, AEGP_LayerStream_CONE_FEATHER, time);
  }
  return light;
}

}  // namespace

std::vector<light_properties> read_lights(CommandContext& context, HostSuites& suites) {
  const PF_InData& in_data = *context.in_data;
  const A_Time time = composition_time(in_data, suites, in_data.current_time);
  const AEGP_CompH composition = find_effect_layer(in_data, suites).composition;
  const auto& layers = suites.get<AEGP_LayerSuite5>();
  A_long layer_count = 0;
  require_host(layers.AEGP_GetCompNumLayers(composition, &layer_count), "AEGP_GetCompNumLayers");

  std::vector<light_properties> lights;
  const float pixel_aspect = layer_pixel_aspect(in_data);
  for (A_long index = 0; index < layer_count; ++index) {
    AEGP_LayerH layer = nullptr;
    require_host(layers.AEGP_GetCompLayerByIndex(composition, index, &layer),
                 "AEGP_GetCompLayerByIndex");
    if (layer == nullptr) {
      continue;
    }
    AEGP_ObjectType type = AEGP_ObjectType_NONE;
    require_host(layers.AEGP_GetLayerObjectType(layer, &type), "AEGP_GetLayerObjectType");
    if (type != AEGP_ObjectType_LIGHT || !exists_now(in_data, suites, layer)) {
      continue;
    }
    A_Boolean video_on = false;
    require_host(layers.AEGP_IsLayerVideoReallyOn(layer, &video_on), "AEGP_IsLayerVideoReallyOn");
    if (!video_on) {
      continue;
    }
    lights.push_back(light_from_host(query_light(suites, layer, time), pixel_aspect));
  }
  if (lights.empty() && get_param_int(context, PARAM_USE_DEFAULT_LIGHTS) != 0) {
    lights = default_lights();
  }
  return lights;
}
