#include "scene/motion_blur_reader.h"

#include "plugin/param_ids.h"
#include "plugin/param_readers.h"
#include "scene/effect_host_queries.h"

motion_blur_settings read_motion_blur(CommandContext& context, HostSuites& suites) {
  const effect_layer_place place = find_effect_layer(*context.in_data, suites);
  motion_blur_inputs inputs;
  require_host(suites.get<AEGP_LayerSuite5>().AEGP_GetLayerFlags(place.layer, &inputs.layer_flags),
               "AEGP_GetLayerFlags");
  const auto& compositions = suites.get<AEGP_CompSuite5>();
  require_host(compositions.AEGP_GetCompFlags(place.composition, &inputs.composition_flags),
               "AEGP_GetCompFlags");
  A_Ratio shutter_phase{};
  require_host(compositions.AEGP_GetCompShutterAnglePhase(
                   place.composition, &inputs.composition_shutter_angle, &shutter_phase),
               "AEGP_GetCompShutterAnglePhase");
  inputs.motion_blur = get_param_int(context, PARAM_MOTION_BLUR);
  inputs.samples = get_param_float(context, PARAM_MOTION_BLUR_SAMPLES);
  inputs.shutter_angle = get_param_float(context, PARAM_SHUTTER_ANGLE);
  return choose_motion_blur(inputs);
}
