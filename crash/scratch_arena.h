#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

namespace crash {

// Working memory for the fault handler, which may not use malloc: one private anonymous
// mapping handed out front to back and unmapped as a whole. Pages that are never touched cost
// nothing, so the capacity can be generous.
class ScratchArena {
 public:
  // Maps `capacity` bytes; when that fails the arena is empty and hands out nothing.
  explicit ScratchArena(std::size_t capacity) noexcept;
  ~ScratchArena();
  ScratchArena(const ScratchArena&) = delete;
  ScratchArena& operator=(const ScratchArena&) = delete;

  // The mapping's address range (empty when mapping failed), which a crash dump leaves out.
  std::uintptr_t begin() const { return reinterpret_cast<std::uintptr_t>(base_); }
  std::uintptr_t end() const { return begin() + capacity_; }

  // `count` value-initialised objects of a trivially destructible T, or null when they do
  // not fit.
  template <typename T>
  T* allocate(std::size_t count) noexcept {
    void* memory = take(count, sizeof(T), alignof(T));
    return memory != nullptr ? ::new (memory) T[count]() : nullptr;
  }

  // `count` bytes left as they are, for a buffer that is filled before it is read: a large
  // buffer costs only the pages that are written.
  char* allocate_buffer(std::size_t count) noexcept {
    return static_cast<char*>(take(count, 1, 1));
  }

 private:
  void* take(std::size_t count, std::size_t size, std::size_t alignment) noexcept {
    const std::size_t begin = (used_ + alignment - 1) / alignment * alignment;
    if (base_ == nullptr || begin > capacity_ || count > (capacity_ - begin) / size) {
      return nullptr;
    }
    used_ = begin + count * size;
    return base_ + begin;
  }

  std::byte* base_ = nullptr;
  std::size_t capacity_ = 0;
  std::size_t used_ = 0;
};

}  // namespace crash
