#include "host/handle_table.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace lunaform::host {

namespace {
constexpr std::byte kFreshFill{0xA5};
// Far above anything an effect keeps in a handle; larger requests are taken for garbage.
constexpr uint64_t kMaxHandleSize = uint64_t{1} << 32;
}  // namespace

// The master pointer comes first: a PF_Handle is the address of `data`, so `*handle` is the
// block address the way the handle convention has it.
struct HandleTable::Block {
  void* data = nullptr;
  std::unique_ptr<std::byte[]> storage;
  uint64_t size = 0;
  int locks = 0;
};

HandleTable::HandleTable() = default;
HandleTable::~HandleTable() = default;

namespace {

// At least one byte, so that locking a zero-size handle still gives a usable address.
std::unique_ptr<std::byte[]> new_storage(uint64_t size) {
  if (size > kMaxHandleSize) {
    return nullptr;
  }
  std::unique_ptr<std::byte[]> storage(new (std::nothrow) std::byte[std::max<uint64_t>(size, 1)]);
  if (storage) {
    std::fill_n(storage.get(), std::max<uint64_t>(size, 1), kFreshFill);
  }
  return storage;
}

}  // namespace

HandleTable::Block* HandleTable::find(PF_Handle handle) const {
  const auto found = blocks_.find(handle);
  return found != blocks_.end() ? found->second.get() : nullptr;
}

PF_Handle HandleTable::allocate(uint64_t size) {
  auto block = std::make_unique<Block>();
  block->storage = new_storage(size);
  if (!block->storage) {
    return nullptr;
  }
  block->data = block->storage.get();
  block->size = size;
  const PF_Handle handle = &block->data;
  blocks_.emplace(handle, std::move(block));
  return handle;
}

void* HandleTable::lock(PF_Handle handle) {
  Block* block = find(handle);
  if (block == nullptr) {
    return nullptr;
  }
  ++block->locks;
  return block->data;
}

bool HandleTable::unlock(PF_Handle handle) {
  Block* block = find(handle);
  if (block == nullptr || block->locks == 0) {
    return false;
  }
  --block->locks;
  return true;
}

bool HandleTable::dispose(PF_Handle handle) {
  return blocks_.erase(handle) == 1;
}

std::optional<uint64_t> HandleTable::size(PF_Handle handle) const {
  const Block* block = find(handle);
  return block != nullptr ? std::optional(block->size) : std::nullopt;
}

PF_Err HandleTable::resize(PF_Handle handle, uint64_t new_size) {
  Block* block = find(handle);
  if (block == nullptr || block->locks > 0) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  auto storage = new_storage(new_size);
  if (!storage) {
    return PF_Err_OUT_OF_MEMORY;
  }
  std::memcpy(storage.get(), block->storage.get(), std::min(block->size, new_size));
  block->storage = std::move(storage);
  block->data = block->storage.get();
  block->size = new_size;
  return PF_Err_NONE;
}

std::span<std::byte> HandleTable::bytes(PF_Handle handle) {
  Block* block = find(handle);
  if (block == nullptr) {
    return {};
  }
  return {block->storage.get(), static_cast<size_t>(block->size)};
}

int HandleTable::lock_count(PF_Handle handle) const {
  const Block* block = find(handle);
  return block != nullptr ? block->locks : 0;
}

}  // namespace lunaform::host
