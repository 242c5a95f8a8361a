#include "scene/camera_reader.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "plugin/hx_exception.h"
#include "scene/camera_view.h"
#include "scene/effect_host_queries.h"

namespace {

host_camera query_camera(const PF_InData& in_data, HostSuites& suites) {
  // Before the composition starts the camera stands where it stands at time 0.
  const A_Time time = composition_time(in_data, suites, std::max<A_long>(0, in_data.current_time));
  const auto& effect = suites.get<AEGP_PFInterfaceSuite1>();
  AEGP_LayerH camera_layer = nullptr;
  require_host(effect.AEGP_GetEffectCamera(in_data.effect_ref, &time, &camera_layer),
               "AEGP_GetEffectCamera");
  host_camera camera;
  A_short plane_width = 0;
  A_short plane_height = 0;
  require_host(
      effect.AEGP_GetEffectCameraMatrix(in_data.effect_ref, &time, &camera.camera_to_world,
                                        &camera.plane_distance, &plane_width, &plane_height),
      "AEGP_GetEffectCameraMatrix");
  camera.plane_width = plane_width;
  camera.plane_height = plane_height;
  camera.has_camera_layer = camera_layer != nullptr;
  if (camera.has_camera_layer) {
    AEGP_CameraType type = AEGP_CameraType_PERSPECTIVE;
    require_host(suites.get<AEGP_CameraSuite2>().AEGP_GetCameraType(camera_layer, &type),
                 "AEGP_GetCameraType");
    camera.orthographic = type == AEGP_CameraType_ORTHOGRAPHIC;
  }
  return camera;
}

}  // namespace

render_properties read_camera(CommandContext& context, HostSuites& suites,
                              const render_data& frame) {
  const PF_InData& in_data = *context.in_data;
  const host_camera camera = query_camera(in_data, suites);
  if (!camera.orthographic &&
      !(camera.plane_distance > 0.0 && std::isfinite(camera.plane_distance))) {
    throw hx_exception("The host sent a camera whose image plane lies at a distance of " +
                       std::to_string(camera.plane_distance) + " pixels.");
  }
  view_placement placement;
  placement.layer_pixel_aspect = layer_pixel_aspect(in_data);
  placement.composition_pixel_aspect =
      composition_pixel_aspect(suites, find_effect_layer(in_data, suites).composition);
  placement.downsample = frame.inv_downsample_x;
  placement.output_origin_x = frame.output_origin_x;
  placement.output_origin_y = frame.output_origin_y;
  placement.output_width = frame.output_image.width;
  placement.output_height = frame.output_image.height;
  return camera_render_properties(camera, placement);
}
