// "AEGP Item Suite" version 10: the composition's item and its pixel aspect.
#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

A_Err get_item_pixel_aspect_ratio(AEGP_ItemH item, A_Ratio* pixel_aspect) {
  constexpr const char* kName = "AEGP_GetItemPixelAspectRatio";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (host.aegp_objects().find(item, AegpKind::item) == nullptr) {
      return refuse_call(host, kName, "unknown item handle");
    }
    if (!has_out(host, kName, pixel_aspect, "ratio")) {
      return A_Err_PARAMETER;
    }
    const Ratio ratio = host.composition().pixel_aspect;
    *pixel_aspect = {ratio.num, ratio.den};
    return A_Err_NONE;
  });
}

AEGP_ItemSuite6 make_table() {
  AEGP_ItemSuite6 t{};
  t.AEGP_GetItemPixelAspectRatio = get_item_pixel_aspect_ratio;
  refuse<"AEGP_GetFirstProjItem">(t.AEGP_GetFirstProjItem);
  refuse<"AEGP_GetNextProjItem">(t.AEGP_GetNextProjItem);
  refuse<"AEGP_GetActiveItem">(t.AEGP_GetActiveItem);
  refuse<"AEGP_IsItemSelected">(t.AEGP_IsItemSelected);
  refuse<"AEGP_SelectItem">(t.AEGP_SelectItem);
  refuse<"AEGP_GetItemType">(t.AEGP_GetItemType);
  refuse<"AEGP_GetTypeName">(t.AEGP_GetTypeName);
  refuse<"AEGP_GetItemName">(t.AEGP_GetItemName);
  refuse<"AEGP_SetItemName">(t.AEGP_SetItemName);
  refuse<"AEGP_GetItemID">(t.AEGP_GetItemID);
  refuse<"AEGP_GetItemFlags">(t.AEGP_GetItemFlags);
  refuse<"AEGP_SetItemUseProxy">(t.AEGP_SetItemUseProxy);
  refuse<"AEGP_GetItemParentFolder">(t.AEGP_GetItemParentFolder);
  refuse<"AEGP_SetItemParentFolder">(t.AEGP_SetItemParentFolder);
  refuse<"AEGP_GetItemDuration">(t.AEGP_GetItemDuration);
  refuse<"AEGP_GetItemCurrentTime">(t.AEGP_GetItemCurrentTime);
  refuse<"AEGP_GetItemDimensions">(t.AEGP_GetItemDimensions);
  refuse<"AEGP_DeleteItem">(t.AEGP_DeleteItem);
  refuse<"AEGP_CreateNewFolder">(t.AEGP_CreateNewFolder);
  refuse<"AEGP_SetItemCurrentTime">(t.AEGP_SetItemCurrentTime);
  refuse<"AEGP_GetItemCommentLength">(t.AEGP_GetItemCommentLength);
  refuse<"AEGP_GetItemComment">(t.AEGP_GetItemComment);
  refuse<"AEGP_SetItemComment">(t.AEGP_SetItemComment);
  refuse<"AEGP_GetItemLabel">(t.AEGP_GetItemLabel);
  refuse<"AEGP_SetItemLabel">(t.AEGP_SetItemLabel);
  return t;
}

}  // namespace

const AEGP_ItemSuite6* item_suite() {
  static const AEGP_ItemSuite6 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
