#pragma once

#include <sys/ucontext.h>
#include <sys/user.h>

namespace crash {

// The general registers of the code a fault interrupted, as the signal context saved them, in
// the order of the register block of a core file's process status note (user_regs_struct).
// The selectors and segment bases that the context does not save are read from the calling
// thread, which is the faulting one. Async-signal-safe.
user_regs_struct registers_at_fault(const ucontext_t& context) noexcept;

}  // namespace crash
