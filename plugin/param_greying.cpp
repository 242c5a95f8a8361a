#include "plugin/param_greying.h"

#include <initializer_list>

#include "plugin/param_host_index.h"
#include "plugin/param_ids.h"
#include "plugin/param_readers.h"
#include "plugin/param_tables.h"

namespace {

// "Motion Blur" choices are 1-based: "Comp Settings", "On", "Off".
constexpr std::int32_t kMotionBlurOn = 2;

// A map layer and the parameters that only act on that map's pixels.
struct MapDependants {
  ParamId layer;
  std::initializer_list<ParamId> dependants;
};

const MapDependants kMapDependants[] = {
    {PARAM_DIFFUSE_LAYER, {PARAM_DIFFUSE_GAMMA, PARAM_DIFFUSE_BRIGHTNESS, PARAM_DIFFUSE_BLEND}},
    {PARAM_GLOSSINESS_LAYER, {PARAM_GLOSSINESS_GAMMA, PARAM_GLOSSINESS_BRIGHTNESS}},
    {PARAM_ILLUMINATION_LAYER, {PARAM_ILLUMINATION_GAMMA, PARAM_ILLUMINATION_BRIGHTNESS}},
    {PARAM_BUMP_LAYER,
     {PARAM_BUMP_INTENSITY, PARAM_USE_NORMAL_MAP, PARAM_FLIP_NORMAL_CHANNELS, PARAM_BUMP_FALLOFF}},
};

// The effect instance as the AEGP layer knows it, disposed when the update is over, however it
// ends. The suite that disposes of it is taken first, so that a host without it refuses before
// anything needs disposing.
class AegpEffect {
 public:
  AegpEffect(const CommandContext& context, HostSuites& suites, AEGP_PluginID plugin_id)
      : effects_(suites.get<AEGP_EffectSuite2>()) {
    suites.get<AEGP_PFInterfaceSuite1>().AEGP_GetNewEffectForEffect(
        plugin_id, context.in_data->effect_ref, &effect_);
  }
  ~AegpEffect() {
    if (effect_ != nullptr) {
      effects_.AEGP_DisposeEffect(effect_);
    }
  }
  AegpEffect(const AegpEffect&) = delete;
  AegpEffect& operator=(const AegpEffect&) = delete;

  AEGP_EffectRefH handle() const { return effect_; }

 private:
  const AEGP_EffectSuite2& effects_;
  AEGP_EffectRefH effect_ = nullptr;
};

// The stream of the effect's parameter `id`; null when the host has none.
AEGP_StreamRefH new_param_stream(HostSuites& suites, AEGP_PluginID plugin_id,
                                 AEGP_EffectRefH effect, std::int32_t id) {
  const PF_ParamIndex index = param_host_index(id);
  AEGP_StreamRefH stream = nullptr;
  suites.get<AEGP_StreamSuite2>().AEGP_GetNewEffectStreamByIndex(plugin_id, effect, index, &stream);
  return stream;
}

}  // namespace

void grey_out_unused_params(CommandContext& context, AEGP_PluginID plugin_id) {
  // The tables are shared by the whole process; a fresh process may see this command before
  // parameter setup has given them their working capacities.
  reserve_param_tables();

  HostSuites suites(*context.in_data);
  const AegpEffect effect(context, suites, plugin_id);

  set_param_disabled(suites, plugin_id, effect.handle(), PARAM_SHUTTER_ANGLE,
                     get_param_int(context, PARAM_MOTION_BLUR) != kMotionBlurOn);
  for (const MapDependants& map : kMapDependants) {
    const bool disabled =
        !layer_param_has_layer(context, suites, plugin_id, effect.handle(), map.layer);
    for (const ParamId dependant : map.dependants) {
      set_param_disabled(suites, plugin_id, effect.handle(), dependant, disabled);
    }
  }
}

void set_param_disabled(HostSuites& suites, AEGP_PluginID plugin_id, AEGP_EffectRefH effect,
                        std::int32_t id, bool disabled) {
  const AEGP_StreamRefH stream = new_param_stream(suites, plugin_id, effect, id);
  if (stream == nullptr) {
    return;
  }
  suites.get<AEGP_DynamicStreamSuite2>().AEGP_SetDynamicStreamFlag(
      stream, AEGP_DynStreamFlag_DISABLED, false, disabled);
  suites.get<AEGP_StreamSuite2>().AEGP_DisposeStream(stream);
}

bool layer_param_has_layer(const CommandContext& context, HostSuites& suites,
                           AEGP_PluginID plugin_id, AEGP_EffectRefH effect, std::int32_t id) {
  const PF_InData& in_data = *context.in_data;
  A_Time comp_time{};
  suites.get<AEGP_PFInterfaceSuite1>().AEGP_ConvertEffectToCompTime(
      in_data.effect_ref, in_data.current_time, in_data.time_scale, &comp_time);

  const AEGP_StreamRefH stream = new_param_stream(suites, plugin_id, effect, id);
  if (stream == nullptr) {
    return false;
  }
  const AEGP_StreamSuite2& streams = suites.get<AEGP_StreamSuite2>();
  AEGP_StreamValue value{};
  const A_Err read = streams.AEGP_GetNewStreamValue(plugin_id, stream, AEGP_LTimeMode_CompTime,
                                                    &comp_time, false, &value);
  const bool has_layer = read == A_Err_NONE && value.val.layer_id != AEGP_LayerIDVal_NONE;
  if (read == A_Err_NONE) {
    streams.AEGP_DisposeStreamValue(&value);
  }
  streams.AEGP_DisposeStream(stream);
  return has_layer;
}
