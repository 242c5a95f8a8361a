// "AEGP PF Interface Suite" version 1: from the effect instance to its layer, its AEGP
// reference, composition time and the camera that looks at it.
#include "host/camera_math.h"
#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

A_Err get_effect_layer(PF_ProgPtr effect_ref, AEGP_LayerH* layer) {
  constexpr const char* kName = "AEGP_GetEffectLayer";
  return with_effect_host(effect_ref, kName, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, kName, layer, "layer")) {
      return A_Err_PARAMETER;
    }
    const auto index = effect_layer_index(host.composition());
    if (!index) {
      return refuse_call(host, kName, "the composition has no effect layer", A_Err_GENERIC);
    }
    *layer = static_cast<AEGP_LayerH>(host.aegp_objects().layer(*index));
    return A_Err_NONE;
  });
}

A_Err get_new_effect_for_effect(AEGP_PluginID plugin_id, PF_ProgPtr effect_ref,
                                AEGP_EffectRefH* effect) {
  constexpr const char* kName = "AEGP_GetNewEffectForEffect";
  return with_effect_host(effect_ref, kName, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, kName, effect, "effect")) {
      return A_Err_PARAMETER;
    }
    if (!host.aegp_objects().is_registered(plugin_id)) {
      return refuse_call(
          host, kName,
          "plug-in id " + std::to_string(plugin_id) + " was not given by AEGP_RegisterWithAEGP");
    }
    *effect = static_cast<AEGP_EffectRefH>(host.aegp_objects().new_effect());
    return A_Err_NONE;
  });
}

// The effect's layer starts at composition time 0: its times are composition times.
A_Err convert_effect_to_comp_time(PF_ProgPtr effect_ref, A_long what_time, A_u_long time_scale,
                                  A_Time* comp_time) {
  constexpr const char* kName = "AEGP_ConvertEffectToCompTime";
  return with_effect_host(effect_ref, kName, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, kName, comp_time, "time")) {
      return A_Err_PARAMETER;
    }
    if (time_scale == 0) {
      return refuse_call(host, kName, "time scale 0");
    }
    *comp_time = {what_time, time_scale};
    host.note_timed_call(kName, *comp_time);
    return A_Err_NONE;
  });
}

A_Err get_effect_camera(PF_ProgPtr effect_ref, const A_Time* comp_time, AEGP_LayerH* camera) {
  constexpr const char* kName = "AEGP_GetEffectCamera";
  return with_effect_host(effect_ref, kName, [&](EffectHost& host) -> A_Err {
    const auto seconds = seconds_of(host, kName, comp_time);
    if (!seconds || !has_out(host, kName, camera, "camera layer")) {
      return A_Err_PARAMETER;
    }
    const CameraView view = camera_view(host.composition(), *seconds);
    *camera = view.is_default ? nullptr
                              : static_cast<AEGP_LayerH>(host.aegp_objects().layer(
                                    *camera_layer_index(host.composition())));
    return A_Err_NONE;
  });
}

A_Err get_effect_camera_matrix(PF_ProgPtr effect_ref, const A_Time* comp_time,
                               A_Matrix4* camera_matrix, A_FpLong* distance, A_short* plane_width,
                               A_short* plane_height) {
  constexpr const char* kName = "AEGP_GetEffectCameraMatrix";
  return with_effect_host(effect_ref, kName, [&](EffectHost& host) -> A_Err {
    const auto seconds = seconds_of(host, kName, comp_time);
    if (!seconds || !has_out(host, kName, camera_matrix, "matrix") ||
        !has_out(host, kName, distance, "plane distance") ||
        !has_out(host, kName, plane_width, "plane width") ||
        !has_out(host, kName, plane_height, "plane height")) {
      return A_Err_PARAMETER;
    }
    const Composition& comp = host.composition();
    const CameraView view = camera_view(comp, *seconds);
    const Matrix4 matrix = camera_to_world(view);
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 4; ++c) {
        camera_matrix->mat[r][c] = matrix[r][c];
      }
    }
    *distance = view.zoom;
    *plane_width = static_cast<A_short>(comp.width);
    *plane_height = static_cast<A_short>(comp.height);
    return A_Err_NONE;
  });
}

}  // namespace

const AEGP_PFInterfaceSuite1* pf_interface_suite() {
  static const AEGP_PFInterfaceSuite1 table{get_effect_layer, get_new_effect_for_effect,
                                            convert_effect_to_comp_time, get_effect_camera,
                                            get_effect_camera_matrix};
  return &table;
}

}  // namespace lunaform::host::suites
