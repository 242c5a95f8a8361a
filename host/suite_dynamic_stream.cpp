// "AEGP Dynamic Stream Suite" version 2: the flags of effect parameter streams (greyed out,
// hidden), kept per parameter so that the host's user interface, and tests, can read them.
#include <bit>

#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

A_Err get_dynamic_stream_flags(AEGP_StreamRefH stream, AEGP_DynStreamFlags* flags) {
  constexpr const char* kName = "AEGP_GetDynamicStreamFlags";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const AegpObject* object = stream_of(host, kName, stream);
    if (object == nullptr || !has_out(host, kName, flags, "flags")) {
      return A_Err_PARAMETER;
    }
    *flags = host.dynamic_stream_flags(object->param);
    return A_Err_NONE;
  });
}

A_Err set_dynamic_stream_flag(AEGP_StreamRefH stream, AEGP_DynStreamFlags one_flag, A_Boolean,
                              A_Boolean set) {
  constexpr const char* kName = "AEGP_SetDynamicStreamFlag";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    const AegpObject* object = stream_of(host, kName, stream);
    if (object == nullptr) {
      return A_Err_PARAMETER;
    }
    if (!std::has_single_bit(one_flag)) {
      return refuse_call(host, kName, "flags " + std::to_string(one_flag) + " are not one flag");
    }
    host.aegp_objects().set_dynamic_flag(object->param, one_flag, set != 0);
    return A_Err_NONE;
  });
}

AEGP_DynamicStreamSuite2 make_table() {
  AEGP_DynamicStreamSuite2 t{};
  t.AEGP_GetDynamicStreamFlags = get_dynamic_stream_flags;
  t.AEGP_SetDynamicStreamFlag = set_dynamic_stream_flag;
  refuse<"AEGP_GetNewStreamRefForLayer">(t.AEGP_GetNewStreamRefForLayer);
  refuse<"AEGP_GetStreamDepth">(t.AEGP_GetStreamDepth);
  refuse<"AEGP_GetStreamGroupingType">(t.AEGP_GetStreamGroupingType);
  refuse<"AEGP_GetNumStreamsInGroup">(t.AEGP_GetNumStreamsInGroup);
  refuse<"AEGP_GetNewStreamRefByIndex">(t.AEGP_GetNewStreamRefByIndex);
  refuse<"AEGP_GetNewStreamRefByMatchname">(t.AEGP_GetNewStreamRefByMatchname);
  refuse<"AEGP_DeleteStream">(t.AEGP_DeleteStream);
  refuse<"AEGP_ReorderStream">(t.AEGP_ReorderStream);
  refuse<"AEGP_DuplicateStream">(t.AEGP_DuplicateStream);
  refuse<"AEGP_SetStreamName">(t.AEGP_SetStreamName);
  refuse<"AEGP_CanAddStream">(t.AEGP_CanAddStream);
  refuse<"AEGP_AddStream">(t.AEGP_AddStream);
  refuse<"AEGP_GetMatchName">(t.AEGP_GetMatchName);
  refuse<"AEGP_GetNewParentStreamRef">(t.AEGP_GetNewParentStreamRef);
  refuse<"AEGP_GetStreamIsModified">(t.AEGP_GetStreamIsModified);
  return t;
}

}  // namespace

const AEGP_DynamicStreamSuite2* dynamic_stream_suite() {
  static const AEGP_DynamicStreamSuite2 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites
