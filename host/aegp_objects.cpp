#include "host/aegp_objects.h"

#include <utility>

namespace lunaform::host {
namespace {

// Ids handed out by AEGP_RegisterWithAEGP start here, so an uninitialised 0 is never valid.
constexpr AEGP_PluginID kFirstPluginId = 1000;

}  // namespace

void* AegpObjects::make(AegpObject object) {
  AegpObject& stored = objects_.emplace_back(object);
  by_handle_[&stored] = &stored;
  return &stored;
}

void* AegpObjects::comp() {
  if (comp_ == nullptr) {
    comp_ = make({AegpKind::comp});
  }
  return comp_;
}

void* AegpObjects::item() {
  if (item_ == nullptr) {
    item_ = make({AegpKind::item});
  }
  return item_;
}

void* AegpObjects::layer(std::size_t index) {
  void*& handle = layers_[index];
  if (handle == nullptr) {
    handle = make({AegpKind::layer, index});
  }
  return handle;
}

void* AegpObjects::new_effect() {
  return make({AegpKind::effect});
}

void* AegpObjects::new_stream(PF_ParamIndex param) {
  return make({AegpKind::stream, 0, param});
}

const AegpObject* AegpObjects::find(const void* handle, AegpKind kind) const {
  const auto found = by_handle_.find(handle);
  if (found == by_handle_.end() || found->second->kind != kind || !found->second->live) {
    return nullptr;
  }
  return found->second;
}

bool AegpObjects::dispose(const void* handle, AegpKind kind) {
  if (find(handle, kind) == nullptr) {
    return false;
  }
  by_handle_.at(handle)->live = false;
  return true;
}

void AegpObjects::add_stream_value(const void* stream) {
  stream_values_.insert(stream);
}

bool AegpObjects::dispose_stream_value(const void* stream) {
  const auto found = stream_values_.find(stream);
  if (found == stream_values_.end()) {
    return false;
  }
  stream_values_.erase(found);
  return true;
}

AegpHandleCounts AegpObjects::live() const {
  AegpHandleCounts counts;
  for (const AegpObject& object : objects_) {
    if (object.live && object.kind == AegpKind::effect) {
      ++counts.effects;
    } else if (object.live && object.kind == AegpKind::stream) {
      ++counts.streams;
    }
  }
  counts.stream_values = static_cast<int>(stream_values_.size());
  return counts;
}

AEGP_PluginID AegpObjects::register_plugin(AEGP_GlobalRefcon refcon, std::string name) {
  const AEGP_PluginID id = kFirstPluginId + static_cast<AEGP_PluginID>(registrations_.size());
  registrations_.push_back({refcon, std::move(name), id});
  return id;
}

bool AegpObjects::is_registered(AEGP_PluginID id) const {
  for (const AegpRegistration& registration : registrations_) {
    if (registration.id == id) {
      return true;
    }
  }
  return false;
}

AEGP_DynStreamFlags AegpObjects::dynamic_flags(PF_ParamIndex param) const {
  const auto found = dynamic_flags_.find(param);
  return found != dynamic_flags_.end() ? found->second : 0;
}

void AegpObjects::set_dynamic_flag(PF_ParamIndex param, AEGP_DynStreamFlags flag, bool set) {
  AEGP_DynStreamFlags& flags = dynamic_flags_[param];
  flags = set ? (flags | flag) : (flags & ~flag);
}

void AegpObjects::clear_dynamic_flags() {
  dynamic_flags_.clear();
}

}  // namespace lunaform::host
