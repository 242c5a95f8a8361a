#pragma once

#include <cstddef>

namespace crash {

// The fault handler's frame, a crash report's buffers and the unwinding of the exception
// thrown from it fit in this, with room to spare.
inline constexpr std::size_t kMinimumSignalStack = std::size_t{64} << 10;

// Makes sure the calling thread has an alternate signal stack of at least
// kMinimumSignalStack bytes, so that a fault handler can run even when the fault was a stack
// overflow. A thread that has one of that size already keeps it (whoever set it up may rely on
// it); otherwise it gets one of its own, guarded below by an inaccessible page, which is
// switched off and freed when the thread ends. Returns false when no stack could be set up
// (the handler then runs on the thread's own stack). Any thread; repeated calls are cheap.
bool ensure_alternate_signal_stack() noexcept;

}  // namespace crash
