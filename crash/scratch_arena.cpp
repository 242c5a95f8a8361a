#include "crash/scratch_arena.h"

#include <sys/mman.h>

namespace crash {

ScratchArena::ScratchArena(std::size_t capacity) noexcept {
  void* mapping = mmap(nullptr, capacity, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapping != MAP_FAILED) {
    base_ = static_cast<std::byte*>(mapping);
    capacity_ = capacity;
  }
}

ScratchArena::~ScratchArena() {
  if (base_ != nullptr) {
    munmap(base_, capacity_);
  }
}

}  // namespace crash
