#include "plugin/sequence_data_handle.h"

#include <new>
#include <string>

#include "AE_EffectCB.h"
#include "plugin/hx_exception.h"
#include "plugin/product_info.h"

PF_Handle new_sequence_data(const PF_InData& in_data) {
  const PF_Handle handle = in_data.utils->host_new_handle(sizeof(SequenceData));
  void* block = handle != nullptr ? in_data.utils->host_lock_handle(handle) : nullptr;
  if (block == nullptr) {
    if (handle != nullptr) {
      in_data.utils->host_dispose_handle(handle);
    }
    throw hx_exception(std::string(product::kName) + " could not get " +
                       std::to_string(sizeof(SequenceData)) +
                       " bytes of sequence data from the host.");
  }
  // The host's fresh memory holds anything; empty slots are all zero (texture 0, size 0), and
  // their state stamps are only compared once a slot holds a texture.
  ::new (block) SequenceData{};
  in_data.utils->host_unlock_handle(handle);
  return handle;
}

SequenceDataLock::SequenceDataLock(const PF_InData& in_data, PF_Handle handle)
    : in_data_(in_data), handle_(handle) {
  if (handle_ == nullptr) {
    return;
  }
  block_ = in_data_.utils->host_lock_handle(handle_);
  if (block_ != nullptr && in_data_.utils->host_get_handle_size(handle_) >= sizeof(SequenceData)) {
    data_ = static_cast<SequenceData*>(block_);
  }
}

SequenceDataLock::~SequenceDataLock() {
  if (block_ != nullptr) {
    in_data_.utils->host_unlock_handle(handle_);
  }
}
