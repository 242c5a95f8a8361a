#include "host/host_callbacks.h"

#include <cstdlib>
#include <cstring>

#include "host/effect_host.h"
#include "host/suite_registry.h"

namespace lunaform::host {
namespace {

// The suite manager's answers for a failed allocation (-108) and an unimplemented call ('!IMP').
constexpr SPErr kOutOfMemoryError = -108;
constexpr SPErr kUnimplementedError = 0x21494D50;

// Calls through an effect reference that belongs to no live host are refused.
template <typename Body>
PF_Err with_host(PF_ProgPtr effect_ref, Body body) {
  EffectHost* host = EffectHost::from_effect_ref(effect_ref);
  return host != nullptr ? body(*host) : PF_Err_BAD_CALLBACK_PARAM;
}

}  // namespace

PF_InteractCallbacks HostCallbacks::interact() {
  PF_InteractCallbacks table{};
  table.checkout_param = [](PF_ProgPtr ref, PF_ParamIndex index, A_long what_time, A_long time_step,
                            A_u_long time_scale, PF_ParamDef* param) {
    return with_host(ref, [&](EffectHost& host) {
      return host.checkout_param(index, what_time, time_step, time_scale, param);
    });
  };
  table.checkin_param = [](PF_ProgPtr ref, PF_ParamDef* param) {
    return with_host(ref, [&](EffectHost& host) { return host.checkin_param(param); });
  };
  table.add_param = [](PF_ProgPtr ref, PF_ParamIndex index, PF_ParamDefPtr def) {
    return with_host(ref, [&](EffectHost& host) { return host.add_param(index, def); });
  };
  table.abort = [](PF_ProgPtr ref) {
    return with_host(ref, [](EffectHost&) { return PF_Err_NONE; });
  };
  table.progress = [](PF_ProgPtr ref, A_long, A_long) {
    return with_host(ref, [](EffectHost&) { return PF_Err_NONE; });
  };
  table.register_ui = [](PF_ProgPtr ref, PF_CustomUIInfo* info) {
    return with_host(ref, [&](EffectHost& host) { return host.register_ui(info); });
  };
  return table;
}

PF_UtilCallbacks* HostCallbacks::utils() {
  // Handle calls carry no effect reference: they go to the host active on the thread, which
  // also hears about handles it does not know.
  static PF_UtilCallbacks table = [] {
    PF_UtilCallbacks t{};
    t.host_new_handle = [](A_u_longlong size) -> PF_Handle {
      EffectHost* host = EffectHost::active();
      return host != nullptr ? host->handles_->allocate(size) : nullptr;
    };
    t.host_lock_handle = [](PF_Handle handle) -> void* {
      EffectHost* host = EffectHost::active();
      if (host == nullptr) {
        return nullptr;
      }
      void* block = host->handles_->lock(handle);
      if (block == nullptr) {
        host->note_problem("host_lock_handle of an unknown handle");
      }
      return block;
    };
    t.host_unlock_handle = [](PF_Handle handle) {
      EffectHost* host = EffectHost::active();
      if (host != nullptr && !host->handles_->unlock(handle)) {
        host->note_problem("host_unlock_handle of an unknown or unlocked handle");
      }
    };
    t.host_dispose_handle = [](PF_Handle handle) {
      EffectHost* host = EffectHost::active();
      if (host != nullptr && !host->handles_->dispose(handle)) {
        host->note_problem("host_dispose_handle of an unknown handle");
      }
    };
    t.host_get_handle_size = [](PF_Handle handle) -> A_u_longlong {
      EffectHost* host = EffectHost::active();
      if (host == nullptr) {
        return 0;
      }
      const auto size = host->handles_->size(handle);
      if (!size) {
        host->note_problem("host_get_handle_size of an unknown handle");
      }
      return size.value_or(0);
    };
    t.host_resize_handle = [](A_u_longlong new_size, PF_Handle* handle) -> PF_Err {
      EffectHost* host = EffectHost::active();
      if (host == nullptr || handle == nullptr) {
        return PF_Err_BAD_CALLBACK_PARAM;
      }
      const PF_Err result = host->handles_->resize(*handle, new_size);
      if (result == PF_Err_BAD_CALLBACK_PARAM) {
        host->note_problem("host_resize_handle of an unknown or locked handle");
      }
      return result;
    };
    t.get_platform_data = [](PF_ProgPtr ref, PF_PlatDataID which, void* data) {
      return with_host(ref, [&](EffectHost& host) { return host.get_platform_data(which, data); });
    };
    return t;
  }();
  return &table;
}

SPBasicSuite* HostCallbacks::basic_suite() {
  static SPBasicSuite suite = [] {
    SPBasicSuite s{};
    s.AcquireSuite = [](const char* name, int version, const void** table) -> SPErr {
      EffectHost* host = EffectHost::active();
      if (host == nullptr) {
        if (table != nullptr) {
          *table = nullptr;
        }
        return kSuiteNotFoundError;
      }
      return host->suites_.acquire(name, version, table);
    };
    s.ReleaseSuite = [](const char* name, int version) -> SPErr {
      EffectHost* host = EffectHost::active();
      return host != nullptr ? host->suites_.release(name, version) : kSuiteNotFoundError;
    };
    s.IsEqual = [](const char* first, const char* second) -> SPBoolean {
      return first != nullptr && second != nullptr && std::strcmp(first, second) == 0;
    };
    s.AllocateBlock = [](size_t size, void** block) -> SPErr {
      if (block == nullptr) {
        return kOutOfMemoryError;
      }
      *block = std::malloc(size != 0 ? size : 1);
      return *block != nullptr ? kSPNoError : kOutOfMemoryError;
    };
    s.FreeBlock = [](void* block) -> SPErr {
      std::free(block);
      return kSPNoError;
    };
    s.ReallocateBlock = [](void* block, size_t size, void** moved) -> SPErr {
      if (moved == nullptr) {
        return kOutOfMemoryError;
      }
      void* result = std::realloc(block, size != 0 ? size : 1);
      if (result == nullptr) {
        return kOutOfMemoryError;
      }
      *moved = result;
      return kSPNoError;
    };
    s.Undefined = []() -> SPErr { return kUnimplementedError; };
    return s;
  }();
  return &suite;
}

PF_PreRenderCallbacks* HostCallbacks::pre_render() {
  static PF_PreRenderCallbacks table = [] {
    PF_PreRenderCallbacks t{};
    t.checkout_layer = [](PF_ProgPtr ref, PF_ParamIndex index, A_long checkout_id,
                          const PF_RenderRequest* request, A_long what_time, A_long time_step,
                          A_u_long time_scale, PF_CheckoutResult* result) {
      return with_host(ref, [&](EffectHost& host) {
        return host.checkout_layer(index, checkout_id, request, what_time, time_step, time_scale,
                                   result);
      });
    };
    t.GuidMixInPtr = [](PF_ProgPtr ref, A_u_long, const void*) {
      return with_host(ref, [](EffectHost&) { return PF_Err_NONE; });
    };
    return t;
  }();
  return &table;
}

PF_SmartRenderCallbacks* HostCallbacks::smart_render() {
  static PF_SmartRenderCallbacks table = [] {
    PF_SmartRenderCallbacks t{};
    t.checkout_layer_pixels = [](PF_ProgPtr ref, A_long checkout_id, PF_EffectWorld** pixels) {
      return with_host(
          ref, [&](EffectHost& host) { return host.checkout_layer_pixels(checkout_id, pixels); });
    };
    t.checkin_layer_pixels = [](PF_ProgPtr ref, A_long checkout_id) {
      return with_host(ref,
                       [&](EffectHost& host) { return host.checkin_layer_pixels(checkout_id); });
    };
    t.checkout_output = [](PF_ProgPtr ref, PF_EffectWorld** output) {
      return with_host(ref, [&](EffectHost& host) { return host.checkout_output(output); });
    };
    return t;
  }();
  return &table;
}

}  // namespace lunaform::host
