// "AEGP Layer Suite" version 11: the composition's layers, their kinds, switches, times and
// transforms.
#include "host/camera_math.h"
#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

const Layer& layer_at(EffectHost& host, std::size_t index) {
  return host.composition().layers[index];
}

// Layers start at composition time 0 and run at its speed, so layer time and composition time
// are the same and both time modes give one answer.
bool is_time_mode(EffectHost& host, const char* function, AEGP_LTimeMode mode) {
  if (mode != AEGP_LTimeMode_LayerTime && mode != AEGP_LTimeMode_CompTime) {
    refuse_call(host, function, "time mode " + std::to_string(mode));
    return false;
  }
  return true;
}

A_Err get_comp_num_layers(AEGP_CompH comp, A_long* count) {
  constexpr const char* kName = "AEGP_GetCompNumLayers";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!is_comp(host, kName, comp) || !has_out(host, kName, count, "count")) {
      return A_Err_PARAMETER;
    }
    *count = static_cast<A_long>(host.composition().layers.size());
    return A_Err_NONE;
  });
}

A_Err get_comp_layer_by_index(AEGP_CompH comp, A_long index, AEGP_LayerH* layer) {
  constexpr const char* kName = "AEGP_GetCompLayerByIndex";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!is_comp(host, kName, comp) || !has_out(host, kName, layer, "layer")) {
      return A_Err_PARAMETER;
    }
    if (index < 0 || static_cast<std::size_t>(index) >= host.composition().layers.size()) {
      return refuse_call(host, kName,
                         "layer index " + std::to_string(index) + " of " +
                             std::to_string(host.composition().layers.size()));
    }
    *layer = static_cast<AEGP_LayerH>(host.aegp_objects().layer(static_cast<std::size_t>(index)));
    return A_Err_NONE;
  });
}

A_Err get_layer_parent_comp(AEGP_LayerH layer, AEGP_CompH* comp) {
  constexpr const char* kName = "AEGP_GetLayerParentComp";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!layer_index_of(host, kName, layer) || !has_out(host, kName, comp, "composition")) {
      return A_Err_PARAMETER;
    }
    *comp = static_cast<AEGP_CompH>(host.aegp_objects().comp());
    return A_Err_NONE;
  });
}

A_Err get_layer_flags(AEGP_LayerH layer, AEGP_LayerFlags* flags) {
  constexpr const char* kName = "AEGP_GetLayerFlags";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const auto index = layer_index_of(host, kName, layer);
    if (!index || !has_out(host, kName, flags, "flags")) {
      return A_Err_PARAMETER;
    }
    const Layer& found = layer_at(host, *index);
    *flags = (found.video_on ? AEGP_LayerFlag_VIDEO_ACTIVE : 0) |
             (found.motion_blur ? AEGP_LayerFlag_MOTION_BLUR : 0);
    return A_Err_NONE;
  });
}

A_Err is_layer_video_really_on(AEGP_LayerH layer, A_Boolean* on) {
  constexpr const char* kName = "AEGP_IsLayerVideoReallyOn";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const auto index = layer_index_of(host, kName, layer);
    if (!index || !has_out(host, kName, on, "answer")) {
      return A_Err_PARAMETER;
    }
    *on = layer_at(host, *index).video_on ? 1 : 0;
    return A_Err_NONE;
  });
}

// Times come back in the time scale of the effect's running command.
A_Err get_layer_in_point(AEGP_LayerH layer, AEGP_LTimeMode mode, A_Time* in_point) {
  constexpr const char* kName = "AEGP_GetLayerInPoint";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const auto index = layer_index_of(host, kName, layer);
    if (!index || !is_time_mode(host, kName, mode) || !has_out(host, kName, in_point, "time")) {
      return A_Err_PARAMETER;
    }
    *in_point = in_host_time(host, layer_at(host, *index).in_point);
    return A_Err_NONE;
  });
}

A_Err get_layer_duration(AEGP_LayerH layer, AEGP_LTimeMode mode, A_Time* duration) {
  constexpr const char* kName = "AEGP_GetLayerDuration";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const auto index = layer_index_of(host, kName, layer);
    if (!index || !is_time_mode(host, kName, mode) || !has_out(host, kName, duration, "time")) {
      return A_Err_PARAMETER;
    }
    *duration = in_host_time(host, layer_duration(host.composition(), layer_at(host, *index)));
    return A_Err_NONE;
  });
}

A_Err get_layer_object_type(AEGP_LayerH layer, AEGP_ObjectType* type) {
  constexpr const char* kName = "AEGP_GetLayerObjectType";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const auto index = layer_index_of(host, kName, layer);
    if (!index || !has_out(host, kName, type, "type")) {
      return A_Err_PARAMETER;
    }
    const LayerContent& content = layer_at(host, *index).content;
    *type = std::holds_alternative<LightLayer>(content)    ? AEGP_ObjectType_LIGHT
            : std::holds_alternative<CameraLayer>(content) ? AEGP_ObjectType_CAMERA
                                                           : AEGP_ObjectType_AV;
    return A_Err_NONE;
  });
}

A_Err get_layer_to_world_xform(AEGP_LayerH layer, const A_Time* comp_time, A_Matrix4* transform) {
  constexpr const char* kName = "AEGP_GetLayerToWorldXform";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const auto index = layer_index_of(host, kName, layer);
    const auto seconds = seconds_of(host, kName, comp_time);
    if (!index || !seconds || !has_out(host, kName, transform, "matrix")) {
      return A_Err_PARAMETER;
    }
    const Matrix4 matrix = layer_to_world(layer_at(host, *index), *seconds);
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 4; ++c) {
        transform->mat[r][c] = matrix[r][c];
      }
    }
    return A_Err_NONE;
  });
}

AEGP_LayerSuite5 make_table() {
  AEGP_LayerSuite5 t{};
  t.AEGP_GetCompNumLayers = get_comp_num_layers;
  t.AEGP_GetCompLayerByIndex = get_comp_layer_by_index;
  t.AEGP_GetLayerParentComp = get_layer_parent_comp;
  t.AEGP_GetLayerFlags = get_layer_flags;
  t.AEGP_IsLayerVideoReallyOn = is_layer_video_really_on;
  t.AEGP_GetLayerInPoint = get_layer_in_point;
  t.AEGP_GetLayerDuration = get_layer_duration;
  t.AEGP_GetLayerObjectType = get_layer_object_type;
  t.AEGP_GetLayerToWorldXform = get_layer_to_world_xform;
  refuse<"AEGP_GetActiveLayer">(t.AEGP_GetActiveLayer);
  refuse<"AEGP_GetLayerIndex">(t.AEGP_GetLayerIndex);
  refuse<"AEGP_GetLayerSourceItem">(t.AEGP_GetLayerSourceItem);
  refuse<"AEGP_GetLayerSourceItemID">(t.AEGP_GetLayerSourceItemID);
  refuse<"AEGP_GetLayerName">(t.AEGP_GetLayerName);
  refuse<"AEGP_GetLayerQuality">(t.AEGP_GetLayerQuality);
  refuse<"AEGP_SetLayerQuality">(t.AEGP_SetLayerQuality);
  refuse<"AEGP_SetLayerFlag">(t.AEGP_SetLayerFlag);
  refuse<"AEGP_IsLayerAudioReallyOn">(t.AEGP_IsLayerAudioReallyOn);
  refuse<"AEGP_GetLayerCurrentTime">(t.AEGP_GetLayerCurrentTime);
  refuse<"AEGP_SetLayerInPointAndDuration">(t.AEGP_SetLayerInPointAndDuration);
  refuse<"AEGP_GetLayerOffset">(t.AEGP_GetLayerOffset);
  refuse<"AEGP_SetLayerOffset">(t.AEGP_SetLayerOffset);
  refuse<"AEGP_GetLayerStretch">(t.AEGP_GetLayerStretch);
  refuse<"AEGP_SetLayerStretch">(t.AEGP_SetLayerStretch);
  refuse<"AEGP_GetLayerTransferMode">(t.AEGP_GetLayerTransferMode);
  refuse<"AEGP_SetLayerTransferMode">(t.AEGP_SetLayerTransferMode);
  refuse<"AEGP_IsAddLayerValid">(t.AEGP_IsAddLayerValid);
  refuse<"AEGP_AddLayer">(t.AEGP_AddLayer);
  refuse<"AEGP_ReorderLayer">(t.AEGP_ReorderLayer);
  refuse<"AEGP_GetLayerMaskedBounds">(t.AEGP_GetLayerMaskedBounds);
  refuse<"AEGP_IsLayer3D">(t.AEGP_IsLayer3D);
  refuse<"AEGP_IsLayer2D">(t.AEGP_IsLayer2D);
  refuse<"AEGP_IsVideoActive">(t.AEGP_IsVideoActive);
  refuse<"AEGP_IsLayerUsedAsTrackMatte">(t.AEGP_IsLayerUsedAsTrackMatte);
  refuse<"AEGP_DoesLayerHaveTrackMatte">(t.AEGP_DoesLayerHaveTrackMatte);
  refuse<"AEGP_ConvertCompToLayerTime">(t.AEGP_ConvertCompToLayerTime);
  refuse<"AEGP_ConvertLayerToCompTime">(t.AEGP_ConvertLayerToCompTime);
  refuse<"AEGP_GetLayerDancingRandValue">(t.AEGP_GetLayerDancingRandValue);
  refuse<"AEGP_GetLayerID">(t.AEGP_GetLayerID);
  refuse<"AEGP_GetLayerToWorldXformFromView">(t.AEGP_GetLayerToWorldXformFromView);
  refuse<"AEGP_SetLayerName">(t.AEGP_SetLayerName);
  refuse<"AEGP_GetLayerParent">(t.AEGP_GetLayerParent);
  refuse<"AEGP_SetLayerParent">(t.AEGP_SetLayerParent);
  refuse<"AEGP_DeleteLayer">(t.AEGP_DeleteLayer);
  refuse<"AEGP_DuplicateLayer">(t.AEGP_DuplicateLayer);
  refuse<"AEGP_GetLayerFromLayerID">(t.AEGP_GetLayerFromLayerID);
  return t;
}

}  // namespace

const AEGP_LayerSuite5* layer_suite() {
  static const AEGP_LayerSuite5 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
