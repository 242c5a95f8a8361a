// "AEGP Camera Suite" version 2: the type of the composition's camera layer.
#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

A_Err get_camera_type(AEGP_LayerH camera_layer, AEGP_CameraType* type) {
  constexpr const char* kName = "AEGP_GetCameraType";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const auto index = layer_index_of(host, kName, camera_layer);
    if (!index || !has_out(host, kName, type, "camera type")) {
      return A_Err_PARAMETER;
    }
    const auto* camera = std::get_if<CameraLayer>(&host.composition().layers[*index].content);
    if (camera == nullptr) {
      return refuse_call(host, kName, "the layer is not a camera");
    }
    *type = camera->projection == Projection::orthographic ? AEGP_CameraType_ORTHOGRAPHIC
                                                           : AEGP_CameraType_PERSPECTIVE;
    return A_Err_NONE;
  });
}

AEGP_CameraSuite2 make_table() {
  AEGP_CameraSuite2 t{};
  t.AEGP_GetCameraType = get_camera_type;
  refuse<"AEGP_GetCamera">(t.AEGP_GetCamera);
  refuse<"AEGP_GetDefaultCameraDistanceToImagePlane">(t.AEGP_GetDefaultCameraDistanceToImagePlane);
  refuse<"AEGP_GetCameraFilmSize">(t.AEGP_GetCameraFilmSize);
  refuse<"AEGP_SetCameraFilmSize">(t.AEGP_SetCameraFilmSize);
  return t;
}

}  // namespace

const AEGP_CameraSuite2* camera_suite() {
  static const AEGP_CameraSuite2 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
