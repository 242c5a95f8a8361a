#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>

#include "AE_Effect.h"

namespace lunaform::host {

// The host's relocatable memory blocks (PF_Handle): a handle points at a master pointer that
// locking hands out. Every handle the table made stays listed until it is disposed, so a test
// sees leaks as a live count, and a handle the table never made is recognised and refused
// instead of being dereferenced. Fresh blocks are filled with 0xA5, not zeroed, so a module
// that relies on zeroed memory shows it. One thread at a time (the host's command thread).
class HandleTable {
 public:
  HandleTable();
  ~HandleTable();
  HandleTable(const HandleTable&) = delete;
  HandleTable& operator=(const HandleTable&) = delete;

  // A new handle of `size` bytes (0 allowed, at most 4 GiB). Returns null for a larger size or
  // when the memory cannot be had.
  // The table owns the block until dispose() or its own destruction.
  PF_Handle allocate(uint64_t size);
  // The block's address, valid until the handle is resized or disposed; null for a handle
  // the table does not know. Locks nest; each lock should be matched by unlock().
  void* lock(PF_Handle handle);
  // Returns false for an unknown handle or one that is not locked.
  bool unlock(PF_Handle handle);
  // Frees the block; returns false (and frees nothing) for an unknown handle.
  bool dispose(PF_Handle handle);
  // The size asked for at allocation or the last resize; nothing for an unknown handle.
  std::optional<uint64_t> size(PF_Handle handle) const;
  // Moves the block to one of `new_size` bytes, keeping the common prefix; the handle stays
  // the same. Refused (PF_Err_BAD_CALLBACK_PARAM) for an unknown or locked handle, because
  // pointers from lock() would dangle; PF_Err_OUT_OF_MEMORY when the memory cannot be had.
  PF_Err resize(PF_Handle handle, uint64_t new_size);

  // The block's bytes for inspection by tests; empty for an unknown handle.
  std::span<std::byte> bytes(PF_Handle handle);
  size_t live_count() const { return blocks_.size(); }
  int lock_count(PF_Handle handle) const;

 private:
  struct Block;
  Block* find(PF_Handle handle) const;

  std::unordered_map<PF_Handle, std::unique_ptr<Block>> blocks_;
};

}  // namespace lunaform::host
