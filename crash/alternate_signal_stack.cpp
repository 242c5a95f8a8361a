#include "crash/alternate_signal_stack.h"

#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

namespace crash {
namespace {

// Room for the handler and for the unwinder's own frames, also in builds whose sanitizer
// instrumentation makes frames larger.
constexpr std::size_t kOwnStackSize = std::size_t{256} << 10;

// The stack this thread got from us; switched off and unmapped when the thread ends.
class OwnedSignalStack {
 public:
  ~OwnedSignalStack() {
    if (mapping_ == nullptr) {
      return;
    }
    stack_t current{};
    if (sigaltstack(nullptr, &current) == 0 && current.ss_sp == stack_base()) {
      stack_t off{};
      off.ss_flags = SS_DISABLE;
      sigaltstack(&off, nullptr);
    }
    munmap(mapping_, guard_size_ + kOwnStackSize);
  }

  // Makes this thread's own stack (mapped on first use) its alternate signal stack.
  bool install() {
    if (mapping_ == nullptr && !map()) {
      return false;
    }
    stack_t stack{};
    stack.ss_sp = stack_base();
    stack.ss_size = kOwnStackSize;
    return sigaltstack(&stack, nullptr) == 0;
  }

 private:
  bool map() {
    guard_size_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* mapping = mmap(nullptr, guard_size_ + kOwnStackSize, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (mapping == MAP_FAILED) {
      return false;
    }
    mapping_ = mapping;
    // Stacks grow down: an overflow of the handler's stack hits the guard page and faults
    // instead of overwriting whatever lies below.
    mprotect(mapping_, guard_size_, PROT_NONE);
    return true;
  }

  void* stack_base() const { return static_cast<char*>(mapping_) + guard_size_; }

  void* mapping_ = nullptr;
  std::size_t guard_size_ = 0;
};

thread_local OwnedSignalStack owned_stack;

}  // namespace

bool ensure_alternate_signal_stack() noexcept {
  stack_t current{};
  if (sigaltstack(nullptr, &current) != 0) {
    return false;
  }
  if ((current.ss_flags & SS_DISABLE) == 0 && current.ss_size >= kMinimumSignalStack) {
    return true;
  }
  return owned_stack.install();
}

}  // namespace crash
