#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "AE_GeneralPlug.h"

namespace lunaform::host {

// What an AEGP handle given to a module stands for.
enum class AegpKind { comp, item, layer, effect, stream };

struct AegpObject {
  AegpKind kind = AegpKind::comp;
  std::size_t layer = 0;    // layers: the layer's index in the composition
  PF_ParamIndex param = 0;  // streams: the effect parameter's host index
  bool live = true;         // effects and streams: false once disposed
};

// Live counts of the disposable AEGP objects a module holds.
struct AegpHandleCounts {
  int effects = 0;
  int streams = 0;
  int stream_values = 0;
  friend bool operator==(const AegpHandleCounts&, const AegpHandleCounts&) = default;
};

// One AEGP_RegisterWithAEGP call.
struct AegpRegistration {
  AEGP_GlobalRefcon refcon = nullptr;
  std::string name;
  AEGP_PluginID id = 0;
};

// The AEGP handles a host gives one effect instance. A handle is the address of an AegpObject
// kept here for the host's life (disposing marks it dead, its address is never reused), so a
// handle the table never made, or one already disposed, is recognised without dereferencing
// it. The composition, its item and each layer index have one handle each that needs no
// disposal; effect references and streams are new objects each time and must be disposed.
// One thread at a time (the host's command thread).
class AegpObjects {
 public:
  void* comp();
  void* item();
  void* layer(std::size_t index);
  void* new_effect();
  void* new_stream(PF_ParamIndex param);

  // The live object behind `handle` if it is of `kind`; null otherwise.
  const AegpObject* find(const void* handle, AegpKind kind) const;
  // Marks an effect or stream dead; false when `handle` is not a live one of `kind`.
  bool dispose(const void* handle, AegpKind kind);

  // Stream values (AEGP_GetNewStreamValue / AEGP_DisposeStreamValue), known by their stream.
  void add_stream_value(const void* stream);
  // False when no value of `stream` is outstanding.
  bool dispose_stream_value(const void* stream);

  AegpHandleCounts live() const;

  AEGP_PluginID register_plugin(AEGP_GlobalRefcon refcon, std::string name);
  bool is_registered(AEGP_PluginID id) const;
  const std::vector<AegpRegistration>& registrations() const { return registrations_; }

  // Dynamic stream flags per effect parameter (AEGP_SetDynamicStreamFlag), 0 when never set.
  AEGP_DynStreamFlags dynamic_flags(PF_ParamIndex param) const;
  void set_dynamic_flag(PF_ParamIndex param, AEGP_DynStreamFlags flag, bool set);
  // Forgets the dynamic flags (a new parameter setup).
  void clear_dynamic_flags();

 private:
  void* make(AegpObject object);

  std::deque<AegpObject> objects_;
  std::unordered_map<const void*, AegpObject*> by_handle_;
  void* comp_ = nullptr;
  void* item_ = nullptr;
  std::map<std::size_t, void*> layers_;
  std::multiset<const void*> stream_values_;
  std::vector<AegpRegistration> registrations_;
  std::map<PF_ParamIndex, AEGP_DynStreamFlags> dynamic_flags_;
};

}  // namespace lunaform::host
